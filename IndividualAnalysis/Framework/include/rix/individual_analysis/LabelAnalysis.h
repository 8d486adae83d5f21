#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/individual_analysis/LabelAnalysisMsr.h>

namespace rix::individual_analysis {

/// Measures every object of a label image and gives one table with a row an object.
///
/// **Input** `inputLabelImage`: `uint8`, `uint16` or `uint32`, scalar, of any interpretation: equal values other than 0
/// are one object, connected or not, so a binary image has one. One channel; each frame (index of the sequence axis) is
/// measured on its own. An image of one plane holds areas in the plane, one of more planes bodies in space; spacings on
/// these axes are positive. Labels may have gaps: cost and memory follow the labels that occur.
/// **Input** `inputIntensityImage` (optional): grey values of any real type with as many columns, rows, planes and
/// frames, and any number of channels; needed for measures of grey values.
/// **Input** `measures`: what is measured, as text: names of measures, presets and formulas, separated by commas.
/// Default "Basic". The presets "Basic", "Shape", "Convexity", "Intensity" and "All" take what exists for the images.
/// For example "Area, Barycenter, Feret" or "Shape, Roundness = 4*pi*Area/Perimeter^2, sqrt(Roundness)". Formulas have
/// + - * / ^, parentheses and functions (sqrt, cbrt, abs, min, max, exp, log, log10, sin, cos, tan, asin, acos, atan,
/// atan2), and comparisons (< <= > >= == !=), and, or, not, which give 1 or 0; they may use every single value
/// ("BarycenterX") and other formulas by their name. A bare number is in the unit of what it is compared with.
/// **Output** `outputMeasurement`: the table; an object that the algorithm makes when none is set. A run replaces what
/// is in it when all measures are done. Rows are in the order of frames, then labels; the first columns are "Frame" and
/// "Label", then come the values of the measures in the order of the request, with their units. Measures of grey values
/// of several channels have a column for each channel: "Mean[0]", "Mean[1]". An image without objects gives no row.
///
/// The request is checked before any pixel is read: names, circles of formulas, and units (an area is not added to a
/// length).
///
/// @throws RuleException from `run` for what is refused above.
/// Method: rows are read once as runs of equal label (a change of the label is found with vector compares), and sums
/// are updated run by run, never pixel by pixel; order statistics read the image once more. Bands of rows keep tables
/// of their own, which are joined in the order of the bands: results are the same, bit for bit, for every number of
/// threads and every level of optimisation.
/// Cost: about one reading of the images at memory speed plus a few nanoseconds a run and an object; it does not depend
/// on the sizes of bounding boxes. Extra memory: about 100 to 500 bytes an object and band, 20 bytes a row of each
/// object for measures of the outline, and the grey values of all objects for order statistics.
class RIX_EXPORT LabelAnalysis : public BaseAlgorithm {
    RIX_ALGORITHM(LabelAnalysis)

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Null (the default) measures shapes only.
    RIX_INPUT(const ImageModel*, InputIntensityImage, inputIntensityImage)
    /// Default "Basic".
    RIX_INPUT(String, Measures, measures)
    /// Unless one was set, null before the first run.
    RIX_RESULT(LabelAnalysisMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::individual_analysis
