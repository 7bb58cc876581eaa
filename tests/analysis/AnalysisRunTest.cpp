// The analysis run over databases written for the purpose (names and
// shapes no corpus file has, a table whose definition is destroyed) and
// over every Jet database of the corpus, where every list and grid is
// checked against the file.
#include "analysis/AnalysisRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "grids/Fillers.h"
#include "grids/UnhandledError.h"
#include "platform/vb/VbText.h"
#include "platform/jet/Progress.h"
#include "platform/vba/JetSystemTables.h"
#include "platform/vba/VbaProject.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"
#include "tools/jetwriter/Database.h"

namespace fs = std::filesystem;

namespace ql::analysis {
namespace {

namespace jw = jetwriter;
using grids::Control;
using test::HeadlessWindow;

constexpr std::uint32_t kPageSize = 4096;
const std::string kLongField = "A field name longer than thirty-five characters";
const std::string kField35 = "Exactly thirty-five characters here";  // 35

jw::ColumnDef col(std::string name, jw::ColumnType type = jw::ColumnType::Long, std::uint16_t size = 50) {
    jw::ColumnDef c;
    c.name = std::move(name);
    c.type = type;
    if (type == jw::ColumnType::Text || type == jw::ColumnType::Binary) c.size = size;
    return c;
}

jw::IndexDef index(std::string name, std::string column, bool primary = false) {
    jw::IndexDef i;
    i.name = std::move(name);
    i.columns = {{std::move(column)}};
    i.primaryKey = i.unique = primary;
    return i;
}

struct BuiltFile {
    fs::path path;
    // Where the definition of table "Orders" starts (Full only).
    std::uint32_t ordersDefinitionPage = 0;
};

enum class Shape {
    Full,     // tables, queries, a relationship and every kind of document
    Bare,     // no table, query or relationship: only two pages
    Awkward,  // names the indexes and relations fillers fail on; every field type
    Large,    // one table of a thousand pages or so, long enough to be cut short
};

BuiltFile writeDatabase(const fs::path& folder, Shape shape = Shape::Full) {
    BuiltFile built{folder / "built.mdb"};
    jw::Database db(built.path.string(), jw::DatabaseOptions{});
    using C = jw::Database::Container;
    switch (shape) {
    case Shape::Full:
        db.createTable(jw::TableDef{"Customers",
                                    {col("ID"), col(kLongField, jw::ColumnType::Text), col(kField35), col("Name")},
                                    {index("PrimaryKey", "ID", true)},
                                    {}});
        built.ordersDefinitionPage =
            db.createTable(jw::TableDef{"Orders",
                                        {col("ID"), col("CustomerID")},
                                        {index("CustomerID", "CustomerID"), index("PrimaryKey", "ID", true)},
                                        {}})
                .tdefPage();
        db.createTable(jw::TableDef{"Old MSys copy", {col("ID")}, {index("PrimaryKey", "ID", true)}, {}});
        db.addQuery(jw::selectQuery("qCustomers", "Customers", {"ID", "Name"}));
        db.addQuery(jw::selectQuery("qOrders", "Orders", {"ID"}));
        db.addQuery(jw::selectQuery("~sq_cHidden", "Orders", {"ID"}));
        db.addRelationship(jw::RelationshipDef{"CustomersOrders", "Customers", "Orders", {{"ID", "CustomerID"}}});
        db.addDocument(C::Forms, "Entry");
        db.addDocument(C::Forms, "Main");
        db.addDocument(C::Reports, "Summary");
        db.addDocument(C::Scripts, "AutoExec");
        db.addDocument(C::DataAccessPages, "Review");
        db.addDocument(C::DataAccessPages, "Sales");
        db.addDocument(C::DataAccessPages, "Sales~TMP2");
        db.addDocument(C::DataAccessPages, "Totals");
        break;
    case Shape::Bare:
        db.addDocument(C::DataAccessPages, "First");
        db.addDocument(C::DataAccessPages, "Second");
        break;
    case Shape::Awkward: {
        // The indexes filler cannot find a table whose name holds a dot;
        // the relations filler's own query breaks on a quote.
        using T = jw::ColumnType;
        db.createTable(jw::TableDef{"Aaa", {col("ID")}, {index("PrimaryKey", "ID", true)}, {}});
        db.createTable(jw::TableDef{"AllMemo", {col("Notes", T::Memo), col("Picture", T::Ole)}, {}, {}});
        db.createTable(jw::TableDef{"Dotted.Name", {col("ID")}, {index("PrimaryKey", "ID", true)}, {}});
        db.createTable(jw::TableDef{"Main", {col("ID"), col("AaaID")}, {}, {}});
        db.createTable(jw::TableDef{"O'Brien", {col("ID"), col("AaaID")}, {}, {}});
        db.createTable(jw::TableDef{"Types",
                                    {col("Flag", T::Boolean), col("Small", T::Byte), col("Short", T::Integer),
                                     col("Number", T::Long), col("Money", T::Currency), col("Real4", T::Single),
                                     col("Real8", T::Double), col("When", T::DateTime), col("Bytes", T::Binary, 10),
                                     col("Words", T::Text), col("Blob", T::Ole), col("Notes", T::Memo),
                                     col("Key", T::Guid), col("Exact", T::Decimal)},
                                    {},
                                    {}});
        db.addQuery(jw::selectQuery("qAaa", "Aaa", {"ID"}));
        db.addRelationship(jw::RelationshipDef{"MainAaa", "Aaa", "Main", {{"ID", "AaaID"}}});
        db.addRelationship(jw::RelationshipDef{"AaaOBrien", "Aaa", "O'Brien", {{"ID", "AaaID"}}});
        db.addDocument(C::DataAccessPages, "Page");
        break;
    }
    case Shape::Large: {
        jw::TableWriter& table = db.createTable(jw::TableDef{"Big", {col("ID"), col("Note", jw::ColumnType::Text, 80)}, {}, {}});
        const std::string note(60, 'n');
        for (std::int64_t i = 0; i < 60000; ++i) table.addRow({jw::Value::of(i), jw::Value::ofText(note)});
        break;
    }
    }
    db.close();
    return built;
}

void zeroPage(const fs::path& file, std::uint32_t page) {
    std::FILE* f = std::fopen(file.c_str(), "r+b");
    ASSERT_NE(f, nullptr);
    const std::string zeros(kPageSize, '\0');
    ASSERT_EQ(std::fseek(f, static_cast<long>(page) * kPageSize, SEEK_SET), 0);
    ASSERT_EQ(std::fwrite(zeros.data(), 1, zeros.size(), f), zeros.size());
    std::fclose(f);
}

std::vector<std::string> texts(const grids::NameList& list) {
    std::vector<std::string> out;
    for (const auto& e : list.entries()) out.push_back(e.text);
    return out;
}
std::vector<std::int32_t> itemData(const grids::NameList& list) {
    std::vector<std::int32_t> out;
    for (const auto& e : list.entries()) out.push_back(e.itemData);
    return out;
}
std::vector<std::int32_t> countingFrom(int first, int n) {
    std::vector<std::int32_t> out;
    for (int i = 0; i < n; ++i) out.push_back(first + i);
    return out;
}
int selectedCount(const grids::NameList& list) {
    int n = 0;
    for (const auto& e : list.entries()) n += e.selected ? 1 : 0;
    return n;
}
// The number of the error that left the run unhandled; 0 when none did.
int unhandledNumber(const std::function<void()>& run) {
    try {
        run();
    } catch (const grids::UnhandledError& e) {
        return e.error().number();
    }
    return 0;
}

// Controls that record the order in which grids and lists are redrawn and
// whose pages list box can be made to refuse its entries.
class WatchedControls : public grids::RecordedControls {
public:
    WatchedControls(grids::WindowState& state, ui::Ui& ui)
        : RecordedControls(state, ui), pages_(state.lstData[grids::kTabDataPages]) {}
    void gridChanged(int grid) override { grids.push_back(grid); }
    void nameListChanged(int list) override {
        if (list == grids::kTabDataPages && refusePages && pages_.ListCount() > 0)
            throw RuntimeError(7, "Out of memory");
    }
    std::vector<int> grids;
    bool refusePages = false;

private:
    const grids::NameList& pages_;
};

class Run : public ::testing::Test {
protected:
    // A context over the same window with watched controls.
    grids::WindowContext watched(WatchedControls& controls) {
        controls.setTxtMDB(w.controls.txtMDB());
        return grids::WindowContext{w.state, w.ui, controls, w.program, w.settings, w.ctx.programFolder};
    }
    const grids::NameList& list(int i) const { return w.state.lstData[static_cast<std::size_t>(i)]; }
    void openBuilt(Shape shape = Shape::Full) { w.open(writeDatabase(w.folder.path(), shape).path); }
    HeadlessWindow w;
};

TEST_F(Run, ListsHoldTheCatalogueAsTheRunFoundItAndTheWindowIsReadyToView) {
    openBuilt();
    WatchedControls controls(w.state, w.ui);
    grids::WindowContext ctx = watched(controls);
    cmdAnalyse_Click(ctx);

    // "MSys" anywhere in a table's name keeps it, its indexes and its
    // fields out; "~" keeps a query out.
    EXPECT_EQ(texts(list(0)), (std::vector<std::string>{"Customers", "Orders"}));
    EXPECT_EQ(texts(list(1)), (std::vector<std::string>{"qCustomers", "qOrders"}));
    EXPECT_EQ(texts(list(2)), (std::vector<std::string>{"[Customers].PrimaryKey", "[Orders].CustomerID",
                                                        "[Orders].PrimaryKey"}));
    EXPECT_EQ(texts(list(3)), (std::vector<std::string>{"[Orders].CustomersOrders"}));
    EXPECT_EQ(texts(list(4)), (std::vector<std::string>{
                                  "ID                                  [Customers]",
                                  "A field name longer than thirty-fiv [Customers]",
                                  "Exactly thirty-five characters here [Customers]",
                                  "Name                                [Customers]",
                                  "ID                                  [Orders]",
                                  "CustomerID                          [Orders]",
                              }));
    std::set<std::string> withFields;
    const grids::Grid& fields = w.state.lvwGrid[grids::kGridFields];
    for (int r = 2; r <= fields.rowCount(); ++r) withFields.insert(fields.row(r).subItem(1));
    EXPECT_EQ(withFields, (std::set<std::string>{"Customers", "Orders"}));
    EXPECT_EQ(texts(list(5)), (std::vector<std::string>{"Entry", "Main"}));
    EXPECT_EQ(texts(list(6)), (std::vector<std::string>{"Summary"}));
    EXPECT_EQ(texts(list(7)), (std::vector<std::string>{"AutoExec"}));
    EXPECT_TRUE(list(8).entries().empty());

    // A "~TMP" page is passed over and does not use up a number; pages
    // count from 1, the other documents from 0.
    EXPECT_EQ(texts(list(11)), (std::vector<std::string>{"Review", "Sales", "Totals"}));
    EXPECT_EQ(itemData(list(11)), (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_EQ(itemData(list(5)), (std::vector<std::int32_t>{0, 1}));
    EXPECT_EQ(itemData(list(7)), (std::vector<std::int32_t>{0}));

    for (int i : {0, 1, 2, 3, 5, 6, 7, 8, 11}) EXPECT_EQ(selectedCount(list(i)), list(i).ListCount()) << i;
    EXPECT_EQ(selectedCount(list(4)), 0);

    // The phases report their progress; the fillers run in their order, the
    // summary last. (The status texts are the window's own captions.)
    std::vector<std::pair<int, int>> progress;
    for (int i = 0; i <= 12; ++i) progress.emplace_back(i, 12);
    EXPECT_EQ(w.ui.progress, progress);
    EXPECT_EQ(controls.grids, (std::vector<int>{0, 1, 8, 4, 2, 7, 5, 6, 0}));
    EXPECT_EQ(w.state.lvwGrid[grids::kGridTables].rowCount(), 3);

    ASSERT_EQ(w.ui.messages.size(), 1u);
    EXPECT_EQ(w.ui.messages[0].icon, ui::Icon::Information);
    EXPECT_EQ(w.ui.eventPumps, 1);
    EXPECT_EQ(controls.delays, 1);
    EXPECT_EQ(w.ui.pointers.back(), ui::MousePointer::Default);
    EXPECT_TRUE(w.ui.started.empty());
    EXPECT_FALSE(w.state.ObjectsRecordset);

    EXPECT_TRUE(controls.enabledState.at(Control::cmdView));
    for (Control off : {Control::cmdAnalyse, Control::mnuAnalyse, Control::fraOutput, Control::cmdOut,
                        Control::mnuOutPut})
        EXPECT_FALSE(controls.enabledState.at(off));
    EXPECT_TRUE(controls.enabledState.at(Control::mnuViewResults));
    EXPECT_TRUE(controls.enabledState.at(Control::mnuStatistics));
    EXPECT_EQ(controls.focus, Control::cmdView);
    EXPECT_EQ(controls.steps[4].value, grids::kChecked);
    EXPECT_EQ(controls.steps[4].color, grids::kColorBlack);
    EXPECT_FALSE(controls.steps[4].bold);
    EXPECT_EQ(controls.steps[5].value, grids::kGrayed);
    EXPECT_TRUE(controls.steps[6].bold);
    for (int tab = 0; tab < grids::kTabCount; ++tab) EXPECT_EQ(controls.tabEnabled[tab], tab != 10) << tab;
}

TEST_F(Run, EarlierErrorsAreNotForgottenAndOpenTheLog) {
    openBuilt();
    w.state.ErrorCount = 1;  // the run adds to what is there
    cmdAnalyse_Click(w.ctx);
    ASSERT_EQ(w.ui.messages.size(), 2u);
    EXPECT_EQ(w.ui.messages[1].icon, ui::Icon::Critical);
    ASSERT_EQ(w.ui.started.size(), 1u);
    EXPECT_EQ(w.ui.started[0].commandLine, "Notepad.exe \"" + w.state.ErrorLogPath + "\"");
    EXPECT_EQ(w.ui.started[0].style, ui::WindowStyle::MaximizedFocus);
    EXPECT_EQ(w.controls.steps[4].color, grids::kColorRed);
    EXPECT_EQ(w.ui.lastStatus(), "Ready");

    // After the pages nothing is handled: an editor that cannot start.
    w.ui.failStarts = true;
    EXPECT_EQ(unhandledNumber([&] { cmdAnalyse_Click(w.ctx); }), 53);
}

TEST_F(Run, TemporaryQueriesWhenAskedThenABareDatabaseStartsAfresh) {
    openBuilt(Shape::Full);
    w.state.IncludeTempQueries = grids::kTrue;
    cmdAnalyse_Click(w.ctx);
    EXPECT_EQ(texts(list(1)), (std::vector<std::string>{"~sq_cHidden", "qCustomers", "qOrders"}));
    fs::create_directory(w.folder / "bare");
    w.open(writeDatabase(w.folder / "bare", Shape::Bare).path);
    w.ui.progress.clear();
    w.ui.messages.clear();
    cmdAnalyse_Click(w.ctx);
    for (int i : {0, 1, 2, 3, 4, 5, 6, 7, 8}) EXPECT_TRUE(list(i).entries().empty()) << i;
    for (int k : {grids::kGridTables, grids::kGridIndexes, grids::kGridFields, grids::kGridMacros})
        EXPECT_EQ(w.state.lvwGrid[k].rowCount(), 0) << k;
    EXPECT_EQ(w.ui.progress.back(), std::make_pair(12, 12));
    EXPECT_EQ(w.ui.messages.at(0).icon, ui::Icon::Information);
    EXPECT_EQ(texts(list(11)), (std::vector<std::string>{"First", "Second"}));
}

// A user table whose definition page is gone: the tables filler has no
// handler, and the run handles nothing before the indexes phase.
TEST_F(Run, ADamagedTableEndsTheRunInTheTablesPhase) {
    const BuiltFile built = writeDatabase(w.folder.path());
    zeroPage(built.path, built.ordersDefinitionPage);
    w.open(built.path);
    EXPECT_EQ(unhandledNumber([&] { cmdAnalyse_Click(w.ctx); }), 3049);
    EXPECT_EQ(w.ui.progress.back(), std::make_pair(1, 12));
    EXPECT_EQ(w.ui.lastStatus(), "Selecting....");
    EXPECT_TRUE(w.ui.messages.empty());
}

// The file is cut to a quarter of its length while the run counts its big
// table: the pages that went are read as the engine's disk error, which
// takes the way of any other failed read, and the process lives on.
TEST_F(Run, AFileCutShortDuringTheRunFailsWithTheDiskError) {
    const BuiltFile built = writeDatabase(w.folder.path(), Shape::Large);
    w.open(built.path);
    bool cut = false;
    const jet::ProgressScope cutting([&] {
        if (!std::exchange(cut, true)) fs::resize_file(built.path, fs::file_size(built.path) / 4);
    });
    EXPECT_EQ(unhandledNumber([&] { cmdAnalyse_Click(w.ctx); }), 3043);
    EXPECT_TRUE(cut);
}

// From the indexes phase to the pages, what leaves a filler is passed
// over without a line: the relations filler's broken query is not logged,
// the indexes filler logs its own error.
TEST_F(Run, FillerFailuresBetweenTheIndexesAndThePagesArePassedOver) {
    openBuilt(Shape::Awkward);
    cmdAnalyse_Click(w.ctx);
    EXPECT_EQ(w.errorLogLines(), (std::vector<std::string>{"Index Error :qAaa                                     : "
                                                           "003265 : Item not found in this collection."}));
    EXPECT_EQ(w.state.ErrorCount, 1);
    // A table name is split at its first dot; the row whose look-up failed
    // shows the index found before it.
    const grids::Grid& indexes = w.state.lvwGrid[grids::kGridIndexes];
    ASSERT_GE(indexes.rowCount(), 3);
    EXPECT_EQ(indexes.row(3).text, "PrimaryKey");
    EXPECT_EQ(indexes.row(3).subItem(1), "Dotted");
    // The pairs are read in order of the foreign table: Main's row came
    // before the quote in O'Brien broke the query.
    const grids::Grid& relations = w.state.lvwGrid[grids::kGridRelations];
    ASSERT_EQ(relations.rowCount(), 2);
    EXPECT_EQ(relations.row(2).text, "MainAaa");
    EXPECT_EQ(relations.row(2).subItems, (std::vector<std::string>{"Main", "Aaa"}));
    EXPECT_EQ(selectedCount(list(3)), 2);  // the select after the failed filler ran
    EXPECT_EQ(texts(list(11)), (std::vector<std::string>{"Page"}));
    EXPECT_EQ(w.ui.progress.back(), std::make_pair(12, 12));
    EXPECT_EQ(w.ui.messages.back().icon, ui::Icon::Critical);

    // Empty and memo-only tables; every stored type with its name and
    // declared size (memo, OLE and the fixed sizes of the others).
    const auto row = [&](const std::string& table) {
        for (const auto& r : w.state.lvwGrid[grids::kGridTables].rows())
            if (r.text == table) return r.subItems;
        return std::vector<std::string>{};
    };
    EXPECT_EQ(row("AllMemo"), (std::vector<std::string>{"0", "2", "0"}));
    EXPECT_EQ(row("Types").at(2), "128");  // 1+1+2+4+8+4+8+8 + 10 + 50 + 0 + 0 + 16 + 16
    std::vector<std::string> types;
    for (const auto& r : w.state.lvwGrid[grids::kGridFields].rows())
        if (r.subItem(1) == "Types") types.push_back(r.subItem(2));
    EXPECT_EQ(types, (std::vector<std::string>{"Boolean", "Byte", "Integer", "Long", "Currency", "Single", "Double",
                                               "Date", "Binary", "Text", "Long Binary", "Memo", "GUID", "Decimal"}));

    // Without an error log the indexes filler's handler fails in turn, and
    // that is passed over too.
    HeadlessWindow unlogged;
    unlogged.open(w.state.ActualDbPath);
    unlogged.state.ErrorLogPath.clear();
    cmdAnalyse_Click(unlogged.ctx);
    EXPECT_EQ(unlogged.state.ErrorCount, 0);
    EXPECT_EQ(unlogged.ui.lastStatus(), "Ready");
    EXPECT_EQ(unlogged.ui.messages.size(), 1u);
}

// The pages list box refuses its entries: each refusal is logged under the
// saved query at the page's position, and the run goes on.
TEST_F(Run, AFailingPageIsLoggedUnderTheQueryAtItsPosition) {
    w.open(test::corpusFile("j4_northwind2000.mdb"));
    WatchedControls controls(w.state, w.ui);
    controls.refusePages = true;
    grids::WindowContext ctx = watched(controls);
    cmdAnalyse_Click(ctx);

    std::vector<std::string> expected;
    const auto& db = *w.state.CurrentDb;
    const auto& pages = db.Containers()["DataAccessPages"].Documents();
    for (int i = 1; i <= pages.Count(); ++i)
        if (pages.Item(i - 1).Name().find("~TMP") == std::string::npos)
            expected.push_back(vb::fixedWidth(db.QueryDefs().Item(i - 1).Name(), 40));
    ASSERT_EQ(expected.size(), 5u);

    std::vector<std::string> logged;
    for (const std::string& line : w.errorLogLines()) {
        const std::string tail = " : 000007 : Out of memory";
        if (line.size() > tail.size() && line.compare(line.size() - tail.size(), tail.size(), tail) == 0)
            logged.push_back(line.substr(0, 40));
    }
    EXPECT_EQ(logged, expected);
    EXPECT_EQ(static_cast<int>(w.errorLogLines().size()), w.state.ErrorCount);
    EXPECT_EQ(itemData(list(11)), countingFrom(1, 5));
    EXPECT_EQ(list(5).ListCount(), 22);  // the run went on past the pages
}

// A failing page whose handler fails in turn: no saved query at the page's
// position, or no error log.
TEST_F(Run, AFailingPageHandlerThatFailsIsNotHandled) {
    openBuilt(Shape::Bare);
    WatchedControls controls(w.state, w.ui);
    controls.refusePages = true;
    grids::WindowContext ctx = watched(controls);
    EXPECT_EQ(unhandledNumber([&] { cmdAnalyse_Click(ctx); }), 3265);
    EXPECT_EQ(w.state.ErrorCount, 0);
    EXPECT_EQ(w.ui.lastStatus(), "Checking pages....");

    // With no error log the handler fails where a query is there too.
    w.open(test::corpusFile("j4_northwind2000.mdb"));
    w.state.ErrorLogPath.clear();
    controls.setTxtMDB(w.controls.txtMDB());
    EXPECT_EQ(unhandledNumber([&] { cmdAnalyse_Click(ctx); }), 53);
    EXPECT_EQ(w.ui.lastStatus(), "Checking pages....");
}

// What the third party's reader saw in a corpus file.
QJsonObject seenObjects(const std::string& file) {
    const std::string json = test::readFile(test::corpusDir() / "details" / (file + ".json"));
    return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object()["objects"].toObject();
}

std::vector<std::string> sorted(std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    return v;
}

std::vector<std::string> seenNames(const QJsonObject& objects, const char* kind) {
    std::vector<std::string> names;
    for (const auto& value : objects[kind].toArray()) names.push_back(value.toString().toStdString());
    return sorted(names);
}

// The relations grid's rows below its count row: every record of a pair
// of tables (one per column of each relationship between them), once for
// each relationship between them.
std::multiset<std::vector<std::string>> expectedRelationRows(const QJsonArray& relationships) {
    std::map<std::pair<QString, QString>, int> perPair;
    for (const auto& value : relationships)
        ++perPair[{value.toObject()["from"].toString(), value.toObject()["to"].toString()}];
    std::multiset<std::vector<std::string>> rows;
    for (const auto& value : relationships) {
        const QJsonObject r = value.toObject();
        const QString from = r["from"].toString(), to = r["to"].toString();
        for (int i = perPair[{from, to}] * static_cast<int>(r["columns"].toArray().size()); i > 0; --i)
            rows.insert({r["name"].toString().toStdString(), from.toStdString(), to.toStdString()});
    }
    return rows;
}

// A count row, then one row per entry of `list` that `name` gives back;
// nothing at all when the list is empty.
template <class Name>
void expectRowPerEntry(const grids::Grid& grid, const grids::NameList& list, Name name) {
    ASSERT_EQ(grid.rowCount(), list.ListCount() ? list.ListCount() + 1 : 0);
    if (list.ListCount()) {
        EXPECT_EQ(grid.row(1).subItem(1), std::to_string(list.ListCount()));
    }
    for (int i = 2; i <= grid.rowCount(); ++i) EXPECT_EQ(name(grid.row(i)), list.List(i - 2));
}

std::string rowText(const grids::GridRow& row) { return row.text; }

// Every Jet database of the corpus that opens without a workgroup, analysed
// as the window analyses it: the lists and grids against the manifest, the
// names and relationships the third party's reader saw, the engine's own
// collections, the module reader, and one another.
TEST(RunOverCorpus, ListsAndGridsAgreeWithTheFile) {
    int analysed = 0, modules = 0;
    for (const std::string& name : test::jetDatabases()) {
        SCOPED_TRACE(name);
        HeadlessWindow w;
        const fs::path file = test::corpusFile(name);
        const auto written = fs::last_write_time(file);
        try {
            w.open(file);
        } catch (const RuntimeError&) {
            continue;  // password, user-level security: the opening's tests cover these
        }
        ASSERT_NO_THROW(cmdAnalyse_Click(w.ctx));
        ++analysed;
        const auto& row = test::manifest().at(name);
        const QJsonObject seen = seenObjects(name);
        const auto& lists = w.state.lstData;
        const auto& grid = w.state.lvwGrid;
        const auto& db = *w.state.CurrentDb;
        const bool compiled = file.extension() == ".mde";
        EXPECT_EQ(fs::last_write_time(file), written);
        EXPECT_EQ(w.ui.lastStatus(), "Ready");

        // The lists. System-flagged tables without "MSys" in their names
        // are listed too.
        EXPECT_EQ(lists[0].ListCount(), row.number("tables_local") + row.number("tables_system_flagged"));
        std::vector<std::string> queries;
        for (const auto& q : db.QueryDefs())
            if (q.Name().find('~') == std::string::npos && q.Name().find("MSys") == std::string::npos)
                queries.push_back(q.Name());
        EXPECT_EQ(sorted(texts(lists[1])), sorted(queries));
        EXPECT_EQ(lists[5].ListCount(), row.number("forms"));
        EXPECT_EQ(lists[6].ListCount(), row.number("reports"));
        EXPECT_EQ(sorted(texts(lists[7])), seenNames(seen, "macros"));
        EXPECT_EQ(sorted(texts(lists[8])), seenNames(seen, "modules"));
        EXPECT_EQ(itemData(lists[5]), countingFrom(0, lists[5].ListCount()));
        EXPECT_EQ(itemData(lists[11]), countingFrom(1, lists[11].ListCount()));
        for (const auto& page : texts(lists[11])) EXPECT_EQ(page.find("~TMP"), std::string::npos);
        if (!db.Containers().Contains("DataAccessPages")) {
            EXPECT_EQ(lists[11].ListCount(), 0);
        }

        // Tables with as many fields as the fields grid shows for each; the
        // fields grid: every field of every table not named MSys (links too).
        std::map<std::string, int> fieldRows;
        for (const auto& r : grid[grids::kGridFields].rows()) ++fieldRows[r.subItem(1)];
        expectRowPerEntry(grid[grids::kGridTables], lists[0], rowText);
        for (int i = 2; i <= grid[grids::kGridTables].rowCount(); ++i) {
            const grids::GridRow& r = grid[grids::kGridTables].row(i);
            EXPECT_EQ(r.subItem(2), std::to_string(fieldRows[r.text])) << r.text;
        }
        int fields = 0;
        for (const auto& t : db.TableDefs())
            if (t.Name().find("MSys") == std::string::npos) fields += t.Fields().Count();
        if (lists[4].ListCount() > 0) {
            EXPECT_EQ(grid[grids::kGridFields].rowCount(), fields + 1);
        }

        // Indexes: every entry found, with both sub-items.
        expectRowPerEntry(grid[grids::kGridIndexes], lists[2],
                          [](const grids::GridRow& r) { return "[" + r.subItem(1) + "]." + r.text; });
        for (int i = 2; i <= grid[grids::kGridIndexes].rowCount(); ++i)
            EXPECT_TRUE(grid[grids::kGridIndexes].row(i).subItem(2) == "Yes" ||
                        grid[grids::kGridIndexes].row(i).subItem(2) == "No");

        // Queries, unticked box: all but those whose name begins with "~".
        int shown = 0;
        for (const auto& q : seen["queries"].toArray()) shown += !q.toObject()["name"].toString().startsWith('~');
        const grids::Grid& queryGrid = grid[grids::kGridQueries];
        EXPECT_EQ(queryGrid.rowCount(), lists[1].ListCount() ? 1 + shown : 0);
        for (int i = 2; i <= queryGrid.rowCount(); ++i) EXPECT_NE(queryGrid.row(i).subItem(1), "Unknown");

        // Relationships: the listing repeats by table pair.
        const QJsonArray relationships = seen["relationships"].toArray();
        EXPECT_EQ(lists[3].ListCount(), relationships.size());
        std::multiset<std::vector<std::string>> relationRows;
        for (int i = 2; i <= grid[grids::kGridRelations].rowCount(); ++i) {
            const grids::GridRow& r = grid[grids::kGridRelations].row(i);
            relationRows.insert({r.text, r.subItem(1), r.subItem(2)});
        }
        EXPECT_EQ(relationRows, expectedRelationRows(relationships));

        // The summary: size, three dates, the properties, seven counts.
        const grids::Grid& summary = grid[grids::kGridDatabase];
        ASSERT_EQ(summary.rowCount(), 4 + db.Properties().Count() + 7);
        EXPECT_EQ(summary.row(1).subItem(1), std::to_string(fs::file_size(file)) + " Bytes");
        EXPECT_EQ(summary.row(summary.rowCount() - 4).text, "Views");
        EXPECT_EQ(summary.row(summary.rowCount() - 4).subItem(1), std::to_string(lists[1].ListCount()));

        // Macros and modules; each module's lines, functions and subs as
        // its source file reads.
        expectRowPerEntry(grid[grids::kGridMacros], lists[7], rowText);
        expectRowPerEntry(grid[grids::kGridModules], lists[8], rowText);
        if (lists[8].ListCount() > 0 && !compiled) {
            // The rule behind the counts has its own tests; here every real
            // module is counted without failing, its lines as the reader
            // gives them.
            const vba::VbaProject project = vba::openJetProject(file);
            for (int i = 2; i <= grid[grids::kGridModules].rowCount(); ++i) {
                const grids::GridRow& r = grid[grids::kGridModules].row(i);
                ASSERT_NE(project.find(r.text), nullptr) << r.text;
                ASSERT_EQ(r.subItems.size(), 3u) << r.text;
                EXPECT_EQ(r.subItems[0], std::to_string(project.source(r.text).countOfLines())) << r.text;
                EXPECT_GE(std::stoi(r.subItems[1]), 0) << r.text;
                EXPECT_GE(std::stoi(r.subItems[2]), 0) << r.text;
                ++modules;
            }
            // The scan leaves the window on the application's database.
            EXPECT_EQ(db.Name(), file.string());
        }

        // Only the first seven grids are sized, and only those with columns.
        for (int k = 0; k < grids::kGridCount; ++k)
            EXPECT_EQ(w.controls.autoSized[static_cast<std::size_t>(k)], k < 7 && grid[k].columnCount() > 0 ? 1 : 0)
                << k;

        // The only errors real files give: saved queries over tables that
        // are not there or over ODBC links (no ODBC here), a crosstab saved
        // with an aggregate in WHERE, and compiled-only modules; one line and
        // one count each.
        const auto lines = w.errorLogLines();
        EXPECT_EQ(w.state.ErrorCount, static_cast<int>(lines.size()));
        for (const auto& line : lines) {
            const bool query = line.rfind("Query Error :", 0) == 0 && (line.find(" : 003078 : ") != std::string::npos ||
                                                                       line.find(" : 003151 : ") != std::string::npos ||
                                                                       line.find(" : 003096 : ") != std::string::npos);
            EXPECT_TRUE(query || (compiled && line.rfind("Modul Error :", 0) == 0)) << line;
        }
    }
    EXPECT_GE(analysed, 25);
    EXPECT_EQ(modules, 39);
}

}  // namespace
}  // namespace ql::analysis
