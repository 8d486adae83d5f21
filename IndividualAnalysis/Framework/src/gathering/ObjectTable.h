#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/individual_analysis/Quantity.h>
#include <rix/individual_analysis/ShapeQuantity.h>

#include "BandTable.h"
#include "LabelHash.h"

namespace rix::individual_analysis {

/// What is gathered of the objects of a frame, in the order of their labels.
class ObjectTable {
public:
    /// Joins the bands of a frame, in their order, so that sums of reals do not depend on who joins.
    /// Memory: that of the objects, and 4 bytes for each label up to the greatest one unless labels are sparse.
    /// @param empty quantities as those of the bands
    /// @throws ExceptionCancelation when the run is cancelled
    ObjectTable(std::span<const BandTable> bands, QuantityTable empty, access::ExecutionContext& context);

    /// The index of a label that is there.
    std::uint32_t indexOf(std::uint32_t label) const {
        return m_indices.empty() ? m_order[m_sparse.find(label)] : m_indices[label];
    }

    std::size_t size() const { return m_labels.size(); }
    const access::CountedVector<std::uint32_t>& labels() const { return m_labels; }
    const QuantityTable& quantities() const { return m_quantities; }
    const ShapeQuantity& shape() const {
        return static_cast<const ShapeQuantity&>(*m_quantities.find(ShapeQuantity::info));
    }

    /// Gives the memory of all but the labels back.
    void releaseQuantities() { m_quantities = QuantityTable(m_quantities.image()); }

private:
    void numberLabels(std::span<const BandTable> bands);
    void numberSparseLabels(std::span<const BandTable> bands);
    void joinQuantities(std::span<const BandTable> bands, access::ExecutionContext& context);

    access::CountedVector<std::uint32_t> m_labels;
    access::CountedVector<std::uint32_t> m_indices;  ///< of each label up to the greatest; empty when labels are sparse
    LabelHash m_sparse;
    access::CountedVector<std::uint32_t> m_order;  ///< index of each number of `m_sparse`
    QuantityTable m_quantities;
};

}  // namespace rix::individual_analysis
