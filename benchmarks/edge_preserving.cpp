// Filters that keep edges, 1 and 2 threads: the bilateral filter over a disc of radius 4 beside OpenCV's over the same
// one, the guided filter beside our box mean, of which it may take eight, non-local means and diffusion for themselves.

#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/filtering/smoothing/AnisotropicDiffusion2d.h>
#include <rix/filtering/smoothing/BilateralFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/GuidedFilter2d.h>
#include <rix/filtering/smoothing/NonLocalMeansFilter2d.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

using namespace filtering::smoothing;

constexpr std::size_t side = 2048;

std::string nameOf(const char* library, const char* what, VoxelTypes type, int threads) {
    return std::string(library) + '/' + what + (type == RIX_UINT8 ? "/u8" : "/f32") +
           "/threads:" + std::to_string(threads);
}

void countVoxels(benchmark::State& state) {
    state.counters["ns/voxel"] =
        benchmark::Counter(static_cast<double>(side * side) * 1e-9,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class Filter, class Set>
void registerOurs(const char* what, VoxelTypes type, int threads, const Set& set) {
    benchmark::RegisterBenchmark(nameOf("rix", what, type, threads).c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage image = randomImage(type, side, side);
                                     io::MemoryImage output;
                                     Filter filter;
                                     filter.settings().setMaximumNumberOfThreads(threads);
                                     filter.setInputImage(&image);
                                     set(filter);
                                     filter.setOutputImage(&output);
                                     filter.run();
                                     for (auto _ : state) {
                                         filter.run();
                                     }
                                     countVoxels(state);
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(VoxelTypes type, int threads) {
    benchmark::RegisterBenchmark(nameOf("opencv", "bilateral9", type, threads).c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage image = randomImage(type, side, side);
                                     const cv::Mat source(static_cast<int>(side), static_cast<int>(side),
                                                          type == RIX_UINT8 ? CV_8U : CV_32F,
                                                          image.getInternalBuffer());
                                     cv::Mat output;
                                     cv::setNumThreads(threads);
                                     for (auto _ : state) {
                                         cv::bilateralFilter(source, output, 9, 30, 3, cv::BORDER_REFLECT);
                                     }
                                     countVoxels(state);
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#else
void registerOpenCv(VoxelTypes, int) {}
#endif

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
            registerOurs<BilateralFilter2d>("bilateral9", type, threads, [](auto& filter) {
                filter.setKernelRadius(4);
                filter.setSpatialStandardDeviation(3);
                filter.setIntensityStandardDeviation(30);
            });
            registerOpenCv(type, threads);
            for (const int radius : {2, 16, 64}) {
                registerOurs<GuidedFilter2d>(("guided" + std::to_string(2 * radius + 1)).c_str(), type, threads,
                                             [radius](auto& filter) { filter.setKernelRadius(radius); });
            }
            registerOurs<BoxFilter2d>("box33", type, threads, [](auto& filter) {
                filter.setKernelSizeX(33);
                filter.setKernelSizeY(33);
                filter.setAutoScale(BoxFilter2d::YES);
            });
            registerOurs<NonLocalMeansFilter2d>("nlm3_11", type, threads, [](auto&) {});
            registerOurs<NonLocalMeansFilter2d>("nlm7_11", type, threads,
                                                [](auto& filter) { filter.setPatchRadius(3); });
            registerOurs<AnisotropicDiffusion2d>("diffusion10", type, threads, [](auto&) {});
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
