#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/image/ImageModel.h>

namespace rix::morphology {

struct FillHolesState;

/// Fills the holes of objects in each volume: cavities that are not connected to the faces of the volume.
///
/// The three-dimensional form of `FillHoles2d`, with which it shares definition, types, NaN and failures. Every volume,
/// for every sequence and spectral index, is filled on its own. Background has 6 neighbours when objects have 18 or 26,
/// and 26 when they have 6. A volume of one or two planes has no inside, and stays as it is.
class RIX_EXPORT FillHoles3d : public BaseAlgorithm {
public:
    /// Which voxels of an object are neighbours.
    using Neighborhood3DType = algorithms::Neighborhood3DType;
    using enum algorithms::Neighborhood3DType;

    static std::shared_ptr<FillHoles3d> New();
    static AlgoInfo& getInfo();

    explicit FillHoles3d(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    void applyAllRules() override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// Of the objects; default `CONNECTIVITY_26`.
    void setNeighborhood(Neighborhood3DType neighborhood) { input<int>(1) = static_cast<int>(neighborhood); }
    Neighborhood3DType getNeighborhood() const { return static_cast<Neighborhood3DType>(input<int>(1).get()); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }

private:
    friend struct FillHolesState;
};

}  // namespace rix::morphology
