#include "app/reporttool/HeadlessUi.h"

#include <array>

namespace ql::reporttool {

using ui::Answer;

Answer defaultAnswer(const ui::Message& message) {
    // The buttons of each set, left to right, in the order DefaultButton counts.
    static const std::array<std::vector<Answer>, 6> kSets = {{
        {Answer::OK},
        {Answer::OK, Answer::Cancel},
        {Answer::Abort, Answer::Retry, Answer::Ignore},
        {Answer::Yes, Answer::No, Answer::Cancel},
        {Answer::Yes, Answer::No},
        {Answer::Retry, Answer::Cancel},
    }};
    const auto set = static_cast<std::size_t>(message.buttons);
    if (set >= kSets.size()) return Answer::OK;
    const auto& buttons = kSets[set];
    const auto i = static_cast<std::size_t>(message.defaultButton);
    // A default past the last button falls back to the first, as the
    // message box itself does.
    return i < buttons.size() ? buttons[i] : buttons.front();
}

Answer HeadlessUi::messageBox(const ui::Message& message) {
    messages.push_back(message);
    return defaultAnswer(message);
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
