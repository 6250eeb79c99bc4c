#include <algorithm>
#include <cmath>

#include "base/Text.h"
#include "display/FormatRun.h"
#include "display/LocaleSettings.h"

namespace tally {
namespace {

constexpr i32 GENERAL_DIGITS = 15;

// The main scan's place in the format and what it remembers.
struct Writer {
    FormatRun& run;
    WideText& out;
    std::size_t at = 0;
    i32 placeholder = 0;     // counts from 1
    char16_t lastToken = 0;  // D, H, M, S or Y of the last date token
    std::size_t fillAt = 0;
    char16_t fillCharacter = 0;
    bool good = true;

    void Put(char16_t c) { good = good && out.Append(c); }
    void Put(WideView text) { good = good && out.Append(text); }
    void PutDigit(char digit) { Put(static_cast<char16_t>(digit)); }
    char16_t Last() const { return out.IsEmpty() ? u'\0' : out[out.Length() - 1]; }
    char16_t At(std::size_t position) const {
        return position < run.format.size() ? run.format[position] : u'\0';
    }
    char16_t UpperAt(std::size_t position) const { return AsciiUpper(At(position)); }
    // True when the format goes on with `text`, given in upper case, whatever its case.
    bool Continues(WideView text) const {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (UpperAt(at + i) != text[i]) return false;
        }
        return true;
    }
};

void PutPadded(Writer& w, const char* text, std::size_t length, i32 width) {
    for (i32 i = static_cast<i32>(length); i < width; ++i) w.Put(u'0');
    for (std::size_t i = 0; i < length; ++i) w.PutDigit(text[i]);
}

void PutNumber(Writer& w, i32 value, i32 width) {
    char text[NUMBER_TEXT_ROOM];
    PutPadded(w, text, PrintInteger(value, text), width);
}

void PutEmptyPlace(Writer& w, char16_t place) {
    if (place == u'0') w.Put(u'0');
    if (place == u'?') w.Put(u' ');
}

// ---- digits ---------------------------------------------------------------------------------------

// Puts what fills an integer place, and a separator when a multiple of three places is to its right.
void PutGrouped(Writer& w, char16_t c, i32 right) {
    w.Put(c);
    if (!w.run.scan.grouping || right == 0 || right % 3 != 0) return;
    w.Put(c == u' ' ? u' ' : Locale().thousandsSeparator);
}

void PutIntegerPlace(Writer& w, char16_t place) {
    const FormatRun& run = w.run;
    const i32 right = run.scan.integerPlaces - w.placeholder;
    const i32 index = run.integerDigits - 1 - right;  // the digit that belongs here
    if (index < 0) {
        if (place != u'#') PutGrouped(w, place == u'0' ? u'0' : u' ', right);
        return;
    }
    // The first place takes all digits that have none.
    for (i32 i = w.placeholder == 1 ? 0 : index; i <= index; ++i)
        PutGrouped(w, static_cast<char16_t>(run.digits[i]), run.integerDigits - 1 - i);
}

// Whether one of the characters stands in the run of the fraction, fixed digits aside.
bool FractionHolds(const FormatRun& run, char16_t place) {
    const std::size_t denominator =
        static_cast<std::size_t>(run.scan.fixedDenominator ? 0 : run.scan.denominatorWidth);
    const std::size_t width = static_cast<std::size_t>(run.scan.numeratorWidth) + 1 + denominator;
    return run.format.substr(run.scan.numeratorStart, width).find(place) != WideView::npos;
}

// The places of a run that its digits leave empty, from `from` on.
void PutEmptyPlaces(Writer& w, std::size_t from, i32 count, bool zeros) {
    for (i32 i = 0; i < count; ++i) {
        const char16_t place = w.At(from + static_cast<std::size_t>(i));
        if ((place == u'0') == zeros) PutEmptyPlace(w, place);
    }
}

// The whole of a fraction: the numerator leans to the slash from the left, the denominator from the right.
void PutFraction(Writer& w) {
    const FormatRun& run = w.run;
    const FormatScan& scan = run.scan;
    const std::size_t denominatorStart =
        scan.numeratorStart + static_cast<std::size_t>(scan.numeratorWidth) + 1;
    w.at = denominatorStart + static_cast<std::size_t>(scan.denominatorWidth);
    if (run.blankFraction && !FractionHolds(run, u'0')) {
        if (!FractionHolds(run, u'?')) return;
        for (i32 i = scan.numeratorWidth + 1 + scan.denominatorWidth; i > 0; --i) w.Put(u' ');
        return;
    }
    const i32 numeratorRoom = scan.numeratorWidth - run.numeratorDigits;
    for (i32 i = 0; i < numeratorRoom; ++i)
        PutEmptyPlace(w, w.At(scan.numeratorStart + static_cast<std::size_t>(i)));
    for (i32 i = 0; i < run.numeratorDigits; ++i) w.PutDigit(run.numeratorText[i]);
    w.Put(u'/');
    const i32 denominatorRoom = scan.fixedDenominator ? 0 : scan.denominatorWidth - run.denominatorDigits;
    PutEmptyPlaces(w, denominatorStart, denominatorRoom, true);
    for (i32 i = 0; i < run.denominatorDigits; ++i) w.PutDigit(run.denominatorText[i]);
    PutEmptyPlaces(w, denominatorStart, denominatorRoom, false);
}

void PutExponentPlace(Writer& w, char16_t place, i32 index) {
    const FormatRun& run = w.run;
    const i32 digit = run.exponentDigits - (run.scan.exponentPlaces - index);
    // Places that the count passed over, such as those in a bracket, take nothing.
    if (digit < 0 || digit >= run.exponentDigits) {
        PutEmptyPlace(w, place);
        return;
    }
    for (i32 i = index == 0 ? 0 : digit; i <= digit; ++i) w.PutDigit(run.exponentText[i]);
}

void PutPlaceholder(Writer& w) {
    const FormatRun& run = w.run;
    const char16_t place = w.At(w.at);
    if (run.scan.fraction && w.at == run.scan.numeratorStart) return PutFraction(w);
    const i32 index = ++w.placeholder - run.scan.integerPlaces - 1;
    if (index < 0) {
        PutIntegerPlace(w, place);
    } else if (index < run.scan.decimalPlaces) {
        if (index < run.decimalCount) {
            w.PutDigit(run.digits[run.integerDigits + index]);
        } else {
            PutEmptyPlace(w, place);
        }
    } else {
        PutExponentPlace(w, place, index - run.scan.decimalPlaces);
    }
    ++w.at;
}

// ---- General --------------------------------------------------------------------------------------

i32 Measured(const Writer& w, WideView text) { return w.run.measure->width(w.run.measure->context, text); }

// Fits plain General text into `room` pixels by dropping decimals.
bool FitDecimals(const Writer& w, double value, i32 room, WideText& text) {
    std::size_t point = text.View().find(Locale().decimalSeparator);
    i32 decimals = point == WideView::npos ? 0 : static_cast<i32>(text.Length() - point - 1);
    while (point != WideView::npos && Measured(w, text) > room) {
        --decimals;
        const double power = std::pow(10.0, decimals);
        text.Truncate(0);
        if (!FormatGeneral(RoundToInteger(value * power) / power, GENERAL_DIGITS, text)) return false;
        point = decimals > 0 ? text.View().find(Locale().decimalSeparator) : WideView::npos;
    }
    return true;
}

// A whole number that is too wide as it stands, with an exponent when that is narrow enough.
bool FitExponent(const Writer& w, double value, i32 room, WideText& text) {
    WideText shorter;
    for (i32 precision = GENERAL_DIGITS - 1; precision > 0; --precision) {
        shorter.Truncate(0);
        if (!FormatGeneral(value, precision, shorter)) return false;
        if (shorter.View().find(u'E') == WideView::npos || Measured(w, shorter) > room) continue;
        text = std::move(shorter);
        return true;
    }
    return true;
}

void PutGeneral(Writer& w) {
    const double value = w.run.value;
    if (!w.run.measure) {
        w.good = w.good && FormatGeneral(value, GENERAL_DIGITS, w.out);
        return;
    }
    WideText text;
    w.good = w.good && FormatGeneral(value, GENERAL_DIGITS, text);
    if (w.good) {
        const i32 room = w.run.width - Measured(w, w.out);
        if (text.View().find(u'E') == WideView::npos) {
            w.good = FitDecimals(w, value, room, text);
            if (w.good && Measured(w, text) > room) w.good = FitExponent(w, value, room, text);
        } else {
            for (i32 precision = GENERAL_DIGITS - 1; w.good && precision >= 2 && Measured(w, text) > room;
                 --precision) {
                text.Truncate(0);
                w.good = FormatGeneral(value, precision, text);
            }
        }
    }
    // What has no room for its decimals may be left with nothing but a minus and a zero.
    if (text.View() == u"0" && w.out.View() == u"-") w.out.Truncate(0);
    if (w.good) w.Put(text.View());
}

// ---- dates ----------------------------------------------------------------------------------------

// Writes a date token of `length` characters.
void EndToken(Writer& w, char16_t letter, std::size_t length) {
    w.lastToken = letter;
    w.at += length;
}

bool MeansMinute(const Writer& w) {
    if (w.lastToken == u'H') return true;
    const WideView format = w.run.format;
    for (std::size_t i = w.at + 2; i < format.size(); ++i) {
        switch (AsciiUpper(format[i])) {
            case u'"': i = BehindQuotedText(format, i) - 1; break;
            case u'*':
            case u'\\':
            case u'_': ++i; break;
            case u'S': return true;
            case u'D':
            case u'H':
            case u'M':
            case u'Y': return false;
            default: break;
        }
    }
    return false;
}

void PutMonth(Writer& w) {
    const LocaleSettings& s = Locale();
    const u32 month = static_cast<u32>(w.run.month - 1);
    if (w.Continues(u"MMMMM")) {
        w.Put(WideView(s.monthName[month]).substr(0, 1));
        EndToken(w, u'M', 5);
    } else if (w.Continues(u"MMMM")) {
        w.Put(WideView(s.monthName[month]));
        EndToken(w, u'M', 4);
    } else if (w.Continues(u"MMM")) {
        w.Put(WideView(s.monthShort[month]));
        EndToken(w, u'M', 3);
    } else {
        const i32 value = MeansMinute(w) ? w.run.minute : w.run.month;
        const bool two = w.Continues(u"MM");
        PutNumber(w, value, two ? 2 : 1);
        EndToken(w, u'M', two ? 2 : 1);
    }
}

void PutDay(Writer& w) {
    const LocaleSettings& s = Locale();
    const u32 weekday = static_cast<u32>(w.run.weekday);
    if (w.Continues(u"DDDD")) {
        w.Put(WideView(s.dayName[weekday]));
        EndToken(w, u'D', 4);
    } else if (w.Continues(u"DDD")) {
        w.Put(WideView(s.dayShort[weekday]));
        EndToken(w, u'D', 3);
    } else {
        const bool two = w.Continues(u"DD");
        PutNumber(w, w.run.day, two ? 2 : 1);
        EndToken(w, u'D', two ? 2 : 1);
    }
}

// The decimals of a second behind its token, as many as are kept; zeros beyond them.
void PutSecondDecimals(Writer& w) {
    if (w.At(w.at) != u'.' || w.At(w.at + 1) != u'0') return;
    char ticks[NUMBER_TEXT_ROOM];
    const i32 kept = w.run.scan.secondDecimals;
    const i32 digits = static_cast<i32>(PrintInteger(w.run.secondTicks, ticks));
    w.Put(Locale().decimalSeparator);
    ++w.at;
    for (i32 i = 0; w.At(w.at) == u'0'; ++i, ++w.at) {
        const i32 index = i - (kept - digits);
        w.PutDigit(index >= 0 && index < digits ? ticks[index] : '0');
    }
}

void PutSecond(Writer& w) {
    const bool two = w.Continues(u"SS");
    PutNumber(w, w.run.second, two ? 2 : 1);
    EndToken(w, u'S', two ? 2 : 1);
    PutSecondDecimals(w);
}

bool PutYear(Writer& w) {
    if (w.Continues(u"YYYY")) {
        PutNumber(w, w.run.year, 4);
        EndToken(w, u'Y', 4);
        return true;
    }
    if (!w.Continues(u"YY")) return false;
    PutNumber(w, w.run.year % 100, 2);
    EndToken(w, u'Y', 2);
    return true;
}

// [h], [mm] and the like: the time of all days together.
bool PutElapsed(Writer& w) {
    const char16_t letter = w.UpperAt(w.at + 1);
    if (letter != u'H' && letter != u'M' && letter != u'S') return false;
    const bool two = w.UpperAt(w.at + 2) == letter;
    const std::size_t length = two ? 4 : 3;
    if (w.At(w.at + length - 1) != u']') return false;
    const FormatRun& run = w.run;
    double total = run.days * 24 + run.hour;
    if (letter != u'H') total = total * 60 + run.minute;
    if (letter == u'S') total = total * 60 + run.second;
    char text[FIXED_TEXT_ROOM];
    PutPadded(w, text, PrintFixed(total, 0, text), two ? 2 : 1);
    EndToken(w, letter, length);
    if (letter == u'S') PutSecondDecimals(w);
    return true;
}

bool PutCurrencyBracket(Writer& w) {
    if (w.At(w.at + 1) != u'$') return false;
    const WideView format = w.run.format;
    std::size_t i = w.at + 2;
    for (; i < format.size() && format[i] != u'-' && format[i] != u']'; ++i) w.Put(format[i]);
    const std::size_t close = format.find(u']', i);
    w.at = close == WideView::npos ? format.size() : close + 1;
    return true;
}

bool PutHalfDay(Writer& w) {
    const LocaleSettings& s = Locale();
    struct Form {
        WideView word, am, pm;
    };
    const Form forms[] = {{s.ampmUpper, s.amUpper, s.pmUpper},
                          {s.ampmLower, s.amLower, s.pmLower},
                          {s.apUpper, s.aUpper, s.pUpper},
                          {s.apLower, s.aLower, s.pLower}};
    for (const Form& form : forms) {
        if (form.word.empty() || w.run.format.substr(w.at, form.word.size()) != form.word) continue;
        w.Put(w.run.afternoon ? form.pm : form.am);
        w.at += form.word.size();
        return true;
    }
    return false;
}

// ---- the scan -------------------------------------------------------------------------------------

void PutQuoted(Writer& w) {
    const WideView format = w.run.format;
    const std::size_t behind = BehindQuotedText(format, w.at);
    const bool closed = behind > w.at + 1 && format[behind - 1] == u'"';
    const std::size_t end = closed ? behind - 1 : behind;
    for (std::size_t i = w.at + 1; i < end; ++i) {
        w.Put(format[i]);
        if (format[i] == u'"') ++i;
    }
    w.at = behind;
}

// "+" and "-" behind the E of an exponent show its sign.
bool PutExponentSign(Writer& w, char16_t sign) {
    if (w.at < 2 || w.UpperAt(w.at - 1) != u'E' || (w.At(w.at - 2) != u'0' && w.At(w.at - 2) != u'#'))
        return false;
    if (w.run.exponent < 0) {
        w.Put(u'-');
    } else if (sign == u'+') {
        w.Put(u'+');
    }
    ++w.at;
    return true;
}

// Commas behind a place have done their part: the digits bring their separators along.
bool PutComma(Writer& w) {
    if (w.at == 0 || !IsPlaceholder(w.At(w.at - 1))) return false;
    while (w.At(w.at) == u',') ++w.at;
    return true;
}

// The decimal separator; between the letters of a date the point is itself.
void PutPoint(Writer& w) {
    const bool besidePlace = (w.at > 0 && IsPlaceholder(w.At(w.at - 1))) || IsPlaceholder(w.At(w.at + 1));
    w.Put(w.run.scan.usesDates && !besidePlace ? u'.' : Locale().decimalSeparator);
    ++w.at;
}

// A bracket without a meaning is shown as it stands.
bool PutBracket(Writer& w) {
    if (PutElapsed(w) || PutCurrencyBracket(w)) return true;
    const std::size_t behind = BehindLiteral(w.run.format, w.at);
    if (behind == w.at) return false;
    w.Put(w.run.format.substr(w.at, behind - w.at));
    w.at = behind;
    return true;
}

bool PutGeneralWord(Writer& w) {
    constexpr WideView word = u"General";
    if (w.run.format.substr(w.at, word.size()) != word) return false;
    PutGeneral(w);
    w.at += word.size();
    return true;
}

// Takes a token that the format may hold at this place; false when the character stands for itself.
bool PutToken(Writer& w) {
    const char16_t c = w.At(w.at);
    switch (AsciiUpper(c)) {
        case u'"': PutQuoted(w); return true;
        case u'#':
        case u'0':
        case u'?': PutPlaceholder(w); return true;
        case u'*':
            w.fillAt = w.out.Length();
            w.fillCharacter = w.At(w.at + 1);
            w.at += 2;
            return true;
        case u'+':
        case u'-': return PutExponentSign(w, c);
        case u',': return PutComma(w);
        case u'.': PutPoint(w); return true;
        case u'@':
            w.good = w.good && FormatGeneral(w.run.value, GENERAL_DIGITS, w.out);
            ++w.at;
            return true;
        case u'D': PutDay(w); return true;
        case u'G': return PutGeneralWord(w);
        case u'H': {
            const bool two = w.Continues(u"HH");
            const i32 hour = w.run.hour;
            PutNumber(w, w.run.scan.twelveHour ? (hour + 11) % 12 + 1 : hour, two ? 2 : 1);
            EndToken(w, u'H', two ? 2 : 1);
            return true;
        }
        case u'M': PutMonth(w); return true;
        case u'S': PutSecond(w); return true;
        case u'Y': return PutYear(w);
        case u'[': return PutBracket(w);
        case u'\\':
            if (w.at + 1 < w.run.format.size()) w.Put(w.At(w.at + 1));
            w.at += 2;
            return true;
        case u'_':
            w.Put(u' ');
            w.at += 2;
            return true;
        default: return false;
    }
}

void Fill(Writer& w) {
    if (!w.run.measure || !w.fillCharacter) return;
    const i32 one = Measured(w, WideView(&w.fillCharacter, 1));
    const i32 room = w.run.width - Measured(w, w.out);
    if (one <= 0 || room <= 0) return;
    for (i32 i = room / one; i > 0 && w.good; --i)
        w.good = w.out.Insert(w.fillAt, WideView(&w.fillCharacter, 1));
}

}  // namespace

bool WriteFormatted(FormatRun& run) {
    Writer w{run, *run.out};
    while (w.good && w.at < run.format.size()) {
        if (run.scan.twelveHour && PutHalfDay(w)) continue;
        if (PutToken(w)) continue;
        w.Put(w.At(w.at));
        ++w.at;
    }
    Fill(w);
    return w.good;
}

}  // namespace tally
