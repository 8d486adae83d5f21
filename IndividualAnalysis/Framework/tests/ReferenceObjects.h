#pragma once

// Objects as plain lists of their pixels: what the references of the tests are computed from.

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <rix/access/SampleCast.h>
#include <rix/image/ImageModel.h>
#include <rix/individual_analysis/LabelAnalysis.h>
#include <rix/settings/Settings.h>

#include "ImageFactories.h"

namespace rix::individual_analysis::test_tools {

struct Pixel {
    std::array<std::int64_t, 3> at;
    std::vector<double> values;  ///< of each channel
};

/// Frame and label, in the order of the table's rows.
using Key = std::pair<std::int64_t, std::int64_t>;
using Objects = std::map<Key, std::vector<Pixel>>;

inline std::vector<double> readRow(const ImageModel& image, std::size_t y, std::size_t z, std::size_t t,
                                   std::size_t s) {
    const std::size_t count = image.getNumOf(COLUMNS);
    std::vector<std::uint8_t> raw(count * helper::getSizeOf(image.getVoxelType()));
    EXPECT_TRUE(image.readRowAt(count, raw.data(), 0, y, z, t, s));
    std::vector<double> row(count);
    access::castRowFrom(image.getVoxelType(), raw.data(), row.data(), count);
    return row;
}

inline Objects collectObjects(const ImageModel& labels, const ImageModel* intensity = nullptr) {
    Objects objects;
    const std::size_t channels = intensity != nullptr ? intensity->getNumOf(SPECTRAL_SERIES) : 0;
    for (std::size_t t = 0; t < labels.getNumOf(SEQUENCE); ++t) {
        for (std::size_t z = 0; z < labels.getNumOf(PLANS); ++z) {
            for (std::size_t y = 0; y < labels.getNumOf(ROWS); ++y) {
                const std::vector<double> row = readRow(labels, y, z, t, 0);
                std::vector<std::vector<double>> values;
                for (std::size_t s = 0; s < channels; ++s) {
                    values.push_back(readRow(*intensity, y, z, t, s));
                }
                for (std::size_t x = 0; x < row.size(); ++x) {
                    if (row[x] != 0) {
                        Pixel pixel{
                            {static_cast<std::int64_t>(x), static_cast<std::int64_t>(y), static_cast<std::int64_t>(z)},
                            {}};
                        for (std::size_t s = 0; s < channels; ++s) {
                            pixel.values.push_back(values[s][x]);
                        }
                        objects[{static_cast<std::int64_t>(t), static_cast<std::int64_t>(row[x])}].push_back(pixel);
                    }
                }
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
