// The stream builder's refusals: a model the automation layer would never
// produce must still not become a broken file.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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
    const std::vector<std::pair<const char*, std::function<void(WorkbookModel&)>>> damages = {
        {"no sheets", [](WorkbookModel& m) { m.sheets.clear(); }},
        {"active sheet missing", [](WorkbookModel& m) { m.activeSheet = 1; }},
        {"duplicate name", [](WorkbookModel& m) { m.sheets.push_back({u"HEADER", {}}); }},
        {"bad name", [](WorkbookModel& m) { m.sheets[0].name = u"a/b"; }},
        {"row past the sheet", [](WorkbookModel& m) { m.sheets[0].cells[{65536, 0}] = 1.0; }},
        {"column past the sheet", [](WorkbookModel& m) { m.sheets[0].cells[{0, 256}] = 1.0; }},
        {"text too long", [](WorkbookModel& m) { m.sheets[0].cells[{0, 0}] = std::u16string(32768, u'x'); }},
        {"not a number", [](WorkbookModel& m) { m.sheets[0].cells[{0, 0}] = std::nan(""); }},
    };
    for (const auto& [why, damage] : damages) {
        WorkbookModel model = oneSheet();
        damage(model);
        EXPECT_THROW(buildWorkbookStream(model), std::invalid_argument) << why;
    }
    // Padded: a smaller stream would land in the compound file's mini
    // stream, where readers do not expect a workbook.
    EXPECT_EQ(buildWorkbookStream(oneSheet()).size(), MinWorkbookStreamSize);
}

}  // namespace
