// Sums of runs of integers of 8 and 16 bits, in vectors. Included once a pass by IntensityKernels.cpp.

#if defined(RIX_INTEGER_RUN_SUMS) == defined(HWY_TARGET_TOGGLE)
#ifdef RIX_INTEGER_RUN_SUMS
#undef RIX_INTEGER_RUN_SUMS
#else
#define RIX_INTEGER_RUN_SUMS
#endif

#include <cstdint>

#include <rix/simd/IntegerSums-inl.h>

#include "RunSums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace rix::individual_analysis::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SCALAR

template <class T, unsigned Parts>
void sumSmallIntegers(const T* row, const Run* runs, std::size_t count, const double* shifts, RunSums* sums) {
    using Sums = simd::HWY_NAMESPACE::SmallSums<T, makesSum<Parts>, makesSquares<Parts>, makesExtrema<Parts>>;
    const typename Sums::D d;
    const std::size_t width = hn::Lanes(d);
    for (std::size_t i = 0; i < count; ++i) {
        Sums all;
        std::size_t x = runs[i].begin;
        const std::size_t end = runs[i].end;
        while (end - x >= width) {
            std::size_t steps = (end - x) / width;
            steps = steps < Sums::mostSteps ? steps : Sums::mostSteps;
            for (std::size_t step = 0; step < steps; ++step, x += width) {
                askAhead(row + x);
                all.addAll(all.load(row + x));
            }
            all.flush();
        }
        if (x < end) {
            askAhead(row + x);
            const std::size_t rest = end - x;
            const auto dead = hn::FirstN(d, width - rest);
            if (end >= width) {
                all.addAlive(all.load(row + end - width), dead);
            } else {
                HWY_ALIGN T buffer[HWY_MAX_BYTES / sizeof(T)] = {};
                for (std::size_t k = 0; k < rest; ++k) {
                    buffer[width - rest + k] = row[x + k];
                }
                all.addAlive(all.load(buffer), dead);
            }
            all.flush();
        }
        constexpr std::int64_t bias = Sums::bias(T{});
        if constexpr (makesSum<Parts>) {
            finish<Parts>(sums[i], end - runs[i].begin, all.total(), all.allSquares,
                          static_cast<std::int64_t>(shifts[i]) + bias);
        }
        if constexpr (makesExtrema<Parts>) {
            sums[i].minimum = static_cast<double>(all.lowest() - bias);
            sums[i].maximum = static_cast<double>(all.highest() - bias);
        }
    }
}

#endif

}  // namespace rix::individual_analysis::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
