// The reader's progress calls: what the window relies on to stay painted
// during one long count or scan.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/jet/Database.h"
#include "platform/jet/Progress.h"
#include "tests/perf/CountedTable.h"

namespace ql::jet {
namespace {

struct Counted {
    Database db = Database::open(test::countedDatabase());
    TableDef table = db.tableDef("Counted");
};

TEST(Progress, CountsAndScansCallTheHookAsTheyGoAndOnlyWhileItIsInstalled) {
    Counted counted;
    int calls = 0;
    std::uint64_t scanned = 0;
    std::vector<std::uint64_t> rowsAtCall;
    {
        const ProgressScope scope([&] {
            ++calls;
            rowsAtCall.push_back(scanned);
        });
        EXPECT_EQ(counted.db.liveRecordCount(counted.table), test::kCountedRows);
        const int countCalls = calls;
        EXPECT_GE(countCalls, 4);

        TableCursor cursor = counted.db.cursor(counted.table);
        while (cursor.next()) ++scanned;
        EXPECT_EQ(scanned, test::kCountedRows);
        EXPECT_GE(calls - countCalls, 4);
        // Spread over the scan, not all at its start or end.
        const std::vector<std::uint64_t> scanCalls(rowsAtCall.begin() + countCalls, rowsAtCall.end());
        EXPECT_GT(scanCalls.front(), 0u);
        EXPECT_LT(scanCalls.front(), test::kCountedRows / 2);
        EXPECT_GT(scanCalls.back(), test::kCountedRows / 2);
        EXPECT_LT(scanCalls.back(), test::kCountedRows);
    }
    const int installed = calls;
    EXPECT_EQ(counted.db.liveRecordCount(counted.table), test::kCountedRows);
    EXPECT_EQ(calls, installed);
}

// An inner scope has the calls to itself and gives them back; a read made
// by the hook itself does not call the hook again.
TEST(Progress, ScopesNestAndTheHookIsNotReentered) {
    Counted counted;
    int outer = 0, inner = 0, depth = 0, deepest = 0;
    const ProgressScope outerScope([&] { ++outer; });
    {
        const ProgressScope innerScope([&] {
            ++inner;
            deepest = std::max(deepest, ++depth);
            if (inner == 1) {
                EXPECT_EQ(counted.db.liveRecordCount(counted.table), test::kCountedRows);
            }
            --depth;
        });
        counted.db.liveRecordCount(counted.table);
    }
    EXPECT_GT(inner, 1);
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(outer, 0);
    counted.db.liveRecordCount(counted.table);
    EXPECT_GT(outer, 1);
}

}  // namespace
}  // namespace ql::jet
