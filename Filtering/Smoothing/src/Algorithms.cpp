#include <rix/filtering/smoothing/Algorithms.h>

#include <rix/filtering/smoothing/BoxFilter2d.h>
#include <rix/filtering/smoothing/BoxFilter3d.h>
#include <rix/filtering/smoothing/GaussianFilter2d.h>
#include <rix/filtering/smoothing/GaussianFilter3d.h>

namespace rix::filtering::smoothing {

std::span<const algorithms::AlgoInfoAccessor> moduleAlgorithms() {
    static constexpr algorithms::AlgoInfoAccessor accessors[] = {
        &BoxFilter2d::getInfo,
        &BoxFilter3d::getInfo,
        &GaussianFilter2d::getInfo,
        &GaussianFilter3d::getInfo,
    };
    return accessors;
}

}  // namespace rix::filtering::smoothing
