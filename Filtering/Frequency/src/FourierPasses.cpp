#include "FourierPasses.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <type_traits>

#include <rix/access/BlockSize.h>
#include <rix/access/LineBundles.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

namespace rix::filtering::frequency {

namespace {

using access::Block;
using access::BlockProgress;
using access::Plan;
using access::RowReader;
using access::RowSegment;
using access::RowWriter;
using access::Scratch;

constexpr std::size_t cacheLine = 64;
/// Lines across the rows that are gathered together: two lines of the cache of each row.
constexpr std::size_t linesAbreast = 16;
/// Rows that are gathered together, so that each line gets a line of the cache at a time.
constexpr std::size_t rowsAbreast = 8;

/// Rough cost of an element, its way through the caches included.
double nanosecondsFor(std::size_t length) {
    return 1.5 + 0.25 * std::log2(static_cast<double>(length));
}

/// All rows of an image, some in a block.
Plan planRows(const ImageModel& image, std::size_t length) {
    const auto extents = helper::getExtents(image);
    Plan plan({1, extents[ROWS], extents[PLANS], extents[SEQUENCE], extents[SPECTRAL_SERIES]},
              access::JoinedAxes::Lines);
    constexpr std::size_t elementsOfBlock = std::size_t{1} << 16;
    plan.cut(ROWS, {.step = std::max<std::size_t>(1, elementsOfBlock / length)});
    plan.setSmall(static_cast<double>(plan.voxelCount()) * static_cast<double>(length) * nanosecondsFor(length) <
                  access::smallWorkNanoseconds());
    return plan;
}

/// Calls `transform(row)` of what `open()` makes for each block, for every row.
template <class Open>
void forEachRow(access::ExecutionContext& context, const ImageModel& image, std::size_t length, const Open& open) {
    const Plan plan = planRows(image, length);
    access::run(context, plan, [&](const Block& block, BlockProgress& progress) {
        auto transform = open();
        for (std::size_t line = block.rows().begin; line < block.rows().end; ++line) {
            transform(plan.lineAt(line));
            progress.add(1);
        }
    });
}

RowSegment withCount(RowSegment segment, std::size_t count) {
    segment.count = count;
    return segment;
}

/// Where the coefficient of frequency 0 lies.
std::size_t middleOf(const AxisTransform& how, std::size_t length) {
    return how.centered ? length / 2 : 0;
}

LineKind kindOf(const AxisTransform& how) {
    return how.backward ? LineKind::Backward : LineKind::Forward;
}

/// to[l][i] = from[i][l] for some rows.
template <class T>
void gather(const T* const* from, std::size_t rows, std::size_t lines, T* to, std::size_t pitch) {
    if (rows == rowsAbreast) {
        for (std::size_t l = 0; l < lines; ++l) {
            for (std::size_t i = 0; i < rowsAbreast; ++i) {
                to[l * pitch + i] = from[i][l];
            }
        }
        return;
    }
    for (std::size_t l = 0; l < lines; ++l) {
        for (std::size_t i = 0; i < rows; ++i) {
            to[l * pitch + i] = from[i][l];
        }
    }
}

template <class T>
void scatter(const T* from, std::size_t pitch, std::size_t rows, std::size_t lines, T* const* to) {
    if (lines == linesAbreast) {
        for (std::size_t i = 0; i < rows; ++i) {
            for (std::size_t l = 0; l < linesAbreast; ++l) {
                to[i][l] = from[l * pitch + i];
            }
        }
        return;
    }
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t l = 0; l < lines; ++l) {
            to[i][l] = from[l * pitch + i];
        }
    }
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

    void operator()(const RowSegment& row) {
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
    RowReader<Real> m_reader;
    RowWriter<Complex> m_writer;
    Scratch m_line;
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

    void operator()(const RowSegment& row) {
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
    RowReader<Complex> m_reader;
    RowWriter<Result> m_writer;
    Scratch m_line;
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

    void operator()(const RowSegment& row) {
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
    RowReader<Complex> m_reader;
    RowWriter<Result> m_writer;
    Scratch m_line;
};

/// Lines of an axis other than the columns, some neighbours at a time.
template <class Real>
class AcrossLines {
public:
    using Complex = std::complex<Real>;

    AcrossLines(const ImageModel& input, ImageModel& output, const LineTransform<Real>& transform,
                const AxisTransform& how)
        : m_axis(how.axis),
          m_length(input.getNumOf(how.axis)),
          m_pitch(pitchOf(m_length)),
          m_readFrom(how.backward ? middleOf(how, m_length) : 0),
          m_writeTo(how.backward ? 0 : middleOf(how, m_length)),
          m_transform(transform),
          m_reader(input),
          m_writer(output),
          m_lines(linesAbreast * m_pitch * sizeof(Complex)) {}

    /// Elements from a line to the next: an odd number of lines of the cache, as the same element of all lines would
    /// otherwise compete for few places of the first-level cache.
    static std::size_t pitchOf(std::size_t length) {
        constexpr std::size_t group = cacheLine / sizeof(Complex);
        const std::size_t groups = length / group + 1;
        return (groups + (groups % 2 == 0 ? 1 : 0)) * group;
    }

    /// @param at the first element of the first line; as many lines as `count`, at most `linesAbreast`
    void operator()(const RowSegment& at) {
        auto* const lines = m_lines.template as<Complex>();
        forEachGroup(at, m_readFrom, [&](const auto& segmentOf, std::size_t first, std::size_t rows) {
            std::array<const Complex*, rowsAbreast> from{};
            for (std::size_t i = 0; i < rows; ++i) {
                from[i] = m_reader.read(segmentOf(first + i), i);
            }
            gather(from.data(), rows, at.count, lines + first, m_pitch);
        });
        for (std::size_t l = 0; l < at.count; ++l) {
            m_transform.inPlace(lines + l * m_pitch);
        }
        forEachGroup(at, m_writeTo, [&](const auto& segmentOf, std::size_t first, std::size_t rows) {
            std::array<Complex*, rowsAbreast> to{};
            for (std::size_t i = 0; i < rows; ++i) {
                to[i] = m_writer.open(segmentOf(first + i), i);
            }
            scatter(lines + first, m_pitch, rows, at.count, to.data());
            for (std::size_t i = 0; i < rows; ++i) {
                m_writer.flush(i);
            }
        });
    }

private:
    template <class Use>
    void forEachGroup(const RowSegment& at, std::size_t middle, const Use& use) const {
        const auto segmentOf = [&](std::size_t element) {
            RowSegment segment = at;
            const std::size_t index = element + middle < m_length ? element + middle : element + middle - m_length;
            (m_axis == ROWS ? segment.row : segment.plane) = index;
            return segment;
        };
        for (std::size_t first = 0; first < m_length; first += rowsAbreast) {
            use(segmentOf, first, std::min(rowsAbreast, m_length - first));
        }
    }

    Components m_axis;
    std::size_t m_length;
    std::size_t m_pitch;
    std::size_t m_readFrom;
    std::size_t m_writeTo;
    const LineTransform<Real>& m_transform;
    RowReader<Complex, rowsAbreast> m_reader;
    RowWriter<Complex, rowsAbreast> m_writer;
    Scratch m_lines;
};

bool isComplex(const ImageModel& image) {
    return image.getVoxelType() == RIX_COMPLEX_FLOAT32 || image.getVoxelType() == RIX_COMPLEX_FLOAT64;
}

}  // namespace

template <class Real>
void transformRowsForward(access::ExecutionContext& context, const ImageModel& samples, ImageModel& coefficients,
                          const AxisTransform& how) {
    using Complex = std::complex<Real>;
    const std::size_t length = samples.getNumOf(COLUMNS);
    if (isComplex(samples)) {
        const LineTransform<Real> transform(length, LineKind::Forward, how.scale);
        forEachRow(context, samples, length,
                   [&] { return ComplexRows<Real, Complex>(samples, coefficients, transform, how); });
    } else {
        const LineTransform<Real> transform(length, LineKind::RealForward, how.scale);
        forEachRow(context, samples, length, [&] { return RealRows<Real>(samples, coefficients, transform, how); });
    }
}

template <class Real>
void transformRowsBackward(access::ExecutionContext& context, const ImageModel& coefficients, ImageModel& samples,
                           bool half, const AxisTransform& how) {
    using Complex = std::complex<Real>;
    const std::size_t length = samples.getNumOf(COLUMNS);
    const LineTransform<Real> transform(length, half ? LineKind::RealBackward : LineKind::Backward, how.scale);
    const auto into = [&]<class Result>(Result /*of a row*/) {
        if (half) {
            forEachRow(context, samples, length,
                       [&] { return HalfRows<Real, Result>(coefficients, samples, transform); });
        } else {
            forEachRow(context, samples, length,
                       [&] { return ComplexRows<Real, Result>(coefficients, samples, transform, how); });
        }
    };
    if (isComplex(samples)) {
        into(Complex{});
    } else {
        into(Real{});
    }
}

template <class Real>
void transformAcross(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                     const AxisTransform& how) {
    using Complex = std::complex<Real>;
    const std::size_t length = input.getNumOf(how.axis);
    const LineTransform<Real> transform(length, kindOf(how), how.scale);
    const Components next = how.axis == ROWS ? PLANS : ROWS;
    const Plan plan =
        access::cutBundles(output, output, how.axis, sizeof(Complex), {.nanosecondsPerVoxel = nanosecondsFor(length)});
    access::run(context, plan, [&](const Block& block, BlockProgress& progress) {
        AcrossLines<Real> lines(input, output, transform, how);
        for (std::size_t other = block.axes[next].begin; other < block.axes[next].end; ++other) {
            for (std::size_t column = block.columns().begin; column < block.columns().end; column += linesAbreast) {
                RowSegment at{{column, 0, 0, block.sequence(), block.spectral()},
                              std::min(linesAbreast, block.columns().end - column)};
                (next == ROWS ? at.row : at.plane) = other;
                lines(at);
                progress.add(at.count * length);
            }
        }
    });
}

std::size_t passBytes(const ImageModel& coefficients, std::size_t columns, std::size_t sampleBytes,
                      std::size_t threads) {
    const auto held = [](std::size_t bytes) { return Scratch::held(bytes); };
    const std::size_t complexBytes = 2 * sampleBytes;
    const std::size_t row = std::max(columns, coefficients.getNumOf(COLUMNS));
    const std::size_t longest = std::max(coefficients.getNumOf(ROWS), coefficients.getNumOf(PLANS));
    // Rows on their way from one type to another, and through images without addresses.
    constexpr std::size_t slots = 2 * rowsAbreast * 2;
    const std::size_t inRows = held(row * complexBytes) * 5;
    const std::size_t inLines =
        held(linesAbreast * (longest + 2 * cacheLine) * complexBytes) + slots * held(linesAbreast * 2 * sizeof(double));
    return threads * std::max(inRows, inLines);
}

template void transformRowsForward<float>(access::ExecutionContext&, const ImageModel&, ImageModel&,
                                          const AxisTransform&);
template void transformRowsForward<double>(access::ExecutionContext&, const ImageModel&, ImageModel&,
                                           const AxisTransform&);
template void transformRowsBackward<float>(access::ExecutionContext&, const ImageModel&, ImageModel&, bool,
                                           const AxisTransform&);
template void transformRowsBackward<double>(access::ExecutionContext&, const ImageModel&, ImageModel&, bool,
                                            const AxisTransform&);
template void transformAcross<float>(access::ExecutionContext&, const ImageModel&, ImageModel&, const AxisTransform&);
template void transformAcross<double>(access::ExecutionContext&, const ImageModel&, ImageModel&, const AxisTransform&);

}  // namespace rix::filtering::frequency
