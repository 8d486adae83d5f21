#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/access/BorderPolicy.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::smoothing {

struct GaussianFilterState;

/// Smooths each volume with a Gaussian: every voxel becomes the weighted mean of its neighbours on all three axes.
///
/// The three-dimensional form of `GaussianFilter2d`, with which it shares formula, types, units, borders, exactness and
/// failures. Frames and channels are volumes of their own. Planes are smoothed first, then lines along z.
///
/// Cost: 5 (s_X + s_Y + s_Z) multiplications and twice as many additions a voxel. Memory: the rows of a window or a
/// bundle of lines a thread; and a volume of `float32` (`float64` where sums are) unless the output is of that type and
/// not the input; see `describe`.
class RIX_EXPORT GaussianFilter3d : public BaseAlgorithm {
public:
    /// In what the standard deviations are given.
    using LengthUnit = algorithms::LengthUnit;
    using enum algorithms::LengthUnit;
    /// What lies beyond the edges.
    using BorderPolicy = access::BorderPolicy;
    using enum access::BorderPolicy;
    /// The type of the result.
    using OutputType = algorithms::OutputType;
    using enum algorithms::OutputType;

    static std::shared_ptr<GaussianFilter3d> New();
    static AlgoInfo& getInfo();

    explicit GaussianFilter3d(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    void applyAllRules() override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// Default 1; 0 leaves the axis alone.
    void setStandardDeviationX(double deviation) { input<double>(1) = deviation; }
    double getStandardDeviationX() const { return input<double>(1); }
    /// Default 1; 0 leaves the axis alone.
    void setStandardDeviationY(double deviation) { input<double>(2) = deviation; }
    double getStandardDeviationY() const { return input<double>(2); }
    /// Default 1; 0 leaves the axis alone.
    void setStandardDeviationZ(double deviation) { input<double>(3) = deviation; }
    double getStandardDeviationZ() const { return input<double>(3); }
    /// Default `VOXEL`.
    void setLengthUnit(LengthUnit unit) { input<int>(4) = static_cast<int>(unit); }
    LengthUnit getLengthUnit() const { return static_cast<LengthUnit>(input<int>(4).get()); }
    /// Default `MIRROR`.
    void setBorderPolicy(BorderPolicy policy) { input<int>(5) = static_cast<int>(policy); }
    BorderPolicy getBorderPolicy() const { return static_cast<BorderPolicy>(input<int>(5).get()); }
    /// Of `FIXED`; default 0.
    void setBorderValue(double value) { input<double>(6) = value; }
    double getBorderValue() const { return input<double>(6); }
    /// Default `SAME_AS_INPUT`.
    void setOutputType(OutputType type) { input<int>(7) = static_cast<int>(type); }
    OutputType getOutputType() const { return static_cast<OutputType>(input<int>(7).get()); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }

private:
    friend struct GaussianFilterState;
};

}  // namespace rix::filtering::smoothing
