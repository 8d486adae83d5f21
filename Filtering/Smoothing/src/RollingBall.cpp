#include "RollingBall.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/PointFilters.h>
#include <rix/access/RoundedCast.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>

#include "GaussianRows.h"
#include "RollingBallKernels.h"

namespace rix::filtering::smoothing {

namespace {

/// Of lengths that are compared with the radius.
constexpr double tolerance = 1e-12;
/// Vectors are read and written to their end.
constexpr std::size_t vectorBytes = 64;

template <class T>
constexpr T nothing = std::numeric_limits<T>::infinity();

std::int64_t wholeVoxels(double radius) {
    return static_cast<std::int64_t>(std::floor(radius * (1 + tolerance)));
}

/// (offset / radius)^2; an axis of radius 0 has the offset 0 only.
double shareOf(double squaredOffset, double radius) {
    return squaredOffset == 0 ? 0.0 : squaredOffset / (radius * radius);
}

/// What the ball is pressed against at a time: the working rows stay in the first-level cache, and what it can't touch
/// here is found by few comparisons.
constexpr std::size_t stripColumns = 256;

/// An image of prepared rows, and the least samples of strips of them.
template <class T>
class Strips {
public:
    Strips(access::ExecutionContext& context, const io::MemoryImage& image, const RollingBallKernels<T>& kernels)
        : m_extents(helper::getExtents(image)),
          m_samples(reinterpret_cast<const T*>(image.getInternalBuffer())),
          m_perRow(stripsOf(m_extents[COLUMNS])),
          m_least(rowsOf(m_extents) * m_perRow) {
        const std::size_t columns = m_extents[COLUMNS];
        const double nanoseconds = 0.1 * static_cast<double>(columns);
        access::forEachPart(context, rowsOf(m_extents), nanoseconds, [&](std::size_t row) {
            for (std::size_t strip = 0; strip < m_perRow; ++strip) {
                const std::size_t first = strip * stripColumns;
                m_least[row * m_perRow + strip] =
                    kernels.least(m_samples + row * columns + first, std::min(stripColumns, columns - first));
            }
        });
        m_leastOfAll = kernels.least(m_least.data(), m_least.size());
    }

    const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents() const { return m_extents; }
    const T* row(std::size_t row) const { return m_samples + row * m_extents[COLUMNS]; }
    T leastOfAll() const { return m_leastOfAll; }
    /// Not above the least sample of some columns of a row.
    T leastOf(std::size_t row, std::size_t first, std::size_t end) const {
        const T* const strips = m_least.data() + row * m_perRow;
        T found = strips[first / stripColumns];
        for (std::size_t strip = first / stripColumns + 1; strip * stripColumns < end; ++strip) {
            found = std::min(found, strips[strip]);
        }
        return found;
    }

    static std::size_t bytes(const ImageModel& image) {
        const auto extents = helper::getExtents(image);
        return rowsOf(extents) * stripsOf(extents[COLUMNS]) * sizeof(T);
    }

private:
    static std::size_t rowsOf(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents) {
        return extents[ROWS] * extents[PLANS] * extents[SEQUENCE] * extents[SPECTRAL_SERIES];
    }
    static std::size_t stripsOf(std::size_t columns) { return (columns + stripColumns - 1) / stripColumns; }

    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    const T* m_samples;
    std::size_t m_perRow;
    access::CountedVector<T> m_least;
    T m_leastOfAll{};
};

/// Presses a ball against the rows of an image.
template <class T>
class Press {
public:
    Press(const BallSurface<T>& surface, const Strips<T>& image, const RollingBallKernels<T>& kernels)
        : m_surface(surface),
          m_image(image),
          m_kernels(kernels),
          m_joined(joinedSamples(surface) * sizeof(T)),
          m_rows(surface.mostRows() * sizeof(void*)) {}

    /// @param out has room for a whole last vector
    void operator()(const access::RowSegment& at, T* out) {
        for (std::size_t x = 0; x < at.count; x += stripColumns) {
            pressStrip(at, at.column + x, out + x, std::min(stripColumns, at.count - x));
        }
    }

    /// The bytes that it holds.
    static std::size_t bytes(const BallSurface<T>& surface) {
        return access::Scratch::held(joinedSamples(surface) * sizeof(T)) +
               access::Scratch::held(surface.mostRows() * sizeof(void*));
    }

private:
    using Ring = typename BallSurface<T>::Ring;

    static std::size_t joinedSamples(const BallSurface<T>& surface) {
        return stripColumns + 2 * surface.columnReach() + vectorBytes / sizeof(T);
    }

    void pressStrip(const access::RowSegment& at, std::size_t column, T* out, std::size_t count) {
        T* const joined = m_joined.template as<T>();
        std::fill_n(out, count, nothing<T>);
        T largest = nothing<T>;
        for (const Ring& ring : m_surface.rings()) {
            const T* const heights = m_surface.heightsOf(ring);
            if (!(m_image.leastOfAll() - heights[0] < largest)) {
                break;  // the rings behind it are lower
            }
            const std::size_t first = column - std::min(column, ring.reach);
            const std::size_t end = std::min(column + count + ring.reach, m_image.extents()[COLUMNS]);
            const std::size_t rows = gather(at, first, end, ring, largest);
            m_looks.add(ring.rows / 16 + 1);
            if (rows == 0) {
                continue;
            }
            const std::size_t before = first + ring.reach - column;
            T* const inside = joined + before;
            const T least = m_kernels.join(m_rows.template as<const T*>(), rows, inside, end - first);
            // Heights fall from the middle on: from where even the least sample lies too high, none can be touched.
            std::size_t touched = 0;
            while (touched <= ring.reach && least - heights[touched] < largest) {
                ++touched;
            }
            m_looks.add(count * (rows + touched) / 64 + 1);
            if (touched == 0) {
                continue;
            }
            std::fill_n(joined, before, nothing<T>);
            std::fill(inside + (end - first), joined + count + 2 * ring.reach + vectorBytes / sizeof(T), nothing<T>);
            largest = m_kernels.press(joined + ring.reach, heights, touched - 1, out, count);
        }
    }

    /// The rows of a ring that the image has, from a column on, and that the ball may touch where it lies lower than
    /// the largest of the results so far.
    std::size_t gather(const access::RowSegment& at, std::size_t first, std::size_t end, const Ring& ring, T largest) {
        const T** const rows = m_rows.template as<const T*>();
        const auto& extents = m_image.extents();
        const std::size_t volume = at.spectral * extents[SEQUENCE] + at.sequence;
        const T height = m_surface.heightsOf(ring)[0];
        const auto* const offsets = m_surface.rowsOf(ring);
        std::size_t count = 0;
        for (std::size_t i = 0; i < ring.rows; ++i) {
            // Before the first one they are larger than any index.
            const std::size_t row = at.row + static_cast<std::size_t>(static_cast<std::ptrdiff_t>(offsets[i].row));
            const std::size_t plane =
                at.plane + static_cast<std::size_t>(static_cast<std::ptrdiff_t>(offsets[i].plane));
            if (row < extents[ROWS] && plane < extents[PLANS]) {
                const std::size_t line = (volume * extents[PLANS] + plane) * extents[ROWS] + row;
                if (m_image.leastOf(line, first, end) - height < largest) {
                    rows[count++] = m_image.row(line) + first;
                }
            }
        }
        return count;
    }

    const BallSurface<T>& m_surface;
    const Strips<T>& m_image;
    const RollingBallKernels<T>& m_kernels;
    access::Scratch m_joined;
    access::Scratch m_rows;
    access::Looks m_looks;
};

/// A row of results, with room for a whole last vector.
template <class T>
std::size_t resultBytes(std::size_t columns) {
    return columns * sizeof(T) + vectorBytes;
}

}  // namespace

template <class T>
BallSurface<T>::BallSurface(const BallShape& shape, const ImageModel& image) {
    for (std::size_t axis = 0; axis < m_reach.size(); ++axis) {
        const std::size_t extent = image.getNumOf(static_cast<Components>(axis));
        m_reach[axis] =
            std::min(static_cast<std::size_t>(wholeVoxels(shape.radii[axis])), std::max<std::size_t>(extent, 1) - 1);
    }
    const auto [rx, ry, rz] = shape.radii;
    // Squares in rows: of the same radius on both axes they are integers, so that equal distances are found equal.
    const double rowsPerPlane = rz > 0 ? ry / rz : 0.0;
    struct Distant {
        double share;
        Row row;
    };
    std::vector<Distant> all;
    const auto rows = static_cast<std::int32_t>(m_reach[1]);
    const auto planes = static_cast<std::int32_t>(m_reach[2]);
    for (std::int32_t z = -planes; z <= planes; ++z) {
        for (std::int32_t y = -rows; y <= rows; ++y) {
            const double square = static_cast<double>(y) * y + rowsPerPlane * z * (rowsPerPlane * z);
            const double share = ry > 0 ? shareOf(square, ry) : shareOf(static_cast<double>(z) * z, rz);
            if (share <= 1 + tolerance) {
                all.push_back({share, {y, z}});
            }
        }
    }
    // Whole planes stay together within a distance.
    std::sort(all.begin(), all.end(), [](const Distant& a, const Distant& b) {
        return std::tie(a.share, a.row.plane, a.row.row) < std::tie(b.share, b.row.plane, b.row.row);
    });
    std::vector<Ring> rings;
    std::vector<T> heights;
    for (std::size_t i = 0; i < all.size();) {
        Ring ring{i, 0, heights.size(), 0};
        const double share = all[i].share;
        while (i < all.size() && all[i].share == share) {
            ++i;
        }
        ring.rows = i - ring.firstRow;
        for (std::size_t x = 0; x <= m_reach[0]; ++x) {
            const double distance = share + shareOf(static_cast<double>(x) * static_cast<double>(x), rx);
            if (distance > 1 + tolerance) {
                break;
            }
            heights.push_back(static_cast<T>(shape.height * std::sqrt(std::max(1 - distance, 0.0))));
            ring.reach = x;
        }
        m_mostRows = std::max(m_mostRows, ring.rows);
        rings.push_back(ring);
    }
    m_rings.assign(rings.begin(), rings.end());
    m_heights.assign(heights.begin(), heights.end());
    m_rows.reserve(all.size());
    for (const Distant& each : all) {
        m_rows.push_back(each.row);
    }
}

template <class T>
std::size_t BallSurface<T>::bytes() const {
    return m_rings.size() * sizeof(Ring) + m_rows.size() * sizeof(Row) + m_heights.size() * sizeof(T);
}

namespace {

/// Rows that the ball is pressed against one by one: neighbours are read from the caches, whichever block they are in.
template <class T>
access::Plan planOf(const ImageModel& image, const ImageModel& output, const BallSurface<T>& surface) {
    return access::cutBoxes({&image}, {&output}, {{}, surface.nanosecondsPerVoxel()});
}

/// Calls `use(segment, least)` for every row of an image that the ball was pressed against.
template <class T, class Open>
void forEachPressedRow(access::ExecutionContext& context, const BallSurface<T>& surface,
                       const RollingBallKernels<T>& kernels, const io::MemoryImage& image, const ImageModel& output,
                       const Open& open) {
    const access::Plan plan = planOf(image, output, surface);
    const Strips<T> strips(context, image, kernels);
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        Press<T> press(surface, strips, kernels);
        const access::Scratch memory(resultBytes<T>(block.columns().length()));
        auto use = open(plan);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            T* const least = memory.as<T>();
            press(segment, least);
            use(segment, least);
            progress.add(segment.count);
        });
    });
}

template <class T>
void roll(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, ImageModel* background,
          const BallShape& shape, OptimLevelType level) {
    const BallSurface<T> surface(shape, input);
    const RollingBallKernels<T> kernels = rollingBallKernels<T>(level);
    const T side = shape.isAbove ? T{-1} : T{1};
    access::TemporaryMemory prepared(output, access::voxelTypeOf<T>);
    access::TemporaryMemory pressed(output, access::voxelTypeOf<T>);
    const access::Steps steps(context, {1.0, 100.0, 100.0});
    access::transformRows<T, T>(context, input, prepared.image(), nanosecondsPerCombination,
                                [&](const T* in, T* out, std::size_t count) { kernels.prepare(in, side, out, count); });
    // A dilation is an erosion of the negative: results change their sign after each pass.
    forEachPressedRow<T>(context, surface, kernels, prepared.image(), pressed.image(), [&](const access::Plan& plan) {
        return
            [&, writer = access::RowWriter<T>(pressed.image(), plan)](const access::RowSegment& at, T* least) mutable {
                kernels.prepare(least, T{-1}, writer.open(at), at.count);
                writer.flush();
            };
    });
    access::dispatch(access::Reals{}, output.getVoxelType(), [&](auto tag) {
        using Out = typename decltype(tag)::type;
        forEachPressedRow<T>(context, surface, kernels, pressed.image(), output, [&](const access::Plan& plan) {
            std::optional<access::RowWriter<T>> found;
            if (background != nullptr) {
                found.emplace(*background, plan);
            }
            return [&, reader = access::RowReader<T>(input, plan), writer = access::RowWriter<Out>(output, plan),
                    found = std::move(found)](const access::RowSegment& at, T* least) mutable {
                const T* const image = reader.read(at);
                Out* const out = writer.open(at);
                for (std::size_t x = 0; x < at.count; ++x) {
                    const T value = side * image[x];
                    // The surface is never above what it was pressed against, but for rounding.
                    const T touched = -least[x];
                    const T below = value < touched ? value : touched;
                    least[x] = side * below;
                    out[x] = access::roundedSample<Out>(static_cast<double>(value - below));
                }
                writer.flush();
                if (found) {
                    std::copy_n(least, at.count, found->open(at));
                    found->flush();
                }
            };
        });
    });
}

template <class T>
std::size_t bytesOf(const ImageModel& input, const BallShape& shape, std::size_t threads) {
    const BallSurface<T> surface(shape, input);
    const access::Plan plan = planOf(input, input, surface);
    const std::size_t columns = plan.largestPart(COLUMNS);
    // Beside the results of a row, one that is read and one that is written, where they are converted.
    const std::size_t rows =
        access::Scratch::held(resultBytes<T>(columns)) + 2 * access::Scratch::held(columns * sizeof(T));
    const std::size_t pressing =
        (rows + Press<T>::bytes(surface)) * (plan.isSmall() ? 1 : std::min(threads, plan.blockCount()));
    return surface.bytes() + 2 * access::TemporaryMemory::bytes(input, access::voxelTypeOf<T>) +
           std::max(pressing + Strips<T>::bytes(input), convertedRowBytes(input, access::voxelTypeOf<T>, threads));
}

}  // namespace

void rollBall(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, ImageModel* background,
              const BallShape& shape, OptimLevelType level) {
    if (gaussianWorkType(input.getVoxelType(), {}) == RIX_FLOAT64) {
        roll<double>(context, input, output, background, shape, level);
    } else {
        roll<float>(context, input, output, background, shape, level);
    }
}

access::Reach rollingBallInfluence(const BallShape& shape) {
    const auto axis = [&](std::size_t i) {
        const auto reach = static_cast<std::size_t>(2 * wholeVoxels(shape.radii[i]));
        return access::Reach::Axis{reach, reach};
    };
    return {axis(0), axis(1), axis(2)};
}

std::size_t rollingBallBytes(const ImageModel& input, const BallShape& shape, std::size_t threads) {
    return gaussianWorkType(input.getVoxelType(), {}) == RIX_FLOAT64 ? bytesOf<double>(input, shape, threads)
                                                                     : bytesOf<float>(input, shape, threads);
}

}  // namespace rix::filtering::smoothing
