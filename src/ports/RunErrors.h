#pragma once

#include <stdexcept>
#include <string>

// A run-time error with the number and description that the run reports for
// the file in hand ("The file '...' has problem: <number>,<description>...").
class RunError : public std::runtime_error {
public:
    RunError(int number, const std::string& description)
        : std::runtime_error(description), number_(number) {}
    int number() const { return number_; }
    std::string description() const { return what(); }

private:
    int number_;
};

// Raised where a routine takes a negative count of characters.
class InvalidArgumentError : public RunError {
public:
    InvalidArgumentError() : RunError(5, "Invalid procedure call or argument") {}
};

// Raised when a 16-bit counter would pass 32,767.
class OverflowError : public RunError {
public:
    OverflowError() : RunError(6, "Overflow") {}
};
