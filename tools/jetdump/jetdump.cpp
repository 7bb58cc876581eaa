// jetdump: prints what the Jet reader sees in a file, for whoever debugs the
// format: the header, the catalogue, a table's definition and its rows, and
// an object's stored properties.
//
//   jetdump FILE                    header and catalogue
//   jetdump FILE -t TABLE [-n N]    definition, live count and the first N rows (all by default)
//   jetdump FILE -p OBJECT          the LvProp properties of a catalogue object
//   jetdump FILE -c CODEPAGE ...    read Jet 3 text with another code page
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "platform/text/Names.h"
#include "platform/jet/Database.h"

using namespace ql::jet;

namespace {

int usage() {
    std::cerr << "usage: jetdump FILE [-c CODEPAGE] [-t TABLE [-n ROWS]] [-p OBJECT]\n";
    return 2;
}

std::string hex32(std::uint32_t v) {
    char t[16];
    std::snprintf(t, sizeof t, "0x%08X", v);
    return t;
}

void printHeader(const Database& db) {
    const HeaderInfo& h = db.header();
    std::cout << "format        " << (h.format == FileFormat::Jet3 ? "Jet 3" : "Jet 4")
              << (h.workgroup ? " workgroup" : " database") << " (version byte " << h.version << ")\n"
              << "pages         " << h.pageCount << " of " << h.pageSize << " bytes\n"
              << "code page     " << h.codePage << "\n"
              << "sort order    " << h.sortOrder << " (version " << int(h.sortVersion) << ")\n"
              << "database key  " << hex32(h.databaseKey) << (h.encrypted() ? " (pages encrypted)" : "") << "\n"
              << "password      " << (h.passwordSet ? "set: " + h.password : std::string("none")) << "\n";
    if (h.creationDate) std::cout << "created       " << DateTime{*h.creationDate}.toIso() << "\n";
}

void printCatalogue(const Database& db) {
    std::cout << "\n        Id   ParentId   Type      Flags  Name\n";
    for (const CatalogEntry& e : db.catalogue()) {
        char line[96];
        std::snprintf(line, sizeof line, "%10s %10s %6d %10s  ", hex32(e.id).c_str(), hex32(e.parentId).c_str(),
                      e.type, hex32(static_cast<std::uint32_t>(e.flags)).c_str());
        std::cout << line << e.name;
        if (!e.foreignName.empty() || !e.database.empty())
            std::cout << "  -> " << e.foreignName << " in " << e.database << " " << e.connect;
        std::cout << "\n";
    }
    for (const std::string& p : db.catalogueProblems()) std::cout << "problem: " << p << "\n";
}

void printTable(const Database& db, const std::string& name, long limit) {
    const TableDef def = db.tableDef(name);
    std::cout << "table " << def.name << " at page " << def.page << (def.systemTable ? " (system)" : "")
              << ", stored row count " << def.storedRowCount << ", live " << db.liveRecordCount(def) << "\n";
    std::cout << "  #  num var fixed  len flags type       name\n";
    for (std::size_t i = 0; i < def.columns.size(); ++i) {
        const Column& c = def.columns[i];
        char line[96];
        std::snprintf(line, sizeof line, "%3zu %4u %3u %5u %4u  0x%02X %-10s ", i, c.number, c.varIndex,
                      c.fixedOffset, c.length, c.flags, typeName(c.type));
        std::cout << line << c.name << "\n";
    }
    for (const LogicalIndex& ix : def.indexes) {
        std::cout << "  index " << ix.name << " (real " << ix.realIndex << ", type " << int(ix.type) << ", flags "
                  << int(ix.flags) << "):";
        for (const IndexColumn& c : ix.columns) std::cout << " " << c.name << (c.ascending ? "" : " DESC");
        std::cout << "\n";
    }
    TableCursor cursor = db.cursor(def);
    long shown = 0;
    while (limit < 0 || shown < limit) {
        try {
            if (!cursor.next()) break;
        } catch (const Error& e) {
            std::cout << "  row " << (cursor.rowPointer() >> 8) << ":" << (cursor.rowPointer() & 0xFF)
                      << " damaged: " << e.what() << "\n";
            continue;
        }
        std::cout << "  ";
        for (std::size_t i = 0; i < cursor.values().size(); ++i) {
            if (i) std::cout << " | ";
            const Value& v = cursor[i];
            try {
                std::cout << (v.isNull() ? "<null>" : v.toDebugString());
            } catch (const Error& e) {
                std::cout << "<" << e.what() << ">";
            }
        }
        std::cout << "\n";
        ++shown;
    }
}

void printProperties(const Database& db, const std::string& name) {
    for (const CatalogEntry& e : db.catalogue()) {
        if (!ql::text::sameName(e.name, name)) continue;
        const PropertyBlob blob = db.properties(e.lvProp());
        std::cout << e.name << " (type " << e.type << "): " << blob.names.size() << " names\n";
        for (const PropertyBlock& b : blob.blocks) {
            std::cout << (b.objectLevel ? "  object" : "  part") << " [" << b.name << "]\n";
            for (const Property& p : b.properties)
                std::cout << "    " << p.name << " (" << typeName(p.type) << (p.ddl ? ", DDL" : "")
                          << ") = " << p.value.toDebugString() << "\n";
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return usage();
    std::string table, object;
    long limit = -1;
    OpenOptions options;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) return usage();
        if (arg == "-t")
            table = argv[++i];
        else if (arg == "-n")
            limit = std::strtol(argv[++i], nullptr, 10);
        else if (arg == "-p")
            object = argv[++i];
        else if (arg == "-c")
            options.codePageOverride = static_cast<std::uint16_t>(std::strtoul(argv[++i], nullptr, 10));
        else
            return usage();
    }
    try {
        const Database db = Database::open(argv[1], options);
        if (!table.empty())
            printTable(db, table, limit);
        else if (!object.empty())
            printProperties(db, object);
        else {
            printHeader(db);
            printCatalogue(db);
        }
    } catch (const Error& e) {
        std::cerr << argv[1] << ": " << toString(e.kind()) << ": " << e.what() << "\n";
        return 1;
    }
    return 0;
}
