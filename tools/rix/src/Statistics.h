#pragma once

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include <rix/analysis/ImageStatisticsMsr.h>
#include <rix/image/ImageModel.h>

namespace rix::cli {

/// What `rix info --statistics` tells of the samples of an image.
class SampleStatistics {
public:
    /// Runs `ImageStatistics` on all samples on all five axes; on their magnitudes when they are complex.
    explicit SampleStatistics(const ImageModel& image);

    nlohmann::json toJson() const;
    std::string toText() const;

private:
    bool m_ofMagnitudes;
    std::shared_ptr<const analysis::ImageStatisticsMsr> m_table;  ///< of one row
};

}  // namespace rix::cli
