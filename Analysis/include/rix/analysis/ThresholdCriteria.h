#pragma once

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>
#include <rix/algorithms/OptimLevel.h>
#include <rix/analysis/ThresholdChoices.h>
#include <rix/image/ImageModel.h>
#include <rix/math/Histogram.h>

/// The arithmetic of the threshold criteria. Below, h_i is the count of class i, x_i its start, N the sum of the
/// counts. A threshold is the start of the class that follows the last class of the dark side.
///
/// Sums are exact where they are of integers, and scores are compared so that a mathematical tie is decided for the
/// first of the classes, never by rounding: the class is the same on every machine. All functions throw `InvalidCall`
/// for a histogram that is not initialised, and where the class that follows the chosen one does not exist. A histogram
/// without counts gives the start of its first class.
namespace rix::analysis::details {

/// Maximum entropy (Kapur, Sahoo and Wong 1985): the class that ends the dark side maximises
/// E_i / N1 + (E - E_i) / N2 + ln(N1 N2), where E_i is the sum of -h_j ln h_j up to class i, E that over all classes,
/// and N1, N2 are the counts of the two sides.
RIX_EXPORT double computeThresholdEntropy(const math::Histogram& histogram);

/// Maximum variance between the sides (Otsu 1979): the class that ends the dark side maximises N1 N2 (m1 - m2)^2, where
/// m1 and m2 are the means of the sides. Without a positive score the dark side ends with class 0.
RIX_EXPORT double computeThresholdFactorization(const math::Histogram& histogram);

/// Preservation of the first three moments (Tsai 1985): the dark side ends with the first class at which the running
/// count reaches N p, truncated, where p is the dark fraction of the image of two values that has the same first three
/// moments. A histogram with one occupied class gives the start of its first class.
RIX_EXPORT double computeThresholdMoments(const math::Histogram& histogram);

/// Iterated middle of the means of the two sides (Ridler and Calvard 1978), started at the threshold of
/// `computeThresholdFactorization`: at most 10 iterations, ended by a change below 1e-6. The means are those of all
/// finite voxels of the image, also of those outside the histogram; a side without voxels has the mean 0. The result is
/// not the start of a class.
/// Cost: one pass over an image of 8 or 16 bits; for other types one a iteration, and one more for floating ones.
/// @param image scalar elements of a real type
RIX_EXPORT double computeThresholdIsodata(const math::Histogram& histogram, const ImageModel& image,
                                          access::ExecutionContext& context, OptimLevelType level = SCALAR);

/// The threshold by a criterion that takes the counts alone: any but `ISODATA`.
/// @throws InvalidCall for that one, and for a value that is none
RIX_EXPORT double computeThreshold(ThresholdChoices::ThresholdCriterionType criterion,
                                   const math::Histogram& histogram);

/// The threshold by any criterion; 0 for a value that is none.
RIX_EXPORT double computeThreshold(ThresholdChoices::ThresholdCriterionType criterion, const math::Histogram& histogram,
                                   const ImageModel& image, access::ExecutionContext& context,
                                   OptimLevelType level = SCALAR);

}  // namespace rix::analysis::details
