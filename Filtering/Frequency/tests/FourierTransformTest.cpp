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

    const bool complex = type == RIX_COMPLEX_FLOAT32 || type == RIX_COMPLEX_FLOAT64;
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

TEST(FourierTransform, EqualsTheDefinition) {
    for (std::size_t n = 1; n <= 33; ++n) {
        expectTheDefinition<FourierTransform2d, InverseFourierTransform2d, 2>(RIX_FLOAT32, {n, 34 - n, 1, 1, 1},
                                                                              {.layout = Layout::HALF});
    }
}

}  // namespace
}  // namespace rix::test
