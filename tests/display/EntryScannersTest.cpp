#include "display/EntryScanners.h"

#include <gtest/gtest.h>

#include "display/Calendar.h"
#include "display/LocaleSettings.h"
#include "shell/headless/HeadlessPlatform.h"

namespace tally {
namespace {

class EntryScanners : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        Headless().fixedClock = true;
        Headless().clock = {2026, 6, 15, 12, 0, 0, 0};
        ASSERT_TRUE(ReadLocaleSettings());
    }
    void TearDown() override {
        UseHeadlessPlatform();
        EXPECT_TRUE(ReadLocaleSettings());
        ResetHeadlessPlatform();
    }
    static void Region(const char* tag) {
        ASSERT_TRUE(SetHeadlessRegion(tag));
        ASSERT_TRUE(ReadLocaleSettings());
    }
    static constexpr double NONE = -99999;
    static double Number(WideView text) {
        double out = 0;
        return ParseNumber(text, 0, text.size(), out, true) ? out : NONE;
    }
    static double Date(WideView text) {
        double out = 0;
        i32 id = 0;
        return ParseDateEntry(text, false, out, id) ? out : NONE;
    }
    static double Time(WideView text, i32 expectedId) {
        double out = 0;
        i32 id = 0;
        if (!ParseTimeEntry(text, out, id)) return NONE;
        EXPECT_EQ(id, expectedId);
        return out * 86400;
    }
};

TEST_F(EntryScanners, Numbers) {
    EXPECT_EQ(Number(u"1,234"), 1234);
    EXPECT_EQ(Number(u"1,23"), NONE);
    EXPECT_EQ(Number(u"1,2345"), NONE);
    EXPECT_EQ(Number(u"1,234,"), NONE);
    EXPECT_EQ(Number(u"1e3"), 1000);
    EXPECT_EQ(Number(u"1 E 3"), 1000);
    EXPECT_EQ(Number(u" - 5 "), -5);
    EXPECT_EQ(Number(u"1e999"), NONE);
    EXPECT_EQ(Number(u"1e-999"), NONE);
    EXPECT_EQ(Number(u"0e-999"), 0);
    EXPECT_EQ(Number(u".5"), 0.5);
    EXPECT_EQ(Number(u"."), NONE);
    EXPECT_EQ(Number(u"5."), 5);
    EXPECT_DOUBLE_EQ(Number(u"1234567890123456789"), 1234567890123450000.0);
    EXPECT_EQ(Number(u"1e99999999999999999999"), NONE);
}

TEST_F(EntryScanners, MixedFractionsNeedABlank) {
    double out = 0;
    i32 digits = 0;
    ASSERT_TRUE(ParseMixedFraction(u"-1 1/02", 0, 7, out, digits));
    EXPECT_EQ(out, -1.5);
    EXPECT_EQ(digits, 1);
    EXPECT_FALSE(ParseMixedFraction(u"1/2", 0, 3, out, digits));
    EXPECT_FALSE(ParseMixedFraction(u"1 1/0", 0, 5, out, digits));
}

TEST_F(EntryScanners, TwoItemDatesFollowTheOrder) {
    EXPECT_EQ(Date(u"12/25"), DateToSerial(2026, 12, 25));
    EXPECT_EQ(Date(u"13/25"), NONE);
    EXPECT_EQ(Date(u"2/30"), DateToSerial(1930, 2, 1));
    EXPECT_EQ(Date(u"Mar 5"), DateToSerial(2026, 3, 5));
    EXPECT_EQ(Date(u"5-mar"), DateToSerial(2026, 3, 5));
    EXPECT_EQ(Date(u"march 1999"), DateToSerial(1999, 3, 1));
    Region("en-GB");
    EXPECT_EQ(Date(u"25/12"), DateToSerial(2026, 12, 25));
    EXPECT_EQ(Date(u"12/25"), DateToSerial(2025, 12, 1));
}

TEST_F(EntryScanners, ThreeItemDatesFollowTheOrder) {
    EXPECT_EQ(Date(u"1/2/3"), DateToSerial(2003, 1, 2));
    EXPECT_EQ(Date(u"1/2/30"), DateToSerial(1930, 1, 2));
    EXPECT_EQ(Date(u"1/2/29"), DateToSerial(2029, 1, 2));
    EXPECT_EQ(Date(u"1-2-2003"), DateToSerial(2003, 1, 2));
    EXPECT_EQ(Date(u" 1/2/3"), NONE);
    EXPECT_EQ(Date(u"1/2/1899"), NONE);
    EXPECT_EQ(Date(u"5 mar 2003"), DateToSerial(2003, 3, 5));
    EXPECT_EQ(Date(u"March 5, 2003"), DateToSerial(2003, 3, 5));
    EXPECT_EQ(Date(u"March 5,2003"), NONE);
    EXPECT_EQ(Date(u"2/29/1900"), 60);
    for (const char* tag : {"en-US", "de-DE", "zh-CN"}) {
        Region(tag);
        EXPECT_EQ(Date(u"2000-1-31"), DateToSerial(2000, 1, 31)) << tag;
    }
    Region("de-DE");
    EXPECT_EQ(Date(u"31.12.99"), DateToSerial(1999, 12, 31));
}

TEST_F(EntryScanners, DatesWithTimes) {
    double out = 0;
    i32 id = 0;
    ASSERT_TRUE(ParseDateEntry(u"1/2/2003 6:00 PM", false, out, id));
    EXPECT_DOUBLE_EQ(out, DateToSerial(2003, 1, 2) + 0.75);
    EXPECT_EQ(id, 18);
    ASSERT_TRUE(ParseDateEntry(u"1/2/2003", true, out, id));
    EXPECT_EQ(out, DateToSerial(2003, 1, 2) - 1462);
}

TEST_F(EntryScanners, Times) {
    EXPECT_DOUBLE_EQ(Time(u"3 PM", 18), 15 * 3600);
    EXPECT_DOUBLE_EQ(Time(u"12:00 AM", 18), 0);
    EXPECT_EQ(Time(u"13:00 PM", 18), NONE);
    EXPECT_DOUBLE_EQ(Time(u"25:61", 20), 25 * 3600 + 61 * 60);
    EXPECT_DOUBLE_EQ(Time(u"1:02:03", 21), 3723);
    EXPECT_DOUBLE_EQ(Time(u"1:02:03 p", 19), 3723 + 12 * 3600);
    EXPECT_DOUBLE_EQ(Time(u"1:", 20), 3600);
    EXPECT_DOUBLE_EQ(Time(u"1:02.5", 47), 62.5);
    EXPECT_EQ(Time(u"3", 20), NONE);
    EXPECT_EQ(Time(u"1:02 x", 20), NONE);
}

TEST_F(EntryScanners, CalendarWalksEveryDayBothWays) {
    i32 y = 0, m = 0, d = 0;
    for (i32 serial = -400000; serial < 3000000; serial += 7) {
        SerialToDate(serial, y, m, d);
        ASSERT_EQ(DateToSerial(y, m, d), serial);
    }
    SerialToDate(0, y, m, d);
    EXPECT_TRUE(y == 1899 && m == 12 && d == 31);
    SerialToDate(1, y, m, d);
    EXPECT_TRUE(y == 1900 && m == 1 && d == 1);
    SerialToDate(60, y, m, d);
    EXPECT_TRUE(y == 1900 && m == 2 && d == 29);
    EXPECT_EQ(DateToSerial(1900, 3, 1), 61);
    EXPECT_EQ(DateToSerial(2000, 14, 1), DateToSerial(2001, 2, 1));
    EXPECT_EQ(DateToSerial(2000, 0, 1), DateToSerial(1999, 12, 1));
    EXPECT_EQ(DateToSerial(2000, 1, 0), DateToSerial(1999, 12, 31));
    i32 h = 0, n = 0, s = 0;
    SerialToTime(0.75, h, n, s);
    EXPECT_TRUE(h == 18 && n == 0 && s == 0);
}

}  // namespace
}  // namespace tally
