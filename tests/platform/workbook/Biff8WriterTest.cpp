// The stream builder's refusals: a model the automation layer would never
// produce must still not become a broken file.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "platform/workbook/Biff8Writer.h"

using namespace ql::workbook;

namespace {

WorkbookModel oneSheet() {
    WorkbookModel model;
    model.sheets.push_back({u"Header", {}});
    return model;
}

TEST(Biff8Writer, RefusesModelsTheFormatCannotHold) {
    std::vector<std::pair<std::string, WorkbookModel>> bad;
    bad.push_back({"no sheets", WorkbookModel{}});
    {
        auto m = oneSheet();
        m.activeSheet = 1;
        bad.push_back({"active sheet missing", m});
    }
    {
        auto m = oneSheet();
        m.sheets.push_back({u"HEADER", {}});
        bad.push_back({"duplicate name", m});
    }
    {
        auto m = oneSheet();
        m.sheets[0].name = u"a/b";
        bad.push_back({"bad name", m});
    }
    {
        auto m = oneSheet();
        m.sheets[0].cells[{65536, 0}] = 1.0;
        bad.push_back({"row past the sheet", m});
    }
    {
        auto m = oneSheet();
        m.sheets[0].cells[{0, 256}] = 1.0;
        bad.push_back({"column past the sheet", m});
    }
    {
        auto m = oneSheet();
        m.sheets[0].cells[{0, 0}] = std::u16string(32768, u'x');
        bad.push_back({"text too long", m});
    }
    {
        auto m = oneSheet();
        m.sheets[0].cells[{0, 0}] = std::nan("");
        bad.push_back({"not a number", m});
    }
    for (const auto& [why, model] : bad)
        EXPECT_THROW(buildWorkbookStream(model), std::invalid_argument) << why;
}

TEST(Biff8Writer, StreamOpensWithGlobalsAndIsPaddedToTheMinimum) {
    const std::string stream = buildWorkbookStream(oneSheet());
    ASSERT_EQ(stream.size(), MinWorkbookStreamSize);
    // BOF record, BIFF8, workbook globals.
    EXPECT_EQ(stream.substr(0, 8), std::string("\x09\x08\x10\x00\x00\x06\x05\x00", 8));
}

}  // namespace
