// Labeling of generated images at each level and 1 and 2 threads, beside every algorithm for connected components that
// OpenCV has (in 3D it has none). All write 32-bit labels, ours also 8 and 16-bit ones where they fit.

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/Library.h>
#include <rix/devices/Cpu.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side2d = 4096;
constexpr std::size_t side3d = 256;

io::MemoryImage emptyImage(std::size_t columns, std::size_t rows, std::size_t planes) {
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT8, columns, rows, planes, 1, 1)) {
        std::abort();
    }
    return image;
}

/// Running means of `2 * radius + 1` samples along one axis, the axis closed to a ring.
void smooth(std::vector<float>& values, std::size_t stride, std::size_t length, int radius) {
    std::vector<float> line(length);
    const auto wrap = [length](std::ptrdiff_t i) {
        const auto n = static_cast<std::ptrdiff_t>(length);
        return static_cast<std::size_t>((i % n + n) % n);
    };
    for (std::size_t first = 0; first < values.size(); ++first) {
        if (first / stride % length != 0) {
            continue;
        }
        float sum = 0;
        for (std::size_t i = 0; i < length; ++i) {
            line[i] = values[first + i * stride];
        }
        for (int i = -radius; i <= radius; ++i) {
            sum += line[wrap(i)];
        }
        for (std::size_t i = 0; i < length; ++i) {
            values[first + i * stride] = sum;
            sum += line[wrap(static_cast<std::ptrdiff_t>(i) + radius + 1)] -
                   line[wrap(static_cast<std::ptrdiff_t>(i) - radius)];
        }
    }
}

/// The brighter half of noise that was smoothed three times in all directions.
io::MemoryImage smoothedNoise(std::size_t side, std::size_t planes, int radius) {
    std::mt19937 random(7);
    std::vector<float> values(side * side * planes);
    for (float& value : values) {
        value = static_cast<float>(random() & 0xFFFF) / 65536.0F;
    }
    for (int pass = 0; pass < 3; ++pass) {
        smooth(values, 1, side, radius);
        smooth(values, side, side, radius);
        if (planes > 1) {
            smooth(values, side * side, planes, radius);
        }
    }
    std::vector<float> sorted = values;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    io::MemoryImage image = emptyImage(side, side, planes);
    for (std::size_t i = 0; i < values.size(); ++i) {
        image.getInternalBuffer()[i] = values[i] > *middle ? 255 : 0;
    }
    return image;
}

/// Discs of different sizes on a jittered grid: nearly all apart.
io::MemoryImage cells() {
    std::mt19937 random(11);
    io::MemoryImage image = emptyImage(side2d, side2d, 1);
    std::fill_n(image.getInternalBuffer(), side2d * side2d, std::uint8_t{0});
    constexpr std::size_t pitch = 64;
    for (std::size_t gy = 0; gy < side2d / pitch; ++gy) {
        for (std::size_t gx = 0; gx < side2d / pitch; ++gx) {
            const auto cx = static_cast<double>(gx * pitch + 20 + random() % 24);
            const auto cy = static_cast<double>(gy * pitch + 20 + random() % 24);
            const double radius = 8 + static_cast<double>(random() % 14);
            for (std::size_t y = gy * pitch; y < (gy + 1) * pitch; ++y) {
                for (std::size_t x = gx * pitch; x < (gx + 1) * pitch; ++x) {
                    if (std::hypot(static_cast<double>(x) - cx, static_cast<double>(y) - cy) < radius) {
                        image.getInternalBuffer()[y * side2d + x] = 255;
                    }
                }
            }
        }
    }
    return image;
}

io::MemoryImage noise(std::size_t side, std::size_t planes, unsigned percent) {
    std::mt19937 random(percent);
    io::MemoryImage image = emptyImage(side, side, planes);
    for (std::size_t i = 0; i < side * side * planes; ++i) {
        image.getInternalBuffer()[i] = random() % 100 < percent ? 255 : 0;
    }
    return image;
}

/// Single pixels and lines that make many labels of few pixels, or long ones that wind.
io::MemoryImage comb() {
    io::MemoryImage image = emptyImage(side2d, side2d, 1);
    for (std::size_t y = 0; y < side2d; ++y) {
        for (std::size_t x = 0; x < side2d; ++x) {
            image.getInternalBuffer()[y * side2d + x] = x % 2 == 0 || y + 1 == side2d ? 255 : 0;
        }
    }
    return image;
}

io::MemoryImage checkerboard() {
    io::MemoryImage image = emptyImage(side2d, side2d, 1);
    for (std::size_t i = 0; i < side2d * side2d; ++i) {
        image.getInternalBuffer()[i] = (i + i / side2d) % 2 == 0 ? 255 : 0;
    }
    return image;
}

const io::MemoryImage& imageNamed(const std::string& name) {
    static std::map<std::string, io::MemoryImage> images;
    if (const auto found = images.find(name); found != images.end()) {
        return found->second;
    }
    images[name] = name == "blobs"      ? smoothedNoise(side2d, 1, 16)
                   : name == "blobs1k"  ? smoothedNoise(side2d / 4, 1, 16)
                   : name == "blobs2k"  ? smoothedNoise(side2d / 2, 1, 16)
                   : name == "texture"  ? smoothedNoise(side2d, 1, 3)
                   : name == "cells"    ? cells()
                   : name == "comb"     ? comb()
                   : name == "checker"  ? checkerboard()
                   : name == "blobs3"   ? smoothedNoise(side3d, side3d, 4)
                   : name[0] == 'r'     ? noise(side2d, 1, static_cast<unsigned>(std::stoi(name.substr(1))))
                                        : noise(side3d, side3d, static_cast<unsigned>(std::stoi(name.substr(1))));
    return images[name];
}

template <class Labeling>
void registerOurs(const std::string& image, int neighbours, int neighborhood, OptimLevelType level, int labelType,
                  int threads) {
    static constexpr const char* levels[] = {"scalar", "sse", "avx"};
    static constexpr const char* types[] = {"u8", "u16", "u32"};
    const std::string name = "rix/c" + std::to_string(neighbours) + '/' + image + '/' + levels[level] + '/' +
                             types[labelType] + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        io::MemoryImage output;
        Labeling algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setAutoCpuDispatch(false);
        algorithm.setOptimLevel(level);
        algorithm.setInputObjectImage(&imageNamed(image));
        algorithm.setOutputLabelImage(&output);
        algorithm.setLabelType(static_cast<typename Labeling::LabelType>(labelType));
        String normalised;
        static_cast<void>(algorithm.getInputProperty(2)->read(std::to_string(neighborhood), normalised));
        algorithm.run();  // the first run makes the output's memory
        for (auto _ : state) {
            algorithm.run();
        }
        if (output.getVoxelType() != (labelType == 0 ? RIX_UINT8 : labelType == 1 ? RIX_UINT16 : RIX_UINT32)) {
            state.SetLabel("upgraded");
        }
        state.counters["labels"] = static_cast<double>(algorithm.getNumberOfLabels());
    })->UseRealTime()->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const std::string& image, int neighbours, int threads) {
    static constexpr std::pair<const char*, int> algorithms[] = {
        {"sauf", cv::CCL_SAUF}, {"bbdt", cv::CCL_BBDT}, {"spaghetti", cv::CCL_SPAGHETTI}};
    for (const auto& [algorithmName, algorithm] : algorithms) {
        const std::string name = "opencv-" + std::string(algorithmName) + "/c" + std::to_string(neighbours) + '/' + image +
                                 "/threads:" + std::to_string(threads);
        benchmark::RegisterBenchmark(name.c_str(), [=, algorithmValue = algorithm](benchmark::State& state) {
            io::MemoryImage& input = const_cast<io::MemoryImage&>(imageNamed(image));
            const cv::Mat source(static_cast<int>(input.getNumOf(ROWS)), static_cast<int>(input.getNumOf(COLUMNS)), CV_8U,
                                 input.getInternalBuffer());
            cv::Mat target(source.size(), CV_32S);
            cv::setNumThreads(threads);
            int labels = cv::connectedComponents(source, target, neighbours, CV_32S, algorithmValue);
            for (auto _ : state) {
                labels = cv::connectedComponents(source, target, neighbours, CV_32S, algorithmValue);
            }
            state.counters["labels"] = labels - 1;
        })->UseRealTime()->Unit(benchmark::kMillisecond);
    }
}
#endif

void registerAll() {
    for (const char* image : {"blobs", "cells", "texture", "r10", "r50", "r90", "comb", "checker", "blobs1k", "blobs2k"}) {
        for (const int neighborhood : {0, 1}) {
            const int neighbours = neighborhood == 0 ? 4 : 8;
            for (const int threads : {1, 2}) {
                for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
                    if (devices::Cpu::supports(level)) {
                        for (const int labelType : {0, 1, 2}) {
                            registerOurs<segmentation::Labeling2d>(image, neighbours, neighborhood, level, labelType,
                                                                   threads);
                        }
                    }
                }
#ifdef RIX_HAVE_OPENCV
                registerOpenCv(image, neighbours, threads);
#endif
            }
        }
    }
    for (const char* image : {"blobs3", "v10", "v50", "v90"}) {
        for (const int neighborhood : {0, 1, 2}) {
            for (const int threads : {1, 2}) {
                registerOurs<segmentation::Labeling3d>(image, neighborhood == 0 ? 6 : neighborhood == 1 ? 18 : 26,
                                                       neighborhood, VEC_AVX, 2, threads);
            }
        }
    }
    for (const int threads : {1, 2}) {
        registerRoof("labels u8->u32", side2d * side2d, 4 * side2d * side2d, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    rix::init();
    rix::bench::registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    rix::finish();
    return 0;
}
