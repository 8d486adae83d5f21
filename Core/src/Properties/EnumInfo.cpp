#include <rix/properties/EnumInfo.h>

#include <iterator>
#include <limits>
#include <locale>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

#include <rix/exceptions/Exception.h>

namespace rix {

namespace {

/// Without any blank. Declarations are source text: what a blank is does not depend on the locale.
String withoutBlanks(const String& text) {
    String result;
    for (const char character : text) {
        if (String(" \t\n\v\f\r").find(character) == String::npos) {
            result += character;
        }
    }
    return result;
}

/// As a stream reads a number: anything after it is passed over.
bool extractInt(const String& text, int& value) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());
    return static_cast<bool>(stream >> value);
}

}  // namespace

struct EnumInfoPrivate {
    std::map<String, int> labelToValue;
    std::map<int, std::vector<String>> valueToLabels;
    std::vector<std::pair<int, String>> declarations;  // in the order of declaration
    String name;

    void parse(const String& declaration);
    void parseToken(const String& token, int& running);

    [[noreturn]] void throwUnknown(const String& what) const {
        throw InvalidCall("The enumeration " + name + " has no " + what);
    }
    const std::vector<String>& labelsAt(int value) const {
        const auto found = valueToLabels.find(value);
        if (found == valueToLabels.end()) {
            throwUnknown("value " + std::to_string(value));
        }
        return found->second;
    }
    /// The entry of an ordered map at a position.
    template <class Map>
    const auto& entryAt(const Map& map, std::size_t index, const char* kind) const {
        if (index >= map.size()) {
            throwUnknown(String(kind) + " index " + std::to_string(index) + ": there are " +
                         std::to_string(map.size()));
        }
        return *std::next(map.begin(), static_cast<std::ptrdiff_t>(index));
    }
};

void EnumInfoPrivate::parse(const String& declaration) {
    int running = -1;
    std::size_t begin = 0;
    for (bool last = false; !last;) {
        const std::size_t end = declaration.find(',', begin);
        last = end == String::npos;
        parseToken(declaration.substr(begin, last ? end : end - begin), running);
        begin = end + 1;
    }
}

void EnumInfoPrivate::parseToken(const String& token, int& running) {
    const std::size_t equals = token.find('=');
    const String label = withoutBlanks(token.substr(0, equals));
    if (label.empty()) {
        throw RuntimeError("EnumInfo declaration error : a label is missing in the declaration of enum " + name);
    }
    if (equals != String::npos) {
        const String valueText = withoutBlanks(token.substr(equals + 1));
        if (int number = 0; extractInt(valueText, number)) {
            running = number;
        } else if (const auto alias = labelToValue.find(valueText); alias != labelToValue.end()) {
            running = alias->second;
        } else {
            throw RuntimeError("EnumInfo declaration error : " + valueText +
                               " does not correspond to possible item of enum " + name);
        }
    } else if (running == std::numeric_limits<int>::max()) {
        throw RuntimeError("EnumInfo declaration error : the value of " + label + " exceeds " +
                           std::to_string(running) + " in enum " + name);
    } else {
        ++running;
    }
    labelToValue[label] = running;
    valueToLabels[running].push_back(label);
    declarations.emplace_back(running, label);
}

EnumInfo::EnumInfo(const char* name, const char* declaration) : m_private(std::make_unique<EnumInfoPrivate>()) {
    m_private->name = name;
    m_private->parse(declaration);
}

EnumInfo::EnumInfo(const EnumInfo& other) : m_private(std::make_unique<EnumInfoPrivate>(*other.m_private)) {}

EnumInfo& EnumInfo::operator=(const EnumInfo& other) {
    m_private = std::make_unique<EnumInfoPrivate>(*other.m_private);
    return *this;
}

EnumInfo::~EnumInfo() = default;

const String& EnumInfo::getEnumName() const {
    return m_private->name;
}

std::size_t EnumInfo::getNumOfLabels() const {
    return m_private->labelToValue.size();
}

std::size_t EnumInfo::getNumOfValues() const {
    return m_private->valueToLabels.size();
}

std::size_t EnumInfo::getNumOfLabelsAtValue(int value) const {
    return m_private->labelsAt(value).size();
}

bool EnumInfo::exists(int value) const {
    return m_private->valueToLabels.contains(value);
}

bool EnumInfo::exists(const String& label) const {
    return m_private->labelToValue.contains(label);
}

int EnumInfo::getValueFromLabel(const String& label) const {
    const auto found = m_private->labelToValue.find(label);
    if (found == m_private->labelToValue.end()) {
        m_private->throwUnknown("label \"" + label + '"');
    }
    return found->second;
}

const String& EnumInfo::getLabelFromValue(int value, std::size_t index) const {
    const std::vector<String>& labels = m_private->labelsAt(value);
    if (index >= labels.size()) {
        m_private->throwUnknown("label index " + std::to_string(index) + " at the value " + std::to_string(value) +
                                ": there are " + std::to_string(labels.size()));
    }
    return labels[index];
}

const String& EnumInfo::getLabelFromlabelIndex(std::size_t labelIndex) const {
    return m_private->entryAt(m_private->labelToValue, labelIndex, "label").first;
}

int EnumInfo::getValueFromLabelIndex(std::size_t labelIndex) const {
    return m_private->entryAt(m_private->labelToValue, labelIndex, "label").second;
}

std::size_t EnumInfo::getLabelIndexFromValue(int value) const {
    std::size_t index = 0;
    for (const auto& entry : m_private->labelToValue) {
        if (entry.second == value) {
            return index;
        }
        ++index;
    }
    m_private->throwUnknown("label of the value " + std::to_string(value));
}

int EnumInfo::getValueFromValueIndex(std::size_t valueIndex) const {
    return m_private->entryAt(m_private->valueToLabels, valueIndex, "value").first;
}

const String& EnumInfo::getLabelFromValueIndex(std::size_t valueIndex, std::size_t labelIndex) const {
    return getLabelFromValue(getValueFromValueIndex(valueIndex), labelIndex);
}

void checkEnumCompatible(const EnumInfo* info, const EnumInfo& expected) {
    if (info == nullptr) {
        throw InvalidCall("No enumeration was given where " + expected.getEnumName() + " is expected");
    }
    bool same = info->getEnumName() == expected.getEnumName() && info->getNumOfLabels() == expected.getNumOfLabels();
    for (std::size_t i = 0; same && i < expected.getNumOfLabels(); ++i) {
        same = info->getLabelFromlabelIndex(i) == expected.getLabelFromlabelIndex(i) &&
               info->getValueFromLabelIndex(i) == expected.getValueFromLabelIndex(i);
    }
    if (!same) {
        throw InvalidCall("The enumeration " + info->getEnumName() + " is not compatible with " +
                          expected.getEnumName() + ", which is expected: names, labels and values must be the same");
    }
}

}  // namespace rix
