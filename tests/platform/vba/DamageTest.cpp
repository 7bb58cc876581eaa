// Real projects with bytes changed or cut at random (fixed seeds): every
// read ends in a result or a VbaError, never a crash, a hang or a huge
// allocation. Run under the sanitizer build to catch silent overreads.
#include "platform/vba/AccessObjectsImage.h"
#include "platform/vba/AccessStorageTree.h"
#include "platform/vba/CompoundFile.h"
#include "platform/vba/VbaProject.h"
#include "tests/platform/vba/CorpusTables.h"

#include <gtest/gtest.h>

#include <random>

namespace ql::vba {
namespace {

void damage(std::string& bytes, std::mt19937& random) {
    if (bytes.empty()) return;
    const int flips = 1 + static_cast<int>(random() % 8);
    for (int i = 0; i < flips; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
    if (random() % 4 == 0) bytes.resize(random() % bytes.size());
}

// Reading every module of whatever project comes out must not crash.
void readAll(const VbaProject& project) {
    for (const auto& module : project.modules())
        if (module.source) (void)module.source->lines(1, module.source->countOfLines() + 1);
}

TEST(VbaDamage, DamagedCompoundFileImages) {
    auto tables = test::tablesOf("j4_rentals2000.mdb");
    const std::string image = assembleAccessObjects(*(*tables)->accessObjectsRows()).image;
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        std::string copy = image;
        damage(copy, random);
        try {
            readAll(projectFromStorage(*CompoundFile::open(copy), ProjectLayout::AccessObjects, 1252));
        } catch (const VbaError&) {
        }
    }
}

TEST(VbaDamage, DamagedStreamsOfAStorageTree) {
    auto tables = test::tablesOf("j4_admfinanceiro.mdb");
    const auto rows = *(*tables)->accessStorageRows();
    std::mt19937 random(11);
    int modulesFailed = 0;
    for (int round = 0; round < 300; ++round) {
        auto copy = rows;
        for (auto& row : copy)
            if (row.lv && random() % 6 == 0) damage(*row.lv, random);
        const VbaProject project = projectFromStorage(AccessStorageTree(copy), ProjectLayout::AccessStorage, 1252);
        readAll(project);
        for (const auto& module : project.modules()) modulesFailed += !module.source;
    }
    EXPECT_GT(modulesFailed, 0);  // the damage did reach the modules
}

}  // namespace
}  // namespace ql::vba
