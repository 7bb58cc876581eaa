#pragma once
// The main window. It owns the window state, builds the controls under the
// names the rest of the program and the tests know them by, wires each
// control to its handler and mirrors the state into the controls. The work
// of the handlers lives in the subsystem folders.
#include <QMainWindow>
#include <QPointer>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "app/frmQuerySql.h"
#include "env/ProgramValues.h"
#include "grids/WindowContext.h"
#include "grids/WindowState.h"
#include "platform/profile/SettingsFile.h"
#include "platform/registry/Registry.h"
#include "platform/ui/Ui.h"
#include "viewers/Help.h"

class QAction;
class QButtonGroup;
class QCheckBox;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QTimer;
class QTreeWidget;

namespace ql::app {

class WindowControlsQt;

// What the window works with; tests pass scripted stand-ins.
struct Services {
    ui::Ui* ui = nullptr;
    const registry::Registry* registry = nullptr;
    profile::SettingsFile* settings = nullptr;
    env::ProgramValues* program = nullptr;
    viewers::HelpViewer* help = nullptr;
    std::string programFolder;
    // Whether a file exists (the system information tool's second place).
    std::function<bool(const std::string&)> fileExists;
    // Ends the program after the window unloads (default: leave the event loop).
    std::function<void()> endProgram;
    // While a command reads a large file, the window repaints at most this
    // often (and no more than the reader reports progress).
    std::chrono::milliseconds eventPumpInterval{50};
    // Told of each command the user gives ("cmdFind_Click", "optFormat_Click 2",
    // "cmdClose_Click" ...) before it runs; false keeps it from running. A
    // test's stand-in uses it to see which commands a click reaches.
    std::function<bool(const std::string& command)> commandStarting;
};

inline constexpr int kSelectButtonCount = 20;
inline constexpr int kFormatCount = 4;

class frmQuarrylantern : public QMainWindow {
    Q_OBJECT
public:
    explicit frmQuarrylantern(Services services, QWidget* parent = nullptr);
    ~frmQuarrylantern() override;

    // The start-up sequence; shows the window and asks the security question.
    void Form_Load();

    // Commands of later work steps; each is wired to its button and menu item.
    void cmdFind_Click();
    void cmdOut_Click();
    void cmdAnalyse_Click();
    void cmdView_Click();
    void optFormat_Click(int index);
    void lstItem_Click();
    void MakeGridVisible(int grid);
    void cmdTrans_Click(int index);
    // A double click on row `row` (counted from 0) of grid `grid`: a query
    // row of the queries grid opens its SQL; anything else does nothing.
    void lvwGrid_DblClick(int grid, int row);
    // Columns 1 to n-1 of grid `grid` sized to their contents.
    void AutoSizeGridColumns(int grid);

    // Commands of the shell.
    void cmdClose_Click();
    void Form_Unload();
    void chkIncludeStats_Click();
    void chkIncludeStats_KeyPress(int keyAscii);
    void chkQryControl_Click();
    void mnuControlQueriesCheck_Click();
    void mnuStatisticsCheck_Click();
    void mnuEditor_Click();
    void mnuXMLEditor_Click();
    void mnuHelpAbout_Click();
    void mnuOrvexWeb_Click();
    void mnuContextHelp_Click();
    void cmdSelect_Click(int index);
    void SSTab_Click(int previousTab);
    void Timer1_Timer();
    bool Delay(std::int16_t& nSecs);
    void SetStatusText(const std::string& text);

    // The per-section translations behind cmdTrans.
    void TransTables() {}
    void TransViews() {}
    void TransIndexes() {}
    void TransRelations() {}
    void TransForms() {}
    void TransReports() {}
    void TransMacros() {}
    void TransModules() {}
    void TransDataPages() {}

    // Runs a command of another folder on the window's context. An error
    // that no handler of the command takes is reported as the runtime
    // reports it, and the window closes. While it runs, long reads keep the
    // window painted without letting the user's input in.
    void runCommand(const std::function<void(grids::WindowContext&)>& command);
    // Asks the services' commandStarting, when there is one.
    bool commandStarts(const std::string& command);
    grids::WindowContext& context() { return *context_; }
    grids::WindowControls& controls();
    // The last query SQL window opened, while it is open.
    frmQuerySql* querySqlWindow() const { return querySql_; }

    // State and its mirrors.
    grids::WindowState& state() { return state_; }
    const Services& services() const { return services_; }
    const std::string& helpFile() const { return helpFile_; }
    // Copies name list / grid `i` of the state into its control.
    void mirrorNameList(int i);
    void mirrorGrid(int i);
    // The step check box captions and marks: current (bold) / done (ticked).
    void setStepCurrent(int step, bool current);
    bool stepCurrent(int step) const;

    // Controls, for the handlers of other folders and for tests.
    QPushButton* cmdFind() const { return cmdFind_; }
    QPushButton* cmdOut() const { return cmdOut_; }
    QPushButton* cmdAnalyse() const { return cmdAnalyse_; }
    QPushButton* cmdView() const { return cmdView_; }
    QPushButton* cmdClose() const { return cmdClose_; }
    QCheckBox* chkIncludeStats() const { return chkIncludeStats_; }
    QCheckBox* chkQryControl() const { return chkQryControl_; }
    QCheckBox* chkDone(int i) const { return chkDone_.at(static_cast<std::size_t>(i)); }
    QGroupBox* fraOptions() const { return fraOptions_; }
    QGroupBox* fraOutput() const { return fraOutput_; }
    QRadioButton* optFormat(int i) const { return optFormat_.at(static_cast<std::size_t>(i)); }
    QLineEdit* txtMDB() const { return txtMDB_; }
    QLineEdit* txtOut() const { return txtOut_; }
    QListWidget* lstItem() const { return lstItem_; }
    QTabWidget* SSTab() const { return SSTab_; }
    QWidget* fraTab(int i) const { return fraTab_.at(static_cast<std::size_t>(i)); }
    QListWidget* lstData(int i) const { return lstData_.at(static_cast<std::size_t>(i)); }
    QTreeWidget* lvwGrid(int i) const { return lvwGrid_.at(static_cast<std::size_t>(i)); }
    // Nothing for the indexes without a button (9 and 10).
    QPushButton* cmdTrans(int i) const { return cmdTrans_.at(static_cast<std::size_t>(i)); }
    QPushButton* cmdSelect(int i) const { return cmdSelect_.at(static_cast<std::size_t>(i)); }
    QLabel* lblCount() const { return lblCount_; }
    QTimer* Timer1() const { return Timer1_; }
    QLabel* ssbPanel() const { return ssbPanel_; }
    QProgressBar* pgb() const { return pgb_; }
    QAction* action(const char* name) const;
    QMenu* menu(const char* name) const;

    static std::string windowTitleFor(const std::string& user);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenus();
    void setKeyboardOrder();
    void buildDatabaseTab(QWidget* page);
    void buildStatisticsTab(QWidget* page);
    void buildListTab(int tab, QWidget* page);
    void runTrapped(const std::function<void()>& command);
    void toggleUndone(QAction* checkable);
    void nameSelectionChanged(int list);
    void showQuerySql(const std::string& name);

    Services services_;
    grids::WindowState state_;
    std::unique_ptr<WindowControlsQt> controls_;
    std::unique_ptr<grids::WindowContext> context_;
    QPointer<frmQuerySql> querySql_;
    std::string helpFile_;
    bool unloaded_ = false;
    bool mirroring_ = false;
    int currentTab_ = grids::kTabDatabase;

    QPushButton* cmdFind_ = nullptr;
    QPushButton* cmdOut_ = nullptr;
    QPushButton* cmdAnalyse_ = nullptr;
    QPushButton* cmdView_ = nullptr;
    QPushButton* cmdClose_ = nullptr;
    QCheckBox* chkIncludeStats_ = nullptr;
    QCheckBox* chkQryControl_ = nullptr;
    std::array<QCheckBox*, grids::kStepCount> chkDone_{};
    QGroupBox* fraOptions_ = nullptr;
    QGroupBox* fraOutput_ = nullptr;
    QButtonGroup* optFormatGroup_ = nullptr;
    std::array<QRadioButton*, kFormatCount> optFormat_{};
    QLineEdit* txtMDB_ = nullptr;
    QLineEdit* txtOut_ = nullptr;
    QListWidget* lstItem_ = nullptr;
    QTabWidget* SSTab_ = nullptr;
    std::array<QWidget*, grids::kTabCount> fraTab_{};
    std::array<QListWidget*, grids::kNameListCount> lstData_{};
    std::array<QTreeWidget*, grids::kGridCount> lvwGrid_{};
    std::array<QPushButton*, grids::kTabCount> cmdTrans_{};
    std::array<QPushButton*, kSelectButtonCount> cmdSelect_{};
    QLabel* lblCount_ = nullptr;
    QTimer* Timer1_ = nullptr;
    QLabel* ssbPanel_ = nullptr;
    QProgressBar* pgb_ = nullptr;
};

}  // namespace ql::app
