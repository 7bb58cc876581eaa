// The built quarrylantern-report refusing what would lose data or cannot
// work: each refusal is one line on standard error, exit status 1, and no
// file written.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "tests/reporttool/Run.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace ql::test {
namespace {

namespace fs = std::filesystem;

const std::string kTool = QL_REPORT_TOOL;

std::size_t lineCount(const std::string& text) { return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')); }

// A database and a workgroup file named as the report, its error log or its
// folder's log, by the same name, through "..", a symbolic link and a hard
// link: both stay byte for byte, and nothing else appears.
TEST(ReportToolRefusal, NoWriteReachesADatabaseOrTheWorkgroup) {
    TempFolder dir;
    const fs::path db = writableCopy("j3_altera_impressora.mdb", dir.path(), "a.mdb");
    const fs::path wg = writableCopy("j3_mission.mdw", dir.path(), "wg.mdw");
    const std::string dbBytes = readFile(db), wgBytes = readFile(wg);
    fs::create_directories(dir / "sub");
    fs::create_symlink(db, dir / "link.mdb");
    fs::create_hard_link(db, dir / "hard.mdb");
    fs::create_symlink(wg, dir / "wglink.mdw");
    fs::create_hard_link(wg, dir / "wghard.mdw");
    fs::create_directories(dir / "out");
    fs::create_hard_link(db, dir / "out" / "Errors.Log");
    fs::create_directories(dir / "ms" / "a.mdb");
    fs::create_hard_link(db, dir / "ms" / "a.mdb" / "Module1.bas");  // a module's source file
    const auto before = std::distance(fs::recursive_directory_iterator(dir.path()), {});

    const std::string same = db.string(), dotdot = (dir / "sub" / ".." / "a.mdb").string();
    const std::string link = (dir / "link.mdb").string(), hard = (dir / "hard.mdb").string();
    const std::vector<std::vector<std::string>> runs = {
        {"--format", "json", "--output", same, same},
        {"--format", "json", "--output", link, same},
        {"--format", "text", "--output", dotdot, same},
        {"--format", "text", "--output", hard, same},
        {"--format", "xml", "--output", (dir / "out" / "r.xml").string(), hard},  // its Errors.Log
        {"--workgroup", wg.string(), "--format", "csv", "--output", wg.string(), same},
        {"--workgroup", wg.string(), "--format", "csv", "--output", (dir / "wglink.mdw").string(), same},
        {"--workgroup", (dir / "wglink.mdw").string(), "--output", (dir / "wghard.mdw").string(), same},
        {"--module-source", (dir / "ms").string(), "--output", (dir / "m.json").string(), same},
    };
    for (const auto& args : runs) {
        std::vector<std::string> argv{kTool};
        argv.insert(argv.end(), args.begin(), args.end());
        const ProgramRun run = runProgram(argv);
        EXPECT_EQ(run.status, 1) << args[3] << run.err;
        EXPECT_EQ(lineCount(run.err), 1u) << run.err;
        EXPECT_NE(run.err.find("refusing to write"), std::string::npos) << run.err;
    }
    EXPECT_EQ(readFile(db), dbBytes);
    EXPECT_EQ(readFile(wg), wgBytes);
    EXPECT_EQ(std::distance(fs::recursive_directory_iterator(dir.path()), {}), before);
}

// In a folder, reports and logs already there (another run's, or an
// unrelated Errors.Log) are kept unless --force.
TEST(ReportToolRefusal, AFolderKeepsWhatIsThereUnlessForced) {
    TempFolder dir;
    const std::string db = corpusFile("j3_altera_impressora.mdb").string();
    const std::string out = (dir / "out").string() + "/";
    ASSERT_EQ(runProgram({kTool, "--format", "text", "--output", out, db}).status, 0);
    const fs::path report = dir / "out" / "j3_altera_impressora.mdb.txt";
    const std::string first = readFile(report);

    const ProgramRun again = runProgram({kTool, "--format", "text", "--output", out, db});
    EXPECT_EQ(again.status, 1);
    EXPECT_NE(again.err.find(report.string() + " exists; --force replaces it"), std::string::npos) << again.err;
    EXPECT_EQ(readFile(report), first);

    fs::remove(report);
    fs::remove(report.string() + ".Errors.Log");
    dir.write("out/Errors.Log", "mine\n");
    EXPECT_EQ(runProgram({kTool, "--format", "text", "--output", out, db}).status, 1);
    EXPECT_EQ(readFile(dir / "out" / "Errors.Log"), "mine\n");
    EXPECT_FALSE(fs::exists(report));

    const ProgramRun forced = runProgram({kTool, "--force", "--format", "text", "--output", out, db});
    EXPECT_EQ(forced.status, 0) << forced.err;
    EXPECT_TRUE(fs::exists(report));
}

// Runs the tool as a user the permission bits bind (root passes them all).
ProgramRun runAsUser(std::vector<std::string> argv) {
    if (::geteuid() == 0) argv.insert(argv.begin(), {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    return runProgram(argv);
}

// Inputs the tool cannot read and places it cannot write: a clear line, the
// documented status, no hang, nothing written.
TEST(ReportToolRefusal, BadInputsAndPlacesFailClearly) {
    TempFolder dir;
    fs::permissions(dir.path(), fs::perms::all);
    const std::string db = corpusFile("j3_altera_impressora.mdb").string();
    ASSERT_EQ(::mkfifo((dir / "pipe.mdb").c_str(), 0666), 0);
    struct Case {
        std::vector<std::string> args;
        const char* says;
    };
    const std::vector<Case> cases = {
        {{"--output", (dir / "r.json").string(), dir.path().string()}, "is a folder, not a database file"},
        {{"--output", (dir / "r.json").string(), (dir / "pipe.mdb").string()}, "is not a regular file"},
        {{"--workgroup", "/dev/zero", "--output", (dir / "r.json").string(), db}, "is not a regular file"},
        {{"--output", (dir / "r.json").string(), corpusFile("ace_pcinventory.accdb").string()},
         "Access 2007 and later files are not Jet files"},
        {{"--format", "text", "--output", (dir / "none" / "r.txt").string(), db}, "does not exist"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> argv{kTool};
        argv.insert(argv.end(), c.args.begin(), c.args.end());
        const ProgramRun run = runProgram(argv);
        EXPECT_EQ(run.status, 1) << c.says << run.err;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    }
    EXPECT_FALSE(fs::exists(dir / "none"));

    // A writable report in a folder that is not: its Errors.Log cannot be made.
    fs::create_directories(dir / "ro");
    dir.write("ro/r.txt", "old");
    fs::permissions(dir / "ro" / "r.txt", fs::perms::all);
    fs::permissions(dir / "ro", fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read | fs::perms::others_exec);
    const ProgramRun ro = runAsUser({kTool, "--format", "text", "--output", (dir / "ro" / "r.txt").string(), db});
    EXPECT_EQ(ro.status, 1) << ro.err;
    EXPECT_NE(ro.err.find("is not writable"), std::string::npos) << ro.err;
    EXPECT_EQ(readFile(dir / "ro" / "r.txt"), "old");
    const ProgramRun modules =
        runAsUser({kTool, "--module-source", (dir / "ro" / "src").string(), "--output", "-", db});
    EXPECT_EQ(modules.status, 1) << modules.err;
    EXPECT_TRUE(modules.out.empty());
}

}  // namespace
}  // namespace ql::test
