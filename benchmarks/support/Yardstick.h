#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

#include <benchmark/benchmark.h>

#include <rix/image/MemoryImage.h>

namespace rix::bench {

/// The main function of a benchmark program. @param registerAll registers what the program does not register itself
int runBenchmarks(int argc, char** argv, void (*registerAll)() = nullptr);

/// A 2D image of random samples, the same at every call; never zeros, which memory moves faster than data.
io::MemoryImage randomImage(VoxelTypes type, std::size_t columns, std::size_t rows);

/// Moves `in` bytes in and `out` bytes out with as many threads as given, by the faster of plain and non-temporal
/// stores: the time that no operation on that many bytes can beat.
void registerRoof(const char* name, std::size_t in, std::size_t out, int threads);

/// Sets "GB/s" for bytes read and written an iteration.
inline void setBytes(benchmark::State& state, std::size_t bytes) {
    state.counters["GB/s"] =
        benchmark::Counter(static_cast<double>(bytes) / 1e9, benchmark::Counter::kIsIterationInvariantRate);
}

}  // namespace rix::bench
