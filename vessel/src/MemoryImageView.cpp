#include <vessel/MemoryImageView.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace vessel {

namespace {

/// Rows begin where vector instructions like them to.
constexpr std::align_val_t bufferAlignment{64};

std::size_t checkedSize(ElementType type, const std::vector<Axis>& axes) {
    for (std::size_t i = 0; i < axes.size(); ++i) {
        if (findAxis(axes, axes[i].name) != i) {
            throw std::invalid_argument("An axis of an image occurs twice.");
        }
    }
    if (axes.size() > maximumAxes) {
        throw std::invalid_argument("An image has an axis of unknown name.");
    }
    const auto count = countElements(axes);
    std::size_t bytes = 0;
    if (!count || __builtin_mul_overflow(*count, type.getSize(), &bytes)) {
        throw std::length_error("The size of an image in bytes does not fit 64 bits.");
    }
    return bytes;
}

std::shared_ptr<std::byte> allocateZeroed(std::size_t bytes) {
    auto* const buffer = static_cast<std::byte*>(::operator new(bytes, bufferAlignment));
    std::memset(buffer, 0, bytes);
    return std::shared_ptr<std::byte>(buffer, [](std::byte* address) { ::operator delete(address, bufferAlignment); });
}

}  // namespace

struct MemoryImageViewPrivate {
    ElementType type;
    std::vector<Axis> axes;
    std::shared_ptr<std::byte> buffer;
    SpatialDirections directions;

    /// Calls `copy(offset in the image, offset in the region's buffer, bytes)` for every run of adjacent elements of a
    /// region inside the image.
    template <class Copy>
    void forEachRun(const Region& region, const Copy& copy) const;
};

template <class Copy>
void MemoryImageViewPrivate::forEachRun(const Region& region, const Copy& copy) const {
    std::array<std::size_t, maximumAxes> strides{};
    std::size_t stride = type.getSize();
    std::size_t offset = 0;
    for (std::size_t i = 0; i < axes.size(); ++i) {
        if (region.extent[i] == 0) {
            return;
        }
        strides[i] = stride;
        offset += region.first[i] * stride;
        stride *= axes[i].extent;
    }
    const std::size_t runBytes = (axes.empty() ? 1 : region.extent[0]) * type.getSize();
    std::array<std::size_t, maximumAxes> position{};
    for (std::size_t bufferOffset = 0;; bufferOffset += runBytes) {
        copy(offset, bufferOffset, runBytes);
        std::size_t axis = 1;
        for (; axis < axes.size(); ++axis) {
            offset += strides[axis];
            if (++position[axis] < region.extent[axis]) {
                break;
            }
            offset -= region.extent[axis] * strides[axis];
            position[axis] = 0;
        }
        if (axis >= axes.size()) {
            return;
        }
    }
}

MemoryImageView::MemoryImageView(ElementType type, std::vector<Axis> axes) {
    const std::size_t bytes = checkedSize(type, axes);
    m_private = std::make_unique<MemoryImageViewPrivate>();
    m_private->type = type;
    m_private->axes = std::move(axes);
    m_private->buffer = allocateZeroed(bytes);
}

MemoryImageView::MemoryImageView(ElementType type, std::vector<Axis> axes, std::shared_ptr<std::byte> buffer) {
    if (checkedSize(type, axes) > 0 && buffer == nullptr) {
        throw std::invalid_argument("The buffer of an image is missing.");
    }
    m_private = std::make_unique<MemoryImageViewPrivate>();
    m_private->type = type;
    m_private->axes = std::move(axes);
    m_private->buffer = std::move(buffer);
}

MemoryImageView::~MemoryImageView() = default;

const std::vector<Axis>& MemoryImageView::getAxes() const {
    return m_private->axes;
}

ElementType MemoryImageView::getElementType() const {
    return m_private->type;
}

bool MemoryImageView::has(Capability capability) const {
    return capability == Capability::IN_MEMORY || capability == Capability::WRITABLE;
}

bool MemoryImageView::readRegion(const Region& region, std::byte* buffer) const {
    if (!isInside(m_private->axes, region)) {
        return false;
    }
    const std::byte* const samples = m_private->buffer.get();
    m_private->forEachRun(region, [=](std::size_t offset, std::size_t bufferOffset, std::size_t bytes) {
        std::memcpy(buffer + bufferOffset, samples + offset, bytes);
    });
    return true;
}

bool MemoryImageView::writeRegion(const Region& region, const std::byte* buffer) {
    if (!isInside(m_private->axes, region)) {
        return false;
    }
    std::byte* const samples = m_private->buffer.get();
    m_private->forEachRun(region, [=](std::size_t offset, std::size_t bufferOffset, std::size_t bytes) {
        std::memcpy(samples + offset, buffer + bufferOffset, bytes);
    });
    return true;
}

const std::byte* MemoryImageView::getBuffer() const {
    return m_private->buffer.get();
}

std::byte* MemoryImageView::getBuffer() {
    return m_private->buffer.get();
}

bool MemoryImageView::setCalibration(AxisName name, const AxisCalibration& calibration) {
    const auto axis = findAxis(m_private->axes, name);
    if (!axis) {
        return false;
    }
    m_private->axes[*axis].calibration = calibration;
    return true;
}

SpatialDirections MemoryImageView::getSpatialDirections() const {
    return m_private->directions;
}

bool MemoryImageView::setSpatialDirections(const SpatialDirections& directions) {
    m_private->directions = directions;
    return true;
}

}  // namespace vessel
