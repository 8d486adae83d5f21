#include <rix/individual_analysis/MeasureGroup.h>

#include <algorithm>
#include <utility>

namespace rix::individual_analysis {

struct MeasureGroupPrivate {
    std::shared_ptr<const MeasureNamesHandler> namesHandler;
    std::vector<std::shared_ptr<const BaseMeasureUniqueId>> measures;
};

MeasureGroup::MeasureGroup(std::shared_ptr<const MeasureNamesHandler> namesHandler)
    : m_private(std::make_unique<MeasureGroupPrivate>()) {
    m_private->namesHandler = std::move(namesHandler);
}
MeasureGroup::~MeasureGroup() = default;

const std::shared_ptr<const MeasureNamesHandler>& MeasureGroup::getNamesHandler() const {
    return m_private->namesHandler;
}

void MeasureGroup::add(const std::shared_ptr<const BaseMeasureUniqueId>& measure) {
    const MeasureIdLess less;
    const bool present = std::any_of(m_private->measures.begin(), m_private->measures.end(),
                                     [&](const auto& other) { return !less(other, measure) && !less(measure, other); });
    if (!present) {
        m_private->measures.push_back(measure);
    }
}

const std::vector<std::shared_ptr<const BaseMeasureUniqueId>>& MeasureGroup::getMeasures() const {
    return m_private->measures;
}

void MeasureGroup::collectNeededMeasureIds(DimensionalMode mode, MeasureIdSet& needed) const {
    std::vector<std::shared_ptr<const BaseMeasureUniqueId>> open(m_private->measures.rbegin(),
                                                                 m_private->measures.rend());
    while (!open.empty()) {
        const auto measure = std::move(open.back());
        open.pop_back();
        if (!needed.insert(measure).second) {
            continue;
        }
        MeasureIdSet dependencies;
        collectDirectDependencyIds(m_private->namesHandler, mode, measure, DependencyProcessingStep::All, dependencies);
        open.insert(open.end(), dependencies.begin(), dependencies.end());
    }
}

}  // namespace rix::individual_analysis
