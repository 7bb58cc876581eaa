// The rows our Jet reader gives the VBA reader, compared with the rows
// mdbtools' library reads from the same files (an independent reader).
#include "platform/vba/VbaProject.h"
#include "tests/platform/vba/CorpusTables.h"
#include "tests/platform/vba/MdbToolsTables.h"
#include "tests/support/Corpus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace ql::vba {
namespace {

template <typename Row, typename Key>
std::optional<std::vector<Row>> sorted(std::optional<std::vector<Row>> rows, Key key) {
    if (rows) std::sort(rows->begin(), rows->end(), [&](const Row& a, const Row& b) { return key(a) < key(b); });
    return rows;
}

TEST(VbaJetRows, MatchMdbtoolsForEveryProjectTable) {
    int tables = 0;
    for (const auto& file : ql::test::jetDatabases()) {
        SCOPED_TRACE(file);
        auto ours = test::tablesOf(file);
        test::MdbToolsTables theirs(ql::test::corpusFile(file), 0);
        EXPECT_EQ((*ours)->jetVersion(), theirs.jetVersion());

        auto byNameVersion = [](const Modules2Row& r) { return std::tie(r.name, r.version); };
        const auto m2 = sorted((*ours)->modules2Rows(), byNameVersion);
        EXPECT_TRUE(m2 == sorted(theirs.modules2Rows(), byNameVersion));
        auto byId = [](const auto& r) { return r.id; };
        const auto objects = sorted((*ours)->accessObjectsRows(), byId);
        EXPECT_TRUE(objects == sorted(theirs.accessObjectsRows(), byId));
        const auto storage = sorted((*ours)->accessStorageRows(), byId);
        EXPECT_TRUE(storage == sorted(theirs.accessStorageRows(), byId));
        EXPECT_TRUE((*ours)->problems().empty());
        tables += m2.has_value() + objects.has_value() + storage.has_value();
    }
    EXPECT_GT(tables, 30);
}

}  // namespace
}  // namespace ql::vba
