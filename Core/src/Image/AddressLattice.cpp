#include "Image/AddressLattice.h"

#include <algorithm>

namespace rix::detail {

namespace {

using Distance = std::ptrdiff_t;

/// pitch * m with m from least to greatest: what one axis may add to the distance between two elements.
struct Term {
    Distance pitch;  ///< above 0
    Distance least;
    Distance greatest;
};

Distance divideDown(Distance a, Distance b) {
    return a / b - (a % b < 0 ? 1 : 0);
}

/// Looks for a way to make up a distance from one value of each term.
class DistanceSearch {
public:
    void add(Distance pitch, Distance least, Distance greatest) {
        if (pitch < 0) {
            pitch = -pitch;
            std::swap(least, greatest);
            least = -least;
            greatest = -greatest;
        }
        if (pitch == 0 || (least == 0 && greatest == 0)) {
            return;
        }
        for (std::size_t i = 0; i < m_count; ++i) {
            if (m_terms[i].pitch == pitch) {
                m_terms[i].least += least;
                m_terms[i].greatest += greatest;
                return;
            }
        }
        m_terms[m_count++] = {pitch, least, greatest};
    }

    bool finds(Distance distance) {
        std::sort(m_terms.begin(), m_terms.begin() + static_cast<Distance>(m_count),
                  [](const Term& a, const Term& b) { return a.pitch > b.pitch; });
        for (std::size_t i = m_count; i-- > 0;) {
            m_reach[i] = {m_reach[i + 1].least + m_terms[i].pitch * m_terms[i].least,
                          m_reach[i + 1].greatest + m_terms[i].pitch * m_terms[i].greatest};
        }
        m_steps = 0;
        return findsFrom(0, distance);
    }

private:
    struct Reach {
        Distance least = 0;
        Distance greatest = 0;
    };

    /// With the terms from `index` on. The coarse terms come first: what the finer ones can't reach is left out.
    bool findsFrom(std::size_t index, Distance distance) {
        constexpr int manySteps = 10000;
        if (++m_steps > manySteps) {
            return true;
        }
        if (index == m_count) {
            return distance == 0;
        }
        const Term& term = m_terms[index];
        const Reach& rest = m_reach[index + 1];
        const Distance first = std::max(term.least, -divideDown(rest.greatest - distance, term.pitch));
        const Distance last = std::min(term.greatest, divideDown(distance - rest.least, term.pitch));
        for (Distance m = first; m <= last; ++m) {
            if (findsFrom(index + 1, distance - m * term.pitch)) {
                return true;
            }
        }
        return false;
    }

    static constexpr std::size_t largestCount = 2 * RIX_COMPONENTS_SIZE + 1;
    std::array<Term, largestCount> m_terms{};
    std::array<Reach, largestCount + 1> m_reach{};  ///< of the terms from an index on
    std::size_t m_count = 0;
    int m_steps = 0;
};

}  // namespace

std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE> packedPitches(
    const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, std::size_t elementSize) {
    std::array<std::ptrdiff_t, RIX_COMPONENTS_SIZE> pitches{};
    auto pitch = static_cast<std::ptrdiff_t>(elementSize);
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        pitches[axis] = pitch;
        pitch *= static_cast<std::ptrdiff_t>(extents[axis]);
    }
    return pitches;
}

bool isPacked(const AddressLattice& lattice) {
    AddressLattice packed = lattice;
    packed.pitches = packedPitches(lattice.extents, lattice.elementSize);
    return isSameLattice(lattice, packed);
}

bool isSameLattice(const AddressLattice& a, const AddressLattice& b) {
    bool same = a.first == b.first && a.extents == b.extents && a.elementSize == b.elementSize;
    for (std::size_t axis = 0; same && axis < a.extents.size(); ++axis) {
        same = a.extents[axis] == 1 || a.pitches[axis] == b.pitches[axis];
    }
    return same;
}

AddressRange rangeOf(const AddressLattice& lattice) {
    AddressRange range{lattice.first, lattice.first + lattice.elementSize};
    for (std::size_t axis = 0; axis < lattice.extents.size(); ++axis) {
        const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>(lattice.extents[axis] - 1) * lattice.pitches[axis];
        (reach < 0 ? range.low : range.high) += reach;
    }
    return range;
}

bool latticesMeet(const AddressLattice& a, const AddressLattice& b) {
    if (!rangeOf(a).meets(rangeOf(b))) {
        return false;
    }
    // Some byte of an element of a, minus some byte of an element of b, is 0.
    DistanceSearch search;
    for (std::size_t axis = 0; axis < a.extents.size(); ++axis) {
        search.add(a.pitches[axis], 0, static_cast<Distance>(a.extents[axis] - 1));
        search.add(-b.pitches[axis], 0, static_cast<Distance>(b.extents[axis] - 1));
    }
    search.add(1, 1 - static_cast<Distance>(b.elementSize), static_cast<Distance>(a.elementSize) - 1);
    return search.finds(b.first - a.first);
}

}  // namespace rix::detail
