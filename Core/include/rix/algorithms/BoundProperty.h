#pragma once

#include <utility>

#include <rix/measurement/PropertyMeasurement.h>
#include <rix/properties/Property.h>
#include <rix/properties/PropertySingleChoice.h>

namespace rix::algorithms {

/// A property that is a member of its algorithm and knows its name from the beginning.
template <class P>
class BoundProperty : public P {
public:
    template <class... Arguments>
    explicit BoundProperty(const char* name, Arguments&&... arguments) : P(std::forward<Arguments>(arguments)...) {
        this->getImpl()->setName(name);
    }
    using P::operator=;
};

}  // namespace rix::algorithms
