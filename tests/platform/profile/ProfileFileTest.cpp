#include "platform/profile/ProfileFile.h"
#include "platform/profile/SettingsFile.h"

#include <gtest/gtest.h>

#include "tests/support/TempFolder.h"

using ql::profile::readProfileString;
using ql::profile::SettingsFile;
using ql::profile::writeProfileString;
using ql::test::TempFolder;

namespace {

TEST(ProfileRead, MissingFileSectionOrKeyGivesTheDefault) {
    TempFolder dir;
    const auto file = dir / "a.ini";
    EXPECT_EQ(readProfileString(file, "Paths", "SystemDB", "dflt"), "dflt");
    dir.write("a.ini", "[Other]\nSystemDB=x\n");
    EXPECT_EQ(readProfileString(file, "Paths", "SystemDB", "dflt"), "dflt");
    dir.write("a.ini", "[Paths]\nActualDB=x\n");
    EXPECT_EQ(readProfileString(file, "Paths", "SystemDB", "dflt"), "dflt");
}

TEST(ProfileRead, NamesMatchWithoutCaseAndValuesLoseBlanksAndOneQuotePair) {
    TempFolder dir;
    const auto file = dir.write("a.ini",
                                "; comment\r\n"
                                "  [ pAtHs ]  \r\n"
                                "  systemdb  =   /srv/x.mdw  \r\n"
                                "Quoted=\"  two  \"\r\n"
                                "Single='it'\r\n"
                                "Inner=a \"b\" c\r\n"
                                "Doubled=\"\"x\"\"\r\n"
                                "Empty=\r\n"
                                "Eq=a=b\r\n");
    EXPECT_EQ(readProfileString(file, "Paths", "SystemDB", "d"), "/srv/x.mdw");
    EXPECT_EQ(readProfileString(file, "PATHS", "quoted", "d"), "  two  ");
    EXPECT_EQ(readProfileString(file, "Paths", "Single", "d"), "it");
    EXPECT_EQ(readProfileString(file, "Paths", "Inner", "d"), "a \"b\" c");
    EXPECT_EQ(readProfileString(file, "Paths", "Doubled", "d"), "\"x\"");
    EXPECT_EQ(readProfileString(file, "Paths", "Empty", "d"), "");
    EXPECT_EQ(readProfileString(file, "Paths", "Eq", "d"), "a=b");
}

TEST(ProfileRead, FirstOfDuplicateSectionsAndKeysWins) {
    TempFolder dir;
    const auto file = dir.write("a.ini", "[Run]\nFirstTime=No\nFirstTime=Yes\n[run]\nFirstTime=Maybe\nOnly=2\n");
    EXPECT_EQ(readProfileString(file, "Run", "FirstTime", "d"), "No");
    // A key of a later section of the same name is not seen.
    EXPECT_EQ(readProfileString(file, "Run", "Only", "d"), "d");
}

TEST(ProfileRead, ValuesAndDefaultsAreCutTo254Characters) {
    TempFolder dir;
    const std::string longValue(300, 'v');
    const auto file = dir.write("a.ini", "[Paths]\nOutput=" + longValue + "\n");
    EXPECT_EQ(readProfileString(file, "Paths", "Output", "d"), std::string(254, 'v'));
    EXPECT_EQ(readProfileString(file, "Paths", "Missing", std::string(300, 'd')),
              std::string(254, 'd'));
    // A cut never splits a UTF-8 sequence: 253 ASCII + a two-byte letter.
    dir.write("a.ini", "[Paths]\nOutput=" + std::string(253, 'a') + "\xC3\xA9" + "\n");
    EXPECT_EQ(readProfileString(file, "Paths", "Output", "d"), std::string(253, 'a'));
}

TEST(ProfileWrite, CreatesFileSectionAndKey) {
    TempFolder dir;
    const auto file = dir / "new.ini";
    ASSERT_TRUE(writeProfileString(file, "Paths", "SystemDB", "/a/b.mdw"));
    EXPECT_EQ(TempFolder::read(file), "[Paths]\nSystemDB=/a/b.mdw\n");
    ASSERT_TRUE(writeProfileString(file, "Run", "FirstTime", "No"));
    EXPECT_EQ(TempFolder::read(file), "[Paths]\nSystemDB=/a/b.mdw\n\n[Run]\nFirstTime=No\n");
    ASSERT_TRUE(writeProfileString(file, "paths", "ActualDB", "/a/c.mdb"));
    EXPECT_EQ(TempFolder::read(file),
              "[Paths]\nSystemDB=/a/b.mdw\nActualDB=/a/c.mdb\n\n[Run]\nFirstTime=No\n");
}

TEST(ProfileWrite, KeepsEveryOtherLineAndTheFilesLineEnds) {
    TempFolder dir;
    const std::string before =
        "; kept comment\r\n"
        "[Paths]\r\n"
        "  SYSTEMDB = old  \r\n"
        "Editor = \"gedit\"\r\n"
        "\r\n"
        "[Run]\r\n"
        "FirstTime=Yes\r\n";
    const auto file = dir.write("a.ini", before);
    ASSERT_TRUE(writeProfileString(file, "paths", "SystemDB", "new"));
    EXPECT_EQ(TempFolder::read(file),
              "; kept comment\r\n"
              "[Paths]\r\n"
              "SYSTEMDB=new\r\n"
              "Editor = \"gedit\"\r\n"
              "\r\n"
              "[Run]\r\n"
              "FirstTime=Yes\r\n");
    // A new key goes to the end of its section, before the blank line.
    ASSERT_TRUE(writeProfileString(file, "Paths", "Output", "o.txt"));
    EXPECT_EQ(TempFolder::read(file),
              "; kept comment\r\n[Paths]\r\nSYSTEMDB=new\r\nEditor = \"gedit\"\r\nOutput=o.txt\r\n"
              "\r\n[Run]\r\nFirstTime=Yes\r\n");
    EXPECT_EQ(readProfileString(file, "Paths", "Editor", "d"), "gedit");
}

TEST(ProfileWrite, ValueWithLineBreakCannotAddLines) {
    TempFolder dir;
    const auto file = dir / "a.ini";
    ASSERT_TRUE(writeProfileString(file, "Paths", "Output", "a\n[Run]\nFirstTime=No"));
    EXPECT_EQ(readProfileString(file, "Paths", "Output", "d"), "a");
    EXPECT_EQ(readProfileString(file, "Run", "FirstTime", "Yes"), "Yes");
}

TEST(ProfileWrite, UnwritablePlacesFailQuietlyAndALinkIsWrittenThrough) {
    TempFolder dir;
    EXPECT_FALSE(writeProfileString(dir / "missing" / "a.ini", "Paths", "Output", "x"));
    const auto locked = dir.write("locked.ini", "[Paths]\nOutput=old\n");
    std::filesystem::permissions(locked, std::filesystem::perms::owner_read);
    EXPECT_FALSE(writeProfileString(locked, "Paths", "Output", "new"));
    EXPECT_EQ(TempFolder::read(locked), "[Paths]\nOutput=old\n");
    EXPECT_EQ(std::filesystem::status(locked).permissions(), std::filesystem::perms::owner_read);

    const auto real = dir.write("real.ini", "[Paths]\nOutput=old\n");
    std::filesystem::permissions(real, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write |
                                           std::filesystem::perms::group_read);
    const auto link = dir / "link.ini";
    std::filesystem::create_symlink(real, link);
    ASSERT_TRUE(writeProfileString(link, "Paths", "Output", "new"));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(TempFolder::read(real), "[Paths]\nOutput=new\n");
    EXPECT_EQ(std::filesystem::status(real).permissions(), std::filesystem::perms::owner_read |
                                                               std::filesystem::perms::owner_write |
                                                               std::filesystem::perms::group_read);
}

TEST(SettingsFile, BothSpellingsReachOneFile) {
    TempFolder program, user;
    SettingsFile settings(program.path(), user.path());
    settings.WriteSetting("Paths", "Editor", "vim", "Quarrylantern.INI");
    EXPECT_TRUE(std::filesystem::exists(program / "Quarrylantern.ini"));
    EXPECT_FALSE(std::filesystem::exists(program / "Quarrylantern.INI"));
    EXPECT_EQ(settings.ReadSetting("Paths", "Editor", "d"), "vim");
    settings.WriteSetting("Paths", "XMLEditor", "xmlcopyeditor");
    EXPECT_EQ(settings.ReadSetting("Paths", "XMLEditor", "d", "Quarrylantern.INI"), "xmlcopyeditor");

    // A file someone created as QUARRYLANTERN.INI is the file for both too.
    TempFolder other;
    other.write("QUARRYLANTERN.INI", "[Run]\nFirstTime=No\n");
    SettingsFile settings2(other.path(), user.path());
    EXPECT_EQ(settings2.ReadSetting("Run", "FirstTime", "Yes"), "No");
    settings2.WriteSetting("Run", "FirstTime", "Later", "Quarrylantern.INI");
    EXPECT_EQ(TempFolder::read(other / "QUARRYLANTERN.INI"), "[Run]\nFirstTime=Later\n");
    EXPECT_FALSE(std::filesystem::exists(other / "Quarrylantern.ini"));
}

TEST(SettingsFile, UnwritableProgramFolderUsesTheUserFolder) {
    TempFolder program, user;
    program.write("Quarrylantern.ini", "[Run]\nFirstTime=No\n");
    const auto userFolder = user / "config" / "quarrylantern";
    SettingsFile settings(program.path(), userFolder,
                          [&](const std::filesystem::path& p) { return p != program.path(); });
    EXPECT_EQ(settings.path(), userFolder / "Quarrylantern.ini");
    // Reads and writes go to the one place.
    EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "Yes"), "Yes");
    settings.WriteSetting("Run", "FirstTime", "No");
    EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "Yes"), "No");
    EXPECT_EQ(TempFolder::read(userFolder / "Quarrylantern.ini"), "[Run]\nFirstTime=No\n");
    EXPECT_EQ(TempFolder::read(program / "Quarrylantern.ini"), "[Run]\nFirstTime=No\n");
}

}  // namespace
