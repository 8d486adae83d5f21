#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include <rix/Export.h>
#include <rix/String.h>
#include <rix/individual_analysis/BaseMeasureUniqueId.h>

namespace rix::individual_analysis {

struct MeasureNamesHandlerPrivate;

/// Maps names to measures and, where a measure has several values, to one of them: "Barycenter" is the measure,
/// "BarycenterX" its first value. Names are case sensitive.
///
/// Filled by its owner, then shared and not changed any more.
class RIX_EXPORT MeasureNamesHandler {
public:
    /// Makes a measure from the parameter in its name; null when it does not accept the parameter.
    using Family = std::shared_ptr<const BaseMeasureUniqueId> (*)(double parameter);

    /// A value of a measure.
    struct Value {
        std::shared_ptr<const BaseMeasureUniqueId> measure;
        std::size_t component;
    };

    MeasureNamesHandler();
    MeasureNamesHandler(const MeasureNamesHandler& other);
    MeasureNamesHandler& operator=(const MeasureNamesHandler& other);
    ~MeasureNamesHandler();

    /// @throws InvalidCall when the name is taken.
    void add(const std::shared_ptr<const BaseMeasureUniqueId>& measure);
    /// Measures whose name ends with a parameter in parentheses. @throws InvalidCall when the name is taken.
    void addFamily(const String& name, Family family);

    /// The measure with that native name, or null. "Percentile(25)" finds a member of a family.
    std::shared_ptr<const BaseMeasureUniqueId> findMeasure(const String& name) const;
    /// The value with that name: the name of a measure of one value, or of a component. Nothing when there is none.
    std::optional<Value> findValue(const String& name, DimensionalMode mode) const;
    /// The native names of all measures, in the order in which they were added; families as "Percentile(p)".
    std::vector<String> getNames() const;

private:
    std::unique_ptr<MeasureNamesHandlerPrivate> m_private;
};

}  // namespace rix::individual_analysis
