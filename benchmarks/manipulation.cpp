// Grey levels with 1 and 2 threads: formulas, equalisation and ranges, beside OpenCV and the roof of moving the same
// bytes.

#include <functional>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/manipulation/ContrastLimitedEqualization2d.h>
#include <rix/manipulation/GammaCorrection.h>
#include <rix/manipulation/HistogramEqualization.h>
#include <rix/manipulation/ImageFormula.h>
#include <rix/manipulation/IntensityRescale.h>
#include <rix/manipulation/UnaryFunction.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;
constexpr std::size_t voxels = side * side;

using Body = std::function<void(benchmark::State&, int threads)>;

void registerBoth(const std::string& name, const Body& body) {
    for (const int threads : {1, 2}) {
        benchmark::RegisterBenchmark((name + "/threads:" + std::to_string(threads)).c_str(),
                                     [=](benchmark::State& state) { body(state, threads); })
            ->UseRealTime()
            ->Unit(benchmark::kMicrosecond);
    }
}

/// @param prepare gives the algorithm properties beside its images
template <class Algorithm>
void registerOurs(const std::string& name, VoxelTypes type, const std::function<void(Algorithm&)>& prepare) {
    registerBoth("rix/" + name, [=](benchmark::State& state, int threads) {
        const io::MemoryImage image = randomImage(type, side, side);
        const io::MemoryImage second = randomImage(type, side, side);
        io::MemoryImage output;
        Algorithm algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        if constexpr (std::is_same_v<Algorithm, manipulation::ImageFormula>) {
            algorithm.setInputImage1(&image);
            algorithm.setInputImage2(&second);
        } else {
            algorithm.setInputImage(&image);
        }
        algorithm.setOutputImage(&output);
        prepare(algorithm);
        for (auto _ : state) {
            algorithm.run();
        }
    });
}

#ifdef RIX_HAVE_OPENCV
using CvWork = std::function<void(const cv::Mat& first, const cv::Mat& second, cv::Mat& out)>;

void registerOpenCv(const std::string& name, VoxelTypes type, int depth, const CvWork& work) {
    registerBoth("opencv/" + name, [=](benchmark::State& state, int threads) {
        io::MemoryImage image = randomImage(type, side, side);
        io::MemoryImage other = randomImage(type, side, side);
        const int extent = static_cast<int>(side);
        const cv::Mat first(extent, extent, depth, image.getInternalBuffer());
        const cv::Mat second(extent, extent, depth, other.getInternalBuffer());
        cv::Mat out;
        cv::setNumThreads(threads);
        for (auto _ : state) {
            work(first, second, out);
            benchmark::DoNotOptimize(out.data);
        }
    });
}

void registerPeers() {
    registerOpenCv("formula (a-b)/(a+b) f32", RIX_FLOAT32, CV_32F,
                   [](const cv::Mat& a, const cv::Mat& b, cv::Mat& out) {
                       cv::Mat sum;
                       cv::subtract(a, b, out);
                       cv::add(a, b, sum);
                       cv::divide(out, sum, out);
                   });
    registerOpenCv("equalize u8", RIX_UINT8, CV_8U,
                   [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) { cv::equalizeHist(a, out); });
    registerOpenCv("tiles u8", RIX_UINT8, CV_8U, [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) {
        cv::createCLAHE(2.56, cv::Size(64, 64))->apply(a, out);
    });
    registerOpenCv("rescale f32 to u8", RIX_FLOAT32, CV_32F, [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) {
        cv::normalize(a, out, 0, 255, cv::NORM_MINMAX, CV_8U);
    });
    registerOpenCv("exp f32", RIX_FLOAT32, CV_32F,
                   [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) { cv::exp(a, out); });
    registerOpenCv("log f32", RIX_FLOAT32, CV_32F,
                   [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) { cv::log(a, out); });
    registerOpenCv("power f32", RIX_FLOAT32, CV_32F,
                   [](const cv::Mat& a, const cv::Mat&, cv::Mat& out) { cv::pow(a, 0.45, out); });
}
#else
void registerPeers() {}
#endif

void registerAll() {
    using namespace manipulation;
    registerOurs<ImageFormula>("formula (a-b)/(a+b) f32", RIX_FLOAT32,
                               [](ImageFormula& formula) { formula.setFormula("(a - b) / (a + b)"); });
    registerOurs<ImageFormula>("formula (a-b)/(a+b) u8", RIX_UINT8,
                               [](ImageFormula& formula) { formula.setFormula("(a - b) / (a + b)"); });
    registerOurs<HistogramEqualization>("equalize u8", RIX_UINT8, [](HistogramEqualization&) {});
    registerOurs<HistogramEqualization>("equalize u16", RIX_UINT16, [](HistogramEqualization&) {});
    registerOurs<ContrastLimitedEqualization2d>("tiles u8", RIX_UINT8, [](ContrastLimitedEqualization2d&) {});
    registerOurs<IntensityRescale>("rescale f32 to u8", RIX_FLOAT32, [](IntensityRescale&) {});
    const auto function = [](UnaryFunction::Function value) {
        return [=](UnaryFunction& unary) { unary.setFunction(value); };
    };
    registerOurs<UnaryFunction>("exp f32", RIX_FLOAT32, function(UnaryFunction::EXPONENTIAL));
    registerOurs<UnaryFunction>("log f32", RIX_FLOAT32, function(UnaryFunction::LOGARITHM));
    registerOurs<UnaryFunction>("sin f32", RIX_FLOAT32, function(UnaryFunction::SINE));
    registerOurs<GammaCorrection>("power f32", RIX_FLOAT32, [](GammaCorrection& gamma) { gamma.setGamma(0.45); });
    registerPeers();
    for (const int threads : {1, 2}) {
        registerRoof("copy f32 and f32 to f32", 2 * voxels * sizeof(float), voxels * sizeof(float), threads);
        registerRoof("copy u8 to u8", voxels, voxels, threads);
        registerRoof("copy f32 to f32", voxels * sizeof(float), voxels * sizeof(float), threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
