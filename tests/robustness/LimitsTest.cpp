// The reader's limits. Size caps, each reached with a built input or a small
// limit: what lies at the cap is read, one byte more is a clear TooLarge (or,
// for a table definition, Damaged) error, and nothing is allocated for the
// excess. A file cut short: a table reads whole or says it was cut. A
// database closed by dropping its last handle lets go of its file.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/dao/Dao.h"
#include "platform/jet/Database.h"
#include "platform/vba/CompoundFile.h"
#include "platform/vba/JetSystemTables.h"
#include "tests/platform/vba/TestImages.h"
#include "tests/support/Corpus.h"
#include "tests/support/LittleEndian.h"
#include "tests/support/TempFolder.h"

using namespace ql;

namespace {

std::vector<std::uint8_t> load(const std::string& name) {
    const std::string bytes = test::readFile(test::corpusFile(name));
    return {bytes.begin(), bytes.end()};
}

using test::put32;

TEST(Caps, LongValueIsReadUpToItsCapAndRefusedBeyond) {
    const jet::Database db = jet::Database::openBuffer(load("j4_northwind2000.mdb"));
    const jet::TableDef def = db.tableDef("Categories");
    const std::size_t picture = def.column("Picture") - def.columns.data();
    jet::TableCursor cursor = db.cursor(def);
    ASSERT_TRUE(cursor.next());
    const jet::LongValue& value = cursor[picture].as<jet::LongValue>();
    ASSERT_GT(value.length(), 4096u);  // a chain over several pages

    EXPECT_EQ(value.bytes(value.length()).size(), value.length());
    try {
        value.bytes(value.length() - 1);
        ADD_FAILURE() << "a value one byte over its cap was read";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.kind(), jet::ErrorKind::TooLarge);
        EXPECT_NE(std::string(e.what()).find(std::to_string(value.length())), std::string::npos) << e.what();
    }
}

// A definition whose page chain runs on through thousands of distinct pages:
// no loop to catch, only the size cap ends it.
TEST(Caps, TableDefinitionChainEndsAtItsCap) {
    std::vector<std::uint8_t> file = load("j3_querytest.mdb");
    constexpr std::size_t kPage = 2048;
    const std::uint32_t first = static_cast<std::uint32_t>(file.size() / kPage);
    constexpr std::uint32_t kExtra = 4200;  // 4200 * 2040 bytes is past the 8 MiB cap
    file.resize(file.size() + kExtra * kPage, 0);
    for (std::uint32_t k = 0; k < kExtra; ++k) {
        const std::size_t at = static_cast<std::size_t>(first + k) * kPage;
        file[at] = 0x02;
        file[at + 1] = 0x01;
        put32(file, at + 4, k + 1 < kExtra ? first + k + 1 : 0);
    }
    // The catalogue's definition (page 2) continues into the new pages.
    put32(file, 2 * kPage + 4, first);
    try {
        jet::Database::openBuffer(std::move(file));
        ADD_FAILURE() << "a definition of more than 8 MiB was read";
    } catch (const jet::Error& e) {
        EXPECT_EQ(e.kind(), jet::ErrorKind::Damaged);
        EXPECT_NE(std::string(e.what()).find("exceeds"), std::string::npos) << e.what();
    }
}

TEST(Caps, CompoundFileStreamIsReadUpToItsCapAndRefusedBeyond) {
    const std::string image =
        vba::test::compoundFile({{"small", std::string(4096, 's')}, {"big", std::string(4097, 'b')}});
    const auto file = vba::CompoundFile::open(image, 4096);
    EXPECT_EQ(file->readStream({"small"}), std::string(4096, 's'));
    try {
        file->readStream({"big"});
        ADD_FAILURE() << "a stream one byte over the cap was read";
    } catch (const vba::VbaError& e) {
        EXPECT_EQ(e.kind(), vba::VbaErrorKind::TooLarge);
        EXPECT_NE(std::string(e.what()).find("4097"), std::string::npos) << e.what();
    }
    // The default cap leaves real streams alone.
    EXPECT_EQ(vba::CompoundFile::open(image)->readStream({"big"}).size(), 4097u);
}

// A damaged table can point every row at one long chain, each under the
// stream cap; the table's own allowance ends that.
TEST(Caps, SystemTableLongValuesShareOneAllowance) {
    const jet::Database db = jet::Database::open(test::corpusFile("j4_database41.mdb"));
    auto total = [](const std::vector<vba::AccessStorageRow>& rows) {
        std::size_t sum = 0;
        for (const auto& row : rows) sum += row.lv ? row.lv->size() : 0;
        return sum;
    };
    vba::JetSystemTables whole(db);
    const std::size_t all = total(*whole.accessStorageRows());
    ASSERT_GT(all, 0u);
    EXPECT_TRUE(whole.problems().empty());

    vba::JetSystemTables capped(db, all - 1);
    EXPECT_LE(total(*capped.accessStorageRows()), all - 1);
    ASSERT_FALSE(capped.problems().empty());
    EXPECT_NE(capped.problems().front().find("exceed"), std::string::npos) << capped.problems().front();
}

// A copy that ends halfway: every table gives all its rows, or its cursor
// or count fails with Truncated; none comes back shorter without a word.
TEST(CutShort, ATableReadsWholeOrSaysItWasCut) {
    const std::vector<std::uint8_t> file = load("j4_northwind2000.mdb");
    const jet::Database whole = jet::Database::openBuffer(file);
    // Cut at the first page after which the catalogue still opens: a
    // catalogue cut short fails at open, which says so too.
    const std::size_t pages = file.size() / 4096;
    std::optional<jet::Database> opened;
    for (std::size_t keep = pages / 2; keep < pages && !opened; ++keep) {
        try {
            opened = jet::Database::openBuffer(std::vector<std::uint8_t>(file.begin(), file.begin() + keep * 4096));
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.kind(), jet::ErrorKind::Truncated) << e.what();
        }
    }
    ASSERT_TRUE(opened);
    const jet::Database& cut = *opened;
    int truncatedTables = 0, wholeTables = 0;
    for (const jet::CatalogEntry& entry : whole.catalogue()) {
        if (entry.type != jet::kObjectLocalTable) continue;
        const std::uint64_t expected = whole.liveRecordCount(whole.tableDef(entry.tdefPage(), entry.name));
        try {
            const jet::TableDef def = cut.tableDef(entry.tdefPage(), entry.name);
            std::uint64_t rows = 0;
            jet::TableCursor cursor = cut.cursor(def);
            while (cursor.next()) ++rows;
            EXPECT_EQ(rows, expected) << entry.name << " lost rows without an error";
            EXPECT_EQ(cut.liveRecordCount(def), expected) << entry.name;
            ++wholeTables;
        } catch (const jet::Error& e) {
            EXPECT_EQ(e.kind(), jet::ErrorKind::Truncated) << entry.name << ": " << e.what();
            ++truncatedTables;
        }
    }
    EXPECT_GT(truncatedTables, 0);
    EXPECT_GT(wholeTables, 0);
}

bool mapped(const std::string& path) {
    return test::readFile("/proc/self/maps").find(path) != std::string::npos;
}

// Table and query definitions point back to their database; once the last
// handle is gone, nothing may keep the database's state, and with it the
// file's mapping, alive (a run over many databases would hold them all).
TEST(Release, ADatabaseLetsGoOfItsFileWhenItsLastHandleGoes) {
    test::TempFolder folder;
    const std::string path = folder.write("released.mdb", test::readFile(test::corpusFile("j4_northwind2000.mdb")));
    {
        dao::DBEngine engine;
        std::optional<dao::Database> db = engine.OpenDatabase(path);
        const dao::Database copy = *db;
        for (const dao::TableDef& t : db->TableDefs()) (void)t.Fields().Count();
        for (const dao::QueryDef& q : db->QueryDefs()) (void)q.SQL();
        ASSERT_TRUE(mapped(path));
        db.reset();
        // A copy of the handle keeps everything usable.
        EXPECT_GT(copy.TableDefs().Count(), 0);
        EXPECT_TRUE(mapped(path));
    }
    EXPECT_FALSE(mapped(path));
}

}  // namespace
