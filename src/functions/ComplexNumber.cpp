#include "functions/ComplexNumber.h"

#include <charconv>
#include <cmath>

#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"

namespace tally {
namespace {

constexpr i32 SHOWN_DIGITS = 15;

char16_t EitherSuffix(const Complex& a, const Complex& b) { return a.suffix ? a.suffix : b.suffix; }

// a * b + c * d without loss where the products cancel (Kahan).
long double Dot(long double a, long double b, long double c, long double d) {
    const long double product = c * d;
    const long double lost = std::fma(c, d, -product);
    return std::fma(a, b, product) + lost;
}

// A thousands separator with exactly three digits behind it.
bool IsThousands(WideView text, std::size_t at) {
    if (at + 3 >= text.size() || text[at] != Locale().thousandsSeparator) return false;
    for (std::size_t i = at + 1; i <= at + 3; ++i) {
        if (!IsAsciiDigit(text[i])) return false;
    }
    return at + 4 == text.size() || !IsAsciiDigit(text[at + 4]);
}

// Where the number at the start of the text ends: sign, digits, decimals, exponent.
std::size_t NumberEnd(WideView text) {
    const char16_t separator = Locale().decimalSeparator;
    std::size_t at = !text.empty() && (text[0] == u'+' || text[0] == u'-');
    const auto digits = [&] {
        const std::size_t from = at;
        while (at < text.size() && IsAsciiDigit(text[at])) ++at;
        return at - from;
    };
    std::size_t count = digits();
    while (count && IsThousands(text, at)) {
        at += 4;
        ++count;
    }
    if (at < text.size() && text[at] == separator) {
        ++at;
        count += digits();
    }
    if (!count) return 0;
    if (at == text.size() || (text[at] | u' ') != u'e') return at;
    const std::size_t mantissaEnd = at++;
    if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) ++at;
    return digits() ? at : mantissaEnd;
}

bool ReadNumber(WideView text, long double& out) {
    constexpr std::size_t LONGEST = 400;
    char buffer[LONGEST];
    const bool signedPlus = !text.empty() && text[0] == u'+';
    if (signedPlus) text.remove_prefix(1);
    if (text.size() > LONGEST) return false;
    char* length = buffer;
    for (char16_t c : text) {
        if (c != Locale().thousandsSeparator)
            *length++ = c == Locale().decimalSeparator ? '.' : static_cast<char>(c);
    }
    double value = 0;
    const auto end = std::from_chars(buffer, length, value);
    if (end.ec != std::errc() || end.ptr != length) return false;
    out = value;
    return true;
}

// The text of a part, appended; ones without digits when they stand before a suffix.
bool AppendPart(double part, bool ones, WideText& out) {
    WideText digits;
    if (!FormatGeneral(part, SHOWN_DIGITS, digits)) return false;
    if (ones && digits.View() == u"1") return true;
    if (ones && digits.View() == u"-1") return out.Append(u'-');
    return out.Append(digits.View());
}

}  // namespace

bool ParseComplex(WideView text, Complex& out) {
    out = Complex();
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == WideView::npos) return false;
    text = text.substr(first, text.find_last_not_of(u' ') - first + 1);
    const char16_t last = text.back();
    if (last != u'i' && last != u'j') return NumberEnd(text) == text.size() && ReadNumber(text, out.re);
    out.suffix = last;
    text.remove_suffix(1);
    // A lone sign or nothing before the suffix is one.
    const auto imaginary = [&out](WideView part) {
        if (!part.empty() && part != u"+" && part != u"-")
            return NumberEnd(part) == part.size() && ReadNumber(part, out.im);
        out.im = part == u"-" ? -1 : 1;
        return true;
    };
    const std::size_t end = NumberEnd(text);
    if (end == 0 || end == text.size()) return imaginary(text);
    const bool isSigned = text[end] == u'+' || text[end] == u'-';
    return isSigned && ReadNumber(text.substr(0, end), out.re) && imaginary(text.substr(end));
}

Value ComplexValue(const Complex& z) {
    const double re = static_cast<double>(z.re), im = static_cast<double>(z.im);
    if (!std::isfinite(re) || !std::isfinite(im)) return ErrorValue(ERR_NUM);
    WideText text;
    bool good = true;
    if (re != 0 || im == 0) good = AppendPart(re + 0.0, false, text);
    if (im != 0) {
        if (re != 0 && im > 0) good = good && text.Append(u'+');
        good = good && AppendPart(im, true, text) && text.Append(z.suffix ? z.suffix : u'i');
    }
    return good ? TextValue(text.View()) : ErrorValue(ERR_NA);
}

bool IsZero(const Complex& z) { return z.re == 0 && z.im == 0; }

Complex Add(const Complex& a, const Complex& b) { return {a.re + b.re, a.im + b.im, EitherSuffix(a, b)}; }

Complex Subtract(const Complex& a, const Complex& b) { return {a.re - b.re, a.im - b.im, EitherSuffix(a, b)}; }

Complex Multiply(const Complex& a, const Complex& b) {
    return {Dot(a.re, b.re, -a.im, b.im), Dot(a.re, b.im, a.im, b.re), EitherSuffix(a, b)};
}

Complex Divide(const Complex& a, const Complex& b) {
    const long double square = b.re * b.re + b.im * b.im;
    return {Dot(a.re, b.re, a.im, b.im) / square, Dot(a.im, b.re, -a.re, b.im) / square, EitherSuffix(a, b)};
}

Complex SquareRoot(const Complex& z) {
    if (IsZero(z)) return z;
    const long double larger = std::sqrt((std::fabs(z.re) + Modulus(z)) / 2);
    const long double smaller = std::fabs(z.im) / (2 * larger);
    const long double re = z.re >= 0 ? larger : smaller, im = z.re >= 0 ? smaller : larger;
    return {re, z.im < 0 ? -im : im, z.suffix};
}

Complex Exponential(const Complex& z) {
    const long double size = std::exp(z.re);
    return {size * std::cos(z.im), z.im == 0 ? 0 : size * std::sin(z.im), z.suffix};
}

Complex Logarithm(const Complex& z) {
    const long double size = Modulus(z);
    long double logarithm = std::log(size);
    if (size > 0.5L && size < 2) {
        // The square less 1, in exact pieces: close to the unit circle nothing else is left.
        const long double re = z.re * z.re, im = z.im * z.im;
        const long double lost = std::fma(z.re, z.re, -re) + std::fma(z.im, z.im, -im);
        const long double rest = re > im ? (re - 1) + im : (im - 1) + re;
        logarithm = std::log1p(rest + lost) / 2;
    }
    return {logarithm, Angle(z), z.suffix};
}

Complex Sine(const Complex& z) {
    return {std::sin(z.re) * std::cosh(z.im), z.im == 0 ? 0 : std::cos(z.re) * std::sinh(z.im), z.suffix};
}

Complex Cosine(const Complex& z) {
    return {std::cos(z.re) * std::cosh(z.im), z.im == 0 ? 0 : -std::sin(z.re) * std::sinh(z.im), z.suffix};
}

Complex Power(const Complex& z, double exponent) {
    // Whole and half powers are products: exact where their parts are short.
    constexpr double MOST_FACTORS = 65536;
    const double halves = 2 * exponent;
    if (halves == std::trunc(halves) && std::fabs(halves) <= MOST_FACTORS) {
        const bool whole = exponent == std::trunc(exponent);
        Complex base = whole ? z : SquareRoot(z);
        if (exponent < 0) base = Divide({1, 0, 0}, base);
        Complex power{1, 0, z.suffix};
        for (auto left = static_cast<u32>(std::fabs(whole ? exponent : halves)); left; left >>= 1) {
            if (left & 1) power = Multiply(power, base);
            if (left > 1) base = Multiply(base, base);
        }
        return power;
    }
    const long double size = std::pow(Modulus(z), static_cast<long double>(exponent));
    const long double angle = Angle(z) * exponent;
    return {size * std::cos(angle), z.im == 0 && z.re > 0 ? 0 : size * std::sin(angle), z.suffix};
}

long double Modulus(const Complex& z) { return std::hypot(z.re, z.im); }
long double Angle(const Complex& z) { return std::atan2(z.im, z.re); }

}  // namespace tally
