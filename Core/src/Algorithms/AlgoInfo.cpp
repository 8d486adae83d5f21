#include <rix/algorithms/AlgoInfo.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/ModuleList.h>
#include <rix/exceptions/Exception.h>

#include "IdleInputs.h"
#include "Process/Forks.h"

namespace rix {

struct AlgoInfoPrivate {
    String name;
    String libraryName;
    String area;
    AlgoInfo::Factory factory;
    AlgoVisibilityType visibility;
    String deprecationVersion;
    std::vector<std::shared_ptr<Runnable>> runners;
    AlgoInfo::WrapCounter wrapCounter;
    AlgoInfo::Notes notes;
    std::unique_ptr<const algorithms::ValueTexts> valuesOfNewObjects;  ///< with the lock of the registry
};

namespace {

/// The place of a runner in a list; its end when it isn't there.
auto placeOf(const std::vector<std::shared_ptr<Runnable>>& runners, const Runnable* runner) {
    return std::find_if(runners.begin(), runners.end(), [runner](const auto& held) { return held.get() == runner; });
}

}  // namespace

/// The ordered list of all records, while it exists. Plug-ins may come and go while others look for a class.
class AlgoInfo::Registry {
public:
    Registry() : m_lock(process::mutexOf(process::Lock::Registry)) {}

    std::vector<AlgoInfo*>& records() {
        // Never destroyed: classes of plug-ins leave it as late as at the end of the process.
        static constinit std::vector<AlgoInfo*>* records = nullptr;
        if (records == nullptr) {
            auto list = std::make_unique<std::vector<AlgoInfo*>>();
            for (const algorithms::ListedAlgorithm& listed : algorithms::libraryAlgorithms()) {
                AlgoInfo& info = listed.getInfo();
                info.m_private->area = listed.area;
                list->push_back(&info);
            }
            records = list.release();
        }
        return *records;
    }

private:
    std::lock_guard<std::mutex> m_lock;
};

AlgoInfo::AlgoInfo(const String& name, const String& libraryName, Factory factory, AlgoVisibilityType visibility,
                   const String& deprecationVersion)
    : m_private(std::make_unique<AlgoInfoPrivate>(
          AlgoInfoPrivate{name, libraryName, "", factory, visibility, deprecationVersion, {}, {}, {}, {}})) {}

AlgoInfo::~AlgoInfo() = default;

String AlgoInfo::getName() const {
    return m_private->name;
}

String AlgoInfo::getLibName() const {
    return m_private->libraryName;
}

String AlgoInfo::getArea() const {
    Registry().records();  // gives the library's own classes their area, which may be used before
    return m_private->area.empty() ? m_private->libraryName : m_private->area;
}

AlgoVisibilityType AlgoInfo::getAlgoVisibility() const {
    return m_private->visibility;
}

String AlgoInfo::getDeprecationVersion() const {
    return m_private->deprecationVersion;
}

std::unique_ptr<BaseAlgorithm> AlgoInfo::createInstance(
    algorithms::AbstractPrivateImplementation* implementation) const {
    return m_private->factory(implementation);
}

void AlgoInfo::addRunner(Runnable* runner) {
    addRunner(std::shared_ptr<Runnable>(runner));
}

void AlgoInfo::addRunner(std::shared_ptr<Runnable> runner) {
    m_private->runners.push_back(std::move(runner));
}

void AlgoInfo::insertRunnerBefore(const Runnable& existing, std::shared_ptr<Runnable> runner) {
    auto& runners = m_private->runners;
    const auto place = placeOf(runners, &existing);
    if (place == runners.end()) {
        throw InvalidCall("The runner to insert before is none of " + getName());
    }
    runners.insert(place, std::move(runner));
}

void AlgoInfo::insertRunnerFirst(std::shared_ptr<Runnable> runner) {
    auto& runners = m_private->runners;
    const auto place = std::find_if(runners.begin(), runners.end(),
                                    [&](const auto& held) { return held->getOptimType() == runner->getOptimType(); });
    runners.insert(place, std::move(runner));
}

void AlgoInfo::removeRunner(Runnable* runner) {
    auto& runners = m_private->runners;
    const auto found = placeOf(runners, runner);
    if (found != runners.end()) {
        runners.erase(found);
    }
}

const std::vector<std::shared_ptr<Runnable>>& AlgoInfo::getRunners() const {
    return m_private->runners;
}

void AlgoInfo::setWrapCounter(WrapCounter counter) {
    m_private->wrapCounter = std::move(counter);
}

std::uint64_t AlgoInfo::countWrapped(const BaseAlgorithm& algorithm, access::ExecutionContext& context) const {
    return m_private->wrapCounter ? m_private->wrapCounter(algorithm, context) : 0;
}

void AlgoInfo::setNotes(Notes notes) {
    m_private->notes = std::move(notes);
}

std::vector<String> AlgoInfo::notesOn(const BaseAlgorithm& algorithm) const {
    std::vector<String> notes = algorithms::notesOnIdleInputs(algorithm, valuesOfNewObjects());
    if (m_private->notes) {
        for (String& note : m_private->notes(algorithm)) {
            notes.push_back(std::move(note));
        }
    }
    return notes;
}

/// Asked for at every run of the front ends, and made once.
const algorithms::ValueTexts& AlgoInfo::valuesOfNewObjects() const {
    auto& kept = m_private->valuesOfNewObjects;
    std::unique_lock lock(process::mutexOf(process::Lock::Registry));
    if (kept == nullptr) {
        lock.unlock();
        const auto object = createInstance(nullptr);
        auto values = std::make_unique<const algorithms::ValueTexts>(algorithms::valuesOfConditionalInputs(*object));
        lock.lock();
        if (kept == nullptr) {
            kept = std::move(values);
        }
    }
    return *kept;
}

std::size_t AlgoInfo::getNumOfAlgorithm() {
    return Registry().records().size();
}

AlgoInfo& AlgoInfo::getAlgorithmsInfoByIndex(std::size_t index) {
    Registry registry;
    const auto& records = registry.records();
    if (index >= records.size()) {
        throw BadIndex("index <" + std::to_string(index) + "> must be less than " + std::to_string(records.size()));
    }
    return *records[index];
}

AlgoInfo& AlgoInfo::fromName(const String& name) {
    Registry registry;
    for (AlgoInfo* const info : registry.records()) {
        if (info->getName() == name) {
            return *info;
        }
    }
    throw InvalidCall("The className " + name + " does not exist");
}

void AlgoInfo::registerClass(AlgoInfo& info, const String& area) {
    Registry registry;
    info.m_private->area = area;
    registry.records().push_back(&info);
}

void AlgoInfo::unregisterClass(AlgoInfo& info) {
    std::erase(Registry().records(), &info);
}

}  // namespace rix
