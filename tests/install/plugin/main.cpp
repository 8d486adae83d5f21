// A program of others that knows the plug-in by the names of its class and properties only.
#include <iostream>

#include <rix/rix.h>

namespace {

template <class Image>
void give(rix::BaseAlgorithm& algorithm, const char* name, Image* image) {
    dynamic_cast<rix::Property<Image*>&>(*algorithm.getPropertyfromName(name)) = image;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    rix::init();
    rix::initPlugins(argv[1]);
    {
        rix::io::MemoryImage input;
        rix::io::MemoryImage output;
        if (!input.reserve(rix::RIX_UINT8, 256, 1, 1, 1, 1)) {
            return 1;
        }
        for (int i = 0; i < 256; ++i) {
            input.getImageBuffer()[i] = static_cast<std::uint8_t>(i);
        }
        const rix::AlgoInfo& info = rix::AlgoInfo::fromName("Inversion");
        const auto inversion = info.createInstance(nullptr);
        give<const rix::ImageModel>(*inversion, "inputImage", &input);
        give<rix::ImageModel>(*inversion, "outputImage", &output);
        inversion->run();
        int right = 0;
        for (int i = 0; i < 256; ++i) {
            right += output.getImageBuffer()[i] == 255 - i ? 1 : 0;
        }
        rix::segmentation::ThresholdingByCriterion thresholding;
        thresholding.setInputGrayImage(&input);
        thresholding.setComparisonCriterion(rix::segmentation::ThresholdingByCriterion::GREATER_THAN);
        thresholding.setComparisonValue(100);
        thresholding.setOutputBinaryImage(&output);
        thresholding.run();
        std::cout << info.getArea() << " of " << info.getLibName() << ": " << right << " of 256 right, thresholding "
                  << (thresholding.getLastRunLevel() == rix::GPU ? "by the plug-in" : "by the library") << '\n';
    }
    rix::finish();
}
