#include <rix/properties/Serialization.h>

#include <limits>
#include <locale>
#include <sstream>

#include "StrictNumber.h"

namespace rix {

namespace {

template <class T>
String streamed(T value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

template <class T>
bool extract(const String& text, T& value) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    T extracted{};
    if (!(stream >> extracted)) {
        return false;
    }
    value = extracted;
    return true;
}

}  // namespace

template <TextNumber T>
bool Serialization<T>::doIt(String& out, const T& value) {
    // A byte is a number here; a stream would take it for a character.
    if constexpr (std::same_as<T, unsigned char>) {
        out = streamed(static_cast<unsigned int>(value));
    } else {
        out = streamed(value);
    }
    return true;
}

template <TextNumber T>
bool Deserialization<T>::doIt(const String& in, T& value, String& normalised) {
    if constexpr (std::same_as<T, unsigned char>) {
        unsigned int number = 0;
        if (!extract(in, number) || number > std::numeric_limits<T>::max()) {
            return false;
        }
        value = static_cast<T>(number);
    } else {
        if (std::same_as<T, bool> && (in == "true" || in == "false")) {
            value = in == "true";
        } else if (!extract(in, value)) {
            return false;
        }
    }
    normalised = in;
    return true;
}

template struct Serialization<bool>;
template struct Serialization<unsigned char>;
template struct Serialization<int>;
template struct Serialization<unsigned int>;
template struct Serialization<long>;
template struct Serialization<unsigned long>;
template struct Serialization<double>;
template struct Deserialization<bool>;
template struct Deserialization<unsigned char>;
template struct Deserialization<int>;
template struct Deserialization<unsigned int>;
template struct Deserialization<long>;
template struct Deserialization<unsigned long>;
template struct Deserialization<double>;

bool Serialization<String>::doIt(String& out, const String& value) {
    out = value;
    return true;
}

bool Deserialization<String>::doIt(const String& in, String& value, String& normalised) {
    value = in;
    normalised = in;
    return true;
}

bool Serialization<FilePath>::doIt(String& out, const FilePath& value) {
    out = value.text();
    return true;
}

bool Deserialization<FilePath>::doIt(const String& in, FilePath& value, String& normalised) {
    value = in;
    String base = in.substr(in.find_last_of("/\\") + 1);  // npos + 1 is 0
    if (const std::size_t dot = base.rfind('.'); dot != String::npos) {
        base[dot] = '_';
    }
    normalised = base;
    return true;
}

bool Serialization<Scalar>::doIt(String& out, const Scalar& value) {
    switch (value.getType()) {
        case INTEGER: return Serialization<long>::doIt(out, value.getIntValue());
        case UNSIGNED_INTEGER: return Serialization<unsigned long>::doIt(out, value.getUIntValue());
        case REAL: break;
    }
    return Serialization<double>::doIt(out, value.getRealValue());
}

bool Deserialization<Scalar>::doIt(const String& in, Scalar& value, String& normalised) {
    const auto accept = [&](const auto& number) {
        if (!number) {
            return false;
        }
        value = *number;
        normalised = in;
        return true;
    };
    if (in.find('.') != String::npos) {
        return accept(helper::readStrictNumber<double>(in));
    }
    if (in.starts_with('-') || in.starts_with('+')) {
        return accept(helper::readStrictNumber<long>(in));
    }
    return accept(helper::readStrictNumber<unsigned long>(in));
}

bool detail::splitAfterPrefix(const String& text, std::string_view prefix, char separator,
                              std::vector<String>& pieces) {
    if (text.size() <= prefix.size() || !text.starts_with(prefix)) {
        return false;
    }
    pieces.clear();
    std::size_t begin = prefix.size();
    for (std::size_t end = 0; end != String::npos; begin = end + 1) {
        end = text.find(separator, begin);
        pieces.push_back(text.substr(begin, end == String::npos ? end : end - begin));
    }
    return true;
}

}  // namespace rix
