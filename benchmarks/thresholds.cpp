// Automatic thresholds with 1 and 2 threads: the search for the threshold beside OpenCV's histogram alone, which does
// less, and the way to the binary image beside OpenCV's threshold by the same criterion. The pictures differ in what
// counting depends on: how often neighbours are equal.

#include <cmath>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/analysis/AutoThresholdingValue.h>
#include <rix/segmentation/AutoThresholdingBright.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;

enum class Texture { Natural, Noise, TwoValues, NearlyConstant };
constexpr const char* textureNames[] = {"natural", "noise", "two values", "nearly constant"};

/// A picture with values from 0 to `range`.
io::MemoryImage makePicture(VoxelTypes type, Texture texture, double range) {
    io::MemoryImage image = randomImage(type, side, side);
    std::mt19937_64 random(5);
    const auto fill = [&](auto* samples) {
        using T = std::remove_pointer_t<decltype(samples)>;
        for (std::size_t y = 0; y < side; ++y) {
            for (std::size_t x = 0; x < side; ++x) {
                const double wave =
                    0.5 + 0.25 * (std::sin(static_cast<double>(x) / 97.0) + std::cos(static_cast<double>(y) / 61.0));
                const double noise = static_cast<double>(random() >> 11) * 0x1p-53;
                const double value = texture == Texture::Natural     ? wave * 0.9 + noise * 0.08
                                     : texture == Texture::Noise     ? noise
                                     : texture == Texture::TwoValues ? (wave > 0.5 ? 0.8 : 0.1)
                                                                     : 0.4 + (noise < 1.0 / 16 ? 1.0 / range : 0.0);
                *samples++ = static_cast<T>(value * range);
            }
        }
    };
    switch (type) {
        case RIX_UINT8: fill(reinterpret_cast<std::uint8_t*>(image.getInternalBuffer())); break;
        case RIX_UINT16: fill(reinterpret_cast<std::uint16_t*>(image.getInternalBuffer())); break;
        case RIX_INT32: fill(reinterpret_cast<std::int32_t*>(image.getInternalBuffer())); break;
        default: fill(reinterpret_cast<float*>(image.getInternalBuffer())); break;
    }
    return image;
}

struct Case {
    const char* name;
    VoxelTypes type;
    Texture texture;
    double range;
    int depth;
};

std::string nameOf(const std::string& who, const std::string& what, const Case& c, int threads) {
    return who + '/' + what + '/' + c.name + '/' + textureNames[static_cast<int>(c.texture)] +
           "/threads:" + std::to_string(threads);
}

template <class Run>
void registerRun(const std::string& name, const Case& c, std::size_t bytesPerVoxel, Run run) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage picture = makePicture(c.type, c.texture, c.range);
                                     run(state, picture);
                                     setBytes(state, side * side * bytesPerVoxel);
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

void registerValue(const Case& c, const char* what, analysis::ThresholdChoices::ThresholdCriterionType criterion,
                   int threads) {
    registerRun(nameOf("rix", what, c, threads), c, helper::getSizeOf(c.type),
                [=](benchmark::State& state, io::MemoryImage& picture) {
                    analysis::AutoThresholdingValue algorithm;
                    analysis::AutoThresholdingMsr measurement;
                    algorithm.settings().setMaximumNumberOfThreads(threads);
                    algorithm.setInputGrayImage(&picture);
                    algorithm.setThresholdCriterion(criterion);
                    algorithm.setOutputMeasurement(&measurement);
                    for (auto _ : state) {
                        algorithm.run();
                    }
                });
}

void registerBright(const Case& c, int threads) {
    registerRun(nameOf("rix", "binary", c, threads), c, helper::getSizeOf(c.type) + 1,
                [=](benchmark::State& state, io::MemoryImage& picture) {
                    segmentation::AutoThresholdingBright algorithm;
                    analysis::AutoThresholdingMsr measurement;
                    io::MemoryImage output;
                    algorithm.settings().setMaximumNumberOfThreads(threads);
                    algorithm.setInputGrayImage(&picture);
                    algorithm.setThresholdCriterion(segmentation::AutoThresholdingBright::FACTORISATION);
                    algorithm.setOutputBinaryImage(&output);
                    algorithm.setOutputMeasurement(&measurement);
                    for (auto _ : state) {
                        algorithm.run();
                    }
                });
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const Case& c, const char* what, int threads) {
    const bool binary = std::string(what) == "binary";
    registerRun(nameOf("opencv", what, c, threads), c, helper::getSizeOf(c.type) + (binary ? 1U : 0U),
                [=](benchmark::State& state, io::MemoryImage& picture) {
                    constexpr int rows = static_cast<int>(side);
                    const cv::Mat source(rows, rows, c.depth, picture.getInternalBuffer());
                    cv::Mat target;
                    const int classes = c.type == RIX_UINT8 ? 256 : 65536;
                    const float range[] = {
                        0.0F, c.type == RIX_FLOAT32 ? static_cast<float>(c.range) : static_cast<float>(classes)};
                    const float* ranges = range;
                    cv::setNumThreads(threads);
                    for (auto _ : state) {
                        if (binary) {
                            cv::threshold(source, target, 0, 1, cv::THRESH_BINARY | cv::THRESH_OTSU);
                        } else {
                            cv::calcHist(&source, 1, nullptr, cv::Mat(), target, 1, &classes, &ranges);
                        }
                    }
                });
}
#else
void registerOpenCv(const Case&, const char*, int) {}
constexpr int CV_8U = 0;
constexpr int CV_16U = 2;
constexpr int CV_32S = 4;
constexpr int CV_32F = 5;
#endif

void registerAll() {
    using Choices = analysis::ThresholdChoices;
    for (const Texture texture : {Texture::Natural, Texture::Noise, Texture::TwoValues, Texture::NearlyConstant}) {
        const Case bytes{"u8", RIX_UINT8, texture, 255, CV_8U};
        const Case words{"u16", RIX_UINT16, texture, 65000, CV_16U};
        for (const int threads : {1, 2}) {
            for (const Case& c : {bytes, words}) {
                registerValue(c, "histogram", Choices::FACTORISATION, threads);
                registerOpenCv(c, "histogram", threads);
            }
            registerBright(bytes, threads);
            registerOpenCv(bytes, "binary", threads);
        }
    }
    for (const Case& c : {Case{"f32", RIX_FLOAT32, Texture::Natural, 1, CV_32F},
                          Case{"i32", RIX_INT32, Texture::Natural, 50000, CV_32S},
                          Case{"i32 wide", RIX_INT32, Texture::Natural, 1e9, CV_32S}}) {
        for (const int threads : {1, 2}) {
            registerValue(c, "histogram", Choices::FACTORISATION, threads);
            registerValue(c, "isodata", Choices::ISODATA, threads);
            if (c.type == RIX_FLOAT32) {
                registerOpenCv(c, "histogram", threads);
            }
        }
    }
    for (const int threads : {1, 2}) {
        registerRoof("read u8", side * side, 0, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
