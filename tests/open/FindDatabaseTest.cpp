#include "open/FindDatabase.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "open/FileChecks.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

namespace fs = std::filesystem;

namespace ql::open {
namespace {

using grids::Control;
using test::HeadlessWindow;

const std::string kUnset = "<unset>";
const std::string kJetHeader = std::string("\0\1\0\0", 4) + "Standard Jet DB" + std::string(1, '\0');
const std::string kWorkgroup = "j4_stock.mdw";  // Admin without a password
const std::string kDatabase = "j4_address_ja.mdb";

class FindDatabase : public ::testing::Test {
protected:
    std::string copyOf(const std::string& name) { return test::writableCopy(name, w.folder.path()).string(); }
    std::string setting(const std::string& key) const { return w.settings.ReadSetting("Paths", key, kUnset); }
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const auto& m : w.ui.messages) out.push_back(m.text);
        return out;
    }
    // Answers both dialogs and runs the command.
    void find(const std::string& workgroup, const std::string& database) {
        w.ui.chooseFile(workgroup);
        w.ui.chooseFile(database);
        cmdFind_Click(w.ctx);
    }
    std::string workgroup() { return test::corpusFile(kWorkgroup).string(); }

    HeadlessWindow w;
};

TEST_F(FindDatabase, DialogsStartFromTheRememberedPathsOrTheProgramFolder) {
    find(workgroup(), "");
    ASSERT_EQ(w.ui.dialogs.size(), 2u);
    const auto& first = w.ui.dialogs[0].request;
    EXPECT_EQ(first.fileName, w.folder.path().string() + "/SYSTEM.MDW");
    EXPECT_TRUE(first.cancelError);
    const auto& second = w.ui.dialogs[1].request;
    EXPECT_EQ(second.fileName, w.folder.path().string() + "/Test.MDB");
    EXPECT_FALSE(second.cancelError);
    // An absolute path holds no separator-free beginning to start from.
    EXPECT_EQ(first.initialFolder, "");
    EXPECT_EQ(second.initialFolder, "");

    w.settings.WriteSetting("Paths", "SystemDB", "groups/work.mdw");
    w.settings.WriteSetting("Paths", "ActualDB", "data.mdb");
    w.ui.chooseFile("groups/work.mdw");  // not there: no second dialog
    cmdFind_Click(w.ctx);
    ASSERT_EQ(w.ui.dialogs.size(), 3u);
    EXPECT_EQ(w.ui.dialogs[2].request.fileName, "groups/work.mdw");
    EXPECT_EQ(w.ui.dialogs[2].request.initialFolder, "groups");
    find(workgroup(), "");
    ASSERT_EQ(w.ui.dialogs.size(), 5u);
    EXPECT_EQ(w.ui.dialogs[4].request.fileName, "data.mdb");
    EXPECT_EQ(w.ui.dialogs[4].request.initialFolder, "data.md");
}

TEST_F(FindDatabase, CancellingTheWorkgroupDialogGivesTheCancelMessagesAfterTheStepsAreReset) {
    w.settings.WriteSetting("Paths", "SystemDB", "/old/SYSTEM.MDW");
    w.controls.steps[4] = {grids::kChecked, false, grids::kColorRed};
    w.controls.currentTab = grids::kTabStatistics;
    w.ui.cancelFile();
    cmdFind_Click(w.ctx);
    EXPECT_EQ(texts(), (std::vector<std::string>{"Cancel Button Selected", "Cancel was selected."}));
    for (const auto& m : w.ui.messages) EXPECT_EQ(m.icon, ui::Icon::None);
    EXPECT_EQ(setting("SystemDB"), "/old/SYSTEM.MDW");
    EXPECT_EQ(w.ui.pointers, (std::vector<ui::MousePointer>{ui::MousePointer::Default}));
    EXPECT_EQ(w.controls.steps[4].value, grids::kUnchecked);
    EXPECT_EQ(w.controls.steps[4].color, grids::kColorBlack);
    EXPECT_EQ(w.controls.currentTab, grids::kTabDatabase);
}

TEST_F(FindDatabase, WorkgroupsThatAreNotThereOrNotWorkgroupsAreRefused) {
    const fs::path hidden = w.folder / ".hidden.mdw";
    fs::copy_file(test::corpusFile(kWorkgroup), hidden);
    fs::create_directory(w.folder / "folder.mdw");
    const std::string database = w.folder.write("db.mdw", kJetHeader + std::string(100, 'x')).string();
    const std::string missing = "\r\nNo System Database Chosen / does not exist";
    const std::vector<std::pair<std::string, std::string>> refused = {
        {"", missing},
        {(w.folder / "gone.mdw").string(), missing},
        {hidden.string(), missing},  // hidden files are not seen
        {(w.folder / "folder.mdw").string(), missing},
        {database, " is not an System Databasse"},
    };
    for (const auto& [path, text] : refused) {
        SCOPED_TRACE(path);
        HeadlessWindow fresh;
        fresh.ui.chooseFile(path);
        cmdFind_Click(fresh.ctx);
        ASSERT_EQ(fresh.ui.messages.size(), 1u);
        EXPECT_EQ(fresh.ui.messages[0].text, path + text);
        EXPECT_EQ(fresh.settings.ReadSetting("Paths", "SystemDB", kUnset), kUnset);
        EXPECT_EQ(fresh.controls.steps[0].value, grids::kUnchecked);
        EXPECT_EQ(fresh.ui.dialogs.size(), 1u);
    }
}

TEST_F(FindDatabase, AcceptedWorkgroupIsRememberedBeforeTheDatabaseIsAskedFor) {
    w.settings.WriteSetting("Paths", "ActualDB", "/kept.mdb");
    find(workgroup(), "");  // the database dialog gives no name
    EXPECT_EQ(setting("SystemDB"), workgroup());
    EXPECT_EQ(w.controls.steps[0].value, grids::kChecked);
    EXPECT_FALSE(w.controls.steps[0].bold);
    EXPECT_TRUE(w.controls.steps[1].bold);
    EXPECT_EQ(w.controls.steps[1].value, grids::kUnchecked);
    EXPECT_EQ(texts(), (std::vector<std::string>{"No Database selected"}));
    EXPECT_EQ(setting("ActualDB"), "/kept.mdb");
    EXPECT_EQ(w.controls.txtMDB(), "");
}

TEST_F(FindDatabase, MissingDatabaseIsRememberedAndFailsInTheOpening) {
    w.open(test::corpusFile(kDatabase));
    const std::string previous = w.state.CurrentDb->Name();
    const std::string missing = (w.folder / "missing.mdb").string();
    find(workgroup(), missing);
    ASSERT_EQ(w.ui.messages.size(), 2u);
    EXPECT_NE(w.ui.messages[1].text.find("3024"), std::string::npos) << w.ui.messages[1].text;
    EXPECT_EQ(setting("ActualDB"), missing);
    // The earlier database stays; the engine is the new one.
    ASSERT_TRUE(w.state.CurrentDb);
    EXPECT_EQ(w.state.CurrentDb->Name(), previous);
    EXPECT_EQ(w.state.DbEngine->SystemDB, workgroup());
    EXPECT_EQ(w.controls.steps[1].value, grids::kUnchecked);
    EXPECT_EQ(w.ui.pointers, (std::vector<ui::MousePointer>{ui::MousePointer::Hourglass, ui::MousePointer::Default}));
    EXPECT_EQ(w.ui.lastStatus(), "Opening Database....");
}

TEST(ReadOnlyAttribute, IsSetOnlyWhenNobodyMayWrite) {
    test::TempFolder folder;
    const fs::path file = folder.write("f.mdb", "x");
    const std::vector<std::pair<unsigned, bool>> modes = {
        {0444, true}, {0400, true}, {0, true}, {0644, false}, {0464, false}, {0446, false}, {0200, false}};
    for (const auto& [mode, readOnly] : modes) {
        SCOPED_TRACE(mode);
        fs::permissions(file, fs::perms(mode));
        EXPECT_EQ(hasReadOnlyAttribute(file.string()), readOnly);
    }
    EXPECT_THROW(hasReadOnlyAttribute((folder / "none").string()), RuntimeError);
}

TEST_F(FindDatabase, ReadOnlyFilesAndFilesWithoutTheSignatureAreRefused) {
    // Not a database either: the read-only test must speak first.
    const std::string locked = w.folder.write("locked.mdb", "plain text").string();
    fs::permissions(locked, fs::perms(0444));
    const std::string notJet = " is not an Access Database";
    const std::vector<std::pair<std::string, std::string>> refused = {
        {locked, " is READ ONLY\r\nCannot continue.\r\nPlease reset Read Only Flag"},
        {w.folder.write("notes.mdb", "Standard Jet  DB is not here").string(), notJet},
        {w.folder.write("wg.mdb", std::string(4, '\0') + "System DB").string(), notJet},
        {copyOf("ace_pcinventory.accdb"), notJet},
    };
    for (const auto& [path, text] : refused) {
        SCOPED_TRACE(path);
        HeadlessWindow fresh;
        fresh.ui.chooseFile(workgroup());
        fresh.ui.chooseFile(path);
        cmdFind_Click(fresh.ctx);
        ASSERT_EQ(fresh.ui.messages.size(), 1u);
        EXPECT_EQ(fresh.ui.messages[0].text, path + text);
        EXPECT_EQ(fresh.settings.ReadSetting("Paths", "ActualDB", kUnset), kUnset);
        EXPECT_FALSE(fresh.state.CurrentDb);
    }
}

TEST_F(FindDatabase, OpeningKeepsTheEngineAndDatabaseAndResetsTheOutputChoice) {
    const std::string database = copyOf(kDatabase);
    w.state.ErrorCount = 5;
    w.controls.out = "/old/report.txt";
    w.controls.format = grids::kFormatExcel;
    w.controls.enabledState[Control::cmdView] = true;
    find(workgroup(), database);

    EXPECT_TRUE(w.ui.messages.empty());
    ASSERT_TRUE(w.state.CurrentDb);
    EXPECT_EQ(w.state.CurrentDb->Name(), database);
    EXPECT_EQ(w.state.DbEngine->SystemDB, workgroup());
    EXPECT_EQ(w.state.SystemDbPath, workgroup());
    EXPECT_EQ(w.state.ActualDbPath, database);
    EXPECT_EQ(w.controls.txtMDB(), database);
    EXPECT_EQ(w.state.ErrorCount, 0);
    EXPECT_EQ(setting("SystemDB"), workgroup());
    EXPECT_EQ(setting("ActualDB"), database);

    for (int step : {0, 1}) {
        EXPECT_EQ(w.controls.steps[step].value, grids::kChecked);
        EXPECT_FALSE(w.controls.steps[step].bold);
    }
    EXPECT_TRUE(w.controls.steps[2].bold);
    EXPECT_EQ(w.controls.txtOut(), "");
    EXPECT_EQ(w.controls.format, grids::kFormatText);
    EXPECT_FALSE(w.controls.enabledState.at(Control::cmdView));
    for (Control control : {Control::fraOutput, Control::cmdOut, Control::mnuOutPut})
        EXPECT_TRUE(w.controls.enabledState.at(control));
    EXPECT_EQ(w.controls.currentTab, grids::kTabDatabase);
    EXPECT_EQ(w.ui.pointers, (std::vector<ui::MousePointer>{ui::MousePointer::Hourglass, ui::MousePointer::Default}));
}

}  // namespace
}  // namespace ql::open
