#include "platform/vba/DirStream.h"
#include "platform/vba/VbaError.h"
#include "tests/platform/vba/TestImages.h"

#include <gtest/gtest.h>

namespace ql::vba {
namespace {

TEST(DirStream, ReadsCodePageAndModulesPastTheOddVersionRecord) {
    // The version record declares 4 bytes and carries 6: a parser that
    // trusts the size loses every record after it.
    const DirInfo info = parseDirStream(test::dirStream(
        1251, {{"Module1", "MODULE1STREAM", 1234}, {"Class Module", "CLASSSTREAM", 77, /*document=*/true}}));
    EXPECT_EQ(info.codePage, 1251);
    EXPECT_EQ(info.projectName, "VBAProject");
    ASSERT_EQ(info.modules.size(), 2u);
    EXPECT_EQ(info.modules[0].name, "Module1");
    EXPECT_EQ(info.modules[0].streamName, "MODULE1STREAM");
    EXPECT_EQ(info.modules[0].textOffset, 1234u);
    EXPECT_TRUE(info.modules[0].hasTextOffset);
    EXPECT_EQ(info.modules[0].kind, ModuleKind::Procedural);
    EXPECT_EQ(info.modules[1].name, "Class Module");
    EXPECT_EQ(info.modules[1].kind, ModuleKind::Document);

    const DirInfo empty = parseDirStream(test::dirStream(0, {}));
    EXPECT_EQ(empty.codePage, 0);
    EXPECT_TRUE(empty.modules.empty());
}

TEST(DirStream, NamesComeFromTheUnicodeRecordElseTheCodePage) {
    test::DirModuleEntry unicode{"Modul", "S1", 0};
    unicode.mbcsName = "\xCC\xEE\xE4\xF3\xEB\xFC";  // what the code-page record says; the Unicode one wins
    test::DirModuleEntry mbcsOnly{"", "S2", 0};
    mbcsOnly.unicodeName = false;
    mbcsOnly.mbcsName = "\xCC\xEE\xE4\xF3\xEB\xFC";  // "Модуль" in windows-1251
    const DirInfo info = parseDirStream(test::dirStream(1251, {unicode, mbcsOnly}));
    ASSERT_EQ(info.modules.size(), 2u);
    EXPECT_EQ(info.modules[0].name, "Modul");
    EXPECT_EQ(info.modules[1].name, "\xD0\x9C\xD0\xBE\xD0\xB4\xD1\x83\xD0\xBB\xD1\x8C");
}

TEST(DirStream, DamagedStreamsAreCorrupt) {
    const std::string good = test::dirStream(1252, {{"Module1", "S", 10}});
    auto corruptKind = [](const std::string& data) {
        try {
            parseDirStream(data);
        } catch (const VbaError& error) {
            return error.kind() == VbaErrorKind::Corrupt;
        }
        return false;
    };
    EXPECT_TRUE(corruptKind(test::dirStream(1252, {{"Module1", "S", 10}}, /*terminated=*/false)));
    EXPECT_TRUE(corruptKind(good.substr(0, good.size() - 9)));  // a record cut in half
    std::string huge = good;
    huge.replace(2, 4, test::le32(0xFFFFFFF0u));  // first record claims 4 GB
    EXPECT_TRUE(corruptKind(huge));
}

}  // namespace
}  // namespace ql::vba
