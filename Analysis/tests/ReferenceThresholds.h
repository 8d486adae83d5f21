#pragma once

// The threshold criteria written down from their formulas, in long double and without any of the library's shortcuts.

#include "Testing.h"

namespace rix::test {

struct ReferenceHistogram {
    std::vector<std::uint64_t> counts;
    double minimum = 0.0;
    double width = 1.0;

    std::size_t classes() const { return counts.size(); }
    /// @throws std::out_of_range where the library has to fail.
    double start(std::size_t index) const {
        if (index >= counts.size()) {
            throw std::out_of_range("class");
        }
        return minimum + static_cast<double>(index) * width;
    }
    long double total() const {
        long double sum = 0;
        for (const std::uint64_t count : counts) {
            sum += static_cast<long double>(count);
        }
        return sum;
    }
};

inline double referenceEntropy(const ReferenceHistogram& histogram) {
    const long double all = histogram.total();
    std::vector<long double> running;
    long double sum = 0;
    for (const std::uint64_t count : histogram.counts) {
        const auto h = static_cast<long double>(count);
        sum += count > 0 ? -h * std::log(h) : 0.0L;
        running.push_back(sum);
    }
    if (all == 0) {
        return histogram.start(0);
    }
    std::size_t best = 0;
    long double bestScore = -std::numeric_limits<long double>::max();
    long double n1 = 0;
    for (std::size_t i = 0; i < histogram.classes(); ++i) {
        n1 += static_cast<long double>(histogram.counts[i]);
        const long double n2 = all - n1;
        if (n1 != 0 && n2 >= 1) {
            const long double score = running[i] / n1 + (sum - running[i]) / n2 + std::log(n1 * n2);
            if (score > bestScore) {
                bestScore = score;
                best = i;
            }
        }
    }
    return histogram.start(best + 1);
}

inline double referenceFactorisation(const ReferenceHistogram& histogram) {
    const long double all = histogram.total();
    if (all == 0) {
        return histogram.start(0);
    }
    long double sum = 0;
    for (std::size_t i = 0; i < histogram.classes(); ++i) {
        sum += histogram.start(i) * static_cast<long double>(histogram.counts[i]);
    }
    std::size_t best = 0;
    long double bestScore = 0;
    long double n1 = 0;
    long double s1 = 0;
    for (std::size_t i = 0; i < histogram.classes(); ++i) {
        n1 += static_cast<long double>(histogram.counts[i]);
        s1 += histogram.start(i) * static_cast<long double>(histogram.counts[i]);
        const long double n2 = all - n1;
        const long double mean1 = n1 == 0 ? 0 : s1 / n1;
        const long double mean2 = n2 == 0 ? 0 : (sum - s1) / n2;
        const long double score = n2 * (n1 * (mean1 - mean2) * (mean1 - mean2));
        if (score > bestScore) {
            bestScore = score;
            best = i;
        }
    }
    return histogram.start(best + 1);
}

inline double referenceMoments(const ReferenceHistogram& histogram) {
    const long double all = histogram.total();
    if (all == 0) {
        return histogram.start(0);
    }
    long double m1 = 0;
    long double m2 = 0;
    long double m3 = 0;
    for (std::size_t i = 0; i < histogram.classes(); ++i) {
        const long double x = histogram.start(i);
        const auto h = static_cast<long double>(histogram.counts[i]);
        m1 += h * x / all;
        m2 += h * x * x / all;
        m3 += h * x * x * x / all;
    }
    const long double cd = m2 - m1 * m1;
    const long double half = 0.5L * (m1 * m2 - m3) / cd;
    const long double discriminant = half * half - (m3 * m1 - m2 * m2) / cd;
    const long double target =
        discriminant < 0 ? 0 : std::trunc(all * (0.5L - (half + m1) / (2 * std::sqrt(discriminant))));
    long double running = 0;
    for (std::size_t i = 0; i < histogram.classes(); ++i) {
        running += static_cast<long double>(histogram.counts[i]);
        if (running >= target) {
            return histogram.start(i + 1);
        }
    }
    return histogram.start(histogram.classes() - 1);
}

/// On the values of the image itself.
inline double referenceIsodata(const ReferenceHistogram& histogram, const std::vector<double>& values) {
    double threshold = referenceFactorisation(histogram);
    for (int iteration = 0; iteration < 10; ++iteration) {
        long double sum1 = 0;
        long double sum2 = 0;
        long double count1 = 0;
        long double count2 = 0;
        for (const double value : values) {
            if (std::isfinite(value)) {
                (value < threshold ? sum1 : sum2) += value;
                (value < threshold ? count1 : count2) += 1;
            }
        }
        const double mean1 = count1 == 0 ? 0 : static_cast<double>(sum1) / static_cast<double>(count1);
        const double mean2 = count2 == 0 ? 0 : static_cast<double>(sum2) / static_cast<double>(count2);
        const double next = (mean1 + mean2) / 2;
        if (std::abs(next - threshold) < 1e-6) {
            break;
        }
        threshold = next;
    }
    return threshold;
}

/// The range of a histogram before it is widened for integers.
struct ReferenceRange {
    double minimum;
    double maximum;
};

inline ReferenceRange referenceRange(const std::vector<double>& values) {
    ReferenceRange range{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (const double value : values) {
        if (std::isfinite(value)) {
            range.minimum = std::min(range.minimum, value);
            range.maximum = std::max(range.maximum, value);
        }
    }
    return range;
}

inline ReferenceHistogram referenceHistogram(const std::vector<double>& values, ReferenceRange range, bool integers) {
    std::size_t classes = 65535;
    if (integers) {
        range.maximum += 1;
        classes = static_cast<std::size_t>(std::min(65535.0, range.maximum - range.minimum));
    }
    ReferenceHistogram histogram;
    histogram.counts.resize(classes);
    histogram.minimum = range.minimum;
    histogram.width = (range.maximum - range.minimum) / static_cast<double>(classes);
    for (const double value : values) {
        if (value >= range.minimum && value <= range.maximum) {
            const double position = (value - range.minimum) / histogram.width;
            const bool isLast = value == range.maximum || position >= static_cast<double>(classes - 1);
            ++histogram.counts[isLast ? classes - 1 : static_cast<std::size_t>(position)];
        }
    }
    return histogram;
}

/// The threshold by a criterion, numbered as in the library.
inline double referenceThreshold(int criterion, const std::vector<double>& values, const ReferenceRange& range,
                                 bool integers) {
    const ReferenceHistogram histogram = referenceHistogram(values, range, integers);
    switch (criterion) {
        case 0: return referenceEntropy(histogram);
        case 1: return referenceFactorisation(histogram);
        case 2: return referenceMoments(histogram);
        default: return referenceIsodata(histogram, values);
    }
}

}  // namespace rix::test
