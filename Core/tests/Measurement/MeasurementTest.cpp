// Result objects as tools see them: through their base and the property that holds them, never by class.

#include <nlohmann/json.hpp>

#include <rix/measurement/PropertyMeasurement.h>
#include <rix/measurement/TableText.h>
#include <rix/rules/RuleSupport.h>

#include "Testing.h"

namespace rix {
namespace {

using measurement::MeasurementArray;

struct Sizes : measurement::MeasurementObject {
    static const ObjectInfo& getInfo() {
        static const ObjectInfo info(
            "Sizes", []() -> std::shared_ptr<measurement::MeasurementObject> { return std::make_shared<Sizes>(); });
        return info;
    }
    const ObjectInfo& getClassInfo() const override { return getInfo(); }
    String getDescription() const override { return "Sizes of things."; }
    std::vector<const measurement::BaseMeasurementArray*> arrays() const override { return {&length, &count, &name}; }

    MeasurementArray<double> length{"length", "How long it is.", "mm"};
    MeasurementArray<std::int64_t> count{"count", "How many there are."};
    MeasurementArray<String> name{"name", "What it is."};
};

struct Others : Sizes {
    static const ObjectInfo& getInfo() {
        static const ObjectInfo info(
            "Others", []() -> std::shared_ptr<measurement::MeasurementObject> { return std::make_shared<Others>(); });
        return info;
    }
    const ObjectInfo& getClassInfo() const override { return getInfo(); }
};

void fill(Sizes& sizes) {
    sizes.length.reset(2);
    sizes.count.reset(2);
    sizes.name.reset(2);
    sizes.length[1] = 2.5;
    sizes.count[0] = std::int64_t{1} << 60;
    sizes.name[0] = "worm";
}

TEST(Measurement, BecomesATableOfItsArrays) {
    Sizes sizes;
    fill(sizes);
    const vessel::DataFrame table = sizes.toDataFrame();
    ASSERT_EQ(table.getColumnCount(), 3U);
    EXPECT_EQ(table.getColumnInfo(0), (vessel::ColumnInfo{"length", "mm", "How long it is."}));
    EXPECT_THAT(table.getReals(0), testing::ElementsAre(0.0, 2.5));
    EXPECT_THAT(table.getIntegers(1), testing::ElementsAre(std::int64_t{1} << 60, 0));
    EXPECT_THAT(table.getTexts(2), testing::ElementsAre("worm", ""));

    sizes.count.reset(3);
    EXPECT_EQ(test::messageOf<InvalidCall>([&] { static_cast<void>(sizes.toDataFrame()); }),
              "The arrays of a Sizes make no table: \"length\" has 2 values, \"count\" has 3.");
}

TEST(Measurement, IsWrittenAsText) {
    Sizes sizes;
    fill(sizes);
    sizes.name[1] = "a \"b\", c";
    EXPECT_EQ(measurement::tableToCsv(sizes.toDataFrame()),
              "length [mm],count,name\n0,1152921504606846976,worm\n2.5,0,\"a \"\"b\"\", c\"\n");
    sizes.length[0] = -std::numeric_limits<double>::infinity();
    sizes.length[1] = -std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(measurement::tableToCsv(sizes.toDataFrame()), testing::HasSubstr("\n-inf,"));
    EXPECT_THAT(measurement::tableToCsv(sizes.toDataFrame()), testing::HasSubstr("\nnan,"));
    const auto json = nlohmann::json::parse(measurement::tableToJson(sizes.toDataFrame()))["columns"];
    EXPECT_EQ(json[0]["unit"], "mm");
    EXPECT_EQ(json[0]["description"], "How long it is.");
    EXPECT_EQ(json[0]["values"], nlohmann::json::parse("[\"-inf\", null]"));
    EXPECT_EQ(json[1]["values"][0], std::int64_t{1} << 60);
    EXPECT_EQ(json[2]["values"][1], "a \"b\", c");
}

TEST(Measurement, EnumeratesItsArraysAndCopiesThem) {
    Sizes sizes;
    fill(sizes);
    const Sizes copy = sizes;
    sizes.length[1] = 7.0;
    sizes.length.setUnit("km");
    ASSERT_EQ(copy.getNumOfArrays(), 3U);
    EXPECT_EQ(copy.getArray(2).getName(), "name");
    EXPECT_EQ(copy.findArray("length"), &copy.length);
    EXPECT_EQ(copy.findArray("width"), nullptr);
    EXPECT_EQ(copy.length[1], 2.5);
    EXPECT_EQ(copy.length.getUnit(), "mm");
    EXPECT_THROW(static_cast<void>(copy.getArray(3)), BadIndex);
}

TEST(Measurement, IsMadeAndSetWithoutKnowingItsClass) {
    PropertyMeasurement<Sizes> property;
    BaseProperty* const base = &property;
    auto* const slot = dynamic_cast<MeasurementSlot*>(base);
    ASSERT_NE(slot, nullptr);
    EXPECT_EQ(base->getImpl()->describeType(), "result object Sizes");
    EXPECT_EQ(slot->getObject(), nullptr);

    const auto object = slot->createObject();
    slot->setObject(object.get());
    ASSERT_NE(property.get(), nullptr);
    fill(*property.get());
    EXPECT_EQ(slot->getObject()->toDataFrame().getRowCount(), 2U);
    base->getImpl()->lock(true);
    slot->setObject(nullptr);
    EXPECT_EQ(slot->getObject(), object.get()) << "a locked property keeps its object";

    PropertyMeasurement<Others> narrower;
    EXPECT_THROW(narrower.setObject(object.get()), InvalidCall);
    EXPECT_EQ(narrower.get(), nullptr);
    Others other;
    narrower.setObject(&other);
    EXPECT_EQ(narrower.getObject(), &other);
}

TEST(Measurement, IsFoundInTheRegistryOfObjects) {
    Sizes::getInfo();
    const ObjectInfo& info = ObjectInfo::getObjectInfoFromName("Sizes");
    EXPECT_EQ(&info, &Sizes::getInfo());
    const std::shared_ptr<void> object = info.createInstance();
    EXPECT_EQ(static_cast<Sizes*>(object.get())->getDescription(), "Sizes of things.");
    EXPECT_EQ(info.createMeasurement()->getClassInfo().getClassName(), "Sizes");
    EXPECT_EQ(ObjectInfo::getObjectInfoFromName("MemoryImage").createMeasurement(), nullptr);
    // Classes of modules are there before anybody used them.
    EXPECT_EQ(ObjectInfo::getObjectInfoFromName("AutoThresholdingMsr").createMeasurement()->getNumOfArrays(), 1U);
}

TEST(Measurement, IsMadeByTheAlgorithmWhereARuleSaysSo) {
    PropertyMeasurement<Sizes> property;
    addRules(property, AddRuleCreateMeasurement());
    property.getImpl()->lock(true);
    property.applyRules(true);
    Sizes* const made = property.get();
    ASSERT_NE(made, nullptr);
    property.applyRules(true);
    EXPECT_EQ(property.get(), made);
    property.getImpl()->lock(false);
    Sizes own;
    property.set(&own);
    property.applyRules(true);
    EXPECT_EQ(property.get(), &own);
}

}  // namespace
}  // namespace rix
