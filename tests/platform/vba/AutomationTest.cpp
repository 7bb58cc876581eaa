#include "platform/vba/AccessStorageTree.h"
#include "platform/vba/Automation.h"
#include "tests/platform/vba/TestImages.h"
#include "tests/support/RuntimeErrors.h"

#include <gtest/gtest.h>

namespace ql::vba {
namespace {

using namespace automation_errors;

// A project with a readable module, a damaged one, and names as the opener saw them.
VbaProject sampleProject(const std::filesystem::path& path) {
    if (path == "missing.mdb") throw std::runtime_error("file not found");
    const auto good = test::moduleStream("Attribute VB_Name = \"Good\"\r\nOption Explicit\r\n\r\nSub S()\r\nEnd Sub\r\n");
    const auto bad = test::moduleStream("Attribute VB_Name = \"Bad\"\r\nx\r\n");
    std::vector<AccessStorageRow> rows{{1, 1, "MSysAccessStorage_ROOT", 1, std::nullopt},
                                       {3, 1, "VBA", 1, std::nullopt},
                                       {4, 3, "VBAProject", 1, std::nullopt},
                                       {5, 4, "VBA", 1, std::nullopt},
                                       {6, 4, "PROJECT", 2, std::string("Module=Good\r\nModule=Bad\r\n")},
                                       {8, 5, "GOOD", 2, good.bytes},
                                       {9, 5, "BAD", 2, bad.bytes.substr(0, bad.bytes.size() - 3)}};
    if (path != "compiled.mde")
        rows.push_back({7, 5, "dir", 2,
                        test::compressLiterals(test::dirStream(
                            1252, {{"Good", "GOOD", good.sourceOffset}, {"Bad", "BAD", bad.sourceOffset}}))});
    return projectFromStorage(AccessStorageTree(rows), ProjectLayout::AccessStorage, 1252);
}

using ql::test::errorNumberOf;

TEST(Automation, CreateObjectKnowsOnlyTheApplicationClass) {
    EXPECT_NE(CreateObject("Access.Application", sampleProject), nullptr);
    EXPECT_NE(CreateObject("access.application.11", sampleProject), nullptr);
    EXPECT_EQ(errorNumberOf([] { CreateObject("Excel.Application", sampleProject); }), CannotCreateObject);
    EXPECT_EQ(errorNumberOf([] { CreateObject("Access.Application.", sampleProject); }), CannotCreateObject);
    EXPECT_EQ(errorNumberOf([] { CreateObject("Access.ApplicationX", sampleProject); }), CannotCreateObject);
}

// The calls the modules grid makes, in its order.
TEST(Automation, ServesLineCountsAndLinesOfAnOpenDatabase) {
    auto app = CreateObject("Access.Application", sampleProject);
    app->DoCmd().SetWarnings(false);
    app->Echo(false);
    app->OpenCurrentDatabase("app.mdb");
    EXPECT_EQ(app->currentDatabasePath(), std::filesystem::path("app.mdb"));
    app->DoCmd().OpenModule("Good");
    const auto module = app->Modules("Good");
    EXPECT_EQ(module->CountOfLines(), 4);
    EXPECT_EQ(module->Lines(3, 1), "Sub S()");
    EXPECT_EQ(module->Lines(1, 2), "Option Explicit\r\n");
    EXPECT_EQ(errorNumberOf([&] { module->Lines(0, 1); }), InvalidCall);
    app->DoCmd().Close(5, "Good", 2);
    app->CloseCurrentDatabase();
    EXPECT_EQ(module->CountOfLines(), 4);  // a module object outlives the closed database
    app->Quit(2);
    EXPECT_TRUE(app->hasQuit());
}

// A module the database lists is handed out even when its source cannot be
// read; the failure comes with the first read, so the modules grid meets it
// once per module.
TEST(Automation, UnreadableModulesFailWhenReadNamingTheModule) {
    auto app = CreateObject("Access.Application", sampleProject);
    EXPECT_EQ(errorNumberOf([&] { app->Modules("Good"); }), ModuleNotFound);  // nothing open yet
    app->OpenCurrentDatabase("app.mdb");
    const auto nothing = app->Modules("Nothing");
    EXPECT_EQ(errorNumberOf([&] { nothing->CountOfLines(); }), ModuleNotFound);
    const auto bad = app->Modules("Bad");
    EXPECT_EQ(errorNumberOf([&] { bad->Lines(1, 1); }), ModuleSourceDamaged);
    try {
        bad->CountOfLines();
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number(), ModuleSourceDamaged);
        EXPECT_NE(error.description().find("'Bad'"), std::string::npos) << error.description();
    }
    EXPECT_EQ(app->Modules("Good")->CountOfLines(), 4);  // the damaged module costs only itself
    EXPECT_EQ(errorNumberOf([&] { app->OpenCurrentDatabase("other.mdb"); }), DatabaseAlreadyOpen);

    app->CloseCurrentDatabase();
    app->OpenCurrentDatabase("compiled.mde");
    const auto compiled = app->Modules("Good");
    EXPECT_EQ(compiled->Name(), "Good");
    EXPECT_EQ(errorNumberOf([&] { compiled->CountOfLines(); }), ModuleCompiledOnly);
}

TEST(Automation, OpenFailuresAndCallsAfterQuit) {
    auto app = CreateObject("Access.Application", sampleProject);
    try {
        app->OpenCurrentDatabase("missing.mdb");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number(), CannotOpenDatabase);
        EXPECT_NE(error.description().find("file not found"), std::string::npos);
    }
    EXPECT_FALSE(app->currentDatabasePath());
    app->Quit();
    EXPECT_EQ(errorNumberOf([&] { app->OpenCurrentDatabase("app.mdb"); }), ObjectGone);
    EXPECT_EQ(errorNumberOf([&] { app->DoCmd(); }), ObjectGone);
    EXPECT_EQ(errorNumberOf([&] { app->Quit(); }), ObjectGone);
}

}  // namespace
}  // namespace ql::vba
