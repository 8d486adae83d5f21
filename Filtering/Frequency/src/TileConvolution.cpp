#include "TileConvolution.h"

#include <algorithm>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>

#include <rix/access/BorderConditions.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "NotFinite.h"

namespace rix::filtering::frequency {

namespace {

using access::Scratch;

/// 32-bit integers and doubles hold more than a float.
bool needsDouble(const ImageModel& input) {
    const VoxelTypes type = input.getVoxelType();
    return type == RIX_FLOAT64 || type == RIX_INT32 || type == RIX_UINT32;
}

template <class Real>
class Convolution {
public:
    using Complex = std::complex<Real>;

    Convolution(const ImageModel& input, const ImageModel& kernel, const ConvolutionJob& job)
        : m_job(job),
          m_tiles(job.tiles),
          m_transform(m_tiles.tile),
          m_input(&input, access::voxelTypeOf<Real>),
          m_border(access::borderOf<Real>(job.border, job.borderValue)),
          m_kernel(m_transform.coefficients() * sizeof(Complex)) {
        transformKernel(kernel);
    }

    void computeTile(const access::Block& block, ImageModel& output, access::BlockProgress& progress) const {
        const Scratch samples(m_transform.samples() * sizeof(Real));
        const Scratch spectrum(m_transform.coefficients() * sizeof(Complex));
        Real* const tile = samples.as<Real>();
        NotFinite notFinite(m_tiles.tile);
        load(block, tile, notFinite);
        m_transform.forward(tile, spectrum.as<Complex>());
        multiply(spectrum.as<Complex>());
        m_transform.backward(spectrum.as<Complex>(), tile);
        if (notFinite.any()) {
            notFinite.spread(m_tiles.kernel);
        }
        store(block, tile, notFinite, output, progress);
    }

private:
    std::size_t offsetOf(std::size_t row, std::size_t plane) const {
        return (plane * m_tiles.tile[1] + row) * m_tiles.tile[0];
    }

    void transformKernel(const ImageModel& image) {
        const Scratch samples(m_transform.samples() * sizeof(Real));
        Real* const tile = samples.as<Real>();
        std::fill_n(tile, m_transform.samples(), Real{0});
        access::RowReader<double> reader(image);
        // The way there and back multiplies by this.
        const auto scale = 1.0 / static_cast<double>(m_transform.samples());
        access::Looks looks;
        for (std::size_t plane = 0; plane < m_tiles.kernel[2]; ++plane) {
            for (std::size_t row = 0; row < m_tiles.kernel[1]; ++row) {
                const double* const weights = reader.read({{0, row, plane, 0, 0}, m_tiles.kernel[0]});
                std::transform(weights, weights + m_tiles.kernel[0], tile + offsetOf(row, plane),
                               [&](double weight) { return static_cast<Real>(weight * scale); });
                looks.add(m_tiles.kernel[0]);
            }
        }
        m_transform.forward(tile, m_kernel.template as<Complex>());
    }

    /// The voxels that the results of a block see. What the tile has beyond them reaches none of these.
    void load(const access::Block& block, Real* tile, NotFinite& notFinite) const {
        const access::Reach reach = m_tiles.reach();
        const auto first = [](const access::Interval& results, const access::Reach::Axis& axis) {
            return static_cast<std::int64_t>(results.begin) - static_cast<std::int64_t>(axis.before);
        };
        const std::size_t columns = block.columns().length() + reach.columns.sum();
        const std::size_t rows = block.rows().length() + reach.rows.sum();
        const std::size_t planes = block.planes().length() + reach.planes.sum();
        std::fill_n(tile, m_transform.samples(), Real{0});
        access::Looks looks;
        for (std::size_t plane = 0; plane < planes; ++plane) {
            for (std::size_t row = 0; row < rows; ++row) {
                const std::size_t offset = offsetOf(row, plane);
                m_border->getData(
                    m_input, tile + offset, tile + offset + columns, first(block.columns(), reach.columns),
                    first(block.rows(), reach.rows) + static_cast<std::int64_t>(row),
                    first(block.planes(), reach.planes) + static_cast<std::int64_t>(plane),
                    static_cast<std::int64_t>(block.sequence()), static_cast<std::int64_t>(block.spectral()));
                notFinite.takeOut(tile + offset, offset, columns);
                looks.add(columns);
            }
        }
    }

    void multiply(Complex* spectrum) const {
        const Complex* const kernel = m_kernel.template as<Complex>();
        for (std::size_t i = 0; i < m_transform.coefficients(); ++i) {
            const Complex a = spectrum[i];
            const Complex b = kernel[i];
            spectrum[i] = {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
        }
    }

    /// The result that sees the voxels from i on stands where the last of them was.
    void store(const access::Block& block, const Real* tile, const NotFinite& notFinite, ImageModel& output,
               access::BlockProgress& progress) const {
        const TileExtents& kernel = m_tiles.kernel;
        access::RowWriter<Real> writer(output);
        const std::size_t count = block.columns().length();
        block.forEachRow([&](const access::Position& at) {
            const std::size_t row = at.row - block.rows().begin;
            const std::size_t plane = at.plane - block.planes().begin;
            Real* const results = writer.open({at, count});
            std::copy_n(tile + offsetOf(row + kernel[1] - 1, plane + kernel[2] - 1) + kernel[0] - 1, count, results);
            for (std::size_t i = 0; notFinite.any() && i < count; ++i) {
                if (notFinite[offsetOf(row, plane) + i]) {
                    results[i] = std::numeric_limits<Real>::quiet_NaN();
                }
            }
            writer.flush();
            progress.add(count);
        });
    }

    const ConvolutionJob& m_job;
    const ConvolutionTiles& m_tiles;
    TileTransform<Real> m_transform;
    ImageModelProxy m_input;
    std::shared_ptr<const access::BorderCondition<Real>> m_border;
    Scratch m_kernel;  ///< its transform
};

template <class Real>
void convolve(access::ExecutionContext& context, const ImageModel& input, const ImageModel& kernel, ImageModel& output,
              const ConvolutionJob& job) {
    const Convolution<Real> convolution(input, kernel, job);
    access::run(context, job.tiles.plan, [&](const access::Block& block, access::BlockProgress& progress) {
        convolution.computeTile(block, output, progress);
    });
}

}  // namespace

void convolveTiles(access::ExecutionContext& context, const ImageModel& input, const ImageModel& kernel,
                   ImageModel& output, const ConvolutionJob& job) {
    if (needsDouble(input)) {
        convolve<double>(context, input, kernel, output, job);
    } else {
        convolve<float>(context, input, kernel, output, job);
    }
}

std::size_t convolutionBytes(const ImageModel& input, const ConvolutionTiles& tiles, std::size_t threads) {
    constexpr std::size_t rows = std::size_t{6} * 4096;  // on their way from one type to another
    const std::size_t real = needsDouble(input) ? sizeof(double) : sizeof(float);
    const std::size_t samples = Scratch::held(tiles.samples() * real);
    const std::size_t spectrum = Scratch::held(2 * tiles.coefficients() * real);
    const std::size_t marks = Scratch::held(tiles.samples());
    const std::size_t atOnce = tiles.plan.isSmall() ? 1 : std::min(threads, tiles.plan.blockCount());
    const std::size_t row = 2 * Scratch::held(std::max(tiles.tile[0], tiles.kernel[0]) * sizeof(double));
    return spectrum + atOnce * (samples + spectrum + marks + row + rows);
}

}  // namespace rix::filtering::frequency
