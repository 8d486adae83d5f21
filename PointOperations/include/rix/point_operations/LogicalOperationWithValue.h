#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>
#include <rix/point_operations/LogicalOperators.h>

namespace rix::point_operations {

/// Combines every voxel of an integer image with one value bit by bit: `outputImage = inputImage operator value`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements of an integer type.
/// **Input** `value`: as many of its low bits count as a voxel has.
/// **Output** `outputImage`: takes extents, calibration, voxel type, interpretation and colour interpretation of the
/// input. It may be the input.
///
/// The operators act on the whole word, complements included. The voxels of a binary image have one bit: they read as 0
/// or 1, the lowest bit of the value counts, and 0 or 1 is stored.
///
/// @throws RuleException from `run` for an unset or empty image, other than integer samples, vector elements and an
///         unknown operator.
/// Cost: one pass at memory speed; no extra memory.
class RIX_EXPORT LogicalOperationWithValue : public BaseAlgorithm, public LogicalOperators {
public:
    static std::shared_ptr<LogicalOperationWithValue> New();
    static AlgoInfo& getInfo();

    explicit LogicalOperationWithValue(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    AlgorithmDescription describe() const override;
    BorderInfluence getBorderInfluence() const { return {}; }

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// Default 0.
    void setValue(long value) { input<long>(1) = value; }
    long getValue() const { return input<long>(1); }
    /// Default `AND`.
    void setLogicalOperator(LogicalOperatorType value) { input<int>(2) = value; }
    LogicalOperatorType getLogicalOperator() const { return static_cast<LogicalOperatorType>(input<int>(2).get()); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }
};

}  // namespace rix::point_operations
