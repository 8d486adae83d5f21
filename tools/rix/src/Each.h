#pragma once

#include <string>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::cli {

/// The axes over which an algorithm is run once for each index, instead of once on the whole images.
struct Each {
    bool frame = false;
    bool channel = false;

    void applyTo(BaseAlgorithm& algorithm) const {
        algorithm.enableIterationOnSequenceAxis(frame);
        algorithm.enableIterationOnSpectralAxis(channel);
    }
};

/// Reads "frame", "channel" or both with a comma between; nothing for none.
/// @param where names the option or the place in a file. @throws Failure (wrong usage).
Each eachFromText(const std::string& text, const std::string& where);

}  // namespace rix::cli
