#include "editing/EntryRecognition.h"

#include <cmath>

#include "display/Calendar.h"
#include "model/Formats.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class EntryRecognition : public Sandbox {
  protected:
    static EntryKind Classify(WideView text, EntryResult& result) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.sheet = CurrentWorkbook()->currentSheet;
        return ClassifyEntry(place, text, result);
    }
    static EntryKind KindOf(WideView text) {
        EntryResult result;
        return Classify(text, result);
    }
    // The number with its format kind and sub-kind, all checked against what is expected.
    static void ExpectNumber(WideView text, double number, i32 formatKind, i32 subKind) {
        EntryResult result;
        ASSERT_EQ(Classify(text, result), ENTRY_NUMBER) << Narrow(text);
        EXPECT_DOUBLE_EQ(result.number, number) << Narrow(text);
        EXPECT_EQ(result.formatKind, formatKind) << Narrow(text);
        EXPECT_EQ(result.subKind, subKind) << Narrow(text);
    }
    static void ExpectKind(WideView text, EntryKind kind) { EXPECT_EQ(KindOf(text), kind) << Narrow(text); }
    static std::string FormatOf(i32 kind, i32 subKind, WideView custom = {}) {
        u16 id = 0;
        EXPECT_TRUE(FormatForEntry(CurrentBook(), kind, subKind, custom, id));
        return Narrow(GetNumberFormatText(*CurrentWorkbook(), id));
    }
    static std::string Editable(double number, WideView format) {
        u16 id = 0;
        WideText text;
        EXPECT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), format, id));
        EXPECT_TRUE(EditableText(CurrentBook(), NumberValue(number), id, text));
        return Narrow(text);
    }
};

struct NumberRow {
    WideView text;
    double number;
    i32 formatKind;
    i32 subKind;
};

// A result that held another entry's tells nothing of it.
TEST_F(EntryRecognition, EachEntryBeginsAnew) {
    EntryResult used;
    used.number = 7;
    used.boolean = used.error = used.formatKind = used.subKind = used.formatProposal = 9;
    for (const WideView text : {u"", u"=", u"   ", u"abc", u"'5"}) {
        EntryResult result = used;
        IgnoreFailure(Classify(text, result));
        EXPECT_EQ(result.number, 0) << Narrow(text);
        EXPECT_EQ(result.boolean, 0) << Narrow(text);
        EXPECT_EQ(result.error, 0) << Narrow(text);
        EXPECT_EQ(result.formatKind, 0) << Narrow(text);
        EXPECT_EQ(result.subKind, 0) << Narrow(text);
        EXPECT_EQ(result.formatProposal, -1) << Narrow(text);
    }
}

// A quotation mark or a bracket that nothing closes.
TEST_F(EntryRecognition, AFormatThatBreaksOffIsEditedAsANumber) {
    EXPECT_EQ(Editable(5.25, u"0\"dy"), "5.25");
    EXPECT_EQ(Editable(0.25, u"\\h"), "0.25");
    EXPECT_EQ(Editable(0.5, u"0\\%"), "0.5");
    EXPECT_EQ(Editable(0.5, u"0\"%\""), "0.5");
}

TEST_F(EntryRecognition, AnOfferedPercentSignGoesToNumbersOnly) {
    struct Case {
        WideView typed;
        WideView meant;
    };
    const Case rows[] = {
        {u"12%", u"12%"},
        {u"-7%", u"-7%"},
        {u"+.5%", u"+.5%"},
        {u"1,234%", u"1,234%"},
        {u"1 1/2%", u"1 1/2%"},
        {u"8%%", u"8%"},
        {u"1/2/2003%", u"1/2/2003"},
        {u"12:30%", u"12:30"},
        {u"-A1%", u"-A1"},
        {u"12 x%", u"12 x"},
        {u"8%% ", u"8%"},
        {u"12", u"12"},
        {u"%", u""},
        {u"", u""},
    };
    for (const Case& row : rows)
        EXPECT_EQ(Narrow(WithoutOfferedPercent(row.typed)), Narrow(row.meant)) << Narrow(row.typed);
}

TEST_F(EntryRecognition, EmptyAndBlankTexts) {
    ExpectKind(u"", ENTRY_EMPTY);
    ExpectKind(u"   ", ENTRY_TEXT);
}

TEST_F(EntryRecognition, PlainNumbers) {
    const NumberRow rows[] = {
        {u"3", 3, 0, 0},        {u" 3 ", 3, 0, 0},
        {u"1,234", 1234, 0, 0}, {u"1,234,567.5", 1234567.5, 0, 0},
        {u"1e3", 1000, 0, 0},   {u"1 E 3", 1000, 0, 0},
        {u"1E-2", 0.01, 0, 0},  {u"+5", 5, 0, 0},
        {u"- 5", -5, 0, 0},     {u".5", 0.5, 0, 0},
        {u"5.", 5, 0, 0},       {u"-.25e1", -2.5, 0, 0},
        {u"(5)", -5, 0, 0},     {u"(1,234)", -1234, 0, 0},
        {u"( 5 )", -5, 0, 0},   {u"007", 7, 0, 0},
    };
    for (const NumberRow& row : rows) ExpectNumber(row.text, row.number, row.formatKind, row.subKind);
}

TEST_F(EntryRecognition, MisplacedSeparatorsMakeText) {
    for (WideView text : {u"1,23", u"1,2345", u"1,234,", u"12,34,567", u"1.2.3", u"1..2", u"1,,234"})
        ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, ExponentsOutOfRangeMakeText) {
    for (WideView text : {u"1e999", u"1e-999", u"-1e999", u"(1e999)", u"$1e999", u"1e", u"1e+", u"e5"})
        ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, ParenthesesHoldAPlainNumberOnly) {
    for (WideView text : {u"(5", u"5)", u"($5)", u"()", u"(5%)", u"(a)", u"(1 1/2)"})
        ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, Percents) {
    const NumberRow rows[] = {
        {u"50%", 0.5, 6, 0},      {u"12.5%", 0.125, 6, 2},    {u"-5%", -0.05, 6, 0}, {u" 5 % ", 0.05, 6, 0},
        {u"1 1/2%", 0.015, 6, 2}, {u"-1 1/2%", -0.015, 6, 2}, {u"1,000%", 10, 6, 0},
    };
    for (const NumberRow& row : rows) ExpectNumber(row.text, row.number, row.formatKind, row.subKind);
    for (WideView text : {u"%", u"5%%", u"%5", u"$5%"}) ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, MixedFractions) {
    const NumberRow rows[] = {
        {u"1 1/2", 1.5, 7, 1},      {u"-2 3/4", -2.75, 7, 1}, {u"0 1/3", 1.0 / 3, 7, 1},
        {u"1 5/016", 1.3125, 7, 2}, {u" 1  1/2 ", 1.5, 7, 1},
    };
    for (const NumberRow& row : rows) ExpectNumber(row.text, row.number, row.formatKind, row.subKind);
    for (WideView text : {u"1 1/0", u"1 1 /2", u"1 1/ 2", u"1 1/"}) ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, CurrencyNeedsItsSymbolInFront) {
    ExpectNumber(u"$5", 5, 2, 0);
    ExpectNumber(u"$1,234.5", 1234.5, 2, 2);
    ExpectNumber(u" $5", 5, 2, 0);
    ExpectNumber(u"$-5", -5, 2, 0);
    ExpectKind(u"5$", ENTRY_TEXT);
    ExpectKind(u"$", ENTRY_TEXT);
    ExpectKind(u"$1/2/3", ENTRY_TEXT);
    Region("zh-CN");
    ExpectNumber(u"¥5", 5, 2, 0);
    ExpectKind(u"$5", ENTRY_TEXT);
}

TEST_F(EntryRecognition, BooleansAreTheWholeText) {
    EntryResult result;
    ASSERT_EQ(Classify(u"true", result), ENTRY_BOOL);
    EXPECT_EQ(result.boolean, 1);
    ASSERT_EQ(Classify(u"False", result), ENTRY_BOOL);
    EXPECT_EQ(result.boolean, 0);
    ExpectKind(u"TRUE ", ENTRY_TEXT);
    ExpectKind(u" TRUE", ENTRY_TEXT);
}

TEST_F(EntryRecognition, ErrorsAreTheWholeText) {
    const WideView errors[] = {u"#NULL!", u"#DIV/0!", u"#VALUE!", u"#REF!", u"#NAME?", u"#NUM!", u"#n/a"};
    i32 index = 0;
    for (WideView text : errors) {
        EntryResult result;
        ASSERT_EQ(Classify(text, result), ENTRY_ERROR) << Narrow(text);
        EXPECT_EQ(result.error, index++);
    }
    for (WideView text : {u"#N/A ", u" #N/A", u"#N/A!", u"#"}) ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, FormulasEndWhereTheCheckEnds) {
    for (WideView text : {u"=1+1", u"=  SUM(A1:A3)", u"=foo", u"+A1", u"-SUM(A1:A3)", u"+ 1+1", u" -A1"})
        ExpectKind(text, ENTRY_FORMULA);
    for (WideView text : {u"=", u"=  ", u"=1+", u" =1+1", u"-", u"+", u"-abc", u"+foo", u"--", u"=(", u"'=1"})
        ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, TwoItemDatesAreOfThisYear) {
    ExpectNumber(u"12/25", DateToSerial(2026, 12, 25), 4, 0);
    ExpectKind(u"13/25", ENTRY_TEXT);
    ExpectNumber(u"1/2", DateToSerial(2026, 1, 2), 4, 0);
    ExpectNumber(u"Dec 25", DateToSerial(2026, 12, 25), 4, 0);
    ExpectNumber(u"25-Dec", DateToSerial(2026, 12, 25), 4, 0);
    ExpectNumber(u"2/30", DateToSerial(1930, 2, 1), 4, 0);
    ExpectNumber(u"march 1999", DateToSerial(1999, 3, 1), 4, 0);
    ExpectKind(u"Dec, 25", ENTRY_TEXT);
}

TEST_F(EntryRecognition, ThreeItemDatesTakeTwoDigitYears) {
    ExpectNumber(u"1/2/3", DateToSerial(2003, 1, 2), 4, 0);
    ExpectNumber(u"1/2/29", DateToSerial(2029, 1, 2), 4, 0);
    ExpectNumber(u"1/2/30", DateToSerial(1930, 1, 2), 4, 0);
    ExpectNumber(u"1/2/2003 13:30", DateToSerial(2003, 1, 2) + 13.5 / 24, 4, 20);
    ExpectNumber(u"1/2/2003 1:30 pm", DateToSerial(2003, 1, 2) + 13.5 / 24, 4, 18);
    ExpectKind(u"2/30/2003", ENTRY_TEXT);
    ExpectKind(u"1/2/1899", ENTRY_TEXT);
    ExpectKind(u"1/2/003", ENTRY_TEXT);
    ExpectKind(u" 1/2/3", ENTRY_TEXT);
}

TEST_F(EntryRecognition, YearMonthDayIsADateEverywhere) {
    for (const char* tag : {"en-US", "en-GB", "de-DE", "zh-CN"}) {
        Region(tag);
        ExpectNumber(u"2000-1-31", DateToSerial(2000, 1, 31), 4, 0);
    }
}

TEST_F(EntryRecognition, RegionsDecideSeparatorsAndOrder) {
    Region("de-DE");
    ExpectNumber(u"1,5", 1.5, 0, 0);
    ExpectNumber(u"1.234,5", 1234.5, 0, 0);
    ExpectNumber(u"12,5%", 0.125, 6, 2);
    ExpectNumber(u"31.12.2003", DateToSerial(2003, 12, 31), 4, 0);
    ExpectNumber(u"31.12", DateToSerial(2026, 12, 31), 4, 0);
    ExpectNumber(u"1-M\u00E4rz-2003", DateToSerial(2003, 3, 1), 4, 0);
}

TEST_F(EntryRecognition, Times) {
    const NumberRow rows[] = {
        {u"3 PM", 15.0 / 24, 5, 18},
        {u"12:00 AM", 0, 5, 18},
        {u"12 pm", 0.5, 5, 18},
        {u"13:30", 13.5 / 24, 5, 20},
        {u"1:02:03", 3723.0 / 86400, 5, 21},
        {u"1:02:03 a", 3723.0 / 86400, 5, 19},
        {u"25:61", (25 * 60 + 61) / 1440.0, 5, 20},
        {u"1:", 1.0 / 24, 5, 20},
        {u"1:02.5", 62.5 / 86400, 5, 47},
        {u"1:02:03.25", 3723.25 / 86400, 5, 47},
    };
    for (const NumberRow& row : rows) ExpectNumber(row.text, row.number, row.formatKind, row.subKind);
    for (WideView text : {u"13:00 PM", u"3 XM", u"3PM", u"1:2:3:4", u"1:02 ", u"1:02."})
        ExpectKind(text, ENTRY_TEXT);
}

TEST_F(EntryRecognition, The1904SystemTakesOffItsOffset) {
    CurrentWorkbook()->date1904 = 1;
    ExpectNumber(u"1/2/2003", DateToSerial(2003, 1, 2) - 1462, 4, 0);
    ExpectNumber(u"12:00", 0.5, 5, 20);
}

TEST_F(EntryRecognition, FormatsOfEachKind) {
    EXPECT_EQ(FormatOf(0, 5), "General");
    EXPECT_EQ(FormatOf(1, 0), "0");
    EXPECT_EQ(FormatOf(1, 3), "0.000");
    EXPECT_EQ(FormatOf(2, 0), "$#,##0");
    EXPECT_EQ(FormatOf(2, 2), "$#,##0.00");
    EXPECT_EQ(FormatOf(3, 2), "$* #,##0.00");
    EXPECT_EQ(FormatOf(4, 0), "m\\/d\\/yyyy");
    EXPECT_EQ(FormatOf(4, 18), "m\\/d\\/yyyy h:mm AM/PM");
    EXPECT_EQ(FormatOf(5, 21), "h:mm:ss");
    EXPECT_EQ(FormatOf(5, 0), "hh:mm:ss");
    EXPECT_EQ(FormatOf(6, 0), "0%");
    EXPECT_EQ(FormatOf(6, 2), "0.00%");
    EXPECT_EQ(FormatOf(7, 2), "# ?\?/?\?");
    EXPECT_EQ(FormatOf(8, 1), "0.0E+00");
    EXPECT_EQ(FormatOf(9, 0), "@");
    EXPECT_EQ(FormatOf(10, 0, u"0;-0"), "0;-0");
    Region("zh-CN");
    EXPECT_EQ(FormatOf(2, 2), "\"¥\"#,##0.00");
}

TEST_F(EntryRecognition, ProposalsSpareFormatsTheUserChose) {
    constexpr u16 keptIds[] = {2, 5, 8, 14, 20, 22, 49, 50, 164};
    constexpr u16 freeIds[] = {0, 1, 3, 4, 9, 10, 13, 23, 37, 48};
    for (u16 kept : keptIds) EXPECT_FALSE(TakesProposedFormat(kept, 9)) << kept;
    for (u16 free : freeIds) EXPECT_TRUE(TakesProposedFormat(free, 9)) << free;
    EXPECT_FALSE(TakesProposedFormat(0, 0));
    EXPECT_FALSE(TakesProposedFormat(0, -1));
}

TEST_F(EntryRecognition, EditableTextFollowsTheKindOfFormat) {
    EXPECT_EQ(Editable(1234.5, u"#,##0.00"), "1234.5");
    EXPECT_EQ(Editable(0.125, u"0%"), "12.5%");
    EXPECT_EQ(Editable(36526, u"yyyy"), "1/1/2000");
    EXPECT_EQ(Editable(36526.5, u"d mmm"), "1/1/2000 12:00:00");
    EXPECT_EQ(Editable(0.75, u"h:mm"), "18:00:00");
    EXPECT_EQ(Editable(1.5, u"h:mm"), "1.5");
    EXPECT_EQ(Editable(-3, u"d/m/yy"), "-3");
}

TEST_F(EntryRecognition, ColoursAndCurrencyWordsMakeNoDateOfANumber) {
    for (WideView format : {u"0;[Red]-0", u"[Yellow]0.00", u"[$USD-409] 0", u"[Cyan][>5]0;[White]0",
                            u"$#,##0_);[Red]($#,##0)", u"\"days\" 0", u"0\\d", u"_d0", u"0*s"}) {
        EXPECT_EQ(Editable(5, format), "5") << Narrow(format);
        EXPECT_EQ(Editable(0.25, format), "0.25") << Narrow(format);
    }
    EXPECT_EQ(Editable(0.5, u"[h]:mm"), "12:00:00");
    EXPECT_EQ(Editable(36526, u"[Red]yyyy"), "1/1/2000");
}

TEST_F(EntryRecognition, DatesThatCannotBeTypedAreEditedAsNumbers) {
    EXPECT_EQ(Editable(0, u"yyyy-mm-dd"), "0");               // a day of 1899
    EXPECT_EQ(Editable(2958466, u"yyyy-mm-dd"), "2958466");   // 1 January 10000
    EXPECT_EQ(Editable(0.9999999, u"h:mm:ss"), "0.9999999");  // not carried into the day
    EXPECT_EQ(Editable(36526.9999999, u"yyyy"), "1/2/2000 00:00:00");
}

// What the entry line shows must come back as the same number.
TEST_F(EntryRecognition, EditableTextReadsBackToTheSameValue) {
    const WideView formats[] = {u"General",    u"0%",          u"0.00%;[Red]-0.00%",
                                u"yyyy-mm-dd", u"d/m/yy h:mm", u"h:mm:ss"};
    const double numbers[] = {0,  1,     -1,       0.5,   0.07,      0.29,  12.25, 59,   60,
                              61, 36526, 36526.25, 47484, 43831.999, 73050, 0.999, 1e15, -0.125};
    for (const char* tag : {"en-US", "de-DE", "zh-CN", "en-GB"}) {
        Region(tag);
        for (WideView format : formats) {
            for (double number : numbers) {
                const std::string shown = Editable(number, format);
                EntryResult result;
                ASSERT_EQ(Classify(Wide(shown), result), ENTRY_NUMBER) << shown;
                // Times are shown to the second.
                const double room =
                    result.formatKind >= 4 && result.formatKind <= 5 ? 0.6 / 86400 : 1e-14 * std::fabs(number);
                EXPECT_NEAR(result.number, number, room) << tag << " " << Narrow(format) << " " << shown;
            }
        }
    }
}

// A bracket that counts hours, minutes or seconds makes a time, any other does not.
TEST_F(EntryRecognition, OnlyBracketsOfTimesMakeATime) {
    for (WideView format : {u"[h]", u"[hh]:0", u"[M]:[s]", u"[ss]"})
        EXPECT_EQ(Editable(0.5, format), "12:00:00");
    for (WideView format : {u"[h-]0", u"[-h]0", u"[his]0", u"[hs!]0", u"[Yellow]0"})
        EXPECT_EQ(Editable(0.5, format), "0.5") << Narrow(format);
}

TEST_F(EntryRecognition, WithoutMemoryThereIsNoText) {
    for (const auto& [number, format, expected] :
         {std::tuple<double, WideView, const char*>(36526.5, u"d mmm", "1/1/2000 12:00:00"),
          {0.125, u"0%", "12.5%"},
          {0.75, u"h:mm", "18:00:00"},
          {1234.5, u"General", "1234.5"}}) {
        u16 id = 0;
        ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), format, id));
        bool reached = true;
        for (u64 n = 1; reached; ++n) {
            WideText text;
            test::FailingAllocator allocator(n);
            const bool good = EditableText(CurrentBook(), NumberValue(number), id, text);
            reached = allocator.HasFailed();
            EXPECT_EQ(good, !reached) << Narrow(format) << n;
            if (good) EXPECT_EQ(Narrow(text), expected);
            text.Clear();
        }
    }
}

}  // namespace
}  // namespace tally
