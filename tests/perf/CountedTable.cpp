#include "tests/perf/CountedTable.h"

#include <string>

#include "tests/support/TempFolder.h"
#include "tools/jetwriter/Database.h"

namespace ql::test {

namespace {

std::filesystem::path write(const std::filesystem::path& path) {
    namespace jw = ql::jetwriter;
    jw::Database db(path.string(), jw::DatabaseOptions{});
    jw::TableDef def;
    def.name = "Counted";
    def.columns.resize(2);
    def.columns[0].name = "ID";
    def.columns[0].type = jw::ColumnType::Long;
    def.columns[1].name = "Note";
    def.columns[1].type = jw::ColumnType::Text;
    def.columns[1].size = 80;
    jw::TableWriter& table = db.createTable(def);
    const std::string note(60, 'n');
    for (std::uint64_t i = 0; i < kCountedRows; ++i)
        table.addRow({jw::Value::of(static_cast<std::int64_t>(i)), jw::Value::ofText(note)});
    db.close();
    return path;
}

}  // namespace

const std::filesystem::path& countedDatabase() {
    static const TempFolder folder;
    static const std::filesystem::path path = write(folder / "counted.mdb");
    return path;
}

}  // namespace ql::test
