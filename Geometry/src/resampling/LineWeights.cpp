#include "resampling/LineWeights.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <vector>

#include <rix/access/BorderConditions.h>

namespace rix::geometry {

namespace {

constexpr std::size_t lanczosLobes = 3;
/// Of weights that are kept for results that have the same: those fit the first-level cache.
constexpr std::size_t longestPeriod = 512;

/// A place on a line: elements, and a part of one.
struct Place {
    std::int64_t floor;
    double fraction;
};

/// The middle of element i of the scaled line: ((2 i + 1) in - out) / (2 out).
Place placeOf(const LineScale& scale, std::size_t i) {
    const auto in = static_cast<std::int64_t>(scale.in);
    const auto out = static_cast<std::int64_t>(scale.out);
    const std::int64_t numerator = (2 * static_cast<std::int64_t>(i) + 1) * in - out;
    const std::int64_t denominator = 2 * out;
    // Not below -1: the numerator is at least 1 - out.
    const std::int64_t floor = numerator < 0 ? -1 : numerator / denominator;
    return {floor, static_cast<double>(numerator - floor * denominator) / static_cast<double>(denominator)};
}

double lanczos(double x) {
    if (x == 0) {
        return 1.0;
    }
    const double a = std::numbers::pi * x;
    const double lobes = lanczosLobes;
    return std::abs(x) < lobes ? lobes * std::sin(a) * std::sin(a / lobes) / (a * a) : 0.0;
}

/// Some weights, and how many elements before the floor of the place the first of them is.
struct Taps {
    std::array<double, 2 * lanczosLobes> weights{};
    std::size_t count = 0;
    std::int64_t before = 0;
};

Taps tapsAt(LineRule rule, double f) {
    switch (rule) {
        case LineRule::Linear: return {{1.0 - f, f}, 2, 0};
        case LineRule::Spline: {
            const double g = 1.0 - f;
            return {{g * g * g / 6, (4 + f * f * (3 * f - 6)) / 6, (4 + g * g * (3 * g - 6)) / 6, f * f * f / 6}, 4, 1};
        }
        case LineRule::Lanczos: {
            Taps taps{{}, 2 * lanczosLobes, lanczosLobes - 1};
            double sum = 0.0;
            for (std::size_t k = 0; k < taps.count; ++k) {
                taps.weights[k] = lanczos(f + static_cast<double>(taps.before) - static_cast<double>(k));
                sum += taps.weights[k];
            }
            for (double& weight : taps.weights) {
                weight /= sum;
            }
            return taps;
        }
        case LineRule::Keep:
        case LineRule::Nearest:
        case LineRule::Area: break;
    }
    return {{1.0}, 1, 0};
}

std::size_t tapCount(LineRule rule) {
    return tapsAt(rule, 0.0).count;
}

bool isSmoothed(const LineScale& scale) {
    const bool interpolates =
        scale.rule == LineRule::Linear || scale.rule == LineRule::Spline || scale.rule == LineRule::Lanczos;
    return scale.smooth && interpolates && scale.in > scale.out;
}

std::size_t smoothingReach(const LineScale& scale) {
    return isSmoothed(scale) ? static_cast<std::size_t>(4.0 * smoothingDeviation(scale) + 0.5) : 0;
}

/// The samples of the Gaussian, divided by their sum.
std::vector<double> smoothingTaps(const LineScale& scale) {
    const std::size_t reach = smoothingReach(scale);
    std::vector<double> taps(2 * reach + 1, 1.0);
    double sum = 0.0;
    for (std::size_t k = 0; k < taps.size() && reach > 0; ++k) {
        const double x = (static_cast<double>(k) - static_cast<double>(reach)) / smoothingDeviation(scale);
        taps[k] = std::exp(-0.5 * x * x);
        sum += taps[k];
    }
    for (double& tap : taps) {
        tap /= reach > 0 ? sum : 1.0;
    }
    return taps;
}

/// The most elements that a stretch of in / out elements has a part of.
std::size_t areaTaps(const LineScale& scale) {
    return std::min((scale.in + scale.out - 1) / scale.out + 1, scale.in);
}

std::size_t mostTaps(const LineScale& scale) {
    return scale.rule == LineRule::Area ? areaTaps(scale) : tapCount(scale.rule) + 2 * smoothingReach(scale);
}

std::size_t strideOf(std::size_t length, std::size_t padding) {
    return (length + padding - 1) / padding * padding;
}

}  // namespace

double smoothingDeviation(const LineScale& scale) {
    return scale.in > scale.out ? (static_cast<double>(scale.in) / static_cast<double>(scale.out) - 1.0) / 2.0 : 0.0;
}

template <class T>
double LineWeights<T>::divisorOf(const LineScale& scale, bool wholeWeights) {
    return scale.rule == LineRule::Area && wholeWeights ? static_cast<double>(scale.in / std::gcd(scale.in, scale.out))
                                                        : 1.0;
}

template <class T>
std::size_t LineWeights<T>::bytes(const LineScale& scale) {
    const std::size_t stride = scale.rule == LineRule::Keep ? 0 : strideOf(scale.out, padding);
    return stride * (mostTaps(scale) * (sizeof(T) + sizeof(std::int32_t)) +
                     (scale.border == access::BorderPolicy::FIXED ? sizeof(T) : 0));
}

template <class T>
LineWeights<T>::LineWeights(const LineScale& scale, bool wholeWeights) : m_scale(scale) {
    if (isKept()) {
        return;
    }
    m_taps = mostTaps(scale);
    m_stride = strideOf(scale.out, padding);
    m_divisor = divisorOf(scale, wholeWeights);
    m_indices.assign(m_taps * m_stride, 0);
    m_weights.assign(m_taps * m_stride, T{});
    if (scale.border == access::BorderPolicy::FIXED) {
        m_constants.assign(m_stride, T{});
    }
    if (scale.rule == LineRule::Area) {
        const std::size_t common = std::gcd(scale.in, scale.out);
        const std::size_t in = scale.in / common;
        const std::size_t out = scale.out / common;
        std::vector<double> weights(m_taps);
        for (std::size_t i = 0; i < scale.out; ++i) {
            // In parts of an element of which it has `out`: the stretch is [i in, (i + 1) in).
            const std::size_t begin = i * in;
            const std::size_t end = begin + in;
            const std::size_t first = begin / out;
            std::size_t count = 0;
            for (std::size_t j = first; j * out < end; ++j) {
                const auto part = static_cast<double>(std::min(end, (j + 1) * out) - std::max(begin, j * out));
                weights[count++] = wholeWeights ? part : part / static_cast<double>(in);
            }
            set(i, static_cast<std::int64_t>(first), weights.data(), count, 0.0);
        }
        findRepetition();
        return;
    }
    const std::vector<double> gaussian = smoothingTaps(scale);
    const std::size_t reach = smoothingReach(scale);
    std::vector<double> weights(m_taps);
    for (std::size_t i = 0; i < scale.out; ++i) {
        Place place = placeOf(scale, i);
        double outside = 0.0;  // part of the fixed value
        if (scale.rule == LineRule::Spline && scale.border != access::BorderPolicy::MIRROR) {
            // The spline is that of the mirrored image: beyond the outermost elements it is left, not extended.
            const auto last = static_cast<std::int64_t>(scale.in) - 1;
            const bool isBefore = place.floor < 0;
            if (isBefore || (place.floor >= last && place.fraction > 0)) {
                const double distance = isBefore ? 1.0 - place.fraction : place.fraction;
                outside = scale.border == access::BorderPolicy::FIXED ? distance : 0.0;
                place = {isBefore ? 0 : last, 0.0};
            }
        }
        const Taps taps = tapsAt(scale.rule, place.fraction);
        std::fill(weights.begin(), weights.end(), 0.0);
        for (std::size_t k = 0; k < taps.count; ++k) {
            for (std::size_t g = 0; g < gaussian.size(); ++g) {
                weights[k + g] += (1.0 - outside) * taps.weights[k] * gaussian[g];
            }
        }
        set(i, place.floor - taps.before - static_cast<std::int64_t>(reach), weights.data(), m_taps,
            outside == 0 ? 0.0 : outside * scale.borderValue);
    }
    findRepetition();
}

/// Of quotients of small numbers, places come again. Those near the ends differ by what lies beyond.
template <class T>
void LineWeights<T>::findRepetition() {
    const std::size_t common = std::gcd(m_scale.in, m_scale.out);
    const std::size_t period = std::lcm(m_scale.out / common, padding);
    if (period > longestPeriod || 4 * period > m_scale.out || !m_constants.empty()) {
        return;
    }
    const auto shift = static_cast<std::int32_t>(period / (m_scale.out / common) * (m_scale.in / common));
    const auto repeats = [&](std::size_t i) {
        for (std::size_t k = 0; k < m_taps; ++k) {
            const std::size_t at = k * m_stride + i;
            if (m_indices[at] != m_indices[at - period] + shift || m_weights[at] != m_weights[at - period]) {
                return false;
            }
        }
        return true;
    };
    std::size_t end = 2 * period;
    while (end < m_scale.out && repeats(end)) {
        ++end;
    }
    if (end < 3 * period) {
        return;
    }
    std::size_t begin = period;
    std::size_t first = begin + period;
    while (first > period && repeats(first - 1)) {
        --first;
        begin = std::min(begin, (first - period + padding - 1) / padding * padding);
    }
    m_repetition = {begin, end, period, static_cast<std::size_t>(shift)};
}

template <class T>
void LineWeights<T>::set(std::size_t i, std::int64_t first, const double* weights, std::size_t count, double constant) {
    const auto n = static_cast<std::int64_t>(m_scale.in);
    const bool isFixed = m_scale.border == access::BorderPolicy::FIXED && m_scale.rule != LineRule::Spline;
    std::int64_t inside = std::clamp<std::int64_t>(first, 0, n - 1);
    double total = constant;
    for (std::size_t k = 0; k < m_taps; ++k) {
        const std::int64_t place = first + static_cast<std::int64_t>(k);
        double weight = k < count ? weights[k] : 0.0;
        if (place >= 0 && place < n) {
            inside = k < count ? place : inside;
        } else if (isFixed) {
            total += weight == 0 ? 0.0 : weight * m_scale.borderValue;
            weight = 0.0;
        } else if (k < count) {
            inside = m_scale.border == access::BorderPolicy::CONTINUE && m_scale.rule != LineRule::Spline
                         ? std::clamp<std::int64_t>(place, 0, n - 1)
                         : access::computeCoord(place, n);
        }
        // Where nothing is taken, the element beside: a sample far away need not be read for it.
        m_indices[k * m_stride + i] = static_cast<std::int32_t>(inside);
        m_weights[k * m_stride + i] = static_cast<T>(weight);
    }
    if (!m_constants.empty()) {
        m_constants[i] = static_cast<T>(total);
    }
}

template <class T>
void LineWeights<T>::scaleConstants(double factor) {
    for (T& constant : m_constants) {
        constant = static_cast<T>(static_cast<double>(constant) * factor);
    }
}

template <class T>
typename LineWeights<T>::Range LineWeights<T>::source(std::size_t begin, std::size_t end) const {
    if (isKept()) {
        return {begin, end};
    }
    std::int32_t first = indices(0)[begin];
    std::int32_t last = first;
    for (std::size_t k = 0; k < m_taps; ++k) {
        const auto [least, most] = std::minmax_element(indices(k) + begin, indices(k) + end);
        first = std::min(first, *least);
        last = std::max(last, *most);
    }
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(last) + 1};
}

template <class T>
std::size_t LineWeights<T>::widestSource(std::size_t count) const {
    std::size_t widest = 0;
    for (std::size_t begin = 0; begin < length(); begin += count) {
        const Range range = source(begin, std::min(begin + count, length()));
        widest = std::max(widest, range.end - range.begin);
    }
    return widest;
}

template class LineWeights<float>;
template class LineWeights<double>;

}  // namespace rix::geometry
