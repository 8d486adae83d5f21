// What a run costs beyond its work: a 16x16 image, in the caller's thread and in the worker thread.

#include <benchmark/benchmark.h>

#include <rix/segmentation/ThresholdingByCriterion.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

void runSmall(benchmark::State& state) {
    const auto threads = static_cast<int>(state.range(0));
    const io::MemoryImage input = randomImage(RIX_UINT8, 16, 16);
    io::MemoryImage output;
    segmentation::ThresholdingByCriterion algorithm;
    algorithm.settings().setMaximumNumberOfThreads(threads);
    algorithm.setInputGrayImage(&input);
    algorithm.setComparisonValue(128);
    algorithm.setOutputBinaryImage(&output);
    for (auto _ : state) {
        algorithm.run();
    }
}
BENCHMARK(runSmall)->ArgName("threads")->Arg(1)->Arg(2)->Arg(-1)->UseRealTime()->Unit(benchmark::kMicrosecond);

void createAndRunSmall(benchmark::State& state) {
    const io::MemoryImage input = randomImage(RIX_UINT8, 16, 16);
    for (auto _ : state) {
        io::MemoryImage output;
        segmentation::ThresholdingByCriterion algorithm;
        algorithm.settings().setMaximumNumberOfThreads(1);
        algorithm.setInputGrayImage(&input);
        algorithm.setOutputBinaryImage(&output);
        algorithm.run();
    }
}
BENCHMARK(createAndRunSmall)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv);
}
