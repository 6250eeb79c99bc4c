#!/usr/bin/env python3
"""Writes bessel.txt: reference values of the Bessel functions.

Values are mpmath's at 40 digits; those of orders that its series do not reach come from the recurrences, run
with 60 digits in the direction in which they are stable. Run it in this folder: python3 bessel.py > bessel.txt
"""
import random

from dyadic import dyadic
from mpmath import besseli, besselj, besselk, bessely, floor, mp, mpf, nstr

mp.dps = 40
random.seed(1824)
FUNCTIONS = {"BESSELJ": besselj, "BESSELY": bessely, "BESSELI": besseli, "BESSELK": besselk}


def forward(zeroth, first, x, n, sign):
    for k in range(1, n):
        zeroth, first = first, 2 * k / x * first + sign * zeroth
    return first


def backward(zeroth, x, n, sign):
    """From far above down to order 0, whose value is known."""
    above, now, wanted = mpf(0), mpf(1), None
    top = max(n, int(floor(x)))
    for k in range(top + 30 * int(top ** (1 / 3)) + 200, 0, -1):
        if k == n:
            wanted = now
        above, now = now, 2 * k / x * now + sign * above
    return wanted / now * zeroth


def high(name, x, n):
    with mp.workdps(60):
        x = mpf(x)
        if name == "BESSELY":
            return forward(bessely(0, x), bessely(1, x), x, n, -1)
        if name == "BESSELK":
            return forward(besselk(0, x), besselk(1, x), x, n, 1)
        if name == "BESSELI":
            return backward(besseli(0, x), x, n, 1)
        return forward(besselj(0, x), besselj(1, x), x, n, -1) if n < x else backward(besselj(0, x), x, n, -1)


def show(name, x, n, value):
    if 1e-305 < abs(value) < 1e308:
        print("=%s(%s,%d) ~ %s" % (name, dyadic(x, 48)[1], n, nstr(value, 20)))


HIGH = {
    "BESSELJ": [(19900.5, 20000), (30000.5, 20000), (1e5, 100000), (99000.0, 100000), (300000.75, 100000),
                (1e6, 1000000), (3e6, 1000000), (1e12, 500000)],
    "BESSELY": [(19990.5, 20000), (1e5, 100000), (300000.75, 100000), (1e6, 1000000), (3e6, 1000000)],
    "BESSELI": [(20000.0, 30000), (66300.0, 100000), (66000.5, 100000)],
    "BESSELK": [(13300.5, 20000), (66300.0, 100000), (1700.0, 2000)],
}
print("# Written by bessel.py.")
for name, function in FUNCTIONS.items():
    print("[%s]" % name)
    for n in (0, 1, 2, 3, 10, 50, 100, 200, 1000):
        for _ in range(9):
            x = random.choice((random.uniform(0.01, 3), random.uniform(5, 60), random.uniform(0.1, 2 * n + 30),
                               n + random.uniform(-5, 5), 10 ** random.uniform(-8, 3)))
            x = dyadic(x)[0]
            if x > 0:
                show(name, x, n, function(n, mpf(x)))
    for x in (2.0 ** -1000, 2.0 ** -300, 2.0 ** -60, 39.9990234375, 40.0, 700.5, 10000.5, 123456789.125, 1e15, 2.0 ** 60):
        for n in (0, 1, 2, 7):
            # The exponential ones are no doubles for large arguments.
            if x < 1000 or name in ("BESSELJ", "BESSELY"):
                show(name, x, n, function(n, mpf(x)))
    for x, n in HIGH[name]:
        show(name, x, n, high(name, x, n))
