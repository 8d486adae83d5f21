#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::segmentation {

/// Keeps the objects of a label image for which a formula over their measures holds, with the labels that they have.
///
/// For example "Area > 50 and Circularity > 0.8", "not TouchesBorder", "Mean > 2 * StandardDeviation". The formula is
/// one of `LabelAnalysis`: measures and their values, + - * / ^, parentheses and functions, comparisons (< <= > >= ==
/// !=), and, or, not. A bare number that is compared with a measure is in the measure's unit: of an image in
/// micrometres "Area > 50" asks for 50 square micrometres. An object stays when the value is neither 0 nor NaN.
///
/// **Inputs** `inputLabelImage`, `inputIntensityImage` (optional): those of `LabelAnalysis`. An image of one plane
/// holds areas in the plane, one of more planes bodies in space; each frame is measured on its own. Grey values, where
/// the formula needs them, have one channel.
/// **Output** `outputLabelImage`: the type, extents and calibration of the labels; what goes becomes 0. It shares no
/// memory with the labels.
///
/// The same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for what `LabelAnalysis` refuses, and for a formula that gives several values.
/// Cost and memory: those of `LabelAnalysis` with these measures; then a pass, and up to 72 bytes an object.
class RIX_EXPORT SelectObjects : public BaseAlgorithm {
    RIX_ALGORITHM(SelectObjects)

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Null (the default) where the formula needs no grey values.
    RIX_INPUT(const ImageModel*, InputIntensityImage, inputIntensityImage)
    /// Default "PixelCount > 0".
    RIX_INPUT(String, Formula, formula)
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
};

}  // namespace rix::segmentation
