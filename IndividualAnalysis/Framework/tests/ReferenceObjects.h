#pragma once

// Objects as plain lists of their pixels: what the references of the tests are computed from.

#include <rix/individual_analysis/LabelAnalysis.h>

#include "Testing.h"

namespace rix::individual_analysis::test_tools {

struct Pixel {
    std::array<std::int64_t, 3> at;
    std::vector<double> values;  ///< of each channel
};

/// Frame and label, in the order of the table's rows.
using Key = std::pair<std::int64_t, std::int64_t>;
using Objects = std::map<Key, std::vector<Pixel>>;

inline Objects collectObjects(const ImageModel& labels, const ImageModel* intensity = nullptr) {
    Objects objects;
    const test::Extents n = helper::getExtents(labels);
    const std::size_t channels = intensity != nullptr ? intensity->getNumOf(SPECTRAL_SERIES) : 0;
    for (std::size_t t = 0; t < n[SEQUENCE]; ++t) {
        const std::vector<std::uint32_t> names = test::volumeOf<std::uint32_t>(labels, t, 0);
        std::vector<std::vector<double>> values;
        for (std::size_t s = 0; s < channels; ++s) {
            values.push_back(test::volumeOf<double>(*intensity, t, s));
        }
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (names[i] != 0) {
                const std::size_t line = i / n[COLUMNS];
                Pixel pixel{{static_cast<std::int64_t>(i % n[COLUMNS]), static_cast<std::int64_t>(line % n[ROWS]),
                             static_cast<std::int64_t>(line / n[ROWS])},
                            {}};
                for (const std::vector<double>& channel : values) {
                    pixel.values.push_back(channel[i]);
                }
                objects[{static_cast<std::int64_t>(t), std::int64_t{names[i]}}].push_back(std::move(pixel));
            }
        }
    }
    return objects;
}

/// How an analysis is run.
struct RunOptions {
    int threads = 1;
    OptimLevelType level = SCALAR;
};

inline std::shared_ptr<const vessel::DataFrameView> analyse(const ImageModel& labels, const std::string& measures,
                                                            const ImageModel* intensity = nullptr,
                                                            const RunOptions& options = {}) {
    const auto result = std::make_shared<LabelAnalysisMsr>();
    LabelAnalysis algorithm;
    algorithm.setOutputMeasurement(result.get());
    algorithm.settings().setMaximumNumberOfThreads(options.threads);
    algorithm.setAutoCpuDispatch(false);
    algorithm.setOptimLevel(options.level);
    algorithm.setInputLabelImage(&labels);
    algorithm.setInputIntensityImage(intensity);
    algorithm.setMeasures(measures);
    algorithm.run();
    EXPECT_EQ(algorithm.getLastRunLevel(), options.level);
    return {result, &result->getTable()};
}

/// A column by name, whatever its type.
inline std::vector<double> column(const vessel::DataFrameView& table, const std::string& name) {
    const auto index = table.findColumn(name);
    if (!index) {
        ADD_FAILURE() << "there is no column " << name;
        return std::vector<double>(table.getRowCount());
    }
    if (table.getColumnType(*index) == vessel::ColumnType::INTEGER) {
        const auto values = table.getIntegers(*index);
        return {values.begin(), values.end()};
    }
    const auto values = table.getReals(*index);
    return {values.begin(), values.end()};
}

/// The value of an image with one object.
inline double single(const ImageModel& labels, const std::string& measure) {
    const auto table = analyse(labels, measure);
    EXPECT_EQ(table->getRowCount(), 1U);
    return column(*table, measure).at(0);
}

}  // namespace rix::individual_analysis::test_tools
