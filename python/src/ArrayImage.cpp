#include "ArrayImage.h"

#include <array>

namespace rix::python {
namespace {

/// "uint8 with 30 rows, 40 columns, 2 planes"; planes, time and channels only where there are several.
String describeShape(VoxelTypes type, const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
    String text = std::to_string(extents[ROWS]) + " rows, " + std::to_string(extents[COLUMNS]) + " columns";
    constexpr std::array<const char*, 3> names{" planes", " frames", " channels"};
    for (std::size_t axis = PLANS; axis < extents.size(); ++axis) {
        if (extents[axis] != 1) {
            text += ", " + std::to_string(extents[axis]) + names[axis - PLANS];
        }
    }
    return helper::voxelTypesToString(type) + " with " + text;
}

}  // namespace

bool ArrayImage::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                         std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    if (StridedImage::reserve(elementType, voxelType, columns, rows, planes, sequence, spectral)) {
        return true;
    }
    m_refusal = !isWritable()
                    ? String("it is read-only")
                    : "the result is " + describeShape(voxelType, {columns, rows, planes, sequence, spectral}) +
                          (elementType == SINGLE ? String() : " of vectors or matrices") +
                          ", the array given for it is " + describeShape(getVoxelType(), header().extents);
    return false;
}

}  // namespace rix::python
