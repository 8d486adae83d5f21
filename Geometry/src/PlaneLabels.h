#pragma once

#include <memory>

#include <rix/rules/RuleSupport.h>

#include "AxisMap.h"

namespace rix::geometry {

/// @throws RuleException, which names the property, when labels of planes would get into the same plane or volume
void assertLabelsStayApart(const BaseProperty& property, const ImageModel& image, const AxisMaps& maps);

/// Labels that count plane by plane are no longer told apart by planes of another axis: refused, on a property behind
/// which all is known that the maps depend on.
template <class Operation, AxisMaps (*mapsOf)(const Operation&), class T>
class RuleLabelsStayApart : public Rules<Property<T>> {
public:
    explicit RuleLabelsStayApart(const Operation& operation) : m_operation(operation) {}
    void apply(Property<T>& property) override {
        assertLabelsStayApart(property, *m_operation.getInputImage(), mapsOf(m_operation));
    }
    String describe() const override { return "must leave the planes of labels that count plane by plane as they are"; }

private:
    const Operation& m_operation;
};

template <class Operation, AxisMaps (*mapsOf)(const Operation&), class T>
void keepLabelsOfPlanes(const Operation& operation, Property<T>& property) {
    property.getImpl()->addRule(std::make_shared<RuleLabelsStayApart<Operation, mapsOf, T>>(operation));
}

}  // namespace rix::geometry
