// The module reader over a whole stored project. The first byte picks the
// layout: a compound-file image (Access 2000-2003), or an Access 97 module
// blob (also offered as the project row, which holds the code page).
// Reading a project never throws for damage, so only the compound file's
// own open may raise a VbaError here.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/vba/CompoundFile.h"
#include "platform/vba/Modules2.h"
#include "platform/vba/SystemTableRows.h"
#include "platform/vba/VbaError.h"
#include "platform/vba/VbaProject.h"

namespace {

void readModules(const ql::vba::VbaProject& project)
{
    for (const ql::vba::ProjectModule& module : project.modules()) {
        try {
            (void)project.source(module.name);
        } catch (const ql::vba::VbaError&) {
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1)
        return 0;
    const std::string body(reinterpret_cast<const char*>(data) + 1, size - 1);
    if ((data[0] & 1) == 0) {
        std::unique_ptr<ql::vba::CompoundFile> file;
        try {
            file = ql::vba::CompoundFile::open(body);
        } catch (const ql::vba::VbaError&) {
            return 0;
        }
        readModules(ql::vba::projectFromStorage(*file, ql::vba::ProjectLayout::AccessObjects, 1252));
    } else {
        try {
            (void)ql::vba::parseModules2Blob(body);
        } catch (const ql::vba::VbaError&) {
        }
        std::vector<ql::vba::Modules2Row> rows(2);
        rows[0].name = "MSysDb";
        rows[0].module = body;
        rows[1].name = "Module1";
        rows[1].version = 1;
        rows[1].module = body;
        readModules(ql::vba::projectFromModules2(rows, 1252));
    }
    return 0;
}
