#pragma once

#include <cstddef>

#include <rix/image/ImageModelBoxView.h>

namespace rix {

/// One whole plane of an image as a 2D image. The view can be moved from plane to plane without being built again.
///
/// In builds with assertions a position outside the view ends the program; in others row access returns false. An
/// index equal to the extent is accepted by the constructor and the `change...` operations and fails at the first row
/// access.
class RIX_EXPORT ImageModelFull2d : public ImageModelBoxView {
public:
    ImageModelFull2d(ImageModel* real, std::size_t indexPlane, std::size_t indexSequence, std::size_t indexSpectral);
    /// For reading only.
    ImageModelFull2d(const ImageModel* real, std::size_t indexPlane, std::size_t indexSequence,
                     std::size_t indexSpectral);
    ~ImageModelFull2d() override;

    /// Reads the extents of the real image again and moves the view.
    void initialize(std::size_t indexPlane, std::size_t indexSequence, std::size_t indexSpectral);
    void changeCurrentPlane(std::size_t indexPlane);
    void changeCurrentSequence(std::size_t indexSequence);
    void changeCurrentSpectral(std::size_t indexSpectral);

    std::size_t getNumOf(const Components& component) const override;
    /// The first element of the current plane: a plane of a contiguous image is contiguous. Null when the real image is
    /// not contiguous, or has no such plane.
    ConstRawData getImageBuffer() const override;
    RawData getImageBuffer() override;
    Position firstPosition() const override;

protected:
    bool contains(std::size_t nbElement, const Position& position) const override;

private:
    std::size_t m_numOfColumns = 0;
    std::size_t m_numOfRows = 0;
    std::size_t m_indexPlane = 0;
    std::size_t m_indexSequence = 0;
    std::size_t m_indexSpectral = 0;
};

}  // namespace rix
