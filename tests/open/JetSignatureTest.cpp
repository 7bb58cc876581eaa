#include "open/JetSignature.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/RuntimeError.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace fs = std::filesystem;
using ql::open::IsJetFile;

namespace {

// Kind 1 looks for "Standard Jet DB", kind 0 for "System DB", anywhere in
// the first twenty bytes and in any case; other kinds look for nothing. (Real
// headers are the corpus case below.)
TEST(JetSignature, SearchesTheFirstTwentyBytesWithoutCase) {
    ql::test::TempFolder dir;
    struct Case {
        std::string bytes;
        int kind;
        bool found;
    };
    const Case cases[] = {
        {"standard jet db", 1, true},
        {"xxxxxSTANDARD JET DB", 1, true},                      // ends on byte 19
        {"xxxxxxStandard Jet DB", 1, false},                    // ends on byte 20
        {std::string(4, '\0') + "jet system db  ", 0, true},
        {std::string(12, ' ') + "System DB", 0, false},
        {"", 1, false},                                         // short files read as zero-padded
        {"Standard Jet", 1, false},
        {"System DB", 0, true},
        {"nothing of interest", 2, true},
        {"nothing of interest", -1, true},
        {"", 7, true},
    };
    int n = 0;
    for (const auto& c : cases) {
        const auto path = dir.write("f" + std::to_string(n++), c.bytes).string();
        EXPECT_EQ(IsJetFile(path, c.kind), c.found) << c.bytes << " kind " << c.kind;
    }
}

TEST(JetSignature, UnreadableFilesRaiseTheRuntimeError) {
    ql::test::TempFolder dir;
    try {
        IsJetFile((dir / "missing.mdb").string(), 1);
        FAIL() << "no error for a missing file";
    } catch (const ql::RuntimeError& error) {
        EXPECT_EQ(error.number(), 53);
    }
    try {
        IsJetFile(dir.path().string(), 1);
        FAIL() << "no error for a folder";
    } catch (const ql::RuntimeError& error) {
        EXPECT_EQ(error.number(), 75);
    }
    EXPECT_FALSE(fs::exists(dir / "missing.mdb")) << "the probe must not create the file";
}

TEST(JetSignature, EveryCorpusFileIsRecognisedForWhatItIs) {
    for (const std::string& name : ql::test::jetDatabases()) {
        const std::string path = ql::test::corpusFile(name).string();
        EXPECT_TRUE(IsJetFile(path, 1)) << name;
        EXPECT_FALSE(IsJetFile(path, 0)) << name;
    }
    for (const std::string& name : ql::test::workgroupFiles()) {
        const std::string path = ql::test::corpusFile(name).string();
        EXPECT_TRUE(IsJetFile(path, 0)) << name;
        EXPECT_FALSE(IsJetFile(path, 1)) << name;
    }
    // ACE files say "Standard ACE DB"; an Access project is a compound file.
    for (const std::string& name : ql::test::nonJetFiles()) {
        const std::string path = ql::test::corpusFile(name).string();
        EXPECT_FALSE(IsJetFile(path, 1)) << name;
        EXPECT_FALSE(IsJetFile(path, 0)) << name;
    }
}

}  // namespace
