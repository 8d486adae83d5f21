#include <rix/properties/RarePropertyInstances.h>

#include "Testing.h"

namespace rix {
namespace {

TEST(Property, KeepsTheVersionInTenths) {
    Property<int> property;
    for (const auto& [version, tenths] : std::vector<std::pair<double, int>>{
             {2.19, 21},
             {1.25, 12},
             {2, 20},
             {-1.25, -12},
             {0.09, 0},
             {1e300, std::numeric_limits<int>::min()},
             {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<int>::min()}}) {
        property.setVersion(version);
        EXPECT_EQ(property.getVersion(), tenths) << version;
    }
}

struct CountingProvider : DataRangeProvider {
    explicit CountingProvider(int& counter) : count(counter) {}
    ~CountingProvider() override { ++count; }
    bool getRange(const BaseProperty&, double&, double&) const override { return true; }
    int& count;
};

TEST(Property, OwnsItsDataRangeProvider) {
    int destroyed = 0;
    {
        Property<int> property;
        EXPECT_EQ(property.getDataRangeProvider(), nullptr);
        property.getImpl()->setDataRangeProvider(std::make_unique<CountingProvider>(destroyed));
        EXPECT_NE(property.getDataRangeProvider(), nullptr);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Property, SetsReadsAndWrites) {
    Property<int> property;
    property.set(3);
    EXPECT_EQ(property.get(), 3);
    EXPECT_EQ(property = 4, 4);
    const int converted = property;
    EXPECT_EQ(converted, 4);
    Property<int> other;
    other = property;
    EXPECT_EQ(other.get(), 4);
    String text;
    EXPECT_TRUE(property.read("12x", text));
    EXPECT_EQ(text, "12x");
    EXPECT_EQ(property.get(), 12);
    EXPECT_FALSE(property.read("x", text));
    EXPECT_EQ(property.get(), 12);
    EXPECT_TRUE(property.write(text));
    EXPECT_EQ(text, "12");
}

TEST(Property, IgnoresChangesWhileLocked) {
    Property<String> property;
    property = String("before");
    property.getImpl()->lock(true);
    EXPECT_TRUE(property.isLocked());
    String normalised = "untouched";
    property.set("after");
    EXPECT_EQ(property = String("after"), "before");
    Property<String> other;
    other = String("after");
    property = other;
    property.setFromBase(&other);
    EXPECT_FALSE(property.read("after", normalised));
    EXPECT_EQ(normalised, "untouched");
    EXPECT_EQ(property.get(), "before");
    String text;
    EXPECT_TRUE(property.write(text));
    EXPECT_EQ(text, "before");
    property.getImpl()->lock(false);
    EXPECT_EQ(property = String("after"), "after");
}

TEST(Property, CopiesFromPropertiesOfItsTypeOnly) {
    Property<int> radius;
    Property<int> other;
    Property<double> factor;
    other = 5;
    factor.getImpl()->setName("factor");
    radius.setFromBase(&other);
    EXPECT_EQ(radius.get(), 5);
    if (const auto error = test::failureOf<InvalidCall>([&] { radius.setFromBase(&factor); })) {
        for (const char* part : {"factor", "rix::Property<double>", "rix::Property<int>"}) {
            EXPECT_NE(error->getMessage().find(part), String::npos) << error->getMessage();
        }
    }
    EXPECT_THROW(radius.setFromBase(nullptr), InvalidCall);
    const BaseProperty& base = other;
    EXPECT_EQ(helper::safe_cast<Property<int>>(&base), &other);
    EXPECT_THROW((void)helper::safe_cast<Property<bool>>(&base), InvalidCall);
}

/// Writes its letter into a log; throws when told to.
struct LoggingRule : Rules<Property<int>> {
    LoggingRule(String& target, char ownLetter, bool aloneToo = false, bool failing = false)
        : log(target), letter(ownLetter), individual(aloneToo), fails(failing) {}
    bool isIndividual() const override { return individual; }
    void apply(Property<int>& property) override {
        log += letter;
        if (fails) {
            throw RuleException("refused " + std::to_string(property.get()));
        }
    }
    String describe() const override { return String("rule ") + letter; }

    String& log;
    char letter;
    bool individual;
    bool fails;
};

TEST(Property, AppliesItsRulesInOrder) {
    String log;
    Property<int> property;
    property.getImpl()->setName("radius");
    const auto first = std::make_shared<LoggingRule>(log, 'a');
    property.getImpl()->addRule(first);
    property.getImpl()->addRule(std::make_shared<LoggingRule>(log, 'b', true));
    property.getImpl()->addRule(first);
    property.applyRules(true);
    EXPECT_EQ(log, "aba");
    log.clear();
    property.applyRules(false);
    EXPECT_EQ(log, "b");
    EXPECT_EQ(property.getImpl()->describeRules(), (std::vector<String>{"rule a", "rule b", "rule a"}));

    log.clear();
    property.getImpl()->removeRule(first);
    property.getImpl()->removeRule(std::make_shared<LoggingRule>(log, 'c'));
    property.applyRules(true);
    EXPECT_EQ(log, "ba");

    log.clear();
    property.getImpl()->disable();
    property.applyRules(true);
    EXPECT_EQ(log, "");
    property.getImpl()->enable(true);

    property.getImpl()->addRule(std::make_shared<LoggingRule>(log, 'x', true, true));
    property.getImpl()->addRule(std::make_shared<LoggingRule>(log, 'y', true));
    property = 7;
    if (const auto error = test::failureOf<RuleException>([&] { property.applyRules(true); })) {
        EXPECT_EQ(error->getMessage(), "refused 7");
        EXPECT_EQ(error->getLevels().back().message, "Rule error in property radius");
    }
    EXPECT_EQ(log, "bax");
}

template <class T>
struct Tag {
    using Type = T;
};

/// Calls `check` with every value type that the library compiles properties of.
template <class Check>
void forEveryValueType(const Check& check){
#define RIX_CHECK_PROPERTY(...) check(Tag<__VA_ARGS__>());
    RIX_FOR_SIMPLE_PROPERTIES(RIX_CHECK_PROPERTY) RIX_FOR_IMAGE_PROPERTIES(RIX_CHECK_PROPERTY)
        RIX_FOR_MATRIX_PROPERTIES(RIX_CHECK_PROPERTY) RIX_FOR_LIST_PROPERTIES(RIX_CHECK_PROPERTY)
            RIX_FOR_LIST_POINTER_PROPERTIES(RIX_CHECK_PROPERTY) RIX_FOR_OBJECT_PROPERTIES(RIX_CHECK_PROPERTY)
#undef RIX_CHECK_PROPERTY
}

TEST(Property, ExistsForEveryValueType) {
    int types = 0;
    forEveryValueType([&](auto tag) {
        using T = typename decltype(tag)::Type;
        SCOPED_TRACE(ValueTypeName<T>::get());
        Property<T> property;
        Property<T> other;
        EXPECT_TRUE(property.get() == T{});
        EXPECT_FALSE(property.get() != T{});
        EXPECT_NE(property.getImpl()->describeType(), "object");
        property.set(T{});
        property.setFromBase(&other);
        if (std::is_pointer_v<T>) {
            String text;
            EXPECT_FALSE(property.write(text));
            EXPECT_FALSE(property.read("0", text));
        }
        ++types;
    });
    EXPECT_EQ(types, 83);
}

TEST(SmallValues, KeepTheirElementsInOrder) {
    math::Vector4<int> four{1, 2, 3, 4};
    math::Vector3<int> three{1, 2, 3};
    math::Vector2<int> two{1, 2};
    four[3] = three[2] = two[1] = 9;
    EXPECT_EQ(four, (math::Vector4<int>{1, 2, 3, 9}));
    EXPECT_EQ(three, (math::Vector3<int>{1, 2, 9}));
    EXPECT_EQ(two, (math::Vector2<int>{1, 9}));
    math::Matrix3<double> matrix;
    matrix(1, 2) = 6;
    EXPECT_EQ(matrix.values[5], 6);
    const kernel::Kernel2D plane(3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(plane.at(0, 1), 4);
    EXPECT_NE(plane, kernel::Kernel2D(2, 3, {1, 2, 3, 4, 5, 6}));
    const kernel::Kernel3D space(2, 1, 2, {1, 2, 3, 4});
    EXPECT_EQ(space.at(1, 0, 1), 4);
    EXPECT_THROW(kernel::Kernel2D(2, 2, {1, 2, 3}), InvalidCall);
    // 2^32 * 2^32 wraps to 0, the number of coefficients given.
    EXPECT_THROW(kernel::Kernel2D(1UL << 32, 1UL << 32, {}), InvalidCall);
    EXPECT_THROW(kernel::Kernel3D(1UL << 32, 1UL << 16, 1UL << 16, {}), InvalidCall);
}

}  // namespace
}  // namespace rix
