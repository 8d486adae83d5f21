#include "LargeTiles.h"

#include <algorithm>
#include <atomic>

#include <rix/access/AllFinite.h>
#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/image/ImageHeader.h>

#include "FourierPasses.h"
#include "NotFinite.h"
#include "TileRows.h"

namespace rix::filtering::frequency {

namespace {

using access::Block;
using access::BlockProgress;
using access::Plan;
using access::TemporaryMemory;

HeaderImage imageOf(const TileExtents& tile, bool spectrum) {
    return HeaderImage({.extents = {spectrum ? tile[0] / 2 + 1 : tile[0], tile[1], tile[2], 1, 1}});
}

template <class Real>
class LargeTiles {
public:
    using Complex = std::complex<Real>;

    LargeTiles(access::ExecutionContext& context, const ImageModel& input, const ConvolutionJob& job)
        : m_context(context),
          m_tiles(job.tiles),
          m_rows(input, job),
          m_samples(imageOf(m_tiles.tile, false), access::voxelTypeOf<Real>),
          m_kernel(imageOf(m_tiles.tile, true), access::voxelTypeOf<Complex>),
          m_spectrum(imageOf(m_tiles.tile, true), access::voxelTypeOf<Complex>),
          m_tile(reinterpret_cast<Real*>(m_samples.image().getImageBuffer())) {}

    void setKernel(const ImageModel& kernel) {
        const access::Steps steps(m_context, 3);
        m_rows.loadKernel(kernel, m_tile);
        transformInto(m_kernel);
    }

    void compute(const Block& block, ImageModel& output) {
        const access::Steps steps(m_context, 9);
        NotFinite notFinite(m_tiles.tile);
        load(block, notFinite);
        transformInto(m_spectrum);
        multiplyByKernel();
        transformBack();
        notFinite.spread(m_tiles.kernel);
        store(block, notFinite, output);
    }

private:
    /// @param body of a row and plane
    template <class Body>
    void forEachRow(std::size_t columns, std::size_t rows, std::size_t planes, const Body& body) {
        Plan plan({columns, rows, planes, 1, 1}, access::JoinedAxes::None);
        constexpr std::size_t samplesOfBlock = std::size_t{1} << 16;
        plan.cut(ROWS, {.step = samplesOfBlock / columns + 1});
        plan.cut(PLANS, {.step = 1});
        plan.setSmall(false);
        access::run(m_context, plan, [&](const Block& block, BlockProgress& progress) {
            block.forEachRow([&, perBlock = body()](const access::Position& at) mutable {
                perBlock(at.row, at.plane);
                progress.add(columns);
            });
        });
    }

    void load(const Block& block, NotFinite& notFinite) {
        const TileExtents& tile = m_tiles.tile;
        std::atomic<bool> found = false;
        forEachRow(tile[0], tile[1], tile[2], [&] {
            return [&](std::size_t row, std::size_t plane) {
                m_rows.load(block, row, plane, m_tile);
                if (!access::allFinite(m_tile + m_rows.offsetOf(row, plane), tile[0])) {
                    found = true;
                }
            };
        });
        access::Looks looks;
        for (std::size_t line = 0; found && line < tile[1] * tile[2]; ++line) {
            notFinite.takeOut(m_tile + line * tile[0], line * tile[0], tile[0]);
            looks.add(tile[0]);
        }
    }

    void transformInto(TemporaryMemory& spectrum) {
        transformPlanesForward<Real>(m_context, m_samples.image(), spectrum.image(), {}, {.axis = ROWS});
        if (m_tiles.tile[2] > 1) {
            transformAcross<Real>(m_context, spectrum.image(), spectrum.image(), {.axis = PLANS});
        }
    }

    void multiplyByKernel() {
        const ImageModel& spectrum = m_spectrum.image();
        const std::size_t width = spectrum.getNumOf(COLUMNS);
        auto* const coefficients = reinterpret_cast<Complex*>(m_spectrum.image().getImageBuffer());
        const auto* const weights = reinterpret_cast<const Complex*>(m_kernel.image().getImageBuffer());
        forEachRow(width, m_tiles.tile[1], m_tiles.tile[2], [&] {
            return [&](std::size_t row, std::size_t plane) {
                const std::size_t offset = (plane * m_tiles.tile[1] + row) * width;
                multiply(coefficients + offset, weights + offset, width);
            };
        });
    }

    void transformBack() {
        ImageModel& spectrum = m_spectrum.image();
        if (m_tiles.tile[2] > 1) {
            transformAcross<Real>(m_context, spectrum, spectrum, {.axis = PLANS, .backward = true});
        }
        transformPlanesBackward<Real>(m_context, spectrum, spectrum, m_samples.image(), true,
                                      {.axis = ROWS, .backward = true}, {.backward = true});
    }

    void store(const Block& block, const NotFinite& notFinite, ImageModel& output) {
        forEachRow(block.columns().length(), block.rows().length(), block.planes().length(), [&] {
            return [&, writer = access::RowWriter<Real>(output)](std::size_t row, std::size_t plane) mutable {
                const access::Position at{block.columns().begin, block.rows().begin + row, block.planes().begin + plane,
                                          block.sequence(), block.spectral()};
                m_rows.store(block, at, m_tile, notFinite, writer);
            };
        });
    }

    access::ExecutionContext& m_context;
    const ConvolutionTiles& m_tiles;
    TileRows<Real> m_rows;
    TemporaryMemory m_samples;
    TemporaryMemory m_kernel;  ///< its transform
    TemporaryMemory m_spectrum;
    Real* m_tile;  ///< the samples
};

}  // namespace

template <class Real>
void convolveLargeTiles(access::ExecutionContext& context, const ImageModel& input, const ImageModel& kernel,
                        ImageModel& output, const ConvolutionJob& job) {
    const Plan& plan = job.tiles.plan;
    const access::Steps steps(context, 1 + plan.blockCount());
    LargeTiles<Real> tiles(context, input, job);
    tiles.setKernel(kernel);
    for (std::size_t i = 0; i < plan.blockCount(); ++i) {
        tiles.compute(plan.block(i), output);
    }
}

template <class Real>
std::size_t largeTileBytes(const ConvolutionTiles& tiles, std::size_t threads) {
    const HeaderImage samples = imageOf(tiles.tile, false);
    const HeaderImage spectrum = imageOf(tiles.tile, true);
    const std::size_t row = 4 * access::Scratch::held(std::max(tiles.tile[0], tiles.kernel[0]) * sizeof(double));
    return TemporaryMemory::bytes(samples, access::voxelTypeOf<Real>) +
           2 * TemporaryMemory::bytes(spectrum, access::voxelTypeOf<std::complex<Real>>) +
           access::Scratch::held(tiles.samples()) + threads * row +
           passBytes<Real>(samples, tiles.tile[0], tiles.tile[2] > 1 ? 3 : 2, threads);
}

#define RIX_INSTANTIATE(Real)                                                                               \
    template void convolveLargeTiles<Real>(access::ExecutionContext&, const ImageModel&, const ImageModel&, \
                                           ImageModel&, const ConvolutionJob&);                             \
    template std::size_t largeTileBytes<Real>(const ConvolutionTiles&, std::size_t);
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::frequency
