// Opens a database with a workgroup file, both taken from the input: the
// first four bytes (little-endian, taken modulo the rest's length) give the
// length of the workgroup file, the database follows it. After the open the
// objects the workgroup's accounts decide are read: the containers with their
// permissions, the table definitions and the database properties. Only DAO's
// run-time error may leave the DAO layer; anything else is a finding.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/RuntimeError.h"
#include "platform/dao/Dao.h"
#include "tests/fuzz/ScratchFiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 4)
        return 0;
    const std::size_t rest = size - 4;
    const std::uint32_t declared = data[0] | (data[1] << 8) | (data[2] << 16) | (std::uint32_t(data[3]) << 24);
    const std::size_t workgroupSize = rest ? declared % (rest + 1) : 0;
    const std::string workgroup = ql::fuzz::writeScratch("system.mdw", data + 4, workgroupSize);
    const std::string database =
        ql::fuzz::writeScratch("database.mdb", data + 4 + workgroupSize, rest - workgroupSize);

    auto guarded = [](auto&& read) {
        try {
            read();
        } catch (const ql::RuntimeError&) {
        }
    };
    ql::dao::DBEngine engine;
    engine.SystemDB = workgroup;
    guarded([&] {
        const ql::dao::Database db = engine.OpenDatabase(database, false, true);
        guarded([&] {
            for (const auto& c : db.Containers()) {
                (void)c.Permissions();
                (void)c.Documents().Count();
            }
        });
        guarded([&] {
            for (const auto& t : db.TableDefs())
                guarded([&] { (void)t.Fields().Count(); });
        });
        guarded([&] {
            for (const auto& p : db.Properties())
                guarded([&] { (void)p.Value(); });
        });
    });
    return 0;
}
