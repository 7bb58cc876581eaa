#include "report/OutputDestination.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QXmlStreamReader>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "Version.h"
#include "platform/vb/VbText.h"
#include "platform/workbook/Excel.h"
#include "report/ReportHeader.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"
#include "tests/support/OutputChoice.h"

namespace fs = std::filesystem;
using namespace ql;
using grids::Control;
using test::HeadlessWindow;
using ui::Answer;

namespace {

// "<prefix>dd mmmm yyyy at h:mm:ss AM": the date of today (or of the day the
// test started, should midnight pass) and a time of day as the runtime writes it.
bool isStamp(const std::string& line, const std::string& prefix, const std::string& dayBefore) {
    static const std::regex time(" at ([1-9]|1[0-2]):[0-5][0-9]:[0-5][0-9] (AM|PM)");
    for (const std::string& day : {dayBefore, report::reportDate(vb::Now())}) {
        const std::string head = prefix + day;
        if (line.starts_with(head) && std::regex_match(line.substr(head.size()), time)) return true;
    }
    return false;
}

struct Output : testing::Test {
    HeadlessWindow w;
    const std::string today = report::reportDate(vb::Now());

    void SetUp() override { w.open(test::corpusFile("j3_afr.mdb")); }
    fs::path choose(int format, const std::string& name) { return test::chooseOutput(w, format, name); }
};

// The filters and extensions are the dialog's captions, checked from outside.
TEST(OutputChoice, InitialFolderFollowsTheStoredPath) {
    // The text before the first separator; a bare name loses its last character.
    EXPECT_EQ(report::outputInitialFolder("/home/u/r.txt"), "");
    EXPECT_EQ(report::outputInitialFolder("c:/reports/r.txt"), "c:");
    EXPECT_EQ(report::outputInitialFolder("Test.TXT"), "Test.TX");
    EXPECT_EQ(report::outputInitialFolder("a"), "");
    EXPECT_EQ(report::outputInitialFolder(""), "");
}

TEST(OutputChoice, TheWorkbookFormatReadsTheExcelVersionFromItsRegisteredClass) {
    HeadlessWindow w;
    registry::MemoryRegistry reg;
    report::optFormat_Click(w.ctx, 3, reg);
    EXPECT_EQ(w.program.ExcelVersion, 9) << "no class registered: Excel.Application.9";
    for (const auto& [curVer, version] : {std::pair{"Excel.Application.11", 11}, {"Excel.Application.8", 8}}) {
        reg.setString(registry::RootKey::LocalMachine, "SOFTWARE\\Classes\\Excel.Application\\CurVer", "", curVer);
        report::optFormat_Click(w.ctx, 3, reg);
        EXPECT_EQ(w.program.ExcelVersion, version);
        EXPECT_EQ(w.state.OutputFormat, 3);
    }
    w.program.ExcelVersion = 0;
    report::optFormat_Click(w.ctx, 1, reg);
    EXPECT_EQ(w.program.ExcelVersion, 0) << "only the workbook asks";
}

TEST_F(Output, CancellingTheDialogChangesNothingButTheEmptyBox) {
    report::optFormat_Click(w.ctx, 1);
    w.ui.cancelFile();
    report::cmdOut_Click(w.ctx);

    ASSERT_EQ(w.ui.dialogs.size(), 1u);
    const ui::FileDialog& d = w.ui.dialogs[0].request;
    EXPECT_TRUE(w.ui.dialogs[0].save);
    EXPECT_EQ(d.fileName, (w.folder.path() / "Test.TXT").string()) << "no Output key yet";
    EXPECT_FALSE(d.cancelError);

    ASSERT_EQ(w.ui.messages.size(), 1u);
    EXPECT_EQ(w.ui.messages[0].icon, ui::Icon::Information);
    EXPECT_EQ(w.settings.ReadSetting("Paths", "Output", "none"), "none");
    EXPECT_TRUE(w.state.OutputPath.empty());
    EXPECT_TRUE(w.controls.enabledState.empty());
}

TEST_F(Output, RefusingToOverwriteLeavesTheOldReportAndTheSettingsAlone) {
    const fs::path old = w.folder.write("old.txt", "keep me");
    const fs::path log = w.folder.write("Errors.Log", "old log");
    report::optFormat_Click(w.ctx, 0);
    w.ui.chooseFile(old.string());
    w.ui.answer(Answer::No);
    report::cmdOut_Click(w.ctx);

    ASSERT_EQ(w.ui.messages.size(), 1u);
    const ui::Message& q = w.ui.messages[0];
    EXPECT_EQ(q.buttons, ui::Buttons::YesNo);
    EXPECT_EQ(q.icon, ui::Icon::Question);
    EXPECT_EQ(q.defaultButton, ui::DefaultButton::Second);
    EXPECT_EQ(test::readFile(old), "keep me");
    EXPECT_EQ(test::readFile(log), "old log");
    EXPECT_EQ(w.settings.ReadSetting("Paths", "Output", "none"), "none");
}

TEST_F(Output, ChoosingAFileStoresItStartsAFreshLogAndUnlocksTheAnalysis) {
    w.folder.write("Errors.Log", "an old line that must go\r\n");
    w.settings.WriteSetting("Paths", "Output", "c:/reports/last.txt");
    const fs::path file = choose(0, "r.txt");

    EXPECT_TRUE(w.ui.messages.empty());
    EXPECT_EQ(w.ui.dialogs.at(0).request.initialFolder, "c:");
    EXPECT_EQ(w.ui.dialogs.at(0).request.fileName, "c:/reports/last.txt");
    EXPECT_EQ(w.settings.ReadSetting("Paths", "Output", ""), file.string());
    EXPECT_EQ(w.controls.out, file.string());
    EXPECT_EQ(w.state.OutputPath, file.string());

    const std::vector<std::string> log = test::crlfLines(w.folder / "Errors.Log");
    ASSERT_EQ(log.size(), 1u);
    const std::string head = "Error Log for Database " + test::corpusFile("j3_afr.mdb").string() + " as at ";
    EXPECT_TRUE(log[0].starts_with(head)) << log[0];
    EXPECT_TRUE(std::regex_match(log[0].substr(head.size()),
                                 std::regex(R"(\d{1,2}/\d{1,2}/\d{4} \d{1,2}:\d\d:\d\d [AP]M)")))
        << log[0];

    for (Control c : {Control::cmdOut, Control::mnuOutPut, Control::fraOutput})
        EXPECT_FALSE(w.controls.enabledState.at(c));
    EXPECT_TRUE(w.controls.enabledState.at(Control::cmdAnalyse));
    EXPECT_TRUE(w.controls.enabledState.at(Control::mnuAnalyse));
    EXPECT_EQ(w.controls.focus, Control::cmdAnalyse);
    EXPECT_EQ(w.controls.steps[3].value, grids::kChecked);
    EXPECT_TRUE(w.controls.steps[3].bold);
}

// The header's own lines are pinned where it is written; here the facts the
// window gives it, and one statistics body however often the report is viewed.
TEST_F(Output, ATextReportIsTheWindowsHeaderThenTheStatisticsOnce) {
    const fs::path file = choose(0, "r.txt");
    w.state.lvwGrid[grids::kTabViews].addColumn("Table Name");
    report::finishReport(w.ctx, true);
    report::finishReport(w.ctx, true);
    report::closeOutput(w.ctx);

    const std::vector<std::string> lines = test::crlfLines(file);
    ASSERT_GT(lines.size(), 20u);
    EXPECT_EQ(lines[2], " VERSION : " + std::to_string(QL_VERSION_MAJOR) + "." + std::to_string(QL_VERSION_MINOR) +
                            "." + std::to_string(QL_VERSION_PATCH));
    EXPECT_TRUE(isStamp(lines[4], " Database Analysis as at ", today)) << lines[4];
    EXPECT_EQ(lines[5], " Access Database: " + test::corpusFile("j3_afr.mdb").string());
    EXPECT_EQ(lines[6], " System Database: ");
    EXPECT_EQ(lines[8], " Copyright (C) 2003-" + today.substr(today.size() - 4));
    EXPECT_EQ(lines[14], "\f");
    EXPECT_TRUE(isStamp(lines[18], "'Database Statistics as at ", today)) << lines[18];
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return l.starts_with("'Database"); }),
              1);
    EXPECT_EQ(lines[22], "Table Name  ");
    EXPECT_EQ(lines.back(), "-----------------------------");
}

TEST_F(Output, AnXmlReportStaysWellFormedHoweverOftenItIsViewedAndClosed) {
    const fs::path file = choose(1, "r.xml");
    auto wellFormed = [&] {
        const std::string text = test::readFile(file);
        QXmlStreamReader reader(QByteArray::fromStdString(text));
        int roots = 0;
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QStringLiteral("Quarrylantern"))
                ++roots;
        }
        EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString() << "\n" << text;
        EXPECT_EQ(roots, 1);
        EXPECT_TRUE(text.ends_with("<Quarrylantern>\r\n</Quarrylantern>\r\n")) << text;
    };
    for (int i = 0; i < 3; ++i) {
        report::finishReport(w.ctx, i % 2 == 0);
        wellFormed();
    }
    for (int i = 0; i < 2; ++i) {
        report::closeOutput(w.ctx);
        wellFormed();
    }
    EXPECT_FALSE(fs::exists(w.folder / "temp.xml"));
}

// The cells of the sheet are read back where the workbook header is tested.
TEST_F(Output, AWorkbookReportIsSavedClosedAndLetGoAtClose) {
    const fs::path file = choose(3, "r.xls");
    EXPECT_TRUE(w.ui.messages.empty()) << w.ui.messages.at(0).text;
    EXPECT_TRUE(w.state.ExcelApplication);
    EXPECT_FALSE(w.state.ExcelWorkbook);
    EXPECT_EQ(w.state.ExcelApplication->Workbooks().Count(), 0) << "saved and closed";
    EXPECT_TRUE(test::readFile(file).starts_with("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"));

    report::finishReport(w.ctx, true);
    report::closeOutput(w.ctx);
    EXPECT_FALSE(w.state.ExcelApplication);
}

TEST(OutputChoice, ClosingBeforeAnyReportWasStartedTouchesNoFile) {
    HeadlessWindow w;
    report::optFormat_Click(w.ctx, 1);
    EXPECT_NO_THROW(report::closeOutput(w.ctx));
    EXPECT_FALSE(fs::exists(w.folder / "temp.xml"));
}

TEST_F(Output, AFailingHeaderIsReportedAndLeavesTheAnalysisLocked) {
    choose(0, "no-such-folder/r.txt");
    ASSERT_EQ(w.ui.messages.size(), 1u);
    EXPECT_FALSE(w.ui.messages[0].text.empty());
    EXPECT_EQ(w.controls.enabledState.count(Control::cmdAnalyse), 0u);
}

}  // namespace
