#pragma once
// Starting another program from a command line written the Windows way, as
// the program's commands build them ("Notepad.exe \"/home/u/report.txt\"").
#include <functional>
#include <string>
#include <vector>

#include "platform/ui/Ui.h"

namespace ql::ui {

// Splits a command line the way Windows programs receive it: blanks separate
// arguments; double quotes group; inside an argument 2n backslashes before a
// quote give n backslashes and the quote toggles grouping, 2n+1 give n
// backslashes and a literal quote; "" inside a group is a literal quote. The
// program name (the first word) takes no escapes: it runs to the next blank,
// or from a quote to the next quote.
std::vector<std::string> splitCommandLine(const std::string& commandLine);

class Launcher {
public:
    // Finds a program: a name with "/" must exist and be executable, a bare
    // name is looked up on PATH. Returns the path, or empty.
    using Finder = std::function<std::string(const std::string& program)>;
    // Starts a program detached; false when it could not be started.
    using Spawner = std::function<bool(const std::string& program,
                                       const std::vector<std::string>& arguments)>;

    Launcher();  // the real PATH lookup and a detached QProcess start
    Launcher(Finder finder, Spawner spawner);

    // Starts the program named by the command line with its arguments. When
    // that program is not there (Notepad.exe, Excel.exe in an Office folder
    // that does not exist on Linux) and the command names a document after
    // it, the document is opened with the desktop's default application
    // (xdg-open) instead. Throws RuntimeError(runtime_errors::FileNotFound) when nothing
    // could be started.
    void start(const std::string& commandLine, WindowStyle style) const;

    static constexpr const char* kDesktopOpener = "xdg-open";

private:
    Finder finder_;
    Spawner spawner_;
};

}  // namespace ql::ui
