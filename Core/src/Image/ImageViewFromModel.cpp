#include <rix/image/ImageViewFromModel.h>

#include <array>
#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/image/ImageDetails.h>

#include "Image/ViewBridge.h"

namespace rix {

struct ImageViewFromModelPrivate {
    std::shared_ptr<const ImageModel> model;
    ImageModel* writable = nullptr;  ///< null for a read-only view
    vessel::ElementType type;
    std::vector<vessel::Axis> axes;

    /// False when the image was reshaped or retyped: buffers would not have the size that callers expect.
    bool isCurrent() const {
        if (detail::toElementType(model->getVoxelType(), model->getElementType()) != type) {
            return false;
        }
        const auto extents = helper::getExtents(*model);
        for (std::size_t i = 0; i < axes.size(); ++i) {
            if (axes[i].extent != extents[i]) {
                return false;
            }
        }
        return true;
    }

    /// Calls `access(byte offset in the buffer, row, plane, sequence, spectral)` for every row of the region; false
    /// when a call fails.
    template <class Access>
    bool forEachRow(const vessel::Region& region, const Access& access) const {
        const auto& first = region.first;
        const auto& extent = region.extent;
        const std::size_t rowBytes = extent[COLUMNS] * type.getSize();
        if (extent[COLUMNS] == 0) {
            return true;
        }
        std::size_t offset = 0;
        for (std::size_t s = 0; s < extent[SPECTRAL_SERIES]; ++s) {
            for (std::size_t t = 0; t < extent[SEQUENCE]; ++t) {
                for (std::size_t z = 0; z < extent[PLANS]; ++z) {
                    for (std::size_t y = 0; y < extent[ROWS]; ++y, offset += rowBytes) {
                        if (!access(offset, first[ROWS] + y, first[PLANS] + z, first[SEQUENCE] + t,
                                    first[SPECTRAL_SERIES] + s)) {
                            return false;
                        }
                    }
                }
            }
        }
        return true;
    }
};

ImageViewFromModel::ImageViewFromModel(ImageModel* model)
    : ImageViewFromModel(std::shared_ptr<const ImageModel>(std::shared_ptr<void>(), model), model) {}

ImageViewFromModel::ImageViewFromModel(const ImageModel* model)
    : ImageViewFromModel(std::shared_ptr<const ImageModel>(std::shared_ptr<void>(), model), nullptr) {}

ImageViewFromModel::ImageViewFromModel(std::shared_ptr<const ImageModel> model, ImageModel* writable) {
    if (model == nullptr) {
        throw InvalidCall("There is no image to view.");
    }
    const auto type = detail::toElementType(model->getVoxelType(), model->getElementType());
    if (!type) {
        throw InvalidCall("Image " + helper::describeImage(*model) + " has a type that image views do not have.");
    }
    m_private = std::make_unique<ImageViewFromModelPrivate>();
    m_private->type = *type;
    const auto extents = helper::getExtents(*model);
    const String spatialUnit = model->getSpatialUnitName();
    for (std::size_t i = 0; i < extents.size(); ++i) {
        const auto component = static_cast<Components>(i);
        const String unit = i <= PLANS ? spatialUnit : i == SEQUENCE ? model->getSequenceUnitName() : String();
        m_private->axes.push_back(
            {detail::toAxisName(i), extents[i], {model->getOriginOf(component), model->getSpacingOf(component), unit}});
    }
    detail::writeInterpretation(*this, model->getInterpretation());
    detail::writeColorInterpretation(*this, model->getColorInterpretation());
    detail::writeSpatialFrame(*this, helper::getSpatialFrame(*model));
    detail::writeLabelScope(*this, helper::getLabelScope(*model));
    m_private->writable = writable;
    m_private->model = std::move(model);
}

ImageViewFromModel::~ImageViewFromModel() = default;

const std::vector<vessel::Axis>& ImageViewFromModel::getAxes() const {
    return m_private->axes;
}

vessel::ElementType ImageViewFromModel::getElementType() const {
    return m_private->type;
}

bool ImageViewFromModel::has(vessel::Capability capability) const {
    const ImageModel& model = *m_private->model;
    switch (capability) {
        case vessel::Capability::IN_MEMORY: return !model.isOnDisk() && !model.isOnGpu();
        case vessel::Capability::ON_DISK: return model.isOnDisk();
        case vessel::Capability::WRITABLE: return m_private->writable != nullptr;
    }
    return false;
}

bool ImageViewFromModel::readRegion(const vessel::Region& region, std::byte* buffer) const {
    if (!isInside(m_private->axes, region) || !m_private->isCurrent()) {
        return false;
    }
    auto* const bytes = reinterpret_cast<RawData>(buffer);
    return m_private->forEachRow(region, [&](std::size_t offset, std::size_t row, std::size_t plane,
                                             std::size_t sequence, std::size_t spectral) {
        return m_private->model->readRowAt(region.extent[COLUMNS], bytes + offset, region.first[COLUMNS], row, plane,
                                           sequence, spectral);
    });
}

bool ImageViewFromModel::writeRegion(const vessel::Region& region, const std::byte* buffer) {
    if (m_private->writable == nullptr || !isInside(m_private->axes, region) || !m_private->isCurrent()) {
        return false;
    }
    const auto* const bytes = reinterpret_cast<ConstRawData>(buffer);
    return m_private->forEachRow(region, [&](std::size_t offset, std::size_t row, std::size_t plane,
                                             std::size_t sequence, std::size_t spectral) {
        return m_private->writable->writeRowAt(region.extent[COLUMNS], bytes + offset, region.first[COLUMNS], row,
                                               plane, sequence, spectral);
    });
}

const std::byte* ImageViewFromModel::getBuffer() const {
    return m_private->isCurrent() ? reinterpret_cast<const std::byte*>(m_private->model->getImageBuffer()) : nullptr;
}

std::byte* ImageViewFromModel::getBuffer() {
    if (m_private->writable == nullptr || !m_private->isCurrent()) {
        return nullptr;
    }
    return reinterpret_cast<std::byte*>(m_private->writable->getImageBuffer());
}

bool ImageViewFromModel::setCalibration(vessel::AxisName name, const vessel::AxisCalibration& calibration) {
    ImageModel* const model = m_private->writable;
    const std::size_t index = detail::toComponent(name);
    if (model == nullptr || index >= m_private->axes.size()) {
        return false;
    }
    const auto component = static_cast<Components>(index);
    const bool isUnitKept = component <= PLANS      ? model->setSpatialUnitName(calibration.unit)
                            : component == SEQUENCE ? model->setSequenceUnitName(calibration.unit)
                                                    : calibration.unit.empty();
    if (!isUnitKept || !model->setOriginOf(component, calibration.origin) ||
        !model->setSpacingOf(component, calibration.spacing)) {
        return false;
    }
    m_private->axes[index].calibration = calibration;
    for (std::size_t i = COLUMNS; component <= PLANS && i <= PLANS; ++i) {
        m_private->axes[i].calibration.unit = calibration.unit;
    }
    return true;
}

vessel::SpatialDirections ImageViewFromModel::getSpatialDirections() const {
    return m_private->model->getSpatialDirections();
}

bool ImageViewFromModel::setSpatialDirections(const vessel::SpatialDirections& directions) {
    return m_private->writable != nullptr && m_private->writable->setSpatialDirections(directions);
}

bool ImageViewFromModel::applyMetadata() {
    return m_private->writable != nullptr &&
           m_private->writable->setInterpretation(detail::readInterpretation(*this)) &&
           m_private->writable->setColorInterpretation(detail::readColorInterpretation(*this)) &&
           helper::setSpatialFrame(*m_private->writable, detail::readSpatialFrame(*this)) &&
           helper::setLabelScope(*m_private->writable, detail::readLabelScope(*this));
}

}  // namespace rix
