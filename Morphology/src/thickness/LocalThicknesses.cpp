// How thick objects are around each voxel: the largest discs and balls within.

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/LocalThickness2d.h>
#include <rix/morphology/LocalThickness3d.h>

#include "distance/DistancePasses.h"
#include "distance/ExtentRule.h"
#include "distance/SpacingRule.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

using access::Scratch;

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, LocalThickness3d> ? 3 : 2;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage, "The objects: what is not 0.", AddRulesForRealImage());
    filter.inputObjectImage.getImpl()->addRule(std::make_shared<RuleExtents>(axesOf<Filter>));
    properties.input(filter.lengthUnit, "Whether lengths are in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleSpacings>(
        filter.inputObjectImage, axesOf<Filter>, [&filter] { return filter.getLengthUnit() == Filter::WORLD; },
        [] { return false; }));
    properties.output(
        filter.outputImage, "The diameters.", AddRuleAssertNotNull(),
        AddRuleEnforceLike(filter.inputObjectImage, {.voxelType = RIX_FLOAT32, .interpretation = RIX_VALUE}));
}

template <class Filter>
DistanceTask taskOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputObjectImage();
    DistanceTask task;
    task.extents = helper::getExtents(image);
    task.axes = axesOf<Filter>;
    task.inWorld = filter.getLengthUnit() == Filter::WORLD;
    for (std::size_t axis = 0; axis < task.axes && task.inWorld; ++axis) {
        const double spacing = std::fabs(image.getSpacingOf(static_cast<Components>(axis)));
        task.spacing[axis] = rules::isDivisor(spacing) ? spacing : 1;  // no way leads along the axis
    }
    return task;
}

/// A plane or volume of distances to the background, which become diameters.
class Thickness {
public:
    Thickness(const DistanceTask& task, float* distances)
        : m_n{task.extents[COLUMNS], task.extents[ROWS], task.axes == 3 ? task.extents[PLANS] : 1},
          m_spacing(task.spacing),
          m_perSpacing{1 / task.spacing[0], 1 / task.spacing[1], 1 / task.spacing[2]},
          m_distances(distances) {}

    static std::size_t voxels(const DistanceTask& task) {
        return task.extents[COLUMNS] * task.extents[ROWS] * (task.axes == 3 ? task.extents[PLANS] : 1);
    }
    /// The most bytes that one holds.
    static std::size_t bytes(const DistanceTask& task, std::size_t threads) {
        const std::size_t rows = voxels(task) / task.extents[COLUMNS];
        return voxels(task) * sizeof(Centre) + ((rows - 1) / rowsOfPart + 1) * sizeof(std::size_t) +
               std::max(Scratch::held(voxels(task)),
                        threads * Scratch::held(task.extents[COLUMNS] * rowsOfBand(rows) * sizeof(std::uint32_t)));
    }

    void run(access::ExecutionContext& context) {
        findCentres(context);
        // Bands of rows, so that no two threads write the same; each takes the balls from the largest down.
        const std::size_t rows = m_n[1] * m_n[2];
        const std::size_t height = rowsOfBand(rows);
        constexpr double nanosecondsPerVoxel = 20;
        access::forEachPart(context, (rows - 1) / height + 1,
                            static_cast<double>(m_n[0] * height) * nanosecondsPerVoxel,
                            [&](std::size_t band) { paint(band * height, std::min((band + 1) * height, rows)); });
    }

private:
    /// Each band looks at all balls, so there are at most 16.
    static std::size_t rowsOfBand(std::size_t rows) { return std::max<std::size_t>(64, (rows - 1) / 16 + 1); }

    /// A voxel and the radius of its ball.
    struct Centre {
        std::array<std::uint32_t, 3> at;
        float radius;
    };
    static constexpr std::size_t rowsOfPart = 16;

    float at(std::size_t x, std::size_t row) const { return m_distances[row * m_n[0] + x]; }

    /// The voxels whose balls lie in that of no neighbour, the largest first.
    void findCentres(access::ExecutionContext& context) {
        const std::array<double, 27> lengths = lengthsToNeighbours();
        const std::size_t rows = m_n[1] * m_n[2];
        const std::size_t parts = (rows - 1) / rowsOfPart + 1;
        const Scratch memory(rows * m_n[0]);
        auto* const isCentre = memory.as<std::uint8_t>();
        access::CountedVector<std::size_t> counts(parts);
        const auto forEachRow = [&](double nanosecondsPerVoxel, const auto& use) {
            access::forEachPart(
                context, parts, static_cast<double>(rowsOfPart * m_n[0]) * nanosecondsPerVoxel, [&](std::size_t part) {
                    access::Looks looks;
                    for (std::size_t row = part * rowsOfPart; row < std::min(rows, (part + 1) * rowsOfPart); ++row) {
                        use(part, row);
                        looks.add(m_n[0]);
                    }
                });
        };
        forEachRow(40, [&](std::size_t part, std::size_t row) {
            std::size_t count = 0;
            for (std::size_t x = 0; x < m_n[0]; ++x) {
                const bool found = at(x, row) > 0 && !isWithinNeighbour(x, row, lengths);
                isCentre[row * m_n[0] + x] = found ? 1 : 0;
                count += found ? 1 : 0;
            }
            counts[part] += count;
        });
        std::size_t before = 0;
        for (std::size_t& count : counts) {
            before += std::exchange(count, before);
        }
        access::resizeWithLooks(m_centres, before);
        forEachRow(2, [&](std::size_t part, std::size_t row) {
            for (std::size_t x = 0; x < m_n[0]; ++x) {
                if (isCentre[row * m_n[0] + x] != 0) {
                    m_centres[counts[part]++] = {
                        {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(row % m_n[1]),
                         static_cast<std::uint32_t>(row / m_n[1])},
                        at(x, row)};
                }
            }
        });
        access::Looks looks;
        std::sort(m_centres.begin(), m_centres.end(), [&](const Centre& a, const Centre& b) {
            looks.add(1);
            return a.radius > b.radius;
        });
    }

    std::array<double, 27> lengthsToNeighbours() const {
        std::array<double, 27> lengths{};
        for (std::size_t k = 0; k < lengths.size(); ++k) {
            const double dx = k % 3 != 1 ? m_spacing[0] : 0;
            const double dy = k / 3 % 3 != 1 ? m_spacing[1] : 0;
            const double dz = k / 9 != 1 ? m_spacing[2] : 0;
            lengths[k] = std::sqrt(dx * dx + dy * dy + dz * dz);
        }
        return lengths;
    }

    bool isWithinNeighbour(std::size_t x, std::size_t row, const std::array<double, 27>& lengths) const {
        const float own = at(x, row);
        const std::size_t y = row % m_n[1];
        const std::size_t z = row / m_n[1];
        for (std::size_t dz = z > 0 ? 0 : 1; dz <= (z + 1 < m_n[2] ? 2 : 1); ++dz) {
            for (std::size_t dy = y > 0 ? 0 : 1; dy <= (y + 1 < m_n[1] ? 2 : 1); ++dy) {
                const std::size_t otherRow = (z + dz - 1) * m_n[1] + y + dy - 1;
                for (std::size_t dx = x > 0 ? 0 : 1; dx <= (x + 1 < m_n[0] ? 2 : 1); ++dx) {
                    const float other = at(x + dx - 1, otherRow);
                    if (other > own && static_cast<double>(other) - own >= lengths[9 * dz + 3 * dy + dx]) {
                        return true;
                    }
                }
            }
        }
        return false;
    }

    /// Gives voxels of some rows the first diameter that covers them: balls come from the largest down. What was given
    /// one is skipped from then on.
    void paint(std::size_t firstRow, std::size_t lastRow) const {
        const std::size_t columns = m_n[0];
        const Scratch memory(columns * (lastRow - firstRow) * sizeof(std::uint32_t));
        auto* const skips = memory.as<std::uint32_t>();
        access::Looks looks;
        std::size_t left = 0;
        for (std::size_t i = 0; i < (lastRow - firstRow) * columns; ++i) {
            skips[i] = m_distances[firstRow * columns + i] > 0 ? 0 : 1;
            left += 1 - skips[i];
        }
        for (std::size_t i = 0; i < m_centres.size() && left > 0; ++i) {
            looks.add(1);
            const double radius = m_centres[i].radius;
            const auto [x, y, z] = m_centres[i].at;
            const Range planes = rangeOf(z, firstRow / m_n[1], (lastRow - 1) / m_n[1], radius, 2);
            // Distances are rounded: a voxel that is just as far belongs to none, so that a ten-millionth counts for
            // none.
            constexpr double less = 1 - 1.0 / (1U << 22U);
            const double square = radius * radius * less;
            for (std::size_t plane = planes.first; plane <= planes.last; ++plane) {
                const std::size_t first = plane * m_n[1] < firstRow ? firstRow - plane * m_n[1] : 0;
                const std::size_t last = std::min(m_n[1], lastRow - plane * m_n[1]) - 1;
                const double dz = (static_cast<double>(plane) - static_cast<double>(z)) * m_spacing[2];
                const Range rows = rangeOf(y, first, last, radius, 1);
                for (std::size_t row = rows.first; row <= rows.last; ++row) {
                    const double dy = (static_cast<double>(row) - static_cast<double>(y)) * m_spacing[1];
                    const double rest = square - dy * dy - dz * dz;
                    if (rest < 0) {
                        continue;
                    }
                    looks.add(1);
                    const double half = std::sqrt(rest) / m_spacing[0];
                    const std::size_t begin = firstFrom(x - half);
                    const std::size_t end = lastUpTo(x + half, columns - 1) + 1;
                    left -= fill(plane * m_n[1] + row, firstRow, begin, end, skips, static_cast<float>(2 * radius));
                }
            }
        }
    }

    /// Indices from the first to the last; none where the first lies behind the last.
    struct Range {
        std::size_t first;
        std::size_t last;
    };

    /// Those from `first` to `last` that a ball may reach.
    Range rangeOf(std::size_t centre, std::size_t first, std::size_t last, double radius, std::size_t axis) const {
        const auto middle = static_cast<double>(centre);
        const double reach = radius * m_perSpacing[axis];
        if (middle + reach < static_cast<double>(first) || middle - reach > static_cast<double>(last)) {
            return {1, 0};
        }
        return {std::max(firstFrom(middle - reach), first), lastUpTo(middle + reach, last)};
    }

    /// The first index at a place or behind it. Rounding functions are calls where a processor need not have them.
    static std::size_t firstFrom(double place) {
        const auto before = static_cast<std::size_t>(std::max(place, 0.0));
        return before + (static_cast<double>(before) < place ? 1 : 0);
    }
    /// The last index at a place that is not negative or before it, but no later than `last`.
    static std::size_t lastUpTo(double place, std::size_t last) {
        return static_cast<std::size_t>(std::min(place, static_cast<double>(last)));
    }

    /// @return how many voxels got the diameter
    std::size_t fill(std::size_t row, std::size_t firstRow, std::size_t begin, std::size_t end, std::uint32_t* skips,
                     float diameter) const {
        std::uint32_t* const skip = skips + (row - firstRow) * m_n[0];
        float* const out = m_distances + row * m_n[0];
        std::size_t count = 0;
        const auto nextFrom = [&](std::size_t x) {
            while (x < m_n[0] && skip[x] != 0) {
                const std::size_t next = x + skip[x];
                skip[x] += next < m_n[0] ? skip[next] : 0;  // later walks take two at once
                x = next;
            }
            return x;
        };
        for (std::size_t x = nextFrom(begin); x < end;) {
            std::size_t last = x;
            for (; last < end && skip[last] == 0; ++last) {
                out[last] = diameter;
            }
            count += last - x;
            const std::size_t next = nextFrom(last);
            for (; x < last; ++x) {
                skip[x] = static_cast<std::uint32_t>(next - x);
            }
            x = next;
        }
        return count;
    }

    std::array<std::size_t, 3> m_n;
    std::array<double, 3> m_spacing;
    std::array<double, 3> m_perSpacing;
    float* m_distances;
    access::CountedVector<Centre> m_centres;
};

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const DistanceTask task = taskOf(filter);
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        const access::Steps steps(context, {0.3, 0.1});
        access::TemporaryMemory map(input, RIX_FLOAT32);
        map.image().setInterpretation(RIX_VALUE);
        measureDistances(context, input, task, map.image(), level);
        auto* const distances = reinterpret_cast<float*>(map.image().getInternalBuffer());
        const std::size_t part = Thickness::voxels(task);
        const Extents& n = task.extents;
        const std::size_t parts = n[SEQUENCE] * n[SPECTRAL_SERIES] * (task.axes == 3 ? 1 : n[PLANS]);
        for (std::size_t i = 0; i < parts; ++i) {
            Thickness(task, distances + i * part).run(context);
        }
        forEachRowOf(context, n, sizeof(float), [&](const access::RowSegment& segment, std::size_t offset) {
            access::RowWriter<float> writer(*filter.getOutputImage());
            std::copy_n(distances + offset, segment.count, writer.open(segment));
            writer.flush();
        });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputObjectImage();
    const DistanceTask task = taskOf(filter);
    const std::size_t threads = filter.getMaximumThreads();
    return access::TemporaryMemory::bytes(input, RIX_FLOAT32) +
           std::max(distanceBytes(input, task, nullptr, threads), Thickness::bytes(task, threads));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,
    };
}

constexpr auto inPlanes = definitionOf<LocalThickness2d>(
    "Gives the voxels of objects in each plane the diameter of the largest disc within that covers them.");
constexpr auto inVolumes = definitionOf<LocalThickness3d>(
    "Gives the voxels of objects in each volume the diameter of the largest ball within that covers them.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(LocalThickness2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(LocalThickness3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::morphology
