#include <rix/algorithms/AlgoInfo.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/algorithms/ModuleList.h>
#include <rix/exceptions/Exception.h>

#include "Process/Forks.h"

namespace rix {

struct AlgoInfoPrivate {
    String name;
    String libraryName;
    AlgoInfo::Factory factory;
    AlgoVisibilityType visibility;
    String deprecationVersion;
    std::vector<std::shared_ptr<Runnable>> runners;
};

namespace {

/// The ordered list of all records, while it exists. Plug-ins may come and go while others look for a class.
class Registry {
public:
    Registry() : m_lock(process::mutexOf(process::Lock::Registry)) {}

    std::vector<AlgoInfo*>& records() {
        // Never destroyed: classes of plug-ins leave it as late as at the end of the process.
        static constinit std::vector<AlgoInfo*>* records = nullptr;
        if (records == nullptr) {
            auto list = std::make_unique<std::vector<AlgoInfo*>>();
            for (const algorithms::AlgoInfoAccessor getInfo : algorithms::libraryAlgorithms()) {
                list->push_back(&getInfo());
            }
            records = list.release();
        }
        return *records;
    }

private:
    std::lock_guard<std::mutex> m_lock;
};

}  // namespace

AlgoInfo::AlgoInfo(const String& name, const String& libraryName, Factory factory, AlgoVisibilityType visibility,
                   const String& deprecationVersion)
    : m_private(std::make_unique<AlgoInfoPrivate>(
          AlgoInfoPrivate{name, libraryName, factory, visibility, deprecationVersion, {}})) {}

AlgoInfo::~AlgoInfo() = default;

String AlgoInfo::getName() const {
    return m_private->name;
}

String AlgoInfo::getLibName() const {
    return m_private->libraryName;
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

void AlgoInfo::removeRunner(Runnable* runner) {
    auto& runners = m_private->runners;
    const auto found =
        std::find_if(runners.begin(), runners.end(), [runner](const auto& held) { return held.get() == runner; });
    if (found != runners.end()) {
        runners.erase(found);
    }
}

const std::vector<std::shared_ptr<Runnable>>& AlgoInfo::getRunners() const {
    return m_private->runners;
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

void AlgoInfo::registerClass(AlgoInfo& info) {
    Registry().records().push_back(&info);
}

void AlgoInfo::unregisterClass(AlgoInfo& info) {
    std::erase(Registry().records(), &info);
}

}  // namespace rix
