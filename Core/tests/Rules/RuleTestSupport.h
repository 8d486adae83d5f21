#pragma once

#include <rix/properties/Property.h>

#include "RecordingImage.h"
#include "Testing.h"

namespace rix::test {

using Levels = std::vector<String>;

/// A property with a name, as an algorithm makes it.
template <class T>
struct NamedProperty : Property<T> {
    explicit NamedProperty(const String& name, T value = T{}) {
        this->getImpl()->setName(name);
        this->set(value);
    }
};

/// The texts of the levels of the failure, the cause first; nothing when the rules pass.
inline Levels applyRules(BaseProperty& property, bool all = true) {
    Levels levels;
    try {
        property.applyRules(all);
    } catch (const RuleException& exception) {
        for (const auto& level : exception.getLevels()) {
            levels.push_back(level.message);
        }
    }
    return levels;
}

/// The levels of a failure of the property "p", with the one that the property adds.
inline Levels refused(Levels levels) {
    levels.push_back("Rule error in property p");
    return levels;
}

/// Attaches one rule to a property named "p" and shows it values. Those that it refuses are refused by that name, the
/// first one with the levels given.
template <class T, class Adder>
void expectRule(const Adder& adder, const String& description, const std::vector<T>& accepted,
                const std::vector<T>& refusedValues = {}, const Levels& levels = {}) {
    NamedProperty<T> property("p");
    const auto rule = adder(property);
    EXPECT_EQ(rule->describe(), description);
    ASSERT_EQ(property.getImpl()->m_rules.size(), 1u);
    EXPECT_EQ(property.getImpl()->m_rules.front(), rule);
    for (std::size_t i = 0; i < accepted.size(); ++i) {
        property.getImpl()->m_value = accepted[i];
        EXPECT_EQ(applyRules(property), Levels{}) << description << ", accepted value " << i;
    }
    for (std::size_t i = 0; i < refusedValues.size(); ++i) {
        property.getImpl()->m_value = refusedValues[i];
        const Levels found = applyRules(property);
        ASSERT_FALSE(found.empty()) << description << ", refused value " << i;
        EXPECT_EQ(found.back(), "Rule error in property p");
        EXPECT_TRUE(i > 0 || levels.empty() || found == refused(levels)) << testing::PrintToString(found);
    }
}

/// Shape and types of a test image; the rest is that of a new image.
struct ImageKind {
    std::array<std::size_t, 5> extents{4, 3, 1, 1, 1};
    VoxelTypes voxelType = RIX_UINT8;
    ElementTypes elementType = SINGLE;
    Interpretations interpretation = RIX_VALUE;
    ColorInterpretation color = UNKNOWN;
};

/// Gives `image` the described shape, types and calibration. Works on any image that does not refuse.
template <class Image>
void shape(Image& image, const ImageKind& traits) {
    const auto& n = traits.extents;
    ASSERT_TRUE(image.reserve(traits.elementType, traits.voxelType, n[0], n[1], n[2], n[3], n[4]));
    ASSERT_TRUE(image.setInterpretation(traits.interpretation));
    ASSERT_TRUE(image.setColorInterpretation(traits.color));
}

}  // namespace rix::test
