#!/usr/bin/env python3
"""Writes complex.txt: both parts of the functions of complex numbers, by mpmath at 50 digits.

Run it in this folder: python3 complex.py > complex.txt
"""
import random

from dyadic import dyadic
from mpmath import cos, exp, ln, log10, mp, mpc, mpf, nstr, sin, sqrt

mp.dps = 50
random.seed(1545)


def number(low=-6, high=2):
    return random.choice((-1, 1)) * float("%.4g" % 10 ** random.uniform(low, high))


def text(x, y, suffix="i"):
    return ("%r%s%r%s" % (x, "+" if y >= 0 else "", y, suffix)).replace("e", "E")


def show(call, value):
    for part, wanted in (("IMREAL", value.real), ("IMAGINARY", value.imag)):
        if abs(wanted) < mpf("1e-300"):
            continue
        print("=%s(%s) ~ %s" % (part, call, nstr(wanted, 20)))


print("# Written by complex.py.")
ONE = {
    "IMSIN": sin, "IMCOS": cos, "IMEXP": exp, "IMSQRT": sqrt, "IMLN": ln, "IMLOG10": log10,
    "IMLOG2": lambda z: ln(z) / ln(mpf(2)),
}
for name, function in ONE.items():
    print("[%s]" % name)
    for _ in range(25):
        x, y = number(), number()
        show('%s("%s")' % (name, text(x, y)), function(mpc(x, y)))
for name in ("IMLN", "IMLOG10"):
    # Beside the unit circle, where the square of the modulus is 1 but for its last digits.
    for x, y in ((0.6, 0.8), (-0.28, 0.96), (0.9999999, 1e-9), (1e-12, -1.0000001), (0.70710678, 0.70710678)):
        show('%s("%s")' % (name, text(x, y)), ONE[name](mpc(x, y)))
print("[IMDIV]")
for _ in range(25):
    x, y, u, v = (number() for _ in range(4))
    show('IMDIV("%s","%s")' % (text(x, y, "j"), text(u, v, "j")), mpc(x, y) / mpc(u, v))
show('IMDIV("1+1.00000001i","1.00000001+1i")', mpc(1, 1.00000001) / mpc(1.00000001, 1))
show('IMDIV("1E+300+1E+300i","1E+300-1E+299i")', mpc(1e300, 1e300) / mpc(1e300, -1e299))
show('IMDIV("1E-300+1E-300i","3E-300-1E-301i")', mpc(1e-300, 1e-300) / mpc(3e-300, -1e-301))
print("[IMPRODUCT]")
for _ in range(25):
    x, y, u, v = (number() for _ in range(4))
    show('IMPRODUCT("%s","%s")' % (text(x, y), text(u, v)), mpc(x, y) * mpc(u, v))
print("[IMPOWER]")
for _ in range(40):
    x, y = number(-1, 1), number(-1, 1)
    n = random.choice((2, 3, 7, -1, -4, 20, 0.5, 1.5, -2.5, 0.3, 2.75, 1 / 3, -0.1, 100, 12.5))
    n, written = dyadic(n, 40)
    show('IMPOWER("%s",%s)' % (text(x, y), written), mpc(x, y) ** mpf(n))
