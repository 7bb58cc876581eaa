#include "report/ReportHeader.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/RuntimeError.h"
#include "tests/support/TempFolder.h"

namespace fs = std::filesystem;
using namespace ql::report;
using ql::test::TempFolder;

namespace {

struct ReportFiles : ::testing::Test {
    TempFolder dir;
    const std::string scratch = dir.path().string();
    HeaderFacts facts{"2.1.3", "05 March 2025", "14:07", 2025, "/data/Shop.mdb", "/data/SYSTEM.MDW"};
};

// The header lines as the report layout prescribes them, CR LF after each.
const std::string kBody =
    "**************************  ACCESS DATABASE ANALYSIS PROGRAM **************\r\n"
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

TEST_F(ReportFiles, TextAndCsvHeadersEndWithAFormFeedLineAndXmlOpensItsRoot) {
    for (short format : {ql::grids::kFormatText, ql::grids::kFormatCsv}) {
        const fs::path file = dir.write("report" + std::to_string(format), "old contents that must go\r\n");
        int mode = 2;
        WriteHeaderToFile(file.string(), format, facts, mode, scratch);
        EXPECT_EQ(mode, WriteModeOverwrite);
        EXPECT_EQ(TempFolder::read(file), kBody + "\f\r\n\r\n");
    }
    int mode = 1;
    WriteHeaderToFile((dir / "r.xml").string(), ql::grids::kFormatXml, facts, mode, scratch);
    EXPECT_EQ(TempFolder::read(dir / "r.xml"),
              "<?xml version=\"1.0\"?>\r\n<!--\r\n" + kBody + "-->\r\n<Quarrylantern>\r\n");
}

TEST_F(ReportFiles, ReopeningDropsTheClosingLineAndEveryBlankLine) {
    const fs::path file = dir.write("r.xml", "<a>\r\n\r\n   \r\n\tx\r\n </Quarrylantern>\r\n</Quarrylantern>\r\n"
                                             "</quarrylantern>\r\n");
    RemoveXMLCloseTag(file.string(), scratch);
    // Only the exact closing line goes; an indented or lower-case one is content.
    EXPECT_EQ(TempFolder::read(file), "<a>\r\n\tx\r\n </Quarrylantern>\r\n</quarrylantern>\r\n");
    EXPECT_FALSE(fs::exists(dir / "temp.xml"));
}

TEST_F(ReportFiles, AnUnwritableReportRaisesARuntimeError) {
    int mode = 1;
    EXPECT_THROW(WriteHeaderToFile((dir / "no/such/folder/r.txt").string(), ql::grids::kFormatText, facts, mode, scratch),
                 ql::RuntimeError);
    EXPECT_THROW(RemoveXMLCloseTag((dir / "missing.xml").string(), scratch), ql::RuntimeError);
}

}  // namespace
