#include "Statistics.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include <rix/access/VoxelTypeLists.h>
#include <rix/analysis/ImageStatistics.h>
#include <rix/description/Tables.h>
#include <rix/description/Text.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryImage.h>
#include <rix/rendering/Rows.h>

#include "Interrupts.h"
#include "Progress.h"

namespace rix::cli {
namespace {

bool isReal(const ImageModel& image) {
    return image.getElementType() == SINGLE && access::contains(access::Reals{}, image.getVoxelType());
}

/// The magnitudes of complex samples; the samples of vectors side by side.
std::unique_ptr<io::MemoryImage> realsOf(const ImageModel& image) {
    rendering::RowReader reader(image);
    auto reals = std::make_unique<io::MemoryImage>();
    const auto extents = helper::getExtents(image);
    if (!reals->reserve(RIX_FLOAT64, reader.samplesOfRow(), extents[ROWS], extents[PLANS], extents[SEQUENCE],
                        extents[SPECTRAL_SERIES])) {
        throw MemoryError("There is not enough memory for the magnitudes of the samples.");
    }
    auto* next = reinterpret_cast<double*>(reals->getInternalBuffer());
    rendering::forEachRow(image, [&](const rendering::RowPosition& at) {
        Interrupts::throwIfRequested();
        next = std::copy_n(reader.readReals(at).begin(), reader.samplesOfRow(), next);
    });
    return reals;
}

/// The values that are told, by their names in JSON and for people.
std::vector<std::pair<std::pair<const char*, const char*>, double>> valuesOf(const analysis::ImageStatisticsMsr& of) {
    return {{{"minimum", "minimum"}, of.minimum[0]},
            {{"maximum", "maximum"}, of.maximum[0]},
            {{"mean", "mean"}, of.mean[0]},
            {{"standardDeviation", "standard deviation"}, of.standardDeviation[0]},
            {{"median", "median"}, of.quantiles[0][0]}};
}

std::int64_t samplesOf(const analysis::ImageStatisticsMsr& of) {
    return of.count[0] + of.nanCount[0] + of.infiniteCount[0];
}

}  // namespace

SampleStatistics::SampleStatistics(const ImageModel& image)
    : m_ofMagnitudes(access::contains(access::Complexes{}, image.getVoxelType())) {
    const auto reals = isReal(image) ? nullptr : realsOf(image);
    auto table = std::make_shared<analysis::ImageStatisticsMsr>();
    analysis::ImageStatistics algorithm;
    algorithm.setInputImage(reals != nullptr ? reals.get() : &image);
    algorithm.setMeasures("Count, NanCount, InfiniteCount, Minimum, Maximum, Mean, StandardDeviation");
    algorithm.setQuantiles("0.5");
    algorithm.setOutputMeasurement(table.get());
    ConsoleInteraction interaction(ProgressDisplay::None);
    algorithm.run(&interaction);
    m_table = std::move(table);
}

nlohmann::json SampleStatistics::toJson() const {
    nlohmann::json values = {{"of", m_ofMagnitudes ? "magnitude" : "value"},
                             {"samples", samplesOf(*m_table)},
                             {"notANumber", m_table->nanCount[0]},
                             {"infinite", m_table->infiniteCount[0]}};
    for (const auto& [names, value] : valuesOf(*m_table)) {
        values[names.first] = m_table->count[0] == 0 ? nlohmann::json(nullptr) : description::numberToJson(value);
    }
    return values;
}

std::string SampleStatistics::toText() const {
    description::TextTable lines;
    lines.add({"samples:", std::to_string(samplesOf(*m_table))});
    for (const auto& [name, count] :
         {std::pair("not a number:", m_table->nanCount[0]), std::pair("infinite:", m_table->infiniteCount[0])}) {
        if (count != 0) {
            lines.add({name, std::to_string(count)});
        }
    }
    for (const auto& [names, value] : valuesOf(*m_table)) {
        if (m_table->count[0] != 0) {
            lines.add({names.second + std::string(m_ofMagnitudes ? " of magnitude:" : ":"),
                       description::numberToText(value)});
        }
    }
    return lines.toText("  ");
}

}  // namespace rix::cli
