#include "LabelMeasure.h"

#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/individual_analysis/MeasureNamesHandler.h>
#include <rix/individual_analysis/MeasureSet.h>

namespace rix::individual_analysis {

namespace {

std::shared_ptr<const BaseMeasureUniqueId> known(const MeasureNamesHandler& names, const char* name) {
    auto id = names.findMeasure(name);
    if (id == nullptr) {
        throw InvalidCall(String("There is no measure \"") + name + "\".");
    }
    return id;
}

}  // namespace

LabelMeasureId::LabelMeasureId(const MeasureDefinition& definition, const String& nativeName, double parameter)
    : BaseMeasureUniqueId({nativeName, definition.description}), m_definition(definition), m_parameter(parameter) {}

bool LabelMeasureId::supports(DimensionalMode mode) const {
    return existsIn(m_definition.existence, mode);
}

MeasureAttributes LabelMeasureId::getMeasureAttributes(DimensionalMode mode) const {
    MeasureAttributes attributes;
    attributes.processingType = m_definition.type;
    attributes.quantities = m_definition.quantities;
    attributes.needsIntensity = m_definition.needsIntensity;
    for (const ValueDefinition& value : m_definition.values) {
        if (existsIn(value.existence, mode)) {
            attributes.components.push_back({value.suffix, value.description, value.dimension, value.unit, value.type});
        }
    }
    return attributes;
}

std::shared_ptr<BaseMeasure> LabelMeasureId::createMeasure(
    const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set) const {
    return std::make_shared<LabelMeasure>(std::static_pointer_cast<const LabelMeasureId>(shared_from_this()),
                                          namesHandler, set);
}

void LabelMeasureId::addDirectDependencies(const MeasureNamesHandler& namesHandler, DimensionalMode /*mode*/,
                                           DependencyProcessingStep step, MeasureIdSet& dependencies) const {
    if (step != DependencyProcessingStep::Finalization) {
        for (const char* const name : m_definition.neededForProcessing) {
            dependencies.insert(known(namesHandler, name));
        }
    }
    if (step != DependencyProcessingStep::Processing) {
        for (const char* const name : m_definition.neededForFinalization) {
            dependencies.insert(known(namesHandler, name));
        }
    }
}

LabelMeasure::LabelMeasure(const std::shared_ptr<const LabelMeasureId>& id,
                           const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set)
    : BaseMeasure(id, namesHandler, set), m_id(id) {}

void LabelMeasure::setGathered(std::span<const GatheredFrame> frames) {
    m_frames.clear();
    for (const GatheredFrame& frame : frames) {
        MeasuredFrame& own = m_frames.emplace_back(&frame.objects->shape());
        for (const QuantityInfo* const info : m_id->definition().quantities) {
            own.quantities.push_back({info, frame.objects->quantities().find(*info)});
        }
        if (m_id->definition().type == MeasureProcessingType::Values) {
            own.values = frame.values;
        }
    }
}

void LabelMeasure::setDependenciesAccessors() {
    std::vector<const MeasureResults*> results;
    for (const auto* const names :
         {&m_id->definition().neededForProcessing, &m_id->definition().neededForFinalization}) {
        for (const char* const name : *names) {
            results.push_back(getDependency(known(*getNamesHandler(), name))->getResults().get());
        }
    }
    m_dependencies = std::move(results);
}

void LabelMeasure::startFinalizationDerived() {
    if (m_id->definition().prepare != nullptr) {
        m_constants = m_id->definition().prepare(getImageInfo());
    }
}

void LabelMeasure::finalizeDerived(unsigned long sequence, unsigned long first, unsigned long last) {
    MeasureResults& results = *accessResults();
    const MeasuredFrame none;
    const MeasuredFrame& frame = m_frames.empty() ? none : m_frames[sequence];
    const ComputeMeasure compute = m_id->definition().compute;
    for (std::size_t index = first; index < last; ++index) {
        for (std::size_t channel = 0; channel < results.getNumSpectralPlanes(); ++channel) {
            compute(ObjectView(frame, getImageInfo(), m_dependencies, m_constants, sequence, index, channel,
                               m_id->parameter()),
                    results.values(sequence, index, channel));
        }
    }
}

void LabelMeasure::clearDerived() {
    m_frames.clear();
    m_dependencies.clear();
}

}  // namespace rix::individual_analysis
