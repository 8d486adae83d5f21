#include "labeling/ContactKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "labeling/ContactKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace rix::segmentation::HWY_NAMESPACE {

using Word = std::uint64_t;

static inline unsigned bitCount(Word word) {
#if HWY_TARGET == HWY_SCALAR
    // Without the instruction: sums of neighbouring pairs, nibbles, bytes.
    word -= (word >> 1) & 0x5555555555555555U;
    word = (word & 0x3333333333333333U) + ((word >> 2) & 0x3333333333333333U);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    return static_cast<unsigned>((word * 0x0101010101010101U) >> 56);
#else
    return static_cast<unsigned>(__builtin_popcountll(word));
#endif
}

// Rows are walked word by word; what a word needs of the one before is kept in places like these.

/// The first bits of runs.
struct Starts {
    Word before = 0;
    Word operator()(Word word) {
        const Word starts = word & ~(word << 1 | before);
        before = word >> 63;
        return starts;
    }
};

/// Runs made longer by one bit. Two runs touch obliquely exactly where such runs overlap.
struct Longer {
    Word before = 0;
    Word operator()(Word word) {
        const Word longer = word | word << 1 | before;
        before = word >> 63;
        return longer;
    }
};

/// Of the bits, the first one after (or at) each start; a carry runs from the start to it.
struct FirstAfter {
    Word carry = 0;
    Word operator()(Word starts, Word bits) {
        const Word open = starts & ~bits;
        const Word sum = ~bits + open;
        const Word total = sum + carry;
        carry = static_cast<Word>(sum < open) | static_cast<Word>(total < sum);
        return bits & (total | starts);
    }
};

/// Finds the contacts of two rows of nodes. Wherever nodes A and B touch, a bit of the contact mask lies after both
/// their first bits and before those of any other node; of several such bits the first is kept. Counting first bits up
/// to it gives the numbers of A and B.
/// @param use called for each word with the names of the nodes before those that start in it, the first bits of either
///        row, and the contacts
template <class Node, Contact kind, class Use>
HWY_INLINE void walkContacts(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words, Use&& use) {
    constexpr bool pairs = kind != Contact::Straight;
    const Word* const et = earlier.top;
    const Word* const eb = earlier.bottom;
    const Word* const lt = later.top;
    const Word* const lb = later.bottom;
    Node earlierName = static_cast<Node>(earlier.name - 1);
    Node laterName = static_cast<Node>(later.name - 1);
    Starts earlierStarts;
    Starts laterStarts;
    Longer longer[4];
    FirstAfter firstAfter;
    for (std::size_t i = 0; i < words; ++i) {
        const Word e = pairs ? et[i] | eb[i] : et[i];
        const Word l = pairs ? lt[i] | lb[i] : lt[i];
        const Word es = earlierStarts(e);
        const Word ls = laterStarts(l);
        const Word starts = es | ls;
        Word contacts = 0;
        if constexpr (kind == Contact::Straight) {
            contacts = e & l & starts;
        } else if constexpr (kind == Contact::Oblique) {
            contacts = longer[0](e) & longer[1](l) & starts;
        } else if constexpr (kind == Contact::AboveOblique) {
            contacts = firstAfter(starts, longer[0](eb[i]) & longer[1](lt[i]));
        } else if constexpr (kind == Contact::AboveStraight) {
            contacts = firstAfter(starts, eb[i] & lt[i]);
        } else if constexpr (kind == Contact::BelowOblique) {
            contacts = firstAfter(starts, longer[0](et[i]) & longer[1](lb[i]));
        } else if constexpr (kind == Contact::BelowStraight) {
            contacts = firstAfter(starts, et[i] & lb[i]);
        } else {
            contacts =
                firstAfter(starts, (longer[0](et[i]) & longer[1](lt[i])) | (longer[2](eb[i]) & longer[3](lb[i])) |
                                       (et[i] & lb[i]) | (eb[i] & lt[i]));
        }
        use(earlierName, laterName, es, ls, contacts);
        earlierName = static_cast<Node>(earlierName + bitCount(es));
        laterName = static_cast<Node>(laterName + bitCount(ls));
    }
}

/// Joins two sets in a forest in which every parent has a smaller name than its children, so that a root is the first
/// node of its set. Both paths are climbed at once, always from the larger parent, and shortened on the way.
template <class Node>
HWY_INLINE void join(Node* entries, Node a, Node b) {
    Node parentA = entries[a];
    Node parentB = entries[b];
    while (parentA != parentB) {
        if (parentA < parentB) {
            const Node node = a;
            const Node parent = parentA;
            a = b;
            parentA = parentB;
            b = node;
            parentB = parent;
        }
        entries[a] = parentB;
        if (parentA == a) {
            return;
        }
        a = parentA;
        parentA = entries[a];
    }
}

/// Calls `use` for every contact with the names of the two nodes.
template <class Node, class Use>
HWY_INLINE void forEachContact(Node earlierName, Node laterName, Word earlierStarts, Word laterStarts, Word contacts,
                               Use&& use) {
    while (contacts != 0) {
        const Word upTo = contacts ^ (contacts - 1);
        contacts &= contacts - 1;
        use(static_cast<Node>(earlierName + bitCount(earlierStarts & upTo)),
            static_cast<Node>(laterName + bitCount(laterStarts & upTo)));
    }
}

template <class Node, Contact kind>
void joinRows(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words, Node* entries) {
    walkContacts<Node, kind>(earlier, later, words, [entries](Node e, Node l, Word es, Word ls, Word contacts) {
        forEachContact(e, l, es, ls, contacts, [entries](Node a, Node b) { join(entries, a, b); });
    });
}

/// Most contacts are the first ones of their later nodes, which then just take over the parent: nothing to compare, no
/// branch that the processor could guess wrong.
template <class Node, Contact kind>
void joinFreshRows(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words, Node* entries) {
    FirstAfter firstOfLater;
    walkContacts<Node, kind>(earlier, later, words, [&](Node e, Node l, Word es, Word ls, Word contacts) {
        const Word firsts = firstOfLater(ls, contacts);
        if (((es ^ ls) | (es ^ contacts)) == 0) {
            // Node after node starts below its one neighbour, as in stripes; or nothing starts here.
            const auto count = static_cast<Node>(bitCount(es));
            for (Node i = 1; i <= count; ++i) {
                entries[static_cast<Node>(l + i)] = entries[static_cast<Node>(e + i)];
            }
            return;
        }
        forEachContact(e, l, es, ls, firsts, [entries](Node a, Node b) { entries[b] = entries[a]; });
        forEachContact(e, l, es, ls, contacts ^ firsts, [entries](Node a, Node b) { join(entries, a, b); });
    });
}

template <class Node, Contact kind>
std::size_t listRows(const NodeRow<Node>& earlier, const NodeRow<Node>& later, std::size_t words,
                     NodePair<Node>* pairs) {
    std::size_t count = 0;
    walkContacts<Node, kind>(earlier, later, words, [&](Node e, Node l, Word es, Word ls, Word contacts) {
        forEachContact(e, l, es, ls, contacts, [&](Node a, Node b) { pairs[count++] = {a, b}; });
    });
    return count;
}

/// For each node of a pair of rows, in their order, one bit: its first pixel of the top row or, where it has none, the
/// first place after its end.
struct TopPixels {
    Word before = 0;
    Word carry = 0;
    Word operator()(Word top, Word bottom) {
        const Word covered = top | bottom;
        const Word starts = covered & ~(covered << 1 | before);
        before = covered >> 63;
        const Word path = covered & ~top;  // what a carry from the start of a node passes
        const Word sum = path + (starts & path);
        const Word total = sum + carry;
        carry = static_cast<Word>(sum < path) | static_cast<Word>(total < sum);
        return (total & ~path) | (starts & top);
    }
};

template <class Node>
Node labelTopRoots(const NodeRow<Node>& row, std::size_t words, Node* entries, Node label) {
    // Sets that begin in this row have their root in it, but their first pixel may belong to another of its nodes.
    TopPixels topPixels;
    Node name = row.name;
    for (std::size_t i = 0; i < words; ++i) {
        const Word ends = topPixels(row.top[i], row.bottom[i]);
        for (Word tops = ends & row.top[i]; tops != 0; tops &= tops - 1) {
            Node node = static_cast<Node>(name + bitCount(ends & ((tops ^ (tops - 1)) >> 1)));
            // Entries that are smaller than the row's first name are labels, or nodes of earlier rows. Such entries and
            // roots alternate beyond any guess, while a parent in the same row is rare: one comparison tells it from
            // both.
            Node parent = entries[node];
            while (static_cast<Node>(parent - row.name) < static_cast<Node>(node - row.name)) {
                node = parent;
                parent = entries[node];
            }
            const auto isRoot = static_cast<Node>(parent == node);
            label = static_cast<Node>(label + isRoot);
            entries[node] = parent ^ ((parent ^ label) & static_cast<Node>(-isRoot));
        }
        name = static_cast<Node>(name + bitCount(ends));
    }
    return label;
}

template <class Node>
const ContactKernels<Node>& kernels() {
    using C = Contact;
    static constexpr ContactKernels<Node> table = {
        {&joinRows<Node, C::Straight>, &joinRows<Node, C::Oblique>, &joinRows<Node, C::AboveOblique>,
         &joinRows<Node, C::AboveStraight>, &joinRows<Node, C::BelowOblique>, &joinRows<Node, C::BelowStraight>,
         &joinRows<Node, C::BesideEdges>},
        {&joinFreshRows<Node, C::Straight>, &joinFreshRows<Node, C::Oblique>, &joinFreshRows<Node, C::AboveOblique>,
         &joinFreshRows<Node, C::AboveStraight>, &joinFreshRows<Node, C::BelowOblique>,
         &joinFreshRows<Node, C::BelowStraight>, &joinFreshRows<Node, C::BesideEdges>},
        {&listRows<Node, C::Straight>, &listRows<Node, C::Oblique>, &listRows<Node, C::AboveOblique>,
         &listRows<Node, C::AboveStraight>, &listRows<Node, C::BelowOblique>, &listRows<Node, C::BelowStraight>,
         &listRows<Node, C::BesideEdges>},
        &labelTopRoots<Node>};
    return table;
}

}  // namespace rix::segmentation::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::segmentation {

template <class Node>
const ContactKernels<Node>& contactKernels(OptimLevelType level) {
    return RIX_SELECT_KERNELS(level, kernels<Node>());
}

template const ContactKernels<std::uint32_t>& contactKernels<std::uint32_t>(OptimLevelType);
template const ContactKernels<std::uint64_t>& contactKernels<std::uint64_t>(OptimLevelType);

}  // namespace rix::segmentation
#endif
