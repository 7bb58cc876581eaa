#pragma once
// The spreadsheet application the report writer automates: an application
// object with its workbooks, their worksheets and cells, saved as real Excel
// 97-2003 workbooks. Members carry the names of the automation interface the
// program was written against (Workbooks.Add, Worksheets.Add, Cells, SaveAs
// ...), and failures raise ql::RuntimeError with the numbers that interface
// gives a late-bound caller:
//   9     "Subscript out of range"     no sheet or workbook by that index or name
//   1004  (Excel's method failure)     bad sheet name, cell outside the sheet,
//                                      text too long, the file cannot be saved
//   -2147417848 (0x80010108)           the workbook was closed
//
// Objects are handles: copies refer to one workbook or sheet, and releasing a
// handle (letting it go out of scope) is the counterpart of setting the
// automation variable to Nothing. A workbook lives until Close, even
// when no handle refers to it.
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "platform/RuntimeError.h"
#include "platform/workbook/WorkbookModel.h"

namespace ql::workbook {

// File-format codes of SaveAs as the program passes them. On Linux every
// code, these two, 0 and any other, writes the same Excel 97-2003 workbook
// (BIFF8): Excel 97 and later all read it, and there is no older Excel to
// write for.
inline constexpr int xlExcel9795 = 43;
inline constexpr int xlExcel7 = 39;

namespace automation_errors {
inline constexpr int SubscriptOutOfRange = 9;
inline constexpr int MethodFailed = 1004;
inline constexpr int ObjectDisconnected = -2147417848;
}  // namespace automation_errors

// A cell's value as read back: empty, text (UTF-8) or number.
using CellValue = std::variant<std::monostate, std::string, double>;

struct ApplicationState;
struct WorkbookState;
struct SheetState;

class Range {
public:
    // Texts are UTF-8; an empty text empties the cell. Texts stay texts:
    // "12" is not turned into a number.
    Range& operator=(std::string_view text);
    Range& operator=(const char* text) { return *this = std::string_view(text); }
    Range& operator=(const std::string& text) { return *this = std::string_view(text); }
    Range& operator=(double number);
    CellValue Value() const;
    int Row() const { return row_; }        // 1-based, as given
    int Column() const { return column_; }

private:
    friend class Worksheet;
    Range(std::shared_ptr<WorkbookState> book, std::shared_ptr<SheetState> sheet, int row, int column)
        : book_(std::move(book)), sheet_(std::move(sheet)), row_(row), column_(column) {}
    std::shared_ptr<WorkbookState> book_;
    std::shared_ptr<SheetState> sheet_;
    int row_, column_;
};

class Worksheet {
public:
    std::string Name() const;
    // Raises 1004 for a name Excel refuses: empty, over 31 characters, one of
    // : \ / ? * [ ], an apostrophe at either end, or the name of another
    // sheet of the workbook (compared without case).
    void SetName(std::string_view name);
    void Activate();
    // Row 1 to 65536, column 1 to 256; others raise 1004.
    Range Cells(int row, int column);
    int Index() const;  // 1-based position in the workbook

private:
    friend class SheetList;
    friend class Workbook;
    Worksheet(std::shared_ptr<WorkbookState> book, std::shared_ptr<SheetState> sheet)
        : book_(std::move(book)), sheet_(std::move(sheet)) {}
    std::shared_ptr<WorkbookState> book_;
    std::shared_ptr<SheetState> sheet_;
};

class SheetList {
public:
    int Count() const;
    Worksheet Item(int index) const;              // 1-based
    Worksheet Item(std::string_view name) const;  // without regard to case
    // A new sheet "SheetN" after `after` (Worksheets.Add After:=...), which
    // becomes the active sheet.
    Worksheet Add(const Worksheet& after);

private:
    friend class Workbook;
    explicit SheetList(std::shared_ptr<WorkbookState> book) : book_(std::move(book)) {}
    std::shared_ptr<WorkbookState> book_;
};

class Workbook {
public:
    SheetList Worksheets() const;
    Worksheet ActiveSheet() const;
    std::string Name() const;  // "Book1" ..., then the saved file's name
    // Writes the workbook to `path` as an Excel 97-2003 file, replacing a
    // file there (the caller has asked the user before); `fileFormat` is not
    // interpreted (see xlExcel9795). Raises 1004 naming the
    // path and the system's reason when the file cannot be written; an
    // existing file is then left as it was.
    void SaveAs(const std::string& path, int fileFormat = xlExcel9795);
    // Ends the workbook without saving; its handles then raise the
    // disconnected-object error.
    void Close();

    // The workbook as it would be saved (for tests and diagnostics).
    WorkbookModel Snapshot() const;

private:
    friend class WorkbookList;
    explicit Workbook(std::shared_ptr<WorkbookState> book) : book_(std::move(book)) {}
    std::shared_ptr<WorkbookState> book_;
};

class WorkbookList {
public:
    int Count() const;
    // A new workbook "BookN" with three sheets "Sheet1" ..., as in a fresh
    // Excel installation, the first one active.
    Workbook Add();

private:
    friend class Application;
    explicit WorkbookList(std::shared_ptr<ApplicationState> app) : app_(std::move(app)) {}
    std::shared_ptr<ApplicationState> app_;
};

class Application {
public:
    // CreateObject("Excel.Application"): a fresh instance with no workbooks.
    Application();
    ~Application();
    Application(const Application&) = default;
    Application& operator=(const Application&) = default;

    WorkbookList Workbooks() const;
private:
    std::shared_ptr<ApplicationState> app_;
};

}  // namespace ql::workbook
