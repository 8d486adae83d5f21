// A stranger's program that is built with -fno-exceptions: says why a run is refused.
#include <iostream>

#include <rix/algorithms/TryRun.h>
#include <rix/image/MemoryImage.h>
#include <rix/segmentation/ThresholdingByCriterion.h>

int main() {
    rix::io::MemoryImage input;
    if (!input.reserve(rix::RIX_UINT8, 3, 3, 1, 1, 1)) {
        return 1;
    }
    rix::segmentation::ThresholdingByCriterion threshold;
    threshold.setInputGrayImage(&input);
    std::cout << rix::tryRun(threshold).message() << '\n';
    rix::io::MemoryImage output;
    threshold.setOutputBinaryImage(&output);
    return rix::tryRun(threshold) ? 0 : 1;
}
