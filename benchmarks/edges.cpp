// Gradients, Laplacians, edges and second-order measures at 1 and 2 threads, beside what OpenCV has of them;
// benchmarks/python_peers.py measures the others beside SciPy and scikit-image.

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/Children.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;
constexpr std::size_t depth = 256;

/// A run of ours, by the names of its properties.
struct Row {
    const char* name;
    const char* algorithm;
    VoxelTypes type;
    bool isVolume;
    std::map<std::string, double> lengths;
    std::map<std::string, int> choices;
    std::vector<const char*> outputs;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> all{
        {"sobel_x/u8", "GradientOperator2d", RIX_UINT8, false, {}, {{"method", 1}}, {"outputImageX"}},
        {"sobel_x/f32", "GradientOperator2d", RIX_FLOAT32, false, {}, {{"method", 1}}, {"outputImageX"}},
        {"sobel/u8", "GradientOperator2d", RIX_UINT8, false, {}, {{"method", 1}}, {"outputMagnitudeImage"}},
        {"sobel/f32", "GradientOperator2d", RIX_FLOAT32, false, {}, {{"method", 1}}, {"outputMagnitudeImage"}},
        {"gaussian_gradient_s2/plane",
         "GradientOperator2d",
         RIX_FLOAT32,
         false,
         {{"standardDeviation", 2}},
         {{"method", 4}},
         {"outputMagnitudeImage"}},
        {"gaussian_gradient_s2/volume",
         "GradientOperator3d",
         RIX_FLOAT32,
         true,
         {{"standardDeviation", 2}},
         {{"method", 4}},
         {"outputMagnitudeImage"}},
        {"log_s2/plane", "LaplacianOfGaussian2d", RIX_FLOAT32, false, {{"standardDeviation", 2}}, {}, {"outputImage"}},
        {"log_s2/volume", "LaplacianOfGaussian3d", RIX_FLOAT32, true, {{"standardDeviation", 2}}, {}, {"outputImage"}},
        {"canny_s0/u8",
         "CannyEdgeDetector2d",
         RIX_UINT8,
         false,
         {{"standardDeviation", 0}, {"lowerThreshold", 12}, {"upperThreshold", 25}},
         {},
         {"outputBinaryImage"}},
        {"canny_s1.4/u8",
         "CannyEdgeDetector2d",
         RIX_UINT8,
         false,
         {{"standardDeviation", 1.4}, {"lowerThreshold", 4}, {"upperThreshold", 8}},
         {},
         {"outputBinaryImage"}},
        {"structure_tensor", "StructureTensor2d", RIX_FLOAT32, false, {}, {}, {"outputEigenvaluesImage"}},
        {"harris/u8", "CornerDetector2d", RIX_UINT8, false, {}, {}, {"outputResponseImage"}},
        {"hessian/volume", "HessianAnalysis3d", RIX_FLOAT32, true, {}, {}, {"outputEigenvaluesImage"}},
    };
    return all;
}

io::MemoryImage inputOf(VoxelTypes type, bool isVolume) {
    const io::MemoryImage random = randomImage(type, isVolume ? depth : side, isVolume ? depth * depth : side);
    io::MemoryImage image;
    const std::size_t n = isVolume ? depth : side;
    if (!image.reserve(type, n, n, isVolume ? depth : 1, 1, 1)) {
        throw std::bad_alloc();
    }
    std::copy_n(random.getInternalBuffer(), n * n * (isVolume ? depth : 1) * helper::getSizeOf(type),
                image.getInternalBuffer());
    return image;
}

void runOurs(benchmark::State& state, const Row& row, int threads) {
    const io::MemoryImage input = inputOf(row.type, row.isVolume);
    const auto algorithm = AlgoInfo::fromName(row.algorithm).createInstance(nullptr);
    algorithm->settings().setMaximumNumberOfThreads(threads);
    const bool isGray = std::string(row.algorithm).starts_with("Canny");
    algorithms::propertyOf<const ImageModel*>(*algorithm, isGray ? "inputGrayImage" : "inputImage") = &input;
    for (const auto& [name, value] : row.lengths) {
        algorithms::propertyOf<double>(*algorithm, name) = value;
    }
    for (const auto& [name, value] : row.choices) {
        algorithms::propertyOf<int>(*algorithm, name) = value;
    }
    std::vector<io::MemoryImage> outputs(row.outputs.size());
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        algorithms::propertyOf<ImageModel*>(*algorithm, row.outputs[i]) = &outputs[i];
    }
    algorithm->run();
    for (auto _ : state) {
        algorithm->run();
    }
}

#ifdef RIX_HAVE_OPENCV
void runOpenCv(benchmark::State& state, VoxelTypes type, int threads, const std::function<void(const cv::Mat&)>& run) {
    io::MemoryImage input = inputOf(type, false);
    const cv::Mat source(static_cast<int>(side), static_cast<int>(side), type == RIX_UINT8 ? CV_8U : CV_32F,
                         input.getInternalBuffer());
    cv::setNumThreads(threads);
    for (auto _ : state) {
        run(source);
    }
}

void registerPeers(int threads) {
    const auto enter = [&](const char* name, VoxelTypes type, const std::function<void(const cv::Mat&)>& run) {
        const std::string full = std::string("opencv/") + name + "/threads:" + std::to_string(threads);
        benchmark::RegisterBenchmark(full.c_str(),
                                     [=](benchmark::State& state) { runOpenCv(state, type, threads, run); })
            ->UseRealTime()
            ->MeasureProcessCPUTime()
            ->Unit(benchmark::kMillisecond);
    };
    static cv::Mat x;
    static cv::Mat y;
    static cv::Mat result;
    static const auto magnitude = [](const cv::Mat& source) {
        cv::Sobel(source, x, CV_32F, 1, 0);
        cv::Sobel(source, y, CV_32F, 0, 1);
        cv::magnitude(x, y, result);
    };
    enter("sobel_x/u8", RIX_UINT8, [](const cv::Mat& source) { cv::Sobel(source, x, CV_16S, 1, 0); });
    enter("sobel_x/f32", RIX_FLOAT32, [](const cv::Mat& source) { cv::Sobel(source, x, CV_32F, 1, 0); });
    enter("sobel/u8", RIX_UINT8, magnitude);
    enter("sobel/f32", RIX_FLOAT32, magnitude);
    enter("canny_s0/u8", RIX_UINT8, [](const cv::Mat& source) { cv::Canny(source, result, 96, 200, 3, true); });
    enter("canny_s1.4/u8", RIX_UINT8, [](const cv::Mat& source) {
        cv::GaussianBlur(source, x, cv::Size(15, 15), 1.4, 1.4, cv::BORDER_REFLECT);
        cv::Canny(x, result, 32, 64, 3, true);
    });
    enter("harris/u8", RIX_UINT8, [](const cv::Mat& source) { cv::cornerHarris(source, result, 5, 3, 0.05); });
    enter("log_s2/plane", RIX_FLOAT32, [](const cv::Mat& source) {
        cv::GaussianBlur(source, x, cv::Size(21, 21), 2, 2, cv::BORDER_REFLECT);
        cv::Laplacian(x, result, CV_32F, 3);
    });
}
#endif

void registerAll() {
    for (const int threads : {1, 2}) {
        registerRoof(("copy/threads:" + std::to_string(threads)).c_str(), std::size_t{64} << 20, std::size_t{64} << 20,
                     threads);
        for (const Row& row : rows()) {
            const std::string name = std::string("rix/") + row.name + "/threads:" + std::to_string(threads);
            benchmark::RegisterBenchmark(name.c_str(),
                                         [&row, threads](benchmark::State& state) { runOurs(state, row, threads); })
                ->UseRealTime()
                ->MeasureProcessCPUTime()
                ->Unit(benchmark::kMillisecond);
        }
#ifdef RIX_HAVE_OPENCV
        registerPeers(threads);
#endif
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
