#pragma once

#include <memory>
#include <vector>

#include <rix/individual_analysis/MeasureDefinition.h>
#include <rix/individual_analysis/MeasureNamesHandler.h>

// The measures of the library. Conventions that hold for all:
//
// - An object is the union of its pixels, each a rectangle (cuboid) of the image's spacing about its position; a length
//   is in the image's spatial unit. Where a measure looks at pixel centres instead, it says so.
// - Positions are origin + index * spacing along the image's own axes.
// - Images of one plane hold areas in the plane; others hold bodies in space.
// - Grey values of several channels give one value a channel.
// - A grey value that is not a number makes every measure of its object NaN that sums over it; extrema and order
//   statistics pass over it.

namespace rix::individual_analysis {

/// The measures of the library, in the order of the preset "All". A new one is entered here and has its definition,
/// `<name>Definition`, in a file of its own.
#define RIX_MEASURES(DO)   \
    DO(pixelCount)         \
    DO(area)               \
    DO(volume)             \
    DO(barycenter)         \
    DO(boundingBox)        \
    DO(touchesBorder)      \
    DO(perimeter)          \
    DO(surfaceArea)        \
    DO(equivalentDiameter) \
    DO(extent)             \
    DO(secondMoments)      \
    DO(principalAxes)      \
    DO(orientation)        \
    DO(elongation)         \
    DO(circularity)        \
    DO(sphericity)         \
    DO(eulerNumber)        \
    DO(feret)              \
    DO(convexArea)         \
    DO(convexVolume)       \
    DO(solidity)           \
    DO(minimum)            \
    DO(maximum)            \
    DO(mean)               \
    DO(standardDeviation)  \
    DO(sum)                \
    DO(weightedBarycenter) \
    DO(median)

#define RIX_DECLARE_MEASURE(name) extern const MeasureDefinition name##Definition;
RIX_MEASURES(RIX_DECLARE_MEASURE)
#undef RIX_DECLARE_MEASURE
// Not in "All": what the hull has of its own comes from the measures that are made of it, and percentiles need a
// number.
extern const MeasureDefinition convexHullDefinition;
extern const MeasureDefinition percentileDefinition;

/// The names of all measures of the library.
const MeasureNamesHandler& standardMeasures();
/// These, and those that programs registered.
std::shared_ptr<const MeasureNamesHandler> knownMeasures();

/// The names of the measures of a preset that exist for a dimension; empty when there is no preset of that name.
std::vector<String> presetMeasures(const String& preset, DimensionalMode mode);
/// The names of the presets.
std::vector<String> presetNames();

}  // namespace rix::individual_analysis
