#include "functions/DateMath.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class DateFunctions : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

TEST_F(DateFunctions, DatesFromParts) {
    Check({{"=TEXT(DATE(99,1,1),\"yyyy-mm-dd\")", "1999-01-01"},
           {"=TEXT(DATE(2000,14,1),\"yyyy-mm-dd\")", "2001-02-01"},
           {"=TEXT(DATE(2000,0,1),\"yyyy-mm-dd\")", "1999-12-01"},
           {"=TEXT(DATE(2001,1,-1),\"yyyy-mm-dd\")", "2000-12-30"},
           {"=DATE(1900,2,29)", "60"},
           {"=DATE(1900,3,1)", "61"},
           {"=DATE(1900,1,1)", "1"},
           {"=DATE(2008.9,1.9,1.9)", "39448"},
           {"=DATE(\"x\",1,1)", "#VALUE!"},
           {"=DATE(2000000000,2000000000,2000000000)>0", "TRUE"}});
}

TEST_F(DateFunctions, PartsOfDatesAndTimes) {
    Check({{"=DAY(60)", "29"},
           {"=MONTH(60)", "2"},
           {"=YEAR(60)", "1900"},
           {"=DAY(61)", "1"},
           {"=DAY(0)", "0"},
           {"=MONTH(0.5)", "1"},
           {"=YEAR(0)", "1900"},
           {"=DAY(-1)", "#NUM!"},
           {"=MONTH(-1)", "#NUM!"},
           {"=YEAR(-1)", "#NUM!"},
           {"=YEAR(39448.7)", "2008"},
           {"=MONTH(\"3/4/2008\")", "3"},
           {"=DAY(1E+10)", "#NUM!"},
           {"=HOUR(0.75)", "18"},
           {"=MINUTE(0.52)", "28"},
           {"=SECOND(TIME(1,2,3))", "3"},
           {"=HOUR(39448.25)", "6"},
           {"=HOUR(1E+300)", "0"},
           {"=TIME(12,0,0)", "0.5"},
           {"=TIME(36,0,0)", "0.5"},
           {"=TIME(0,-90,0)", "#NUM!"},
           {"=TIME(12.9,0.9,0.9)", "0.5"}});
}

TEST_F(DateFunctions, DatesAndTimesFromTexts) {
    Check({{"=DATEVALUE(\"1/1/2008\")", "39448"},
           {"=DATEVALUE(\"1/1/2008 12:00\")", "39448"},
           {"=DATEVALUE(\"2/30/2008\")", "#VALUE!"},
           {"=DATEVALUE(\"x\")", "#VALUE!"},
           {"=DATEVALUE(39448)", "#VALUE!"},
           {"=TIMEVALUE(\"12:00\")", "0.5"},
           {"=TIMEVALUE(\"6:00 PM\")", "0.75"},
           {"=TIMEVALUE(\"x\")", "#VALUE!"}});
}

TEST_F(DateFunctions, TheClock) {
    Headless().clock = {2008, 1, 1, 12, 0, 0, 0};
    Check({{"=TODAY()", "39448"}, {"=NOW()", "39448.5"}});
    CurrentWorkbook()->date1904 = 1;
    Check({{"=TODAY()", "37986"}, {"=NOW()", "37986.5"}});
}

TEST_F(DateFunctions, TheClockIsReadAgainAfterEveryChange) {
    DefineName("moment", "=NOW()");
    Enter("B1", "=NOW()");
    Enter("B2", "=TODAY()");
    Enter("B3", "=moment");
    Enter("B4", "=RANDBETWEEN(1,1000000)");
    const std::string before = Shown("B4");
    Shown("B1");
    Shown("B2");
    Shown("B3");
    Headless().clock = {2008, 1, 1, 12, 0, 0, 0};
    Enter("C1", "1");
    EXPECT_EQ(Shown("B1"), "39448.5");
    EXPECT_EQ(Shown("B2"), "39448");
    EXPECT_EQ(Shown("B3"), "39448.5");
    EXPECT_NE(Shown("B4"), before);
}

TEST_F(DateFunctions, Weekdays) {
    // Serial 1 is a Sunday here; 39448 is Tuesday, 1 January 2008.
    Check({{"=WEEKDAY(1)", "1"},
           {"=WEEKDAY(1,2)", "7"},
           {"=WEEKDAY(1,3)", "6"},
           {"=WEEKDAY(39448)", "3"},
           {"=WEEKDAY(39448,2)", "2"},
           {"=WEEKDAY(39448,3.9)", "1"},
           {"=WEEKDAY(39448,17)", "3"},
           {"=WEEKDAY(39448,1E+300)", "3"},
           {"=WEEKDAY(-2147483648)>0", "TRUE"},
           {"=WEEKNUM(DATE(2008,1,1))", "1"},
           {"=WEEKNUM(DATE(2008,1,5))", "1"},
           {"=WEEKNUM(DATE(2008,1,6))", "2"},
           {"=WEEKNUM(DATE(2008,1,6),2)", "1"},
           {"=WEEKNUM(DATE(2008,1,7),2)", "2"},
           {"=WEEKNUM(DATE(2008,12,31))", "53"},
           {"=WEEKNUM(DATE(2000,12,31))", "54"},
           {"=WEEKNUM(DATE(2008,1,6),2.9)", "1"},
           {"=WEEKNUM(DATE(2008,1,6),-1)", "2"}});
}

TEST_F(DateFunctions, MonthsOfThirtyDays) {
    Check({{"=DAYS360(DATE(2007,1,31),DATE(2007,3,31))", "60"},
           {"=DAYS360(DATE(2007,1,1),DATE(2007,1,31))", "30"},
           {"=DAYS360(DATE(2007,1,1),DATE(2007,1,31),TRUE)", "29"},
           {"=DAYS360(DATE(2007,1,30),DATE(2007,3,31))", "60"},
           {"=DAYS360(DATE(2007,2,28),DATE(2007,3,31))", "30"},
           {"=DAYS360(DATE(2008,2,28),DATE(2008,3,1))", "1"},
           {"=DAYS360(DATE(2007,2,28),DATE(2007,3,31),TRUE)", "32"},
           {"=DAYS360(DATE(2007,3,31),DATE(2007,1,31))", "-60"},
           {"=DAYS360(DATE(2007,1,1),DATE(2008,1,1))", "360"},
           {"=DAYS360(1,2,\"x\")", "#VALUE!"}});
}

TEST_F(DateFunctions, DifferencesInUnits) {
    Check({{"=DATEDIF(DATE(2000,1,2),DATE(2000,1,1),\"d\")", "#NUM!"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,5,19),\"Y\")", "2"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,5,20),\"y\")", "3"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,4,25),\"y\")", "2"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2001,7,19),\"m\")", "13"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2001,7,20),\"M\")", "14"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2001,7,20),\"d\")", "426"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2001,7,20),\"ym\")", "2"},
           {"=DATEDIF(DATE(2000,11,20),DATE(2001,2,19),\"ym\")", "2"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,5,21),\"yd\")", "1"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,5,19),\"yd\")", "364"},
           {"=DATEDIF(DATE(2004,2,29),DATE(2005,2,28),\"yd\")", "365"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,7,25),\"md\")", "5"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,7,15),\"md\")", "25"},
           {"=DATEDIF(DATE(2000,5,20),DATE(2003,1,15),\"md\")", "26"},
           {"=DATEDIF(1,2,\"x\")", "#NUM!"},
           {"=DATEDIF(1,2,\"\")", "#NUM!"},
           {"=DATEDIF(1,1,\"y\")", "0"}});
}

TEST_F(DateFunctions, MonthsFurther) {
    Check({{"=TEXT(EDATE(DATE(2008,1,31),1),\"yyyy-mm-dd\")", "2008-02-29"},
           {"=TEXT(EDATE(DATE(2008,1,31),-2),\"yyyy-mm-dd\")", "2007-11-30"},
           {"=TEXT(EDATE(DATE(2008,1,15),1.9),\"yyyy-mm-dd\")", "2008-02-15"},
           {"=EDATE(31,1)", "60"},
           {"=TEXT(EOMONTH(DATE(2008,1,15),1),\"yyyy-mm-dd\")", "2008-02-29"},
           {"=TEXT(EOMONTH(DATE(2008,1,15),-13),\"yyyy-mm-dd\")", "2006-12-31"},
           {"=TEXT(EOMONTH(DATE(2008,12,15),0),\"yyyy-mm-dd\")", "2008-12-31"},
           {"=EOMONTH(1,1)", "60"},
           {"=EDATE(1,1E+10)", "#NUM!"},
           {"=EDATE(1,2147483647)>0", "TRUE"},
           {"=EOMONTH(1,-2147483648)<0", "TRUE"}});
}

TEST_F(DateFunctions, FractionsOfYears) {
    Check({{"=YEARFRAC(DATE(2007,1,1),DATE(2007,7,1))", "0.5"},
           {"=YEARFRAC(DATE(2007,7,1),DATE(2007,1,1))", "0.5"},
           {"=YEARFRAC(DATE(2008,1,1),DATE(2009,1,1),1)*365", "366"},
           {"=YEARFRAC(DATE(2008,1,1),DATE(2009,1,1),2)*360", "366"},
           {"=YEARFRAC(DATE(2008,1,1),DATE(2009,1,1),3)*365", "366"},
           {"=YEARFRAC(DATE(2007,1,1),DATE(2007,1,31),4)*360", "29"},
           {"=YEARFRAC(1,2,5)", "#NUM!"},
           {"=YEARFRAC(1,2,-1)", "#NUM!"},
           {"=YEARFRAC(1,361,2.9)", "1"}});
}

TEST_F(DateFunctions, NetWorkdays) {
    // 5 January 2008 is a Saturday.
    Enter("B1", "39455");  // Tuesday the 8th
    Enter("B2", "39455");
    Enter("B3", "39460");  // Sunday the 13th
    Enter("B5", "39500");
    Enter("C1", "x");
    Check({{"=NETWORKDAYS(DATE(2008,1,5),DATE(2008,1,6))", "5"},
           {"=NETWORKDAYS(DATE(2008,1,14),DATE(2008,1,7))", "-6"},
           {"=NETWORKDAYS(DATE(2008,1,14),DATE(2008,1,7),39456)", "-5"},
           {"=NETWORKDAYS(40000,36526)", "-2481"},
           {"=NETWORKDAYS(\"1999-1-22\",\"2001-5-21\",{\"2000-3-23\";\"2000-5-1\"})", "605"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,11))", "5"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14))", "6"},
           {"=NETWORKDAYS(DATE(2008,1,5),DATE(2008,1,13))", "5"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),B1)", "5"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),B1:B5)", "4"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),{39455,39456})", "4"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),39456.5)", "5"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),\"1/8/2008\")", "5"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),C1)", "#VALUE!"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),{\"x\"})", "#VALUE!"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),{TRUE})", "#VALUE!"},
           {"=NETWORKDAYS(DATE(2008,1,7),DATE(2008,1,14),#N/A)", "#N/A"}});
}

TEST_F(DateFunctions, WorkdaysFurther) {
    // 4 January 2008 is a Friday, serial 39451.
    Check({{"=WORKDAY(39451,1)-39451", "3"},
           {"=WORKDAY(39451,5)-39451", "7"},
           {"=WORKDAY(39451,0)-39451", "0"},
           {"=WORKDAY(39452,1)-39451", "3"},
           {"=WORKDAY(39453,1)-39451", "3"},
           {"=WORKDAY(39453,-1)-39451", "0"},
           {"=WORKDAY(39454,-1)-39451", "0"},
           {"=WORKDAY(39451,1,39454)-39451", "4"},
           {"=WORKDAY(39451,1,{39455,39454})-39451", "5"},
           {"=WORKDAY(39451,1,{39454,39454})-39451", "4"},
           {"=WORKDAY(39451,1,{39451,39452,39456})-39451", "3"},
           {"=WORKDAY(39450,1,39451)-39451", "3"},
           {"=WORKDAY(39454,-1,39451)-39451", "-1"},
           {"=WORKDAY(39454,-1,{39450,39451})-39451", "-2"},
           {"=WORKDAY(39451,0,39451)-39451", "0"},
           {"=WORKDAY(39451,1,{\"x\"})", "#VALUE!"}});
}

TEST_F(DateFunctions, BooksOf1904CountFromThere) {
    CurrentWorkbook()->date1904 = 1;
    // 37986 is 1 January 2008 in this system.
    Check({{"=DATE(2008,1,1)", "37986"},
           {"=YEAR(37986)", "2008"},
           {"=DAY(0)", "1"},
           {"=YEAR(0)", "1904"},
           {"=DATEVALUE(\"1/1/2008\")", "37986"},
           {"=WEEKDAY(37986)", "3"},
           {"=WEEKNUM(37986)", "1"},
           {"=EDATE(37986,1)", "38017"},
           {"=EOMONTH(37986,0)", "38016"},
           {"=WORKDAY(37986,1,37987)", "37988"},
           {"=NETWORKDAYS(37986,37988,37987)", "2"},
           {"=DATEDIF(37986,38017,\"m\")", "1"},
           {"=DAYS360(37986,38016)", "30"},
           {"=DAY(2147483647)", "#NUM!"}});
}

TEST_F(DateFunctions, WeekdaySeriesStepsOneByOne) {
    // A step of many weekdays is as many steps of one, from every day of the week.
    for (i64 start = 39448; start < 39455; ++start) {
        for (const i64 direction : {1, -1}) {
            i64 walked = start;
            for (i64 n = 1; n <= 23; ++n) {
                walked = AddWorkdays(walked, direction);
                EXPECT_EQ(AddWorkdays(start, n * direction), walked) << start << " " << n * direction;
            }
        }
    }
}

}  // namespace
}  // namespace tally
