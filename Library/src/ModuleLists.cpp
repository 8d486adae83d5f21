// The order of the registry: module by module, from the bottom of the library to its top.

#include <initializer_list>
#include <vector>

#include <rix/algorithms/ModuleList.h>
#include <rix/analysis/Algorithms.h>
#include <rix/filtering/smoothing/Algorithms.h>
#include <rix/individual_analysis/Algorithms.h>
#include <rix/morphology/Algorithms.h>
#include <rix/point_operations/Algorithms.h>
#include <rix/segmentation/Algorithms.h>

namespace rix::algorithms {

namespace {

template <class Accessor>
std::vector<Accessor> join(std::initializer_list<std::span<const Accessor>> modules) {
    std::vector<Accessor> list;
    for (const auto& module : modules) {
        list.insert(list.end(), module.begin(), module.end());
    }
    return list;
}

}  // namespace

std::span<const AlgoInfoAccessor> libraryAlgorithms() {
    static const auto accessors = join<AlgoInfoAccessor>({
        point_operations::moduleAlgorithms(),
        filtering::smoothing::moduleAlgorithms(),
        morphology::moduleAlgorithms(),
        analysis::moduleAlgorithms(),
        segmentation::moduleAlgorithms(),
        individual_analysis::moduleAlgorithms(),
    });
    return accessors;
}

std::span<const ObjectInfoAccessor> libraryObjects() {
    static const auto accessors = join<ObjectInfoAccessor>({
        analysis::moduleObjects(),
        individual_analysis::moduleObjects(),
    });
    return accessors;
}

}  // namespace rix::algorithms
