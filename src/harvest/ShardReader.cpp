#include "ShardReader.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace harvest {

namespace {

struct CloseFile {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
// What getline fills and grows, freed at the end.
struct LineBuffer {
    LineBuffer() = default;
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    ~LineBuffer() { std::free(data); }
    char* data = nullptr;
    std::size_t capacity = 0;
};
struct CloseDb {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
};

constexpr std::string_view kSqliteHeader{"SQLite format 3\0", 16};

std::string at(const char* what, std::int64_t number, const std::string& reason) {
    return std::string(what) + " " + std::to_string(number) + ": " + reason;
}

// Whether the file starts like a SQLite database; the file is left at its start.
bool startsLikeSqlite(std::FILE* file) {
    char head[16];
    const std::size_t n = std::fread(head, 1, sizeof head, file);
    std::rewind(file);
    return n == sizeof head && std::string_view(head, n) == kSqliteHeader;
}

// One text column: null is empty; a number is refused.
bool textColumn(sqlite3_stmt* s, int column, std::string& out) {
    const int type = sqlite3_column_type(s, column);
    if (type == SQLITE_NULL) {
        out.clear();
        return true;
    }
    if (type != SQLITE_TEXT) {
        return false;
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(s, column));
    out.assign(text ? text : "", static_cast<std::size_t>(sqlite3_column_bytes(s, column)));
    return true;
}

bool wholeColumn(sqlite3_stmt* s, int column, std::optional<std::int64_t>& out) {
    const int type = sqlite3_column_type(s, column);
    if (type == SQLITE_NULL) {
        out.reset();
        return true;
    }
    if (type != SQLITE_INTEGER) {
        return false;
    }
    out = sqlite3_column_int64(s, column);
    return true;
}

bool fitsInt(const std::optional<std::int64_t>& n) {
    return !n || (*n >= std::numeric_limits<int>::min() && *n <= std::numeric_limits<int>::max());
}

}  // namespace

bool ShardReader::read(const std::string& path, ShardSink& sink) {
    if (path == "-") {
        return readJsonLines(stdin, std::string(kStandardInput), sink);
    }
    std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        sink.problem({path, std::string("cannot open: ") + std::strerror(errno)});
        return false;
    }
    if (startsLikeSqlite(file.get())) {
        file.reset();
        return readSqlite(path, sink);
    }
    return readJsonLines(file.get(), path, sink);
}

bool ShardReader::readJsonLines(std::FILE* file, const std::string& name, ShardSink& sink) {
    LineBuffer buffer;
    std::int64_t number = 0;
    std::string reason;
    ssize_t length = 0;
    while ((length = ::getline(&buffer.data, &buffer.capacity, file)) >= 0) {
        ++number;
        std::string_view text(buffer.data, static_cast<std::size_t>(length));
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
            text.remove_suffix(1);
        }
        if (text.find_first_not_of(" \t") == std::string_view::npos) {
            continue;  // a blank line, such as the last of a file written by hand
        }
        if (parseLine(text, row_, reason)) {
            sink.sighting(row_);
        } else {
            sink.problem({name, at("line", number, reason)});
        }
    }
    if (std::ferror(file)) {
        sink.problem({name, at("line", number + 1, "cannot be read")});
        return false;
    }
    return true;
}

bool ShardReader::readSqlite(const std::string& path, ShardSink& sink) {
    sqlite3* rawDb = nullptr;
    const int opened = sqlite3_open_v2(path.c_str(), &rawDb, SQLITE_OPEN_READONLY, nullptr);
    std::unique_ptr<sqlite3, CloseDb> db(rawDb);
    if (opened != SQLITE_OK) {
        sink.problem({path, std::string("cannot open: ") +
                                (db ? sqlite3_errmsg(db.get()) : sqlite3_errstr(opened))});
        return false;
    }
    sqlite3_stmt* rawStatement = nullptr;
    // Shards written before sightings had a referrer and a depth lack them.
    const char* sql =
        "SELECT \"address\", \"name\", \"source\", \"page\", \"message\", \"message_id\", "
        "\"line\", \"offset\", \"field\", \"context\", \"referrer\", \"depth\" FROM sightings "
        "ORDER BY rowid";
    const char* older =
        "SELECT \"address\", \"name\", \"source\", \"page\", \"message\", \"message_id\", "
        "\"line\", \"offset\", \"field\", \"context\", NULL, NULL FROM sightings ORDER BY rowid";
    if (sqlite3_prepare_v2(db.get(), sql, -1, &rawStatement, nullptr) != SQLITE_OK &&
        sqlite3_prepare_v2(db.get(), older, -1, &rawStatement, nullptr) != SQLITE_OK) {
        sink.problem({path, std::string("not a harvest's database: ") + sqlite3_errmsg(db.get())});
        return false;
    }
    std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement(rawStatement);
    sqlite3_stmt* s = statement.get();
    std::int64_t number = 0;
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
        ++number;
        std::optional<std::int64_t> page, message, line, offset, depth;
        row_.origin = Origin{};
        const bool typed = textColumn(s, 0, row_.address) && textColumn(s, 1, row_.name) &&
                           textColumn(s, 2, row_.origin.source) && wholeColumn(s, 3, page) &&
                           wholeColumn(s, 4, message) && textColumn(s, 5, row_.origin.messageId) &&
                           wholeColumn(s, 6, line) && wholeColumn(s, 7, offset) &&
                           textColumn(s, 8, row_.origin.field) && textColumn(s, 9, row_.context) &&
                           textColumn(s, 10, row_.origin.referrer) && wholeColumn(s, 11, depth);
        std::string reason;
        if (!typed) {
            reason = "a value of the wrong type";
        } else if (row_.address.empty()) {
            reason = "no address";
        } else if (!fitsInt(page) || !fitsInt(message) || !fitsInt(depth)) {
            reason = "a page or message number out of range";
        } else if (!kinds_.classify(row_)) {
            reason = "the address is not an e-mail address, a web address or a phone number";
        }
        if (!reason.empty()) {
            sink.problem({path, at("row", number, reason)});
            continue;
        }
        if (page) {
            row_.origin.page = static_cast<int>(*page);
        }
        if (message) {
            row_.origin.message = static_cast<int>(*message);
        }
        if (depth) {
            row_.origin.depth = static_cast<int>(*depth);
        }
        row_.line = line.value_or(0);
        row_.offset = offset.value_or(0);
        sink.sighting(row_);
    }
    if (rc != SQLITE_DONE) {
        sink.problem({path, at("row", number + 1,
                               std::string("cannot be read: ") + sqlite3_errmsg(db.get()))});
        return false;
    }
    return true;
}

}  // namespace harvest
