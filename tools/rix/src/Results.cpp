#include "Results.h"

#include <algorithm>
#include <numeric>
#include <optional>

#include <rix/description/Algorithms.h>
#include <rix/description/Tables.h>
#include <rix/description/Text.h>
#include <rix/description/Values.h>
#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>
#include <rix/rendering/Rows.h>
#include <rix/segmentation/AutoThresholding.h>
#include <rix/segmentation/Labeling2d.h>
#include <rix/segmentation/Labeling3d.h>

#include "Interrupts.h"

namespace rix::cli {
namespace {

/// Values with a text form: a table of one line.
std::optional<Result> readValue(const BaseProperty& property) {
    const auto text = description::valueToText(property);
    if (!text) {
        return std::nullopt;
    }
    Result result{property.getName(), description::valueToJson(property)};
    result.lines.add({property.getName(), *text});
    return result;
}

/// Result objects: their arrays are the columns of a table.
std::optional<Result> readObject(const BaseProperty& property) {
    const auto* slot = dynamic_cast<const MeasurementSlot*>(&property);
    if (slot == nullptr || slot->getObject() == nullptr) {
        return std::nullopt;
    }
    return Result{.name = property.getName(),
                  .table = std::make_shared<vessel::DataFrame>(slot->getObject()->toDataFrame())};
}

/// The largest label of each plane or, where labels are counted in volumes, of each volume.
std::vector<std::uint64_t> largestLabels(const ImageModel& image, bool ofPlanes) {
    std::vector<std::uint64_t> largest;
    rendering::RowReader reader(image);
    rendering::forEachRow(image, [&](const rendering::RowPosition& at) {
        Interrupts::throwIfRequested();
        if (at.row == 0 && (ofPlanes || at.plane == 0)) {
            largest.push_back(0);
        }
        const auto& row = reader.readReals(at);
        const double most = row.empty() ? 0.0 : *std::max_element(row.begin(), row.end());
        largest.back() = std::max(largest.back(), static_cast<std::uint64_t>(std::max(most, 0.0)));
    });
    return largest;
}

/// A label image: how many objects it has. Each plane or volume of a labeling counts its objects from 1; in a label
/// image of another algorithm labels may be missing or go on from plane to plane, so that only the largest is told.
std::optional<Result> countObjects(const BaseAlgorithm& algorithm, const BaseProperty& property) {
    const auto* output = dynamic_cast<const Property<ImageModel*>*>(&property);
    if (output == nullptr || output->get() == nullptr || output->get()->getInterpretation() != RIX_LABEL) {
        return std::nullopt;
    }
    const bool ofPlanes = dynamic_cast<const segmentation::Labeling2d*>(&algorithm) != nullptr;
    const bool ofVolumes = dynamic_cast<const segmentation::Labeling3d*>(&algorithm) != nullptr;
    const auto counts = largestLabels(*output->get(), ofPlanes);
    Result result{property.getName()};
    if (!ofPlanes && !ofVolumes) {
        const std::uint64_t most = counts.empty() ? 0 : *std::max_element(counts.begin(), counts.end());
        result.value = {{"largestLabel", most}};
        result.lines.add({property.getName(), "largest label " + std::to_string(most)});
        return result;
    }
    const std::uint64_t objects = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    std::string text = std::to_string(objects) + (objects == 1 ? " object" : " objects");
    if (counts.size() > 1) {
        constexpr std::size_t mostShown = 20;
        std::vector<std::string> shown;
        for (std::size_t i = 0; i < std::min(counts.size(), mostShown); ++i) {
            shown.push_back(std::to_string(counts[i]));
        }
        text += " in " + std::to_string(counts.size()) + (ofPlanes ? " planes: " : " volumes: ") +
                description::join(shown) + (counts.size() > mostShown ? ", ..." : "");
    }
    result.value = {{"objects", objects}, {ofPlanes ? "objectsOfPlanes" : "objectsOfVolumes", counts}};
    result.lines.add({property.getName(), text});
    return result;
}

/// The thresholds of all frames, of which one is applied to all.
void markTheApplied(const BaseAlgorithm& algorithm, Result& result) {
    if (dynamic_cast<const segmentation::AutoThresholding*>(&algorithm) == nullptr ||
        algorithm.isIterationOnSequenceAxisEnabled() || result.table->getRowCount() < 2) {
        return;
    }
    const auto& table = *result.table;
    description::TextTable lines({"Frame", "threshold", ""});
    const auto thresholds = table.getReals(table.findColumn("threshold").value());
    for (std::size_t frame = 0; frame < thresholds.size(); ++frame) {
        lines.add({std::to_string(frame), description::numberToText(thresholds[frame]),
                   frame == 0 ? "applied to all frames" : "not applied"});
    }
    result.lines = std::move(lines);
}

}  // namespace

nlohmann::json Result::toJson() const {
    return table != nullptr ? description::toJson(*table) : value;
}

std::string Result::toText(std::string_view indent, std::size_t mostRows) const {
    return table != nullptr && lines.empty() ? description::toTextTable(*table, mostRows).toText(indent)
                                             : lines.toText(indent);
}

void ResultObjects::create(const BaseAlgorithm& algorithm) {
    for (BaseProperty* property : description::listProperties(algorithm)) {
        auto* slot = dynamic_cast<MeasurementSlot*>(property);
        if (slot != nullptr && slot->getObject() == nullptr) {
            m_objects.push_back(slot->createObject());
            slot->setObject(m_objects.back().get());
        }
    }
}

std::vector<Result> readResults(const BaseAlgorithm& algorithm) {
    std::vector<Result> results;
    for (const BaseProperty* property : description::listProperties(algorithm)) {
        if (!property->isOutput()) {
            continue;
        }
        if (auto object = readObject(*property)) {
            markTheApplied(algorithm, *object);
            results.push_back(std::move(*object));
        } else if (auto labels = countObjects(algorithm, *property)) {
            results.push_back(std::move(*labels));
        } else if (auto value = readValue(*property)) {
            results.push_back(std::move(*value));
        }
    }
    return results;
}

}  // namespace rix::cli
