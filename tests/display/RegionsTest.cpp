// Regions that no table of the platform has, item by item.

#include <map>

#include "base/Platform.h"
#include "display/EntryScanners.h"
#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

std::map<i32, std::u16string> items;
const PlatformTable* under = nullptr;

class Regions : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        items.clear();
        under = &Platform();
        made = *under;
        made.getLocaleInfo = [](i32 item, WideText& out) {
            const auto found = items.find(item);
            return found == items.end() ? under->getLocaleInfo(item, out) : out.Assign(found->second);
        };
        SetPlatform(&made);
    }
    void TearDown() override {
        SetPlatform(under);
        Sandbox::TearDown();
    }
    static const LocaleSettings& With(i32 item, std::u16string text) {
        items[item] = std::move(text);
        EXPECT_TRUE(ReadLocaleSettings());
        return Locale();
    }
    static std::string BuiltIn(u16 id) { return Narrow(NewFormatText(id)); }
    static std::string Shown(double value, WideView format) {
        WideText out;
        EXPECT_TRUE(FormatNumber(value, format, nullptr, 0, false, nullptr, out));
        return Narrow(out);
    }
    PlatformTable made;
};

TEST_F(Regions, AmountsHaveSixteenPictures) {
    items[LOCALE_SCURRENCY] = u"kr";
    const struct {
        const char16_t* order;
        const char* format;
    } rows[] = {
        {u"0", "\"kr\"#,##0_);(\"kr\"#,##0)"},
        {u"1", "\"kr\"#,##0;-\"kr\"#,##0"},
        {u"2", "\"kr\"#,##0;\"kr\"-#,##0"},
        {u"3", "\"kr\"#,##0;\"kr\"#,##0-"},
        {u"4", "#,##0\"kr\"_);(#,##0\"kr\")"},
        {u"5", "#,##0\"kr\";-#,##0\"kr\""},
        {u"6", "#,##0\"kr\";#,##0-\"kr\""},
        {u"7", "#,##0\"kr\";#,##0\"kr\"-"},
        {u"8", "#,##0 \"kr\";-#,##0 \"kr\""},
        {u"9", "\"kr\" #,##0;-\"kr\" #,##0"},
        {u"10", "#,##0 \"kr\";#,##0 \"kr\"-"},
        {u"11", "\"kr\" #,##0;\"kr\" #,##0-"},
        {u"12", "\"kr\" #,##0;\"kr\" -#,##0"},
        {u"13", "#,##0 \"kr\";#,##0- \"kr\""},
        {u"14", "\"kr\" #,##0_);(\"kr\" #,##0)"},
        {u"15", "#,##0 \"kr\"_);(#,##0 \"kr\")"},
        // What is no picture is the first one; two digits are read, no more.
        {u"16", "\"kr\"#,##0_);(\"kr\"#,##0)"},
        {u"99", "\"kr\"#,##0_);(\"kr\"#,##0)"},
        {u"x", "\"kr\"#,##0_);(\"kr\"#,##0)"},
        {u"012", "\"kr\"#,##0;-\"kr\"#,##0"},
        {u"1x", "\"kr\"#,##0;-\"kr\"#,##0"},
    };
    for (const auto& row : rows) {
        With(LOCALE_INEGCURR, row.order);
        EXPECT_EQ(BuiltIn(5), row.format) << Narrow(row.order);
        // The red form, and both with decimals.
        std::string red = row.format;
        red.insert(red.find(';') + 1, "[Red]");
        EXPECT_EQ(BuiltIn(6), red);
        const auto withDecimals = [](std::string text) {
            for (std::size_t at = 0; (at = text.find("##0", at)) != std::string::npos; at += 6)
                text.insert(at + 3, ".00");
            return text;
        };
        EXPECT_EQ(BuiltIn(7), withDecimals(row.format));
        EXPECT_EQ(BuiltIn(8), withDecimals(red));
    }
}

TEST_F(Regions, AmountsHaveTheDecimalsOfTheCurrency) {
    With(LOCALE_INEGCURR, u"1");
    for (const auto& [digits, text] : {std::pair<std::u16string, std::string>(u"0", "$#,##0;-$#,##0"),
                                       {u"1", "$#,##0.0;-$#,##0.0"},
                                       {u"3", "$#,##0.000;-$#,##0.000"},
                                       {u"12", "$#,##0.000000000;-$#,##0.000000000"},
                                       {u"", "$#,##0.00;-$#,##0.00"}}) {
        With(LOCALE_ICURRDIGITS, digits);
        EXPECT_EQ(BuiltIn(7), text);
        EXPECT_EQ(BuiltIn(5), "$#,##0;-$#,##0");
    }
}

TEST_F(Regions, AccountingFormatsHaveTheSymbol) {
    With(LOCALE_SCURRENCY, u"kr");
    EXPECT_EQ(BuiltIn(41), "_(* #,##0_);_(* (#,##0);_(* \"-\"_);_(@_)");
    EXPECT_EQ(BuiltIn(42), "_(\"kr\"* #,##0_);_(\"kr\"* (#,##0);(\"kr\"* \"-\"_);_(@_)");
    EXPECT_EQ(BuiltIn(43), "_(* #,##0.00_);_(* (#,##0.00);_(* \"-\"?\?_);_(@_)");
    EXPECT_EQ(BuiltIn(44), "_(\"kr\"* #,##0.00_);_(\"kr\"* (#,##0.00);_(\"kr\"* \"-\"?\?_);_(@_)");
    With(LOCALE_SCURRENCY, u"$");
    EXPECT_EQ(BuiltIn(42), "_($* #,##0_);_($* (#,##0);($* \"-\"_);_(@_)");
}

TEST_F(Regions, HalfDaysHaveAllTheirForms) {
    items[LOCALE_S1159] = u"vormittag";
    const LocaleSettings& s = With(LOCALE_S2359, u"Nachm");
    // Four characters have room.
    const std::pair<WideView, const char*> forms[] = {{s.ampmUpper, "VORM/NACH"},
                                                      {s.ampmLower, "vorm/nach"},
                                                      {s.apUpper, "V/N"},
                                                      {s.apLower, "v/n"},
                                                      {s.amUpper, "VORM"},
                                                      {s.pmUpper, "NACH"},
                                                      {s.amLower, "vorm"},
                                                      {s.pmLower, "nach"},
                                                      {s.aUpper, "V"},
                                                      {s.pUpper, "N"},
                                                      {s.aLower, "v"},
                                                      {s.pLower, "n"}};
    for (const auto& [text, expected] : forms) EXPECT_EQ(Narrow(text), expected);
    EXPECT_EQ(Shown(0.25, u"h VORM/NACH"), "6 VORM");
    EXPECT_EQ(Shown(0.75, u"h vorm/nach"), "6 nach");
    EXPECT_EQ(Shown(0.75, u"h V/N"), "6 N");
    EXPECT_EQ(Shown(0.25, u"h v/n"), "6 v");
    items[LOCALE_S1159] = u"";
    With(LOCALE_S2359, u"");
    EXPECT_EQ(Narrow(Locale().ampmUpper), "AM/PM");
    items.erase(LOCALE_S1159);
    With(LOCALE_S2359, u"xy");
    EXPECT_EQ(Narrow(Locale().ampmUpper), "AM/XY");
}

TEST_F(Regions, DatesFollowOrderSeparatorsAndPattern) {
    items[LOCALE_SDATE] = u"-";
    items[LOCALE_STIME] = u".";
    items[LOCALE_SSHORTDATE] = u"D/MMM gg'YYYY";
    const struct {
        const char16_t* order;
        const char* date;
    } rows[] = {
        {u"0", "mm\\-dd\\-yyyy"}, {u"1", "dd\\-mm\\-yyyy"}, {u"2", "yyyy\\-mm\\-dd"}, {u"7", "yyyy\\-mm\\-dd"}};
    for (const auto& row : rows) {
        const LocaleSettings& s = With(LOCALE_IDATE, row.order);
        EXPECT_EQ(Narrow(s.longDateFormat), row.date);
        EXPECT_EQ(Narrow(s.longTimeFormat), "hh.mm.ss");
        EXPECT_EQ(Narrow(s.dateTimeFormat), std::string(row.date) + " hh.mm.ss");
        EXPECT_EQ(Narrow(s.shortDateFormat), "d\\/mmm\\ gg\\'yyyy");
        EXPECT_EQ(Narrow(s.shortDateTimeFormat), "d\\/mmm\\ gg\\'yyyy h.mm");
    }
    EXPECT_EQ(BuiltIn(14), "d\\/mmm\\ gg\\'yyyy");
    EXPECT_EQ(BuiltIn(20), "h.mm");
    EXPECT_EQ(BuiltIn(22), "d\\/mmm\\ gg\\'yyyy h.mm");
    for (const auto& [zero, time] :
         {std::pair<std::u16string, std::string>(u"1", "hh.mm"), {u"0", "h.mm"}, {u"2", "h.mm"}})
        EXPECT_EQ(Narrow(With(LOCALE_ITLZERO, zero).shortTimeFormat), time);
}

TEST_F(Regions, WhatThePlatformDoesNotKnowStaysPlain) {
    made.getLocaleInfo = [](i32, WideText&) { return false; };
    ASSERT_TRUE(ReadLocaleSettings());
    const LocaleSettings& s = Locale();
    EXPECT_EQ(s.decimalSeparator, u'.');
    EXPECT_EQ(s.thousandsSeparator, u',');
    EXPECT_EQ(s.listSeparator, u',');
    EXPECT_EQ(s.currencyDigits, 2);
    EXPECT_FALSE(s.timeLeadingZero);
    EXPECT_EQ(s.negativeCurrencyOrder, 0);
    EXPECT_EQ(Narrow(s.ampmUpper), "AM/PM");
    EXPECT_EQ(BuiltIn(5), "$#,##0_);($#,##0)");
}

// A format that was taken apart under one region is taken apart anew under the next.
TEST_F(Regions, KeptFormatsAreForgottenWithTheirRegion) {
    const WideView format = u"h v/n";
    EXPECT_EQ(Shown(0.75, format), "18 v/n");
    items[LOCALE_S1159] = u"vorm";
    With(LOCALE_S2359, u"nach");
    EXPECT_EQ(Shown(0.75, format), "6 n");
    ResetLocaleSettings();
    EXPECT_EQ(Shown(0.75, format), "18 v/n");
}

TEST_F(Regions, WithoutMemoryTheOldRegionStays) {
    // What is read under the allocator is given back under it.
    ResetLocaleSettings();
    items[LOCALE_SDECIMAL] = u";";
    bool reached = true;
    u32 refused = 0;
    for (u64 n = 1; reached; ++n) {
        test::FailingAllocator allocator(n);
        const bool good = ReadLocaleSettings();
        reached = allocator.HasFailed();
        allocator.StopFailing();
        refused += !good;
        EXPECT_TRUE(good || reached) << n;
        // An item that could not be read is the plain one; what could not be derived leaves all as it was.
        if (!good) EXPECT_EQ(Locale().decimalSeparator, u'.') << n;
        if (!reached) EXPECT_EQ(Locale().decimalSeparator, u';');
        ResetLocaleSettings();
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    EXPECT_GT(refused, 20u);
}

TEST_F(Regions, MonthsMayBeginWithADigit) {
    Region("zh-CN");
    SetPlatform(&made);
    double out = 0;
    i32 id = 0;
    ASSERT_EQ(Locale().monthShort[0][0], u'1');
    EXPECT_FALSE(ParseDateEntry(u"1月 5", false, out, id));
    EXPECT_FALSE(ParseDateEntry(u"2月 5", false, out, id));
    EXPECT_TRUE(ParseDateEntry(u"二月 5", false, out, id));
}

}  // namespace
}  // namespace tally
