#include "TapSums.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <rix/access/FunctionRef.h>
#include <rix/access/Looks.h>
#include <rix/access/RoundingKernels.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowFilters.h>
#include <rix/image/ImageHeader.h>

#include "WeightedSums.h"

namespace rix::filtering::linear {

namespace {

using access::Scratch;
using access::WindowRows;

/// Rough cost, for deciding whether threads pay and how long blocks take.
constexpr double nanosecondsPerByteOfProduct = 0.025;

/// Products between two looks at a request to cancel, and those that count as one step of `Looks`.
constexpr std::size_t productsAtOnce = std::size_t{1} << 22;
constexpr std::size_t productsOfStep = std::size_t{1} << 10;

/// The neighbours that take part in a sum.
template <class T>
struct Taps {
    struct Offset {
        std::int64_t column;
        std::int64_t row;
        std::int64_t plane;
    };

    std::vector<Offset> offsets;
    std::vector<T> weights;
    access::Reach reach{};

    void add(const Offset& offset, double weight) {
        if (weight != 0.0) {
            offsets.push_back(offset);
            weights.push_back(static_cast<T>(weight));
        }
    }
};

template <class T>
Taps<T> tapsOf(const LaidKernel& kernel) {
    const auto offset = [&](std::size_t index, std::size_t axis) {
        return static_cast<std::int64_t>(index) - static_cast<std::int64_t>(kernel.before[axis]);
    };
    Taps<T> taps;
    taps.reach = kernel.reach();
    for (std::size_t z = 0; z < kernel.extents[2]; ++z) {
        for (std::size_t y = 0; y < kernel.extents[1]; ++y) {
            for (std::size_t x = 0; x < kernel.extents[0]; ++x) {
                taps.add({offset(x, 0), offset(y, 1), offset(z, 2)}, kernel.at(x, y, z));
            }
        }
    }
    return taps;
}

/// One line of factors: the weights that are not 0, and their places.
template <class T>
struct Line {
    explicit Line(const std::vector<double>& line) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] != 0.0) {
                places.push_back(i);
                weights.push_back(static_cast<T>(line[i]));
            }
        }
    }
    std::vector<std::size_t> places;
    std::vector<T> weights;
};

access::BoxNeeds needsOf(const access::Reach& reach, std::size_t products, std::size_t workBytes) {
    access::BoxNeeds needs;
    needs.reach = reach;
    needs.nanosecondsPerVoxel = nanosecondsPerByteOfProduct * static_cast<double>((products + 2) * workBytes);
    needs.heldBytesPerVoxel = workBytes;
    return needs;
}

access::Reach reachInPlanes(const LaidKernel& kernel) {
    return {kernel.reach().columns, kernel.reach().rows, {}};
}

access::Reach reachAlongPlanes(const LaidKernel& kernel) {
    return {{}, {}, kernel.reach().planes};
}

template <class T>
class Sums {
public:
    Sums(access::ExecutionContext& context, const ConvolutionJob& job, OptimLevelType level)
        : m_context(context), m_job(job), m_level(level), m_sum(weightedSum<T>(level)) {}

    void run(const ImageModel& input, ImageModel& output) const {
        if (!m_job.factors) {
            sumAll(input, output, tapsOf<T>(m_job.kernel), m_job.borderValue);
        } else if (!m_job.hasPassAlongPlanes()) {
            sumInPlanes(input, output);
        } else {
            const access::Steps steps(m_context, {2.0, 1.0});
            access::TemporaryImage between(output, access::voxelTypeOf<T>);
            sumInPlanes(input, between.image());
            Taps<T> taps;
            taps.reach = reachAlongPlanes(m_job.kernel);
            for (std::size_t z = 0; z < m_job.kernel.extents[2]; ++z) {
                const auto before = static_cast<std::int64_t>(m_job.kernel.before[2]);
                taps.add({0, 0, static_cast<std::int64_t>(z) - before}, m_job.factors->lines[2][z]);
            }
            sumAll(between.image(), output, taps, borderBetween());
        }
    }

private:
    using Compute = access::FunctionRef<void(WindowRows<T>&, const access::RowSegment&, T*)>;

    /// `compute` gives rows of sums, which become samples of the output.
    void transform(const ImageModel& input, double borderValue, ImageModel& output, const access::BoxNeeds& needs,
                   const Compute& compute) const {
        const auto border = access::borderOf<T>(m_job.border, borderValue);
        const VoxelTypes outputType = output.getVoxelType();
        if (!access::contains(access::Integers{}, outputType)) {
            access::transformWindows<T, T>(m_context, input, *border, output, needs, compute);
            return;
        }
        const access::RoundingRow round = access::roundingRow(access::voxelTypeOf<T>, outputType, m_level);
        access::dispatch(access::Integers{}, outputType, [&](auto tag) {
            using Out = typename decltype(tag)::type;
            const auto rounded = [&](WindowRows<T>& window, const access::RowSegment& segment, Out* out) {
                const Scratch sums(segment.count * sizeof(T));
                compute(window, segment, sums.as<T>());
                round(sums.data(), out, segment.count);
            };
            access::transformWindows<T, Out>(m_context, input, *border, output, needs, rounded);
        });
    }

    void sumAll(const ImageModel& input, ImageModel& output, const Taps<T>& taps, double borderValue) const {
        const std::size_t products = taps.weights.size();
        const std::size_t columnsAtOnce = std::max(productsAtOnce / (products + 1) / 64, std::size_t{1}) * 64;
        const auto compute = [&](WindowRows<T>& window, const access::RowSegment& segment, T* out) {
            const Scratch memory(products * sizeof(const T*));
            const auto rows = memory.as<const T*>();
            const T* row = nullptr;
            for (std::size_t i = 0; i < products; ++i) {
                const auto& offset = taps.offsets[i];
                if (i == 0 || offset.row != taps.offsets[i - 1].row || offset.plane != taps.offsets[i - 1].plane) {
                    row = window.row(static_cast<std::int64_t>(segment.row) + offset.row,
                                     static_cast<std::int64_t>(segment.plane) + offset.plane);
                }
                rows[i] = row + offset.column;
            }
            access::Looks looks;
            for (std::size_t begin = 0; begin < segment.count; begin += columnsAtOnce) {
                const std::size_t end = std::min(begin + columnsAtOnce, segment.count);
                m_sum(rows, taps.weights.data(), products, out, begin, end);
                looks.add((end - begin) * products / productsOfStep);
            }
        };
        transform(input, borderValue, output, needsOf(taps.reach, products, sizeof(T)), compute);
    }

    /// Down the columns of each window, then along the row that this gives.
    void sumInPlanes(const ImageModel& input, ImageModel& output) const {
        const access::Reach reach = reachInPlanes(m_job.kernel);
        const Line<T> across(m_job.factors->lines[0]);
        const Line<T> down(m_job.factors->lines[1]);
        const auto compute = [&](WindowRows<T>& window, const access::RowSegment& segment, T* out) {
            const std::size_t extended = segment.count + reach.columns.sum();
            const Scratch line(extended * sizeof(T));
            const Scratch memory(std::max(across.places.size(), down.places.size()) * sizeof(const T*));
            const auto rows = memory.as<const T*>();
            for (std::size_t i = 0; i < down.places.size(); ++i) {
                rows[i] = window.row(static_cast<std::int64_t>(segment.row + down.places[i]) -
                                         static_cast<std::int64_t>(reach.rows.before),
                                     static_cast<std::int64_t>(segment.plane)) -
                          reach.columns.before;
            }
            m_sum(rows, down.weights.data(), down.places.size(), line.as<T>(), 0, extended);
            for (std::size_t i = 0; i < across.places.size(); ++i) {
                rows[i] = line.as<T>() + across.places[i];
            }
            m_sum(rows, across.weights.data(), across.places.size(), out, 0, segment.count);
        };
        transform(input, m_job.borderValue, output,
                  needsOf(reach, across.places.size() + down.places.size(), sizeof(T)), compute);
    }

    /// What `sumInPlanes` would make of planes of the border's value.
    double borderBetween() const {
        T value = static_cast<T>(m_job.borderValue);
        for (const std::size_t axis : {1U, 0U}) {
            const Line<T> line(m_job.factors->lines[axis]);
            T sum = 0;
            for (const T weight : line.weights) {
                sum += weight * value;
            }
            value = sum;
        }
        return static_cast<double>(value);
    }

    access::ExecutionContext& m_context;
    const ConvolutionJob& m_job;
    OptimLevelType m_level;
    WeightedSum<T> m_sum;
};

/// Most bytes of a pass from an image to one of another type.
std::size_t passBytes(const ImageModel& input, VoxelTypes outputType, const access::BoxNeeds& needs,
                      std::size_t pointers, std::size_t threads) {
    ImageHeader header = helper::headerOf(input);
    header.voxelType = outputType;
    const HeaderImage output(header);
    const access::Plan plan = access::cutBoxes({&input}, {&output}, needs);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    const access::Reach& reach = needs.reach;
    const bool holdsBlock = plan.largestPart(PLANS) > 1 && reach.planes.sum() > 0;
    const std::size_t rows = (reach.rows.sum() + (holdsBlock ? plan.largestPart(ROWS) : 1)) * (reach.planes.sum() + 1);
    const std::size_t row = (plan.largestPart(COLUMNS) + reach.columns.sum()) * needs.heldBytesPerVoxel +
                            2 * access::readableBytesBehindWindow;
    constexpr std::size_t placeOfRow = 24;
    // Beside the windows the row between both directions, that before rounding, and two on their way to the storage.
    return atOnce * (Scratch::held(rows * row) + Scratch::held(rows * placeOfRow) + 4 * Scratch::held(row) +
                     Scratch::held(pointers * sizeof(const void*)));
}

}  // namespace

void sumTaps(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const ConvolutionJob& job,
             OptimLevelType level) {
    if (job.workType(input.getVoxelType()) == RIX_FLOAT64) {
        Sums<double>(context, job, level).run(input, output);
    } else {
        Sums<float>(context, job, level).run(input, output);
    }
}

std::size_t tapSumBytes(const ImageModel& input, VoxelTypes outputType, const ConvolutionJob& job,
                        std::size_t threads) {
    const VoxelTypes workType = job.workType(input.getVoxelType());
    const std::size_t workBytes = helper::getSizeOf(workType);
    if (!job.factors) {
        return passBytes(input, outputType, needsOf(job.kernel.reach(), job.products, workBytes), job.products,
                         threads);
    }
    const auto places = [&](std::size_t axis) { return nonZeros(job.factors->lines[axis]); };
    const std::size_t inPlanes = passBytes(input, job.hasPassAlongPlanes() ? workType : outputType,
                                           needsOf(reachInPlanes(job.kernel), places(0) + places(1), workBytes),
                                           std::max(places(0), places(1)), threads);
    if (!job.hasPassAlongPlanes()) {
        return inPlanes;
    }
    ImageHeader header = helper::headerOf(input);
    header.voxelType = workType;
    header.interpretation = RIX_VALUE;
    const std::size_t alongPlanes =
        passBytes(HeaderImage(header), outputType, needsOf(reachAlongPlanes(job.kernel), places(2), workBytes),
                  places(2), threads);
    return access::TemporaryImage::bytes(input, workType) + std::max(inPlanes, alongPlanes);
}

}  // namespace rix::filtering::linear
