// The fillers' edge cases on real files and on files damaged for the
// purpose: the error regions and their log lines, the list rules and the
// summary rows.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "grids/FileDates.h"
#include "grids/Fillers.h"
#include "platform/vb/VbText.h"
#include "platform/jet/Database.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

namespace ql::grids {
namespace {

using test::corpusFile;
namespace fs = std::filesystem;

template <class F>
int raisedNumber(F&& action) {
    try {
        action();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

std::vector<std::string> column(const Grid& grid, int k) {
    std::vector<std::string> cells;
    for (const auto& row : grid.rows()) cells.push_back(k == 0 ? row.text : row.subItem(k));
    return cells;
}

// A row of the summary grid by its label.
const GridRow* summaryRow(const Grid& grid, const std::string& label) {
    for (const auto& row : grid.rows())
        if (row.text == label) return &row;
    return nullptr;
}

std::time_t localTime(int year, int month, int day, int hour, int minute, int second) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    tm.tm_isdst = -1;
    return std::mktime(&tm);
}

void setTimes(const fs::path& path, std::time_t accessed, std::time_t modified) {
    const timespec times[2] = {{accessed, 0}, {modified, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

// ---- the summary grid ---------------------------------------------------

TEST(FileDates, ThreeSelectorsAndTheZeroDate) {
    test::HeadlessWindow w;
    const fs::path file = w.folder.path() / "dated.txt";
    std::ofstream(file) << "x";
    setTimes(file, localTime(2001, 3, 8, 0, 0, 0), localTime(2001, 3, 7, 14, 5, 9));
    EXPECT_EQ(vb::dateText(GetFileDate(file.string(), kFileAccessed)), "3/8/2001");  // midnight: date only
    EXPECT_EQ(vb::dateText(GetFileDate(file.string(), kFileModified)), "3/7/2001 2:05:09 PM");
    // Created: the birth time or the change time, both now, not what was set.
    EXPECT_GT(GetFileDate(file.string(), kFileCreated), GetFileDate(file.string(), kFileModified) + 1000);
    EXPECT_EQ(GetFileDate(file.string(), 0), 0);
    EXPECT_EQ(GetFileDate(file.string(), 4), 0);
    EXPECT_EQ(raisedNumber([&] { GetFileDate((w.folder.path() / "gone.mdb").string(), kFileModified); }), 53);
}

TEST(DatabaseGrid, SizeDatesPropertiesAndConnectionNeverRead) {
    test::HeadlessWindow w;
    const fs::path copy = w.folder.path() / "nwind.mdb";
    fs::copy_file(corpusFile("j3_nwind_krystek.mdb"), copy);
    setTimes(copy, localTime(2003, 12, 31, 23, 59, 59), localTime(2002, 1, 2, 0, 0, 0));
    w.open(copy);
    FillGridDatabase(w.ctx);

    const Grid& grid = w.state.lvwGrid[kGridDatabase];
    ASSERT_EQ(grid.columnCount(), 2);
    EXPECT_EQ(grid.row(4).subItem(1), "1/2/2002");  // modified, at midnight: the date alone

    // Every property in collection order; the connection's value is one
    // that cannot be read, so reading it would have ended the fill.
    const auto& properties = w.state.CurrentDb->Properties();
    ASSERT_EQ(grid.rowCount(), 4 + properties.Count());
    EXPECT_EQ(raisedNumber([&] { properties["Connection"].Value(); }), 3251);
    for (int i = 0; i < properties.Count(); ++i) EXPECT_EQ(grid.row(5 + i).text, properties[i].Name());
    EXPECT_EQ(summaryRow(grid, "Connection")->subItem(1), "Not applicable");
    EXPECT_EQ(summaryRow(grid, "Version")->subItem(1), "3.0");
    EXPECT_EQ(summaryRow(grid, "Updatable")->subItem(1), "False");
    EXPECT_EQ(w.ui.pointers.back(), ui::MousePointer::Hourglass);
}

TEST(DatabaseGrid, CountsAreAppendedEachTimeNeverReplaced) {
    test::HeadlessWindow w;
    w.open(corpusFile("j3_afr.mdb"));
    FillGridDatabase(w.ctx);
    const int filled = w.state.lvwGrid[kGridDatabase].rowCount();
    UpdateGridDatabase(w.ctx);  // every list still empty
    w.state.lstData[1].AddItem("q1");
    w.state.lstData[1].AddItem("q2");
    w.state.lstData[3].AddItem("[a].r");
    UpdateGridDatabase(w.ctx);

    const auto labels = column(w.state.lvwGrid[kGridDatabase], 0);
    const auto values = column(w.state.lvwGrid[kGridDatabase], 1);
    std::vector<std::string> appended;
    for (std::size_t i = static_cast<std::size_t>(filled); i < labels.size(); ++i)
        appended.push_back(labels[i] + " " + values[i]);
    EXPECT_EQ(appended, (std::vector<std::string>{"Tables 0", "Fields 0", "Views 0", "Indexes 0", "Macros 0",
                                                  "Modules 0", "Relationships 0", "Tables 0", "Fields 0", "Views 2",
                                                  "Indexes 0", "Macros 0", "Modules 0", "Relationships 1"}));
}

// Controls that note which grids the window was told to redraw.
class NotedControls : public RecordedControls {
public:
    using RecordedControls::RecordedControls;
    void gridChanged(int grid) override { changed.push_back(grid); }
    std::vector<int> changed;
};

TEST(TablesGrid, ATableThatCannotBeOpenedLeavesTheFillWithItsErrorAndTheGridRedrawn) {
    test::HeadlessWindow w;
    w.open(corpusFile("j3_nwind_krystek.mdb"));
    NotedControls controls(w.state, w.ui);
    controls.mdb = w.controls.mdb;
    WindowContext ctx{w.state, w.ui, controls, w.program, w.settings, w.ctx.programFolder};
    for (const char* name : {"Categories", "No Such", "Customers"}) w.state.lstData[0].AddItem(name);
    EXPECT_EQ(raisedNumber([&] { FillGridTables(ctx); }), 3078);
    EXPECT_EQ(column(w.state.lvwGrid[kGridTables], 0),
              (std::vector<std::string>{"Tables in Database : ", "Categories"}));
    EXPECT_EQ(w.state.ErrorCount, 0);
    EXPECT_EQ(controls.changed, std::vector<int>{kGridTables});
}

// ---- queries ------------------------------------------------------------

TEST(QueriesGrid, TheQueryControlBoxDecidesWhichAreListed) {
    test::HeadlessWindow w;
    w.open(corpusFile("j4_northwind2000.mdb"));
    const auto& queries = w.state.CurrentDb->QueryDefs();
    for (const auto& q : queries)
        if (q.Name().find('~') == std::string::npos) w.state.lstData[1].AddItem(q.Name());
    const int listed = w.state.lstData[1].ListCount();
    int hidden = 0;
    for (const auto& q : queries) hidden += q.Name().rfind('~', 0) == 0;
    ASSERT_GT(hidden, 0);

    auto fill = [&](int box) {
        w.controls.qryControl = box;
        FillGridQueries(w.ctx);
        const Grid& grid = w.state.lvwGrid[kGridQueries];
        EXPECT_EQ(grid.row(1).subItem(1), std::to_string(listed)) << "the count is the name list's";
        return column(grid, 0);
    };
    const auto unticked = fill(kUnchecked);
    EXPECT_EQ(static_cast<int>(unticked.size()), 1 + queries.Count() - hidden);
    for (const auto& name : unticked) EXPECT_NE(name.rfind('~', 0), 0u) << name;
    const auto ticked = fill(kChecked);
    EXPECT_EQ(static_cast<int>(ticked.size()), 1 + queries.Count());
    EXPECT_NE(std::find(ticked.begin(), ticked.end(), "~sq_cCustomers~sq_cCountry"), ticked.end());
    EXPECT_EQ(fill(kGrayed).size(), 1u);
}

TEST(QueriesGrid, AQueryOverAMissingTableIsLoggedAndKeepsItsType) {
    test::HeadlessWindow w;
    w.open(corpusFile("j3_nwind_psc_trim.mdb"));
    w.state.lstData[1].AddItem("any");  // the rows come from the saved queries
    FillGridQueries(w.ctx);

    const Grid& grid = w.state.lvwGrid[kGridQueries];
    const auto names = column(grid, 0);
    const auto at = std::find(names.begin(), names.end(), "Catalog") - names.begin();
    ASSERT_LT(at, static_cast<long>(names.size()));
    EXPECT_EQ(grid.rows()[static_cast<std::size_t>(at)].subItems, (std::vector<std::string>{"Select"}));
    const auto lines = w.errorLogLines();
    EXPECT_EQ(w.state.ErrorCount, static_cast<int>(lines.size()));
    const std::string start = "Query Error :" + vb::fixedWidth("Catalog", 40) + " : 003078 : ";
    EXPECT_NE(std::find_if(lines.begin(), lines.end(), [&](const std::string& l) { return l.rfind(start, 0) == 0; }),
              lines.end());
}

// ---- indexes ------------------------------------------------------------

TEST(IndexesGrid, BracketedTablesPrimaryKeysAndFailingEntries) {
    test::HeadlessWindow w;
    w.open(corpusFile("j3_nwind_krystek.mdb"));
    auto& list = w.state.lstData[2];
    list.AddItem("[Order Details].PrimaryKey");
    list.AddItem("[Order Details].OrderID");
    list.AddItem("no separator");          // an invalid split, then a failed look-up
    list.AddItem("[No Such].PrimaryKey");  // a failed look-up
    list.AddItem("Products.PrimaryKey");   // brackets are optional
    FillGridIndexes(w.ctx);

    const Grid& grid = w.state.lvwGrid[kGridIndexes];
    EXPECT_EQ(grid.row(1).subItem(1), "5");
    EXPECT_EQ(grid.row(2).text, "PrimaryKey");
    EXPECT_EQ(grid.row(2).subItems, (std::vector<std::string>{"Order Details", "Yes"}));
    EXPECT_EQ(grid.row(3).text, "OrderID");
    EXPECT_EQ(grid.row(3).subItems, (std::vector<std::string>{"Order Details", "No"}));
    EXPECT_EQ(grid.row(grid.rowCount()).text, "PrimaryKey");
    EXPECT_EQ(grid.row(grid.rowCount()).subItems, (std::vector<std::string>{"Products", "Yes"}));

    // Each line names the saved query before the entry's position.
    const auto& queries = w.state.CurrentDb->QueryDefs();
    auto line = [&](int position, const std::string& number) {
        return "Index Error :" + vb::fixedWidth(queries[position - 1].Name(), 40) + " : " + number;
    };
    std::vector<std::string> logged;
    for (const auto& l : w.errorLogLines()) logged.push_back(l.substr(0, line(1, "000000").size()));
    EXPECT_EQ(logged, (std::vector<std::string>{line(2, "000005"), line(2, "003265"), line(3, "003265")}));
    EXPECT_EQ(w.state.ErrorCount, 3);
}

TEST(IndexesGrid, AFailureAtTheFirstEntryFailsTheHandlerToo) {
    test::HeadlessWindow w;
    w.open(corpusFile("j3_nwind_krystek.mdb"));
    w.state.lstData[2].AddItem("[No Such].PrimaryKey");
    w.state.lstData[2].AddItem("[Order Details].PrimaryKey");
    EXPECT_EQ(raisedNumber([&] { FillGridIndexes(w.ctx); }), 3265);
    EXPECT_EQ(w.state.ErrorCount, 0);
    EXPECT_TRUE(w.errorLogLines().empty());
    EXPECT_EQ(w.state.lvwGrid[kGridIndexes].rowCount(), 1);
}

// ---- fields -------------------------------------------------------------

// A copy of Northwind whose table `name` has a definition page that is
// no longer one; the catalogue still lists the table.
fs::path withDamagedDefinition(const test::HeadlessWindow& w, const std::string& name) {
    const fs::path copy = w.folder.path() / ("damaged_" + name + ".mdb");
    fs::copy_file(corpusFile("j3_nwind_krystek.mdb"), copy);
    const jet::Database db = jet::Database::open(copy);
    const std::uint64_t offset = std::uint64_t{db.findTable(name)->tdefPage()} * db.header().pageSize;
    std::fstream file(copy, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(offset));
    const std::string junk(64, '\x5a');
    file.write(junk.data(), static_cast<std::streamsize>(junk.size()));
    return copy;
}

TEST(FieldsGrid, AnUnreadableTableIsLoggedUnderAQueryNameAndTheFillGoesOn) {
    test::HeadlessWindow w;
    w.open(withDamagedDefinition(w, "Customers"));
    w.state.lstData[4].AddItem("anything");
    FillGridFields(w.ctx);

    const auto& tables = w.state.CurrentDb->TableDefs();
    int position = 0;
    while (tables[position].Name() != "Customers") ++position;
    const auto lines = w.errorLogLines();
    ASSERT_EQ(lines.size(), 1u);
    const std::string start =
        "Field Error :" + vb::fixedWidth(w.state.CurrentDb->QueryDefs()[position - 1].Name(), 40) + " : 003049 : ";
    EXPECT_EQ(lines[0].substr(0, start.size()), start);
    EXPECT_EQ(w.state.ErrorCount, 1);

    const Grid& grid = w.state.lvwGrid[kGridFields];
    EXPECT_EQ(grid.row(1).subItem(1), "1");
    const auto inTable = column(grid, 1);
    EXPECT_EQ(std::count(inTable.begin(), inTable.end(), "Customers"), 0);
    EXPECT_EQ(std::count(inTable.begin(), inTable.end(), "Suppliers"), 12);
    EXPECT_EQ(std::count(inTable.begin(), inTable.end(), "MSysObjects"), 0);
    const auto types = column(grid, 2);
    EXPECT_NE(std::find(types.begin(), types.end(), "Memo"), types.end());
}

TEST(FieldsGrid, AFailureAtTheFirstTableFailsTheHandlerToo) {
    test::HeadlessWindow w;
    w.open(withDamagedDefinition(w, "Categories"));
    ASSERT_EQ(w.state.CurrentDb->TableDefs()[0].Name(), "Categories");
    w.state.lstData[4].AddItem("anything");
    EXPECT_EQ(raisedNumber([&] { FillGridFields(w.ctx); }), 3265);
    EXPECT_TRUE(w.errorLogLines().empty());
    EXPECT_EQ(w.state.lvwGrid[kGridFields].rowCount(), 1);
}

}  // namespace
}  // namespace ql::grids
