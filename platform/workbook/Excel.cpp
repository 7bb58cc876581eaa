#include "platform/workbook/Excel.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <vector>

#include "platform/workbook/Biff8Writer.h"
#include "platform/workbook/CompoundFile.h"
#include "platform/workbook/SheetName.h"
#include "platform/text/Unicode.h"

namespace ql::workbook {

struct SheetState {
    std::u16string name;
    std::map<std::pair<int, int>, CellContent> cells;
};

struct WorkbookState {
    bool open = true;
    std::string name;
    std::vector<std::shared_ptr<SheetState>> sheets;
    std::shared_ptr<SheetState> active;
    int lastSheetNumber = 0;
};

struct ApplicationState {
    std::vector<std::shared_ptr<WorkbookState>> workbooks;
    int lastBookNumber = 0;
};

namespace {

using namespace automation_errors;

[[noreturn]] void raise(int number, std::string description) {
    throw RuntimeError(number, std::move(description));
}

[[noreturn]] void raiseDisconnected() {
    raise(ObjectDisconnected, "Automation error: the object invoked has disconnected from its clients.");
}

[[noreturn]] void raiseSubscript() { raise(SubscriptOutOfRange, "Subscript out of range"); }

WorkbookState& live(const std::shared_ptr<WorkbookState>& book) {
    if (!book->open) raiseDisconnected();
    return *book;
}

size_t positionOf(const WorkbookState& book, const SheetState* sheet) {
    const auto it = std::find_if(book.sheets.begin(), book.sheets.end(),
                                 [sheet](const auto& s) { return s.get() == sheet; });
    return static_cast<size_t>(it - book.sheets.begin());
}

// Raises 1004 unless `name` may name a sheet of `book` other than `self`.
void checkNewName(const WorkbookState& book, const SheetState* self, std::u16string_view name) {
    if (auto problem = sheetNameProblem(name)) raise(MethodFailed, *problem);
    const std::string key = sheetNameKey(name);
    for (const auto& other : book.sheets)
        if (other.get() != self && sheetNameKey(other->name) == key)
            raise(MethodFailed, "Cannot rename a sheet to '" + text::toUtf8(name) +
                                    "': another sheet of the workbook has that name.");
}

std::shared_ptr<SheetState> newSheet(WorkbookState& book) {
    auto sheet = std::make_shared<SheetState>();
    // Excel numbers new sheets on from the last number it gave, skipping a
    // name the user has taken meanwhile.
    for (;;) {
        sheet->name = text::toUtf16("Sheet" + std::to_string(++book.lastSheetNumber));
        const std::string key = sheetNameKey(sheet->name);
        if (std::none_of(book.sheets.begin(), book.sheets.end(),
                         [&](const auto& s) { return sheetNameKey(s->name) == key; }))
            return sheet;
    }
}

}  // namespace

// ---- Range

Range& Range::operator=(std::string_view text) {
    live(book_);
    std::u16string units = text::toUtf16(text);
    if (units.size() > MaxCellTextLength)
        raise(MethodFailed, "A cell can hold at most 32767 characters; this text has " +
                                std::to_string(units.size()) + ".");
    const std::pair<int, int> at{row_ - 1, column_ - 1};
    if (units.empty()) sheet_->cells.erase(at);
    else sheet_->cells[at] = std::move(units);
    return *this;
}

Range& Range::operator=(double number) {
    live(book_);
    if (!std::isfinite(number)) raise(MethodFailed, "A cell cannot hold an infinite or undefined number.");
    sheet_->cells[{row_ - 1, column_ - 1}] = number;
    return *this;
}

CellValue Range::Value() const {
    live(book_);
    const auto it = sheet_->cells.find({row_ - 1, column_ - 1});
    if (it == sheet_->cells.end()) return std::monostate{};
    if (const auto* text = std::get_if<std::u16string>(&it->second)) return text::toUtf8(*text);
    return std::get<double>(it->second);
}

// ---- Worksheet

std::string Worksheet::Name() const {
    live(book_);
    return text::toUtf8(sheet_->name);
}

void Worksheet::SetName(std::string_view name) {
    WorkbookState& book = live(book_);
    std::u16string units = text::toUtf16(name);
    checkNewName(book, sheet_.get(), units);
    sheet_->name = std::move(units);
}

void Worksheet::Activate() { live(book_).active = sheet_; }

Range Worksheet::Cells(int row, int column) {
    live(book_);
    if (row < 1 || row > MaxRows || column < 1 || column > MaxColumns)
        raise(MethodFailed, "Cells(" + std::to_string(row) + ", " + std::to_string(column) +
                                ") lies outside the sheet (rows 1 to 65536, columns 1 to 256).");
    return Range(book_, sheet_, row, column);
}

int Worksheet::Index() const {
    const WorkbookState& book = live(book_);
    return static_cast<int>(positionOf(book, sheet_.get())) + 1;
}

// ---- SheetList

int SheetList::Count() const { return static_cast<int>(live(book_).sheets.size()); }

Worksheet SheetList::Item(int index) const {
    const WorkbookState& book = live(book_);
    if (index < 1 || static_cast<size_t>(index) > book.sheets.size()) raiseSubscript();
    return Worksheet(book_, book.sheets[index - 1]);
}

Worksheet SheetList::Item(std::string_view name) const {
    const WorkbookState& book = live(book_);
    const std::string key = sheetNameKey(text::toUtf16(name));
    for (const auto& sheet : book.sheets)
        if (sheetNameKey(sheet->name) == key) return Worksheet(book_, sheet);
    raiseSubscript();
}

Worksheet SheetList::Add(const Worksheet& after) {
    WorkbookState& book = live(book_);
    if (after.book_ != book_)
        raise(MethodFailed, "The sheet to add after belongs to another workbook.");
    if (book.sheets.size() >= std::numeric_limits<uint16_t>::max())
        raise(MethodFailed, "The workbook cannot hold more sheets.");
    auto sheet = newSheet(book);
    book.sheets.insert(book.sheets.begin() + positionOf(book, after.sheet_.get()) + 1, sheet);
    book.active = sheet;
    return Worksheet(book_, sheet);
}

// ---- Workbook

SheetList Workbook::Worksheets() const {
    live(book_);
    return SheetList(book_);
}

Worksheet Workbook::ActiveSheet() const { return Worksheet(book_, live(book_).active); }

std::string Workbook::Name() const { return live(book_).name; }

WorkbookModel Workbook::Snapshot() const {
    const WorkbookState& book = live(book_);
    WorkbookModel model;
    for (const auto& sheet : book.sheets) model.sheets.push_back({sheet->name, sheet->cells});
    model.activeSheet = positionOf(book, book.active.get());
    return model;
}

void Workbook::SaveAs(const std::string& path, int /*fileFormat*/) {
    WorkbookState& book = live(book_);
    if (path.empty()) raise(MethodFailed, "Cannot save the workbook: no file name was given.");
    const WorkbookModel model = Snapshot();
    std::string stream;
    try {
        stream = buildWorkbookStream(model);
    } catch (const std::exception& e) {
        raise(MethodFailed, std::string("Cannot save the workbook: ") + e.what());
    }
    try {
        writeCompoundFile(path, {{"Workbook", stream}}, ExcelWorkbookClassId);
    } catch (const std::exception& e) {
        raise(MethodFailed, "Cannot save the workbook as '" + path + "': " + e.what());
    }
    book.name = std::filesystem::path(path).filename().string();
}

void Workbook::Close() {
    live(book_).open = false;
}

// ---- WorkbookList

int WorkbookList::Count() const {
    const ApplicationState& app = *app_;
    return static_cast<int>(std::count_if(app.workbooks.begin(), app.workbooks.end(),
                                          [](const auto& b) { return b->open; }));
}

Workbook WorkbookList::Add() {
    ApplicationState& app = *app_;
    // Closed workbooks are dropped here rather than at Close, which cannot
    // reach the application's list.
    std::erase_if(app.workbooks, [](const auto& b) { return !b->open; });
    auto book = std::make_shared<WorkbookState>();
    book->name = "Book" + std::to_string(++app.lastBookNumber);
    for (int i = 0; i < 3; ++i) book->sheets.push_back(newSheet(*book));
    book->active = book->sheets.front();
    app.workbooks.push_back(book);
    return Workbook(book);
}

// ---- Application

Application::Application() : app_(std::make_shared<ApplicationState>()) {}

Application::~Application() = default;

WorkbookList Application::Workbooks() const {
    return WorkbookList(app_);
}

}  // namespace ql::workbook
