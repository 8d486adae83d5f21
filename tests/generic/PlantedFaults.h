#pragma once

#include <rix/algorithms/AlgoInfo.h>

/// Algorithms that are wrong on purpose, each in one way that shows at the seams of blocks only. They are in no
/// registry: the tests run their records.
namespace rix::test::planted {

AlgoInfo& windowMeanOfBlocks();         ///< mirrors at its block's edges instead of reading beyond them
AlgoInfo& windowMeanOnSharedSamples();  ///< takes an output that it reads from
AlgoInfo& copyOfRowsButTheLast();       ///< leaves the last row of each block out, but for the last block
AlgoInfo& sumOfBlocks();                ///< adds reals in an order that the cut gives

}  // namespace rix::test::planted
