#include "report/ReportHeader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/RuntimeError.h"
#include "tests/support/Corpus.h"

namespace fs = std::filesystem;
using namespace ql::report;

namespace {

class ReportFiles : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("ql_report_" + std::to_string(::getpid()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_ / "scratch");
        facts_ = {"2.1.3", "05 March 2025", "14:07", 2025, "/data/Shop.mdb", "/data/SYSTEM.MDW"};
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(const std::string& name) const { return (dir_ / name).string(); }
    std::string scratch() const { return (dir_ / "scratch").string(); }
    static std::string contents(const std::string& file) { return ql::test::readFile(file); }

    fs::path dir_;
    HeaderFacts facts_;
};

// The header lines as the report layout prescribes them, CR LF after each.
std::string expectedBody() {
    return "**************************  ACCESS DATABASE ANALYSIS PROGRAM **************\r\n"
           "\r\n"
           " VERSION : 2.1.3\r\n"
           "\r\n"
           " Database Analysis as at 05 March 2025 at 14:07\r\n"
           " Access Database: /data/Shop.mdb\r\n"
           " System Database: /data/SYSTEM.MDW\r\n"
           "\r\n"
           " Copyright (C) 2003-2025\r\n"
           " Orvex Software\r\n"
           "\r\n"
           " Support : support@orvex.example\r\n"
           " Web     : https://www.orvex.example/quarrylantern\r\n"
           "=======================================================================\r\n";
}

}  // namespace

TEST_F(ReportFiles, TextAndCsvHeadersEndWithAFormFeedLineAndAnEmptyRootLine) {
    for (short format : {ql::grids::kFormatText, ql::grids::kFormatCsv}) {
        const std::string file = path("report" + std::to_string(format));
        std::ofstream(file) << "old contents that must go\r\n";
        int mode = 2;
        WriteHeaderToFile(file, format, facts_, mode, scratch());
        EXPECT_EQ(mode, WriteModeOverwrite);
        EXPECT_EQ(contents(file), expectedBody() + "\f\r\n\r\n");
    }
}

TEST_F(ReportFiles, XmlHeaderIsACommentFollowedByAnOpenRoot) {
    const std::string file = path("r.xml");
    int mode = 1;
    WriteHeaderToFile(file, ql::grids::kFormatXml, facts_, mode, scratch());
    EXPECT_EQ(contents(file), "<?xml version=\"1.0\"?>\r\n<!--\r\n" + expectedBody() + "-->\r\n<Quarrylantern>\r\n");
}

TEST_F(ReportFiles, ReopeningDropsTheClosingLineAndEveryBlankLine) {
    const std::string file = path("r.xml");
    std::ofstream(file, std::ios::binary) << "<a>\r\n\r\n   \r\n\tx\r\n </Quarrylantern>\r\n</Quarrylantern>\r\n"
                                             "</quarrylantern>\r\n";
    RemoveXMLCloseTag(file, scratch());
    // Only the exact closing line goes; an indented or lower-case one is content.
    EXPECT_EQ(contents(file), "<a>\r\n\tx\r\n </Quarrylantern>\r\n</quarrylantern>\r\n");
    EXPECT_FALSE(fs::exists(dir_ / "scratch" / "temp.xml"));
}

TEST_F(ReportFiles, ClosingAnyNumberOfTimesLeavesOneClosingLineAndWellFormedXml) {
    const std::string file = path("r.xml");
    int mode = 1;
    WriteHeaderToFile(file, ql::grids::kFormatXml, facts_, mode, scratch());
    for (int i = 0; i < 3; ++i) CloseXmlReport(file, scratch());
    const std::string text = contents(file);
    EXPECT_TRUE(text.ends_with("-->\r\n<Quarrylantern>\r\n</Quarrylantern>\r\n")) << text;
    EXPECT_EQ(text.find("</Quarrylantern>"), text.rfind("</Quarrylantern>"));
    const std::string check = "python3 -c 'import sys,xml.dom.minidom as m; m.parse(sys.argv[1])' '" + file + "'";
    EXPECT_EQ(std::system(check.c_str()), 0) << "not well-formed XML";
}

TEST_F(ReportFiles, AnUnwritableReportRaisesARuntimeError) {
    int mode = 1;
    EXPECT_THROW(WriteHeaderToFile(path("no/such/folder/r.txt"), ql::grids::kFormatText, facts_, mode, scratch()),
                 ql::RuntimeError);
    EXPECT_THROW(RemoveXMLCloseTag(path("missing.xml"), scratch()), ql::RuntimeError);
}
