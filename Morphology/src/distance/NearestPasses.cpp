// Distances with the voxels that they lead to: the passes of `DistancePasses.cpp` with an index beside each height.

#include <memory>
#include <type_traits>

#include <rix/access/WholeImage.h>

#include "distance/ColumnCounts.h"
#include "distance/DistancePasses.h"
#include "distance/LineTransform.h"
#include "distance/NearestLine.h"
#include "distance/NearestOutput.h"
#include "distance/PlaneTiles.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::RowSegment;
using access::Scratch;

/// The rows of a line, with a place before and behind it.
template <class Class>
class LineRows {
public:
    explicit LineRows(std::size_t length)
        : m_runs(m_memory.template add<ClassRun>(length)),
          m_classes(m_memory.template add<Class>(length)),
          m_sources(m_memory.template add<std::uint32_t>(length)),
          m_distances(m_memory.template add<float>(length)) {
        for (std::size_t i = 0; i < 2; ++i) {
            m_heights[i] = m_memory.template add<double>(length);
            m_voxels[i] = m_memory.template add<std::uint32_t>(length);
        }
    }

    std::size_t bytes() const { return Scratch::held(m_memory.bytes()); }
    void take() { m_memory.take(); }

    ClassRun* runs() const { return m_memory.template row<ClassRun>(m_runs); }
    Class* classes() const { return m_memory.template row<Class>(m_classes); }
    std::uint32_t* sources() const { return m_memory.template row<std::uint32_t>(m_sources); }
    float* distances() const { return m_memory.template row<float>(m_distances); }
    NearestRow in() const { return row(0); }
    NearestRow out() const { return row(1); }

private:
    NearestRow row(std::size_t i) const {
        return {m_memory.template row<double>(m_heights[i]), m_memory.template row<std::uint32_t>(m_voxels[i])};
    }

    RowMemory m_memory;
    std::size_t m_runs;
    std::size_t m_classes;
    std::size_t m_sources;
    std::size_t m_distances;
    std::size_t m_heights[2]{};
    std::size_t m_voxels[2]{};
};

/// Makes lines of heights and voxels, one after the other; made once a block.
template <class Class>
class NearestTransform {
public:
    NearestTransform(const DistanceTask& task, const LineCosts<double>& costs, std::size_t length, OptimLevelType level)
        : m_task(task),
          m_classes(classKernels<Class>(level)),
          m_heights(heightKernels<double>(level)),
          m_line(task.lineNeeds<double>(), costs),
          m_length(length),
          m_rows(length) {
        m_rows.take();
    }

    static std::size_t bytes(std::size_t length) { return LineRows<Class>(length).bytes(); }

    const LineRows<Class>& rows() const { return m_rows; }
    const HeightKernels<double>& kernels() const { return m_heights; }

    void operator()(const Class* classes, std::uint32_t firstVoxel, std::uint32_t voxelStep) {
        m_runCount = m_classes.findRuns(classes, m_length, m_rows.runs());
        m_line(m_rows.in(), m_rows.runs(), m_runCount, m_length, firstVoxel, voxelStep, m_rows.sources(), m_rows.out());
    }

    /// Of the heights that were found last.
    void toDistances(float* distances) const {
        m_heights.toDistances(m_rows.out().heights, m_task.isSquared(), distances, m_length);
        giveSigns(m_task, m_rows.runs(), m_runCount, distances);
    }

private:
    const DistanceTask& m_task;
    ClassKernels<Class> m_classes;
    HeightKernels<double> m_heights;
    NearestLine m_line;
    std::size_t m_length;
    LineRows<Class> m_rows;
    std::size_t m_runCount = 0;
};

/// The voxels that steps on columns lead to, those towards the first row where there are two. One beyond the edges is
/// taken where there is no other as near.
void findInColumns(const std::int32_t* forth, const std::int32_t* back, const RowSegment& segment,
                   const DistanceTask& task, std::uint32_t firstVoxel, std::uint32_t* voxels) {
    const auto row = static_cast<std::int64_t>(segment.row);
    const auto rows = static_cast<std::int64_t>(task.extents[ROWS]);
    const auto columns = static_cast<std::int64_t>(task.extents[COLUMNS]);
    for (std::size_t x = 0; x < segment.count; ++x) {
        const bool isForth = forth[x] <= row && forth[x] <= back[x];
        const bool isBack = row + back[x] < rows && back[x] <= forth[x];
        const std::int64_t steps = isForth ? -forth[x] : back[x];
        const auto voxel = static_cast<std::int64_t>(firstVoxel + x) + steps * columns;
        voxels[x] = isForth || isBack ? static_cast<std::uint32_t>(voxel) : noVoxel;
    }
}

/// Takes columns and rows. @param open gives for a block what is done with the results of a row:
/// `(segment, transform)`
template <class Class, class Open>
void findInPlanes(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                  OptimLevelType level, const Open& open) {
    const StepCosts<double> costs(task, COLUMNS);
    ColumnCounts<Class> counts(context, image, task, level);
    counts.forEachRow([&](const Block& /*block*/) {
        return [&, transform = NearestTransform<Class>(task, costs.costs(), task.extents[COLUMNS], level),
                use = open()](const RowSegment& segment, const Class* classes, const std::int32_t* forth,
                              const std::int32_t* back) mutable {
            const std::size_t plane = task.axes == 3 ? segment.plane : 0;
            const auto firstVoxel =
                static_cast<std::uint32_t>((plane * task.extents[ROWS] + segment.row) * segment.count);
            const NearestRow in = transform.rows().in();
            transform.kernels().fromCounts(forth, back, task.spacing[ROWS], task.isSquared(), in.heights,
                                           segment.count);
            findInColumns(forth, back, segment, task, firstVoxel, in.voxels);
            transform(classes, firstVoxel, 1);
            use(segment, transform);
        };
    });
}

access::Plan planLines(const DistanceTask& task) {
    constexpr double nanosecondsPerVoxel = 20.0;
    return planAcrossPlanes(task.extents, 64, nanosecondsPerVoxel);
}

/// The heights and voxels of a volume between its passes.
struct Between {
    explicit Between(const DistanceTask& task)
        : heights(voxelsOf(task) * sizeof(double)), voxels(voxelsOf(task) * sizeof(std::uint32_t)) {}

    static std::size_t voxelsOf(const DistanceTask& task) {
        std::size_t voxels = 1;
        for (const std::size_t extent : task.extents) {
            voxels *= extent;
        }
        return voxels;
    }
    static std::size_t bytes(const DistanceTask& task) {
        return Scratch::held(voxelsOf(task) * sizeof(double)) + Scratch::held(voxelsOf(task) * sizeof(std::uint32_t));
    }

    Scratch heights;
    Scratch voxels;
};

/// Takes the planes; results replace what they are made of.
template <class Class>
void findAcrossPlanes(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                      const Between& between, float* distances, OptimLevelType level) {
    const StepCosts<double> costs(task, PLANS);
    const access::Plan plan = planLines(task);
    access::run(context, plan, [&](const Block& block) {
        const std::size_t columns = block.columns().length();
        const std::size_t planes = task.extents[PLANS];
        const auto reader = readClasses<Class>(image, plan, task.ofLabels);
        const Scratch classMemory(columns * planes * sizeof(Class));
        auto* const classes = classMemory.as<Class>();
        for (std::size_t plane = 0; plane < planes; ++plane) {
            reader->read(
                {{block.columns().begin, block.rows().begin, plane, block.sequence(), block.spectral()}, columns},
                classes + plane * columns);
        }
        NearestTransform<Class> transform(task, costs.costs(), planes, level);
        const LineRows<Class>& rows = transform.rows();
        const std::size_t planeVoxels = task.extents[COLUMNS] * task.extents[ROWS];
        for (std::size_t column = 0; column < columns; ++column) {
            double* const heights = between.heights.as<double>() + placeOf(block, task.extents, column, 0);
            std::uint32_t* const voxels = between.voxels.as<std::uint32_t>() + placeOf(block, task.extents, column, 0);
            float* const out = distances + placeOf(block, task.extents, column, 0);
            for (std::size_t plane = 0; plane < planes; ++plane) {
                rows.classes()[plane] = classes[plane * columns + column];
                rows.in().heights[plane] = heights[plane * planeVoxels];
                rows.in().voxels[plane] = voxels[plane * planeVoxels];
            }
            transform(
                rows.classes(),
                static_cast<std::uint32_t>(block.rows().begin * task.extents[COLUMNS] + block.columns().begin + column),
                static_cast<std::uint32_t>(planeVoxels));
            transform.toDistances(rows.distances());
            for (std::size_t plane = 0; plane < planes; ++plane) {
                out[plane * planeVoxels] = rows.distances()[plane];
                voxels[plane * planeVoxels] = rows.out().voxels[plane];
            }
        }
    });
}

template <class Class>
void measureWithNearest(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                        ImageModel& output, ImageModel& nearest, OptimLevelType level) {
    const access::Steps steps(context, {0.05, 0.45, 0.4, 0.05, 0.05});
    const NearestOutput numbers(context, image, task, nearest);
    if (task.axes == 2) {
        findInPlanes<Class>(context, image, task, level, [&] {
            return [&, writer = access::RowWriter<float>(output), rows = numbers.rows()](
                       const RowSegment& segment, const NearestTransform<Class>& transform) mutable {
                transform.toDistances(writer.open(segment));
                writer.flush();
                rows->write(segment, transform.rows().out().voxels);
            };
        });
        return;
    }
    const Between between(task);
    findInPlanes<Class>(context, image, task, level, [&] {
        return [&](const RowSegment& segment, const NearestTransform<Class>& transform) {
            const std::size_t offset = access::detail::offsetOf(segment, task.extents);
            std::copy_n(transform.rows().out().heights, segment.count, between.heights.as<double>() + offset);
            std::copy_n(transform.rows().out().voxels, segment.count, between.voxels.as<std::uint32_t>() + offset);
        };
    });
    access::WholeOutput<float> result(output);
    findAcrossPlanes<Class>(context, image, task, between, result.data(), level);
    result.commit(context);
    numbers.writeAll(context, between.voxels.as<std::uint32_t>());
}

}  // namespace

void measureNearest(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                    ImageModel& output, ImageModel& nearest, OptimLevelType level) {
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        measureWithNearest<decltype(oneClass)>(context, image, task, output, nearest, level);
    });
}

std::size_t nearestBytes(const ImageModel& image, const DistanceTask& task, const ImageModel* output,
                         std::size_t threads) {
    std::size_t bytes = 0;
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        using Class = decltype(oneClass);
        bytes = Scratch::held(StepCosts<double>::bytes(task, COLUMNS)) + ColumnCounts<Class>::bytes(task, threads) +
                ColumnCounts<Class>::mostAtOnce(task, threads) *
                    (NearestTransform<Class>::bytes(task.extents[COLUMNS]) + rowBytes(image, task));
        if (task.axes == 3) {
            const access::Plan plan = planLines(task);
            const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
            const std::size_t planes = task.extents[PLANS];
            const std::size_t across = Scratch::held(StepCosts<double>::bytes(task, PLANS)) +
                                       wholeOutputBytes(image, output, RIX_FLOAT32) +
                                       atOnce * (Scratch::held(plan.largestPart(COLUMNS) * planes * sizeof(Class)) +
                                                 NearestTransform<Class>::bytes(planes) + rowBytes(image, task));
            bytes = Between::bytes(task) + std::max(bytes, across);
        }
    });
    return bytes + NearestOutput::bytes(image, task);
}

}  // namespace rix::morphology
