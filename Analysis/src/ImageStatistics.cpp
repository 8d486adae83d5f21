#include <rix/analysis/ImageStatistics.h>

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/When.h>

#include "GroupStatistics.h"

namespace rix::analysis {

namespace {

struct QuantileRequest {
    std::vector<double> values;
    std::vector<String> texts;
};

/// Numbers from 0 to 1, separated by commas; nothing when a text is none.
std::optional<QuantileRequest> readQuantiles(std::string_view text) {
    QuantileRequest request;
    const auto trimmed = [](std::string_view part) {
        const std::size_t begin = part.find_first_not_of(" \t");
        return begin == std::string_view::npos ? std::string_view()
                                               : part.substr(begin, part.find_last_not_of(" \t") - begin + 1);
    };
    if (trimmed(text).empty()) {
        return request;
    }
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string_view part = trimmed(text.substr(begin, end - begin));
        double value = 0;
        const auto [next, error] = std::from_chars(part.data(), part.data() + part.size(), value);
        if (error != std::errc() || next != part.data() + part.size() || !(value >= 0 && value <= 1)) {
            return std::nullopt;
        }
        request.values.push_back(value);
        request.texts.emplace_back(part);
        begin = end + 1;
    }
    return request;
}

class RuleQuantiles : public Rules<Property<String>> {
public:
    void apply(Property<String>& property) override {
        if (!readQuantiles(property.get())) {
            rules::refuse(rules::parameterText(property) + " must be numbers from 0 to 1, separated by commas.",
                          "It is \"" + property.get() + "\".");
        }
    }
    String describe() const override { return "must be numbers from 0 to 1, separated by commas"; }
};

using Position = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

void declare(ImageStatistics& algorithm, algorithms::Properties& properties) {
    properties.input(algorithm.inputImage, "The image that is described.", AddRulesForRealImage());
    properties.input(algorithm.inputMaskImage, "Optional: voxels where it is 0 have no part.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertType({RIX_UINT8})),
                     AddRuleWhenSet(AddRuleAssertSameSize(algorithm.inputImage)));
    properties.input(algorithm.groupBy, "What a row of the table describes.");
    algorithm.quantiles = String();
    properties.input(algorithm.quantiles, "Shares of the values, for a column each: \"0.05, 0.5\".");
    algorithm.quantiles.getImpl()->addRule(std::make_shared<RuleQuantiles>());
    properties.output(algorithm.outputMeasurement, "A row for each group of voxels.", AddRuleCreateMeasurement());
}

void setPlaces(std::array<measurement::MeasurementArray<std::int64_t>, RIX_COMPONENTS_SIZE>& arrays, std::size_t row,
               const Position& origin, std::uint64_t element, const Position& extents) {
    for (std::size_t axis = 0; axis < arrays.size(); ++axis) {
        arrays[axis][row] = static_cast<std::int64_t>(origin[axis] + element % extents[axis]);
        element /= extents[axis];
    }
}

void setRow(ImageStatisticsMsr& table, std::size_t row, const GroupStatistics& group, const Position& origin,
            const Position& extents) {
    const Moments& moments = group.moments;
    table.plane[row] = static_cast<std::int64_t>(origin[PLANS]);
    table.frame[row] = static_cast<std::int64_t>(origin[SEQUENCE]);
    table.channel[row] = static_cast<std::int64_t>(origin[SPECTRAL_SERIES]);
    table.count[row] = static_cast<std::int64_t>(moments.count);
    table.nanCount[row] = static_cast<std::int64_t>(group.nanCount);
    table.infiniteCount[row] = static_cast<std::int64_t>(group.infiniteCount);
    table.minimum[row] = group.minimum;
    table.maximum[row] = group.maximum;
    table.sum[row] = moments.total();
    table.mean[row] = moments.mean;
    table.variance[row] = moments.variance();
    table.standardDeviation[row] = std::sqrt(moments.variance());
    table.skewness[row] = moments.skewness();
    table.kurtosis[row] = moments.kurtosis();
    table.entropy[row] = group.entropy;
    table.mode[row] = group.mode;
    for (std::size_t i = 0; i < group.quantiles.size(); ++i) {
        table.quantiles[i][row] = group.quantiles[i];
    }
    if (moments.count > 0) {
        setPlaces(table.minimumAt, row, origin, group.minimumAt, extents);
        setPlaces(table.maximumAt, row, origin, group.maximumAt, extents);
        return;
    }
    for (std::size_t axis = 0; axis < extents.size(); ++axis) {
        table.minimumAt[axis][row] = table.maximumAt[axis][row] = -1;
    }
}

void process(ImageStatistics& algorithm, OptimLevelType level) {
    const ImageModel& image = *algorithm.getInputImage();
    const ImageModel* const mask = algorithm.getInputMaskImage();
    const QuantileRequest request = *readQuantiles(algorithm.getQuantiles());
    const ImageStatistics::GroupBy by = algorithm.getGroupBy();
    const Position all = helper::getExtents(image);
    Position extents = all;  // of a group
    extents[PLANS] = by == ImageStatistics::PLANE ? 1 : all[PLANS];
    extents[SEQUENCE] = by == ImageStatistics::PLANE || by == ImageStatistics::VOLUME ? 1 : all[SEQUENCE];
    extents[SPECTRAL_SERIES] = by != ImageStatistics::IMAGE ? 1 : all[SPECTRAL_SERIES];
    const std::size_t planes = all[PLANS] / extents[PLANS];
    const std::size_t frames = all[SEQUENCE] / extents[SEQUENCE];
    const std::size_t channels = all[SPECTRAL_SERIES] / extents[SPECTRAL_SERIES];
    ImageStatisticsMsr& table = *algorithm.getOutputMeasurement();
    table.reset(planes * frames * channels, request.texts);
    table.groupColumns = {planes > 1, frames > 1, channels > 1};
    const access::Steps groups(algorithm.executionContext(), table.count.size());
    for (std::size_t row = 0; row < table.count.size(); ++row) {
        const Position origin{0, 0, row % planes, row / planes % frames, row / planes / frames};
        std::optional<ImageModelSizeProxy> part;
        std::optional<ImageModelSizeProxy> maskPart;
        const auto view = [&](std::optional<ImageModelSizeProxy>& box, const ImageModel* of) -> const ImageModel* {
            if (of == nullptr || extents == all) {
                return of;
            }
            return &box.emplace(of, std::vector<std::size_t>(origin.begin(), origin.end()),
                                std::vector<std::size_t>(extents.begin(), extents.end()));
        };
        const Group group{view(part, &image), view(maskPart, mask)};
        setRow(table, row, measureGroup(algorithm.executionContext(), level, group, request.values), origin, extents);
    }
}

constexpr algorithms::Definition<ImageStatistics> definition{
    .summary = "Describes the values of an image: extremes, moments, entropy, quantiles.",
    .kind = AlgorithmKind::Reduction,
    .declare = &declare,
    .process = &process,
    .memory =
        [](const ImageStatistics& algorithm) {
            std::size_t voxels = 0;
            static_cast<void>(helper::getElementCount(*algorithm.getInputImage(), voxels));
            return groupMemory(algorithm.getInputImage()->getVoxelType(), voxels, algorithm.getMaximumThreads(),
                               !algorithm.getQuantiles().empty());
        },
    .memoryIsExact = false,
};

}  // namespace

const EnumInfo& ImageStatistics::getInfoGroupBy() {
    static const EnumInfo info("GroupBy", "IMAGE = 0, PLANE, VOLUME, CHANNEL");
    return info;
}

RIX_DEFINE_ALGORITHM(ImageStatistics, definition)

}  // namespace rix::analysis
