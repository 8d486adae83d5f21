#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <rix/properties/BaseProperty.h>
#include <rix/properties/SafeCast.h>
#include <rix/properties/Serialization.h>
#include <rix/rules/Rules.h>

namespace rix {

template <class T>
class RIX_EXPORT Property;

/// Whether setting `b` over `a` changes anything. Zeros of both signs are equal, but not the same value.
template <class T>
bool isSameValue(const T& a, const T& b) {
    if constexpr (std::is_floating_point_v<T>) {
        return a == b && std::signbit(a) == std::signbit(b);
    } else {
        return a == b;
    }
}

/// State of a property whose value has type `T`.
template <class T>
class RIX_EXPORT PropertyPrivate : public BasePropertyPrivate {
public:
    explicit PropertyPrivate(BaseProperty* owningProperty)
        : BasePropertyPrivate(owningProperty), m_value(DefaultInit<T>::getDefault()) {}

    void addRule(std::shared_ptr<Rules<Property<T>>> rule) { m_rules.push_back(std::move(rule)); }
    /// Removes the first entry of `rule`; nothing when it is not attached.
    void removeRule(const std::shared_ptr<Rules<Property<T>>>& rule) {
        const auto found = std::find(m_rules.begin(), m_rules.end(), rule);
        if (found != m_rules.end()) {
            m_rules.erase(found);
        }
    }

    String describeType() const override { return ValueTypeName<T>::get(); }
    std::vector<String> describeRules() const override {
        std::vector<String> texts;
        for (const auto& rule : m_rules) {
            texts.push_back(rule->describe());
        }
        return texts;
    }

    T m_value;
    std::vector<std::shared_ptr<Rules<Property<T>>>> m_rules;
};

/// A property whose value has type `T`. The constructor's value, `DefaultInit<T>::getDefault()`, is the default.
///
/// A locked property ignores every attempt to change it.
template <class T>
class RIX_EXPORT Property : public BaseProperty {
public:
    using ValueType = T;

    Property() : m_private(std::make_unique<PropertyPrivate<T>>(this)) {}

    const T& get() const { return m_private->m_value; }
    operator T() const { return m_private->m_value; }  // NOLINT: a property stands for its value

    /// Replaces the value when it differs, and then notifies the owner.
    virtual void set(const T& value) {
        if (!m_private->m_locked && !isSameValue(m_private->m_value, value)) {
            m_private->m_value = value;
            notify();
        }
    }
    const T& operator=(const T& value) {
        set(value);
        return m_private->m_value;
    }
    Property& operator=(const Property& other) {
        set(other.get());
        return *this;
    }

    void applyRules(bool all) override {
        if (!m_private->m_enabled) {
            return;
        }
        applyNamed([&] {
            // By index: a rule of one pass may be attached by another rule.
            for (std::size_t i = 0; i < m_private->m_rules.size(); ++i) {
                const auto rule = m_private->m_rules[i];
                if (all || rule->isIndividual()) {
                    rule->apply(*this);
                }
            }
        });
    }

    void setFromBase(BaseProperty* other) override { set(helper::safe_cast<Property<T>>(other)->get()); }

    bool read(const String& text, String& normalised) override {
        if (m_private->m_locked || !Deserialization<T>::doIt(text, m_private->m_value, normalised)) {
            return false;
        }
        notify();
        return true;
    }
    bool write(String& text) const override { return Serialization<T>::doIt(text, m_private->m_value); }

    PropertyPrivate<T>* getImpl() override { return m_private.get(); }
    const PropertyPrivate<T>* getImpl() const override { return m_private.get(); }

protected:
    /// For the choices, which keep more state. It is made before the property, which enters itself here.
    explicit Property(std::unique_ptr<PropertyPrivate<T>> state) : m_private(std::move(state)) {
        m_private->m_property = this;
    }

private:
    std::unique_ptr<PropertyPrivate<T>> m_private;
};

}  // namespace rix

#include <rix/properties/PropertyInstances.h>
