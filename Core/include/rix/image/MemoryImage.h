#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include <rix/image/ImageDetails.h>
#include <rix/image/ImageModel.h>

namespace rix::io {

/// An image whose samples lie in one heap buffer in storage order: columns fastest, spectral series slowest, the
/// samples of an element adjacent. Element (c, y, z, t, s) lies at byte
/// ((((s * T + t) * Z + z) * Y + y) * X + c) * elementSize.
///
/// A new image is empty: all extents, origins and spacings are 0, the voxel type is `RIX_UINT8`. Whoever creates an
/// image sets its spacing. Copying copies the samples; a target of an assignment keeps its own `exactSize`.
///
/// `reserve` fails when memory cannot be had or the size in bytes does not fit 64 bits; the image then keeps its
/// extents and types but has no buffer, and row access fails. With the global setting
/// `RIX_MEMORY_IMAGE_CONSUMPTION_TRACE` every allocation and every destruction writes a line to standard output.
///
/// Cost: row access is constant; `reserve` allocates only when the buffer is too small or `exactSize` is set.
class RIX_EXPORT MemoryImage : public ImageModel, public KeepsImageDetails {
public:
    /// @param exactSize true reallocates at every `reserve`, so that the buffer is never larger than the image; false
    ///        keeps a buffer that is large enough, so that an output can be reserved again at every run.
    explicit MemoryImage(bool exactSize = false);
    /// @throws MemoryError when memory for the samples cannot be had
    MemoryImage(const MemoryImage& other);
    MemoryImage& operator=(const MemoryImage& other);
    ~MemoryImage() override;

    /// Resets the characteristics to those of a new image; the buffer is kept for reuse.
    void Init();

    ConstRawData getInternalBuffer() const;
    RawData getInternalBuffer();

    String getImageId() const override;
    std::size_t getNumOf(const Components& component) const override;
    VoxelTypes getVoxelType() const override;
    ElementTypes getElementType() const override;
    bool setOriginOf(const Components& component, double origin) override;
    double getOriginOf(const Components& component) const override;
    bool setSpacingOf(const Components& component, double spacing) override;
    double getSpacingOf(const Components& component) const override;
    bool setSpatialUnitName(const String& name) override;
    String getSpatialUnitName() const override;
    bool setSpatialDirections(const vessel::SpatialDirections& directions) override;
    vessel::SpatialDirections getSpatialDirections() const override;
    bool setSequenceUnitName(const String& name) override;
    String getSequenceUnitName() const override;
    Interpretations getInterpretation() const override;
    bool setInterpretation(const Interpretations& interpretation) override;
    ColorInterpretation getColorInterpretation() const override;
    bool setColorInterpretation(ColorInterpretation interpretation) override;
    bool getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes, std::size_t& sequence,
                         std::size_t& spectral) override;
    bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                   std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const override;
    bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols, std::size_t firstRows,
                    std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) override;
    bool getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                  std::size_t firstPlans, std::size_t firstSequence, std::size_t firstSpectralSeries) const override;
    bool getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols, std::size_t firstRows,
                       std::size_t firstPlans, std::size_t firstSequence,
                       std::size_t firstSpectralSeries) const override;
    bool isOnDisk() const override;
    bool isOnGpu() const override;
    bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows, std::size_t planes,
                 std::size_t sequence, std::size_t spectral) override;
    bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns, std::size_t rows,
                 std::size_t planes, std::size_t sequence, std::size_t spectral) override;
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;

    /// Sets `m_rawData` to a buffer of `bytes` bytes; throws when there is none. A derived class that keeps its
    /// samples elsewhere overrides both operations and releases its buffer in its own destructor.
    virtual void allocateInternalBuffer(std::size_t bytes);
    /// Releases `m_rawData` and sets it to null.
    virtual void freeInternalBuffer();

    std::optional<SpatialFrame> getSpatialFrame() const override;
    bool setSpatialFrame(const std::optional<SpatialFrame>& frame) override;
    LabelScope getLabelScope() const override;
    bool setLabelScope(LabelScope scope) override;

protected:
    VoxelTypes m_voxelType;
    ElementTypes m_elementType;
    std::size_t m_oneDataSize;  ///< bytes of one element
    std::size_t m_numOf[RIX_COMPONENTS_SIZE];
    double m_originOf[RIX_COMPONENTS_SIZE];
    double m_spacingOf[RIX_COMPONENTS_SIZE];
    bool m_isGrayscale2d;  ///< planes, sequence and spectral extents are all 1: selects the shortest addressing
    bool m_isGrayscale3d;  ///< sequence and spectral are 1, planes more than 1
    String m_spatialUnitName;
    String m_sequenceUnitName;
    vessel::SpatialDirections m_spatialDirections;
    Interpretations m_interpretation;
    bool m_exactSize;
    std::size_t m_realBufferSize;  ///< bytes allocated; 0 after a failed allocation
    RawData m_rawData;
    ColorInterpretation m_colorInterpretation;
    LabelScope m_labelScope;

private:
    /// Drops the buffer through the virtual operation and records that there is none.
    void dropBuffer();
    void forgetBuffer() noexcept;
    void releaseOwnBuffer() noexcept;
    void copyCharacteristics(const MemoryImage& other);
    void storeShape(const ElementTypes& elementType, const VoxelTypes& voxelType,
                    const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents);

    // What allocateInternalBuffer of this very class made: the destructor may free nothing else.
    RawData m_ownBuffer;
    std::size_t m_ownBufferSize;
    std::optional<SpatialFrame> m_spatialFrame;
};

}  // namespace rix::io
