// Draws the main window for the README: left, the window as it starts;
// right, the Tables tab with its list and buttons (switched on here only to
// show them; the program switches the tabs on after an analysis run).
// Usage: shell_screenshot <output.png>   (under xvfb-run or offscreen)
#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QTabWidget>

#include <cstdio>

#include "app/frmQuarrylantern.h"
#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

namespace {

struct NoHelp : ql::viewers::HelpViewer {
    bool present() const override { return true; }
    void show(const std::string&, int, ql::ui::WindowStyle) override {}
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <output.png>\n", argv[0]);
        return 2;
    }
    QApplication app(argc, argv);
    ql::test::TempFolder program, user;
    ql::profile::SettingsFile settings(program.path(), user.path());
    ql::test::ScriptedUi ui;
    ui.answer(ql::ui::Answer::Yes);
    ql::registry::DesktopRegistry registry;
    ql::env::ProgramValues values =
        ql::env::ComputeProgramValues(ql::env::LinuxSystemProbe(), registry);
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
    window.Form_Load();
    window.resize(980, 560);
    QApplication::processEvents();
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
    return sheet.save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
