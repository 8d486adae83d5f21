#pragma once

#include <rix/image/StridedImage.h>

namespace rix::python {

/// A NumPy array as an image. The owner keeps the memory alive as long as the image is used.
class ArrayImage : public StridedImage {
public:
    using StridedImage::StridedImage;

    /// What was asked for and what there is; empty unless a `reserve` failed.
    const String& refusal() const { return m_refusal; }

    bool reserve(const ElementTypes& elementType, const VoxelTypes& voxelType, std::size_t columns, std::size_t rows,
                 std::size_t planes, std::size_t sequence, std::size_t spectral) override;
    using StridedImage::reserve;

private:
    String m_refusal;
};

}  // namespace rix::python
