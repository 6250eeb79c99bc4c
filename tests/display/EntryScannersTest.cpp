#include "display/EntryScanners.h"

#include <gtest/gtest.h>

#include "display/Calendar.h"
#include "display/LocaleSettings.h"
#include "platform/headless/HeadlessPlatform.h"

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

// ---- tables -------------------------------------------------------------------------------------------

TEST_F(EntryScanners, ANumberStandsAloneInItsRange) {
    const struct {
        WideView text;
        double expected;
    } rows[] = {{u"+5", 5},
                {u"+ 5", 5},
                {u"--5", NONE},
                {u"5-", NONE},
                {u"", NONE},
                {u"  ", NONE},
                {u"-", NONE},
                {u"5 5", NONE},
                {u"5.5.5", NONE},
                {u"-.5", -0.5},
                {u".x", NONE},
                {u"1e", NONE},
                {u"1e+", NONE},
                {u"1e-2", 0.01},
                {u"1E+2", 100},
                {u"1e2x", NONE},
                {u"1e2 ", 100},
                {u"1x", NONE},
                {u"1,234,567", 1234567},
                {u"12,345.5", 12345.5},
                {u",123", NONE},
                {u"1,,234", NONE},
                {u"1234,567", 1234567},
                {u"0.125", 0.125},
                {u"007", 7},
                {u"1.", 1},
                {u"1,234e2", 123400}};
    for (const auto& row : rows) EXPECT_EQ(Number(row.text), row.expected) << &row - rows;
    double out = 0;
    EXPECT_FALSE(ParseNumber(u"1,234", 0, 5, out, false));
    ASSERT_TRUE(ParseNumber(u"x12y", 1, 3, out, true));
    EXPECT_EQ(out, 12);
    ASSERT_TRUE(ParseNumber(u"12", 0, 99, out, true));
    EXPECT_EQ(out, 12);
    EXPECT_FALSE(ParseNumber(u"12", 2, 2, out, true));
}

TEST_F(EntryScanners, AMixedFractionHasThreeParts) {
    const struct {
        WideView text;
        double expected;
        i32 digits;
    } rows[] = {{u"1 1/2", 1.5, 1},  {u" + 2 3/4 ", 2.75, 1}, {u"- 2 3/4", -2.75, 1}, {u"0 5/16", 0.3125, 2},
                {u"0 0/3", 0, 1},    {u"1 2/004", 1.5, 1},    {u"1 25/100", 1.25, 3}, {u"1 1/", NONE, 0},
                {u"1  1/2", 1.5, 1}, {u"1 1 /2", NONE, 0},    {u"1 1/ 2", NONE, 0},   {u"1 1/2x", NONE, 0},
                {u"1 1/0", NONE, 0}, {u"x 1/2", NONE, 0},     {u"1 /2", NONE, 0},     {u"1", NONE, 0}};
    for (const auto& row : rows) {
        double out = NONE;
        i32 digits = 0;
        ParseMixedFraction(row.text, 0, row.text.size(), out, digits);
        EXPECT_EQ(out, row.expected) << &row - rows;
        if (row.expected != NONE) EXPECT_EQ(digits, row.digits) << &row - rows;
    }
}

TEST_F(EntryScanners, TimesHaveTheFormatThatTheyWereTypedIn) {
    const struct {
        WideView text;
        double seconds;
        i32 id;
    } rows[] = {{u"1:02", 3720, 20},
                {u"1:02:03", 3723, 21},
                {u"1:02:", 3720, 20},
                {u"1:02 am", 3720, 18},
                {u"12:30 PM", 45000, 18},
                {u"12:30 AM", 1800, 18},
                {u"1 p", 46800, 18},
                {u"1 A", 3600, 18},
                {u"12 am", 0, 18},
                {u"13 am", NONE, 0},
                {u"1:02:03 PM", 46923, 19},
                {u"1:02:03.5", 3723.5, 47},
                {u"1:02:03.25 PM", 46923.25, 47},
                {u"1:02.", NONE, 0},
                {u"1:02:03.", NONE, 0},
                {u"1: 02", 3720, 20},
                {u"1:02: 03", 3723, 21},
                {u"1:02 pmx", NONE, 0},
                {u"1:x", NONE, 0},
                {u"1-02", NONE, 0},
                {u":02", NONE, 0},
                {u"1:02:03:04", NONE, 0},
                {u"1:02 pm ", 46920, 18},
                {u"2:03.125", 123.125, 47},
                {u"0:00:00.1", 0.1, 47},
                {u"0:00:00.123456789012", 0.123, 47}};
    for (const auto& row : rows) {
        double out = 0;
        i32 id = 0;
        const bool good = ParseTimeEntry(row.text, out, id);
        EXPECT_EQ(good, row.seconds != NONE) << &row - rows;
        if (!good) continue;
        EXPECT_NEAR(out * 86400, row.seconds, 1e-6) << &row - rows;
        EXPECT_EQ(id, row.id) << &row - rows;
    }
}

TEST_F(EntryScanners, DatesInTheThreeOrders) {
    const double none = NONE;
    const auto day = [](i32 year, i32 month, i32 date) {
        return double{1.0 * DateToSerial(year, month, date)};
    };
    const struct {
        WideView text;
        double monthFirst, dayFirst, yearFirst;
    } rows[] = {
        {u"1-2-2003", day(2003, 1, 2), day(2003, 2, 1), none},
        {u"03-2-1", day(2001, 3, 2), day(2001, 2, 3), day(2003, 2, 1)},
        {u"2003-2-1", day(2003, 2, 1), day(2003, 2, 1), day(2003, 2, 1)},
        {u"1899-2-1", none, none, none},
        {u"2-29-2003", none, none, none},
        {u"1-13-2003", day(2003, 1, 13), none, none},
        {u"3-4", day(2026, 3, 4), day(2026, 4, 3), day(2026, 3, 4)},
        {u"3-31", day(2026, 3, 31), day(1931, 3, 1), day(2026, 3, 31)},
        {u"0-5", none, none, none},
        {u"5-0", day(2000, 5, 1), none, none},
        {u"1-2-3-4", none, none, none},
        {u"1", none, none, none},
        {u"1-", none, none, none},
        {u"1-2x", none, none, none},
        {u"1-2-00003", none, none, none},
        {u"001-2-3", none, none, none},
        {u"1 2", none, none, none},
        {u"1-2-2003 6:00", day(2003, 1, 2) + 0.25, day(2003, 2, 1) + 0.25, none},
        {u"3-4 12:00", day(2026, 3, 4) + 0.5, day(2026, 4, 3) + 0.5, day(2026, 3, 4) + 0.5},
        {u"1-2-2003 x", none, none, none},
    };
    const char* regions[] = {"en-US", "en-GB", "zh-CN"};
    for (int order = 0; order < 3; ++order) {
        Region(regions[order]);
        ASSERT_EQ(Locale().dateOrder[0], u'0' + order);
        for (const auto& row : rows) {
            const double expected = order == 0 ? row.monthFirst : order == 1 ? row.dayFirst : row.yearFirst;
            EXPECT_DOUBLE_EQ(Date(row.text), expected) << regions[order] << " row " << &row - rows;
        }
    }
}

TEST_F(EntryScanners, MonthsHaveAllTheirDays) {
    constexpr i32 days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (i32 month = 1; month <= 12; ++month) EXPECT_EQ(DaysInMonth(2023, month), days[month - 1]);
    for (const auto& [year, leap] :
         {std::pair{1900, true}, {1904, true}, {2000, true}, {2100, false}, {2023, false}})
        EXPECT_EQ(DaysInMonth(year, 2), leap ? 29 : 28) << year;
    EXPECT_EQ(DaysInMonth(2023, 0), 0);
    EXPECT_EQ(DaysInMonth(2023, 13), 0);
    i32 h = 0, n = 0, s = 0;
    SerialToTime(5 + 3723.4 / 86400, h, n, s);
    EXPECT_TRUE(h == 1 && n == 2 && s == 3);
    SerialToTime(-0.25, h, n, s);
    EXPECT_TRUE(h == 18 && n == 0 && s == 0);
    EXPECT_NEAR(TimeToSerial(1, 2, 3, 500) * 86400, 3723.5, 1e-6);
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
