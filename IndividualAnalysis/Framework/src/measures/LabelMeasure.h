#pragma once

#include <memory>
#include <span>
#include <vector>

#include <rix/individual_analysis/BaseMeasure.h>
#include <rix/individual_analysis/BaseMeasureUniqueId.h>
#include <rix/individual_analysis/MeasureDefinition.h>

#include "gathering/ObjectTable.h"

namespace rix::individual_analysis {

/// What the passes over the images gathered of one frame.
struct GatheredFrame {
    const ObjectTable* objects = nullptr;
    const GreyValues* values = nullptr;  ///< null unless a measure asked for them
};

/// The identifier of a defined measure.
class LabelMeasureId : public BaseMeasureUniqueId {
public:
    /// @param definition lives as long as the identifier
    /// @param parameter the number in the name of a member of a family
    LabelMeasureId(const MeasureDefinition& definition, const String& nativeName, double parameter);
    explicit LabelMeasureId(const MeasureDefinition& definition) : LabelMeasureId(definition, definition.name, 0.0) {}

    const MeasureDefinition& definition() const { return m_definition; }
    double parameter() const { return m_parameter; }

    bool supports(DimensionalMode mode) const override;
    MeasureAttributes getMeasureAttributes(DimensionalMode mode) const override;
    std::shared_ptr<BaseMeasure> createMeasure(const std::shared_ptr<const MeasureNamesHandler>& namesHandler,
                                               const MeasureSet& set) const override;
    void addDirectDependencies(const MeasureNamesHandler& namesHandler, DimensionalMode mode,
                               DependencyProcessingStep step, MeasureIdSet& dependencies) const override;

private:
    const MeasureDefinition& m_definition;
    double m_parameter;
};

/// A measure that is computed object by object from what the passes gathered and from other measures.
class LabelMeasure : public BaseMeasure {
public:
    LabelMeasure(const std::shared_ptr<const LabelMeasureId>& id,
                 const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set);

    /// Shows the measure what was gathered, frame by frame. It must outlive the finalization.
    void setGathered(std::span<const GatheredFrame> frames);

protected:
    void setDependenciesAccessors() override;
    void startFinalizationDerived() override;
    void finalizeDerived(unsigned long sequence, unsigned long first, unsigned long last) override;
    void clearDerived() override;

private:
    std::shared_ptr<const LabelMeasureId> m_id;
    std::vector<MeasuredFrame> m_frames;
    std::vector<double> m_constants;
    std::vector<const MeasureResults*> m_dependencies;  ///< those for processing, then those for finalization
};

}  // namespace rix::individual_analysis
