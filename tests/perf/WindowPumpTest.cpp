// The window during one long read: it repaints and its timers run, while a
// click the user made waits until the command is over.
#include <QApplication>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "app/frmQuarrylantern.h"
#include "env/ProgramValues.h"
#include "platform/jet/Database.h"
#include "platform/profile/SettingsFile.h"
#include "platform/registry/Registry.h"
#include "tests/perf/CountedTable.h"
#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

// The queue through which the window system hands Qt its input. Its header
// is only in Qt's private development package, which the build does not
// need otherwise; the function is exported by Qt Gui.
class QWindowSystemInterface {
public:
    struct AsynchronousDelivery;
    template <typename Delivery>
    static bool handleMouseEvent(QWindow* window, const QPointF& local, const QPointF& global,
                                 Qt::MouseButtons state, Qt::MouseButton button, QEvent::Type type,
                                 Qt::KeyboardModifiers mods, Qt::MouseEventSource source);
};

namespace ql::app {
namespace {

QApplication& application() {
    static int argc = 1;
    static char name[] = "window-pump-test";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

struct NoHelp : viewers::HelpViewer {
    bool present() const override { return false; }
    void show(const std::string&, int, ui::WindowStyle) override {}
};

// Notes whether each paint and mouse press came while `busy` was set.
class Watched : public QWidget {
public:
    explicit Watched(const bool& busy) : busy_(busy) { resize(100, 100); }
    std::vector<bool> paints, presses;

protected:
    void paintEvent(QPaintEvent*) override { paints.push_back(busy_); }
    void mousePressEvent(QMouseEvent*) override { presses.push_back(busy_); }

private:
    const bool& busy_;
};

void queueClick(QWidget& widget) {
    QWindow* window = widget.windowHandle();
    ASSERT_NE(window, nullptr);
    const QPointF local(10, 10);
    const QPointF global = window->mapToGlobal(local.toPoint());
    QWindowSystemInterface::handleMouseEvent<QWindowSystemInterface::AsynchronousDelivery>(
        window, local, global, Qt::LeftButton, Qt::LeftButton, QEvent::MouseButtonPress, Qt::NoModifier,
        Qt::MouseEventNotSynthesized);
    QWindowSystemInterface::handleMouseEvent<QWindowSystemInterface::AsynchronousDelivery>(
        window, local, global, Qt::NoButton, Qt::LeftButton, QEvent::MouseButtonRelease, Qt::NoModifier,
        Qt::MouseEventNotSynthesized);
}

TEST(WindowPump, ACommandCountingALargeTableRepaintsAndRunsTimersButKeepsClicksForLater) {
    application();
    const test::TempFolder folder;
    test::ScriptedUi ui;
    registry::MemoryRegistry registry;
    profile::SettingsFile settings(folder.path(), folder.path(), [](const std::filesystem::path&) { return true; });
    env::ProgramValues program;
    NoHelp help;
    Services services;
    services.ui = &ui;
    services.registry = &registry;
    services.settings = &settings;
    services.program = &program;
    services.help = &help;
    services.programFolder = folder.path().string();
    services.fileExists = [](const std::string&) { return false; };
    services.endProgram = [] {};
    // Every progress call pumps: the test's table is counted in milliseconds.
    services.eventPumpInterval = std::chrono::milliseconds(0);
    frmQuarrylantern window(services);

    bool busy = false;
    Watched watched(busy);
    watched.show();
    QCoreApplication::processEvents();
    watched.paints.clear();

    const jet::Database db = jet::Database::open(test::countedDatabase());
    const jet::TableDef table = db.tableDef("Counted");
    std::vector<bool> ticks;
    QTimer timer;
    timer.setInterval(0);
    QObject::connect(&timer, &QTimer::timeout, [&] { ticks.push_back(busy); });
    std::uint64_t rows = 0;
    window.runCommand([&](grids::WindowContext&) {
        timer.start();
        watched.update();
        queueClick(watched);
        busy = true;
        rows = db.liveRecordCount(table);
        busy = false;
        timer.stop();
    });
    EXPECT_EQ(rows, test::kCountedRows);
    // Nothing ran before the count; it ran during it, more than once.
    EXPECT_GE(ticks.size(), 2u);
    EXPECT_EQ(std::count(ticks.begin(), ticks.end(), false), 0);
    ASSERT_FALSE(watched.paints.empty());
    EXPECT_EQ(std::count(watched.paints.begin(), watched.paints.end(), false), 0);
    EXPECT_TRUE(watched.presses.empty());

    // The click waited; it was not lost.
    QCoreApplication::processEvents();
    EXPECT_EQ(watched.presses, std::vector<bool>{false});
}

}  // namespace
}  // namespace ql::app
