#pragma once

#include <concepts>
#include <memory>
#include <utility>

#include <rix/Export.h>
#include <rix/algorithms/ObjectInfo.h>
#include <rix/measurement/MeasurementObject.h>
#include <rix/properties/Property.h>
#include <rix/rules/Rules.h>

namespace rix {

/// What can be done with a property that holds a result object, without knowing the object's class. Tools find it by
/// `dynamic_cast` from the property:
///
///     if (auto* slot = dynamic_cast<MeasurementSlot*>(property)) {
///         const auto result = slot->createObject();  // kept alive until the result is read
///         slot->setObject(result.get());
///     }
///
/// and after the run `slot->getObject()->toDataFrame()` is the table.
class RIX_EXPORT MeasurementSlot {
public:
    virtual ~MeasurementSlot();

    /// The class of the objects that the property takes.
    virtual const ObjectInfo& getObjectInfo() const = 0;
    /// The object that the property holds, or null.
    virtual measurement::MeasurementObject* getObject() const = 0;
    /// Sets the property; null unsets it. A locked property stays as it is.
    /// @throws InvalidCall, naming both classes, when the object is of another class.
    virtual void setObject(measurement::MeasurementObject* object) = 0;

    /// A new object of the class that the property takes.
    std::shared_ptr<measurement::MeasurementObject> createObject() const;

protected:
    [[noreturn]] void refuseObject(const measurement::MeasurementObject& object) const;
};

namespace detail {

/// Says "result object AutoThresholdingMsr" in listings, where the type alone says "object".
template <class M>
class RIX_EXPORT PropertyMeasurementPrivate : public PropertyPrivate<M*> {
public:
    explicit PropertyMeasurementPrivate(BaseProperty* owningProperty) : PropertyPrivate<M*>(owningProperty) {}
    String describeType() const override { return "result object " + M::getInfo().getClassName(); }
};

}  // namespace detail

/// A property that holds a result object of class `M`, which the caller of the algorithm owns.
/// @tparam M derives from `measurement::MeasurementObject` and has its registry record as `M::getInfo()`.
template <class M>
class RIX_EXPORT PropertyMeasurement : public Property<M*>, public MeasurementSlot {
public:
    PropertyMeasurement() : Property<M*>(std::make_unique<detail::PropertyMeasurementPrivate<M>>(this)) {}

    using Property<M*>::operator=;

    const ObjectInfo& getObjectInfo() const override { return M::getInfo(); }
    measurement::MeasurementObject* getObject() const override { return this->get(); }
    void setObject(measurement::MeasurementObject* object) override {
        auto* const own = dynamic_cast<M*>(object);
        if (object != nullptr && own == nullptr) {
            refuseObject(*object);
        }
        this->set(own);
    }
};

/// An unset property gets a result object that lives as long as the property's algorithm: for algorithms whose result
/// object need not be given.
template <class M>
class RIX_EXPORT RuleCreateMeasurement : public Rules<Property<M*>> {
public:
    void apply(Property<M*>& property) override {
        if (property.get() == nullptr) {
            if (m_made == nullptr) {
                m_made = std::make_shared<M>();
            }
            // Past the lock: the properties of a running algorithm are locked when its rules apply.
            property.getImpl()->m_value = m_made.get();
        }
    }
    String describe() const override { return "made by the algorithm when unset"; }

private:
    std::shared_ptr<M> m_made;
};

/// Attaches `RuleCreateMeasurement` to a property.
class AddRuleCreateMeasurement {
public:
    template <class M>
    std::shared_ptr<Rules<Property<M*>>> operator()(Property<M*>& property) const {
        std::shared_ptr<Rules<Property<M*>>> rule = std::make_shared<RuleCreateMeasurement<M>>();
        property.getImpl()->addRule(rule);
        return rule;
    }
};

}  // namespace rix
