// Tensor voting against the share of tokens and the scale, and votes for lines and circles beside OpenCV's.

#include <cmath>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/edge_detection/HoughCircles2d.h>
#include <rix/edge_detection/HoughLines2d.h>
#include <rix/edge_detection/TensorVoting2d.h>
#include <rix/edge_detection/TensorVoting3d.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

/// Tokens at chance, one in `every`.
io::MemoryImage tokens(std::size_t columns, std::size_t rows, std::size_t planes, std::size_t every) {
    const io::MemoryImage random = randomImage(RIX_UINT16, columns, rows * planes);
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT8, columns, rows, planes, 1, 1)) {
        throw std::bad_alloc();
    }
    const auto* const from = reinterpret_cast<const std::uint16_t*>(random.getInternalBuffer());
    for (std::size_t i = 0; i < columns * rows * planes; ++i) {
        image.getInternalBuffer()[i] = from[i] % every == 0 ? 1 : 0;
    }
    return image;
}

/// Directions that differ from voxel to voxel.
io::MemoryImage directions(const io::MemoryImage& like, std::size_t channels) {
    io::MemoryImage image;
    if (!image.reserve(RIX_FLOAT32, like.getNumOf(COLUMNS), like.getNumOf(ROWS), like.getNumOf(PLANS), 1, channels)) {
        throw std::bad_alloc();
    }
    auto* const samples = reinterpret_cast<float*>(image.getInternalBuffer());
    const std::size_t count = like.getNumOf(COLUMNS) * like.getNumOf(ROWS) * like.getNumOf(PLANS) * channels;
    for (std::size_t i = 0; i < count; ++i) {
        samples[i] = static_cast<float>(std::sin(static_cast<double>(i) * 0.7) * 1.5);
    }
    return image;
}

template <class Voting>
void vote(benchmark::State& state, std::size_t side, std::size_t planes, std::size_t every, double scale,
          bool isOriented, int threads) {
    const io::MemoryImage objects = tokens(side, side, planes, every);
    const io::MemoryImage angles = directions(objects, planes > 1 ? 3 : 1);
    io::MemoryImage curve;
    Voting voting;
    voting.settings().setMaximumNumberOfThreads(threads);
    voting.setInputObjectImage(&objects);
    voting.setInputOrientationImage(isOriented ? &angles : nullptr);
    voting.setScale(scale);
    voting.setOutputCurveSaliencyImage(&curve);
    for (auto _ : state) {
        voting.run();
    }
}

template <class Run>
void enter(const std::string& name, const Run& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseRealTime()
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
}

constexpr std::size_t edgeSide = 2048;

void registerAll() {
    for (const int threads : {1, 2}) {
        const std::string end = "/threads:" + std::to_string(threads);
        for (const bool isOriented : {true, false}) {
            for (const std::size_t every : {1U, 10U, 100U}) {
                for (const double scale : {5.0, 10.0, 20.0}) {
                    const std::string what = std::string(isOriented ? "sticks" : "balls") + "/one_in_" +
                                             std::to_string(every) + "/scale_" +
                                             std::to_string(static_cast<int>(scale)) + end;
                    enter("rix/voting2d/" + what, [=](benchmark::State& state) {
                        vote<edge_detection::TensorVoting2d>(state, 1024, 1, every, scale, isOriented, threads);
                    });
                }
            }
            for (const double scale : {2.0, 4.0}) {
                enter("rix/voting3d/" + std::string(isOriented ? "sticks" : "balls") + "/one_in_20/scale_" +
                          std::to_string(static_cast<int>(scale)) + end,
                      [=](benchmark::State& state) {
                          vote<edge_detection::TensorVoting3d>(state, 96, 96, 20, scale, isOriented, threads);
                      });
            }
        }
        enter("rix/hough_lines/one_in_20" + end, [=](benchmark::State& state) {
            const io::MemoryImage edges = tokens(edgeSide, edgeSide, 1, 20);
            io::MemoryImage votes;
            edge_detection::HoughLines2d lines;
            lines.settings().setMaximumNumberOfThreads(threads);
            lines.setInputImage(&edges);
            lines.setOutputAccumulatorImage(&votes);
            for (auto _ : state) {
                lines.run();
            }
        });
        enter("rix/hough_circles/one_in_20" + end, [=](benchmark::State& state) {
            const io::MemoryImage edges = tokens(edgeSide, edgeSide, 1, 20);
            edge_detection::FeaturesMsr found;
            edge_detection::HoughCircles2d circles;
            circles.settings().setMaximumNumberOfThreads(threads);
            circles.setInputImage(&edges);
            circles.setOutputMeasurement(&found);
            for (auto _ : state) {
                circles.run();
            }
        });
#ifdef RIX_HAVE_OPENCV
        enter("opencv/hough_lines/one_in_20" + end, [=](benchmark::State& state) {
            io::MemoryImage edges = tokens(edgeSide, edgeSide, 1, 20);
            const cv::Mat source(static_cast<int>(edgeSide), static_cast<int>(edgeSide), CV_8U,
                                 edges.getInternalBuffer());
            std::vector<cv::Vec2f> lines;
            cv::setNumThreads(threads);
            for (auto _ : state) {
                cv::HoughLines(source, lines, 1.0, CV_PI / 180.0, 10000);
            }
        });
#endif
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
