#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include <rix/Export.h>
#include <rix/access/MemoryAccount.h>

namespace rix::individual_analysis {

/// Whether a measure has a value for each channel of the intensity image or one that holds for all.
enum class SpectralUse { PerPlane, Shared };

/// The values of one measure: `arraySize` numbers for each label of each sequence plane and each spectral plane.
/// Memory: 8 bytes a number.
class RIX_EXPORT MeasureResults {
public:
    explicit MeasureResults(SpectralUse use = SpectralUse::PerPlane) : m_use(use) {}

    /// Makes room, filled with 0. @throws MemoryError when the number of values does not fit 64 bits.
    void initialize(const std::vector<std::size_t>& labelsPerSequencePlane, std::size_t numSpectralPlanes,
                    std::size_t arraySize);

    std::size_t getArraySize() const { return m_arraySize; }
    /// 1 when the values are shared by all channels.
    std::size_t getNumSpectralPlanes() const { return m_spectral; }
    std::size_t getNumSequencePlanes() const { return m_first.empty() ? 0 : m_first.size() - 1; }

    /// The values of the label at `index` (counted from 0 in ascending order of the labels). Positions are not checked;
    /// the spectral plane is ignored when the values are shared.
    std::span<double> values(std::size_t sequence, std::size_t index, std::size_t spectral = 0) {
        return {m_values.data() + position(sequence, index, spectral), m_arraySize};
    }
    std::span<const double> values(std::size_t sequence, std::size_t index, std::size_t spectral = 0) const {
        return {m_values.data() + position(sequence, index, spectral), m_arraySize};
    }

private:
    std::size_t position(std::size_t sequence, std::size_t index, std::size_t spectral) const {
        const std::size_t plane = m_use == SpectralUse::Shared ? 0 : spectral;
        return ((m_first[sequence] + index) * m_spectral + plane) * m_arraySize;
    }

    SpectralUse m_use;
    std::vector<std::size_t> m_first;  ///< number of the first label of each sequence plane, and of all labels
    std::size_t m_spectral = 1;
    std::size_t m_arraySize = 0;
    access::CountedVector<double> m_values;
};

}  // namespace rix::individual_analysis
