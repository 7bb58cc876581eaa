#include "app/HelpWindow.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace ql::app {

HelpWindow::HelpWindow(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("HelpWindow"));
    setWindowTitle(QStringLiteral("Quarrylantern Help"));
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QHBoxLayout;
    auto* back = new QPushButton(QStringLiteral("< &Back"), this);
    auto* home = new QPushButton(QStringLiteral("&Contents"), this);
    bar->addWidget(back);
    bar->addWidget(home);
    bar->addStretch();
    layout->addLayout(bar);
    browser_ = new QTextBrowser(this);
    browser_->setObjectName(QStringLiteral("helpBrowser"));
    browser_->setOpenExternalLinks(true);
    layout->addWidget(browser_);
    connect(back, &QPushButton::clicked, browser_, &QTextBrowser::backward);
    connect(home, &QPushButton::clicked, browser_, &QTextBrowser::home);
    connect(browser_, &QTextBrowser::backwardAvailable, back, &QPushButton::setEnabled);
    back->setEnabled(false);
    resize(760, 600);
}

QUrl HelpWindow::sourceFor(const std::string& helpFile) {
    const auto file = QString::fromStdString(helpFile);
    if (QFileInfo(file).isFile()) return QUrl::fromLocalFile(file);
    return QUrl(QStringLiteral("qrc:/help/index.html"));
}

void HelpWindow::showPage(const std::string& helpFile) { browser_->setSource(sourceFor(helpFile)); }

void QtHelpViewer::show(const std::string& helpFile, int /*contextId*/, ui::WindowStyle style) {
    // Every topic number opens the contents page: the help is one small book.
    if (!window_) {
        window_ = new HelpWindow;
        window_->setAttribute(Qt::WA_DeleteOnClose);
    }
    window_->showPage(helpFile);
    if (style == ui::WindowStyle::MaximizedFocus)
        window_->showMaximized();
    else
        window_->showNormal();
    window_->raise();
    window_->activateWindow();
}

void QtHelpViewer::closeWindow() {
    if (window_) window_->close();
}

}  // namespace ql::app
