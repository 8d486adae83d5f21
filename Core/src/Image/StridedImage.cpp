#include <rix/image/StridedImage.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include <rix/exceptions/Exception.h>

#include "Image/AddressLattice.h"
#include "Image/ViewChecks.h"

namespace rix {

namespace {

using Pitches = StridedImage::Pitches;

/// Of the elements without gaps; they have to fit the address space before distances are computed.
Pitches pitchesOf(const ImageHeader& header) {
    const std::size_t elementSize = helper::getSizeOf(header.voxelType) * helper::getElementNumber(header.elementType);
    std::size_t bytes = 0;
    const bool fits = helper::multiplyExtents(header.extents, bytes) &&
                      helper::checkedMultiply(bytes, elementSize, bytes) &&
                      bytes <= static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (!fits) {
        throw InvalidCall("The memory of an image does not fit the address space.");
    }
    return bytes == 0 ? Pitches{} : detail::packedPitches(header.extents, elementSize);
}

RawData bytesOf(const void* memory) {
    return const_cast<RawData>(static_cast<ConstRawData>(memory));
}

}  // namespace

StridedImage::StridedImage(void* first, const ImageHeader& header, const Pitches& pitches)
    : StridedImage(bytesOf(first), header, pitches, true) {}

StridedImage::StridedImage(const void* first, const ImageHeader& header, const Pitches& pitches)
    : StridedImage(bytesOf(first), header, pitches, false) {}

StridedImage::StridedImage(void* first, const ImageHeader& header)
    : StridedImage(bytesOf(first), header, pitchesOf(header), true) {}

StridedImage::StridedImage(const void* first, const ImageHeader& header)
    : StridedImage(bytesOf(first), header, pitchesOf(header), false) {}

StridedImage::StridedImage(RawData first, const ImageHeader& header, const Pitches& pitches, bool writable)
    : ImageModelWithHeader(header),
      m_first(first),
      m_pitches(pitches),
      m_elementSize(helper::getSizeOf(header.voxelType) * helper::getElementNumber(header.elementType)),
      m_writable(writable),
      m_contiguous(true) {
    if (m_elementSize == 0) {
        throw InvalidCall("The memory of an image has samples or elements of a type that does not exist.");
    }
    const auto& n = m_header.extents;
    for (std::size_t axis = 0; axis < n.size(); ++axis) {
        if (n[axis] <= 1) {
            m_pitches[axis] = axis == COLUMNS ? static_cast<std::ptrdiff_t>(m_elementSize) : 0;
        }
    }
    if (std::find(n.begin(), n.end(), std::size_t{0}) != n.end()) {
        return;
    }
    if (m_first == nullptr) {
        throw InvalidCall("There is no memory for image " + helper::describeImage(*this) + ".");
    }
    checkPitches();
    m_contiguous = detail::isPacked({m_first, n, m_pitches, m_elementSize});
}

StridedImage::~StridedImage() = default;

void StridedImage::checkPitches() const {
    const auto& n = m_header.extents;
    const auto refuse = [this](std::size_t axis, const String& reason) {
        throw InvalidCall("The memory of image " + helper::describeImage(*this) + " has a pitch of " +
                          std::to_string(m_pitches[axis]) + " bytes on the axis \"" +
                          helper::componentToString(static_cast<Components>(axis)) + "\": " + reason + ".");
    };
    if (n[COLUMNS] > 1 && m_pitches[COLUMNS] != static_cast<std::ptrdiff_t>(m_elementSize)) {
        refuse(COLUMNS, "elements of a row have to lie side by side, which takes " + std::to_string(m_elementSize));
    }
    std::array<std::size_t, RIX_COMPONENTS_SIZE> axes{COLUMNS, ROWS, PLANS, SEQUENCE, SPECTRAL_SERIES};
    const auto size = [this](std::size_t axis) {
        const auto pitch = static_cast<std::size_t>(m_pitches[axis]);
        return m_pitches[axis] < 0 ? std::size_t{0} - pitch : pitch;
    };
    std::sort(axes.begin(), axes.end(), [&](std::size_t a, std::size_t b) { return size(a) < size(b); });
    constexpr auto largest = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    std::size_t span = m_elementSize;
    for (const std::size_t axis : axes) {
        if (n[axis] == 1) {
            continue;
        }
        if (m_writable && size(axis) < span) {
            refuse(axis, "of a writable image it must be at least " + std::to_string(span) +
                             " bytes, or elements would overlap");
        }
        std::size_t reach = 0;
        if (!helper::checkedMultiply(size(axis), n[axis] - 1, reach) || reach > largest - span) {
            refuse(axis, "the memory does not fit the address space");
        }
        span += reach;
    }
}

RawData StridedImage::address(std::size_t nbElement,
                              const std::array<std::size_t, RIX_COMPONENTS_SIZE>& position) const {
    const auto& n = m_header.extents;
    bool inside = n[COLUMNS] != 0 && detail::fits(nbElement, position[COLUMNS], n[COLUMNS]);
    RawData found = m_first;
    for (std::size_t axis = 0; axis < n.size(); ++axis) {
        inside = inside && (axis == COLUMNS || position[axis] < n[axis]);
        found += inside ? static_cast<std::ptrdiff_t>(position[axis]) * m_pitches[axis] : 0;
    }
    return inside ? found : nullptr;
}

bool StridedImage::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                             std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    const RawData row = address(nbElement, {firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries});
    if (row != nullptr && nbElement != 0) {
        std::memmove(buffer, row, nbElement * m_elementSize);
    }
    return row != nullptr;
}

bool StridedImage::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                              std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) {
    RawData row = nullptr;
    if (!getRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries)) {
        return false;
    }
    if (nbElement != 0) {
        std::memmove(row, buffer, nbElement * m_elementSize);
    }
    return true;
}

bool StridedImage::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                            std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    const RawData found =
        m_writable ? address(nbElement, {firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries})
                   : nullptr;
    row = found != nullptr ? found : row;
    return found != nullptr;
}

bool StridedImage::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const {
    const RawData found = address(nbElement, {firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries});
    row = found != nullptr ? found : row;
    return found != nullptr;
}

bool StridedImage::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                           std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    return m_writable && elementType == m_header.elementType && voxelType == m_header.voxelType &&
           m_header.extents == std::array<std::size_t, RIX_COMPONENTS_SIZE>{columns, rows, planes, sequence, spectral};
}

ConstRawData StridedImage::getImageBuffer() const {
    return m_contiguous ? m_first : nullptr;
}

RawData StridedImage::getImageBuffer() {
    return m_contiguous && m_writable ? m_first : nullptr;
}

}  // namespace rix
