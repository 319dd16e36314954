#pragma once
// A Harvest window over its real form, with settings in memory, a folder of
// mixed documents made for the test, and the dialogs and the desktop opener
// replaced by recorders.
#include <gtest/gtest.h>
#include <QApplication>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <map>
#include <memory>
#include <optional>

#include "HarvestForm.h"
#include "HarvestWindow.h"
#include "SettingsStore.h"
#include "TempDir.h"
#include "UserInput.h"

class MemoryStore : public SettingsStore {
public:
    std::optional<std::string> value(const std::string& application, const std::string& section,
                                     const std::string& key) const override {
        auto it = values.find(application + "/" + section + "/" + key);
        return it == values.end() ? std::nullopt : std::optional<std::string>(it->second);
    }
    void setValue(const std::string& application, const std::string& section,
                  const std::string& key, const std::string& value) override {
        values[application + "/" + section + "/" + key] = value;
    }
    std::map<std::string, std::string> values;
};

class HarvestRig : public ::testing::Test {
protected:
    void SetUp() override {
        dir.write("docs/notes.txt",
                  "Write to ann.lee@brimwell.co.uk or sales@northwind-traders.com.\n");
        dir.write("docs/page.html",
                  "<html><body><a href=\"mailto:bob.hart@lakeside.net\">Bob Hart</a>"
                  "<p>Desk: info@lakeside.net</p></body></html>\n");
        dir.write("docs/message.eml",
                  "From: Carol Diaz <carol.diaz@riverbend.org>\r\n"
                  "To: ann.lee@brimwell.co.uk\r\nSubject: Visit\r\n"
                  "Message-ID: <m1@riverbend.org>\r\n\r\nAsk dave@riverbend.org first.\r\n");
        dir.write("docs/sub/more.txt", "Sent by noreply@northwind-traders.com\n");
        docs = QString::fromStdString(dir.file("docs"));
        open();
    }

    // A new window over a new form on the same settings.
    void open() {
        window.reset();
        form = std::make_unique<harvest::HarvestForm>(settings);
        window = std::make_unique<harvest::HarvestWindow>(*form);
        auto& h = window->hooks;
        h.chooseFiles = [this](QWidget*, const QString& folder) {
            asked.push_back("files:" + folder);
            return filesToChoose;
        };
        h.chooseFolder = [this](QWidget*, const QString& folder) {
            asked.push_back("folder:" + folder);
            return folderToChoose;
        };
        h.chooseSaveFile = [this](QWidget*, const QString&, const QStringList& filters,
                                  QString& chosen) {
            asked.push_back("save");
            offeredFilters = filters;
            chosen = filterToChoose;
            return saveTo;
        };
        h.askSelectedOnly = [this](QWidget*, int, int) -> std::optional<bool> {
            asked.push_back("selectedOnly");
            return selectedOnly;
        };
        h.confirm = [this](QWidget*, const QString& q) {
            asked.push_back("confirm:" + q);
            return confirmAnswer;
        };
        h.showError = [this](QWidget*, const QString& m) { errors << m; };
        h.openUrl = [this](const QUrl& url) {
            opened << url;
            return true;
        };
        ASSERT_TRUE(ShowActive(window.get()));
    }

    template <typename T = QWidget>
    T* w(const char* name) {
        T* found = window->findChild<T*>(name);
        EXPECT_TRUE(found) << name;
        return found;
    }
    void click(const char* button) { QTest::mouseClick(w<QWidget>(button), Qt::LeftButton); }
    // Adds the documents' folder through its button and harvests it.
    void harvestDocs() {
        folderToChoose = docs;
        click("addFolder");
        QSignalSpy finished(form.get(), &harvest::HarvestForm::runFinished);
        click("harvest");
        ASSERT_TRUE(finished.wait(60000));
        QApplication::processEvents();
    }
    QTableView* table() { return w<QTableView>("contacts"); }
    // The column's texts in the order the table shows them.
    QStringList shown(int column = harvest::ContactTableModel::Address) {
        QStringList texts;
        QAbstractItemModel* m = table()->model();
        for (int r = 0; r < m->rowCount(); ++r) {
            texts << m->index(r, column).data().toString();
        }
        return texts;
    }
    int rowShowing(const QString& address) { return shown().indexOf(address); }

    TempDir dir;
    QString docs;
    MemoryStore settings;
    std::unique_ptr<harvest::HarvestForm> form;
    std::unique_ptr<harvest::HarvestWindow> window;

    QStringList filesToChoose;
    QString folderToChoose;
    QString saveTo, filterToChoose;
    std::optional<bool> selectedOnly = false;
    bool confirmAnswer = true;
    QStringList asked, errors, offeredFilters;
    QList<QUrl> opened;
};
