#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include <rix/image/MemoryImage.h>
#include <rix/properties/Property.h>

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

/// A value, and the levels that a rule refuses it with; none when it accepts the value.
template <class T>
struct Case {
    T value;
    Levels levels;
};

/// Attaches one rule to a property named "p" and shows it every value.
template <class T, class Adder>
void expectRule(const Adder& adder, const String& description, const std::vector<Case<T>>& cases) {
    NamedProperty<T> property("p");
    const auto rule = adder(property);
    EXPECT_EQ(rule->describe(), description);
    ASSERT_EQ(property.getImpl()->m_rules.size(), 1u);
    EXPECT_EQ(property.getImpl()->m_rules.front(), rule);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(description + ", case " + std::to_string(i));
        property.getImpl()->m_value = cases[i].value;
        EXPECT_EQ(applyRules(property), cases[i].levels.empty() ? Levels{} : refused(cases[i].levels));
    }
}

/// Shape and types of a test image; the rest is that of a new image.
struct ImageTraits {
    std::array<std::size_t, 5> extents{4, 3, 1, 1, 1};
    VoxelTypes voxelType = RIX_UINT8;
    ElementTypes elementType = SINGLE;
    Interpretations interpretation = RIX_VALUE;
    ColorInterpretation color = UNKNOWN;
};

/// Gives `image` the described shape, types and calibration. Works on any image that does not refuse.
template <class Image>
void shape(Image& image, const ImageTraits& traits) {
    const auto& n = traits.extents;
    ASSERT_TRUE(image.reserve(traits.elementType, traits.voxelType, n[0], n[1], n[2], n[3], n[4]));
    ASSERT_TRUE(image.setInterpretation(traits.interpretation));
    ASSERT_TRUE(image.setColorInterpretation(traits.color));
}

/// An image that counts what is asked of it, and refuses everything that changes it when told to.
class RecordingImage : public io::MemoryImage {
public:
    bool m_refuses = false;
    std::vector<String> m_calls;

    bool setOriginOf(const Components& c, double v) override {
        return record("origin") && MemoryImage::setOriginOf(c, v);
    }
    bool setSpacingOf(const Components& c, double v) override {
        return record("spacing") && MemoryImage::setSpacingOf(c, v);
    }
    bool setSpatialUnitName(const String& v) override {
        return record("spatial unit") && MemoryImage::setSpatialUnitName(v);
    }
    bool setSequenceUnitName(const String& v) override {
        return record("sequence unit") && MemoryImage::setSequenceUnitName(v);
    }
    bool setSpatialDirections(const vessel::SpatialDirections& v) override {
        return record("directions") && MemoryImage::setSpatialDirections(v);
    }
    bool setInterpretation(const Interpretations& v) override {
        return record("interpretation") && MemoryImage::setInterpretation(v);
    }
    bool setColorInterpretation(ColorInterpretation v) override {
        return record("color") && MemoryImage::setColorInterpretation(v);
    }
    bool reserve(const VoxelTypes& type, std::size_t x, std::size_t y, std::size_t z, std::size_t t,
                 std::size_t s) override {
        return record("reserve") && MemoryImage::reserve(SINGLE, type, x, y, z, t, s);
    }
    bool reserve(const ElementTypes& element, const VoxelTypes& type, std::size_t x, std::size_t y, std::size_t z,
                 std::size_t t, std::size_t s) override {
        return record("reserve") && MemoryImage::reserve(element, type, x, y, z, t, s);
    }

private:
    bool record(const char* call) {
        m_calls.emplace_back(call);
        return !m_refuses;
    }
};

}  // namespace rix::test
