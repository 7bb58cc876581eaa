#pragma once
// What the program's commands need from the screen: message boxes and
// questions, file dialogs, the status bar, the progress bar, the busy
// pointer, starting other programs and letting pending window events run.
// The Qt window implements it; tests use a scripted implementation that
// answers from a queue and records every message. No Qt header here, so
// every layer below the window can use it.
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/RuntimeError.h"

namespace ql::ui {

// The button sets, icons and answers of a classic message box.
enum class Buttons { OK, OKCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };
enum class Icon { None, Critical, Question, Exclamation, Information };
enum class DefaultButton { First, Second, Third };
enum class Answer { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

struct Message {
    std::string text;   // lines joined with "\r\n"
    std::string title;
    Buttons buttons = Buttons::OK;
    Icon icon = Icon::None;
    DefaultButton defaultButton = DefaultButton::First;
};

// The answers of a button set, left to right: the order DefaultButton counts.
std::vector<Answer> answersOf(Buttons buttons);

// What a box answers when Enter is pressed: its default button, or the first
// when the default lies past the last button, as the message box itself does.
Answer defaultAnswer(const Message& message);

// The window look asked of a started program. Other programs on Linux
// choose their own window state, so this is a wish, not a promise.
enum class WindowStyle {
    Hide = 0,
    NormalFocus = 1,
    MinimizedFocus = 2,
    MaximizedFocus = 3,
    NormalNoFocus = 4,
    MinimizedNoFocus = 6,
};

enum class MousePointer { Default = 0, Hourglass = 11 };

struct FileDialog {
    std::string title;
    // Pairs of description and pattern separated by "|":
    // "Text Files (*.TXT)|*.TXT|All Files (*.*)|*.*"
    std::string filter;
    std::string fileName;          // preset file name (often a full path)
    std::string initialFolder;
    std::string defaultExtension;  // ".EXE": added to a name typed without one
    bool cancelError = false;      // the caller asked for an error on Cancel
};

struct FileDialogResult {
    bool accepted = false;  // false: the user cancelled
    std::string fileName;
};

// A runtime error as the command handlers' error traps see it: a number and
// a description text. One type for every layer, so a trap catches them all.
using RuntimeError = ql::RuntimeError;

class Ui {
public:
    virtual ~Ui() = default;

    virtual Answer messageBox(const Message& message) = 0;
    virtual FileDialogResult showOpen(const FileDialog& dialog) = 0;
    virtual FileDialogResult showSave(const FileDialog& dialog) = 0;

    // The first panel of the status bar; shown at once, even while long work
    // keeps the event loop busy.
    virtual void setStatusText(const std::string& text) = 0;
    // The progress bar: `maximum` 0 hides it.
    virtual void setProgress(int value, int maximum) = 0;
    virtual void setMousePointer(MousePointer pointer) = 0;

    // Starts `commandLine` detached, without waiting. Throws RuntimeError
    // (runtime_errors::FileNotFound) when nothing could be started.
    virtual void startProcess(const std::string& commandLine, WindowStyle style) = 0;

    // Lets pending window events run (repaints, clicks, timers).
    virtual void doEvents() = 0;

    // Convenience for the common call shape.
    Answer message(const std::string& text, const std::string& title,
                   Buttons buttons = Buttons::OK, Icon icon = Icon::None,
                   DefaultButton defaultButton = DefaultButton::First) {
        return messageBox(Message{text, title, buttons, icon, defaultButton});
    }
};

}  // namespace ql::ui
