#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <rix/image/ImageModel.h>

namespace rix::rendering {

/// The fixed coordinates of a row of an image.
struct RowPosition {
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t frame = 0;    ///< index on the sequence axis
    std::size_t channel = 0;  ///< index on the spectral axis
};

/// Reads whole rows of an image, in place where the storage allows it.
class RowReader {
public:
    explicit RowReader(const ImageModel& image);

    /// Number of samples in a row: columns times samples of an element.
    std::size_t samplesOfRow() const { return m_samples; }
    /// The samples of a row as doubles, complex ones as their magnitude. Valid until the next call.
    /// @throws RuntimeError when the image refuses to be read.
    const std::vector<double>& readReals(const RowPosition& position);
    /// The samples of a row as labels: integers with their bits kept, reals rounded, what is no number 0.
    const std::vector<std::uint32_t>& readLabels(const RowPosition& position);

private:
    ConstRawData read(const RowPosition& position);

    const ImageModel& m_image;
    std::size_t m_samples;
    std::vector<std::uint8_t> m_bytes;
    std::vector<double> m_reals;
    std::vector<std::uint32_t> m_labels;
};

}  // namespace rix::rendering
