#pragma once

#include <array>
#include <cstddef>

#include <vessel/SpatialDirections.h>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/image/ImageTypes.h>

namespace rix {

/// The one way to reach the samples of an image, wherever they are kept.
///
/// An image is an array of elements over five axes (columns, rows, planes, sequence, spectral series); an element is
/// one or several samples of one voxel type. Samples are reached by rows: a run of elements along the columns at a
/// fixed (row, plane, sequence, spectral) position, either copied or, where the storage can give an address, in place.
///
/// Every position is given as (element count, buffer, first column, row, plane, sequence, spectral). The columns from
/// `firstCols` up to but excluding `firstCols + nbElement` must lie inside the image, every other coordinate below
/// its extent.
///
/// Operations report failure by returning false. An image carries no lock: concurrent reads are allowed, concurrent
/// writes only to different rows; `reserve`, the setters and the moves of a view exclude every other access.
class RIX_EXPORT ImageModel {
public:
    virtual ~ImageModel();

    /// An identifier of the image object, unique among living images.
    virtual String getImageId() const = 0;

    virtual std::size_t getNumOf(const Components& component) const = 0;
    virtual VoxelTypes getVoxelType() const = 0;
    virtual ElementTypes getElementType() const = 0;

    /// World position of the first element on an axis, in spatial units (sequence units on `SEQUENCE`).
    virtual bool setOriginOf(const Components& component, double origin) = 0;
    virtual double getOriginOf(const Components& component) const = 0;
    /// Distance between neighbouring elements on an axis, in the same units.
    virtual bool setSpacingOf(const Components& component, double spacing) = 0;
    virtual double getSpacingOf(const Components& component) const = 0;
    virtual bool setSpatialUnitName(const String& name) = 0;
    virtual String getSpatialUnitName() const = 0;
    virtual bool setSpatialDirections(const vessel::SpatialDirections& directions) = 0;
    virtual vessel::SpatialDirections getSpatialDirections() const = 0;
    virtual bool setSequenceUnitName(const String& name) = 0;
    virtual String getSequenceUnitName() const = 0;

    virtual Interpretations getInterpretation() const = 0;
    virtual bool setInterpretation(const Interpretations& interpretation) = 0;
    virtual ColorInterpretation getColorInterpretation() const = 0;
    virtual bool setColorInterpretation(ColorInterpretation interpretation) = 0;

    /// The block size in which the storage prefers to be accessed; false when it has no preference.
    virtual bool getPreferedSize(std::size_t& columns, std::size_t& rows, std::size_t& planes, std::size_t& sequence,
                                 std::size_t& spectral) = 0;

    /// Copies `nbElement` elements of a row into `buffer`.
    [[nodiscard]] virtual bool readRowAt(std::size_t nbElement, RawData buffer, std::size_t firstCols,
                                         std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                         std::size_t firstSpectralSeries) const = 0;
    /// Copies `nbElement` elements from `buffer` into a row.
    [[nodiscard]] virtual bool writeRowAt(std::size_t nbElement, ConstRawData buffer, std::size_t firstCols,
                                          std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                          std::size_t firstSpectralSeries) = 0;
    /// Sets `row` to the address of the first requested element inside the storage, where `nbElement` elements may be
    /// read and written; false, and `row` unchanged, where the storage cannot give such an address.
    [[nodiscard]] virtual bool getRowAt(std::size_t nbElement, RawData& row, std::size_t firstCols,
                                        std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                        std::size_t firstSpectralSeries) const = 0;
    /// The read-only form of `getRowAt`.
    [[nodiscard]] virtual bool getConstRowAt(std::size_t nbElement, ConstRawData& row, std::size_t firstCols,
                                             std::size_t firstRows, std::size_t firstPlans, std::size_t firstSequence,
                                             std::size_t firstSpectralSeries) const = 0;

    virtual bool isOnDisk() const = 0;
    virtual bool isOnGpu() const = 0;

    /// Shapes and retypes the image, with element type `SINGLE`. Sample values are undefined afterwards.
    [[nodiscard]] virtual bool reserve(const VoxelTypes& voxelType, std::size_t columns, std::size_t rows,
                                       std::size_t planes, std::size_t sequence, std::size_t spectral) = 0;
    [[nodiscard]] virtual bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType,
                                       std::size_t columns, std::size_t rows, std::size_t planes, std::size_t sequence,
                                       std::size_t spectral) = 0;

    /// The address of the first element when the whole image is one contiguous buffer in storage order, else null.
    virtual ConstRawData getImageBuffer() const = 0;
    virtual RawData getImageBuffer() = 0;

    /// Makes this image match `reference` in the requested respects (a combination of `ImageCharacteristics`).
    ///
    /// Samples are kept when nothing has to change: the image is not reserved again when it is the reference itself,
    /// or when extents and voxel type match already and the element type is `SINGLE`. A setter is not called for a
    /// value that matches. The element type and the colour interpretation are never copied.
    /// An image is never reserved while the reference is a view of its samples.
    /// @throws RuleException naming the first step that fails; earlier steps stay done.
    void enforceSameCharacteristics(const ImageModel* reference, const int& characteristics);

protected:
    ImageModel() = default;
    ImageModel(const ImageModel&) = default;
    ImageModel& operator=(const ImageModel&) = default;
};

namespace helper {

/// The five extents of an image, indexed by `Components`.
RIX_EXPORT std::array<std::size_t, 5> getExtents(const ImageModel& image);

/// Size of one element in bytes: sample size times samples an element.
RIX_EXPORT std::size_t getElementSize(const ImageModel& image);

/// Number of elements of an image; false when the product does not fit 64 bits.
[[nodiscard]] RIX_EXPORT bool getElementCount(const ImageModel& image, std::size_t& count);

/// Product of five extents, 0 when one of them is 0; false, and `count` unchanged, when it does not fit 64 bits.
[[nodiscard]] RIX_EXPORT bool multiplyExtents(const std::array<std::size_t, 5>& extents, std::size_t& count);

/// "(384, 303, 1, 1, 1, scalar, uint8, value)": how messages describe an image.
RIX_EXPORT String describeImage(const ImageModel& image);

}  // namespace helper
}  // namespace rix
