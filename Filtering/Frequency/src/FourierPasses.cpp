#include "FourierPasses.h"

#include <algorithm>
#include <complex>

#include <rix/access/BlockSize.h>
#include <rix/access/LineBundles.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/VoxelTypeLists.h>

#include "AcrossLines.h"
#include "TransformedRows.h"

namespace rix::filtering::frequency {

namespace {

using access::Block;
using access::BlockProgress;
using access::Plan;
using access::RowSegment;
using access::Scratch;

bool isSmall(const ImageModel& image, std::size_t columns) {
    std::size_t count = 0;
    return helper::getElementCount(image, count) &&
           static_cast<double>(count) * nanosecondsFor(columns) < access::smallWorkNanoseconds();
}

/// All rows of an image, some in a block.
Plan planRows(const ImageModel& image) {
    const auto n = helper::getExtents(image);
    Plan plan({1, n[ROWS], n[PLANS], n[SEQUENCE], n[SPECTRAL_SERIES]}, access::JoinedAxes::Lines);
    plan.cut(ROWS, {.step = std::max<std::size_t>(1, access::scaledToBlocks(std::size_t{1} << 16) / n[COLUMNS])});
    plan.setSmall(isSmall(image, n[COLUMNS]));
    return plan;
}

/// Whole planes, where these are small enough to stay in the cache between the transforms of two axes, and enough for
/// some threads; else no blocks.
Plan planPlanes(const ImageModel& spectrum, std::size_t sampleBytes) {
    const auto n = helper::getExtents(spectrum);
    Plan plan({1, n[ROWS], n[PLANS], n[SEQUENCE], n[SPECTRAL_SERIES]}, access::JoinedAxes::None);
    constexpr std::size_t enough = 8;
    const bool small = isSmall(spectrum, n[COLUMNS]);
    const std::size_t most = access::blockBytes() / sampleBytes / n[COLUMNS];
    if (!small && (n[ROWS] > most || n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES] < enough)) {
        return {};
    }
    plan.cut(PLANS, {.step = 1});
    plan.cut(SEQUENCE, {.step = 1});
    plan.cut(SPECTRAL_SERIES, {.step = 1});
    plan.setSmall(small);
    return plan;
}

/// @param open makes what transforms a row, for each block
template <class Open>
void transformRows(access::ExecutionContext& context, const ImageModel& samples, const Open& open) {
    const Plan plan = planRows(samples);
    access::run(context, plan, [&](const Block& block, BlockProgress& progress) {
        auto transform = open();
        for (std::size_t line = block.rows().begin; line < block.rows().end; ++line) {
            transform(plan.lineAt(line));
            progress.add(1);
        }
    });
}

/// @param at a position of the plane
template <class Real>
void transformPlane(AcrossLines<Real>& lines, std::size_t columns, RowSegment at) {
    for (at.column = 0; at.column < columns; at.column += linesAbreast) {
        at.count = std::min(linesAbreast, columns - at.column);
        lines(at);
    }
}

template <class Real>
LineTransform<Real> transformOf(const ImageModel& image, const AxisTransform& how) {
    return {image.getNumOf(how.axis), how.backward ? LineKind::Backward : LineKind::Forward, how.scale};
}

/// Calls `use(open)` with what makes the transform of a row.
template <class Real, class Use>
void withRowsForward(const ImageModel& samples, ImageModel& spectrum, const AxisTransform& how, const Use& use) {
    const std::size_t length = samples.getNumOf(COLUMNS);
    if (isComplex(samples)) {
        const LineTransform<Real> transform(length, LineKind::Forward, how.scale);
        use([&] { return ComplexRows<Real, std::complex<Real>>(samples, spectrum, transform, how); });
    } else {
        const LineTransform<Real> transform(length, LineKind::RealForward, how.scale);
        use([&] { return RealRows<Real>(samples, spectrum, transform, how); });
    }
}

template <class Real, class Use>
void withRowsBackward(const ImageModel& spectrum, ImageModel& samples, bool half, const AxisTransform& how,
                      const Use& use) {
    const LineTransform<Real> transform(samples.getNumOf(COLUMNS), half ? LineKind::RealBackward : LineKind::Backward,
                                        how.scale);
    const auto into = [&]<class Result>(Result /*of a row*/) {
        if (half) {
            use([&] { return HalfRows<Real, Result>(spectrum, samples, transform); });
        } else {
            use([&] { return ComplexRows<Real, Result>(spectrum, samples, transform, how); });
        }
    };
    if (isComplex(samples)) {
        into(std::complex<Real>{});
    } else {
        into(Real{});
    }
}

}  // namespace

bool isComplex(const ImageModel& image) {
    return access::contains(access::Complexes{}, image.getVoxelType());
}

template <class Real>
void transformPlanesForward(access::ExecutionContext& context, const ImageModel& samples, ImageModel& spectrum,
                            const AxisTransform& along, const AxisTransform& across) {
    withRowsForward<Real>(samples, spectrum, along, [&](const auto& open) {
        const Plan plan = planPlanes(spectrum, sizeof(std::complex<Real>));
        if (plan.blockCount() == 0) {
            transformRows(context, samples, open);
            transformAcross<Real>(context, spectrum, spectrum, across);
            return;
        }
        const LineTransform<Real> transform = transformOf<Real>(spectrum, across);
        access::run(context, plan, [&](const Block& block) {
            block.forEachRow([&, rows = open()](const access::Position& at) mutable { rows({at, 0}); });
            AcrossLines<Real> lines(spectrum, spectrum, transform, across);
            transformPlane(lines, spectrum.getNumOf(COLUMNS),
                           {{0, 0, block.planes().begin, block.sequence(), block.spectral()}, 0});
        });
    });
}

template <class Real>
void transformPlanesBackward(access::ExecutionContext& context, const ImageModel& input, ImageModel& spectrum,
                             ImageModel& samples, bool half, const AxisTransform& across, const AxisTransform& along) {
    withRowsBackward<Real>(spectrum, samples, half, along, [&](const auto& open) {
        const Plan plan = planPlanes(spectrum, sizeof(std::complex<Real>));
        if (plan.blockCount() == 0) {
            transformAcross<Real>(context, input, spectrum, across);
            transformRows(context, samples, open);
            return;
        }
        const LineTransform<Real> transform = transformOf<Real>(spectrum, across);
        access::run(context, plan, [&](const Block& block) {
            {
                AcrossLines<Real> lines(input, spectrum, transform, across);
                transformPlane(lines, spectrum.getNumOf(COLUMNS),
                               {{0, 0, block.planes().begin, block.sequence(), block.spectral()}, 0});
            }
            block.forEachRow([&, rows = open()](const access::Position& at) mutable { rows({at, 0}); });
        });
    });
}

template <class Real>
void transformAcross(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                     const AxisTransform& how) {
    const std::size_t length = input.getNumOf(how.axis);
    const LineTransform<Real> transform = transformOf<Real>(input, how);
    const Components next = how.axis == ROWS ? PLANS : ROWS;
    const Plan plan = access::cutBundles(output, output, how.axis, sizeof(std::complex<Real>),
                                         {.nanosecondsPerVoxel = nanosecondsFor(length)});
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

template <class Real>
std::size_t passBytes(const ImageModel& input, std::size_t columns, std::size_t axes, std::size_t threads) {
    using Lines = AcrossLines<Real>;
    // The line, and one on its way into an image without addresses; two out of one, or from another type.
    const bool inPlace = input.getImageBuffer() != nullptr && input.getInterpretation() != RIX_BINARY &&
                         (input.getVoxelType() == access::voxelTypeOf<Real> ||
                          input.getVoxelType() == access::voxelTypeOf<std::complex<Real>>);
    const std::size_t rows = inPlace ? 2 : 4;
    const std::size_t row = std::max(columns, input.getNumOf(COLUMNS)) * sizeof(std::complex<Real>);
    std::size_t most = rows * Scratch::held(row) + LineTransform<Real>::workBytes(columns);
    for (std::size_t axis = ROWS; axis < axes; ++axis) {
        const std::size_t length = input.getNumOf(static_cast<Components>(axis));
        most = std::max(most, Scratch::held(linesAbreast * Lines::pitchOf(length) * sizeof(std::complex<Real>)) +
                                  Lines::slotBytes + LineTransform<Real>::workBytes(length));
    }
    return threads * most;
}

#define RIX_INSTANTIATE(Real)                                                                                   \
    template void transformPlanesForward<Real>(access::ExecutionContext&, const ImageModel&, ImageModel&,       \
                                               const AxisTransform&, const AxisTransform&);                     \
    template void transformPlanesBackward<Real>(access::ExecutionContext&, const ImageModel&, ImageModel&,      \
                                                ImageModel&, bool, const AxisTransform&, const AxisTransform&); \
    template void transformAcross<Real>(access::ExecutionContext&, const ImageModel&, ImageModel&,              \
                                        const AxisTransform&);                                                  \
    template std::size_t passBytes<Real>(const ImageModel&, std::size_t, std::size_t, std::size_t);
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::frequency
