#pragma once

#include <span>

namespace rix {

class AlgoInfo;
class ObjectInfo;

namespace algorithms {

/// How a module names one of its algorithm classes: the function that gives the class's record.
using AlgoInfoAccessor = AlgoInfo& (*)();

/// The algorithm classes of the library, module by module in a fixed order: the order of the registry. Defined where
/// the modules are put together, above the core.
std::span<const AlgoInfoAccessor> libraryAlgorithms();

/// How a module names one of its classes of result objects.
using ObjectInfoAccessor = const ObjectInfo& (*)();

/// The classes of result objects of the library's modules. Defined beside `libraryAlgorithms`.
std::span<const ObjectInfoAccessor> libraryObjects();

}  // namespace algorithms
}  // namespace rix
