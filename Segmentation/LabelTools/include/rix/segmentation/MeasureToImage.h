#pragma once

#include <rix/algorithms/Declaration.h>

namespace rix::segmentation {

/// Paints a measure on the objects that it belongs to: every voxel of an object gets the value of the object, the
/// background 0. To see where objects are large, round or bright, and to compute with measures voxel by voxel.
///
/// **Inputs** `inputLabelImage`, `inputIntensityImage` (optional): those of `LabelAnalysis`. An image of one plane
/// holds areas in the plane, one of more planes bodies in space; each frame is measured on its own. Grey values, where
/// the measure needs them, have one channel.
/// **Output** `outputImage`: `float32`, of the extents and calibration of the labels; values are rounded to it. It
/// shares no memory with the labels.
///
/// The same bits on every level, for every number of threads and every storage.
///
/// @throws RuleException from `run` for what `LabelAnalysis` refuses, a measure of several values, and an output in the
///         memory of the labels.
/// Cost and memory: those of `LabelAnalysis` with this measure; then a pass, and up to 72 bytes an object.
class RIX_EXPORT MeasureToImage : public BaseAlgorithm {
    RIX_ALGORITHM(MeasureToImage)

    RIX_INPUT(const ImageModel*, InputLabelImage, inputLabelImage)
    /// Null (the default) where the measure needs no grey values.
    RIX_INPUT(const ImageModel*, InputIntensityImage, inputIntensityImage)
    /// A measure of one value, a value of a measure ("BarycenterX") or a formula ("4*pi*Area/Perimeter^2"); default
    /// "Area".
    RIX_INPUT(String, Measure, measure)
    RIX_OUTPUT(ImageModel*, OutputImage, outputImage)
};

}  // namespace rix::segmentation
