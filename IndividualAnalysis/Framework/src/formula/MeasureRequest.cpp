#include "MeasureRequest.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <numeric>
#include <utility>
#include <vector>

#include <rix/rules/RuleSupport.h>

#include "FormulaMeasure.h"
#include "measures/Measures.h"

namespace rix::individual_analysis {

namespace {

/// Named formulas are made recursively.
constexpr std::size_t deepestChain = 200;

class RequestReader {
public:
    RequestReader(const String& text, DimensionalMode mode, IntensityUse intensity)
        : m_mode(mode),
          m_intensity(intensity),
          m_items(formulas::parseFormulas(text)),
          m_known(knownMeasures()),
          m_names(std::make_shared<MeasureNamesHandler>(*m_known)) {}

    std::shared_ptr<const MeasureGroup> read() {
        for (const FormulaItem& item : m_items) {
            if (!item.name.empty() &&
                (isTaken(*m_names, item.name, m_mode) || !m_formulas.emplace(item.name, &item).second)) {
                rules::refuse("The name \"" + item.name + "\" of a formula stands for something else already.");
            }
        }
        auto group = std::make_shared<MeasureGroup>(m_names);
        for (const FormulaItem& item : m_items) {
            for (const auto& measure : measuresOf(item)) {
                group->add(measure);
            }
        }
        return group;
    }

private:
    using Measure = std::shared_ptr<const BaseMeasureUniqueId>;

    std::vector<Measure> measuresOf(const FormulaItem& item) {
        if (!item.name.empty()) {
            return {named(item.name)};
        }
        if (item.isName()) {
            const String& name = item.code.front().name;
            if (m_formulas.contains(name)) {
                return {named(name)};
            }
            if (const Measure measure = m_names->findMeasure(name); measure != nullptr) {
                return {checked(measure)};
            }
            if (const std::vector<String> members = presetMeasures(name, m_mode); !members.empty()) {
                return presetOf(members);
            }
        }
        return {formula(item.text, item)};
    }

    /// A preset takes of its measures what the images have; nothing at all is refused.
    std::vector<Measure> presetOf(const std::vector<String>& members) const {
        std::vector<Measure> measures;
        for (const String& member : members) {
            Measure measure = m_names->findMeasure(member);
            if (m_intensity == IntensityUse::Present || !measure->getMeasureAttributes(m_mode).needsIntensity) {
                measures.push_back(std::move(measure));
            }
        }
        if (measures.empty()) {
            checked(m_names->findMeasure(members.front()));
        }
        return measures;
    }

    /// The formula of a name, made when it is first needed.
    Measure named(const String& name) {
        if (const Measure made = m_names->findMeasure(name); made != nullptr) {
            return made;
        }
        if (std::find(m_open.begin(), m_open.end(), name) != m_open.end()) {
            String circle;
            for (const String& open : m_open) {
                circle += '"' + open + "\", ";
            }
            rules::refuse("Formulas depend on each other in a circle: " + circle + "and again \"" + name + "\".");
        }
        if (m_open.size() == deepestChain) {
            rules::refuse("More than " + std::to_string(deepestChain) + " formulas are nested by name.");
        }
        m_open.push_back(name);
        const Measure made = formula(name, *m_formulas.at(name));
        m_open.pop_back();
        return made;
    }

    Measure formula(const String& nativeName, const FormulaItem& item) {
        if (const Measure made = m_names->findMeasure(nativeName); made != nullptr) {
            return made;
        }
        Formula formula;
        formula.code = item.code;
        for (const FormulaInstruction& instruction : item.code) {
            if (instruction.operation == FormulaOperation::Value) {
                formula.values.push_back(value(instruction.name, item.text));
                formula.needsIntensity = formula.needsIntensity ||
                                         formula.values.back().measure->getMeasureAttributes(m_mode).needsIntensity;
            }
        }
        formula.dimension = checkUnits(formula, item.text, m_mode);
        const auto measure =
            std::make_shared<const FormulaMeasureId>(nativeName, item.text, std::move(formula), m_mode);
        m_names->add(measure);
        return measure;
    }

    MeasureNamesHandler::Value value(const String& name, const String& formulaText) {
        if (m_formulas.contains(name)) {
            return {named(name), 0};
        }
        if (auto found = m_names->findValue(name, m_mode)) {
            checked(found->measure);
            return *std::move(found);
        }
        if (const Measure measure = m_names->findMeasure(name); measure != nullptr) {
            checked(measure);
            String values;
            for (const MeasureComponent& component : measure->getMeasureAttributes(m_mode).components) {
                values += (values.empty() ? "" : ", ") + name + component.suffix;
            }
            rules::refuse("The measure \"" + name + "\" in the formula \"" + formulaText +
                          "\" has several values; name one of them: " + values + '.');
        }
        refuseUnknown(name);
    }

    const Measure& checked(const Measure& measure) const {
        const String& name = measure->getMeasureInfo().nativeName;
        if (!measure->supports(m_mode)) {
            rules::refuse("The measure \"" + name + "\" does not exist for objects " +
                          (m_mode == DimensionalMode::Mode2d ? "in the plane; the image has one plane."
                                                             : "in space; the image has several planes."));
        }
        if (m_intensity == IntensityUse::Absent && measure->getMeasureAttributes(m_mode).needsIntensity) {
            rules::refuse("The measure \"" + name +
                          "\" is one of grey values; the parameter \"inputIntensityImage\" must be set.");
        }
        return measure;
    }

    [[noreturn]] void refuseUnknown(const String& name) const {
        String known;
        for (const String& other : m_known->getNames()) {
            known += (known.empty() ? "" : ", ") + other;
        }
        String presets;
        for (const String& preset : presetNames()) {
            presets += (presets.empty() ? "" : ", ") + preset;
        }
        String hint;
        if (!presetMeasures(name, m_mode).empty()) {
            hint = "; a preset is no value of a formula";
        } else if (const String similar = similarName(name); !similar.empty()) {
            hint = "; perhaps \"" + similar + "\" is meant";
        }
        // One text: what is meant stands before the long list, whichever end a front end begins to tell at.
        rules::refuse("There is no measure \"" + name + '"' + hint + ". Measures are " + known +
                      " with p from 0 to 100; presets are " + presets + '.');
    }

    /// The name of a measure, a value or a formula that differs least, without regard to case; empty when none is near.
    String similarName(const String& name) const {
        std::vector<String> candidates = presetNames();
        for (const auto& [formula, item] : m_formulas) {
            candidates.push_back(formula);
        }
        for (const String& measureName : m_known->getNames()) {
            candidates.push_back(measureName);
            if (const Measure measure = m_names->findMeasure(measureName); measure != nullptr) {
                for (const MeasureComponent& component : measure->getMeasureAttributes(m_mode).components) {
                    candidates.push_back(measureName + component.suffix);
                }
            }
        }
        // Two letters that changed places, and a slip in three; what is further away would be guessed.
        std::size_t best = name.size() / 3 + 2;
        String nearest;
        for (const String& candidate : candidates) {
            constexpr std::size_t longest = 100;  // names of a hostile request must not cost much
            if (name.size() > longest || candidate.size() > longest) {
                continue;
            }
            if (const std::size_t slips = distance(name, candidate); slips < best) {
                best = slips;
                nearest = candidate;
            }
        }
        return nearest;
    }

    /// The number of letters to be put in, left out or changed (Levenshtein 1966).
    static std::size_t distance(const String& a, const String& b) {
        const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
        std::vector<std::size_t> row(b.size() + 1);
        std::iota(row.begin(), row.end(), std::size_t{0});
        for (std::size_t i = 0; i < a.size(); ++i) {
            std::size_t diagonal = std::exchange(row[0], i + 1);
            for (std::size_t j = 0; j < b.size(); ++j) {
                const std::size_t changed = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
                diagonal = row[j + 1];
                row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
            }
        }
        return row[b.size()];
    }

    DimensionalMode m_mode;
    IntensityUse m_intensity;
    std::vector<FormulaItem> m_items;
    std::shared_ptr<const MeasureNamesHandler> m_known;
    std::shared_ptr<MeasureNamesHandler> m_names;     ///< these, and the formulas of the request
    std::map<String, const FormulaItem*> m_formulas;  ///< those with a name
    std::vector<String> m_open;                       ///< those that are being made
};

}  // namespace

bool isTaken(const MeasureNamesHandler& names, const String& name, DimensionalMode mode) {
    const auto presets = presetNames();
    return formulas::isFormulaWord(name) || name == "Frame" || name == "Label" || names.findMeasure(name) != nullptr ||
           names.findValue(name, mode) || std::find(presets.begin(), presets.end(), name) != presets.end();
}

std::shared_ptr<const MeasureGroup> readMeasureRequest(const String& text, DimensionalMode mode,
                                                       IntensityUse intensity) {
    return RequestReader(text, mode, intensity).read();
}

}  // namespace rix::individual_analysis
