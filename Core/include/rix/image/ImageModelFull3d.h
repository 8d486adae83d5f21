#pragma once

#include <cstddef>

#include <rix/image/ImageModelBoxView.h>

namespace rix {

/// The whole volume of one (sequence, spectral) pair of an image as a 3D image. The view can be moved from pair to pair
/// without being built again.
///
/// In builds with assertions a position outside the view ends the program; in others row access returns false. An
/// index equal to the extent is accepted by the constructor and the `change...` operations and fails at the first row
/// access.
class RIX_EXPORT ImageModelFull3d : public ImageModelBoxView {
public:
    ImageModelFull3d(ImageModel* real, std::size_t indexSequence, std::size_t indexSpectral);
    /// For reading only.
    ImageModelFull3d(const ImageModel* real, std::size_t indexSequence, std::size_t indexSpectral);
    ~ImageModelFull3d() override;

    /// Reads the extents of the real image again and moves the view.
    void initialize(std::size_t indexSequence, std::size_t indexSpectral);
    void changeCurrentSequence(std::size_t indexSequence);
    void changeCurrentSpectral(std::size_t indexSpectral);

    std::size_t getNumOf(const Components& component) const override;
    Position firstPosition() const override;

protected:
    bool contains(std::size_t nbElement, const Position& position) const override;

private:
    std::size_t m_numOfColumns = 0;
    std::size_t m_numOfRows = 0;
    std::size_t m_numOfPlanes = 0;
    std::size_t m_indexSequence = 0;
    std::size_t m_indexSpectral = 0;
};

}  // namespace rix
