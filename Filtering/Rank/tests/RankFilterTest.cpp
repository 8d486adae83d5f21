// The rank filters against sorting, bit for bit: windows, types, borders, masks, levels, cuts.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/BlockScheduler.h>
#include <rix/access/BlockSize.h>
#include <rix/access/ForcedStores.h>
#include <rix/filtering/rank/MedianFilter2d.h>
#include <rix/filtering/rank/MedianFilter3d.h>
#include <rix/filtering/rank/RankFilter2d.h>
#include <rix/filtering/rank/RankFilter3d.h>
#include <rix/settings/Settings.h>

#include "Failures.h"
#include "ImageComparison.h"
#include "ImageFactories.h"
#include "Levels.h"
#include "WindowReference.h"

namespace rix::test {
namespace {

using access::BorderPolicy;
using filtering::rank::MedianFilter2d;
using filtering::rank::MedianFilter3d;
using filtering::rank::RankFilter2d;
using filtering::rank::RankFilter3d;

constexpr VoxelTypes realTypes[] = {RIX_UINT8,  RIX_INT8,  RIX_UINT16,  RIX_INT16,
                                    RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64};

struct RankCase {
    std::int64_t size[3] = {3, 3, 1};  ///< of a box
    std::int64_t radius = -1;          ///< of a disc or ball, when not negative
    double rank = 0.5;
    BorderPolicy border = BorderPolicy::MIRROR;
    double borderValue = 0;
};

bool isBelow(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) {
        return !std::isnan(a) && std::isnan(b);
    }
    return a < b || (a == 0 && b == 0 && std::signbit(a) && !std::signbit(b));
}

/// Calls `use` for the offsets of the voxels of a window.
template <class Use>
void forEachOffset(const RankCase& c, bool ofVolumes, const Use& use) {
    std::int64_t size[3] = {c.size[0], c.size[1], ofVolumes ? c.size[2] : 1};
    if (c.radius >= 0) {
        size[0] = size[1] = 2 * c.radius + 1;
        size[2] = ofVolumes ? size[0] : 1;
    }
    for (std::int64_t z = -(size[2] / 2); z < size[2] - size[2] / 2; ++z) {
        for (std::int64_t y = -(size[1] / 2); y < size[1] - size[1] / 2; ++y) {
            for (std::int64_t x = -(size[0] / 2); x < size[0] - size[0] / 2; ++x) {
                if (c.radius < 0 || x * x + y * y + z * z <= c.radius * c.radius) {
                    use(x, y, z);
                }
            }
        }
    }
}

io::MemoryImage reference(const ImageModel& image, const ImageModel* mask, const RankCase& c, bool ofVolumes) {
    std::vector<std::vector<char>> counts;  // of the voxels in storage order
    if (mask != nullptr) {
        windowReference(*mask, RIX_UINT8, c.border, 1, [&](const Neighbours& around) {
            counts.emplace_back();
            forEachOffset(c, ofVolumes,
                          [&](auto x, auto y, auto z) { counts.back().push_back(around(x, y, z) != 0 ? 1 : 0); });
            return 0.0;
        });
    }
    std::size_t voxel = 0;
    std::vector<double> values;
    return windowReference(image, image.getVoxelType(), c.border, c.borderValue, [&](const Neighbours& around) {
        values.clear();
        std::size_t i = 0;
        forEachOffset(c, ofVolumes, [&](auto x, auto y, auto z) {
            if (mask == nullptr || counts[voxel][i++] != 0) {
                values.push_back(around(x, y, z));
            }
        });
        ++voxel;
        if (values.empty()) {
            return around(0, 0, 0);
        }
        const auto index = static_cast<std::ptrdiff_t>(c.rank * static_cast<double>(values.size() - 1) + 1e-9);
        std::nth_element(values.begin(), values.begin() + index, values.end(), &isBelow);
        return values[static_cast<std::size_t>(index)];
    });
}

struct Options {
    OptimLevelType level = runnableLevels().back();
    int threads = 2;
    std::shared_ptr<access::BlockScheduler> scheduler = nullptr;
};

template <class Filter>
io::MemoryImage filtered(const ImageModel& image, const ImageModel* mask, const RankCase& c, const Options& options) {
    io::MemoryImage output;
    Filter filter;
    filter.settings().setMaximumNumberOfThreads(options.threads);
    filter.setAutoCpuDispatch(false);
    filter.setOptimLevel(options.level);
    filter.setBlockScheduler(options.scheduler);
    filter.setInputImage(&image);
    filter.setInputMaskImage(mask);
    filter.windowShape = c.radius >= 0 ? 1 : 0;
    if (c.radius >= 0) {
        filter.setRadius(static_cast<std::int32_t>(c.radius));
    } else {
        filter.setKernelSizeX(static_cast<std::int32_t>(c.size[0]));
        filter.setKernelSizeY(static_cast<std::int32_t>(c.size[1]));
        if constexpr (requires { filter.kernelSizeZ; }) {
            filter.setKernelSizeZ(static_cast<std::int32_t>(c.size[2]));
        }
    }
    if constexpr (requires { filter.rank; }) {
        filter.setRank(c.rank);
    }
    filter.setBorderPolicy(c.border);
    filter.setBorderValue(c.borderValue);
    filter.setOutputImage(&output);
    filter.run();
    return output;
}

io::MemoryImage filterBy(const ImageModel& image, const ImageModel* mask, const RankCase& c, bool ofVolumes,
                         const Options& options = {}) {
    return ofVolumes ? filtered<RankFilter3d>(image, mask, c, options)
                     : filtered<RankFilter2d>(image, mask, c, options);
}

const ComparisonOptions samplesOnly{.headers = ComparisonOptions::Headers::ExtentsAndTypes};

void expectSorting(const ImageModel& image, const ImageModel* mask, const RankCase& c, bool ofVolumes) {
    const io::MemoryImage expected = reference(image, mask, c, ofVolumes);
    const auto text = [&] {
        return helper::describeImage(image) + ", window " + std::to_string(c.size[0]) + ' ' +
               std::to_string(c.size[1]) + ' ' + std::to_string(c.size[2]) + ", radius " + std::to_string(c.radius) +
               ", rank " + std::to_string(c.rank) + (mask != nullptr ? ", masked" : "");
    };
    for (const OptimLevelType level : runnableLevels()) {
        ASSERT_TRUE(imagesEqual(expected, filterBy(image, mask, c, ofVolumes, {level}), samplesOnly))
            << text() << ", level " << level;
    }
    for (const std::size_t bytes : {std::size_t{4096}, std::size_t{1} << 40}) {
        const access::ScopedBlockBytes blocks(bytes);
        ASSERT_TRUE(imagesEqual(expected,
                                filterBy(image, mask, c, ofVolumes,
                                         {runnableLevels().back(), 2, std::make_shared<access::ShuffledScheduler>(7)}),
                                samplesOnly))
            << text() << ", in blocks of " << bytes << " bytes";
    }
}

const RankCase planar[] = {
    {{3, 3}},
    {{1, 1}},
    {{5, 5}},
    {{2, 4}, -1, 0.5, BorderPolicy::CONTINUE},
    {{7, 1, 1}, -1, 0.25},
    {{1, 6}, -1, 1.0, BorderPolicy::FIXED, 9},
    {{4, 3}, -1, 0.0},
    {{7, 7}, -1, 0.1},
    {{6, 9}, -1, 0.9, BorderPolicy::CONTINUE},
    {{9, 9}},
    {{17, 16}, -1, 0.7},
    {{}, 0},
    {{}, 1, 0.5, BorderPolicy::CONTINUE},
    {{}, 2, 0.3},
    {{}, 6, 0.5, BorderPolicy::FIXED, 100},
};
const RankCase spatial[] = {
    {{3, 3, 3}},
    {{5, 3, 2}, -1, 0.5, BorderPolicy::CONTINUE},
    {{1, 1, 4}, -1, 0.2},
    {{7, 6, 5}, -1, 0.8, BorderPolicy::FIXED, 20},
    {{}, 1},
    {{}, 3, 0.6, BorderPolicy::CONTINUE},
};

TEST(RankFilter, IsSortingOnEveryTypeWindowBorderAndLevel) {
    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage plane =
            makeRandomImage({.voxelType = type, .extents = {83, 23, 2, 1, 1}}, 5, Extremes::All);
        for (const RankCase& c : planar) {
            ASSERT_NO_FATAL_FAILURE(expectSorting(plane, nullptr, c, false));
        }
        const io::MemoryImage volume =
            makeRandomImage({.voxelType = type, .extents = {37, 13, 6, 2, 1}}, 6, Extremes::All);
        for (const RankCase& c : spatial) {
            ASSERT_NO_FATAL_FAILURE(expectSorting(volume, nullptr, c, true));
        }
    }
}

TEST(RankFilter, IsSortingInSquaresOfImagesOfAnyWidth) {
    const auto check = [](const Extents& extents, VoxelTypes type) {
        const io::MemoryImage plane = makeRandomImage({.voxelType = type, .extents = extents}, 5, Extremes::All);
        for (const int side : {3, 5}) {
            for (const BorderPolicy border : {BorderPolicy::MIRROR, BorderPolicy::CONTINUE, BorderPolicy::FIXED}) {
                ASSERT_NO_FATAL_FAILURE(expectSorting(plane, nullptr, {{side, side}, -1, 0.5, border, 9}, false));
            }
        }
    };
    for (const access::Stores stores : {access::Stores::Cached, access::Stores::Streaming}) {
        const access::ForcedStores forced(stores);
        for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32, RIX_FLOAT32}) {
            const std::size_t vector = 64 / helper::getSizeOf(type);
            for (const std::size_t width :
                 {std::size_t{1}, std::size_t{4}, vector + 1, vector + 2, vector + 3, vector + 4, 2 * vector + 5,
                  9 * vector + 3, 10 * vector + 4, 11 * vector + 60, 23 * vector}) {
                ASSERT_NO_FATAL_FAILURE(check({width, 3, 1, 1, 1}, type));
            }
            ASSERT_NO_FATAL_FAILURE(check({vector + 9, 300, 1, 1, 1}, type));
            ASSERT_NO_FATAL_FAILURE(check({7, 260, 1, 1, 1}, type));
        }
    }
}

TEST(RankFilter, IsSortingInLargeWindows) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_FLOAT32}) {
        const io::MemoryImage plane =
            makeRandomImage({.voxelType = type, .extents = {31, 9, 1, 1, 1}}, 5, Extremes::All);
        for (const RankCase& c : {RankCase{{31, 31}}, RankCase{{101, 101}}, RankCase{{190, 180}, -1, 0.4},
                                  RankCase{{}, 31, 0.5, BorderPolicy::CONTINUE}}) {
            ASSERT_NO_FATAL_FAILURE(expectSorting(plane, nullptr, c, false));
        }
    }
}

TEST(RankFilter, CountsMaskedVoxelsOnly) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_FLOAT32, RIX_FLOAT64}) {
        const Extents extents{61, 23, 4, 1, 1};
        const io::MemoryImage image = makeRandomImage({.voxelType = type, .extents = extents}, 5, Extremes::All);
        // Few voxels, so that some windows have none.
        const io::MemoryImage mask = makeImage({.extents = extents}, [](auto x, auto y, auto z, auto, auto) {
            return (x * 7 + y * 13 + z * 5) % 11 == 0 ? 3 : 0;
        });
        for (const RankCase& c : {RankCase{{3, 3, 1}}, RankCase{{6, 5, 3}, -1, 0.8, BorderPolicy::CONTINUE},
                                  RankCase{{}, 2, 0.3, BorderPolicy::FIXED, 7}}) {
            ASSERT_NO_FATAL_FAILURE(expectSorting(image, &mask, c, false));
            ASSERT_NO_FATAL_FAILURE(expectSorting(image, &mask, c, true));
        }
    }
}

TEST(RankFilter, TakesImagesOfFewValues) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_FLOAT32}) {
        for (const int values : {1, 2}) {
            const io::MemoryImage image =
                makeImage({.voxelType = type, .extents = {150, 40, 1, 1, 1}}, [&](auto x, auto y, auto...) {
                    return values == 1 ? 7 : static_cast<int>((x * x + 3 * y) % 5 < 2 ? 200 : 3);
                });
            for (const RankCase& c : {RankCase{{3, 3}}, RankCase{{15, 11}}, RankCase{{}, 4}}) {
                ASSERT_NO_FATAL_FAILURE(expectSorting(image, nullptr, c, false));
            }
        }
    }
}

TEST(RankFilter, KeepsBinaryImagesBinary) {
    const ImageTraits traits{.voxelType = RIX_INT16, .extents = {31, 12, 3, 1, 1}};
    const auto sample = [](auto x, auto y, auto z, auto...) { return (x * x + 3 * y + z) % 3 == 0 ? 1 : 0; };
    const io::MemoryImage values = makeImage(traits, sample);
    io::MemoryImage binary = values;
    binary.setInterpretation(RIX_BINARY);
    for (const RankCase& c :
         {RankCase{{3, 3, 3}, -1, 0.3, BorderPolicy::FIXED, 1}, RankCase{{}, 3, 0.5, BorderPolicy::FIXED, 1}}) {
        RankCase negative = c;
        negative.borderValue = -7;
        EXPECT_TRUE(
            imagesEqual(filterBy(values, nullptr, c, true), filterBy(binary, nullptr, negative, true), samplesOnly));
    }
}

TEST(RankFilter, MediansAreRankOneHalf) {
    const io::MemoryImage image = makeRandomImage({.voxelType = RIX_INT16, .extents = {41, 20, 5, 1, 1}}, 3);
    for (const RankCase& c : {RankCase{{4, 5, 2}}, RankCase{{}, 2}}) {
        EXPECT_TRUE(imagesEqual(filterBy(image, nullptr, c, false), filtered<MedianFilter2d>(image, nullptr, c, {})));
        EXPECT_TRUE(imagesEqual(filterBy(image, nullptr, c, true), filtered<MedianFilter3d>(image, nullptr, c, {})));
    }
}

TEST(RankFilter, HoldsWhatItSaysWithoutAMask) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
        const io::MemoryImage plane = makeRandomImage({.voxelType = type, .extents = {700, 400, 1, 1, 1}}, 5);
        const io::MemoryImage narrow = makeRandomImage({.voxelType = type, .extents = {5, 400, 3, 1, 1}}, 5);
        for (const ImageModel* const image : {&plane, &narrow}) {
            for (const int extent : {3, 7, 15, 101}) {
                MedianFilter2d filter;
                io::MemoryImage output;
                filter.settings().setMaximumNumberOfThreads(1);
                filter.setInputImage(image);
                filter.setKernelSizeX(extent);
                filter.setKernelSizeY(extent);
                filter.setOutputImage(&output);
                const std::size_t stated = filter.describe().extraMemory;
                filter.run();
                EXPECT_LE(filter.getPeakExtraMemory(), stated) << helper::describeImage(*image) << ' ' << extent;
                EXPECT_LE(stated, filter.getPeakExtraMemory() + 100000)
                    << helper::describeImage(*image) << ' ' << extent;
            }
        }
    }
}

TEST(RankFilter, RefusesWindowsThatItCannotCount) {
    const io::MemoryImage image = makeRandomImage({.extents = {9, 9, 2, 1, 1}}, 5);
    for (const RankCase& c : {RankCase{{0, 3, 1}}, RankCase{{3, 1024, 1}}, RankCase{{}, 512}}) {
        EXPECT_THROW(filterBy(image, nullptr, c, false), RuleException);
    }
    EXPECT_THROW(filterBy(image, nullptr, {{200, 200, 200}}, true), RuleException);
    EXPECT_THROW(filterBy(image, nullptr, {{}, 511}, true), RuleException) << "a ball's box counts";
    EXPECT_THROW(filterBy(image, nullptr, {.rank = 1.5}, false), RuleException);
    const io::MemoryImage small = makeRandomImage({.extents = {9, 8, 2, 1, 1}}, 5);
    EXPECT_THROW(filterBy(image, &small, {}, false), RuleException);
}

}  // namespace
}  // namespace rix::test
