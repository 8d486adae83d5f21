#include "ContactsQuantity.h"

#include <algorithm>

namespace rix::individual_analysis {

namespace {

/// Columns that [begin, end) and [otherBegin, otherEnd) share.
std::uint64_t overlap(std::int64_t begin, std::int64_t end, std::int64_t otherBegin, std::int64_t otherEnd) {
    const std::int64_t shared = std::min(end, otherEnd) - std::max(begin, otherBegin);
    return shared > 0 ? static_cast<std::uint64_t>(shared) : 0;
}

}  // namespace

const QuantityInfo ContactsQuantity::info{.name = "Contacts",
                                          .create = &makeQuantity<ContactsQuantity>,
                                          .needsNeighbours = true,
                                          .bytesOfObject = sizeof(ContactSums)};

void ContactsQuantity::add(const RunLine& line) {
    if (line.runs().empty()) {
        return;
    }
    countPairs(line.runs(), line.neighbour(-1, 0), 1, m_inSpace ? 1 : -1);
    if (line.plane() > 0) {
        for (int step = -1; step <= 1; ++step) {  // the row above, the same and the one below, in the plane before
            countPairs(line.runs(), line.neighbour(step, -1), static_cast<std::size_t>(7 + 3 * step),
                       step == 0 ? 1 : 0);
        }
    }
}

void ContactsQuantity::countPairs(std::span<const Run> current, std::span<const Run> other, std::size_t firstDirection,
                                  std::int64_t touchWeight) {
    std::size_t first = 0;
    for (const Run& run : current) {
        while (first < other.size() && other[first].end < run.begin) {
            ++first;
        }
        for (std::size_t i = first; i < other.size() && other[i].begin <= run.end; ++i) {
            if (other[i].label != run.label) {
                continue;
            }
            ContactSums& sums = of(run.slot);
            for (std::size_t d = 0; d < 3; ++d) {
                const std::int64_t shift = 1 - static_cast<std::int64_t>(d);
                sums.pairs[firstDirection + d] +=
                    overlap(run.begin, run.end, other[i].begin + shift, other[i].end + shift);
            }
            sums.touches += touchWeight;
        }
    }
}

void ContactsQuantity::joinValues(ContactSums& left, const ContactSums& right) {
    for (std::size_t d = 0; d < directionCount; ++d) {
        left.pairs[d] += right.pairs[d];
    }
    left.touches += right.touches;
}

}  // namespace rix::individual_analysis
