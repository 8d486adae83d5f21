#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/properties/ValueTypeName.h>
#include <rix/properties/ValueTypes.h>

namespace rix {

/// The value that a property of type `T` has at first: zero, false, an empty text or list, a null pointer.
template <class T>
struct DefaultInit {
    static T getDefault() { return T{}; }
};

/// Writes a value as text; false for a type that has no text form, as here, and then `out` may have any value.
template <class T>
struct Serialization {
    [[nodiscard]] static bool doIt(String& /*out*/, const T& /*value*/) { return false; }
};

/// Reads a value from text; false, with `value` and `normalised` unchanged, when the text is refused. `normalised`
/// receives the accepted text. Texts do not depend on the locale.
template <class T>
struct Deserialization {
    [[nodiscard]] static bool doIt(const String& /*in*/, T& /*value*/, String& /*normalised*/) { return false; }
};

/// The types whose text form is that of a number in a stream.
template <class T>
concept TextNumber =
    std::same_as<T, bool> || std::same_as<T, unsigned char> || std::same_as<T, int> || std::same_as<T, unsigned int> ||
    std::same_as<T, long> || std::same_as<T, unsigned long> || std::same_as<T, double>;

/// Numbers are written as a stream does by default: reals with six significant digits, booleans as "1" and "0".
template <TextNumber T>
struct RIX_EXPORT Serialization<T> {
    [[nodiscard]] static bool doIt(String& out, const T& value);
};

/// Numbers are read as a stream does: leading blanks and anything after the number are passed over, a number that
/// the type cannot hold is refused, a minus before an unsigned number wraps. Booleans are also read from "true" and
/// "false".
template <TextNumber T>
struct RIX_EXPORT Deserialization<T> {
    [[nodiscard]] static bool doIt(const String& in, T& value, String& normalised);
};

template <>
struct RIX_EXPORT Serialization<String> {
    [[nodiscard]] static bool doIt(String& out, const String& value);
};

template <>
struct RIX_EXPORT Deserialization<String> {
    [[nodiscard]] static bool doIt(const String& in, String& value, String& normalised);
};

template <>
struct RIX_EXPORT Serialization<FilePath> {
    [[nodiscard]] static bool doIt(String& out, const FilePath& value);
};

/// Any text is a path. `normalised` becomes a name for what the file holds: the part after the last "/" or "\",
/// with "_" for its last ".".
template <>
struct RIX_EXPORT Deserialization<FilePath> {
    [[nodiscard]] static bool doIt(const String& in, FilePath& value, String& normalised);
};

/// Written as the number alone: the text of the real 3 reads as an unsigned integer.
template <>
struct RIX_EXPORT Serialization<Scalar> {
    [[nodiscard]] static bool doIt(String& out, const Scalar& value);
};

/// A text with "." is a real, one that begins with a sign a signed integer, any other an unsigned integer. The whole
/// text must be the number.
template <>
struct RIX_EXPORT Deserialization<Scalar> {
    [[nodiscard]] static bool doIt(const String& in, Scalar& value, String& normalised);
};

namespace detail {

inline constexpr std::string_view VECTOR_2_PREFIX = "@v2:";
inline constexpr std::string_view VECTOR_3_PREFIX = "@v3:";
inline constexpr std::string_view LIST_PREFIX = "@v:";

/// The pieces of what follows `prefix`, empty ones included; false when `text` does not begin with it.
RIX_EXPORT bool splitAfterPrefix(const String& text, std::string_view prefix, char separator,
                                 std::vector<String>& pieces);

/// Reads exactly `N` components of a vector.
template <class T, std::size_t N>
bool readComponents(const String& in, std::string_view prefix, std::array<T, N>& components, String& normalised) {
    std::vector<String> pieces;
    if (!splitAfterPrefix(in, prefix, '_', pieces) || pieces.size() != N) {
        return false;
    }
    String joined;
    for (std::size_t i = 0; i < N; ++i) {
        String piece;
        if (!Deserialization<T>::doIt(pieces[i], components[i], piece)) {
            return false;
        }
        joined += (i == 0 ? "" : "_") + piece;
    }
    normalised = joined;
    return true;
}

}  // namespace detail

/// "@v2:" and the components, joined by "_".
template <class T>
struct Serialization<math::Vector2<T>> {
    [[nodiscard]] static bool doIt(String& out, const math::Vector2<T>& value) {
        String x;
        String y;
        if (!Serialization<T>::doIt(x, value.x) || !Serialization<T>::doIt(y, value.y)) {
            return false;
        }
        out = String(detail::VECTOR_2_PREFIX) + x + '_' + y;
        return true;
    }
};

/// As written, each component by the rule of its type. `normalised` has no prefix.
template <class T>
struct Deserialization<math::Vector2<T>> {
    [[nodiscard]] static bool doIt(const String& in, math::Vector2<T>& value, String& normalised) {
        std::array<T, 2> components;
        if (!detail::readComponents(in, detail::VECTOR_2_PREFIX, components, normalised)) {
            return false;
        }
        value = {components[0], components[1]};
        return true;
    }
};

/// "@v3:" and three components joined by "_", each by the rule of its type. `normalised` has no prefix.
/// There is no written form.
template <class T>
struct Deserialization<math::Vector3<T>> {
    [[nodiscard]] static bool doIt(const String& in, math::Vector3<T>& value, String& normalised) {
        std::array<T, 3> components;
        if (!detail::readComponents(in, detail::VECTOR_3_PREFIX, components, normalised)) {
            return false;
        }
        value = {components[0], components[1], components[2]};
        return true;
    }
};

/// "@v:" and the elements, joined by "#". An element that cannot be written leaves `out` empty.
template <class T>
struct Serialization<container::Vector<T>> {
    [[nodiscard]] static bool doIt(String& out, const container::Vector<T>& value) {
        out = detail::LIST_PREFIX;
        for (std::size_t i = 0; i < value.size(); ++i) {
            String element;
            if (!Serialization<T>::doIt(element, value[i])) {
                out.clear();
                return false;
            }
            out += (i == 0 ? "" : "#") + element;
        }
        return true;
    }
};

/// As written, each element by the rule of its type.
template <class T>
struct Deserialization<container::Vector<T>> {
    [[nodiscard]] static bool doIt(const String& in, container::Vector<T>& value, String& normalised) {
        container::Vector<T> elements;
        if (in != detail::LIST_PREFIX) {
            std::vector<String> pieces;
            if (!detail::splitAfterPrefix(in, detail::LIST_PREFIX, '#', pieces)) {
                return false;
            }
            elements.resize(pieces.size());
            for (std::size_t i = 0; i < pieces.size(); ++i) {
                String piece;
                if (!Deserialization<T>::doIt(pieces[i], elements[i], piece)) {
                    return false;
                }
            }
        }
        value = std::move(elements);
        normalised = in;
        return true;
    }
};

}  // namespace rix
