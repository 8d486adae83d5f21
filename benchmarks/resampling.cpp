// Images of other extents, turned images and the coefficients of splines, 1 and 2 threads, beside OpenCV where it has
// them, and ITK. benchmarks/python_peers.py measures some of it beside SciPy. With ITK the program also compares what
// both find at the same points of the world, and fails where they differ.

#include <array>
#include <cmath>
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/geometry/AffineTransform2d.h>
#include <rix/geometry/AffineTransform3d.h>
#include <rix/geometry/BSplineCoefficients2d.h>
#include <rix/geometry/BSplineCoefficients3d.h>
#include <rix/geometry/PolarTransform2d.h>
#include <rix/geometry/Rescale2d.h>
#include <rix/geometry/Rescale3d.h>
#include <rix/geometry/WarpByDisplacement2d.h>
#include <rix/image/StridedImage.h>
#include <rix/settings/Settings.h>

#ifdef RIX_HAVE_ITK
#include "ResamplingAgreement.h"
#endif
#include "Yardstick.h"

namespace rix::bench {
namespace {

using namespace geometry;

constexpr std::size_t side = 4096;
constexpr std::array<std::size_t, 5> plane{side, side, 1, 1, 1};
constexpr std::array<std::size_t, 5> volume{256, 256, 256, 1, 1};

struct Sample {
    VoxelTypes type;
    const char* name;
};
constexpr Sample samples[] = {{RIX_UINT8, "u8"}, {RIX_UINT16, "u16"}, {RIX_FLOAT32, "f32"}};

std::string rowName(const char* library, const std::string& operation, const Sample& sample, int threads) {
    return std::string(library) + '/' + operation + '/' + sample.name + "/threads:" + std::to_string(threads);
}

template <class Operation, class Set>
void registerOurs(const std::string& name, const Sample& sample, const std::array<std::size_t, 5>& extents, int threads,
                  const Set& set) {
    benchmark::RegisterBenchmark(rowName("rix", name, sample, threads).c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage random = randomImage(sample.type, side, side);
                                     ImageHeader header = helper::headerOf(random);
                                     header.extents = extents;
                                     const StridedImage image(static_cast<const void*>(random.getInternalBuffer()),
                                                              header);
                                     io::MemoryImage output;
                                     Operation operation;
                                     operation.settings().setMaximumNumberOfThreads(threads);
                                     operation.setInputImage(&image);
                                     set(operation);
                                     operation.setOutputImage(&output);
                                     operation.run();
                                     for (auto _ : state) {
                                         operation.run();
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
/// @param compute makes an image of OpenCV of another
template <class Compute>
void registerOpenCv(const std::string& name, const Sample& sample, int threads, const Compute& compute) {
    benchmark::RegisterBenchmark(
        rowName("opencv", name, sample, threads).c_str(),
        [=](benchmark::State& state) {
            io::MemoryImage image = randomImage(sample.type, side, side);
            const int depth = sample.type == RIX_UINT8 ? CV_8U : sample.type == RIX_UINT16 ? CV_16U : CV_32F;
            const cv::Mat source(static_cast<int>(side), static_cast<int>(side), depth, image.getInternalBuffer());
            cv::Mat output;
            cv::setNumThreads(threads);
            compute(source, output);
            for (auto _ : state) {
                compute(source, output);
            }
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

auto turnBy(double degrees, int interpolation) {
    return [=](const cv::Mat& in, cv::Mat& out) {
        const cv::Point2f center(static_cast<float>(in.cols - 1) / 2, static_cast<float>(in.rows - 1) / 2);
        cv::warpAffine(in, out, cv::getRotationMatrix2D(center, -degrees, 1.0), in.size(), interpolation);
    };
}

auto resizeBy(double factor, int interpolation) {
    return [=](const cv::Mat& in, cv::Mat& out) { cv::resize(in, out, cv::Size(), factor, factor, interpolation); };
}
#endif

template <class Rescaling>
auto by(double factor, ScalingInterpolation interpolation) {
    return [=](Rescaling& rescaling) {
        rescaling.setMode(ScalingMode::FACTORS);
        rescaling.setFactorX(factor);
        rescaling.setFactorY(factor);
        if constexpr (std::is_same_v<Rescaling, Rescale3d>) {
            rescaling.setFactorZ(factor);
        }
        rescaling.setInterpolation(interpolation);
    };
}

/// Displacements of some pixels, smooth over the plane.
const io::MemoryImage& smoothField() {
    static const io::MemoryImage field = [] {
        io::MemoryImage image;
        if (!image.reserve(SINGLE, RIX_FLOAT32, side, side, 1, 1, 2)) {
            std::abort();
        }
        auto* const displacements = reinterpret_cast<float*>(image.getInternalBuffer());
        for (std::size_t i = 0; i < 2 * side * side; ++i) {
            const auto x = static_cast<float>(i % side);
            const auto y = static_cast<float>(i / side % side);
            displacements[i] =
                5.0F * std::sin(0.01F * x) * std::cos(0.013F * y + static_cast<float>(i / (side * side)));
        }
        return image;
    }();
    return field;
}

void registerSample(const Sample& sample, int threads) {
    using enum ScalingInterpolation;
    const std::pair<const char*, ScalingInterpolation> kinds[] = {
        {"nearest", NEAREST}, {"linear", LINEAR}, {"cubic", CUBIC_BSPLINE}, {"lanczos", LANCZOS}};
    for (const auto& [name, interpolation] : kinds) {
        registerOurs<Rescale2d>(std::string("by_1.5/") + name, sample, plane, threads,
                                by<Rescale2d>(1.5, interpolation));
        registerOurs<Rescale3d>(std::string("volume_by_1.5/") + name, sample, volume, threads,
                                by<Rescale3d>(1.5, interpolation));
    }
    registerOurs<Rescale2d>("halved/area", sample, plane, threads, by<Rescale2d>(0.5, AREA));
    registerOurs<Rescale2d>("by_0.3/area", sample, plane, threads, by<Rescale2d>(0.3, AREA));
    registerOurs<Rescale2d>("by_0.3/linear", sample, plane, threads, by<Rescale2d>(0.3, LINEAR));
    registerOurs<Rescale3d>("volume_halved/area", sample, volume, threads, by<Rescale3d>(0.5, AREA));
    registerOurs<BSplineCoefficients2d>("coefficients", sample, plane, threads, [](BSplineCoefficients2d&) {});
    registerOurs<BSplineCoefficients3d>("volume_coefficients", sample, volume, threads, [](BSplineCoefficients3d&) {});
    const std::pair<const char*, PlaceInterpolation> kindsOfPlaces[] = {
        {"nearest", PlaceInterpolation::NEAREST},
        {"linear", PlaceInterpolation::LINEAR},
        {"cubic", PlaceInterpolation::CUBIC_BSPLINE},
        {"quintic", PlaceInterpolation::QUINTIC_BSPLINE}};
    for (const auto& [name, interpolation] : kindsOfPlaces) {
        registerOurs<AffineTransform2d>(std::string("turned/") + name, sample, plane, threads,
                                        [=](AffineTransform2d& transform) {
                                            transform.setAngle(10);
                                            transform.setInterpolation(interpolation);
                                        });
        registerOurs<AffineTransform3d>(std::string("volume_turned/") + name, sample, volume, threads,
                                        [=](AffineTransform3d& transform) {
                                            transform.setAngleX(10);
                                            transform.setAngleZ(10);
                                            transform.setInterpolation(interpolation);
                                        });
    }
    registerOurs<WarpByDisplacement2d>("warped/linear", sample, plane, threads, [](WarpByDisplacement2d& warp) {
        warp.setInputDisplacementImage(&smoothField());
    });
    registerOurs<PolarTransform2d>("polar/linear", sample, plane, threads, [](PolarTransform2d& polar) {
        polar.setRadius(static_cast<double>(side) / 2);
        polar.setSizeX(side);
        polar.setSizeY(side);
    });
#ifdef RIX_HAVE_OPENCV
    registerOpenCv("warped/linear", sample, threads, [](const cv::Mat& in, cv::Mat& out) {
        // OpenCV takes places: they are made of the field once.
        static const std::array<cv::Mat, 2> places = [] {
            std::array<cv::Mat, 2> maps;
            for (std::size_t axis = 0; axis < 2; ++axis) {
                maps[axis].create(static_cast<int>(side), static_cast<int>(side), CV_32F);
                const auto* const field = reinterpret_cast<const float*>(smoothField().getInternalBuffer());
                for (std::size_t i = 0; i < side * side; ++i) {
                    reinterpret_cast<float*>(maps[axis].data)[i] =
                        field[axis * side * side + i] + static_cast<float>(axis == 0 ? i % side : i / side);
                }
            }
            return maps;
        }();
        cv::remap(in, out, places[0], places[1], cv::INTER_LINEAR);
    });
    registerOpenCv("polar/linear", sample, threads, [](const cv::Mat& in, cv::Mat& out) {
        const cv::Point2f center(static_cast<float>(in.cols - 1) / 2, static_cast<float>(in.rows - 1) / 2);
        cv::warpPolar(in, out, in.size(), center, static_cast<double>(side) / 2, cv::INTER_LINEAR);
    });
    registerOpenCv("turned/nearest", sample, threads, turnBy(10, cv::INTER_NEAREST));
    registerOpenCv("turned/linear", sample, threads, turnBy(10, cv::INTER_LINEAR));
    registerOpenCv("turned/cubic", sample, threads, turnBy(10, cv::INTER_CUBIC));
    registerOpenCv("by_1.5/nearest", sample, threads, resizeBy(1.5, cv::INTER_NEAREST));
    registerOpenCv("by_1.5/linear", sample, threads, resizeBy(1.5, cv::INTER_LINEAR));
    registerOpenCv("by_1.5/cubic", sample, threads, resizeBy(1.5, cv::INTER_CUBIC));
    registerOpenCv("by_1.5/lanczos", sample, threads, resizeBy(1.5, cv::INTER_LANCZOS4));
    registerOpenCv("halved/area", sample, threads, resizeBy(0.5, cv::INTER_AREA));
    registerOpenCv("by_0.3/area", sample, threads, resizeBy(0.3, cv::INTER_AREA));
#endif
}

void registerAll() {
#ifdef RIX_HAVE_ITK
    registerAgreement();
#else
    benchmark::RegisterBenchmark("agreement/itk",
                                 [](benchmark::State& state) { state.SkipWithError("skipped: built without ITK"); });
#endif
    for (const int threads : {1, 2}) {
        for (const Sample& sample : samples) {
            registerSample(sample, threads);
        }
#ifdef RIX_HAVE_ITK
        registerItkResampling(threads);
#endif
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    const int result = rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
#ifdef RIX_HAVE_ITK
    if (rix::bench::foundDisagreement()) {
        return EXIT_FAILURE;
    }
#endif
    return result;
}
