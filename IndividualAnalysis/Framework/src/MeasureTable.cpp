#include "MeasureTable.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <variant>

#include <rix/access/Looks.h>

namespace rix::individual_analysis {

using measurement::MeasurementArray;

namespace {

/// Calls `visit(results, index of the component, channel, name)` for each column of the table. A value that was asked
/// for both alone and as part of a measure has one.
template <class F>
void forEachColumn(const MeasureSet& set, const F& visit) {
    std::set<String> names;
    for (const auto& id : set.getMeasureGroup()->getMeasures()) {
        const BaseMeasure& measure = *set.findMeasure(id);
        const std::size_t channels = measure.getResults()->getNumSpectralPlanes();
        for (std::size_t c = 0; c < measure.getMeasureAttributes().components.size(); ++c) {
            for (std::size_t channel = 0; channel < channels; ++channel) {
                String name = measure.getMeasureInfo().nativeName + measure.getMeasureAttributes().components[c].suffix;
                if (channels > 1) {
                    name += '[' + std::to_string(channel) + ']';
                }
                if (names.insert(name).second) {
                    visit(measure, c, channel, name);
                }
            }
        }
    }
}

LabelAnalysisMsr::Column makeColumn(const MeasureSet& set, const BaseMeasure& measure, std::size_t c,
                                    const String& name) {
    const MeasureComponent& component = measure.getMeasureAttributes().components[c];
    const String unit = component.unit.empty()
                            ? component.dimension.unit(set.getLabelImageCalibration().m_spatialUnitName)
                            : component.unit;
    const String description =
        measure.getMeasureInfo().description + (component.description.empty() ? "" : ' ' + component.description);
    if (component.type == vessel::ColumnType::INTEGER) {
        return MeasurementArray<std::int64_t>(name, description, unit);
    }
    return MeasurementArray<double>(name, description, unit);
}

/// Gives a table its new rows, or none at all when that fails or is cancelled: columns are of one length.
class NewRows {
public:
    NewRows(LabelAnalysisMsr& table, std::size_t count) : m_table(table), m_first(table.label.size()) {
        try {
            resize(m_first + count);
        } catch (...) {
            shorten();
            throw;
        }
    }
    ~NewRows() {
        if (!m_kept) {
            shorten();
        }
    }
    NewRows(const NewRows&) = delete;
    NewRows& operator=(const NewRows&) = delete;

    std::size_t first() const { return m_first; }
    void keep() { m_kept = true; }

private:
    void resize(std::size_t rows) {
        m_table.frame.resize(rows);
        m_table.label.resize(rows);
        for (LabelAnalysisMsr::Column& column : m_table.values) {
            access::throwIfRunCancelled();
            std::visit([rows](auto& values) { values.resize(rows); }, column);
        }
    }
    void shorten() noexcept {
        const auto cut = [this](auto& values) { values.resize(std::min(values.size(), m_first)); };
        cut(m_table.frame);
        cut(m_table.label);
        for (LabelAnalysisMsr::Column& column : m_table.values) {
            std::visit(cut, column);
        }
    }

    LabelAnalysisMsr& m_table;
    std::size_t m_first;
    bool m_kept = false;
};

/// The same name, unit and type: a column of an earlier run, whose memory can be used again.
bool isSameColumn(const LabelAnalysisMsr::Column& a, const LabelAnalysisMsr::Column& b) {
    const auto infoOf = [](const auto& values) { return values.getColumnInfo(); };
    return a.index() == b.index() && std::visit(infoOf, a) == std::visit(infoOf, b);
}

/// Gives a table the columns of the requested measures, and no row.
void startTable(LabelAnalysisMsr& result, const MeasureSet& set) {
    result.frame.resize(0);
    result.label.resize(0);
    std::size_t column = 0;
    forEachColumn(set, [&](const BaseMeasure& measure, std::size_t component, std::size_t, const String& name) {
        LabelAnalysisMsr::Column made = makeColumn(set, measure, component, name);
        if (column == result.values.size()) {
            result.values.push_back(std::move(made));
        } else if (!isSameColumn(result.values[column], made)) {
            result.values[column] = std::move(made);
        } else {
            std::visit([](auto& values) { values.resize(0); }, result.values[column]);
        }
        ++column;
    });
    result.values.erase(result.values.begin() + static_cast<std::ptrdiff_t>(column), result.values.end());
}

}  // namespace

void fillTable(LabelAnalysisMsr& result, const MeasureSet& set, const std::vector<ObjectTable>& frames) {
    startTable(result, set);
    std::size_t count = 0;
    for (const ObjectTable& frame : frames) {
        count += frame.size();
    }
    NewRows rows(result, count);
    access::Looks looks;
    std::size_t row = rows.first();
    for (std::size_t frame = 0; frame < frames.size(); ++frame) {
        for (const std::uint32_t label : frames[frame].labels()) {
            result.frame[row] = static_cast<std::int64_t>(frame);
            result.label[row++] = label;
            looks.add(1);
        }
    }
    auto column = result.values.begin();
    forEachColumn(set, [&](const BaseMeasure& measure, std::size_t component, std::size_t channel, const String&) {
        const MeasureResults& results = *measure.getResults();
        std::visit(
            [&]<class T>(MeasurementArray<T>& values) {
                std::size_t place = rows.first();
                for (std::size_t frame = 0; frame < frames.size(); ++frame) {
                    for (std::size_t index = 0; index < frames[frame].size(); ++index) {
                        values[place++] = static_cast<T>(results.values(frame, index, channel)[component]);
                        looks.add(1);
                    }
                }
            },
            *column++);
    });
    rows.keep();
}

}  // namespace rix::individual_analysis
