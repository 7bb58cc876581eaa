#include "tests/app/ShellFixture.h"

#include <QElapsedTimer>

namespace ql::test {

QApplication& application() {
    static int argc = 1;
    static char name[] = "shell-test";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

void onModal(std::function<void(QWidget*)> act) {
    auto* timer = new QTimer;
    auto clock = std::make_shared<QElapsedTimer>();
    clock->start();
    timer->setInterval(5);
    QObject::connect(timer, &QTimer::timeout, [timer, clock, act] {
        if (auto* modal = QApplication::activeModalWidget()) {
            timer->stop();
            timer->deleteLater();
            act(modal);
        } else if (clock->elapsed() > 5000) {
            timer->stop();
            timer->deleteLater();
            ADD_FAILURE() << "no modal dialog opened";
        }
    });
    timer->start();
}

ShellTest::ShellTest() {
    application();
    values.LoginUserName = "jsmith";
    values.WindowsFolder = "/usr/bin/";
    values.WindowsVersionName = "Unknown";
}

ShellTest::~ShellTest() {
    window_.reset();
    QCoreApplication::processEvents();
}

RecordingWindow& ShellTest::window() {
    if (!window_) {
        app::Services s;
        s.ui = &ui;
        s.registry = &registry;
        s.settings = &settings;
        s.program = &values;
        s.help = &help;
        s.programFolder = program.path().string();
        s.fileExists = [](const std::string&) { return false; };
        s.endProgram = [this] { ++programEnds; };
        window_ = std::make_unique<RecordingWindow>(s);
    }
    return *window_;
}

RecordingWindow& ShellTest::load(ui::Answer security) {
    ui.answer(security);
    auto& w = window();
    w.Form_Load();
    return w;
}

}  // namespace ql::test
