#pragma once
// Fills the name lists of an opened window the way the analysis run does,
// phase by phase, so the fillers can be tried on real files without it.
#include "grids/Fillers.h"
#include "grids/WindowState.h"

namespace ql::test {

void listTablesAndQueries(grids::WindowState& state);  // lists 0 and 1
void listIndexes(grids::WindowState& state);           // list 2
void listFields(grids::WindowState& state);            // list 4
void listRelationships(grids::WindowState& state);     // list 3
void listDocuments(grids::WindowState& state);         // lists 7 and 8 (macros, modules)

inline void listEverything(grids::WindowState& state) {
    listTablesAndQueries(state);
    listIndexes(state);
    listFields(state);
    listRelationships(state);
    listDocuments(state);
}

// The catalogue fillers and the summary's counts, in the order the run
// calls them (macros and modules left out).
inline void fillCatalogueGrids(grids::WindowContext& ctx) {
    grids::FillGridDatabase(ctx);
    grids::FillGridTables(ctx);
    grids::FillGridQueries(ctx);
    grids::FillGridIndexes(ctx);
    grids::FillGridFields(ctx);
    grids::FillGridRelations(ctx);
    grids::UpdateGridDatabase(ctx);
}

}  // namespace ql::test
