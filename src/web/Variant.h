#pragma once

#include <string>
#include <variant>

// A general value as the crawl stack and the document scanner keep it: empty,
// text, number or boolean.
class Variant {
public:
    Variant() = default;
    Variant(std::string text) : v_(std::move(text)) {}
    Variant(const char* text) : v_(std::string(text)) {}
    Variant(double number) : v_(number) {}
    Variant(int number) : v_(static_cast<double>(number)) {}
    Variant(bool flag) : v_(flag) {}

    bool isEmpty() const { return std::holds_alternative<std::monostate>(v_); }
    bool isText() const { return std::holds_alternative<std::string>(v_); }
    bool isNumber() const { return std::holds_alternative<double>(v_); }
    bool isBool() const { return std::holds_alternative<bool>(v_); }

    // Equal to "": an empty value or an empty text.
    bool isBlank() const { return isEmpty() || (isText() && std::get<std::string>(v_).empty()); }
    // Equal to 0 or false: an empty value, the number 0 or false.
    bool isZero() const;

    // The parts of a text, number or boolean value (others give "", 0, false).
    const std::string& text() const;
    double number() const { return isNumber() ? std::get<double>(v_) : 0; }
    bool flag() const { return isBool() && std::get<bool>(v_); }

    // The value as text: empty gives "", false "False", true "True", a whole
    // number its digits ("3", "-1"), other numbers their shortest form.
    std::string toText() const;

    bool operator==(const Variant& other) const = default;

private:
    std::variant<std::monostate, std::string, double, bool> v_;
};
