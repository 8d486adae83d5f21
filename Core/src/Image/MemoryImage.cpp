#include <rix/image/MemoryImage.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <ios>
#include <iostream>
#include <new>
#include <sstream>

#include <cxxabi.h>

#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryRefusals.h>
#include <rix/settings/Settings.h>

#include "Image/BufferAllocation.h"

namespace rix::io {

namespace {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

/// Asked only where memory is allocated or freed, never where a buffer is reused.
bool isTraceOn() {
    // Never destroyed: images with static storage ask at the end of the process.
    static const String& key = *new String("RIX_MEMORY_IMAGE_CONSUMPTION_TRACE");
    const Settings& settings = globalSettings();
    return settings.exists(key) && settings.getValueAsBool(key, false);
}

/// "MemoryImage(#7ffc01): "
std::ostringstream beginTrace(const MemoryImage* image) {
    std::ostringstream line;
    line.imbue(std::locale::classic());
    line << "MemoryImage(#" << std::hex << reinterpret_cast<std::uintptr_t>(image) << std::dec << "): ";
    return line;
}

void traceAllocation(const MemoryImage* image, std::size_t needed, std::size_t previous, const Extents& extents,
                     ElementTypes elementType, VoxelTypes voxelType) {
    if (!isTraceOn()) {
        return;
    }
    std::ostringstream line = beginTrace(image);
    line << std::setw(12) << needed - previous << "\t(";
    for (const std::size_t extent : extents) {
        line << extent << ", ";
    }
    line << helper::elementTypesToString(elementType) << ", " << helper::voxelTypesToString(voxelType) << ")\n";
    std::cout << line.str() << std::flush;  // in one piece: other threads may trace as well
}

void traceDestruction(const MemoryImage* image, std::size_t bytes) noexcept {
    try {
        if (isTraceOn()) {
            std::ostringstream line = beginTrace(image);
            line << '-' << std::setw(11) << bytes << '\n';
            std::cout << line.str() << std::flush;
        }
    } catch (...) {
        // A line that cannot be written must not end the process.
    }
}

bool computeBytes(const Extents& extents, std::size_t elementSize, std::size_t& bytes) {
    return helper::multiplyExtents(extents, bytes) && helper::checkedMultiply(bytes, elementSize, bytes);
}

constexpr bool isAxis(Components component) {
    return component >= RIX_COMPONENTS_FIRST && component < RIX_COMPONENTS_SIZE;
}

}  // namespace

MemoryImage::MemoryImage(bool exactSize)
    : m_exactSize(exactSize), m_realBufferSize(0), m_rawData(nullptr), m_ownBuffer(nullptr), m_ownBufferSize(0) {
    // The destructor asks the settings: made before the first image is complete, they outlive every image.
    globalSettings();
    Init();
}

MemoryImage::MemoryImage(const MemoryImage& other) : MemoryImage(other.m_exactSize) {
    *this = other;
}

MemoryImage& MemoryImage::operator=(const MemoryImage& other) {
    if (this == &other) {
        return *this;
    }
    Extents extents;
    std::copy_n(other.m_numOf, extents.size(), extents.begin());
    std::size_t bytes = 0;
    const bool isSized = computeBytes(extents, other.m_oneDataSize, bytes);
    if (isSized && (bytes == 0 || other.m_rawData != nullptr)) {
        if (!reserve(other.m_elementType, other.m_voxelType, extents[COLUMNS], extents[ROWS], extents[PLANS],
                     extents[SEQUENCE], extents[SPECTRAL_SERIES])) {
            throw MemoryError("There is no memory for a copy of image " + helper::describeImage(other) + ": " +
                              std::to_string(bytes) + " bytes.");
        }
        if (bytes != 0 && m_rawData != nullptr) {
            std::memcpy(m_rawData, other.m_rawData, bytes);
        }
    } else {
        // The other lost its buffer to a failed allocation.
        dropBuffer();
        storeShape(other.m_elementType, other.m_voxelType, extents);
    }
    copyCharacteristics(other);
    return *this;
}

MemoryImage::~MemoryImage() {
    traceDestruction(this, m_realBufferSize);
    releaseOwnBuffer();
}

void MemoryImage::Init() {
    std::fill_n(m_originOf, RIX_COMPONENTS_SIZE, 0.0);
    std::fill_n(m_spacingOf, RIX_COMPONENTS_SIZE, 0.0);
    storeShape(SINGLE, RIX_UINT8, Extents{});
    m_spatialUnitName.clear();
    m_sequenceUnitName.clear();
    m_spatialDirections = vessel::SpatialDirections();
    m_spatialFrame.reset();
    m_interpretation = RIX_VALUE;
    m_labelScope = LabelScope::Volume;
    m_colorInterpretation = UNKNOWN;
}

ConstRawData MemoryImage::getInternalBuffer() const {
    return m_rawData;
}

RawData MemoryImage::getInternalBuffer() {
    return m_rawData;
}

String MemoryImage::getImageId() const {
    return "Image_" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
}

std::size_t MemoryImage::getNumOf(const Components& component) const {
    return isAxis(component) ? m_numOf[component] : 0;
}

VoxelTypes MemoryImage::getVoxelType() const {
    return m_voxelType;
}

ElementTypes MemoryImage::getElementType() const {
    return m_elementType;
}

bool MemoryImage::setOriginOf(const Components& component, double origin) {
    if (!isAxis(component)) {
        return false;
    }
    m_originOf[component] = origin;
    return true;
}

double MemoryImage::getOriginOf(const Components& component) const {
    return isAxis(component) ? m_originOf[component] : 0.0;
}

bool MemoryImage::setSpacingOf(const Components& component, double spacing) {
    if (!isAxis(component)) {
        return false;
    }
    m_spacingOf[component] = spacing;
    return true;
}

double MemoryImage::getSpacingOf(const Components& component) const {
    return isAxis(component) ? m_spacingOf[component] : 0.0;
}

bool MemoryImage::setSpatialUnitName(const String& name) {
    m_spatialUnitName = name;
    return true;
}

String MemoryImage::getSpatialUnitName() const {
    return m_spatialUnitName;
}

bool MemoryImage::setSpatialDirections(const vessel::SpatialDirections& directions) {
    m_spatialDirections = directions;
    return true;
}

vessel::SpatialDirections MemoryImage::getSpatialDirections() const {
    return m_spatialDirections;
}

bool MemoryImage::setSequenceUnitName(const String& name) {
    m_sequenceUnitName = name;
    return true;
}

String MemoryImage::getSequenceUnitName() const {
    return m_sequenceUnitName;
}

Interpretations MemoryImage::getInterpretation() const {
    return m_interpretation;
}

bool MemoryImage::setInterpretation(const Interpretations& interpretation) {
    m_interpretation = interpretation;
    m_labelScope = interpretation == RIX_LABEL ? m_labelScope : LabelScope::Volume;
    return true;
}

ColorInterpretation MemoryImage::getColorInterpretation() const {
    return m_colorInterpretation;
}

bool MemoryImage::setColorInterpretation(ColorInterpretation interpretation) {
    m_colorInterpretation = interpretation;
    return true;
}

std::optional<SpatialFrame> MemoryImage::getSpatialFrame() const {
    return m_spatialFrame;
}

bool MemoryImage::setSpatialFrame(const std::optional<SpatialFrame>& frame) {
    m_spatialFrame = frame;
    return true;
}

LabelScope MemoryImage::getLabelScope() const {
    return m_labelScope;
}

bool MemoryImage::setLabelScope(LabelScope scope) {
    m_labelScope = scope;
    return true;
}

bool MemoryImage::getPreferedSize(std::size_t&, std::size_t&, std::size_t&, std::size_t&, std::size_t&) {
    return false;
}

bool MemoryImage::readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                            std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    RawData row = nullptr;
    if (!getRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries)) {
        return false;
    }
    if (nbElement != 0) {
        std::memmove(buffer, row, nbElement * m_oneDataSize);  // the buffer may be a row of this image
    }
    return true;
}

bool MemoryImage::writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                             std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) {
    RawData row = nullptr;
    if (!getRowAt(nbElement, row, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries)) {
        return false;
    }
    if (nbElement != 0) {
        std::memmove(row, buffer, nbElement * m_oneDataSize);
    }
    return true;
}

bool MemoryImage::getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                           std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const {
    const std::size_t columns = m_numOf[COLUMNS];
    // By difference: firstCols + nbElement may wrap. An image without columns has no rows, not even empty ones.
    if (m_rawData == nullptr || columns == 0 || firstCols > columns || nbElement > columns - firstCols ||
        firstRows >= m_numOf[ROWS]) {
        return false;
    }
    std::size_t rowIndex = firstRows;
    if (m_isGrayscale2d) {
        if ((firstPlans | firstSequence | firstSpectralSeries) != 0) {
            return false;
        }
    } else if (m_isGrayscale3d) {
        if (firstPlans >= m_numOf[PLANS] || (firstSequence | firstSpectralSeries) != 0) {
            return false;
        }
        rowIndex += firstPlans * m_numOf[ROWS];
    } else {
        if (firstPlans >= m_numOf[PLANS] || firstSequence >= m_numOf[SEQUENCE] ||
            firstSpectralSeries >= m_numOf[SPECTRAL_SERIES]) {
            return false;
        }
        rowIndex +=
            ((firstSpectralSeries * m_numOf[SEQUENCE] + firstSequence) * m_numOf[PLANS] + firstPlans) * m_numOf[ROWS];
    }
    row = m_rawData + (rowIndex * columns + firstCols) * m_oneDataSize;
    return true;
}

bool MemoryImage::getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const {
    RawData found = nullptr;
    if (!getRowAt(nbElement, found, firstCols, firstRows, firstPlans, firstSequence, firstSpectralSeries)) {
        return false;
    }
    row = found;
    return true;
}

bool MemoryImage::isOnDisk() const {
    return false;
}

bool MemoryImage::isOnGpu() const {
    return false;
}

bool MemoryImage::reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                          std::size_t sequence, std::size_t spectral) {
    return reserve(SINGLE, voxelType, columns, rows, planes, sequence, spectral);
}

bool MemoryImage::reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns,
                          std::size_t rows, std::size_t planes, std::size_t sequence, std::size_t spectral) {
    const Extents extents{columns, rows, planes, sequence, spectral};
    const std::size_t elementSize = helper::getSizeOf(voxelType) * helper::getElementNumber(elementType);
    std::size_t needed = 0;
    if (!computeBytes(extents, elementSize, needed)) {
        dropBuffer();
        return false;
    }
    if (m_exactSize || needed > m_realBufferSize) {
        try {
            traceAllocation(this, needed, m_realBufferSize, extents, elementType, voxelType);
            dropBuffer();
            allocateInternalBuffer(needed);
        } catch (const abi::__forced_unwind&) {
            throw;  // the thread is being ended
        } catch (const std::bad_alloc&) {
            helper::MemoryRefusals::note(needed);
            forgetBuffer();
            return false;
        } catch (...) {
            forgetBuffer();
            return false;
        }
        m_realBufferSize = needed;
    }
    storeShape(elementType, voxelType, extents);
    return true;
}

ConstRawData MemoryImage::getImageBuffer() const {
    return m_rawData;
}

RawData MemoryImage::getImageBuffer() {
    return m_rawData;
}

void MemoryImage::allocateInternalBuffer(std::size_t bytes) {
    releaseOwnBuffer();
    m_ownBuffer = static_cast<RawData>(buffer::allocate(bytes));
    m_ownBufferSize = bytes;
    m_rawData = m_ownBuffer;
}

void MemoryImage::freeInternalBuffer() {
    releaseOwnBuffer();
    m_rawData = nullptr;
}

void MemoryImage::dropBuffer() {
    freeInternalBuffer();
    forgetBuffer();
}

void MemoryImage::forgetBuffer() noexcept {
    m_rawData = nullptr;
    m_realBufferSize = 0;
}

void MemoryImage::releaseOwnBuffer() noexcept {
    buffer::release(m_ownBuffer, m_ownBufferSize);
    m_ownBuffer = nullptr;
    m_ownBufferSize = 0;
}

void MemoryImage::copyCharacteristics(const MemoryImage& other) {
    std::copy_n(other.m_originOf, RIX_COMPONENTS_SIZE, m_originOf);
    std::copy_n(other.m_spacingOf, RIX_COMPONENTS_SIZE, m_spacingOf);
    m_spatialUnitName = other.m_spatialUnitName;
    m_sequenceUnitName = other.m_sequenceUnitName;
    m_spatialDirections = other.m_spatialDirections;
    m_spatialFrame = other.m_spatialFrame;
    m_interpretation = other.m_interpretation;
    m_labelScope = other.m_labelScope;
    m_colorInterpretation = other.m_colorInterpretation;
}

void MemoryImage::storeShape(const ElementTypes& elementType, const VoxelTypes& voxelType, const Extents& extents) {
    std::copy(extents.begin(), extents.end(), m_numOf);
    const bool isVolume = extents[SEQUENCE] == 1 && extents[SPECTRAL_SERIES] == 1;
    m_isGrayscale2d = isVolume && extents[PLANS] == 1;
    m_isGrayscale3d = isVolume && extents[PLANS] > 1;
    m_elementType = elementType;
    m_voxelType = voxelType;
    m_oneDataSize = helper::getSizeOf(voxelType) * helper::getElementNumber(elementType);
}

}  // namespace rix::io
