#pragma once

#include <memory>
#include <vector>

#include <rix/Export.h>
#include <rix/individual_analysis/BaseMeasureUniqueId.h>
#include <rix/individual_analysis/MeasureNamesHandler.h>

namespace rix::individual_analysis {

struct MeasureGroupPrivate;

/// The measures that somebody asked for. Shared by the analyses that compute them; it keeps nothing of any of them.
class RIX_EXPORT MeasureGroup {
public:
    explicit MeasureGroup(std::shared_ptr<const MeasureNamesHandler> namesHandler);
    virtual ~MeasureGroup();
    MeasureGroup(const MeasureGroup&) = delete;
    MeasureGroup& operator=(const MeasureGroup&) = delete;

    const std::shared_ptr<const MeasureNamesHandler>& getNamesHandler() const;

    /// Asks for a measure; nothing happens when it was asked for already.
    void add(const std::shared_ptr<const BaseMeasureUniqueId>& measure);
    /// The measures in the order in which they were asked for.
    const std::vector<std::shared_ptr<const BaseMeasureUniqueId>>& getMeasures() const;

    /// Adds the requested measures and, transitively, everything that they depend on. Ends for cyclic dependencies too.
    virtual void collectNeededMeasureIds(DimensionalMode mode, MeasureIdSet& needed) const;

private:
    std::unique_ptr<MeasureGroupPrivate> m_private;
};

}  // namespace rix::individual_analysis
