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

// The table of keys is the code's own; what matters is that a web page opens
// with the desktop's opener and that no Office program seems installed.
TEST(DesktopRegistry, AnswersOnlyTheDesktopOpeners) {
    DesktopRegistry r;
    EXPECT_EQ(text(r.queryValue(RootKey::ClassesRoot, ".HTM", "")), std::string("htmlfile") + '\0');
    EXPECT_EQ(text(r.queryValue(RootKey::ClassesRoot, "htmlfile\\shell\\open\\command", "")),
              std::string("xdg-open") + '\0');
    // The web site link reads the classes through the machine's key.
    EXPECT_EQ(text(r.queryValue(RootKey::LocalMachine, "SOFTWARE\\Classes\\http\\shell\\open\\command", "")),
              std::string("xdg-open") + '\0');
    EXPECT_FALSE(r.keyExists(RootKey::LocalMachine, "SOFTWARE\\Classes\\Excel.Application\\CurVer"));
    EXPECT_FALSE(r.queryValue(RootKey::CurrentUser, "SOFTWARE\\Classes\\.htm", ""));
}

}  // namespace
