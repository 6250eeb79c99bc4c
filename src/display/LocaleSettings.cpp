#include "display/LocaleSettings.h"

#include <algorithm>

#include "base/Platform.h"
#include "base/Text.h"
#include "display/ScannedFormats.h"
#include "model/Formats.h"

namespace tally {
namespace {

// What stands until the platform has been read.
LocaleSettings MakeDefaults() {
    LocaleSettings s = {};
    s.dateOrder[0] = u'0';
    s.dateSeparator[0] = u'/';
    s.timeSeparator[0] = u':';
    s.decimalSeparator = u'.';
    s.thousandsSeparator = u',';
    s.currencySymbol[0] = u'$';
    s.currencyDigits = 2;
    s.listSeparator = u',';
    return s;
}

LocaleSettings settings = MakeDefaults();

template <std::size_t N>
void ReadText(i32 item, char16_t (&out)[N]) {
    WideText text;
    if (!Platform().getLocaleInfo(item, text)) return;
    const WideView cut = text.View().substr(0, N - 1);
    std::fill(std::begin(out), std::end(out), u'\0');
    std::copy(cut.begin(), cut.end(), out);
}

void ReadCharacter(i32 item, char16_t& out) {
    WideText text;
    if (Platform().getLocaleInfo(item, text) && !text.IsEmpty()) out = text[0];
}

i32 ReadNumber(i32 item, i32 otherwise) {
    WideText text;
    if (!Platform().getLocaleInfo(item, text) || text.IsEmpty()) return otherwise;
    i32 number = 0;
    for (std::size_t i = 0; i < text.Length() && i < 2 && IsAsciiDigit(text[i]); ++i)
        number = number * 10 + text[i] - u'0';
    return number;
}

void ReadItems(LocaleSettings& s) {
    ReadText(LOCALE_IDATE, s.dateOrder);
    ReadText(LOCALE_SDATE, s.dateSeparator);
    ReadText(LOCALE_STIME, s.timeSeparator);
    ReadCharacter(LOCALE_SDECIMAL, s.decimalSeparator);
    ReadCharacter(LOCALE_STHOUSAND, s.thousandsSeparator);
    ReadText(LOCALE_SCURRENCY, s.currencySymbol);
    s.currencyDigits = ReadNumber(LOCALE_ICURRDIGITS, 2);
    ReadCharacter(LOCALE_SLIST, s.listSeparator);
    for (i32 i = 0; i < 7; ++i) {
        ReadText(LOCALE_SDAYNAME1 + i, s.dayName[i]);
        ReadText(LOCALE_SABBREVDAYNAME1 + i, s.dayShort[i]);
    }
    for (i32 i = 0; i < 12; ++i) {
        ReadText(LOCALE_SMONTHNAME1 + i, s.monthName[i]);
        ReadText(LOCALE_SABBREVMONTHNAME1 + i, s.monthShort[i]);
    }
    ReadText(LOCALE_S1159, s.amText);
    ReadText(LOCALE_S2359, s.pmText);
    if (!s.amText[0]) std::copy_n(u"AM", 3, s.amText);
    if (!s.pmText[0]) std::copy_n(u"PM", 3, s.pmText);
    ReadText(LOCALE_SSHORTDATE, s.shortDatePattern);
    s.timeLeadingZero = ReadNumber(LOCALE_ITLZERO, 0) == 1;
    s.negativeCurrencyOrder = ReadNumber(LOCALE_INEGCURR, 0);
}

void NoteInitial(LocaleSettings& s, char16_t initial) {
    const char16_t lower = AsciiLower(initial);
    if (lower >= u'a' && lower <= u'z') {
        s.monthInitials |= 1u << (lower - u'a');
    } else if (initial) {
        s.otherMonthInitials = true;
    }
}

// What a text must begin with to begin with a month: nearly every text can be told from a date by it.
void DeriveMonthInitials(LocaleSettings& s) {
    for (i32 i = 0; i < 12; ++i) {
        NoteInitial(s, s.monthName[i][0]);
        NoteInitial(s, s.monthShort[i][0]);
    }
}

bool Cased(WideText& out, WideView text, bool upper) {
    out.Truncate(0);
    for (char16_t c : text) {
        if (!out.Append(upper ? UpperChar(c) : LowerChar(c))) return false;
    }
    return true;
}

bool JoinTexts(WideText& out, std::initializer_list<WideView> parts) {
    out.Truncate(0);
    return std::all_of(parts.begin(), parts.end(), [&](WideView part) { return out.Append(part); });
}

bool DeriveHalfDays(LocaleSettings& s) {
    const WideView am = s.amText;
    const WideView pm = s.pmText;
    WideText both, letters;
    return JoinTexts(both, {am, u"/", pm}) && JoinTexts(letters, {am.substr(0, 1), u"/", pm.substr(0, 1)}) &&
           Cased(s.ampmUpper, both, true) && Cased(s.ampmLower, both, false) &&
           Cased(s.apUpper, letters, true) && Cased(s.apLower, letters, false) && Cased(s.amUpper, am, true) &&
           Cased(s.pmUpper, pm, true) && Cased(s.amLower, am, false) && Cased(s.pmLower, pm, false) &&
           Cased(s.aUpper, am.substr(0, 1), true) && Cased(s.pUpper, pm.substr(0, 1), true) &&
           Cased(s.aLower, am.substr(0, 1), false) && Cased(s.pLower, pm.substr(0, 1), false);
}

bool DeriveShortDate(LocaleSettings& s) {
    s.shortDateFormat.Truncate(0);
    for (char16_t c : WideView(s.shortDatePattern)) {
        const char16_t lower = AsciiLower(c);
        const bool letter = lower == u'd' || lower == u'g' || lower == u'm' || lower == u'y';
        if (!(letter || s.shortDateFormat.Append(u'\\')) || !s.shortDateFormat.Append(letter ? lower : c))
            return false;
    }
    return true;
}

bool DeriveDates(LocaleSettings& s) {
    const WideView date = s.dateSeparator;
    const WideView time = s.timeSeparator;
    const WideView first = s.dateOrder[0] == u'0' ? u"mm" : s.dateOrder[0] == u'1' ? u"dd" : u"yyyy";
    const WideView second = s.dateOrder[0] == u'0' ? u"dd" : u"mm";
    const WideView third = s.dateOrder[0] == u'0' || s.dateOrder[0] == u'1' ? u"yyyy" : u"dd";
    return DeriveShortDate(s) &&
           JoinTexts(s.shortTimeFormat, {s.timeLeadingZero ? u"hh" : u"h", time, u"mm"}) &&
           JoinTexts(s.longDateFormat, {first, u"\\", date, second, u"\\", date, third}) &&
           JoinTexts(s.longTimeFormat, {u"hh", time, u"mm", time, u"ss"}) &&
           JoinTexts(s.dateTimeFormat, {s.longDateFormat, u" ", s.longTimeFormat}) &&
           JoinTexts(s.shortDateTimeFormat, {s.shortDateFormat, u" ", s.shortTimeFormat});
}

// Pictures of a positive and a negative amount by LOCALE_INEGCURR, "$" the symbol and "n" the number.
struct CurrencyPicture {
    WideView positive;
    WideView negative;
};
constexpr CurrencyPicture currencyPictures[] = {
    {u"$n_)", u"($n)"}, {u"$n", u"-$n"},   {u"$n", u"$-n"},      {u"$n", u"$n-"},
    {u"n$_)", u"(n$)"}, {u"n$", u"-n$"},   {u"n$", u"n-$"},      {u"n$", u"n$-"},
    {u"n $", u"-n $"},  {u"$ n", u"-$ n"}, {u"n $", u"n $-"},    {u"$ n", u"$ n-"},
    {u"$ n", u"$ -n"},  {u"n $", u"n- $"}, {u"$ n_)", u"($ n)"}, {u"n $_)", u"(n $)"},
};

bool DrawPicture(WideText& out, WideView picture, WideView symbol, WideView number) {
    for (char16_t c : picture) {
        if (!(c == u'$' ? out.Append(symbol) : c == u'n' ? out.Append(number) : out.Append(c))) return false;
    }
    return true;
}

// The symbol as it stands in a format: in quotes unless it is a bare dollar sign.
bool QuotedSymbol(const LocaleSettings& s, WideText& out) {
    if (WideView(s.currencySymbol) == u"$") return out.Assign(u"$");
    return JoinTexts(out, {u"\"", s.currencySymbol, u"\""});
}

bool CurrencyFormat(const LocaleSettings& s, WideView symbol, bool decimals, bool red, WideText& out) {
    const u32 mode = s.negativeCurrencyOrder >= 0 && s.negativeCurrencyOrder < 16
                         ? static_cast<u32>(s.negativeCurrencyOrder)
                         : 0;
    WideText number;
    if (!number.Assign(u"#,##0")) return false;
    if (decimals && s.currencyDigits > 0 &&
        !(number.Append(u'.') &&
          number.AppendRun(u'0', static_cast<std::size_t>(std::min(s.currencyDigits, 9))))) {
        return false;
    }
    return DrawPicture(out, currencyPictures[mode].positive, symbol, number) &&
           out.Append(red ? WideView(u";[Red]") : u";") &&
           DrawPicture(out, currencyPictures[mode].negative, symbol, number);
}

bool AccountingFormat(WideView pattern, WideView symbol, WideText& out) {
    return DrawPicture(out, pattern, symbol, u"n");
}

bool SetRegionFormats(const LocaleSettings& s) {
    WideText symbol, texts[8];
    if (!QuotedSymbol(s, symbol)) return false;
    for (u32 i = 0; i < 4; ++i) {
        if (!CurrencyFormat(s, symbol, i >= 2, i % 2 == 1, texts[i])) return false;
    }
    if (!AccountingFormat(u"_(* #,##0_);_(* (#,##0);_(* \"-\"_);_(@_)", symbol, texts[4]) ||
        !AccountingFormat(u"_($* #,##0_);_($* (#,##0);($* \"-\"_);_(@_)", symbol, texts[5]) ||
        !AccountingFormat(u"_(* #,##0.00_);_(* (#,##0.00);_(* \"-\"?\?_);_(@_)", symbol, texts[6]) ||
        !AccountingFormat(u"_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"?\?_);_(@_)", symbol, texts[7])) {
        return false;
    }
    const LocalFormatText rows[] = {
        {5, texts[0]},
        {6, texts[1]},
        {7, texts[2]},
        {8, texts[3]},
        {14, s.shortDateFormat},
        {20, s.shortTimeFormat},
        {22, s.shortDateTimeFormat},
        {41, texts[4]},
        {42, texts[5]},
        {43, texts[6]},
        {44, texts[7]},
    };
    SetLocalFormats(rows);
    return true;
}

}  // namespace

const LocaleSettings& Locale() { return settings; }

bool ReadLocaleSettings() {
    LocaleSettings fresh = MakeDefaults();
    ReadItems(fresh);
    DeriveMonthInitials(fresh);
    if (!DeriveHalfDays(fresh) || !DeriveDates(fresh) || !SetRegionFormats(fresh)) return false;
    settings = std::move(fresh);
    ForgetScannedFormats();
    return true;
}

void ResetLocaleSettings() {
    settings = MakeDefaults();
    SetLocalFormats({});
    ForgetScannedFormats();
}

}  // namespace tally
