#include <rix/measurement/PropertyMeasurement.h>

#include <rix/exceptions/Exception.h>

namespace rix {

MeasurementSlot::~MeasurementSlot() = default;

std::shared_ptr<measurement::MeasurementObject> MeasurementSlot::createObject() const {
    return getObjectInfo().createMeasurement();
}

void MeasurementSlot::refuseObject(const measurement::MeasurementObject& object) const {
    throw InvalidCall("A result object of the class " + getObjectInfo().getClassName() + " is expected, not of " +
                      object.getClassInfo().getClassName() + '.');
}

}  // namespace rix
