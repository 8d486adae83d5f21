#include "Mapped.h"

namespace rix::geometry {

ImageHeader headerOfRun(const BaseAlgorithm& algorithm, const ImageModel& input, const AxisMaps& maps) {
    const auto assertKept = [&](Components axis, bool isIterated) {
        if (isIterated && !isIdentity(maps[axis], axis, input.getNumOf(axis))) {
            rules::refuse("The axis \"" + helper::componentToString(axis) +
                          "\" changes, so that its elements cannot be runs of their own.");
        }
    };
    assertKept(SEQUENCE, algorithm.isIterationOnSequenceAxisEnabled());
    assertKept(SPECTRAL_SERIES, algorithm.isIterationOnSpectralAxisEnabled());
    return mappedHeader(input, maps);
}

}  // namespace rix::geometry
