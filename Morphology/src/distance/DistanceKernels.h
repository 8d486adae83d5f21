#pragma once

#include <cstddef>
#include <cstdint>

#include <rix/algorithms/OptimLevel.h>

namespace rix::morphology {

/// Neighbouring voxels of a line that are of one class.
struct ClassRun {
    std::uint32_t begin;
    std::uint32_t end;
    bool isObject;  ///< the class is not 0
};

/// Steps from a voxel to the next one of another class, where there is none: and whatever is more.
inline constexpr std::int32_t noCount = 1 << 28;
/// Added to the steps of a class that goes on beyond what was looked at.
inline constexpr std::int32_t goesOn = 1 << 29;

/// Heights are what distances are made of, of the axes seen so far: sums of squares, sums or maxima. Integers where
/// they fit, which are exact; reals where they don't, and for lengths.
template <class Height>
inline constexpr Height noHeight = Height{1} << 30;
template <>
inline constexpr double noHeight<double> = __builtin_inf();
/// Integers are taken when no sum of squares is more.
inline constexpr double mostIntegerHeight = 1e9;

/// Places that a line has before its first voxel and behind its last one, to be read or overwritten.
inline constexpr std::size_t lineMargin = 32;

/// Up to so many steps are taken one after another.
inline constexpr std::size_t nearSteps = 16;

/// What steps along an axis add to heights.
template <class Height>
struct LineCosts {
    const Height* ofSteps = nullptr;  ///< of so many voxels, of either sign, `lineMargin` more than a line has
    double voxelsPerUnit = 1;
    bool isSquared = true;
    bool takesMaximum = false;  ///< of the height and the cost, instead of their sum
};

/// Which runs of a line get heights, and what lies at its ends.
template <class Height>
struct LineNeeds {
    bool ofObjects = true;
    bool ofBackground = false;
    Height beyondObjects = noHeight<Height>;  ///< at the ends of the image: 0 where background lies beyond
};

/// Rows of classes.
template <class Class>
struct ClassKernels {
    /// Steps to the next voxel of another class in the direction of the row before. @param counts may be those before
    void (*countOn)(const Class* classes, const Class* before, const std::int32_t* countsBefore, std::int32_t* counts,
                    std::size_t count);
    /// @return how many runs there are
    std::size_t (*findRuns)(const Class* classes, std::size_t count, ClassRun* runs);
};

template <class Height>
struct HeightKernels {
    /// Heights of the first axis, from the steps in both directions.
    void (*fromCounts)(const std::int32_t* forth, const std::int32_t* back, double spacing, bool isSquared,
                       Height* heights, std::size_t count);
    /// In each run that gets heights, the least over its voxels j and the first ones beyond it, which have none to go,
    /// of heights(j) and the cost of the steps from j; elsewhere 0.
    /// @param heights with margins; changed
    /// @param bounds room for an entry for each 16 voxels, and two
    /// @param out with a margin behind it
    void (*transform)(Height* heights, const ClassRun* runs, std::size_t runCount, const LineNeeds<Height>& needs,
                      const LineCosts<Height>& costs, std::uint32_t* bounds, Height* out, std::size_t count);
    /// Clears the heights of what is not to get any.
    void (*clearOthers)(const std::uint8_t* classes, bool areObjects, Height* heights, std::size_t count);
    /// Each place's least of the heights up to `nearSteps` places before and behind it and the cost of the steps from
    /// there, where no class gets heights but one, and the others have 0: then that is the same as `transform`.
    /// @param pitch from place to place that steps lead along; of as many before the first and behind the last heights
    /// are read
    /// @return false if more steps would count somewhere; then nothing is found
    bool (*transformNear)(const Height* heights, std::ptrdiff_t pitch, const LineCosts<Height>& costs, Height* out,
                          std::size_t count);
    /// Heights of all axes to distances.
    void (*toDistances)(const Height* heights, bool isSquared, float* distances, std::size_t count);
};

template <class Class>
ClassKernels<Class> classKernels(OptimLevelType level);
template <class Height>
HeightKernels<Height> heightKernels(OptimLevelType level);

}  // namespace rix::morphology
