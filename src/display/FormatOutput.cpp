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

void PutIntegerPlace(Writer& w, char16_t place) {
    const FormatRun& run = w.run;
    const i32 remaining = run.scan.integerPlaces - w.placeholder;  // places to the right of this one
    const i32 index = run.integerDigits - 1 - remaining;           // the digit that belongs here
    if (index < 0) {
        PutEmptyPlace(w, place);
        return;
    }
    if (w.placeholder > 1) {
        w.PutDigit(run.digits[index]);
        return;
    }
    for (i32 i = 0; i <= index; ++i) {
        w.PutDigit(run.digits[i]);
        const i32 right = run.integerDigits - 1 - i;
        if (run.scan.grouping && right && right % 3 == 0) w.Put(Locale().thousandsSeparator);
    }
}

// Whether a "?" stands in the run of placeholders and slashes on one side of a position.
bool QuestionBeside(const Writer& w, std::size_t from, i32 step) {
    const WideView format = w.run.format;
    for (i64 i = static_cast<i64>(from); i >= 0 && i < static_cast<i64>(format.size()); i += step) {
        const char16_t c = format[static_cast<std::size_t>(i)];
        if (c == u'?') return true;
        if (!IsPlaceholder(c) && c != u'/') return false;
    }
    return false;
}

// A blank in place of a numerator's place, and another for the slash behind it.
void PutBlankNumerator(Writer& w) {
    w.Put(u' ');
    if (w.At(w.at + 1) != u'/') return;
    w.Put(u' ');
    ++w.at;
}

void PutNumeratorPlace(Writer& w, char16_t place, i32 index) {
    const FormatRun& run = w.run;
    if (!run.denominatorIsZero) {
        if (index < run.numeratorDigits) {
            w.PutDigit(run.numeratorText[index]);
        } else {
            PutEmptyPlace(w, place);
        }
    } else if (place == u'0') {
        w.Put(u'0');
    } else if (place == u'?' || QuestionBeside(w, w.at + 1, 1)) {
        PutBlankNumerator(w);
    }
}

void PutDenominatorPlace(Writer& w, char16_t place, i32 index) {
    const FormatRun& run = w.run;
    if (!run.denominatorIsZero) {
        const i32 digit = index - (run.scan.denominatorWidth - run.denominatorDigits);
        if (digit >= 0 && digit < run.denominatorDigits) {
            w.PutDigit(run.denominatorText[digit]);
        } else {
            PutEmptyPlace(w, place);
        }
    } else if (w.Last() == u'/') {
        w.Put(u'1');
    } else if (place == u'?' || QuestionBeside(w, w.at + 1, 1) ||
               (w.at > 0 && QuestionBeside(w, w.at - 1, -1))) {
        w.Put(u' ');
    }
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
    i32 index = ++w.placeholder - run.scan.integerPlaces - 1;
    if (index < 0) {
        PutIntegerPlace(w, place);
    } else if (run.scan.fraction && w.at >= run.scan.numeratorStart) {
        // Places in front of the numerator that are not whole digits take nothing of the fraction.
        const i32 offset = static_cast<i32>(w.at - run.scan.numeratorStart);
        if (offset < run.scan.numeratorWidth) {
            PutNumeratorPlace(w, place, offset);
        } else {
            PutDenominatorPlace(w, place, offset - run.scan.numeratorWidth - 1);
        }
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
        } else {
            for (i32 precision = GENERAL_DIGITS - 1; w.good && precision >= 2 && Measured(w, text) > room;
                 --precision) {
                text.Truncate(0);
                w.good = FormatGeneral(value, precision, text);
            }
        }
    }
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

void PutSecond(Writer& w) {
    const FormatRun& run = w.run;
    for (i32 places = 2; places >= 1; --places) {
        if (!w.Continues(places == 2 ? WideView(u"SS.00") : u"SS.0")) continue;
        const double scale = places == 2 ? 100.0 : 10.0;
        PutNumber(w, run.second, 2);
        w.Put(Locale().decimalSeparator);
        PutNumber(w, static_cast<i32>(std::fmod(std::trunc(run.ticks * scale / run.tickScale), scale)), places);
        EndToken(w, u'S', static_cast<std::size_t>(places + 3));
        return;
    }
    const bool two = w.Continues(u"SS");
    PutNumber(w, run.second, two ? 2 : 1);
    EndToken(w, u'S', two ? 2 : 1);
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
    double total = std::trunc(run.unscaled) * 24 + run.hour + (run.afternoon ? 12 : 0);
    if (letter != u'H') total = total * 60 + run.minute;
    if (letter == u'S') total = total * 60 + run.second;
    char text[FIXED_TEXT_ROOM];
    PutPadded(w, text, PrintFixed(total, 0, text), two ? 2 : 1);
    EndToken(w, letter, length);
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

bool PutComma(Writer& w) {
    if (w.at == 0 || !IsPlaceholder(w.At(w.at - 1))) return false;
    const char16_t last = w.Last();
    if (IsPlaceholder(w.At(w.at + 1)) && last >= u'0' && last <= u'9') w.Put(Locale().thousandsSeparator);
    ++w.at;
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
        case u'.':
            w.Put(Locale().decimalSeparator);
            ++w.at;
            return true;
        case u'@':
            w.good = w.good && FormatGeneral(w.run.value, GENERAL_DIGITS, w.out);
            ++w.at;
            return true;
        case u'D': PutDay(w); return true;
        case u'G': return PutGeneralWord(w);
        case u'H': {
            const bool two = w.Continues(u"HH");
            PutNumber(w, w.run.hour, two ? 2 : 1);
            EndToken(w, u'H', two ? 2 : 1);
            return true;
        }
        case u'M': PutMonth(w); return true;
        case u'S': PutSecond(w); return true;
        case u'Y': return PutYear(w);
        case u'[': return PutElapsed(w) || PutCurrencyBracket(w);
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
