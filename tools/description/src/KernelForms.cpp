#include "JsonForms.h"

namespace rix::description {
namespace {

/// Rows of one length, one behind the other; nothing when they differ, or when there is none.
std::optional<std::vector<double>> rowsFrom(const Json& json, std::size_t& columns) {
    std::vector<double> values;
    for (const Json& row : json) {
        const auto elements = elementsFrom<double>(row);
        if (!elements || elements->empty() || (&row != &json.front() && elements->size() != columns)) {
            return std::nullopt;
        }
        columns = elements->size();
        values.insert(values.end(), elements->begin(), elements->end());
    }
    return json.is_array() && !json.empty() ? std::optional(std::move(values)) : std::nullopt;
}

}  // namespace

Json JsonForm<kernel::Kernel2D>::toJson(const kernel::Kernel2D& value) {
    Json rows = Json::array();
    for (std::size_t y = 0; y < value.getSizeY(); ++y) {
        rows.push_back(Json::array());
        for (std::size_t x = 0; x < value.getSizeX(); ++x) {
            rows.back().push_back(numberToJson(value.at(x, y)));
        }
    }
    return rows;
}

std::optional<kernel::Kernel2D> JsonForm<kernel::Kernel2D>::fromJson(const Json& json) {
    std::size_t columns = 0;
    auto values = rowsFrom(json, columns);
    return values ? std::optional(kernel::Kernel2D(columns, json.size(), std::move(*values))) : std::nullopt;
}

Json JsonForm<kernel::Kernel3D>::toJson(const kernel::Kernel3D& value) {
    Json planes = Json::array();
    const std::size_t ofPlane = value.getSizeX() * value.getSizeY();
    for (std::size_t z = 0; z < value.getSizeZ(); ++z) {
        const auto first = value.getValues().begin() + static_cast<std::ptrdiff_t>(z * ofPlane);
        planes.push_back(JsonForm<kernel::Kernel2D>::toJson(
            {value.getSizeX(), value.getSizeY(), {first, first + static_cast<std::ptrdiff_t>(ofPlane)}}));
    }
    return planes;
}

std::optional<kernel::Kernel3D> JsonForm<kernel::Kernel3D>::fromJson(const Json& json) {
    if (!json.is_array() || json.empty()) {
        return std::nullopt;
    }
    std::size_t columns = 0;
    std::vector<double> values;
    for (const Json& plane : json) {
        std::size_t columnsOfPlane = 0;
        const auto rows = rowsFrom(plane, columnsOfPlane);
        if (!rows || (&plane != &json.front() && (columnsOfPlane != columns || plane.size() != json.front().size()))) {
            return std::nullopt;
        }
        columns = columnsOfPlane;
        values.insert(values.end(), rows->begin(), rows->end());
    }
    return kernel::Kernel3D(columns, json.front().size(), json.size(), std::move(values));
}

Json JsonForm<kernel::RecursiveKernel1D>::toJson(const kernel::RecursiveKernel1D& value) {
    const auto list = [](const std::vector<double>& numbers) {
        Json array = Json::array();
        for (const double number : numbers) {
            array.push_back(numberToJson(number));
        }
        return array;
    };
    return {{"causal", list(value.causal)}, {"anticausal", list(value.anticausal)}, {"feedback", list(value.feedback)}};
}

std::optional<kernel::RecursiveKernel1D> JsonForm<kernel::RecursiveKernel1D>::fromJson(const Json& json) {
    kernel::RecursiveKernel1D kernel;
    const auto take = [&json](const char* name, std::vector<double>& list) {
        auto numbers = json.is_object() && json.contains(name) ? elementsFrom<double>(json.at(name)) : std::nullopt;
        list = numbers ? std::move(*numbers) : std::vector<double>();
        return numbers.has_value();
    };
    const bool whole = take("causal", kernel.causal) && take("anticausal", kernel.anticausal) &&
                       take("feedback", kernel.feedback) && json.size() == 3;
    return whole ? std::optional(std::move(kernel)) : std::nullopt;
}

}  // namespace rix::description
