// Measures of the objects of a label image at 1 and 2 threads: discs of several sizes. OpenCV labels and measures in one
// call, so that what labelling alone takes is shown beside it: the difference is what its measures cost (area, box,
// centre). The roof reads the same bytes.

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/Library.h>
#include <rix/individual_analysis/LabelAnalysis.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"
#include "label_peers.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;

/// Discs on a grid of squares of side `cell`, labelled along the rows.
io::MemoryImage discs(std::size_t size, std::size_t cell) {
    io::MemoryImage image;
    if (!image.reserve(RIX_UINT32, size, size, 1, 1, 1)) {
        return image;
    }
    image.setSpacingOf(COLUMNS, 1.0);
    image.setSpacingOf(ROWS, 1.0);
    const std::size_t perRow = (size + cell - 1) / cell;
    const auto half = static_cast<double>(cell) / 2.0;
    auto* pixel = reinterpret_cast<std::uint32_t*>(image.getInternalBuffer());
    for (std::size_t y = 0; y < size; ++y) {
        for (std::size_t x = 0; x < size; ++x) {
            const std::size_t number = y / cell * perRow + x / cell;
            const double radius = static_cast<double>(cell) * (0.3 + 0.02 * static_cast<double>(number * 7 % 11));
            const double dx = static_cast<double>(x % cell) + 0.5 - half;
            const double dy = static_cast<double>(y % cell) + 0.5 - half;
            *pixel++ = static_cast<std::uint32_t>(dx * dx + dy * dy < radius * radius ? number + 1 : 0);
        }
    }
    return image;
}

struct Work {
    const char* name;
    const char* measures;
    VoxelTypes intensity;  ///< complex for none
};
constexpr VoxelTypes none = RIX_COMPLEX_FLOAT32;

constexpr const char* everything =
    "Basic, Shape, Convexity, SecondMoments, Intensity, Median, Percentile(5), Percentile(95)";

void name(const std::string& what, std::size_t cell, int threads, const std::function<void(benchmark::State&)>& body) {
    benchmark::RegisterBenchmark(
        (what + "/cell:" + std::to_string(cell) + "/threads:" + std::to_string(threads)).c_str(), body)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

/// The most memory that the process has had, in MiB.
double peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            double kibibytes = 0.0;
            status >> kibibytes;
            return kibibytes / 1024.0;
        }
    }
    return 0.0;
}

void registerOurs(std::size_t size, std::size_t cell, const Work& work, int threads) {
    const std::string title = (size == side ? "rix/" : "rix-" + std::to_string(size) + '/') + work.name;
    name(title, cell, threads, [=](benchmark::State& state) {
        const io::MemoryImage labels = discs(size, cell);
        const io::MemoryImage grey = work.intensity == none ? io::MemoryImage() : randomImage(work.intensity, size, size);
        individual_analysis::LabelAnalysis algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputLabelImage(&labels);
        algorithm.setInputIntensityImage(work.intensity == none ? nullptr : &grey);
        algorithm.setMeasures(work.measures);
        const double before = peakMemory();
        for (auto _ : state) {
            algorithm.run();
        }
        state.counters["objects"] = static_cast<double>(algorithm.getOutputMeasurement()->label.size());
        state.counters["extra_MiB"] = peakMemory() - before;
        setBytes(state, size * size * (4 + (work.intensity == none ? 0 : helper::getSizeOf(work.intensity))));
    });
}

[[maybe_unused]] void registerPeer(const std::string& what, std::size_t cell, int threads,
                                   const std::function<std::size_t(const LabelledPicture&)>& measure) {
    name(what, cell, threads, [=](benchmark::State& state) {
        const io::MemoryImage labels = discs(side, cell);
        const io::MemoryImage bytes = randomImage(RIX_UINT8, side, side);
        const io::MemoryImage reals = randomImage(RIX_FLOAT32, side, side);
        const LabelledPicture picture{reinterpret_cast<const std::uint32_t*>(labels.getInternalBuffer()),
                                      bytes.getInternalBuffer(),
                                      reinterpret_cast<const float*>(reals.getInternalBuffer()), side, side};
        std::size_t objects = 0;
        for (auto _ : state) {
            objects = measure(picture);
        }
        state.counters["objects"] = static_cast<double>(objects);
    });
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(std::size_t cell, int threads) {
    for (const bool measures : {false, true}) {
        name(std::string("opencv/") + (measures ? "labels+stats" : "labels"), cell, threads,
             [=](benchmark::State& state) {
                 const io::MemoryImage image = discs(side, cell);
                 const int extent = static_cast<int>(side);
                 const cv::Mat source =
                     cv::Mat(extent, extent, CV_32S, const_cast<std::uint8_t*>(image.getInternalBuffer())) != 0;
                 cv::Mat labels;
                 cv::Mat stats;
                 cv::Mat centres;
                 cv::setNumThreads(threads);
                 for (auto _ : state) {
                     if (measures) {
                         cv::connectedComponentsWithStats(source, labels, stats, centres, 8, CV_32S);
                     } else {
                         cv::connectedComponents(source, labels, 8, CV_32S);
                     }
                 }
             });
    }
}
#endif

void registerPeers(std::size_t cell, int threads) {
#ifdef RIX_HAVE_OPENCV
    registerOpenCv(cell, threads);
#endif
#ifdef RIX_HAVE_ITK
    registerPeer("itk/shape", cell, threads, [=](const auto& picture) { return itkShape(picture, threads); });
    registerPeer("itk/mean..std-u8", cell, threads, [=](const auto& picture) { return itkStatistics(picture, threads); });
#endif
#ifdef RIX_HAVE_VIGRA
    if (threads == 1) {
        registerPeer("vigra/area,box,centre", cell, threads, &vigraShape);
        registerPeer("vigra/mean..std-u8", cell, threads, &vigraStatisticsOfBytes);
        registerPeer("vigra/mean..std-f32", cell, threads, &vigraStatisticsOfReals);
    }
#endif
    static_cast<void>(cell);
    static_cast<void>(threads);
}

void registerAll() {
    for (const std::size_t cell : {64U, 12U}) {
        for (const int threads : {1, 2}) {
            for (const Work& work : {Work{"area,box,centre", "Area, BoundingBox, Barycenter", none},
                                     Work{"+moments", "Area, BoundingBox, Barycenter, SecondMoments", none},
                                     Work{"mean..std-u8", "Mean, Minimum, Maximum, StandardDeviation", RIX_UINT8},
                                     Work{"mean..std-u16", "Mean, Minimum, Maximum, StandardDeviation", RIX_UINT16},
                                     Work{"mean..std-f32", "Mean, Minimum, Maximum, StandardDeviation", RIX_FLOAT32},
                                     Work{"shape", "Shape", none}, Work{"convexity", "Convexity", none},
                                     Work{"median-u8", "Median", RIX_UINT8}, Work{"everything", everything, RIX_UINT8}}) {
                registerOurs(side, cell, work, threads);
            }
            registerPeers(cell, threads);
        }
    }
    for (const int threads : {1, 2}) {
        registerRoof("u32/4096", side * side * 4, 0, threads);
        // A million objects.
        registerOurs(16384, 16, {"area,box,centre", "Area, BoundingBox, Barycenter", none}, threads);
        registerOurs(16384, 16, {"everything", everything, RIX_UINT8}, threads);
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
