#include "WithinImage.h"

#include <string>

namespace rix::geometry {

namespace {

String axisText(const Property<const ImageModel*>& image, Components axis) {
    return rules::quotedName(image) + " has " + std::to_string(image.get()->getNumOf(axis)) + " on the axis \"" +
           helper::componentToString(axis) + "\".";
}

}  // namespace

RuleIndexWithin::~RuleIndexWithin() = default;

void RuleIndexWithin::apply(Property<std::int64_t>& property) {
    const std::int64_t index = property.get();
    if (index < 0 || static_cast<std::uint64_t>(index) >= m_image->get()->getNumOf(m_axis)) {
        rules::refuse(rules::parameterText(property) + " must be the index of an element.",
                      "It is " + std::to_string(index) + "; " + axisText(*m_image, m_axis));
    }
}

String RuleIndexWithin::describe() const {
    return "must be the index of an element of " + m_image->getName() + " on the axis \"" +
           helper::componentToString(m_axis) + "\"";
}

RuleCountWithin::~RuleCountWithin() = default;

void RuleCountWithin::apply(Property<std::int64_t>& property) {
    const std::int64_t count = property.get();
    const auto left = m_image->get()->getNumOf(m_axis) - static_cast<std::size_t>(m_first->get());
    if (count < 0 || static_cast<std::uint64_t>(count) > left) {
        rules::refuse(rules::parameterText(property) + " must be at most " + std::to_string(left) +
                          ", the elements from " + rules::quotedName(*m_first) + " = " +
                          std::to_string(m_first->get()) + " on, or 0 for all of these.",
                      "It is " + std::to_string(count) + "; " + axisText(*m_image, m_axis));
    }
}

String RuleCountWithin::describe() const {
    return "must be the number of elements from " + m_first->getName() + " on, or 0 for all of them";
}

AxisMap cutMap(const ImageModel& image, Components axis, std::int64_t first, std::int64_t count) {
    AxisMap map;
    map.source = axis;
    map.first = first;
    map.extent = count > 0 ? static_cast<std::size_t>(count) : image.getNumOf(axis) - static_cast<std::size_t>(first);
    return map;
}

}  // namespace rix::geometry
