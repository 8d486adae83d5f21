#include <rix/algorithms/ObjectInfo.h>

#include <mutex>
#include <vector>

#include <rix/algorithms/ModuleList.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryImage.h>
#include <rix/measurement/MeasurementObject.h>

#include "Process/Forks.h"

namespace rix {

namespace {

/// All records, in the order of registration. Never destroyed: records of plug-ins leave it in any order, as late as
/// at the end of the process. A record is made when its class is first used, in whatever thread that happens.
struct ObjectRegistry {
    std::mutex& mutex = process::mutexOf(process::Lock::Objects);
    std::vector<const ObjectInfo*> records;
};

ObjectRegistry& objectRegistry() {
    static auto* const registry = new ObjectRegistry();
    return *registry;
}

void registerLibraryClasses() {
    static const ObjectInfo memoryImage("MemoryImage",
                                        []() -> std::shared_ptr<void> { return std::make_shared<io::MemoryImage>(); });
    for (const algorithms::ObjectInfoAccessor getInfo : algorithms::libraryObjects()) {
        getInfo();
    }
}

void enter(const ObjectInfo* info) {
    ObjectRegistry& registry = objectRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.records.push_back(info);
}

}  // namespace

ObjectInfo::ObjectInfo(const String& className, Factory factory) : m_className(className), m_factory(factory) {
    enter(this);
}

ObjectInfo::ObjectInfo(const String& className, MeasurementFactory factory)
    : m_className(className), m_measurementFactory(factory) {
    enter(this);
}

ObjectInfo::~ObjectInfo() {
    ObjectRegistry& registry = objectRegistry();
    const std::lock_guard lock(registry.mutex);
    std::erase(registry.records, this);
}

std::shared_ptr<void> ObjectInfo::createInstance() const {
    if (m_measurementFactory == nullptr) {
        return m_factory();
    }
    // The caller casts to the class itself, whose address may differ from that of its base.
    const std::shared_ptr<measurement::MeasurementObject> object = m_measurementFactory();
    return {object, dynamic_cast<void*>(object.get())};
}

std::shared_ptr<measurement::MeasurementObject> ObjectInfo::createMeasurement() const {
    return m_measurementFactory != nullptr ? m_measurementFactory() : nullptr;
}

const ObjectInfo& ObjectInfo::getObjectInfoFromName(const String& name) {
    registerLibraryClasses();
    ObjectRegistry& registry = objectRegistry();
    const std::lock_guard lock(registry.mutex);
    for (const ObjectInfo* const info : registry.records) {
        if (info->m_className == name) {
            return *info;
        }
    }
    throw InvalidCall("The className " + name + " does not exist");
}

}  // namespace rix
