#pragma once
// Complex numbers as texts such as "3+4i" and their arithmetic, on wider numbers than a double so that the
// parts of a result are right where products cancel.

#include "formula/FormulaTypes.h"

namespace tally {

struct Complex {
    long double re = 0;
    long double im = 0;
    char16_t suffix = 0;  // 'i', 'j', or 0 for a real number
};

// A text without blanks: a real part, an imaginary part with its suffix, or both, in the user's decimal
// separator.
bool ParseComplex(WideView text, Complex& out);
// The text of it, "i" when no suffix was met; "#NUM!" for what is no pair of doubles.
Value ComplexValue(const Complex& z);

bool IsZero(const Complex& z);
// The results have the suffix of their first operand that has one.
Complex Add(const Complex& a, const Complex& b);
Complex Subtract(const Complex& a, const Complex& b);
Complex Multiply(const Complex& a, const Complex& b);
Complex Divide(const Complex& a, const Complex& b);  // b is not zero
Complex SquareRoot(const Complex& z);
Complex Exponential(const Complex& z);
Complex Logarithm(const Complex& z);  // z is not zero
Complex Sine(const Complex& z);
Complex Cosine(const Complex& z);
Complex Power(const Complex& z, double exponent);  // z is not zero
long double Modulus(const Complex& z);
long double Angle(const Complex& z);

}  // namespace tally
