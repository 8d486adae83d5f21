#include <locale>

#include <rix/properties/Serialization.h>

#include "Testing.h"

namespace rix {
namespace {

/// Reads texts over a value that none of them means: a refused text must leave it, and `normalised`, alone.
template <class T>
void expectRead(const T& untouched, const std::vector<std::pair<String, T>>& accepted,
                const std::vector<String>& refused) {
    for (const auto& [text, expected] : accepted) {
        T value = untouched;
        String normalised;
        EXPECT_TRUE(Deserialization<T>::doIt(text, value, normalised)) << '"' << text << '"';
        EXPECT_TRUE(value == expected) << '"' << text << '"';
        EXPECT_EQ(normalised, text);
    }
    for (const String& text : refused) {
        T value = untouched;
        String normalised = "untouched";
        EXPECT_FALSE(Deserialization<T>::doIt(text, value, normalised)) << '"' << text << '"';
        EXPECT_TRUE(value == untouched) << '"' << text << '"';
        EXPECT_EQ(normalised, "untouched");
    }
}

template <class T>
void expectWritten(const T& value, const String& expected) {
    String text = "untouched";
    EXPECT_TRUE(Serialization<T>::doIt(text, value));
    EXPECT_EQ(text, expected);
}

TEST(TextForms, ReadsIntegersAsAStreamDoes) {
    expectRead<int>(77,
                    {{"12", 12},
                     {"  -5", -5},
                     {"+5", 5},
                     {"007", 7},
                     {"12abc", 12},
                     {"3.9", 3},
                     {"0x10", 0},
                     {"2147483647", 2147483647},
                     {"-2147483648", std::numeric_limits<int>::min()}},
                    {"2147483648", "-2147483649", "99999999999999999999999", "", "   ", "abc", "-", "- 5"});
    expectRead<unsigned int>(77, {{"4294967295", 4294967295U}, {"-1", 4294967295U}}, {"4294967296", "x"});
    expectRead<long>(77, {{"-9223372036854775808", std::numeric_limits<long>::min()}}, {"9223372036854775808"});
    expectRead<unsigned long>(77, {{"18446744073709551615", std::numeric_limits<unsigned long>::max()}},
                              {"18446744073709551616"});
    expectRead<unsigned char>(77, {{"0", 0}, {"255", 255}}, {"256", "a"});
}

TEST(TextForms, ReadsRealsAsAStreamDoes) {
    expectRead<double>(77.0,
                       {{"2.5xyz", 2.5},
                        {" -1e-3", -0.001},
                        {".5", 0.5},
                        {"5.", 5.0},
                        {"1.7976931348623157e308", std::numeric_limits<double>::max()},
                        {"2,5", 2.0}},
                       {"-1e999", "", ".", "e5", "nan", "inf"});
}

TEST(TextForms, ReadsBooleans) {
    expectRead<bool>(true, {{"false", false}, {"0", false}, {"00", false}}, {});
    expectRead<bool>(false, {{"true", true}, {"1", true}, {" 1x", true}}, {"True", "true ", "2", "-1", ""});
}

TEST(TextForms, WritesNumbers) {
    expectWritten(true, "1");
    expectWritten(false, "0");
    expectWritten(std::numeric_limits<int>::min(), "-2147483648");
    expectWritten(4294967295U, "4294967295");
    expectWritten(std::numeric_limits<long>::min(), "-9223372036854775808");
    expectWritten(std::numeric_limits<unsigned long>::max(), "18446744073709551615");
    expectWritten(static_cast<unsigned char>(65), "65");
    expectWritten(0.1234567, "0.123457");
    expectWritten(Scalar(-3), "-3");
    expectWritten(Scalar(18446744073709551615U), "18446744073709551615");
    expectWritten(Scalar(0.1234567), "0.123457");
    expectWritten(3.0, "3");
    expectWritten(1234567.0, "1.23457e+06");
    expectWritten(-0.0, "-0");
    expectWritten(std::numeric_limits<double>::infinity(), "inf");
    expectWritten(std::numeric_limits<double>::quiet_NaN(), "nan");
}

struct GroupingPunctuation : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(TextForms, DoNotDependOnTheLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GroupingPunctuation));
    expectWritten(1234567, "1234567");
    expectWritten(0.5, "0.5");
    expectWritten(Scalar(2.5), "2.5");
    expectRead<double>(77.0, {{"2.5", 2.5}}, {});
    expectRead<int>(77, {{"1.000", 1}}, {});
    expectRead<Scalar>(Scalar(77), {{"2.5", 2.5}}, {});
    std::locale::global(before);
}

TEST(TextForms, KeepTexts) {
    expectRead<String>("x", {{"", ""}, {" a\tb\n", " a\tb\n"}}, {});
    expectWritten(String(" a\tb "), " a\tb ");
}

TEST(TextForms, NamesFilesAfterTheirPath) {
    const std::vector<std::pair<String, String>> cases{
        {"/data/cell.tif", "cell_tif"},
        {"cell.tar.gz", "cell.tar_gz"},
        {"a.b/cell", "cell"},
        {"C:\\data\\cell.png", "cell_png"},
        {"a\\b/c.d", "c_d"},
        {"dir/", ""},
        {"", ""},
        {".hidden", "_hidden"},
        {"a//b", "b"},
        {"..", "._"},
    };
    for (const auto& [text, name] : cases) {
        FilePath path("before");
        String normalised;
        EXPECT_TRUE(Deserialization<FilePath>::doIt(text, path, normalised));
        EXPECT_EQ(normalised, name);
        expectWritten(path, text);
    }
    EXPECT_NE(FilePath("a//b"), FilePath("a/b"));
}

TEST(TextForms, ReadsScalarsStrictly) {
    expectRead<Scalar>(Scalar(77),
                       {{"3", 3U},
                        {"+3", 3},
                        {"-3", -3},
                        {"3.", 3.0},
                        {".5", 0.5},
                        {"-.5", -0.5},
                        {"+0.5", 0.5},
                        {"1.5e3", 1500.0},
                        {"-0.1", -0.1},
                        {"18446744073709551615", 18446744073709551615U},
                        {"-9223372036854775808", std::numeric_limits<long>::min()}},
                       {"",
                        " 3",
                        "3 ",
                        "3x",
                        "3.x",
                        "1e3",
                        ".",
                        "-",
                        "+",
                        "+-3",
                        "--3",
                        "+-3.5",
                        "++3.5",
                        "1.2.3",
                        "1.e999",
                        "18446744073709551616",
                        "+9223372036854775808",
                        "0x1.8p1",
                        "nan",
                        "inf."});
}

template <class Vector>
void expectVector(const String& text, const Vector& expected, const String& expectedName) {
    SCOPED_TRACE('"' + text + '"');
    Vector value;
    String normalised;
    EXPECT_TRUE(Deserialization<Vector>::doIt(text, value, normalised));
    EXPECT_TRUE(value == expected);
    EXPECT_EQ(normalised, expectedName);
}

TEST(TextForms, ReadsVectors) {
    expectVector<math::Vector2<int>>("@v2:1_-2", {1, -2}, "1_-2");
    expectVector<math::Vector2<double>>("@v2:0.5_1e-05", {0.5, 1e-05}, "0.5_1e-05");
    expectVector<math::Vector3<int>>("@v3:1_2_3", {1, 2, 3}, "1_2_3");
    expectVector<math::Vector3<double>>("@v3: 1x_2.5_3", {1, 2.5, 3}, " 1x_2.5_3");
    expectVector<math::Vector3<unsigned int>>("@v3:0_4294967295_3", {0, 4294967295U, 3}, "0_4294967295_3");
    const math::Vector2<int> two{7, 8};
    expectRead<math::Vector2<int>>(
        two, {}, {"@v2:", "@v2:1", "@v2:1_", "@v2:_1", "@v2:1_x", "@v2:1_2_3", "@v3:1_2", "1_2", " @v2:1_2", ""});
    const math::Vector3<double> three{7, 8, 9};
    expectRead<math::Vector3<double>>(
        three, {}, {"@v3:", "@v3", "@v3:1_2", "@v3:1__3", "@v3:1_2_3_", "@v3:1_2_3_4", "@v3:1_2_1e999", "@v2:1_2_3"});
}

template <class T>
void expectRoundTrip(const T& value, const String& text) {
    expectWritten(value, text);
    T back{};
    String normalised;
    EXPECT_TRUE(Deserialization<T>::doIt(text, back, normalised)) << text;
    EXPECT_TRUE(back == value) << text;
}

TEST(TextForms, ReadWhatTheyWrite) {
    expectRoundTrip(math::Vector2<double>{-0.25, 1e300}, "@v2:-0.25_1e+300");
    expectRoundTrip(math::Vector2<int>{-1, 2}, "@v2:-1_2");
    expectRoundTrip(math::Vector2<unsigned int>{4294967295U, 0}, "@v2:4294967295_0");
    expectRoundTrip(container::Vector<double>{0.5, -2, 1e-07}, "@v:0.5#-2#1e-07");
    expectRoundTrip(container::Vector<double>{}, "@v:");
    expectRoundTrip(container::Vector<unsigned char>{0, 255}, "@v:0#255");
    expectRoundTrip(container::Vector<long>{std::numeric_limits<long>::min()}, "@v:-9223372036854775808");
    expectRoundTrip(container::Vector<math::Vector2<int>>{{1, 2}, {-3, 4}}, "@v:@v2:1_2#@v2:-3_4");
}

TEST(TextForms, RefusesMalformedLists) {
    const container::Vector<int> before{7};
    expectRead<container::Vector<int>>(before, {},
                                       {"", "1#2", "@v", "@v:#", "@v:1#", "@v:#1", "@v:1##2", "@v:1#x", "@v2:1_2"});
}

template <class T>
void expectNoTextForm() {
    SCOPED_TRACE(ValueTypeName<T>::get());
    T value{};
    String text;
    EXPECT_FALSE(Serialization<T>::doIt(text, value));
    for (const char* input : {"", "0", "@v3:1_2_3", "@v:"}) {
        EXPECT_FALSE(Deserialization<T>::doIt(input, value, text));
    }
}

TEST(TextForms, AreMissingWhereTheyAreNotDefined) {
    expectNoTextForm<ScalarArray>();
    expectNoTextForm<math::Vector4<double>>();
    expectNoTextForm<math::Matrix3<float>>();
    expectNoTextForm<vessel::Matrix<double, 4>>();
    expectNoTextForm<ImageModel*>();
    expectNoTextForm<const container::Vector<int>*>();
    expectNoTextForm<std::shared_ptr<vessel::ImageView>>();
    expectNoTextForm<kernel::Kernel2D>();
    String text = "untouched";
    EXPECT_FALSE(Serialization<math::Vector3<int>>::doIt(text, {}));
    const container::Vector<math::Vector3<int>> list(1);
    EXPECT_FALSE(Serialization<container::Vector<math::Vector3<int>>>::doIt(text, list));
    EXPECT_EQ(text, "");
}

TEST(TextForms, NamesTypesForUsers) {
    enum Nested { ONE };
    EXPECT_EQ(ValueTypeName<unsigned long>::get(), "non-negative integer");
    EXPECT_EQ(ValueTypeName<Nested>::get(), "choice");
    EXPECT_EQ(ValueTypeName<const ImageModel*>::get(), "input image");
    EXPECT_EQ(ValueTypeName<math::Matrix2<float>>::get(), "2 x 2 matrix of numbers");
    EXPECT_EQ(ValueTypeName<container::Vector<math::Vector3<int>>>::get(), "list of vectors of 3 integers");
    EXPECT_EQ(ValueTypeName<std::shared_ptr<const vessel::DataFrameView>>::get(), "table");
    EXPECT_EQ(ValueTypeName<int*>::get(), "integer");
}

}  // namespace
}  // namespace rix
