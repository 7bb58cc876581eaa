// The whole way through the real window: "Database.." with files chosen in
// the dialogs, then Analyse, then the results tab with its grids, the query
// SQL window, and a second database analysed in the same window.
#include <QAction>
#include <QCheckBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>

#include "analysis/FormatQuerySql.h"
#include "app/frmQuerySql.h"
#include "grids/Fillers.h"
#include "tests/app/WindowFixture.h"
#include "tests/support/Corpus.h"

namespace ql::test {
namespace {

class AnalysisWindowTest : public WindowTest {
protected:
    int pixels(int twips) { return twips * window_->logicalDpiX() / 1440; }

    // Every cell and list entry the window shows is the model's, and
    // nothing more.
    void expectDrawnAsFilled() {
        auto& w = *window_;
        for (int g = 0; g < grids::kGridCount; ++g) {
            const auto& grid = w.state().lvwGrid[static_cast<std::size_t>(g)];
            auto* view = w.lvwGrid(g);
            ASSERT_EQ(view->columnCount(), grid.columnCount()) << "grid " << g;
            ASSERT_EQ(view->topLevelItemCount(), grid.rowCount()) << "grid " << g;
            for (int c = 0; c < grid.columnCount(); ++c) {
                const std::string& header = grid.columns()[static_cast<std::size_t>(c)].text;
                EXPECT_EQ(text(view->headerItem()->text(c)), header);
                // Fitted columns may cut the header short; hovering shows it whole.
                EXPECT_EQ(text(view->headerItem()->toolTip(c)), header);
            }
            for (int r = 0; r < grid.rowCount(); ++r) {
                const auto& row = grid.rows()[static_cast<std::size_t>(r)];
                auto* item = view->topLevelItem(r);
                ASSERT_EQ(text(item->text(0)), row.text) << "grid " << g << " row " << r;
                for (int c = 1; c < grid.columnCount(); ++c)
                    ASSERT_EQ(text(item->text(c)), row.subItem(c)) << "grid " << g << " row " << r << " col " << c;
            }
        }
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
};

TEST_F(AnalysisWindowTest, DatabaseThenAnalyseFillsEveryGridOnScreen) {
    auto& w = loadRunning();
    chooseDatabase("j3_nwind_krystek.mdb", "j3_mssecure.mdw");
    ASSERT_TRUE(w.state().CurrentDb.has_value()) << (ui.messages.empty() ? "" : ui.messages.back().text);
    EXPECT_EQ(text(w.txtMDB()->text()), (data / "j3_nwind_krystek.mdb").string());
    EXPECT_EQ(w.chkDone(1)->checkState(), Qt::Checked);

    // The run itself switches off what would start it again, at its end
    // only: while its closing message shows, Analyse is still on.
    bool analyseOnAtEnd = false;
    ui.onMessage = [&](const ui::Message& m) {
        if (m.text == "Database Examined") analyseOnAtEnd = w.cmdAnalyse()->isEnabled();
    };
    ui.messages.clear();
    analyse();
    ui.onMessage = nullptr;
    EXPECT_TRUE(analyseOnAtEnd);
    ASSERT_FALSE(ui.messages.empty());
    EXPECT_EQ(ui.messages[0].text, "Database Examined");
    EXPECT_EQ(ui.messages[0].title, "Collected Information");
    EXPECT_TRUE(w.isVisible());

    EXPECT_FALSE(w.cmdAnalyse()->isEnabled());
    for (int tab = 0; tab < grids::kTabCount; ++tab) EXPECT_TRUE(w.SSTab()->isTabEnabled(tab)) << tab;

    expectDrawnAsFilled();

    // Tables: its first column keeps the width it was added with, the
    // others were fitted; numbers are right-aligned.
    auto* tables = w.lvwGrid(grids::kGridTables);
    ASSERT_EQ(tables->columnCount(), 4);
    EXPECT_EQ(tables->columnWidth(0), pixels(3000));
    EXPECT_TRUE(tables->topLevelItem(1)->textAlignment(1) & Qt::AlignRight);
    EXPECT_TRUE(tables->headerItem()->textAlignment(3) & Qt::AlignRight);
    auto* queries = w.lvwGrid(grids::kGridQueries);

    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    clickKind("Queries");
    EXPECT_EQ(shownGrids(), std::vector<int>{grids::kGridQueries});
    EXPECT_TRUE(queries->isVisible());

    // The count row, or a row of another grid, opens nothing.
    w.lvwGrid_DblClick(grids::kGridQueries, 0);
    w.lvwGrid_DblClick(grids::kGridTables, 1);
    EXPECT_EQ(w.querySqlWindow(), nullptr);
    // A query's SQL from its row, laid out, one CR LF a line end.
    const std::string name = "Invoices";
    int row = 0;
    while (row < queries->topLevelItemCount() && text(queries->topLevelItem(row)->text(0)) != name) ++row;
    ASSERT_LT(row, queries->topLevelItemCount());
    // Enter on the row opens it, as a double click does.
    queries->setCurrentItem(queries->topLevelItem(row));
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(queries, &enter);
    auto* sql = w.querySqlWindow();
    ASSERT_NE(sql, nullptr);
    EXPECT_TRUE(sql->isVisible());
    EXPECT_EQ(text(sql->windowTitle()), name);
    EXPECT_TRUE(sql->txtSql()->isReadOnly());
    const auto metrics = sql->txtSql()->fontMetrics();
    EXPECT_EQ(metrics.horizontalAdvance(QLatin1Char('i')), metrics.horizontalAdvance(QLatin1Char('W')));
    std::string laidOut = w.state().CurrentDb->QueryDefs()[name].SQL();
    analysis::FormatQuerySql(laidOut);
    QString expected = QString::fromStdString(laidOut);
    expected.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    EXPECT_EQ(sql->txtSql()->toPlainText(), expected);
    EXPECT_TRUE(expected.contains(QStringLiteral("\n\tON ")));
    sql->close();
}

TEST_F(AnalysisWindowTest, ASecondDatabaseRefillsEveryGridFromScratch) {
    auto& w = loadRunning();
    chooseDatabase("j3_nwind_krystek.mdb", "j3_mssecure.mdw");
    analyse();
    ASSERT_GT(w.lvwGrid(grids::kGridQueries)->topLevelItemCount(), 1);
    ASSERT_GT(w.lvwGrid(grids::kGridRelations)->topLevelItemCount(), 1);
    // The user looks at the queries, then opens another database.
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    clickKind("Queries");

    // A second opening given up in the database dialog leaves the first
    // database shown and its results usable.
    ui.chooseFile((data / "j3_mssecure.mdw").string());
    ui.cancelFile();
    w.cmdFind()->click();
    EXPECT_EQ(text(w.txtMDB()->text()), (data / "j3_nwind_krystek.mdb").string());
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    clickKind("Relationships");
    EXPECT_EQ(shownGrids(), std::vector<int>{grids::kGridRelations});

    w.lvwGrid_DblClick(grids::kGridQueries, 1);
    QPointer<app::frmQuerySql> sql = w.querySqlWindow();
    ASSERT_FALSE(sql.isNull());

    chooseDatabase("j3_afr.mdb", "j3_mssecure.mdw");
    ASSERT_EQ(w.state().ActualDbPath, (data / "j3_afr.mdb").string());
    EXPECT_TRUE(sql.isNull() || !sql->isVisible());
    EXPECT_EQ(w.SSTab()->currentIndex(), grids::kTabDatabase);
    // Nothing of the first database passes for the new one's before its run.
    for (int tab = 0; tab < grids::kTabCount; ++tab)
        EXPECT_EQ(w.SSTab()->isTabEnabled(tab), tab == grids::kTabDatabase) << tab;
    for (int g = 0; g < grids::kGridCount; ++g) EXPECT_EQ(w.lvwGrid(g)->topLevelItemCount(), 0) << g;
    for (int l : {0, 1, 2, 3, 4, 5, 6, 7, 8, 11}) EXPECT_EQ(w.lstData(l)->count(), 0) << l;
    analyse();

    expectDrawnAsFilled();
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
    clickKind("Queries");
    EXPECT_EQ(shownGrids(), std::vector<int>{grids::kGridQueries});
}

}  // namespace
}  // namespace ql::test
