#pragma once
// A Ui for tests: answers message boxes and file dialogs from queues and
// records everything the program asked of the screen, so that tests can
// assert exact texts, titles, buttons, icons and default buttons.
#include <deque>
#include <string>
#include <vector>

#include "platform/ui/Ui.h"

namespace ql::test {

class ScriptedUi : public ql::ui::Ui {
public:
    struct Dialog {
        bool save = false;
        ql::ui::FileDialog request;
    };
    struct Started {
        std::string commandLine;
        ql::ui::WindowStyle style;
    };

    // Queued answers; a message box with nothing queued answers its default
    // button's OK / Yes / ..., a file dialog with nothing queued is cancelled.
    std::deque<ql::ui::Answer> answers;
    std::deque<ql::ui::FileDialogResult> fileAnswers;
    // When set, startProcess throws the "File not found" runtime error.
    bool failStarts = false;

    std::vector<ql::ui::Message> messages;
    std::vector<Dialog> dialogs;
    std::vector<std::string> statusTexts;
    std::vector<std::pair<int, int>> progress;
    std::vector<ql::ui::MousePointer> pointers;
    std::vector<Started> started;
    int eventPumps = 0;

    void answer(ql::ui::Answer a) { answers.push_back(a); }
    void chooseFile(const std::string& name) { fileAnswers.push_back({true, name}); }
    void cancelFile() { fileAnswers.push_back({false, {}}); }

    std::string lastStatus() const { return statusTexts.empty() ? std::string() : statusTexts.back(); }

    ql::ui::Answer messageBox(const ql::ui::Message& message) override;
    ql::ui::FileDialogResult showOpen(const ql::ui::FileDialog& dialog) override;
    ql::ui::FileDialogResult showSave(const ql::ui::FileDialog& dialog) override;
    void setStatusText(const std::string& text) override { statusTexts.push_back(text); }
    void setProgress(int value, int maximum) override { progress.emplace_back(value, maximum); }
    void setMousePointer(ql::ui::MousePointer p) override { pointers.push_back(p); }
    void startProcess(const std::string& commandLine, ql::ui::WindowStyle style) override;
    void doEvents() override { ++eventPumps; }

private:
    ql::ui::FileDialogResult nextFile(bool save, const ql::ui::FileDialog& dialog);
};

}  // namespace ql::test
