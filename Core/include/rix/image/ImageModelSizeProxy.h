#pragma once

#include <cstddef>
#include <vector>

#include <rix/image/ImageModelSizeProxyBase.h>

namespace rix {

/// An arbitrary box of an image as an image of its own: any first element, any extents. Row access at a position
/// outside the box returns false.
class RIX_EXPORT ImageModelSizeProxy : public ImageModelSizeProxyBase {
public:
    /// @param firstElt the position of the box in the real image, five values
    /// @param nbElts the extents of the box, five values
    /// @throws InvalidCall when a vector has not five values; BadIndex when the box leaves the real image
    ImageModelSizeProxy(ImageModel* real, const std::vector<std::size_t>& firstElt,
                        const std::vector<std::size_t>& nbElts);
    /// For reading only.
    ImageModelSizeProxy(const ImageModel* real, const std::vector<std::size_t>& firstElt,
                        const std::vector<std::size_t>& nbElts);
    ~ImageModelSizeProxy() override;

    std::size_t getNumOf(const Components& component) const override;
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

private:
    void checkBox() const;
    bool contains(std::size_t nbElement, std::size_t firstCols, std::size_t firstRows, std::size_t firstPlans,
                  std::size_t firstSequence, std::size_t firstSpectralSeries) const;

    std::vector<std::size_t> m_firstElt;
    std::vector<std::size_t> m_nbElts;
};

}  // namespace rix
