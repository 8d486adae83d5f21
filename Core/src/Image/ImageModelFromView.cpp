#include <rix/image/ImageModelFromView.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageMetadata.h>

#include "Image/ViewBridge.h"
#include "Image/ViewChecks.h"

namespace rix {

namespace {

using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

template <std::size_t size>
void copyStrided(std::uint8_t* to, std::size_t toStride, const std::uint8_t* from, std::size_t fromStride,
                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(to + i * toStride, from + i * fromStride, size);
    }
}

/// Copies elements that do not lie side by side. The usual sizes are constants for the compiler.
void copyElements(std::uint8_t* to, std::size_t toStride, const std::uint8_t* from, std::size_t fromStride,
                  std::size_t count, std::size_t size) {
    switch (size) {
        case 1: copyStrided<1>(to, toStride, from, fromStride, count); break;
        case 2: copyStrided<2>(to, toStride, from, fromStride, count); break;
        case 4: copyStrided<4>(to, toStride, from, fromStride, count); break;
        case 8: copyStrided<8>(to, toStride, from, fromStride, count); break;
        default:
            for (std::size_t i = 0; i < count; ++i) {
                std::memcpy(to + i * toStride, from + i * fromStride, size);
            }
    }
}

constexpr bool isSpatial(std::size_t component) {
    return component <= PLANS;
}

}  // namespace

struct ImageModelFromViewPrivate {
    std::shared_ptr<const vessel::ImageView> view;
    vessel::ImageView* writable = nullptr;  ///< null for a read-only image
    VoxelTypes voxelType = RIX_UINT8;
    ElementTypes elementType = SINGLE;
    std::size_t elementSize = 1;
    Position extents{1, 1, 1, 1, 1};
    Position strides{};  ///< in bytes, in the view's buffer; 0 for an axis that the view lacks
    std::array<std::optional<std::size_t>, RIX_COMPONENTS_SIZE> axes;  ///< place of each component in the view
    std::array<vessel::AxisCalibration, RIX_COMPONENTS_SIZE> missing;  ///< of the axes that the view lacks
    bool hasAdjacentColumns = false;
    bool isInStorageOrder = false;

    void layOut() {
        std::size_t stride = elementSize;
        const auto& viewAxes = view->getAxes();
        for (std::size_t i = 0; i < viewAxes.size(); ++i) {
            const std::size_t component = detail::toComponent(viewAxes[i].name);
            axes[component] = i;
            extents[component] = viewAxes[i].extent;
            strides[component] = stride;
            stride *= viewAxes[i].extent;
        }
        // An axis with one element has no say in the order.
        hasAdjacentColumns = extents[COLUMNS] == 1 || strides[COLUMNS] == elementSize;
        isInStorageOrder = true;
        stride = elementSize;
        for (std::size_t i = 0; i < extents.size(); ++i) {
            isInStorageOrder = isInStorageOrder && (extents[i] == 1 || strides[i] == stride);
            stride *= extents[i];
        }
    }

    bool contains(std::size_t nbElement, const Position& position) const {
        bool inside = extents[COLUMNS] != 0 && detail::fits(nbElement, position[COLUMNS], extents[COLUMNS]);
        for (std::size_t i = ROWS; i < extents.size(); ++i) {
            inside = inside && position[i] < extents[i];
        }
        return inside;
    }

    std::size_t offsetOf(const Position& position) const {
        std::size_t offset = 0;
        for (std::size_t i = 0; i < position.size(); ++i) {
            offset += position[i] * strides[i];
        }
        return offset;
    }

    vessel::Region regionOf(std::size_t nbElement, const Position& position) const {
        vessel::Region region;
        for (std::size_t i = 0; i < position.size(); ++i) {
            if (axes[i]) {
                region.first[*axes[i]] = position[i];
                region.extent[*axes[i]] = i == COLUMNS ? nbElement : 1;
            }
        }
        return region;
    }

    const vessel::AxisCalibration& calibrationOf(std::size_t component) const {
        return axes[component] ? view->getAxes()[*axes[component]].calibration : missing[component];
    }

    bool setCalibration(std::size_t component, const vessel::AxisCalibration& calibration) {
        if (writable == nullptr) {
            return false;
        }
        if (axes[component]) {
            return writable->setCalibration(detail::toAxisName(component), calibration);
        }
        missing[component] = calibration;
        return true;
    }

    /// The axis whose unit stands for all spatial axes.
    std::size_t firstSpatialAxis() const {
        for (std::size_t i = COLUMNS; i <= PLANS; ++i) {
            if (axes[i]) {
                return i;
            }
        }
        return COLUMNS;
    }

    ConstRawData constBuffer() const { return reinterpret_cast<ConstRawData>(view->getBuffer()); }
    RawData buffer() const { return writable == nullptr ? nullptr : reinterpret_cast<RawData>(writable->getBuffer()); }
};

ImageModelFromView::ImageModelFromView(std::shared_ptr<const vessel::ImageView> view, vessel::ImageView* writable)
    : m_private(std::make_unique<ImageModelFromViewPrivate>()) {
    if (view == nullptr) {
        throw InvalidCall("There is no image view to work on.");
    }
    const auto voxelType = detail::toVoxelType(view->getElementType().sample);
    const auto elementType = detail::toElementTypes(view->getElementType().layout);
    if (!voxelType || !elementType) {
        throw InvalidCall("An image view has elements of a type that images do not have.");
    }
    m_private->voxelType = *voxelType;
    m_private->elementType = *elementType;
    m_private->elementSize = view->getElementType().getSize();
    const auto count = vessel::countElements(view->getAxes());
    std::size_t bytes = 0;
    if (!count || !helper::checkedMultiply(*count, m_private->elementSize, bytes)) {
        throw InvalidCall("The size in bytes of an image view does not fit 64 bits.");
    }
    m_private->view = std::move(view);
    m_private->writable = writable;
    m_private->layOut();
}

ImageModelFromView::~ImageModelFromView() = default;

String ImageModelFromView::getImageId() const {
    const String uid = helper::getImageUid(*m_private->view);
    return uid.empty() ? "Image_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) : uid;
}

std::size_t ImageModelFromView::getNumOf(const Components& component) const {
    const auto index = static_cast<std::size_t>(component);
    return index < m_private->extents.size() ? m_private->extents[index] : 0;
}

VoxelTypes ImageModelFromView::getVoxelType() const {
    return m_private->voxelType;
}

ElementTypes ImageModelFromView::getElementType() const {
    return m_private->elementType;
}

bool ImageModelFromView::setOriginOf(const Components& component, double origin) {
    const auto index = static_cast<std::size_t>(component);
    if (index >= m_private->extents.size()) {
        return false;
    }
    vessel::AxisCalibration calibration = m_private->calibrationOf(index);
    calibration.origin = origin;
    return m_private->setCalibration(index, calibration);
}

double ImageModelFromView::getOriginOf(const Components& component) const {
    const auto index = static_cast<std::size_t>(component);
    return index < m_private->extents.size() ? m_private->calibrationOf(index).origin : 0.0;
}

bool ImageModelFromView::setSpacingOf(const Components& component, double spacing) {
    const auto index = static_cast<std::size_t>(component);
    if (index >= m_private->extents.size()) {
        return false;
    }
    vessel::AxisCalibration calibration = m_private->calibrationOf(index);
    calibration.spacing = spacing;
    return m_private->setCalibration(index, calibration);
}

double ImageModelFromView::getSpacingOf(const Components& component) const {
    const auto index = static_cast<std::size_t>(component);
    return index < m_private->extents.size() ? m_private->calibrationOf(index).spacing : 0.0;
}

bool ImageModelFromView::setSpatialUnitName(const String& name) {
    bool done = true;
    for (std::size_t i = 0; isSpatial(i); ++i) {
        vessel::AxisCalibration calibration = m_private->calibrationOf(i);
        calibration.unit = name;
        done = m_private->setCalibration(i, calibration) && done;
    }
    return done;
}

String ImageModelFromView::getSpatialUnitName() const {
    return m_private->calibrationOf(m_private->firstSpatialAxis()).unit;
}

bool ImageModelFromView::setSpatialDirections(const vessel::SpatialDirections& directions) {
    return m_private->writable != nullptr && m_private->writable->setSpatialDirections(directions);
}

vessel::SpatialDirections ImageModelFromView::getSpatialDirections() const {
    return m_private->view->getSpatialDirections();
}

bool ImageModelFromView::setSequenceUnitName(const String& name) {
    vessel::AxisCalibration calibration = m_private->calibrationOf(SEQUENCE);
    calibration.unit = name;
    return m_private->setCalibration(SEQUENCE, calibration);
}

String ImageModelFromView::getSequenceUnitName() const {
    return m_private->calibrationOf(SEQUENCE).unit;
}

Interpretations ImageModelFromView::getInterpretation() const {
    return detail::readInterpretation(*m_private->view);
}

bool ImageModelFromView::setInterpretation(const Interpretations& interpretation) {
    if (m_private->writable == nullptr) {
        return false;
    }
    detail::writeInterpretation(*m_private->writable, interpretation);
    if (interpretation != RIX_LABEL) {
        detail::writeLabelScope(*m_private->writable, LabelScope::Volume);
    }
    return true;
}

ColorInterpretation ImageModelFromView::getColorInterpretation() const {
    return detail::readColorInterpretation(*m_private->view);
}

bool ImageModelFromView::setColorInterpretation(ColorInterpretation interpretation) {
    if (m_private->writable == nullptr) {
        return false;
    }
    detail::writeColorInterpretation(*m_private->writable, interpretation);
    return true;
}

std::optional<SpatialFrame> ImageModelFromView::getSpatialFrame() const {
    return detail::readSpatialFrame(*m_private->view);
}

bool ImageModelFromView::setSpatialFrame(const std::optional<SpatialFrame>& frame) {
    if (m_private->writable == nullptr) {
        return false;
    }
    detail::writeSpatialFrame(*m_private->writable, frame);
    return true;
}

LabelScope ImageModelFromView::getLabelScope() const {
    return detail::readLabelScope(*m_private->view);
}

bool ImageModelFromView::setLabelScope(LabelScope scope) {
    if (m_private->writable == nullptr) {
        return false;
    }
    detail::writeLabelScope(*m_private->writable, scope);
    return true;
}

bool ImageModelFromView::getPreferedSize(std::size_t&, std::size_t&, std::size_t&, std::size_t&, std::size_t&) {
    return false;
}

bool ImageModelFromView::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                   std::size_t firstPlans, std::size_t firstSequence,
                                   std::size_t firstSpectralSeries) const {
    const Position position{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    if (!m_private->contains(nbElement, position)) {
        return false;
    }
    if (nbElement == 0) {
        return true;
    }
    const std::size_t size = m_private->elementSize;
    const ConstRawData samples = m_private->constBuffer();
    if (samples == nullptr) {
        return m_private->view->readRegion(m_private->regionOf(nbElement, position),
                                           reinterpret_cast<std::byte*>(buffer));
    }
    const ConstRawData from = samples + m_private->offsetOf(position);
    if (m_private->hasAdjacentColumns) {
        std::memmove(buffer, from, nbElement * size);
    } else {
        copyElements(buffer, size, from, m_private->strides[COLUMNS], nbElement, size);
    }
    return true;
}

bool ImageModelFromView::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                    std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                    std::size_t firstSpectralSeries) {
    const Position position{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    if (m_private->writable == nullptr || !m_private->contains(nbElement, position)) {
        return false;
    }
    if (nbElement == 0) {
        return true;
    }
    const std::size_t size = m_private->elementSize;
    const RawData samples = m_private->buffer();
    if (samples == nullptr) {
        return m_private->writable->writeRegion(m_private->regionOf(nbElement, position),
                                                reinterpret_cast<const std::byte*>(buffer));
    }
    const RawData to = samples + m_private->offsetOf(position);
    if (m_private->hasAdjacentColumns) {
        std::memmove(to, buffer, nbElement * size);
    } else {
        copyElements(to, m_private->strides[COLUMNS], buffer, size, nbElement, size);
    }
    return true;
}

bool ImageModelFromView::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                  std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) const {
    const Position position{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    if (!m_private->hasAdjacentColumns || !m_private->contains(nbElement, position)) {
        return false;
    }
    const RawData samples = m_private->buffer();
    if (samples == nullptr) {
        return false;
    }
    row = samples + m_private->offsetOf(position);
    return true;
}

bool ImageModelFromView::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                       std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                       std::size_t firstSpectralSeries) const {
    const Position position{firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries};
    if (!m_private->hasAdjacentColumns || !m_private->contains(nbElement, position)) {
        return false;
    }
    const ConstRawData samples = m_private->constBuffer();
    if (samples == nullptr) {
        return false;
    }
    row = samples + m_private->offsetOf(position);
    return true;
}

bool ImageModelFromView::isOnDisk() const {
    return helper::isDiskImage(*m_private->view);
}

bool ImageModelFromView::isOnGpu() const {
    return false;
}

bool ImageModelFromView::reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                                 std::size_t sequence, std::size_t spectral) {
    return reserve(SINGLE, voxelType, columns, rows, planes, sequence, spectral);
}

bool ImageModelFromView::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                                 std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    return m_private->writable != nullptr && elementType == m_private->elementType &&
           voxelType == m_private->voxelType &&
           m_private->extents == Position{columns, rows, planes, sequence, spectral};
}

ConstRawData ImageModelFromView::getImageBuffer() const {
    return m_private->isInStorageOrder ? m_private->constBuffer() : nullptr;
}

RawData ImageModelFromView::getImageBuffer() {
    return m_private->isInStorageOrder ? m_private->buffer() : nullptr;
}

}  // namespace rix
