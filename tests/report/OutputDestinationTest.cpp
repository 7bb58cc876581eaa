#include "report/OutputDestination.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QXmlStreamReader>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <regex>

#include "Version.h"
#include "platform/dao/VbText.h"
#include "platform/workbook/Excel.h"
#include "report/ReportHeader.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

namespace fs = std::filesystem;
using namespace ql;
using grids::Control;
using test::HeadlessWindow;
using ui::Answer;

namespace {

std::vector<std::string> linesOf(const fs::path& file) {
    const std::string text = test::readFile(file);
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find("\r\n", start);
        EXPECT_NE(end, std::string::npos) << "a line without CR LF at the end of " << file;
        if (end == std::string::npos) break;
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

// "<prefix>dd mmmm yyyy at h:mm:ss AM": the date of today (or of the day the
// test started, should midnight pass) and a time of day as the runtime writes it.
bool isStamp(const std::string& line, const std::string& prefix, const std::string& dayBefore) {
    static const std::regex time(" at ([1-9]|1[0-2]):[0-5][0-9]:[0-5][0-9] (AM|PM)");
    for (const std::string& day : {dayBefore, report::reportDate(dao::vb::Now())}) {
        const std::string head = prefix + day;
        if (line.starts_with(head) && std::regex_match(line.substr(head.size()), time)) return true;
    }
    return false;
}

struct Output : testing::Test {
    HeadlessWindow w;
    const std::string today = report::reportDate(dao::vb::Now());

    void SetUp() override { w.open(test::corpusFile("j3_afr.mdb")); }

    // Picks format `format` and file `name` through the commands, as the user does.
    fs::path choose(int format, const std::string& name) {
        report::optFormat_Click(w.ctx, format);
        const fs::path file = w.folder / name;
        w.ui.chooseFile(file.string());
        report::cmdOut_Click(w.ctx);
        return file;
    }

    // The header lines every text and CSV report starts with, from the layout rules.
    std::vector<std::string> headerLines() const {
        return {"**************************  ACCESS DATABASE ANALYSIS PROGRAM **************",
                "",
                " VERSION : " + std::to_string(QL_VERSION_MAJOR) + "." + std::to_string(QL_VERSION_MINOR) + "." +
                    std::to_string(QL_VERSION_PATCH),
                "",
                "<stamp>",
                " Access Database: " + test::corpusFile("j3_afr.mdb").string(),
                " System Database: ",
                "",
                " " + report::attributionYears(std::stoi(today.substr(today.size() - 4))),
                std::string(" ") + report::MakerName,
                "",
                std::string(" ") + report::SupportContact.label + " " + report::SupportContact.address,
                std::string(" ") + report::WebContact.label + " " + report::WebContact.address,
                std::string(71, '=')};
    }

    // Compares line by line; a "<stamp>" line takes any time of today.
    void expectLines(const fs::path& file, const std::vector<std::string>& expected) {
        const std::vector<std::string> actual = linesOf(file);
        ASSERT_EQ(actual.size(), expected.size()) << test::readFile(file);
        for (size_t i = 0; i < expected.size(); ++i) {
            if (expected[i] == "<stamp>")
                EXPECT_TRUE(isStamp(actual[i], " Database Analysis as at ", today)) << actual[i];
            else if (expected[i] == "<stats stamp>")
                EXPECT_TRUE(isStamp(actual[i], "'Database Statistics as at ", today)) << actual[i];
            else
                EXPECT_EQ(actual[i], expected[i]) << "line " << i + 1;
        }
    }

    // A small result set as an analysis leaves it.
    void fillGrids() {
        grids::Grid& tables = w.state.lvwGrid[grids::kTabViews];
        tables.addColumn("Table Name", 2000);
        tables.addColumn("Records", 900, grids::Alignment::Right);
        tables.addColumn("Note");
        tables.row(tables.addRow("Tables in Database : ")).setSubItem(1, "2");
        tables.row(tables.addRow("Pedidos")).setSubItem(1, "1234567890123");
        tables.row(2).setSubItem(2, "big");
        tables.row(tables.addRow("Clientes")).setSubItem(1, "n/a");
        w.state.lvwGrid[8].addColumn("Query");
        w.state.lstData[grids::kTabForms].AddItem("frmResize");
    }
};

TEST(OutputChoice, DialogFilterExtensionAndInitialFolderFollowTheFormatAndTheStoredPath) {
    EXPECT_EQ(report::outputFilter(0), "Text Files (*.TXT)|*.TXT");
    EXPECT_EQ(report::outputFilter(1), "XML Files (*.XML)|*.XML");
    EXPECT_EQ(report::outputFilter(2), "Char Separated Value Files (*.CSV)|*.CSV");
    EXPECT_EQ(report::outputFilter(3), "Excel Files (*.XLS)|*.XLS");
    EXPECT_EQ(report::outputDefaultExtension(2), ".CSV");
    EXPECT_EQ(report::outputFilter(4), "");

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
    EXPECT_EQ(d.title, "Select Output File Name");
    EXPECT_EQ(d.filter, "XML Files (*.XML)|*.XML");
    EXPECT_EQ(d.defaultExtension, ".XML");
    EXPECT_EQ(d.fileName, (w.folder.path() / "Test.TXT").string()) << "no Output key yet";
    EXPECT_FALSE(d.cancelError);

    ASSERT_EQ(w.ui.messages.size(), 1u);
    EXPECT_EQ(w.ui.messages[0].text, "No Output File Selected");
    EXPECT_EQ(w.ui.messages[0].title, "NO DESTINATION");
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
    EXPECT_EQ(q.text, "Output File Exists. Overwrite?");
    EXPECT_EQ(q.title, "FILE EXISTS");
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
    report::optFormat_Click(w.ctx, 0);
    const fs::path file = w.folder / "r.txt";
    w.ui.chooseFile(file.string());
    report::cmdOut_Click(w.ctx);

    EXPECT_TRUE(w.ui.messages.empty());
    EXPECT_EQ(w.ui.dialogs.at(0).request.initialFolder, "c:");
    EXPECT_EQ(w.ui.dialogs.at(0).request.fileName, "c:/reports/last.txt");
    EXPECT_EQ(w.settings.ReadSetting("Paths", "Output", ""), file.string());
    EXPECT_EQ(w.controls.out, file.string());
    EXPECT_EQ(w.state.OutputPath, file.string());

    const std::vector<std::string> log = linesOf(w.folder / "Errors.Log");
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

TEST_F(Output, ATextReportIsTheHeaderThenTheStatisticsOnce) {
    const fs::path file = choose(0, "r.txt");
    fillGrids();
    report::finishReport(w.ctx, true);
    report::finishReport(w.ctx, true);  // viewed again: no second body
    report::closeOutput(w.ctx);

    std::vector<std::string> expected = headerLines();
    expected.insert(expected.end(), {"\f", "", "", "'" + std::string(71, '='), "<stats stamp>",
                                     "'" + std::string(71, '='), "", ""});
    // Grid 1: "Tables in Database : " (21) makes column 1 21 + 1 wide; the
    // 13-digit count widens "Records" to 13 + 1, + 1, and stays whole; "Note"
    // keeps 4 + 1, + 1. Every column but the last is followed by a move to the
    // next one, so rows without a note end in blanks.
    const auto sp = [](size_t n) { return std::string(n, ' '); };
    expected.insert(expected.end(), {"Table Name" + sp(12) + "Records" + sp(8) + "Note" + sp(2),
                                     std::string(22 + 15 + 6, '-'),
                                     "Tables in Database : " + sp(1) + sp(13) + "2" + sp(1),
                                     "Pedidos" + sp(15) + " 1234567890123" + sp(1) + "big",
                                     "Clientes" + sp(14) + "n/a" + sp(12),
                                     ""});
    for (int grid = 2; grid < 8; ++grid) expected.emplace_back();
    expected.insert(expected.end(), {"Query  ", "-------", ""});
    for (int grid = 9; grid < 12; ++grid) expected.emplace_back();
    expected.insert(expected.end(), {"Forms in Database", "-----------------", "frmResize", "",
                                     "Reports in Database", "-------------------", "",
                                     "Data Access Pages in Database", "-----------------------------"});
    expectLines(file, expected);
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

// Runs a command and gives its standard output; the exit status in `status`.
std::string run(const std::string& command, int& status) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string out;
    char buffer[4096];
    while (size_t got = std::fread(buffer, 1, sizeof buffer, pipe.get())) out.append(buffer, got);
    status = ::pclose(pipe.release());
    return out;
}

TEST_F(Output, AWorkbookReportOpensInIndependentReadersAndIsLetGoAtClose) {
    const fs::path file = choose(3, "r.xls");
    EXPECT_TRUE(w.ui.messages.empty()) << w.ui.messages.at(0).text;
    EXPECT_TRUE(w.state.ExcelApplication);
    EXPECT_FALSE(w.state.ExcelWorkbook);
    EXPECT_EQ(w.state.ExcelApplication->Workbooks().Count(), 0) << "saved and closed";

    int status = 0;
    const std::string names = run(
        "/usr/bin/python3 -c \"import sys,xlrd; b=xlrd.open_workbook(sys.argv[1]); s=b.sheet_by_name('Header');"
        "print('|'.join(b.sheet_names())); print(s.cell_value(0,0)); print(s.cell_value(3,1))\" '" +
            file.string() + "'",
        status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(names, "Header|Tables|Views|Indexes|Relations|Forms|Reports|Macros|Modules|Pages\n"
                     "**************************  ACCESS DATABASE ANALYSIS PROGRAM **************\n" +
                         test::corpusFile("j3_afr.mdb").string() + "\n");

    report::finishReport(w.ctx, true);
    report::closeOutput(w.ctx);
    EXPECT_FALSE(w.state.ExcelApplication);

    if (!fs::exists("/usr/bin/libreoffice")) {
        std::fprintf(stderr, "libreoffice is not installed: the conversion check is skipped\n");
        return;
    }
    const fs::path profile = w.folder / "lo-profile";
    run("cd '" + w.folder.path().string() + "' && timeout 120 /usr/bin/libreoffice -env:UserInstallation=file://" +
            profile.string() + " --headless --convert-to csv --outdir '" + w.folder.path().string() + "' '" +
            file.string() + "' 2>&1",
        status);
    EXPECT_EQ(status, 0);
    const std::string csv = test::readFile(w.folder / "r.csv");
    EXPECT_TRUE(csv.starts_with("**************************  ACCESS DATABASE ANALYSIS PROGRAM **************"))
        << csv;
}

TEST(OutputChoice, ClosingBeforeAnyReportWasStartedTouchesNoFile) {
    HeadlessWindow w;
    report::optFormat_Click(w.ctx, 1);
    EXPECT_NO_THROW(report::closeOutput(w.ctx));
    EXPECT_FALSE(fs::exists(w.folder / "temp.xml"));
}

TEST_F(Output, AFailingHeaderIsReportedAndLeavesTheAnalysisLocked) {
    report::optFormat_Click(w.ctx, 0);
    w.ui.chooseFile((w.folder / "no-such-folder" / "r.txt").string());
    report::cmdOut_Click(w.ctx);
    ASSERT_EQ(w.ui.messages.size(), 1u);
    EXPECT_EQ(w.ui.messages[0].title, "Quarrylantern");
    EXPECT_FALSE(w.ui.messages[0].text.empty());
    EXPECT_EQ(w.controls.enabledState.count(Control::cmdAnalyse), 0u);
}

}  // namespace
