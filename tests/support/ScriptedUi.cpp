#include "tests/support/ScriptedUi.h"

namespace ql::test {

using ql::ui::Answer;
using ql::ui::Buttons;

Answer ScriptedUi::messageBox(const ql::ui::Message& message) {
    messages.push_back(message);
    if (answers.empty()) return ql::ui::defaultAnswer(message);
    const auto a = answers.front();
    answers.pop_front();
    return a;
}

ql::ui::FileDialogResult ScriptedUi::nextFile(bool save, const ql::ui::FileDialog& dialog) {
    dialogs.push_back({save, dialog});
    if (fileAnswers.empty()) return {};
    auto r = fileAnswers.front();
    fileAnswers.pop_front();
    return r;
}

ql::ui::FileDialogResult ScriptedUi::showOpen(const ql::ui::FileDialog& dialog) {
    return nextFile(false, dialog);
}

ql::ui::FileDialogResult ScriptedUi::showSave(const ql::ui::FileDialog& dialog) {
    return nextFile(true, dialog);
}

void ScriptedUi::startProcess(const std::string& commandLine, ql::ui::WindowStyle style) {
    started.push_back({commandLine, style});
    if (failStarts) throw ql::RuntimeError(ql::runtime_errors::FileNotFound, "File not found");
}

}  // namespace ql::test
