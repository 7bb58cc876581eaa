#include "platform/jet/Database.h"

#include <map>
#include <mutex>

#include "platform/Invariant.h"
#include "platform/jet/Context.h"
#include "platform/jet/DataPage.h"
#include "platform/jet/Header.h"
#include "platform/jet/Progress.h"
#include "platform/jet/PropertyReader.h"
#include "platform/jet/RowDecoder.h"
#include "platform/jet/TdefReader.h"
#include "platform/jet/UsageMap.h"
#include "platform/text/Names.h"

namespace ql::jet {

using namespace detail;

namespace {
// Overflow rows point to the real row; Access never chains them, so a few
// links are plenty and more is a loop.
constexpr int kMaxOverflowLinks = 8;

}  // namespace

const Value* CatalogEntry::field(const std::string& column) const {
    for (const auto& [name, value] : raw)
        if (text::sameName(name, column)) return &value;
    return nullptr;
}

Binary CatalogEntry::lvProp(std::size_t cap) const {
    const Value* v = field(system_column::kLvProp);
    if (!v) return {};
    if (const LongValue* lv = v->get<LongValue>()) return lv->bytes(cap);
    if (const Binary* b = v->get<Binary>()) return *b;
    return {};
}

struct Database::Impl {
    std::shared_ptr<Context> context;
    HeaderInfo header;
    std::vector<CatalogEntry> catalogue;
    std::vector<std::string> problems;
};

struct TableCursor::State {
    std::shared_ptr<const Context> context;
    TableDef table;
    RowDecoder decoder;
    UsageMap map;
    Page page;
    bool havePage = false;
    std::uint16_t rows = 0;
    std::uint16_t next = 0;
    std::uint32_t pointer = 0;
    std::vector<Value> values;

    State(std::shared_ptr<const Context> c, const TableDef& t)
        : context(c), table(t), decoder(c, t), map(*c, t.ownedMap) {}
};

TableCursor::TableCursor(std::unique_ptr<State> state) : state_(std::move(state)) {}
TableCursor::TableCursor(TableCursor&&) noexcept = default;
TableCursor& TableCursor::operator=(TableCursor&&) noexcept = default;
TableCursor::~TableCursor() = default;

const std::vector<Value>& TableCursor::values() const { return state_->values; }
const TableDef& TableCursor::table() const { return state_->table; }
std::uint32_t TableCursor::rowPointer() const { return state_->pointer; }

bool TableCursor::next() {
    State& s = *state_;
    const Format& format = *s.context->format;
    for (;;) {
        if (!s.havePage || s.next >= s.rows) {
            s.havePage = false;
            const std::optional<std::uint32_t> pageNumber = s.map.next();
            if (!pageNumber) {
                s.context->pages->checkUnchanged();
                return false;
            }
            pageVisited();
            Page page = s.context->pages->page(*pageNumber);
            // A freed page keeps its owner and rows; only data pages this
            // table owns count.
            if (page.type() != kPageData || u32(page.bytes(), 4) != s.table.page) continue;
            s.page = std::move(page);
            s.next = 0;
            s.rows = rowCount(s.page, format);
            s.havePage = true;
            continue;
        }
        const std::uint16_t r = s.next++;
        s.pointer = (s.page.number() << 8) | r;
        const RowSlot slot = rowSlot(s.page, format, r);
        if (slot.deleted()) continue;
        ByteSpan bytes = slot.bytes;
        Page holder;
        if (slot.overflow()) {
            // The target carries the deleted flag so that a scan meets it only
            // through its pointer, in the row order Access shows.
            for (int link = 0;; ++link) {
                if (link == kMaxOverflowLinks)
                    damaged("overflow row at page " + std::to_string(s.page.number()) + " row " +
                            std::to_string(r) + " leads into a loop");
                std::uint16_t entry = 0;
                bytes = rowByPointer(*s.context, u32(bytes, 0, "overflow row pointer"), &holder, "overflow row",
                                     &entry);
                if ((entry & kRowOverflow) == 0 || (entry & kRowDeleted)) break;
            }
        }
        s.decoder.decode(bytes, s.values);
        return true;
    }
}

Database::Database(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

namespace {

// What tells one file's contents from another's: a file written since, or
// replaced by another under the same name, is a different key.
struct FileKey {
    std::uint64_t device, inode, size;
    std::int64_t modified;
    std::uint16_t codePageOverride;
    auto operator<=>(const FileKey&) const = default;
};

// The files open anywhere in the process. An analysis opens its database
// several times over (the window, the tables grid, the module reader), each
// time while an earlier handle still holds it; reading the catalogue again
// each time was most of a small file's run. Weak, so that the last handle
// still lets go of the file.
struct OpenFiles {
    std::mutex mutex;
    std::map<FileKey, std::weak_ptr<void>> byKey;  // a Database's state
};

OpenFiles& openFiles() {
    static OpenFiles files;
    return files;
}

}  // namespace

Database Database::open(const std::filesystem::path& path, const OpenOptions& options) {
    // Opened every time, so that a file that went away or may no longer be
    // read fails this open as it would have the first.
    const OpenedFile file(path);
    const FileKey key{file.device(), file.inode(), file.size(), file.modifiedNanoseconds(), options.codePageOverride};
    OpenFiles& files = openFiles();
    {
        const std::lock_guard<std::mutex> lock(files.mutex);
        const auto it = files.byKey.find(key);
        if (it != files.byKey.end())
            if (std::shared_ptr<void> impl = it->second.lock()) return Database(std::static_pointer_cast<Impl>(impl));
    }
    Database db = fromPages(PageSource::mapFile(file), options);
    const std::lock_guard<std::mutex> lock(files.mutex);
    std::erase_if(files.byKey, [](const auto& entry) { return entry.second.expired(); });
    files.byKey[key] = db.impl_;
    return db;
}

Database Database::openBuffer(std::vector<std::uint8_t> bytes, const OpenOptions& options) {
    return fromPages(PageSource::fromBuffer(std::move(bytes)), options);
}

Database Database::fromPages(std::shared_ptr<PageSource> source, const OpenOptions& options) {
    auto impl = std::make_shared<Impl>();
    ParsedHeader parsed = parseHeader(source->fileBytes());
    impl->header = parsed.info;
    source->configure(parsed.format->pageSize, parsed.info.databaseKey, std::move(parsed.page));
    impl->context = std::make_shared<Context>();
    impl->context->pages = source;
    impl->context->format = parsed.format;
    impl->context->codec = std::make_unique<TextCodec>(
        parsed.format->jet4, options.codePageOverride ? options.codePageOverride : parsed.info.codePage);
    Database db(impl);
    db.readCatalogue();
    return db;
}

void Database::readCatalogue() {
    Impl& impl = *impl_;
    TableDef table = readTableDef(*impl.context, kCataloguePage);
    table.name = system_table::kObjects;
    namespace col = system_column;
    const auto index = [&](const char* name) { return columnIndex(table, name); };
    const auto id = index(col::kId), parentId = index(col::kParentId), name = index(col::kName),
               type = index(col::kType), flags = index(col::kFlags), dateCreate = index(col::kDateCreate),
               dateUpdate = index(col::kDateUpdate), owner = index(col::kOwner), database = index(col::kDatabase),
               connect = index(col::kConnect), foreignName = index(col::kForeignName);
    if (!id || !name || !type) damaged("the catalogue (MSysObjects, page 2) lacks its Id, Name or Type column");

    TableCursor cursor = this->cursor(table);
    for (;;) {
        try {
            if (!cursor.next()) break;
        } catch (const Error& e) {
            if (e.kind() != ErrorKind::Damaged) throw;
            impl.problems.push_back(std::string(e.what()) + " (catalogue row at page " +
                                    std::to_string(cursor.rowPointer() >> 8) + ", row " +
                                    std::to_string(cursor.rowPointer() & 0xFF) + ")");
            if (impl.problems.size() > impl.header.pageCount) throw;
            continue;
        }
        const std::vector<Value>& v = cursor.values();
        CatalogEntry entry;
        // The cursor hands out one value per column of the definition it was given.
        QL_INVARIANT(v.size() == table.columns.size());
        auto integer = [&](std::optional<std::size_t> column) -> std::int64_t {
            return column ? integerValue(v[*column]) : 0;
        };
        auto text = [&](std::optional<std::size_t> column) -> std::string {
            return column ? textValue(v[*column]).value_or("") : std::string();
        };
        entry.id = static_cast<std::int32_t>(integer(id));
        entry.parentId = static_cast<std::int32_t>(integer(parentId));
        entry.name = text(name);
        entry.type = static_cast<std::int16_t>(integer(type));
        entry.flags = static_cast<std::int32_t>(integer(flags));
        if (dateCreate)
            if (const auto* d = v[*dateCreate].get<DateTime>()) entry.dateCreate = *d;
        if (dateUpdate)
            if (const auto* d = v[*dateUpdate].get<DateTime>()) entry.dateUpdate = *d;
        if (owner)
            if (const auto* b = v[*owner].get<Binary>()) entry.owner = *b;
        entry.database = text(database);
        entry.connect = text(connect);
        entry.foreignName = text(foreignName);
        entry.raw.reserve(v.size());
        for (std::size_t i = 0; i < v.size(); ++i) entry.raw.emplace_back(table.columns[i].name, v[i]);
        impl.catalogue.push_back(std::move(entry));
    }
}

const HeaderInfo& Database::header() const { return impl_->header; }
void Database::checkUnchanged() const { impl_->context->pages->checkUnchanged(); }
const std::vector<CatalogEntry>& Database::catalogue() const { return impl_->catalogue; }
const std::vector<std::string>& Database::catalogueProblems() const { return impl_->problems; }

const CatalogEntry* Database::findObject(const std::string& name, std::int16_t type) const {
    for (const CatalogEntry& e : impl_->catalogue)
        if (e.type == type && text::sameName(e.name, name)) return &e;
    return nullptr;
}

const CatalogEntry* Database::findById(std::int32_t id) const {
    for (const CatalogEntry& e : impl_->catalogue)
        if (e.id == id) return &e;
    return nullptr;
}

const CatalogEntry* Database::findTable(const std::string& name) const {
    return findObject(name, kObjectLocalTable);
}

TableDef Database::tableDef(const std::string& name) const {
    const CatalogEntry* entry = findTable(name);
    if (!entry) throw Error(ErrorKind::NotFound, "no table named " + name);
    return tableDef(entry->tdefPage(), entry->name);
}

TableDef Database::tableDef(std::uint32_t tdefPage, const std::string& name) const {
    TableDef def = readTableDef(*impl_->context, tdefPage);
    def.name = name;
    return def;
}

std::uint64_t Database::liveRecordCount(const TableDef& table) const {
    const Context& context = *impl_->context;
    UsageMap map(context, table.ownedMap);
    std::uint64_t count = 0;
    const std::size_t offsetTable = context.format->dataRowCountOffset + 2;
    while (const std::optional<std::uint32_t> pageNumber = map.next()) {
        pageVisited();
        const Page page = context.pages->page(*pageNumber);
        if (page.type() != kPageData || u32(page.bytes(), 4) != table.page) continue;
        const std::uint16_t rows = rowCount(page, *context.format);
        for (std::uint16_t r = 0; r < rows; ++r)
            if (!(u16(page.bytes(), offsetTable + 2u * r) & kRowDeleted)) ++count;
    }
    context.pages->checkUnchanged();
    return count;
}

TableCursor Database::cursor(const TableDef& table) const {
    return TableCursor(std::make_unique<TableCursor::State>(impl_->context, table));
}

PropertyBlob Database::properties(const Binary& blob) const { return parseProperties(impl_->context, ByteSpan(blob)); }

std::string Database::decodeText(const Binary& bytes) const { return impl_->context->codec->decodeText(ByteSpan(bytes)); }

}  // namespace ql::jet
