#include <rix/math/Histogram.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

#include <rix/exceptions/Exception.h>

namespace rix::math {

std::size_t HistogramClasses::indexOf(double value) const {
    const double last = static_cast<double>(count - 1);
    const double position = (value * scale - minimum * scale) / divisor;
    return value < maximum && position < last ? static_cast<std::size_t>(position) : count - 1;
}

Histogram::Histogram(std::size_t classes, double minimum, double maximum)
    : m_counts(classes), m_initialized(classes > 0) {
    if (minimum > maximum) {
        std::swap(minimum, maximum);
    }
    const double scale = std::isfinite(maximum - minimum) ? 1.0 : 0.5;
    const double scaledWidth = m_initialized ? (maximum * scale - minimum * scale) / static_cast<double>(classes) : 0.0;
    m_binSize = scaledWidth / scale;
    m_classes = {minimum, maximum, classes, scale,
                 scaledWidth > 0.0 ? scaledWidth : std::numeric_limits<double>::denorm_min()};
}

double Histogram::getClassStart(std::size_t index) const {
    checkIndex(index);
    return m_classes.minimum + static_cast<double>(index) * m_binSize;
}

std::size_t Histogram::getIndexFromIntensity(double value) const {
    checkIndex(0);
    return value > m_classes.minimum || value == m_classes.maximum ? m_classes.indexOf(value) : 0;
}

std::uint64_t Histogram::getCount(std::size_t index) const {
    checkIndex(index);
    return m_counts[index];
}

std::uint64_t Histogram::getNbElements() const {
    return std::accumulate(m_counts.begin(), m_counts.end(), std::uint64_t{0});
}

void Histogram::addToClass(std::size_t index, std::uint64_t count) {
    checkIndex(index);
    m_counts[index] += count;
}

void Histogram::addToClasses(std::size_t first, std::span<const std::uint64_t> counts) {
    if (counts.empty()) {
        return;
    }
    checkIndex(first);
    checkIndex(first + (counts.size() - 1));
    for (std::size_t i = 0; i < counts.size(); ++i) {
        m_counts[first + i] += counts[i];
    }
}

void Histogram::addIntensity(double value, std::uint64_t count) {
    checkIndex(0);
    if (value >= m_classes.minimum && value <= m_classes.maximum) {
        m_counts[m_classes.indexOf(value)] += count;
    }
}

void Histogram::checkIndex(std::size_t index) const {
    if (!m_initialized) {
        throw InvalidCall("The histogram isn't correctly initialized.");
    }
    if (index >= m_classes.count) {
        throw InvalidCall("The class index must be less than the number of classes " + std::to_string(m_classes.count));
    }
}

}  // namespace rix::math
