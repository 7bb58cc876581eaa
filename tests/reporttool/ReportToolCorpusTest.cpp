// The built quarrylantern-report over the whole corpus, checked against the
// manifest, the details the third-party reader saw, and mdbtools itself.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "tests/reporttool/Run.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace ql::test {
namespace {

namespace fs = std::filesystem;

const std::string kTool = QL_REPORT_TOOL;

// Files that do not open with the default workgroup and no password, and
// DAO's number for each.
const std::map<std::string, int> kRefused = {
    {"j4_pwd2003.mdb", 3031},
    {"j3_esis_secured.mdb", 3033},
    {"j3_contour_cdu_secured.mdb", 3033},
    {"j4_kontener_enc.mdb", 3033},
};

QJsonObject parseReport(const fs::path& file) {
    QJsonParseError error{};
    const auto doc = QJsonDocument::fromJson(QByteArray::fromStdString(TempFolder::read(file)), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << file << ": " << error.errorString().toStdString();
    return doc.object();
}

std::vector<std::string> strings(const QJsonValue& value) {
    std::vector<std::string> out;
    for (const auto& v : value.toArray()) out.push_back(v.toString().toStdString());
    return out;
}

std::vector<std::vector<std::string>> gridRows(const QJsonObject& report, int grid) {
    std::vector<std::vector<std::string>> rows;
    for (const auto& row : report["grids"].toArray()[grid].toObject()["rows"].toArray()) rows.push_back(strings(row));
    return rows;
}

// The names of one kind that the third party's reader saw in the file.
std::vector<std::string> detailNames(const std::string& file, const char* kind) {
    const auto text = readFile(corpusDir() / "details" / (file + ".json"));
    const auto objects = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object()["objects"].toObject();
    std::vector<std::string> names;
    for (const auto& v : objects[kind].toArray())
        names.push_back((v.isObject() ? v.toObject()["name"] : v).toString().toStdString());
    return names;
}

std::vector<std::string> sorted(std::vector<std::string> v) {
    std::sort(v.begin(), v.end());
    return v;
}

std::vector<std::string> without(const std::vector<std::string>& names, const char* part) {
    std::vector<std::string> out;
    for (const auto& n : names)
        if (n.find(part) == std::string::npos) out.push_back(n);
    return out;
}

std::vector<std::string> runArgs(std::vector<std::string> head, const std::vector<fs::path>& files) {
    for (const auto& f : files) head.push_back(f.string());
    return head;
}

// mdbtools' rows of a table, header first, binary cells in hex. Rows end in
// a record separator, since memo cells may hold line ends.
std::vector<std::vector<std::string>> mdbExport(const fs::path& file, const std::string& table) {
    const auto run = runProgram({"mdb-export", "-d", "\t", "-R", "\x1e", "-Q", "-b", "hex", file.string(), table});
    std::vector<std::vector<std::string>> rows;
    std::istringstream in(run.out);
    std::string line;
    while (std::getline(in, line, '\x1e')) {
        std::vector<std::string> cells{{}};
        for (const char c : line) {
            if (c == '\t')
                cells.emplace_back();
            else
                cells.back().push_back(c);
        }
        rows.push_back(cells);
    }
    return rows;
}

struct FileFacts {
    std::string bytes;
    timespec mtime{};
};

FileFacts facts(const fs::path& file) {
    FileFacts f;
    f.bytes = TempFolder::read(file);
    struct stat st {};
    if (stat(file.c_str(), &st) == 0) f.mtime = st.st_mtim;
    return f;
}

// Two runs over every Jet database in one process each: the first plain
// with a missing database among them and the timings on, the second with
// the control queries and the files that are no Jet database at all.
class ReportToolCorpus : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder = new TempFolder;
        for (const auto& name : jetDatabases()) {
            jetFiles.push_back(corpusFile(name));
            before[name] = facts(corpusFile(name));
        }
        missing = *folder / "missing.mdb";

        auto first = jetFiles;
        first.insert(first.begin() + 3, missing);
        plain = runProgram(runArgs({kTool, "--timings", "--output", (*folder / "plain").string()}, first));

        auto second = jetFiles;
        for (const auto& name : nonJetFiles()) second.push_back(corpusFile(name));
        withTemp = runProgram(
            runArgs({kTool, "--temp-queries", "--output=" + (*folder / "temp").string()}, second));
    }
    static void TearDownTestSuite() {
        delete folder;
        folder = nullptr;
    }

    static QJsonObject report(const char* run, const std::string& file) {
        return parseReport(*folder / run / (file + ".json"));
    }

    static inline TempFolder* folder = nullptr;
    static inline std::vector<fs::path> jetFiles;
    static inline fs::path missing;
    static inline std::map<std::string, FileFacts> before;
    static inline ProgramRun plain;
    static inline ProgramRun withTemp;
};

TEST_F(ReportToolCorpus, EveryDatabaseIsAnalysedOrFailsWithDaosErrorAndStaysUntouched) {
    EXPECT_EQ(plain.status, 1) << plain.err;
    EXPECT_EQ(withTemp.status, 1) << withTemp.err;
    const QJsonObject gone = report("plain", "missing.mdb");
    EXPECT_FALSE(gone["opened"].toBool());
    EXPECT_EQ(gone["error"]["number"].toInt(), 3024);
    EXPECT_NE(plain.err.find(missing.string() + ": cannot open: error 3024"), std::string::npos) << plain.err;
    for (const auto& name : nonJetFiles()) {
        const QJsonObject r = report("temp", name);
        EXPECT_EQ(r["error"]["number"].toInt(), 3343) << name;
    }

    for (const auto& name : jetDatabases()) {
        SCOPED_TRACE(name);
        const FileFacts after = facts(corpusFile(name));
        EXPECT_TRUE(after.bytes == before[name].bytes);
        EXPECT_EQ(after.mtime.tv_sec, before[name].mtime.tv_sec);
        EXPECT_EQ(after.mtime.tv_nsec, before[name].mtime.tv_nsec);

        const QJsonObject r = report("plain", name);
        EXPECT_EQ(r["grids"].toArray().size(), 12);
        if (const auto refused = kRefused.find(name); refused != kRefused.end()) {
            EXPECT_FALSE(r["opened"].toBool());
            EXPECT_EQ(r["error"]["number"].toInt(), refused->second);
            continue;
        }
        EXPECT_TRUE(r["opened"].toBool());
        EXPECT_FALSE(r["aborted"].toBool()) << r["error"]["description"].toString().toStdString();
        // The run ends with its message, and a run with errors says so (the
        // module scan may have shown boxes of its own before).
        std::vector<std::string> titles;
        for (const auto& m : r["messages"].toArray()) titles.push_back(m.toObject()["title"].toString().toStdString());
        const bool errors = r["error_count"].toInt() > 0;
        ASSERT_GE(titles.size(), errors ? 2u : 1u);
        EXPECT_EQ(titles[titles.size() - (errors ? 2 : 1)], "Collected Information");
        EXPECT_EQ(titles.back() == "DATABASE ERRORS", errors);
        EXPECT_EQ(r["error_log"].toArray().size(), r["error_count"].toInt());
    }

    for (const char* stage : {"open ", "run start ", "Checking Database.... ", "Checking Modules.... ", "Ready ",
                              "write report ", "total "})
        EXPECT_NE(plain.err.find(stage), std::string::npos) << stage;
    EXPECT_EQ(plain.err.find("Selecting...."), std::string::npos);
    EXPECT_NE(plain.err.find("timings: all " + std::to_string(jetFiles.size() + 1) + " databases"), std::string::npos);
}

TEST_F(ReportToolCorpus, ListsAndCountRowsAgreeWithTheManifest) {
    const std::pair<int, const char*> counted[] = {{1, "tables"},  {2, "fields"},        {4, "indexes"},
                                                   {5, "macros"},  {6, "modules"},       {7, "relationships"},
                                                   {8, "queries"}};
    for (const auto& name : jetDatabases()) {
        if (kRefused.count(name)) continue;
        SCOPED_TRACE(name);
        const auto& row = manifest().at(name);
        const QJsonObject r = report("plain", name), rTemp = report("temp", name);
        const QJsonObject lists = r["lists"].toObject();

        EXPECT_EQ(lists["tables"].toArray().size(), row.number("tables_local") + row.number("tables_system_flagged"));
        for (const char* kind : {"forms", "reports", "macros", "modules", "relationships"})
            EXPECT_EQ(lists[kind].toArray().size(), row.number(kind)) << kind;
        EXPECT_EQ(sorted(strings(lists["pages"])), sorted(without(detailNames(name, "daps"), "~TMP")));

        // "~" anywhere keeps a query out of the list unless asked for; the
        // grid leaves out only names that begin with it.
        const auto queries = detailNames(name, "queries");
        const auto listed = strings(lists["queries"]);
        EXPECT_EQ(static_cast<int>(queries.size()), row.number("queries"));
        EXPECT_EQ(sorted(listed), sorted(without(queries, "~")));
        EXPECT_LE(row.number("queries_hidden_sq"), static_cast<int>(queries.size() - listed.size()));
        EXPECT_EQ(sorted(strings(rTemp["lists"]["queries"])), sorted(queries));
        const auto leading = std::count_if(queries.begin(), queries.end(), [](auto& q) { return q.rfind('~', 0) == 0; });
        if (!listed.empty()) {
            EXPECT_EQ(gridRows(r, 8).size() - 1, queries.size() - leading);
            EXPECT_EQ(gridRows(rTemp, 8).size() - 1, queries.size());
        }

        for (const QJsonObject* run : {&r, &rTemp}) {
            for (const auto& [grid, list] : counted) {
                SCOPED_TRACE(list);
                const auto rows = gridRows(*run, grid);
                const auto entries = (*run)["lists"][list].toArray().size();
                if (entries == 0) {
                    EXPECT_TRUE(rows.empty());
                    continue;
                }
                ASSERT_FALSE(rows.empty());
                EXPECT_EQ(rows[0][1], std::to_string(entries));
            }
        }
    }
}

// Two tables whose stored count Access left stale: mdb-count gives the
// stored count, the grid the live rows, which mdb-export lists.
const std::set<std::pair<std::string, std::string>> kStaleCounts = {
    {"j3_arabic.mdb", "Report"},
    {"j4_babnach_ru.mdb", "\xD1\x81\xD0\xBE\xD1\x82\xD1\x80\xD1\x83\xD0\xB4\xD0\xBD\xD0\xBA\xD0\xB8"},
};

TEST_F(ReportToolCorpus, RecordCountsAndRelationshipRowsAgreeWithMdbtools) {
    std::size_t stale = 0;
    for (const auto& name : jetDatabases()) {
        if (kRefused.count(name)) continue;
        SCOPED_TRACE(name);
        const auto rows = gridRows(report("plain", name), 1);
        for (std::size_t i = 1; i < rows.size(); ++i) {
            const auto& table = rows[i][0];
            if (kStaleCounts.count({name, table})) {
                ++stale;
                EXPECT_EQ(rows[i][1], std::to_string(mdbExport(corpusFile(name), table).size() - 1)) << table;
                continue;
            }
            EXPECT_EQ(rows[i][1] + "\n", runProgram({"mdb-count", corpusFile(name).string(), table}).out) << table;
        }
    }
    EXPECT_EQ(stale, kStaleCounts.size());

    // Each relationship is listed once per record of its table pair for
    // every distinct relationship of that pair.
    for (const char* name : {"j4_avtovokzal_multicol.mdb", "j4_stock_th.mdb"}) {
        SCOPED_TRACE(name);
        const auto records = mdbExport(corpusFile(name), "MSysRelationships");
        ASSERT_GT(records.size(), 1u);
        const auto& header = records[0];
        auto column = [&](const char* n) { return std::find(header.begin(), header.end(), n) - header.begin(); };
        const auto rel = column("szRelationship"), from = column("szObject"), to = column("szReferencedObject");
        std::map<std::pair<std::string, std::string>, std::vector<std::vector<std::string>>> byPair;
        std::set<std::vector<std::string>> distinct;
        for (std::size_t i = 1; i < records.size(); ++i) {
            const auto& r = records[i];
            byPair[{r[from], r[to]}].push_back({r[rel], r[from], r[to]});
            distinct.insert({r[from], r[to], r[rel]});
        }
        std::multiset<std::vector<std::string>> expected;
        for (const auto& d : distinct)
            for (const auto& row : byPair[{d[0], d[1]}]) expected.insert(row);

        auto rows = gridRows(report("plain", name), 7);
        ASSERT_FALSE(rows.empty());
        rows.erase(rows.begin());
        EXPECT_EQ(std::multiset<std::vector<std::string>>(rows.begin(), rows.end()), expected);
        EXPECT_GT(rows.size(), distinct.size()) << "the file shows no repetition";
    }
}

// A user table whose definition page is zeroed ends the run in the tables
// phase, where the run handles nothing; the next database still runs.
TEST(ReportTool, AnUnhandledErrorEndsOnlyItsOwnRun) {
    TempFolder out;
    const fs::path damaged = out / "damaged.mdb";
    fs::copy_file(corpusFile("j3_afr.mdb"), damaged);
    fs::permissions(damaged, fs::perms::owner_write, fs::perm_options::add);
    const auto objects = mdbExport(damaged, "MSysObjects");
    const auto& header = objects.at(0);
    const auto column = [&](const char* n) { return std::find(header.begin(), header.end(), n) - header.begin(); };
    const auto table = std::find_if(objects.begin() + 1, objects.end(), [&](const auto& row) {
        return row.size() == header.size() && row[column("Type")] == "1" &&
               row[column("Name")].find("MSys") == std::string::npos;
    });
    ASSERT_NE(table, objects.end());
    std::fstream file(damaged, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(std::stol(table->at(column("Id"))) * 2048);  // a Jet 3 page
    file.write(std::string(2048, '\0').data(), 2048);
    file.close();

    const auto run = runProgram({kTool, "--output", (out / "r").string(), damaged.string(), corpusFile("j3_altera_impressora.mdb").string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find(damaged.string() + ": analysis ended: Run-time error '3049': "), std::string::npos) << run.err;
    const QJsonObject r = parseReport(out / "r" / "damaged.mdb.json");
    EXPECT_TRUE(r["opened"].toBool());
    EXPECT_TRUE(r["aborted"].toBool());
    EXPECT_EQ(r["error"]["number"].toInt(), 3049);
    EXPECT_FALSE(gridRows(r, 0).empty());  // the grids filled before the error stay
    EXPECT_FALSE(parseReport(out / "r" / "j3_altera_impressora.mdb.json")["aborted"].toBool());
}

// Module source goes to one folder per database, and only for databases
// that open: a secured one keeps its code.
TEST(ReportTool, ModuleSourceForTheDatabasesThatOpen) {
    TempFolder out;
    const auto run = runProgram({kTool, "--module-source", (out / "src").string(), "--output", (out / "r").string(),
                                 corpusFile("j3_nwind_mdbtools.mdb").string(),
                                 corpusFile("j3_esis_secured.mdb").string()});
    EXPECT_EQ(run.status, 1) << run.err;
    const QJsonObject r = parseReport(out / "r" / "j3_nwind_mdbtools.mdb.json");
    const auto modules = strings(r["lists"]["modules"]);
    ASSERT_EQ(modules.size(), 3u);
    const auto files = strings(r["module_sources"]["files"]);
    for (const auto& module : modules) {
        const fs::path expected = out / "src" / "j3_nwind_mdbtools.mdb" / (module + ".bas");
        EXPECT_NE(std::find(files.begin(), files.end(), expected.string()), files.end()) << module;
        EXPECT_FALSE(TempFolder::read(expected).empty()) << module;
    }
    EXPECT_FALSE(fs::exists(out / "src" / "j3_esis_secured.mdb"));
    const QJsonObject secured = parseReport(out / "r" / "j3_esis_secured.mdb.json");
    EXPECT_TRUE(secured["module_sources"]["files"].toArray().isEmpty());
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) out.push_back(line);
    return out;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t n = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// The file formats: one report and one error log per database in a shared
// folder (a compiled copy beside its source keeps apart), the statistics
// once, the XML closed once and well-formed.
TEST(ReportTool, FileFormatsKeepEachDatabasesReportAndLog) {
    const fs::path compiled = corpusFile("j4_database41.mde"), source = corpusFile("j4_database41.mdb");
    for (const char* format : {"text", "xml", "csv", "xls"}) {
        SCOPED_TRACE(format);
        TempFolder out;
        std::vector<std::string> argv{kTool, "--format", format, "--output", out.path().string()};
        if (std::string(format) == "text") argv.push_back("--stats");
        argv.push_back(compiled.string());
        argv.push_back(source.string());
        const auto run = runProgram(argv);
        ASSERT_EQ(run.status, 0) << run.err;

        const std::string ext = std::string(format) == "text" ? ".txt" : std::string(".") + format;
        for (const fs::path& db : {compiled, source}) {
            const fs::path report = out / (db.filename().string() + ext);
            const std::string text = TempFolder::read(report);
            ASSERT_FALSE(text.empty()) << report;
            const auto log = lines(TempFolder::read(report.string() + ".Errors.Log"));
            ASSERT_FALSE(log.empty());
            // The compiled copy has no module source: one logged error.
            EXPECT_EQ(log.size(), db == compiled ? 2u : 1u);
            if (db == compiled) {
                EXPECT_EQ(log.back().rfind("Modul Error :", 0), 0u) << log.back();
            }
            if (std::string(format) == "text") {
                EXPECT_EQ(occurrences(text, "Database Statistics as at"), 1u);
            }
            if (std::string(format) == "xml") {
                EXPECT_EQ(occurrences(text, "</Quarrylantern>"), 1u);
                QXmlStreamReader xml(QByteArray::fromStdString(text));
                while (!xml.atEnd()) xml.readNext();
                EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
            }
            if (std::string(format) == "xls") {
                EXPECT_EQ(text.substr(0, 8), std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8));
            }
        }
        EXPECT_FALSE(fs::exists(out / "Errors.Log"));
    }

    // Standard output gets what the file gets, the time stamps aside.
    TempFolder out;
    const auto toFile = runProgram({kTool, "--format", "text", "--stats", "--output", (out / "r.txt").string(), source.string()});
    const auto toStdout = runProgram({kTool, "--format", "text", "--stats", "--output", "-", source.string()});
    ASSERT_EQ(toFile.status, 0);
    ASSERT_EQ(toStdout.status, 0);
    auto stamped = [](const std::string& text) {
        auto all = lines(text);
        std::erase_if(all, [](const std::string& l) { return l.find(" as at ") != std::string::npos; });
        return all;
    };
    EXPECT_EQ(stamped(toStdout.out), stamped(TempFolder::read(out / "r.txt")));
}

TEST(ReportTool, BadUsageEndsWithStatusTwoAndTheUsage) {
    const std::string db = corpusFile("j3_afr.mdb").string();
    const std::vector<std::vector<std::string>> bad = {
        {},
        {db},
        {"--output"},
        {"--output", "-"},
        {"--bogus", "--output", "-", db},
        {"--format", "pdf", "--output", "-", db},
        {"--temp-queries=yes", "--output", "-", db},
        {"--output", "-", db, db},
        {"--stats", "--output", "-", db},
    };
    for (const auto& args : bad) {
        std::vector<std::string> argv{kTool};
        argv.insert(argv.end(), args.begin(), args.end());
        const auto run = runProgram(argv);
        std::string shown;
        for (const auto& a : args) shown += a + " ";
        EXPECT_EQ(run.status, 2) << shown;
        EXPECT_NE(run.err.find("Usage: "), std::string::npos) << shown;
        EXPECT_TRUE(run.out.empty()) << shown;
    }
    const auto help = runProgram({kTool, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--output FILE|-"), std::string::npos);
}

}  // namespace
}  // namespace ql::test
