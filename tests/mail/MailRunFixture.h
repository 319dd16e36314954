#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes.h"
#include "MailList.h"
#include "ResultTable.h"
#include "clsWF.h"

// The bytes of a message under tests/data/mail.
inline std::string MailFixture(const std::string& name) {
    const char* root = std::getenv("GLEANMARK_TEST_DATA");
    const std::string path = std::string(root ? root : "tests/data") + "/mail/" + name;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        ADD_FAILURE() << "cannot read " << path;
    }
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline MailListOptions AllAddressHeaders(int16_t everyOccurrence = 0) {
    MailListOptions options;
    options.chkFrom = options.chkTo = options.chkCC = true;
    options.intEveryOccurrence = everyOccurrence;
    return options;
}

// One mail-list run as the driver makes it: set-up, then one call per file.
struct MailRun {
    explicit MailRun(const MailListOptions& options) : mail(pump, clock) {
        set_up = mail.SetUpMailListRun(options, arrColumns, objWF);
    }
    void Process(std::string text, const std::string& fileName = "message.eml") {
        mail.ProcessMailFile(text, fileName, table(), intCancel);
    }
    ResultTable& table() { return *objWF->rstWF; }

    // Each record's fields, in table order.
    std::vector<std::vector<std::string>> Records() {
        std::vector<std::vector<std::string>> out;
        for (size_t r = 0; r < table().rowCount(); ++r) {
            std::vector<std::string> fields;
            for (size_t c = 0; c < table().columnCount(); ++c) {
                fields.push_back(table().value(r, c));
            }
            out.push_back(std::move(fields));
        }
        return out;
    }
    // KeyWord, DisplayName and EmailAddress of each record.
    std::vector<std::vector<std::string>> People() {
        auto records = Records();
        for (auto& fields : records) {
            fields.resize(3);
        }
        return records;
    }
    std::vector<std::string> Column(const std::string& name) {
        std::vector<std::string> out;
        const int col = table().columnIndex(name);
        for (size_t r = 0; r < table().rowCount(); ++r) {
            out.push_back(table().value(r, static_cast<size_t>(col)));
        }
        return out;
    }

    ScriptedPump pump;
    FixedClock clock;
    MailList mail;
    std::vector<std::string> arrColumns;
    std::unique_ptr<clsWF> objWF;
    int16_t intCancel = 0;
    bool set_up = false;
};
