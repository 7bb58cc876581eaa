#include "tests/grids/CatalogueWalk.h"

#include "platform/dao/VbText.h"

namespace ql::test {

namespace {
bool isSystem(const std::string& name) { return name.find("MSys") != std::string::npos; }
}  // namespace

void listTablesAndQueries(grids::WindowState& state) {
    auto& tables = state.lstData[0];
    auto& queries = state.lstData[1];
    tables.Clear();
    queries.Clear();
    dao::Recordset objects = state.CurrentDb->OpenRecordset("Select * from MsysObjects order by Name");
    for (; !objects.isEOF(); objects.MoveNext()) {
        const std::string name = dao::vb::CStr(objects.Value("Name"));
        const std::string type = dao::vb::CStr(objects.Value("Type"));
        if (isSystem(name)) continue;
        if (type == "1") tables.AddItem(name);
        if (type == "5" && (state.IncludeTempQueries || name.find('~') == std::string::npos)) queries.AddItem(name);
    }
}

void listIndexes(grids::WindowState& state) {
    auto& list = state.lstData[2];
    list.Clear();
    for (const auto& table : state.CurrentDb->TableDefs()) {
        if (isSystem(table.Name())) continue;
        try {
            for (const auto& index : table.Indexes()) list.AddItem("[" + table.Name() + "]." + index.Name());
        } catch (const RuntimeError&) {
        }
    }
}

void listFields(grids::WindowState& state) {
    auto& list = state.lstData[4];
    list.Clear();
    for (const auto& table : state.CurrentDb->TableDefs()) {
        if (isSystem(table.Name())) continue;
        try {
            for (const auto& field : table.Fields())
                list.AddItem(dao::vb::fixedWidth(field.Name(), 35) + " [" + table.Name() + "]");
        } catch (const RuntimeError&) {
        }
    }
}

void listRelationships(grids::WindowState& state) {
    auto& list = state.lstData[3];
    list.Clear();
    dao::Recordset rs =
        state.CurrentDb->OpenRecordset("Select distinct szObject, szRelationship from MSysRelationships ");
    for (; !rs.isEOF(); rs.MoveNext())
        list.AddItem("[" + dao::vb::CStr(rs.Value("szObject")) + "]." + dao::vb::CStr(rs.Value("szrelationship")));
}

void listDocuments(grids::WindowState& state) {
    for (const auto& [list, container] : {std::pair{7, "Scripts"}, std::pair{8, "Modules"}}) {
        auto& names = state.lstData[static_cast<std::size_t>(list)];
        names.Clear();
        const auto& documents = state.CurrentDb->Containers().Item(container).Documents();
        for (int i = 0; i < documents.Count(); ++i) names.AddItem(documents.Item(i).Name(), i);
    }
}

}  // namespace ql::test
