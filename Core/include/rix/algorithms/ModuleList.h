#pragma once

#include <span>

namespace rix {

class AlgoInfo;

namespace algorithms {

/// How a module names one of its algorithm classes: the function that gives the class's record.
using AlgoInfoAccessor = AlgoInfo& (*)();

/// The algorithm classes of the library, module by module in a fixed order: the order of the registry. Defined where
/// the modules are put together, above the core.
std::span<const AlgoInfoAccessor> libraryAlgorithms();

}  // namespace algorithms
}  // namespace rix
