// The whole way through the real window: "Database.." with files chosen in
// the dialogs, then Analyse, then the results tab with its grids, the query
// SQL window, and a second database analysed in the same window.
#include <QAction>
#include <QCheckBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>

#include <algorithm>

#include "analysis/FormatQuerySql.h"
#include "grids/Fillers.h"
#include "tests/app/GridsWindowFixture.h"
#include "tests/support/Corpus.h"

namespace ql::test {
namespace {

std::string text(const QString& s) { return s.toStdString(); }

class AnalysisWindowTest : public GridsWindowTest {
protected:
    // "Database.." with both files chosen in the dialogs (copies of corpus
    // files, writable as a user's own would be).
    void chooseDatabase(AnalysisWindow& w, const std::string& database, const std::string& workgroup) {
        ui.chooseFile(copyOf(workgroup).string());
        ui.chooseFile(copyOf(database).string());
        w.cmdFind()->click();
    }
    // Analyse, once the output step has put the error log in place.
    void analyse(AnalysisWindow& w) {
        chooseErrorLog();
        w.cmdAnalyse()->setEnabled(true);
        w.cmdAnalyse()->click();
    }

    int pixels(AnalysisWindow& w, int twips) { return twips * w.logicalDpiX() / 1440; }

    // Every cell the view shows is the model's, and nothing more.
    void expectGridsDrawnAsFilled(AnalysisWindow& w) {
        for (int g = 0; g < grids::kGridCount; ++g) {
            const auto& grid = w.state().lvwGrid[static_cast<std::size_t>(g)];
            auto* view = w.lvwGrid(g);
            ASSERT_EQ(view->columnCount(), grid.columnCount()) << "grid " << g;
            ASSERT_EQ(view->topLevelItemCount(), grid.rowCount()) << "grid " << g;
            for (int c = 0; c < grid.columnCount(); ++c)
                EXPECT_EQ(text(view->headerItem()->text(c)), grid.columns()[static_cast<std::size_t>(c)].text);
            for (int r = 0; r < grid.rowCount(); ++r) {
                const auto& row = grid.rows()[static_cast<std::size_t>(r)];
                auto* item = view->topLevelItem(r);
                ASSERT_EQ(text(item->text(0)), row.text) << "grid " << g << " row " << r;
                for (int c = 1; c < grid.columnCount(); ++c)
                    ASSERT_EQ(text(item->text(c)), row.subItem(c)) << "grid " << g << " row " << r << " col " << c;
            }
        }
    }
    void expectListsDrawnAsFilled(AnalysisWindow& w) {
        for (int l : {0, 1, 2, 3, 4, 5, 6, 7, 8, 11}) {
            const auto& list = w.state().lstData[static_cast<std::size_t>(l)];
            auto* widget = w.lstData(l);
            ASSERT_EQ(widget->count(), list.ListCount()) << "list " << l;
            for (int i = 0; i < list.ListCount(); ++i) {
                ASSERT_EQ(text(widget->item(i)->text()), list.List(i)) << "list " << l;
                ASSERT_EQ(widget->item(i)->isSelected(), list.Selected(i)) << "list " << l << " entry " << i;
            }
        }
    }
    void clickKind(AnalysisWindow& w, const char* kind) {
        const auto found = w.lstItem()->findItems(QString::fromLatin1(kind), Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1) << kind;
        w.lstItem()->setCurrentItem(found.front());
        emit w.lstItem()->itemClicked(found.front());
    }
    std::vector<int> shownGrids(AnalysisWindow& w) {
        std::vector<int> out;
        for (int g = 0; g < grids::kGridCount; ++g)
            if (!w.lvwGrid(g)->isHidden()) out.push_back(g);
        return out;
    }
};

TEST_F(AnalysisWindowTest, DatabaseThenAnalyseFillsEveryGridOnScreen) {
    auto& w = loaded();
    chooseDatabase(w, "j3_nwind_krystek.mdb", "j3_mssecure.mdw");
    ASSERT_TRUE(w.state().CurrentDb.has_value()) << (ui.messages.empty() ? "" : ui.messages.back().text);
    EXPECT_EQ(text(w.txtMDB()->text()), (data.path() / "j3_nwind_krystek.mdb").string());
    EXPECT_EQ(w.chkDone(1)->checkState(), Qt::Checked);

    // The run itself switches off what would start it again, at its end
    // only: while its closing message shows, Analyse is still on.
    bool analyseOnAtEnd = false;
    ui.onMessage = [&](const ui::Message& m) {
        if (m.text == "Database Examined") analyseOnAtEnd = w.cmdAnalyse()->isEnabled();
    };
    ui.messages.clear();
    analyse(w);
    ui.onMessage = nullptr;
    EXPECT_TRUE(analyseOnAtEnd);
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages[0].text, "Database Examined");
    EXPECT_EQ(ui.messages[0].title, "Collected Information");
    EXPECT_TRUE(w.isVisible());

    EXPECT_FALSE(w.cmdAnalyse()->isEnabled());
    EXPECT_FALSE(w.action("mnuAnalyse")->isEnabled());
    EXPECT_TRUE(w.cmdView()->isEnabled());
    EXPECT_EQ(w.chkDone(4)->checkState(), Qt::Checked);
    EXPECT_EQ(w.chkDone(5)->checkState(), Qt::PartiallyChecked);
    EXPECT_TRUE(w.stepCurrent(6));
    for (int tab = 0; tab < grids::kTabCount; ++tab) EXPECT_TRUE(w.SSTab()->isTabEnabled(tab)) << tab;

    expectGridsDrawnAsFilled(w);
    expectListsDrawnAsFilled(w);

    // Tables: headers, count row, right-aligned numbers; its first column
    // keeps the width it was added with, the others were fitted.
    auto* tables = w.lvwGrid(grids::kGridTables);
    ASSERT_EQ(tables->columnCount(), 4);
    EXPECT_EQ(text(tables->headerItem()->text(1)), "Records");
    EXPECT_EQ(tables->columnWidth(0), pixels(w, 3000));
    EXPECT_EQ(text(tables->topLevelItem(0)->text(0)), "Tables in Database : ");
    EXPECT_EQ(text(tables->topLevelItem(0)->text(1)), std::to_string(manifest().at("j3_nwind_krystek.mdb").number("tables_local")));
    EXPECT_TRUE(tables->topLevelItem(1)->textAlignment(1) & Qt::AlignRight);
    EXPECT_TRUE(tables->headerItem()->textAlignment(3) & Qt::AlignRight);

    // Queries and relationships are not fitted: they keep the added widths.
    auto* queries = w.lvwGrid(grids::kGridQueries);
    ASSERT_EQ(queries->columnCount(), 3);
    EXPECT_EQ(queries->columnWidth(0), pixels(w, 3000));
    EXPECT_EQ(queries->columnWidth(1), pixels(w, 800));
    EXPECT_EQ(queries->columnWidth(2), pixels(w, 600));
    EXPECT_EQ(text(queries->topLevelItem(0)->text(0)), "Views in Database");
    auto* relations = w.lvwGrid(grids::kGridRelations);
    ASSERT_EQ(relations->columnCount(), 3);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(relations->columnWidth(c), pixels(w, 1000));
    EXPECT_EQ(text(relations->topLevelItem(0)->text(0)), "Relationships in Database");
    EXPECT_EQ(w.lvwGrid(grids::kGridMiscellaneous)->columnCount(), 0);

    // The results tab: each kind brings its grid forward.
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_TRUE(shownGrids(w).empty());
    clickKind(w, "Queries");
    EXPECT_EQ(shownGrids(w), std::vector<int>{8});
    EXPECT_TRUE(queries->isVisible());
    clickKind(w, "Tables");
    EXPECT_EQ(shownGrids(w), std::vector<int>{1});
    w.lstItem()->addItem(QStringLiteral("Miscellaneous"));
    clickKind(w, "Miscellaneous");
    EXPECT_EQ(shownGrids(w), std::vector<int>{11});
    clickKind(w, "Relationships");
    w.SSTab()->setCurrentIndex(grids::kTabTables);
    EXPECT_TRUE(shownGrids(w).empty());
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_EQ(shownGrids(w), std::vector<int>{7});
    EXPECT_TRUE(relations->isVisible());

    // A query's SQL from its row.
    const auto& first = w.state().lvwGrid[grids::kGridQueries].row(2).text;
    emit queries->itemDoubleClicked(queries->topLevelItem(1), 0);
    ASSERT_NE(w.querySqlWindow(), nullptr);
    EXPECT_EQ(text(w.querySqlWindow()->windowTitle()), first);
    std::string sql = w.state().CurrentDb->QueryDefs()[first].SQL();
    analysis::FormatQuerySql(sql);
    QString expected = QString::fromStdString(sql);
    expected.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    EXPECT_EQ(w.querySqlWindow()->txtSql()->toPlainText(), expected);
    EXPECT_FALSE(expected.isEmpty());
}

TEST_F(AnalysisWindowTest, ASecondDatabaseRefillsEveryGridFromScratch) {
    auto& w = loaded();
    chooseDatabase(w, "j3_nwind_krystek.mdb", "j3_mssecure.mdw");
    analyse(w);
    ASSERT_GT(w.lvwGrid(grids::kGridQueries)->topLevelItemCount(), 1);
    ASSERT_GT(w.lvwGrid(grids::kGridRelations)->topLevelItemCount(), 1);
    // The user looks at the queries, then opens another database.
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    clickKind(w, "Queries");

    chooseDatabase(w, "j3_afr.mdb", "j3_mssecure.mdw");
    ASSERT_EQ(w.state().ActualDbPath, (data.path() / "j3_afr.mdb").string());
    EXPECT_EQ(w.SSTab()->currentIndex(), grids::kTabDatabase);
    analyse(w);

    expectGridsDrawnAsFilled(w);
    expectListsDrawnAsFilled(w);
    // No queries and no relationships: those grids are empty, without
    // columns, and the old rows are gone.
    EXPECT_EQ(w.lvwGrid(grids::kGridQueries)->columnCount(), 0);
    EXPECT_EQ(w.lvwGrid(grids::kGridQueries)->topLevelItemCount(), 0);
    EXPECT_EQ(w.lvwGrid(grids::kGridRelations)->topLevelItemCount(), 0);
    EXPECT_EQ(w.lstData(1)->count(), 0);
    auto* tables = w.lvwGrid(grids::kGridTables);
    ASSERT_EQ(tables->topLevelItemCount(), 2);
    EXPECT_EQ(text(tables->topLevelItem(0)->text(1)), "1");

    // Selecting Queries now shows the empty grid.
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    clickKind(w, "Queries");
    EXPECT_EQ(shownGrids(w), std::vector<int>{8});
}

TEST_F(AnalysisWindowTest, AnalyseWithoutAnOpenDatabaseEndsTheProgramAsTheRuntimeWould) {
    auto& w = loaded();
    ui.messages.clear();
    analyse(w);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Run-time error '91':\r\n\r\nObject variable or With block variable not set");
    EXPECT_EQ(ui.messages[0].icon, ui::Icon::Critical);
    EXPECT_EQ(ui.messages[0].title, "Quarrylantern");
    EXPECT_FALSE(w.isVisible());
    EXPECT_EQ(programEnds, 1);
}

TEST_F(AnalysisWindowTest, ACancelledDatabaseDialogLeavesTheResultsAlone) {
    auto& w = loaded();
    ui.chooseFile(copyOf("j3_mssecure.mdw").string());
    ui.cancelFile();
    w.action("mnuDatabase")->trigger();
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages.back().text, "No Database selected");
    EXPECT_TRUE(w.txtMDB()->text().isEmpty());
    // With no database chosen the results list does nothing.
    w.MakeGridVisible(0);
    clickKind(w, "Queries");
    EXPECT_EQ(shownGrids(w), std::vector<int>{0});
    EXPECT_TRUE(w.isVisible());
}

// Every database of the corpus that opens, through the window: the run
// ends normally and every grid and list on screen is the one filled.
TEST_F(AnalysisWindowTest, EveryCorpusDatabaseIsDrawnAsFilled) {
    int analysed = 0;
    for (const auto& name : jetDatabases()) {
        SCOPED_TRACE(name);
        auto& w = reloaded();
        const bool jet3 = name.rfind("j3_", 0) == 0;
        chooseDatabase(w, name, jet3 ? "j3_mssecure.mdw" : "j4_pantest.mdw");
        // Password and user-level security: the opening's own concern.
        if (!w.state().CurrentDb) continue;
        ui.messages.clear();
        analyse(w);
        // A compiled database's modules give their own messages first.
        EXPECT_TRUE(std::any_of(ui.messages.begin(), ui.messages.end(),
                                [](const ui::Message& m) { return m.text == "Database Examined"; }));
        EXPECT_TRUE(w.isVisible());
        expectGridsDrawnAsFilled(w);
        expectListsDrawnAsFilled(w);
        ++analysed;
    }
    EXPECT_GE(analysed, 28);
}

}  // namespace
}  // namespace ql::test
