#include "platform/jet/TableDef.h"

#include "platform/jet/Catalogue.h"

namespace ql::jet {

const Column* TableDef::column(const std::string& wanted) const {
    const auto index = columnIndex(*this, wanted);
    return index ? &columns[*index] : nullptr;
}

}  // namespace ql::jet
