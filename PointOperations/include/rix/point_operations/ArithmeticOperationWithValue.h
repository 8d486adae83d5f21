#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>
#include <rix/point_operations/ArithmeticOperators.h>

namespace rix::point_operations {

struct ArithmeticOperationWithValuePrivate;

/// Combines every voxel of an image with one value: `outputImage = inputImage operator value`.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements; every voxel type, for `MINIMUM` and `MAXIMUM`
/// every real one. A binary image counts as 0 and 1, whatever it holds beside 0.
/// **Input** `value`: counts as the type that `rules::classifyValue` tells; 3 counts as `int16`.
/// **Output** `outputImage`: takes extents, calibration and colour interpretation of the input, interpretation value,
/// and the voxel type T that `getPromotedType` tells of the input and the value: `uint8` plus 3 gives `int16`, `int16`
/// plus 0.5 gives `float64`. It may be the input when that has the type T.
///
/// Image and value are converted to T as `ConvertImage` converts, then combined in T as `ArithmeticOperationWithImage`
/// combines two images.
///
/// @throws RuleException from `run` for an unset or empty image, vector elements, an unknown operator ("The provided
///         arithmeticOperator is unknow (value=...)."), a minimum or maximum of a complex image and an output that is
///         the input although T is another type.
/// Cost: one pass at memory speed, complex products and quotients aside; no extra memory.
class RIX_EXPORT ArithmeticOperationWithValue : public BaseAlgorithm, public ArithmeticOperators {
public:
    static std::shared_ptr<ArithmeticOperationWithValue> New();
    static AlgoInfo& getInfo();

    explicit ArithmeticOperationWithValue(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    void applyAllRules() override;
    AlgorithmDescription describe() const override;
    BorderInfluence getBorderInfluence() const { return {}; }

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// Default 0.
    void setValue(double value) { input<double>(1) = value; }
    double getValue() const { return input<double>(1); }
    /// Default `ADD`.
    void setArithmeticOperator(ArithmeticOperatorType value) { input<int>(2) = value; }
    ArithmeticOperatorType getArithmeticOperator() const {
        return static_cast<ArithmeticOperatorType>(input<int>(2).get());
    }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }

private:
    friend struct ArithmeticOperationWithValuePrivate;
};

}  // namespace rix::point_operations
