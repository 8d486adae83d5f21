// Bundles of lines along each axis of a volume: what it costs to bring lines into the cache and back, and a convolution
// of nine taps on them. The axes are to cost nearly the same; the yardstick is a copy of the volume.

#include <array>
#include <string>

#include <benchmark/benchmark.h>

#include <rix/access/LineBundles.h>
#include <rix/access/PlainContext.h>

#include "Yardstick.h"

namespace rix::bench {
namespace {

constexpr std::size_t edge = 256;

void convolve(access::Bundle<float>& bundle) {
    constexpr std::array<float, 5> taps{0.2F, 0.15F, 0.12F, 0.08F, 0.05F};
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(bundle.length()); ++i) {
        const float* rows[9];
        for (std::int64_t k = 0; k < 9; ++k) {
            rows[k] = bundle.row(i - 4 + k);
        }
        float* const out = bundle.row(i - 4);
#pragma GCC ivdep
        for (std::size_t x = 0; x < bundle.paddedWidth(); ++x) {
            float sum = taps[4] * (rows[0][x] + rows[8][x]);
            sum += taps[3] * (rows[1][x] + rows[7][x]);
            sum += taps[2] * (rows[2][x] + rows[6][x]);
            sum += taps[1] * (rows[3][x] + rows[5][x]);
            out[x] = sum + taps[0] * rows[4][x];
        }
    }
    bundle.setResult(-4);
}

template <class Body>
void measure(benchmark::State& state, Components axis, bool isParallel, const access::BundleNeeds& needs,
             const Body& body) {
    io::MemoryImage input;
    io::MemoryImage output;
    if (!input.reserve(RIX_FLOAT32, edge, edge, edge, 1, 1) || !output.reserve(RIX_FLOAT32, edge, edge, edge, 1, 1)) {
        state.SkipWithError("no memory");
        return;
    }
    const io::MemoryImage random = randomImage(RIX_FLOAT32, edge, edge * edge);
    std::copy_n(random.getInternalBuffer(), edge * edge * edge * sizeof(float), input.getInternalBuffer());
    access::PlainContext context(isParallel ? access::parallelScheduler() : access::serialScheduler(),
                                 isParallel ? 2 : 1);
    access::forEachBundle<float>(context, input, output, axis, needs, body);
    for (auto _ : state) {
        access::forEachBundle<float>(context, input, output, axis, needs, body);
    }
    setBytes(state, 2 * edge * edge * edge * sizeof(float));
}

void registerAll() {
    static constexpr const char* names[] = {"x", "y", "z"};
    for (const bool isParallel : {false, true}) {
        const std::string threads = isParallel ? "/threads:2" : "/threads:1";
        registerRoof(("copy" + threads).c_str(), edge * edge * edge * sizeof(float), edge * edge * edge * sizeof(float),
                     isParallel ? 2 : 1);
        for (const Components axis : {COLUMNS, ROWS, PLANS}) {
            const std::string end = '/' + std::string(names[axis]) + threads;
            benchmark::RegisterBenchmark(
                ("bundles/through" + end).c_str(),
                [=](benchmark::State& state) { measure(state, axis, isParallel, {}, [](access::Bundle<float>&) {}); })
                ->UseRealTime()
                ->Unit(benchmark::kMillisecond);
            benchmark::RegisterBenchmark(
                ("bundles/nine taps" + end).c_str(),
                [=](benchmark::State& state) { measure(state, axis, isParallel, {.reach = {4, 4}}, convolve); })
                ->UseRealTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
}

}  // namespace
}  // namespace rix::bench

int main(int argc, char** argv) {
    return rix::bench::runBenchmarks(argc, argv, &rix::bench::registerAll);
}
