// Local thickness against its definition: every ball of every voxel.

#include <rix/morphology/LocalThickness2d.h>
#include <rix/morphology/LocalThickness3d.h>

#include "Testing.h"

namespace rix::test {
namespace {

template <class Filter>
io::MemoryImage thicknessOf(const ImageModel& image, bool inWorld) {
    Filter filter;
    io::MemoryImage output;
    filter.setInputObjectImage(&image);
    filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
    filter.setOutputImage(&output);
    const std::size_t stated = filter.describe().extraMemory;
    filter.run();
    EXPECT_LE(filter.getPeakExtraMemory(), stated);
    return output;
}

/// Of one plane or volume.
std::vector<double> thicknessByDefinition(const std::vector<double>& values, const Extents& n,
                                          const std::array<double, 3>& spacing) {
    const auto square = [&](std::size_t a, std::size_t b) {
        const std::array<std::size_t, 3> p{a % n[0], a / n[0] % n[1], a / n[0] / n[1]};
        const std::array<std::size_t, 3> q{b % n[0], b / n[0] % n[1], b / n[0] / n[1]};
        double sum = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double way = (static_cast<double>(p[axis]) - static_cast<double>(q[axis])) * spacing[axis];
            sum += way * way;
        }
        return sum;
    };
    std::vector<double> thickness(values.size(), 0.0);
    for (std::size_t q = 0; q < values.size(); ++q) {
        if (values[q] == 0) {
            continue;
        }
        double nearest = std::numeric_limits<double>::infinity();
        for (std::size_t p = 0; p < values.size(); ++p) {
            nearest = values[p] == 0 ? std::min(nearest, square(p, q)) : nearest;
        }
        for (std::size_t p = 0; p < values.size(); ++p) {
            if (values[p] != 0 && square(p, q) < nearest * (1 - 1e-9)) {
                thickness[p] = std::max(thickness[p], 2 * std::sqrt(nearest));
            }
        }
    }
    return thickness;
}

template <class Filter>
void compareWithDefinition(const io::MemoryImage& image, std::size_t axes, bool inWorld) {
    const Extents n = helper::getExtents(image);
    std::array<double, 3> spacing{1, 1, 1};
    for (std::size_t axis = 0; axis < 3 && inWorld; ++axis) {
        spacing[axis] = std::abs(image.getSpacingOf(static_cast<Components>(axis)));
    }
    const std::vector<double> values = samplesOf<double>(image);
    const std::vector<double> found = samplesOf<double>(thicknessOf<Filter>(image, inWorld));
    const Extents part{n[0], n[1], axes == 3 ? n[2] : 1, 1, 1};
    const std::size_t size = part[0] * part[1] * part[2];
    for (std::size_t first = 0; first < values.size(); first += size) {
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(first);
        const std::vector<double> expected =
            thicknessByDefinition({begin, begin + static_cast<std::ptrdiff_t>(size)}, part, spacing);
        for (std::size_t i = 0; i < size; ++i) {
            if (std::isinf(expected[i])) {
                ASSERT_EQ(found[first + i], expected[i]);
            } else {
                ASSERT_NEAR(found[first + i], expected[i], expected[i] * 1e-6)
                    << axes << ' ' << inWorld << " part " << first / size << " voxel " << i;
            }
        }
    }
}

io::MemoryImage makeHollows(const Extents& n, std::size_t holes) {
    return makeImage({.voxelType = RIX_UINT16, .extents = n},
                     [=](std::size_t x, std::size_t y, std::size_t z, std::size_t t, auto...) {
                         return (x * 7919 + y * 104729 + z * 1299709 + t * 31 + x * y * 13) % 1009 < holes ? 0 : 300;
                     });
}

TEST(LocalThickness, IsThatOfTheDefinition) {
    for (const std::size_t holes : {2U, 20U, 200U, 700U}) {
        io::MemoryImage plane = makeHollows({43, 90, 1, 2, 1}, holes);
        io::MemoryImage volume = makeHollows({19, 16, 13, 1, 1}, holes);
        for (io::MemoryImage* const image : {&plane, &volume}) {
            image->setSpacingOf(COLUMNS, 0.7);
            image->setSpacingOf(ROWS, -1.1);
            image->setSpacingOf(PLANS, 2.3);
        }
        for (const bool inWorld : {false, true}) {
            compareWithDefinition<morphology::LocalThickness2d>(plane, 2, inWorld);
            compareWithDefinition<morphology::LocalThickness2d>(volume, 2, inWorld);
            compareWithDefinition<morphology::LocalThickness3d>(volume, 3, inWorld);
        }
    }
    // No background, no object, one column, more rows than a band.
    compareWithDefinition<morphology::LocalThickness3d>(
        makeImage({.extents = {4, 3, 5, 1, 1}}, [](auto...) { return 1; }), 3, false);
    compareWithDefinition<morphology::LocalThickness2d>(
        makeImage({.extents = {4, 3, 1, 1, 1}}, [](auto...) { return 0; }), 2, false);
    compareWithDefinition<morphology::LocalThickness2d>(
        makeImage({.extents = {1, 300, 1, 1, 1}},
                  [](std::size_t, std::size_t y, auto...) { return y % 100 != 7 ? 1 : 0; }),
        2, false);
}

TEST(LocalThickness, OfABarIsItsWidth) {
    const io::MemoryImage bar = makeImage({.extents = {90, 60, 1, 1, 1}}, [](std::size_t x, std::size_t y, auto...) {
        return x > 4 && x < 85 && y >= 20 && y < 35 ? 1 : 0;  // 15 rows
    });
    const std::vector<double> found = samplesOf<double>(thicknessOf<morphology::LocalThickness2d>(bar, false));
    for (std::size_t y = 20; y < 35; ++y) {
        EXPECT_EQ(found[y * 90 + 45], 16.0) << y;  // from centre to centre of the background
    }
}

}  // namespace
}  // namespace rix::test
