// The output choice through the real window with real databases: a choice
// that fails stays open, the database is never a report, a second database
// starts its own choice, and the report after a failed command or rewrite.
#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <filesystem>

#include "tests/app/WindowFixture.h"
#include "tests/support/Corpus.h"

namespace fs = std::filesystem;

namespace ql::test {
namespace {

class OutputWindowTest : public WindowTest {
protected:
    TestWindow& openDatabase() {
        auto& w = loadRunning();
        chooseDatabase("j3_nwind_krystek.mdb", "j3_mssecure.mdw");
        EXPECT_TRUE(w.state().CurrentDb.has_value()) << (ui.messages.empty() ? "" : ui.messages.back().text);
        return w;
    }
    // "Output To..." with `path` typed in its dialog.
    void chooseOutput(const fs::path& path) {
        ui.chooseFile(path.string());
        window_->cmdOut()->click();
    }
    void chooseFormat(int index) {
        window_->runFormats = true;
        window_->optFormat(index)->setChecked(true);
        window_->optFormat_Click(index);
        window_->runFormats = false;
    }
    // A failed choice: said with its path, nothing kept, to be made again.
    void expectChoiceOpen(const fs::path& failed) {
        auto& w = *window_;
        ASSERT_FALSE(ui.messages.empty());
        EXPECT_NE(ui.messages.back().text.find(failed.string()), std::string::npos) << ui.messages.back().text;
        EXPECT_TRUE(w.cmdOut()->isEnabled());
        EXPECT_TRUE(w.action("mnuOutPut")->isEnabled());
        EXPECT_TRUE(w.fraOutput()->isEnabled());
        EXPECT_FALSE(w.cmdAnalyse()->isEnabled());
        EXPECT_TRUE(w.state().OutputPath.empty());
        EXPECT_TRUE(w.txtOut()->text().isEmpty());
        EXPECT_NE(settings.ReadSetting("Paths", "Output", ""), failed.string());
    }
    static std::string lastLine(const fs::path& file) {
        std::string all = readFile(file);
        while (!all.empty() && (all.back() == '\n' || all.back() == '\r')) all.pop_back();
        return all.substr(all.rfind('\n') + 1);
    }
};

TEST_F(OutputWindowTest, TheOpenDatabaseAndItsWorkgroupAreNeverTheReport) {
    auto& w = openDatabase();
    const fs::path database = data / "j3_nwind_krystek.mdb", workgroup = data / "j3_mssecure.mdw";
    const std::string databaseBytes = readFile(database), workgroupBytes = readFile(workgroup);
    fs::create_symlink(database, data / "link.txt");
    fs::create_hard_link(database, data / "hard.txt");
    for (const fs::path& target : {database, workgroup, data / "link.txt", data / "hard.txt"}) {
        ui.messages.clear();
        ui.answer(ui::Answer::Yes);  // "Output File Exists. Overwrite?"
        chooseOutput(target);
        ASSERT_EQ(ui.messages.size(), 2u) << target;
        EXPECT_NE(ui.messages[1].text.find("Permission denied"), std::string::npos) << ui.messages[1].text;
        expectChoiceOpen(target);
    }
    EXPECT_EQ(readFile(database), databaseBytes);
    EXPECT_EQ(readFile(workgroup), workgroupBytes);
    EXPECT_FALSE(fs::exists(data / "Errors.Log"));
    EXPECT_TRUE(w.isVisible());
}

TEST_F(OutputWindowTest, AReportThatCannotBeWrittenLeavesTheChoiceOpenAndUnremembered) {
    auto& w = openDatabase();
    const fs::path unwritable = "/proc/quarrylantern/report.txt";
    chooseOutput(unwritable);
    expectChoiceOpen(unwritable);
    // The next choice does not start from the failed path, and succeeds.
    chooseOutput(data / "report.txt");
    EXPECT_NE(ui.dialogs.back().request.fileName, unwritable.string());
    EXPECT_TRUE(w.cmdAnalyse()->isEnabled());
    EXPECT_FALSE(w.cmdOut()->isEnabled());
    EXPECT_EQ(settings.ReadSetting("Paths", "Output", ""), (data / "report.txt").string());
}

TEST_F(OutputWindowTest, ASecondDatabaseStartsWithoutTheFirstOnesOutputChoice) {
    auto& w = openDatabase();
    w.chkIncludeStats()->setChecked(true);
    chooseOutput(data / "first.txt");
    analyse();
    w.cmdView()->click();

    chooseDatabase("j3_afr.mdb", "j3_mssecure.mdw");
    EXPECT_TRUE(w.state().OutputPath.empty());
    chooseOutput(data / "second.txt");
    analyse();
    const auto analysed = fs::file_size(data / "second.txt");
    w.cmdView()->click();
    EXPECT_GT(fs::file_size(data / "second.txt"), analysed) << "no statistics in the second report";

    // XML chosen for a third database and the window closed before any
    // output file: neither earlier report is touched.
    const std::string first = readFile(data / "first.txt"), second = readFile(data / "second.txt");
    ui.chooseFile(writableCopy("j3_mssecure.mdw", data.path(), "third.mdw").string());
    ui.chooseFile(writableCopy("j3_nwind_krystek.mdb", data.path(), "third.mdb").string());
    w.cmdFind()->click();
    ASSERT_EQ(w.state().ActualDbPath, (data / "third.mdb").string());
    chooseFormat(1);
    w.cmdClose()->click();
    EXPECT_EQ(readFile(data / "first.txt"), first);
    EXPECT_EQ(readFile(data / "second.txt"), second);
}

TEST_F(OutputWindowTest, AFailedXmlRewriteIsToldAndTheWindowStays) {
    auto& w = openDatabase();
    chooseFormat(1);
    chooseOutput(data / "report.xml");
    analyse();
    // The rewrite's scratch file cannot be replaced.
    fs::create_directories(program / "temp.xml" / "in the way");
    ui.messages.clear();
    w.cmdView()->click();
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages[0].icon, ui::Icon::None);  // the command's own message, not the runtime's
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(programEnds, 0);
}

TEST_F(OutputWindowTest, AnXmlReportEndedByAnUnhandledErrorStaysWellFormed) {
    auto& w = openDatabase();
    chooseFormat(1);
    chooseOutput(data / "report.xml");
    ASSERT_TRUE(w.cmdAnalyse()->isEnabled());
    w.state().CurrentDb.reset();  // the run fails on its first read
    ui.messages.clear();
    w.cmdAnalyse()->click();
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages.back().text.rfind("Run-time error '91':", 0), 0u);
    EXPECT_FALSE(w.isVisible());
    EXPECT_EQ(lastLine(data / "report.xml"), "</Quarrylantern>");
}

}  // namespace
}  // namespace ql::test
