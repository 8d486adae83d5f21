#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/individual_analysis/MeasureInfo.h>
#include <rix/individual_analysis/ObjectView.h>

namespace rix::individual_analysis {

/// Writes the values of a measure of one object.
using ComputeMeasure = void (*)(const ObjectView& object, std::span<double> values);

/// Where a measure or one of its values exists.
enum class Existence : std::uint8_t { Everywhere, Only2d, Only3d };
constexpr bool existsIn(Existence existence, DimensionalMode mode) {
    return existence == Existence::Everywhere || (existence == Existence::Only2d) == (mode == DimensionalMode::Mode2d);
}

/// One value of a measure.
struct ValueDefinition {
    const char* suffix;  ///< appended to the measure's name; empty for a measure of one value
    const char* description;
    Dimension dimension;
    vessel::ColumnType type = vessel::ColumnType::REAL;
    Existence existence = Existence::Everywhere;
    const char* unit = "";  ///< only where the dimension does not say it: "rad"
};

/// All that makes a measure. Each lies in a file of its own, beside the function that computes it.
struct MeasureDefinition {
    const char* name;
    const char* description;
    std::vector<const QuantityInfo*> quantities{};  ///< what has to be gathered beside the shape
    MeasureProcessingType type = MeasureProcessingType::Runs;
    bool needsIntensity = false;  ///< then it has values for each channel
    Existence existence = Existence::Everywhere;
    std::vector<ValueDefinition> values;
    std::vector<const char*> neededForProcessing{};    ///< names of measures
    std::vector<const char*> neededForFinalization{};  ///< the same
    ComputeMeasure compute = nullptr;
    std::vector<double> (*prepare)(const LabelImageInfo& image) = nullptr;  ///< what holds for all objects; may be null
};

/// Adds a measure to those that requests may name, in every analysis of the process that is set up from now on. It is
/// no part of a preset. What it depends on is registered before it. Safe from any thread.
/// @param definition lives until it is taken out; so do its quantities' infos
/// @throws InvalidCall when the name is taken or cannot be written in a request, when there is no value or function,
/// and
///         when a measure or quantity that it needs does not exist, exists for other images only, or reads grey values
///         and the definition does not
RIX_EXPORT void registerMeasure(const MeasureDefinition& definition);

/// Takes a registered measure out, for a plug-in that goes. No analysis with it may be running or be run again; others
/// that depend on it go first. @throws InvalidCall when no measure of that name was registered.
RIX_EXPORT void unregisterMeasure(const String& name);

}  // namespace rix::individual_analysis
