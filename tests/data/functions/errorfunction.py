#!/usr/bin/env python3
"""Writes errorfunction.txt: reference values of ERF and ERFC, by mpmath at 400 digits.

Run it in this folder: python3 errorfunction.py > errorfunction.txt
"""
import random

from dyadic import dyadic
from mpmath import erf, erfc, mp, mpf, nstr

mp.dps = 400
random.seed(1871)


def show(name, arguments, value):
    if value and abs(value) < mpf("1e-305"):
        return
    print("=%s(%s) ~ %s" % (name, ",".join(dyadic(x, 53)[1] for x in arguments), nstr(value, 20)))


print("# Written by errorfunction.py.")
PLACES = [2.0 ** -1000, 2.0 ** -60, 2.0 ** -20, 0.001, 0.1, 0.25, 0.5, 0.8426, 1.0, 1.5, 2.0, 3.5, 5.0, 7.25, 10.0, 15.0, 20.0, 26.0, 26.4]
print("[ERF]")
for x in (dyadic(place)[0] for place in PLACES):
    show("ERF", (x,), erf(mpf(x)))
for _ in range(40):
    a = dyadic(random.uniform(0, 6))[0]
    b = dyadic(random.choice((random.uniform(0, 6), a + random.uniform(-0.2, 0.2), a * 1.001)))[0]
    if b >= 0 and a != b:
        show("ERF", (a, b), erf(mpf(b)) - erf(mpf(a)))
for a, b in ((1.0, 1.0000001), (0.3, 0.30000000001), (5.0, 30.0), (10.0, 10.01), (25.0, 26.0), (20.0, 20.249),
             (20.0, 20.25), (1e-12, 2e-12), (26.0, 0.5), (3.0, 2.75), (0.0, 2.0)):
    a, b = dyadic(a, 46)[0], dyadic(b, 46)[0]
    show("ERF", (a, b), erf(mpf(b)) - erf(mpf(a)))
print("[ERFC]")
for x in (dyadic(place)[0] for place in PLACES):
    show("ERFC", (x,), erfc(mpf(x)))
