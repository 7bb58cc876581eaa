#include "platform/ui/Launcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ql::ui::Launcher;
using ql::ui::RuntimeError;
using ql::ui::splitCommandLine;
using ql::ui::WindowStyle;
using testing::ElementsAre;

namespace {

TEST(SplitCommandLine, QuotesGroupAndBackslashesEscapeOnlyBeforeQuotes) {
    EXPECT_THAT(splitCommandLine("Notepad.exe \"/home/u/my report.txt\""),
                ElementsAre("Notepad.exe", "/home/u/my report.txt"));
    EXPECT_THAT(splitCommandLine("  \"/opt/My Editor/ed\"   a  b\t c "),
                ElementsAre("/opt/My Editor/ed", "a", "b", "c"));
    EXPECT_THAT(splitCommandLine(R"(p a\\b "c\"d" e\\\\"f g" h""i "j""k")"),
                ElementsAre("p", R"(a\\b)", "c\"d", R"(e\\f g)", "hi", "j\"k"));
    // The program name takes no escapes.
    EXPECT_THAT(splitCommandLine(R"(C:\dir\prog.exe x)"), ElementsAre(R"(C:\dir\prog.exe)", "x"));
    EXPECT_THAT(splitCommandLine("prog \"\""), ElementsAre("prog", ""));
    EXPECT_TRUE(splitCommandLine("   ").empty());
}

struct Recorder {
    std::vector<std::string> installed;
    std::vector<std::pair<std::string, std::vector<std::string>>> spawned;
    bool spawnFails = false;

    Launcher launcher() {
        return Launcher(
            [this](const std::string& p) {
                for (const auto& i : installed)
                    if (i == p) return "/usr/bin/" + p;
                return std::string();
            },
            [this](const std::string& p, const std::vector<std::string>& a) {
                spawned.emplace_back(p, a);
                return !spawnFails;
            });
    }
};

TEST(Launcher, StartsAnInstalledProgramWithItsArguments) {
    Recorder r;
    r.installed = {"gedit", "xdg-open"};
    r.launcher().start("gedit \"/tmp/a b.txt\"", WindowStyle::MaximizedFocus);
    ASSERT_EQ(r.spawned.size(), 1u);
    EXPECT_EQ(r.spawned[0].first, "/usr/bin/gedit");
    EXPECT_THAT(r.spawned[0].second, ElementsAre("/tmp/a b.txt"));
}

TEST(Launcher, MissingProgramOpensTheDocumentWithTheDesktopOpener) {
    Recorder r;
    r.installed = {"xdg-open"};
    r.launcher().start("Notepad.exe \"/tmp/r.txt\"", WindowStyle::MaximizedFocus);
    // An Office folder with blanks that does not exist here.
    r.launcher().start("c:/program files/microsoft office/officex/Excel.exe \"/tmp/r.xls\"",
                       WindowStyle::MaximizedFocus);
    ASSERT_EQ(r.spawned.size(), 2u);
    EXPECT_EQ(r.spawned[0].first, "/usr/bin/xdg-open");
    EXPECT_THAT(r.spawned[0].second, ElementsAre("/tmp/r.txt"));
    EXPECT_THAT(r.spawned[1].second, ElementsAre("/tmp/r.xls"));
}

TEST(Launcher, NothingToStartIsFileNotFound) {
    Recorder r;
    r.installed = {"xdg-open"};
    auto expectNotFound = [&](const std::string& line) {
        try {
            r.launcher().start(line, WindowStyle::NormalFocus);
            ADD_FAILURE() << "no error for " << line;
        } catch (const RuntimeError& e) {
            EXPECT_EQ(e.number(), 53);
        }
    };
    expectNotFound("hh.exe");         // missing program and no document
    expectNotFound("");
    r.installed = {};                 // no opener either
    expectNotFound("Notepad.exe \"/tmp/r.txt\"");
    r.installed = {"gedit"};
    r.spawnFails = true;              // found but would not start
    expectNotFound("gedit /tmp/r.txt");
}

TEST(Launcher, RealStartFindsProgramsOnPathAndByPath) {
    Launcher real;
    EXPECT_NO_THROW(real.start("true", WindowStyle::Hide));
    EXPECT_NO_THROW(real.start("\"/bin/true\" ignored", WindowStyle::Hide));
    EXPECT_THROW(real.start("/nonexistent/program", WindowStyle::Hide), RuntimeError);
}

}  // namespace
