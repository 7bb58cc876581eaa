// The module source files: where they go, what they hold, and what a file
// without readable source gives.
#include "platform/vba/ModuleExport.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

#include <QString>

#include <gtest/gtest.h>

#include <set>

namespace ql::vba {
namespace {

TEST(ModuleFileStem, KeepsReadableNamesAndDefusesPathCharacters) {
    EXPECT_EQ(moduleFileStem("Utility Functions"), "Utility Functions");
    EXPECT_EQ(moduleFileStem("罗斯文帮助函数"), "罗斯文帮助函数");
    EXPECT_EQ(moduleFileStem("a/b\\c"), "a_b_c");
    EXPECT_EQ(moduleFileStem(std::string("x\ty\0z", 5)), "x_y_z");
    EXPECT_EQ(moduleFileStem(".."), "_..");
    EXPECT_EQ(moduleFileStem(".hidden"), "_.hidden");
    EXPECT_EQ(moduleFileStem(""), "_");
    // Cut on a character boundary: "é" is two bytes.
    std::string longName;
    for (int i = 0; i < 150; ++i) longName += "é";
    const std::string stem = moduleFileStem(longName);
    EXPECT_LE(stem.size(), 200u);
    EXPECT_EQ(stem.size() % 2, 0u);
    EXPECT_EQ(longName.rfind(stem, 0), 0u);
}

TEST(ModuleExport, WritesEveryModuleOfTheProjectAsUtf8Text) {
    test::TempFolder out;
    const auto file = test::corpusFile("j4_comptoir_fr.mdb");
    // Written twice: the second run replaces the first run's files.
    writeModuleSources(file, out.path());
    const auto result = writeModuleSources(file, out.path());
    EXPECT_TRUE(result.errors.empty());
    std::set<std::string> names;
    for (const auto& written : result.written) {
        SCOPED_TRACE(written.module);
        names.insert(written.module);
        EXPECT_EQ(written.file.parent_path(), out.path() / "j4_comptoir_fr.mdb");
        EXPECT_EQ(written.file.filename().string(), written.module + ".bas");
        const std::string text = test::readFile(written.file);
        EXPECT_EQ(text.rfind("Attribute VB_Name = \"" + written.module + "\"\r\n", 0), 0u);
        EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
        // Valid UTF-8 all through: a round trip through UTF-16 keeps it.
        EXPECT_EQ(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toUtf8().toStdString(), text);
    }
    // Standard modules and the forms' modules alike, accents kept.
    EXPECT_TRUE(names.count("Démarrage"));
    EXPECT_TRUE(names.count("Form_Menu général"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out.path() / "j4_comptoir_fr.mdb"),
                            std::filesystem::directory_iterator()),
              static_cast<std::ptrdiff_t>(result.written.size()));
}

TEST(ModuleExport, FilesWithoutReadableSourceWriteNothing) {
    test::TempFolder out;
    const auto compiled = writeModuleSources(test::corpusFile("j4_database41.mde"), out.path());
    EXPECT_TRUE(compiled.written.empty());
    ASSERT_EQ(compiled.errors.size(), 1u);  // its one module, by name
    EXPECT_EQ(compiled.errors[0].rfind("module Module1: compiled only", 0), 0u) << compiled.errors[0];

    // No project at all is no error.
    const auto plain = writeModuleSources(test::corpusFile("j4_querytest2003.mdb"), out.path());
    EXPECT_TRUE(plain.written.empty());
    EXPECT_TRUE(plain.errors.empty());

    const auto notJet = writeModuleSources(out.write("not.mdb", "plain text, not a database"), out.path());
    EXPECT_TRUE(notJet.written.empty());
    ASSERT_EQ(notJet.errors.size(), 1u);
    EXPECT_NE(notJet.errors[0].find("not.mdb"), std::string::npos);

    // A folder that cannot be made: a file stands in its way.
    const auto blocked = out.write("blocked", "");
    const auto unwritable = writeModuleSources(test::corpusFile("j4_database41.mdb"), blocked);
    EXPECT_TRUE(unwritable.written.empty());
    EXPECT_EQ(unwritable.errors.size(), 1u);
}

}  // namespace
}  // namespace ql::vba
