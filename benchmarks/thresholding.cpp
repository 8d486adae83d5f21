// Thresholding by a fixed value at each level and 1 and 2 threads, beside OpenCV's compare and the roof of the same
// bytes.

#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

#include <rix/devices/Cpu.h>
#include <rix/segmentation/ThresholdingByCriterion.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

struct Case {
    const char* name;
    VoxelTypes type;
    std::size_t columns;
    std::size_t rows;
};

void registerOurs(const Case& c, OptimLevelType level, int threads) {
    static constexpr const char* levels[] = {"scalar", "sse", "avx"};
    const std::string name = std::string("rix/") + c.name + '/' + levels[level] + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
            const io::MemoryImage input = randomImage(c.type, c.columns, c.rows);
            io::MemoryImage output;
            segmentation::ThresholdingByCriterion algorithm;
            algorithm.settings().setMaximumNumberOfThreads(threads);
            algorithm.setAutoCpuDispatch(false);
            algorithm.setOptimLevel(level);
            algorithm.setInputGrayImage(&input);
            algorithm.setComparisonCriterion(segmentation::ThresholdingByCriterion::GREATER_THAN);
            algorithm.setComparisonValue(100);
            algorithm.setOutputBinaryImage(&output);
            for (auto _ : state) {
                algorithm.run();
            }
            setBytes(state, c.columns * c.rows * (helper::getSizeOf(c.type) + 1));
        })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const Case& c, int threads) {
    const std::string name = std::string("opencv/") + c.name + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     static constexpr int depths[] = {CV_8U,  CV_16U, -1, -1,     CV_8S,
                                                                      CV_16S, CV_32S, -1, CV_32F, CV_64F};
                                     io::MemoryImage input = randomImage(c.type, c.columns, c.rows);
                                     const cv::Mat source(static_cast<int>(c.rows), static_cast<int>(c.columns),
                                                          depths[c.type], input.getInternalBuffer());
                                     cv::Mat target;
                                     cv::setNumThreads(threads);
                                     for (auto _ : state) {
                                         cv::compare(source, 100, target, cv::CMP_GT);
                                     }
                                     setBytes(state, c.columns * c.rows * (helper::getSizeOf(c.type) + 1));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}
#endif

void registerAll() {
    for (const Case& c : {Case{"u8/4096", RIX_UINT8, 4096, 4096}, Case{"u16/4096", RIX_UINT16, 4096, 4096},
                          Case{"i16/4096", RIX_INT16, 4096, 4096}, Case{"i32/4096", RIX_INT32, 4096, 4096},
                          Case{"f32/4096", RIX_FLOAT32, 4096, 4096}, Case{"f64/4096", RIX_FLOAT64, 4096, 4096},
                          Case{"u8/512", RIX_UINT8, 512, 512}, Case{"f32/512", RIX_FLOAT32, 512, 512},
                          Case{"u8/3x5592405", RIX_UINT8, 3, 5592405}}) {
        for (const int threads : {1, 2}) {
            for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
                if (devices::Cpu::supports(level)) {
                    registerOurs(c, level, threads);
                }
            }
#ifdef RIX_HAVE_OPENCV
            registerOpenCv(c, threads);
#endif
            const std::size_t voxels = c.columns * c.rows;
            registerRoof(c.name, voxels * helper::getSizeOf(c.type), voxels, threads);
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
