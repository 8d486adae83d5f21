#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/analysis/ImageStatisticsMsr.h>

namespace rix {
class EnumInfo;
}

namespace rix::analysis {

/// Describes the values of an image: how many, where the extremes are, moments, entropy, mode and quantiles; of the
/// whole image, or of each plane, volume or channel.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Input** `inputMaskImage`: optional; a `uint8` image of the same extents. Voxels where it is 0 have no part.
/// **Choice** `groupBy`: `IMAGE` gives one row, `PLANE` a row for each plane, `VOLUME` for each frame and channel,
/// `CHANNEL` for each channel.
/// **Input** `quantiles`: a text such as "0.05, 0.5"; a column for each number, between 0 and 1, in that order.
/// **Input** `measures`: what is told, as a text: names of columns, separated by commas, or `All`; `MinimumPosition`
/// and `MaximumPosition` stand for a column for each axis. Columns keep their order. What is not named is not computed:
/// the mean and the deviation of 8 or 16 bits are a pass at the speed of memory then, instead of a count of all values.
/// **Output** `outputMeasurement`: the table. When it is unset the algorithm makes one, which lives as long as the
/// algorithm.
///
/// Only finite voxels have a part; NaN and infinities are counted. Of n values v with mean m:
///
/// - the variance is sum (v - m)^2 / n, the population's; skewness is the mean of ((v - m) / s)^3, kurtosis that of
///   ((v - m) / s)^4 minus 3, so that a normal distribution has 0 of both. They are NaN when all values are equal.
/// - Entropy, in nats, is - sum p log p over the shares p of the classes of values: of each value for types of 8 and 16
///   bits, of 256 classes of equal width from minimum to maximum for others. The mode is the value, or the centre of
///   the class, that occurs most often, the smallest of several.
/// - The quantile q lies at the place (n - 1) q of the sorted values, between two of them in proportion.
/// - Positions are those of the first extreme value in storage order, as indices from 0.
///
/// Minimum, maximum, counts and quantiles are exact; the sum of integers is exact and rounded once, that of reals is
/// compensated (within 2 units in the last place as long as terms do not cancel); moments are joined from those of
/// leaves of 65536 elements (T. F. Chan, G. H. Golub, R. J. LeVeque, 1979; P. Pebay, SAND2008-6212), within 1e-10 of
/// their value relative to the definition. The bits do not depend on threads, level, cuts or storage.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a mask of another type or
///         size, a text of measures that names another or none, and a text of quantiles that is none.
/// Cost: one pass for extremes and moments, one for the positions (8 and 16 bits) or for the classes of entropy and
/// mode (others), and two (four for `float64`) for up to eight quantiles. Extra memory: some 100 bytes for each 65536
/// voxels, and tables of 4 MiB for each thread where quantiles of wide types are asked for.
class RIX_EXPORT ImageStatistics : public BaseAlgorithm {
    RIX_ALGORITHM(ImageStatistics)

    enum GroupBy : int { IMAGE = 0, PLANE, VOLUME, CHANNEL };
    static const EnumInfo& getInfoGroupBy();

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Null (the default) for all voxels.
    RIX_INPUT(const ImageModel*, InputMaskImage, inputMaskImage)
    /// Default `IMAGE`.
    RIX_CHOICE(GroupBy, GroupBy, groupBy, getInfoGroupBy)
    /// Default "": none.
    RIX_INPUT(String, Quantiles, quantiles)
    /// Default "All".
    RIX_INPUT(String, Measures, measures)
    RIX_RESULT(ImageStatisticsMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::analysis
