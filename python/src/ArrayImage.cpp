#include "ArrayImage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "Axes.h"

namespace rix::python {
namespace {

constexpr std::array<Components, RIX_COMPONENTS_SIZE> allAxes{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};

constexpr bool isAxis(Components component) {
    return component >= RIX_COMPONENTS_FIRST && component < RIX_COMPONENTS_SIZE;
}

/// "uint8 (2 x 30 x 40)", slowest axis first as in Python; planes, time and channels only where there are several.
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

ImageHeader headerOf(const ImageModel& image) {
    ImageHeader header;
    header.voxelType = image.getVoxelType();
    header.extents = helper::getExtents(image);
    for (const Components axis : allAxes) {
        header.spacing[indexOf(axis)] = image.getSpacingOf(axis);
        header.origin[indexOf(axis)] = image.getOriginOf(axis);
    }
    header.spatialUnit = image.getSpatialUnitName();
    header.sequenceUnit = image.getSequenceUnitName();
    header.directions = image.getSpatialDirections();
    header.interpretation = image.getInterpretation();
    header.colorInterpretation = image.getColorInterpretation();
    return header;
}

ArrayImage::ArrayImage(void* first, const ImageHeader& header,
                       const std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE>& strides, Access access)
    : m_first(static_cast<RawData>(first)),
      m_header(header),
      m_strides(strides),
      m_sampleSize(helper::getSizeOf(header.voxelType)),
      m_writable(access == Access::ReadWrite),
      m_contiguous(true) {
    // Strides of axes without a second element mean nothing, and NumPy gives them any value.
    auto expected = static_cast<std::ptrdiff_t>(m_sampleSize);
    for (std::size_t axis = 0; axis < m_strides.size(); ++axis) {
        if (m_header.extents[axis] <= 1) {
            m_strides[axis] = expected;
        }
        m_contiguous = m_contiguous && m_strides[axis] == expected;
        expected *= static_cast<std::ptrdiff_t>(m_header.extents[axis]);
    }
}

std::array<ConstRawData, 2> ArrayImage::bounds() const {
    ConstRawData low = m_first;
    ConstRawData high = m_first + m_sampleSize;
    for (std::size_t axis = 0; axis < m_strides.size(); ++axis) {
        if (m_header.extents[axis] == 0) {
            return {m_first, m_first};
        }
        const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(m_header.extents[axis] - 1) * m_strides[axis];
        (reach < 0 ? low : high) += reach;
    }
    return {low, high};
}

bool ArrayImage::hasLayoutOf(const ArrayImage& other) const {
    return m_first == other.m_first && m_header.extents == other.m_header.extents && m_strides == other.m_strides &&
           m_sampleSize == other.m_sampleSize;
}

String ArrayImage::getImageId() const {
    return "Array_" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
}

std::size_t ArrayImage::getNumOf(const Components& component) const {
    return isAxis(component) ? m_header.extents[indexOf(component)] : 0;
}

bool ArrayImage::setOriginOf(const Components& component, double origin) {
    if (!isAxis(component)) {
        return false;
    }
    m_header.origin[indexOf(component)] = origin;
    return true;
}

double ArrayImage::getOriginOf(const Components& component) const {
    return isAxis(component) ? m_header.origin[indexOf(component)] : 0.0;
}

bool ArrayImage::setSpacingOf(const Components& component, double spacing) {
    if (!isAxis(component)) {
        return false;
    }
    m_header.spacing[indexOf(component)] = spacing;
    return true;
}

double ArrayImage::getSpacingOf(const Components& component) const {
    return isAxis(component) ? m_header.spacing[indexOf(component)] : 0.0;
}

bool ArrayImage::setSpatialUnitName(const String& name) {
    m_header.spatialUnit = name;
    return true;
}

bool ArrayImage::setSpatialDirections(const vessel::SpatialDirections& directions) {
    m_header.directions = directions;
    return true;
}

bool ArrayImage::setSequenceUnitName(const String& name) {
    m_header.sequenceUnit = name;
    return true;
}

bool ArrayImage::setInterpretation(const Interpretations& interpretation) {
    m_header.interpretation = interpretation;
    return true;
}

bool ArrayImage::setColorInterpretation(ColorInterpretation interpretation) {
    m_header.colorInterpretation = interpretation;
    return true;
}

bool ArrayImage::getPreferedSize(std::size_t&, std::size_t&, std::size_t&, std::size_t&, std::size_t&) {
    return false;
}

RawData ArrayImage::address(std::size_t nbElement, std::size_t column, std::size_t row, std::size_t plane,
                            std::size_t frame, std::size_t channel) const {
    const auto& extents = m_header.extents;
    // By difference: column + nbElement may wrap.
    if (column > extents[COLUMNS] || nbElement > extents[COLUMNS] - column || row >= extents[ROWS] ||
        plane >= extents[PLANS] || frame >= extents[SEQUENCE] || channel >= extents[SPECTRAL_SERIES] ||
        extents[COLUMNS] == 0) {
        return nullptr;
    }
    const auto step = [this](std::size_t index, Components axis) {
        return static_cast<std::ptrdiff_t>(index) * m_strides[indexOf(axis)];
    };
    return m_first + step(column, COLUMNS) + step(row, ROWS) + step(plane, PLANS) + step(frame, SEQUENCE) +
           step(channel, SPECTRAL_SERIES);
}

bool ArrayImage::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                           std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    const RawData row = address(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries);
    if (row != nullptr && nbElement != 0) {
        std::memmove(buffer, row, nbElement * m_sampleSize);
    }
    return row != nullptr;
}

bool ArrayImage::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                            std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) {
    RawData row = nullptr;
    if (!getRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries)) {
        return false;
    }
    if (nbElement != 0) {
        std::memmove(row, buffer, nbElement * m_sampleSize);
    }
    return true;
}

bool ArrayImage::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                          std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    const RawData found =
        m_writable ? address(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries) : nullptr;
    if (found != nullptr) {
        row = found;
    }
    return found != nullptr;
}

bool ArrayImage::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols, std::size_t firstRows,
                               std::size_t firstPlans, std::size_t firstSequence,
                               std::size_t firstSpectralSeries) const {
    const RawData found = address(nbElement, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries);
    if (found != nullptr) {
        row = found;
    }
    return found != nullptr;
}

bool ArrayImage::reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                         std::size_t sequence, std::size_t spectral) {
    return reserve(SINGLE, voxelType, columns, rows, planes, sequence, spectral);
}

bool ArrayImage::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                         std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    const std::array<std::size_t, RIX_COMPONENTS_SIZE> extents{columns, rows, planes, sequence, spectral};
    if (m_writable && elementType == SINGLE && voxelType == m_header.voxelType && extents == m_header.extents) {
        return true;
    }
    m_refusal = !m_writable ? String("it is read-only")
                            : "the result is " + describeShape(voxelType, extents) +
                                  (elementType == SINGLE ? String() : " of vectors or matrices") +
                                  ", the array given for it is " + describeShape(m_header.voxelType, m_header.extents);
    return false;
}

ConstRawData ArrayImage::getImageBuffer() const {
    return m_contiguous ? m_first : nullptr;
}

RawData ArrayImage::getImageBuffer() {
    return m_contiguous && m_writable ? m_first : nullptr;
}

}  // namespace rix::python
