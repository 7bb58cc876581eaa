#pragma once
// Everything the main window remembers between commands, kept out of the
// widgets so that the commands can work on it without a screen. The window
// mirrors it into its controls.
#include <array>
#include <optional>
#include <cstdint>
#include <memory>
#include <string>

#include "grids/Grid.h"
#include "grids/NameList.h"
#include "platform/dao/Dao.h"

namespace ql::vba {
class AutomationApplication;
}
namespace ql::workbook {
class Application;
class Workbook;
}

namespace ql::grids {

inline constexpr int kTabCount = 12;
inline constexpr int kGridCount = 12;
inline constexpr int kNameListCount = 12;

// Tabs of the main window, by number.
enum Tab : int {
    kTabTables = 0,
    kTabViews = 1,
    kTabIndexes = 2,
    kTabRelations = 3,
    kTabFields = 4,
    kTabForms = 5,
    kTabReports = 6,
    kTabMacros = 7,
    kTabModules = 8,
    kTabStatistics = 9,
    kTabDatabase = 10,
    kTabDataPages = 11,
};

// Report formats, by the index of their option button.
enum OutputFormat : std::int16_t { kFormatText = 0, kFormatXml = 1, kFormatCsv = 2, kFormatExcel = 3 };

// True and false as the program's 16-bit flags hold them.
inline constexpr std::int16_t kTrue = -1;
inline constexpr std::int16_t kFalse = 0;

struct WindowState {
    std::string SystemDbPath;
    std::string ActualDbPath;

    // The engine made by the last opening and the database it opened; both
    // stay until the next opening replaces them. The analysis keeps its
    // recordset over the system tables here while it runs.
    std::optional<dao::DBEngine> DbEngine;
    std::optional<dao::Database> CurrentDb;
    std::optional<dao::Recordset> ObjectsRecordset;

    std::int16_t IncludeTempQueries = kFalse;
    std::int16_t ErrorCount = 0;
    std::string ErrorLogPath;

    std::string OutputPath;
    int OutputFileNumber = 0;
    std::int16_t OutputFormat = kFormatText;
    // Overwrite (1), append (2) or cancel (3), as the output prompt sets it;
    // the header writer resets it to overwrite.
    std::int32_t WriteMode = 1;
    // Set once the statistics body has been appended (or skipped for a
    // format without one), so that viewing again never adds a second copy.
    bool StatisticsWritten = false;

    // Front-end automation starts by the module scan; the unload quits the
    // automation object when this is above 0.
    std::int16_t AccessAutomationStarts = 0;
    // The automation object the module scan made; kept for the unload's Quit.
    std::shared_ptr<vba::AutomationApplication> AccessApplication;

    // The spreadsheet objects of a workbook report, held until the window
    // closes.
    std::shared_ptr<workbook::Application> ExcelApplication;
    std::shared_ptr<workbook::Workbook> ExcelWorkbook;

    // One name list per tab (9 and 10 stay unused) and the twelve grids.
    std::array<NameList, kNameListCount> lstData;
    std::array<Grid, kGridCount> lvwGrid;
};

// What one of the per-tab "Select All" / "Clear All" buttons does: which name
// list it addresses and whether it selects or clears every entry.
struct SelectButtonAction {
    int list;
    bool select;
};

// The binding table of the twenty buttons; nothing for any other index. The
// order inside a pair follows each button's place on its tab, so on some
// tabs the lower index clears.
std::optional<SelectButtonAction> selectButtonAction(int index);

// A newly opened database starts without an output choice: no report path,
// file, format, error log, statistics or workbook of the previous one.
void resetOutputChoice(WindowState& state);

// A newly opened database starts without results: every name list and grid
// of the previous one is emptied.
void clearResults(WindowState& state);

// Applies button `index` to its list; returns false when the index does
// nothing.
bool applySelectButton(WindowState& state, int index);

}  // namespace ql::grids
