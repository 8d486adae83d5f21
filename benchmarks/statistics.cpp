// Statistics of images with 1 and 2 threads: mean and deviation alone beside OpenCV's, everything with and without
// quantiles, and the roof of reading the same bytes.

#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

#include <rix/analysis/ImageStatistics.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;

struct Wanted {
    const char* name;
    const char* measures;
    const char* quantiles;
};
constexpr Wanted all[] = {{"mean", "Mean, StandardDeviation", ""},
                          {"moments", "All", ""},
                          {"quantiles", "All", "0.05, 0.25, 0.5, 0.75, 0.95"},
                          {"quantiles alone", "Count", "0.05, 0.25, 0.5, 0.75, 0.95"}};

void registerOurs(const char* type, VoxelTypes voxelType, const Wanted& wanted, int threads) {
    const std::string name = std::string("rix/") + type + '/' + wanted.name + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage image = randomImage(voxelType, side, side);
                                     analysis::ImageStatistics algorithm;
                                     algorithm.settings().setMaximumNumberOfThreads(threads);
                                     algorithm.setInputImage(&image);
                                     algorithm.setMeasures(wanted.measures);
                                     algorithm.setQuantiles(wanted.quantiles);
                                     for (auto _ : state) {
                                         algorithm.run();
                                     }
                                     setBytes(state, side * side * helper::getSizeOf(voxelType));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const char* type, VoxelTypes voxelType, int depth, int threads) {
    const std::string name = std::string("opencv/") + type + "/mean/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage image = randomImage(voxelType, side, side);
                                     const cv::Mat source(static_cast<int>(side), static_cast<int>(side), depth,
                                                          image.getInternalBuffer());
                                     cv::Scalar mean;
                                     cv::Scalar deviation;
                                     cv::setNumThreads(threads);
                                     for (auto _ : state) {
                                         cv::meanStdDev(source, mean, deviation);
                                         benchmark::DoNotOptimize(mean[0] + deviation[0]);
                                     }
                                     setBytes(state, side * side * helper::getSizeOf(voxelType));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}
#else
void registerOpenCv(const char*, VoxelTypes, int, int) {}
constexpr int CV_8U = 0;
constexpr int CV_16U = 2;
constexpr int CV_32F = 5;
#endif

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const Wanted& wanted : all) {
            registerOurs("u8", RIX_UINT8, wanted, threads);
            registerOurs("u16", RIX_UINT16, wanted, threads);
            registerOurs("f32", RIX_FLOAT32, wanted, threads);
        }
        registerOpenCv("u8", RIX_UINT8, CV_8U, threads);
        registerOpenCv("u16", RIX_UINT16, CV_16U, threads);
        registerOpenCv("f32", RIX_FLOAT32, CV_32F, threads);
        registerRoof("read u8", side * side, 0, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
