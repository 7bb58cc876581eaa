// Draws the main window for the README, under xvfb-run or offscreen.
//   shell_screenshot <output.png>
//     left, the window as it starts; right, its Tables tab (switched on here
//     only to show it; an analysis run switches the tabs on).
//   shell_screenshot --analysis <output.png> [database] [workgroup]
//     the results tab after "Database.." (copies of the corpus files named)
//     and "Analyse", with the tables grid chosen in the list of kinds.
#include <QApplication>
#include <QListWidget>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

#include <cstdio>
#include <cstring>

#include "app/frmQuarrylantern.h"
#include "tests/support/Corpus.h"
#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

namespace {

struct NoHelp : ql::viewers::HelpViewer {
    bool present() const override { return true; }
    void show(const std::string&, int, ql::ui::WindowStyle) override {}
};

QPixmap startAndTables(ql::app::frmQuarrylantern& window) {
    const QPixmap start = window.grab();
    window.SSTab()->setTabEnabled(ql::grids::kTabTables, true);
    window.SSTab()->setCurrentIndex(ql::grids::kTabTables);
    QApplication::processEvents();
    const QPixmap tables = window.grab();

    const int gap = 16;
    QPixmap sheet(start.width() + gap + tables.width(), std::max(start.height(), tables.height()));
    sheet.fill(QColor(0xd8, 0xdc, 0xe4));
    QPainter painter(&sheet);
    painter.drawPixmap(0, 0, start);
    painter.drawPixmap(start.width() + gap, 0, tables);
    painter.end();
    return sheet;
}

QPixmap analysedTables(ql::app::frmQuarrylantern& window, ql::test::ScriptedUi& ui, const std::string& database,
                       const std::string& workgroup) {
    const ql::test::TempFolder data;
    ui.chooseFile(ql::test::writableCopy(workgroup, data.path()).string());
    ui.chooseFile(ql::test::writableCopy(database, data.path()).string());
    window.cmdFind()->click();
    if (!window.state().CurrentDb) {
        std::fprintf(stderr, "%s did not open: %s\n", database.c_str(),
                     ui.messages.empty() ? "" : ui.messages.back().text.c_str());
        return {};
    }
    // Where choosing the output file would put the error log.
    window.state().ErrorLogPath = (data.path() / "Errors.Log").string();
    window.cmdAnalyse()->setEnabled(true);
    window.cmdAnalyse()->click();

    window.SSTab()->setCurrentIndex(ql::grids::kTabStatistics);
    auto* tables = window.lstItem()->findItems(QStringLiteral("Tables"), Qt::MatchExactly).value(0);
    if (!tables) return {};
    window.lstItem()->setCurrentItem(tables);
    window.lstItem_Click();
    QApplication::processEvents();
    return window.grab();
}

}  // namespace

int main(int argc, char** argv) {
    const bool analysis = argc > 1 && std::strcmp(argv[1], "--analysis") == 0;
    const int first = analysis ? 2 : 1;
    if (argc <= first) {
        std::fprintf(stderr, "usage: %s <output.png>\n       %s --analysis <output.png> [database] [workgroup]\n",
                     argv[0], argv[0]);
        return 2;
    }
    QApplication app(argc, argv);
    ql::test::TempFolder program, user;
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
    QApplication::processEvents();
    const QPixmap picture =
        analysis ? analysedTables(window, ui, argc > first + 1 ? argv[first + 1] : "j3_nwind_krystek.mdb",
                                  argc > first + 2 ? argv[first + 2] : "j3_mssecure.mdw")
                 : startAndTables(window);
    return !picture.isNull() && picture.save(QString::fromLocal8Bit(argv[first])) ? 0 : 1;
}
