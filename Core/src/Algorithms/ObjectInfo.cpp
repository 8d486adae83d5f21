#include <rix/algorithms/ObjectInfo.h>

#include <vector>

#include <rix/exceptions/Exception.h>
#include <rix/image/MemoryImage.h>

namespace rix {

namespace {

/// All records, in the order of registration. Never destroyed: records of plug-ins leave it in any order, as late as
/// at the end of the process.
std::vector<const ObjectInfo*>& objectRegistry() {
    static auto* const records = new std::vector<const ObjectInfo*>();
    return *records;
}

void registerLibraryClasses() {
    static const ObjectInfo memoryImage("MemoryImage",
                                        []() -> std::shared_ptr<void> { return std::make_shared<io::MemoryImage>(); });
}

}  // namespace

ObjectInfo::ObjectInfo(const String& className, Factory factory) : m_className(className), m_factory(factory) {
    objectRegistry().push_back(this);
}

ObjectInfo::~ObjectInfo() {
    std::erase(objectRegistry(), this);
}

const ObjectInfo& ObjectInfo::getObjectInfoFromName(const String& name) {
    registerLibraryClasses();
    for (const ObjectInfo* const info : objectRegistry()) {
        if (info->m_className == name) {
            return *info;
        }
    }
    throw InvalidCall("The className " + name + " does not exist");
}

}  // namespace rix
