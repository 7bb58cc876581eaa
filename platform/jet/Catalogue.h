#pragma once
// The system catalogue's facts in one place: what MSysObjects' type codes
// and flag bits mean, the engine's fixed object ids, the permission bits of
// MSysACEs, the names of the system tables and of their columns, and how a
// column of a system table is found and its values read. The reader, DAO
// and the module reader all take them from here; none spells them itself.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/jet/TableDef.h"
#include "platform/jet/Value.h"

namespace ql::jet {

// MSysObjects.Type: the kinds of catalogue object the program reads.
enum ObjectType : std::int16_t {
    kObjectLocalTable = 1,
    kObjectContainer = 3,  // Tables, Forms, Relationships ...: each holds the documents of its kind
    kObjectOdbcLink = 4,   // a table linked through ODBC
    kObjectQuery = 5,
    kObjectJetLink = 6,    // a table linked from another Jet file
};

// MSysObjects.Flags bits that mark system objects.
inline constexpr std::int32_t kObjectSystemFlag = static_cast<std::int32_t>(0x80000000);  // the engine's own
inline constexpr std::int32_t kObjectAccessSystemFlag = 0x00000002;                        // Access's own

// Fixed by the engine: the page of MSysObjects' own definition, its row's
// Id, the parent of the containers, and the object MSysACEs grants the
// right to open the database on.
inline constexpr std::uint32_t kCataloguePage = 2;
inline constexpr std::int32_t kCatalogueObjectId = 2;
inline constexpr std::int32_t kContainersParentId = 0x0F000000;
inline constexpr std::int32_t kDatabaseObjectId = 0x10000000;

// MSysACEs.ACM permission bits.
inline constexpr std::int32_t kAccessOpenDatabase = 0x02;
inline constexpr std::int32_t kAccessReadDefinitions = 0x04;
inline constexpr std::int32_t kAccessRetrieveData = 0x14;  // read data implies read definitions
inline constexpr std::int32_t kAccessFull = 0xFFFFF;       // every right an object can be given

// Names of the system tables, as the engine and Access create them.
namespace system_table {
inline constexpr const char* kObjects = "MSysObjects";
inline constexpr const char* kQueries = "MSysQueries";
inline constexpr const char* kRelationships = "MSysRelationships";
inline constexpr const char* kAces = "MSysACEs";
inline constexpr const char* kAccounts = "MSysAccounts";  // workgroup file
inline constexpr const char* kGroups = "MSysGroups";      // workgroup file
inline constexpr const char* kModules2 = "MSysModules2";  // Access 97's VBA project
inline constexpr const char* kAccessObjects = "MSysAccessObjects";  // Access 2000's
inline constexpr const char* kAccessStorage = "MSysAccessStorage";  // Access 2002 and later
// The document under the Databases container that holds the project.
inline constexpr const char* kDatabaseDocument = "MSysDb";
}  // namespace system_table

// Column names of the system tables. The same name stands in several tables
// (Id, Name, Type, SID), so they are listed once here rather than per table.
namespace system_column {
inline constexpr const char* kId = "Id";
inline constexpr const char* kParentId = "ParentId";
inline constexpr const char* kName = "Name";
inline constexpr const char* kType = "Type";
inline constexpr const char* kFlags = "Flags";
inline constexpr const char* kDateCreate = "DateCreate";
inline constexpr const char* kDateUpdate = "DateUpdate";
inline constexpr const char* kOwner = "Owner";
inline constexpr const char* kDatabase = "Database";
inline constexpr const char* kConnect = "Connect";
inline constexpr const char* kForeignName = "ForeignName";
inline constexpr const char* kLvProp = "LvProp";
// MSysQueries
inline constexpr const char* kObjectId = "ObjectId";
inline constexpr const char* kAttribute = "Attribute";
inline constexpr const char* kOrder = "Order";
inline constexpr const char* kName1 = "Name1";
inline constexpr const char* kName2 = "Name2";
inline constexpr const char* kExpression = "Expression";
inline constexpr const char* kFlag = "Flag";
inline constexpr const char* kLvExtra = "LvExtra";
// MSysACEs, MSysAccounts, MSysGroups
inline constexpr const char* kSid = "SID";
inline constexpr const char* kAcm = "ACM";
inline constexpr const char* kPassword = "Password";
inline constexpr const char* kGroupSid = "GroupSID";
inline constexpr const char* kUserSid = "UserSID";
// The VBA project tables
inline constexpr const char* kVersion = "Version";
inline constexpr const char* kModule = "Module";
inline constexpr const char* kAccessObjectId = "ID";
inline constexpr const char* kData = "Data";
inline constexpr const char* kLv = "Lv";
}  // namespace system_column

// A column's position by name, without regard to case as Jet compares
// names; nullopt when the table has no such column (files differ in which
// columns their system tables have, and in their order).
std::optional<std::size_t> columnIndex(const TableDef& table, std::string_view name);

// A Byte, Integer, Long or Yes/No value as a number (Yes is -1, as VB has
// it); `fallback` for Null and for any other type.
std::int64_t integerValue(const Value& value, std::int64_t fallback = 0);
// A Text or Memo value; nullopt for Null and for types that are not text.
// A long binary value reads as empty text.
std::optional<std::string> textValue(const Value& value);

}  // namespace ql::jet
