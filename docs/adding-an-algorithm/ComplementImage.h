#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>

namespace rix::point_operations {

/// Replaces every voxel v by its complement, M - v, where M is the largest value of the type.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, `uint8`, `uint16` or `uint32`.
/// **Output** `outputImage`: takes the input's extents, type and calibration; it may be the input image.
///
/// @throws RuleException from `run` for an unset or empty image and for another type.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT ComplementImage : public BaseAlgorithm {
public:
    static std::shared_ptr<ComplementImage> New();
    static AlgoInfo& getInfo();

    explicit ComplementImage(algorithms::AbstractPrivateImplementation* given = nullptr);
    AlgoInfo& getClassInfo() const override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }
};

}  // namespace rix::point_operations
