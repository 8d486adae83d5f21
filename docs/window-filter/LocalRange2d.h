#pragma once

#include <cstdint>
#include <memory>

#include <rix/Export.h>
#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering {

/// Replaces every voxel by what its neighbours in a square differ by: the largest value less the smallest one, or less
/// the voxel itself. Each plane by itself.
///
/// **Input** `inputImage`: any extents on all five axes, scalar elements, any real type.
/// **Output** `outputImage`: takes the input's extents and calibration; `float32`. It shares no samples with the input.
///
/// @throws RuleException from `run` for an unset or empty image, a complex or vector image, a radius outside [0, 1000],
/// an
///         unknown choice and an output that overlaps the input.
/// Cost: (2 radius + 1)^2 comparisons a voxel; memory: 2 radius + 1 rows a thread.
class RIX_EXPORT LocalRange2d : public BaseAlgorithm {
public:
    enum Difference : int { LARGEST_LESS_SMALLEST = 0, LARGEST_LESS_VOXEL };
    static const EnumInfo& getInfoDifference();
    using BorderPolicy = access::BorderPolicy;

    static std::shared_ptr<LocalRange2d> New();
    static AlgoInfo& getInfo();

    explicit LocalRange2d(algorithms::AbstractPrivateImplementation* given = nullptr);
    AlgoInfo& getClassInfo() const override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// In voxels; default 1.
    void setRadius(std::int32_t radius) { input<std::int32_t>(1) = radius; }
    std::int32_t getRadius() const { return input<std::int32_t>(1); }
    /// Default `LARGEST_LESS_SMALLEST`.
    void setDifference(Difference difference) { input<int>(2) = difference; }
    Difference getDifference() const { return static_cast<Difference>(input<int>(2).get()); }
    /// Default `MIRROR`.
    void setBorderPolicy(BorderPolicy policy) { input<int>(3) = static_cast<int>(policy); }
    BorderPolicy getBorderPolicy() const { return static_cast<BorderPolicy>(input<int>(3).get()); }
    /// Beyond the edges with `FIXED`; default 0.
    void setBorderValue(double value) { input<double>(4) = value; }
    double getBorderValue() const { return input<double>(4); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }
};

}  // namespace rix::filtering
