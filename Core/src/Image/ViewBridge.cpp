#include "Image/ViewBridge.h"

#include <array>
#include <cstdint>
#include <variant>

#include <rix/image/ImageMetadata.h>

namespace rix::detail {

namespace {

constexpr const char* interpretationKey = "interpretation";
constexpr const char* colorInterpretationKey = "color_interpretation";
constexpr const char* labelScopeKey = "label_scope";
constexpr const char* spatialFrameKey = "spatial_frame";
constexpr const char* columnsKey = "columns";
constexpr std::array<const char*, 3> originKeys{"origin_x", "origin_y", "origin_z"};
constexpr std::array<const char*, 3> spacingKeys{"spacing_x", "spacing_y", "spacing_z"};

template <class Ours, class Theirs>
struct Pair {
    Ours ours;
    Theirs theirs;
};

constexpr std::array<Pair<VoxelTypes, vessel::SampleType>, 10> sampleTypes{{
    {RIX_UINT8, vessel::SampleType::UINT8},
    {RIX_UINT16, vessel::SampleType::UINT16},
    {RIX_UINT32, vessel::SampleType::UINT32},
    {RIX_INT8, vessel::SampleType::INT8},
    {RIX_INT16, vessel::SampleType::INT16},
    {RIX_INT32, vessel::SampleType::INT32},
    {RIX_FLOAT32, vessel::SampleType::FLOAT32},
    {RIX_FLOAT64, vessel::SampleType::FLOAT64},
    {RIX_COMPLEX_FLOAT32, vessel::SampleType::COMPLEX_FLOAT32},
    {RIX_COMPLEX_FLOAT64, vessel::SampleType::COMPLEX_FLOAT64},
}};

constexpr std::array<Pair<ElementTypes, vessel::ElementLayout>, 5> layouts{{
    {SINGLE, vessel::ElementLayout::SCALAR},
    {VECTOR_2, vessel::ElementLayout::VECTOR_2},
    {VECTOR_3, vessel::ElementLayout::VECTOR_3},
    {MATRIX_2X2_SYM, vessel::ElementLayout::SYMMETRIC_MATRIX_2},
    {MATRIX_3X3_SYM, vessel::ElementLayout::SYMMETRIC_MATRIX_3},
}};

template <class Ours, class Theirs, std::size_t count>
std::optional<Theirs> toTheirs(const std::array<Pair<Ours, Theirs>, count>& table, Ours ours) {
    for (const auto& pair : table) {
        if (pair.ours == ours) {
            return pair.theirs;
        }
    }
    return std::nullopt;
}

template <class Ours, class Theirs, std::size_t count>
std::optional<Ours> toOurs(const std::array<Pair<Ours, Theirs>, count>& table, Theirs theirs) {
    for (const auto& pair : table) {
        if (pair.theirs == theirs) {
            return pair.ours;
        }
    }
    return std::nullopt;
}

static_assert(toAxisName(COLUMNS) == vessel::AxisName::COLUMN && toAxisName(ROWS) == vessel::AxisName::ROW &&
              toAxisName(PLANS) == vessel::AxisName::SLICE && toAxisName(SEQUENCE) == vessel::AxisName::TIME &&
              toAxisName(SPECTRAL_SERIES) == vessel::AxisName::CHANNEL);

/// The value among the first `count` whose text is stored under `key`, or `otherwise`.
template <class Enumeration>
Enumeration readText(const vessel::ImageView& view, const char* key, int count, Enumeration otherwise,
                     String (*toText)(const Enumeration&)) {
    String text;
    if (helper::readMetadata(view, key, text)) {
        for (int i = 0; i < count; ++i) {
            const auto value = static_cast<Enumeration>(i);
            if (toText(value) == text) {
                return value;
            }
        }
    }
    return otherwise;
}

/// Reads the numbers of an entry; false when one is missing.
bool readNumbers(const vessel::PropertyTree& entry, const std::array<const char*, 3>& keys,
                 std::array<double, 3>& numbers) {
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const vessel::PropertyTree* const child = entry.find(keys[i]);
        const double* const number = child == nullptr ? nullptr : std::get_if<double>(&child->getValue());
        if (number == nullptr) {
            return false;
        }
        numbers[i] = *number;
    }
    return true;
}

}  // namespace

std::optional<vessel::ElementType> toElementType(VoxelTypes voxelType, ElementTypes elementType) {
    const auto sample = toTheirs(sampleTypes, voxelType);
    const auto layout = toTheirs(layouts, elementType);
    if (!sample || !layout) {
        return std::nullopt;
    }
    return vessel::ElementType{*sample, *layout};
}

std::optional<VoxelTypes> toVoxelType(vessel::SampleType type) {
    return toOurs(sampleTypes, type);
}

std::optional<ElementTypes> toElementTypes(vessel::ElementLayout layout) {
    return toOurs(layouts, layout);
}

Interpretations readInterpretation(const vessel::ImageView& view) {
    return readText(view, interpretationKey, 3, RIX_VALUE, helper::interpretationsToString);
}

void writeInterpretation(vessel::ImageView& view, Interpretations interpretation) {
    helper::addMetadata(view, interpretationKey, helper::interpretationsToString(interpretation));
}

ColorInterpretation readColorInterpretation(const vessel::ImageView& view) {
    return readText(view, colorInterpretationKey, 5, UNKNOWN, helper::colorInterpretationToString);
}

void writeColorInterpretation(vessel::ImageView& view, ColorInterpretation interpretation) {
    helper::addMetadata(view, colorInterpretationKey, helper::colorInterpretationToString(interpretation));
}

std::optional<SpatialFrame> readSpatialFrame(const vessel::ImageView& view) {
    const vessel::PropertyTree* const entry = view.metadata().find(spatialFrameKey);
    const vessel::PropertyTree* const child = entry == nullptr ? nullptr : entry->find(columnsKey);
    const std::int64_t* const columns = child == nullptr ? nullptr : std::get_if<std::int64_t>(&child->getValue());
    SpatialFrame frame;
    if (columns == nullptr || *columns < 0 || !readNumbers(*entry, originKeys, frame.origin) ||
        !readNumbers(*entry, spacingKeys, frame.spacing)) {
        return std::nullopt;
    }
    frame.columns = static_cast<std::size_t>(*columns);
    return frame;
}

void writeSpatialFrame(vessel::ImageView& view, const std::optional<SpatialFrame>& frame) {
    if (!frame) {
        view.metadata().remove(spatialFrameKey);
        return;
    }
    vessel::PropertyTree& entry = view.metadata()[spatialFrameKey];
    entry[columnsKey].setValue(static_cast<std::int64_t>(frame->columns));
    for (std::size_t i = 0; i < frame->origin.size(); ++i) {
        entry[originKeys[i]].setValue(frame->origin[i]);
        entry[spacingKeys[i]].setValue(frame->spacing[i]);
    }
}

LabelScope readLabelScope(const vessel::ImageView& view) {
    return readText(view, labelScopeKey, 2, LabelScope::Volume, helper::labelScopeToString);
}

void writeLabelScope(vessel::ImageView& view, LabelScope scope) {
    if (scope == LabelScope::Volume) {
        view.metadata().remove(labelScopeKey);
    } else {
        helper::addMetadata(view, labelScopeKey, helper::labelScopeToString(scope));
    }
}

}  // namespace rix::detail
