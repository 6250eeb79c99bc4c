#include "display/NumberFormatter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "base/Text.h"
#include "display/FormatRun.h"
#include "display/LocaleSettings.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

std::string Narrow(WideView text) {
    std::string out(Utf8Length(text), '\0');
    Utf8FromWide(text, out.data());
    return out;
}

class NumberFormatter : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        ASSERT_TRUE(ReadLocaleSettings());
    }
    void TearDown() override {
        UseHeadlessPlatform();
        EXPECT_TRUE(ReadLocaleSettings());
        ResetHeadlessPlatform();
    }
    static std::string Shown(double value, WideView format, u16* colour = nullptr) {
        WideText out;
        EXPECT_TRUE(FormatNumber(value, format, nullptr, 0, false, colour, out));
        return Narrow(out);
    }
};

struct Row {
    double value;
    WideView format;
    const char* expected;
};

TEST_F(NumberFormatter, PlaceholdersGroupingAndScaling) {
    const Row rows[] = {
        {1234567, u"#,##0", "1,234,567"},
        {1234, u"#,##0", "1,234"},
        {5, u"0,000", "0,005"},
        {0, u"#", ""},
        {0, u"#.##", "."},
        {1.5, u"0.00", "1.50"},
        {1.005, u"0.00", "1.01"},
        {-1.5, u"0", "-2"},
        {0.5, u"0%", "50%"},
        {0.1234, u"0.0%", "12.3%"},
        {1234567, u"0,", "1235"},
        {1234567, u"0.0,,", "1.2"},
        {12, u"000", "012"},
        {1.5, u"?0.0?", " 1.5 "},
        {1234567, u"#,", "1235"},
        {1234567, u"0,.00", "1234.57"},
        {1234567890, u"#,##0.0,,,\"B\"", "1.2B"},
        {123450, u"0.##,", "123.45"},
        {1234.5, u"$#,##0.00", "$1,234.50"},
        {7, u"\"a\"\"b\"0", "a\"b7"},
        {7, u"\\x0_)", "x7 "},
        {3, u"[$kr-414] 0", "kr 3"},
        {1234.5678, u"General", "1234.5678"},
        {12345678901234567.0, u"0", "12345678901234600"},
        {999999999999999.9, u"0.0", "1000000000000000.0"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, WhatRoundsToZeroHasNoMinus) {
    const Row rows[] = {
        {-0.001, u"0", "0"},
        {-0.001, u"0.00", "0.00"},
        {-0.001, u"#", ""},
        {-0.4, u"#,##0", "0"},
        {-0.001, u"0%", "0%"},
        {-0.006, u"0%", "-1%"},
        {-499, u"0,", "0"},
        {-500, u"0,", "-1"},
        {-0.05, u"# ?/?", "0    "},
        {-0.06, u"# ?/?", "- 1/9"},
        {-1, u"0.00", "-1.00"},
        {-0.001, u"0.0E+0", "-10.0E-4"},
        {-0.001, u"0;(0)", "(0)"},
        {-3, u"\"text\"", "-text"},
        {-0.25, u"h:mm", "-6:00"},
        {-0.001, u"General", "-0.001"},
        {-0.004, u"0.00 \"x\"", "0.00 x"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, CommasBetweenPlacesSeparateThousandsOnly) {
    const Row rows[] = {
        {1234, u"#,#", "1,234"},
        {12, u"#,#", "12"},
        {1234567, u"#,#", "1,234,567"},
        {1234567, u"#,###", "1,234,567"},
        {0, u"#,#", ""},
        {5, u"0,000,000", "0,000,005"},
        {1234567, u"#,###,##0", "1,234,567"},
        {1234, u"#,,#", "1,234"},
        {123, u"?,???", "  123"},
        {1234.5, u"#,#.0", "1,234.5"},
        {1234567, u"#,#\"x\"0", "1,234,56x7"},
        {1234, u"(,0", "(,1234"},
        {1234, u",0", ",1234"},
        {1234, u"0\"x\",0", "123x,4"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, OptionalPlacesDropTrailingZeros) {
    const Row rows[] = {
        {1.1, u"0.##", "1.1"},       {0.6, u"0.##", "0.6"},        {1.5, u"0.##", "1.5"},
        {1.25, u"0.##", "1.25"},     {1, u"0.##", "1."},           {1.1, u"0.0?", "1.1 "},
        {99.96, u"?.???", "99.96 "}, {1.1, u"0.0########", "1.1"}, {123.456, u"0.##%", "12345.6%"},
        {0.1, u"#.##", ".1"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, DigitsThatAreShownAsTheyStandAreNoPlaces) {
    const Row rows[] = {
        {7, u"0\"0\"", "70"},      {7, u"\"0\"0", "07"},         {7, u"0\\0", "70"},
        {7, u"0_0", "7 "},         {7, u"\\00", "07"},           {1.25, u"0.0\"5\"", "1.35"},
        {7, u"[$0-404]0", "07"},   {7, u"[$-409]0", "7"},        {1.25, u"0.0\\00", "1.205"},
        {12, u"0\"#0\"0", "1#02"}, {1.5, u"0.0[00]", "1.5[00]"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, SectionsAreChosenByValueAndCondition) {
    const Row rows[] = {
        {-1, u"0.00;;", ""},
        {0, u"0.00;", "0.00"},
        {1, u";;;", ""},
        {-1, u";;;", ""},
        {0, u";;;", ""},
        {5, u"[>100]0.0;0", "5"},
        {-5, u"[>100]0.0;0", "5"},
        {200, u"[>100]0.0;0", "200.0"},
        {-5, u"0;(0)", "(5)"},
        {0, u"0;(0);\"nil\"", "nil"},
        {-5, u"0", "-5"},
        {5, u"[=5]\"five\";[=6]\"six\";0", "five"},
        {6, u"[=5]\"five\";[=6]\"six\";0", "six"},
        {7, u"[=5]\"five\";[=6]\"six\";0", "7"},
        {-7, u"[=5]\"five\";[=6]\"six\";0", "-7"},
        {3, u"[Red]", "3"},
        {3, u"0;0;0;0;0", "3"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, ColourIsReportedOnlyWhenTheSectionHasOne) {
    u16 colour = 99;
    EXPECT_EQ(Shown(-3, u"[Red]0;[Blue]0", &colour), "3");
    EXPECT_EQ(colour, 4);
    colour = 99;
    EXPECT_EQ(Shown(3, u"0;[Blue]0", &colour), "3");
    EXPECT_EQ(colour, 99);
}

TEST_F(NumberFormatter, ScientificKeepsItsOddMantissas) {
    const Row rows[] = {
        {0.1, u"0.00E+00", "10.00E-02"},       {0, u"0.00E+00", "0.00E-01"},
        {12345, u"0.00E+00", "1.23E+04"},      {12345, u"0.00E-00", "1.23E04"},
        {0.00012345, u"0.00E+00", "1.23E-04"}, {123456, u"##0.0E+0", "123.5E+3"},
        {1, u"0.00E+00", "1.00E+00"},          {12345, u"0.00e+00", "1.23e+04"},
        {1e100, u"0E+00", "1E+100"},           {0.01, u"0.00E+00", "10.00E-03"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, WhatRoundsUpToTenGoesOnWithTheNextExponent) {
    const Row rows[] = {
        {99.96, u"0.0E+0", "1.0E+2"},      {0.9999, u"0.00E+00", "1.00E+00"}, {99.44, u"0.0E+0", "9.9E+1"},
        {9.9996, u"0.##E+0", "1.E+1"},     {0.00099996, u"0.0E+0", "1.0E-3"}, {999.96, u"##0.0E+0", "1.0E+3"},
        {999.94, u"##0.0E+0", "999.9E+0"}, {9.96, u"#.0E+0", "1.0E+1"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, ExponentsGoInStepsOfThePlacesInFrontOfThePoint) {
    const Row rows[] = {
        {0.5, u"##0.0E+0", "500.0E-3"},        {0.1, u"##0.0E+0", "100.0E-3"},
        {0.00012345, u"##0.0E+0", "123.5E-6"}, {0.001, u"##0.0E+0", "1.0E-3"},
        {0.0123, u"##0.00E+00", "12.30E-03"},  {1, u"##0.0E+0", "1.0E+0"},
        {12345, u"##0.0E+0", "12.3E+3"},       {123456, u"##0.0E+0", "123.5E+3"},
        {1234567, u"##0.0E+0", "1.2E+6"},      {123, u"#0.0E+0", "1.2E+2"},
        {0.5, u"#0.0E-0", "50.0E-2"},          {0, u"##0.0E+0", "0.0E+0"},
        {1234567, u"###0.0E+0", "123.5E+4"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, FractionsTakeTheFirstBestDenominator) {
    const Row rows[] = {
        {0.75, u"# ?/?", " 3/4"},
        {1.5, u"# ?/?", "1 1/2"},
        {1.5, u"?/?", "3/2"},
        {2, u"# ?/?", "2    "},
        {3.14159, u"# ?\?/?\?", "3 14/99"},
        {0.1, u"# ?/?", " 1/9"},
        {0.3, u"# ?/?", " 2/7"},
        {0, u"# ?/?", "0    "},
        {0, u"?/?", "0/1"},
        {0.001, u"# ?/?", "0    "},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, AFractionThatMakesAWholeIsCarried) {
    const Row rows[] = {
        {0.99, u"# ?/?", "1    "},   {0.9999, u"# ?\?/?\?", "1      "}, {9.995, u"0 0/0", "10 0/1"},
        {0.99, u"?/?", "1/1"},       {2.99, u"# ?/8", "3    "},         {2.99, u"?/8", "24/8"},
        {0.99, u"# ?/?;0", "1    "},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, FixedDenominatorsStayAsTheyAre) {
    const Row rows[] = {
        {0.5, u"# ?/8", " 4/8"},
        {2.75, u"# ?/4", "2 3/4"},
        {0.25, u"# ?\?/16", "  4/16"},
        {0.5, u"# ?\?/100", " 50/100"},
        {0.3, u"# ?/10", " 3/10"},
        {2.75, u"?/8", "22/8"},
        {3, u"# ?/8", "3    "},
        {0.333, u"# ?\?/50", " 17/50"},
        {0.5, u"# ?/2\" in\"", " 1/2 in"},
        {0.01, u"# ?/8", "0    "},
        {1, u"# #/8", "1 "},
        {1.5, u"# 00/16", "1 08/16"},
        {0.5, u"?/1234567", "617284/1234567"},
        {0.5, u"?/12345678", "617284/12345678"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, NumeratorsAndDenominatorsLeanToTheSlashWithAllTheirDigits) {
    const Row rows[] = {
        {12.5, u"?/?", "25/2"},        {123.25, u"#/#", "493/4"},
        {0.5, u"# ?\?/?\?", "  1/2 "}, {0.1, u"# ?\?\?/?\?\?", "   1/10 "},
        {0.5, u"# 00/00", " 01/02"},   {0.125, u"?\?/?\?", " 1/8 "},
        {1234.5, u"?/?", "2469/2"},    {0.5, u"# #/#", " 1/2"},
        {-12.5, u"?/?", "-25/2"},      {0.5, u"# ?/?0?", " 1/02 "},
        {0.5, u"# ?/00?", " 1/002"},   {0.5, u"# ?/0?\?", " 1/02 "},
        {0.5, u"# ?/?\?0", " 1/2  "},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, DatesAndTimes) {
    const Row rows[] = {
        {36526, u"yyyy-mm-dd", "2000-01-01"},
        {36526, u"d/m/yy", "1/1/00"},
        {60, u"yyyy-mm-dd", "1900-02-29"},
        {1, u"dddd", "Sunday"},
        {36526, u"dddd, mmmm d", "Saturday, January 1"},
        {36526, u"ddd mmm mmmmm", "Sat Jan J"},
        {0.5, u"h:mm AM/PM", "12:00 PM"},
        {0, u"h AM/PM", "12 AM"},
        {0.75, u"h:mm a/p", "6:00 p"},
        {0.75, u"hh:mm:ss", "18:00:00"},
        {1.5, u"[h]", "36"},
        {0.2, u"[hh]", "04"},
        {1.0 / 24, u"[mm]", "60"},
        {1.0 / 1440, u"[ss]", "60"},
        {0.001, u"mm:ss", "01:26"},
        {36526, u"mm", "01"},
        {0.001, u"h:mm", "0:01"},
        {0.001, u"m:ss", "1:26"},
        {0.99999, u"h:mm:ss", "23:59:59"},
        {0.999999, u"h:mm:ss", "0:00:00"},
        {1.23 / 86400, u"ss.00", "01.23"},
        {1.23 / 86400, u"ss.0", "01.2"},
        {36526, u"y", "y"},
        {44197.5, u"m/d/yy h:mm", "1/1/21 12:00"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, SecondsRoundWithCarryIntoTheNextDay) {
    const Row rows[] = {
        {36526.999999, u"yyyy-mm-dd hh:mm:ss", "2000-01-02 00:00:00"},
        {36526.999999, u"yyyy-mm-dd hh:mm", "2000-01-02 00:00"},
        {36526.999999, u"yyyy-mm-dd", "2000-01-01"},
        {36526.999999, u"dddd h AM/PM", "Sunday 12 AM"},
        {0.999999, u"h:mm:ss.0", "23:59:59.9"},
        {0.999999, u"h:mm:ss.000", "23:59:59.914"},
        {0.9999999, u"h:mm:ss.0", "0:00:00.0"},
        {0.999999, u"[h]:mm:ss", "24:00:00"},
        {0.999999, u"[mm]:ss", "1440:00"},
        {0.999999, u"[ss]", "86400"},
        {0.5 - 0.1 / 86400, u"h:mm", "12:00"},
        {0.5 - 0.6 / 86400, u"h:mm", "11:59"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, SecondsHaveUpToThreeDecimals) {
    const Row rows[] = {
        {1.5 + 3.4567 / 86400, u"ss.0", "03.5"},
        {1.5 + 3.4567 / 86400, u"ss.00", "03.46"},
        {1.5 + 3.4567 / 86400, u"ss.000", "03.457"},
        {1.5 + 3.4567 / 86400, u"ss.0000", "03.4570"},
        {1.5 + 3.4567 / 86400, u"s.00", "3.46"},
        {1.5 + 3.4567 / 86400, u"mm:ss.000", "00:03.457"},
        {1.5 + 3.4567 / 86400, u"[s].000", "129603.457"},
        {1.5 + 3.4567 / 86400, u"[ss].00", "129603.46"},
        {1.5 + 3.4567 / 86400, u"ss.000 ss", "03.457 03"},
        {1.002 / 86400, u"ss.000", "01.002"},
        {1.02 / 86400, u"ss.00", "01.02"},
        {0.75, u"[h] AM/PM", "18 PM"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, APointBetweenDateLettersIsItself) {
    ASSERT_TRUE(SetHeadlessRegion("de-DE"));
    ASSERT_TRUE(ReadLocaleSettings());
    const Row rows[] = {
        {36526, u"dd.mm.yyyy", "01.01.2000"},
        {36526.5, u"d.m.yy hh.mm", "1.1.00 12.00"},
        {0.5, u"hh.mm.ss", "12.00.00"},
        {1.5 / 86400, u"ss.0", "01,5"},
        {1.5, u"0.0", "1,5"},
        {1.5, u"#.##", "1,5"},
        {0.5, u".0", ",5"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, GeneralBehindAColourIsGeneral) {
    u16 colour = 99;
    EXPECT_EQ(Shown(1234.5678, u"[Red]General", &colour), "1234.5678");
    EXPECT_EQ(colour, 2);
    EXPECT_EQ(Shown(-1.5, u"[Blue]GENERAL", &colour), "-1.5");
    EXPECT_EQ(colour, 4);
    EXPECT_EQ(Shown(-0.25, u"0;[Red]general", &colour), "0.25");
    EXPECT_EQ(Shown(1e20, u"[Red]General", &colour), "1E+20");
}

TEST_F(NumberFormatter, The1904SystemMovesDates) {
    WideText out;
    ASSERT_TRUE(FormatNumber(0, u"yyyy-mm-dd", nullptr, 0, true, nullptr, out));
    EXPECT_EQ(Narrow(out), "1904-01-01");
}

TEST_F(NumberFormatter, LocaleSeparatorsAppearInTheOutputOnly) {
    ASSERT_TRUE(SetHeadlessRegion("de-DE"));
    ASSERT_TRUE(ReadLocaleSettings());
    EXPECT_EQ(Shown(1234567.5, u"#,##0.00"), "1.234.567,50");
    EXPECT_EQ(Shown(1.5, u"General"), "1,5");
    EXPECT_EQ(Shown(36526, u"mmmm"), "Januar");
    ASSERT_TRUE(SetHeadlessRegion("zh-CN"));
    ASSERT_TRUE(ReadLocaleSettings());
    EXPECT_EQ(Shown(0.75, u"h:mm 上午/下午"), "6:00 下午");
    EXPECT_EQ(Shown(36526, u"dddd"), "星期六");
}

TEST_F(NumberFormatter, TextGoesThroughTheFourthSection) {
    struct TextRow {
        WideView text, format;
        const char* expected;
    };
    const TextRow rows[] = {
        {u"abc", u"0", "abc"},
        {u"abc", u"0;0;0;\"<\"@\">\"", "<abc>"},
        {u"abc", u"0;0;0;", ""},
        {u"abc", u"0;0;0;@@", "abcabc"},
        {u"abc", u"0;0;0;x\\y_z@", "xy abc"},
        {u"a", u"@", "a"},
        {u"abc", u";;;", ""},
        {u"abc", u";;", "abc"},
        {u"abc", u"\"<\"@\">\"", "<abc>"},
        {u"abc", u"[Red]@_)", "abc "},
        {u"abc", u"0;[Blue]@\"!\"", "abc!"},
        {u"abc", u"\"@\"0", "abc"},
        {u"abc", u"0\\@", "abc"},
        {u"abc", u";;;General", "abc"},
        {u"abc", u";;;[$-409]@", "abc"},
        {u"abc", u";;;@*.", "abc"},
        {u"abc", u"0.00;-0.00;\";\"", "abc"},
        {u"abc", u";;;\"a;b\"@", "a;babc"},
    };
    for (const TextRow& row : rows) {
        WideText out;
        ASSERT_TRUE(FormatTextValue(row.text, row.format, out));
        EXPECT_EQ(Narrow(out), row.expected);
    }
}

TEST_F(NumberFormatter, RoundsPositivesWithANudgeAndNegativesWithout) {
    EXPECT_EQ(RoundToInteger(0.5), 1);
    EXPECT_EQ(RoundToInteger(0.49999999999999994), 1);
    EXPECT_EQ(RoundToInteger(-0.49999999999999994), -1);
    EXPECT_EQ(RoundToInteger(-0.5), -1);
    EXPECT_EQ(RoundToInteger(2.4), 2);
}

TEST_F(NumberFormatter, FillAndFitUseTheMeasure) {
    const TextMeasure sevenPixels = {
        [](const void*, WideView text) { return static_cast<i32>(text.size()) * 7; }, nullptr};
    WideText out;
    ASSERT_TRUE(FormatNumber(5, u"$* 0", &sevenPixels, 70, false, nullptr, out));
    EXPECT_EQ(Narrow(out), "$        5");
    ASSERT_TRUE(FormatNumber(5, u"$*-0", &sevenPixels, 3, false, nullptr, out));
    EXPECT_EQ(Narrow(out), "$5");
    ASSERT_TRUE(FormatNumber(1.0 / 3, u"General", &sevenPixels, 42, false, nullptr, out));
    EXPECT_EQ(Narrow(out), "0.3333");
    ASSERT_TRUE(FormatNumber(-0.0004, u"General", &sevenPixels, 21, false, nullptr, out));
    EXPECT_EQ(Narrow(out), "0");
    ASSERT_TRUE(FormatNumber(-0.6, u"General", &sevenPixels, 21, false, nullptr, out));
    EXPECT_EQ(Narrow(out), "-1");
    ASSERT_TRUE(FormatNumber(1.23456789e30, u"General", &sevenPixels, 56, false, nullptr, out));
    EXPECT_EQ(Narrow(out), "1.23E+30");
}

// A format is taken apart once and kept: neither formats that share a kept place nor long ones are mixed up.
TEST_F(NumberFormatter, KeptFormatsAreThoseOfTheirText) {
    for (int round = 0; round < 2; ++round) {
        for (char16_t letter = u'a'; letter <= u'z'; ++letter) {
            std::u16string text = u"..-..";
            text[1] = letter;
            const std::u16string format = u"0.0\"" + text + u"\"";
            EXPECT_EQ(Shown(2.5, format), "2.5" + Narrow(text));
        }
    }
    for (std::size_t length = 30; length < 60; ++length) {
        const std::u16string text(length, u'y');
        EXPECT_EQ(Shown(2.5, u"\"" + text + u"\"0.00"), Narrow(text) + "2.50");
        EXPECT_EQ(Shown(0.5, u"h \"" + text + u"\""), "12 " + Narrow(text));
    }
}

// The short road to the digits and the one over thirty decimals must agree as far as the places reach.
TEST_F(NumberFormatter, ShortDigitsAreThoseOfThirtyDecimals) {
    std::mt19937_64 random(20260615);
    const auto check = [](double value, i32 places) {
        FormatRun quick, literal;
        quick.scan.decimalPlaces = literal.scan.decimalPlaces = places;
        if (!MakeShortDigits(quick, value)) return false;
        const double power = std::pow(10.0, places);
        MakeDigits(literal, RoundToInteger(value * power) / power);
        const auto shown = [places](const FormatRun& run) {
            const i32 decimals = std::min(run.decimalCount, places);
            return std::string(run.digits, static_cast<std::size_t>(run.integerDigits)) + "." +
                   std::string(run.digits + run.integerDigits, static_cast<std::size_t>(decimals));
        };
        EXPECT_EQ(shown(quick), shown(literal)) << std::hexfloat << value << " " << places;
        return true;
    };
    int taken = 0;
    for (int i = 0; i < 200000 && !HasFailure(); ++i) {
        const int magnitude = static_cast<int>(random() % 24) - 8;
        const double mantissa = static_cast<double>(random() >> 11) * 0x1p-53;
        double value = mantissa * std::pow(10.0, magnitude);
        if (i % 3 == 0) value = std::floor(value * 1000) / 1000;
        if (i % 7 == 0) value = std::floor(value * 64) / 64;
        taken += check(value, static_cast<i32>(random() % 8));
    }
    for (double value :
         {0.0, 0.1, 0.05, 0.95, 0.995, 1.005, 9.995, 99.9999995, 999999999999999.0, 1e15, 5e-324, 1e308})
        for (i32 places = 0; places <= 7; ++places) check(value, places);
    EXPECT_GT(taken, 100000);
}

TEST_F(NumberFormatter, PowersOfTenAreThoseOfTheLibrary) {
    for (i32 n = -300; n <= 300; ++n) EXPECT_EQ(PowerOfTen(n), std::pow(10.0, n)) << n;
}

TEST_F(NumberFormatter, AWholeNumberTooWideForItsRoomGetsAnExponentWhereThatIsNarrowEnough) {
    const TextMeasure sevenPixels = {
        [](const void*, WideView text) { return static_cast<i32>(text.size()) * 7; }, nullptr};
    const struct {
        double value;
        i32 characters;
        const char* text;
    } rows[] = {
        {87178291200, 11, "87178291200"},
        {87178291200, 10, "8.7178E+10"},
        {87178291200, 8, "8.72E+10"},
        {87178291200, 7, "8.7E+10"},
        {87178291200, 6, "9E+10"},
        {87178291200, 4, "87178291200"},
        {-87178291200, 9, "-8.72E+10"},
        {-87178291200, 8, "-8.7E+10"},
        {21994149.7753329, 8, "21994150"},
        {21994149.7753329, 7, "2.2E+07"},
        {12345.678, 5, "12346"},
        {12345.678, 4, "12346"},
        {123, 2, "123"},
        {99999999999, 7, "1E+11"},
    };
    for (const auto& row : rows) {
        WideText out;
        ASSERT_TRUE(FormatNumber(row.value, u"General", &sevenPixels, row.characters * 7, false, nullptr, out));
        EXPECT_EQ(Narrow(out), row.text) << row.characters;
    }
}

TEST_F(NumberFormatter, PlainGeneralIsThatOfItsSection) {
    for (double value : {0.0, -0.0, 1.5, -1.5, 1e20, -1e-9, 123456.789})
        EXPECT_EQ(Shown(value, u"General"), Shown(value, u"General;-General;General")) << value;
    EXPECT_EQ(Shown(-0.0, u"General"), "0");
}

TEST_F(NumberFormatter, PlacesBeyondTheCountedOnesTakeNoDigit) {
    const Row rows[] = {
        {5, u"0 [00]", "5 [00]"},
        {5, u"0 [0?#]", "5 [0?#]"},
        {5, u"0.0E+0[00]", "5.0E+0[00]"},
        {5, u"0/[00]", "5/[00]"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(NumberFormatter, OddFormatsEndCleanly) {
    for (WideView format :
         {u"\"", u"[", u"[>", u"[$", u"*", u"_", u"\\", u"0E+", u"?/", u"/", u"[h", u"E+0", u"0/0/0/0",
          u"0.0.0.0", u",", u"@@@", u"ss.0000000000000000000000", u"#E+E+E+", u"0/######################"}) {
        for (double value : {0.0, 1.5, -2.25, 1e308, 5e-324, 123456789.125}) Shown(value, format);
    }
}

}  // namespace
}  // namespace tally
