// Both filters of non-local means: squares are cubes of one plane.

#include <rix/filtering/smoothing/NonLocalMeansFilter2d.h>
#include <rix/filtering/smoothing/NonLocalMeansFilter3d.h>

#include <algorithm>
#include <type_traits>

#include <rix/access/Looks.h>

#include "EdgeFilter.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, NonLocalMeansFilter3d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is smoothed.", AddRulesForRealImage());
    declareRadius(properties, filter.patchRadius, 1, ofVolumes<Filter> ? 5 : 20,
                  "Of the squares or cubes that are compared.");
    declareRadius(properties, filter.searchRadius, 5, ofVolumes<Filter> ? 10 : 50,
                  "Of the square or cube that is searched.");
    declarePositive(properties, filter.strength, 10.0, "The difference at which weights fall.");
    declareResult(filter, properties);
}

/// The extents of both windows as counts of rows and voxels.
struct Windows {
    std::int64_t patch;
    std::int64_t search;
    std::int64_t patchPlanes;  ///< on either side
    std::int64_t searchPlanes;

    std::size_t patchRows() const { return static_cast<std::size_t>((2 * patch + 1) * (2 * patchPlanes + 1)); }
    /// How far rows and planes are looked at.
    std::int64_t reach() const { return patch + search; }
    std::int64_t planeReach() const { return patchPlanes + searchPlanes; }
    std::size_t rows() const { return static_cast<std::size_t>((2 * reach() + 1) * (2 * planeReach() + 1)); }
};

template <class Filter>
Windows windowsOf(const Filter& filter) {
    const std::int64_t patch = filter.getPatchRadius();
    const std::int64_t search = filter.getSearchRadius();
    return {patch, search, ofVolumes<Filter> ? patch : 0, ofVolumes<Filter> ? search : 0};
}

template <class Filter>
access::BoxNeeds needsOf(const Filter& filter) {
    const Windows windows = windowsOf(filter);
    const auto axis = [](std::int64_t radius) {
        return access::Reach::Axis{static_cast<std::size_t>(radius), static_cast<std::size_t>(radius)};
    };
    const access::Reach::Axis inPlane = axis(windows.patch + windows.search);
    const auto side = static_cast<double>(2 * windows.search + 1);
    const double searched = side * side * static_cast<double>(2 * windows.searchPlanes + 1);
    return {{inPlane, inPlane, axis(windows.patchPlanes + windows.searchPlanes)},
            searched * (4.0 + static_cast<double>(windows.patchRows()))};  // at the portable level
}

constexpr std::size_t vectorBytes = 64;

/// The rows that a row is compared with, and what it needs beside them.
template <class T>
class PatchSums {
public:
    /// @param rowAt gives the row at a distance from that of the result
    template <class RowAt>
    PatchSums(const Windows& windows, std::size_t count, const RowAt& rowAt)
        : m_windows(windows),
          m_rows(windows.rows()),
          m_here(windows.patchRows()),
          m_there(windows.patchRows()),
          m_squares(padded(count + static_cast<std::size_t>(2 * windows.patch))),
          m_sums(padded(count)),
          m_weights(padded(count)) {
        std::fill_n(m_sums.data(), padded(count), T{0});
        std::fill_n(m_weights.data(), padded(count), T{0});
        const std::int64_t planes = windows.planeReach();
        for (std::int64_t z = -planes; z <= planes; ++z) {
            for (std::int64_t y = -windows.reach(); y <= windows.reach(); ++y) {
                m_rows[indexOf(y, z)] = rowAt(y, z);
            }
        }
        forEachPatchRow([&](std::size_t i, std::int64_t y, std::int64_t z) { m_here[i] = row(y, z) - windows.patch; });
    }

    /// Adds the voxels at an offset.
    void add(const EdgeKernels<T>& kernels, std::int64_t dx, std::int64_t dy, std::int64_t dz, T factor,
             std::size_t count) {
        forEachPatchRow([&](std::size_t i, std::int64_t y, std::int64_t z) {
            m_there[i] = row(y + dy, z + dz) + dx - m_windows.patch;
        });
        kernels.addPatch({m_windows.patchRows(), m_here.data(), m_there.data(),
                          static_cast<std::size_t>(m_windows.patch), factor, row(dy, dz) + dx, row(0, 0)},
                         m_squares.data(), m_sums.data(), m_weights.data(), count);
    }
    const T* row(std::int64_t y, std::int64_t z) const { return m_rows[indexOf(y, z)]; }
    const T* sums() const { return m_sums.data(); }
    const T* weights() const { return m_weights.data(); }

    static std::size_t bytes(const Windows& windows, std::size_t count) {
        return (windows.rows() + 2 * windows.patchRows()) * sizeof(const T*) +
               (3 * padded(count) + static_cast<std::size_t>(2 * windows.patch)) * sizeof(T);
    }

private:
    static std::size_t padded(std::size_t count) { return count + vectorBytes / sizeof(T); }

    std::size_t indexOf(std::int64_t y, std::int64_t z) const {
        return static_cast<std::size_t>((z + m_windows.planeReach()) * (2 * m_windows.reach() + 1) + y +
                                        m_windows.reach());
    }

    template <class Use>
    void forEachPatchRow(const Use& use) const {
        std::size_t i = 0;
        for (std::int64_t z = -m_windows.patchPlanes; z <= m_windows.patchPlanes; ++z) {
            for (std::int64_t y = -m_windows.patch; y <= m_windows.patch; ++y, ++i) {
                use(i, y, z);
            }
        }
    }

    const Windows& m_windows;
    RowArray<const T*> m_rows;
    RowArray<const T*> m_here;
    RowArray<const T*> m_there;
    RowArray<T> m_squares;
    RowArray<T> m_sums;
    RowArray<T> m_weights;
};

template <class Filter, class T>
void smooth(Filter& filter, const ImageModel& input, ImageModel& target, OptimLevelType level) {
    const Windows windows = windowsOf(filter);
    const EdgeKernels<T> kernels = edgeKernels<T>(level);
    const Rounding<T> round(target, kernels);
    const double voxels = static_cast<double>(windows.patchRows()) * static_cast<double>(2 * windows.patch + 1);
    const double h = filter.getStrength();
    const T factor = logarithmOfWeight<T>(1.0 / h / h / voxels);
    const auto border = access::borderOf<T>(filter.getBorderPolicy(), filter.getBorderValue());
    access::transformWindows<T, T>(filter.executionContext(), input, *border, target, needsOf(filter),
                                   [&](access::WindowRows<T>& window, const access::RowSegment& segment, T* out) {
                                       const auto rowAt = [&](std::int64_t y, std::int64_t z) {
                                           return window.row(static_cast<std::int64_t>(segment.row) + y,
                                                             static_cast<std::int64_t>(segment.plane) + z);
                                       };
                                       PatchSums<T> sums(windows, segment.count, rowAt);
                                       access::Looks looks;
                                       const std::size_t hundredsOfNanoseconds =
                                           segment.count * (windows.patchRows() + 8) / 300 + 1;
                                       for (std::int64_t z = -windows.searchPlanes; z <= windows.searchPlanes; ++z) {
                                           for (std::int64_t y = -windows.search; y <= windows.search; ++y) {
                                               for (std::int64_t x = -windows.search; x <= windows.search; ++x) {
                                                   sums.add(kernels, x, y, z, factor, segment.count);
                                                   looks.add(hundredsOfNanoseconds);
                                               }
                                           }
                                       }
                                       kernels.divide(sums.sums(), sums.weights(), sums.row(0, 0), out, segment.count);
                                       round(out, segment.count);
                                   });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    runApart(filter, [&](const ImageModel& input, ImageModel& target) {
        inWorkType(input,
                   [&](auto tag) { smooth<Filter, typename decltype(tag)::type>(filter, input, target, level); });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    return edgeMemory(input, filter.getOutputImage(), chosenType(filter), needsOf(filter), filter.getMaximumThreads(),
                      PatchSums<double>::bytes(windowsOf(filter), input.getNumOf(COLUMNS)));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = [](const Filter& filter) { return needsOf(filter).reach; },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes =
    definitionOf<NonLocalMeansFilter2d>("Averages voxels whose surroundings are alike, plane by plane.");
constexpr auto inVolumes =
    definitionOf<NonLocalMeansFilter3d>("Averages voxels of a volume whose surroundings are alike.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(NonLocalMeansFilter2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(NonLocalMeansFilter3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::smoothing
