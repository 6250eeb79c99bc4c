#include "base/Number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <span>

namespace tally {
namespace {

// Turns "1e+05" into "1E+05" and "inf" into "INF"; to_chars already writes at least two exponent digits.
void UpperLetters(char* text, std::size_t length) {
    for (char& c : std::span(text, length)) {
        if (c >= 'a') c = static_cast<char>(c - 32);
    }
}

constexpr int FIFTEEN = 15;
constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
                                  1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};

constexpr double smallPowers[] = {1e0, 1e-1, 1e-2, 1e-3, 1e-4};

// value * 10^power as the nearest integer, ties to even. The product is taken in two exact parts, so
// that the rounding is that of the true product; it must be below 2^52.
i64 ScaledInteger(double value, int power) {
    const double high = value * powersOfTen[power];
    const double low = std::fma(value, powersOfTen[power], -high);
    const double whole = std::floor(high);
    const double rest = (high - whole - 0.5) + low;
    const i64 integer = static_cast<i64>(whole);
    return integer + (rest > 0 || (rest == 0 && (integer & 1)));
}

// The general form with fifteen digits of a number from 0.0001 up that needs no exponent. False for
// others.
bool PrintFifteenDigits(double value, char* out, std::size_t& length) {
    const double size = std::fabs(value);
    if (!(size >= 1e-4 && size < 1e15)) return false;
    int exponent = 0;  // of ten, of the first digit
    while (size < smallPowers[-exponent]) --exponent;
    while (exponent >= 0 && size >= powersOfTen[exponent + 1]) ++exponent;
    i64 scaled = ScaledInteger(size, FIFTEEN - 1 - exponent);
    if (scaled == 1000000000000000) {
        scaled /= 10;
        ++exponent;
    }
    if (exponent == FIFTEEN) return false;
    char digits[24];
    int count = static_cast<int>(std::to_chars(digits, digits + sizeof digits, scaled).ptr - digits);
    while (count > 1 && digits[count - 1] == '0') --count;
    char* o = out;
    if (value < 0) *o++ = '-';
    const int front = exponent < 0 ? 0 : exponent + 1;
    if (front == 0) {
        *o++ = '0';
        *o++ = '.';
        for (int i = -1; i > exponent; --i) *o++ = '0';
    }
    for (int i = 0; i < front; ++i) *o++ = i < count ? digits[i] : '0';
    if (front && count > front) *o++ = '.';
    if (count > front) {
        std::memcpy(o, digits + front, static_cast<std::size_t>(count - front));
        o += count - front;
    }
    length = static_cast<std::size_t>(o - out);
    return true;
}

}  // namespace

i32 MulDiv(i32 a, i32 b, i32 c) {
    if (c == 0) return -1;
    i64 product = i64{a} * b;
    i64 divisor = c;
    if (divisor < 0) {
        product = -product;
        divisor = -divisor;
    }
    const i64 half = divisor / 2;
    const i64 result = product >= 0 ? (product + half) / divisor : -((-product + half) / divisor);
    if (result > 0x7FFFFFFF || result < -0x80000000LL) return -1;
    return static_cast<i32>(result);
}

std::size_t PrintGeneral(double value, int precision, char* out) {
    if (value == std::trunc(value) && std::fabs(value) < powersOfTen[std::min(precision, FIFTEEN)] &&
        !(value == 0 && std::signbit(value))) {
        return PrintInteger(static_cast<i64>(value), out);
    }
    std::size_t length = 0;
    if (precision == FIFTEEN && PrintFifteenDigits(value, out, length)) return length;
    const auto made = std::to_chars(out, out + NUMBER_TEXT_ROOM, value, std::chars_format::general, precision);
    length = static_cast<std::size_t>(made.ptr - out);
    UpperLetters(out, length);
    return length;
}

std::size_t PrintFixed(double value, int places, char* out) {
    const auto made = std::to_chars(out, out + FIXED_TEXT_ROOM, value, std::chars_format::fixed, places);
    return static_cast<std::size_t>(made.ptr - out);
}

std::size_t PrintShortest(double value, char* out) {
    return static_cast<std::size_t>(std::to_chars(out, out + NUMBER_TEXT_ROOM, value).ptr - out);
}

std::size_t PrintInteger(i64 value, char* out) {
    return static_cast<std::size_t>(std::to_chars(out, out + NUMBER_TEXT_ROOM, value).ptr - out);
}

bool AppendInteger(WideText& out, i64 value) {
    char digits[NUMBER_TEXT_ROOM];
    return out.AppendAscii({digits, PrintInteger(value, digits)});
}

bool ReadPlainNumber(std::string_view text, double& out) {
    if (!text.empty() && text[0] == '+') text.remove_prefix(1);
    const auto read = std::from_chars(text.data(), text.data() + text.size(), out);
    return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

}  // namespace tally
