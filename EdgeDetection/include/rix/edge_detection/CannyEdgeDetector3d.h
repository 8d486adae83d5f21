#pragma once

#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/Declaration.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/edge_detection/EdgesMsr.h>
#include <rix/edge_detection/ThresholdMode.h>
#include <rix/measurement/PropertyMeasurement.h>

namespace rix::edge_detection {

/// Finds the edges of volumes: thin surfaces of voxels where the gradient is greatest along its own direction.
///
/// The three-dimensional form of `CannyEdgeDetector2d`, with which it shares method, thresholds, types, units, border,
/// exactness and failures: each volume is an image of its own, neighbours are all 26, and rows of the table have the
/// direction of the gradient in place of the angle.
///
/// Cost: as that of `CannyEdgeDetector2d`, for three axes. Memory: three bits a voxel, three planes of a tile for
/// each tap along z a thread, and for quantiles an image of `float32` (`float64` where sums are); see `describe`.
class RIX_EXPORT CannyEdgeDetector3d : public BaseAlgorithm {
    RIX_ALGORITHM(CannyEdgeDetector3d)

    /// In what lengths are given, and by what derivatives are divided.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What thresholds are.
    using ThresholdMode = edge_detection::ThresholdMode;
    using enum edge_detection::ThresholdMode;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;

    RIX_INPUT(const ImageModel*, InputGrayImage, inputGrayImage)
    /// Default 1.4; at most 100 voxels along each axis; 0: not smoothed.
    RIX_INPUT(double, StandardDeviation, standardDeviation)
    /// Default `VOXEL`.
    RIX_CHOICE(LengthUnit, LengthUnit, lengthUnit, algorithms::getInfoLengthUnit)
    /// Default `ABSOLUTE`.
    RIX_CHOICE(ThresholdMode, ThresholdMode, thresholdMode, getInfoThresholdMode)
    /// Default -1: 0.1 of the greatest gradient.
    RIX_INPUT(double, LowerThreshold, lowerThreshold)
    /// Default -1: 0.2 of the greatest gradient.
    RIX_INPUT(double, UpperThreshold, upperThreshold)
    /// Default `MIRROR`.
    RIX_CHOICE(BorderPolicy, BorderPolicy, borderPolicy, access::getInfoBorderPolicy)
    /// Of `FIXED`; default 0.
    RIX_INPUT(double, BorderValue, borderValue)
    RIX_OUTPUT(ImageModel*, OutputBinaryImage, outputBinaryImage)
    /// Optional.
    RIX_RESULT(EdgesMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::edge_detection
