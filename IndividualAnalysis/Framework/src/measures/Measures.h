#pragma once

#include <memory>
#include <vector>

#include <rix/individual_analysis/MeasureNamesHandler.h>

#include "LabelMeasure.h"

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

extern const MeasureDefinition areaDefinition;
extern const MeasureDefinition barycenterDefinition;
extern const MeasureDefinition boundingBoxDefinition;
extern const MeasureDefinition circularityDefinition;
extern const MeasureDefinition convexAreaDefinition;
extern const MeasureDefinition convexHullDefinition;
extern const MeasureDefinition convexVolumeDefinition;
extern const MeasureDefinition elongationDefinition;
extern const MeasureDefinition equivalentDiameterDefinition;
extern const MeasureDefinition eulerNumberDefinition;
extern const MeasureDefinition extentDefinition;
extern const MeasureDefinition feretDefinition;
extern const MeasureDefinition maximumDefinition;
extern const MeasureDefinition meanDefinition;
extern const MeasureDefinition medianDefinition;
extern const MeasureDefinition minimumDefinition;
extern const MeasureDefinition orientationDefinition;
extern const MeasureDefinition percentileDefinition;
extern const MeasureDefinition perimeterDefinition;
extern const MeasureDefinition pixelCountDefinition;
extern const MeasureDefinition principalAxesDefinition;
extern const MeasureDefinition secondMomentsDefinition;
extern const MeasureDefinition solidityDefinition;
extern const MeasureDefinition sphericityDefinition;
extern const MeasureDefinition standardDeviationDefinition;
extern const MeasureDefinition sumDefinition;
extern const MeasureDefinition surfaceAreaDefinition;
extern const MeasureDefinition touchesBorderDefinition;
extern const MeasureDefinition volumeDefinition;
extern const MeasureDefinition weightedBarycenterDefinition;

/// The names of all measures of the library.
const MeasureNamesHandler& standardMeasures();

/// The names of the measures of a preset that exist for a dimension; empty when there is no preset of that name.
std::vector<String> presetMeasures(const String& preset, DimensionalMode mode);
/// The names of the presets.
std::vector<String> presetNames();

}  // namespace rix::individual_analysis
