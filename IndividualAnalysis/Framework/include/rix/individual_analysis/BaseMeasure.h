#pragma once

#include <cstddef>
#include <map>
#include <memory>

#include <rix/Export.h>
#include <rix/individual_analysis/BaseMeasureUniqueId.h>
#include <rix/individual_analysis/LabelImageInfo.h>
#include <rix/individual_analysis/MeasureInfo.h>
#include <rix/individual_analysis/MeasureResults.h>
#include <rix/individual_analysis/MeasureStatus.h>

namespace rix::individual_analysis {

struct BaseMeasurePrivate;

/// The direct dependencies of a measure.
using MeasureDependencies =
    std::map<std::shared_ptr<const BaseMeasureUniqueId>, std::shared_ptr<const BaseMeasure>, MeasureIdLess>;

/// One measure within one analysis, and the life that every measure has:
///
///     Undefined --setDependencies--> Created --init--> Initialized --dependencyResultsCreated-->
///         ReadyForProcessing --startParallelProcessing--> Processing --endParallelProcessing--> (image passes)
///         ReadyForFinalization --startFinalization--> Finalizing --endFinalization--> Done
///
/// A measure that needs no image pass skips the line of the passes; `clear` leads back to Created from everywhere after
/// it. A call that comes out of order throws `InvalidCall`; a failed call changes nothing.
class RIX_EXPORT BaseMeasure {
public:
    virtual ~BaseMeasure();
    BaseMeasure(const BaseMeasure&) = delete;
    BaseMeasure& operator=(const BaseMeasure&) = delete;

    const std::shared_ptr<const BaseMeasureUniqueId>& getMeasureUniqueId() const;
    const MeasureInfo& getMeasureInfo() const;
    const MeasureAttributes& getMeasureAttributes() const;
    const std::shared_ptr<const MeasureNamesHandler>& getNamesHandler() const;
    DimensionalMode getDimensionalMode() const;
    const LabelImageInfo& getImageInfo() const;
    MeasureProcessingStatus getProcessingStatus() const;
    /// Numbers for each label; 0 before `init`.
    std::size_t getResultsArraySize() const;
    /// Null before `init`.
    std::shared_ptr<const MeasureResults> getResults() const;
    /// The same, to be written.
    const std::shared_ptr<MeasureResults>& accessResults() const;
    const MeasureDependencies& getDependencies() const;
    MeasureIdSet getDirectDependenciesIds(DependencyProcessingStep step) const;

    /// Makes the measure part of a set. @throws InvalidCall when it is part of one already.
    void setDependencies(MeasureDependencies dependencies);
    /// True when every dependency is initialised. @throws InvalidCall unless the measure is `Created`.
    bool canBeInitialized() const;
    /// Creates the results.
    void init();
    /// Called when every measure of the set has its results object.
    void dependencyResultsCreated();
    /// True when every dependency needed for processing is done.
    bool canStartParallelProcessing() const;
    void startParallelProcessing();
    void endParallelProcessing();
    /// True when every dependency needed for finalization is done.
    bool canBeFinalized() const;
    void startFinalization();
    /// Finalises a part of the results.
    /// @param sequence index of the sequence plane
    /// @param first,last range [first, last) of the labels' indices; ranges that don't overlap may be finalised by
    ///        several threads at once
    void finalize(unsigned long sequence, unsigned long first, unsigned long last);
    void endFinalization();
    /// Back to `Created`, without results; nothing before that.
    void clear();

protected:
    /// @param set gives the dimensional mode and the image information
    BaseMeasure(const std::shared_ptr<const BaseMeasureUniqueId>& measureId,
                const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set);

    /// The dependency of that identifier. @throws RuntimeError when there is no object for it.
    const std::shared_ptr<const BaseMeasure>& getDependency(
        const std::shared_ptr<const BaseMeasureUniqueId>& dependency) const;

    /// The numbers for each label; by default as many as the attributes name components.
    virtual std::size_t computeResultsArraySize() const;
    /// A new results object, not yet initialised; by default per channel for measures of grey values, else shared.
    virtual std::shared_ptr<MeasureResults> createResults() const;

    // What concrete measures override; empty by default.
    virtual void initDerived();
    virtual void setDependenciesAccessors();
    virtual void startParallelProcessingDerived();
    virtual void endParallelProcessingDerived();
    virtual void startFinalizationDerived();
    virtual void finalizeDerived(unsigned long sequence, unsigned long first, unsigned long last);
    virtual void endFinalizationDerived();
    virtual void clearDerived();

public:
    /// Whether the measure needs the image passes at all; by default what its attributes say.
    virtual bool needsImageProcessing() const;

private:
    friend class MeasureSet;
    void releaseDependencies();
    /// True when every dependency for a step has a status.
    bool dependenciesAre(MeasureProcessingStatus status, DependencyProcessingStep step) const;

    std::unique_ptr<BaseMeasurePrivate> m_private;
};

}  // namespace rix::individual_analysis
