#include <rix/geometry/ProfileMsr.h>

#include <memory>

#include <rix/algorithms/ObjectInfo.h>

namespace rix::geometry {

namespace {

std::shared_ptr<measurement::MeasurementObject> make() {
    return std::make_shared<ProfileMsr>();
}

}  // namespace

ProfileMsr::ProfileMsr()
    : distance("Distance", "How far it is from the first end."), value("Value", "The value of the image there.") {}

const ObjectInfo& ProfileMsr::getInfo() {
    static const ObjectInfo info("ProfileMsr", &make);
    return info;
}

const ObjectInfo& ProfileMsr::getClassInfo() const {
    return getInfo();
}

String ProfileMsr::getDescription() const {
    return "This object contains the values of an image along a line.";
}

measurement::TableOfImage::Arrays ProfileMsr::columns() {
    return {&distance, &value};
}

void ProfileMsr::setUnits(const String& unit) {
    for (auto* const array : {&distance}) {
        array->setUnit(unit);
    }
}

}  // namespace rix::geometry
