#pragma once
// The About box: version, what the program is for, the maker, and a button
// for the system information tool.
#include <QDialog>

#include <functional>
#include <string>

#include "platform/registry/Registry.h"
#include "platform/ui/Ui.h"

class QLabel;
class QPushButton;

namespace ql::app {

class frmAbout : public QDialog {
    Q_OBJECT
public:
    frmAbout(const registry::Registry& registry, ui::Ui& ui,
             std::function<bool(const std::string&)> fileExists, QWidget* parent = nullptr);

    void cmdOK_Click();
    void cmdSysInfo_Click();
    void lblHomepage_Click();
    void StartSysInfo();

    QLabel* lblTitle() const { return lblTitle_; }
    QLabel* lblVersion() const { return lblVersion_; }
    QLabel* lblDescription() const { return lblDescription_; }
    QLabel* lblHomepage() const { return lblHomepage_; }
    QPushButton* cmdOK() const { return cmdOK_; }
    QPushButton* cmdSysInfo() const { return cmdSysInfo_; }

private:
    const registry::Registry& registry_;
    ui::Ui& ui_;
    std::function<bool(const std::string&)> fileExists_;
    QLabel* lblTitle_;
    QLabel* lblVersion_;
    QLabel* lblDescription_;
    QLabel* lblHomepage_;
    QPushButton* cmdOK_;
    QPushButton* cmdSysInfo_;
};

}  // namespace ql::app
