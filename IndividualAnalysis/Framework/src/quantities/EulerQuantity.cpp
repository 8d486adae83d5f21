#include "EulerQuantity.h"

#include <algorithm>

namespace rix::individual_analysis {

namespace {

/// The components of each label in the union of the closed runs of up to four rows: for each label, calls
/// `joined(label)` once for every run that touches what is there already.
template <class F>
void forEachJoin(const std::array<std::span<const Run>, 4>& rows, std::size_t rowCount, const F& joined) {
    struct Reach {
        std::uint32_t label;
        std::uint32_t end;
    };
    // Each row has at most one run at a column and one that ends there.
    std::array<Reach, 8> active{};
    std::size_t activeCount = 0;
    std::array<std::size_t, 4> next{};
    while (true) {
        std::size_t chosen = rowCount;
        std::uint32_t begin = 0;
        for (std::size_t r = 0; r < rowCount; ++r) {
            if (next[r] < rows[r].size() && (chosen == rowCount || rows[r][next[r]].begin < begin)) {
                chosen = r;
                begin = rows[r][next[r]].begin;
            }
        }
        if (chosen == rowCount) {
            return;
        }
        const Run& run = rows[chosen][next[chosen]++];
        std::size_t kept = 0;
        Reach* same = nullptr;
        for (std::size_t i = 0; i < activeCount; ++i) {
            if (active[i].end >= begin) {
                active[kept] = active[i];
                if (active[kept].label == run.label) {
                    same = &active[kept];
                }
                ++kept;
            }
        }
        activeCount = kept;
        if (same != nullptr) {
            same->end = std::max(same->end, run.end);
            joined(run.label);
        } else {
            active[activeCount++] = {run.label, run.end};
        }
    }
}

}  // namespace

const QuantityInfo EulerQuantity::info{.name = "Euler",
                                       .create = &makeQuantity<EulerQuantity>,
                                       .needsNeighbours = true,
                                       .bytesOfObject = sizeof(std::int64_t)};

void EulerQuantity::add(const RunLine& line) {
    if (m_image.planes <= 1) {
        return;
    }
    // The lines around the edge before this row and plane; and, at the ends, the edges behind them.
    const bool hasAbove = line.row() > 0;
    const bool hasBefore = line.plane() > 0;
    Lines around{line.runs()};
    std::size_t count = 1;
    if (hasAbove) {
        around[count++] = line.neighbour(-1, 0);
    }
    if (hasBefore) {
        around[count++] = line.neighbour(0, -1);
        if (hasAbove) {
            around[count++] = line.neighbour(-1, -1);
        }
    }
    if (count > 1) {
        subtractJoins(line, around, count);
    }
    if (hasAbove && line.plane() + std::size_t{1} == m_image.planes) {
        subtractJoins(line, {line.neighbour(-1, 0), line.runs()}, 2);
    }
    if (hasBefore && line.row() + std::size_t{1} == m_image.rows) {
        subtractJoins(line, {line.neighbour(0, -1), line.runs()}, 2);
    }
}

void EulerQuantity::subtractJoins(const RunLine& line, const Lines& around, std::size_t count) {
    forEachJoin(around, count, [&](std::uint32_t label) {
        const std::uint32_t slot = line.slotOf(label);
        grow(slot + std::size_t{1});  // it may be known from rows before the band alone
        --of(slot);
    });
}

}  // namespace rix::individual_analysis
