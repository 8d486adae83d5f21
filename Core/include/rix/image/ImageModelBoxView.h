#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <rix/image/ImageModelSizeProxyBase.h>

namespace rix {

/// A view whose element at a position is an element of the real image, the same offset away for all of them. A derived
/// class states its extents, where its first element lies and which runs of elements it gives; reaching rows is done
/// here.
class RIX_EXPORT ImageModelBoxView : public ImageModelSizeProxyBase {
public:
    using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

    ~ImageModelBoxView() override;

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
    std::vector<std::size_t> firstElement() const override;

    /// `firstElement` without an allocation.
    virtual Position firstPosition() const = 0;

protected:
    using ImageModelSizeProxyBase::ImageModelSizeProxyBase;

    /// False for a run of `nbElement` elements that leaves the view; may assert that it doesn't.
    virtual bool contains(std::size_t nbElement, const Position& position) const = 0;

private:
    /// Moves a position of the view into the real image; false when the view doesn't contain the run.
    bool toRealImage(std::size_t nbElement, Position& position) const;
};

}  // namespace rix
