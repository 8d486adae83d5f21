#pragma once

#include <algorithm>
#include <complex>
#include <cstddef>
#include <type_traits>

#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>

#include "FourierPasses.h"

// Rows of images that are transformed one after another, by a thread.

namespace rix::filtering::frequency {

inline access::RowSegment withCount(access::RowSegment segment, std::size_t count) {
    segment.count = count;
    return segment;
}

/// Rows of real samples.
template <class Real>
class RealRows {
public:
    using Complex = std::complex<Real>;

    RealRows(const ImageModel& samples, ImageModel& coefficients, const LineTransform<Real>& transform,
             const AxisTransform& how)
        : m_length(samples.getNumOf(COLUMNS)),
          m_width(coefficients.getNumOf(COLUMNS)),
          m_middle(middleOf(how, m_length)),
          m_transform(transform),
          m_reader(samples),
          m_writer(coefficients),
          m_line(m_width < m_length ? 0 : m_length * sizeof(Complex)) {}

    void operator()(const access::RowSegment& row) {
        const Real* const samples = m_reader.read(withCount(row, m_length));
        Complex* const coefficients = m_writer.open(withCount(row, m_width));
        if (m_width < m_length) {
            m_transform.forward(samples, coefficients);
        } else {
            auto* const line = m_line.template as<Complex>();
            m_transform.forward(samples, line);
            for (std::size_t k = m_length / 2 + 1; k < m_length; ++k) {
                line[k] = std::conj(line[m_length - k]);
            }
            std::rotate_copy(line, line + m_length - m_middle, line + m_length, coefficients);
        }
        m_writer.flush();
    }

private:
    std::size_t m_length;
    std::size_t m_width;
    std::size_t m_middle;
    const LineTransform<Real>& m_transform;
    access::RowReader<Real> m_reader;
    access::RowWriter<Complex> m_writer;
    access::Scratch m_line;
};

/// Whole rows of complex numbers, which become complex ones or their real parts.
template <class Real, class Result>
class ComplexRows {
public:
    using Complex = std::complex<Real>;

    ComplexRows(const ImageModel& input, ImageModel& output, const LineTransform<Real>& transform,
                const AxisTransform& how)
        : m_length(input.getNumOf(COLUMNS)),
          m_middle(middleOf(how, m_length)),
          m_backward(how.backward),
          m_transform(transform),
          m_reader(input),
          m_writer(output),
          m_line(m_length * sizeof(Complex)) {}

    void operator()(const access::RowSegment& row) {
        const Complex* const from = m_reader.read(withCount(row, m_length));
        Result* const to = m_writer.open(withCount(row, m_length));
        auto* const line = m_line.template as<Complex>();
        std::rotate_copy(from, from + (m_backward ? m_middle : 0), from + m_length, line);
        m_transform.inPlace(line);
        if constexpr (std::is_same_v<Result, Complex>) {
            std::rotate_copy(line, line + (m_backward ? 0 : m_length - m_middle), line + m_length, to);
        } else {
            std::transform(line, line + m_length, to, [](const Complex& value) { return value.real(); });
        }
        m_writer.flush();
    }

private:
    std::size_t m_length;
    std::size_t m_middle;
    bool m_backward;
    const LineTransform<Real>& m_transform;
    access::RowReader<Complex> m_reader;
    access::RowWriter<Result> m_writer;
    access::Scratch m_line;
};

/// Rows of half spectra.
template <class Real, class Result>
class HalfRows {
public:
    using Complex = std::complex<Real>;

    HalfRows(const ImageModel& coefficients, ImageModel& samples, const LineTransform<Real>& transform)
        : m_width(coefficients.getNumOf(COLUMNS)),
          m_length(samples.getNumOf(COLUMNS)),
          m_transform(transform),
          m_reader(coefficients),
          m_writer(samples),
          m_line(std::is_same_v<Result, Complex> ? m_length * sizeof(Real) : 0) {}

    void operator()(const access::RowSegment& row) {
        const Complex* const coefficients = m_reader.read(withCount(row, m_width));
        Result* const samples = m_writer.open(withCount(row, m_length));
        if constexpr (std::is_same_v<Result, Complex>) {
            auto* const line = m_line.template as<Real>();
            m_transform.backward(coefficients, line);
            std::copy_n(line, m_length, samples);
        } else {
            m_transform.backward(coefficients, samples);
        }
        m_writer.flush();
    }

private:
    std::size_t m_width;
    std::size_t m_length;
    const LineTransform<Real>& m_transform;
    access::RowReader<Complex> m_reader;
    access::RowWriter<Result> m_writer;
    access::Scratch m_line;
};

}  // namespace rix::filtering::frequency
