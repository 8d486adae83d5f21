// The Fourier transforms against their definition, summed in long double.

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/Rows.h>
#include <rix/filtering/frequency/FourierTransform2d.h>
#include <rix/filtering/frequency/FourierTransform3d.h>
#include <rix/filtering/frequency/InverseFourierTransform2d.h>
#include <rix/filtering/frequency/InverseFourierTransform3d.h>
#include <rix/image/ImageHeader.h>

#include "Failures.h"
#include "ImageFactories.h"

namespace rix::test {
namespace {

using namespace filtering::frequency;
using Layout = SpectrumLayout;
using Origin = SpectrumOrigin;
using Exact = std::complex<long double>;
using Values = std::vector<std::complex<double>>;

Values valuesOf(const ImageModel& image) {
    Values values;
    access::RowReader<std::complex<double>> reader(image);
    Extents lines = helper::getExtents(image);
    const std::size_t columns = std::exchange(lines[0], 1);
    forEachPosition(lines, [&](const Extents& p) {
        const auto* const row = reader.read({{0, p[1], p[2], p[3], p[4]}, columns});
        values.insert(values.end(), row, row + columns);
    });
    return values;
}

/// The sums over one axis of lines in storage order. @param sign of the exponent
std::vector<Exact> sumAlong(const std::vector<Exact>& values, std::size_t pitch, std::size_t n, int sign) {
    std::vector<Exact> roots(n);
    for (std::size_t i = 0; i < n; ++i) {
        const long double angle =
            2 * std::numbers::pi_v<long double> * static_cast<long double>(i) / static_cast<long double>(n);
        roots[i] = {std::cos(angle), static_cast<long double>(sign) * std::sin(angle)};
    }
    std::vector<Exact> sums(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t k = i / pitch % n;
        const std::size_t first = i - k * pitch;
        for (std::size_t j = 0; j < n; ++j) {
            sums[i] += values[first + j * pitch] * roots[j * k % n];
        }
    }
    return sums;
}

std::vector<Exact> transformed(const Values& values, const Extents& n, std::size_t axes, int sign) {
    std::vector<Exact> sums(values.begin(), values.end());
    std::size_t pitch = 1;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        sums = sumAlong(sums, pitch, n[axis], sign);
        pitch *= n[axis];
    }
    return sums;
}

struct How {
    Layout layout = Layout::FULL;
    Origin origin = Origin::CORNER;
    FourierScaling scaling = FourierScaling::BACKWARD;
};

template <class Transform>
void set(Transform& transform, const ImageModel& input, ImageModel& output, const How& how) {
    transform.setInputImage(&input);
    transform.setLayout(how.layout);
    transform.setOrigin(how.origin);
    transform.setScaling(how.scaling);
    transform.setOutputImage(&output);
}

template <class Transform>
io::MemoryImage run(const ImageModel& input, const How& how) {
    io::MemoryImage output;
    Transform transform;
    set(transform, input, output, how);
    transform.run();
    return output;
}

template <class Inverse>
io::MemoryImage invert(const ImageModel& input, const How& how, InverseResult result, std::int64_t sizeX = 0) {
    io::MemoryImage output;
    Inverse transform;
    set(transform, input, output, how);
    transform.setResult(result);
    transform.setSizeX(sizeX);
    transform.run();
    return output;
}

double boundOf(VoxelTypes type, const Extents& n, std::size_t axes) {
    double count = 2;  // a line of one element is rounded, too
    for (std::size_t axis = 0; axis < axes; ++axis) {
        count *= static_cast<double>(n[axis]);
    }
    const bool wide = type == RIX_FLOAT64 || type == RIX_COMPLEX_FLOAT64;
    return (wide ? 1e-15 : 3e-7) * std::log2(count);
}

long double largestOf(const std::vector<Exact>& values) {
    long double largest = 0;
    for (const Exact& value : values) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

io::MemoryImage randomOf(VoxelTypes type, const Extents& extents) {
    return makeRandomImage({.voxelType = type, .extents = extents}, 7, Extremes::None);
}

/// What a spectrum has at a place.
std::size_t sourceOf(const Extents& p, const Extents& n, std::size_t axes, const How& how) {
    Extents source = p;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        if (how.origin == Origin::CENTER && (axis > 0 || how.layout == Layout::FULL)) {
            source[axis] = (p[axis] + n[axis] - n[axis] / 2) % n[axis];
        }
    }
    return (((source[4] * n[3] + source[3]) * n[2] + source[2]) * n[1] + source[1]) * n[0] + source[0];
}

/// Forward and back, compared with the definition, element by element.
template <class Transform, class Inverse, std::size_t axes>
void expectTheDefinition(VoxelTypes type, const Extents& n, const How& how) {
    const io::MemoryImage image = randomOf(type, n);
    const std::vector<Exact> expected = transformed(valuesOf(image), n, axes, -1);
    const auto largest = static_cast<double>(largestOf(expected));
    const double bound = boundOf(type, n, axes);
    double count = 1;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        count *= static_cast<double>(n[axis]);
    }
    const double scale = how.scaling == FourierScaling::BACKWARD  ? 1
                         : how.scaling == FourierScaling::FORWARD ? 1 / count
                                                                  : 1 / std::sqrt(count);
    const io::MemoryImage spectrum = run<Transform>(image, how);
    Extents width = n;
    width[0] = how.layout == Layout::HALF ? n[0] / 2 + 1 : n[0];
    ASSERT_EQ(helper::getExtents(spectrum), width);
    const Values found = valuesOf(spectrum);
    std::size_t i = 0;
    double worst = 0;
    forEachPosition(width, [&](const Extents& p) {
        const Exact value = expected[sourceOf(p, n, axes, how)] * static_cast<long double>(scale);
        worst = std::max(worst, static_cast<double>(std::abs(value - Exact(found[i++]))));
    });
    EXPECT_LE(worst, bound * largest * scale) << n[0] << " x " << n[1] << " x " << n[2] << " type " << type;

    const bool complex = type >= RIX_COMPLEX_FLOAT32;
    const io::MemoryImage back = invert<Inverse>(spectrum, how, complex ? InverseResult::COMPLEX : InverseResult::REAL);
    ASSERT_EQ(helper::getExtents(back), n);
    const Values before = valuesOf(image);
    const Values after = valuesOf(back);
    double most = 0;
    double error = 0;
    for (std::size_t k = 0; k < before.size(); ++k) {
        most = std::max(most, std::abs(before[k]));
        error = std::max(error, std::abs(before[k] - after[k]));
    }
    EXPECT_LE(error, 2 * bound * most) << "back";
}

void expectPlane(VoxelTypes type, const Extents& n, const How& how) {
    expectTheDefinition<FourierTransform2d, InverseFourierTransform2d, 2>(type, n, how);
}

void expectVolume(VoxelTypes type, const Extents& n, const How& how) {
    expectTheDefinition<FourierTransform3d, InverseFourierTransform3d, 3>(type, n, how);
}

TEST(FourierTransform, EqualsTheDefinition) {
    for (std::size_t n = 1; n <= 33; ++n) {
        for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
            expectPlane(type, {n, 34 - n, 1, 1, 1}, {.layout = Layout::HALF});
        }
        for (const VoxelTypes type : {RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64}) {
            expectPlane(type, {n, 34 - n, 1, 1, 1}, {.origin = Origin::CENTER});
        }
    }
    for (const std::size_t n : {97U, 211U, 254U}) {
        expectPlane(RIX_FLOAT32, {n, 3, 1, 1, 1}, {.layout = Layout::HALF});
        expectPlane(RIX_FLOAT64, {2, n, 1, 1, 1}, {.layout = Layout::HALF});
    }
}

TEST(FourierTransform, OfAnyTypeInAnyForm) {
    for (const Layout layout : {Layout::HALF, Layout::FULL}) {
        for (const Origin origin : {Origin::CORNER, Origin::CENTER}) {
            for (const FourierScaling scaling :
                 {FourierScaling::BACKWARD, FourierScaling::ORTHONORMAL, FourierScaling::FORWARD}) {
                const How how{layout, origin, scaling};
                for (const VoxelTypes type :
                     {RIX_UINT8, RIX_INT16, RIX_INT32, RIX_FLOAT64, RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64}) {
                    if (layout == Layout::FULL || type < RIX_COMPLEX_FLOAT32) {
                        expectPlane(type, {9, 14, 2, 1, 3}, how);
                        expectVolume(type, {8, 5, 6, 2, 1}, how);
                    }
                }
                expectVolume(RIX_FLOAT32, {7, 1, 3, 1, 2}, how);
                expectVolume(RIX_FLOAT32, {1, 21, 22, 1, 1}, how);
            }
        }
    }
}

/// A few coefficients by the definition, and the sum of all squares by Parseval's theorem.
void expectALongLine(VoxelTypes type, std::size_t columns, std::size_t rows) {
    const Extents n{columns, rows, 1, 1, 1};
    const io::MemoryImage image = randomOf(type, n);
    const Values before = valuesOf(image);
    const How how{.layout = Layout::FULL};
    const io::MemoryImage spectrum = run<FourierTransform2d>(image, how);
    const Values found = valuesOf(spectrum);
    const long double turn = 2 * std::numbers::pi_v<long double>;
    double largest = 0;
    long double squares = 0;
    for (const auto& value : found) {
        largest = std::max(largest, std::abs(value));
        squares += std::norm(Exact(value));
    }
    const double bound = boundOf(type, n, 2);
    for (const std::size_t k : {std::size_t{0}, std::size_t{1}, columns / 3, columns - 1}) {
        for (const std::size_t l : {std::size_t{0}, rows - 1}) {
            Exact sum = 0;
            for (std::size_t i = 0; i < before.size(); ++i) {
                const long double cycles =
                    static_cast<long double>(i % columns * k % columns) / static_cast<long double>(columns) +
                    static_cast<long double>(i / columns * l % rows) / static_cast<long double>(rows);
                sum += Exact(before[i]) * Exact(std::cos(turn * cycles), -std::sin(turn * cycles));
            }
            EXPECT_LE(std::abs(sum - Exact(found[l * columns + k])), bound * largest)
                << columns << ' ' << k << ' ' << l;
        }
    }
    long double expected = 0;
    for (const auto& value : before) {
        expected += std::norm(Exact(value));
    }
    expected *= static_cast<long double>(before.size());
    EXPECT_LE(std::abs(squares / expected - 1), bound) << columns;
    const Values back = valuesOf(invert<InverseFourierTransform2d>(spectrum, how, InverseResult::REAL));
    double worst = 0;
    double most = 0;
    for (std::size_t i = 0; i < back.size(); ++i) {
        worst = std::max(worst, std::abs(back[i] - before[i]));
        most = std::max(most, std::abs(before[i]));
    }
    EXPECT_LE(worst, 2 * bound * most) << columns;
}

TEST(FourierTransform, OfLargePrimes) {
    expectALongLine(RIX_FLOAT32, 1009, 3);
    expectALongLine(RIX_FLOAT64, 3, 1009);
    expectALongLine(RIX_FLOAT32, 65537, 1);
    expectALongLine(RIX_FLOAT64, 65537, 1);
    expectALongLine(RIX_FLOAT32, 2, 20011);
    expectALongLine(RIX_FLOAT32, 600, 420);
}

/// A half that no real image has: each row alone and the imaginary parts of the first and last column are what they
/// would be for one.
TEST(FourierTransform, InverseTakesTheOtherHalfAsTheConjugate) {
    for (const std::size_t columns : {6U, 7U, 1U, 2U, 12U}) {
        const Extents width{columns / 2 + 1, 3, 1, 1, 1};
        const io::MemoryImage half = randomOf(RIX_COMPLEX_FLOAT64, width);
        const Values values = valuesOf(half);
        std::vector<Exact> sums = sumAlong({values.begin(), values.end()}, width[0], 3, 1);
        const Values found = valuesOf(invert<InverseFourierTransform2d>(
            half, {.layout = Layout::HALF}, InverseResult::COMPLEX, static_cast<std::int64_t>(columns)));
        for (std::size_t i = 0; i < found.size(); ++i) {
            const std::size_t row = i / columns;
            long double sum = 0;
            for (std::size_t k = 0; k < width[0]; ++k) {
                const long double angle = 2 * std::numbers::pi_v<long double> *
                                          static_cast<long double>(i % columns * k % columns) /
                                          static_cast<long double>(columns);
                const bool single = k == 0 || 2 * k == columns;
                sum += (single ? 1 : 2) * (sums[row * width[0] + k].real() * std::cos(angle) -
                                           (single ? 0 : sums[row * width[0] + k].imag()) * std::sin(angle));
            }
            EXPECT_NEAR(found[i].real(), static_cast<double>(sum / static_cast<long double>(columns * 3)), 1e-12);
            EXPECT_EQ(found[i].imag(), 0.0);
        }
    }
}

TEST(FourierTransform, KeepsWhereTheImageLay) {
    for (const std::size_t columns : {8U, 9U}) {
        io::MemoryImage image = randomOf(RIX_FLOAT32, {columns, 5, 4, 2, 1});
        setDistinctCalibration(image);
        image.setSpacingOf(COLUMNS, 0.3);
        image.setSpatialUnitName("mm");
        for (const How& how : {How{Layout::HALF}, How{Layout::FULL, Origin::CENTER}}) {
            const io::MemoryImage spectrum = run<FourierTransform3d>(image, how);
            EXPECT_EQ(spectrum.getSpatialUnitName(), "1/mm");
            EXPECT_EQ(spectrum.getSpacingOf(COLUMNS), 1 / (0.3 * static_cast<double>(columns)));
            EXPECT_EQ(spectrum.getSpacingOf(SEQUENCE), image.getSpacingOf(SEQUENCE));
            const bool centered = how.origin == Origin::CENTER;
            EXPECT_EQ(spectrum.getOriginOf(COLUMNS), centered ? -4 * spectrum.getSpacingOf(COLUMNS) : 0.0);
            EXPECT_EQ(spectrum.getOriginOf(ROWS), centered ? -2 * spectrum.getSpacingOf(ROWS) : 0.0);
            // Through an image that is only calibrated like the spectrum, as a filter's result is.
            io::MemoryImage filtered = randomOf(RIX_COMPLEX_FLOAT32, helper::getExtents(spectrum));
            filtered.enforceSameCharacteristics(&spectrum, CALIBRATION);
            const io::MemoryImage back = invert<InverseFourierTransform3d>(filtered, how, InverseResult::REAL);
            const ImageHeader expected = helper::headerOf(image);
            const ImageHeader found = helper::headerOf(back);
            EXPECT_EQ(found.extents, expected.extents);
            EXPECT_EQ(found.spacing, expected.spacing);
            EXPECT_EQ(found.origin, expected.origin);
            EXPECT_EQ(found.spatialUnitName, "mm");
            EXPECT_EQ(found.spatialFrame, std::nullopt);
        }
        // A spectrum that does not tell has an even number of columns, at the origin.
        const io::MemoryImage spectrum = run<FourierTransform2d>(image, {.layout = Layout::HALF});
        io::MemoryImage bare = spectrum;
        bare.setSpatialFrame(std::nullopt);
        const io::MemoryImage even =
            invert<InverseFourierTransform2d>(bare, {.layout = Layout::HALF}, InverseResult::REAL);
        EXPECT_EQ(even.getNumOf(COLUMNS), 8U);
        EXPECT_EQ(even.getOriginOf(ROWS), 0.0);
        EXPECT_DOUBLE_EQ(even.getSpacingOf(ROWS), image.getSpacingOf(ROWS));
        const io::MemoryImage odd =
            invert<InverseFourierTransform2d>(bare, {.layout = Layout::HALF}, InverseResult::REAL, 9);
        EXPECT_EQ(odd.getNumOf(COLUMNS), 9U);
    }
}

TEST(FourierTransform, RefusesWhatIsNoHalf) {
    const io::MemoryImage complex = randomOf(RIX_COMPLEX_FLOAT32, {8, 8, 1, 1, 1});
    EXPECT_THROW(run<FourierTransform2d>(complex, {.layout = Layout::HALF}), RuleException);
    const auto back = [&](const ImageModel& spectrum, Layout layout, std::int64_t sizeX) {
        invert<InverseFourierTransform2d>(spectrum, {.layout = layout}, InverseResult::REAL, sizeX);
    };
    EXPECT_THROW(back(complex, Layout::HALF, 13), RuleException);
    EXPECT_THROW(back(complex, Layout::HALF, 16), RuleException);
    EXPECT_THROW(back(complex, Layout::HALF, -1), RuleException);
    EXPECT_THROW(back(complex, Layout::FULL, 9), RuleException);
    EXPECT_NO_THROW(back(complex, Layout::HALF, 15));
    const io::MemoryImage full = run<FourierTransform2d>(complex, {});
    EXPECT_THROW(back(full, Layout::HALF, 0), RuleException) << "it tells of 8 columns";
    io::MemoryImage uneven = complex;
    uneven.setSpacingOf(ROWS, 0.0);
    uneven.setSpacingOf(COLUMNS, 1.0);
    EXPECT_THROW(run<FourierTransform2d>(uneven, {}), RuleException);
}

}  // namespace
}  // namespace rix::test
