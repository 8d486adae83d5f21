// Requests of measures with formulas: refused by a rule, or a table with a row for each object.

#include <rix/exceptions/Exception.h>
#include <rix/individual_analysis/LabelAnalysis.h>
#include <rix/settings/Settings.h>

#include "FuzzTarget.h"
#include "ImageFactories.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace rix;
    static const io::MemoryImage planes[] = {
        test::makeImage({.extents = {5, 4, 1, 1, 1}},
                        [](std::size_t x, std::size_t y, auto...) { return x / 2 * (y % 3); }),
        test::makeImage({.extents = {4, 3, 3, 1, 1}},
                        [](std::size_t x, std::size_t y, auto...) { return x / 2 * (y % 3); })};
    static const int objects[] = {3, 2};
    fuzz::Bytes bytes(data, size);
    const std::size_t which = bytes.below(2);
    individual_analysis::LabelAnalysis analysis;
    individual_analysis::LabelAnalysisMsr result;
    analysis.settings().setMaximumNumberOfThreads(1);
    analysis.setInputLabelImage(&planes[which]);
    analysis.setInputIntensityImage(&planes[which]);
    analysis.setMeasures(String(bytes.rest()));
    analysis.setOutputMeasurement(&result);
    try {
        analysis.run();
        fuzz::require(result.label.size() == static_cast<std::size_t>(objects[which]), "each object has a row");
    } catch (const RuleException&) {
        return fuzz::accepted;
    }
    return fuzz::accepted;
}
