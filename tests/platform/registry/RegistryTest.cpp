#include "platform/registry/Registry.h"

#include <gtest/gtest.h>

using namespace ql::registry;

namespace {

std::string text(const std::optional<Value>& v) {
    if (!v) return "<absent>";
    return std::string(v->data.begin(), v->data.end());
}

TEST(MemoryRegistry, KeysAndValueNamesMatchWithoutCase) {
    MemoryRegistry r;
    r.setString(RootKey::LocalMachine, "SOFTWARE\\Classes\\Access.Application\\CurVer", "", "Access.Application.11");
    EXPECT_TRUE(r.keyExists(RootKey::LocalMachine, "software\\classes\\access.application\\curver\\"));
    EXPECT_EQ(text(r.queryValue(RootKey::LocalMachine, "Software\\\\Classes\\Access.Application\\CURVER", "")),
              std::string("Access.Application.11") + '\0');
    // Other roots are other trees.
    EXPECT_FALSE(r.queryValue(RootKey::CurrentUser, "SOFTWARE\\Classes\\Access.Application\\CurVer", ""));
    r.setDWord(RootKey::LocalMachine, "k", "Number", 261);
    const auto v = r.queryValue(RootKey::LocalMachine, "K", "NUMBER");
    ASSERT_TRUE(v);
    EXPECT_EQ(v->type, kTypeDWord);
    EXPECT_EQ(v->data, (std::vector<std::uint8_t>{5, 1, 0, 0}));
}

TEST(DesktopRegistry, AnswersOnlyTheDesktopOpeners) {
    DesktopRegistry r;
    EXPECT_EQ(text(r.queryValue(RootKey::ClassesRoot, ".htm", "")), std::string("htmlfile") + '\0');
    EXPECT_EQ(text(r.queryValue(RootKey::ClassesRoot, "htmlfile\\shell\\open\\command", "")),
              std::string("xdg-open") + '\0');
    EXPECT_EQ(text(r.queryValue(RootKey::LocalMachine, "SOFTWARE\\Classes\\http\\shell\\open\\command", "")),
              std::string("xdg-open") + '\0');
    EXPECT_EQ(text(r.queryValue(RootKey::ClassesRoot, "http\\shell\\open\\command", "")),
              std::string("xdg-open") + '\0');
    EXPECT_TRUE(r.keyExists(RootKey::LocalMachine, "Software\\Classes\\.HTM"));

    // Office, Access, Excel and system information are absent.
    EXPECT_FALSE(r.keyExists(RootKey::LocalMachine, "SOFTWARE\\Classes\\Access.Application\\CurVer"));
    EXPECT_FALSE(r.keyExists(RootKey::LocalMachine, "SOFTWARE\\Classes\\Excel.Application\\CurVer"));
    EXPECT_FALSE(r.keyExists(RootKey::LocalMachine, "software\\Microsoft\\Office\\11.0\\Excel\\InstallRoot"));
    EXPECT_FALSE(r.keyExists(RootKey::LocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO"));
    EXPECT_FALSE(r.queryValue(RootKey::ClassesRoot, ".htm", "Content Type"));
    EXPECT_FALSE(r.queryValue(RootKey::CurrentUser, "SOFTWARE\\Classes\\.htm", ""));
    EXPECT_FALSE(r.queryValue(RootKey::LocalMachine, "SOFTWARE\\ClassesX\\.htm", ""));
}

}  // namespace
