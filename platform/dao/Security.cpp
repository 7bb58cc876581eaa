// What the workgroup's default user may read: the permissions stored in
// MSysACEs for the user's own SID and its groups' SIDs, added together.
#include "platform/dao/DaoState.h"

namespace ql::dao {

namespace {

const jet::Binary kEngineSid = {0x02, 0x03};

// Jet 4 stores SIDs XOR a 16-bit mask of the file; the engine's own SID
// on MSysObjects' catalogue row gives it away. Jet 3 stores them plainly.
jet::Binary sidMask(const jet::Database& db) {
    if (db.header().format == jet::FileFormat::Jet3) return {0, 0};
    const auto* entry = db.findById(jet::kCatalogueObjectId);
    if (!entry || entry->owner.size() < 2) return {0, 0};
    return {static_cast<std::uint8_t>(entry->owner[0] ^ kEngineSid[0]),
            static_cast<std::uint8_t>(entry->owner[1] ^ kEngineSid[1])};
}

jet::Binary unmasked(jet::Binary sid, const jet::Binary& mask) {
    for (std::size_t i = 0; i < sid.size(); ++i) sid[i] ^= mask[i % 2];
    return sid;
}

}  // namespace

std::int32_t DatabaseState::granted(std::int32_t objectId) const {
    loadRights();
    if (rights->count(-1)) return jet::kAccessFull;
    const auto it = rights->find(objectId);
    return it == rights->end() ? 0 : it->second;
}

bool DatabaseState::mayOpen() const {
    loadRights();
    if (rights->count(-1)) return true;
    const auto it = rights->find(jet::kDatabaseObjectId);
    return it != rights->end() && (it->second & jet::kAccessOpenDatabase);
}

void DatabaseState::checkRead(const jet::CatalogEntry& entry, bool definitions) const {
    loadRights();
    if (rights->count(-1)) return;
    // The system tables of the engine and of Access keep their design
    // readable to every user.
    if (definitions && (entry.flags & (jet::kObjectSystemFlag | jet::kObjectAccessSystemFlag))) return;
    const auto it = rights->find(entry.id);
    const std::int32_t acm = it == rights->end() ? 0 : it->second;
    if (definitions) {
        if ((acm & jet::kAccessReadDefinitions) != jet::kAccessReadDefinitions)
            throw daoError(errors::NoReadDefinitions, entry.name);
    } else if ((acm & jet::kAccessRetrieveData) != jet::kAccessRetrieveData) {
        throw daoError(errors::NoReadPermission, entry.name);
    }
}

void DatabaseState::loadRights() const {
    if (!rights) {
        std::map<std::int32_t, std::int32_t> granted;
        try {
            if (jet.findTable(jet::system_table::kAces)) {
                const jet::TableDef table = jet.tableDef(jet::system_table::kAces);
                const auto objectColumn = jet::columnIndex(table, jet::system_column::kObjectId);
                const auto sidColumn = jet::columnIndex(table, jet::system_column::kSid);
                const auto acmColumn = jet::columnIndex(table, jet::system_column::kAcm);
                if (objectColumn && sidColumn && acmColumn) {
                    const jet::Binary mask = sidMask(jet);
                    jet::TableCursor cursor = jet.cursor(table);
                    while (cursor.next()) {
                        const auto* sid = cursor[*sidColumn].get<jet::Binary>();
                        if (!sid) continue;
                        const jet::Binary plain = unmasked(*sid, mask);
                        bool mine = false;
                        for (const auto& own : identity.sids) mine = mine || own == plain;
                        if (!mine) continue;
                        const auto id = static_cast<std::int32_t>(jet::integerValue(cursor[*objectColumn]));
                        granted[id] |= static_cast<std::int32_t>(jet::integerValue(cursor[*acmColumn]));
                    }
                }
            } else {
                granted[-1] = -1;  // no permissions stored: nothing is withheld
            }
        } catch (const jet::Error&) {
            granted[-1] = -1;  // unreadable permissions withhold nothing rather than everything
        }
        rights = std::move(granted);
    }
}

}  // namespace ql::dao
