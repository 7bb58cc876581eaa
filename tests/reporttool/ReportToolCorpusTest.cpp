// The built quarrylantern-report: its command line, exit statuses, files and
// JSON, and that each report holds what the window shows after the same run.
// The grids themselves are checked against the corpus where they are filled.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "analysis/AnalysisRun.h"
#include "grids/Fillers.h"
#include "platform/jet/Database.h"
#include "tests/platform/workbook/XlsProbe.h"
#include "tests/reporttool/Run.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"
#include "tests/support/TempFolder.h"

namespace ql::test {
namespace {

namespace fs = std::filesystem;

const std::string kTool = QL_REPORT_TOOL;

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

// The window's grid as its view shows it: one cell per column header.
std::vector<std::vector<std::string>> shownRows(const grids::Grid& grid) {
    std::vector<std::vector<std::string>> rows;
    for (const grids::GridRow& row : grid.rows()) {
        rows.push_back({row.text});
        for (int c = 1; c < grid.columnCount(); ++c) rows.back().push_back(row.subItem(c));
    }
    return rows;
}

// A few databases, a missing one and one with a password, in one run with
// the timings, the control queries and module sources: the failed ones fail
// with DAO's error and the run says so in its status (and give no code
// away); each other report holds the grids, lists and messages the window
// has after the same analysis with the box ticked.
TEST(ReportTool, EachReportHoldsWhatTheWindowShowsAndOnlyTheFailedOnesFail) {
    const std::vector<std::string> analysed = {"j3_nwind_mdbtools.mdb", "j4_admfinanceiro.mdb", "j4_database41.mde"};
    const std::map<std::string, int> refused = {{"missing.mdb", 3024}, {"j4_pwd2003.mdb", 3031}};
    const std::pair<int, const char*> lists[] = {{0, "tables"}, {1, "queries"}, {2, "indexes"}, {3, "relationships"},
                                                 {4, "fields"}, {5, "forms"},   {6, "reports"}, {7, "macros"},
                                                 {8, "modules"}, {11, "pages"}};
    TempFolder out;
    std::vector<std::string> argv{kTool, "--temp-queries", "--timings", "--module-source", (out / "src").string(),
                                  "--output", out.path().string()};
    for (const auto& name : analysed) argv.push_back(corpusFile(name).string());
    argv.push_back((out / "missing.mdb").string());
    argv.push_back(corpusFile("j4_pwd2003.mdb").string());
    const ProgramRun run = runProgram(argv);
    EXPECT_EQ(run.status, 1) << run.err;

    for (const auto& [name, number] : refused) {
        const QJsonObject r = parseReport(out / (name + ".json"));
        EXPECT_FALSE(r["opened"].toBool()) << name;
        EXPECT_EQ(r["error"]["number"].toInt(), number) << name;
        EXPECT_NE(run.err.find(name + ": cannot open: error " + std::to_string(number)), std::string::npos) << run.err;
    }
    for (const auto& name : analysed) {
        SCOPED_TRACE(name);
        HeadlessWindow w;
        w.controls.qryControl = grids::kChecked;
        w.state.IncludeTempQueries = grids::kTrue;
        w.open(corpusFile(name));
        analysis::cmdAnalyse_Click(w.ctx);

        const QJsonObject r = parseReport(out / (name + ".json"));
        EXPECT_FALSE(r["aborted"].toBool()) << r["error"]["description"].toString().toStdString();
        ASSERT_FALSE(gridRows(r, grids::kGridDatabase).empty());
        for (int g = 0; g < grids::kGridCount; ++g) {
            const grids::Grid& grid = w.state.lvwGrid[static_cast<std::size_t>(g)];
            std::vector<std::string> columns;
            for (const auto& column : grid.columns()) columns.push_back(column.text);
            EXPECT_EQ(strings(r["grids"].toArray()[g].toObject()["columns"]), columns) << "grid " << g;
            EXPECT_EQ(gridRows(r, g), shownRows(grid)) << "grid " << g;
        }
        for (const auto& [index, list] : lists) {
            std::vector<std::string> entries;
            for (const auto& entry : w.state.lstData[static_cast<std::size_t>(index)].entries()) entries.push_back(entry.text);
            EXPECT_EQ(strings(r["lists"][list]), entries) << list;
        }
        // The queries array follows the queries grid's choice.
        const auto queryRows = gridRows(r, 8);
        EXPECT_EQ(static_cast<std::size_t>(r["queries"].toArray().size()), queryRows.empty() ? 0 : queryRows.size() - 1);
        EXPECT_EQ(r["error_count"].toInt(), w.state.ErrorCount);
        EXPECT_EQ(strings(r["error_log"]).size(), w.errorLogLines().size());
        std::vector<std::string> titles, windowTitles;
        for (const auto& m : r["messages"].toArray()) titles.push_back(m.toObject()["title"].toString().toStdString());
        for (const auto& m : w.ui.messages) windowTitles.push_back(m.title);
        EXPECT_EQ(titles, windowTitles);
    }
    for (const char* stage : {"open ", "Checking Modules.... ", "write report ", "total ", "timings: all 5 databases"})
        EXPECT_NE(run.err.find(stage), std::string::npos) << stage;
    EXPECT_EQ(run.err.find("Selecting...."), std::string::npos);

    const QJsonObject nwind = parseReport(out / "j3_nwind_mdbtools.mdb.json");
    const auto files = strings(nwind["module_sources"]["files"]), modules = strings(nwind["lists"]["modules"]);
    ASSERT_EQ(modules.size(), 3u);
    for (const auto& module : modules) {
        const fs::path expected = out / "src" / "j3_nwind_mdbtools.mdb" / (module + ".bas");
        EXPECT_NE(std::find(files.begin(), files.end(), expected.string()), files.end()) << module;
        EXPECT_FALSE(TempFolder::read(expected).empty()) << module;
    }
    EXPECT_FALSE(fs::exists(out / "src" / "j4_pwd2003.mdb"));

    // Without the box this file's temporary queries are left out.
    const auto hasTemp = [](const QJsonObject& r) {
        const auto queries = strings(r["lists"]["queries"]);
        return std::any_of(queries.begin(), queries.end(), [](auto& q) { return q.find('~') != q.npos; });
    };
    EXPECT_TRUE(hasTemp(parseReport(out / "j4_admfinanceiro.mdb.json")));
    const auto plain = runProgram({kTool, "--output", "-", corpusFile("j4_admfinanceiro.mdb").string()});
    EXPECT_FALSE(hasTemp(QJsonDocument::fromJson(QByteArray::fromStdString(plain.out)).object()));
}

// Checks a file with python3's own parsers (argv[1] onwards).
ProgramRun python(const char* script, const std::vector<std::string>& args) {
    std::vector<std::string> argv{"python3", "-c", script};
    argv.insert(argv.end(), args.begin(), args.end());
    return runProgram(argv);
}
const char* const kWellFormed = "import sys, xml.dom.minidom as m; m.parse(sys.argv[1])";

// A user table whose definition page is zeroed ends the run in the tables
// phase, where the run handles nothing; the next database still runs.
TEST(ReportTool, AnUnhandledErrorEndsOnlyItsOwnRun) {
    TempFolder out;
    const fs::path damaged = out / "damaged.mdb";
    fs::copy_file(corpusFile("j3_afr.mdb"), damaged);
    fs::permissions(damaged, fs::perms::owner_write, fs::perm_options::add);
    std::uint32_t page = 0;
    const jet::Database original = jet::Database::open(corpusFile("j3_afr.mdb"));
    for (const jet::CatalogEntry& entry : original.catalogue())
        if (!page && entry.type == jet::kObjectLocalTable && entry.name.find("MSys") == std::string::npos)
            page = entry.tdefPage();
    ASSERT_NE(page, 0u);
    std::fstream file(damaged, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(page) * 2048);  // a Jet 3 page
    file.write(std::string(2048, '\0').data(), 2048);
    file.close();

    const auto run = runProgram({kTool, "--output", (out / "r").string() + "/", damaged.string(), corpusFile("j3_altera_impressora.mdb").string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find(damaged.string() + ": analysis ended: Run-time error '3049': "), std::string::npos) << run.err;
    const QJsonObject r = parseReport(out / "r" / "damaged.mdb.json");
    EXPECT_TRUE(r["opened"].toBool());
    EXPECT_TRUE(r["aborted"].toBool());
    EXPECT_EQ(r["error"]["number"].toInt(), 3049);
    EXPECT_FALSE(gridRows(r, 0).empty());  // the grids filled before the error stay
    EXPECT_FALSE(parseReport(out / "r" / "j3_altera_impressora.mdb.json")["aborted"].toBool());

    // A file report cut short keeps its header alone, and XML stays closed.
    EXPECT_EQ(runProgram({kTool, "--format", "text", "--stats", "--output", (out / "d.txt").string(), damaged.string()}).status, 1);
    EXPECT_EQ(TempFolder::read(out / "d.txt").find("Database Statistics"), std::string::npos);
    EXPECT_EQ(runProgram({kTool, "--format", "xml", "--output", (out / "d.xml").string(), damaged.string()}).status, 1);
    EXPECT_EQ(python(kWellFormed, {(out / "d.xml").string()}).status, 0);
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        out.push_back(line);
    }
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
            // The compiled copy has no module source: one logged error.
            const auto log = lines(TempFolder::read(report.string() + ".Errors.Log"));
            ASSERT_EQ(log.size(), db == compiled ? 2u : 1u);
            EXPECT_EQ(log.back().rfind("Modul Error :", 0), db == compiled ? 0u : std::string::npos) << log.back();
            const std::string f = format;
            EXPECT_EQ(occurrences(text, "Database Statistics as at"), f == "text" ? 1u : 0u);
            EXPECT_EQ(occurrences(text, "</Quarrylantern>"), f == "xml" ? 1u : 0u);
            // An ordinary path is written as it stands.
            if (f != "xls") {
                EXPECT_NE(text.find(" Access Database: " + db.string() + "\r\n"), std::string::npos);
            }
        }
        EXPECT_FALSE(fs::exists(out / "Errors.Log"));
    }

    // Standard output gets what the file gets, the time stamps aside, and
    // standard error the error log.
    TempFolder out;
    const auto toFile = runProgram({kTool, "--format", "text", "--stats", "--output", (out / "r.txt").string(), compiled.string()});
    const auto toStdout = runProgram({kTool, "--format", "text", "--stats", "--output", "-", compiled.string()});
    ASSERT_EQ(toFile.status, 0);
    ASSERT_EQ(toStdout.status, 0);
    auto stamped = [](const std::string& text) {
        auto all = lines(text);
        std::erase_if(all, [](const std::string& l) { return l.find(" as at ") != std::string::npos; });
        return all;
    };
    EXPECT_EQ(stamped(toStdout.out), stamped(TempFolder::read(out / "r.txt")));
    EXPECT_EQ(stamped(toStdout.err), stamped(TempFolder::read(out / "Errors.Log")));
    EXPECT_EQ(stamped(toStdout.err).size(), 1u);
}

// Dates follow the user's locale: the grid's file dates and the error log's
// time stamp, in German and in English (United States).
TEST(ReportTool, DatesFollowTheLocale) {
    TempFolder out;
    const fs::path db = writableCopy("j3_afr.mdb", out.path());
    const timespec when[2] = {{983973909, 0}, {983973909, 0}};  // 2001-03-07 14:05:09 UTC
    ASSERT_EQ(::utimensat(AT_FDCWD, db.c_str(), when, 0), 0);
    const std::map<std::string, std::pair<std::string, std::string>> expected = {
        {"de_DE.UTF-8", {"07.03.2001 14:05:09", R"(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d$)"}},
        {"en_US.UTF-8", {"3/7/2001 2:05:09 PM", R"(\d{1,2}/\d{1,2}/\d{4} \d{1,2}:\d\d:\d\d [AP]M$)"}},
    };
    for (const auto& [locale, want] : expected) {
        SCOPED_TRACE(locale);
        const std::string json = (out / (locale + ".json")).string(), text = (out / (locale + ".txt")).string();
        for (const auto& [format, report] : {std::pair{"json", json}, std::pair{"text", text}}) {
            const auto run = runProgram({"env", "-u", "LC_ALL", "LANG=" + locale, "TZ=UTC", kTool, "--format", format,
                                         "--output", report, db.string()});
            ASSERT_EQ(run.status, 0) << run.err;
        }
        const auto rows = gridRows(parseReport(json), 0);
        ASSERT_GE(rows.size(), 4u);
        EXPECT_EQ(rows[3], (std::vector<std::string>{"Last Modified", want.first}));
        EXPECT_TRUE(std::regex_search(lines(TempFolder::read(out / "Errors.Log")).front(), std::regex(want.second)));
    }
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
        {"--format", "text", "--format", "xml", "--output", "-", db},
        {"--stats", "--output", "-", db},
        {"--stats", "--format", "xml", "--output", "-", db},
        {"--stats", "--format", "xls", "--output", "-", db},
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
    // Several reports need a folder: a file name is not made into one.
    TempFolder out;
    EXPECT_EQ(runProgram({kTool, "--output", (out / "report.txt").string(), db, db}).status, 2);
    EXPECT_FALSE(fs::exists(out / "report.txt"));
}

// Paths a format cannot hold as they stand: every report stays valid and
// names the file by a URI that decodes to the path's bytes.
TEST(ReportTool, ReportsStayValidAndNameTheFileForAnyPath) {
    TempFolder out;
    const fs::path db = writableCopy("j3_altera_impressora.mdb", out.path(), "50% a--b\xFF\x01-.mdb");
    const char* const check = R"(
import sys, os, json, urllib.parse, xml.dom.minidom as m
kind, report, path = sys.argv[1], sys.argv[2], os.fsencode(sys.argv[3])
if kind == 'xml':
    doc = m.parse(report)
    comment = next(n for n in doc.childNodes if n.nodeType == n.COMMENT_NODE).data
    named = next(l for l in comment.splitlines() if l.startswith(' Access Database: '))[18:]
else:
    named = json.load(open(report, encoding='utf-8'))['database']
assert named.startswith('file://') and urllib.parse.unquote_to_bytes(named[7:]) == path, named
)";
    for (const char* format : {"xml", "json"}) {
        const std::string report = (out / (std::string("r.") + format)).string();
        const auto run = runProgram({kTool, "--format", format, "--output", report, db.string()});
        ASSERT_EQ(run.status, 0) << run.err;
        const auto checked = python(check, {format, report, db.string()});
        EXPECT_EQ(checked.status, 0) << format << ": " << checked.err;
    }
    const std::string xls = (out / "r.xls").string();
    ASSERT_EQ(runProgram({kTool, "--format", "xls", "--output", xls, db.string()}).status, 0);
    const std::string named = workbook::test::probeXls(xls).sheets.at(0).cells.at({3, 1}).text;
    std::string decoded;
    for (std::size_t i = 7; i < named.size(); ++i) {
        if (named[i] != '%') {
            decoded += named[i];
            continue;
        }
        decoded += static_cast<char>(std::stoi(named.substr(i + 1, 2), nullptr, 16));
        i += 2;
    }
    EXPECT_EQ(named.substr(0, 7), "file://");
    EXPECT_EQ(decoded, db.string());
}

}  // namespace
}  // namespace ql::test
