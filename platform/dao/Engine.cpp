// The engine: DBEngine::OpenDatabase checks the workgroup file (SystemDB),
// the path, the file's format and its database password, then hands out a
// Database over the Jet reader with the identity the workgroup gives the
// default user. What that user may read is decided in Security.cpp; this
// file only finds who the user is and whether the database opens at all.
#include <cstring>
#include <filesystem>
#include <map>
#include <system_error>

#include "platform/dao/DaoState.h"
#include "platform/text/Names.h"

namespace ql::dao {

namespace fs = std::filesystem;

namespace {

// Where a name given to OpenDatabase points, as DAO reports it: the full path.
std::string fullPath(const std::string& name) {
    std::error_code ec;
    const fs::path absolute = fs::absolute(fs::path(name), ec);
    return ec ? name : absolute.lexically_normal().string();
}

// An empty 8-byte block of a workgroup password always encrypts to this.
constexpr std::uint8_t kBlankPasswordBlock[8] = {0x69, 0x52, 0xAD, 0x67, 0xF3, 0xD5, 0xE1, 0xE6};
const jet::Binary kAdminSid = {0x03, 0x01};
const jet::Binary kUsersSid = {0x02, 0x01};

bool blankPassword(const jet::Value& password) {
    if (password.isNull()) return true;
    const auto* bytes = password.get<jet::Binary>();
    if (!bytes || bytes->empty() || bytes->size() % 8 != 0) return false;
    for (std::size_t i = 0; i < bytes->size(); i += 8)
        if (std::memcmp(bytes->data() + i, kBlankPasswordBlock, 8) != 0) return false;
    return true;
}

// Opens the workgroup file and finds who the default user is in it.
Identity openWorkgroup(const std::string& path) {
    Identity identity;
    identity.present = true;
    identity.sids = {kAdminSid, kUsersSid};
    try {
        jet::Database workgroup = jet::Database::open(path);
        namespace col = jet::system_column;
        if (!workgroup.header().workgroup || !workgroup.findTable(jet::system_table::kAccounts))
            throw daoError(errors::WorkgroupMissing);
        const jet::TableDef accounts = workgroup.tableDef(jet::system_table::kAccounts);
        const auto nameColumn = jet::columnIndex(accounts, col::kName);
        const auto sidColumn = jet::columnIndex(accounts, col::kSid);
        const auto passwordColumn = jet::columnIndex(accounts, col::kPassword);
        if (!nameColumn || !sidColumn || !passwordColumn) throw daoError(errors::WorkgroupMissing);
        std::map<std::string, jet::Binary> sidByName;
        bool adminFound = false;
        jet::TableCursor cursor = workgroup.cursor(accounts);
        while (cursor.next()) {
            const auto* sid = cursor[*sidColumn].get<jet::Binary>();
            const auto* accountName = cursor[*nameColumn].get<std::string>();
            if (sid && accountName) sidByName[*accountName] = *sid;
            if (sid && *sid == kAdminSid) {
                adminFound = true;
                if (!blankPassword(cursor[*passwordColumn])) throw daoError(errors::BadAccount);
            }
        }
        if (!adminFound) throw daoError(errors::BadAccount);
        // The groups Admin belongs to in this workgroup (Admins among them).
        if (workgroup.findTable(jet::system_table::kGroups)) {
            const jet::TableDef groups = workgroup.tableDef(jet::system_table::kGroups);
            const auto groupColumn = jet::columnIndex(groups, col::kGroupSid);
            const auto userColumn = jet::columnIndex(groups, col::kUserSid);
            if (groupColumn && userColumn) {
                const std::size_t gi = *groupColumn, ui = *userColumn;
                jet::TableCursor members = workgroup.cursor(groups);
                while (members.next()) {
                    const auto* user = members[ui].get<jet::Binary>();
                    const auto* group = members[gi].get<jet::Binary>();
                    if (user && group && *user == kAdminSid && *group != kUsersSid) identity.sids.push_back(*group);
                }
            }
        }
    } catch (const jet::Error&) {
        throw daoError(errors::WorkgroupMissing);
    }
    return identity;
}


}  // namespace

Database DBEngine::OpenDatabase(const std::string& name, bool, bool, const std::string& connect) {
    // Without a workgroup file of its own the engine uses the default one,
    // where Admin is a member of Users and of no group this file knows.
    Identity identity;
    identity.sids = {kAdminSid, kUsersSid};
    if (!SystemDB.empty()) identity = openWorkgroup(SystemDB);

    const std::string full = fullPath(name);
    std::error_code ec;
    const fs::path path(full);
    if (!fs::exists(path, ec)) {
        const fs::path folder = path.parent_path();
        if (!folder.empty() && !fs::is_directory(folder, ec)) throw daoError(errors::BadPath, full);
        throw daoError(errors::CouldNotFindFile, full);
    }
    if (fs::is_directory(path, ec)) throw daoError(errors::NoFilePermission, full);
    std::optional<jet::Database> db;
    try {
        db = jet::Database::open(path);
    } catch (const jet::Error& error) {
        switch (error.kind()) {
        case jet::ErrorKind::FileMissing: throw daoError(errors::CouldNotFindFile, full);
        case jet::ErrorKind::NoPermission: throw daoError(errors::NoFilePermission, full);
        case jet::ErrorKind::NotJet:
        case jet::ErrorKind::Unsupported: throw daoError(errors::UnrecognizedFormat, full);
        default: throw daoError(errors::CannotOpen, full);
        }
    }
    if (db->header().workgroup) throw daoError(errors::UnrecognizedFormat, full);
    if (db->header().passwordSet) {
        std::string given = connectValue(connect, "PWD");
        std::string stored = db->header().password;
        if (db->header().format == jet::FileFormat::Jet3) {
            // Jet 3 compares no more than the first 13 characters.
            given = given.substr(0, 13);
            stored = stored.substr(0, 13);
        }
        if (given != stored) throw daoError(errors::BadPassword);
    }
    auto state = std::make_shared<DatabaseState>(std::move(*db));
    state->name = name;
    state->jet3 = state->jet.header().format == jet::FileFormat::Jet3;
    state->identity = std::move(identity);
    if (!SystemDB.empty()) state->workgroupInput = files::ProtectedInput::ofPath(SystemDB);
    if (!state->mayOpen()) throw daoError(errors::NoObjectPermission, full);
    return Database(state);
}

Database::Database(std::shared_ptr<DatabaseState> state) : state_(std::move(state)) {
    std::weak_ptr<DatabaseState> weak = state_;
    lifetime_ = std::shared_ptr<void>(nullptr, [weak](void*) {
        if (const auto state = weak.lock()) state->releaseDefinitions();
    });
}

std::string connectValue(const std::string& connect, const std::string& key) {
    std::size_t start = 0;
    while (start <= connect.size()) {
        const std::size_t end = std::min(connect.find(';', start), connect.size());
        const std::string part = connect.substr(start, end - start);
        const std::size_t equals = part.find('=');
        if (equals != std::string::npos && text::sameName(text::trimmed(part.substr(0, equals)), key))
            return part.substr(equals + 1);
        start = end + 1;
    }
    return {};
}

}  // namespace ql::dao
