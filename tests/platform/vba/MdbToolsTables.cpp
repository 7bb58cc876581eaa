#include "tests/platform/vba/MdbToolsTables.h"

#include "tests/support/Corpus.h"

// mdbtools.h wraps its glib include in extern "C"; glib's C++ parts must be
// seen first.
#include <glib.h>
#include <mdbtools.h>

#include <memory>
#include <stdexcept>

namespace ql::vba::test {
namespace {

constexpr int kJetVersionOffset = 0x14;

struct HandleCloser {
    void operator()(MdbHandle* h) const { mdb_close(h); }
};
struct TableFreer {
    void operator()(MdbTableDef* t) const { mdb_free_tabledef(t); }
};

std::int32_t number(const MdbRow& row, const std::string& column) {
    auto it = row.find(column);
    if (it == row.end() || !it->second || it->second->empty()) return 0;
    return static_cast<std::int32_t>(std::stoll(*it->second));
}

std::string text(const MdbRow& row, const std::string& column) {
    auto it = row.find(column);
    return it == row.end() || !it->second ? std::string() : *it->second;
}

std::optional<std::string> bytes(const MdbRow& row, const std::string& column) {
    auto it = row.find(column);
    return it == row.end() ? std::nullopt : it->second;
}

}  // namespace

std::optional<std::vector<MdbRow>> readMdbTable(const std::filesystem::path& file, const std::string& table) {
    std::unique_ptr<MdbHandle, HandleCloser> mdb(mdb_open(file.c_str(), MDB_NOFLAGS));
    if (!mdb) throw std::runtime_error("libmdb cannot open " + file.string());
    std::string name = table;
    std::unique_ptr<MdbTableDef, TableFreer> def(mdb_read_table_by_name(mdb.get(), name.data(), MDB_TABLE));
    if (!def) return std::nullopt;
    mdb_read_columns(def.get());
    mdb_rewind_table(def.get());

    const unsigned count = def->num_cols;
    std::vector<std::vector<char>> buffers(count);
    std::vector<int> lengths(count, 0);
    std::vector<MdbColumn*> columns(count);
    for (unsigned i = 0; i < count; ++i) {
        columns[i] = static_cast<MdbColumn*>(g_ptr_array_index(def->columns, i));
        const int type = columns[i]->col_type;
        // Binary columns are taken raw below; libmdb's text rendering of
        // them stops at the first zero byte. Long values are read through
        // their bound 12-byte header.
        if (type == MDB_BINARY || type == 0x11) continue;
        buffers[i].assign(MDB_BIND_SIZE, '\0');
        mdb_bind_column(def.get(), static_cast<int>(i + 1), buffers[i].data(), &lengths[i]);
    }

    std::vector<MdbRow> rows;
    while (mdb_fetch_row(def.get())) {
        MdbRow row;
        // Raw columns first: reading a long value reuses the page buffer.
        for (unsigned i = 0; i < count; ++i) {
            MdbColumn* col = columns[i];
            if (col->col_type != MDB_BINARY && col->col_type != 0x11) continue;
            if (col->cur_value_len <= 0) {
                row[col->name] = std::nullopt;
                continue;
            }
            const auto* page = reinterpret_cast<const char*>(mdb->pg_buf);
            row[col->name] = std::string(page + col->cur_value_start, static_cast<std::size_t>(col->cur_value_len));
        }
        for (unsigned i = 0; i < count; ++i) {
            MdbColumn* col = columns[i];
            if (col->col_type == MDB_OLE) {
                if (col->cur_value_len <= 0) {
                    row[col->name] = std::nullopt;
                    continue;
                }
                size_t size = 0;
                void* data = mdb_ole_read_full(mdb.get(), col, &size);
                row[col->name] = data ? std::string(static_cast<const char*>(data), size) : std::string();
                free(data);
            } else if (col->col_type != MDB_BINARY && col->col_type != 0x11) {
                row[col->name] = std::string(buffers[i].data(), static_cast<std::size_t>(std::max(lengths[i], 0)));
            }
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

MdbToolsTables::MdbToolsTables(std::filesystem::path file, int databaseCodePage)
    : file_(std::move(file)), codePage_(databaseCodePage) {
    const std::string header = ql::test::readFile(file_).substr(0, kJetVersionOffset + 1);
    if (header.size() <= kJetVersionOffset) throw std::runtime_error("not a Jet file: " + file_.string());
    jetVersion_ = header[kJetVersionOffset] == 0 ? 3 : 4;
}

std::optional<std::vector<Modules2Row>> MdbToolsTables::modules2Rows() {
    auto rows = readMdbTable(file_, "MSysModules2");
    if (!rows) return std::nullopt;
    std::vector<Modules2Row> out;
    for (const auto& row : *rows)
        out.push_back({text(row, "Name"), number(row, "Type"), number(row, "Version"), bytes(row, "Module")});
    return out;
}

std::optional<std::vector<AccessObjectsRow>> MdbToolsTables::accessObjectsRows() {
    auto rows = readMdbTable(file_, "MSysAccessObjects");
    if (!rows) return std::nullopt;
    std::vector<AccessObjectsRow> out;
    for (const auto& row : *rows) out.push_back({number(row, "ID"), bytes(row, "Data").value_or(std::string())});
    return out;
}

std::optional<std::vector<AccessStorageRow>> MdbToolsTables::accessStorageRows() {
    auto rows = readMdbTable(file_, "MSysAccessStorage");
    if (!rows) return std::nullopt;
    std::vector<AccessStorageRow> out;
    for (const auto& row : *rows)
        out.push_back({number(row, "Id"), number(row, "ParentId"), text(row, "Name"), number(row, "Type"),
                       bytes(row, "Lv")});
    return out;
}

}  // namespace ql::vba::test
