// The smallest plug-in: a runner of its own for thresholding of uint8 images, which leaves everything that it does not
// know to the library's. It is the only one of the level above theirs, goes in front of them at the lowest, and behind
// them at the one between. It counts its runs, for the test, in a setting.

#include <cstdint>
#include <memory>
#include <vector>

#include <rix/algorithms/Plugin.h>
#include <rix/exceptions/Exception.h>
#include <rix/segmentation/ThresholdingByCriterion.h>
#include <rix/settings/Settings.h>

namespace {

using rix::segmentation::ThresholdingByCriterion;

class PlainGreaterThanRunner : public rix::Runnable {
public:
    explicit PlainGreaterThanRunner(rix::OptimLevelType level) : m_level(level) {}

    rix::OptimLevelType getOptimType() const override { return m_level; }

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
        auto& settings = rix::globalSettings();
        settings.setValueAsInt32("EXAMPLE_PLUGIN_RUNS", settings.getValueAsInt32("EXAMPLE_PLUGIN_RUNS", 0) + 1);
    }

private:
    rix::OptimLevelType m_level;
};

}  // namespace

RIX_PLUGIN(rix::PluginRegistrar& registrar) {
    registrar.addRunner("ThresholdingByCriterion", std::make_shared<PlainGreaterThanRunner>(rix::GPU));
    registrar.addRunner("ThresholdingByCriterion", std::make_shared<PlainGreaterThanRunner>(rix::VEC_SSE));
    registrar.insertRunnerFirst("ThresholdingByCriterion", std::make_shared<PlainGreaterThanRunner>(rix::SCALAR));
}
