// Compiles the file that includes this header once for every instruction set that the library uses.
//
// A kernel file is written once, in plain loops or Highway vectors:
//
//     #define HWY_TARGET_INCLUDE "FooKernels.cpp"
//     #include <rix/simd/KernelTargets.h>
//     #include <hwy/highway.h>
//
//     HWY_BEFORE_NAMESPACE();
//     namespace rix::area::HWY_NAMESPACE { ... FooKernels kernels() ... }
//     HWY_AFTER_NAMESPACE();
//
//     #if HWY_ONCE
//     namespace rix::area {
//     FooKernels fooKernels(OptimLevelType level) { return RIX_SELECT_KERNELS(level, kernels()); }
//     }
//     #endif
//
// The compiler is switched to an instruction set by attributes around each pass, not by flags for the whole file: no
// inline function of the standard library can be compiled for a processor that the program may not run on. Inside the
// passes nothing of a shared header may be instantiated for the first time; use plain pointers and values.
//
// No include guard: highway's own headers arrange the repetition.

#ifndef HWY_DISABLED_TARGETS
// Between SSE4.2, AVX2 and AVX-512 (the Skylake set) nothing is worth its size.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL)
#endif

#ifndef HWY_BROKEN_EMU128
// What is portable is plain loops with every compiler; vectors emulated in memory are no faster.
#define HWY_BROKEN_EMU128 1
#endif

#include <hwy/foreach_target.h>  // IWYU pragma: keep

#include <rix/algorithms/OptimLevel.h>
#include <rix/devices/Cpu.h>

/// The value of `expression` in the pass that serves a level. Only to be used after the passes (inside `HWY_ONCE`),
/// where HWY_NAMESPACE names the last of them: portable code for the baseline processor.
#ifndef RIX_SELECT_KERNELS
#define RIX_SELECT_KERNELS(level, expression)                                                                   \
    ((level) == ::rix::VEC_AVX   ? (::rix::devices::Cpu::hasAvx512() ? N_AVX3::expression : N_AVX2::expression) \
     : (level) == ::rix::VEC_SSE ? N_SSE4::expression                                                           \
                                 : HWY_NAMESPACE::expression)
#endif
