#include "platform/dao/LinkedTables.h"

#include <filesystem>

#include "platform/dao/DaoState.h"
#include "platform/text/Names.h"

namespace ql::dao {

namespace {

namespace fs = std::filesystem;

// The last part of a path written with either kind of separator.
std::string fileNameOf(const std::string& stored) {
    const std::size_t slash = stored.find_last_of("/\\");
    return slash == std::string::npos ? stored : stored.substr(slash + 1);
}

fs::path locateSource(const std::string& stored, const std::string& frontEndPath) {
    std::error_code ec;
    if (!stored.empty() && fs::is_regular_file(stored, ec)) return stored;
    const fs::path beside = fs::path(frontEndPath).parent_path() / fileNameOf(stored);
    if (!fileNameOf(stored).empty() && fs::is_regular_file(beside, ec)) return beside;
    // Jet tells a folder that is not there from a file that is not there.
    const fs::path folder = fs::path(stored).parent_path();
    throw daoError(!folder.empty() && fs::is_directory(folder, ec) ? errors::CouldNotFindFile : errors::BadPath,
                   stored);
}

}  // namespace

int linkedColumnCount(const jet::CatalogEntry& link, const std::string& frontEndPath) {
    if (link.type == jet::kObjectOdbcLink) {
        const std::string dsn = connectValue(link.connect, "DSN");
        throw daoError(errors::OdbcConnection, dsn.empty() ? link.connect : dsn);
    }
    const fs::path source = locateSource(link.database, frontEndPath);
    const std::string table = link.foreignName.empty() ? link.name : link.foreignName;
    try {
        const jet::Database db = jet::Database::open(source);
        if (!db.findTable(table)) throw daoError(errors::ObjectNotFound, table);
        return static_cast<int>(db.tableDef(table).columns.size());
    } catch (const jet::Error& e) {
        if (e.kind() == jet::ErrorKind::NotJet) throw daoError(errors::UnrecognizedFormat, source.string());
        throw daoError(errors::CannotOpen, source.string());
    }
}

}  // namespace ql::dao
