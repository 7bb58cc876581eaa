#pragma once
// The controls of the main window that the commands change besides the name
// lists and grids: the work-step boxes, enabled states, tabs, the two path
// boxes, the format buttons and the two option boxes. The Qt window
// implements it on its widgets; the headless report tool and the tests use
// RecordedControls, which keeps every value so that it can be read back.
#include <array>
#include <cstdint>
#include <map>
#include <string>

#include "grids/WindowState.h"
#include "platform/ui/Ui.h"

namespace ql::grids {

enum class Control {
    cmdFind,
    cmdOut,
    cmdAnalyse,
    cmdView,
    fraOutput,
    mnuAnalyse,
    mnuOutPut,
    mnuViewResults,
    mnuStatistics,
};

// The work steps, by their index in `chkDone`.
enum Step : int {
    kStepSystemDb = 0,  // "Select SYSTEM Database"
    kStepActualDb,      // "Select ACTUAL Database"
    kStepFormat,        // "Choose Format"
    kStepOutputFile,    // "Define Output File"
    kStepAnalyse,       // "Analyse Database"
    kStepTranslate,     // "Translate Sections"
    kStepResults,       // "Show Results"
    kStepCount
};

// Check box values and the two colours the program gives the step captions.
inline constexpr int kUnchecked = 0;
inline constexpr int kChecked = 1;
inline constexpr int kGrayed = 2;
inline constexpr std::uint32_t kColorBlack = 0x000000;
inline constexpr std::uint32_t kColorRed = 0x0000FF;  // VB's RGB order: 255 is red

class WindowControls {
public:
    virtual ~WindowControls() = default;

    // Work step i (chkDone(i)): value, bold caption, caption colour.
    virtual void setStepValue(int step, int value) = 0;
    virtual void setStepBold(int step, bool bold) = 0;
    virtual void setStepColor(int step, std::uint32_t vbColor) = 0;

    virtual void setEnabled(Control control, bool on) = 0;
    virtual void setFocus(Control control) = 0;

    // SSTab: the current tab, and the per-tab flag that start-up turns off.
    virtual void setCurrentTab(int tab) = 0;
    virtual void setTabEnabled(int tab, bool on) = 0;

    virtual std::string txtMDB() const = 0;
    virtual void setTxtMDB(const std::string& text) = 0;
    virtual std::string txtOut() const = 0;
    virtual void setTxtOut(const std::string& text) = 0;

    // optFormat: choosing a button by code runs its click handler, as
    // setting an option button's value does.
    virtual void chooseFormat(int index) = 0;
    // chkQryControl / chkIncludeStats: 0 unticked, 1 ticked, 2 greyed.
    virtual int chkQryControl() const = 0;
    virtual int chkIncludeStats() const = 0;

    // The state changed behind the controls' back: show name list / grid
    // `i` again.
    virtual void nameListChanged(int list) = 0;
    virtual void gridChanged(int grid) = 0;

    // Handlers of the window that the commands call.
    virtual void cmdSelect_Click(int index) = 0;
    virtual void Delay(std::int16_t nSecs) = 0;

    // Sizes columns 1 to n-1 (counted from 0) of grid `grid` to their
    // contents; column 0 keeps its width.
    virtual void autoSizeColumns(int grid) = 0;
};

// The select buttons' work on the state alone: the status text the window
// shows for it and the (de)selection of the button's list.
void cmdSelect(WindowState& state, ui::Ui& ui, int index);

// Controls without a screen: every value is kept for reading back. The
// select handler works on the state it is given; Delay does not wait.
class RecordedControls : public WindowControls {
public:
    RecordedControls(WindowState& state, ui::Ui& ui) : state_(state), ui_(ui) {}

    struct Step {
        int value = kUnchecked;
        bool bold = false;
        std::uint32_t color = kColorBlack;
    };

    void setStepValue(int step, int value) override { steps.at(static_cast<std::size_t>(step)).value = value; }
    void setStepBold(int step, bool bold) override { steps.at(static_cast<std::size_t>(step)).bold = bold; }
    void setStepColor(int step, std::uint32_t c) override { steps.at(static_cast<std::size_t>(step)).color = c; }
    void setEnabled(Control control, bool on) override { enabledState[control] = on; }
    void setFocus(Control control) override { focus = control; }
    void setCurrentTab(int tab) override { currentTab = tab; }
    void setTabEnabled(int tab, bool on) override { tabEnabled.at(static_cast<std::size_t>(tab)) = on; }
    std::string txtMDB() const override { return mdb; }
    void setTxtMDB(const std::string& text) override { mdb = text; }
    std::string txtOut() const override { return out; }
    void setTxtOut(const std::string& text) override { out = text; }
    void chooseFormat(int index) override { format = index; }
    int chkQryControl() const override { return qryControl; }
    int chkIncludeStats() const override { return includeStats; }
    void nameListChanged(int) override {}
    void gridChanged(int) override {}
    void cmdSelect_Click(int index) override { cmdSelect(state_, ui_, index); }
    void Delay(std::int16_t) override { ++delays; }
    void autoSizeColumns(int grid) override { ++autoSized.at(static_cast<std::size_t>(grid)); }

    std::array<Step, kStepCount> steps{};
    std::map<Control, bool> enabledState;
    std::optional<Control> focus;
    int currentTab = kTabDatabase;
    std::array<bool, kTabCount> tabEnabled{};
    std::string mdb;
    std::string out;
    int format = kFormatText;
    int qryControl = 0;
    int includeStats = 0;
    int delays = 0;
    std::array<int, kGridCount> autoSized{};

private:
    WindowState& state_;
    ui::Ui& ui_;
};

}  // namespace ql::grids
