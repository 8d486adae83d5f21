#include "ResamplingAgreement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <rix/geometry/AffineTransform2d.h>
#include <rix/geometry/AffineTransform3d.h>
#include <rix/geometry/Rescale2d.h>
#include <rix/geometry/Rescale3d.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/StridedImage.h>
#include <rix/io/ImageFile.h>

#include "ItkResample.h"
#include "Yardstick.h"

namespace rix::bench {
namespace {

using namespace geometry;

bool disagrees = false;

constexpr std::array<double, 12> identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
constexpr int degrees[] = {0, 1, 3};
constexpr const char* names[] = {"nearest", "linear", nullptr, "cubic"};

struct Picture {
    WorldGrid grid;
    std::vector<float> samples;
};

/// Axes turned by an angle about z, then about x.
std::array<std::array<double, 3>, 3> obliqueAxes(double aboutZ, double aboutX) {
    const double c = std::cos(aboutZ);
    const double s = std::sin(aboutZ);
    const double e = std::cos(aboutX);
    const double f = std::sin(aboutX);
    return {{{c, s * e, s * f}, {-s, c * e, c * f}, {0, -f, e}}};
}

const Picture& volume() {
    static const Picture picture = [] {
        Picture made{{{60, 50, 40}, {0.7, 1.1, 2.3}, {-20.0, 31.0, 105.0}, obliqueAxes(0.5, -0.8)}, {}};
        std::mt19937 random(1);
        made.samples.resize(made.grid.count());
        std::generate(made.samples.begin(), made.samples.end(), [&] { return static_cast<float>(random() % 4096); });
        return made;
    }();
    return picture;
}

const Picture& photograph() {
    static const Picture picture = [] {
        const auto read = io::readImage(RIX_EXAMPLES "/images/coins.png");
        Picture made{{{read->getNumOf(COLUMNS), read->getNumOf(ROWS), 1},
                      {0.4, 0.55, 1.0},
                      {12.0, -7.0, 0.0},
                      obliqueAxes(0.35, 0.0)},
                     {}};
        const auto* const bytes = static_cast<const std::uint8_t*>(read->getImageBuffer());
        made.samples.assign(bytes, bytes + made.grid.count());
        return made;
    }();
    return picture;
}

ImageHeader headerOf(const WorldGrid& grid) {
    ImageHeader header;
    header.voxelType = RIX_FLOAT32;
    header.extents = {grid.extents[0], grid.extents[1], grid.extents[2], 1, 1};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        header.spacing[axis] = grid.spacing[axis];
        header.origin[axis] = grid.origin[axis];
    }
    const auto& d = grid.directions;
    header.spatialDirections = {{d[0][0], d[0][1], d[0][2]}, {d[1][0], d[1][1], d[1][2]}, {d[2][0], d[2][1], d[2][2]}};
    return header;
}

/// The grid of an image whose axes are those of another.
WorldGrid gridOf(const ImageModel& image, const WorldGrid& other) {
    WorldGrid grid = other;
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        grid.extents[axis] = image.getNumOf(axis);
        grid.spacing[axis] = image.getSpacingOf(axis);
        grid.origin[axis] = image.getOriginOf(axis);
    }
    return grid;
}

/// Sheared, turned and moved in the world onto a grid that lies otherwise.
template <class Transform, std::size_t count>
Resampling transform(const Picture& picture, const WorldGrid& to, const std::array<double, count>& matrix, int degree,
                     io::MemoryImage& output) {
    const StridedImage input(static_cast<const void*>(picture.samples.data()), headerOf(picture.grid));
    const HeaderImage grid(headerOf(to));
    Transform transform;
    transform.setInputImage(&input);
    transform.setInputReferenceImage(&grid);
    transform.setGrid(TransformGrid::REFERENCE);
    transform.setMatrix(matrix);
    transform.setDirection(TransformDirection::BACKWARD);
    transform.setInterpolation(static_cast<PlaceInterpolation>(degree + 1));
    transform.setOutputImage(&output);
    transform.run();
    Resampling peer{picture.samples.data(), picture.grid, to, identity, degree};
    constexpr std::size_t columns = count == 12 ? 4 : 3;
    for (std::size_t i = 0; i < count; ++i) {
        const bool isShift = i % columns == columns - 1;
        peer.matrix[i / columns * 4 + (isShift ? 3 : i % columns)] = matrix[i];
    }
    return peer;
}

/// Other extents: nothing moves in the world.
template <class Rescaling>
Resampling rescale(const Picture& picture, int degree, io::MemoryImage& output) {
    constexpr ScalingInterpolation kinds[] = {
        ScalingInterpolation::NEAREST, ScalingInterpolation::LINEAR, {}, ScalingInterpolation::CUBIC_BSPLINE};
    const StridedImage input(static_cast<const void*>(picture.samples.data()), headerOf(picture.grid));
    Rescaling rescaling;
    rescaling.setInputImage(&input);
    rescaling.setMode(ScalingMode::FACTORS);
    rescaling.setFactorX(1.37);
    rescaling.setFactorY(0.83);
    if constexpr (std::is_same_v<Rescaling, Rescale3d>) {
        rescaling.setFactorZ(1.61);
    }
    rescaling.setInterpolation(kinds[degree]);
    rescaling.setAntiAliasing(AntiAliasing::NO);
    rescaling.setOutputImage(&output);
    rescaling.run();
    return {picture.samples.data(), picture.grid, gridOf(output, picture.grid), identity, degree};
}

Resampling transformVolume(int degree, io::MemoryImage& output) {
    const WorldGrid to{{45, 56, 64}, {1.0, 0.9, 1.3}, {-50.0, 45.0, 85.0}, obliqueAxes(-0.3, 0.4)};
    // About a middle that both grids have near theirs.
    const std::array<double, 12> matrix{0.95, -0.12, 0.05, 5.3, 0.1, 1.04, -0.08, 52.1, -0.03, 0.06, 1.1, -33.2};
    return transform<AffineTransform3d>(volume(), to, matrix, degree, output);
}

Resampling transformPhotograph(int degree, io::MemoryImage& output) {
    const WorldGrid to{{250, 310, 1}, {0.5, 0.45, 1.0}, {0.0, 20.0, 0.0}, obliqueAxes(-0.2, 0.0)};
    const std::array<double, 6> matrix{0.97, -0.15, 3.7, 0.11, 1.08, -4.9};
    return transform<AffineTransform2d>(photograph(), to, matrix, degree, output);
}

/// Splines differ in what lies beyond the edge, mirrored with the outermost element once (ITK) or twice; that fades by
/// 0.27 an element, and is compared where it is below the last bit. Where a place is between two elements, either may
/// be the nearest.
void compare(benchmark::State& state, Resampling (*resample)(int degree, io::MemoryImage& output), int degree) {
    io::MemoryImage output;
    const Resampling resampling = resample(degree, output);
    const ItkResampled peer = itkResampled(resampling);
    const auto [least, most] = std::minmax_element(resampling.samples, resampling.samples + resampling.input.count());
    const auto* const ours = reinterpret_cast<const float*>(output.getInternalBuffer());
    double difference = 0;
    std::size_t compared = 0;
    for (std::size_t i = 0; i < peer.samples.size(); ++i) {
        if (peer.depths[i] >= (degree > 1 ? 12 : 0) && (degree > 0 || peer.ties[i] > 1e-9)) {
            ++compared;
            difference = std::max(difference, static_cast<double>(std::abs(ours[i] - peer.samples[i])));
        }
    }
    difference /= static_cast<double>(*most - *least);
    for (auto _ : state) {
    }
    state.counters["difference"] = difference;
    state.counters["compared"] = static_cast<double>(compared);
    const double bound = degree == 0 ? 0.0 : degree == 1 ? 1e-6 : 5e-6;
    if (!(difference <= bound) || compared < 10000) {
        disagrees = true;
        state.SkipWithError("differs from ITK");
    }
}

/// A picture without calibration, as the rows of ours have it, turned about the middle: by 10 degrees about each of
/// the axes, the last of which comes first where things go.
Resampling turnedBack(const float* samples, const std::array<std::size_t, 3>& extents, int degree) {
    const WorldGrid grid{extents, {1, 1, 1}, {0, 0, 0}, obliqueAxes(0, 0)};
    const double angle = std::numbers::pi / 18;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double e = extents[2] > 1 ? c : 1.0;
    const double f = extents[2] > 1 ? s : 0.0;
    Resampling turned{samples, grid, grid, {c, s, 0, 0, -e * s, e * c, f, 0, f * s, -f * c, e, 0}, degree};
    for (std::size_t i = 0; i < 3; ++i) {
        double& shift = turned.matrix[4 * i + 3];
        shift = static_cast<double>(extents[i] - 1) / 2;
        for (std::size_t j = 0; j < 3; ++j) {
            shift -= turned.matrix[4 * i + j] * static_cast<double>(extents[j] - 1) / 2;
        }
    }
    return turned;
}

}  // namespace

void registerAgreement() {
    const std::pair<const char*, Resampling (*)(int, io::MemoryImage&)> cases[] = {
        {"photograph_transformed", &transformPhotograph},
        {"photograph_rescaled",
         [](int degree, io::MemoryImage& output) { return rescale<Rescale2d>(photograph(), degree, output); }},
        {"volume_transformed", &transformVolume},
        {"volume_rescaled",
         [](int degree, io::MemoryImage& output) { return rescale<Rescale3d>(volume(), degree, output); }},
    };
    for (const auto& [name, resample] : cases) {
        for (const int degree : degrees) {
            benchmark::RegisterBenchmark(
                (std::string("agreement/itk/") + name + '/' + names[degree]).c_str(),
                [resample = resample, degree](benchmark::State& state) { compare(state, resample, degree); })
                ->Iterations(1);
        }
    }
}

bool foundDisagreement() {
    return disagrees;
}

void registerItkResampling(int threads) {
    const std::pair<const char*, std::array<std::size_t, 3>> cases[] = {{"turned", {4096, 4096, 1}},
                                                                        {"volume_turned", {256, 256, 256}}};
    for (const auto& [name, extents] : cases) {
        for (const int degree : degrees) {
            benchmark::RegisterBenchmark(
                (std::string("itk/") + name + '/' + names[degree] + "/f32/threads:" + std::to_string(threads)).c_str(),
                [extents = extents, degree, threads](benchmark::State& state) {
                    const io::MemoryImage random = randomImage(RIX_FLOAT32, 4096, 4096);
                    const auto run = itkResampling(
                        turnedBack(reinterpret_cast<const float*>(random.getInternalBuffer()), extents, degree),
                        threads);
                    for (auto _ : state) {
                        run();
                    }
                })
                ->UseRealTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
}

}  // namespace rix::bench
