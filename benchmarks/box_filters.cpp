// Box filters at each level and 1 and 2 threads, beside OpenCV's boxFilter (which rounds its means; ours truncate), and
// volumes beside ITK's BoxMeanImageFilter. The cost of a volume is to be read beside that of a plane of the same width.
// The scaling of a loop that needs nothing but the processor tells whether two threads had two of them to themselves.

#include <array>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/devices/Cpu.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>
#include <rix/settings/Settings.h>

#ifdef RIX_HAVE_ITK
#include "ItkBoxMean.h"
#endif
#include "Yardstick.h"

namespace rix::bench {
namespace {

using filtering::smoothing::BoxFilter2d;
using filtering::smoothing::BoxFilter3d;

enum class Result { Sum, Mean };

struct Case {
    const char* name;
    VoxelTypes type;
    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
    int size;
    Result result;
    int peerDepth;  ///< of OpenCV's result; -1: that of the input
};

template <class Algorithm>
void runOurs(benchmark::State& state, const Case& c, OptimLevelType level, int threads) {
    io::MemoryImage input = randomImage(c.type, c.columns, c.rows * c.planes);
    if (c.planes > 1) {
        io::MemoryImage volume;
        if (!volume.reserve(c.type, c.columns, c.rows, c.planes, 1, 1)) {
            state.SkipWithError("no memory");
            return;
        }
        std::copy_n(input.getInternalBuffer(), c.columns * c.rows * c.planes * helper::getSizeOf(c.type),
                    volume.getInternalBuffer());
        input = volume;
    }
    io::MemoryImage output;
    Algorithm algorithm;
    algorithm.settings().setMaximumNumberOfThreads(threads);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(level);
    algorithm.setInputImage(&input);
    algorithm.setKernelSizeX(c.size);
    algorithm.setKernelSizeY(c.size);
    if constexpr (requires { algorithm.setKernelSizeZ(1); }) {
        algorithm.setKernelSizeZ(c.size);
    }
    algorithm.setAutoScale(c.result == Result::Mean ? Algorithm::YES : Algorithm::NO);
    algorithm.setOutputImage(&output);
    algorithm.run();
    for (auto _ : state) {
        algorithm.run();
    }
    const double voxels = static_cast<double>(c.columns * c.rows * c.planes);
    state.counters["ns/voxel"] =
        benchmark::Counter(voxels * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void registerOurs(const Case& c, OptimLevelType level, int threads) {
    static constexpr const char* levels[] = {"scalar", "sse", "avx"};
    const std::string name = std::string("rix/") + c.name + '/' + levels[level] + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     if (c.planes > 1) {
                                         runOurs<BoxFilter3d>(state, c, level, threads);
                                     } else {
                                         runOurs<BoxFilter2d>(state, c, level, threads);
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const Case& c, int threads) {
    const std::string name = std::string("opencv/") + c.name + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
            static constexpr std::array<int, 10> depths{CV_8U,  CV_16U, -1, -1,     CV_8S,
                                                        CV_16S, CV_32S, -1, CV_32F, CV_64F};
            io::MemoryImage input = randomImage(c.type, c.columns, c.rows);
            const cv::Mat source(static_cast<int>(c.rows), static_cast<int>(c.columns),
                                 depths[static_cast<std::size_t>(c.type)], input.getInternalBuffer());
            cv::Mat target;
            cv::setNumThreads(threads);
            for (auto _ : state) {
                cv::boxFilter(source, target, c.peerDepth, cv::Size(c.size, c.size), cv::Point(-1, -1),
                              c.result == Result::Mean, cv::BORDER_REFLECT);
            }
            state.counters["ns/voxel"] =
                benchmark::Counter(static_cast<double>(c.columns * c.rows) * 1e-9,
                                   benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#endif

#ifdef RIX_HAVE_ITK
void registerItk(const Case& c, int threads) {
    const std::string name = std::string("itk/") + c.name + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage input = randomImage(c.type, c.columns, c.rows * c.planes);
                                     const auto run =
                                         itkBoxMean(reinterpret_cast<const std::uint8_t*>(input.getInternalBuffer()),
                                                    {c.columns, c.rows, c.planes}, c.size, threads);
                                     for (auto _ : state) {
                                         run();
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#endif

/// As much work for each thread, whatever their number.
void registerLoop(int threads) {
    const std::string name = "loop/processor/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     tbb::task_arena arena(threads);
                                     for (auto _ : state) {
                                         arena.execute([threads] {
                                             tbb::parallel_for(0, 8 * threads, [](int) {
                                                 for (std::uint32_t i = 0, x = 1; i < 500000; ++i) {
                                                     benchmark::DoNotOptimize(x = x * 1664525 + 1013904223);
                                                 }
                                             });
                                         });
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void registerAll() {
    for (const int threads : {1, 2}) {
        registerLoop(threads);
    }
    constexpr Result mean = Result::Mean;
    constexpr Result sum = Result::Sum;
    static constexpr Case cases[] = {
        {"mean/u8/3", RIX_UINT8, 4096, 4096, 1, 3, mean, -1},
        {"mean/u8/5", RIX_UINT8, 4096, 4096, 1, 5, mean, -1},
        {"mean/u8/15", RIX_UINT8, 4096, 4096, 1, 15, mean, -1},
        {"mean/u8/51", RIX_UINT8, 4096, 4096, 1, 51, mean, -1},
        {"mean/u8/101", RIX_UINT8, 4096, 4096, 1, 101, mean, -1},
        {"mean/u8/301", RIX_UINT8, 4096, 4096, 1, 301, mean, -1},
        {"mean/u16/15", RIX_UINT16, 4096, 4096, 1, 15, mean, -1},
        {"mean/f32/3", RIX_FLOAT32, 4096, 4096, 1, 3, mean, -1},
        {"mean/f32/15", RIX_FLOAT32, 4096, 4096, 1, 15, mean, -1},
        {"mean/f32/51", RIX_FLOAT32, 4096, 4096, 1, 51, mean, -1},
        {"mean/f32/101", RIX_FLOAT32, 4096, 4096, 1, 101, mean, -1},
        {"mean/f32/301", RIX_FLOAT32, 4096, 4096, 1, 301, mean, -1},
        {"mean/f64/15", RIX_FLOAT64, 4096, 4096, 1, 15, mean, -1},
        {"sum/u8.u16/3", RIX_UINT8, 4096, 4096, 1, 3, sum, 2},
        {"sum/u8.u16/15", RIX_UINT8, 4096, 4096, 1, 15, sum, 2},
        {"sum/u8.i32/51", RIX_UINT8, 4096, 4096, 1, 51, sum, 4},
        {"mean/u8/15/1024", RIX_UINT8, 1024, 1024, 1, 15, mean, -1},
        {"plane256/u8/5", RIX_UINT8, 256, 65536, 1, 5, mean, -1},
        {"plane256/u8/15", RIX_UINT8, 256, 65536, 1, 15, mean, -1},
        {"plane256/f32/5", RIX_FLOAT32, 256, 65536, 1, 5, mean, -1},
        {"plane256/f32/15", RIX_FLOAT32, 256, 65536, 1, 15, mean, -1},
        {"volume256/u8/5", RIX_UINT8, 256, 256, 256, 5, mean, -1},
        {"volume256/u8/15", RIX_UINT8, 256, 256, 256, 15, mean, -1},
        {"volume256/u8/51", RIX_UINT8, 256, 256, 256, 51, mean, -1},
        {"volume256/f32/5", RIX_FLOAT32, 256, 256, 256, 5, mean, -1},
        {"volume256/f32/15", RIX_FLOAT32, 256, 256, 256, 15, mean, -1},
    };
    for (const Case& c : cases) {
        for (const int threads : {1, 2}) {
            for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
                if (devices::Cpu::supports(level)) {
                    registerOurs(c, level, threads);
                }
            }
#ifdef RIX_HAVE_OPENCV
            if (c.planes == 1) {
                registerOpenCv(c, threads);
            }
#endif
#ifdef RIX_HAVE_ITK
            if (c.planes > 1 && c.type == RIX_UINT8) {
                registerItk(c, threads);
            }
#endif
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
