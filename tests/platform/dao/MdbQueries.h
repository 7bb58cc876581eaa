#pragma once
// The stored rows of a corpus file's saved queries, read with mdbtools'
// mdb-export (an independent reader, used by tests only) until our own
// reader can give them.
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/dao/QueryRows.h"

namespace ql::test {

struct StoredQuery {
    std::string name;
    int catalogueType = -1;  // MSysObjects.Flags & 0xF0
    std::vector<ql::dao::QueryRow> rows;  // in the order mdb-export prints them
};

// Saved queries of a database by name. Throws std::runtime_error when
// mdb-export cannot be run or prints something unexpected.
std::map<std::string, StoredQuery> storedQueries(const std::filesystem::path& database);

}  // namespace ql::test
