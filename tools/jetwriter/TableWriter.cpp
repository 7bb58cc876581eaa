#include "tools/jetwriter/Database.h"

#include <algorithm>
#include <stdexcept>

namespace ql::jetwriter {

namespace idxflag {
constexpr std::uint8_t Unique = 0x01;
constexpr std::uint8_t IgnoreNulls = 0x02;
constexpr std::uint8_t Required = 0x08;
constexpr std::uint8_t Always = 0x80; // Jet 4 sets it on every index
} // namespace idxflag

TableWriter::TableWriter(Database& db, TableDef def, bool system, std::optional<std::uint32_t> tdefPage)
    : db_(db), def_(std::move(def)), layout_(layoutTable(def_, system)),
      longValues_(db.file(), db.options().longValues), encoder_(layout_, longValues_), page_(0)
{
    for (const ColumnLayout& c : layout_.columns) names_.push_back(c.def.name);
    if (def_.indexes.size() > 1000) throw std::invalid_argument("too many indexes");
    std::set<std::string> indexNames;
    int primaries = 0;
    for (const IndexDef& ix : def_.indexes) {
        if (ix.name.empty() || !indexNames.insert(ix.name).second)
            throw std::invalid_argument("table " + def_.name + ": empty or repeated index name");
        if (ix.columns.empty() || ix.columns.size() > 10)
            throw std::invalid_argument("index " + ix.name + " must have 1..10 columns");
        BuiltIndex b;
        for (const IndexColumn& ic : ix.columns) {
            auto it = std::find(names_.begin(), names_.end(), ic.column);
            if (it == names_.end()) throw std::invalid_argument("index " + ix.name + ": no column " + ic.column);
            b.columns.emplace_back(static_cast<std::uint16_t>(it - names_.begin()), ic.ascending);
        }
        const bool unique = ix.unique || ix.primaryKey;
        const bool required = ix.required || ix.primaryKey;
        b.flags = idxflag::Always | (unique ? idxflag::Unique : 0) | (ix.ignoreNulls ? idxflag::IgnoreNulls : 0) |
                  (required ? idxflag::Required : 0);
        if (ix.primaryKey) {
            if (++primaries > 1) throw std::invalid_argument("table " + def_.name + " has two primary keys");
            if (b.columns.size() == 1 && b.columns[0].second &&
                layout_.columns[b.columns[0].first].def.type == ColumnType::Long)
                b.longKeyColumn = b.columns[0].first;
        }
        if (!b.longKeyColumn) {
            std::size_t width = 0;
            bool sortable = true;
            for (const auto& [column, ascending] : b.columns) {
                const ColumnType t = layout_.columns[column].def.type;
                sortable = sortable && sortableKeyType(t);
                if (sortable) width += indexKeyWidth(t);
            }
            if (sortable) b.sorter = std::make_unique<IndexSorter>(width);
        }
        b.exact = b.longKeyColumn || b.sorter;
        b.pages = std::make_unique<IndexPageWriter>(db_.file(), 0);
        indexes_.push_back(std::move(b));
    }
    // The definition's size does not depend on the rows, so its pages can be set aside now and
    // the definition written once the row count and maps are known.
    std::vector<LogicalIndexInfo> logical;
    const Bytes probe = buildTdefStream(content(logical));
    const std::uint32_t need = tdefPagesFor(probe.size());
    if (tdefPage) {
        if (need != 1) throw std::logic_error("a table at a fixed page must fit one page");
        tdefPages_.push_back(*tdefPage);
    } else {
        for (std::uint32_t i = 0; i < need; ++i) tdefPages_.push_back(db_.file().allocate());
    }
    for (BuiltIndex& b : indexes_) b.pages = std::make_unique<IndexPageWriter>(db_.file(), tdefPages_.front());
}

TdefContent TableWriter::content(std::vector<LogicalIndexInfo>& logical) const
{
    TdefContent c;
    c.layout = &layout_;
    c.columnNames = &names_;
    c.rowCount = static_cast<std::uint32_t>(std::min<std::uint64_t>(rows_, 0xFFFFFFFFu));
    c.nextAutoNumber = static_cast<std::uint32_t>(maxAuto_ + 1);
    logical.clear();
    for (std::size_t i = 0; i < def_.indexes.size(); ++i) {
        RealIndexInfo r;
        r.columns = indexes_[i].columns;
        r.flags = indexes_[i].flags;
        // Until finish() counts them, the row count stands in (exact for a unique index).
        r.distinctKeys = indexes_[i].exact
                             ? static_cast<std::uint32_t>(std::min<std::uint64_t>(indexes_[i].distinctKeys, 0xFFFFFFFFu))
                             : c.rowCount;
        c.realIndexes.push_back(r);
        logical.push_back({def_.indexes[i].name, static_cast<std::uint32_t>(i), def_.indexes[i].primaryKey});
    }
    c.logicalIndexes = logical;
    for (const ColumnLayout& col : layout_.columns)
        if (isLongValue(col.def.type)) c.longValueMaps.push_back({col.number, 0, 0});
    return c;
}

void TableWriter::flushDataPage()
{
    if (!pageOpen_) return;
    db_.file().write(pageNo_, page_.image().data(), kPageSize);
    page_ = RowPage(tdefPages_.front());
    pageOpen_ = false;
}

void TableWriter::addRow(const Row& row)
{
    if (finished_) throw std::logic_error("table " + def_.name + " is finished");
    const Row* use = &row;
    Row filled;
    for (const ColumnLayout& c : layout_.columns) {
        if (!c.def.autoNumber || c.def.type != ColumnType::Long || c.number >= row.size()) continue;
        if (row[c.number].isNull()) {
            if (use != &filled) filled = row;
            use = &filled;
            filled[c.number] = Value::of(maxAuto_ + 1);
        }
        const Value& v = (*use)[c.number];
        if (v.kind == Value::Kind::Integer) maxAuto_ = std::max(maxAuto_, v.integer);
    }
    // Keys are checked before the row is placed, so a refused row leaves nothing behind.
    keys_.clear();
    for (BuiltIndex& b : indexes_) {
        if (!b.longKeyColumn) continue;
        const Value& v = (*use)[*b.longKeyColumn];
        if (v.kind != Value::Kind::Integer) throw std::invalid_argument("primary key of " + def_.name + " is null");
        if (v.integer < INT32_MIN || v.integer > INT32_MAX) throw std::invalid_argument("primary key out of range");
        keys_.push_back(longIndexKey(static_cast<std::int32_t>(v.integer)));
        if (!b.pages->accepts(keys_.back()))
            throw std::invalid_argument("primary key values of " + def_.name + " must be written in ascending order");
    }
    encoder_.encode(*use, rowBuf_);
    sortedKeys_.resize(indexes_.size());
    for (std::size_t i = 0; i < indexes_.size(); ++i) {
        if (!indexes_[i].sorter) continue;
        sortedKeys_[i].clear();
        for (const auto& [column, ascending] : indexes_[i].columns)
            appendIndexKey(sortedKeys_[i], layout_.columns[column].def.type, (*use)[column], ascending);
    }
    if (pageOpen_ && !page_.fits(rowBuf_.size())) flushDataPage();
    if (!pageOpen_) {
        page_ = RowPage(tdefPages_.front());
        pageNo_ = db_.file().allocate();
        dataPages_.add(pageNo_);
        pageOpen_ = true;
    }
    const std::uint8_t r = page_.add(rowBuf_.data(), rowBuf_.size());
    const std::uint32_t ptr = pageNo_ << 8 | r;
    std::size_t k = 0;
    for (std::size_t i = 0; i < indexes_.size(); ++i) {
        BuiltIndex& b = indexes_[i];
        if (b.longKeyColumn) b.pages->add(keys_[k++], ptr);
        else if (b.sorter) b.sorter->add(sortedKeys_[i], ptr);
    }
    ++rows_;
}

void TableWriter::finish()
{
    if (finished_) return;
    finished_ = true;
    flushDataPage();
    longValues_.flush();
    PageFile& f = db_.file();
    const std::uint32_t mapBytes = db_.options().inlineMapBytes;
    for (BuiltIndex& b : indexes_) {
        if (b.longKeyColumn) b.distinctKeys = rows_;
        if (b.sorter) {
            b.distinctKeys = b.sorter->drain(*b.pages);
            b.sorter.reset();
        }
    }
    std::vector<LogicalIndexInfo> logical;
    TdefContent c = content(logical);
    c.ownedMap = db_.storeMapRow(encodeUsageMap(dataPages_, f, mapBytes));
    const std::uint32_t emptyMap = db_.storeMapRow(encodeUsageMap(PageSet{}, f, mapBytes));
    c.freeMap = emptyMap;
    for (std::size_t i = 0; i < indexes_.size(); ++i) {
        c.realIndexes[i].rootPage = indexes_[i].pages->finish();
        c.realIndexes[i].usageMap = db_.storeMapRow(encodeUsageMap(indexes_[i].pages->pages(), f, mapBytes));
    }
    if (!c.longValueMaps.empty()) {
        const std::uint32_t lvMap = db_.storeMapRow(encodeUsageMap(longValues_.pages(), f, mapBytes));
        for (LongValueMaps& m : c.longValueMaps) {
            m.owned = lvMap;
            m.free = emptyMap;
        }
    }
    const Bytes stream = buildTdefStream(c);
    writeTdef(f, stream, tdefPages_);
    db_.tableFinished(*this);
}

} // namespace ql::jetwriter
