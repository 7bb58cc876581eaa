#include "app/reporttool/HeadlessUi.h"

namespace ql::reporttool {

using ui::Answer;

Answer HeadlessUi::messageBox(const ui::Message& message) {
    messages.push_back(message);
    return ui::defaultAnswer(message);
}

ui::FileDialogResult HeadlessUi::showOpen(const ui::FileDialog& dialog) {
    throw DialogRequested("an open-file dialog \"" + dialog.title + "\" was asked for in a run without a screen");
}

ui::FileDialogResult HeadlessUi::showSave(const ui::FileDialog& dialog) {
    throw DialogRequested("a save-file dialog \"" + dialog.title + "\" was asked for in a run without a screen");
}

void HeadlessUi::setStatusText(const std::string& text) {
    status = text;
    if (onStatus) onStatus(text);
}

void HeadlessUi::setProgress(int value, int maximum) {
    progressValue = value;
    progressMaximum = maximum;
}

void HeadlessUi::startProcess(const std::string& commandLine, ui::WindowStyle style) {
    started.push_back({commandLine, style});
}

}  // namespace ql::reporttool
