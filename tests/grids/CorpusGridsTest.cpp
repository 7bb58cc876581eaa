// Every filler over every corpus database that opens for the default user,
// the name lists filled as the analysis run fills them: row counts against
// the manifest, record counts against mdb-count, the relationship listing
// against the column pairs a third party's reader saw, and the grids
// against one another.
#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "grids/Fillers.h"
#include "tests/grids/CatalogueWalk.h"
#include "tests/platform/jet/Process.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

namespace ql::grids {
namespace {

using test::corpusFile;
using test::manifest;

// Files the default user cannot open (named users only, a database
// password); the DAO tests cover why.
const std::set<std::string> kClosed = {"j3_esis_secured.mdb", "j3_contour_cdu_secured.mdb", "j4_kontener_enc.mdb",
                                       "j4_pwd2003.mdb"};

QJsonObject details(const std::string& file) {
    QFile f(QString::fromStdString((test::corpusDir() / "details" / (file + ".json")).string()));
    if (!f.open(QIODevice::ReadOnly)) return {};
    return QJsonDocument::fromJson(f.readAll()).object()["objects"].toObject();
}

// The relations grid's rows below its count row: per pair of tables, every
// record of the pair once for each relationship between them.
int expectedRelationRows(const QJsonArray& relationships) {
    std::map<std::pair<QString, QString>, std::pair<int, int>> pairs;  // relationships, records
    for (const auto& value : relationships) {
        const QJsonObject r = value.toObject();
        auto& [count, records] = pairs[{r["from"].toString(), r["to"].toString()}];
        ++count;
        records += static_cast<int>(r["columns"].toArray().size());
    }
    int rows = 0;
    for (const auto& [pair, counts] : pairs) rows += counts.first * counts.second;
    return rows;
}

// The rows an independent reader exports. Not mdb-count: that gives the
// count stored in the table definition, which some real files have wrong.
std::string exportedRows(const std::string& file, const std::string& table) {
    const std::string out =
        test::runProgram({"mdb-export", "-H", "-b", "hex", "-R", "\x1e", corpusFile(file).string(), table}).out;
    return std::to_string(std::count(out.begin(), out.end(), '\x1e'));
}

std::vector<std::string> openDatabases() {
    std::vector<std::string> files;
    for (const auto& file : test::jetDatabases())
        if (!kClosed.count(file)) files.push_back(file);
    return files;
}

class CorpusGrids : public testing::TestWithParam<std::string> {};

TEST_P(CorpusGrids, EveryGridAgreesWithTheFileAndTheOthers) {
    const std::string file = GetParam();
    const auto& row = manifest().at(file);
    test::HeadlessWindow w;
    w.open(corpusFile(file));
    test::listEverything(w.state);
    auto& ctx = w.ctx;
    const auto& lists = w.state.lstData;
    const auto& grids = w.state.lvwGrid;

    test::fillCatalogueGrids(ctx);
    AutoAdjustColumnWidths(ctx);

    // Tables: every local table not named MSys, hidden or not, with the
    // record count an independent reader gives.
    EXPECT_EQ(lists[0].ListCount(), row.number("tables_local") + row.number("tables_system_flagged"));
    const Grid& tables = grids[kGridTables];
    std::map<std::string, int> fieldRows;
    for (const auto& r : grids[kGridFields].rows()) ++fieldRows[r.subItem(1)];
    if (lists[0].ListCount() == 0) {
        EXPECT_EQ(tables.columnCount(), 0);
        EXPECT_EQ(tables.rowCount(), 0);
    } else {
        ASSERT_EQ(tables.rowCount(), lists[0].ListCount() + 1);
        EXPECT_EQ(tables.row(1).subItem(1), std::to_string(lists[0].ListCount()));
        for (int i = 2; i <= tables.rowCount(); ++i) {
            const GridRow& t = tables.row(i);
            EXPECT_EQ(t.text, lists[0].List(i - 2));
            EXPECT_EQ(t.subItem(1), exportedRows(file, t.text)) << t.text;
            EXPECT_EQ(t.subItem(2), std::to_string(fieldRows[t.text])) << t.text;
            EXPECT_GE(std::stoi(t.subItem(3)), 0) << t.text;
        }
    }

    // Fields: one row per field of every table not named MSys (links too).
    int fields = 0;
    for (const auto& t : w.state.CurrentDb->TableDefs())
        if (t.Name().find("MSys") == std::string::npos) fields += t.Fields().Count();
    if (lists[4].ListCount() > 0) {
        EXPECT_EQ(grids[kGridFields].rowCount(), fields + 1);
        EXPECT_EQ(grids[kGridFields].row(1).text, "Fields in Database ");
    }

    // Queries, unticked box: all but those whose name begins with "~".
    const Grid& queries = grids[kGridQueries];
    int shown = 0;
    for (const auto& q : details(file)["queries"].toArray()) shown += !q.toObject()["name"].toString().startsWith('~');
    if (lists[1].ListCount() > 0) {
        EXPECT_EQ(queries.rowCount(), 1 + shown);
        for (int i = 2; i <= queries.rowCount(); ++i) EXPECT_NE(queries.row(i).subItem(1), "Unknown");
    } else {
        EXPECT_EQ(queries.rowCount(), 0);
    }

    // Relationships: the listing repeats by table pair.
    const QJsonArray relationships = details(file)["relationships"].toArray();
    EXPECT_EQ(lists[3].ListCount(), relationships.size());
    if (lists[3].ListCount() > 0) EXPECT_EQ(grids[kGridRelations].rowCount(), 1 + expectedRelationRows(relationships));

    // Indexes: every entry found, each with both sub-items.
    if (lists[2].ListCount() > 0) {
        ASSERT_EQ(grids[kGridIndexes].rowCount(), lists[2].ListCount() + 1);
        for (int i = 2; i <= grids[kGridIndexes].rowCount(); ++i) {
            const GridRow& r = grids[kGridIndexes].row(i);
            EXPECT_EQ("[" + r.subItem(1) + "]." + r.text, lists[2].List(i - 2));
            EXPECT_TRUE(r.subItem(2) == "Yes" || r.subItem(2) == "No");
        }
    }

    // The summary: size, three dates, the properties, seven counts.
    const Grid& summary = grids[kGridDatabase];
    ASSERT_EQ(summary.rowCount(), 4 + w.state.CurrentDb->Properties().Count() + 7);
    EXPECT_EQ(summary.row(1).subItem(1), std::to_string(std::filesystem::file_size(corpusFile(file))) + " Bytes");
    EXPECT_EQ(summary.row(summary.rowCount() - 4).text, "Views");
    EXPECT_EQ(summary.row(summary.rowCount() - 4).subItem(1), std::to_string(lists[1].ListCount()));

    // Only the first seven grids are sized, and only those with columns.
    for (int k = 0; k < kGridCount; ++k)
        EXPECT_EQ(w.controls.autoSized[static_cast<std::size_t>(k)], k < 7 && grids[static_cast<std::size_t>(k)].columnCount() > 0 ? 1 : 0) << k;

    // The only errors real files give: saved queries over tables that are
    // not there, one line and one count each.
    const auto lines = w.errorLogLines();
    EXPECT_EQ(w.state.ErrorCount, static_cast<int>(lines.size()));
    for (const auto& line : lines) {
        EXPECT_EQ(line.rfind("Query Error :", 0), 0u) << line;
        EXPECT_NE(line.find(" : 003078 : "), std::string::npos) << line;
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusGrids, testing::ValuesIn(openDatabases()), [](const auto& info) {
    std::string name = info.param;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
});

}  // namespace
}  // namespace ql::grids
