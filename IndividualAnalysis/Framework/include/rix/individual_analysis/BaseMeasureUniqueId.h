#pragma once

#include <memory>
#include <set>

#include <rix/Export.h>
#include <rix/individual_analysis/MeasureInfo.h>
#include <rix/individual_analysis/MeasureStatus.h>

namespace rix::individual_analysis {

class BaseMeasure;
class BaseMeasureUniqueId;
class MeasureNamesHandler;
class MeasureSet;

/// Orders shared identifiers by the identifiers, not by their addresses.
struct RIX_EXPORT MeasureIdLess {
    bool operator()(const std::shared_ptr<const BaseMeasureUniqueId>& a,
                    const std::shared_ptr<const BaseMeasureUniqueId>& b) const;
};

/// An ordered set of measures.
using MeasureIdSet = std::set<std::shared_ptr<const BaseMeasureUniqueId>, MeasureIdLess>;

/// Identifies a measure and defines it: what it is called, what it needs, how it is made. Shared by all analyses of the
/// process and immutable; what belongs to one analysis is in the `BaseMeasure` that it makes.
///
/// Identifiers are ordered by their native names, byte by byte: the same order in every run. Two identifiers of the
/// same native name are the same measure.
class RIX_EXPORT BaseMeasureUniqueId : public std::enable_shared_from_this<BaseMeasureUniqueId> {
public:
    virtual ~BaseMeasureUniqueId();
    BaseMeasureUniqueId(const BaseMeasureUniqueId&) = delete;
    BaseMeasureUniqueId& operator=(const BaseMeasureUniqueId&) = delete;

    const MeasureInfo& getMeasureInfo() const { return m_info; }
    bool operator<(const BaseMeasureUniqueId& other) const { return m_info.nativeName < other.m_info.nativeName; }

    /// Whether the measure exists for objects of that dimension.
    virtual bool supports(DimensionalMode mode) const = 0;
    virtual MeasureAttributes getMeasureAttributes(DimensionalMode mode) const = 0;
    /// A new measure of this kind, for one analysis.
    virtual std::shared_ptr<BaseMeasure> createMeasure(const std::shared_ptr<const MeasureNamesHandler>& namesHandler,
                                                       const MeasureSet& set) const = 0;
    /// Adds the measures that this one is computed from directly.
    /// @throws InvalidCall when the names handler does not know one of them.
    virtual void addDirectDependencies(const MeasureNamesHandler& namesHandler, DimensionalMode mode,
                                       DependencyProcessingStep step, MeasureIdSet& dependencies) const = 0;

protected:
    explicit BaseMeasureUniqueId(MeasureInfo info);

private:
    MeasureInfo m_info;
};

/// Adds the direct dependencies of a measure for a step to a set.
RIX_EXPORT void collectDirectDependencyIds(const std::shared_ptr<const MeasureNamesHandler>& namesHandler,
                                           DimensionalMode mode,
                                           const std::shared_ptr<const BaseMeasureUniqueId>& measure,
                                           DependencyProcessingStep step, MeasureIdSet& dependencies);

}  // namespace rix::individual_analysis
