// Writes the user guide's pictures from the real window, offscreen:
//
//   QT_QPA_PLATFORM=offscreen guide-screenshots FOLDER [PICTURE...]
//
// Each scene builds a fresh main window over a copy of the bundled samples,
// acts as a user would and saves what the window shows. A new picture is one
// more entry in Scenes(). Answers to questions come from scripted prompts, so
// no dialog waits for a click; the clock is fixed, so pictures only change
// when the window does.
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QHeaderView>
#include <QImageReader>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTableView>
#include <QTimer>
#include <functional>
#include <iostream>
#include <map>

#include "Dialogs.h"
#include "Fakes.h"
#include "HarvestForm.h"
#include "HarvestWindow.h"
#include "MainForm.h"
#include "MainWindow.h"
#include "ScriptedPrompts.h"
#include "SettingsStore.h"

namespace {

// The samples, copied under a fixed name so that the paths in the pictures
// stay the same from one run to the next.
class SampleFolder {
public:
    SampleFolder() : root_(QDir::tempPath() + "/gleanmark-guide") {
        if (QDir::tempPath().isEmpty()) {
            throw std::runtime_error("the temporary folder (TMPDIR) does not exist");
        }
        QDir(root_).removeRecursively();
        copy(SAMPLES_DIR, root_ + "/samples");
    }
    ~SampleFolder() { QDir(root_).removeRecursively(); }
    std::string path(const QString& name) const {
        return (root_ + "/samples/" + name).toStdString();
    }

private:
    static void copy(const QString& from, const QString& to) {
        QDir().mkpath(to);
        const QDir source(from);
        for (const QFileInfo& f :
             source.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (f.isDir()) {
                copy(f.filePath(), to + "/" + f.fileName());
            } else {
                QFile::copy(f.filePath(), to + "/" + f.fileName());
            }
        }
    }
    QString root_;
};

// A main window on scripted ports, opened at a folder of the samples.
class Stage {
public:
    Stage(const SampleFolder& samples, const QString& folder) : samples_(samples) {
        form.Form_Load();
        form.setFolder(samples.path(folder));
        window_ = std::make_unique<MainWindow>(form);
        window_->show();
        QApplication::processEvents();
    }
    template <typename T = QWidget>
    T* widget(const char* name) {
        T* w = window().findChild<T*>(name);
        if (!w) {
            throw std::runtime_error(std::string("no widget ") + name);
        }
        return w;
    }
    void click(const char* name) { widget<QAbstractButton>(name)->click(); }
    // Picks the files of the listed folder by name and moves them to
    // "Chosen Files".
    void choose(const std::vector<std::string>& names) {
        std::vector<int> rows;
        const auto& items = form.ctl("List1").items;
        for (const auto& n : names) {
            const auto it = std::find(items.begin(), items.end(), n);
            if (it == items.end()) {
                throw std::runtime_error("no file " + n);
            }
            rows.push_back(static_cast<int>(it - items.begin()));
        }
        form.setSelection("List1", rows);
        window().sync();
        click("CmdAdd");
        QApplication::processEvents();  // the mouse-up work of ">>"
    }
    std::string sample(const QString& name) const { return samples_.path(name); }
    // Ticks "Keywords." and opens the sample keyword file.
    void openKeywords() {
        click("ChkKeyword");
        prompts.openPaths = {sample("keywords.txt")};
        click("CmdOpenKW");
    }
    // Shows another folder of the samples in "Choosing Files".
    void showFolder(const QString& folder) {
        form.setFolder(sample(folder));
        window().sync();
    }

    // The whole window, or the part that holds the named frames ("Settings")
    // and widgets ("DataGrid1").
    QImage shot(const std::vector<QString>& parts = {}) {
        QApplication::processEvents();
        if (parts.empty()) {
            return window().grab().toImage();
        }
        QRect area;
        for (const QString& part : parts) {
            QWidget* w = window().findChild<QWidget*>(part);
            for (QGroupBox* box : window().findChildren<QGroupBox*>()) {
                if (box->title() == part) {
                    w = box;
                }
            }
            if (!w) {
                throw std::runtime_error("no part " + part.toStdString());
            }
            area |= QRect(w->mapTo(&window(), QPoint(0, 0)), w->size());
        }
        return window().grab(area.adjusted(-4, -4, 4, 4)).toImage();
    }

    // The result grid, cut to the rows and columns it holds.
    QImage gridShot() {
        auto* grid = widget<QTableView>("DataGrid1");
        grid->horizontalHeader()->setStretchLastSection(false);
        grid->resizeColumnsToContents();
        QApplication::processEvents();
        const int frame = grid->frameWidth();
        const QSize used(
            2 * frame + grid->verticalHeader()->width() + grid->horizontalHeader()->length(),
            2 * frame + grid->horizontalHeader()->height() + grid->verticalHeader()->length());
        return grid->grab(QRect(QPoint(0, 0), used.boundedTo(grid->size()))).toImage();
    }

    ScriptedPrompts prompts;
    ScriptedPump pump;
    FixedClock clock;
    RecordingLauncher launcher;
    FakeEditing editing;
    MainForm form{{prompts, pump, clock, launcher, editing, editing}};
    MainWindow& window() { return *window_; }

private:
    const SampleFolder& samples_;
    std::unique_ptr<MainWindow> window_;
};

// The picture of a modal dialog, taken once `open` has shown it; the dialog
// is then closed, so `open` returns.
QImage ShotOfModal(const std::function<void()>& open) {
    QImage picture;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (QWidget* dialog = QApplication::activeModalWidget()) {
            picture = dialog->grab().toImage();
            dialog->close();
        }
    });
    poll.start(20);
    open();
    return picture;
}

// The Harvest window over its form, with settings in memory, sized as a
// first start makes it.
class HarvestStage {
public:
    explicit HarvestStage(const SampleFolder& samples) : samples_(samples) {
        window.resize(1000, 700);
        window.show();
        QApplication::processEvents();
    }
    QString sample(const QString& name) const {
        return QString::fromStdString(samples_.path(name));
    }
    void click(const char* name) {
        auto* button = window.findChild<QPushButton*>(name);
        if (!button) {
            throw std::runtime_error(std::string("no button ") + name);
        }
        button->click();
    }
    // Harvests the sources and waits for the end of the run.
    void harvest() {
        QSignalSpy finished(&form, &harvest::HarvestForm::runFinished);
        click("harvest");
        if (!finished.wait(60000)) {
            throw std::runtime_error("the harvest did not end");
        }
        auto* table = window.findChild<QTableView*>("contacts");
        table->resizeColumnsToContents();
        table->selectRow(0);
    }
    QImage shot() {
        QApplication::processEvents();
        return window.grab().toImage();
    }

    class Settings : public SettingsStore {
    public:
        std::optional<std::string> value(const std::string& a, const std::string& s,
                                         const std::string& k) const override {
            auto it = values.find(a + "/" + s + "/" + k);
            return it == values.end() ? std::nullopt : std::optional<std::string>(it->second);
        }
        void setValue(const std::string& a, const std::string& s, const std::string& k,
                      const std::string& v) override {
            values[a + "/" + s + "/" + k] = v;
        }
        std::map<std::string, std::string> values;
    } settings;
    harvest::HarvestForm form{settings};
    harvest::HarvestWindow window{form};

private:
    const SampleFolder& samples_;
};

struct Scene {
    const char* file;
    std::function<QImage(const SampleFolder&)> shoot;
};

const std::vector<Scene>& Scenes() {
    static const std::vector<Scene> scenes = {
        {"icon.png",
         [](const SampleFolder&) {
             QImageReader icon(ICON_FILE);
             icon.setScaledSize(QSize(96, 96));
             return icon.read();
         }},
        {"main-window.png",
         [](const SampleFolder& s) {
             Stage stage(s, "mail");
             stage.click("CmdSelectAll1");
             stage.click("CmdAdd");
             stage.click("Option4");
             for (const char* box : {"chkHead", "chkFrom", "chkTo", "chkCC"}) {
                 stage.click(box);
             }
             stage.click("cmdProcessAll");
             stage.widget<QTableView>("DataGrid1")->resizeColumnsToContents();
             return stage.shot();
         }},
        {"choosing-files.png",
         [](const SampleFolder& s) {
             Stage stage(s, "pages");
             stage.choose({"contact.html"});
             return stage.shot({"Choosing Files", "Chosen Files"});
         }},
        {"email-ticked.png",
         [](const SampleFolder& s) {
             Stage stage(s, "pages");
             stage.click("ChkEmail");
             return stage.shot({"Function Selection", "Advanced Setting"});
         }},
        {"keywords-ticked.png",
         [](const SampleFolder& s) {
             Stage stage(s, "pages");
             stage.openKeywords();
             return stage.shot({"Function Selection", "Advanced Setting", "Settings"});
         }},
        {"keyword-run.png",
         [](const SampleFolder& s) {
             Stage stage(s, "pages");
             stage.openKeywords();
             stage.click("chkFileName");
             stage.choose({"team.asp"});
             stage.showFolder("text");
             stage.choose({"notes.txt"});
             stage.click("cmdProcessAll");
             return stage.gridShot();
         }},
        {"mail-list.png",
         [](const SampleFolder& s) {
             Stage stage(s, "mail");
             stage.window().resize(1180, 1400);
             stage.choose({"board_invite.eml", "re_catering.eml"});
             // FileName is offered by "Process Selected Files" and kept.
             stage.click("Option3");
             stage.click("chkFileName");
             stage.click("Option4");
             for (const char* box : {"chkHead", "chkFrom", "chkTo", "chkCC"}) {
                 stage.click(box);
             }
             stage.click("cmdProcessAll");
             return stage.gridShot();
         }},
        {"keyword-dialog.png",
         [](const SampleFolder&) {
             FrmAddNewKW dialog("New KeyWord", {"Phone:", "1, 2"},
                                [](const Prompts::KeywordEntry&) { return true; });
             dialog.show();
             QApplication::processEvents();
             return dialog.grab().toImage();
         }},
        {"problem-dialog.png",
         [](const SampleFolder& s) {
             dlgMsg dialog;
             const std::string text = "The file '" + s.path("mail/notes.pdf") +
                                      "' is not appropriate to be processed, \r\n"
                                      " So, it will be skipped!";
             return ShotOfModal([&] { dialog.ask(text); });
         }},
        // The web window's pictures join here when it lands.
        {"harvest-before.png",
         [](const SampleFolder& s) {
             HarvestStage stage(s);
             stage.form.addPaths({stage.sample("mail"), stage.sample("pages/contact.html")});
             QString problem;
             stage.form.addSite("https://www.example.org/", stage.form.defaultPoliteness(),
                                problem);
             return stage.shot();
         }},
        {"harvest-during.png",
         [](const SampleFolder& s) {
             HarvestStage stage(s);
             stage.form.addPaths(
                 {stage.sample("mail"), stage.sample("pages"), stage.sample("text")});
             stage.click("harvest");
             // Taken as the run starts, before its first contacts arrive.
             const QImage picture = stage.window.grab().toImage();
             QSignalSpy finished(&stage.form, &harvest::HarvestForm::runFinished);
             finished.wait(60000);
             return picture;
         }},
        {"harvest-after.png",
         [](const SampleFolder& s) {
             HarvestStage stage(s);
             stage.form.addPaths(
                 {stage.sample("mail"), stage.sample("pages"), stage.sample("text")});
             stage.harvest();
             return stage.shot();
         }},
        {"harvest-summary.png",
         [](const SampleFolder& s) {
             HarvestStage stage(s);
             stage.form.addPaths(
                 {stage.sample("mail"), stage.sample("pages"), stage.sample("text")});
             stage.harvest();
             stage.window.findChild<QTabWidget*>("tabs")->setCurrentIndex(1);
             return stage.shot();
         }},
    };
    return scenes;
}

}  // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    if (argc < 2) {
        std::cerr << "usage: guide-screenshots FOLDER [PICTURE...]\n";
        return 2;
    }
    const QDir out(argv[1]);
    QDir().mkpath(out.path());
    const std::vector<std::string> wanted(argv + 2, argv + argc);
    int failed = 0;
    try {
        const SampleFolder samples;
        for (const Scene& scene : Scenes()) {
            if (!wanted.empty() &&
                std::find(wanted.begin(), wanted.end(), scene.file) == wanted.end()) {
                continue;
            }
            const QString path = out.filePath(scene.file);
            const QImage picture = scene.shoot(samples);
            if (picture.isNull() || !picture.save(path)) {
                std::cerr << "could not make " << path.toStdString() << "\n";
                ++failed;
                continue;
            }
            std::cout << path.toStdString() << " " << picture.width() << "x" << picture.height()
                      << "\n";
        }
    } catch (const std::exception& e) {
        std::cerr << "guide-screenshots: " << e.what() << "\n";
        return 1;
    }
    return failed == 0 ? 0 : 1;
}
