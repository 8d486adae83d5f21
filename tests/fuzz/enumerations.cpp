// Declarations of enumerations: refused, or labels and values that lead to each other.

#include <rix/exceptions/Exception.h>
#include <rix/properties/EnumInfo.h>

#include "FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    const String declaration(data, data + size);
    try {
        const EnumInfo info("Fuzzed", declaration.c_str());
        for (std::size_t i = 0; i < info.getNumOfLabels(); ++i) {
            const String& label = info.getLabelFromlabelIndex(i);
            const int value = info.getValueFromLabel(label);
            fuzz::require(info.exists(label) && info.exists(value), "labels and their values exist", declaration);
            fuzz::require(info.getValueFromLabelIndex(i) == value, "an index has its label's value", declaration);
            fuzz::require(i == 0 || info.getLabelFromlabelIndex(i - 1) < label, "labels ascend", declaration);
        }
        std::size_t labels = 0;
        for (std::size_t i = 0; i < info.getNumOfValues(); ++i) {
            const int value = info.getValueFromValueIndex(i);
            fuzz::require(i == 0 || info.getValueFromValueIndex(i - 1) < value, "values ascend", declaration);
            for (std::size_t k = 0; k < info.getNumOfLabelsAtValue(value); ++k, ++labels) {
                // Of a label that was declared again this may be an earlier value.
                fuzz::require(info.exists(info.getLabelFromValue(value, k)), "the labels of a value exist",
                              declaration);
            }
        }
        fuzz::require(labels >= info.getNumOfLabels(), "each label belongs to a value", declaration);
    } catch (const RuntimeError&) {
        return fuzz::accepted;
    }
    return fuzz::accepted;
}
