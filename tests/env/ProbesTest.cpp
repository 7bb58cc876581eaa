#include "env/ProgramValues.h"
#include "env/Probes.h"
#include "env/RegistryValue.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace ql::env;
using ql::registry::MemoryRegistry;
using ql::registry::RootKey;

namespace {

struct FakeProbe : SystemProbe {
    std::optional<VersionInfo> version;
    std::string folder = "C:\\WINDOWS";
    std::string user = "jsmith";
    std::optional<VersionInfo> versionInfo() const override { return version; }
    std::string windowsDirectory() const override { return folder; }
    std::string userName() const override { return user; }
};

// The version table is the code's own; XP and Server 2003, the two that
// change what the program does, are the cases here.
TEST(ProgramValues, XpGivesTheProfileFolderAnd2003TheWindowsFolder) {
    MemoryRegistry registry;
    FakeProbe xp;
    xp.version = VersionInfo{2, 5, 1};
    auto v = ComputeProgramValues(xp, registry);
    EXPECT_EQ(v.WindowsVersion, 6);
    EXPECT_EQ(v.WindowsFolder, "C:\\WINDOWS/");
    EXPECT_EQ(v.AccessUserFolder, "C:/Documents and Settings/jsmith/Application Data/Microsoft/Access");

    FakeProbe server2003 = xp;
    server2003.version = VersionInfo{2, 5, 2};
    v = ComputeProgramValues(server2003, registry);
    EXPECT_EQ(v.WindowsVersion, 0);
    EXPECT_EQ(v.WindowsVersionName, "Unknown");
    EXPECT_EQ(v.AccessUserFolder, v.WindowsFolder);
}

TEST(ProgramValues, OnLinuxTheQueryFailsAndTheSystemFolderIsUsrBin) {
    LinuxSystemProbe probe;
    ql::registry::DesktopRegistry registry;
    const auto v = ComputeProgramValues(probe, registry);
    EXPECT_EQ(v.WindowsVersion, 0);
    EXPECT_EQ(v.WindowsVersionName, "Unknown");
    EXPECT_EQ(v.WindowsFolder, "/usr/bin/");
    EXPECT_EQ(v.AccessUserFolder, "/usr/bin/");
    EXPECT_EQ(v.AccessApplicationClass, "Access.Application.9");
    EXPECT_EQ(v.AccessVersion, 9);
    EXPECT_EQ(v.TextEditorPath, "Notepad.exe");
    EXPECT_EQ(v.XmlEditorPath, "Notepad.exe");
    EXPECT_FALSE(v.LoginUserName.empty());
    if (::geteuid() == 0) {
        EXPECT_EQ(v.LoginUserName, "root");
    }
}

TEST(ProgramValues, UserNameStopsAtZeroAndAt254Characters) {
    FakeProbe p;
    p.user = std::string("ab\0cd", 5);
    EXPECT_EQ(GetLoginUserName(p), "ab");
    p.user = std::string(300, 'u');
    EXPECT_EQ(GetLoginUserName(p).size(), 254u);
}

TEST(ReadRegistryValue, TextStopsAtItsTerminator) {
    MemoryRegistry r;
    r.setString(RootKey::LocalMachine, "k", "v", "Excel.Application.11");
    ql::registry::Value raw;
    raw.type = ql::registry::kTypeString;
    raw.data = {'a', 'b', 0, 'c', 0};
    r.setValue(RootKey::LocalMachine, "k", "embedded", raw);
    raw.data = {'x', 'y'};  // stored without a terminator
    r.setValue(RootKey::LocalMachine, "k", "unterminated", raw);

    std::string out = "untouched";
    EXPECT_TRUE(ReadRegistryValue(r, RootKey::LocalMachine, "K", "V", out));
    EXPECT_EQ(out, "Excel.Application.11");
    EXPECT_TRUE(ReadRegistryValue(r, RootKey::LocalMachine, "k", "embedded", out));
    EXPECT_EQ(out, "ab");
    EXPECT_TRUE(ReadRegistryValue(r, RootKey::LocalMachine, "k", "unterminated", out));
    EXPECT_EQ(out, "xy");

    out = "untouched";
    EXPECT_FALSE(ReadRegistryValue(r, RootKey::LocalMachine, "k", "missing", out));
    EXPECT_FALSE(ReadRegistryValue(r, RootKey::LocalMachine, "nokey", "v", out));
    EXPECT_EQ(out, "untouched");
}

TEST(ReadRegistryValue, DoubleWordDropsLeadingZerosOfEachByte) {
    MemoryRegistry r;
    auto read = [&](std::uint32_t n) {
        r.setDWord(RootKey::LocalMachine, "k", "n", n);
        std::string out;
        EXPECT_TRUE(ReadRegistryValue(r, RootKey::LocalMachine, "k", "n", out));
        return out;
    };
    EXPECT_EQ(read(261), "21");             // 05 01 00 00 -> "0015"
    EXPECT_EQ(read(0), "0");                // "0000"
    EXPECT_EQ(read(0x01020304), "4660");    // "1234": each byte one digit
    EXPECT_EQ(read(0x0A0B0C0D), "-21555");  // "ABCD" as a 16-bit number
    EXPECT_EQ(read(0x12345678), "305419896");  // full bytes keep their value
    EXPECT_EQ(read(0x0000FFFF), "65535");   // "00FFFF": more than four digits is 32-bit
    // Up to four hexadecimal digits are a 16-bit number to the runtime.
    EXPECT_EQ(read(0x0F0F0F0F), "-1");      // "FFFF"
    EXPECT_EQ(read(0xFFFFFFFF), "-1");      // "FFFFFFFF"
}

TEST(VersionFromClassName, LastTwoCharactersWithoutTheDot) {
    EXPECT_EQ(VersionFromClassName("Access.Application.11"), 11);
    EXPECT_EQ(VersionFromClassName("Access.Application.9"), 9);
    EXPECT_EQ(VersionFromClassName("Excel.Application.8"), 8);
    EXPECT_EQ(VersionFromClassName("Excel.Application"), 0);
    EXPECT_EQ(VersionFromClassName("7"), 7);
    EXPECT_EQ(VersionFromClassName(""), 0);
}

TEST(OfficeInstallPath, NewestVersionFirstAndFallbackFolder) {
    MemoryRegistry r;
    std::int16_t excel = -5;
    EXPECT_EQ(GetOfficeInstallPath(r, "Excel", &excel), "c:/program files/microsoft office/officex/");
    EXPECT_EQ(excel, 9);  // the class fallback "Excel.Application.9"

    r.setString(RootKey::LocalMachine, "software\\Microsoft\\Office\\9.0\\Excel\\InstallRoot", "Path",
                "/opt/office9/");
    r.setString(RootKey::LocalMachine, "software\\Microsoft\\Office\\8.0\\Excel\\InstallRoot", "Path",
                "/opt/office8/");
    r.setString(RootKey::LocalMachine, "SOFTWARE\\Classes\\Excel.Application\\CurVer", "",
                "Excel.Application.11");
    EXPECT_EQ(GetOfficeInstallPath(r, "Excel", &excel), "/opt/office9/");
    EXPECT_EQ(excel, 11);

    // A registered but empty path stops the search and gives the fallback.
    r.setString(RootKey::LocalMachine, "software\\Microsoft\\Office\\10.0\\Excel\\InstallRoot", "Path", "");
    EXPECT_EQ(GetOfficeInstallPath(r, "Excel"), "c:/program files/microsoft office/officex/");
}

TEST(FolderOfPath, UpToAndIncludingTheLastSlash) {
    EXPECT_EQ(GetFolderOfPath("/a/b.txt"), "/a/");
    EXPECT_EQ(GetFolderOfPath("/a/b/"), "/a/b/");
    EXPECT_EQ(GetFolderOfPath("b.txt"), "");
    EXPECT_EQ(GetFolderOfPath(""), "");
}

}  // namespace
