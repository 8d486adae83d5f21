#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <rix/individual_analysis/Quantity.h>

namespace rix::individual_analysis {

/// The first and last pixel of an object in a row; [begin, end) may contain other pixels.
struct OutlineRow {
    std::uint32_t slot;  ///< in a band
    std::uint32_t row;
    std::uint32_t plane;
    std::uint32_t begin;
    std::uint32_t end;
};

/// The rows of each object, in raster order.
class OutlineQuantity : public Quantity {
public:
    static const QuantityInfo info;

    explicit OutlineQuantity(QuantityTable& /*table*/) {}

    void grow(std::size_t objects) override { lengthen(m_begins, objects + 1); }
    void add(const RunLine& line) override;
    /// Sorts the rows by objects.
    void finishBand() override;
    void startJoin(std::size_t objects, std::span<const JoinedBand> bands) override;
    void join(const Quantity& band, std::span<const JoinedObject> objects) override;
    void finishJoin() override;

    std::span<const OutlineRow> of(std::size_t object, std::size_t /*channel*/ = 0) const {
        return std::span(m_rows).subspan(m_begins[object], m_begins[object + 1] - m_begins[object]);
    }

private:
    void sumUp();

    access::CountedVector<OutlineRow> m_rows;  ///< while a band is read, in raster order
    access::CountedVector<std::size_t>
        m_begins;  ///< of each object, and the end of the last; until then, numbers of rows
    access::CountedVector<std::size_t> m_next;  ///< row of each object: in a band the last, in a join the next
};

}  // namespace rix::individual_analysis
