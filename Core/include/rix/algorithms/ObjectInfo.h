#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

/// The registry record of a class that is no algorithm: a class that can be created by name, such as the result
/// objects that algorithms fill.
class RIX_EXPORT ObjectInfo {
public:
    using Factory = std::shared_ptr<void> (*)();

    /// Makes the record and enters it into the registry; it leaves the registry when it dies.
    ObjectInfo(const String& className, Factory factory);
    ~ObjectInfo();
    ObjectInfo(const ObjectInfo&) = delete;
    ObjectInfo& operator=(const ObjectInfo&) = delete;

    String getClassName() const { return m_className; }
    /// A new object of the class, default-constructed; the caller casts it to what the name says.
    std::shared_ptr<void> createInstance() const { return m_factory(); }

    /// The class with exactly this name. @throws InvalidCall "The className " + name + " does not exist".
    static const ObjectInfo& getObjectInfoFromName(const String& name);

private:
    String m_className;
    Factory m_factory;
};

}  // namespace rix
