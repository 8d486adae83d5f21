#include "HeaderText.h"

#include <algorithm>
#include <cctype>

#include <rix/exceptions/Exception.h>

#include "../Metadata.h"

namespace rix::io {
namespace {

constexpr std::uint64_t LongestHeader = std::uint64_t{1} << 20U;
constexpr std::size_t PartBytes = 4096;

template <class T>
std::vector<T> parsedWords(std::string_view text, std::size_t count, const char* field,
                           std::optional<T> (*parse)(std::string_view)) {
    std::vector<T> values;
    for (const String& word : wordsOf(text)) {
        const auto value = parse(word);
        if (!value) {
            failField(field, text);
        }
        values.push_back(*value);
    }
    if (values.size() != count) {
        failField(field, text);
    }
    return values;
}

}  // namespace

std::optional<String> HeaderText::next() {
    std::size_t end = m_text.find('\n');
    while (end == String::npos) {
        String part(PartBytes, '\0');
        const std::size_t count = m_file.readAt(m_readTo, part.data(), part.size());
        if (count == 0) {
            break;
        }
        m_readTo += count;
        m_text.append(part, 0, count);
        if (m_readTo > LongestHeader + PartBytes) {
            throw LoadingError("The header is longer than " + std::to_string(LongestHeader) + " bytes.");
        }
        end = m_text.find('\n');
    }
    if (m_text.empty()) {
        return std::nullopt;
    }
    String line = m_text.substr(0, end);
    const std::size_t taken = end == String::npos ? m_text.size() : end + 1;
    m_text.erase(0, taken);
    m_position += taken;
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

String lowered(std::string_view text) {
    String result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return result;
}

std::vector<String> wordsOf(std::string_view text) {
    std::vector<String> words;
    while (true) {
        const std::size_t begin = text.find_first_not_of(" \t");
        if (begin == std::string_view::npos) {
            return words;
        }
        const std::size_t end = std::min(text.find_first_of(" \t", begin), text.size());
        words.emplace_back(text.substr(begin, end - begin));
        text.remove_prefix(end);
    }
}

void failField(const char* field, std::string_view value) {
    throw LoadingError("The header says " + String(field) + ": '" + escapeText(value.substr(0, 200)) +
                       "', which is not understood.");
}

std::vector<double> numbersOf(std::string_view text, std::size_t count, const char* field) {
    return parsedWords<double>(text, count, field, &parseNumber);
}

std::vector<std::size_t> countsOf(std::string_view text, std::size_t count, const char* field) {
    return parsedWords<std::size_t>(text, count, field, &parseCount);
}

}  // namespace rix::io
