#pragma once

#include <cstdint>
#include <string>

#include <rix/algorithms/BaseAlgorithm.h>

namespace rix::cli {

/// How many voxels of the output will wrap in a run on the present inputs. @throws what a cancelled run throws
std::uint64_t countWrapped(const BaseAlgorithm& algorithm);

/// A line about it for after the run; nothing when none did.
std::string wrappingNote(const BaseAlgorithm& algorithm, std::uint64_t wrapped);

}  // namespace rix::cli
