#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <rix/Export.h>

namespace rix::math {

/// How a histogram divides a range of values into classes of equal width.
struct RIX_EXPORT HistogramClasses {
    double minimum = 0.0;
    double maximum = 0.0;
    std::size_t count = 0;
    /// 1, or 0.5 where the length of the range itself would overflow: values are multiplied with it before differences
    /// are taken.
    double scale = 1.0;
    double divisor = 1.0;  ///< the width times the scale, never 0

    /// The class of a value inside the range.
    std::size_t indexOf(double value) const;
};

/// The counts of values in classes of equal width over a range. The value that stands for a class is its start (its
/// lower bound), not its centre.
///
/// A histogram made without classes is not initialised: questions about its classes fail.
class RIX_EXPORT Histogram {
public:
    Histogram() = default;
    /// All counts are 0. A minimum above the maximum is swapped with it. @param classes 0 leaves it not initialised.
    Histogram(std::size_t classes, double minimum, double maximum);

    bool isInitialized() const { return m_initialized; }
    std::size_t getNbClasses() const { return m_classes.count; }
    double getMinimum() const { return m_classes.minimum; }
    double getMaximum() const { return m_classes.maximum; }
    /// The width of a class, (maximum - minimum) / number of classes.
    double getBinSize() const { return m_binSize; }
    const HistogramClasses& getClasses() const { return m_classes; }

    /// minimum + index * width.
    /// @throws InvalidCall when the histogram is not initialised and for an index that is not below the number of
    ///         classes, with that number in the text.
    double getClassStart(std::size_t index) const;
    /// The truncation of (value - minimum) / width, at most the last class; the maximum is in the last class, also when
    /// it is the minimum. What lies below the range, and NaN, gives class 0.
    /// @throws InvalidCall when the histogram is not initialised
    std::size_t getIndexFromIntensity(double value) const;

    /// @throws InvalidCall as `getClassStart`.
    std::uint64_t getCount(std::size_t index) const;
    std::span<const std::uint64_t> getCounts() const { return m_counts; }
    /// The sum of all counts.
    std::uint64_t getNbElements() const;

    /// Adds `count` values to a class. @throws InvalidCall as `getClassStart`.
    void addToClass(std::size_t index, std::uint64_t count);
    /// Adds a number of values each to neighbouring classes. @throws InvalidCall as `getClassStart`, of the last one.
    void addToClasses(std::size_t first, std::span<const std::uint64_t> counts);
    /// Counts a value `count` times; a value outside [minimum, maximum], and NaN, is ignored.
    void addIntensity(double value, std::uint64_t count = 1);

private:
    void checkIndex(std::size_t index) const;

    std::vector<std::uint64_t> m_counts;
    HistogramClasses m_classes;
    double m_binSize = 0.0;
    bool m_initialized = false;
};

}  // namespace rix::math
