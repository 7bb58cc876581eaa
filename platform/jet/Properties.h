#pragma once
// LvProp blobs: the stored properties of an object and of its columns (or
// query fields). A blob is a name dictionary followed by blocks of values.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/jet/Value.h"

namespace ql::jet {

struct Property {
    std::string name;
    std::uint8_t type = 0;   // ColumnType code
    bool ddl = false;        // set by DDL (cannot be removed by the user interface)
    Value value;             // Boolean, Byte, Integer, Long, ..., Text (std::string), Binary
};

struct PropertyBlock {
    bool objectLevel = true;  // block kind 0x00 (the object) or 0x01 (a named part)
    std::string name;         // the column or query field the block is for; may be empty
    std::vector<Property> properties;
    const Property* find(const std::string& name) const;  // case-insensitive
};

struct PropertyBlob {
    std::vector<std::string> names;     // the dictionary, in stored order
    std::vector<PropertyBlock> blocks;  // in stored order
    const PropertyBlock* objectBlock() const;                   // first object-level block, or nullptr
    const PropertyBlock* block(const std::string& name) const;  // a part's block by name (case-insensitive)
};

}  // namespace ql::jet
