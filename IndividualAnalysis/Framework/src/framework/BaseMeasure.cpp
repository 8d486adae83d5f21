#include <rix/individual_analysis/BaseMeasure.h>

#include <utility>

#include <rix/exceptions/Exception.h>
#include <rix/individual_analysis/MeasureGroup.h>
#include <rix/individual_analysis/MeasureSet.h>

namespace rix::individual_analysis {

using Status = MeasureProcessingStatus;

struct BaseMeasurePrivate {
    std::shared_ptr<const BaseMeasureUniqueId> id;
    std::shared_ptr<const MeasureNamesHandler> namesHandler;
    std::shared_ptr<const LabelImageInfo> imageInfo;
    MeasureAttributes attributes;
    MeasureDependencies dependencies;
    Status status = Status::Undefined;
    std::size_t resultsArraySize = 0;
    std::shared_ptr<MeasureResults> results;
};

namespace {

constexpr const char* badStatusForInit = "Can't initialize measure, invalid measure status";
constexpr const char* badStatusForStart = "Can't start measure processing, invalid measure status";
constexpr const char* badStatusForEnd = "Can't end measure processing, invalid measure status";
constexpr const char* badStatusForFinalization = "Can't finalize measure, invalid measure status for finalization";

}  // namespace

BaseMeasure::BaseMeasure(const std::shared_ptr<const BaseMeasureUniqueId>& measureId,
                         const std::shared_ptr<const MeasureNamesHandler>& namesHandler, const MeasureSet& set)
    : m_private(std::make_unique<BaseMeasurePrivate>()) {
    m_private->id = measureId;
    m_private->namesHandler = namesHandler;
    m_private->imageInfo = set.getImageInfo();
    m_private->attributes = measureId->getMeasureAttributes(set.getDimensionalMode());
}
BaseMeasure::~BaseMeasure() = default;

const std::shared_ptr<const BaseMeasureUniqueId>& BaseMeasure::getMeasureUniqueId() const {
    return m_private->id;
}
const MeasureInfo& BaseMeasure::getMeasureInfo() const {
    return m_private->id->getMeasureInfo();
}
const MeasureAttributes& BaseMeasure::getMeasureAttributes() const {
    return m_private->attributes;
}
const std::shared_ptr<const MeasureNamesHandler>& BaseMeasure::getNamesHandler() const {
    return m_private->namesHandler;
}
DimensionalMode BaseMeasure::getDimensionalMode() const {
    return m_private->imageInfo->dimensionalMode;
}
const LabelImageInfo& BaseMeasure::getImageInfo() const {
    return *m_private->imageInfo;
}
MeasureProcessingStatus BaseMeasure::getProcessingStatus() const {
    return m_private->status;
}
std::size_t BaseMeasure::getResultsArraySize() const {
    return m_private->resultsArraySize;
}
std::shared_ptr<const MeasureResults> BaseMeasure::getResults() const {
    return m_private->results;
}
const std::shared_ptr<MeasureResults>& BaseMeasure::accessResults() const {
    return m_private->results;
}
const MeasureDependencies& BaseMeasure::getDependencies() const {
    return m_private->dependencies;
}

MeasureIdSet BaseMeasure::getDirectDependenciesIds(DependencyProcessingStep step) const {
    MeasureIdSet ids;
    collectDirectDependencyIds(m_private->namesHandler, getDimensionalMode(), m_private->id, step, ids);
    return ids;
}

const std::shared_ptr<const BaseMeasure>& BaseMeasure::getDependency(
    const std::shared_ptr<const BaseMeasureUniqueId>& dependency) const {
    const auto found = m_private->dependencies.find(dependency);
    if (found == m_private->dependencies.end() || found->second == nullptr) {
        throw RuntimeError("[Internal error] : null shared to measure dependency");
    }
    return found->second;
}

bool BaseMeasure::dependenciesAre(MeasureProcessingStatus status, DependencyProcessingStep step) const {
    bool all = true;
    for (const auto& id : getDirectDependenciesIds(step)) {
        all = getDependency(id)->getProcessingStatus() == status && all;
    }
    return all;
}

void BaseMeasure::setDependencies(MeasureDependencies dependencies) {
    if (m_private->status != Status::Undefined) {
        throw InvalidCall("Can't set measure dependencies, invalid measure status");
    }
    m_private->dependencies = std::move(dependencies);
    m_private->status = Status::Created;
}

void BaseMeasure::releaseDependencies() {
    m_private->dependencies.clear();
}

bool BaseMeasure::canBeInitialized() const {
    if (m_private->status != Status::Created) {
        throw InvalidCall(badStatusForInit);
    }
    return dependenciesAre(Status::Initialized, DependencyProcessingStep::All);
}

void BaseMeasure::init() {
    if (!canBeInitialized()) {
        throw InvalidCall("Can't initialize measure, all dependencies have not yet been initialized");
    }
    try {
        m_private->resultsArraySize = computeResultsArraySize();
        m_private->results = createResults();
        const LabelImageInfo& image = getImageInfo();
        m_private->results->initialize(image.numLabels, image.numSpectralPlanes, m_private->resultsArraySize);
        m_private->status = Status::Initialized;
        initDerived();
    } catch (...) {
        m_private->resultsArraySize = 0;
        m_private->results.reset();
        m_private->status = Status::Created;
        throw;
    }
}

void BaseMeasure::dependencyResultsCreated() {
    if (m_private->status != Status::Initialized) {
        throw InvalidCall(badStatusForStart);
    }
    setDependenciesAccessors();
    m_private->status = needsImageProcessing() ? Status::ReadyForProcessing : Status::ReadyForFinalization;
}

bool BaseMeasure::canStartParallelProcessing() const {
    if (m_private->status != Status::ReadyForProcessing) {
        throw InvalidCall(badStatusForStart);
    }
    return dependenciesAre(Status::Done, DependencyProcessingStep::Processing);
}

void BaseMeasure::startParallelProcessing() {
    if (!canStartParallelProcessing()) {
        throw InvalidCall("Measure processing cannot yet be started (check measure dependencies status)");
    }
    startParallelProcessingDerived();
    m_private->status = Status::Processing;
}

void BaseMeasure::endParallelProcessing() {
    if (m_private->status != Status::Processing) {
        throw InvalidCall(badStatusForEnd);
    }
    endParallelProcessingDerived();
    m_private->status = Status::ReadyForFinalization;
}

bool BaseMeasure::canBeFinalized() const {
    if (m_private->status != Status::ReadyForFinalization) {
        throw InvalidCall(badStatusForFinalization);
    }
    return dependenciesAre(Status::Done, DependencyProcessingStep::Finalization);
}

void BaseMeasure::startFinalization() {
    if (!canBeFinalized()) {
        throw InvalidCall(badStatusForFinalization);
    }
    startFinalizationDerived();
    m_private->status = Status::Finalizing;
}

void BaseMeasure::finalize(unsigned long sequence, unsigned long first, unsigned long last) {
    if (m_private->status != Status::Finalizing) {
        throw InvalidCall(badStatusForFinalization);
    }
    finalizeDerived(sequence, first, last);
}

void BaseMeasure::endFinalization() {
    if (m_private->status != Status::Finalizing) {
        throw InvalidCall(badStatusForFinalization);
    }
    endFinalizationDerived();
    m_private->status = Status::Done;
}

void BaseMeasure::clear() {
    if (m_private->status <= Status::Created) {
        return;
    }
    clearDerived();
    m_private->resultsArraySize = 0;
    m_private->results.reset();
    m_private->status = Status::Created;
}

std::size_t BaseMeasure::computeResultsArraySize() const {
    return m_private->attributes.components.size();
}

std::shared_ptr<MeasureResults> BaseMeasure::createResults() const {
    return std::make_shared<MeasureResults>(m_private->attributes.needsIntensity ? SpectralUse::PerPlane
                                                                                 : SpectralUse::Shared);
}

bool BaseMeasure::needsImageProcessing() const {
    return m_private->attributes.processingType != MeasureProcessingType::None;
}

void BaseMeasure::initDerived() {}
void BaseMeasure::setDependenciesAccessors() {}
void BaseMeasure::startParallelProcessingDerived() {}
void BaseMeasure::endParallelProcessingDerived() {}
void BaseMeasure::startFinalizationDerived() {}
void BaseMeasure::finalizeDerived(unsigned long /*sequence*/, unsigned long /*first*/, unsigned long /*last*/) {}
void BaseMeasure::endFinalizationDerived() {}
void BaseMeasure::clearDerived() {}

}  // namespace rix::individual_analysis
