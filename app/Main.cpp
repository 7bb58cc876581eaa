#include "app/Main.h"

#include <QApplication>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>

#include "app/HelpWindow.h"
#include "app/QtUi.h"
#include "app/frmQuarrylantern.h"
#include "env/ProgramValues.h"
#include "platform/profile/SettingsFile.h"
#include "platform/registry/Registry.h"

namespace ql::app {

std::optional<std::string> noDisplayMessage(const std::string& platform, const std::string& display,
                                            const std::string& waylandDisplay,
                                            const std::string& programPath) {
    const auto name = platform.substr(0, platform.find(':'));
    bool ok;
    if (name.empty())
        ok = !display.empty() || !waylandDisplay.empty();
    else if (name == "xcb")
        ok = !display.empty();
    else if (name.rfind("wayland", 0) == 0)
        ok = !waylandDisplay.empty();
    else
        ok = true;  // offscreen, vnc, eglfs ... bring their own screen
    if (ok) return std::nullopt;

    std::string folder = programPath;
    if (const auto slash = folder.rfind('/'); slash != std::string::npos)
        folder.resize(slash + 1);
    else
        folder.clear();
    return "Quarrylantern cannot open its window: this session has no display\n"
           "(neither DISPLAY nor WAYLAND_DISPLAY is set).\n"
           "- On a desktop, start it from a terminal inside the desktop session.\n"
           "- Over ssh, use 'ssh -X', or run it on a virtual display:\n"
           "      xvfb-run " + programPath + "\n"
           "- Without any display, the headless tool writes the same reports:\n"
           "      " + folder + "quarrylantern-report --help\n";
}

int Main(int argc, char** argv) {
    auto env = [](const char* name) {
        const char* v = std::getenv(name);
        return std::string(v ? v : "");
    };
    if (const auto message = noDisplayMessage(env("QT_QPA_PLATFORM"), env("DISPLAY"),
                                              env("WAYLAND_DISPLAY"), argc > 0 ? argv[0] : "quarrylantern")) {
        std::fputs(message->c_str(), stderr);
        return 2;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quarrylantern"));

    const registry::DesktopRegistry registry;
    const env::LinuxSystemProbe probe;
    env::ProgramValues program = env::ComputeProgramValues(probe, registry);

    const auto programFolder = QApplication::applicationDirPath().toStdString();
    profile::SettingsFile settings(programFolder, profile::SettingsFile::defaultUserFolder());
    QtUi ui;
    QtHelpViewer help;

    Services services;
    services.ui = &ui;
    services.registry = &registry;
    services.settings = &settings;
    services.program = &program;
    services.help = &help;
    services.programFolder = programFolder;
    services.fileExists = [](const std::string& f) { return QFileInfo(QString::fromStdString(f)).isFile(); };

    frmQuarrylantern window(services);
    ui.attach(&window, window.ssbPanel(), window.pgb());
    window.Form_Load();
    const int code = app.exec();
    help.closeWindow();
    return code;
}

}  // namespace ql::app
