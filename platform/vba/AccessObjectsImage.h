#pragma once
// Access 2000 keeps its project as a compound-file image cut into equal
// slices, one per MSysAccessObjects row.
#include "platform/vba/SystemTableRows.h"

#include <string>
#include <vector>

namespace ql::vba {

struct AccessObjectsImage {
    std::string image;
    std::size_t missingSlices = 0;  // gaps in the row ids, filled with zeros
};

// Rebuilds the image: slice k covers bytes [(k-1)*len, k*len), where len is
// the common slice length; gaps are zero-filled and the image is padded to
// the size in the header row. Throws VbaError(Missing) without a header or
// slices, Corrupt when slices differ in length or the header is damaged,
// TooLarge past the memory cap.
AccessObjectsImage assembleAccessObjects(const std::vector<AccessObjectsRow>& rows);

}  // namespace ql::vba
