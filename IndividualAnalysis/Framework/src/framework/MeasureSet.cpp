#include <rix/individual_analysis/MeasureSet.h>

#include <algorithm>
#include <utility>

#include <rix/exceptions/Exception.h>

namespace rix::individual_analysis {

struct MeasureSetPrivate {
    std::shared_ptr<const MeasureGroup> group;
    std::shared_ptr<const LabelImageInfo> imageInfo;
    MeasureSet::Measures measures;

    void checkPlane(std::size_t plane) const {
        if (plane >= imageInfo->numLabels.size()) {
            throw BadIndex("index <" + std::to_string(plane) + "> must be less than " +
                           std::to_string(imageInfo->numLabels.size()));
        }
    }
};

MeasureSet::MeasureSet(std::shared_ptr<const MeasureGroup> group, LabelImageInfo imageInfo)
    : m_private(std::make_unique<MeasureSetPrivate>()) {
    if (imageInfo.labelSizes.size() != imageInfo.numLabels.size()) {
        throw InvalidCall("The image information has numbers of labels for " +
                          std::to_string(imageInfo.numLabels.size()) + " sequence planes and label sizes for " +
                          std::to_string(imageInfo.labelSizes.size()) + '.');
    }
    m_private->group = std::move(group);
    m_private->imageInfo = std::make_shared<const LabelImageInfo>(std::move(imageInfo));
}

void MeasureSet::releaseCircles(const Measures& measures) {
    for (const auto& [id, measure] : measures) {
        if (measure->getProcessingStatus() == MeasureProcessingStatus::Created) {
            measure->releaseDependencies();
        }
    }
}

MeasureSet::~MeasureSet() {
    releaseCircles(m_private->measures);
}

const std::shared_ptr<const MeasureGroup>& MeasureSet::getMeasureGroup() const {
    return m_private->group;
}
const std::shared_ptr<const LabelImageInfo>& MeasureSet::getImageInfo() const {
    return m_private->imageInfo;
}
std::size_t MeasureSet::getNumLabels(std::size_t plane) const {
    m_private->checkPlane(plane);
    return m_private->imageInfo->numLabels[plane];
}
std::uint32_t MeasureSet::getLabelSize(std::size_t plane) const {
    m_private->checkPlane(plane);
    return m_private->imageInfo->labelSizes[plane];
}
std::size_t MeasureSet::getNumSequencePlanes() const {
    return m_private->imageInfo->numLabels.size();
}
std::size_t MeasureSet::getNumSpectralPlanes() const {
    return m_private->imageInfo->numSpectralPlanes;
}
const ImageCalibration& MeasureSet::getLabelImageCalibration() const {
    return m_private->imageInfo->calibration;
}
DimensionalMode MeasureSet::getDimensionalMode() const {
    return m_private->imageInfo->dimensionalMode;
}
const MeasureSet::Measures& MeasureSet::getMeasures() const {
    return m_private->measures;
}

std::shared_ptr<BaseMeasure> MeasureSet::findMeasure(const std::shared_ptr<const BaseMeasureUniqueId>& id) const {
    const auto found = m_private->measures.find(id);
    return found != m_private->measures.end() ? found->second : nullptr;
}

void MeasureSet::setupDependencies() {
    MeasureIdSet needed;
    m_private->group->collectNeededMeasureIds(getDimensionalMode(), needed);
    Measures measures;
    for (const auto& id : needed) {
        measures.emplace(id, id->createMeasure(m_private->group->getNamesHandler(), *this));
    }
    std::vector<MeasureDependencies> dependencies;  // found for all measures before any is changed
    for (const auto& [id, measure] : measures) {
        MeasureDependencies& found = dependencies.emplace_back();
        for (const auto& dependency : measure->getDirectDependenciesIds(DependencyProcessingStep::All)) {
            const auto position = measures.find(dependency);
            if (position == measures.end()) {
                throw RuntimeError("Measure dependency " + dependency->getMeasureInfo().nativeName + " for measure " +
                                   id->getMeasureInfo().nativeName + " has not been found in measure list");
            }
            found.emplace(dependency, position->second);
        }
    }
    auto next = dependencies.begin();
    for (const auto& [id, measure] : measures) {
        measure->setDependencies(std::move(*next++));
    }
    m_private->measures.swap(measures);
    releaseCircles(measures);
}

void MeasureSet::initMeasures() {
    Measures pending = m_private->measures;
    Measures initialized;
    try {
        while (!pending.empty()) {
            const std::size_t removed = std::erase_if(pending, [&initialized](const auto& entry) {
                BaseMeasure& measure = *entry.second;
                if (!measure.canBeInitialized()) {
                    return false;
                }
                measure.init();
                initialized.insert(entry);
                return true;
            });
            if (removed == 0) {
                throw UnexpectedError("Invalid measure set, cyclic measures dependencies detected");
            }
        }
    } catch (...) {
        for (const auto& [id, measure] : initialized) {
            measure->clear();  // a failed call changes nothing
        }
        throw;
    }
    for (const auto& [id, measure] : m_private->measures) {
        measure->dependencyResultsCreated();
    }
}

std::size_t MeasureSet::getNumMeasures(MeasureProcessingStatus status) const {
    return static_cast<std::size_t>(
        std::count_if(m_private->measures.begin(), m_private->measures.end(),
                      [status](const auto& entry) { return entry.second->getProcessingStatus() == status; }));
}

bool MeasureSet::hasMeasuresReadyForProcessing(MeasureProcessingType type) const {
    return std::any_of(m_private->measures.begin(), m_private->measures.end(), [type](const auto& entry) {
        const BaseMeasure& measure = *entry.second;
        return measure.getMeasureAttributes().processingType == type &&
               measure.getProcessingStatus() == MeasureProcessingStatus::ReadyForProcessing &&
               measure.canStartParallelProcessing();
    });
}

}  // namespace rix::individual_analysis
