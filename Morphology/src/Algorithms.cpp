#include <rix/morphology/Algorithms.h>

#include <rix/morphology/FillHoles2d.h>
#include <rix/morphology/FillHoles3d.h>

namespace rix::morphology {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &FillHoles2d::getInfo,
        &FillHoles3d::getInfo,
    };
    return accessors;
}

}  // namespace rix::morphology
