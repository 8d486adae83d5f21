#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/image/ImageModel.h>

namespace rix::morphology {

struct FillHolesState;

/// Fills the holes of objects in each plane: in a binary image, background that is not connected to the edge of the
/// plane becomes object; in a grey image, every regional minimum that does not touch the edge is filled up to the
/// lowest level from which there is a way down to the edge.
///
/// The result is the reconstruction by erosion of the image I from its edge: the smallest image J above I that is I on
/// the edge and has no regional minimum inside,
///
///     J(p) = min over all paths from p to the edge of the plane, of the largest value of I on the path.
///
/// Paths step between neighbours of the background, whose connectivity is the dual one of `neighborhood`, that of the
/// objects: 4 neighbours when objects have 8, 8 when they have 4.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`). Every
/// plane, for every sequence and spectral index, is filled on its own.
/// **Output** `outputImage`: takes the input's extents, type, calibration and interpretation; a binary image stays one,
/// with the values that it has. It may be the input image; the run then needs a copy of it.
///
/// NaN is a wall that stays NaN: paths don't pass it, and what has no path to the edge for that is set to infinity. A
/// zero with a sign lies below one without.
///
/// Method: the hybrid of sweeps and queues (Vincent, Morphological grayscale reconstruction in image analysis, IEEE
/// Transactions on Image Processing 2(2), 1993) in tiles that fit the cache; tiles exchange what reaches their edges
/// until nothing changes. The result is unique and so the same, bit for bit, for every number of threads.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image and an unknown
/// neighbourhood;
///         MemoryError when there is no memory.
/// Cost: some 40 to 70 ns a voxel of a binary image (blobs, two threads); up to ten times that for grey noise, whose
/// levels fall many times before they are final. Memory: a queue of a few bytes a voxel of a tile a thread, and copies
/// of images that are not one array in memory; see `describe`.
class RIX_EXPORT FillHoles2d : public BaseAlgorithm {
public:
    /// Which voxels of an object are neighbours.
    using Neighborhood2DType = algorithms::Neighborhood2DType;
    using enum algorithms::Neighborhood2DType;

    static std::shared_ptr<FillHoles2d> New();
    static AlgoInfo& getInfo();

    explicit FillHoles2d(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    void applyAllRules() override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// Of the objects; default `CONNECTIVITY_8`.
    void setNeighborhood(Neighborhood2DType neighborhood) { input<int>(1) = static_cast<int>(neighborhood); }
    Neighborhood2DType getNeighborhood() const { return static_cast<Neighborhood2DType>(input<int>(1).get()); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }

private:
    friend struct FillHolesState;
};

}  // namespace rix::morphology
