#include "open/JetSignature.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/RuntimeError.h"
#include "tests/support/Corpus.h"

namespace fs = std::filesystem;
using ql::open::IsJetFile;

namespace {

class SignatureFiles : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("ql_sig_" + std::to_string(::getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string write(const std::string& name, const std::string& bytes) {
        const fs::path path = dir_ / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path.string();
    }

    fs::path dir_;
};

const std::string kJetHeader = std::string("\0\1\0\0", 4) + "Standard Jet DB" + std::string(1, '\0');

}  // namespace

TEST_F(SignatureFiles, DatabaseHeaderIsADatabaseButNotAWorkgroup) {
    const std::string path = write("db.mdb", kJetHeader + std::string(100, 'x'));
    EXPECT_TRUE(IsJetFile(path, 1));
    EXPECT_FALSE(IsJetFile(path, 0));
}

TEST_F(SignatureFiles, CaseAndPositionDoNotMatter) {
    EXPECT_TRUE(IsJetFile(write("a", "standard jet db"), 1));
    EXPECT_TRUE(IsJetFile(write("b", "xxxxxSTANDARD JET DB"), 1));  // ends on byte 19
    EXPECT_TRUE(IsJetFile(write("c", std::string(4, '\0') + "jet system db  "), 0));
}

TEST_F(SignatureFiles, SignatureMustEndWithinTwentyBytes) {
    EXPECT_FALSE(IsJetFile(write("a", "xxxxxxStandard Jet DB"), 1));  // last byte is byte 20
    EXPECT_FALSE(IsJetFile(write("b", std::string(12, ' ') + "System DB"), 0));
}

TEST_F(SignatureFiles, ShortAndEmptyFilesAreReadAsZeroPadded) {
    EXPECT_FALSE(IsJetFile(write("empty", ""), 1));
    EXPECT_FALSE(IsJetFile(write("short", "Standard Jet"), 1));
    EXPECT_TRUE(IsJetFile(write("exact", "System DB"), 0));
}

TEST_F(SignatureFiles, OtherKindsSearchTheEmptyTextAndAlwaysMatch) {
    const std::string path = write("junk", "nothing of interest");
    EXPECT_TRUE(IsJetFile(path, 2));
    EXPECT_TRUE(IsJetFile(path, -1));
    EXPECT_TRUE(IsJetFile(write("empty", ""), 7));
}

TEST_F(SignatureFiles, UnreadableFilesRaiseTheRuntimeError) {
    try {
        IsJetFile((dir_ / "missing.mdb").string(), 1);
        FAIL() << "no error for a missing file";
    } catch (const ql::RuntimeError& error) {
        EXPECT_EQ(error.number(), 53);
        EXPECT_EQ(error.description(), "File not found");
    }
    try {
        IsJetFile(dir_.string(), 1);
        FAIL() << "no error for a folder";
    } catch (const ql::RuntimeError& error) {
        EXPECT_EQ(error.number(), 75);
    }
    EXPECT_FALSE(fs::exists(dir_ / "missing.mdb")) << "the probe must not create the file";
}

TEST(SignatureCorpus, EveryRealFileIsRecognisedForWhatItIs) {
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
