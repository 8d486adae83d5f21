// The Gaussian filters at 1 and 2 threads, beside OpenCV's GaussianBlur with a kernel of 5 deviations a side and ITK's
// recursive filter, which approximates. Cost is to be the same for all wide Gaussians.

#include <array>
#include <cmath>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>
#include <rix/settings/Settings.h>

#ifdef RIX_HAVE_ITK
#include "ItkGaussian.h"
#endif
#include "Yardstick.h"

namespace rix::bench {
namespace {

using filtering::smoothing::GaussianFilter2d;
using filtering::smoothing::GaussianFilter3d;

struct Case {
    const char* type;
    VoxelTypes voxelType;
    std::array<std::size_t, 3> extents;
    double deviation;

    std::size_t voxels() const { return extents[0] * extents[1] * extents[2]; }
    bool isPlane() const { return extents[2] == 1; }
    std::string name(const char* whose, int threads) const {
        return std::string(whose) + (isPlane() ? "/plane/" : "/volume/") + type + "/s" +
               std::to_string(static_cast<int>(deviation)) + "/threads:" + std::to_string(threads);
    }
};

io::MemoryImage inputOf(const Case& c) {
    const io::MemoryImage random = randomImage(c.voxelType, c.extents[0], c.extents[1] * c.extents[2]);
    io::MemoryImage image;
    if (!image.reserve(c.voxelType, c.extents[0], c.extents[1], c.extents[2], 1, 1)) {
        throw std::bad_alloc();
    }
    std::copy_n(random.getInternalBuffer(), c.voxels() * helper::getSizeOf(c.voxelType), image.getInternalBuffer());
    return image;
}

void countVoxels(benchmark::State& state, const Case& c) {
    state.counters["ns/voxel"] =
        benchmark::Counter(static_cast<double>(c.voxels()) * 1e-9,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class Algorithm>
void runOurs(benchmark::State& state, const Case& c, int threads) {
    const io::MemoryImage input = inputOf(c);
    io::MemoryImage output;
    Algorithm algorithm;
    algorithm.settings().setMaximumNumberOfThreads(threads);
    algorithm.setInputImage(&input);
    algorithm.setStandardDeviationX(c.deviation);
    algorithm.setStandardDeviationY(c.deviation);
    if constexpr (requires { algorithm.setStandardDeviationZ(1); }) {
        algorithm.setStandardDeviationZ(c.deviation);
    }
    algorithm.setOutputImage(&output);
    algorithm.run();
    for (auto _ : state) {
        algorithm.run();
    }
    countVoxels(state, c);
}

template <class Run>
void enter(const Case& c, const char* whose, int threads, const Run& run) {
    benchmark::RegisterBenchmark(c.name(whose, threads).c_str(), run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void runOpenCv(benchmark::State& state, const Case& c, int threads) {
    io::MemoryImage input = inputOf(c);
    const int depth = c.voxelType == RIX_UINT8 ? CV_8U : c.voxelType == RIX_UINT16 ? CV_16U : CV_32F;
    const cv::Mat source(static_cast<int>(c.extents[1]), static_cast<int>(c.extents[0]), depth,
                         input.getInternalBuffer());
    cv::Mat target;
    cv::setNumThreads(threads);
    const int size = 2 * static_cast<int>(std::ceil(5 * c.deviation)) + 1;
    for (auto _ : state) {
        cv::GaussianBlur(source, target, cv::Size(size, size), c.deviation, c.deviation, cv::BORDER_REFLECT);
    }
    countVoxels(state, c);
}
#endif

void registerAll() {
    static constexpr std::array<std::size_t, 3> plane{4096, 4096, 1};
    static constexpr std::array<std::size_t, 3> volume{256, 256, 256};
    static constexpr Case cases[] = {
        {"f32", RIX_FLOAT32, plane, 1},   {"f32", RIX_FLOAT32, plane, 3},  {"f32", RIX_FLOAT32, plane, 5},
        {"f32", RIX_FLOAT32, plane, 10},  {"f32", RIX_FLOAT32, plane, 30}, {"u8", RIX_UINT8, plane, 1},
        {"u8", RIX_UINT8, plane, 3},      {"u8", RIX_UINT8, plane, 10},    {"u8", RIX_UINT8, plane, 30},
        {"u16", RIX_UINT16, plane, 3},    {"f32", RIX_FLOAT32, volume, 1}, {"f32", RIX_FLOAT32, volume, 3},
        {"f32", RIX_FLOAT32, volume, 10}, {"u8", RIX_UINT8, volume, 3},
    };
    for (const int threads : {1, 2}) {
        registerRoof(("copy/threads:" + std::to_string(threads)).c_str(), std::size_t{64} << 20, std::size_t{64} << 20,
                     threads);
    }
    for (const Case& c : cases) {
        for (const int threads : {1, 2}) {
            enter(c, "rix", threads, [=](benchmark::State& state) {
                if (c.isPlane()) {
                    runOurs<GaussianFilter2d>(state, c, threads);
                } else {
                    runOurs<GaussianFilter3d>(state, c, threads);
                }
            });
#ifdef RIX_HAVE_OPENCV
            if (c.isPlane()) {
                enter(c, "opencv", threads, [=](benchmark::State& state) { runOpenCv(state, c, threads); });
            }
#endif
#ifdef RIX_HAVE_ITK
            if (c.voxelType == RIX_FLOAT32) {
                enter(c, "itk", threads, [=](benchmark::State& state) {
                    io::MemoryImage input = inputOf(c);
                    const auto run = itkGaussian(reinterpret_cast<const float*>(input.getInternalBuffer()), c.extents,
                                                 c.deviation, threads);
                    for (auto _ : state) {
                        run();
                    }
                    countVoxels(state, c);
                });
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
