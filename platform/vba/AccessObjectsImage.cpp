#include "platform/vba/AccessObjectsImage.h"

#include "platform/vba/ByteReader.h"
#include "platform/vba/VbaError.h"

#include <algorithm>

namespace ql::vba {
namespace {

constexpr std::uint32_t kHeaderMagic = 5;
constexpr std::size_t kImageSizeOffset = 4;

}  // namespace

AccessObjectsImage assembleAccessObjects(const std::vector<AccessObjectsRow>& rows) {
    const AccessObjectsRow* header = nullptr;
    std::vector<const AccessObjectsRow*> slices;
    for (const auto& row : rows) {
        if (row.id == 0) {
            header = &row;
        } else if (row.id > 0) {
            slices.push_back(&row);
        }
    }
    if (!header) throw VbaError(VbaErrorKind::Missing, "MSysAccessObjects has no header row");
    if (slices.empty()) throw VbaError(VbaErrorKind::Missing, "MSysAccessObjects has no data rows");
    if (detail::u32(header->data, 0, "MSysAccessObjects header") != kHeaderMagic)
        throw VbaError(VbaErrorKind::Corrupt, "MSysAccessObjects header does not start with 5");
    const std::uint64_t declared = detail::u32(header->data, kImageSizeOffset, "MSysAccessObjects image size");

    std::sort(slices.begin(), slices.end(), [](auto* a, auto* b) { return a->id < b->id; });
    const std::size_t sliceLength = slices.front()->data.size();
    if (sliceLength == 0) throw VbaError(VbaErrorKind::Corrupt, "MSysAccessObjects slice 1 is empty");
    for (std::size_t i = 0; i < slices.size(); ++i) {
        if (i > 0 && slices[i]->id == slices[i - 1]->id)
            throw VbaError(VbaErrorKind::Corrupt, "MSysAccessObjects has two rows with id " +
                                                      std::to_string(slices[i]->id));
        if (slices[i]->data.size() != sliceLength)
            throw VbaError(VbaErrorKind::Corrupt, "MSysAccessObjects row " + std::to_string(slices[i]->id) + " holds " +
                                                      std::to_string(slices[i]->data.size()) + " bytes, not " +
                                                      std::to_string(sliceLength));
    }
    const std::uint64_t spanned = static_cast<std::uint64_t>(slices.back()->id) * sliceLength;
    const std::uint64_t total = std::max(spanned, declared);
    if (total > kMaxStreamBytes)
        throw VbaError(VbaErrorKind::TooLarge, "MSysAccessObjects image of " + std::to_string(total) + " bytes");

    AccessObjectsImage out;
    out.image.assign(static_cast<std::size_t>(total), '\0');
    for (const auto* slice : slices)
        std::copy(slice->data.begin(), slice->data.end(),
                  out.image.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(slice->id - 1) * sliceLength));
    out.missingSlices = static_cast<std::size_t>(slices.back()->id) - slices.size();
    return out;
}

}  // namespace ql::vba
