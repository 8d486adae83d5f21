#pragma once

#include "Subject.h"

/// Good inputs for algorithms that no test knows: found by trying, since an algorithm says itself what it takes.
namespace rix::test {

/// Names of all algorithm classes, in the order of the registry.
std::vector<std::string> registeredNames();

/// A small example. A test failure that says what was tried and why it was refused, and none, when there is none.
std::optional<Example> findExample(AlgoInfo& info);
/// The example on images that are large enough for its work to be cut into blocks for threads, if there are any.
Example largeExample(const Example& example);
/// The example and its neighbours that run: every value of every choice, every voxel type.
std::vector<Example> variantsOf(const Example& example);
/// Every voxel type together with every value of every choice, and with other numbers than the example's.
std::vector<Example> combinationsOf(const Example& example);
/// Whether the algorithm runs with the example's values.
bool isAccepted(const Example& example);

}  // namespace rix::test
