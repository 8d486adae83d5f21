// The smallest plug-in: a runner of its own for thresholding of uint8 images. It takes the level above the built-in
// ones, so that it is tried first, and leaves everything that it does not know to them.

#include <cstdint>
#include <memory>
#include <vector>

#include <rix/algorithms/Plugin.h>
#include <rix/exceptions/Exception.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

namespace {

using rix::segmentation::ThresholdingByCriterion;

class PlainGreaterThanRunner : public rix::Runnable {
public:
    rix::OptimLevelType getOptimType() const override { return rix::GPU; }

    bool isRunnable(rix::BaseAlgorithm* algorithm) const override {
        const auto& self = static_cast<const ThresholdingByCriterion&>(*algorithm);
        return self.getInputGrayImage()->getVoxelType() == rix::RIX_UINT8 &&
               self.getInputGrayImage()->getNumOf(rix::PLANS) == 1 &&
               self.getComparisonCriterion() == ThresholdingByCriterion::GREATER_THAN;
    }

    void run(rix::BaseAlgorithm* algorithm) const override {
        auto& self = static_cast<ThresholdingByCriterion&>(*algorithm);
        const rix::ImageModel& input = *self.getInputGrayImage();
        std::vector<std::uint8_t> row(input.getNumOf(rix::COLUMNS));
        for (std::size_t y = 0; y < input.getNumOf(rix::ROWS); ++y) {
            if (!input.readRowAt(row.size(), row.data(), 0, y, 0, 0, 0)) {
                throw rix::ProcessingException("A row cannot be read.");
            }
            for (std::uint8_t& voxel : row) {
                voxel = voxel > self.getComparisonValue() ? 1 : 0;
            }
            if (!self.getOutputBinaryImage()->writeRowAt(row.size(), row.data(), 0, y, 0, 0, 0)) {
                throw rix::ProcessingException("A row cannot be written.");
            }
        }
    }
};

}  // namespace

extern "C" RIX_EXPORT int rixPluginInterfaceVersion() {
    return rix::pluginInterfaceVersion;
}

extern "C" RIX_EXPORT void rixRegisterPlugin(rix::PluginRegistrar& registrar) {
    registrar.addRunner("ThresholdingByCriterion", std::make_shared<PlainGreaterThanRunner>());
}
