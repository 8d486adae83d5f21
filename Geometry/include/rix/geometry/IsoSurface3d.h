#pragma once

#include <rix/algorithms/Declaration.h>
#include <rix/geometry/SurfaceMsr.h>

namespace rix::geometry {

/// The surfaces in volumes on which an image has a level, as a mesh of triangles.
///
/// **Surface.** Each cube of eight neighbouring elements is six tetrahedra about its diagonal from the first corner to
/// the last, and the image is linear in each (H. W. Kuhn, "Some combinatorial lemmas in topology", 1960; A. Doi and A.
/// Koide, "An efficient method of triangulating equi-valued surfaces by using tetrahedral cells", 1991). There is no
/// ambiguous case, and neighbouring cubes agree: a surface that does not reach the image's edge, or an element that is
/// not finite, is closed, and each of its edges belongs to two triangles. Objects that reach the edge are closed by
/// `Pad` with a lower value before. Elements at the level count as above it. Triangles are passed round
/// counterclockwise, seen from where the values are lower: their normals point out of bright objects, in the world.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type; no labels. Spacings of axes
/// with neighbours are finite and not 0; an image whose spatial spacings are all 0 counts as spacing 1.
/// **Output** `outputMeasurement`: a row for each triangle, its corners in the world and their numbers. Written as STL
/// or PLY, the table is a mesh.
///
/// @throws RuleException from `run` for an unset or empty image, elements of several samples, complex samples, labels,
///         spacings and directions that do not span space, and a `level` that is not finite; MemoryError when there is
///         no memory.
/// Cost: the image is read twice, each plane for two or three of its neighbours. Memory: 16 bytes a row of the image, and nine rows with
/// numbers a thread; see `describe`.
class RIX_EXPORT IsoSurface3d : public BaseAlgorithm {
    RIX_ALGORITHM(IsoSurface3d)

    RIX_INPUT(const ImageModel*, InputImage, inputImage)
    /// Default 0.5, which bounds the objects of binary images.
    RIX_INPUT(double, Level, level)
    RIX_RESULT(SurfaceMsr, OutputMeasurement, outputMeasurement)
};

}  // namespace rix::geometry
