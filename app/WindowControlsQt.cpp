#include "app/WindowControlsQt.h"

#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QMenu>
#include <QPalette>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

#include "app/frmQuarrylantern.h"

namespace ql::app {

namespace {

int boxValue(const QCheckBox* box) {
    switch (box->checkState()) {
    case Qt::Checked: return grids::kChecked;
    case Qt::PartiallyChecked: return grids::kGrayed;
    case Qt::Unchecked: break;
    }
    return grids::kUnchecked;
}

}  // namespace

void WindowControlsQt::setStepValue(int step, int value) {
    auto* box = window_.chkDone(step);
    box->setCheckState(value == grids::kChecked  ? Qt::Checked
                       : value == grids::kGrayed ? Qt::PartiallyChecked
                                                 : Qt::Unchecked);
}

void WindowControlsQt::setStepBold(int step, bool bold) { window_.setStepCurrent(step, bold); }

void WindowControlsQt::setStepColor(int step, std::uint32_t vbColor) {
    auto* box = window_.chkDone(step);
    const QColor color(static_cast<int>(vbColor & 0xFF), static_cast<int>((vbColor >> 8) & 0xFF),
                       static_cast<int>((vbColor >> 16) & 0xFF));
    auto palette = box->palette();
    // Styles draw a check box's caption in either role.
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::ButtonText, color);
    box->setPalette(palette);
}

void WindowControlsQt::setEnabled(grids::Control control, bool on) {
    using grids::Control;
    switch (control) {
    case Control::cmdFind: window_.cmdFind()->setEnabled(on); break;
    case Control::cmdOut: window_.cmdOut()->setEnabled(on); break;
    case Control::cmdAnalyse: window_.cmdAnalyse()->setEnabled(on); break;
    case Control::cmdView: window_.cmdView()->setEnabled(on); break;
    case Control::fraOutput: window_.fraOutput()->setEnabled(on); break;
    case Control::mnuAnalyse: window_.action("mnuAnalyse")->setEnabled(on); break;
    case Control::mnuOutPut: window_.action("mnuOutPut")->setEnabled(on); break;
    case Control::mnuViewResults: window_.action("mnuViewResults")->setEnabled(on); break;
    case Control::mnuStatistics: window_.menu("mnuStatistics")->menuAction()->setEnabled(on); break;
    }
}

void WindowControlsQt::setFocus(grids::Control control) {
    using grids::Control;
    switch (control) {
    case Control::cmdFind: window_.cmdFind()->setFocus(); break;
    case Control::cmdOut: window_.cmdOut()->setFocus(); break;
    case Control::cmdAnalyse: window_.cmdAnalyse()->setFocus(); break;
    case Control::cmdView: window_.cmdView()->setFocus(); break;
    case Control::fraOutput: window_.fraOutput()->setFocus(); break;
    // Menu items take no focus.
    case Control::mnuAnalyse:
    case Control::mnuOutPut:
    case Control::mnuViewResults:
    case Control::mnuStatistics: break;
    }
}

void WindowControlsQt::setCurrentTab(int tab) { window_.SSTab()->setCurrentIndex(tab); }

void WindowControlsQt::setTabEnabled(int tab, bool on) { window_.SSTab()->setTabEnabled(tab, on); }

std::string WindowControlsQt::txtMDB() const { return window_.txtMDB()->text().toStdString(); }

void WindowControlsQt::setTxtMDB(const std::string& text) { window_.txtMDB()->setText(QString::fromStdString(text)); }

std::string WindowControlsQt::txtOut() const { return window_.txtOut()->text().toStdString(); }

void WindowControlsQt::setTxtOut(const std::string& text) { window_.txtOut()->setText(QString::fromStdString(text)); }

void WindowControlsQt::chooseFormat(int index) {
    window_.optFormat(index)->setChecked(true);
    window_.optFormat_Click(index);
}

int WindowControlsQt::chkQryControl() const { return boxValue(window_.chkQryControl()); }

int WindowControlsQt::chkIncludeStats() const { return boxValue(window_.chkIncludeStats()); }

void WindowControlsQt::nameListChanged(int list) { window_.mirrorNameList(list); }

void WindowControlsQt::gridChanged(int grid) { window_.mirrorGrid(grid); }

void WindowControlsQt::cmdSelect_Click(int index) { window_.cmdSelect_Click(index); }

void WindowControlsQt::Delay(std::int16_t nSecs) { window_.Delay(nSecs); }

void WindowControlsQt::autoSizeColumns(int grid) { window_.AutoSizeGridColumns(grid); }

}  // namespace ql::app
