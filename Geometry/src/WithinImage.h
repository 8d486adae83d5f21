#pragma once

#include <cstdint>

#include <rix/rules/RuleSupport.h>

#include "AxisMap.h"

/// Rules on places in an image. They follow those of the image.
namespace rix::geometry {

/// The index of an element on an axis.
class RuleIndexWithin : public Rules<Property<std::int64_t>> {
public:
    using ValueType = std::int64_t;

    RuleIndexWithin(const Property<const ImageModel*>* image, Components axis) : m_image(image), m_axis(axis) {}
    ~RuleIndexWithin() override;
    void apply(Property<std::int64_t>& property) override;
    String describe() const override;

private:
    const Property<const ImageModel*>* m_image;
    Components m_axis;
};

/// How many elements of an axis there are from another property on; 0 for all.
class RuleCountWithin : public Rules<Property<std::int64_t>> {
public:
    using ValueType = std::int64_t;

    RuleCountWithin(const Property<const ImageModel*>* image, Components axis, const Property<std::int64_t>* first)
        : m_image(image), m_axis(axis), m_first(first) {}
    ~RuleCountWithin() override;
    void apply(Property<std::int64_t>& property) override;
    String describe() const override;

private:
    const Property<const ImageModel*>* m_image;
    Components m_axis;
    const Property<std::int64_t>* m_first;
};

using AddRuleIndexWithin = rules::RuleAdder<RuleIndexWithin, const Property<const ImageModel*>*, Components>;
using AddRuleCountWithin =
    rules::RuleAdder<RuleCountWithin, const Property<const ImageModel*>*, Components, const Property<std::int64_t>*>;

/// The map of an axis that is cut. @param count 0 for all from `first` on
AxisMap cutMap(const ImageModel& image, Components axis, std::int64_t first, std::int64_t count);

}  // namespace rix::geometry
