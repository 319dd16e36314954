#include <sqlite3.h>

#include <memory>
#include <string_view>

#include "FieldText.h"
#include "ReportFields.h"
#include "StagedFile.h"
#include "WriterParts.h"

namespace harvest {

namespace {

constexpr const char* kSchema = R"(
CREATE TABLE contacts("address" TEXT NOT NULL, "name" TEXT, "kind" TEXT, "domain" TEXT,
                      "reserved" INTEGER, "sightings" INTEGER, "first_source" TEXT);
CREATE TABLE sightings("address" TEXT NOT NULL, "name" TEXT, "source" TEXT, "page" INTEGER,
                       "message" INTEGER, "message_id" TEXT, "line" INTEGER, "offset" INTEGER,
                       "field" TEXT, "context" TEXT, "referrer" TEXT, "depth" INTEGER);
CREATE TABLE sources("path" TEXT, "kind" TEXT, "bytes" INTEGER);
CREATE TABLE problems("source" TEXT, "reason" TEXT);
)";

struct CloseDb {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
};
using Db = std::unique_ptr<sqlite3, CloseDb>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// One database being filled; the first failure is kept in error_.
class SqliteFill {
public:
    explicit SqliteFill(sqlite3* db) : db_(db) {}

    bool exec(const char* sql) {
        if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
            return fail();
        }
        return true;
    }

    // Inserts every row that `rows` hands to its callback into `table`.
    template <typename Rows>
    bool insert(std::string_view table, std::size_t columns, Rows rows) {
        std::string sql = "INSERT INTO " + std::string(table) + " VALUES (?";
        for (std::size_t i = 1; i < columns; ++i) {
            sql += ",?";
        }
        sql += ")";
        sqlite3_stmt* raw = nullptr;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) {
            return fail();
        }
        Statement statement(raw);
        bool ok = true;
        rows([&](const std::vector<FieldValue>& row) { ok = ok && step(statement.get(), row); });
        return ok;
    }

    const std::string& error() const { return error_; }

private:
    bool fail() {
        if (error_.empty()) {
            error_ = sqlite3_errmsg(db_);
        }
        return false;
    }

    bool step(sqlite3_stmt* s, const std::vector<FieldValue>& row) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const int at = static_cast<int>(i) + 1;
            const FieldValue& v = row[i];
            int rc = SQLITE_OK;
            switch (v.type) {
                case FieldValue::Type::Null:
                    rc = sqlite3_bind_null(s, at);
                    break;
                case FieldValue::Type::Text:
                    rc = bindText(s, at, v.text);
                    break;
                case FieldValue::Type::Number:
                    rc = sqlite3_bind_int64(s, at, v.number);
                    break;
                case FieldValue::Type::Boolean:
                    rc = sqlite3_bind_int(s, at, v.flag ? 1 : 0);
                    break;
            }
            if (rc != SQLITE_OK) {
                return fail();
            }
        }
        const int rc = sqlite3_step(s);
        sqlite3_reset(s);
        return rc == SQLITE_DONE || fail();
    }

    // TEXT is UTF-8: a value that is not (a file name can hold any bytes)
    // is stored with U+FFFD in place of the stray bytes.
    static int bindText(sqlite3_stmt* s, int at, std::string_view text) {
        if (fieldtext::isValidUtf8(text)) {
            return sqlite3_bind_text64(s, at, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
        }
        const std::string valid = fieldtext::validUtf8(text);
        return sqlite3_bind_text64(s, at, valid.data(), valid.size(), SQLITE_TRANSIENT,
                                   SQLITE_UTF8);
    }

    sqlite3* db_;
    std::string error_;
};

FieldValue text(std::string_view s) {
    return {FieldValue::Type::Text, s, 0, false};
}

bool fill(sqlite3* db, const Report& report, std::string& error) {
    SqliteFill f(db);
    // The staged file is thrown away on any failure, so no journal is needed.
    bool ok = f.exec("PRAGMA journal_mode=OFF") && f.exec(kSchema) && f.exec("BEGIN");
    ok = ok && f.insert("contacts", kContactFields.size(),
                        [&](auto each) { forEachRow(report, false, each); });
    ok = ok && f.insert("sightings", kSightingFields.size(),
                        [&](auto each) { forEachRow(report, true, each); });
    ok = ok && f.insert("sources", 3, [&](auto each) {
        report.sources.forEach([&](const SourceInfo& s) {
            each({text(s.path), text(s.kind), {FieldValue::Type::Number, {}, s.bytes, false}});
        });
    });
    ok = ok && f.insert("problems", 2, [&](auto each) {
        for (const Problem& p : report.problems) {
            each({text(p.source), text(p.reason)});
        }
    });
    ok = ok && f.exec("CREATE INDEX sightings_address ON sightings(\"address\")") &&
         f.exec("COMMIT");
    if (!ok) {
        error = f.error();
    }
    return ok;
}

}  // namespace

bool writeSqliteReport(const Report& report, const std::string& path, std::string& error) {
    StagedFile staged(path);
    if (!staged.create(error)) {
        return false;
    }
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(staged.stagingPath().c_str(), &raw,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    Db db(raw);
    if (rc != SQLITE_OK) {
        error = cannotWrite(path, raw ? sqlite3_errmsg(raw) : sqlite3_errstr(rc));
        return false;
    }
    std::string reason;
    if (!fill(db.get(), report, reason)) {
        error = cannotWrite(path, reason);
        return false;
    }
    if (sqlite3_close(db.release()) != SQLITE_OK) {
        error = cannotWrite(path, "the database could not be closed");
        return false;
    }
    return staged.commit(error);
}

}  // namespace harvest
