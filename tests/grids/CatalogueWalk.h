#pragma once
// Fills the name lists of an opened window the way the analysis run does,
// phase by phase, so the fillers can be tried on real files without it.
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

}  // namespace ql::test
