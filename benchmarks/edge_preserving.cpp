// Filters that keep edges against the extent of what they look at, 1 and 2 threads: the bilateral filter over a disc
// beside OpenCV's over the same one, the guided filter beside our box mean, of which it may take eight, non-local means
// and diffusion for themselves.

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

/// @param what a name and what grows behind a slash
std::string nameOf(const char* library, const char* what, VoxelTypes type, int threads) {
    const std::string all = what;
    const std::size_t last = all.rfind('/');
    return std::string(library) + '/' + all.substr(0, last) + (type == RIX_UINT8 ? "/u8" : "/f32") + all.substr(last) +
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
void registerOpenCv(const char* what, int extent, VoxelTypes type, int threads) {
    benchmark::RegisterBenchmark(nameOf("opencv", what, type, threads).c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage image = randomImage(type, side, side);
                                     const cv::Mat source(static_cast<int>(side), static_cast<int>(side),
                                                          type == RIX_UINT8 ? CV_8U : CV_32F,
                                                          image.getInternalBuffer());
                                     cv::Mat output;
                                     cv::setNumThreads(threads);
                                     for (auto _ : state) {
                                         cv::bilateralFilter(source, output, extent, 30, 3, cv::BORDER_REFLECT);
                                     }
                                     countVoxels(state);
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#else
void registerOpenCv(const char*, int, VoxelTypes, int) {}
#endif

void registerBilateral(int radius, VoxelTypes type, int threads) {
    const std::string what = "bilateral/" + std::to_string(2 * radius + 1);
    registerOurs<BilateralFilter2d>(what.c_str(), type, threads, [radius](auto& filter) {
        filter.setKernelRadius(radius);
        filter.setSpatialStandardDeviation(3);
        filter.setIntensityStandardDeviation(30);
    });
    registerOpenCv(what.c_str(), 2 * radius + 1, type, threads);
}

/// @param name of what grows: patches or the square that is searched
void registerNonLocalMeans(const char* name, int patch, int search, VoxelTypes type, int threads) {
    const int radius = std::string(name) == "patch" ? patch : search;
    const std::string what = std::string("nlm_") + name + '/' + std::to_string(2 * radius + 1);
    registerOurs<NonLocalMeansFilter2d>(what.c_str(), type, threads, [=](auto& filter) {
        filter.setPatchRadius(patch);
        filter.setSearchRadius(search);
    });
}

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
            for (const int radius : {1, 2, 4, 8, 16}) {
                registerBilateral(radius, type, threads);
            }
            for (const int radius : {1, 2, 4, 8, 16, 32, 64}) {
                registerOurs<GuidedFilter2d>(("guided/" + std::to_string(2 * radius + 1)).c_str(), type, threads,
                                             [radius](auto& filter) { filter.setKernelRadius(radius); });
            }
            for (const int size : {5, 33, 129}) {
                registerOurs<BoxFilter2d>(("box/" + std::to_string(size)).c_str(), type, threads, [size](auto& filter) {
                    filter.setKernelSizeX(size);
                    filter.setKernelSizeY(size);
                    filter.setAutoScale(BoxFilter2d::YES);
                });
            }
            for (const int patch : {1, 3, 10, 20}) {
                registerNonLocalMeans("patch", patch, 5, type, threads);
            }
            for (const int search : {2, 5, 10, 20}) {
                registerNonLocalMeans("search", 1, search, type, threads);
            }
            registerOurs<AnisotropicDiffusion2d>("diffusion/10", type, threads, [](auto&) {});
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
