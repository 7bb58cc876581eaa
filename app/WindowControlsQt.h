#pragma once
// The controls interface on the main window's widgets: what the commands
// change goes straight to the check boxes, buttons, menu items, tabs and
// text boxes of frmQuarrylantern, and a changed name list or grid is drawn
// again from the state.
#include "grids/WindowControls.h"

namespace ql::app {

class frmQuarrylantern;

class WindowControlsQt : public grids::WindowControls {
public:
    explicit WindowControlsQt(frmQuarrylantern& window) : window_(window) {}

    void setStepValue(int step, int value) override;
    void setStepBold(int step, bool bold) override;
    void setStepColor(int step, std::uint32_t vbColor) override;
    void setEnabled(grids::Control control, bool on) override;
    void setFocus(grids::Control control) override;
    void setCurrentTab(int tab) override;
    void setTabEnabled(int tab, bool on) override;
    std::string txtMDB() const override;
    void setTxtMDB(const std::string& text) override;
    std::string txtOut() const override;
    void setTxtOut(const std::string& text) override;
    void chooseFormat(int index) override;
    int chkQryControl() const override;
    int chkIncludeStats() const override;
    void nameListChanged(int list) override;
    void gridChanged(int grid) override;
    void cmdSelect_Click(int index) override;
    void Delay(std::int16_t nSecs) override;
    void autoSizeColumns(int grid) override;

    // A colour as the program writes it (0x00BBGGRR) and back.
    static std::uint32_t toVbColor(int red, int green, int blue) {
        return static_cast<std::uint32_t>(red) | (static_cast<std::uint32_t>(green) << 8) |
               (static_cast<std::uint32_t>(blue) << 16);
    }

private:
    frmQuarrylantern& window_;
};

}  // namespace ql::app
