#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <rix/properties/Property.h>

namespace rix {

/// A rule pushed onto a property for one pass: it is removed when the object dies, on every way out.
///
/// For rules that depend on the other parameters of a run, in `applyAllRules`:
/// `const ScopedRule integers(inputImage, AddRuleAssertInteger());`. The rule is appended, so it is applied after the
/// property's own rules. The property outlives the object.
class ScopedRule {
public:
    /// @param adder one of the `AddRule...` helpers.
    template <class T, class Adder>
    ScopedRule(Property<T>& property, const Adder& adder) {
        std::shared_ptr<Rules<Property<T>>> rule = adder(property);
        try {
            m_remove = [&property, rule] { property.getImpl()->removeRule(rule); };
        } catch (...) {
            property.getImpl()->removeRule(rule);
            throw;
        }
    }
    ScopedRule(ScopedRule&& other) noexcept : m_remove(std::exchange(other.m_remove, nullptr)) {}
    ScopedRule& operator=(ScopedRule&& other) noexcept {
        ScopedRule moved(std::move(other));
        std::swap(m_remove, moved.m_remove);  // the rule held so far is removed with `moved`
        return *this;
    }
    ~ScopedRule() {
        if (m_remove) {
            m_remove();
        }
    }

private:
    std::function<void()> m_remove;
};

}  // namespace rix
