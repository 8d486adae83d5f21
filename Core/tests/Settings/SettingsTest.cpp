#include "Testing.h"

namespace rix {
namespace {

TEST(Settings, TextsConvertAsAWholeOrNotAtAll) {
    Settings settings;
    const auto as = [&settings](const char* text) -> Settings& {
        settings.setValue("RIX_X", text);
        return settings;
    };
    for (const char* text : {"", "abc", "4x", " 4", "4 ", "0x10", "1e3", "99999999999", "--1", "+-1", "+"}) {
        EXPECT_EQ(as(text).getValueAsInt32("RIX_X", -7), -7) << '"' << text << '"';
    }
    EXPECT_EQ(as("-12").getValueAsInt32("RIX_X", 0), -12);
    EXPECT_EQ(as("+12").getValueAsInt32("RIX_X", 0), 12);
    EXPECT_EQ(as("99999999999").getValueAsInt64("RIX_X", 0), 99999999999L);
    EXPECT_EQ(as("-1").getValueAsSize_t("RIX_X", 5), 5U);
    EXPECT_EQ(as("18446744073709551615").getValueAsSize_t("RIX_X", 5), std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(as("1e3").getValueAsDouble("RIX_X", 0), 1000.0);
    EXPECT_EQ(as("1e400").getValueAsDouble("RIX_X", 0.5), 0.5);
    EXPECT_EQ(as("2.5 ").getValueAsFloat("RIX_X", 0.5F), 0.5F);
    settings.remove("RIX_X");
    EXPECT_FALSE(settings.exists("RIX_X"));
    EXPECT_EQ(settings.getValue("RIX_X"), "");
    EXPECT_EQ(settings.getValueAsInt32("RIX_X", 3), 3);
}

TEST(Settings, Booleans) {
    Settings settings;
    for (const char* text : {"T", "t", "True", "TRUE", "1", "7", "-1"}) {
        settings.setValue("RIX_B", text);
        EXPECT_TRUE(settings.getValueAsBool("RIX_B", false)) << text;
    }
    for (const char* text : {"F", "false", "0", "-0"}) {
        settings.setValue("RIX_B", text);
        EXPECT_FALSE(settings.getValueAsBool("RIX_B", true)) << text;
    }
    for (const char* text : {"yes", "", "1x", "truee", "0.5"}) {
        settings.setValue("RIX_B", text);
        EXPECT_TRUE(settings.getValueAsBool("RIX_B", true)) << text;
        EXPECT_FALSE(settings.getValueAsBool("RIX_B", false)) << text;
    }
}

TEST(Settings, WhatIsSetReadsBackTheSame) {
    Settings settings;
    for (const double value : {0.1, 1.0 / 3.0, 1e-300, -0.0, 1.7976931348623157e308}) {
        settings.setValueAsDouble("RIX_D", value);
        EXPECT_EQ(settings.getValueAsDouble("RIX_D", 9.0), value);
        settings.setValueAsFloat("RIX_F", static_cast<float>(1.0 / 3.0));
        EXPECT_EQ(settings.getValueAsFloat("RIX_F", 9.0F), static_cast<float>(1.0 / 3.0));
    }
    settings.setValueAsInt64("RIX_L", std::numeric_limits<long>::min());
    EXPECT_EQ(settings.getValueAsInt64("RIX_L", 0), std::numeric_limits<long>::min());
    settings.setValueAsBool("RIX_B", true);
    EXPECT_EQ(settings.getValue("RIX_B"), "true");

    Settings copy(settings);
    copy.setValue("RIX_B", "false");
    EXPECT_TRUE(settings.getValueAsBool("RIX_B", false)) << "a copy has entries of its own";
}

TEST(Settings, NamedAccessorsAndTheirDefaults) {
    Settings settings;
    EXPECT_EQ(settings.getMaximumNumberOfThreads(), -1);
    EXPECT_EQ(settings.getThreadPriority(), 0);
    EXPECT_EQ(settings.getTemporaryDataDirectory(), "/tmp");
    settings.setValue("RIX_MAXIMUM_NUMBER_OF_THREADS", "4x");
    EXPECT_EQ(settings.getMaximumNumberOfThreads(), -1);
    settings.setMaximumNumberOfThreads(4);
    EXPECT_EQ(settings.getValue("RIX_MAXIMUM_NUMBER_OF_THREADS"), "4");
    EXPECT_EQ(settings.getPluginDirectory(), "");
    settings.setPluginDirectory("~/plugins");
    EXPECT_EQ(settings.getPluginDirectory(), String(std::getenv("HOME")) + "/plugins");
    settings.setTemporaryDataDirectory("~/scratch");
    EXPECT_EQ(settings.getTemporaryDataDirectory(), String(std::getenv("HOME")) + "/scratch");
}

TEST(GlobalSettings, TakeTheVariablesOfTheEnvironmentOnce) {
    ::setenv("RIX_TEST_VALUE", "a=b=c", 1);
    ::setenv("RIX_TEST_EMPTY", "", 1);
    ::setenv("RIX_", "x", 1);
    ::setenv("XRIX_TEST", "x", 1);
    const GlobalSettings settings;
    EXPECT_EQ(settings.getValue("RIX_TEST_VALUE"), "a=b=c");
    EXPECT_TRUE(settings.exists("RIX_TEST_EMPTY"));
    EXPECT_EQ(settings.getValueAsInt32("RIX_TEST_EMPTY", 6), 6);
    EXPECT_FALSE(settings.exists("RIX_"));
    EXPECT_FALSE(settings.exists("XRIX_TEST"));
    ::setenv("RIX_TEST_LATER", "1", 1);
    EXPECT_FALSE(settings.exists("RIX_TEST_LATER"));
    for (const char* name : {"RIX_TEST_VALUE", "RIX_TEST_EMPTY", "RIX_", "XRIX_TEST", "RIX_TEST_LATER"}) {
        ::unsetenv(name);
    }
    EXPECT_EQ(&globalSettings(), &globalSettings());
}

}  // namespace
}  // namespace rix
