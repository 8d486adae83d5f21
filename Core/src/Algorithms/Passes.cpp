#include <rix/algorithms/Passes.h>

#include "BaseAlgorithmPrivate.h"

namespace rix::algorithms {

access::Position firstOfPass(BaseAlgorithm& algorithm) {
    access::Position first;
    for (BaseAlgorithm* each = &algorithm; each != nullptr; each = each->getParent()) {
        const auto& state = static_cast<const BaseAlgorithmPrivate&>(each->executionContext());
        first.sequence += state.m_frame;
        first.spectral += state.m_channel;
    }
    return first;
}

}  // namespace rix::algorithms
