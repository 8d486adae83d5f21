// Erosion and opening with elements of growing extents, 1 and 2 threads, beside OpenCV, and the roof of copying the
// image; then what floods: on hills with noise, and holes on smoothed noise. benchmarks/python_peers.py measures that
// beside scikit-image and SciPy. Branches of skeletons, thickness, sizes, patterns and hulls of smoothed noise.
// Distances in the objects of smoothed noise, beside OpenCV, and by benchmarks/python_peers.py.

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/image/StridedImage.h>
#include <rix/morphology/AreaOpening2d.h>
#include <rix/morphology/AreaOpening3d.h>
#include <rix/morphology/ConvexHullOfObjects2d.h>
#include <rix/morphology/DistanceMap2d.h>
#include <rix/morphology/DistanceMap3d.h>
#include <rix/morphology/Erosion2d.h>
#include <rix/morphology/Erosion3d.h>
#include <rix/morphology/FillHoles2d.h>
#include <rix/morphology/FillHoles3d.h>
#include <rix/morphology/Granulometry2d.h>
#include <rix/morphology/Granulometry3d.h>
#include <rix/morphology/HMaxima2d.h>
#include <rix/morphology/HMaxima3d.h>
#include <rix/morphology/HitOrMiss2d.h>
#include <rix/morphology/LocalThickness2d.h>
#include <rix/morphology/LocalThickness3d.h>
#include <rix/morphology/Opening2d.h>
#include <rix/morphology/PruneSkeleton2d.h>
#include <rix/morphology/PruneSkeleton3d.h>
#include <rix/morphology/RegionalMaxima2d.h>
#include <rix/morphology/RegionalMaxima3d.h>
#include <rix/morphology/Skeleton2d.h>
#include <rix/morphology/Skeleton3d.h>
#include <rix/morphology/SkeletonGraph2d.h>
#include <rix/morphology/SkeletonGraph3d.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/settings/Settings.h>

#include "LabelingImages.h"
#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;
constexpr std::size_t depth = 256;
using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

const char* nameOf(VoxelTypes type) {
    return type == RIX_UINT8 ? "u8" : type == RIX_UINT16 ? "u16" : "f32";
}

/// A square of that extent, or a disc of that radius.
struct Element {
    bool isRound;
    int size;
    bool isBinary = false;  ///< of the image: blobs
};

std::string rowName(const char* library, const char* operation, VoxelTypes type, Element element, int threads) {
    return std::string(library) + '/' + operation + '/' + (element.isBinary ? "binary" : nameOf(type)) +
           (element.isRound ? "/disc:" : "/box:") + std::to_string(element.size) +
           "/threads:" + std::to_string(threads);
}

io::MemoryImage imageOf(VoxelTypes type, Element element, bool inSpace) {
    return element.isBinary ? imageNamed(inSpace ? "blobs3" : "blobs")
                            : randomImage(type, inSpace ? depth : side, inSpace ? depth * depth : side);
}

template <class Filter>
void registerOurs(const char* operation, VoxelTypes type, Element element, bool inSpace, int threads) {
    benchmark::RegisterBenchmark(
        rowName("rix", operation, type, element, threads).c_str(),
        [=](benchmark::State& state) {
            const io::MemoryImage plane = imageOf(type, element, inSpace);
            ImageHeader header = helper::headerOf(plane);
            header.interpretation = element.isBinary ? RIX_BINARY : RIX_VALUE;
            if (inSpace) {
                header.extents = {depth, depth, depth, 1, 1};
            }
            const StridedImage image(static_cast<const void*>(plane.getInternalBuffer()), header);
            io::MemoryImage output;
            Filter filter;
            filter.settings().setMaximumNumberOfThreads(threads);
            filter.setStructuringElement(static_cast<typename Filter::StructuringElement>(element.isRound ? 1 : 0));
            filter.setKernelSizeX(element.size);
            filter.setKernelSizeY(element.size);
            if constexpr (requires { filter.setKernelSizeZ(1); }) {
                filter.setKernelSizeZ(element.size);
            }
            filter.setRadius(element.size);
            filter.setInputImage(&image);
            filter.setOutputImage(&output);
            filter.run();
            for (auto _ : state) {
                filter.run();
            }
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const char* operation, VoxelTypes type, Element element, int threads) {
    benchmark::RegisterBenchmark(
        rowName("opencv", operation, type, element, threads).c_str(),
        [=](benchmark::State& state) {
            io::MemoryImage image = imageOf(type, element, false);
            const int depthOf = type == RIX_UINT8 ? CV_8U : type == RIX_UINT16 ? CV_16U : CV_32F;
            const cv::Mat source(static_cast<int>(side), static_cast<int>(side), depthOf, image.getInternalBuffer());
            const int extent = element.isRound ? 2 * element.size + 1 : element.size;
            cv::Mat kernel(extent, extent, CV_8U, cv::Scalar(1));
            for (int y = 0; element.isRound && y < extent; ++y) {
                for (int x = 0; x < extent; ++x) {
                    const int dx = x - element.size;
                    const int dy = y - element.size;
                    kernel.at<unsigned char>(y, x) = dx * dx + dy * dy <= element.size * element.size ? 1 : 0;
                }
            }
            cv::Mat output;
            cv::setNumThreads(threads);
            const int kind = std::string(operation) == "opening" ? cv::MORPH_OPEN : cv::MORPH_ERODE;
            for (auto _ : state) {
                cv::morphologyEx(source, output, kind, kernel);
            }
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#else
void registerOpenCv(const char*, VoxelTypes, Element, int) {}
#endif

/// Hills some 200 pixels apart with noise of 32 levels, as photographs have it.
io::MemoryImage hills(bool inSpace) {
    io::MemoryImage image = randomImage(RIX_UINT8, inSpace ? depth : side, inSpace ? depth * depth : side);
    const std::size_t columns = inSpace ? depth : side;
    auto* const samples = image.getInternalBuffer();
    for (std::size_t i = 0; i < side * side; ++i) {
        const auto x = static_cast<double>(i % columns);
        const auto y = static_cast<double>(i / columns % (inSpace ? depth : side));
        const auto z = static_cast<double>(inSpace ? i / depth / depth : 0);
        const double hill = 120 + 60 * std::sin(x / 37 + z / 29) * std::cos(y / 53);
        samples[i] = static_cast<std::uint8_t>(hill + samples[i] % 32);
    }
    return image;
}

template <class Filter>
void registerFlood(const char* operation, bool isBinary, bool inSpace, int threads) {
    benchmark::RegisterBenchmark(
        (std::string("rix/") + operation + "/u8/threads:" + std::to_string(threads)).c_str(),
        [=](benchmark::State& state) {
            const io::MemoryImage samples = isBinary ? imageNamed(inSpace ? "blobs3" : "blobs") : hills(inSpace);
            ImageHeader header = helper::headerOf(samples);
            header.interpretation = isBinary ? RIX_BINARY : RIX_VALUE;
            if (inSpace) {
                header.extents = {depth, depth, depth, 1, 1};
            }
            const StridedImage image(static_cast<const void*>(samples.getInternalBuffer()), header);
            io::MemoryImage output;
            Filter filter;
            filter.settings().setMaximumNumberOfThreads(threads);
            if constexpr (requires { filter.setContrast(20.0); }) {
                filter.setContrast(20.0);
            }
            if constexpr (requires { filter.setInputObjectImage(&image); }) {
                filter.setInputObjectImage(&image);
            } else {
                filter.setInputImage(&image);
            }
            if constexpr (requires { filter.setOutputBinaryImage(&output); }) {
                filter.setOutputBinaryImage(&output);
            } else {
                filter.setOutputImage(&output);
            }
            filter.run();
            for (auto _ : state) {
                filter.run();
            }
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

/// What a run reads and writes beside the blobs.
using Others = std::array<io::MemoryImage, 3>;

/// @param setUp gives the filter its properties: `setUp(filter, blobs, others)`
template <class Filter, class SetUp>
void registerShapes(const char* operation, bool inSpace, int threads, const SetUp& setUp) {
    benchmark::RegisterBenchmark((std::string("rix/") + operation + "/threads:" + std::to_string(threads)).c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage samples = imageNamed(inSpace ? "blobs3" : "blobs");
                                     ImageHeader header = helper::headerOf(samples);
                                     header.interpretation = RIX_BINARY;
                                     if (inSpace) {
                                         header.extents = {depth, depth, depth, 1, 1};
                                     }
                                     const StridedImage blobs(static_cast<const void*>(samples.getInternalBuffer()),
                                                              header);
                                     Others others;
                                     Filter filter;
                                     filter.settings().setMaximumNumberOfThreads(threads);
                                     setUp(filter, blobs, others);
                                     filter.run();
                                     for (auto _ : state) {
                                         filter.run();
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

/// A skeleton of the blobs, without branches of less than 10 voxels, or as a table.
template <class Thin, class Prune, class Graph>
void registerBranches(const char* suffix, bool inSpace, int threads) {
    const auto thinned = [](const ImageModel& blobs, io::MemoryImage& lines) {
        Thin thin;
        thin.setInputObjectImage(&blobs);
        thin.setOutputBinaryImage(&lines);
        thin.run();
        return &lines;
    };
    registerShapes<Prune>((std::string("prune_skeleton") + suffix).c_str(), inSpace, threads,
                          [=](Prune& filter, const ImageModel& blobs, Others& others) {
                              filter.setInputObjectImage(thinned(blobs, others[0]));
                              filter.setOutputBinaryImage(&others[1]);
                          });
    registerShapes<Graph>((std::string("skeleton_graph") + suffix).c_str(), inSpace, threads,
                          [=](Graph& filter, const ImageModel& blobs, Others& others) {
                              filter.setInputObjectImage(thinned(blobs, others[0]));
                          });
}

void registerAllShapes(int threads) {
    using namespace morphology;
    registerBranches<Skeleton2d, PruneSkeleton2d, SkeletonGraph2d>("", false, threads);
    registerBranches<Skeleton3d, PruneSkeleton3d, SkeletonGraph3d>("3d", true, threads);
    const auto measure = [](auto& filter, const ImageModel& blobs, Others& others) {
        filter.setInputObjectImage(&blobs);
        filter.setOutputImage(&others[0]);
    };
    registerShapes<LocalThickness2d>("local_thickness", false, threads, measure);
    registerShapes<LocalThickness3d>("local_thickness3d", true, threads, measure);
    const auto open = [](auto& filter, const ImageModel& blobs, Others&) { filter.setInputImage(&blobs); };
    registerShapes<Granulometry2d>("granulometry", false, threads, open);
    registerShapes<Granulometry3d>("granulometry3d", true, threads, open);
    registerShapes<HitOrMiss2d>(
        "hit_or_miss", false, threads, [](HitOrMiss2d& filter, const ImageModel& blobs, Others& others) {
            constexpr std::uint8_t corner[2][9] = {{0, 0, 0, 0, 1, 1, 0, 1, 1}, {1, 1, 0, 1, 0, 0, 0, 0, 0}};
            for (std::size_t i = 0; i < 2; ++i) {
                others[i] = randomImage(RIX_UINT8, 3, 3);
                std::copy_n(corner[i], 9, others[i].getInternalBuffer());
            }
            filter.setInputObjectImage(&blobs);
            filter.setInputForegroundElementImage(&others[0]);
            filter.setInputBackgroundElementImage(&others[1]);
            filter.setOutputBinaryImage(&others[2]);
        });
    registerShapes<ConvexHullOfObjects2d>("convex_hulls", false, threads,
                                          [](ConvexHullOfObjects2d& filter, const ImageModel& blobs, Others& others) {
                                              segmentation::Labeling2d labeling;
                                              labeling.setInputObjectImage(&blobs);
                                              labeling.setOutputLabelImage(&others[0]);
                                              labeling.run();
                                              filter.setInputLabelImage(&others[0]);
                                              filter.setOutputLabelImage(&others[1]);
                                          });
}

template <class Filter>
void registerDistances(const char* operation, typename Filter::Metric metric, bool inSpace, bool inWorld, int threads) {
    benchmark::RegisterBenchmark((std::string("rix/") + operation + "/threads:" + std::to_string(threads)).c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage samples = imageNamed(inSpace ? "blobs3" : "blobs");
                                     ImageHeader header = helper::headerOf(samples);
                                     header.extents =
                                         inSpace ? Extents{depth, depth, depth, 1, 1} : Extents{side, side, 1, 1, 1};
                                     StridedImage image(static_cast<const void*>(samples.getInternalBuffer()), header);
                                     image.setSpacingOf(COLUMNS, 0.7);
                                     image.setSpacingOf(ROWS, 0.8);
                                     image.setSpacingOf(PLANS, 2.5);
                                     io::MemoryImage output;
                                     Filter filter;
                                     filter.settings().setMaximumNumberOfThreads(threads);
                                     filter.setMetric(metric);
                                     filter.setLengthUnit(inWorld ? Filter::WORLD : Filter::VOXEL);
                                     filter.setInputObjectImage(&image);
                                     filter.setOutputDistanceImage(&output);
                                     filter.run();
                                     for (auto _ : state) {
                                         filter.run();
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCvDistances(const char* operation, int metric, int mask, int threads) {
    benchmark::RegisterBenchmark((std::string("opencv/") + operation + "/threads:" + std::to_string(threads)).c_str(),
                                 [=](benchmark::State& state) {
                                     io::MemoryImage image = imageNamed("blobs");
                                     const cv::Mat source(static_cast<int>(side), static_cast<int>(side), CV_8U,
                                                          image.getInternalBuffer());
                                     cv::Mat output;
                                     cv::setNumThreads(threads);
                                     for (auto _ : state) {
                                         cv::distanceTransform(source, output, metric, mask);
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#endif

void registerAllDistances(int threads) {
    using Planes = morphology::DistanceMap2d;
    using Volumes = morphology::DistanceMap3d;
    registerDistances<Planes>("distance", Planes::EUCLIDEAN, false, false, threads);
    registerDistances<Planes>("distance_world", Planes::EUCLIDEAN, false, true, threads);
    registerDistances<Planes>("city_block", Planes::CITY_BLOCK, false, false, threads);
    registerDistances<Planes>("chamfer", Planes::CHAMFER, false, false, threads);
    registerDistances<Volumes>("distance3d", Volumes::EUCLIDEAN, true, false, threads);
    registerDistances<Volumes>("distance3d_world", Volumes::EUCLIDEAN, true, true, threads);
    registerDistances<Volumes>("chessboard3d", Volumes::CHESSBOARD, true, false, threads);
#ifdef RIX_HAVE_OPENCV
    registerOpenCvDistances("distance", cv::DIST_L2, cv::DIST_MASK_PRECISE, threads);
    registerOpenCvDistances("city_block", cv::DIST_L1, cv::DIST_MASK_3, threads);
    registerOpenCvDistances("chamfer", cv::DIST_L2, cv::DIST_MASK_5, threads);
#endif
}

void registerAll() {
    using morphology::Erosion2d;
    using morphology::Erosion3d;
    using morphology::Opening2d;
    for (const int threads : {1, 2}) {
        for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_FLOAT32}) {
            for (const Element element : {Element{false, 3}, {false, 15}, {false, 51}, {true, 7}, {true, 25}}) {
                registerOurs<Erosion2d>("erosion", type, element, false, threads);
                registerOpenCv("erosion", type, element, threads);
            }
        }
        for (const Element element : {Element{false, 15, true}, {true, 7, true}, {true, 25, true}}) {
            registerOurs<Erosion2d>("erosion", RIX_UINT8, element, false, threads);
            registerOpenCv("erosion", RIX_UINT8, element, threads);
        }
        for (const Element element : {Element{false, 15, true}, {true, 10, true}}) {
            registerOurs<Erosion3d>("erosion3d", RIX_UINT8, element, true, threads);
        }
        registerOurs<Opening2d>("opening", RIX_UINT8, {false, 15}, false, threads);
        registerOpenCv("opening", RIX_UINT8, {false, 15}, threads);
        for (const Element element : {Element{false, 3}, {false, 15}, {true, 3}, {true, 10}}) {
            registerOurs<Erosion3d>("erosion3d", RIX_UINT8, element, true, threads);
        }
        registerFlood<morphology::HMaxima2d>("h_maxima", false, false, threads);
        registerFlood<morphology::HMaxima3d>("h_maxima3d", false, true, threads);
        registerFlood<morphology::RegionalMaxima2d>("regional_maxima", false, false, threads);
        registerFlood<morphology::RegionalMaxima3d>("regional_maxima3d", false, true, threads);
        registerFlood<morphology::AreaOpening2d>("area_opening", false, false, threads);
        registerFlood<morphology::AreaOpening3d>("area_opening3d", false, true, threads);
        registerFlood<morphology::FillHoles2d>("fill_holes", true, false, threads);
        registerFlood<morphology::FillHoles3d>("fill_holes3d", true, true, threads);
        registerFlood<morphology::Skeleton2d>("skeleton", true, false, threads);
        registerFlood<morphology::Skeleton3d>("skeleton3d", true, true, threads);
        registerAllShapes(threads);
        registerAllDistances(threads);
        registerRoof("copy", side * side, side * side, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
