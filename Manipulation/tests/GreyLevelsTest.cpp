// Ranges, inversion, gamma and tables against their definitions: every type, every level, extremes, awkward widths.

#include <rix/manipulation/ClampIntensity.h>
#include <rix/manipulation/GammaCorrection.h>
#include <rix/manipulation/IntensityRescale.h>
#include <rix/manipulation/Invert.h>
#include <rix/manipulation/LookUpTable.h>

#include "GreyTestSupport.h"

namespace rix::manipulation::test {
namespace {

using Real = long double;

template <class Algorithm>
void expectMapped(Algorithm& algorithm, const ImageModel& image, const io::MemoryImage& expected,
                  std::uint64_t units = 0) {
    io::MemoryImage output;
    algorithm.setInputImage(&image);
    algorithm.setOutputImage(&output);
    onEveryLevel(algorithm, [&] {
        EXPECT_TRUE(imagesEqual(expected, output, {.unitsInTheLastPlace = units}))
            << helper::voxelTypesToString(image.getVoxelType());
    });
}

Real largestOf(VoxelTypes type) {
    Real largest = 0;
    access::dispatch(access::Reals{}, type, [&](auto tag) {
        largest = static_cast<Real>(std::numeric_limits<typename decltype(tag)::type>::max());
    });
    return largest;
}

bool isUnsigned(VoxelTypes type) {
    return type == RIX_UINT8 || type == RIX_UINT16 || type == RIX_UINT32;
}

TEST(Invert, IsTheRestToTheLargestValueOrTheNegative) {
    for (const VoxelTypes type : realTypes) {
        io::MemoryImage image = extremeImage(type);
        Invert algorithm;
        expectMapped(algorithm, image,
                     mapped(image, type, [&](Real v) { return isUnsigned(type) ? largestOf(type) - v : -v; }));
        image.setInterpretation(RIX_BINARY);
        expectMapped(algorithm, image, mapped(image, type, [](Real v) { return 1 - v; }, RIX_BINARY));
    }
}

TEST(ClampIntensity, KeepsWhatIsWithinAndRoundsItsBounds) {
    struct Bounds {
        double minimum, maximum;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage image = extremeImage(type);
        for (const Bounds& bounds : {Bounds{-3, 100}, {0.5, 2.5}, {-1e300, 1e300}, {7, 7}, {-infinity, 40000.7}}) {
            ClampIntensity algorithm;
            algorithm.setMinimum(bounds.minimum);
            algorithm.setMaximum(bounds.maximum);
            io::MemoryImage expected;
            access::dispatch(access::Reals{}, type, [&](auto tag) {
                using T = typename decltype(tag)::type;
                const Real low = sampleOf<T>(bounds.minimum);
                const Real high = sampleOf<T>(bounds.maximum);
                expected = mapped(image, type, [&](Real v) { return v < low ? low : v > high ? high : v; });
            });
            expectMapped(algorithm, image, expected);
        }
    }
    const io::MemoryImage image = extremeImage(RIX_UINT8);
    ClampIntensity refused;
    refused.setMinimum(3);
    refused.setMaximum(2);
    EXPECT_THROW(expectMapped(refused, image, image), RuleException);
}

TEST(GammaCorrection, IsAPowerOfTheShareOfTheLargestValue) {
    for (const VoxelTypes type : realTypes) {
        const Real largest = isFloating(type) ? 1 : largestOf(type);
        // Large enough for tables of 16 bits, too.
        const bool throughTable = type == RIX_UINT16 || type == RIX_INT16;
        const io::MemoryImage image = extremeImage(type, {throughTable ? 60000U : 331U, 7, 1, 1, 1});
        for (const double gamma : {0.45, 1.0, 2.2}) {
            GammaCorrection algorithm;
            algorithm.setGamma(gamma);
            const auto reference = [&](Real v) {
                return std::copysign(largest * std::pow(std::abs(v) / largest, static_cast<Real>(gamma)), v);
            };
            expectMapped(algorithm, image, mapped(image, type, reference), isFloating(type) ? 3 : 0);
        }
    }
}

TEST(LookUpTable, GivesEntriesAndWhatLiesBetweenThem) {
    container::Vector<double> table(200);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<double>(i * i) / 64.0 - 20.0;
    }
    const auto entryAt = [&](Real place) -> Real {
        if (std::isnan(place)) {
            return place;
        }
        const Real inside = std::clamp<Real>(place, 0, static_cast<Real>(table.size() - 1));
        const auto below = static_cast<std::size_t>(inside);
        const Real share = inside - std::floor(inside);
        return share == 0 ? table[below] : table[below] * (1 - share) + table[below + 1] * share;
    };
    for (const VoxelTypes type : realTypes) {
        io::MemoryImage image = extremeImage(type);
        LookUpTable algorithm;
        algorithm.setTable(table);
        expectMapped(algorithm, image, mapped(image, type, entryAt), isFloating(type) ? 4 : 0);
        image.setInterpretation(RIX_BINARY);
        expectMapped(algorithm, image, mapped(image, type, entryAt));
    }
}

Real rescaled(Real v, Real low, Real high, Real first, Real last) {
    if (std::isnan(v)) {
        return v;
    }
    if (!(low < high)) {
        return v > high ? last : first;
    }
    return first + (last - first) * ((std::clamp(v, low, high) - low) / (high - low));
}

TEST(IntensityRescale, IsLinearBetweenItsEndsForEveryPairOfTypes) {
    using Rescale = IntensityRescale;
    const VoxelTypes outputs[] = {RIX_UINT8,  RIX_INT8,  RIX_UINT16,  RIX_INT16,
                                  RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64};
    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage image = extremeImage(type);
        for (int output = 0; output < 8; ++output) {
            Rescale algorithm;
            algorithm.setRangeMode(Rescale::OTHER);
            algorithm.setInputMinimum(-16);
            algorithm.setInputMaximum(112);
            algorithm.setOutputMinimum(300);
            algorithm.setOutputMaximum(-20);
            algorithm.setOutputType(static_cast<Rescale::OutputType>(output));
            const auto reference = [](Real v) { return rescaled(v, -16, 112, 300, -20); };
            // In double precision 1 - share is rounded where the result is 0: an absolute bound, of the larger end.
            io::MemoryImage result;
            algorithm.setInputImage(&image);
            algorithm.setOutputImage(&result);
            const io::MemoryImage expected = mapped(image, outputs[output], reference);
            const double epsilon = type == RIX_FLOAT32 && outputs[output] != RIX_FLOAT64 ? 0x1p-23 : 0x1p-52;
            const double units = outputs[output] == RIX_FLOAT32 ? 0x1p-23 : epsilon;
            onEveryLevel(algorithm, [&] {
                const double tolerance = isFloating(outputs[output]) ? 3 * 300 * units : 0.0;
                EXPECT_TRUE(imagesEqual(expected, result, {.absoluteTolerance = tolerance}))
                    << helper::voxelTypesToString(type) << " to " << helper::voxelTypesToString(outputs[output]);
            });
        }
    }
}

TEST(IntensityRescale, TakesItsRangeFromTheImage) {
    using Rescale = IntensityRescale;
    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage image = rix::test::makeImage({.voxelType = type, .extents = {101, 1, 1, 1, 1}},
                                                           [](std::size_t c, auto...) { return 3 + c * 7 % 101; });
        Rescale algorithm;
        expectMapped(algorithm, image, mapped(image, RIX_UINT8, [](Real v) { return (v - 3) * 255 / 100; }));
        algorithm.setRangeMode(Rescale::QUANTILES);
        algorithm.setInputMinimum(0.1);
        algorithm.setInputMaximum(0.75);
        expectMapped(algorithm, image, mapped(image, RIX_UINT8, [](Real v) { return rescaled(v, 13, 78, 0, 255); }));
    }
    // Not finite, constant, binary.
    Rescale algorithm;
    const io::MemoryImage none = rix::test::makeImage({.voxelType = RIX_FLOAT32, .extents = {3, 1, 1, 1, 1}},
                                                      [](auto...) { return std::nan(""); });
    expectMapped(algorithm, none, mapped(none, RIX_UINT8, [](Real) { return 0; }));
    const io::MemoryImage constant = rix::test::makeImage({.extents = {3, 1, 1, 1, 1}}, [](auto...) { return 9; });
    expectMapped(algorithm, constant, mapped(constant, RIX_UINT8, [](Real) { return 0; }));
    io::MemoryImage binary = extremeImage(RIX_UINT16);
    binary.setInterpretation(RIX_BINARY);
    expectMapped(algorithm, binary, mapped(binary, RIX_UINT8, [](Real v) { return v * 255; }));
    // Ranges longer than the largest real.
    const double largest = std::numeric_limits<double>::max();
    const io::MemoryImage wide =
        rix::test::makeImage({.voxelType = RIX_FLOAT64, .extents = {3, 1, 1, 1, 1}}, [&](std::size_t c, auto...) {
            return c == 0 ? -largest : c == 1 ? 0.0 : largest;
        });
    algorithm.setOutputType(Rescale::FLOAT_64_BIT);
    expectMapped(algorithm, wide, mapped(wide, RIX_FLOAT64, [&](Real v) { return (v / largest + 1) * 127.5L; }));
}

}  // namespace
}  // namespace rix::manipulation::test
