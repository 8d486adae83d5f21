#include <rix/access/ImageModelProxy.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include <rix/access/Rows.h>
#include <rix/access/SampleCast.h>
#include <rix/access/Scratch.h>
#include <rix/exceptions/Exception.h>

#include "Image/ViewChecks.h"

namespace rix {

namespace {

VoxelTypes checkedType(VoxelTypes type) {
    if (helper::getSizeOf(type) == 0) {
        throw InvalidCall("An image cannot be presented as an image of voxel type code " +
                          std::to_string(static_cast<std::int32_t>(type)) + ": there is no such type.");
    }
    return type;
}

bool meansBinary(const ImageModel* image) {
    return image != nullptr && image->getInterpretation() == RIX_BINARY;
}

/// Converts between buffers that may lie anywhere: those of applications need not be aligned.
template <class Cast>
void castAnywhere(Cast cast, VoxelTypes fromType, ConstRawData from, VoxelTypes toType, RawData to, std::size_t count) {
    if (access::isAligned(from, fromType) && access::isAligned(to, toType)) {
        cast(fromType, from, toType, to, count);
        return;
    }
    constexpr std::size_t step = 256;
    constexpr std::size_t largestSample = 16;
    alignas(64) std::array<std::uint8_t, step * largestSample> alignedFrom;
    alignas(64) std::array<std::uint8_t, step * largestSample> alignedTo;
    const std::size_t fromSize = helper::getSizeOf(fromType);
    const std::size_t toSize = helper::getSizeOf(toType);
    for (std::size_t done = 0; done < count; done += step) {
        const std::size_t now = std::min(step, count - done);
        std::memcpy(alignedFrom.data(), from + done * fromSize, now * fromSize);
        cast(fromType, alignedFrom.data(), toType, alignedTo.data(), now);
        std::memcpy(to + done * toSize, alignedTo.data(), now * toSize);
    }
}

}  // namespace

ImageModelProxy::ImageModelProxy(ImageModel* real, VoxelTypes voxelType) : ImageModelProxy(real, voxelType, nullptr) {}

ImageModelProxy::ImageModelProxy(const ImageModel* real, VoxelTypes voxelType)
    : ImageModelProxy(real, voxelType, nullptr) {}

ImageModelProxy::ImageModelProxy(ImageModel* real, VoxelTypes voxelType, Cast cast)
    : ImageModelSizeProxyBase(real),
      m_voxelType(checkedType(voxelType)),
      m_cast(cast),
      m_isWritable(true),
      m_isBinary(meansBinary(real)) {}

ImageModelProxy::ImageModelProxy(const ImageModel* real, VoxelTypes voxelType, Cast cast)
    : ImageModelSizeProxyBase(real),
      m_voxelType(checkedType(voxelType)),
      m_cast(cast),
      m_isWritable(false),
      m_isBinary(meansBinary(real)) {}

ImageModelProxy::~ImageModelProxy() = default;

bool ImageModelProxy::setInterpretation(const Interpretations& interpretation) {
    const bool done = ImageModelSizeProxyBase::setInterpretation(interpretation);
    m_isBinary = meansBinary(m_realImage);
    return done;
}

VoxelTypes ImageModelProxy::getVoxelType() const {
    return m_voxelType;
}

std::size_t ImageModelProxy::getNumOf(const Components& component) const {
    return m_realImage->getNumOf(component);
}

/// Asked at every access: the real image may be reserved with another type while it is presented.
bool ImageModelProxy::isTransparent() const {
    return m_cast == nullptr && m_realImage->getVoxelType() == m_voxelType;
}

ImageModelProxy::Cast ImageModelProxy::conversion() const {
    return m_cast != nullptr ? m_cast : m_isBinary ? &access::castSamplesToBinary : &access::castSamples;
}

bool ImageModelProxy::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const {
    if (isTransparent()) {
        return m_realImage->readRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, firstSequence,
                                      firstSpectralSeries);
    }
    const VoxelTypes realType = m_realImage->getVoxelType();
    std::size_t bytes = 0;
    if (!helper::checkedMultiply(nbElement, helper::getElementSize(*m_realImage), bytes)) {
        return false;
    }
    // Images report by their result; what fails inside an adapter does, too.
    try {
        access::Scratch scratch;
        ConstRawData row = nullptr;
        if (!m_realImage->getConstRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence,
                                        firstSpectralSeries)) {
            scratch = access::Scratch(bytes);
            row = scratch.data();
            if (!m_realImage->readRowAt(nbElement, scratch.data(), firstCols, firstRows, firstPlans, firstSequence,
                                        firstSpectralSeries)) {
                return false;
            }
        }
        castAnywhere(conversion(), realType, row, m_voxelType, buffer,
                     nbElement * helper::getElementNumber(m_realImage->getElementType()));
    } catch (const Exception&) {
        return false;
    }
    return true;
}

bool ImageModelProxy::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                 std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) {
    if (!m_isWritable) {
        return false;
    }
    if (isTransparent()) {
        return m_realImage->writeRowAt(nbElement, buffer, firstCols, firstRows, firstPlans, firstSequence,
                                       firstSpectralSeries);
    }
    const VoxelTypes realType = m_realImage->getVoxelType();
    std::size_t bytes = 0;
    // Before anything is converted: a segment that leaves the image may be longer than the caller's buffer.
    if (!detail::fits(nbElement, firstCols, m_realImage->getNumOf(COLUMNS)) ||
        !helper::checkedMultiply(nbElement, helper::getElementSize(*m_realImage), bytes)) {
        return false;
    }
    const std::size_t samples = nbElement * helper::getElementNumber(m_realImage->getElementType());
    try {
        RawData row = nullptr;
        if (m_realImage->getRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence,
                                  firstSpectralSeries)) {
            castAnywhere(conversion(), m_voxelType, buffer, realType, row, samples);
            return true;
        }
        const access::Scratch scratch(bytes);
        castAnywhere(conversion(), m_voxelType, buffer, realType, scratch.data(), samples);
        return m_realImage->writeRowAt(nbElement, scratch.data(), firstCols, firstRows, firstPlans, firstSequence,
                                       firstSpectralSeries);
    } catch (const Exception&) {
        return false;
    }
}

bool ImageModelProxy::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                               std::size_t firstPlans, std::size_t firstSequence,
                               std::size_t firstSpectralSeries) const {
    return m_isWritable && isTransparent() &&
           m_realImage->getRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries);
}

bool ImageModelProxy::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                    std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                    std::size_t firstSpectralSeries) const {
    return isTransparent() && m_realImage->getConstRowAt(nbElement, row, firstCols, firstRows, firstPlans,
                                                         firstSequence, firstSpectralSeries);
}

ConstRawData ImageModelProxy::getImageBuffer() const {
    return isTransparent() ? realImageReadOnly()->getImageBuffer() : nullptr;
}

RawData ImageModelProxy::getImageBuffer() {
    return m_isWritable && isTransparent() ? m_realImage->getImageBuffer() : nullptr;
}

std::vector<std::size_t> ImageModelProxy::firstElement() const {
    return std::vector<std::size_t>(RIX_COMPONENTS_SIZE, 0);
}

ImageModelBinaryProxy::ImageModelBinaryProxy(ImageModel* real, VoxelTypes voxelType)
    : ImageModelProxy(real, voxelType, &access::castSamplesToBinary) {}

ImageModelBinaryProxy::ImageModelBinaryProxy(const ImageModel* real, VoxelTypes voxelType)
    : ImageModelProxy(real, voxelType, &access::castSamplesToBinary) {}

ImageModelBinaryProxy::~ImageModelBinaryProxy() = default;

}  // namespace rix
