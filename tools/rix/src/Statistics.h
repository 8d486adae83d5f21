#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include <rix/image/ImageModel.h>

namespace rix::cli {

/// Minimum, maximum and mean of samples, in double precision. Samples that are no number are counted and left out;
/// infinities take part.
class SampleStatistics {
public:
    void add(const std::vector<double>& row);

    std::uint64_t samples() const { return m_numbers + m_notANumber; }
    std::uint64_t notANumber() const { return m_notANumber; }
    /// False when there is nothing to take the minimum, maximum and mean of.
    bool hasValues() const { return m_numbers != 0; }
    double minimum() const { return m_minimum; }
    double maximum() const { return m_maximum; }
    double mean() const;

private:
    std::uint64_t m_numbers = 0;
    std::uint64_t m_notANumber = 0;
    double m_minimum = std::numeric_limits<double>::infinity();
    double m_maximum = -std::numeric_limits<double>::infinity();
    double m_sum = 0;
    double m_lost = 0;  ///< low-order part that m_sum could not hold
};

/// The statistics of all samples of an image on all five axes; of their magnitudes when they are complex.
SampleStatistics computeStatistics(const ImageModel& image);

}  // namespace rix::cli
