// Convolution through the Fourier transform with kernels of growing extents, 1 and 2 threads, beside OpenCV's filter2D,
// which takes the same way from 11 x 11 on, and the roof of copying the image.

#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/filtering/frequency/FourierConvolution2d.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;

std::string nameOf(const char* library, std::size_t extent, int threads) {
    return std::string(library) + "/convolution/f32/" + std::to_string(extent) + "/threads:" + std::to_string(threads);
}

void registerOurs(std::size_t extent, int threads) {
    benchmark::RegisterBenchmark(nameOf("rix", extent, threads).c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage image = randomImage(RIX_FLOAT32, side, side);
                                     const io::MemoryImage kernel = randomImage(RIX_FLOAT32, extent, extent);
                                     io::MemoryImage output;
                                     filtering::frequency::FourierConvolution2d algorithm;
                                     algorithm.settings().setMaximumNumberOfThreads(threads);
                                     algorithm.setInputImage(&image);
                                     algorithm.setInputKernelImage(&kernel);
                                     algorithm.setOutputImage(&output);
                                     algorithm.run();
                                     for (auto _ : state) {
                                         algorithm.run();
                                     }
                                     setBytes(state, 2 * side * side * sizeof(float));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(std::size_t extent, int threads) {
    benchmark::RegisterBenchmark(
        nameOf("opencv", extent, threads).c_str(),
        [=](benchmark::State& state) {
            io::MemoryImage image = randomImage(RIX_FLOAT32, side, side);
            io::MemoryImage weights = randomImage(RIX_FLOAT32, extent, extent);
            const cv::Mat source(static_cast<int>(side), static_cast<int>(side), CV_32F, image.getInternalBuffer());
            const cv::Mat kernel(static_cast<int>(extent), static_cast<int>(extent), CV_32F,
                                 weights.getInternalBuffer());
            cv::Mat output;
            cv::setNumThreads(threads);
            for (auto _ : state) {
                cv::filter2D(source, output, CV_32F, kernel, cv::Point(-1, -1), 0, cv::BORDER_REFLECT);
            }
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#else
void registerOpenCv(std::size_t, int) {}
#endif

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const std::size_t extent : {7U, 15U, 51U, 151U, 501U}) {
            registerOurs(extent, threads);
            registerOpenCv(extent, threads);
        }
        registerRoof("copy", side * side * sizeof(float), side * side * sizeof(float), threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
