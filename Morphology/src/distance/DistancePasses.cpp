#include "distance/DistancePasses.h"

#include <type_traits>

#include <rix/access/WholeImage.h>

#include "distance/ColumnCounts.h"
#include "distance/LineTransform.h"
#include "distance/PlaneTiles.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::RowSegment;
using access::Scratch;

/// Takes columns and rows into heights. @param open gives for a block what is done with the heights of a row:
/// `(segment, heights, transform)`
template <class Class, class Height, class Open>
void transformPlanes(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                     OptimLevelType level, const Open& open) {
    const StepCosts<Height> costs(task, COLUMNS);
    ColumnCounts<Class> counts(context, image, task, level);
    counts.forEachRow([&](const Block& /*block*/) {
        return [&, transform = LineTransform<Class, Height>(task, costs.costs(), task.extents[COLUMNS], level),
                use = open()](const RowSegment& segment, const Class* classes, const std::int32_t* forth,
                              const std::int32_t* back) mutable {
            transform.kernels().fromCounts(forth, back, task.spacing[ROWS], task.isSquared(), transform.heights(),
                                           segment.count);
            use(segment, transform(classes, segment.count), transform);
        };
    });
}

/// Takes the planes into heights that have columns and rows, and makes distances of them.
/// @param heights of all voxels in storage order; may be the memory of the distances
template <class Class, class Height>
class AcrossPlanes {
public:
    AcrossPlanes(const ImageModel& image, const DistanceTask& task, OptimLevelType level)
        : m_image(image), m_task(task), m_level(level), m_costs(task, PLANS), m_plan(planOf(task)) {}

    static access::Plan planOf(const DistanceTask& task) {
        constexpr double nanosecondsPerVoxel = 4.0;
        return planAcrossPlanes(task.extents, sizeof(Height) + sizeof(float) + sizeof(Class), nanosecondsPerVoxel);
    }
    static std::size_t bytes(const DistanceTask& task, std::size_t threads) {
        const access::Plan plan = planOf(task);
        const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
        const Tile tile(plan.largestPart(COLUMNS), task.extents[PLANS]);
        return Scratch::held(StepCosts<Height>::bytes(task, PLANS)) +
               atOnce * (Scratch::held(tile.memory.bytes()) + LineTransform<Class, Height>::bytes(task.extents[PLANS]));
    }

    void run(access::ExecutionContext& context, const Height* heights, float* distances) const {
        access::run(context, m_plan, [&](const Block& block) {
            const std::size_t columns = block.columns().length();
            const std::size_t planes = m_task.extents[PLANS];
            Tile tile(columns, planes);
            tile.memory.take();
            LineTransform<Class, Height> transform(m_task, m_costs.costs(), planes, m_level);
            if (findNear(block, heights, tile, transform.kernels(), distances)) {
                return;
            }
            load(block, heights, tile);
            for (std::size_t column = 0; column < columns; ++column) {
                const Height* const line = tile.heightLine(column);
                std::copy_n(line, planes, transform.heights());
                Class* const classes = tile.classLine(column);
                if (m_task.isOneSided()) {
                    const Class measured = m_task.ofObjects() ? 1 : 0;
                    const auto other = static_cast<Class>(1 - measured);
                    for (std::size_t plane = 0; plane < planes; ++plane) {
                        classes[plane] = line[plane] != 0 ? measured : other;
                    }
                }
                const Height* const found = transform(classes, planes);
                transform.finish(found, tile.distanceLine(column), planes);
            }
            store(block, tile, distances);
        });
    }

private:
    static constexpr std::size_t abreast = 16;  // planes

    /// The lines of a block, and rows on their way.
    struct Tile {
        Tile(std::size_t columns, std::size_t planes)
            : pitch((planes + 15) / 16 * 16),
              rowPitch((columns + 15) / 16 * 16),
              classes(memory.template add<Class>(columns * pitch)),
              heights(memory.template add<Height>(std::max(columns * pitch, rowPitch * (planes + 2 * nearSteps)))),
              found(memory.template add<Height>(rowPitch)),
              distances(memory.template add<float>(std::max(columns * pitch, rowPitch * planes))),
              classRows(memory.template add<Class>(abreast * rowPitch)),
              distanceRows(memory.template add<float>(abreast * rowPitch)) {}

        Class* classLine(std::size_t column) const { return memory.template row<Class>(classes) + column * pitch; }
        Height* heightLine(std::size_t column) const { return memory.template row<Height>(heights) + column * pitch; }
        float* distanceLine(std::size_t column) const { return memory.template row<float>(distances) + column * pitch; }
        /// The same memory by planes, from `nearSteps` before the first to as many behind the last.
        Height* heightRow(std::size_t plane) const {
            return memory.template row<Height>(heights) + (plane + nearSteps) * rowPitch;
        }
        float* foundDistances(std::size_t plane) const {
            return memory.template row<float>(distances) + plane * rowPitch;
        }
        Height* foundRow() const { return memory.template row<Height>(found); }
        Class* classRow(std::size_t row) const { return memory.template row<Class>(classRows) + row * rowPitch; }
        float* distanceRow(std::size_t row) const { return memory.template row<float>(distanceRows) + row * rowPitch; }

        RowMemory memory;
        std::size_t pitch;
        std::size_t rowPitch;
        std::size_t classes;
        std::size_t heights;
        std::size_t found;
        std::size_t distances;
        std::size_t classRows;
        std::size_t distanceRows;
    };

    /// Where what counts is never far: rows of planes as they are. @return whether distances were found
    bool findNear(const Block& block, const Height* heights, const Tile& tile, const HeightKernels<Height>& kernels,
                  float* distances) const {
        if (!m_task.isOneSided()) {
            return false;
        }
        const std::size_t columns = block.columns().length();
        const std::size_t planes = m_task.extents[PLANS];
        for (std::size_t plane = 0; plane < planes; ++plane) {
            std::copy_n(heights + placeOf(block, m_task.extents, 0, plane), columns, tile.heightRow(plane));
        }
        const Height beyond = beyondEnds<Height>(m_task);
        std::fill(tile.heightRow(0) - nearSteps * tile.rowPitch, tile.heightRow(0), beyond);
        std::fill_n(tile.heightRow(planes), nearSteps * tile.rowPitch, beyond);
        for (std::size_t plane = 0; plane < planes; ++plane) {
            if (!kernels.transformNear(tile.heightRow(plane), static_cast<std::ptrdiff_t>(tile.rowPitch),
                                       m_costs.costs(), tile.foundRow(), columns)) {
                return false;
            }
            kernels.toDistances(tile.foundRow(), m_task.isSquared(), tile.foundDistances(plane), columns);
        }
        for (std::size_t plane = 0; plane < planes; ++plane) {  // no sooner, as heights may be in their place
            std::copy_n(tile.foundDistances(plane), columns, distances + placeOf(block, m_task.extents, 0, plane));
        }
        return true;
    }

    void load(const Block& block, const Height* heights, const Tile& tile) const {
        const std::size_t columns = block.columns().length();
        const std::size_t planes = m_task.extents[PLANS];
        const auto reader = readClasses<Class>(m_image, m_plan, m_task.ofLabels);
        const std::size_t planePitch = m_task.extents[COLUMNS] * m_task.extents[ROWS];
        for (std::size_t first = 0; first < planes; first += abreast) {
            const std::size_t count = std::min(abreast, planes - first);
            for (std::size_t i = 0; i < count && !m_task.isOneSided(); ++i) {
                reader->read(
                    {{block.columns().begin, block.rows().begin, first + i, block.sequence(), block.spectral()},
                     columns},
                    tile.classRow(i));
            }
            if (!m_task.isOneSided()) {
                transposeInto(tile.classRow(0), tile.rowPitch, count, columns, tile.classLine(0) + first, tile.pitch);
            }
            transposeInto(heights + placeOf(block, m_task.extents, 0, first), planePitch, count, columns,
                          tile.heightLine(0) + first, tile.pitch);
        }
    }

    void store(const Block& block, const Tile& tile, float* distances) const {
        const std::size_t columns = block.columns().length();
        const std::size_t planes = m_task.extents[PLANS];
        for (std::size_t first = 0; first < planes; first += abreast) {
            const std::size_t count = std::min(abreast, planes - first);
            transposeInto(tile.distanceLine(0) + first, tile.pitch, columns, count, tile.distanceRow(0), tile.rowPitch);
            for (std::size_t i = 0; i < count; ++i) {
                std::copy_n(tile.distanceRow(i), columns, distances + placeOf(block, m_task.extents, 0, first + i));
            }
        }
    }

    const ImageModel& m_image;
    const DistanceTask& m_task;
    OptimLevelType m_level;
    StepCosts<Height> m_costs;
    access::Plan m_plan;
};

template <class Class, class Height>
void measurePlanes(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                   ImageModel& output, OptimLevelType level) {
    transformPlanes<Class, Height>(context, image, task, level, [&] {
        return [&, writer = access::RowWriter<float>(output)](const RowSegment& segment, const Height* heights,
                                                              const auto& transform) mutable {
            transform.finish(heights, writer.open(segment), segment.count);
            writer.flush();
        };
    });
}

template <class Class, class Height>
void measureVolumes(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                    ImageModel& output, OptimLevelType level) {
    const access::Steps steps(context, {0.45, 0.5, 0.05});
    access::WholeOutput<float> result(output);
    // Integers take as much memory as the distances, and are kept in their place.
    constexpr bool inPlace = sizeof(Height) == sizeof(float);
    std::size_t voxels = 1;
    for (const std::size_t extent : task.extents) {
        voxels *= extent;
    }
    const Scratch apart = inPlace ? Scratch() : Scratch(voxels * sizeof(Height));
    Height* const heights = inPlace ? reinterpret_cast<Height*>(result.data()) : apart.as<Height>();
    transformPlanes<Class, Height>(context, image, task, level, [&] {
        return [&](const RowSegment& segment, const Height* row, const auto& /*transform*/) {
            std::copy_n(row, segment.count, heights + access::detail::offsetOf(segment, task.extents));
        };
    });
    AcrossPlanes<Class, Height>(image, task, level).run(context, heights, result.data());
    result.commit(context);
}

template <class Use>
void dispatchHeights(const DistanceTask& task, const Use& use) {
    if (task.fitsIntegers()) {
        use(std::int32_t{});
    } else {
        use(double{});
    }
}

}  // namespace

void measureDistances(access::ExecutionContext& context, const ImageModel& image, const DistanceTask& task,
                      ImageModel& output, OptimLevelType level) {
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        dispatchHeights(task, [&](auto oneHeight) {
            using Class = decltype(oneClass);
            using Height = decltype(oneHeight);
            if (task.axes == 2) {
                measurePlanes<Class, Height>(context, image, task, output, level);
            } else {
                measureVolumes<Class, Height>(context, image, task, output, level);
            }
        });
    });
}

std::size_t distanceBytes(const ImageModel& image, const DistanceTask& task, const ImageModel* output,
                          std::size_t threads) {
    std::size_t bytes = 0;
    dispatchClasses(image, task.ofLabels, [&](auto oneClass) {
        dispatchHeights(task, [&](auto oneHeight) {
            using Class = decltype(oneClass);
            using Height = decltype(oneHeight);
            bytes = Scratch::held(StepCosts<Height>::bytes(task, COLUMNS)) + ColumnCounts<Class>::bytes(task, threads) +
                    ColumnCounts<Class>::mostAtOnce(task, threads) *
                        (LineTransform<Class, Height>::bytes(task.extents[COLUMNS]) + rowBytes(image, task));
            if (task.axes == 3) {
                bytes = std::max(bytes,
                                 AcrossPlanes<Class, Height>::bytes(task, threads) + threads * rowBytes(image, task));
                bytes += wholeOutputBytes(image, output, RIX_FLOAT32);
                bytes += sizeof(Height) == sizeof(float)
                             ? 0
                             : Scratch::held(access::TemporaryImage::bytes(image, RIX_FLOAT64));
            }
        });
    });
    return bytes;
}

}  // namespace rix::morphology
