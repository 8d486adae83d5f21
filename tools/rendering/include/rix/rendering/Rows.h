#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <rix/image/ImageModel.h>
#include <rix/image/InterruptPoint.h>

namespace rix::rendering {

/// The fixed coordinates of a row of an image.
struct RowPosition {
    std::size_t row = 0;
    std::size_t plane = 0;
    std::size_t frame = 0;    ///< index on the sequence axis
    std::size_t channel = 0;  ///< index on the spectral axis
};

/// Calls `use(position)` for every row of an image, in storage order.
template <class Use>
void forEachRow(const ImageModel& image, const Use& use) {
    const auto extents = helper::getExtents(image);
    RowPosition at;
    for (at.channel = 0; at.channel < extents[SPECTRAL_SERIES]; ++at.channel) {
        for (at.frame = 0; at.frame < extents[SEQUENCE]; ++at.frame) {
            for (at.plane = 0; at.plane < extents[PLANS]; ++at.plane) {
                for (at.row = 0; at.row < extents[ROWS]; ++at.row) {
                    use(std::as_const(at));
                }
            }
        }
    }
}

/// Reads whole rows of an image, in place where the storage allows it.
class RowReader {
public:
    /// @throws UserCancelException while rows are read, when the caller wants no more
    explicit RowReader(const ImageModel& image, helper::InterruptPoint interrupt = {});

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
    helper::InterruptPoint m_interrupt;
    std::size_t m_samples;
    std::vector<std::uint8_t> m_bytes;
    std::vector<double> m_reals;
    std::vector<std::uint32_t> m_labels;
};

}  // namespace rix::rendering
