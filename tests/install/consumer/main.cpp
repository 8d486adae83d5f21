// A stranger's program: marks the bright quarter of an image and counts it.
#include <cstdint>
#include <iostream>

#include <rix/image/MemoryImage.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

int main() {
    using rix::segmentation::ThresholdingByCriterion;
    rix::io::MemoryImage input;
    rix::io::MemoryImage output;
    if (!input.reserve(rix::RIX_UINT8, 100, 100, 1, 1, 1)) {
        return 1;
    }
    for (std::size_t i = 0; i < 100 * 100; ++i) {
        input.getImageBuffer()[i] = static_cast<std::uint8_t>(i % 100);
    }
    ThresholdingByCriterion threshold;
    threshold.setInputGrayImage(&input);
    threshold.setComparisonCriterion(ThresholdingByCriterion::GREATER_THAN_OR_EQUAL_TO);
    threshold.setComparisonValue(75.0);
    threshold.setOutputBinaryImage(&output);
    threshold.run();
    std::size_t count = 0;
    for (std::size_t i = 0; i < 100 * 100; ++i) {
        count += output.getImageBuffer()[i];
    }
    std::cout << count << " foreground pixels\n";
}
