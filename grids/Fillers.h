#pragma once
// The grid fillers and their helpers. Each filler reads the catalogue and
// the name lists the analysis run left in the state and fills one grid.
// Errors a filler's own handler takes go to the error log and ErrorCount;
// the others leave the filler as ql::RuntimeError for the analysis run to
// treat by where in the run it stands.
#include <cstdint>
#include <string>

#include "grids/WindowContext.h"

namespace ql::grids {

// Grid numbers.
inline constexpr int kGridDatabase = 0;
inline constexpr int kGridTables = 1;
inline constexpr int kGridFields = 2;
inline constexpr int kGridIndexes = 4;
inline constexpr int kGridMacros = 5;
inline constexpr int kGridModules = 6;
inline constexpr int kGridRelations = 7;
inline constexpr int kGridQueries = 8;
inline constexpr int kGridMiscellaneous = 11;

void FillGridDatabase(WindowContext& ctx);
void UpdateGridDatabase(WindowContext& ctx);
void FillGridTables(WindowContext& ctx);
void FillGridQueries(WindowContext& ctx);
void FillGridIndexes(WindowContext& ctx);
void FillGridFields(WindowContext& ctx);
void FillGridRelations(WindowContext& ctx);
void FillGridMacros(WindowContext& ctx);
void FillGridModules(WindowContext& ctx);
void AutoAdjustColumnWidths(WindowContext& ctx);

std::string FieldTypeName(std::int16_t type);
std::string QueryTypeName(std::int16_t type);

}  // namespace ql::grids
