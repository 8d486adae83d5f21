#pragma once

#include <cstddef>

#include <rix/image/ImageModelBoxView.h>

namespace rix {

/// A slab of whole planes of one (sequence, spectral) pair of an image as a 3D image, whose plane 0 is the first of the
/// slab. The view can be moved from pair to pair without being built again.
///
/// In builds with assertions a position outside the view ends the program; in others row access returns false. An
/// index equal to the extent is accepted by the constructor and the `change...` operations and fails at the first row
/// access.
/// Planes of the slab beyond the end of the real image are refused in the same way.
class RIX_EXPORT ImageModel3dWithFull2d : public ImageModelBoxView {
public:
    ImageModel3dWithFull2d(ImageModel* real, std::size_t firstPlane, std::size_t numberOfPlanes,
                           std::size_t indexSequence, std::size_t indexSpectral);
    /// For reading only.
    ImageModel3dWithFull2d(const ImageModel* real, std::size_t firstPlane, std::size_t numberOfPlanes,
                           std::size_t indexSequence, std::size_t indexSpectral);
    ~ImageModel3dWithFull2d() override;

    /// Reads the extents of the real image again and moves the view.
    void initialize(std::size_t firstPlane, std::size_t numberOfPlanes, std::size_t indexSequence,
                    std::size_t indexSpectral);
    void changeCurrentSequence(std::size_t indexSequence);
    void changeCurrentSpectral(std::size_t indexSpectral);

    std::size_t getNumOf(const Components& component) const override;
    Position firstPosition() const override;

protected:
    bool contains(std::size_t nbElement, const Position& position) const override;

private:
    std::size_t m_numOfColumns = 0;
    std::size_t m_numOfRows = 0;
    std::size_t m_firstPlane = 0;
    std::size_t m_numOfPlanes = 0;
    std::size_t m_indexSequence = 0;
    std::size_t m_indexSpectral = 0;
};

}  // namespace rix
