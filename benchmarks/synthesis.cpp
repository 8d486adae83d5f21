// Images of noise with 1 and 2 threads, beside OpenCV's generator for the same distribution, and the roof of writing
// the same bytes. 4096 x 4096.

#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#endif

#include <rix/settings/Settings.h>
#include <rix/synthesis/NoiseImage.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

using synthesis::NoiseImage;

constexpr std::size_t side = 4096;

void setValues(benchmark::State& state) {
    state.counters["values/s"] =
        benchmark::Counter(static_cast<double>(side * side), benchmark::Counter::kIsIterationInvariantRate);
}

void registerOurs(const char* what, NoiseImage::Distribution distribution, NoiseImage::OutputType type, double mean,
                  int threads) {
    const std::string name = std::string("rix/") + what + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage image;
                                     NoiseImage generator;
                                     generator.settings().setMaximumNumberOfThreads(threads);
                                     generator.setSizeX(side);
                                     generator.setSizeY(side);
                                     generator.setDistribution(distribution);
                                     generator.setMean(mean);
                                     generator.setStandardDeviation(20);
                                     generator.setOutputType(type);
                                     generator.setOutputImage(&image);
                                     for (auto _ : state) {
                                         generator.run();
                                     }
                                     setValues(state);
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const char* what, int distribution, int depth, int threads) {
    const std::string name = std::string("opencv/") + what + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     cv::Mat image(static_cast<int>(side), static_cast<int>(side), depth);
                                     cv::setNumThreads(threads);
                                     cv::RNG random(1);
                                     for (auto _ : state) {
                                         random.fill(image, distribution, 100, 20);
                                     }
                                     setValues(state);
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#endif

void registerAll() {
    for (const int threads : {1, 2}) {
        registerOurs("gaussian/f32", NoiseImage::GAUSSIAN, NoiseImage::FLOAT_32_BIT, 100, threads);
        registerOurs("gaussian/u8", NoiseImage::GAUSSIAN, NoiseImage::UNSIGNED_INTEGER_8_BIT, 100, threads);
        registerOurs("uniform/f32", NoiseImage::UNIFORM, NoiseImage::FLOAT_32_BIT, 100, threads);
        registerOurs("poisson of 4/u16", NoiseImage::POISSON, NoiseImage::UNSIGNED_INTEGER_16_BIT, 4, threads);
        registerOurs("poisson of 1000/u16", NoiseImage::POISSON, NoiseImage::UNSIGNED_INTEGER_16_BIT, 1000, threads);
        registerOurs("salt and pepper/u8", NoiseImage::SALT_AND_PEPPER, NoiseImage::UNSIGNED_INTEGER_8_BIT, 100,
                     threads);
#ifdef RIX_HAVE_OPENCV
        registerOpenCv("gaussian/f32", cv::RNG::NORMAL, CV_32F, threads);
        registerOpenCv("gaussian/u8", cv::RNG::NORMAL, CV_8U, threads);
        registerOpenCv("uniform/f32", cv::RNG::UNIFORM, CV_32F, threads);
#endif
        registerRoof("write f32", 0, side * side * 4, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
