// Property blobs (MSysObjects.LvProp) in Jet 4's "MR2" form.
#pragma once

#include "tools/jetwriter/Bytes.h"
#include "tools/jetwriter/Schema.h"

#include <string>
#include <vector>

namespace ql::jetwriter {

struct Property {
    std::string name;
    ColumnType type = ColumnType::Text;
    Bytes data; // as stored: Text is UCS-2LE, Boolean one byte
    bool ddl = false;

    static Property text(std::string name, const std::string& utf8, bool ddl = false);
    static Property boolean(std::string name, bool value, bool ddl = false);
};

struct PropertySet {
    std::string name; // empty: the object's own properties; else a column (or query field)
    std::vector<Property> properties;
};

// The blob for `sets`, or an empty blob when no set has a property.
Bytes buildPropertyBlob(const std::vector<PropertySet>& sets);

// Description of the table, Description and Required of its columns.
Bytes tableProperties(const TableDef& def);

} // namespace ql::jetwriter
