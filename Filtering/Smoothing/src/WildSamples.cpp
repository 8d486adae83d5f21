#include "WildSamples.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rix::filtering::smoothing {

namespace {

enum Mark : std::uint8_t { tame, notANumber, aboveAll, belowAll, marks };

}  // namespace

template <class T>
WildSamples<T>::WildSamples(const access::Bundle<T>& bundle, std::size_t reach)
    : m_bundle(bundle),
      m_reach(static_cast<std::int64_t>(reach)),
      m_marks((bundle.length() + 2 * reach) * bundle.paddedWidth()),
      m_counts(bundle.paddedWidth() * marks * sizeof(std::uint32_t)) {}

template <class T>
std::size_t WildSamples<T>::bytes(std::size_t rows, std::size_t paddedWidth) {
    return access::Scratch::held(rows * paddedWidth) +
           access::Scratch::held(paddedWidth * marks * sizeof(std::uint32_t));
}

template <class T>
void WildSamples<T>::takeOut(T limit) {
    auto* marked = m_marks.as<std::uint8_t>();
    for (std::int64_t i = -m_reach; i < static_cast<std::int64_t>(m_bundle.length()) + m_reach; ++i) {
        T* const row = m_bundle.row(i);
        for (std::size_t x = 0; x < m_bundle.paddedWidth(); ++x) {
            const T value = row[x];
            *marked = std::isnan(value) ? notANumber : value >= limit ? aboveAll : value <= -limit ? belowAll : tame;
            row[x] = *marked == tame ? value : T(0);
            ++marked;
        }
    }
}

template <class T>
void WildSamples<T>::putBack() {
    constexpr T infinity = std::numeric_limits<T>::infinity();
    const std::size_t width = m_bundle.paddedWidth();
    auto* const counts = m_counts.as<std::uint32_t>();
    std::fill_n(counts, width * marks, 0U);
    const auto count = [&](std::int64_t row, std::uint32_t change) {
        const auto* const marked = m_marks.as<std::uint8_t>() + static_cast<std::size_t>(row + m_reach) * width;
        for (std::size_t x = 0; x < width; ++x) {
            counts[x * marks + marked[x]] += change;
        }
    };
    for (std::int64_t i = -m_reach; i < m_reach; ++i) {
        count(i, 1U);
    }
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(m_bundle.length()); ++i) {
        count(i + m_reach, 1U);
        T* const result = m_bundle.row(i - m_reach);
        for (std::size_t x = 0; x < width; ++x) {
            const std::uint32_t* const of = counts + x * marks;
            if (of[notANumber] != 0 || (of[aboveAll] != 0 && of[belowAll] != 0)) {
                result[x] = std::numeric_limits<T>::quiet_NaN();
            } else if (of[aboveAll] != 0) {
                result[x] = infinity;
            } else if (of[belowAll] != 0) {
                result[x] = -infinity;
            }
        }
        count(i - m_reach, ~0U);
    }
}

template class WildSamples<float>;
template class WildSamples<double>;

}  // namespace rix::filtering::smoothing
