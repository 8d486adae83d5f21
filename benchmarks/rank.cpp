// Medians of squares, discs and cubes of growing extents, and a lower rank of squares, 1 and 2 threads, beside OpenCV's
// medianBlur where it has the type (16 bits and reals: up to 5x5), ITK's for cubes, and the roof of copying the image.

#include <algorithm>
#include <string>
#include <type_traits>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <rix/filtering/rank/MedianFilter2d.h>
#include <rix/filtering/rank/MedianFilter3d.h>
#include <rix/filtering/rank/RankFilter2d.h>
#include <rix/settings/Settings.h>

#ifdef RIX_HAVE_ITK
#include "ItkMedian.h"
#endif
#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 4096;
constexpr std::size_t cubeSide = 256;

struct Type {
    const char* name;
    VoxelTypes type;
};
constexpr Type u8{"u8", RIX_UINT8};
constexpr Type u16{"u16", RIX_UINT16};
constexpr Type f32{"f32", RIX_FLOAT32};

std::string nameOf(const char* library, const Type& type, const std::string& window, int threads,
                   const char* operation = "median") {
    return std::string(library) + '/' + operation + '/' + type.name + '/' + window +
           "/threads:" + std::to_string(threads);
}

io::MemoryImage randomCube(VoxelTypes type) {
    const io::MemoryImage plane = randomImage(type, side, side);
    io::MemoryImage cube;
    if (cube.reserve(type, cubeSide, cubeSide, cubeSide, 1, 1)) {
        std::copy_n(plane.getInternalBuffer(), side * side * helper::getSizeOf(type), cube.getInternalBuffer());
    }
    return cube;
}

template <class Filter, class Set>
void registerOurs(const Type& type, const std::string& window, int threads, const Set& set,
                  const char* operation = "median") {
    benchmark::RegisterBenchmark(nameOf("rix", type, window, threads, operation).c_str(),
                                 [=](benchmark::State& state) {
                                     constexpr bool cube = std::is_same_v<Filter, filtering::rank::MedianFilter3d>;
                                     const io::MemoryImage image =
                                         cube ? randomCube(type.type) : randomImage(type.type, side, side);
                                     io::MemoryImage output;
                                     Filter filter;
                                     filter.settings().setMaximumNumberOfThreads(threads);
                                     filter.setInputImage(&image);
                                     set(filter);
                                     filter.setOutputImage(&output);
                                     filter.run();
                                     for (auto _ : state) {
                                         filter.run();
                                     }
                                     setBytes(state, 2 * side * side * helper::getSizeOf(type.type));
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void registerSquare(const Type& type, int extent, int threads) {
    registerOurs<filtering::rank::MedianFilter2d>(type, std::to_string(extent), threads, [=](auto& filter) {
        filter.setKernelSizeX(extent);
        filter.setKernelSizeY(extent);
    });
}

/// Away from the middle, where medians have kernels of their own.
void registerRank(const Type& type, int extent, int threads) {
    registerOurs<filtering::rank::RankFilter2d>(
        type, std::to_string(extent), threads,
        [=](auto& filter) {
            filter.setKernelSizeX(extent);
            filter.setKernelSizeY(extent);
            filter.setRank(0.1);
        },
        "rank 0.1");
}

void registerDisc(const Type& type, int radius, int threads) {
    using Filter = filtering::rank::MedianFilter2d;
    registerOurs<Filter>(type, "disc" + std::to_string(radius), threads, [=](auto& filter) {
        filter.setWindowShape(Filter::DISK);
        filter.setRadius(radius);
    });
}

void registerCube(const Type& type, int extent, int threads) {
    registerOurs<filtering::rank::MedianFilter3d>(type, "cube" + std::to_string(extent), threads, [=](auto& filter) {
        filter.setKernelSizeX(extent);
        filter.setKernelSizeY(extent);
        filter.setKernelSizeZ(extent);
    });
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const Type& type, int extent, int threads) {
    benchmark::RegisterBenchmark(
        nameOf("opencv", type, std::to_string(extent), threads).c_str(),
        [=](benchmark::State& state) {
            io::MemoryImage image = randomImage(type.type, side, side);
            const int depth = type.type == RIX_UINT8 ? CV_8U : type.type == RIX_UINT16 ? CV_16U : CV_32F;
            const cv::Mat source(static_cast<int>(side), static_cast<int>(side), depth, image.getInternalBuffer());
            cv::Mat output;
            cv::setNumThreads(threads);
            for (auto _ : state) {
                cv::medianBlur(source, output, extent);
            }
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#else
void registerOpenCv(const Type&, int, int) {}
#endif

#ifdef RIX_HAVE_ITK
void registerItk(int threads) {
    benchmark::RegisterBenchmark(nameOf("itk", u8, "cube3", threads).c_str(),
                                 [=](benchmark::State& state) {
                                     const io::MemoryImage cube = randomCube(RIX_UINT8);
                                     const auto run = itkMedian3d(cube.getInternalBuffer(), cubeSide, threads);
                                     for (auto _ : state) {
                                         run();
                                     }
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}
#else
void registerItk(int) {}
#endif

void registerAll() {
    for (const int threads : {1, 2}) {
        for (const Type& type : {u8, u16, f32}) {
            for (const int extent : {3, 5, 7, 9, 11, 13, 15, 21, 51, 101}) {
                registerSquare(type, extent, threads);
                registerRank(type, extent, threads);
                if (extent <= 5 || type.type == RIX_UINT8) {
                    registerOpenCv(type, extent, threads);
                }
            }
            for (const int radius : {2, 10}) {
                registerDisc(type, radius, threads);
            }
            for (const int extent : {3, 7}) {
                registerCube(type, extent, threads);
            }
        }
        registerItk(threads);
        registerRoof("copy u8", side * side, side * side, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
