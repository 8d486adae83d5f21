// The order of the registry: module by module, from the bottom of the library to its top.

#include <vector>

#include <rix/algorithms/ModuleList.h>
#include <rix/analysis/Algorithms.h>
#include <rix/filtering/smoothing/Algorithms.h>
#include <rix/point_operations/Algorithms.h>
#include <rix/individual_analysis/Algorithms.h>
#include <rix/segmentation/Algorithms.h>

namespace rix::algorithms {

std::span<const AlgoInfoAccessor> libraryAlgorithms() {
    static const std::vector<AlgoInfoAccessor> accessors = [] {
        std::vector<AlgoInfoAccessor> list;
        const auto append = [&list](std::span<const AlgoInfoAccessor> module) {
            list.insert(list.end(), module.begin(), module.end());
        };
        append(point_operations::moduleAlgorithms());
        append(filtering::smoothing::moduleAlgorithms());
        append(analysis::moduleAlgorithms());
        append(segmentation::moduleAlgorithms());
        append(individual_analysis::moduleAlgorithms());
        return list;
    }();
    return accessors;
}

std::span<const ObjectInfoAccessor> libraryObjects() {
    return analysis::moduleObjects();
}

}  // namespace rix::algorithms
