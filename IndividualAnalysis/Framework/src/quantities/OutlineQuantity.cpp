#include "OutlineQuantity.h"

#include <algorithm>

#include <rix/access/Looks.h>

namespace rix::individual_analysis {

const QuantityInfo OutlineQuantity::info{.name = "Outline",
                                         .create = &makeQuantity<OutlineQuantity>,
                                         .bytesOfObject = 2 * sizeof(std::size_t),
                                         .bytesOfRun = sizeof(OutlineRow)};

void OutlineQuantity::add(const RunLine& line) {
    // The rows of a line lie at the end; several runs of an object are few, so they are found by their slot.
    lengthen(m_next, m_begins.size());
    const std::size_t first = m_rows.size();
    for (const Run& run : line.runs()) {
        const std::size_t known = m_next[run.slot];  // counted from 1
        if (known > first) {
            m_rows[known - 1].end = run.end;
        } else {
            m_rows.push_back({run.slot, line.row(), line.plane(), run.begin, run.end});
            m_next[run.slot] = m_rows.size();
            ++m_begins[run.slot + std::size_t{1}];
        }
    }
}

void OutlineQuantity::finishBand() {
    sumUp();
    access::CountedVector<OutlineRow> sorted;
    access::resizeWithLooks(sorted, m_rows.size());
    access::Looks looks;
    for (const OutlineRow& row : m_rows) {
        sorted[m_next[row.slot]++] = row;
        looks.add(1);
    }
    m_rows.swap(sorted);
    finishJoin();
}

void OutlineQuantity::startJoin(std::size_t objects, std::span<const JoinedBand> bands) {
    access::resizeWithLooks(m_begins, objects + 1);
    access::Looks looks;
    for (const JoinedBand& band : bands) {
        const auto& part = static_cast<const OutlineQuantity&>(*band.quantity);
        for (std::size_t object = 0; object < band.indices.size(); ++object) {
            m_begins[band.indices[object] + std::size_t{1}] += part.of(object).size();
            looks.add(1);
        }
    }
    sumUp();
    access::resizeWithLooks(m_rows, m_begins.back());
}

void OutlineQuantity::join(const Quantity& band, std::span<const JoinedObject> objects) {
    const auto& part = static_cast<const OutlineQuantity&>(band);
    access::Looks looks;
    for (const JoinedObject& object : objects) {
        const auto rows = part.of(object.from);
        std::copy(rows.begin(), rows.end(), m_rows.begin() + static_cast<std::ptrdiff_t>(m_next[object.to]));
        m_next[object.to] += rows.size();
        looks.add(rows.size());
    }
}

void OutlineQuantity::finishJoin() {
    access::CountedVector<std::size_t>().swap(m_next);
}

void OutlineQuantity::sumUp() {
    m_next.clear();
    m_next.reserve(m_begins.size());
    access::Looks looks;
    std::size_t sum = 0;
    for (std::size_t& begin : m_begins) {
        begin = sum += begin;
        m_next.push_back(sum);
        looks.add(1);
    }
}

}  // namespace rix::individual_analysis
