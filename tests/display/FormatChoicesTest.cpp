#include "display/DisplayText.h"
#include "display/FormatSections.h"
#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class FormatChoices : public Sandbox {
  protected:
    static std::string Shown(double value, WideView format) {
        WideText out;
        EXPECT_TRUE(out.Assign(u"left from before") &&
                    FormatNumber(value, format, nullptr, 0, false, nullptr, out));
        return Narrow(out);
    }
};

// What each of -5, -0.5, 0, 0.5 and 5 shows under a format: of texts, empty and conditional sections.
TEST_F(FormatChoices, ANumberFindsItsSection) {
    struct Row {
        WideView format;
        const char* expected;
    };
    const Row rows[] = {
        {u"\"a\"", "-a,-a,a,a,a"},
        {u"\"a\";", ",,a,a,a"},
        {u"\"a\";;", ",,,a,a"},
        {u"\"a\";;\"c\"", ",,c,a,a"},
        {u"\"a\";;[<0]\"c\"", ",,c,a,a"},
        {u"\"a\";\"b\"", "b,b,a,a,a"},
        {u"\"a\";\"b\";", "b,b,,a,a"},
        {u"\"a\";\"b\";\"c\"", "b,b,c,a,a"},
        {u"\"a\";\"b\";[<0]\"c\"", "b,b,c,a,a"},
        {u"\"a\";[<-3]\"b\"", "-b,-0.5,0,a,a"},
        {u"\"a\";[<-3]\"b\";", "-b,,,a,a"},
        {u"\"a\";[<-3]\"b\";\"c\"", "-b,-c,c,a,a"},
        {u"\"a\";[<-3]\"b\";[<0]\"c\"", "-b,-c,c,a,a"},
        {u"\"a\";[=0]\"b\"", "-5,-0.5,b,a,a"},
        {u"\"a\";[=0]\"b\";", ",,b,a,a"},
        {u"\"a\";[=0]\"b\";\"c\"", "-c,-c,b,a,a"},
        {u"\"a\";[=0]\"b\";[<0]\"c\"", "-c,-c,b,a,a"},
        {u";", ",,,,"},
        {u";;", ",,,,"},
        {u";;\"c\"", ",,c,,"},
        {u";;[<0]\"c\"", ",,,,"},
        {u";\"b\"", "b,b,,,"},
        {u";\"b\";", "b,b,,,"},
        {u";\"b\";\"c\"", "b,b,c,,"},
        {u";\"b\";[<0]\"c\"", "b,b,,,"},
        {u";[<-3]\"b\"", ",-0.5,0,,"},
        {u";[<-3]\"b\";", ",,,,"},
        {u";[<-3]\"b\";\"c\"", ",-c,c,,"},
        {u";[<-3]\"b\";[<0]\"c\"", ",-c,c,,"},
        {u";[=0]\"b\"", "-5,-0.5,,,"},
        {u";[=0]\"b\";", ",,,,"},
        {u";[=0]\"b\";\"c\"", "-c,-c,,,"},
        {u";[=0]\"b\";[<0]\"c\"", "-c,-c,,,"},
        {u"[>3]\"a\"", "-5,-0.5,0,0.5,a"},
        {u"[>3]\"a\";", ",,,,a"},
        {u"[>3]\"a\";;", ",,,,a"},
        {u"[>3]\"a\";;\"c\"", ",,c,c,a"},
        {u"[>3]\"a\";;[<0]\"c\"", ",,,,a"},
        {u"[>3]\"a\";\"b\"", "b,b,b,b,a"},
        {u"[>3]\"a\";\"b\";", "b,b,,,a"},
        {u"[>3]\"a\";\"b\";\"c\"", "b,b,c,c,a"},
        {u"[>3]\"a\";\"b\";[<0]\"c\"", "b,b,c,c,a"},
        {u"[>3]\"a\";[<-3]\"b\"", "-b,-0.5,0,0.5,a"},
        {u"[>3]\"a\";[<-3]\"b\";", "-b,,,,a"},
        {u"[>3]\"a\";[<-3]\"b\";\"c\"", "-b,-c,c,c,a"},
        {u"[>3]\"a\";[<-3]\"b\";[<0]\"c\"", "-b,-c,c,c,a"},
        {u"[>3]\"a\";[=0]\"b\"", "-5,-0.5,b,0.5,a"},
        {u"[>3]\"a\";[=0]\"b\";", ",,b,,a"},
        {u"[>3]\"a\";[=0]\"b\";\"c\"", "-c,-c,b,c,a"},
        {u"[>3]\"a\";[=0]\"b\";[<0]\"c\"", "-c,-c,b,c,a"},
    };
    for (const Row& row : rows) {
        std::string all;
        for (const double value : {-5.0, -0.5, 0.0, 0.5, 5.0})
            all += (value == -5 ? "" : ",") + Shown(value, row.format);
        EXPECT_EQ(all, row.expected) << Narrow(row.format);
    }
}

TEST_F(FormatChoices, ConditionsCompareWithTheirLimit) {
    struct Row {
        const char16_t* condition;
        bool below, equal, above;
    };
    for (const Row& row :
         {Row{u"=2", false, true, false}, Row{u">2", false, false, true}, Row{u">=2", false, true, true},
          Row{u"<2", true, false, false}, Row{u"<=2", true, true, false}, Row{u"<>2", true, false, true},
          Row{u"> 2", false, false, true}, Row{u"<=2.0", true, true, false}}) {
        const std::u16string format = u"[" + std::u16string(row.condition) + u"]\"y\";\"n\"";
        const auto holds = [&](double value) { return Shown(value, format) == "y"; };
        EXPECT_EQ(holds(1.5), row.below) << Narrow(format);
        EXPECT_EQ(holds(2), row.equal) << Narrow(format);
        EXPECT_EQ(holds(2.5), row.above) << Narrow(format);
    }
}

TEST_F(FormatChoices, SectionsAreCutAtSemicolonsThatAreNotLiteral) {
    struct Row {
        double value;
        WideView format;
        const char* expected;
    };
    const Row rows[] = {
        {-1, u"\"a;b\";\"n\"", "n"},
        {1, u"\"a;b\";\"n\"", "a;b"},
        {1, u"\\;;\"n\"", ";"},
        {-1, u"\\;;\"n\"", "n"},
        {1, u"0\"x\"\";\";\"n\"", "1x\";"},
        {1, u"0_;", "1 "},
        {1, u"[red]0", "1"},
        {1, u"[RED][>0]0;\"n\"", "1"},
        {-1, u"[RED][>0]0;\"n\"", "n"},
        {1, u"general;0", "1"},
        {0.5, u"GENERAL", "0.5"},
        {90, u"[mm]", "129600"},
        {1.5, u"[s]", "129600"},
        {1.5, u"[H]", "36"},
        {7, u"[>5", "7"},
        {7, u"\"open", "open"},
        {7, u"0\\", "7"},
    };
    for (const Row& row : rows) EXPECT_EQ(Shown(row.value, row.format), row.expected) << Narrow(row.format);
}

TEST_F(FormatChoices, EveryColourWordIsAColour) {
    u16 number = 0;
    for (const ColourWord& word : ColourWords()) {
        const std::u16string format = u"[" + std::u16string(word.english) + u"]0";
        WideText out;
        u16 colour = 99;
        ASSERT_TRUE(FormatNumber(1, format, nullptr, 0, false, &colour, out));
        EXPECT_EQ(colour, number++) << Narrow(format);
        EXPECT_EQ(Narrow(out), "1");
    }
    EXPECT_EQ(number, 8);
}

// ---- values of cells ----------------------------------------------------------------------------------

TEST_F(FormatChoices, EachKindOfValueHasItsText) {
    Workbook& book = *CurrentWorkbook();
    u16 starred = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0;0;0;*-\"<\"@\">\"", starred));
    Value text = TextValue(u"abc");
    const struct {
        Value value;
        u16 format;
        const char* expected;
    } rows[] = {{NumberValue(1.5), 0, "1.5"},      {NumberValue(1.5), 2, "1.50"},
                {NumberValue(-0.0), 0, "0"},       {text, 0, "abc"},
                {text, starred, "<abc>"},          {text, 2, "abc"},
                {BoolValue(true), 2, "TRUE"},      {BoolValue(false), 0, "FALSE"},
                {ErrorValue(ERR_NUM), 2, "#NUM!"}, {Value(), 2, ""}};
    WideText out;
    for (const auto& row : rows) {
        ASSERT_TRUE(out.Assign(u"left from before") && DisplayValue(book, row.value, row.format, out));
        EXPECT_EQ(Narrow(out), row.expected);
    }
    book.date1904 = 1;
    ASSERT_TRUE(DisplayValue(book, NumberValue(0), 15, out));
    EXPECT_EQ(Narrow(out), "01-Jan-04");
    CellFormat format = book.cellFormats[15];
    format.numberFormat = 2;
    u16 cellFormat = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, format, cellFormat) &&
                DisplayText(book, NumberValue(3), cellFormat, out));
    EXPECT_EQ(Narrow(out), "3.00");
    FreeValue(text);
}

TEST_F(FormatChoices, ATextShowsWhatStandsAroundItsMark) {
    const struct {
        WideView format;
        const char* expected;
    } rows[] = {{u"General", "abc"},  {u"@", "abc"},
                {u"@@", "abcabc"},    {u"x@", "xabc"},
                {u"0;0;0;", ""},      {u";;;\"<\"@", "<abc"},
                {u";;;\\y@", "yabc"}, {u";;;_y@", " abc"},
                {u";;;*y@", "abc"},   {u";;;@\"open", "abcopen"},
                {u";;;@\\", "abc"},   {u";;;@_", "abc "},
                {u";;;[x]@", "abc"},  {u"0;@", "abc"},
                {u"0;@;0", "abc"},    {u"\"@\"0", "abc"}};
    WideText out;
    for (const auto& row : rows) {
        ASSERT_TRUE(out.Assign(u"left from before") && FormatTextValue(u"abc", row.format, out));
        EXPECT_EQ(Narrow(out), row.expected) << Narrow(row.format);
    }
}

// ---- the region ---------------------------------------------------------------------------------------

TEST_F(FormatChoices, WithoutARegionTheSettingsArePlain) {
    Region("de-DE");
    ResetLocaleSettings();
    const LocaleSettings& s = Locale();
    EXPECT_EQ(WideView(s.dateOrder), u"0");
    EXPECT_EQ(WideView(s.dateSeparator), u"/");
    EXPECT_EQ(WideView(s.timeSeparator), u":");
    EXPECT_EQ(s.decimalSeparator, u'.');
    EXPECT_EQ(s.thousandsSeparator, u',');
    EXPECT_EQ(WideView(s.currencySymbol), u"$");
    EXPECT_EQ(s.currencyDigits, 2);
    EXPECT_EQ(s.listSeparator, u',');
    EXPECT_EQ(NewFormatText(14), u"m/d/yy");
    EXPECT_EQ(Shown(1234.5, u"#,##0.0"), "1,234.5");
}

}  // namespace
}  // namespace tally
