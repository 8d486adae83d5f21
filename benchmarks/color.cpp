// Colour spaces with 1 and 2 threads, beside OpenCV (which has pixels of three samples side by side) and the roof of
// moving the same bytes.

#include <algorithm>
#include <functional>
#include <string>

#include <benchmark/benchmark.h>
#ifdef RIX_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <rix/filtering/color/ConvertColorSpace.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

using filtering::color::ConvertColorSpace;

constexpr std::size_t side = 4096;
constexpr std::size_t pixels = side * side;

void registerBoth(const std::string& name, const std::function<void(benchmark::State&, int threads)>& body) {
    for (const int threads : {1, 2}) {
        benchmark::RegisterBenchmark((name + "/threads:" + std::to_string(threads)).c_str(),
                                     [=](benchmark::State& state) { body(state, threads); })
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
}

/// Three channels of a random image; reals from 0 to 1.
io::MemoryImage colorImage(VoxelTypes type) {
    const io::MemoryImage flat = randomImage(type, side, 3 * side);
    io::MemoryImage image;
    static_cast<void>(image.reserve(type, side, side, 1, 1, 3));
    const std::size_t samples = 3 * pixels;
    if (type == RIX_FLOAT32) {
        const auto* const from = reinterpret_cast<const float*>(flat.getInternalBuffer());
        auto* const to = reinterpret_cast<float*>(image.getInternalBuffer());
        for (std::size_t i = 0; i < samples; ++i) {
            to[i] = from[i] - static_cast<float>(static_cast<int>(from[i]));
            to[i] = to[i] < 0 ? -to[i] : to[i];
        }
    } else {
        std::copy_n(flat.getInternalBuffer(), samples, image.getInternalBuffer());
    }
    return image;
}

void registerOurs(const std::string& name, VoxelTypes type, ConvertColorSpace::ColorSpace from,
                  ConvertColorSpace::ColorSpace to) {
    registerBoth("rix/" + name, [=](benchmark::State& state, int threads) {
        const io::MemoryImage image = colorImage(type);
        io::MemoryImage output;
        ConvertColorSpace algorithm;
        algorithm.settings().setMaximumNumberOfThreads(threads);
        algorithm.setInputImage(&image);
        algorithm.setFromSpace(from);
        algorithm.setToSpace(to);
        algorithm.setOutputType(ConvertColorSpace::SAME_AS_INPUT);
        algorithm.setOutputImage(&output);
        algorithm.run();
        for (auto _ : state) {
            algorithm.run();
        }
        setBytes(state, (3 + output.getNumOf(SPECTRAL_SERIES)) * pixels * helper::getSizeOf(type));
    });
}

#ifdef RIX_HAVE_OPENCV
void registerOpenCv(const std::string& name, VoxelTypes type, int code) {
    registerBoth("opencv/" + name, [=](benchmark::State& state, int threads) {
        io::MemoryImage image = colorImage(type);
        const int side32 = static_cast<int>(side);
        const cv::Mat source(side32, side32, type == RIX_FLOAT32 ? CV_32FC3 : CV_8UC3, image.getInternalBuffer());
        cv::Mat output;
        cv::setNumThreads(threads);
        for (auto _ : state) {
            cv::cvtColor(source, output, code);
        }
    });
}
#define RIX_PEER(name, type, code) registerOpenCv(name, type, cv::code)
#else
#define RIX_PEER(name, type, code)
#endif

void registerAll() {
    using Convert = ConvertColorSpace;
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT32}) {
        const std::string suffix = type == RIX_UINT8 ? " u8" : " f32";
        registerOurs("rgb to gray" + suffix, type, Convert::RGB, Convert::GRAY);
        RIX_PEER("rgb to gray" + suffix, type, COLOR_RGB2GRAY);
        registerOurs("rgb to hsv" + suffix, type, Convert::RGB, Convert::HSV);
        RIX_PEER("rgb to hsv" + suffix, type, COLOR_RGB2HSV);
        registerOurs("hsv to rgb" + suffix, type, Convert::HSV, Convert::RGB);
        RIX_PEER("hsv to rgb" + suffix, type, COLOR_HSV2RGB);
        registerOurs("rgb to lab" + suffix, type, Convert::RGB, Convert::LAB);
        RIX_PEER("rgb to lab" + suffix, type, COLOR_RGB2Lab);
        registerOurs("lab to rgb" + suffix, type, Convert::LAB, Convert::RGB);
        RIX_PEER("lab to rgb" + suffix, type, COLOR_Lab2RGB);
    }
    for (const int threads : {1, 2}) {
        registerRoof("move u8", 3 * pixels, 3 * pixels, threads);
        registerRoof("move f32", 3 * pixels * sizeof(float), 3 * pixels * sizeof(float), threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
