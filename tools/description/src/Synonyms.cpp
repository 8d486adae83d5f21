#include <rix/description/Synonyms.h>

#include <map>

#include <rix/description/Text.h>

namespace rix::description {
namespace {

/// Words as they are typed elsewhere, in small letters and without separators. A word may be a class here and a label
/// there: whoever looks it up keeps what can be meant where it was typed.
const std::map<std::string, std::vector<std::string>, std::less<>>& synonyms() {
    static const std::map<std::string, std::vector<std::string>, std::less<>> words{
        // thresholds
        {"otsu", {"FACTORISATION", "AutoThresholdingBright"}},
        {"kapur", {"ENTROPY", "AutoThresholdingBright"}},
        {"maxentropy", {"ENTROPY"}},
        {"tsai", {"MOMENTS"}},
        {"ridler", {"ISODATA"}},
        {"intermeans", {"ISODATA"}},
        {"binarize", {"ThresholdingByCriterion", "AutoThresholdingBright"}},
        {"inrange", {"ThresholdingByCriterion"}},
        // types of voxels
        {"uint8", {"UNSIGNED_INTEGER_8_BIT"}},
        {"u8", {"UNSIGNED_INTEGER_8_BIT"}},
        {"byte", {"UNSIGNED_INTEGER_8_BIT"}},
        {"int8", {"SIGNED_INTEGER_8_BIT"}},
        {"uint16", {"UNSIGNED_INTEGER_16_BIT"}},
        {"u16", {"UNSIGNED_INTEGER_16_BIT"}},
        {"int16", {"SIGNED_INTEGER_16_BIT"}},
        {"uint32", {"UNSIGNED_INTEGER_32_BIT"}},
        {"int32", {"SIGNED_INTEGER_32_BIT"}},
        {"int", {"SIGNED_INTEGER_32_BIT"}},
        {"float", {"FLOAT_32_BIT"}},
        {"float32", {"FLOAT_32_BIT"}},
        {"single", {"FLOAT_32_BIT"}},
        {"float64", {"FLOAT_64_BIT"}},
        {"double", {"FLOAT_64_BIT"}},
        {"complex64", {"COMPLEX_FLOAT_32_BIT"}},
        {"complex128", {"COMPLEX_FLOAT_64_BIT"}},
        {"bool", {"BINARY"}},
        {"dtype", {"outputType"}},
        {"astype", {"ConvertImage"}},
        {"cast", {"ConvertImage"}},
        // borders
        {"reflect", {"MIRROR"}},
        {"symmetric", {"MIRROR"}},
        {"nearest", {"CONTINUE"}},
        {"replicate", {"CONTINUE"}},
        {"edge", {"CONTINUE"}},
        {"constant", {"FIXED"}},
        {"zero", {"FIXED"}},
        {"mode", {"borderPolicy"}},
        {"border", {"borderPolicy"}},
        {"boundary", {"borderPolicy"}},
        {"cval", {"borderValue"}},
        // properties
        {"sigma", {"standardDeviation", "standardDeviationX"}},
        {"std", {"standardDeviation", "StandardDeviation", "standardDeviationX"}},
        {"stddev", {"standardDeviation", "StandardDeviation", "standardDeviationX"}},
        {"size", {"kernelSizeX"}},
        {"ksize", {"kernelSizeX"}},
        {"kernelsize", {"kernelSizeX"}},
        {"footprint", {"structuringElement"}},
        {"selem", {"structuringElement"}},
        {"se", {"structuringElement"}},
        {"image", {"inputImage", "inputGrayImage", "inputObjectImage", "inputLabelImage"}},
        {"input", {"inputImage", "inputGrayImage", "inputObjectImage", "inputLabelImage"}},
        {"output", {"outputImage", "outputBinaryImage", "outputLabelImage", "outputMeasurement"}},
        {"mask", {"inputMaskImage"}},
        {"marker", {"inputMarkerImage"}},
        {"seed", {"inputMarkerImage"}},
        {"labels", {"inputLabelImage", "outputLabelImage"}},
        {"threshold", {"comparisonValue", "ThresholdingByCriterion"}},
        {"unit", {"lengthUnit"}},
        // shapes
        {"sphere", {"BALL"}},
        {"ball", {"BALL", "DISK"}},
        {"disc", {"DISK"}},
        {"disk", {"DISK", "BALL"}},
        {"circle", {"DISK"}},
        {"square", {"RECTANGLE", "BOX"}},
        {"cube", {"BOX"}},
        {"box", {"BOX", "RECTANGLE", "BoxFilter"}},
        {"cross", {"DIAMOND", "OCTAHEDRON"}},
        // classes
        {"gaussianblur", {"GaussianFilter"}},
        {"gaussian", {"GaussianFilter"}},
        {"blur", {"GaussianFilter", "BoxFilter"}},
        {"smooth", {"GaussianFilter", "BoxFilter", "MedianFilter"}},
        {"uniformfilter", {"BoxFilter"}},
        {"mean", {"Mean", "BoxFilter", "ImageStatistics"}},
        {"medianblur", {"MedianFilter"}},
        {"percentilefilter", {"RankFilter"}},
        {"minimumfilter", {"Erosion"}},
        {"maximumfilter", {"Dilation"}},
        {"erode", {"Erosion"}},
        {"dilate", {"Dilation"}},
        {"open", {"Opening"}},
        {"close", {"Closing"}},
        {"tophat", {"WhiteTopHat", "BlackTopHat"}},
        {"bothat", {"BlackTopHat"}},
        {"blackhat", {"BlackTopHat"}},
        {"binaryerosion", {"Erosion"}},
        {"binarydilation", {"Dilation"}},
        {"binaryfillholes", {"FillHoles"}},
        {"imfill", {"FillHoles"}},
        {"clearborder", {"RemoveBorderObjects"}},
        {"bwlabel", {"Labeling"}},
        {"label", {"Labeling"}},
        {"connectedcomponents", {"Labeling"}},
        {"ccl", {"Labeling"}},
        {"regionprops", {"LabelAnalysis"}},
        {"particles", {"LabelAnalysis"}},
        {"blobs", {"LabelAnalysis"}},
        {"measure", {"LabelAnalysis"}},
        {"convolve", {"Convolution", "FourierConvolution"}},
        {"correlate", {"Convolution"}},
        {"filter2d", {"Convolution"}},
        {"fft", {"FourierTransform"}},
        {"dft", {"FourierTransform"}},
        {"fftn", {"FourierTransform"}},
        {"ifft", {"InverseFourierTransform"}},
        {"rgb2gray", {"ConvertColorSpace"}},
        {"cvtcolor", {"ConvertColorSpace"}},
        {"hsv", {"ConvertColorSpace"}},
        {"grayscale", {"ConvertColorSpace"}},
        {"normalize", {"IntensityRescale", "LocalNormalization"}},
        {"stretch", {"IntensityRescale"}},
        {"rescale", {"IntensityRescale"}},
        {"clip", {"ClampIntensity"}},
        {"equalizehist", {"HistogramEqualization"}},
        {"clahe", {"ContrastLimitedEqualization"}},
        {"matchhistograms", {"HistogramMatching"}},
        {"lut", {"LookUpTable"}},
        {"negative", {"Invert"}},
        {"not", {"Invert"}},
        {"add", {"ArithmeticOperationWithImage", "ArithmeticOperationWithValue"}},
        {"subtract", {"ArithmeticOperationWithImage", "ArithmeticOperationWithValue"}},
        {"multiply", {"ArithmeticOperationWithImage", "ArithmeticOperationWithValue"}},
        {"divide", {"ArithmeticOperationWithImage", "ArithmeticOperationWithValue"}},
        {"and", {"LogicalOperationWithImage"}},
        {"or", {"LogicalOperationWithImage"}},
        {"xor", {"LogicalOperationWithImage"}},
        {"calculator", {"ImageFormula"}},
        {"expression", {"ImageFormula"}},
        {"sharpen", {"UnsharpMask"}},
        {"denoise", {"NonLocalMeansFilter", "BilateralFilter", "MedianFilter", "AnisotropicDiffusion"}},
        {"nlmeans", {"NonLocalMeansFilter"}},
        {"peronamalik", {"AnisotropicDiffusion"}},
        {"rollingball", {"BackgroundCorrection"}},
        {"flatfield", {"BackgroundCorrection"}},
        {"edt", {"DistanceMap"}},
        {"distancetransform", {"DistanceMap"}},
        {"floodfill", {"ConnectedThreshold"}},
        {"declump", {"SplitTouchingObjects"}},
        {"separate", {"SplitTouchingObjects"}},
        {"removesmallobjects", {"AreaOpening"}},
        {"removesmallholes", {"AreaClosing"}},
        {"transpose", {"PermuteAxes"}},
        {"moveaxis", {"PermuteAxes"}},
        {"rotate", {"Rotate90"}},
        {"rot90", {"Rotate90"}},
        {"fliplr", {"Flip"}},
        {"mirror", {"Flip"}},
        {"roll", {"Shift"}},
        {"concatenate", {"ConcatenateImages"}},
        {"stack", {"ConcatenateImages", "MergeChannels"}},
        {"imhist", {"IntensityHistogram"}},
        {"histogram", {"IntensityHistogram"}},
    };
    return words;
}

}  // namespace

std::string plainWord(std::string_view word) {
    std::string plain;
    for (const char letter : word) {
        if (letter != '_' && letter != '-' && letter != ' ') {
            plain += lowerCase(letter);
        }
    }
    return plain;
}

std::vector<std::string> namesOf(std::string_view word) {
    const auto found = synonyms().find(plainWord(word));
    return found != synonyms().end() ? found->second : std::vector<std::string>();
}

std::vector<std::string> allSynonyms() {
    std::vector<std::string> words;
    for (const auto& [word, names] : synonyms()) {
        words.push_back(word);
    }
    return words;
}

}  // namespace rix::description
