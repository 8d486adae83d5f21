#pragma once

#include <span>

namespace rix {

class AlgoInfo;
class ObjectInfo;

namespace algorithms {

/// An algorithm class as the list of the library names it.
struct ListedAlgorithm {
    AlgoInfo& (*getInfo)();
    const char* area;  ///< what `AlgoInfo::getArea` says
};

/// The algorithm classes of the library, module by module in a fixed order: the order of the registry. Defined where
/// the modules are put together, above the core.
std::span<const ListedAlgorithm> libraryAlgorithms();

/// How a module names one of its classes of result objects.
using ObjectInfoAccessor = const ObjectInfo& (*)();

/// The classes of result objects of the library's modules. Defined beside `libraryAlgorithms`.
std::span<const ObjectInfoAccessor> libraryObjects();

}  // namespace algorithms
}  // namespace rix
