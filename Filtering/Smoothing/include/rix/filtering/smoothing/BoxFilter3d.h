#pragma once

#include <cstdint>
#include <memory>

#include <rix/Export.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/image/ImageModel.h>

namespace rix::filtering::smoothing {

struct BoxFilterState;

/// Replaces every voxel by the sum or the mean of the voxels in a box around it.
///
/// The three-dimensional form of `BoxFilter2d`, with which it shares types, borders, exactness and failures; windows
/// span planes as they span rows and columns, and `computeWorkType` is given kx * ky * kz voxels. An image of one plane
/// is mirrored along z, so that its one plane counts kz times; in a binary sum planes beyond the edges count 0. Frames
/// and channels are volumes of their own.
///
/// The sum of reals differs from the exact one by at most (kx + ky + kz) * 2^-53 times the sum of the magnitudes in the
/// window.
///
/// Cost: a few additions a voxel for every kernel size. Memory: for integers less than a plane of 32 bit sums a thread;
/// for reals at most 10 + kz / 8 planes of `float64`, cut to bands of rows; see `describe`.
class RIX_EXPORT BoxFilter3d : public BaseAlgorithm {
public:
    /// Whether a sum is divided by the number of voxels of the window.
    enum AutoScaleType : int { NO = 0, YES };
    static const EnumInfo& getInfoAutoScaleType();

    static std::shared_ptr<BoxFilter3d> New();
    static AlgoInfo& getInfo();

    explicit BoxFilter3d(algorithms::AbstractPrivateImplementation* implementation = nullptr);
    AlgoInfo& getClassInfo() const override;
    void applyAllRules() override;
    AlgorithmDescription describe() const override;

    void setInputImage(const ImageModel* image) { input<const ImageModel*>(0) = image; }
    const ImageModel* getInputImage() const { return input<const ImageModel*>(0); }
    /// In voxels; default 0, which is refused.
    void setKernelSizeX(std::int32_t size) { input<std::int32_t>(1) = size; }
    std::int32_t getKernelSizeX() const { return input<std::int32_t>(1); }
    /// In voxels; default 0, which is refused.
    void setKernelSizeY(std::int32_t size) { input<std::int32_t>(2) = size; }
    std::int32_t getKernelSizeY() const { return input<std::int32_t>(2); }
    /// In voxels; default 0, which is refused.
    void setKernelSizeZ(std::int32_t size) { input<std::int32_t>(3) = size; }
    std::int32_t getKernelSizeZ() const { return input<std::int32_t>(3); }
    /// Default `NO`.
    void setAutoScale(AutoScaleType autoScale) { input<int>(4) = autoScale; }
    AutoScaleType getAutoScale() const { return static_cast<AutoScaleType>(input<int>(4).get()); }
    void setOutputImage(ImageModel* image) { output<ImageModel*>(0) = image; }
    ImageModel* getOutputImage() const { return output<ImageModel*>(0); }

private:
    friend struct BoxFilterState;
};

}  // namespace rix::filtering::smoothing
