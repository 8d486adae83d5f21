#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include <rix/properties/ValueTypes.h>

namespace rix {

namespace detail {

struct TypeWords {
    const char* one;
    const char* many;
};

template <class T>
inline constexpr TypeWords TYPE_WORDS =
    std::is_enum_v<T> ? TypeWords{"choice", "choices"} : TypeWords{"object", "objects"};

template <>
inline constexpr TypeWords TYPE_WORDS<bool>{"boolean", "booleans"};
template <>
inline constexpr TypeWords TYPE_WORDS<int>{"integer", "integers"};
template <>
inline constexpr TypeWords TYPE_WORDS<long>{"integer", "integers"};
template <>
inline constexpr TypeWords TYPE_WORDS<unsigned char>{"integer from 0 to 255", "integers from 0 to 255"};
template <>
inline constexpr TypeWords TYPE_WORDS<unsigned int>{"non-negative integer", "non-negative integers"};
template <>
inline constexpr TypeWords TYPE_WORDS<unsigned long>{"non-negative integer", "non-negative integers"};
template <>
inline constexpr TypeWords TYPE_WORDS<float>{"number", "numbers"};
template <>
inline constexpr TypeWords TYPE_WORDS<double>{"number", "numbers"};
template <>
inline constexpr TypeWords TYPE_WORDS<String>{"text", "texts"};
template <>
inline constexpr TypeWords TYPE_WORDS<FilePath>{"file path", "file paths"};
template <>
inline constexpr TypeWords TYPE_WORDS<Scalar>{"integer or real number", "integers or real numbers"};
template <>
inline constexpr TypeWords TYPE_WORDS<ScalarArray>{"list of integers or of real numbers",
                                                   "lists of integers or of real numbers"};
template <>
inline constexpr TypeWords TYPE_WORDS<const ImageModel*>{"input image", "input images"};
template <>
inline constexpr TypeWords TYPE_WORDS<ImageModel*>{"output image", "output images"};
template <>
inline constexpr TypeWords TYPE_WORDS<ReadOnlyImageView>{"read-only image", "read-only images"};
template <>
inline constexpr TypeWords TYPE_WORDS<vessel::ImageView>{"image view", "image views"};
template <>
inline constexpr TypeWords TYPE_WORDS<vessel::TensorView>{"tensor", "tensors"};
template <>
inline constexpr TypeWords TYPE_WORDS<vessel::DataFrameView>{"table", "tables"};
template <>
inline constexpr TypeWords TYPE_WORDS<kernel::Kernel2D>{"2D kernel", "2D kernels"};
template <>
inline constexpr TypeWords TYPE_WORDS<kernel::Kernel3D>{"3D kernel", "3D kernels"};
template <>
inline constexpr TypeWords TYPE_WORDS<kernel::RecursiveKernel1D>{"recursive kernel", "recursive kernels"};
template <>
inline constexpr TypeWords TYPE_WORDS<individual_analysis::LabelImageSegments>{"segments of labels",
                                                                               "segments of labels"};
template <>
inline constexpr TypeWords TYPE_WORDS<individual_analysis::MeasureGroup>{"group of measures", "groups of measures"};
template <>
inline constexpr TypeWords TYPE_WORDS<math::LabelPolygons2d>{"polygons of labels", "polygons of labels"};

}  // namespace detail

/// The type of a value in words that a user understands, without regard to how it is passed: a list and a pointer to
/// a list read the same.
template <class T>
struct ValueTypeName {
    static String get() { return detail::TYPE_WORDS<T>.one; }
    static String getPlural() { return detail::TYPE_WORDS<T>.many; }
};

namespace detail {

/// Composed names: "vector of 2 numbers", "vectors of 2 numbers".
template <class T>
struct VectorName {
    static String get(const char* kind) { return String(kind) + " of " + ValueTypeName<T>::getPlural(); }
    static String get(const char* kind, int count) {
        return String(kind) + " of " + std::to_string(count) + ' ' + ValueTypeName<T>::getPlural();
    }
    static String getMatrix(const char* kind, std::size_t size) {
        return std::to_string(size) + " x " + std::to_string(size) + ' ' + get(kind);
    }
};

}  // namespace detail

template <class T>
struct ValueTypeName<math::Vector2<T>> {
    static String get() { return detail::VectorName<T>::get("vector", 2); }
    static String getPlural() { return detail::VectorName<T>::get("vectors", 2); }
};

template <class T>
struct ValueTypeName<math::Vector3<T>> {
    static String get() { return detail::VectorName<T>::get("vector", 3); }
    static String getPlural() { return detail::VectorName<T>::get("vectors", 3); }
};

template <class T>
struct ValueTypeName<math::Vector4<T>> {
    static String get() { return detail::VectorName<T>::get("vector", 4); }
    static String getPlural() { return detail::VectorName<T>::get("vectors", 4); }
};

template <class T, std::size_t N>
struct ValueTypeName<math::SquareMatrix<T, N>> {
    static String get() { return detail::VectorName<T>::getMatrix("matrix", N); }
    static String getPlural() { return detail::VectorName<T>::getMatrix("matrices", N); }
};

template <class T, std::size_t N>
struct ValueTypeName<vessel::Matrix<T, N>> : ValueTypeName<math::SquareMatrix<T, N>> {};

template <class T>
struct ValueTypeName<container::Vector<T>> {
    static String get() { return detail::VectorName<T>::get("list"); }
    static String getPlural() { return detail::VectorName<T>::get("lists"); }
};

template <class T>
struct ValueTypeName<vessel::ArrayX<T>> {
    static String get() { return detail::VectorName<T>::get("array"); }
    static String getPlural() { return detail::VectorName<T>::get("arrays"); }
};

template <class T>
    requires(!std::is_same_v<std::remove_const_t<T>, ImageModel>)
struct ValueTypeName<T*> : ValueTypeName<std::remove_const_t<T>> {};

template <class T>
struct ValueTypeName<std::shared_ptr<T>> : ValueTypeName<std::remove_const_t<T>> {};

}  // namespace rix
