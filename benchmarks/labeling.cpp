// Labeling of generated images at each level and 1 and 2 threads, beside every algorithm for connected components that
// OpenCV, ITK and VIGRA have, as far as they are installed. All write 32-bit labels, ours also 8 and 16-bit ones where
// they fit.

#include <string>

#include <benchmark/benchmark.h>

#include <rix/devices/Cpu.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>
#include <rix/settings/Settings.h>

#include "LabelingImages.h"
#include "LabelingPeers.h"
#include "Yardstick.h"

namespace rix::bench {
namespace {

template <class Labeling>
void registerOurs(const std::string& image, int neighbours, int neighborhood, OptimLevelType level, int labelType,
                  int threads) {
    static constexpr const char* levels[] = {"scalar", "sse", "avx"};
    static constexpr const char* types[] = {"u8", "u16", "u32"};
    const std::string name = "rix/c" + std::to_string(neighbours) + '/' + image + '/' + levels[level] + '/' +
                             types[labelType] + "/threads:" + std::to_string(threads);
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
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
        })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void registerPeers(const std::string& image, int neighbours, int threads) {
    for (const LabelingPeer& peer : labelingPeers()) {
        if (!peer.takes(neighbours, threads)) {
            continue;
        }
        const std::string name = std::string(peer.name) + "/c" + std::to_string(neighbours) + '/' + image +
                                 "/threads:" + std::to_string(threads);
        benchmark::RegisterBenchmark(
            name.c_str(),
            [=](benchmark::State& state) {
                const io::MemoryImage& input = imageNamed(image);
                const auto label = peer.prepare(
                    {input.getInternalBuffer(), input.getNumOf(COLUMNS), input.getNumOf(ROWS), input.getNumOf(PLANS)},
                    neighbours, threads);
                std::uint64_t labels = label();
                for (auto _ : state) {
                    labels = label();
                }
                state.counters["labels"] = static_cast<double>(labels);
            })
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
}

void registerAll() {
    static constexpr const char* images2d[] = {
        "blobs", "cells", "texture", "comb", "checker", "dots",    "lines",     "rings",     "r1",     "r10",    "r25",
        "r50",   "r75",   "r90",     "r99",  "full",    "blobs64", "blobs1024", "blobs2048", "r50x64", "r50x512"};
    for (const std::string image : images2d) {
        for (const int neighborhood : {0, 1}) {
            const int neighbours = neighborhood == 0 ? 4 : 8;
            for (const int threads : {1, 2}) {
                for (const OptimLevelType level : {SCALAR, VEC_SSE, VEC_AVX}) {
                    for (const int labelType : {0, 1, 2}) {
                        if (devices::Cpu::supports(level)) {
                            registerOurs<segmentation::Labeling2d>(image, neighbours, neighborhood, level, labelType,
                                                                   threads);
                        }
                    }
                }
                registerPeers(image, neighbours, threads);
            }
        }
    }
    for (const std::string image : {"blobs3", "v1", "v10", "v25", "v50", "v75", "v90", "v99"}) {
        for (const int neighborhood : {0, 1, 2}) {
            const int neighbours = neighborhood == 0 ? 6 : neighborhood == 1 ? 18 : 26;
            for (const int threads : {1, 2}) {
                registerOurs<segmentation::Labeling3d>(image, neighbours, neighborhood, VEC_AVX, 2, threads);
                registerPeers(image, neighbours, threads);
            }
        }
    }
    for (const int threads : {1, 2}) {
        registerRoof("labels u8->u32", labelingSide * labelingSide, 4 * labelingSide * labelingSide, threads);
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
