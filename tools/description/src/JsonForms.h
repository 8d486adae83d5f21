#pragma once

// How values of each type pass between a property and JSON. `fromJson` gives nothing for what is no value of the type.

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include <rix/description/Text.h>
#include <rix/properties/RarePropertyInstances.h>

namespace rix::description {

using Json = nlohmann::json;

template <class T>
struct JsonForm;

template <class T>
    requires std::is_integral_v<T>
struct JsonForm<T> {
    static Json toJson(T value) { return value; }
    static std::optional<T> fromJson(const Json& json) {
        if constexpr (std::is_same_v<T, bool>) {
            return json.is_boolean() ? std::optional(json.get<bool>()) : std::nullopt;
        } else {
            const bool fits = json.is_number_unsigned()  ? std::in_range<T>(json.get<unsigned long>())
                              : json.is_number_integer() ? std::in_range<T>(json.get<long>())
                                                         : false;
            return fits ? std::optional(json.get<T>()) : std::nullopt;
        }
    }
};

template <class T>
    requires std::is_floating_point_v<T>
struct JsonForm<T> {
    static Json toJson(T value) { return numberToJson(static_cast<double>(value)); }
    static std::optional<T> fromJson(const Json& json) {
        if (json.is_number()) {
            return json.get<T>();
        }
        const std::string text = json.is_string() ? json.get<std::string>() : std::string();
        double value = 0;
        const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
        // Only what JSON has no number for is a text.
        const bool isWhole = end.ec == std::errc() && end.ptr == text.data() + text.size() && !std::isfinite(value);
        return isWhole ? std::optional(static_cast<T>(value)) : std::nullopt;
    }
};

template <>
struct JsonForm<String> {
    static Json toJson(const String& value) { return value; }
    static std::optional<String> fromJson(const Json& json) {
        return json.is_string() ? std::optional(json.get<String>()) : std::nullopt;
    }
};

template <>
struct JsonForm<FilePath> {
    static Json toJson(const FilePath& value) { return value.text(); }
    static std::optional<FilePath> fromJson(const Json& json) {
        return json.is_string() ? std::optional(FilePath(json.get<String>())) : std::nullopt;
    }
};

template <>
struct JsonForm<Scalar> {
    static Json toJson(const Scalar& value) {
        switch (value.getType()) {
            case INTEGER: return value.getIntValue();
            case UNSIGNED_INTEGER: return value.getUIntValue();
            case REAL: break;
        }
        return numberToJson(value.getRealValue());
    }
    static std::optional<Scalar> fromJson(const Json& json) {
        if (json.is_number_integer()) {
            return json.is_number_unsigned() ? Scalar(json.get<unsigned long>()) : Scalar(json.get<long>());
        }
        const auto real = JsonForm<double>::fromJson(json);
        return real ? std::optional(Scalar(*real)) : std::nullopt;
    }
};

/// The elements of an array, each of type T; a number of elements may be asked for.
template <class T>
std::optional<std::vector<T>> elementsFrom(const Json& json, std::optional<std::size_t> count = {}) {
    if (!json.is_array() || (count && json.size() != *count)) {
        return std::nullopt;
    }
    std::vector<T> elements;
    for (const Json& element : json) {
        auto value = JsonForm<T>::fromJson(element);
        if (!value) {
            return std::nullopt;
        }
        elements.push_back(std::move(*value));
    }
    return elements;
}

template <>
struct JsonForm<ScalarArray> {
    static Json toJson(const ScalarArray& value) {
        Json array = Json::array();
        for (std::size_t i = 0; i < value.size(); ++i) {
            array.push_back(JsonForm<Scalar>::toJson(value.getScalarValueAt(i)));
        }
        return array;
    }
    static std::optional<ScalarArray> fromJson(const Json& json) {
        // One type for all: integers where all are.
        if (const auto whole = elementsFrom<long>(json)) {
            return ScalarArray(whole->size(), whole->data());
        }
        const auto reals = elementsFrom<double>(json);
        return reals ? std::optional(ScalarArray(reals->size(), reals->data())) : std::nullopt;
    }
};

template <class T, std::size_t N, class Vector>
struct VectorForm {
    static Json toJson(const Vector& value) {
        Json array = Json::array();
        for (std::size_t i = 0; i < N; ++i) {
            array.push_back(JsonForm<T>::toJson(value[i]));
        }
        return array;
    }
    static std::optional<Vector> fromJson(const Json& json) {
        const auto elements = elementsFrom<T>(json, N);
        if (!elements) {
            return std::nullopt;
        }
        Vector vector;
        for (std::size_t i = 0; i < N; ++i) {
            vector[i] = (*elements)[i];
        }
        return vector;
    }
};

template <class T>
struct JsonForm<math::Vector2<T>> : VectorForm<T, 2, math::Vector2<T>> {};
template <class T>
struct JsonForm<math::Vector3<T>> : VectorForm<T, 3, math::Vector3<T>> {};
template <class T>
struct JsonForm<math::Vector4<T>> : VectorForm<T, 4, math::Vector4<T>> {};

template <class T>
struct JsonForm<container::Vector<T>> {
    static Json toJson(const container::Vector<T>& value) {
        Json array = Json::array();
        for (const T& element : value) {
            array.push_back(JsonForm<T>::toJson(element));
        }
        return array;
    }
    static std::optional<container::Vector<T>> fromJson(const Json& json) {
        auto elements = elementsFrom<T>(json);
        return elements ? std::optional(container::Vector<T>(std::move(*elements))) : std::nullopt;
    }
};

template <class T, std::size_t N, class Matrix>
struct MatrixForm {
    static Json toJson(const Matrix& value) {
        Json rows = Json::array();
        for (std::size_t row = 0; row < N; ++row) {
            rows.push_back(Json::array());
            for (std::size_t column = 0; column < N; ++column) {
                rows.back().push_back(JsonForm<T>::toJson(value(row, column)));
            }
        }
        return rows;
    }
    static std::optional<Matrix> fromJson(const Json& json) {
        Matrix matrix;
        for (std::size_t row = 0; row < N; ++row) {
            const auto elements = json.is_array() && json.size() == N ? elementsFrom<T>(json[row], N) : std::nullopt;
            if (!elements) {
                return std::nullopt;
            }
            for (std::size_t column = 0; column < N; ++column) {
                matrix(row, column) = (*elements)[column];
            }
        }
        return matrix;
    }
};

template <class T, std::size_t N>
struct JsonForm<math::SquareMatrix<T, N>> : MatrixForm<T, N, math::SquareMatrix<T, N>> {};
template <class T, std::size_t N>
struct JsonForm<vessel::Matrix<T, N>> : MatrixForm<T, N, vessel::Matrix<T, N>> {};

template <>
struct JsonForm<kernel::Kernel2D> {
    static Json toJson(const kernel::Kernel2D& value);
    static std::optional<kernel::Kernel2D> fromJson(const Json& json);
};

template <>
struct JsonForm<kernel::Kernel3D> {
    static Json toJson(const kernel::Kernel3D& value);
    static std::optional<kernel::Kernel3D> fromJson(const Json& json);
};

template <>
struct JsonForm<kernel::RecursiveKernel1D> {
    static Json toJson(const kernel::RecursiveKernel1D& value);
    static std::optional<kernel::RecursiveKernel1D> fromJson(const Json& json);
};

}  // namespace rix::description
