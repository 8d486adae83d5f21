#include <rix/properties/SafeCast.h>

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

#include <rix/exceptions/Exception.h>

namespace rix::helper {

namespace {

String demangle(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 ? name.get() : type.name();
}

}  // namespace

void throwBadPropertyCast(const BaseProperty* property, const std::type_info& expected,
                          const std::source_location& where) {
    if (property == nullptr) {
        throw InvalidCall("No property was given where a " + demangle(expected) + " is expected", where);
    }
    throw InvalidCall("The property \"" + property->getName() + "\" is a " + demangle(typeid(*property)) + " (" +
                          property->getImpl()->describeType() + ") where a " + demangle(expected) + " is expected",
                      where);
}

}  // namespace rix::helper
