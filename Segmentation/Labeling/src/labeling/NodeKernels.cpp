#include "labeling/NodeKernels.h"

#include "labeling/LabelRanks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "labeling/NodeKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <class Node>
std::size_t countRoots(const Node* entries, Node first, Node end) {
    std::size_t roots = 0;
    for (Node node = first; node != end; ++node) {
        roots += entries[node] == node ? 1 : 0;
    }
    return roots;
}

template <class Node>
Node labelRoots(Node* entries, Node first, Node end, Node label) {
    for (Node node = first; node != end; ++node) {
        const Node entry = entries[node];
        const bool isRoot = entry == node;
        label = static_cast<Node>(label + (isRoot ? 1 : 0));
        entries[node] = isRoot ? label : entry;
    }
    return label;
}

// Relaxed atomic accesses, without the standard library's inline functions: they cost what plain ones do.
template <class Node>
HWY_INLINE Node readEntry(const Node* entries, Node name) {
    return __atomic_load_n(entries + name, __ATOMIC_RELAXED);
}

template <class Node, class T>
void resolve(Node* entries, Node first, Node end, T* labels) {
    for (Node node = first; node != end; ++node) {
        const Node entry = readEntry(entries, node);
        const Node label = readEntry(entries, entry < firstNodeName<Node> ? node : entry);
        __atomic_store_n(entries + node, label, __ATOMIC_RELAXED);
        *labels++ = static_cast<T>(label);
    }
}

#if HWY_TARGET != HWY_SCALAR

using Narrow = std::uint32_t;
using D = hn::CappedTag<Narrow, 8>;

template <>
inline std::size_t countRoots<Narrow>(const Narrow* entries, Narrow first, Narrow end) {
    const D d;
    const auto lanes = static_cast<Narrow>(hn::Lanes(d));
    auto names = hn::Iota(d, first);
    const auto step = hn::Set(d, lanes);
    std::size_t roots = 0;
    Narrow node = first;
    for (; end - node >= lanes; node += lanes) {
        roots += hn::CountTrue(d, hn::Eq(hn::LoadU(d, entries + node), names));
        names = hn::Add(names, step);
    }
    for (; node != end; ++node) {
        roots += entries[node] == node ? 1 : 0;
    }
    return roots;
}

template <>
inline Narrow labelRoots<Narrow>(Narrow* entries, Narrow first, Narrow end, Narrow label) {
    const D d;
    const hn::Rebind<std::uint8_t, D> d8;
    const auto lanes = static_cast<Narrow>(hn::Lanes(d));
    auto names = hn::Iota(d, first);
    const auto step = hn::Set(d, lanes);
    Narrow node = first;
    for (; end - node >= lanes; node += lanes) {
        const auto old = hn::LoadU(d, entries + node);
        const auto isRoot = hn::Eq(old, names);
        std::uint8_t bits[8];
        hn::StoreMaskBits(d, isRoot, bits);
        // Looked up once: g++ 12 may spill a mask as one byte and reload it as four, which then index out of the table.
        const std::uint8_t* const upTo = labelRanks.upTo[bits[0]];
        const auto ranks = hn::PromoteTo(d, hn::LoadU(d8, upTo));
        hn::StoreU(hn::IfThenElse(isRoot, hn::Add(hn::Set(d, label), ranks), old), d, entries + node);
        label += upTo[7];
        names = hn::Add(names, step);
    }
    for (; node != end; ++node) {
        const Narrow entry = entries[node];
        label += entry == node ? 1 : 0;
        entries[node] = entry == node ? label : entry;
    }
    return label;
}

#endif

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_SSE4

/// Eight nodes at a time. A name of a node among the eight gives no label yet: then one after the other.
template <class T>
void resolveVectors(Narrow* entries, Narrow first, Narrow end, T* labels) {
    const D d;
    const hn::RebindToSigned<D> ds;
    const auto lanes = static_cast<Narrow>(hn::Lanes(d));
    const Narrow* const numbered = entries + firstNodeName<Narrow>;
    const auto nameBit = hn::Set(d, firstNodeName<Narrow>);
    const auto step = hn::Set(d, lanes);
    auto own = hn::Iota(d, first ^ firstNodeName<Narrow>);  // the numbers of the nodes themselves
    Narrow node = first;
    for (; end - node >= lanes; node += lanes, labels += lanes, own = hn::Add(own, step)) {
        const auto old = hn::LoadU(d, entries + node);
        const auto isName = hn::MaskFromVec(hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(ds, old))));
        auto found = old;
        if (!hn::AllFalse(d, isName)) {
            // A label is not followed but read again where it stands.
            const auto numbers = hn::IfThenElse(isName, hn::Xor(old, nameBit), own);
            found = hn::GatherIndex(d, numbered, hn::BitCast(ds, numbers));
            const auto unresolved = hn::MaskFromVec(hn::BitCast(d, hn::BroadcastSignBit(hn::BitCast(ds, found))));
            if (!hn::AllFalse(d, unresolved)) {
                resolve<Narrow, T>(entries, node, node + lanes, labels);
                continue;
            }
            hn::BlendedStore(found, isName, d, entries + node);
        }
        if constexpr (sizeof(T) == 4) {
            hn::StoreU(found, d, labels);
        } else if constexpr (sizeof(T) == 2) {
            const hn::Rebind<std::int16_t, D> d16;
            const hn::Rebind<std::uint16_t, D> du16;
            // Labels fit their type; the signed narrowing saturates above 32767, so that the half is moved first.
            const auto moved = hn::Sub(hn::BitCast(ds, found), hn::Set(ds, 0x8000));
            const auto narrow = hn::BitCast(du16, hn::DemoteTo(d16, moved));
            hn::StoreU(hn::Xor(narrow, hn::Set(du16, 0x8000)), du16, labels);
        } else {
            const hn::Rebind<std::uint8_t, D> du8;
            hn::StoreU(hn::DemoteTo(du8, hn::BitCast(ds, found)), du8, labels);
        }
    }
    resolve<Narrow, T>(entries, node, end, labels);
}

template <class Node, class T>
void resolveBest(Node* entries, Node first, Node end, T* labels) {
    if constexpr (sizeof(Node) == 4) {
        resolveVectors<T>(entries, first, end, labels);
    } else {
        resolve<Node, T>(entries, first, end, labels);
    }
}

#else

template <class Node, class T>
void resolveBest(Node* entries, Node first, Node end, T* labels) {
    resolve<Node, T>(entries, first, end, labels);
}

#endif

template <class Node>
const NodeKernels<Node>& kernels() {
    static constexpr NodeKernels<Node> table = {&countRoots<Node>, &labelRoots<Node>};
    return table;
}

template <class Types>
ResolveNodes<typename Types::Node, typename Types::Label> resolver() {
    return &resolveBest<typename Types::Node, typename Types::Label>;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class Node>
const NodeKernels<Node>& nodeKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<Node>());
}

namespace {

// One argument for the macro, which takes no commas.
template <class N, class T>
struct NodeAndLabel {
    using Node = N;
    using Label = T;
};

}  // namespace

template <class Node, class T>
ResolveNodes<Node, T> resolveNodes(OptimLevelType level) {
    using Types = NodeAndLabel<Node, T>;
    return RIX_SELECT_KERNELS(level, resolver<Types>());
}

template const NodeKernels<std::uint32_t>& nodeKernels<std::uint32_t>(OptimLevelType);
template const NodeKernels<std::uint64_t>& nodeKernels<std::uint64_t>(OptimLevelType);
template ResolveNodes<std::uint32_t, std::uint8_t> resolveNodes<std::uint32_t, std::uint8_t>(OptimLevelType);
template ResolveNodes<std::uint32_t, std::uint16_t> resolveNodes<std::uint32_t, std::uint16_t>(OptimLevelType);
template ResolveNodes<std::uint32_t, std::uint32_t> resolveNodes<std::uint32_t, std::uint32_t>(OptimLevelType);
template ResolveNodes<std::uint64_t, std::uint8_t> resolveNodes<std::uint64_t, std::uint8_t>(OptimLevelType);
template ResolveNodes<std::uint64_t, std::uint16_t> resolveNodes<std::uint64_t, std::uint16_t>(OptimLevelType);
template ResolveNodes<std::uint64_t, std::uint32_t> resolveNodes<std::uint64_t, std::uint32_t>(OptimLevelType);

}  // namespace rix::segmentation
#endif
