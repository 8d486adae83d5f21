#pragma once

#include "Subject.h"

/// Checks of one example each, for the tests over the registry and for the proof that they see what they are for.
///
/// Blocks are made so small that images of a few KiB have seams: pixels beside a block's edge are right only when the
/// block reads beyond it, and no block's output is another one's input.
namespace rix::test {

/// Whether the example gives the same bits when its images are one block and when they are many, cut in every way that
/// the settings know, run in order, in another order and by threads.
::testing::AssertionResult isSameHoweverCut(const Example& example);

/// The same in one of the storages at one of the levels: which is a matter of the number.
::testing::AssertionResult isSameHoweverCutOnce(const Example& example, std::size_t number);

/// Blocks that the example consists of when it is cut; 1 when its work is not cut.
std::size_t blocksWhenCut(const Example& example);

/// Whether the example survives that an output shares samples with an input: for every pair of them, and every way in
/// which images can share samples, the run is refused by name before anything was written, or gives what it gives with
/// an output of its own.
::testing::AssertionResult isSafeOnSharedSamples(const Example& example);

}  // namespace rix::test
