// The parts of the frame's small interfaces that need a home of their own.

#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgorithmDescription.h>
#include <rix/algorithms/InteractionInterface.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/algorithms/Runnable.h>
#include <rix/properties/EnumInfo.h>

namespace rix {

Runnable::~Runnable() = default;

InteractionInterface::~InteractionInterface() = default;
void InteractionInterface::setProgress(double /*progress*/) {}
void InteractionInterface::setProgressionMessage(const String& /*message*/) {}
void InteractionInterface::setProgressionData(const String& /*name*/, const String& /*value*/) {}

bool InteractionInterface::isCancelRequested() {
    return false;
}

const EnumInfo& getInfoOptimLevelType() {
    static const EnumInfo info("OptimLevelType", "SCALAR = 0, VEC_SSE = 1, VEC_AVX = 2, GPU = 3");
    return info;
}

String algorithmKindToString(AlgorithmKind kind) {
    switch (kind) {
        case AlgorithmKind::Point: return "point";
        case AlgorithmKind::Neighbourhood: return "neighbourhood";
        case AlgorithmKind::Reduction: return "reduction";
        case AlgorithmKind::Labeling: return "labeling";
        case AlgorithmKind::Composite: return "composite";
        case AlgorithmKind::Geometry: return "geometry";
    }
    return {};
}

namespace algorithms {

AbstractPrivateImplementation::~AbstractPrivateImplementation() = default;

void AbstractPrivateImplementation::attach(BaseAlgorithm* algorithm) {
    m_algorithm = algorithm;
    m_cancelled.store(false, std::memory_order_relaxed);
}

void AbstractPrivateImplementation::detach() {
    m_algorithm = nullptr;
}

}  // namespace algorithms
}  // namespace rix
