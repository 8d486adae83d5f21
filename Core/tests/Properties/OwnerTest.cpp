#include <rix/algorithms/AbstractPrivateImplementation.h>
#include <rix/algorithms/AlgoInfo.h>
#include <rix/algorithms/BaseAlgorithm.h>
#include <rix/properties/PropertyMultipleChoices.h>
#include <rix/properties/PropertySingleChoice.h>

#include "Testing.h"

namespace rix {
namespace {

const EnumInfo& choices() {
    static const EnumInfo info("Axes", "NONE = 0, BY_PLANE = 1, BY_CHANEL=2, BY_TIME_STEP=4");
    return info;
}

/// An algorithm that counts what its properties tell it.
class Owner : public BaseAlgorithm {
public:
    Owner() : BaseAlgorithm(new algorithms::AbstractPrivateImplementation) {
        addInput(number, "number", "a number");
        addInput(text, "text", "a text");
        addInput(single, "single", "a choice");
        addInput(multiple, "multiple", "some choices");
        addOutput(result, "result", "the result");
    }
    AlgoInfo& getClassInfo() const override {
        static AlgoInfo info("Owner", "test", nullptr, AlgoVisibilityType::HIDDEN_ALGORITHM, "");
        return info;
    }
    void onPropertyChanged(BaseProperty* property) override { changed.push_back(property); }
    /// The number of notifications since the last call, which must all come from `property`.
    std::size_t countOf(const BaseProperty& property) {
        for (const BaseProperty* source : changed) {
            EXPECT_EQ(source, &property);
        }
        const std::size_t count = changed.size();
        changed.clear();
        return count;
    }

    Property<double> number;
    Property<String> text;
    PropertySingleChoice single{&choices()};
    PropertyMultipleChoices multiple{&choices()};
    Property<double> result;
    std::vector<BaseProperty*> changed;
};

TEST(OwnedProperty, SettingNotifiesOfChangesOnly) {
    Owner owner;
    owner.changed.clear();
    owner.number.set(0.0);
    EXPECT_EQ(owner.countOf(owner.number), 0U);
    owner.number.set(2.5);
    EXPECT_EQ(owner.countOf(owner.number), 1U);
    owner.number = 2.5;
    EXPECT_EQ(owner.countOf(owner.number), 0U);
    Property<double> other;
    other = 3.5;
    owner.number = other;
    EXPECT_EQ(owner.countOf(owner.number), 1U);
    owner.number.setFromBase(&other);
    EXPECT_EQ(owner.countOf(owner.number), 0U);
    owner.number.notify();
    EXPECT_EQ(owner.countOf(owner.number), 1U);
    owner.number = 0.0;
    EXPECT_EQ(owner.countOf(owner.number), 1U);
    owner.number = -0.0;
    EXPECT_EQ(owner.countOf(owner.number), 1U) << "equal, but another value";
    EXPECT_TRUE(std::signbit(owner.number.get()));
}

TEST(OwnedProperty, ReadingNotifiesAlsoOfTheSameValue) {
    Owner owner;
    String normalised;
    owner.number = 2.5;
    owner.changed.clear();
    EXPECT_TRUE(owner.number.read("2.5", normalised));
    EXPECT_EQ(owner.countOf(owner.number), 1U);
    EXPECT_FALSE(owner.number.read("x", normalised));
    EXPECT_EQ(owner.countOf(owner.number), 0U);
    EXPECT_TRUE(owner.text.read("", normalised));
    EXPECT_EQ(owner.countOf(owner.text), 1U);
}

TEST(OwnedProperty, ReadingAChoiceNotifiesOfChangesOnly) {
    Owner owner;
    owner.changed.clear();
    String normalised;
    EXPECT_TRUE(owner.single.read("BY_PLANE", normalised));
    EXPECT_EQ(owner.countOf(owner.single), 1U);
    EXPECT_TRUE(owner.single.read("1", normalised));
    EXPECT_FALSE(owner.single.read("8", normalised));
    EXPECT_EQ(owner.countOf(owner.single), 0U);
    EXPECT_TRUE(owner.multiple.read("BY_PLANE|BY_TIME_STEP", normalised));
    EXPECT_EQ(owner.countOf(owner.multiple), 1U);
    EXPECT_TRUE(owner.multiple.read("5", normalised));
    EXPECT_FALSE(owner.multiple.read("BY_PLANE|8", normalised));
    EXPECT_EQ(owner.countOf(owner.multiple), 0U);
    EXPECT_EQ(owner.multiple = 2, 2);
    EXPECT_EQ(owner.countOf(owner.multiple), 1U);
}

}  // namespace
}  // namespace rix
