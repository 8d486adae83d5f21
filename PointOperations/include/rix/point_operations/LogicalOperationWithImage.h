#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>
#include <rix/point_operations/LogicalOperators.h>

namespace rix::point_operations {

/// Combines two integer images bit by bit: `outputImage = inputImage1 operator inputImage2`.
///
/// **Inputs** `inputImage1`, `inputImage2`: the same extents on all five axes and the same integer type, scalar
/// elements; both binary or neither.
/// **Output** `outputImage`: takes extents, calibration, voxel type, interpretation and colour interpretation of the
/// first input. It may be one of the inputs.
///
/// The operators act on the whole word, complements included: `NAND` of two zeros of `uint8` is 255. The voxels of
/// binary images have one bit: they read as 0 or 1, and so are stored; `NAND` of two zeros is then 1.
///
/// @throws RuleException from `run` for an unset or empty image, other than integer samples, vector elements, inputs
///         that differ in extents or type or in being binary, and an unknown operator.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT LogicalOperationWithImage : public BaseAlgorithm, public LogicalOperators {
public:
    static std::shared_ptr<LogicalOperationWithImage> New();
    static AlgoInfo& getInfo();

    explicit LogicalOperationWithImage(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    AlgorithmDescription describe() const override;
    BorderInfluence getBorderInfluence() const { return {}; }

    void setInputImage1(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage1() const { return input<const ImageModel*>(0); }
    void setInputImage2(const ImageModel* image) { input<const ImageModel*>(1) = image; }
    const ImageModel* getInputImage2() const { return input<const ImageModel*>(1); }
    /// Default `AND`.
    void setLogicalOperator(LogicalOperatorType value) { input<int>(2) = value; }
    LogicalOperatorType getLogicalOperator() const { return static_cast<LogicalOperatorType>(input<int>(2).get()); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }
};

}  // namespace rix::point_operations
