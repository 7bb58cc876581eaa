// Every corpus Jet file, damaged the ways real files get damaged, read in a
// child process with a memory cap and an alarm. Each input must end in a DAO
// error at open or in a finished read; a crash, a hang, a runaway allocation
// or an exception other than the program's own run-time error is a failure,
// and the input is kept in the build folder for replay.
//
// Environment (for long runs; the defaults keep CI at a few minutes):
//   QL_DAMAGE_PAGES       single-page damages per file (default 24; 200 for the full count)
//   QL_DAMAGE_CUTS        random truncations per file beside the page boundaries (default 4)
//   QL_DAMAGE_FULL_EVERY  every n-th page damage of each kind (2n-th cut) also goes through the
//                         whole analysis (default 4; 1 = all page damages and every other cut)
//   QL_DAMAGE_SEED        the generator's seed (default 20261123)
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <set>

#include "tests/robustness/Child.h"
#include "tests/robustness/Damage.h"
#include "tests/robustness/Walk.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace fs = std::filesystem;
using namespace ql::robustness;

namespace {

unsigned setting(const char* name, unsigned fallback) {
    const char* text = std::getenv(name);
    return text && *text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : fallback;
}

// The errors DAO gives when a file cannot be opened at all.
const std::set<int> kOpenErrors = {3024, 3028, 3029, 3031, 3033, 3044, 3049, 3051, 3112, 3343};

const ChildLimits kLimits{1024ull * 1024 * 1024, 60};

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
    std::replace(label.begin(), label.end(), ' ', '-');
    std::ofstream(folder / (file + "-" + label + fs::path(file).extension().string()), std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

class DamagedFiles : public ::testing::TestWithParam<std::string> {};

TEST_P(DamagedFiles, EndInAnOpenErrorOrAFinishedRun) {
    const std::string name = GetParam();
    const JetImage image(ql::test::readFile(ql::test::corpusFile(name)));
    std::mt19937 random(setting("QL_DAMAGE_SEED", 20261123) ^ static_cast<unsigned>(std::hash<std::string>{}(name)));
    std::vector<Damage> damages = image.truncations(64, setting("QL_DAMAGE_CUTS", 4), random);
    for (const Damage& d : image.pageDamages(setting("QL_DAMAGE_PAGES", 24), random)) damages.push_back(d);
    const unsigned fullEvery = std::max(1u, setting("QL_DAMAGE_FULL_EVERY", 4));

    ql::test::TempFolder folder;
    const fs::path path = folder / ("damaged" + fs::path(name).extension().string());
    // A damaged workgroup file is the workgroup of an undamaged database.
    const bool isWorkgroup = fs::path(name).extension() == ".mdw";
    // The outcome of `file` read in a child; none when the child ended badly.
    auto read = [&](bool full, const std::string& file) -> std::optional<Outcome> {
        const ChildResult result = runInChild(
            [&](int fd) {
                const std::string database = isWorkgroup ? ql::test::corpusFile(partnerDatabase(name)).string() : file;
                const std::string workgroup = isWorkgroup ? file : std::string();
                writeAll(fd, encode(full ? runAnalysis(database, workgroup) : walkDatabase(database, workgroup)));
                return 0;
            },
            kLimits);
        Outcome outcome;
        if (result.exited && result.exitCode == 0 && decode(result.report, outcome)) return outcome;
        ADD_FAILURE() << name << ", " << (full ? "the analysis" : "reading") << " ended badly: " << result.describe();
        return std::nullopt;
    };
    ASSERT_TRUE(read(false, ql::test::corpusFile(name).string()) && read(true, ql::test::corpusFile(name).string()))
        << name << " itself";

    std::map<DamageKind, unsigned> seen;
    for (const Damage& damage : damages) {
        const std::string bytes = image.apply(damage, random);
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        SCOPED_TRACE(damage.label());

        std::optional<Outcome> walk = read(false, path.string());
        if (!walk) {
            keep(name, damage, bytes);
            continue;
        }
        if (walk->ending == Ending::OpenError) {
            EXPECT_TRUE(kOpenErrors.count(walk->openError)) << "open failed with " << walk->openError << " " << walk->message;
        }

        // Counted by kind, since the page damages take the kinds in turn. Cuts
        // are many and alike: half as many of them go through the whole
        // analysis as of the page damages.
        if (seen[damage.kind]++ % (damage.kind == DamageKind::Truncated ? 2 * fullEvery : fullEvery) != 0) continue;
        std::optional<Outcome> full = read(true, path.string());
        if (!full) {
            keep(name, damage, bytes);
            continue;
        }
        // The same file opens or fails the same way whoever opens it, and
        // whatever the run could not read, its error log says.
        EXPECT_EQ(full->ending == Ending::OpenError, walk->ending == Ending::OpenError);
        if (full->errors > 0) {
            EXPECT_GT(full->logLines, 0) << "errors counted but none logged";
        }
    }
}

std::string testName(const ::testing::TestParamInfo<std::string>& info) {
    std::string out = info.param;
    for (char& c : out)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return out;
}

INSTANTIATE_TEST_SUITE_P(Corpus, DamagedFiles, ::testing::ValuesIn(jetFiles()), testName);

}  // namespace
