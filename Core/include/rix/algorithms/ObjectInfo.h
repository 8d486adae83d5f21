#pragma once

#include <memory>

#include <rix/Export.h>
#include <rix/String.h>

namespace rix {

namespace measurement {
class MeasurementObject;
}

/// The registry record of a class that is no algorithm: a class that can be created by name, such as the result
/// objects that algorithms fill.
class RIX_EXPORT ObjectInfo {
public:
    using Factory = std::shared_ptr<void> (*)();
    using MeasurementFactory = std::shared_ptr<measurement::MeasurementObject> (*)();

    /// Makes the record and enters it into the registry; it leaves the registry when it dies.
    ObjectInfo(const String& className, Factory factory);
    /// The same for a class of result objects, which can also be used without knowing the class.
    ObjectInfo(const String& className, MeasurementFactory factory);
    ~ObjectInfo();
    ObjectInfo(const ObjectInfo&) = delete;
    ObjectInfo& operator=(const ObjectInfo&) = delete;

    String getClassName() const { return m_className; }
    /// A new object of the class, default-constructed; the caller casts it to what the name says.
    std::shared_ptr<void> createInstance() const;
    /// The same as a result object; null when the class is none of result objects.
    std::shared_ptr<measurement::MeasurementObject> createMeasurement() const;

    /// The class with exactly this name. @throws InvalidCall "The className " + name + " does not exist".
    static const ObjectInfo& getObjectInfoFromName(const String& name);

private:
    String m_className;
    Factory m_factory = nullptr;
    MeasurementFactory m_measurementFactory = nullptr;
};

}  // namespace rix
