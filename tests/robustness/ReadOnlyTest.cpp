// The analysis and its reports never write to the files they read: every
// corpus file (each workgroup file as the workgroup of a database) goes
// through the headless report tool, once from a writable copy of the corpus
// and once from a read-only one. Afterwards each file keeps its bytes, size
// and modification time, and only the reports in the output folder were
// written: no scratch folder or settings file is left in the run's home,
// temporary or working folder.
//
// As root the permission bits bind nothing, so the child makes the copy
// really read-only: a read-only bind mount in its own mount namespace where
// the kernel allows one, otherwise it gives up root for "nobody"
// (QL_READ_ONLY_BY=nobody picks that way even where the mount would work).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>

#include "app/reporttool/ReportTool.h"
#include "tests/robustness/Child.h"
#include "tests/robustness/Walk.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace fs = std::filesystem;
using namespace ql;

namespace {

constexpr uid_t kNobody = 65534;

struct FileState {
    std::string bytes;
    std::uint64_t size = 0;
    std::int64_t mtimeNs = 0;
};

FileState stateOf(const fs::path& file) {
    struct stat st {};
    if (::stat(file.c_str(), &st) != 0) return {};
    return {test::readFile(file), static_cast<std::uint64_t>(st.st_size),
            static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

// Every file below `root`, relative to it.
std::vector<std::string> filesBelow(const fs::path& root) {
    std::vector<std::string> out;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec))
        if (!it->is_directory()) out.push_back(fs::relative(it->path(), root).string());
    return out;
}

void chownTree(const fs::path& root, uid_t uid) {
    ::chown(root.c_str(), uid, uid);
    for (const auto& entry : fs::recursive_directory_iterator(root)) ::lchown(entry.path().c_str(), uid, uid);
}

struct Run {
    std::vector<std::string> databases;
    std::string workgroup;
    reporttool::Format format = reporttool::Format::Json;
};

// Makes `folder` read-only for this process as far as the kernel allows;
// returns how.
std::string lockDown(const fs::path& folder, const fs::path& sandbox) {
    if (::geteuid() != 0) return "permission bits";
    const char* by = std::getenv("QL_READ_ONLY_BY");
    const bool mountAllowed = !by || std::string(by) != "nobody";
    if (mountAllowed && ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        ::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
        ::mount(nullptr, folder.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0)
        return "read-only bind mount";
    chownTree(sandbox, kNobody);
    if (::setgroups(0, nullptr) == 0 && ::setresgid(kNobody, kNobody, kNobody) == 0 &&
        ::setresuid(kNobody, kNobody, kNobody) == 0)
        return "the nobody account";
    return "";
}

// One run of the tool into `output`, in a child whose home, temporary and
// working folders are inside `sandbox`; the tool's error lines.
std::string runTool(const Run& run, const fs::path& sandbox, const fs::path& output, const fs::path* readOnly) {
    const robustness::ChildResult result = robustness::runInChild(
        [&](int fd) {
            for (const char* sub : {"home", "tmp", "cwd"}) fs::create_directories(sandbox / sub);
            fs::create_directories(output);
            std::string how = "writable";
            if (readOnly) {
                how = lockDown(*readOnly, sandbox);
                if (how.empty()) {
                    robustness::writeAll(fd, "cannot make the copy read-only");
                    return 3;
                }
            }
            ::setenv("HOME", (sandbox / "home").c_str(), 1);
            ::setenv("TMPDIR", (sandbox / "tmp").c_str(), 1);
            ::setenv("XDG_CONFIG_HOME", (sandbox / "home/.config").c_str(), 1);
            ::setenv("XDG_CACHE_HOME", (sandbox / "home/.cache").c_str(), 1);
            ::setenv("XDG_DATA_HOME", (sandbox / "home/.local/share").c_str(), 1);
            if (::chdir((sandbox / "cwd").c_str()) != 0) return 4;

            reporttool::Options options;
            options.databases = run.databases;
            options.workgroup = run.workgroup;
            options.format = run.format;
            options.output = output.string();
            std::ostringstream out, err;
            reporttool::ToolEnvironment environment;
            environment.out = &out;
            environment.err = &err;
            const int status = reporttool::runTool(options, environment);
            robustness::writeAll(fd, how + "\n" + std::to_string(status) + "\n" + err.str());
            return 0;
        },
        {0, 600});
    if (!result.exited || result.exitCode != 0) {
        ADD_FAILURE() << "the tool's run ended badly: " << result.describe();
        return {};
    }
    return result.report;
}

// Runs every corpus file from a copy of the corpus and checks what changed.
// Returns the tool's lines about databases it could not open.
std::vector<std::string> checkRunsFrom(bool readOnlyCopy) {
    test::TempFolder folder;
    // Others may pass through, so that a run as "nobody" reaches the copy.
    fs::permissions(folder.path(), fs::perms::others_exec | fs::perms::group_exec, fs::perm_options::add);
    const fs::path copy = folder / "corpus", sandbox = folder / "sandbox", output = sandbox / "reports";
    fs::create_directories(copy);
    std::map<std::string, FileState> before;
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(test::corpusDir() / "files")) {
        if (!entry.is_regular_file()) continue;
        const std::string name = entry.path().filename().string();
        fs::copy_file(entry.path(), copy / name);
        files.push_back(name);
    }
    std::sort(files.begin(), files.end());
    if (readOnlyCopy) {
        for (const std::string& name : files) fs::permissions(copy / name, fs::perms::others_read | fs::perms::group_read | fs::perms::owner_read);
        fs::permissions(copy, fs::perms::owner_read | fs::perms::owner_exec | fs::perms::group_read |
                                  fs::perms::group_exec | fs::perms::others_read | fs::perms::others_exec);
    }
    for (const std::string& name : files) before[name] = stateOf(copy / name);

    // Every file once, the formats in turn; each workgroup file with its database.
    std::vector<Run> runs;
    constexpr reporttool::Format kFormats[] = {reporttool::Format::Json, reporttool::Format::Text,
                                               reporttool::Format::Xml, reporttool::Format::Csv,
                                               reporttool::Format::Xls};
    for (std::size_t f = 0; f < std::size(kFormats); ++f) {
        Run run;
        run.format = kFormats[f];
        for (std::size_t i = f; i < files.size(); i += std::size(kFormats))
            run.databases.push_back((copy / files[i]).string());
        runs.push_back(run);
    }
    for (const std::string& w : test::workgroupFiles())
        runs.push_back({{(copy / robustness::partnerDatabase(w)).string()}, (copy / w).string(), reporttool::Format::Json});

    const fs::path* lock = readOnlyCopy ? &copy : nullptr;
    std::string how;
    std::vector<std::string> openFailures;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const fs::path out = output / std::to_string(r);
        const std::string report = runTool(runs[r], sandbox, out, lock);
        how = report.substr(0, report.find('\n'));
        std::istringstream lines(report);
        for (std::string line; std::getline(lines, line);)
            if (line.find("cannot open") != std::string::npos) {
                // Without the copy's own folder, which differs between runs.
                for (std::size_t at; (at = line.find(copy.string())) != std::string::npos;)
                    line.erase(at, copy.string().size());
                openFailures.push_back(line);
            }
        if (runs[r].format == reporttool::Format::Json)
            for (const std::string& db : runs[r].databases) {
                const fs::path written = runs[r].databases.size() > 1
                                             ? out / reporttool::reportFileName(db, runs[r].format)
                                             : out;
                EXPECT_TRUE(fs::exists(written)) << "no report for " << db << ": " << report;
            }
    }
    std::cout << "[read-only] copy " << (readOnlyCopy ? "made read-only through " + how : std::string("writable"))
              << ": " << runs.size() << " runs over " << files.size() << " files\n";

    for (const std::string& name : files) {
        const FileState after = stateOf(copy / name);
        EXPECT_EQ(after.size, before[name].size) << name;
        EXPECT_EQ(after.mtimeNs, before[name].mtimeNs) << name;
        EXPECT_TRUE(after.bytes == before[name].bytes) << name << " changed";
    }
    EXPECT_EQ(filesBelow(copy).size(), files.size()) << "files appeared beside the databases";
    for (const std::string& file : filesBelow(sandbox))
        EXPECT_EQ(file.rfind("reports/", 0), 0u) << "written outside the output folder: " << file;

    if (readOnlyCopy) fs::permissions(copy, fs::perms::owner_all);
    return openFailures;
}

TEST(ReadOnly, AnalysisAndReportsLeaveTheFilesAsTheyWere) {
    const std::vector<std::string> writable = checkRunsFrom(false);
    const std::vector<std::string> readOnly = checkRunsFrom(true);
    // A read-only copy opens exactly as a writable one does: the same files
    // fail (ACE files, an Access project, secured files without their
    // workgroup), for the same reasons.
    EXPECT_EQ(readOnly, writable);
    // And the runs did read: most Jet databases open without a workgroup.
    std::string listed;
    std::size_t jetFailures = 0;
    for (const std::string& line : writable) {
        listed += line + "\n";
        for (const std::string& db : test::jetDatabases())
            if (line.find("/" + db + ": cannot open") != std::string::npos && line.find("error 3029") == std::string::npos)
                ++jetFailures;
    }
    EXPECT_LT(jetFailures, test::jetDatabases().size() / 4) << "most databases should open:\n" << listed;
}

}  // namespace
