#pragma once

#include <cstdint>

namespace rix::individual_analysis {

/// Where a measure stands in its life. The numbers are part of the interface.
enum class MeasureProcessingStatus : std::int32_t {
    Undefined = 0,             ///< not yet part of a set
    Created = 1,               ///< dependencies set, not initialised
    Initialized = 2,           ///< results object created
    ReadyForProcessing = 3,    ///< waits for the image passes
    Processing = 4,            ///< inside the image passes
    ReadyForFinalization = 5,  ///< image data gathered, or none needed
    Finalizing = 6,            ///< inside finalization
    Done = 7                   ///< results final
};

/// For which step of a measure's life its dependencies are asked for.
enum class DependencyProcessingStep : std::int32_t {
    Processing,    ///< must be done before the image passes
    Finalization,  ///< must be done before the finalization
    All
};

/// Which kind of pass over the image feeds a measure.
enum class MeasureProcessingType : std::int32_t {
    None,   ///< computed from other measures alone
    Runs,   ///< sums over runs of equal label: the first pass, which all such measures share
    Values  ///< all grey values of each object at once, for order statistics
};

/// Whether objects are areas in the plane or bodies in space.
enum class DimensionalMode : std::int32_t { Mode2d = 2, Mode3d = 3 };

}  // namespace rix::individual_analysis
