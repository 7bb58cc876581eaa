#include "platform/vba/AccessObjectsImage.h"
#include "platform/vba/AccessStorageTree.h"
#include "platform/vba/CompoundFile.h"
#include "platform/vba/Modules2.h"
#include "platform/vba/VbaError.h"
#include "tests/platform/vba/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace ql::vba {
namespace {

VbaErrorKind kindOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const VbaError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "no error";
    return VbaErrorKind::TooLarge;
}

std::vector<std::string> names(const std::vector<StorageEntry>& entries) {
    std::vector<std::string> out;
    for (const auto& e : entries) out.push_back(e.name + (e.isStorage ? "/" : ""));
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<AccessStorageRow> storageRows() {
    return {
        {1, 1, "MSysAccessStorage_ROOT", 1, std::nullopt},
        {2, 2, "MSysAccessStorage_SCRATCH", 1, std::nullopt},
        {3, 1, "VBA", 1, std::nullopt},
        {4, 3, "VBAProject", 1, std::nullopt},
        {5, 4, "VBA", 1, std::nullopt},
        {6, 5, "dir", 2, std::string("dir bytes")},
        {7, 5, "EMPTYSTREAM", 2, std::nullopt},
        {8, 1, "\x03" "DirData", 2, std::string("x")},
    };
}

TEST(AccessStorageTree, WalksByNameWithoutRegardToCase) {
    const AccessStorageTree tree(storageRows());
    EXPECT_EQ(names(tree.children({})), (std::vector<std::string>{"\x03" "DirData", "VBA/"}));
    EXPECT_EQ(names(tree.children({"vba", "VBAPROJECT", "Vba"})), (std::vector<std::string>{"EMPTYSTREAM", "dir"}));
    EXPECT_EQ(tree.readStream({"VBA", "VBAProject", "VBA", "DIR"}), "dir bytes");
    EXPECT_EQ(tree.readStream({"VBA", "VBAProject", "VBA", "EmptyStream"}), "");  // NULL long value
    EXPECT_TRUE(tree.hasStream({"VBA", "VBAProject", "VBA", "dir"}));
    EXPECT_FALSE(tree.hasStream({"VBA", "VBAProject"}));
}

TEST(AccessStorageTree, MissingAndDamagedTrees) {
    const AccessStorageTree tree(storageRows());
    EXPECT_EQ(kindOf([&] { tree.readStream({"VBA", "VBAProject", "VBA", "NOSUCH"}); }), VbaErrorKind::Missing);
    EXPECT_EQ(kindOf([&] { tree.readStream({"VBA"}); }), VbaErrorKind::Missing);  // a storage, not a stream
    EXPECT_EQ(kindOf([&] { tree.children({"VBA", "VBAProject", "VBA", "dir"}); }), VbaErrorKind::Missing);

    auto rows = storageRows();
    rows.erase(rows.begin());
    EXPECT_EQ(kindOf([&] { AccessStorageTree{rows}; }), VbaErrorKind::Missing);
    rows = storageRows();
    rows.push_back({9, 5, "DIR", 2, std::string("twin")});
    EXPECT_EQ(kindOf([&] { AccessStorageTree{rows}; }), VbaErrorKind::Corrupt);

    rows = storageRows();
    rows.push_back({20, 21, "A", 1, std::nullopt});
    rows.push_back({21, 20, "B", 1, std::nullopt});  // an unreachable cycle must not hang the walk
    const AccessStorageTree looped(rows);
    EXPECT_EQ(kindOf([&] { looped.children({"A"}); }), VbaErrorKind::Missing);
}

std::string header(std::uint32_t size) { return test::le32(5) + test::le32(size) + std::string(8, '\0'); }

TEST(AccessObjectsImage, SlicesInIdOrderWithGapsZeroFilledAndPadded) {
    const auto image = assembleAccessObjects({{3, "ccc"}, {0, header(12)}, {1, "aaa"}});
    EXPECT_EQ(image.image, std::string("aaa\0\0\0ccc\0\0\0", 12));
    EXPECT_EQ(image.missingSlices, 1u);
}

TEST(AccessObjectsImage, DamagedRows) {
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{1, "aaa"}}); }), VbaErrorKind::Missing);
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{0, header(3)}}); }), VbaErrorKind::Missing);
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{0, header(6)}, {1, "aaa"}, {2, "bb"}}); }), VbaErrorKind::Corrupt);
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{0, header(6)}, {1, "aaa"}, {1, "bbb"}}); }),
              VbaErrorKind::Corrupt);
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{0, "\x05"}, {1, "aaa"}}); }), VbaErrorKind::Corrupt);
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{0, header(0xFFFFFFF0u)}, {1, "aaa"}}); }),
              VbaErrorKind::TooLarge);
    // A huge row id would need gigabytes of zero fill.
    EXPECT_EQ(kindOf([] { assembleAccessObjects({{0, header(3)}, {0x7FFFFFFF, "aaa"}}); }), VbaErrorKind::TooLarge);
}

// Streams in storages and in the mini stream are compared with olefile over
// every real image; here names without regard to case, and what is missing.
TEST(CompoundFile, FindsNamesWithoutRegardToCaseAndMissingOnesAreMissing) {
    const auto file = CompoundFile::open(
        test::compoundFile({{"VBA/VBAProject/VBA/dir", "small"}, {"VBA/VBAProject/PROJECT", "p"}}));
    EXPECT_EQ(file->readStream({"vba", "vbaproject", "vba", "DIR"}), "small");
    EXPECT_EQ(kindOf([&] { file->readStream({"VBA", "VBAProject", "VBA", "nope"}); }), VbaErrorKind::Missing);
    EXPECT_EQ(kindOf([&] { file->readStream({"VBA", "VBAProject"}); }), VbaErrorKind::Missing);
    EXPECT_EQ(kindOf([&] { file->children({"VBA", "VBAProject", "PROJECT"}); }), VbaErrorKind::Missing);
}

TEST(CompoundFile, ToleratesAShortFinalSector) {
    std::string image = test::compoundFile({{"S", std::string(5000, 's')}});
    image.resize(image.size() - 100);  // cut off bytes of the stream's last sector
    const auto file = CompoundFile::open(image);
    const std::string data = file->readStream({"S"});
    ASSERT_EQ(data.size(), 5000u);
    EXPECT_EQ(data.substr(0, 4000), std::string(4000, 's'));
}

TEST(CompoundFile, RejectsWhatIsNotACompoundFile) {
    EXPECT_EQ(kindOf([] { CompoundFile::open("not a compound file"); }), VbaErrorKind::Corrupt);
    std::string image = test::compoundFile({{"S", "data"}});
    std::string garbage = image.substr(0, 512) + std::string(image.size() - 512, '\xFF');
    EXPECT_EQ(kindOf([&] { CompoundFile::open(garbage); }), VbaErrorKind::Corrupt);
    image[0x1E] = 7;  // impossible sector size
    EXPECT_EQ(kindOf([&] { CompoundFile::open(image); }), VbaErrorKind::Corrupt);
}

TEST(Modules2Blob, SplitsNamedRecordsAndRefusesDamagedBlobs) {
    const auto records = parseModules2Blob(test::modules2Blob({{"_VBA_MODULE", "module"}, {"__SRP_0", ""}}));
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].name, "_VBA_MODULE");
    EXPECT_EQ(records[0].data, "module");
    EXPECT_EQ(records[1].name, "__SRP_0");
    EXPECT_EQ(parseModules2Blob(test::modules2Blob({})).size(), 0u);

    const std::string blob = test::modules2Blob({{"_VBA_MODULE", "module"}});
    EXPECT_EQ(kindOf([&] { parseModules2Blob("\x69\x12\x05\x00" + blob.substr(4)); }), VbaErrorKind::Corrupt);
    EXPECT_EQ(kindOf([&] { parseModules2Blob(blob.substr(0, blob.size() - 1)); }), VbaErrorKind::Corrupt);
    EXPECT_EQ(kindOf([&] { parseModules2Blob(blob.substr(0, 10)); }), VbaErrorKind::Corrupt);
    EXPECT_EQ(kindOf([&] { parseModules2Blob(blob.substr(0, 6)); }), VbaErrorKind::Corrupt);
}

}  // namespace
}  // namespace ql::vba
