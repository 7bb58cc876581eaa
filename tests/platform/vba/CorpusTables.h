#pragma once
// The system tables of a corpus file, read by the project's Jet reader.
#include "platform/jet/Database.h"
#include "platform/vba/JetSystemTables.h"
#include "platform/vba/VbaProject.h"

#include <memory>
#include <string>

namespace ql::vba::test {

class CorpusTables {
public:
    explicit CorpusTables(const std::string& file);
    JetSystemTables* operator->() { return &tables_; }
    JetSystemTables& operator*() { return tables_; }

private:
    jet::Database db_;
    JetSystemTables tables_;
};

std::unique_ptr<CorpusTables> tablesOf(const std::string& file);
VbaProject projectOf(const std::string& file);

}  // namespace ql::vba::test
