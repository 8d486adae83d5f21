#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/access/BorderPolicy.h>
#include <rix/access/MemoryAccount.h>

namespace rix::geometry {

/// How the elements of a line become those of a line of another length over the same stretch.
enum class LineRule : std::uint8_t {
    Keep,     ///< as they are, the lengths are equal
    Nearest,  ///< the element whose stretch holds the place
    Linear,   ///< linearly between two elements
    Spline,   ///< a cubic B-spline, of its coefficients
    Lanczos,  ///< the windowed sinc of three lobes
    Area      ///< the mean over the stretch of the new element
};

/// A line that is scaled.
struct LineScale {
    LineRule rule = LineRule::Keep;
    std::size_t in = 1;   ///< elements, below 2^31
    std::size_t out = 1;  ///< elements, below 2^31
    bool smooth = false;  ///< a Gaussian before the samples of a shorter line are taken
    access::BorderPolicy border = access::BorderPolicy::MIRROR;
    double borderValue = 0.0;
};

/// The width of the Gaussian before a line becomes shorter: what is left of frequencies that the shorter line cannot
/// hold is little, and what it can hold stays.
double smoothingDeviation(const LineScale& scale);

/// The elements of a scaled line as sums over elements of the line: out[i] = (sum over k of weight(k)[i]
/// in[index(k)[i]] + constant[i]) / divisor. What lies beyond the line is in the indices, or with a fixed value in the
/// constants. Places are quotients of integers, and exact.
template <class T>
class LineWeights {
public:
    /// @param wholeWeights gives means over stretches whole weights and a divisor, so that integers are summed exactly
    explicit LineWeights(const LineScale& scale, bool wholeWeights);

    /// What `divisor` will be.
    static double divisorOf(const LineScale& scale, bool wholeWeights);
    /// The most bytes that it takes.
    static std::size_t bytes(const LineScale& scale);

    bool isKept() const { return m_scale.rule == LineRule::Keep; }
    std::size_t length() const { return m_scale.out; }
    std::size_t taps() const { return m_taps; }
    double divisor() const { return m_divisor; }
    /// The indices and weights of all elements for a tap; behind the last up to a multiple of `padding` there are
    /// others that may be read.
    const std::int32_t* indices(std::size_t tap) const { return m_indices.data() + tap * m_stride; }
    const T* weights(std::size_t tap) const { return m_weights.data() + tap * m_stride; }
    /// From the indices and weights of a tap to those of the next.
    std::size_t stride() const { return m_stride; }
    /// Null where all are 0.
    const T* constants() const { return m_constants.empty() ? nullptr : m_constants.data(); }
    /// Results of which the weights are those of results before them, and the indices such, moved: from
    /// `begin + period` to `end` those of result i are those of i - period, and `shift` more. The begin and the period
    /// are multiples of `padding`; there are none where `period` is 0.
    struct Repetition {
        std::size_t begin = 0;
        std::size_t end = 0;
        std::size_t period = 0;
        std::size_t shift = 0;
    };
    const Repetition& repetition() const { return m_repetition; }
    /// For sums of what has a divisor already.
    void scaleConstants(double factor);

    /// The first of the elements that some of the results are made of, and one behind the last.
    struct Range {
        std::size_t begin;
        std::size_t end;
    };
    Range source(std::size_t begin, std::size_t end) const;
    /// The most elements from the first to the last of which `count` results are made that begin at a multiple of
    /// `count`.
    std::size_t widestSource(std::size_t count) const;

    static constexpr std::size_t padding = 16;

private:
    void set(std::size_t i, std::int64_t first, const double* weights, std::size_t count, double constant);
    void findRepetition();

    LineScale m_scale;
    std::size_t m_taps = 1;
    std::size_t m_stride = 0;
    double m_divisor = 1.0;
    Repetition m_repetition;
    access::CountedVector<std::int32_t> m_indices;
    access::CountedVector<T> m_weights;
    access::CountedVector<T> m_constants;
};

extern template class LineWeights<float>;
extern template class LineWeights<double>;

/// The index of the element whose stretch holds the middle of an element of a scaled line.
inline std::size_t nearestOf(const LineScale& scale, std::size_t i) {
    return (2 * i + 1) * scale.in / (2 * scale.out);
}

}  // namespace rix::geometry
