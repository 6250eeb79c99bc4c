#include "display/LocaleSettings.h"

#include "display/DisplayText.h"
#include "model/Formats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class LocaleSettingsOf : public Sandbox {
  protected:
    static std::string BuiltIn(u16 id) { return Narrow(GetNumberFormatText(*CurrentWorkbook(), id)); }
    static void NewBook() { ASSERT_TRUE(CreateWorkbook(nullptr, false)); }
    static std::string Shown(double number, u16 id) {
        WideText text;
        EXPECT_TRUE(DisplayValue(*CurrentWorkbook(), NumberValue(number), id, text));
        return Narrow(text);
    }
};

TEST_F(LocaleSettingsOf, MonthDayYear) {
    const LocaleSettings& s = Locale();
    EXPECT_EQ(Narrow(s.shortDateFormat), "m\\/d\\/yyyy");
    EXPECT_EQ(Narrow(s.longDateFormat), "mm\\/dd\\/yyyy");
    EXPECT_EQ(Narrow(s.shortTimeFormat), "h:mm");
    EXPECT_EQ(Narrow(s.longTimeFormat), "hh:mm:ss");
    EXPECT_EQ(Narrow(s.dateTimeFormat), "mm\\/dd\\/yyyy hh:mm:ss");
    EXPECT_EQ(Narrow(s.ampmUpper), "AM/PM");
    EXPECT_EQ(Narrow(s.apLower), "a/p");
}

TEST_F(LocaleSettingsOf, DayMonthYearWithLeadingZeros) {
    Region("de-DE");
    const LocaleSettings& s = Locale();
    EXPECT_EQ(Narrow(s.shortDateFormat), "dd\\.mm\\.yyyy");
    EXPECT_EQ(Narrow(s.longDateFormat), "dd\\.mm\\.yyyy");
    EXPECT_EQ(Narrow(s.shortTimeFormat), "hh:mm");
    EXPECT_EQ(Narrow(s.shortDateTimeFormat), "dd\\.mm\\.yyyy hh:mm");
    EXPECT_EQ(Narrow(s.ampmUpper), "AM/PM");  // where the region has no words of its own
    NewBook();
    EXPECT_EQ(Shown(36526, 14), "01.01.2000");
    EXPECT_EQ(Shown(36526.25, 22), "01.01.2000 06:00");
    EXPECT_EQ(Shown(-1234.5, 7), "-1.234,50 €");
}

TEST_F(LocaleSettingsOf, YearMonthDayWithLocalWords) {
    Region("zh-CN");
    const LocaleSettings& s = Locale();
    EXPECT_EQ(Narrow(s.shortDateFormat), "yyyy\\/m\\/d");
    EXPECT_EQ(Narrow(s.longDateFormat), "yyyy\\/mm\\/dd");
    EXPECT_EQ(Narrow(s.ampmUpper), "上午/下午");
    EXPECT_EQ(Narrow(s.apUpper), "上/下");
    NewBook();
    EXPECT_EQ(Shown(36526, 14), "2000/1/1");
    EXPECT_EQ(Shown(1234.5, 7), "¥1,234.50");
    EXPECT_EQ(BuiltIn(15), "dd-mmm-yy");  // not a format of the region
}

TEST_F(LocaleSettingsOf, AShownNegativeZeroHasNoSign) {
    EXPECT_EQ(Shown(-0.0, 0), "0");
    EXPECT_EQ(Shown(-0.0, 2), "0.00");
}

}  // namespace
}  // namespace tally
