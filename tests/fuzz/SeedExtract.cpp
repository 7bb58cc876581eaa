// Writes seed inputs for the VBA targets from real databases: each Access 97
// module blob, each Access 2000 compound-file image, and each stream of an
// Access 2002/2003 storage tree (dir streams and module streams carry the
// compressed containers). Usage: fuzz_seed_extract <out-dir> <database>...
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/jet/Database.h"
#include "platform/vba/AccessObjectsImage.h"
#include "platform/vba/JetSystemTables.h"
#include "platform/vba/VbaError.h"

namespace {

int written = 0;

void put(const std::filesystem::path& dir, const std::string& name, char prefix, bool withPrefix,
         const std::string& bytes)
{
    std::filesystem::create_directories(dir);
    std::ofstream out(dir / name, std::ios::binary);
    if (withPrefix)
        out.put(prefix);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    ++written;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <out-dir> <database>...\n", argv[0]);
        return 2;
    }
    const std::filesystem::path out = argv[1];
    for (int i = 2; i < argc; ++i) {
        const std::string stem = std::filesystem::path(argv[i]).stem().string();
        try {
            const ql::jet::Database db = ql::jet::Database::open(argv[i]);
            ql::vba::JetSystemTables tables(db);
            int n = 0;
            if (auto rows = tables.modules2Rows())
                for (const auto& row : *rows)
                    if (row.module)
                        put(out / "vba_project", stem + "-m2-" + std::to_string(n++), '\1', true, *row.module);
            if (auto rows = tables.accessObjectsRows()) {
                try {
                    const auto image = ql::vba::assembleAccessObjects(*rows);
                    put(out / "vba_project", stem + "-cfb", '\0', true, image.image);
                } catch (const ql::vba::VbaError&) {
                }
            }
            if (auto rows = tables.accessStorageRows())
                for (const auto& row : *rows)
                    if (row.lv && !row.lv->empty() && row.lv->size() < (1u << 20))
                        put(out / "vba_decompress", stem + "-st-" + std::to_string(n++), 0, false, *row.lv);
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s: %s\n", argv[i], e.what());
        }
    }
    std::printf("%d seeds written\n", written);
    return 0;
}
