#include <gtest/gtest.h>

#include "analysis/FormatQuerySql.h"
#include "platform/dao/QuerySql.h"

namespace {

std::string laidOut(std::string sql) {
    ql::analysis::FormatQuerySql(sql);
    return sql;
}

TEST(FormatQuerySql, ExamplesOfTheLayout) {
    EXPECT_EQ(laidOut(""), "");
    EXPECT_EQ(laidOut("SELECT a, b FROM t WHERE x=1 AND y=2 OR z=3"),
              "SELECT a,\r\n\tb FROM t WHERE x=1\r\n\tAND y=2\r\n\tOR z=3");
    EXPECT_EQ(laidOut("SELECT * FROM a INNER JOIN b ON a.id = b.id"),
              "SELECT * FROM a\r\nINNER JOIN b\r\n\tON a.id = b.id");
    EXPECT_EQ(laidOut("x BETWEEN 1 and 2"), "x BETWEEN 1\r\n\tAND 2");
    EXPECT_EQ(laidOut("UPDATE t SET a = 1"), "UPDATE t\r\nSET a = 1");
    EXPECT_EQ(laidOut("PARAMETERS [p] Text; SELECT x"), "\t[p] Text; SELECT x");
}

TEST(FormatQuerySql, OnlyTheListedSpellingsOfKeywords) {
    // and/And/AND and or/Or/OR are written back in capitals; other mixtures stay.
    EXPECT_EQ(laidOut("a And b Or c aNd d oR e"), "a\r\n\tAND b\r\n\tOR c aNd d oR e");
    // SET, joins and ON only in capitals.
    EXPECT_EQ(laidOut("update t set a = 1 from x left join y on z"), "update t set a = 1 from x left join y on z");
    EXPECT_EQ(laidOut("a LEFT JOIN b ON c RIGHT JOIN d ON e"),
              "a\r\nLEFT JOIN b\r\n\tON c\r\nRIGHT JOIN d\r\n\tON e");
    // The clause keywords get no line of their own.
    EXPECT_EQ(laidOut("SELECT a FROM t WHERE b GROUP BY c HAVING d ORDER BY e"),
              "SELECT a FROM t WHERE b GROUP BY c HAVING d ORDER BY e");
}

TEST(FormatQuerySql, KeywordsNeedABlankOnEachSide) {
    // At the very start, or right after a break made by an earlier step, a
    // keyword is not moved again.
    EXPECT_EQ(laidOut("AND x OR y"), "AND x\r\n\tOR y");
    EXPECT_EQ(laidOut("a, AND b"), "a,\r\n\tAND b");
    EXPECT_EQ(laidOut("a\r\nINNER JOIN b"), "a\r\nINNER JOIN b");
    // Only the first PARAMETERS needs a blank after it; every one goes.
    EXPECT_EQ(laidOut("PARAMETERS a Long; PARAMETERS b Long;"), "\ta Long; \tb Long;");
    EXPECT_EQ(laidOut("xPARAMETERS y"), "x\ty");
}

TEST(FormatQuerySql, CommasBreakEverywhereEvenInLiterals) {
    EXPECT_EQ(laidOut("WHERE a In (\"x, y\",\"z\") AND Mid(b, 2)"),
              "WHERE a In (\"x,\r\n\ty\",\"z\")\r\n\tAND Mid(b,\r\n\t2)");
    // A comma without a blank stays on its line.
    EXPECT_EQ(laidOut("Mid(b,2)"), "Mid(b,2)");
    // Words that merely begin with a join keyword are split as well.
    EXPECT_EQ(laidOut("x LEFT JOINED"), "x\r\nLEFT JOINED");
}

TEST(FormatQuerySql, ARebuiltParameterQuery) {
    using ql::dao::QueryRow;
    std::vector<QueryRow> rows(5);
    rows[0].attribute = 1;
    rows[0].flag = 1;
    rows[1].attribute = 2;
    rows[1].name1 = "Start";
    rows[1].flag = 8;
    rows[2].attribute = 5;
    rows[2].name1 = "Orders";
    rows[3].attribute = 6;
    rows[3].expression = "Orders.ID";
    rows[4].attribute = 8;
    rows[4].expression = "((Orders.Day>=[Start]) And (Orders.Day<Date()))";
    EXPECT_EQ(laidOut(ql::dao::queryDefSql(rows, 4)),
              "\tStart DateTime;\r\nSELECT Orders.ID\r\nFROM Orders\r\nWHERE ((Orders.Day>=[Start])\r\n\tAND "
              "(Orders.Day<Date()));\r\n");
}

}  // namespace
