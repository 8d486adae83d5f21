// Measures of the objects of a label image at 1 and 2 threads: blobs (few large objects), cells (4096 discs), 10 000
// discs, and 100 000 small ones. ITK and VIGRA measure the same in one pass as well. OpenCV labels and measures in
// one call, so that what labelling alone takes is shown beside it: the difference is what its measures cost (area, box,
// centre). The roof reads the same bytes.

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/individual_analysis/LabelAnalysis.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/settings/Settings.h>

#include "LabelDiscs.h"
#include "LabelingImages.h"
#include "MeasurePeers.h"
#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;

/// "discs41" has 100 by 100 discs, of the others the name is that of a binary image.
const io::MemoryImage& labelsOf(const std::string& picture) {
    static std::map<std::string, io::MemoryImage> images;
    io::MemoryImage& labels = images[picture];
    if (labels.getVoxelType() == RIX_UINT32) {
        return labels;
    }
    if (picture.starts_with("discs")) {
        labels = labelledDiscs(side, std::stoul(picture.substr(5)));
        return labels;
    }
    segmentation::Labeling2d labeling;
    labeling.setInputObjectImage(&imageNamed(picture));
    labeling.setOutputLabelImage(&labels);
    labeling.setLabelType(segmentation::Labeling2d::LABEL_32_BIT);
    labeling.run();
    labels.setSpacingOf(COLUMNS, 1.0);
    labels.setSpacingOf(ROWS, 1.0);
    return labels;
}

const io::MemoryImage& greyOf(VoxelTypes type) {
    static std::map<VoxelTypes, io::MemoryImage> images;
    const auto found = images.find(type);
    return found != images.end() ? found->second : images.emplace(type, randomImage(type, side, side)).first->second;
}

constexpr VoxelTypes none = RIX_COMPLEX_FLOAT32;

struct Work {
    const char* name;
    const char* measures;
    VoxelTypes intensity;
};

constexpr const char* withGrey = "Area, BoundingBox, Barycenter, Mean, Minimum, Maximum, StandardDeviation";
constexpr Work works[] = {
    {"area,box,centre", "Area, BoundingBox, Barycenter", none},
    {"+grey-u8", withGrey, RIX_UINT8},
    {"+grey-u16", withGrey, RIX_UINT16},
    {"+grey-f32", withGrey, RIX_FLOAT32},
    {"moments", "SecondMoments", none},
    {"boundary", "Perimeter, EulerNumber", none},
    {"convexity", "Convexity", none},
    {"median-u8", "Median", RIX_UINT8},
    {"all-u8", "All", RIX_UINT8},
};

void name(const std::string& what, const std::string& picture, int threads,
          const std::function<void(benchmark::State&)>& body) {
    benchmark::RegisterBenchmark((what + '/' + picture + "/threads:" + std::to_string(threads)).c_str(), body)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void registerOurs(const std::string& picture, const Work& work, int threads) {
    name(std::string("rix/") + work.name, picture, threads, [=](benchmark::State& state) {
        individual_analysis::LabelAnalysis algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputLabelImage(&labelsOf(picture));
        algorithm.setInputIntensityImage(work.intensity == none ? nullptr : &greyOf(work.intensity));
        algorithm.setMeasures(work.measures);
        for (auto _ : state) {
            algorithm.run();
        }
        state.counters["objects"] = static_cast<double>(algorithm.getOutputMeasurement()->label.size());
        setBytes(state, side * side * (4 + (work.intensity == none ? 0 : helper::getSizeOf(work.intensity))));
    });
}

[[maybe_unused]] void registerPeer(const std::string& what, const std::string& picture, int threads,
                                   const std::function<std::size_t(const LabelledPicture&)>& measure) {
    name(what, picture, threads, [=](benchmark::State& state) {
        const LabelledPicture labelled{reinterpret_cast<const std::uint32_t*>(labelsOf(picture).getInternalBuffer()),
                                       greyOf(RIX_UINT8).getInternalBuffer(),
                                       reinterpret_cast<const float*>(greyOf(RIX_FLOAT32).getInternalBuffer()), side,
                                       side};
        std::size_t objects = 0;
        for (auto _ : state) {
            objects = measure(labelled);
        }
        state.counters["objects"] = static_cast<double>(objects);
    });
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const std::string& picture, int threads) {
    for (const bool measures : {false, true}) {
        name(std::string("opencv/") + (measures ? "labels+stats" : "labels"), picture, threads,
             [=](benchmark::State& state) {
                 const int extent = static_cast<int>(side);
                 const cv::Mat source = cv::Mat(extent, extent, CV_32S,
                                                const_cast<std::uint8_t*>(labelsOf(picture).getInternalBuffer())) != 0;
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

void registerPeers([[maybe_unused]] const std::string& picture, [[maybe_unused]] int threads) {
#ifdef RIX_HAVE_OPENCV
    registerOpenCv(picture, threads);
#endif
#ifdef RIX_HAVE_ITK
    registerPeer("itk/area,box,centre", picture, threads, [=](const auto& p) { return itkShape(p, threads); });
    registerPeer("itk/+grey-u8", picture, threads, [=](const auto& p) { return itkStatisticsOfBytes(p, threads); });
    registerPeer("itk/+grey-f32", picture, threads, [=](const auto& p) { return itkStatisticsOfReals(p, threads); });
#endif
#ifdef RIX_HAVE_VIGRA
    // It has one thread: the same work stands beside ours with two.
    registerPeer("vigra/area,box,centre", picture, threads, &vigraShape);
    registerPeer("vigra/+grey-u8", picture, threads, &vigraStatisticsOfBytes);
    registerPeer("vigra/+grey-f32", picture, threads, &vigraStatisticsOfReals);
#endif
}

void registerAll() {
    for (const char* const picture : {"blobs", "cells", "discs41", "discs12"}) {
        for (const int threads : {1, 2}) {
            for (const Work& work : works) {
                registerOurs(picture, work, threads);
            }
            registerPeers(picture, threads);
        }
    }
    for (const int threads : {1, 2}) {
        registerRoof("u32/4096", side * side * 4, 0, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
