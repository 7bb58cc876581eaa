#include "tests/robustness/Walk.h"

#include <optional>
#include <sstream>
#include <vector>

#include "platform/RuntimeError.h"
#include "platform/dao/Dao.h"
#include "platform/vba/Automation.h"
#include "platform/vba/JetSystemTables.h"

namespace ql::robustness {

namespace {

class Walker {
public:
    explicit Walker(Outcome& outcome) : outcome_(outcome) {}

    // Runs one read; a DAO error is counted and the walk goes on, as the
    // analysis's error regions do.
    template <class F>
    void guarded(F&& read) {
        try {
            read();
        } catch (const RuntimeError& e) {
            if (outcome_.errors++ == 0) outcome_.message = std::to_string(e.number()) + " " + e.description();
        }
    }

    void walk(const dao::Database& db) {
        guarded([&] {
            for (const dao::TableDef& t : db.TableDefs()) {
                guarded([&] {
                    for (const dao::Field& f : t.Fields()) (void)f.Size();
                });
                guarded([&] {
                    for (const dao::Index& i : t.Indexes()) (void)i.Fields().Count();
                });
                guarded([&] { (void)t.RecordCount(); });
                guarded([&] { readAll(db.OpenRecordset("Select count(*) as Recs from [" + t.Name() + "]")); });
                guarded([&] { readAll(db.OpenRecordset("Select * from [" + t.Name() + "]")); });
            }
        });
        guarded([&] {
            for (const dao::QueryDef& q : db.QueryDefs()) {
                guarded([&] { (void)q.Type(); });
                guarded([&] { (void)q.SQL(); });
                guarded([&] { (void)q.FieldsCount(); });
            }
        });
        guarded([&] {
            for (const dao::Container& c : db.Containers()) {
                (void)c.Permissions();
                for (const dao::Document& d : c.Documents()) (void)d.Name();
            }
        });
        guarded([&] {
            for (const dao::Property& p : db.Properties()) guarded([&] { (void)p.Value(); });
        });
        guarded([&] { readAll(db.OpenRecordset("Select * from MSysObjects order by Name")); });
        guarded([&] {
            readAll(db.OpenRecordset("SELECT DISTINCT szObject, szReferencedObject, szRelationship FROM "
                                     "MSysRelationships"));
        });
    }

    // The module scan as the modules grid does it: names from the Modules
    // container, lines through the automation stand-in.
    void modules(const dao::Database& db, const std::string& database) {
        guarded([&] {
            std::vector<std::string> names;
            for (const dao::Container& c : db.Containers())
                if (c.Name() == "Modules")
                    for (const dao::Document& d : c.Documents()) names.push_back(d.Name());
            if (names.empty()) return;
            auto app = vba::CreateObject("Access.Application", vba::openJetProject);
            app->OpenCurrentDatabase(database);
            for (const std::string& name : names)
                guarded([&] {
                    auto module = app->Modules(name);
                    const std::int32_t lines = module->CountOfLines();
                    if (lines > 0) (void)module->Lines(1, lines);
                });
            app->Quit(2);
        });
    }

private:
    static void readAll(dao::Recordset rs) {
        for (; !rs.isEOF(); rs.MoveNext())
            for (int i = 0; i < rs.FieldsCount(); ++i) (void)rs.Value(i);
    }

    Outcome& outcome_;
};

}  // namespace

Outcome walkDatabase(const std::string& database, const std::string& workgroup) {
    Outcome outcome;
    std::optional<dao::Database> db;
    try {
        dao::DBEngine engine;
        engine.SystemDB = workgroup;
        db = engine.OpenDatabase(database, false, true);
    } catch (const RuntimeError& e) {
        outcome.ending = Ending::OpenError;
        outcome.openError = e.number();
        outcome.message = e.description();
        return outcome;
    }
    Walker walker(outcome);
    walker.walk(*db);
    walker.modules(*db, database);
    return outcome;
}

std::string encode(const Outcome& outcome) {
    std::string message = outcome.message;
    for (char& c : message)
        if (c == '\n' || c == '\r') c = ' ';
    return std::to_string(static_cast<int>(outcome.ending)) + " " + std::to_string(outcome.openError) + " " +
           std::to_string(outcome.errors) + " " + std::to_string(outcome.logLines) + " " + message + "\n";
}

bool decode(const std::string& line, Outcome& outcome) {
    std::istringstream in(line);
    int ending = -1;
    if (!(in >> ending >> outcome.openError >> outcome.errors >> outcome.logLines) || ending < 0 || ending > 1)
        return false;
    outcome.ending = static_cast<Ending>(ending);
    std::getline(in, outcome.message);
    if (!outcome.message.empty() && outcome.message.front() == ' ') outcome.message.erase(0, 1);
    return true;
}

std::string partnerDatabase(const std::string& workgroup) {
    if (workgroup == "j3_esis.mdw") return "j3_esis_secured.mdb";
    if (workgroup == "j3_mission.mdw") return "j3_contour_cdu_secured.mdb";
    return workgroup.rfind("j3_", 0) == 0 ? "j3_querytest.mdb" : "j4_querytest2003.mdb";
}

}  // namespace ql::robustness
