#!/usr/bin/env python3
"""Writes bonds.txt: reference values of the bond functions.

The published formulas of the functions are worked out here on their own, with the dates of Python's datetime and
50 digits of mpmath, for random bonds of a fixed seed. Run it in this folder: python3 bonds.py > bonds.txt
"""
import calendar
import datetime
import random

from mpmath import mp, mpf

mp.dps = 50
random.seed(1992)
DAY = datetime.timedelta(days=1)


def back(date, months):
    """The same day some months earlier, or that month's last one."""
    total = date.year * 12 + date.month - 1 - months
    year, month = total // 12, total % 12 + 1
    return datetime.date(year, month, min(date.day, calendar.monthrange(year, month)[1]))


def days360(a, b, european):
    d1, m1, y1, d2, m2, y2 = a.day, a.month, a.year, b.day, b.month, b.year
    if european:
        d1, d2 = min(d1, 30), min(d2, 30)
    else:
        if d1 == 31 or (m1 == 2 and d1 >= 28):
            d1 = 30
        if d2 == 31:
            d2, m2 = (1, m2 + 1) if d1 < 30 else (30, m2)
    return (y2 - y1) * 360 + (m2 - m1) * 30 + d2 - d1


def days(a, b, basis):
    return days360(a, b, basis == 4) if basis in (0, 4) else (b - a).days


def period(a, b, frequency, basis):
    if basis == 1:
        return mpf((b - a).days)
    return mpf(365 if basis == 3 else 360) / frequency


def walk(settlement, maturity, frequency):
    previous = following = maturity
    count = 0
    while previous > settlement:
        following, previous = previous, back(previous, 12 // frequency)
        count += 1
    return previous, following, count


def place(settlement, maturity, frequency, basis):
    previous, following, count = walk(settlement, maturity, frequency)
    e = period(previous, following, frequency, basis)
    return count, days(settlement, following, basis) / e, days(previous, settlement, basis) / e


def price(settlement, maturity, rate, y, redemption, frequency, basis):
    n, left, gone = place(settlement, maturity, frequency, basis)
    coupon = rate * 100 / frequency
    v = 1 / (1 + y / frequency)
    return sum(coupon * v ** (k + left) for k in range(n)) + redemption * v ** (n - 1 + left) - coupon * gone


def duration(settlement, maturity, rate, y, frequency, basis):
    n, left, _ = place(settlement, maturity, frequency, basis)
    coupon = rate * 100 / frequency
    v = 1 / (1 + y / frequency)
    flows = [(coupon + (100 if k == n - 1 else 0), k + left) for k in range(n)]
    return sum(c * t * v ** t for c, t in flows) / sum(c * v ** t for c, t in flows) / frequency


def serial(date):
    return date.toordinal() - 693594


def row(name, *arguments):
    return "=%s(%s)" % (name, ",".join(str(serial(a)) if isinstance(a, datetime.date) else str(a) for a in arguments))


def text(x):
    return mp.nstr(x, 20)


print("# Written by bonds.py.")
rows = {name: [] for name in "COUPNUM COUPPCD COUPNCD COUPDAYBS COUPDAYS COUPDAYSNC PRICE DURATION MDURATION".split()}
for frequency in (1, 2, 4):
    for basis in range(5):
        for _ in range(4):
            s = datetime.date(1950, 1, 1) + DAY * random.randrange(40000)
            m = s + DAY * random.randrange(1, 12000)
            rate, y, paid = random.randrange(0, 1500), random.randrange(1, 1500), random.choice((100, 110))
            a = (s, m, frequency, basis)
            previous, following, count = walk(s, m, frequency)
            rows["COUPNUM"].append((row("COUPNUM", *a), " -> ", count))
            rows["COUPPCD"].append((row("COUPPCD", *a), " -> ", serial(previous)))
            rows["COUPNCD"].append((row("COUPNCD", *a), " -> ", serial(following)))
            rows["COUPDAYBS"].append((row("COUPDAYBS", *a), " -> ", days(previous, s, basis)))
            rows["COUPDAYSNC"].append((row("COUPDAYSNC", *a), " -> ", days(s, following, basis)))
            e = period(previous, following, frequency, basis)
            rows["COUPDAYS"].append((row("COUPDAYS", *a), " -> ", ("%.4f" % e).rstrip("0").rstrip(".")))
            r, q = rate / mpf(10000), y / mpf(10000)
            value = price(s, m, r, q, paid, frequency, basis)
            rows["PRICE"].append((row("PRICE", s, m, rate / 10000, y / 10000, paid, frequency, basis), " ~ ", text(value)))
            d = duration(s, m, r, q, frequency, basis)
            rows["DURATION"].append((row("DURATION", s, m, rate / 10000, y / 10000, frequency, basis), " ~ ", text(d)))
            rows["MDURATION"].append((row("MDURATION", s, m, rate / 10000, y / 10000, frequency, basis), " ~ ",
                                      text(d / (1 + q / frequency))))
for name, lines in rows.items():
    print("[%s]" % name)
    for formula, sign, value in lines:
        print("%s%s%s" % (formula, sign, value))
