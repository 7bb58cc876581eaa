#pragma once
// The editor dialog: names the program that opens text reports or, for the
// XML kind, XML reports.
#include <QDialog>

#include "viewers/EditorChoice.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace ql::app {

class frmEditor : public QDialog {
    Q_OBJECT
public:
    frmEditor(env::ProgramValues& program, const profile::SettingsFile& settings, ui::Ui& ui,
              QWidget* parent = nullptr);

    void cmdBrowse_Click();
    void cmdOK_Click();
    void cmdCancel_Click();

    QLabel* lblWhich() const { return lblWhich_; }
    QLineEdit* txtEditor() const { return txtEditor_; }
    QPushButton* cmdBrowse() const { return cmdBrowse_; }
    QPushButton* cmdOK() const { return cmdOK_; }
    QPushButton* cmdCancel() const { return cmdCancel_; }

private:
    viewers::EditorChoice choice_;
    QLabel* lblWhich_;
    QLineEdit* txtEditor_;
    QPushButton* cmdBrowse_;
    QPushButton* cmdOK_;
    QPushButton* cmdCancel_;
};

}  // namespace ql::app
