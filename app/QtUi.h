#pragma once
// The UI interface on Qt Widgets: message boxes, file dialogs, the main
// window's status bar and progress bar, the busy pointer, the launcher.
#include <QPointer>
#include <QString>
#include <QStringList>

#include "platform/ui/Launcher.h"
#include "platform/ui/Ui.h"

class QLabel;
class QProgressBar;
class QWidget;

namespace ql::app {

class QtUi : public ui::Ui {
public:
    QtUi() = default;

    // The window that owns dialogs and shows the status text and progress.
    void attach(QWidget* window, QLabel* statusPanel, QProgressBar* progress);

    ui::Answer messageBox(const ui::Message& message) override;
    ui::FileDialogResult showOpen(const ui::FileDialog& dialog) override;
    ui::FileDialogResult showSave(const ui::FileDialog& dialog) override;
    void setStatusText(const std::string& text) override;
    void setProgress(int value, int maximum) override;
    void setMousePointer(ui::MousePointer pointer) override;
    void startProcess(const std::string& commandLine, ui::WindowStyle style) override;
    void doEvents() override;

    // "Text Files (*.TXT)|*.TXT|All Files (*.*)|*.*" as Qt name filters.
    static QStringList nameFilters(const std::string& filter);
    // "\r\n" line breaks as Qt's labels want them.
    static QString displayText(const std::string& text);
    // Which of the filter's pairs (counted from 0) picks Windows programs
    // ("*.exe"); -1 when none does.
    static int executableFilterIndex(const std::string& filter);

private:
    ui::FileDialogResult runDialog(const ui::FileDialog& dialog, bool save);

    QPointer<QWidget> window_;
    QPointer<QLabel> statusPanel_;
    QPointer<QProgressBar> progress_;
    bool busy_ = false;
    ui::Launcher launcher_;
};

}  // namespace ql::app
