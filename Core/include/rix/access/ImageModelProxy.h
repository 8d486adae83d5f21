#pragma once

#include <cstddef>
#include <vector>

#include <rix/image/ImageModelSizeProxyBase.h>
#include <rix/image/ImageTypes.h>

namespace rix {

/// An image presented as an image of another voxel type: rows are converted when they are read and written, by the
/// rules of `access::castSample`, for every pair of voxel types. A real read as complex has the imaginary part 0; a
/// complex image written as real gets the imaginary part 0. Values that are converted from or to a binary image become
/// 0 and 1.
///
/// All other characteristics are those of the real image, and setting them reaches through; it can't be reshaped. Where
/// both types are the same, the real image's memory is given out in place; else rows can only be copied. A row of the
/// real image that can't be had in place is copied through working memory of the calling thread, so that any number of
/// threads may read one proxy, and write to it as they may to the real image.
///
/// A proxy does not own the real image and must not outlive it.
class RIX_EXPORT ImageModelProxy : public ImageModelSizeProxyBase {
public:
    /// @param voxelType what the image is presented as
    /// @throws InvalidCall when `voxelType` is no voxel type
    ImageModelProxy(ImageModel* real, VoxelTypes voxelType);
    /// For reading only: rows cannot be written through it.
    ImageModelProxy(const ImageModel* real, VoxelTypes voxelType);
    ~ImageModelProxy() override;

    VoxelTypes getVoxelType() const override;
    std::size_t getNumOf(const Components& component) const override;
    bool setInterpretation(const Interpretations& interpretation) override;
    [[nodiscard]] bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols, std::size_t firstRows,
                                 std::size_t firstPlans, std::size_t firstSequence,
                                 std::size_t firstSpectralSeries) const override;
    [[nodiscard]] bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                  std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                  std::size_t firstSpectralSeries) override;
    [[nodiscard]] bool getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols, std::size_t firstRows,
                                std::size_t firstPlans, std::size_t firstSequence,
                                std::size_t firstSpectralSeries) const override;
    [[nodiscard]] bool getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                     std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                     std::size_t firstSpectralSeries) const override;
    /// That of the real image when both types are the same, else null.
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;
    /// (0, 0, 0, 0, 0)
    std::vector<std::size_t> firstElement() const override;

protected:
    /// Converts samples between buffers that do not overlap and are aligned for their types.
    using Cast = void (*)(VoxelTypes fromType, ConstRawData from, VoxelTypes toType, RawData to, std::size_t count);
    /// For adapters that convert by a rule of their own, also where both types are the same.
    ImageModelProxy(ImageModel* real, VoxelTypes voxelType, Cast cast);
    ImageModelProxy(const ImageModel* real, VoxelTypes voxelType, Cast cast);

private:
    bool isTransparent() const;
    Cast conversion() const;

    VoxelTypes m_voxelType;
    Cast m_cast;  ///< null for the rules of the library
    bool m_isWritable;
    /// When this was made or last told. A run whose result is the real image, and binary, is still to read the samples
    /// that were there before as what they were.
    bool m_isBinary;
};

/// A binary image presented as an image of any voxel type. What is read is 0 or 1, whatever the real image holds where
/// it isn't 0; what is written is stored as 1 where it isn't 0 (fractions and NaN included), as 0 elsewhere. Rows are
/// never given out in place, because a write there could not be made binary.
class RIX_EXPORT ImageModelBinaryProxy : public ImageModelProxy {
public:
    /// @throws InvalidCall when `voxelType` is no voxel type
    ImageModelBinaryProxy(ImageModel* real, VoxelTypes voxelType);
    /// For reading only.
    ImageModelBinaryProxy(const ImageModel* real, VoxelTypes voxelType);
    ~ImageModelBinaryProxy() override;
};

}  // namespace rix
