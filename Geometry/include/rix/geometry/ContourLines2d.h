#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/geometry/ContoursMsr.h>

namespace rix::geometry {

/// The lines in planes on which an image has a level.
///
/// **Lines.** Between four neighbouring elements the image is bilinear. Where the level lies between two neighbours
/// along a row or a column, a point of a line lies between them, in proportion; within a square of four the points are
/// joined by straight lines. Where two lines pass a square, the saddle of the bilinear function decides which points
/// belong together: the bright corners are one where it is not below the level (G. M. Nielson and B. Hamann, "The
/// asymptotic decider", 1991). Elements at the level count as above it. Lines are closed, or end at the image's edge or
/// at elements that are not finite. Higher values lie to their left, from x to y: a bright object is passed round from
/// x to y, a hole the other way.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type; no labels. Spacings of axes
/// with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1.
/// **Output** `outputMeasurement`: a row for each point of each line, in the world, with the number of the line; a
/// closed line ends with its first point. Lines come plane by plane, those that are open first, in the order of the
/// edges that they cross. Written as SVG, the table is a drawing.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, labels,
///         spacings and directions that span no plane, and a `level` that is not finite; MemoryError when there is no
///         memory.
/// Cost: the image is read twice. Memory: 25 bytes a point, 8 a row of the image, and three
/// rows a thread; see `describe`, which tells the most that there can be.
class RIX_EXPORT ContourLines2d : public BaseAlgorithm {
    RIX_ALGORITHM(ContourLines2d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.5, which bounds the objects of binary images.
    RIX_INPUT(double, Level, level)
    RIX_RESULT(ContoursMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::geometry
