#pragma once

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

// Deterministic English-like text for the harvest benchmark: the same seed
// gives the same bytes on every machine (std::mt19937's sequence is fixed by
// the standard and only its raw output is used).

struct Person {
    std::string name;     // display name, UTF-8, may hold non-ASCII letters
    std::string address;  // e-mail address, ASCII
};

class Prose {
public:
    explicit Prose(uint32_t seed) : engine_(seed) {}

    size_t below(size_t n) { return static_cast<size_t>(engine_() % n); }
    std::string_view word();
    std::string domain();
    Person person();
    std::string roleAddress();  // info@, sales@, no-reply@ ...
    std::string url();          // https://www.<domain>/<path>

    // A sentence of `minWords` to about twice as many words, capitalised,
    // ending in a full stop, without an address.
    std::string sentence(size_t minWords);

    // One line of 50 to 90 characters; about one line in 50 carries an
    // address (with a name in angle brackets, alone, or a role address) and
    // about one in 60 a web address.
    std::string line();

    // The same, appended to `out` (no temporary strings).
    void appendSentence(std::string& out, size_t minWords);
    void appendLine(std::string& out);

    // Addresses and web addresses `factor` times rarer than line() says.
    void rarer(size_t factor) {
        addressEvery_ *= factor;
        webEvery_ *= factor;
    }

private:
    std::mt19937 engine_;
    size_t addressEvery_ = 50;
    size_t webEvery_ = 60;
};

// Buffered writing of one generated file; throws std::runtime_error when the
// file cannot be written.
class FileSink {
public:
    explicit FileSink(const std::string& path);
    ~FileSink();
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;

    void put(std::string_view bytes);
    uint64_t bytes() const { return bytes_ + buffer_.size(); }
    void close();  // flushes; throws when the data could not be written

private:
    void flush();
    std::string path_;
    std::FILE* file_ = nullptr;
    std::string buffer_;
    uint64_t bytes_ = 0;
};

// Encodings a mail generator needs.
std::string Base64(std::string_view bytes);          // lines of 76 characters
std::string QuotedPrintable(std::string_view text);  // soft breaks before 76
std::string EncodedWord(std::string_view utf8);      // =?UTF-8?B?...?= when not ASCII
std::string EscapeMarkup(std::string_view text);     // & < > "
