// How kernels that are written in vectors take a store policy: `storeTo<stores>`. No include guard: the file is
// included once for every instruction set, into the namespace of that pass. Loops that the compiler vectorises write
// pieces of a `PieceWriter` instead.

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <rix/access/Plan.h>

HWY_BEFORE_NAMESPACE();
namespace rix::access::HWY_NAMESPACE {

/// @param out aligned to the vector where stores stream
template <Stores stores, class V, class D, class T>
HWY_INLINE void storeTo(V v, D d, T* out) {
    if constexpr (stores == Stores::Streaming) {
        hwy::HWY_NAMESPACE::Stream(v, d, out);
    } else {
        hwy::HWY_NAMESPACE::StoreU(v, d, out);
    }
}

}  // namespace rix::access::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
