// The macros and modules grids over real files of the corpus: what
// compiled-only and damaged modules cost, rescans and empty lists. (The
// analysis test counts every corpus module.)
#include "grids/ErrorLog.h"
#include "grids/Fillers.h"
#include "platform/vba/Automation.h"
#include "platform/vba/ModuleExport.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>

namespace ql::grids {
namespace {

using test::HeadlessWindow;

constexpr int kModulesList = kTabModules;
constexpr int kMacrosList = kTabMacros;

// Fills a name list as the analysis run does: every document of the
// container, its position in ItemData.
void listContainer(HeadlessWindow& w, const std::string& container, int list) {
    NameList& names = w.state.lstData[static_cast<std::size_t>(list)];
    names.Clear();
    const auto& documents = w.state.CurrentDb->Containers().Item(container).Documents();
    for (int i = 1; i <= documents.Count(); ++i) names.AddItem(documents.Item(i - 1).Name(), i - 1);
}

std::vector<std::string> listed(const HeadlessWindow& w, int list) {
    std::vector<std::string> out;
    for (const auto& entry : w.state.lstData[static_cast<std::size_t>(list)].entries()) out.push_back(entry.text);
    return out;
}

// Names of the grid's object rows (after the count row).
std::vector<std::string> rowNames(const Grid& grid) {
    std::vector<std::string> out;
    for (int r = 2; r <= grid.rowCount(); ++r) out.push_back(grid.row(r).text);
    return out;
}

std::string padded40(std::string name) {
    name.resize(40, ' ');
    return name;
}

TEST(ModulesGrid, CompiledOnlyDatabaseLogsOneLinePerModuleAndGoesOn) {
    HeadlessWindow w;
    w.open(test::corpusFile("j4_database41.mde"));
    listContainer(w, "Modules", kModulesList);
    FillGridModules(w.ctx);
    const Grid& grid = w.state.lvwGrid[kGridModules];
    ASSERT_EQ(grid.rowCount(), 2);
    const auto& row = grid.row(2);
    // The failed read leaves the lines cell unset.
    EXPECT_EQ(row.subItems, (std::vector<std::string>{"", "-29045", "-29045"}));

    // One line for the one module, naming the first saved query.
    const auto lines = w.errorLogLines();
    ASSERT_EQ(lines.size(), 1u);
    const std::string query = w.state.CurrentDb->QueryDefs().Item(0).Name();
    EXPECT_EQ(lines[0].rfind("Modul Error :" + padded40(query) + " : 029045 : ", 0), 0u) << lines[0];
    EXPECT_NE(lines[0].find(row.text), std::string::npos) << lines[0];
    EXPECT_EQ(w.state.ErrorCount, 1);

    ASSERT_EQ(w.ui.messages.size(), 2u);
    EXPECT_EQ(w.ui.messages[0].text, "Error (Funcs) No 29045");
    EXPECT_EQ(w.ui.messages[1].text, "Error (Subs) No 29045");
    for (const auto& message : w.ui.messages) EXPECT_EQ(message.icon, ui::Icon::None);
    EXPECT_TRUE(w.state.AccessApplication->hasQuit());
}

// A copy of a corpus file in which every stored source container of the
// chosen modules no longer opens with its signature byte. The containers are
// found by the way every module text begins (`Attribute VB_Name = "..."` in
// literal tokens); old copies in free space are damaged too, which is
// harmless.
std::filesystem::path damagedCopy(const test::TempFolder& folder, const std::string& file,
                                  const std::function<bool(const std::string&)>& chosen) {
    std::string bytes = test::readFile(test::corpusFile(file));
    int damaged = 0;
    for (std::size_t at = bytes.find("Attribut"); at != std::string::npos; at = bytes.find("Attribut", at + 1)) {
        if (at < 4 || bytes[at - 4] != '\x01' || (static_cast<unsigned char>(bytes[at - 2]) & 0xF0) != 0xB0 ||
            bytes[at - 1] != '\0')
            continue;
        std::string text;
        for (std::size_t group = at - 1; group + 9 <= bytes.size() && bytes[group] == '\0' && text.size() < 160;
             group += 9)
            text += bytes.substr(group + 1, 8);
        static const std::string kHead = "Attribute VB_Name = \"";
        if (text.rfind(kHead, 0) != 0) continue;
        const auto quote = text.find('"', kHead.size());
        if (quote == std::string::npos || !chosen(text.substr(kHead.size(), quote - kHead.size()))) continue;
        bytes[at - 4] = '\0';
        ++damaged;
    }
    EXPECT_GT(damaged, 0);
    return folder.write(file, bytes);
}

TEST(ModulesGrid, DamagedModuleCostsOnlyItsOwnRow) {
    const std::string file = "j4_northwind2000.mdb";
    HeadlessWindow clean, damaged;
    clean.open(test::corpusFile(file));
    damaged.open(damagedCopy(damaged.folder, file, [](const std::string& name) { return name == "Startup"; }));
    for (auto* w : {&clean, &damaged}) {
        listContainer(*w, "Modules", kModulesList);
        FillGridModules(w->ctx);
    }
    const Grid& good = clean.state.lvwGrid[kGridModules];
    const Grid& bad = damaged.state.lvwGrid[kGridModules];
    ASSERT_EQ(rowNames(bad), rowNames(good));
    int position = 0;
    for (int r = 2; r <= bad.rowCount(); ++r) {
        SCOPED_TRACE(bad.row(r).text);
        if (bad.row(r).text != "Startup") {
            EXPECT_EQ(bad.row(r).subItems, good.row(r).subItems);
            continue;
        }
        position = r - 1;
        EXPECT_EQ(bad.row(r).subItem(1), "");
        EXPECT_EQ(bad.row(r).subItem(2), "-29072");
        EXPECT_EQ(bad.row(r).subItem(3), "-29072");
    }
    ASSERT_GT(position, 0);
    const auto lines = damaged.errorLogLines();
    ASSERT_EQ(lines.size(), 1u);
    const std::string query = damaged.state.CurrentDb->QueryDefs().Item(position - 1).Name();
    EXPECT_EQ(lines[0].rfind("Modul Error :" + padded40(query) + " : 029072 : ", 0), 0u) << lines[0];
    EXPECT_EQ(damaged.state.ErrorCount, 1);
    EXPECT_EQ(damaged.ui.messages.size(), 2u);
}

// With no saved query at the failing module's position the handler's own
// lookup fails, and that error leaves the filler.
TEST(ModulesGrid, HandlerWithoutAQueryToNameLeavesTheFiller) {
    const std::string file = "j4_api_modules_only.mdb";
    ASSERT_EQ(test::manifest().at(file).number("queries"), 0);
    HeadlessWindow w;
    w.open(damagedCopy(w.folder, file, [](const std::string&) { return true; }));
    listContainer(w, "Modules", kModulesList);
    try {
        FillGridModules(w.ctx);
        FAIL() << "the filler finished";
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number(), 3265);
    }
    const Grid& grid = w.state.lvwGrid[kGridModules];
    ASSERT_EQ(grid.rowCount(), 2);  // the count row and the first module
    EXPECT_EQ(grid.row(2).text, listed(w, kModulesList).front());
    EXPECT_EQ(w.state.ErrorCount, 0);
    EXPECT_TRUE(w.errorLogLines().empty());
    EXPECT_EQ(w.state.AccessAutomationStarts, 1);  // started, and left running for the unload
    EXPECT_FALSE(w.state.AccessApplication->hasQuit());
}

// Every scan starts the application once and leaves it, quit, for the
// unload; the pointer stays busy for the run to restore. Emptied lists clear
// what the grids held and start nothing.
TEST(ModulesGrid, RescansStartTheApplicationAgainAndEmptyListsClear) {
    HeadlessWindow w;
    w.open(test::corpusFile("j4_database41.mdb"));
    listContainer(w, "Scripts", kMacrosList);
    listContainer(w, "Modules", kModulesList);
    FillGridModules(w.ctx);
    ASSERT_NE(w.state.AccessApplication, nullptr);
    const auto first = w.state.AccessApplication;
    EXPECT_TRUE(first->hasQuit());
    EXPECT_EQ(w.state.AccessAutomationStarts, 1);
    EXPECT_EQ(w.ui.pointers, std::vector<ui::MousePointer>(2, ui::MousePointer::Hourglass));

    // The macros filler gives the pointer back; its grid has no sub-items.
    FillGridMacros(w.ctx);
    EXPECT_EQ(w.ui.pointers.back(), ui::MousePointer::Default);
    const Grid& macros = w.state.lvwGrid[kGridMacros];
    ASSERT_EQ(macros.columnCount(), 2);
    EXPECT_FALSE(macros.columns()[1].widthTwips);  // added without a width
    ASSERT_EQ(macros.rowCount(), 2);
    EXPECT_EQ(macros.row(1).subItems, (std::vector<std::string>{"1"}));
    EXPECT_TRUE(macros.row(2).subItems.empty());
    FillGridModules(w.ctx);
    EXPECT_EQ(w.state.AccessAutomationStarts, 2);
    EXPECT_NE(w.state.AccessApplication, first);
    EXPECT_EQ(w.state.lvwGrid[kGridModules].rowCount(), 2);  // refilled, not appended

    w.state.lstData[kMacrosList].Clear();
    w.state.lstData[kModulesList].Clear();
    FillGridMacros(w.ctx);
    FillGridModules(w.ctx);
    for (int k : {kGridMacros, kGridModules}) {
        EXPECT_EQ(w.state.lvwGrid[static_cast<std::size_t>(k)].rowCount(), 0);
        EXPECT_EQ(w.state.lvwGrid[static_cast<std::size_t>(k)].columnCount(), 0);
    }
    EXPECT_EQ(w.state.AccessAutomationStarts, 2);  // an empty list starts nothing
}

}  // namespace
}  // namespace ql::grids
