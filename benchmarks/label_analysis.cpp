// Measures of the objects of a label image at 1 and 2 threads: discs of several sizes, and small objects without pause.
// The peer labels and measures in one call, so that what labelling alone takes is shown beside it: the difference is
// what its measures cost (area, box, centre). The roof reads the same bytes.

#include <cstdint>
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

namespace rix::bench {
namespace {

constexpr std::size_t size = 4096;

/// Discs on a grid of squares of side `cell`, labelled along the rows.
io::MemoryImage discs(VoxelTypes type, std::size_t cell) {
    io::MemoryImage image;
    if (!image.reserve(type, size, size, 1, 1, 1)) {
        return image;
    }
    image.setSpacingOf(COLUMNS, 1.0);
    image.setSpacingOf(ROWS, 1.0);
    const std::size_t perRow = (size + cell - 1) / cell;
    for (std::size_t y = 0; y < size; ++y) {
        for (std::size_t x = 0; x < size; ++x) {
            const std::size_t number = y / cell * perRow + x / cell;
            const double radius = static_cast<double>(cell) * (0.3 + 0.2 * static_cast<double>(number * 7 % 11) / 10.0);
            const double dx = static_cast<double>(x % cell) + 0.5 - static_cast<double>(cell) / 2.0;
            const double dy = static_cast<double>(y % cell) + 0.5 - static_cast<double>(cell) / 2.0;
            const auto label = static_cast<std::uint32_t>(dx * dx + dy * dy < radius * radius ? number + 1 : 0);
            if (type == RIX_UINT32) {
                reinterpret_cast<std::uint32_t*>(image.getInternalBuffer())[y * size + x] = label;
            } else {
                image.getInternalBuffer()[y * size + x] = label != 0 ? 1 : 0;
            }
        }
    }
    return image;
}

struct Work {
    const char* name;
    const char* measures;
    bool intensity;
    VoxelTypes type;
};

void registerOurs(std::size_t cell, const Work& work, int threads) {
    const std::string name = std::string("rix/") + work.name + "/cell:" + std::to_string(cell) +
                             "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        const io::MemoryImage labels = discs(RIX_UINT32, cell);
        const io::MemoryImage grey = randomImage(work.type, size, size);
        individual_analysis::LabelAnalysis algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputLabelImage(&labels);
        algorithm.setInputIntensityImage(work.intensity ? &grey : nullptr);
        algorithm.setMeasures(work.measures);
        for (auto _ : state) {
            algorithm.run();
        }
        state.counters["objects"] = static_cast<double>(algorithm.getOutputMeasurement()->label.size());
        setBytes(state, size * size * (4 + (work.intensity ? helper::getSizeOf(work.type) : 0)));
    })->UseRealTime()->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(std::size_t cell, int threads) {
    for (const bool measures : {false, true}) {
        const std::string name = std::string("opencv/") + (measures ? "labels+stats" : "labels") +
                                 "/cell:" + std::to_string(cell) + "/threads:" + std::to_string(threads);
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
            io::MemoryImage binary = discs(RIX_UINT8, cell);
            const cv::Mat source(static_cast<int>(size), static_cast<int>(size), CV_8U, binary.getInternalBuffer());
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
        })->UseRealTime()->Unit(benchmark::kMillisecond);
    }
}
#endif

void registerAll() {
    for (const std::size_t cell : {64U, 12U}) {
        for (const int threads : {1, 2}) {
            for (const Work& work :
                 {Work{"area,box,centre", "Area, BoundingBox, Barycenter", false, RIX_UINT8},
                  Work{"+grey-u8", "Area, BoundingBox, Barycenter, Intensity", true, RIX_UINT8},
                  Work{"mean..std-u8", "Mean, Minimum, Maximum, StandardDeviation", true, RIX_UINT8},
                  Work{"mean..std-u16", "Mean, Minimum, Maximum, StandardDeviation", true, RIX_UINT16},
                  Work{"mean..std-f32", "Mean, Minimum, Maximum, StandardDeviation", true, RIX_FLOAT32},
                  Work{"shape", "Shape", false, RIX_UINT8}}) {
                registerOurs(cell, work, threads);
            }
#ifdef RIX_HAVE_OPENCV
            registerOpenCv(cell, threads);
#endif
        }
    }
    for (const int threads : {1, 2}) {
        registerRoof("u32/4096", size * size * 4, 0, threads);
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
