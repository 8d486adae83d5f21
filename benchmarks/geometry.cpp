// What moves voxels without interpolation, and projections, 1 and 2 threads, beside OpenCV where it has it, and the
// roof of copying the image. benchmarks/python_peers.py measures some of it beside NumPy.

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

#include <rix/geometry/ConcatenateImages.h>
#include <rix/geometry/Crop.h>
#include <rix/geometry/Flip.h>
#include <rix/geometry/MergeChannels.h>
#include <rix/geometry/Pad.h>
#include <rix/geometry/PermuteAxes.h>
#include <rix/geometry/Projection.h>
#include <rix/geometry/Rotate90.h>
#include <rix/geometry/Shift.h>
#include <rix/image/StridedImage.h>
#include <rix/settings/Settings.h>

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
constexpr Sample samples[] = {{RIX_UINT8, "u8"}, {RIX_UINT16, "u16"}, {RIX_FLOAT32, "f32"}, {RIX_FLOAT64, "f64"}};

std::string rowName(const char* library, const char* operation, const Sample& sample, int threads) {
    return std::string(library) + '/' + operation + '/' + sample.name + "/threads:" + std::to_string(threads);
}

/// @param set gives the operation its input images and parameters
template <class Operation, class Set>
void registerOurs(const char* name, const Sample& sample, const std::array<std::size_t, 5>& extents, int threads,
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
                                     set(operation, image);
                                     operation.setOutputImage(&output);
                                     operation.run();
                                     for (auto _ : state) {
                                         operation.run();
                                     }
                                     const auto bytesOf = [](const ImageModel& of) {
                                         std::size_t count = 0;
                                         static_cast<void>(helper::getElementCount(of, count));
                                         return count * helper::getElementSize(of);
                                     };
                                     setBytes(state, std::max(bytesOf(image), bytesOf(output)) + bytesOf(output));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
/// @param compute makes an image of OpenCV of another
template <class Compute>
void registerOpenCv(const char* name, const Sample& sample, int threads, const Compute& compute) {
    benchmark::RegisterBenchmark(rowName("opencv", name, sample, threads).c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage image = randomImage(sample.type, side, side);
                                     const int depth = sample.type == RIX_UINT8     ? CV_8U
                                                       : sample.type == RIX_UINT16  ? CV_16U
                                                       : sample.type == RIX_FLOAT32 ? CV_32F
                                                                                    : CV_64F;
                                     const cv::Mat source(static_cast<int>(side), static_cast<int>(side), depth,
                                                          image.getInternalBuffer());
                                     cv::Mat output;
                                     cv::setNumThreads(threads);
                                     compute(source, output);
                                     for (auto _ : state) {
                                         compute(source, output);
                                     }
                                     setBytes(state, 2 * output.total() * output.elemSize());
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#endif

void registerSample(const Sample& sample, int threads) {
    const auto input = [](auto& operation, const ImageModel& image) { operation.setInputImage(&image); };
    registerOurs<PermuteAxes>("transpose", sample, plane, threads, input);
    registerOurs<Flip>("flip_x", sample, plane, threads, input);
    registerOurs<Flip>("flip_y", sample, plane, threads, [=](Flip& flip, const ImageModel& image) {
        input(flip, image);
        flip.setAxis(Flip::ROWS);
    });
    registerOurs<Rotate90>("rotate_90", sample, plane, threads, input);
    registerOurs<Crop>("crop", sample, plane, threads, [=](Crop& crop, const ImageModel& image) {
        input(crop, image);
        crop.setFirstColumn(100);
        crop.setFirstRow(100);
    });
    registerOurs<Pad>("pad_mirror", sample, plane, threads, [=](Pad& pad, const ImageModel& image) {
        input(pad, image);
        pad.setBorderPolicy(Pad::MIRROR);
        for (const auto set :
             {&Pad::setBeforeColumns, &Pad::setAfterColumns, &Pad::setBeforeRows, &Pad::setAfterRows}) {
            (pad.*set)(64);
        }
    });
    registerOurs<Shift>("shift", sample, plane, threads, [=](Shift& shift, const ImageModel& image) {
        input(shift, image);
        shift.setOffsetX(1000);
        shift.setOffsetY(-700);
    });
    for (const auto& [axis, name] :
         {std::pair{Projection::COLUMNS, "project_max_x"}, {Projection::ROWS, "project_max_y"}}) {
        registerOurs<Projection>(name, sample, plane, threads,
                                 [=, axis = axis](Projection& projection, const ImageModel& image) {
                                     input(projection, image);
                                     projection.setAxis(axis);
                                 });
    }
    for (const auto& [statistic, name] : {std::pair{Projection::MAXIMUM, "project_max_z"},
                                          {Projection::STANDARD_DEVIATION, "project_deviation_z"},
                                          {Projection::MEDIAN, "project_median_z"}}) {
        registerOurs<Projection>(name, sample, volume, threads,
                                 [=, statistic = statistic](Projection& projection, const ImageModel& image) {
                                     input(projection, image);
                                     projection.setStatistic(statistic);
                                 });
    }
    for (const char* const order : {"yxztc", "zxytc", "zyxtc", "xzytc"}) {
        registerOurs<PermuteAxes>((std::string("volume_") + order).c_str(), sample, volume, threads,
                                  [=](PermuteAxes& permutation, const ImageModel& image) {
                                      input(permutation, image);
                                      permutation.setOrder(order);
                                  });
    }
    registerOurs<PermuteAxes>("channels_apart", sample, {4, 2048, 2048, 1, 1}, threads,
                              [=](PermuteAxes& permutation, const ImageModel& image) {
                                  input(permutation, image);
                                  permutation.setOrder("yzctx");
                              });
    registerOurs<PermuteAxes>("channels_together", sample, {2048, 2048, 1, 1, 4}, threads,
                              [=](PermuteAxes& permutation, const ImageModel& image) {
                                  input(permutation, image);
                                  permutation.setOrder("cxytz");
                              });
    registerOurs<MergeChannels>("merge", sample, {2048, 2048, 1, 1, 1}, threads,
                                [](MergeChannels& merge, const ImageModel& image) {
                                    merge.setInputImage1(&image);
                                    merge.setInputImage2(&image);
                                    merge.setInputImage3(&image);
                                    merge.setInputImage4(&image);
                                });
    registerOurs<ConcatenateImages>("concatenate", sample, {2048, 2048, 1, 1, 1}, threads,
                                    [](ConcatenateImages& concatenation, const ImageModel& image) {
                                        concatenation.setInputImage1(&image);
                                        concatenation.setInputImage2(&image);
                                        concatenation.setInputImage3(&image);
                                        concatenation.setInputImage4(&image);
                                    });
#ifdef RIX_HAVE_OPENCV
    registerOpenCv("transpose", sample, threads, [](const cv::Mat& in, cv::Mat& out) { cv::transpose(in, out); });
    registerOpenCv("flip_x", sample, threads, [](const cv::Mat& in, cv::Mat& out) { cv::flip(in, out, 1); });
    registerOpenCv("flip_y", sample, threads, [](const cv::Mat& in, cv::Mat& out) { cv::flip(in, out, 0); });
    registerOpenCv("rotate_90", sample, threads,
                   [](const cv::Mat& in, cv::Mat& out) { cv::rotate(in, out, cv::ROTATE_90_CLOCKWISE); });
    registerOpenCv("project_max_x", sample, threads,
                   [](const cv::Mat& in, cv::Mat& out) { cv::reduce(in, out, 1, cv::REDUCE_MAX); });
    registerOpenCv("project_max_y", sample, threads,
                   [](const cv::Mat& in, cv::Mat& out) { cv::reduce(in, out, 0, cv::REDUCE_MAX); });
    registerOpenCv("pad_mirror", sample, threads, [](const cv::Mat& in, cv::Mat& out) {
        cv::copyMakeBorder(in, out, 64, 64, 64, 64, cv::BORDER_REFLECT);
    });
#endif
    const std::size_t bytes = side * side * helper::getSizeOf(sample.type);
    registerRoof((std::string("transpose/") + sample.name).c_str(), bytes, bytes, threads);
}

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const Sample& sample : samples) {
            registerSample(sample, threads);
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
