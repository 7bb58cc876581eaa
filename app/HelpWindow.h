#pragma once
// The program's help viewer: a window with a text browser showing the HTML
// help that ships with the program.
#include <QPointer>
#include <QWidget>

#include "viewers/Help.h"

class QTextBrowser;
class QUrl;

namespace ql::app {

class HelpWindow : public QWidget {
    Q_OBJECT
public:
    explicit HelpWindow(QWidget* parent = nullptr);
    // help/index.html beside the executable when it is there (it can be
    // updated without rebuilding); otherwise the copy built into the program.
    static QUrl sourceFor(const std::string& helpFile);
    void showPage(const std::string& helpFile);
    QTextBrowser* browser() const { return browser_; }

private:
    QTextBrowser* browser_;
};

// The viewer is built in, so it is always present.
class QtHelpViewer : public viewers::HelpViewer {
public:
    bool present() const override { return true; }
    void show(const std::string& helpFile, int contextId, ui::WindowStyle style) override;
    HelpWindow* window() const { return window_; }
    void closeWindow();

private:
    QPointer<HelpWindow> window_;
};

}  // namespace ql::app
