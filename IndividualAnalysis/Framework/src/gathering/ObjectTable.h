#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>

#include "BandTable.h"
#include "LabelHash.h"
#include "Sums.h"

namespace rix::individual_analysis {

/// What is gathered of the objects of a frame, in the order of their labels.
class ObjectTable {
public:
    /// Joins the bands of a frame, in their order, so that sums of reals do not depend on who joins.
    /// Memory: that of the objects, and 4 bytes for each label up to the greatest one unless labels are sparse.
    /// @throws ExceptionCancelation when the run is cancelled
    ObjectTable(std::span<const BandTable> bands, access::ExecutionContext& context);

    /// The index of a label that is there.
    std::uint32_t indexOf(std::uint32_t label) const {
        return m_indices.empty() ? m_order[m_sparse.find(label)] : m_indices[label];
    }

    std::size_t size() const { return labels.size(); }
    std::size_t channels() const { return m_channels; }

    /// Gives the memory of all but the labels back.
    void releaseSums();

    access::CountedVector<std::uint32_t> labels;
    access::CountedVector<ShapeSums> shape;
    access::CountedVector<SecondMoments> second;
    access::CountedVector<ContactSums> contacts;
    access::CountedVector<IntensitySums> intensity;    ///< the channels of an object are adjacent
    access::CountedVector<WeightedPosition> weighted;  ///< the same
    access::CountedVector<OutlineRow> outline;         ///< object by object, each in raster order
    access::CountedVector<std::size_t> outlineBegins;  ///< of each object, and the end of the last

private:
    void numberLabels(std::span<const BandTable> bands, const access::ExecutionContext& context);
    void numberSparseLabels(std::span<const BandTable> bands, const access::ExecutionContext& context);
    /// Joins the sums of a band to the objects with indices in [first, last) and counts the rows of their outlines.
    void joinSum(const BandTable& band, std::size_t first, std::size_t last);
    void joinOutline(const BandTable& band, std::size_t first, std::size_t last,
                     access::CountedVector<std::size_t>& next);

    std::size_t m_channels;
    access::CountedVector<std::uint32_t> m_indices;  ///< of each label up to the greatest; empty when labels are sparse
    LabelHash m_sparse;
    access::CountedVector<std::uint32_t> m_order;  ///< index of each number of `m_sparse`
};

}  // namespace rix::individual_analysis
