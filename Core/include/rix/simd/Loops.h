#pragma once

/// Before a loop whose iterations are independent even where its output is one of its inputs (sample by sample): lets
/// the compiler vectorise without testing addresses first, whose answer in place would be the slow loop.
#if defined(__clang__)
#define RIX_INDEPENDENT_ITERATIONS _Pragma("clang loop vectorize(assume_safety)")
#else
#define RIX_INDEPENDENT_ITERATIONS _Pragma("GCC ivdep")
#endif
