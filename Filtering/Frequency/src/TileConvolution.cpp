// Convolution in tiles that are small enough to be transformed at a time, each by one thread.

#include "TileConvolution.h"

#include <algorithm>
#include <complex>

#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

#include "LargeTiles.h"
#include "NotFinite.h"
#include "TileRows.h"

namespace rix::filtering::frequency {

namespace {

using access::Scratch;

/// 32-bit integers and doubles hold more than a float.
bool needsDouble(const ImageModel& input) {
    const VoxelTypes type = input.getVoxelType();
    return type == RIX_FLOAT64 || type == RIX_INT32 || type == RIX_UINT32;
}

template <class Real>
class SmallTiles {
public:
    using Complex = std::complex<Real>;

    SmallTiles(const ImageModel& input, const ImageModel& kernel, const ConvolutionJob& job)
        : m_tiles(job.tiles),
          m_transform(m_tiles.tile),
          m_rows(input, job),
          m_kernel(m_transform.coefficients() * sizeof(Complex)) {
        const Scratch samples(m_transform.samples() * sizeof(Real));
        m_rows.loadKernel(kernel, samples.as<Real>());
        m_transform.forward(samples.as<Real>(), m_kernel.template as<Complex>());
    }

    void compute(const access::Block& block, ImageModel& output, access::BlockProgress& progress) const {
        const Scratch samples(m_transform.samples() * sizeof(Real));
        const Scratch spectrum(m_transform.coefficients() * sizeof(Complex));
        Real* const tile = samples.as<Real>();
        NotFinite notFinite(m_tiles.tile);
        for (std::size_t plane = 0; plane < m_tiles.tile[2]; ++plane) {
            for (std::size_t row = 0; row < m_tiles.tile[1]; ++row) {
                m_rows.load(block, row, plane, tile);
                const std::size_t offset = m_rows.offsetOf(row, plane);
                notFinite.takeOut(tile + offset, offset, m_tiles.tile[0]);
            }
        }
        m_transform.forward(tile, spectrum.as<Complex>());
        multiply(spectrum.as<Complex>(), m_kernel.template as<Complex>(), m_transform.coefficients());
        m_transform.backward(spectrum.as<Complex>(), tile);
        notFinite.spread(m_tiles.kernel);
        access::RowWriter<Real> writer(output);
        block.forEachRow([&](const access::Position& at) {
            m_rows.store(block, at, tile, notFinite, writer);
            progress.add(block.columns().length());
        });
    }

private:
    const ConvolutionTiles& m_tiles;
    TileTransform<Real> m_transform;
    TileRows<Real> m_rows;
    Scratch m_kernel;  ///< its transform
};

template <class Real>
void convolve(access::ExecutionContext& context, const ImageModel& input, const ImageModel& kernel, ImageModel& output,
              const ConvolutionJob& job) {
    if (job.tiles.areLarge()) {
        convolveLargeTiles<Real>(context, input, kernel, output, job);
        return;
    }
    const SmallTiles<Real> tiles(input, kernel, job);
    access::run(context, job.tiles.plan, [&](const access::Block& block, access::BlockProgress& progress) {
        tiles.compute(block, output, progress);
    });
}

template <class Real>
std::size_t bytesOf(const ConvolutionTiles& tiles, std::size_t threads) {
    if (tiles.areLarge()) {
        return largeTileBytes<Real>(tiles, threads);
    }
    constexpr std::size_t rows = std::size_t{6} * 4096;  // on their way from one type to another
    const std::size_t samples = Scratch::held(tiles.samples() * sizeof(Real));
    const std::size_t spectrum = Scratch::held(2 * tiles.coefficients() * sizeof(Real));
    const std::size_t marks = Scratch::held(tiles.samples());
    const std::size_t atOnce = tiles.plan.isSmall() ? 1 : std::min(threads, tiles.plan.blockCount());
    const std::size_t row = 2 * Scratch::held(std::max(tiles.tile[0], tiles.kernel[0]) * sizeof(double));
    return spectrum + atOnce * (samples + spectrum + marks + row + rows);
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
    return needsDouble(input) ? bytesOf<double>(tiles, threads) : bytesOf<float>(tiles, threads);
}

}  // namespace rix::filtering::frequency
