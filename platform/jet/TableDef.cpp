#include "platform/jet/TableDef.h"

#include "platform/jet/Database.h"

namespace ql::jet {

const Column* TableDef::column(const std::string& wanted) const {
    for (const Column& c : columns)
        if (sameName(c.name, wanted)) return &c;
    return nullptr;
}

}  // namespace ql::jet
