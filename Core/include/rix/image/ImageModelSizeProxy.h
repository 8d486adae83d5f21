#pragma once

#include <cstddef>
#include <vector>

#include <rix/image/ImageModelBoxView.h>

namespace rix {

/// An arbitrary box of an image as an image of its own: any first element, any extents. Row access at a position
/// outside the box returns false.
class RIX_EXPORT ImageModelSizeProxy : public ImageModelBoxView {
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
    Position firstPosition() const override;

protected:
    bool contains(std::size_t nbElement, const Position& position) const override;

private:
    void checkBox() const;

    std::vector<std::size_t> m_firstElt;
    std::vector<std::size_t> m_nbElts;
};

}  // namespace rix
