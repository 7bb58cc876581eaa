// Draws the results tab after an analysis for the README: a copy of a
// corpus database opened through "Database..", analysed, and the tables
// grid chosen in the list of kinds.
// Usage: analysis_screenshot <output.png> [database] [workgroup]
//        (corpus file names; under xvfb-run or offscreen)
#include <QApplication>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

#include <cstdio>
#include <filesystem>

#include "app/frmQuarrylantern.h"
#include "tests/support/Corpus.h"
#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

namespace {

struct NoHelp : ql::viewers::HelpViewer {
    bool present() const override { return true; }
    void show(const std::string&, int, ql::ui::WindowStyle) override {}
};

std::string writableCopy(const ql::test::TempFolder& folder, const std::string& name) {
    namespace fs = std::filesystem;
    const auto target = folder.path() / name;
    fs::copy_file(ql::test::corpusFile(name), target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    return target.string();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <output.png> [database] [workgroup]\n", argv[0]);
        return 2;
    }
    const std::string database = argc > 2 ? argv[2] : "j3_nwind_krystek.mdb";
    const std::string workgroup = argc > 3 ? argv[3] : "j3_mssecure.mdw";
    QApplication app(argc, argv);
    ql::test::TempFolder program, user, data;
    ql::profile::SettingsFile settings(program.path(), user.path());
    ql::test::ScriptedUi ui;
    ui.answer(ql::ui::Answer::Yes);
    ql::registry::DesktopRegistry registry;
    ql::env::ProgramValues values = ql::env::ComputeProgramValues(ql::env::LinuxSystemProbe(), registry);
    values.LoginUserName = "jsmith";
    NoHelp help;

    ql::app::Services services;
    services.ui = &ui;
    services.registry = &registry;
    services.settings = &settings;
    services.program = &values;
    services.help = &help;
    services.programFolder = program.path().string();
    services.endProgram = [] {};

    ql::app::frmQuarrylantern window(services);
    window.Timer1()->setInterval(10);
    window.Form_Load();
    window.resize(980, 560);

    ui.chooseFile(writableCopy(data, workgroup));
    ui.chooseFile(writableCopy(data, database));
    window.cmdFind()->click();
    if (!window.state().CurrentDb) {
        std::fprintf(stderr, "%s did not open: %s\n", database.c_str(),
                     ui.messages.empty() ? "" : ui.messages.back().text.c_str());
        return 1;
    }
    // Where choosing the output file would put the error log.
    window.state().ErrorLogPath = (data.path() / "Errors.Log").string();
    window.cmdAnalyse()->setEnabled(true);
    window.cmdAnalyse()->click();

    window.SSTab()->setCurrentIndex(ql::grids::kTabStatistics);
    auto* tables = window.lstItem()->findItems(QStringLiteral("Tables"), Qt::MatchExactly).value(0);
    if (!tables) return 1;
    window.lstItem()->setCurrentItem(tables);
    window.lstItem_Click();
    QApplication::processEvents();
    return window.grab().save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
