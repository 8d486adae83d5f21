#include <rix/individual_analysis/BaseMeasureUniqueId.h>

#include <utility>

namespace rix::individual_analysis {

bool MeasureIdLess::operator()(const std::shared_ptr<const BaseMeasureUniqueId>& a,
                               const std::shared_ptr<const BaseMeasureUniqueId>& b) const {
    return *a < *b;
}

BaseMeasureUniqueId::BaseMeasureUniqueId(MeasureInfo info) : m_info(std::move(info)) {}
BaseMeasureUniqueId::~BaseMeasureUniqueId() = default;

void collectDirectDependencyIds(const std::shared_ptr<const MeasureNamesHandler>& namesHandler, DimensionalMode mode,
                                const std::shared_ptr<const BaseMeasureUniqueId>& measure,
                                DependencyProcessingStep step, MeasureIdSet& dependencies) {
    measure->addDirectDependencies(*namesHandler, mode, step, dependencies);
}

}  // namespace rix::individual_analysis
