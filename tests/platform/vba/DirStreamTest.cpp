#include "platform/vba/DirStream.h"
#include "platform/vba/VbaError.h"
#include "tests/platform/vba/TestImages.h"

#include <gtest/gtest.h>

namespace ql::vba {
namespace {

// Every real project's dir stream is read by the corpus tests (with its odd
// version record); here what they do not show.
TEST(DirStream, NamesComeFromTheUnicodeRecordElseTheCodePage) {
    test::DirModuleEntry unicode{"Modul", "S1", 0};
    unicode.mbcsName = "\xCC\xEE\xE4\xF3\xEB\xFC";  // what the code-page record says; the Unicode one wins
    test::DirModuleEntry mbcsOnly{"", "S2", 0};
    mbcsOnly.unicodeName = false;
    mbcsOnly.mbcsName = "\xCC\xEE\xE4\xF3\xEB\xFC";  // "Модуль" in windows-1251
    mbcsOnly.document = true;
    const DirInfo info = parseDirStream(test::dirStream(1251, {unicode, mbcsOnly}));
    EXPECT_EQ(info.codePage, 1251);
    ASSERT_EQ(info.modules.size(), 2u);
    EXPECT_EQ(info.modules[0].name, "Modul");
    EXPECT_EQ(info.modules[0].kind, ModuleKind::Procedural);
    EXPECT_EQ(info.modules[1].name, "\xD0\x9C\xD0\xBE\xD0\xB4\xD1\x83\xD0\xBB\xD1\x8C");
    EXPECT_EQ(info.modules[1].kind, ModuleKind::Document);
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
