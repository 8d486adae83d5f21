// Convolutions with kernels that are no products of lines (3 x 3 to 31 x 31) and with products, beside OpenCV's
// filter2D and sepFilter2D; and local standard deviations, beside two of OpenCV's boxFilter and what makes deviations
// of them.

#include <algorithm>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/filtering/frequency/FourierConvolution2d.h>
#include <rix/filtering/linear/Convolution2d.h>
#include <rix/filtering/linear/Convolution3d.h>
#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/LocalStatistics2d.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

using filtering::linear::Convolution2d;
using filtering::linear::Convolution3d;
using filtering::smoothing::BoxFilter2d;
using filtering::smoothing::LocalStatistics2d;

constexpr std::size_t side = 4096;
constexpr std::size_t edge = 256;

template <class Run>
void add(const std::string& name, int threads, const Run& run) {
    benchmark::RegisterBenchmark((name + "/threads:" + std::to_string(threads)).c_str(), run)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

/// Weights of a row and of a column, or of a kernel that is not their product.
std::vector<double> weights(std::size_t count) {
    std::vector<double> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = 0.25 + static_cast<double>(i * i % 17) / static_cast<double>(count);
    }
    return values;
}

std::vector<double> kernelOf(std::size_t extent, bool isProduct) {
    if (!isProduct) {
        return weights(extent * extent);
    }
    return std::vector<double>(extent * extent, 0.25);
}

std::string nameOf(const char* library, VoxelTypes type, std::size_t extent, bool isProduct) {
    return std::string(library) + (isProduct ? "/product/" : "/convolution/") + (type == RIX_UINT8 ? "u8/" : "f32/") +
           std::to_string(extent);
}

void registerConvolution(VoxelTypes type, std::size_t extent, bool isProduct, int threads) {
    add(nameOf("rix", type, extent, isProduct), threads, [=](benchmark::State& state) {
        const io::MemoryImage image = randomImage(type, side, side);
        io::MemoryImage output;
        Convolution2d algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputImage(&image);
        algorithm.setKernel({extent, extent, kernelOf(extent, isProduct)});
        algorithm.setOutputImage(&output);
        algorithm.run();
        for (auto _ : state) {
            algorithm.run();
        }
    });
#ifdef RIX_HAVE_OPENCV
    add(nameOf("opencv", type, extent, isProduct), threads, [=](benchmark::State& state) {
        io::MemoryImage image = randomImage(type, side, side);
        const int n = static_cast<int>(extent);
        const cv::Mat source(static_cast<int>(side), static_cast<int>(side), type == RIX_UINT8 ? CV_8U : CV_32F,
                             image.getInternalBuffer());
        std::vector<double> values = kernelOf(extent, isProduct);
        const cv::Mat kernel(n, n, CV_64F, values.data());
        const cv::Mat line(n, 1, CV_32F, cv::Scalar(0.5));
        cv::Mat output;
        cv::setNumThreads(threads);
        for (auto _ : state) {
            if (isProduct) {
                cv::sepFilter2D(source, output, CV_32F, line, line, cv::Point(-1, -1), 0, cv::BORDER_REFLECT);
            } else {
                cv::filter2D(source, output, CV_32F, kernel, cv::Point(-1, -1), 0, cv::BORDER_REFLECT);
            }
        }
    });
#endif
}

/// The way that the convolution would take beyond its crossover, for finding that.
void registerTransform(std::size_t extent, int threads) {
    add("rix/transform/f32/" + std::to_string(extent), threads, [=](benchmark::State& state) {
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
    });
}

void registerVolume(std::size_t extent, bool isProduct, int threads) {
    add(std::string("rix/volume/") + (isProduct ? "product/" : "convolution/") + std::to_string(extent), threads,
        [=](benchmark::State& state) {
            io::MemoryImage image;
            if (!image.reserve(RIX_FLOAT32, edge, edge, edge, 1, 1)) {
                state.SkipWithError("no memory");
                return;
            }
            std::fill_n(reinterpret_cast<float*>(image.getInternalBuffer()), edge * edge * edge, 1.0F);
            io::MemoryImage output;
            Convolution3d algorithm;
            algorithm.settings().setMaximumNumberOfThreads(threads);
            algorithm.setInputImage(&image);
            const std::size_t count = extent * extent * extent;
            algorithm.setKernel(
                {extent, extent, extent, isProduct ? std::vector<double>(count, 0.25) : weights(count)});
            algorithm.setOutputImage(&output);
            algorithm.run();
            for (auto _ : state) {
                algorithm.run();
            }
        });
}

void registerDeviation(VoxelTypes type, int size, int threads) {
    const std::string name =
        std::string(type == RIX_UINT8 ? "/deviation/u8/" : "/deviation/f32/") + std::to_string(size);
    add("rix" + name, threads, [=](benchmark::State& state) {
        const io::MemoryImage image = randomImage(type, side, side);
        io::MemoryImage output;
        LocalStatistics2d algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputImage(&image);
        algorithm.setKernelSizeX(size);
        algorithm.setKernelSizeY(size);
        algorithm.setStatistic(LocalStatistics2d::STANDARD_DEVIATION);
        algorithm.setOutputImage(&output);
        algorithm.run();
        for (auto _ : state) {
            algorithm.run();
        }
    });
#ifdef RIX_HAVE_OPENCV
    add("opencv" + name, threads, [=](benchmark::State& state) {
        io::MemoryImage image = randomImage(type, side, side);
        const cv::Mat source(static_cast<int>(side), static_cast<int>(side), type == RIX_UINT8 ? CV_8U : CV_32F,
                             image.getInternalBuffer());
        cv::Mat mean;
        cv::Mat square;
        cv::Mat output;
        cv::setNumThreads(threads);
        for (auto _ : state) {
            const cv::Size window(size, size);
            cv::boxFilter(source, mean, CV_32F, window, cv::Point(-1, -1), true, cv::BORDER_REFLECT);
            cv::sqrBoxFilter(source, square, CV_32F, window, cv::Point(-1, -1), true, cv::BORDER_REFLECT);
            cv::multiply(mean, mean, mean);
            cv::subtract(square, mean, output);
            cv::max(output, 0.0, output);
            cv::sqrt(output, output);
        }
    });
#endif
}

/// What deviations are measured by.
void registerMean(VoxelTypes type, int size, int threads) {
    const std::string name = std::string(type == RIX_UINT8 ? "/box/u8/" : "/box/f32/") + std::to_string(size);
    add("rix" + name, threads, [=](benchmark::State& state) {
        const io::MemoryImage image = randomImage(type, side, side);
        io::MemoryImage output;
        BoxFilter2d algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputImage(&image);
        algorithm.setKernelSizeX(size);
        algorithm.setKernelSizeY(size);
        algorithm.setAutoScale(BoxFilter2d::YES);
        algorithm.setOutputImage(&output);
        algorithm.run();
        for (auto _ : state) {
            algorithm.run();
        }
    });
}

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
            for (const std::size_t extent : {3U, 5U, 9U, 13U, 15U, 31U}) {
                registerConvolution(type, extent, false, threads);
            }
            for (const std::size_t extent : {5U, 15U, 51U}) {
                registerConvolution(type, extent, true, threads);
            }
            for (const int size : {3, 7, 15, 31, 101}) {
                registerDeviation(type, size, threads);
                registerMean(type, size, threads);
            }
        }
        for (const std::size_t extent : {13U, 31U}) {
            registerTransform(extent, threads);
        }
        for (const std::size_t extent : {3U, 7U, 9U}) {
            registerVolume(extent, false, threads);
            registerVolume(extent, true, threads);
        }
        registerRoof("copy", side * side * sizeof(float), side * side * sizeof(float), threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
