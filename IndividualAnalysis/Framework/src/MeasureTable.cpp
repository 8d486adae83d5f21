#include "MeasureTable.h"

#include <cmath>
#include <cstdint>
#include <string>

namespace rix::individual_analysis {

namespace {

constexpr const char* frameColumn = "Frame";

template <class T>
std::vector<T> earlierValues(const vessel::DataFrameView* earlier, const String& name) {
    if (earlier == nullptr) {
        return {};
    }
    const std::size_t column = earlier->findColumn(name).value();
    if constexpr (std::is_same_v<T, double>) {
        const auto values = earlier->getReals(column);
        return {values.begin(), values.end()};
    } else {
        const auto values = earlier->getIntegers(column);
        return {values.begin(), values.end()};
    }
}

template <class T>
void addValues(vessel::DataFrame& table, const MeasureSet& set, const MeasureResults& results, std::size_t component,
               std::size_t channel, const vessel::ColumnInfo& info, const vessel::DataFrameView* earlier) {
    std::vector<T> values = earlierValues<T>(earlier, info.name);
    for (std::size_t frame = 0; frame < set.getNumSequencePlanes(); ++frame) {
        for (std::size_t index = 0; index < set.getNumLabels(frame); ++index) {
            values.push_back(static_cast<T>(results.values(frame, index, channel)[component]));
        }
    }
    table.addColumn(info, std::move(values));
}

void addMeasure(vessel::DataFrame& table, const MeasureSet& set, const BaseMeasure& measure,
                const vessel::DataFrameView* earlier) {
    const MeasureAttributes& attributes = measure.getMeasureAttributes();
    const MeasureResults& results = *measure.getResults();
    for (std::size_t c = 0; c < attributes.components.size(); ++c) {
        const MeasureComponent& component = attributes.components[c];
        const String name = measure.getMeasureInfo().nativeName + component.suffix;
        for (std::size_t channel = 0; channel < results.getNumSpectralPlanes(); ++channel) {
            vessel::ColumnInfo info;
            info.name = results.getNumSpectralPlanes() > 1 ? name + '[' + std::to_string(channel) + ']' : name;
            if (table.findColumn(info.name)) {
                continue;  // asked for alone and as part of a measure
            }
            info.unit = component.unit.empty()
                            ? component.dimension.unit(set.getLabelImageCalibration().m_spatialUnitName)
                            : component.unit;
            info.description = measure.getMeasureInfo().description +
                               (component.description.empty() ? "" : ' ' + component.description);
            if (component.type == vessel::ColumnType::INTEGER) {
                addValues<std::int64_t>(table, set, results, c, channel, info, earlier);
            } else {
                addValues<double>(table, set, results, c, channel, info, earlier);
            }
        }
    }
}

}  // namespace

std::shared_ptr<vessel::DataFrame> makeMeasureTable(const MeasureSet& set, const std::vector<ObjectTable>& frames,
                                                    const vessel::DataFrameView* earlier) {
    std::vector<std::int64_t> frameKeys = earlierValues<std::int64_t>(earlier, frameColumn);
    std::vector<std::int64_t> labelKeys = earlierValues<std::int64_t>(earlier, "Label");
    const std::int64_t firstFrame = frameKeys.empty() ? 0 : frameKeys.back() + 1;
    for (std::size_t frame = 0; frame < frames.size(); ++frame) {
        for (const std::uint32_t label : frames[frame].labels) {
            frameKeys.push_back(firstFrame + static_cast<std::int64_t>(frame));
            labelKeys.push_back(label);
        }
    }
    auto table = std::make_shared<vessel::DataFrame>();
    table->addColumn({frameColumn, "", "Index on the sequence axis."}, std::move(frameKeys));
    table->addColumn({"Label", "", "Label of the object."}, std::move(labelKeys));
    for (const auto& id : set.getMeasureGroup()->getMeasures()) {
        addMeasure(*table, set, *set.findMeasure(id), earlier);
    }
    return table;
}

}  // namespace rix::individual_analysis
