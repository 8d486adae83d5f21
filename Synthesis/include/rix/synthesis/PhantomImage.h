#pragma once

#include <rix/synthesis/ImageGenerator.h>
#include <rix/synthesis/ShapesMsr.h>

namespace rix::synthesis {

/// Makes a picture of objects as measurements meet them, with their labels and their true sizes: to test a chain of
/// steps before it is trusted. Objects lie in the plane when `sizeZ` is 1, else in space.
///
/// - `DISCS`: discs or balls.
/// - `NUCLEI`: ellipses at any angle or ellipsoids, whose radii are 60 to 100 % of the one drawn and whose contrast is
/// 70
///   to 130 %.
/// - `FIBRES`: straight tubes of any direction, whose length is 30 to 80 % of the image's diagonal.
/// - `PORES`: as discs, but darker than what surrounds them.
/// - `VESSELS`: a tree of tubes that begins at the first column with the greatest radius and forks by C. D. Murray's
/// law
///   of 1926: the cubes of the branches' radii add up to that of the stem. It ends at the least radius, at the edges,
///   and at `numberOfObjects` tubes; when it ends early, another one begins. Each tube has a label.
///
/// Objects are drawn by the rules of `ShapesImage2d` and `ShapesImage3d`, with radii evenly between the limits, whole
/// in the image where it has room. Two may come as close as (1 - overlap) of the sum of their radii, measured between
/// centres (of fibres between middle lines); an object that finds no place in 100 tries is left out, so that the table
/// may be shorter than `numberOfObjects`. Vessels are placed whatever is there. All frames and channels have the same
/// objects, and noise of their own.
///
/// The picture is then smoothed with a Gaussian, as by the optics, and gets normal noise, as `AddNoise` does it. Labels
/// and table are of the objects before. What is drawn follows from the properties alone, on every machine.
///
/// **Output** `outputLabelImage`, optional, and `outputMeasurement`: see `ShapesImage2d`.
///
/// Extents, spacing, type and failures: see `ImageGenerator`; radii, overlap, numbers and deviations out of their
/// ranges are refused. Cost: as `ShapesImage2d` and `ShapesImage3d`, and that of a Gaussian filter. Extra memory: the
/// index of shapes; two images of `float32` and those of the filter when there is smoothing.
class RIX_EXPORT PhantomImage : public ImageGenerator {
    RIX_ALGORITHM(PhantomImage)

    enum Kind : int { DISCS = 0, NUCLEI, FIBRES, PORES, VESSELS };
    static const EnumInfo& getInfoKind();

    /// Default `DISCS`.
    RIX_CHOICE(Kind, Kind, kind, getInfoKind)
    /// Default 0.
    RIX_INPUT(std::int64_t, Seed, seed)
    /// Default 50, at most 10^6.
    RIX_INPUT(std::int64_t, NumberOfObjects, numberOfObjects)
    /// In world units; default 4.
    RIX_INPUT(double, MinimumRadius, minimumRadius)
    /// Default 10.
    RIX_INPUT(double, MaximumRadius, maximumRadius)
    /// From 0 for objects that do not meet (the default) to 1 for any places.
    RIX_INPUT(double, Overlap, overlap)
    /// Default 100.
    RIX_INPUT(double, Background, background)
    /// How much brighter objects are, pores darker; default 80.
    RIX_INPUT(double, Contrast, contrast)
    /// Of the Gaussian that smooths, in world units, at most 100 voxels; default 0: none.
    RIX_INPUT(double, BlurStandardDeviation, blurStandardDeviation)
    /// Of the noise; default 0.
    RIX_INPUT(double, NoiseStandardDeviation, noiseStandardDeviation)
    /// Null (the default) for none.
    RIX_OUTPUT(ImageModel*, OutputLabelImage, outputLabelImage)
    RIX_RESULT(ShapesMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::synthesis
