#include <rix/algorithms/BaseAlgorithm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <rix/algorithms/AlgoInfo.h>
#include <rix/exceptions/Exception.h>
#include <rix/properties/BaseProperty.h>
#include <rix/properties/EnumInfo.h>

#include "BaseAlgorithmPrivate.h"
#include "ImageProperties.h"
#include "ThreadLimiter.h"

namespace rix {

namespace {

constexpr const char* maximumLevelKey = "RIX_MAX_OPTIM_LEVEL";
/// Every run asks for it: a text made once, and never destroyed, since runs may outlast static objects.
const String& maximumExtraMemoryKey() {
    static const String& key = *new String("RIX_MAXIMUM_EXTRA_MEMORY_USAGE");
    return key;
}

BaseProperty* propertyAt(const std::vector<BaseProperty*>& properties, std::size_t index) {
    if (index >= properties.size()) {
        throw BadIndex("index <" + std::to_string(index) + "> must be less than " + std::to_string(properties.size()));
    }
    return properties[index];
}

void declare(std::vector<BaseProperty*>& list, BaseAlgorithm* owner, BaseProperty& property, const String& name,
             const String& description) {
    list.push_back(&property);
    property.getImpl()->setOwner(owner);
    property.getImpl()->setName(name);
    property.setDescription(description);
}

}  // namespace

BaseAlgorithm::BaseAlgorithm(algorithms::AbstractPrivateImplementation* implementation)
    // Owned before anything else is allocated: it must not be lost when that fails.
    : m_private(std::make_unique<algorithms::BaseAlgorithmPrivate>(
          *this, std::unique_ptr<algorithms::AbstractPrivateImplementation>(implementation))) {}

BaseAlgorithm::~BaseAlgorithm() {
    if (m_private->isInUse()) {
        // To go on would be to crash somewhere later, in whatever the threads of the run find in this memory.
        std::fputs("rix: an algorithm was destroyed while it runs; the program ends.\n", stderr);
        std::fflush(stderr);
        std::abort();
    }
}

bool BaseAlgorithm::hasDynamicProperties() const {
    return false;
}

void BaseAlgorithm::onPropertyChanged(BaseProperty* /*property*/) {}

void BaseAlgorithm::applyAllRules() {
    for (BaseProperty* property : m_private->m_inputs) {
        property->applyRules(true);
    }
    // Outputs last: their rules shape them after inputs that are known to be good by then.
    for (BaseProperty* property : m_private->m_outputs) {
        property->applyRules(true);
    }
}

std::size_t BaseAlgorithm::getNumOfProperties() const {
    return getNumOfInputProperties() + getNumOfOutputProperties();
}

std::size_t BaseAlgorithm::getNumOfInputProperties() const {
    return m_private->m_inputs.size();
}

std::size_t BaseAlgorithm::getNumOfOutputProperties() const {
    return m_private->m_outputs.size();
}

BaseProperty* BaseAlgorithm::getInputProperty(std::size_t index) const {
    return propertyAt(m_private->m_inputs, index);
}

BaseProperty* BaseAlgorithm::getOutputProperty(std::size_t index) const {
    return propertyAt(m_private->m_outputs, index);
}

bool BaseAlgorithm::isOutput(const BaseProperty* property) const {
    return std::find(m_private->m_outputs.begin(), m_private->m_outputs.end(), property) != m_private->m_outputs.end();
}

BaseProperty* BaseAlgorithm::getPropertyfromName(const String& name) const {
    for (const auto* list : {&m_private->m_inputs, &m_private->m_outputs}) {
        for (BaseProperty* property : *list) {
            if (property->getName() == name) {
                return property;
            }
        }
    }
    return nullptr;
}

bool BaseAlgorithm::lockAllProperties(bool locked) {
    for (const auto* list : {&m_private->m_inputs, &m_private->m_outputs}) {
        for (BaseProperty* property : *list) {
            property->getImpl()->lock(locked);
        }
    }
    return true;
}

void BaseAlgorithm::run(InteractionInterface* interaction) {
    m_private->run(interaction);
}

bool BaseAlgorithm::running() const {
    return m_private->m_running;
}

void BaseAlgorithm::cancelExecution() {
    m_private->m_implementation->cancel();
}

bool BaseAlgorithm::isExecutionCancelled() const {
    return m_private->isRunCancelled();
}

double BaseAlgorithm::getProgress() const {
    return m_private->m_progression.value();
}

String BaseAlgorithm::getProgressionMessage() const {
    const std::lock_guard lock(m_private->m_textMutex);
    return m_private->m_message;
}

void BaseAlgorithm::getProgressionData(String& name, String& value) const {
    const std::lock_guard lock(m_private->m_textMutex);
    name = m_private->m_dataName;
    value = m_private->m_dataValue;
}

void BaseAlgorithm::setProgressionMessage(const String& message) {
    m_private->setMessage(message);
}

void BaseAlgorithm::setProgressionData(const String& name, const String& value) {
    m_private->setData(name, value);
}

void BaseAlgorithm::setOptimLevel(OptimLevelType level) {
    m_private->m_forcedLevel = level;
}

OptimLevelType BaseAlgorithm::getOptimLevel() const {
    return m_private->m_forcedLevel;
}

OptimLevelType BaseAlgorithm::getMaxOptimLevel() const {
    const EnumInfo& levels = getInfoOptimLevelType();
    const int last = levels.getValueFromValueIndex(levels.getNumOfValues() - 1);
    return static_cast<OptimLevelType>(m_private->m_settings.getValueAsInt32(maximumLevelKey, last));
}

void BaseAlgorithm::setMaxOptimLevel(OptimLevelType level) {
    m_private->m_settings.setValueAsInt32(maximumLevelKey, level);
}

bool BaseAlgorithm::isOptimLevelSupported(OptimLevelType level) const {
    const auto& runners = getClassInfo().getRunners();
    return std::any_of(runners.begin(), runners.end(),
                       [level](const auto& runner) { return runner->getOptimType() == level; });
}

OptimLevelType BaseAlgorithm::getMostPerformantAvailableOptimLevel() const {
    const EnumInfo& levels = getInfoOptimLevelType();
    for (std::size_t i = levels.getNumOfValues(); i-- > 0;) {
        const auto level = static_cast<OptimLevelType>(levels.getValueFromValueIndex(i));
        if (isOptimLevelSupported(level)) {
            return level;
        }
    }
    throw RunForException("no runner found for algorithm");
}

void BaseAlgorithm::setAutoCpuDispatch(bool enabled) {
    m_private->m_autoDispatch = enabled;
}

bool BaseAlgorithm::getAutoCpuDispatch() const {
    return m_private->m_autoDispatch;
}

std::optional<OptimLevelType> BaseAlgorithm::getLastRunLevel() const {
    return m_private->m_lastRunLevel;
}

bool BaseAlgorithm::supports2D() const {
    return true;
}

bool BaseAlgorithm::supports3D() const {
    return true;
}

bool BaseAlgorithm::supportsDiskImages() const {
    return true;
}

bool BaseAlgorithm::hasPropertyImageOnDisk() const {
    const auto images = algorithms::collectImages(*this);
    return std::any_of(images.begin(), images.end(), [](const ImageModel* image) { return image->isOnDisk(); });
}

bool BaseAlgorithm::hasUniformSizeImages() const {
    const auto images = algorithms::collectImages(*this);
    return std::all_of(images.begin(), images.end(), [&](const ImageModel* image) {
        return helper::getExtents(*image) == helper::getExtents(*images.front());
    });
}

void BaseAlgorithm::enableIterationOnSequenceAxis(bool enabled) {
    m_private->m_iterateSequence = enabled;
}

bool BaseAlgorithm::isIterationOnSequenceAxisEnabled() const {
    return m_private->m_iterateSequence;
}

void BaseAlgorithm::enableIterationOnSpectralAxis(bool enabled) {
    m_private->m_iterateSpectral = enabled;
}

bool BaseAlgorithm::isIterationOnSpectralAxisEnabled() const {
    return m_private->m_iterateSpectral;
}

int BaseAlgorithm::getMaximumExtraMemoryUsage() const {
    return std::max(0, m_private->m_settings.getValueAsInt32(maximumExtraMemoryKey(), 0));
}

void BaseAlgorithm::setMaximumExtraMemoryUsage(int mebibytes) {
    m_private->m_settings.setValueAsInt32(maximumExtraMemoryKey(), mebibytes);
}

std::size_t BaseAlgorithm::getMaximumExtraMemoryUsageInBytes() const {
    return static_cast<std::size_t>(getMaximumExtraMemoryUsage()) << 20;
}

std::size_t BaseAlgorithm::getPeakExtraMemory() const {
    return m_private->m_account != nullptr ? m_private->m_account->peak() : 0;
}

std::size_t BaseAlgorithm::getMaximumThreads() const {
    return algorithms::ThreadLimiter::threadsFor(m_private->m_settings.getMaximumNumberOfThreads());
}

int BaseAlgorithm::getVersion() const {
    return 1;
}

Settings& BaseAlgorithm::settings() {
    return m_private->m_settings;
}

const Settings& BaseAlgorithm::settings() const {
    return m_private->m_settings;
}

AlgorithmDescription BaseAlgorithm::describe() const {
    return {};
}

void BaseAlgorithm::setParent(BaseAlgorithm* parent) {
    for (const BaseAlgorithm* each = parent; each != nullptr; each = each->getParent()) {
        if (each == this) {
            throw InvalidCall("An algorithm cannot be a child of itself or of its own children.");
        }
    }
    m_private->m_parent = parent;
    if (parent != nullptr) {
        m_private->m_settings = parent->settings();
    }
}

BaseAlgorithm* BaseAlgorithm::getParent() const {
    return m_private->m_parent;
}

access::ExecutionContext& BaseAlgorithm::executionContext() {
    return *m_private;
}

void BaseAlgorithm::setBlockScheduler(std::shared_ptr<access::BlockScheduler> scheduler) {
    m_private->m_scheduler = std::move(scheduler);
}

void BaseAlgorithm::addInput(BaseProperty& property, const String& name, const String& description) {
    declare(m_private->m_inputs, this, property, name, description);
}

void BaseAlgorithm::addOutput(BaseProperty& property, const String& name, const String& description) {
    declare(m_private->m_outputs, this, property, name, description);
}

algorithms::AbstractPrivateImplementation* BaseAlgorithm::implementation() const {
    return m_private->m_implementation.get();
}

}  // namespace rix
