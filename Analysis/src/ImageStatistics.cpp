#include <rix/analysis/ImageStatistics.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/KnownWords.h>
#include <rix/rules/When.h>

#include "GroupStatistics.h"

namespace rix::analysis {

namespace {

struct QuantileRequest {
    std::vector<double> values;
    std::vector<String> texts;
};

std::string_view trimmed(std::string_view part) {
    const std::size_t begin = part.find_first_not_of(" \t");
    return begin == std::string_view::npos ? std::string_view()
                                           : part.substr(begin, part.find_last_not_of(" \t") - begin + 1);
}

/// Calls `use(part)` for the parts of a text between commas, without spaces around them. @return whether all were used
template <class Use>
bool forEachPart(std::string_view text, const Use& use) {
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        if (!use(trimmed(text.substr(begin, end - begin)))) {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

/// Numbers from 0 to 1, separated by commas; nothing when a text is none.
std::optional<QuantileRequest> readQuantiles(std::string_view text) {
    QuantileRequest request;
    const bool areQuantiles =
        trimmed(text).empty() || forEachPart(text, [&](std::string_view part) {
            double value = 0;
            const auto [next, error] = std::from_chars(part.data(), part.data() + part.size(), value);
            request.values.push_back(value);
            request.texts.emplace_back(part);
            return error == std::errc() && next == part.data() + part.size() && value >= 0 && value <= 1;
        });
    return areQuantiles ? std::optional(std::move(request)) : std::nullopt;
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

constexpr std::string_view everything = "All";
constexpr std::array<std::string_view, statisticsSize> names{
    "Count",    "Minimum", "Maximum", "Sum",      "Mean",          "Variance",        "StandardDeviation", "Skewness",
    "Kurtosis", "Entropy", "Mode",    "NanCount", "InfiniteCount", "MinimumPosition", "MaximumPosition"};

/// The statistics that a text names; nothing when one is none, which `unknown` then is.
std::optional<StatisticSet> readMeasures(std::string_view text, std::string_view& unknown) {
    StatisticSet statistics;
    const bool areKnown = forEachPart(text, [&](std::string_view part) {
        const auto* const found = std::find(names.begin(), names.end(), part);
        if (part == everything) {
            statistics.addAll();
        } else if (found != names.end()) {
            statistics.add(static_cast<Statistic>(found - names.begin()));
        } else {
            unknown = part;
            return false;
        }
        return true;
    });
    return areKnown ? std::optional(statistics) : std::nullopt;
}

class RuleMeasures : public Rules<Property<String>>, public KnownWords {
public:
    void apply(Property<String>& property) override {
        const String text = property.get();
        std::string_view unknown;
        if (!readMeasures(text, unknown)) {
            rules::refuse(rules::parameterText(property) + " names \"" + String(unknown) + "\", which is no measure.",
                          "Measures are " + known() + ". It is \"" + text + "\".");
        }
    }
    String describe() const override { return "must be names of measures, separated by commas: " + known(); }
    std::vector<String> words() const override {
        std::vector<String> all{String(everything)};
        all.insert(all.end(), names.begin(), names.end());
        return all;
    }

private:
    static String known() {
        String all(everything);
        for (const std::string_view name : names) {
            all += ", " + String(name);
        }
        return all;
    }
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
    algorithm.measures = String(everything);
    properties.input(algorithm.measures, "What is told: names of columns, separated by commas, or \"All\".");
    algorithm.measures.getImpl()->addRule(std::make_shared<RuleMeasures>());
    properties.output(algorithm.outputMeasurement, "A row for each group of voxels.", AddRuleCreateMeasurement());
}

void setRow(ImageStatisticsMsr& table, std::size_t row, const GroupStatistics& group, const Position& origin,
            const Position& extents) {
    const Moments& moments = group.moments;
    table.plane[row] = static_cast<std::int64_t>(origin[PLANS]);
    table.frame[row] = static_cast<std::int64_t>(origin[SEQUENCE]);
    table.channel[row] = static_cast<std::int64_t>(origin[SPECTRAL_SERIES]);
    const auto tell = [&](Statistic statistic, auto& array, auto value) {
        if (table.told().has(statistic)) {
            using Value = typename std::remove_reference_t<decltype(array)>::value_type;
            array[row] = static_cast<Value>(value);
        }
    };
    tell(Statistic::Count, table.count, moments.count);
    tell(Statistic::NanCount, table.nanCount, group.nanCount);
    tell(Statistic::InfiniteCount, table.infiniteCount, group.infiniteCount);
    tell(Statistic::Minimum, table.minimum, group.minimum);
    tell(Statistic::Maximum, table.maximum, group.maximum);
    tell(Statistic::Sum, table.sum, moments.total());
    tell(Statistic::Mean, table.mean, moments.mean);
    tell(Statistic::Variance, table.variance, moments.variance());
    tell(Statistic::StandardDeviation, table.standardDeviation, std::sqrt(moments.variance()));
    tell(Statistic::Skewness, table.skewness, moments.skewness());
    tell(Statistic::Kurtosis, table.kurtosis, moments.kurtosis());
    tell(Statistic::Entropy, table.entropy, group.entropy);
    tell(Statistic::Mode, table.mode, group.mode);
    for (std::size_t i = 0; i < group.quantiles.size(); ++i) {
        table.quantiles[i][row] = group.quantiles[i];
    }
    const auto tellPlace = [&](Statistic statistic, auto& arrays, std::uint64_t element) {
        for (std::size_t axis = 0; axis < extents.size(); ++axis) {
            tell(statistic, arrays[axis],
                 moments.count > 0 ? static_cast<std::int64_t>(origin[axis] + element % extents[axis]) : -1);
            element /= extents[axis];
        }
    };
    tellPlace(Statistic::MinimumPosition, table.minimumAt, group.minimumAt);
    tellPlace(Statistic::MaximumPosition, table.maximumAt, group.maximumAt);
}

void process(ImageStatistics& algorithm, OptimLevelType level) {
    const ImageModel& image = *algorithm.getInputImage();
    const ImageModel* const mask = algorithm.getInputMaskImage();
    const QuantileRequest quantiles = *readQuantiles(algorithm.getQuantiles());
    std::string_view unknown;
    const StatisticSet measures = *readMeasures(algorithm.getMeasures(), unknown);
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
    const std::size_t rows = planes * frames * channels;
    table.reset(rows, measures, quantiles.texts);
    table.groupColumns = {planes > 1, frames > 1, channels > 1};
    const access::Steps groups(algorithm.executionContext(), rows);
    for (std::size_t row = 0; row < rows; ++row) {
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
        setRow(table, row, measureGroup(algorithm.executionContext(), level, group, {measures, quantiles.values}),
               origin, extents);
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
