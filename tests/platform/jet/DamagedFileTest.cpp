// Damage that real files cannot be trusted to show, made by editing the bytes
// of a real file in memory. Every case must end in a clear Error, never a
// crash, a hang or a huge allocation.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/jet/Database.h"
#include "tests/support/Corpus.h"
#include "tests/support/LittleEndian.h"

using namespace ql::jet;

namespace {

std::vector<std::uint8_t> load(const std::string& name) {
    const std::string bytes = ql::test::readFile(ql::test::corpusFile(name));
    return {bytes.begin(), bytes.end()};
}

using ql::test::get16;
using ql::test::get32;
using ql::test::put16;
using ql::test::put32;

ErrorKind openKind(std::vector<std::uint8_t> bytes) {
    try {
        Database::openBuffer(std::move(bytes));
    } catch (const Error& e) {
        EXPECT_STRNE(e.what(), "");
        return e.kind();
    }
    ADD_FAILURE() << "the damaged file opened";
    return ErrorKind::Io;
}

struct ScanResult {
    int rows = 0;
    std::vector<std::string> errors;
};

// Reads every row of a table and every long value in it, collecting errors.
ScanResult scan(const Database& db, const TableDef& def) {
    ScanResult result;
    TableCursor cursor = db.cursor(def);
    for (int guard = 0; guard < 1000000; ++guard) {
        try {
            if (!cursor.next()) break;
            ++result.rows;
            for (const Value& v : cursor.values())
                if (const auto* lv = v.get<LongValue>()) lv->bytes(1 << 20);
        } catch (const Error& e) {
            result.errors.push_back(e.what());
            if (e.kind() != ErrorKind::Damaged && e.kind() != ErrorKind::Truncated &&
                e.kind() != ErrorKind::TooLarge)
                break;
            if (result.errors.size() > 10000) break;
        }
    }
    return result;
}

// Jet 4 file with a Memo-bearing table: Jet 4 page size 4096.
constexpr std::size_t kPage = 4096;
const char* const kFile = "j4_querytest2003.mdb";

TEST(DamagedHeader, EachFailureHasItsKind) {
    EXPECT_EQ(openKind({}), ErrorKind::Truncated);
    EXPECT_EQ(openKind(std::vector<std::uint8_t>(300, 0x41)), ErrorKind::NotJet);

    std::vector<std::uint8_t> compound = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    compound.resize(4096);
    EXPECT_EQ(openKind(compound), ErrorKind::NotJet);

    std::vector<std::uint8_t> file = load(kFile);
    std::vector<std::uint8_t> ace = file;
    std::memcpy(&ace[4], "Standard ACE DB", 15);
    EXPECT_EQ(openKind(ace), ErrorKind::Unsupported);

    std::vector<std::uint8_t> newer = file;
    newer[0x14] = 3;
    EXPECT_EQ(openKind(newer), ErrorKind::Unsupported);

    EXPECT_EQ(openKind(std::vector<std::uint8_t>(file.begin(), file.begin() + 1000)), ErrorKind::Truncated);
}

TEST(DamagedFile, CatalogueDamageHasItsKind) {
    const std::vector<std::uint8_t> file = load(kFile);
    std::vector<std::uint8_t> cut = file;
    cut.resize(3 * kPage);  // the catalogue's definition survives, its rows do not
    EXPECT_EQ(openKind(cut), ErrorKind::Truncated);

    std::vector<std::uint8_t> loop = file;
    put32(loop, 2 * kPage + 4, 2);  // the catalogue's TDEF continues with itself
    EXPECT_EQ(openKind(loop), ErrorKind::Damaged);

    std::vector<std::uint8_t> columns = file;
    put16(columns, 2 * kPage + 0x2D, 0xFFFF);  // 65535 columns
    EXPECT_EQ(openKind(columns), ErrorKind::Damaged);
    std::vector<std::uint8_t> indexes = file;
    put32(indexes, 2 * kPage + 0x33, 0x7FFFFFFF);  // two billion indexes
    EXPECT_EQ(openKind(indexes), ErrorKind::Damaged);

    // The key sits in the masked header region: flipping a stored bit flips the key.
    std::vector<std::uint8_t> wrongKey = load("j4_kontener_enc.mdb");
    wrongKey[0x3E] ^= 0x5A;
    EXPECT_EQ(openKind(wrongKey), ErrorKind::Damaged);
}

class DamagedTable : public testing::Test {
protected:
    void SetUp() override {
        original = load(kFile);
        const Database db = Database::openBuffer(original);
        for (const CatalogEntry& e : db.catalogue()) {
            if (e.type != kObjectLocalTable || (e.flags & kObjectSystemFlag)) continue;
            const TableDef def = db.tableDef(e.tdefPage(), e.name);
            if (db.liveRecordCount(def) >= 2) {
                table = e.name;
                rows = static_cast<int>(db.liveRecordCount(def));
                TableCursor c = db.cursor(def);
                ASSERT_TRUE(c.next());
                firstRow = c.rowPointer();
                break;
            }
        }
        ASSERT_FALSE(table.empty());
    }
    ScanResult scanWith(std::vector<std::uint8_t> bytes) {
        const Database db = Database::openBuffer(std::move(bytes));
        return scan(db, db.tableDef(table));
    }
    std::size_t pageStart() const { return (firstRow >> 8) * kPage; }
    std::size_t entry(int r) const { return pageStart() + 0x0E + 2 * r; }

    std::vector<std::uint8_t> original;
    std::string table;
    int rows = 0;
    std::uint32_t firstRow = 0;
};

TEST_F(DamagedTable, RowOutsideItsPageIsSkippedAndTheScanGoesOn) {
    std::vector<std::uint8_t> file = original;
    const int r = firstRow & 0xFF;
    put16(file, entry(r), 0x0001);  // starts inside the page header
    // The next row ends where this one starts, so it is lost as well.
    const ScanResult result = scanWith(file);
    ASSERT_FALSE(result.errors.empty());
    EXPECT_LE(result.errors.size(), 2u);
    EXPECT_EQ(result.rows + static_cast<int>(result.errors.size()), rows);
    EXPECT_NE(result.errors[0].find("outside the page"), std::string::npos) << result.errors[0];
}

TEST_F(DamagedTable, ImpossibleRowCountLosesOnlyThatPage) {
    std::vector<std::uint8_t> file = original;
    put16(file, pageStart() + 0x0C, 0x7FFF);
    const ScanResult result = scanWith(file);
    EXPECT_FALSE(result.errors.empty());
    EXPECT_LT(result.rows, rows);
}

TEST_F(DamagedTable, OverflowRowPointingToItselfIsALoopNotAHang) {
    std::vector<std::uint8_t> file = original;
    const int r = firstRow & 0xFF;
    const std::uint16_t e = get16(file, entry(r));
    put16(file, entry(r), (e & 0x1FFF) | 0x4000);
    const std::size_t start = pageStart() + (e & 0x1FFF);
    put32(file, start, firstRow);  // ... to itself
    // The target has no deleted flag and still the overflow flag: a loop.
    const ScanResult result = scanWith(file);
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_NE(result.errors[0].find("loop"), std::string::npos) << result.errors[0];
    EXPECT_EQ(result.rows, rows - 1);
}

TEST_F(DamagedTable, VariableOffsetsBeyondTheRowAreDamage) {
    std::vector<std::uint8_t> file = original;
    const int r = firstRow & 0xFF;
    const std::size_t start = pageStart() + (get16(file, entry(r)) & 0x1FFF);
    const std::size_t end = r == 0 ? pageStart() + kPage : pageStart() + (get16(file, entry(r - 1)) & 0x1FFF);
    const std::size_t ncols = get16(file, start);
    const std::size_t nullMask = (ncols + 7) / 8;
    put16(file, end - nullMask - 2, 0x4000);  // variable-column count
    const ScanResult result = scanWith(file);
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.rows, rows - 1);
}

TEST_F(DamagedTable, UnknownUsageMapKindStopsTheTable) {
    std::vector<std::uint8_t> file = original;
    const Database db = Database::openBuffer(original);
    const TableDef def = db.tableDef(table);
    const std::uint32_t map = def.ownedMap;
    const std::size_t page = (map >> 8) * kPage;
    const std::size_t start = page + (get16(file, page + 0x0E + 2 * (map & 0xFF)) & 0x1FFF);
    file[start] = 7;
    const Database damaged = Database::openBuffer(file);
    try {
        damaged.cursor(damaged.tableDef(table));
        ADD_FAILURE() << "a cursor over a table with a broken usage map";
    } catch (const Error& e) {
        EXPECT_EQ(e.kind(), ErrorKind::Damaged);
        EXPECT_NE(std::string(e.what()).find("unknown kind"), std::string::npos) << e.what();
    }
}

TEST(DamagedLongValue, BrokenChainsAreErrors) {
    // Find a memo or OLE value stored outside its row in a Jet 4 file.
    std::vector<std::uint8_t> file = load("j4_northwind2000.mdb");
    const Database db = Database::openBuffer(file);
    const TableDef def = db.tableDef("Categories");
    const Column* picture = def.column("Picture");
    ASSERT_NE(picture, nullptr);
    TableCursor cursor = db.cursor(def);
    ASSERT_TRUE(cursor.next());
    const std::size_t index = picture - def.columns.data();
    const LongValue& lv = cursor[index].as<LongValue>();
    ASSERT_GT(lv.length(), 4096u);  // a multi-page chain
    EXPECT_EQ(lv.bytes().size(), lv.length());

    // Locate the in-row header (12 bytes: length word, first pointer) and
    // the row of the chain's first link.
    const std::uint32_t pointer = cursor.rowPointer();
    const std::size_t page = (pointer >> 8) * 4096;
    const int r = pointer & 0xFF;
    const std::size_t start = page + (get16(file, page + 0x0E + 2 * r) & 0x1FFF);
    const std::size_t end = r == 0 ? page + 4096 : page + (get16(file, page + 0x0E + 2 * (r - 1)) & 0x1FFF);
    std::size_t header = 0;
    for (std::size_t p = start; p + 12 <= end; ++p)
        if (get32(file, p) == lv.length() && (get32(file, p + 4) >> 8) * 4096 < file.size()) header = p;
    ASSERT_NE(header, 0u);
    const std::uint32_t first = get32(file, header + 4);
    const std::size_t lvalPage = (first >> 8) * 4096;
    const std::size_t lvalRow = lvalPage + (get16(file, lvalPage + 0x0E + 2 * (first & 0xFF)) & 0x1FFF);

    // The chain's first link made to point back to itself, past the end of
    // the file, or nowhere.
    auto expectChainError = [&](std::uint32_t next, ErrorKind kind, const char* text) {
        std::vector<std::uint8_t> damaged = file;
        put32(damaged, lvalRow, next);
        const Database d = Database::openBuffer(damaged);
        TableCursor c = d.cursor(d.tableDef("Categories"));
        ASSERT_TRUE(c.next());
        try {
            c[index].as<LongValue>().bytes();
            ADD_FAILURE() << "a damaged chain read as whole: " << text;
        } catch (const Error& e) {
            EXPECT_EQ(e.kind(), kind) << e.what();
            EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
        }
    };
    // A loop is reported where it closes, instead of repeating the first
    // link's bytes up to the stored length.
    expectChainError(first, ErrorKind::Damaged, "loops back");
    expectChainError(0xFFFFFF00, ErrorKind::Truncated, "");
    expectChainError(0, ErrorKind::Damaged, "chain ends");
}

}  // namespace
