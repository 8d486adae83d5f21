#include <rix/geometry/IsoSurface3d.h>

#include <algorithm>
#include <cstring>

#include <Eigen/LU>

#include <rix/access/Looks.h>
#include <rix/access/MemoryAccount.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>

#include "PlaceProperties.h"
#include "World.h"
#include "WorldTransform.h"
#include "level/LevelRows.h"
#include "level/Tetrahedra.h"

namespace rix::geometry {

namespace {

using access::Block;
using access::Position;
using Rows = LevelRows<3, 3>;
using Number = std::uint64_t;

constexpr double nanosecondsPerVoxel = 5.0;

/// The rows of a cube's corners, beginning with a row and a plane of those that are there.
using CornerRows = std::array<const std::uint8_t*, 4>;

CornerRows cornerRows(const Rows& rows, std::size_t y, std::size_t z) {
    return {rows.sides(y, z), rows.sides(y + 1, z), rows.sides(y, z + 1), rows.sides(y + 1, z + 1)};
}

struct Sides {
    unsigned bright = 0;  ///< bits of corners
    unsigned none = 0;
};

Sides sidesAt(const CornerRows& rows, std::size_t x) {
    Sides sides;
    for (unsigned corner = 0; corner < 8; ++corner) {
        const std::uint8_t side = rows[corner >> 1U][x + (corner & 1U)];
        sides.bright |= (side & 1U) << corner;
        sides.none |= static_cast<unsigned>(side >> 1U) << corner;
    }
    return sides;
}

/// Bits of the other ends of edges that begin in a cube's first corner and cross the level.
unsigned crossingsAt(const Sides& sides) {
    if ((sides.none & 1U) != 0) {
        return 0;
    }
    const unsigned other = (sides.bright & 1U) != 0 ? ~sides.bright : sides.bright;
    return other & ~sides.none & 0xfeU;
}

bool isPlain(const CornerRows& rows, std::size_t x) {
    const unsigned side = rows[0][x];
    unsigned differences = 0;
    for (const std::uint8_t* const row : rows) {
        differences |= (row[x] ^ side) | (row[x + 1] ^ side);
    }
    return differences == 0;
}

/// The same of the eight cubes from x on.
bool areEightPlain(const CornerRows& rows, std::size_t x) {
    const auto eight = [](const std::uint8_t* at) {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, at, sizeof(bytes));
        return bytes;
    };
    const std::uint64_t here = eight(rows[0] + x);
    std::uint64_t differences = 0;
    for (const std::uint8_t* const row : rows) {
        differences |= (eight(row + x) ^ here) | (eight(row + x + 1) ^ here);
    }
    return differences == 0;
}

/// Calls `use(x)` where a cube is not plain, and for the last column, where none begins.
template <class Use>
void forEachMixed(const CornerRows& rows, std::size_t columns, const Use& use) {
    std::size_t x = 0;
    while (x + 1 < columns) {
        if (x + 8 < columns && areEightPlain(rows, x)) {
            x += 8;
            continue;
        }
        for (const std::size_t end = std::min(x + 8, columns - 1); x < end; ++x) {
            if (!isPlain(rows, x)) {
                use(x);
            }
        }
    }
    use(columns - 1);
}

struct Counts {
    std::size_t corners = 0;
    std::size_t triangles = 0;
};

class Surface {
public:
    Surface(const ImageModel& input, double level)
        : m_input(input),
          m_extents(helper::getExtents(input)),
          m_level(level),
          m_grid(elementGridOf(placedHeader(input))),
          m_isReflected(m_grid.vectors.determinant() < 0.0),
          m_plan(cutRows(input, nanosecondsPerVoxel)) {
        access::resizeWithLooks(m_before, rowCount(m_extents) + 1, Counts{});
    }

    /// Counts corners and triangles of each row of cubes.
    void count(access::ExecutionContext& context) {
        access::run(context, m_plan, [&](const Block& block, access::BlockProgress& progress) {
            Rows rows(m_input, m_level);
            // Held here as well, so that what a run takes does not depend on the samples.
            const access::Scratch numbers(bytesOfNumbers(m_extents[COLUMNS]));
            block.forEachRow([&](const Position& at) {
                rows.read(at, 2, 2);
                m_before[rowNumber(at, m_extents) + 1] = countRow(cornerRows(rows, 0, 0));
                progress.add(m_extents[COLUMNS]);
            });
        });
        access::Looks looks;
        for (std::size_t i = 1; i < m_before.size(); ++i) {
            m_before[i].corners += m_before[i - 1].corners;
            m_before[i].triangles += m_before[i - 1].triangles;
            looks.add(1);
        }
    }

    std::size_t triangles() const { return m_before.back().triangles; }

    void fill(access::ExecutionContext& context, SurfaceMsr& table) {
        access::run(context, m_plan, [&](const Block& block, access::BlockProgress& progress) {
            Rows rows(m_input, m_level);
            const access::Scratch numbers(bytesOfNumbers(m_extents[COLUMNS]));
            block.forEachRow([&](const Position& at) {
                const std::size_t row = rowNumber(at, m_extents);
                if (m_before[row + 1].triangles > m_before[row].triangles) {
                    rows.read(at);
                    fillRow(rows, at, numbers.as<Number>(), table);
                }
                progress.add(m_extents[COLUMNS]);
            });
        });
    }

    static std::size_t bytes(const ImageModel& input, std::size_t threads) {
        const access::Plan plan = cutRows(input, nanosecondsPerVoxel);
        const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
        return (rowCount(helper::getExtents(input)) + 1) * sizeof(Counts) +
               atOnce * (Rows::bytes(input) + access::Scratch::held(bytesOfNumbers(input.getNumOf(COLUMNS))));
    }

private:
    /// The numbers of the corners on edges that begin in the rows of a cube's corners.
    static std::size_t bytesOfNumbers(std::size_t columns) { return 4 * columns * edgeKinds * sizeof(Number); }

    Counts countRow(const CornerRows& rows) const {
        Counts counts;
        forEachMixed(rows, m_extents[COLUMNS], [&](std::size_t x) {
            const Sides sides = sidesAt(rows, x);
            counts.corners += static_cast<std::size_t>(__builtin_popcount(crossingsAt(sides)));
            counts.triangles += x + 1 < m_extents[COLUMNS] ? countTriangles(sides.bright, sides.none) : 0;
        });
        return counts;
    }

    void number(const CornerRows& rows, Number first, Number* numbers) const {
        forEachMixed(rows, m_extents[COLUMNS], [&](std::size_t x) {
            const unsigned crossings = crossingsAt(sidesAt(rows, x));
            for (std::size_t kind = 1; kind <= edgeKinds; ++kind) {
                if ((crossings >> kind & 1U) != 0) {
                    numbers[x * edgeKinds + kind - 1] = first++;
                }
            }
        });
    }

    void fillRow(const Rows& rows, const Position& at, Number* numbers, SurfaceMsr& table) const {
        const std::size_t columns = m_extents[COLUMNS];
        for (std::size_t i = 0; i < 4; ++i) {
            Position place = at;
            place.row += i & 1U;
            place.plane += i >> 1U;
            number(cornerRows(rows, i & 1U, i >> 1U), m_before[rowNumber(place, m_extents)].corners,
                   numbers + i * columns * edgeKinds);
        }
        const CornerRows corners = cornerRows(rows, 0, 0);
        std::size_t out = m_before[rowNumber(at, m_extents)].triangles;
        forEachMixed(corners, columns, [&](std::size_t x) {
            if (x + 1 == columns) {
                return;
            }
            const Sides sides = sidesAt(corners, x);
            for (const Tetrahedron& each : tetrahedra) {
                bool isWhole = true;
                for (const Corner corner : each.corners) {
                    isWhole = isWhole && (sides.none >> corner & 1U) == 0;
                }
                if (!isWhole) {
                    continue;
                }
                forEachTriangle(each, sides.bright, [&](std::array<CubeEdge, 3> edges) {
                    if (m_isReflected) {
                        std::swap(edges[1], edges[2]);
                    }
                    write(rows, at, x, numbers, edges, table, out++);
                });
            }
        });
    }

    void write(const Rows& rows, const Position& at, std::size_t x, const Number* numbers,
               const std::array<CubeEdge, 3>& edges, SurfaceMsr& table, std::size_t row) const {
        const auto sample = [&](Corner corner) {
            return rows.samples(corner >> 1U & 1U, corner >> 2U)[x + (corner & 1U)];
        };
        const std::array numberOf{&table.vertex1, &table.vertex2, &table.vertex3};
        const std::array xOf{&table.x1, &table.x2, &table.x3};
        const std::array yOf{&table.y1, &table.y2, &table.y3};
        const std::array zOf{&table.z1, &table.z2, &table.z3};
        table.setFrame(row, at.sequence, at.spectral);
        for (std::size_t i = 0; i < 3; ++i) {
            const CubeEdge& edge = edges[i];
            const double share = levelBetween(sample(edge.from), sample(edge.to), m_level);
            const std::size_t first = x + (edge.from & 1U);
            const std::size_t corner = edge.from >> 1U;
            // Counted from the edge's own end, a corner is at the same place in all its triangles, bit for bit.
            const auto place = [&](std::size_t index, unsigned axis) {
                return static_cast<double>(index) + ((edge.kind() >> axis & 1U) != 0 ? share : 0.0);
            };
            const Eigen::Vector3d world = m_grid.worldOf(
                {place(first, 0), place(at.row + (corner & 1U), 1), place(at.plane + (corner >> 1U), 2)});
            (*numberOf[i])[row] =
                static_cast<std::int64_t>(numbers[(corner * m_extents[COLUMNS] + first) * edgeKinds + edge.kind() - 1]);
            (*xOf[i])[row] = world.x();
            (*yOf[i])[row] = world.y();
            (*zOf[i])[row] = world.z();
        }
    }

    const ImageModel& m_input;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    double m_level;
    ElementGrid m_grid;
    bool m_isReflected;
    access::Plan m_plan;
    access::CountedVector<Counts> m_before;  ///< corners and triangles before each row
};

void declare(IsoSurface3d& surface, algorithms::Properties& properties) {
    properties.input(surface.inputImage, "The image whose surfaces are wanted.", AddRulesForRealImage(),
                     AddRuleAssertPlaced());
    surface.inputImage.getImpl()->addRule(std::make_shared<RuleHasLevels>(3));
    surface.level = 0.5;
    properties.input(surface.level, "The value that the image has on the surfaces.", AddRuleAssertFinite());
    properties.output(surface.outputMeasurement, "A row for each triangle.", AddRuleCreateMeasurement());
}

void process(IsoSurface3d& algorithm, OptimLevelType /*level*/) {
    const ImageModel& input = *algorithm.getInputImage();
    const access::Steps steps(algorithm.executionContext(), {1.0, 1.0});
    Surface surface(input, algorithm.getLevel());
    surface.count(algorithm.executionContext());
    SurfaceMsr& table = *algorithm.getOutputMeasurement();
    table.reset(input, surface.triangles());
    surface.fill(algorithm.executionContext(), table);
}

std::size_t memoryOf(const IsoSurface3d& surface) {
    return Surface::bytes(*surface.getInputImage(), surface.getMaximumThreads());
}

constexpr algorithms::Definition<IsoSurface3d> definition{
    .summary = "Finds the surfaces on which volumes have a level, as triangles.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory = &memoryOf,
};

}  // namespace

RIX_DEFINE_ALGORITHM(IsoSurface3d, definition)

}  // namespace rix::geometry
