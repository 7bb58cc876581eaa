#include "tools/jetwriter/Database.h"

#include "tools/jetwriter/Header.h"
#include "tools/jetwriter/Properties.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace ql::jetwriter {

namespace {

constexpr std::uint32_t kMSysObjectsPage = 2;
constexpr std::uint32_t kMSysACEsPage = 3;
constexpr std::uint32_t kMSysQueriesPage = 4;
constexpr std::uint32_t kMSysRelationshipsPage = 5;

constexpr std::int32_t kTopLevel = 0x0F000000;
constexpr std::int32_t kTablesContainer = 0x0F000001;
constexpr std::int32_t kDatabasesContainer = 0x0F000002;
constexpr std::int32_t kRelationshipsContainer = 0x0F000003;
constexpr std::int32_t kMSysDbId = 0x10000000;

constexpr std::int32_t kJetSystemObject = INT32_MIN; // Flags 0x80000000

namespace objtype {
constexpr std::int16_t Table = 1;
constexpr std::int16_t Database = 2;
constexpr std::int16_t Container = 3;
constexpr std::int16_t Query = 5;
constexpr std::int16_t Relationship = 8;
constexpr std::int16_t Form = -32768;
constexpr std::int16_t Macro = -32766;
constexpr std::int16_t Report = -32764;
constexpr std::int16_t Module = -32761;
constexpr std::int16_t DatabaseDocument = -32757;
constexpr std::int16_t DataAccessPage = -32756;
} // namespace objtype

// Owners as the workgroup's built-in accounts: Jet's own objects belong to Engine, the rest to Admin.
const Bytes kEngineSid{0x02, 0x03};
const Bytes kAdminSid{0x03, 0x01};

ColumnDef col(std::string name, ColumnType t, std::uint16_t size = 0)
{
    ColumnDef c;
    c.name = std::move(name);
    c.type = t;
    c.size = size;
    return c;
}

IndexDef index(std::string name, std::vector<std::string> cols, bool unique)
{
    IndexDef ix;
    ix.name = std::move(name);
    for (auto& c : cols) ix.columns.push_back({std::move(c), true});
    ix.unique = unique;
    return ix;
}

TableDef msysObjects()
{
    TableDef t{"MSysObjects", {}, {}, {}};
    t.columns = {col("Id", ColumnType::Long),          col("ParentId", ColumnType::Long),
                 col("Name", ColumnType::Text, 255),   col("Type", ColumnType::Integer),
                 col("DateCreate", ColumnType::DateTime), col("DateUpdate", ColumnType::DateTime),
                 col("Owner", ColumnType::Binary, 255), col("Flags", ColumnType::Long),
                 col("Database", ColumnType::Memo),     col("Connect", ColumnType::Memo),
                 col("ForeignName", ColumnType::Text, 255), col("RmtInfoShort", ColumnType::Binary, 255),
                 col("RmtInfoLong", ColumnType::Ole),   col("Lv", ColumnType::Ole),
                 col("LvProp", ColumnType::Ole),        col("LvModule", ColumnType::Ole),
                 col("LvExtra", ColumnType::Ole)};
    IndexDef id = index("Id", {"Id"}, true);
    id.primaryKey = true;
    t.indexes = {id, index("ParentIdName", {"ParentId", "Name"}, true)};
    return t;
}

TableDef msysACEs()
{
    TableDef t{"MSysACEs", {}, {}, {}};
    t.columns = {col("ObjectId", ColumnType::Long), col("SID", ColumnType::Binary, 255), col("ACM", ColumnType::Long),
                 col("FInheritable", ColumnType::Boolean)};
    t.indexes = {index("ObjectId", {"ObjectId"}, false)};
    return t;
}

TableDef msysQueries()
{
    TableDef t{"MSysQueries", {}, {}, {}};
    t.columns = {col("ObjectId", ColumnType::Long),     col("Attribute", ColumnType::Byte),
                 col("Order", ColumnType::Binary, 255), col("Name1", ColumnType::Text, 255),
                 col("Name2", ColumnType::Text, 255),   col("Expression", ColumnType::Memo),
                 col("Flag", ColumnType::Integer),      col("LvExtra", ColumnType::Long)};
    t.indexes = {index("ObjectIdAttribute", {"ObjectId", "Attribute", "Order"}, true)};
    return t;
}

TableDef msysRelationships()
{
    TableDef t{"MSysRelationships", {}, {}, {}};
    t.columns = {col("szRelationship", ColumnType::Text, 255), col("grbit", ColumnType::Long),
                 col("ccolumn", ColumnType::Long),              col("icolumn", ColumnType::Long),
                 col("szObject", ColumnType::Text, 255),        col("szColumn", ColumnType::Text, 255),
                 col("szReferencedObject", ColumnType::Text, 255), col("szReferencedColumn", ColumnType::Text, 255)};
    t.indexes = {index("szObject", {"szObject"}, false), index("szReferencedObject", {"szReferencedObject"}, false),
                 index("szRelationship", {"szRelationship"}, false)};
    return t;
}

// Tables Access itself adds to a new database; Jet does not need them, but readers list them.
std::vector<TableDef> accessSystemTables()
{
    TableDef objects{"MSysAccessObjects", {col("Data", ColumnType::AccessObjectData), col("ID", ColumnType::Long)}, {}, {}};
    IndexDef ao = index("AOIndex", {"ID"}, true);
    ao.primaryKey = true;
    objects.indexes = {ao};

    TableDef specs{"MSysIMEXSpecs", {}, {}, {}};
    specs.columns = {col("DateDelim", ColumnType::Text, 1),      col("DateFourDigitYear", ColumnType::Boolean),
                     col("DateLeadingZeros", ColumnType::Boolean), col("DateOrder", ColumnType::Integer),
                     col("DecimalPoint", ColumnType::Text, 1),   col("FieldSeparator", ColumnType::Text, 1),
                     col("FileType", ColumnType::Integer),       col("SpecID", ColumnType::Long),
                     col("SpecName", ColumnType::Text, 64),      col("SpecType", ColumnType::Byte),
                     col("StartRow", ColumnType::Long),          col("TextDelim", ColumnType::Text, 1),
                     col("TimeDelim", ColumnType::Text, 1)};
    specs.columns[7].autoNumber = true;
    IndexDef specKey = index("PrimaryKey", {"SpecName"}, true);
    specKey.primaryKey = true;
    specs.indexes = {specKey};

    TableDef cols{"MSysIMEXColumns", {}, {}, {}};
    cols.columns = {col("Attributes", ColumnType::Long), col("DataType", ColumnType::Integer),
                    col("FieldName", ColumnType::Text, 64), col("IndexType", ColumnType::Byte),
                    col("SkipColumn", ColumnType::Boolean), col("SpecID", ColumnType::Long),
                    col("Start", ColumnType::Integer), col("Width", ColumnType::Integer)};
    IndexDef colKey = index("PrimaryKey", {"SpecID", "FieldName"}, true);
    colKey.primaryKey = true;
    cols.indexes = {colKey, index("Index1", {"SpecID", "Start"}, false)};
    return {objects, specs, cols};
}

constexpr std::int32_t kAccessSystemObject = 0x2;

std::string bytesOf(const Bytes& b) { return std::string(b.begin(), b.end()); }

// The database's own properties: only AccessVersion, which tells readers which Access wrote the
// file (08.50 = Access 2000).
Bytes msysDbProperties() { return buildPropertyBlob({{"", {Property::text("AccessVersion", "08.50", true)}}}); }

struct QueryCodes {
    std::int32_t objectFlags;
    std::int16_t typeFlag;
};

QueryCodes codesOf(QueryKind k)
{
    switch (k) {
    case QueryKind::Select: return {0x00, 1};
    case QueryKind::Crosstab: return {0x10, 6};
    case QueryKind::Delete: return {0x20, 5};
    case QueryKind::Update: return {0x30, 4};
    case QueryKind::Append: return {0x40, 3};
    case QueryKind::MakeTable: return {0x50, 2};
    case QueryKind::DataDefinition: return {0x60, 7};
    case QueryKind::PassThrough: return {0x70, 8};
    case QueryKind::Union: return {0x80, 9};
    }
    throw std::logic_error("query kind");
}

} // namespace

QueryDef selectQuery(std::string name, std::string table, std::vector<std::string> columns, std::string where,
                     std::string orderBy)
{
    QueryDef q;
    q.name = std::move(name);
    q.kind = QueryKind::Select;
    q.rows.push_back({3, std::int16_t{0}, {}, {}, {}});
    q.rows.push_back({5, std::nullopt, table, {}, {}});
    for (const std::string& c : columns) q.rows.push_back({6, std::int16_t{0}, {}, {}, table + "." + c});
    if (!where.empty()) q.rows.push_back({8, std::nullopt, {}, {}, where});
    if (!orderBy.empty()) q.rows.push_back({11, std::nullopt, {}, {}, orderBy});
    return q;
}

QueryDef unionQuery(std::string name, std::string first, std::string second, bool all)
{
    QueryDef q;
    q.name = std::move(name);
    q.kind = QueryKind::Union;
    q.rows.push_back({3, std::int16_t(all ? 0 : 2), {}, {}, {}});
    q.rows.push_back({5, std::nullopt, {}, "X7YZ_____1", first});
    q.rows.push_back({5, std::nullopt, {}, "X7YZ_____2", second});
    return q;
}

QueryDef deleteQuery(std::string name, std::string table, std::string where)
{
    QueryDef q;
    q.name = std::move(name);
    q.kind = QueryKind::Delete;
    q.rows.push_back({3, std::int16_t{0}, {}, {}, {}});
    q.rows.push_back({5, std::nullopt, table, {}, {}});
    q.rows.push_back({6, std::int16_t{0}, {}, {}, table + ".*"});
    if (!where.empty()) q.rows.push_back({8, std::nullopt, {}, {}, where});
    return q;
}

QueryDef updateQuery(std::string name, std::string table, std::string column, std::string value, std::string where)
{
    QueryDef q;
    q.name = std::move(name);
    q.kind = QueryKind::Update;
    q.rows.push_back({3, std::int16_t{0}, {}, {}, {}});
    q.rows.push_back({5, std::nullopt, table, {}, {}});
    q.rows.push_back({6, std::int16_t{0}, {}, table + "." + column, value});
    if (!where.empty()) q.rows.push_back({8, std::nullopt, {}, {}, where});
    return q;
}

Database::Database(const std::string& path, DatabaseOptions options)
    : file_(path), options_(options), mapPage_(0)
{
    for (int i = 0; i < 6; ++i) file_.allocate(); // header, global map, four system definitions
    auto system = [&](TableDef def, std::uint32_t page) {
        tables_.push_back(std::make_unique<TableWriter>(*this, std::move(def), true, page));
        catalog_.push_back({static_cast<std::int32_t>(page), kTablesContainer, tables_.back()->name(),
                            objtype::Table, kJetSystemObject, kEngineSid, {}});
    };
    system(msysObjects(), kMSysObjectsPage);
    system(msysACEs(), kMSysACEsPage);
    system(msysQueries(), kMSysQueriesPage);
    system(msysRelationships(), kMSysRelationshipsPage);

    for (const TableDef& def : accessSystemTables()) createTable(def).catalogFlags_ = kAccessSystemObject;

    catalog_.push_back({kTablesContainer, kTopLevel, "Tables", objtype::Container, kJetSystemObject, kEngineSid, {}});
    catalog_.push_back(
        {kDatabasesContainer, kTopLevel, "Databases", objtype::Container, kJetSystemObject, kEngineSid, {}});
    catalog_.push_back(
        {kRelationshipsContainer, kTopLevel, "Relationships", objtype::Container, kJetSystemObject, kEngineSid, {}});
    catalog_.push_back(
        {kMSysDbId, kDatabasesContainer, "MSysDb", objtype::Database, kJetSystemObject, kAdminSid, msysDbProperties()});
    const char* containers[] = {"Forms", "Reports", "Scripts", "Modules", "DataAccessPages"};
    for (int i = 0; i < 5; ++i) {
        containerIds_[i] = nextDocumentId();
        catalog_.push_back({containerIds_[i], kTopLevel, containers[i], objtype::Container, 0, kAdminSid, {}});
    }
    const std::int32_t sysRel = nextDocumentId();
    catalog_.push_back({sysRel, kTopLevel, "SysRel", objtype::Container, 0, kAdminSid, {}});
    catalog_.push_back(
        {nextDocumentId(), kDatabasesContainer, "SummaryInfo", objtype::DatabaseDocument, 0, kAdminSid, {}});
    catalog_.push_back(
        {nextDocumentId(), kDatabasesContainer, "UserDefined", objtype::DatabaseDocument, 0, kAdminSid, {}});
}

Database::~Database() = default;

TableWriter& Database::createTable(const TableDef& def)
{
    if (closed_) throw std::logic_error("database is closed");
    for (const auto& t : tables_)
        if (t->name() == def.name) throw std::invalid_argument("table " + def.name + " exists already");
    tables_.push_back(std::make_unique<TableWriter>(*this, def, false, std::nullopt));
    return *tables_.back();
}

void Database::tableFinished(const TableWriter& t)
{
    if (t.layout().system) return;
    catalog_.push_back({static_cast<std::int32_t>(t.tdefPage()), kTablesContainer, t.name(), objtype::Table,
                        t.catalogFlags_, kAdminSid, tableProperties(t.def_)});
}

void Database::addQuery(const QueryDef& query)
{
    if (query.name.empty()) throw std::invalid_argument("query needs a name");
    const std::int32_t id = nextDocumentId();
    catalog_.push_back({id, kTablesContainer, query.name, objtype::Query, codesOf(query.kind).objectFlags, kAdminSid, {}});
    queries_.emplace_back(id, query);
}

void Database::addRelationship(const RelationshipDef& rel)
{
    if (rel.name.empty() || rel.columns.empty()) throw std::invalid_argument("relationship needs a name and columns");
    catalog_.push_back(
        {nextDocumentId(), kRelationshipsContainer, rel.name, objtype::Relationship, 0, kAdminSid, {}});
    relationships_.push_back(rel);
}

void Database::addDocument(Container container, const std::string& name)
{
    static const std::int16_t types[] = {objtype::Form, objtype::Report, objtype::Macro, objtype::Module,
                                         objtype::DataAccessPage};
    const auto i = static_cast<int>(container);
    catalog_.push_back({nextDocumentId(), containerIds_[i], name, types[i], 0, kAdminSid, {}});
}

std::uint32_t Database::storeMapRow(const Bytes& row)
{
    if (row.size() > kMaxRowSize) throw std::logic_error("usage map row too large");
    if (mapPageOpen_ && !mapPage_.fits(row.size())) {
        file_.write(mapPageNo_, mapPage_.image().data(), kPageSize);
        mapPage_.reset();
        mapPageOpen_ = false;
    }
    if (!mapPageOpen_) {
        mapPageNo_ = file_.allocate();
        mapPageOpen_ = true;
    }
    return mapPageNo_ << 8 | mapPage_.add(row.data(), row.size());
}

void Database::writeSystemTables()
{
    TableWriter& objects = *tables_[0];
    TableWriter& aces = *tables_[1];
    TableWriter& queries = *tables_[2];
    TableWriter& rels = *tables_[3];

    for (const auto& [id, q] : queries_) {
        const QueryCodes codes = codesOf(q.kind);
        std::map<std::uint8_t, std::uint32_t> order;
        auto emit = [&](std::uint8_t attr, std::optional<std::int16_t> flag, const std::string& n1,
                        const std::string& n2, const std::string& expr) {
            Row r(8);
            r[0] = Value::of(id);
            r[1] = Value::of(attr);
            // Order numbers the rows of one attribute from 1, big-endian, as Access does; it keeps
            // (ObjectId, Attribute, Order) unique.
            const std::uint32_t n = ++order[attr];
            r[2] = Value::ofText(std::string{static_cast<char>(n >> 24), static_cast<char>(n >> 16),
                                             static_cast<char>(n >> 8), static_cast<char>(n)});
            if (!n1.empty()) r[3] = Value::ofText(n1);
            if (!n2.empty()) r[4] = Value::ofText(n2);
            if (!expr.empty()) r[5] = Value::ofText(expr);
            if (flag) r[6] = Value::of(*flag);
            queries.addRow(r);
        };
        emit(0, std::int16_t{0}, {}, {}, {});
        emit(1, codes.typeFlag, q.target, {}, q.typeExpression);
        std::vector<QueryRow> rows = q.rows;
        std::stable_sort(rows.begin(), rows.end(), [](const QueryRow& a, const QueryRow& b) { return a.attribute < b.attribute; });
        for (const QueryRow& r : rows) {
            if (r.attribute == 0 || r.attribute == 1 || r.attribute == 255)
                throw std::invalid_argument("query " + q.name + ": attributes 0, 1 and 255 are written by the writer");
            emit(r.attribute, r.flag, r.name1, r.name2, r.expression);
        }
        emit(255, std::nullopt, {}, {}, {});
    }

    std::map<std::string, std::int32_t> idsByName;
    for (const CatalogEntry& e : catalog_)
        if (e.type == objtype::Table) idsByName[e.name] = e.id;
    for (const RelationshipDef& rel : relationships_) {
        if (!idsByName.count(rel.primaryTable) || !idsByName.count(rel.foreignTable))
            throw std::invalid_argument("relationship " + rel.name + " names a table that does not exist");
        for (std::size_t i = 0; i < rel.columns.size(); ++i) {
            rels.addRow({Value::ofText(rel.name), Value::of(rel.grbit), Value::of(static_cast<std::int64_t>(rel.columns.size())),
                         Value::of(static_cast<std::int64_t>(i)), Value::ofText(rel.foreignTable),
                         Value::ofText(rel.columns[i].second), Value::ofText(rel.primaryTable),
                         Value::ofText(rel.columns[i].first)});
        }
    }

    // Rows go in Id order so that the Id index can be built as the rows are written.
    std::vector<CatalogEntry> sorted = catalog_;
    std::sort(sorted.begin(), sorted.end(), [](const CatalogEntry& a, const CatalogEntry& b) { return a.id < b.id; });
    for (const CatalogEntry& e : sorted) {
        // Admin holds every right on every object, as in a database nobody has secured.
        aces.addRow({Value::of(e.id), Value::ofText(bytesOf(kAdminSid)), Value::of(0xFFFFF), Value::of(1)});
    }
    queries.finish();
    rels.finish();
    aces.finish();
    for (const CatalogEntry& e : sorted) {
        Row r(17);
        r[0] = Value::of(e.id);
        r[1] = Value::of(e.parentId);
        r[2] = Value::ofText(e.name);
        r[3] = Value::of(e.type);
        r[4] = Value::ofReal(options_.created);
        r[5] = Value::ofReal(options_.created);
        r[6] = Value::ofText(bytesOf(e.owner));
        r[7] = Value::of(e.flags);
        if (!e.lvProp.empty()) r[14] = Value::ofText(bytesOf(e.lvProp));
        objects.addRow(r);
    }
    objects.finish();
}

void Database::writeGlobalMap()
{
    // Row 0 of page 1 marks free pages; every page we write is in use, so only the bits past
    // the end of the file are set.
    constexpr std::uint32_t bitmapBytes = 64;
    Bytes row;
    put8(row, 0);
    put32(row, 0);
    Bytes bits(bitmapBytes, 0);
    for (std::uint32_t p = file_.pageCount(); p < bitmapBytes * 8; ++p) bits[p / 8] |= static_cast<std::uint8_t>(1u << (p % 8));
    row.insert(row.end(), bits.begin(), bits.end());
    RowPage page(1);
    page.add(row.data(), row.size());
    file_.write(1, page.image().data(), kPageSize);
}

void Database::close()
{
    if (closed_) return;
    for (auto& t : tables_)
        if (!t->layout().system) t->finish();
    writeSystemTables();
    if (mapPageOpen_) {
        file_.write(mapPageNo_, mapPage_.image().data(), kPageSize);
        mapPageOpen_ = false;
    }
    writeGlobalMap();
    file_.write(0, buildHeaderPage(options_.created));
    file_.close();
    closed_ = true;
}

} // namespace ql::jetwriter
