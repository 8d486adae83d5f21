#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/analysis/IntensityExtremaMsr.h>
#include <rix/image/ImageModel.h>

namespace rix::analysis {

/// Finds the smallest and the greatest value of an image, over all its planes, frames and channels.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type (`uint8` to `float64`).
/// **Output** `outputMeasurement`: minimum, maximum and the numbers of NaN and of infinite voxels. When it is unset the
/// algorithm makes one, which lives as long as the algorithm.
///
/// Only finite voxels have a part in the extrema; without any, both are NaN. A zero is reported as +0. The results are
/// exact, in double precision.
///
/// @throws RuleException from `run` for an unset or empty image and for a complex or vector image.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT IntensityExtrema : public BaseAlgorithm {
public:
    static std::shared_ptr<IntensityExtrema> New();
    static AlgoInfo& getInfo();

    explicit IntensityExtrema(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    void setOutputMeasurement(IntensityExtremaMsr* measurement) { output<IntensityExtremaMsr*>(0) = measurement; }
    IntensityExtremaMsr* getOutputMeasurement() const { return output<IntensityExtremaMsr*>(0); }
};

}  // namespace rix::analysis
