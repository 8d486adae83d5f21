#include "Contacts.h"

#include <algorithm>
#include <array>

#include <rix/individual_analysis/MeasureInfo.h>

namespace rix::individual_analysis {

namespace {

/// Columns that [begin, end) and [otherBegin, otherEnd) share.
std::uint64_t overlap(std::int64_t begin, std::int64_t end, std::int64_t otherBegin, std::int64_t otherEnd) {
    const std::int64_t shared = std::min(end, otherEnd) - std::max(begin, otherBegin);
    return shared > 0 ? static_cast<std::uint64_t>(shared) : 0;
}

/// The components of each label in the union of the closed runs of up to four rows: for each label, calls
/// `joined(label)` once for every run that touches what is there already.
template <class F>
void forEachJoin(const std::array<const access::CountedVector<Run>*, 4>& rows, std::size_t rowCount, const F& joined) {
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
            if (next[r] < rows[r]->size() && (chosen == rowCount || (*rows[r])[next[r]].begin < begin)) {
                chosen = r;
                begin = (*rows[r])[next[r]].begin;
            }
        }
        if (chosen == rowCount) {
            return;
        }
        const Run& run = (*rows[chosen])[next[chosen]++];
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

Contacts::Contacts(const BandPlan& plan, std::uint32_t gathered)
    : m_plan(plan), m_euler((gathered & GATHER_EULER) != 0), m_lines(plan.lookBack + 1) {}

void Contacts::remember(std::size_t line, const Run* runs, std::size_t count) {
    m_lines[line % m_lines.size()].assign(runs, runs + count);
}

void Contacts::count(std::size_t line, const Run* runs, std::size_t count, BandTable& table) {
    remember(line, runs, count);
    const Line& current = lineAt(line);
    const std::size_t rows = m_plan.rows;
    const std::size_t row = line % rows;
    const std::size_t plane = line / rows;
    const bool inSpace = m_plan.planes > 1;
    if (row > 0) {
        countPair(current, lineAt(line - 1), 1, inSpace ? 1 : -1, table);
    }
    if (plane > 0) {
        for (std::size_t step = 0; step < 3;
             ++step) {  // the row above, the same and the one below, in the plane before
            if (row + step >= 1 && row + step <= rows) {
                countPair(current, lineAt(line - rows + step - 1), 4 + 3 * step, step == 1 ? 1 : 0, table);
            }
        }
    }
    if (m_euler && inSpace) {
        countEuler(row, plane, line, table);
    }
}

void Contacts::countPair(const Line& current, const Line& other, std::size_t firstDirection, std::int64_t touchWeight,
                         BandTable& table) const {
    std::size_t first = 0;
    for (const Run& run : current) {
        while (first < other.size() && other[first].end < run.begin) {
            ++first;
        }
        for (std::size_t i = first; i < other.size() && other[i].begin <= run.end; ++i) {
            if (other[i].label != run.label) {
                continue;
            }
            ContactSums& sums = table.contacts[run.slot];
            for (std::size_t d = 0; d < 3; ++d) {
                const std::int64_t shift = 1 - static_cast<std::int64_t>(d);
                sums.pairs[firstDirection + d] +=
                    overlap(run.begin, run.end, other[i].begin + shift, other[i].end + shift);
            }
            sums.euler += touchWeight;
        }
    }
}

void Contacts::countEuler(std::size_t row, std::size_t plane, std::size_t line, BandTable& table) const {
    const std::size_t rows = m_plan.rows;
    const auto subtractJoins = [&](const std::array<const Line*, 4>& around, std::size_t lineCount) {
        forEachJoin(around, lineCount, [&table](std::uint32_t label) { --table.contacts[table.slotOf(label)].euler; });
    };
    // The lines around the edge before this row and plane; and, at the ends, the edges behind them.
    const Line* const here = &lineAt(line);
    const Line* const above = row > 0 ? &lineAt(line - 1) : nullptr;
    const Line* const before = plane > 0 ? &lineAt(line - rows) : nullptr;
    std::array<const Line*, 4> around{here};
    std::size_t count = 1;
    if (above != nullptr) {
        around[count++] = above;
    }
    if (before != nullptr) {
        around[count++] = before;
        if (above != nullptr) {
            around[count++] = &lineAt(line - rows - 1);
        }
    }
    if (count > 1) {
        subtractJoins(around, count);
    }
    if (above != nullptr && plane + 1 == m_plan.planes) {
        subtractJoins({above, here}, 2);
    }
    if (before != nullptr && row + 1 == rows) {
        subtractJoins({before, here}, 2);
    }
}

}  // namespace rix::individual_analysis
