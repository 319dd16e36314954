// The Harvest window through its widgets: sources, a run, the table and its
// filters, sightings, copy, delete, columns, exports, drops and what it
// remembers.
#include <QClipboard>
#include <QComboBox>
#include <QDropEvent>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QTableWidget>
#include <QTreeWidget>

#include "HarvestRig.h"
#include "SourceList.h"
#include "SummaryView.h"

using harvest::ContactTableModel;

namespace {

const QStringList kAll = {"ann.lee@brimwell.co.uk",       "sales@northwind-traders.com",
                          "bob.hart@lakeside.net",        "info@lakeside.net",
                          "carol.diaz@riverbend.org",     "dave@riverbend.org",
                          "noreply@northwind-traders.com"};

class Window : public HarvestRig {};

TEST_F(Window, AFolderHarvestFillsTheTable) {
    EXPECT_EQ(window->windowTitle(), "Gleanmark - Harvest");
    EXPECT_FALSE(w<QPushButton>("harvest")->isEnabled());  // nothing to harvest yet
    folderToChoose = docs;
    click("addFolder");
    auto* sources = w<QTableWidget>("sources");
    ASSERT_EQ(sources->rowCount(), 1);
    EXPECT_EQ(sources->item(0, 0)->text(), docs);
    EXPECT_EQ(sources->item(0, 1)->text(), "Folder");
    EXPECT_EQ(form->setting("lastFolder"), docs);
    click("addFolder");  // the dialog now starts where the last one ended
    EXPECT_EQ(asked.back(), "folder:" + docs);

    QSignalSpy started(form.get(), &harvest::HarvestForm::runStarted);
    QSignalSpy finished(form.get(), &harvest::HarvestForm::runFinished);
    click("harvest");
    EXPECT_EQ(started.count(), 1);
    ASSERT_TRUE(finished.wait(60000));
    QApplication::processEvents();
    for (const QString& address : kAll) {
        EXPECT_GE(rowShowing(address), 0) << address.toStdString();
    }
    EXPECT_TRUE(w<QPushButton>("harvest")->isEnabled());
    EXPECT_FALSE(w<QPushButton>("cancel")->isEnabled());
    EXPECT_EQ(w<QLabel>("progressText")->text(), form->progressText());
    EXPECT_FALSE(form->progressText().isEmpty());
    EXPECT_EQ(w<QLabel>("contactCount")->text(),
              QString("%1 contacts").arg(form->contacts().rowCount()));
}

TEST_F(Window, TheFiltersNarrowTheTableAsTheUserTypesAndChooses) {
    harvestDocs();
    const int all = table()->model()->rowCount();
    struct Case {
        const char* search;
        const char* kind;  // the kind box's entry
        const char* domain;
        QStringList expected;
    };
    const Case cases[] = {
        {"lakeside", "All", "", {"bob.hart@lakeside.net", "info@lakeside.net"}},
        {"LAKESIDE", "Role", "", {"info@lakeside.net"}},
        {"", "No-reply", "", {"noreply@northwind-traders.com"}},
        {"", "Role", "", {"info@lakeside.net", "sales@northwind-traders.com"}},
        {"", "All", "riverbend.org", {"carol.diaz@riverbend.org", "dave@riverbend.org"}},
        {"carol", "Personal", "riverbend.org", {"carol.diaz@riverbend.org"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.search) + "|" + c.kind + "|" + c.domain);
        auto* search = w<QLineEdit>("search");
        search->clear();
        QTest::keyClicks(search, c.search);
        auto* kind = w<QComboBox>("kindFilter");
        kind->setCurrentIndex(kind->findText(c.kind));
        auto* domain = w<QLineEdit>("domainFilter");
        domain->clear();
        QTest::keyClicks(domain, c.domain);
        QStringList rows = shown();
        rows.sort();
        EXPECT_EQ(rows, c.expected);
        EXPECT_EQ(w<QLabel>("contactCount")->text(),
                  QString("%1 of %2 contacts").arg(c.expected.size()).arg(all));
    }
}

TEST_F(Window, ClickingAHeaderSortsBothWays) {
    harvestDocs();
    auto* header = table()->horizontalHeader();
    const QPoint address(header->sectionViewportPosition(ContactTableModel::Address) + 10,
                         header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, address);
    QStringList up = shown();
    QStringList sorted = up;
    std::sort(sorted.begin(), sorted.end(), [](const QString& a, const QString& b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    EXPECT_EQ(up, sorted);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, address);
    QStringList down = shown();
    std::reverse(down.begin(), down.end());
    EXPECT_EQ(down, up);
}

TEST_F(Window, TheSelectedContactsSightingsShowAndOpen) {
    harvestDocs();
    const int row = rowShowing("ann.lee@brimwell.co.uk");
    ASSERT_GE(row, 0);
    ClickCell(table(), table()->model()->index(row, 0));
    auto* sightings = w<QTableWidget>("sightings");
    ASSERT_EQ(sightings->rowCount(), 2);  // the text file and the message's To field
    QStringList sources, fields;
    for (int r = 0; r < 2; ++r) {
        sources << sightings->item(r, 0)->text();
        fields << sightings->item(r, 3)->text();
    }
    EXPECT_TRUE(sources.contains(docs + "/notes.txt"));
    EXPECT_TRUE(sources.contains(docs + "/message.eml"));
    EXPECT_TRUE(fields.contains("To"));
    const int text = static_cast<int>(sources.indexOf(docs + "/notes.txt"));
    EXPECT_EQ(sightings->item(text, 2)->text(), "1");
    EXPECT_TRUE(sightings->item(text, 4)->text().contains("ann.lee@brimwell.co.uk"));

    const QPoint cell = sightings->visualItemRect(sightings->item(text, 0)).center();
    QTest::mouseClick(sightings->viewport(), Qt::LeftButton, {}, cell);
    QTest::mouseDClick(sightings->viewport(), Qt::LeftButton, {},
                       sightings->visualItemRect(sightings->item(text, 0)).center());
    ASSERT_EQ(opened.size(), 1);
    EXPECT_EQ(opened.front(), QUrl::fromLocalFile(docs + "/notes.txt"));
}

TEST_F(Window, CopyDeleteAndColumnsWorkOnTheSelectedRows) {
    harvestDocs();
    table()->setFocus();
    const int carol = rowShowing("carol.diaz@riverbend.org");
    const int dave = rowShowing("dave@riverbend.org");
    ClickCell(table(), table()->model()->index(carol, 0));
    ClickCell(table(), table()->model()->index(dave, 0), Qt::ControlModifier);
    PressKey(Qt::Key_C, Qt::ControlModifier);
    const QStringList lines = QApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);  // a header and the two rows
    EXPECT_TRUE(lines[1].startsWith(carol < dave ? "carol.diaz@" : "dave@"));

    const int before = form->contacts().rowCount();
    PressKey(Qt::Key_Delete);
    EXPECT_EQ(form->contacts().rowCount(), before - 2);
    EXPECT_EQ(form->contacts().rowOf("carol.diaz@riverbend.org"), -1);
    EXPECT_EQ(form->contacts().rowOf("dave@riverbend.org"), -1);
    EXPECT_GE(form->contacts().rowOf("ann.lee@brimwell.co.uk"), 0);

    // The column chooser hides Name; a new window keeps it hidden.
    w<QMenu>("columnMenu")->findChild<QAction*>("column1")->trigger();
    EXPECT_TRUE(table()->isColumnHidden(ContactTableModel::Name));
    EXPECT_EQ(form->setting("columns"), "0,2,3,4,5");
    open();
    EXPECT_TRUE(table()->isColumnHidden(ContactTableModel::Name));
    EXPECT_FALSE(table()->isColumnHidden(ContactTableModel::Address));
}

TEST_F(Window, DeletingManyRowsAsksFirst) {
    std::vector<harvest::Sighting> batch(harvest::HarvestWindow::kConfirmDeleteRows + 1);
    for (std::size_t i = 0; i < batch.size(); ++i) {
        batch[i].address = "p" + std::to_string(i) + "@hollow.org";
        batch[i].domain = "hollow.org";
        batch[i].kind = "personal";
    }
    form->contacts().addSightings(batch);
    const int all = static_cast<int>(batch.size());
    for (bool yes : {false, true}) {
        confirmAnswer = yes;
        asked.clear();
        table()->setFocus();
        PressKey(Qt::Key_A, Qt::ControlModifier);
        PressKey(Qt::Key_Delete);
        ASSERT_EQ(asked.size(), 1);
        EXPECT_TRUE(asked.front().startsWith("confirm:"));
        EXPECT_EQ(form->contacts().rowCount(), yes ? 0 : all);
    }
    // A few rows go without a question.
    form->contacts().addSightings({batch[0], batch[1]});
    asked.clear();
    ClickCell(table(), table()->model()->index(0, 0));
    PressKey(Qt::Key_Delete);
    EXPECT_TRUE(asked.isEmpty());
    EXPECT_EQ(form->contacts().rowCount(), 1);
}

TEST_F(Window, SourcesThatCannotBeReadAreListedAsProblems) {
    dir.write("docs/broken.pdf", "%PDF-1.4\nthis is not a PDF body at all\n");
    harvestDocs();
    ASSERT_FALSE(form->problems().empty());
    auto* problems = w<QTreeWidget>("problems");
    EXPECT_EQ(problems->topLevelItemCount(), static_cast<int>(form->problems().size()));
    EXPECT_EQ(problems->topLevelItem(0)->text(0),
              QString::fromStdString(form->problems().front().source));
    auto* tabs = w<QTabWidget>("tabs");
    EXPECT_EQ(tabs->tabText(2), QString("&Problems (%1)").arg(form->problems().size()));
    EXPECT_GE(rowShowing("ann.lee@brimwell.co.uk"), 0);  // the other sources are still read
}

TEST_F(Window, ExportingTheSelectionAsksAndWritesOnlyIt) {
    harvestDocs();
    ClickCell(table(), table()->model()->index(rowShowing("bob.hart@lakeside.net"), 0));
    ClickCell(table(), table()->model()->index(rowShowing("info@lakeside.net"), 0),
              Qt::ControlModifier);
    saveTo = QString::fromStdString(dir.file("some.csv"));
    selectedOnly = true;
    click("export");
    EXPECT_TRUE(asked.contains("selectedOnly"));
    QFile file(saveTo);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    EXPECT_EQ(bytes.count('\n'), 3);  // a header and two rows
    EXPECT_TRUE(bytes.contains("info@lakeside.net"));
    EXPECT_FALSE(bytes.contains("ann.lee@"));

    selectedOnly = std::nullopt;  // the question cancelled: nothing is asked for a file
    asked.clear();
    click("export");
    EXPECT_FALSE(asked.contains("save"));
}

TEST_F(Window, CancelStopsARunAndKeepsItsRows) {
    for (int i = 0; i < 400; ++i) {
        dir.write("many/f" + std::to_string(i) + ".txt", "person" + std::to_string(i) + "@hollow" +
                                                             std::to_string(i % 7) + ".org\n" +
                                                             std::string(20000, 'x') + "\n");
    }
    filesToChoose.clear();
    folderToChoose = QString::fromStdString(dir.file("many"));
    click("addFolder");
    QSignalSpy inserted(&form->contacts(), &QAbstractItemModel::rowsInserted);
    QSignalSpy finished(form.get(), &harvest::HarvestForm::runFinished);
    click("harvest");
    EXPECT_TRUE(w<QPushButton>("cancel")->isEnabled());
    EXPECT_FALSE(w<QPushButton>("addFolder")->isEnabled());
    if (finished.isEmpty()) {
        inserted.wait(30000);
    }
    const int atCancel = form->contacts().rowCount();
    if (finished.isEmpty()) {
        click("cancel");
        ASSERT_TRUE(finished.wait(30000));
    }
    QApplication::processEvents();
    EXPECT_GT(atCancel, 0);
    EXPECT_GE(table()->model()->rowCount(), atCancel);
    EXPECT_LE(table()->model()->rowCount(), 400);
    EXPECT_TRUE(w<QPushButton>("harvest")->isEnabled());
    EXPECT_FALSE(w<QPushButton>("cancel")->isEnabled());
}

TEST_F(Window, FilesDroppedOnTheSourcesAreAdded) {
    auto* list = w<harvest::SourceList>("sources");
    const QString file = docs + "/notes.txt";
    struct Case {
        QList<QUrl> urls;
        int sources;
    };
    const Case cases[] = {
        {{QUrl("https://www.lakeside.net/")}, 0},  // not a local file
        {{QUrl::fromLocalFile(file)}, 1},
        {{QUrl::fromLocalFile(docs + "/sub"), QUrl::fromLocalFile(docs + "/page.html")}, 3},
    };
    for (const Case& c : cases) {
        QMimeData data;
        data.setUrls(c.urls);
        const QPoint at = list->viewport()->rect().center();
        QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(list->viewport(), &enter);
        QDropEvent drop(QPointF(at), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(list->viewport(), &drop);
        EXPECT_EQ(static_cast<int>(form->sources().size()), c.sources);
        EXPECT_EQ(list->rowCount(), c.sources);
    }
    EXPECT_EQ(list->item(0, 0)->text(), file);
    EXPECT_EQ(list->item(1, 1)->text(), "Folder");

    list->selectRow(0);
    click("removeSources");
    EXPECT_EQ(list->rowCount(), 2);
    click("clearSources");
    EXPECT_EQ(list->rowCount(), 0);
}

TEST_F(Window, TheSummaryFollowsTheFilter) {
    harvestDocs();
    auto* tabs = w<QTabWidget>("tabs");
    auto* summary = w<harvest::SummaryView>("summary");
    tabs->setCurrentWidget(summary);
    QApplication::processEvents();
    EXPECT_EQ(summary->counts().contacts, form->contacts().rowCount());
    // The sources read, by the kind each was recognised as.
    int read = 0;
    for (const auto& [kind, n] : summary->counts().sources) {
        read += n;
    }
    EXPECT_EQ(read, static_cast<int>(form->sourcesRead().size()));
    EXPECT_GT(read, 1);

    tabs->setCurrentIndex(0);
    QTest::keyClicks(w<QLineEdit>("domainFilter"), "riverbend.org");
    QSignalSpy updated(summary, &harvest::SummaryView::updated);
    tabs->setCurrentWidget(summary);
    if (updated.isEmpty()) {
        ASSERT_TRUE(updated.wait(5000));
    }
    EXPECT_EQ(summary->counts().contacts, 2);
    const std::vector<std::pair<QString, int>> domains = {{"riverbend.org", 2}};
    EXPECT_EQ(summary->counts().domains, domains);
}

TEST_F(Window, SizeAndSplittersAreRemembered) {
    window->resize(window->minimumSizeHint() + QSize(120, 80));
    const QSize size = window->size();
    auto* splitter = w<QSplitter>("sightingsSplitter");
    splitter->setSizes({500, 300});
    const QList<int> sizes = splitter->sizes();
    window->close();
    EXPECT_FALSE(form->setting("geometry").isEmpty());
    EXPECT_FALSE(form->setting("sightingsSplitter").isEmpty());
    open();
    EXPECT_EQ(window->size(), size);
    EXPECT_EQ(w<QSplitter>("sightingsSplitter")->sizes(), sizes);
}

}  // namespace
