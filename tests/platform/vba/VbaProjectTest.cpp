#include "platform/vba/AccessStorageTree.h"
#include "platform/vba/CompoundFile.h"
#include "platform/vba/VbaProject.h"
#include "tests/platform/vba/TestImages.h"

#include <gtest/gtest.h>

namespace ql::vba {
namespace {

const std::string kModule1 = "Attribute VB_Name = \"Module1\"\r\nOption Compare Database\r\n\r\nSub A()\r\nEnd Sub\r\n";
const std::string kModule2 = "Attribute VB_Name = \"Helpers\"\r\nOption Explicit\r\n";

// A project tree as MSysAccessStorage rows: VBA/VBAProject/{PROJECT, VBA/{dir, modules}}.
struct TreeBuilder {
    std::vector<AccessStorageRow> rows{{1, 1, "MSysAccessStorage_ROOT", 1, std::nullopt},
                                       {2, 2, "MSysAccessStorage_SCRATCH", 2, std::nullopt},
                                       {3, 1, "VBA", 1, std::nullopt},
                                       {4, 3, "VBAProject", 1, std::nullopt},
                                       {5, 4, "VBA", 1, std::nullopt}};
    std::int32_t next = 10;
    void stream(std::int32_t parent, std::string name, std::optional<std::string> data) {
        rows.push_back({next++, parent, std::move(name), 2, std::move(data)});
    }
};

TreeBuilder twoModuleProject(std::uint16_t codePage = 1252) {
    TreeBuilder tree;
    const auto m1 = test::moduleStream(kModule1);
    const auto m2 = test::moduleStream(kModule2, "");
    tree.stream(5, "dir", test::compressLiterals(test::dirStream(
                              codePage, {{"Module1", "MODULESTREAMONE", m1.sourceOffset}, {"Helpers", "HELPERS", m2.sourceOffset}})));
    tree.stream(5, "MODULESTREAMONE", m1.bytes);
    tree.stream(5, "HELPERS", m2.bytes);
    tree.stream(4, "PROJECT", std::string("ID=\"{0}\"\r\nModule=Module1\r\nModule=Helpers\r\n"));
    return tree;
}

VbaProject fromTree(const TreeBuilder& tree, int databaseCodePage = 1252) {
    return projectFromStorage(AccessStorageTree(tree.rows), ProjectLayout::AccessStorage, databaseCodePage);
}

// The rows of the tree minus the named stream, or with its content replaced.
TreeBuilder withStream(TreeBuilder tree, const std::string& name, std::optional<std::optional<std::string>> content) {
    for (auto it = tree.rows.begin(); it != tree.rows.end(); ++it) {
        if (it->name != name) continue;
        if (content) {
            it->lv = *content;
        } else {
            tree.rows.erase(it);
        }
        break;
    }
    return tree;
}

TEST(VbaProject, FindsNamesExactlyFirstThenWithoutCase) {
    TreeBuilder tree;
    const auto a = test::moduleStream("Attribute VB_Name = \"abc\"\r\nx\r\n", "");
    const auto b = test::moduleStream("Attribute VB_Name = \"ABC\"\r\ny\r\nz\r\n", "");
    tree.stream(5, "dir", test::compressLiterals(test::dirStream(1252, {{"abc", "S1", 0}, {"ABC", "S2", 0}})));
    tree.stream(5, "S1", a.bytes);
    tree.stream(5, "S2", b.bytes);
    const VbaProject project = fromTree(tree);
    EXPECT_EQ(project.source("ABC").countOfLines(), 2);
    EXPECT_EQ(project.source("abc").countOfLines(), 1);
    EXPECT_EQ(project.source("Abc").countOfLines(), 1);
    EXPECT_EQ(project.find("abcd"), nullptr);
}

VbaErrorKind sourceError(const VbaProject& project, const std::string& name) {
    try {
        project.source(name);
    } catch (const VbaError& error) {
        return error.kind();
    }
    ADD_FAILURE() << name << " read without error";
    return VbaErrorKind::TooLarge;
}

TEST(VbaProject, ADamagedModuleCostsOnlyThatModule) {
    const auto good = twoModuleProject();
    const auto m1 = test::moduleStream(kModule1);
    const std::pair<std::optional<std::optional<std::string>>, VbaErrorKind> damages[] = {
        {std::optional<std::string>(m1.bytes.substr(0, m1.bytes.size() - 5)), VbaErrorKind::Corrupt},  // cut long value
        {std::optional<std::string>(std::nullopt), VbaErrorKind::Corrupt},                              // zero-length stream
        {std::nullopt, VbaErrorKind::Missing},                                                          // stream missing
    };
    for (const auto& [content, kind] : damages) {
        const VbaProject project = fromTree(withStream(good, "MODULESTREAMONE", content));
        EXPECT_EQ(sourceError(project, "Module1"), kind);
        EXPECT_NE(project.find("Module1")->error.find("Module1"), std::string::npos);
        EXPECT_EQ(project.source("Helpers").countOfLines(), 1);
    }
    EXPECT_EQ(fromTree(good).source("Module1").lines(3, 1), "Sub A()");  // undamaged, it reads
    EXPECT_EQ(sourceError(fromTree(good), "Module9"), VbaErrorKind::Missing);
}

TEST(VbaProject, DamagedModuleTableFailsEveryModule) {
    const VbaProject project = fromTree(withStream(twoModuleProject(), "dir", std::optional<std::string>("\x01garbage")));
    EXPECT_FALSE(project.projectError().empty());
    EXPECT_EQ(sourceError(project, "Module1"), VbaErrorKind::Corrupt);
}

TEST(VbaProject, CodePageFallsBackFromProjectToDatabaseTo1252) {
    EXPECT_EQ(fromTree(twoModuleProject(1251), 1252).codePage(), 1251);
    EXPECT_EQ(fromTree(twoModuleProject(0), 874).codePage(), 874);
    EXPECT_EQ(fromTree(twoModuleProject(0), 0).codePage(), 1252);
    EXPECT_EQ(fromTree(twoModuleProject(12345), 0).codePage(), 1252);
}

TEST(ProjectStream, ListsModuleClassAndDocumentNames) {
    EXPECT_EQ(projectStreamModuleNames("ID=\"{X}\"\r\nDocument=Form_A/&H00000000\r\nModule=M\r\nClass=C\r\n"
                                       "BaseClass=U\r\nName=\"P\"\r\n\r\n[Host Extender Info]\r\nModule=No\r\n",
                                       1252),
              (std::vector<std::string>{"Form_A", "M", "C", "U"}));
}

std::vector<Modules2Row> access97Rows() {
    const auto stream = test::moduleStream(kModule1, std::string("\x01\x02\xB0\x00" "compiled", 12));
    std::string project = std::string("\xCC\x61\x5E\x00", 4) + std::string(12, '\0');
    project.replace(16, 2, test::le16(1251));
    return {
        {"Lock", 0, 1, std::nullopt},
        {"MSysDb", 2, 1, test::modules2Blob({{"_VBA_PROJECT", project}})},
        {"Module1", 0x8007, 3, test::modules2Blob({{"_VBA_MODULE", "old"}})},
        {"Module1", 0x8007, 7, test::modules2Blob({{"_VBA_MODULE", stream.bytes}, {"__SRP_0", "x"}})},
        {"Form_F", 0x8000, 1, test::modules2Blob({{"_VBA_MODULE", "compiled code only"}})},
        {"Broken", 0x8007, 1, std::string("not a blob")},
    };
}

TEST(Access97Project, ReadsTheNewestRowOfEachModule) {
    const VbaProject project = projectFromModules2(access97Rows(), 1252);
    EXPECT_EQ(project.layout(), ProjectLayout::Modules2);
    EXPECT_EQ(project.codePage(), 1251);
    ASSERT_EQ(project.modules().size(), 3u);
    EXPECT_EQ(project.source("Module1").countOfLines(), 4);
    EXPECT_EQ(project.find("Module1")->kind, ModuleKind::Procedural);
    EXPECT_EQ(project.find("Form_F")->kind, ModuleKind::Document);
    EXPECT_EQ(sourceError(project, "Form_F"), VbaErrorKind::CompiledOnly);
    EXPECT_EQ(sourceError(project, "Broken"), VbaErrorKind::Corrupt);
}

class FakeTables final : public SystemTableSource {
public:
    int jet = 4;
    bool storageUnreadable = false;
    std::optional<std::vector<Modules2Row>> modules2;
    std::optional<std::vector<AccessObjectsRow>> objects;
    std::optional<std::vector<AccessStorageRow>> storage;
    int jetVersion() const override { return jet; }
    int databaseCodePage() const override { return 1252; }
    std::optional<std::vector<Modules2Row>> modules2Rows() override { return modules2; }
    std::optional<std::vector<AccessObjectsRow>> accessObjectsRows() override { return objects; }
    std::optional<std::vector<AccessStorageRow>> accessStorageRows() override {
        if (storageUnreadable) throw std::runtime_error("table definition damaged");
        return storage;
    }
};

std::vector<AccessObjectsRow> objectRows(const std::string& image, std::size_t slice) {
    std::vector<AccessObjectsRow> rows{{0, test::le32(5) + test::le32(static_cast<std::uint32_t>(image.size()))}};
    for (std::size_t at = 0, id = 1; at < image.size(); at += slice, ++id) {
        std::string part = image.substr(at, slice);
        part.resize(slice, '\0');
        rows.push_back({static_cast<std::int32_t>(id), part});
    }
    return rows;
}

// The layouts the real files hold are read from the corpus; here what no
// corpus file shows: Access 97 rows without modules, and no project at all.
TEST(LoadVbaProject, Access97WithoutModuleRowsFallsBackAndNoTableMeansNoProject) {
    const auto tree = twoModuleProject();
    std::map<std::string, std::string> streams;
    for (const auto& row : tree.rows) {
        if (row.type != 2) continue;
        const std::string parent = row.parentId == 4 ? "VBA/VBAProject/" : "VBA/VBAProject/VBA/";
        streams[parent + row.name] = row.lv.value_or("");
    }
    FakeTables access97;
    access97.jet = 3;
    access97.objects = objectRows(test::compoundFile(streams), 3992);
    access97.modules2 = std::vector<Modules2Row>{access97Rows()[0], access97Rows()[1]};  // no module rows
    const VbaProject fromObjects = loadVbaProject(access97);
    EXPECT_EQ(fromObjects.layout(), ProjectLayout::AccessObjects);
    EXPECT_EQ(fromObjects.source("Module1").countOfLines(), 4);

    FakeTables jetOnly;
    const VbaProject none = loadVbaProject(jetOnly);
    EXPECT_EQ(none.layout(), ProjectLayout::None);
    EXPECT_EQ(sourceError(none, "Module1"), VbaErrorKind::Missing);
}

TEST(LoadVbaProject, DamagedProjectTablesBecomeProjectErrors) {
    FakeTables damagedObjects;
    damagedObjects.objects = std::vector<AccessObjectsRow>{{0, test::le32(5) + test::le32(8)}, {1, "not a compound file"}};
    const VbaProject project = loadVbaProject(damagedObjects);
    EXPECT_FALSE(project.projectError().empty());
    EXPECT_EQ(sourceError(project, "Module1"), VbaErrorKind::Corrupt);

    FakeTables unreadable;
    unreadable.storageUnreadable = true;
    const VbaProject failed = loadVbaProject(unreadable);
    EXPECT_NE(failed.projectError().find("table definition damaged"), std::string::npos);
    EXPECT_EQ(sourceError(failed, "Module1"), VbaErrorKind::Corrupt);

    FakeTables twinRoots;
    twinRoots.storage = twoModuleProject().rows;
    twinRoots.storage->push_back({99, 99, "MSysAccessStorage_ROOT", 1, std::nullopt});
    EXPECT_EQ(sourceError(loadVbaProject(twinRoots), "Module1"), VbaErrorKind::Corrupt);
}

}  // namespace
}  // namespace ql::vba
