#include "app/QtUi.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QStringList>

#include "app/DialogFolder.h"

namespace ql::app {

namespace {

struct EscapeKeeper : QObject {
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
            return true;
        if (event->type() == QEvent::Close) {
            event->ignore();
            return true;
        }
        return QObject::eventFilter(watched, event);
    }
};

}  // namespace

void QtUi::attach(QWidget* window, QLabel* statusPanel, QProgressBar* progress) {
    window_ = window;
    statusPanel_ = statusPanel;
    progress_ = progress;
}

QString QtUi::displayText(const std::string& text) {
    auto s = QString::fromStdString(text);
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return s;
}

ui::Answer QtUi::messageBox(const ui::Message& message) {
    QMessageBox box(window_);
    box.setWindowTitle(QString::fromStdString(message.title));
    box.setText(displayText(message.text));
    box.setTextFormat(Qt::PlainText);
    switch (message.icon) {
    case ui::Icon::None: box.setIcon(QMessageBox::NoIcon); break;
    case ui::Icon::Critical: box.setIcon(QMessageBox::Critical); break;
    case ui::Icon::Question: box.setIcon(QMessageBox::Question); break;
    case ui::Icon::Exclamation: box.setIcon(QMessageBox::Warning); break;
    case ui::Icon::Information: box.setIcon(QMessageBox::Information); break;
    }
    using SB = QMessageBox::StandardButton;
    auto standardButton = [](ui::Answer answer) {
        switch (answer) {
        case ui::Answer::OK: return SB::Ok;
        case ui::Answer::Cancel: return SB::Cancel;
        case ui::Answer::Abort: return SB::Abort;
        case ui::Answer::Retry: return SB::Retry;
        case ui::Answer::Ignore: return SB::Ignore;
        case ui::Answer::Yes: return SB::Yes;
        case ui::Answer::No: return SB::No;
        }
        return SB::Ok;
    };
    std::vector<std::pair<QMessageBox::StandardButton, ui::Answer>> buttons;
    for (const ui::Answer answer : ui::answersOf(message.buttons)) buttons.emplace_back(standardButton(answer), answer);
    QMessageBox::StandardButtons set;
    for (const auto& b : buttons) set |= b.first;
    box.setStandardButtons(set);
    const auto def = static_cast<std::size_t>(message.defaultButton);
    box.setDefaultButton(buttons[def < buttons.size() ? def : 0].first);
    // A Yes/No question has no "leave it" answer: Escape would otherwise
    // answer No, which for some questions (the start-up's) cannot be taken
    // back. The question waits for Yes or No instead.
    EscapeKeeper keeper;
    if (message.buttons == ui::Buttons::YesNo) box.installEventFilter(&keeper);
    // Closing the box with Escape or the title bar answers Cancel / No / OK,
    // whichever the box has, as a classic message box does.
    const auto clicked = static_cast<SB>(box.exec());
    for (const auto& b : buttons)
        if (b.first == clicked) return b.second;
    return buttons.size() == 1 ? buttons[0].second : buttons.back().second;
}

QStringList QtUi::nameFilters(const std::string& filter) {
    // Patterns match without case, as they do on Windows: "*.MDB" must show
    // "x.mdb". Qt's filters are case-sensitive on Linux, so each letter
    // becomes a bracket pair; "*.*" means every file.
    auto caseless = [](const QString& pattern) {
        if (pattern == QLatin1String("*.*")) return QStringLiteral("*");
        // Linux programs have no ".exe"; which files run is their permission's
        // business (see runDialog).
        if (pattern.compare(QLatin1String("*.exe"), Qt::CaseInsensitive) == 0) return QStringLiteral("*");
        QString out;
        for (const QChar c : pattern) {
            if (c.isLetter() && c.toLower() != c.toUpper())
                out += QLatin1Char('[') + c.toLower() + c.toUpper() + QLatin1Char(']');
            else
                out += c;
        }
        return out;
    };
    QStringList result;
    const auto parts = QString::fromStdString(filter).split(QLatin1Char('|'));
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QStringList patterns;
        for (const auto& p : parts[i + 1].split(QLatin1Char(';'), Qt::SkipEmptyParts))
            patterns << caseless(p.trimmed());
        // The description keeps its own text; Qt reads the patterns from the
        // last pair of parentheses, which the dialog then hides.
        result << parts[i] + QStringLiteral(" (") + patterns.join(QLatin1Char(' ')) + QLatin1Char(')');
    }
    return result;
}

ui::FileDialogResult QtUi::runDialog(const ui::FileDialog& request, bool save) {
    QFileDialog dialog(window_, QString::fromStdString(request.title));
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    // A typed name of a file that does not exist is taken too: the commands
    // check for themselves and say so.
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::HideNameFilterDetails, true);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, true);  // the commands ask themselves
    const auto filters = nameFilters(request.filter);
    if (!filters.isEmpty()) dialog.setNameFilters(filters);
    // A Windows program is picked by its ".exe" name; on Linux the filter of
    // executables shows the files with the execute permission instead, and
    // no ".EXE" is forced onto a typed name.
    const auto executables = executableFilterIndex(request.filter);
    auto showFilter = [&dialog, executables](const QString& chosen) {
        // With the details hidden the dialog names a filter by its description.
        const QString full = dialog.nameFilters().value(executables);
        const bool onlyExecutables = chosen == full || full.startsWith(chosen + QStringLiteral(" ("));
        dialog.setFilter(onlyExecutables ? QDir::AllDirs | QDir::Files | QDir::Executable | QDir::NoDotAndDotDot
                                         : QDir::AllDirs | QDir::Files | QDir::NoDotAndDotDot);
    };
    if (executables >= 0) {
        QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, showFilter);
        showFilter(dialog.selectedNameFilter());
    }
    auto suffix = QString::fromStdString(request.defaultExtension);
    if (suffix.startsWith(QLatin1Char('.'))) suffix.remove(0, 1);
    if (!suffix.isEmpty() && suffix.compare(QLatin1String("exe"), Qt::CaseInsensitive) != 0)
        dialog.setDefaultSuffix(suffix);
    const auto start = dialogStart(request.initialFolder, request.fileName);
    if (!start.folder.empty()) dialog.setDirectory(QString::fromStdString(start.folder));
    if (!start.fileName.empty()) dialog.selectFile(QString::fromStdString(start.fileName));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return {true, dialog.selectedFiles().front().toStdString()};
}

int QtUi::executableFilterIndex(const std::string& filter) {
    const auto parts = QString::fromStdString(filter).split(QLatin1Char('|'));
    for (int i = 0; i + 1 < parts.size(); i += 2)
        if (parts[i + 1].trimmed().compare(QLatin1String("*.exe"), Qt::CaseInsensitive) == 0) return i / 2;
    return -1;
}

ui::FileDialogResult QtUi::showOpen(const ui::FileDialog& dialog) { return runDialog(dialog, false); }

ui::FileDialogResult QtUi::showSave(const ui::FileDialog& dialog) { return runDialog(dialog, true); }

void QtUi::setStatusText(const std::string& text) {
    if (statusPanel_) {
        statusPanel_->setText(QString::fromStdString(text));
        // Shown at once: long work does not return to the event loop.
        statusPanel_->repaint();
    }
    if (window_) window_->repaint();
}

void QtUi::setProgress(int value, int maximum) {
    if (!progress_) return;
    progress_->setMaximum(maximum > 0 ? maximum : 1);
    progress_->setValue(maximum > 0 ? value : 0);
    progress_->setVisible(maximum > 0);
    progress_->repaint();
}

void QtUi::setMousePointer(ui::MousePointer pointer) {
    const bool wantBusy = pointer == ui::MousePointer::Hourglass;
    if (wantBusy == busy_) return;
    if (wantBusy)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
    busy_ = wantBusy;
}

void QtUi::startProcess(const std::string& commandLine, ui::WindowStyle style) {
    launcher_.start(commandLine, style);
}

void QtUi::doEvents() { QCoreApplication::processEvents(); }

}  // namespace ql::app
