#include <gtest/gtest.h>

#include "../src/Metadata.h"

namespace rix::io {
namespace {

TEST(Metadata, TextSurvivesItsAsciiForm) {
    for (const String& text : {String(""), String("mm"), String("µm"), String("a\\u00B5b\\"), String("\n\t\x7F"),
                               String("長さ \U0001F52C"), String("x=y")}) {
        const String escaped = escapeText(text);
        EXPECT_TRUE(std::all_of(escaped.begin(), escaped.end(), [](char c) { return c >= 0x20 && c < 0x7F; }));
        EXPECT_EQ(unescapeText(escaped), text);
    }
}

TEST(Metadata, ForeignTextIsTakenAsItCame) {
    struct Case {
        String given;
        String expected;
    };
    for (const Case& c : {Case{"\\u00B5m", "µm"}, Case{"µm", "µm"}, Case{"\xB5m", "µm"},  // Latin-1
                          Case{"\\u00G5", "\\u00G5"}, Case{"\\u00B", "\\u00B"}, Case{"\\uD83D\\uDD2C", "\U0001F52C"},
                          Case{"\\uD83Dx", "?x"}, Case{"\xE4\xB8", "ä¸"}, Case{"\\", "\\"}}) {
        EXPECT_EQ(unescapeText(c.given), c.expected);
    }
}

TEST(Metadata, LinesAreSplitAtTheFirstSignOfEquality) {
    const MetadataKeys keys = parseKeys("a=1\r\nb=x=y\n=no\nnothing\nc=\na=2");
    EXPECT_EQ(keys, (MetadataKeys{{"a", "2"}, {"b", "x=y"}, {"c", ""}}));
}

TEST(Metadata, OwnKeysOfAChangedPictureAreIgnored) {
    ImageFileInfo written;
    written.extents = {4, 3, 1, 1, 1};
    written.interpretation = RIX_LABEL;
    written.spacing[ROWS] = 0.1;
    const MetadataKeys keys = parseKeys(formatOwnKeys(written));
    for (const std::size_t columns : {4U, 5U}) {
        ImageFileInfo read;
        read.extents = {columns, 3, 1, 1, 1};
        applyOwnKeys(keys, read);
        EXPECT_EQ(read.interpretation, columns == 4 ? RIX_LABEL : RIX_VALUE);
        EXPECT_EQ(read.spacing[ROWS], columns == 4 ? 0.1 : 1.0);
    }
}

TEST(Metadata, DamagedOwnKeysLeaveDefaults) {
    for (const char* damage : {"rix_spacing=1 2 3 4", "rix_spacing=1 2 3 4 5 6", "rix_spacing=1 2 3 4 -5",
                               "rix_spacing=1 2 nan 4 5", "rix_origin=1 2 3 4 inf", "rix_origin=", "rix_color=blue",
                               "rix_directions=1 2 3", "rix_interpretation=Label"}) {
        ImageFileInfo info;
        info.extents = {4, 3, 1, 1, 1};
        applyOwnKeys(parseKeys(String("rix_size=4 3 1 1 1\n") + damage), info);
        const ImageFileInfo usual;
        EXPECT_EQ(info.spacing, usual.spacing) << damage;
        EXPECT_EQ(info.origin, usual.origin) << damage;
        EXPECT_EQ(info.colorInterpretation, UNKNOWN) << damage;
        EXPECT_EQ(info.interpretation, RIX_VALUE) << damage;
        EXPECT_EQ(info.spatialDirections, usual.spatialDirections) << damage;
    }
}

}  // namespace
}  // namespace rix::io
