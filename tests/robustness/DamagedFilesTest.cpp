// Every corpus Jet file, damaged the ways real files get damaged, read in a
// child process with a memory cap and an alarm. Each input must end in a DAO
// error at open or in a finished read; a crash, a hang, a runaway allocation
// or an exception other than the program's own run-time error is a failure,
// and the input is kept in the build folder for replay.
//
// Environment (for long runs; the defaults keep CI at a few minutes):
//   QL_DAMAGE_PAGES       single-page damages per file (default 24; 200 for the full count)
//   QL_DAMAGE_CUTS        random truncations per file beside the page boundaries (default 4)
//   QL_DAMAGE_FULL_EVERY  every n-th page damage (2n-th cut) also goes through the whole analysis
//                         (default 4; 1 = all page damages and every other cut)
//   QL_DAMAGE_SEED        the generator's seed (default 20261123)
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>
#include <fstream>
#include <iostream>
#include <map>
#include <set>

#include "tests/robustness/Child.h"
#include "tests/robustness/Damage.h"
#include "tests/robustness/Walk.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"
#ifdef QL_ROBUSTNESS_FULL_RUN
#include "tests/robustness/FullRun.h"
#endif

namespace fs = std::filesystem;
using namespace ql::robustness;

namespace {

unsigned setting(const char* name, unsigned fallback) {
    const char* text = std::getenv(name);
    if (!text || !*text) return fallback;
    return static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

// The errors DAO gives when a file cannot be opened at all.
const std::set<int> kOpenErrors = {3024, 3028, 3029, 3031, 3033, 3044, 3049, 3051, 3112, 3343};

const ChildLimits kLimits{1024ull * 1024 * 1024, 60};

struct Tally {
    int inputs = 0;
    int fullRuns = 0;
    std::map<std::string, int> endings;     // "walk: partial" ...
    std::map<int, int> openErrors;          // DAO number -> inputs
    std::map<std::string, int> byDamage;    // "zeroed page: error at open" ...
    long peakRssKb = 0;

    void add(const std::string& stage, Ending ending, int openError, DamageKind kind, long rssKb) {
        ++endings[stage + ": " + endingName(ending)];
        if (ending == Ending::OpenError) ++openErrors[openError];
        ++byDamage[std::string(damageName(kind)) + ": " + endingName(ending)];
        peakRssKb = std::max(peakRssKb, rssKb);
    }
    void merge(const Tally& other) {
        inputs += other.inputs;
        fullRuns += other.fullRuns;
        for (const auto& [k, v] : other.endings) endings[k] += v;
        for (const auto& [k, v] : other.openErrors) openErrors[k] += v;
        for (const auto& [k, v] : other.byDamage) byDamage[k] += v;
        peakRssKb = std::max(peakRssKb, other.peakRssKb);
    }
    std::string text() const {
        std::string out = std::to_string(inputs) + " damaged inputs, " + std::to_string(fullRuns) +
                          " of them also through the whole analysis; peak RSS of a child " +
                          std::to_string(peakRssKb / 1024) + " MiB\n";
        for (const auto& [k, v] : endings) out += "  " + k + ": " + std::to_string(v) + "\n";
        out += "  open errors:";
        for (const auto& [k, v] : openErrors) out += " " + std::to_string(k) + "x" + std::to_string(v);
        out += "\n";
        for (const auto& [k, v] : byDamage) out += "    " + k + ": " + std::to_string(v) + "\n";
        return out;
    }
};

Tally& grandTotal() {
    static Tally total;
    return total;
}

class PrintTotal : public ::testing::Environment {
public:
    void TearDown() override {
        if (grandTotal().inputs) std::cout << "[damaged files, all] " << grandTotal().text() << std::flush;
    }
};
const auto* const kPrintTotal = ::testing::AddGlobalTestEnvironment(new PrintTotal);

std::vector<std::string> jetFiles() {
    std::vector<std::string> files = ql::test::jetDatabases();
    for (const std::string& f : ql::test::workgroupFiles()) files.push_back(f);
    return files;
}

// Kept for replay: build folder/damaged-inputs/<file>-<label>.
void keep(const std::string& file, const Damage& damage, const std::string& bytes) {
    fs::path folder = fs::path(QL_TEST_BINARY_DIR) / "damaged-inputs";
    fs::create_directories(folder);
    std::string label = damage.label();
    for (char& c : label)
        if (c == ' ') c = '-';
    std::ofstream(folder / (file + "-" + label + fs::path(file).extension().string()), std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A workgroup file is damaged as the workgroup of a database: its own where
// the corpus has one, otherwise a plain database of its Jet version.
// Databases open without a workgroup: their own workgroups keep a password
// on Admin, which would stop every open before the database is read.
const std::map<std::string, std::string> kWorkgroupOf = {{"j3_esis_secured.mdb", "j3_esis.mdw"},
                                                         {"j3_contour_cdu_secured.mdb", "j3_mission.mdw"}};

std::string partnerDatabase(const std::string& workgroup) {
    for (const auto& [database, w] : kWorkgroupOf)
        if (w == workgroup) return database;
    return workgroup.rfind("j3_", 0) == 0 ? "j3_querytest.mdb" : "j4_querytest2003.mdb";
}

class DamagedFiles : public ::testing::TestWithParam<std::string> {};

TEST_P(DamagedFiles, EndInAnOpenErrorOrAFinishedRun) {
    const std::string name = GetParam();
    const JetImage image(ql::test::readFile(ql::test::corpusFile(name)));
    const unsigned seed = setting("QL_DAMAGE_SEED", 20261123);
    std::mt19937 random(seed ^ static_cast<unsigned>(std::hash<std::string>{}(name)));
    std::vector<Damage> damages = image.truncations(64, setting("QL_DAMAGE_CUTS", 4), random);
    for (const Damage& d : image.pageDamages(setting("QL_DAMAGE_PAGES", 24), random)) damages.push_back(d);
    const unsigned fullEvery = std::max(1u, setting("QL_DAMAGE_FULL_EVERY", 4));

    ql::test::TempFolder folder;
    const fs::path path = folder / ("damaged" + fs::path(name).extension().string());
    Tally tally;
    // Which file of the pair is damaged: (database, workgroup) to open.
    const bool isWorkgroup = fs::path(name).extension() == ".mdw";
    auto pair = [&](const std::string& damaged) -> std::pair<std::string, std::string> {
        if (isWorkgroup) return {ql::test::corpusFile(partnerDatabase(name)).string(), damaged};
        return {damaged, std::string()};
    };

    // The undamaged file's own outcome: some real files have errors of their
    // own (compiled-only modules, secured objects), and a damaged copy whose
    // read ends exactly as the original's did counts as complete.
    auto walkChild = [&](const std::string& file) {
        return runInChild(
            [&](int fd) {
                const auto [database, workgroup] = pair(file);
                writeAll(fd, encode(walkDatabase(database, workgroup)));
                return 0;
            },
            kLimits);
    };
    WalkOutcome original;
    const ChildResult originalWalk = walkChild(ql::test::corpusFile(name).string());
    ASSERT_TRUE(originalWalk.exited && originalWalk.exitCode == 0 && decode(originalWalk.report, original))
        << name << " itself: " << originalWalk.describe();
    auto classify = [&](WalkOutcome& o) {
        if (o.ending != Ending::OpenError && o.ending == original.ending && o.errors == original.errors &&
            o.firstError == original.firstError)
            o.ending = Ending::Complete;
        else if (o.ending != Ending::OpenError)
            o.ending = Ending::Partial;
    };
#ifdef QL_ROBUSTNESS_FULL_RUN
    auto runChild = [&](const std::string& file) {
        return runInChild(
            [&](int fd) {
                const auto [database, workgroup] = pair(file);
                writeAll(fd, encode(runAnalysis(database, workgroup)));
                return 0;
            },
            kLimits);
    };
    RunOutcome originalRun;
    const ChildResult originalFull = runChild(ql::test::corpusFile(name).string());
    ASSERT_TRUE(originalFull.exited && originalFull.exitCode == 0 && decode(originalFull.report, originalRun))
        << name << " itself, whole analysis: " << originalFull.describe();
#endif
    for (std::size_t i = 0; i < damages.size(); ++i) {
        const Damage& damage = damages[i];
        const std::string bytes = image.apply(damage, random);
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        ++tally.inputs;

        const ChildResult walk = walkChild(path.string());
        WalkOutcome outcome;
        if (!walk.exited || walk.exitCode != 0 || !decode(walk.report, outcome)) {
            ADD_FAILURE() << name << ", " << damage.label() << ": reading ended badly: " << walk.describe();
            keep(name, damage, bytes);
            continue;
        }
        if (outcome.ending == Ending::OpenError) {
            EXPECT_TRUE(kOpenErrors.count(outcome.openError))
                << name << ", " << damage.label() << ": open failed with " << outcome.openError << " "
                << outcome.firstError;
        }
        classify(outcome);
        tally.add("walk", outcome.ending, outcome.openError, damage.kind, walk.maxRssKb);

#ifdef QL_ROBUSTNESS_FULL_RUN
        // Cuts are many and alike: half as many of them go through the
        // whole analysis as of the page damages.
        const unsigned every = damage.kind == DamageKind::Truncated ? 2 * fullEvery : fullEvery;
        if (i % every != 0) continue;
        ++tally.fullRuns;
        const ChildResult run = runChild(path.string());
        RunOutcome full;
        if (!run.exited || run.exitCode != 0 || !decode(run.report, full)) {
            ADD_FAILURE() << name << ", " << damage.label() << ": the analysis ended badly: " << run.describe();
            keep(name, damage, bytes);
            continue;
        }
        // The same file opens or fails the same way whoever opens it.
        EXPECT_EQ(full.ending == Ending::OpenError, outcome.ending == Ending::OpenError)
            << name << ", " << damage.label();
        // Whatever the run could not read, its error log says so.
        if (full.errorCount > 0) {
            EXPECT_GT(full.logLines, 0) << name << ", " << damage.label() << ": errors counted but none logged";
        }
        if (full.ending != Ending::OpenError)
            full.ending = full.errorCount == originalRun.errorCount && full.logLines == originalRun.logLines &&
                                  full.unhandled == originalRun.unhandled
                              ? Ending::Complete
                              : Ending::Partial;
        tally.add("analysis", full.ending, full.openError, damage.kind, run.maxRssKb);
#else
        (void)fullEvery;
#endif
    }
    std::cout << "[damaged files] " << name << " (undamaged: " << endingName(original.ending) << ", "
              << original.errors << " errors) " << tally.text() << std::flush;
    grandTotal().merge(tally);
}

std::string testName(const ::testing::TestParamInfo<std::string>& info) {
    std::string out;
    for (char c : info.param) out += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return out;
}

INSTANTIATE_TEST_SUITE_P(Corpus, DamagedFiles, ::testing::ValuesIn(jetFiles()), testName);

}  // namespace
