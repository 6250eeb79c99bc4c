"""Numbers that a formula writes without rounding, for the scripts beside this one."""
from fractions import Fraction


def dyadic(x, bits=26):
    """The double next to x with so many bits, and how a formula writes it."""
    from math import frexp, ldexp
    mantissa, exponent = frexp(x)
    x = ldexp(round(ldexp(mantissa, bits)), exponent - bits)
    exact = Fraction(x)
    if exact.denominator > 1:
        return x, "%d/2^%d" % (exact.numerator, exact.denominator.bit_length() - 1)
    twos = (exact.numerator & -exact.numerator).bit_length() - 1 if exact.numerator > 1 << 52 else 0
    return x, "%d*2^%d" % (exact.numerator >> twos, twos) if twos else "%d" % exact.numerator
