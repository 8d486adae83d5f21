#include <rix/individual_analysis/MeasureNamesHandler.h>

#include <charconv>
#include <map>

#include <rix/exceptions/Exception.h>

namespace rix::individual_analysis {

struct MeasureNamesHandlerPrivate {
    std::map<String, std::shared_ptr<const BaseMeasureUniqueId>> measures;
    std::map<String, MeasureNamesHandler::Family> families;
    std::vector<String> names;

    void take(const String& name) {
        if (measures.contains(name) || families.contains(name)) {
            throw InvalidCall("There is a measure \"" + name + "\" already.");
        }
    }
};

MeasureNamesHandler::MeasureNamesHandler() : m_private(std::make_unique<MeasureNamesHandlerPrivate>()) {}
MeasureNamesHandler::MeasureNamesHandler(const MeasureNamesHandler& other)
    : m_private(std::make_unique<MeasureNamesHandlerPrivate>(*other.m_private)) {}
MeasureNamesHandler::~MeasureNamesHandler() = default;

MeasureNamesHandler& MeasureNamesHandler::operator=(const MeasureNamesHandler& other) {
    *m_private = MeasureNamesHandlerPrivate(*other.m_private);
    return *this;
}

void MeasureNamesHandler::add(const std::shared_ptr<const BaseMeasureUniqueId>& measure) {
    const String& name = measure->getMeasureInfo().nativeName;
    m_private->take(name);
    m_private->measures.emplace(name, measure);
    m_private->names.push_back(name);
}

void MeasureNamesHandler::addFamily(const String& name, Family family) {
    m_private->take(name);
    m_private->families.emplace(name, family);
    m_private->names.push_back(name + "(p)");
}

std::shared_ptr<const BaseMeasureUniqueId> MeasureNamesHandler::findMeasure(const String& name) const {
    if (const auto found = m_private->measures.find(name); found != m_private->measures.end()) {
        return found->second;
    }
    const std::size_t open = name.find('(');
    if (open == String::npos || name.back() != ')') {
        return nullptr;
    }
    const auto family = m_private->families.find(name.substr(0, open));
    double parameter = 0.0;
    const char* const end = name.data() + name.size() - 1;
    const auto read = std::from_chars(name.data() + open + 1, end, parameter);
    if (family == m_private->families.end() || read.ec != std::errc() || read.ptr != end) {
        return nullptr;
    }
    return family->second(parameter);
}

std::optional<MeasureNamesHandler::Value> MeasureNamesHandler::findValue(const String& name,
                                                                         DimensionalMode mode) const {
    if (auto measure = findMeasure(name); measure != nullptr && measure->supports(mode)) {
        if (measure->getMeasureAttributes(mode).components.size() == 1) {
            return Value{std::move(measure), 0};
        }
        return std::nullopt;
    }
    for (const auto& [native, measure] : m_private->measures) {
        if (!name.starts_with(native) || !measure->supports(mode)) {
            continue;
        }
        const MeasureAttributes attributes = measure->getMeasureAttributes(mode);
        for (std::size_t i = 0; i < attributes.components.size(); ++i) {
            if (name == native + attributes.components[i].suffix) {
                return Value{measure, i};
            }
        }
    }
    return std::nullopt;
}

std::vector<String> MeasureNamesHandler::getNames() const {
    return m_private->names;
}

}  // namespace rix::individual_analysis
