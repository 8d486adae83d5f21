#include "NrrdFields.h"

#include <algorithm>

#include <rix/exceptions/Exception.h>

#include "HeaderText.h"

namespace rix::io {

NrrdFields::NrrdFields(InputFile& file) {
    HeaderText text(file);
    text.next();  // the magic
    while (const auto line = text.next()) {
        if (line->empty()) {
            m_attached = true;
            break;
        }
        if (line->front() == '#') {
            continue;
        }
        const std::size_t colon = line->find(':');
        if (colon == String::npos) {
            failField("a field", *line);
        }
        if (line->compare(colon, 2, ":=") == 0) {
            m_keys.insert_or_assign(line->substr(0, colon), line->substr(colon + 2));
        } else {
            String name = lowered(line->substr(0, colon));
            name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
            const String value = trimmed(line->substr(colon + 1));
            m_fields.insert_or_assign(name, value);
            if (name == "datafile" && value.starts_with("LIST")) {  // lines of names follow
                break;
            }
        }
    }
    m_end = text.position();
}

const String* NrrdFields::field(const char* name) const {
    const auto found = m_fields.find(name);
    return found == m_fields.end() ? nullptr : &found->second;
}

const String& NrrdFields::required(const char* name) const {
    const String* value = field(name);
    if (value == nullptr) {
        throw LoadingError("The header doesn't tell the " + String(name) + " of the image.");
    }
    return *value;
}

StoredType nrrdTypeOf(const String& name) {
    static const std::map<String, StoredType> types{{"signed char", StoredType::Int8},
                                                    {"int8", StoredType::Int8},
                                                    {"int8_t", StoredType::Int8},
                                                    {"uchar", StoredType::UInt8},
                                                    {"unsigned char", StoredType::UInt8},
                                                    {"uint8", StoredType::UInt8},
                                                    {"uint8_t", StoredType::UInt8},
                                                    {"short", StoredType::Int16},
                                                    {"short int", StoredType::Int16},
                                                    {"signed short", StoredType::Int16},
                                                    {"signed short int", StoredType::Int16},
                                                    {"int16", StoredType::Int16},
                                                    {"int16_t", StoredType::Int16},
                                                    {"ushort", StoredType::UInt16},
                                                    {"unsigned short", StoredType::UInt16},
                                                    {"unsigned short int", StoredType::UInt16},
                                                    {"uint16", StoredType::UInt16},
                                                    {"uint16_t", StoredType::UInt16},
                                                    {"int", StoredType::Int32},
                                                    {"signed int", StoredType::Int32},
                                                    {"int32", StoredType::Int32},
                                                    {"int32_t", StoredType::Int32},
                                                    {"uint", StoredType::UInt32},
                                                    {"unsigned int", StoredType::UInt32},
                                                    {"uint32", StoredType::UInt32},
                                                    {"uint32_t", StoredType::UInt32},
                                                    {"longlong", StoredType::Int64},
                                                    {"long long", StoredType::Int64},
                                                    {"long long int", StoredType::Int64},
                                                    {"signed long long", StoredType::Int64},
                                                    {"int64", StoredType::Int64},
                                                    {"int64_t", StoredType::Int64},
                                                    {"ulonglong", StoredType::UInt64},
                                                    {"unsigned long long", StoredType::UInt64},
                                                    {"unsigned long long int", StoredType::UInt64},
                                                    {"uint64", StoredType::UInt64},
                                                    {"uint64_t", StoredType::UInt64},
                                                    {"float", StoredType::Float32},
                                                    {"double", StoredType::Float64}};
    const auto found = types.find(lowered(name));
    if (found == types.end()) {
        failField("type", name);
    }
    return found->second;
}

std::array<double, 3> nrrdVector(std::string_view& text, const char* field) {
    const std::size_t end = text.find(')');
    if (!text.starts_with('(') || end == std::string_view::npos) {
        failField(field, text);
    }
    String inside(text.substr(1, end - 1));
    std::replace(inside.begin(), inside.end(), ',', ' ');
    const std::size_t count = wordsOf(inside).size();
    if (count == 0 || count > 3) {
        failField(field, text);
    }
    const auto numbers = numbersOf(inside, count, field);
    std::array<double, 3> vector{};
    std::copy(numbers.begin(), numbers.end(), vector.begin());
    text.remove_prefix(end + 1);
    return vector;
}

std::vector<String> quotedTexts(std::string_view text) {
    std::vector<String> texts;
    while (true) {
        const std::size_t begin = text.find('"');
        const std::size_t end = begin == std::string_view::npos ? begin : text.find('"', begin + 1);
        if (end == std::string_view::npos) {
            return texts;
        }
        texts.push_back(unescapeText(text.substr(begin + 1, end - begin - 1)));
        text.remove_prefix(end + 1);
    }
}

}  // namespace rix::io
