#!/usr/bin/env python3
"""Writes oddperiods.txt: reference values of bonds with odd periods and of securities without coupons.

The published formulas worked out on their own, as in bonds.py. Run it in this folder:
python3 oddperiods.py > oddperiods.txt
"""
import calendar
import datetime
import random

from mpmath import findroot, mp, mpf, nstr

mp.dps = 50
random.seed(1693)
DAY = datetime.timedelta(days=1)


def moved(date, months):
    total = date.year * 12 + date.month - 1 + months
    year, month = total // 12, total % 12 + 1
    return datetime.date(year, month, min(date.day, calendar.monthrange(year, month)[1]))


def days360(a, b, european):
    d1, m1, d2, m2 = a.day, a.month, b.day, b.month
    if european:
        d1, d2 = min(d1, 30), min(d2, 30)
    else:
        if d1 == 31 or (m1 == 2 and d1 >= 28):
            d1 = 30
        if d2 == 31:
            d2, m2 = (1, m2 + 1) if d1 < 30 else (30, m2)
    return (b.year - a.year) * 360 + (m2 - m1) * 30 + d2 - d1


def days(a, b, basis):
    return days360(a, b, basis == 4) if basis in (0, 4) else (b - a).days


def has_leap_day(a, b):
    return any(calendar.isleap(y) and a <= datetime.date(y, 2, 29) <= b for y in range(a.year, b.year + 1))


def years(a, b, basis):
    """The part of a year, by the five ways of counting."""
    if basis == 1:
        if a.year == b.year:
            length = mpf(366 if calendar.isleap(a.year) else 365)
        elif b <= moved(a, 12) and b.year == a.year + 1:
            length = mpf(366 if has_leap_day(a, b) else 365)
        else:
            whole = (datetime.date(b.year + 1, 1, 1) - datetime.date(a.year, 1, 1)).days
            length = mpf(whole) / (b.year - a.year + 1)
        return (b - a).days / length
    return days(a, b, basis) / mpf(365 if basis == 3 else 360)


def normal(a, b, frequency, basis):
    return mpf((b - a).days) if basis == 1 else mpf(365 if basis == 3 else 360) / frequency


def quasi(anchor, a, b, frequency, basis):
    """The time from a to b in quasi-coupon periods around the anchor, each by its own length."""
    step = 12 // frequency
    k = 0
    while moved(anchor, k * step) > a:
        k -= 1
    while moved(anchor, (k + 1) * step) <= a:
        k += 1
    total = mpf(0)
    while moved(anchor, k * step) < b:
        start, end = moved(anchor, k * step), moved(anchor, (k + 1) * step)
        if start >= a and end <= b and basis in (0, 4):
            total += 1
        else:
            total += days(max(start, a), min(end, b), basis) / normal(start, end, frequency, basis)
        k += 1
    return total


def odd_first(settlement, issue, first, later, rate, y, redemption, frequency, basis):
    step = 12 // frequency
    k = 0
    while moved(first, k * step) > settlement:
        k -= 1
    start, end = moved(first, k * step), moved(first, (k + 1) * step)
    wait = -(k + 1) + days(settlement, end, basis) / normal(start, end, frequency, basis)
    coupon = 100 * rate / frequency
    v = 1 / (1 + y / frequency)
    value = coupon * quasi(first, issue, first, frequency, basis) * v ** wait
    value += sum(coupon * v ** (wait + i) for i in range(1, later + 1))
    value += redemption * v ** (wait + later)
    return value - coupon * quasi(first, issue, settlement, frequency, basis)


def odd_last(settlement, maturity, last, rate, y, redemption, frequency, basis):
    coupon = 100 * rate / frequency
    due = redemption + coupon * quasi(last, last, maturity, frequency, basis)
    left = quasi(last, settlement, maturity, frequency, basis)
    return due / (1 + left * y / frequency) - coupon * quasi(last, last, settlement, frequency, basis)


def serial(date):
    return date.toordinal() - 693594


def show(name, arguments, value):
    texts = (str(serial(a)) if isinstance(a, datetime.date) else str(a) for a in arguments)
    print("=%s(%s) ~ %s" % (name, ",".join(texts), nstr(value, 20)))


def show_yield(name, arguments, value):
    texts = (str(serial(a)) if isinstance(a, datetime.date) else str(a) for a in arguments)
    print("=ROUND(%s(%s),7) -> %s" % (name, ",".join(texts), ("%.7f" % value).rstrip("0").rstrip(".")))


def day(a, b):
    return DAY * random.randrange(a, b)


def exact(x):
    return mpf(x) / 10000


print("# Written by oddperiods.py.")
print("[ODDFPRICE]")
found = []
for basis in range(5):
    for frequency in (1, 2, 4):
        for _ in range(4):
            first = datetime.date(random.randrange(1980, 2020), random.randrange(1, 13), random.randrange(1, 28))
            settlement = first - day(1, 700 // frequency)
            issue = settlement - day(1, 300)
            later = random.randrange(1, 40)
            maturity = moved(first, later * 12 // frequency)
            rate, y = random.randrange(1, 1200), random.randrange(1, 1200)
            value = odd_first(settlement, issue, first, later, exact(rate), exact(y), 100, frequency, basis)
            show("ODDFPRICE", (settlement, maturity, issue, first, rate / 10000, y / 10000, 100, frequency, basis), value)
            found.append((settlement, maturity, issue, first, rate, y, later, frequency, basis, value))
print("[ODDFYIELD]")
for settlement, maturity, issue, first, rate, near, later, frequency, basis, value in found[::3]:
    paid = round(float(value), 2)
    y = findroot(lambda t: odd_first(settlement, issue, first, later, exact(rate), t, 100, frequency, basis)
                 - mpf("%.2f" % paid), exact(near))
    show_yield("ODDFYIELD", (settlement, maturity, issue, first, rate / 10000, paid, 100, frequency, basis), y)
print("[ODDLPRICE]")
found = []
for basis in range(5):
    for frequency in (1, 2, 4):
        for _ in range(3):
            last = datetime.date(random.randrange(1980, 2020), random.randrange(1, 13), random.randrange(1, 28))
            settlement = last + day(1, 400)
            maturity = settlement + day(1, 400)
            rate, y = random.randrange(1, 1200), random.randrange(1, 1200)
            value = odd_last(settlement, maturity, last, exact(rate), exact(y), 100, frequency, basis)
            show("ODDLPRICE", (settlement, maturity, last, rate / 10000, y / 10000, 100, frequency, basis), value)
            found.append((settlement, maturity, last, rate, frequency, basis))
print("[ODDLYIELD]")
for settlement, maturity, last, rate, frequency, basis in found[::3]:
    y = findroot(lambda t: odd_last(settlement, maturity, last, exact(rate), t, 100, frequency, basis) - 98, mpf("0.05"))
    show("ODDLYIELD", (settlement, maturity, last, rate / 10000, 98, 100, frequency, basis), y)
for basis in range(5):
    for _ in range(6):
        settlement = datetime.date(1995, 1, 1) + day(0, 9000)
        maturity = settlement + day(5, random.choice((300, 366, 2000)))
        issue = settlement - day(1, 700)
        t, whole, gone = (years(a, b, basis) for a, b in ((settlement, maturity), (issue, maturity), (issue, settlement)))
        r, y = mpf(6) / 100, mpf(55) / 1000
        price = (100 + 100 * r * whole) / (1 + y * t) - 100 * r * gone
        show("DISC", (settlement, maturity, 97, 100, basis), 3 / mpf(100) / t)
        show("INTRATE", (settlement, maturity, 97, 100, basis), 3 / mpf(97) / t)
        show("YIELDDISC", (settlement, maturity, 97, 100, basis), 3 / mpf(97) / t)
        show("RECEIVED", (settlement, maturity, 97, 0.05, basis), 97 / (1 - mpf(5) / 100 * t))
        show("PRICEDISC", (settlement, maturity, 0.05, 100, basis), 100 - 5 * t)
        show("PRICEMAT", (settlement, maturity, issue, 0.06, 0.055, basis), price)
        paid = mpf(99) / 100 + gone * r
        show("YIELDMAT", (settlement, maturity, issue, 0.06, 99, basis), ((1 + whole * r) / paid - 1) / t)
        show("ACCRINTM", (issue, settlement, 0.06, 1000, basis), 60 * gone)
        first = issue + day(0, 300)
        first = first.replace(day=min(first.day, 27))
        show("ACCRINT", (issue, first, settlement, 0.06, 1000, 2, basis), 30 * quasi(first, issue, settlement, 2, basis))
