// Runs on 64x64 with objects and results that are kept: what benchmarks/python_peers.py compares the calls of the
// Python package with. One thread, as Python takes for images of that size.

#include <benchmark/benchmark.h>

#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/ThresholdingByCriterion.h>
#include <rix/settings/Settings.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t side = 64;

void repeat(benchmark::State& state, BaseAlgorithm& algorithm) {
    algorithm.settings().setMaximumNumberOfThreads(1);
    for (auto _ : state) {
        algorithm.run();
    }
}

void threshold(segmentation::ThresholdingByCriterion& algorithm, const io::MemoryImage& input,
               io::MemoryImage& output) {
    algorithm.setInputGrayImage(&input);
    algorithm.setComparisonCriterion(segmentation::ThresholdingByCriterion::GREATER_THAN);
    algorithm.setComparisonValue(128);
    algorithm.setOutputBinaryImage(&output);
}

void thresholding_by_criterion(benchmark::State& state) {  // NOLINT: the name of the Python function
    const io::MemoryImage input = randomImage(RIX_UINT8, side, side);
    io::MemoryImage output;
    segmentation::ThresholdingByCriterion algorithm;
    threshold(algorithm, input, output);
    repeat(state, algorithm);
}
BENCHMARK(thresholding_by_criterion)->Unit(benchmark::kMicrosecond);

void box_filter_2d(benchmark::State& state) {  // NOLINT
    const io::MemoryImage input = randomImage(RIX_UINT8, side, side);
    io::MemoryImage output;
    filtering::smoothing::BoxFilter2d algorithm;
    algorithm.setInputImage(&input);
    algorithm.setKernelSizeX(5);
    algorithm.setKernelSizeY(5);
    algorithm.setOutputImage(&output);
    repeat(state, algorithm);
}
BENCHMARK(box_filter_2d)->Unit(benchmark::kMicrosecond);

void labeling_2d(benchmark::State& state) {  // NOLINT
    const io::MemoryImage input = randomImage(RIX_UINT8, side, side);
    io::MemoryImage binary;
    io::MemoryImage output;
    segmentation::ThresholdingByCriterion before;
    threshold(before, input, binary);
    before.run();
    segmentation::Labeling2d algorithm;
    algorithm.setInputObjectImage(&binary);
    algorithm.setOutputLabelImage(&output);
    repeat(state, algorithm);
}
BENCHMARK(labeling_2d)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv);
}
