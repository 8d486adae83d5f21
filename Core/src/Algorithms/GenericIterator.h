#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <rix/access/FunctionRef.h>
#include <rix/image/ImageModel.h>

namespace rix {

class BaseAlgorithm;
class BaseProperty;

namespace access {
class ExecutionContext;
}

namespace algorithms {

/// Runs an algorithm once for each index of the sequence axis, of the spectral axis or of both.
///
/// In each pass every image property holds a view of its image at that index. An image with one index on an axis
/// takes part in every pass; other images must agree on the number of indices. Outputs have been shaped for all
/// indices by the rules before. Passes run in raster order, spectral slowest.
class GenericIterator {
public:
    /// One of the runs: where it stands among all, and the indices that it sees.
    struct Pass {
        std::size_t number;
        std::size_t count;
        std::size_t sequence;
        std::size_t spectral;
    };

    GenericIterator(BaseAlgorithm& algorithm, bool onSequence, bool onSpectral);
    ~GenericIterator();
    GenericIterator(const GenericIterator&) = delete;
    GenericIterator& operator=(const GenericIterator&) = delete;

    /// Calls `pass` for each index; false, and nothing called, when the images have no such axis.
    /// @throws ProcessingException when images disagree on the number of indices.
    bool run(const access::ExecutionContext& context, access::FunctionRef<void(const Pass&)> pass);

private:
    struct Slot;

    std::size_t commonExtent(Components axis) const;
    void showIndex(std::size_t sequence, std::size_t spectral);

    std::vector<Slot> m_slots;
    bool m_onSequence;
    bool m_onSpectral;
};

}  // namespace algorithms
}  // namespace rix
