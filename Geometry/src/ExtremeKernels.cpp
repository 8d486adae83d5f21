#include "ExtremeKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ExtremeKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class R>
constexpr R leastRank =
    hwy::IsSigned<R>() ? static_cast<R>(R{1} << (8 * sizeof(R) - 1)) : R{0};
/// What no sample has a better rank than.
template <bool isLargest, class R>
constexpr R worstRank =
    isLargest ? leastRank<R> : static_cast<R>(~leastRank<R>);

/// The ranks of a vector of samples.
template <bool isLargest, class D>
HWY_INLINE hn::Vec<hn::Rebind<RankOf<hn::TFromD<D>>, D>>
ranksOf(D d, const hn::TFromD<D> *from) {
  using T = hn::TFromD<D>;
  using R = RankOf<T>;
  const auto samples = hn::LoadU(d, from);
  if constexpr (hwy::IsFloat<T>()) {
    const hn::Rebind<R, D> dr;
    const auto bits = hn::BitCast(dr, samples);
    const auto reversed = hn::And(hn::ShiftRight<8 * sizeof(R) - 1>(bits),
                                  hn::Set(dr, static_cast<R>(~leastRank<R>)));
    const auto isNumber = hn::RebindMask(dr, hn::Eq(samples, samples));
    return hn::IfThenElse(isNumber, hn::Xor(bits, reversed),
                          hn::Set(dr, worstRank<isLargest, R>));
  } else {
    return samples;
  }
}

template <bool isLargest, class V> HWY_INLINE V better(V a, V b) {
  if constexpr (isLargest) {
    return hn::Max(a, b);
  } else {
    return hn::Min(a, b);
  }
}

template <bool isLargest, class D>
HWY_INLINE void besideFrom(D d, const hn::TFromD<D> *samples,
                           RankOf<hn::TFromD<D>> *best, std::size_t count,
                           std::size_t &x) {
  const hn::Rebind<RankOf<hn::TFromD<D>>, D> dr;
  for (; x + hn::Lanes(d) <= count; x += hn::Lanes(d)) {
    hn::StoreU(better<isLargest>(hn::LoadU(dr, best + x),
                                 ranksOf<isLargest>(d, samples + x)),
               dr, best + x);
  }
}

template <bool isLargest, class T>
void beside(const T *samples, RankOf<T> *best, std::size_t count) {
  std::size_t x = 0;
  besideFrom<isLargest>(hn::ScalableTag<T>(), samples, best, count, x);
  besideFrom<isLargest>(hn::CappedTag<T, 1>(), samples, best, count, x);
}

template <bool isLargest, class T>
RankOf<T> along(const T *samples, std::size_t count, RankOf<T> best) {
  const hn::ScalableTag<T> d;
  const hn::Rebind<RankOf<T>, decltype(d)> dr;
  const std::size_t lanes = hn::Lanes(d);
  auto first = hn::Set(dr, best);
  auto second = first;
  std::size_t x = 0;
  for (; x + 2 * lanes <= count; x += 2 * lanes) {
    first = better<isLargest>(first, ranksOf<isLargest>(d, samples + x));
    second =
        better<isLargest>(second, ranksOf<isLargest>(d, samples + x + lanes));
  }
  HWY_ALIGN RankOf<T> ranks[HWY_MAX_BYTES / sizeof(T)];
  hn::Store(better<isLargest>(first, second), dr, ranks);
  for (std::size_t i = 0; i < lanes; ++i) {
    best = isLargest ? HWY_MAX(best, ranks[i]) : HWY_MIN(best, ranks[i]);
  }
  const hn::CappedTag<T, 1> one;
  for (; x < count; ++x) {
    const RankOf<T> rank = hn::GetLane(ranksOf<isLargest>(one, samples + x));
    best = isLargest ? HWY_MAX(best, rank) : HWY_MIN(best, rank);
  }
  return best;
}

template <class T> ExtremeKernels<T> extremes(bool isLargest) {
  return isLargest ? ExtremeKernels<T>{&beside<true, T>, &along<true, T>}
                   : ExtremeKernels<T>{&beside<false, T>, &along<false, T>};
}

} // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

template <class T>
ExtremeKernels<T> extremeKernels(bool isLargest, OptimLevelType level) {
  return RIX_SELECT_KERNELS(level, extremes<T>(isLargest));
}

template ExtremeKernels<std::uint8_t>
extremeKernels<std::uint8_t>(bool, OptimLevelType);
template ExtremeKernels<std::uint16_t>
extremeKernels<std::uint16_t>(bool, OptimLevelType);
template ExtremeKernels<std::uint32_t>
extremeKernels<std::uint32_t>(bool, OptimLevelType);
template ExtremeKernels<std::int8_t>
extremeKernels<std::int8_t>(bool, OptimLevelType);
template ExtremeKernels<std::int16_t>
extremeKernels<std::int16_t>(bool, OptimLevelType);
template ExtremeKernels<std::int32_t>
extremeKernels<std::int32_t>(bool, OptimLevelType);
template ExtremeKernels<float> extremeKernels<float>(bool, OptimLevelType);
template ExtremeKernels<double> extremeKernels<double>(bool, OptimLevelType);

} // namespace rix::geometry
#endif
