#!/usr/bin/env python3
"""Times books of one formula pattern each, at a quarter of the size and at the whole: tally, Gnumeric's
ssconvert and LibreOffice in the same run.

usage: bench/programs/patterns.py [--runs N] [--only TEXT] [--tally PATH] [--folder PATH] [--mine]

The books are written as csv and made to .xls by tally, once, in a folder under the build tree. What is printed is
CPU time (user and system, the least of the runs). LibreOffice's start-up, taken from a book with one cell, is
subtracted from its times; a peer that takes longer than the limit is shown as ">" and that limit.
"""
import argparse
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WHOLE = 60000


def column(index):
    return chr(65 + index) if index < 26 else chr(64 + index // 26) + chr(65 + index % 26)


def number(source):
    return f"{source.randrange(10**6) / 100:.2f}"


def rows(count, inputs, formulas):
    """A writer of `count` rows: inputs(source, row) gives a row's constants, formulas(row) its formulas."""
    def write(out):
        source = random.Random(count)
        for row in range(1, count + 1):
            fields = inputs(source, row) + ['"' + f.replace('"', '""') + '"' for f in formulas(row)]
            out.write(",".join(fields) + "\n")
    return write


def beside(formula):
    """One column of numbers, a second one, a text, and a formula beside each row."""
    def size(count):
        def inputs(source, row):
            return [number(source), number(source), f"key {source.randrange(count)}"]
        return rows(count, inputs, lambda row: [formula.format(r=row, n=count, w=row + count // 6)])
    return size


def own(first, formula):
    """A column of formulas over what stands above them."""
    def size(count):
        return rows(count, lambda source, row: [number(source)],
                    lambda row: [first if row == 1 else formula.format(r=row, p=row - 1)])
    return size


def in_turn(columns, formula, width=1):
    """Many columns or tables of a third of the rows; each formula asks the next of them."""
    def size(count):
        height = count // 3
        def inputs(source, row):
            return [number(source) for _ in range(columns * width)]
        def formulas(row):
            made = []
            for i in range(3):
                at = (row * 3 + i) % columns * width
                made.append(formula.format(a=column(at), b=column(at + width - 1), n=height, r=row))
            return made
        return rows(height, inputs, formulas)
    return size


def few(formula, calls, height):
    """A few thousand calls over a column that is read whole each time."""
    def size(count):
        tall, asked = height * count // WHOLE, calls * count // WHOLE
        return rows(tall, lambda source, row: [number(source)],
                    lambda row: [formula.format(r=row, n=tall)] if row <= asked else [])
    return size


CASES = [
    ("MAX of 20 columns in turn", in_turn(20, "=MAX(${a}$1:${a}${n})")),
    ("RANK in 20 columns in turn", in_turn(20, "=RANK({a}{r},${a}$1:${a}${n})")),
    ("SUMIF over 20 columns in turn", in_turn(20, "=SUMIF(${a}$1:${a}${n},{a}{r})")),
    ("SUMIF of one key, 20 sums in turn", in_turn(20, "=SUMIF($A$1:$A${n},$A{r},${a}$1:${a}${n})")),
    ("COUNTIF in 20 columns in turn", in_turn(20, "=COUNTIF(${a}$1:${a}${n},{a}{r})")),
    ("VLOOKUP in 20 tables in turn", in_turn(20, "=VLOOKUP({a}{r},${a}$1:${b}${n},2,FALSE)", 2)),
    ("sorted MATCH in 20 columns in turn", in_turn(20, "=MATCH({a}{r},${a}$1:${a}${n})")),
    ("running SUMs of 20 columns", in_turn(20, "=SUM({a}$1:{a}{r})")),
    ("shared area over 20 columns", in_turn(20, "=SUM($A$1:${a}${n})")),
    ("PERCENTILE of 20 columns in turn", in_turn(20, "=PERCENTILE(${a}$1:${a}${n},0.3)")),
    ("growing SUM", beside("=SUM(A$1:A{r})")),
    ("growing MAX", beside("=MAX(A$1:A{r})")),
    ("growing MIN", beside("=MIN(A$1:A{r})")),
    ("growing AVERAGE", beside("=AVERAGE(A$1:A{r})")),
    ("growing COUNT", beside("=COUNT(A$1:A{r})")),
    ("growing COUNTA", beside("=COUNTA(A$1:C{r})")),
    ("growing SMALL", beside("=SMALL(A$1:A{r},1+INT(ROWS(A$1:A{r})/3))")),
    ("growing LARGE", beside("=LARGE(A$1:A{r},1)")),
    ("growing MEDIAN", beside("=MEDIAN(A$1:A{r})")),
    ("growing RANK", beside("=RANK(A{r},A$1:A{r})")),
    ("growing STDEV", beside("=STDEV(A$1:A{r})")),
    ("growing VAR", beside("=VAR(A$1:A{r})")),
    ("growing COUNTIF", beside("=COUNTIF(C$1:C{r},C{r})")),
    ("growing SUMIF", beside("=SUMIF(C$1:C{r},C{r},A$1:A{r})")),
    ("own column MAX", own("=1", "=MAX(B$1:B{p})+A{r}")),
    ("own column AVERAGE", own("=1", "=AVERAGE(B$1:B{p})+A{r}")),
    ("own column SUM", own("=1", "=SUM(B$1:B{p})/{p}+A{r}")),
    ("own column COUNT", own("=1", "=COUNT(B$1:B{p})+A{r}")),
    ("own column SMALL", own("=1", "=SMALL(B$1:B{p},1)+A{r}")),
    ("own column STDEV", own("=1", "=IF({r}<4,A{r},STDEV(B$1:B{p})+A{r})")),
    ("own column COUNTIF", own("=1", "=COUNTIF(B$1:B{p},B{p})+A{r}")),
    ("SUMIF above a number", beside('=SUMIF(A$1:A${n},">"&A{r},B$1:B${n})')),
    ("SUMIF apart from a number", beside('=SUMIF(A$1:A${n},"<>"&A{r},B$1:B${n})')),
    ("COUNTIF above a number", beside('=COUNTIF(A$1:A${n},">"&A{r})')),
    ("COUNTIF apart from a number", beside('=COUNTIF(A$1:A${n},"<>"&A{r})')),
    ("COUNTIF of what is filled", beside('=COUNTIF(A$1:A${n},"<>")')),
    ("COUNTIF above a text", beside('=COUNTIF(C$1:C${n},">"&C{r})')),
    ("SUMIF above a text", beside('=SUMIF(C$1:C${n},">"&C{r},B$1:B${n})')),
    ("SUM of a window", beside("=SUM(A{r}:A{w})")),
    ("AVERAGE of a window", beside("=AVERAGE(A{r}:A{w})")),
    ("MAX of a window", beside("=MAX(A{r}:A{w})")),
    ("STDEV of a window", beside("=STDEV(A{r}:A{w})")),
    ("MEDIAN of a window", beside("=MEDIAN(A{r}:A{w})")),
    ("COUNTIF in a window", beside('=COUNTIF(A{r}:A{w},">5000")')),
    ("SUM of what is left", beside("=SUM(A{r}:A${n})")),
    ("SUM of two windows", beside("=SUM(A{r}:A{w},B{r}:B{w})")),
    ("SUBTOTAL 2,000 x 20,000", few("=SUBTOTAL(9,$A$1:$A${n})", 2000, 20000)),
    ("growing SUBTOTAL", beside("=SUBTOTAL(9,A$1:A{r})")),
    ("SUMPRODUCT 2,000 x 2,000", few("=SUMPRODUCT($A$1:$A$2000,$A$1:$A$2000)", 2000, 2000)),
]


def measured(command, limit):
    """Runs a command; CPU seconds, or None beyond the limit."""
    def bound():
        resource.setrlimit(resource.RLIMIT_CPU, (limit, limit + 1))
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, preexec_fn=bound)
    _, status, usage = os.wait4(process.pid, 0)
    return usage.ru_utime + usage.ru_stime if status == 0 else None


def best(command, runs, limit):
    times = []
    for _ in range(runs):
        times.append(measured(command, limit))
        if times[-1] is None or times[-1] > limit / 4:
            break
    return None if None in times else min(times)


def book(options, folder, name, writer, count):
    stem = "".join(c if c.isalnum() else "_" for c in name) + f"_{count}"
    xls = folder / f"{stem}.xls"
    if not xls.exists():
        csv = folder / f"{stem}.csv"
        with open(csv, "w") as out:
            writer(count)(out)
        subprocess.run([options.maker or options.tally, "convert", csv, xls], check=True)
        csv.unlink()
    return xls


def shown(seconds, limit, less=0.0):
    return f">{limit}" if seconds is None else f"{max(0.0, seconds - less):.3f}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--limit", type=int, default=40)
    parser.add_argument("--only", default="")
    parser.add_argument("--mine", action="store_true", help="tally alone")
    parser.add_argument("--tally", default=str(ROOT / "build/release/tally"))
    parser.add_argument("--maker", default="")
    parser.add_argument("--folder", default=str(ROOT / "build/pattern-inputs"))
    options = parser.parse_args()
    folder = pathlib.Path(options.folder)
    folder.mkdir(parents=True, exist_ok=True)
    work = pathlib.Path(tempfile.mkdtemp())
    office = ["soffice", "--headless", f"-env:UserInstallation=file://{work}/profile", "--convert-to", "csv",
              "--outdir", str(work)]
    peers = not options.mine
    office_start = 0.0
    if peers:
        if not shutil.which("soffice") or not shutil.which("ssconvert"):
            sys.exit("soffice and ssconvert are needed; --mine times tally alone")
        tiny = book(options, folder, "tiny", lambda count: lambda out: out.write("1\n"), 1)
        measured(office + [str(tiny)], options.limit)
        office_start = best(office + [str(tiny)], options.runs, options.limit)
    print(f"{'pattern':36}{'quarter':>9}{'whole':>9}{'growth':>8}{'ssconvert':>11}{'LO net':>9}")
    for name, writer in CASES:
        if options.only not in name:
            continue
        times = []
        for count in (WHOLE // 4, WHOLE):
            source = book(options, folder, name, writer, count)
            times.append(best([options.tally, "convert", str(source), str(work / "mine.csv"), "--recalculate"],
                              options.runs, options.limit))
        growth = f"{times[1] / times[0]:.1f}" if None not in times else "-"
        line = f"{name:36}{shown(times[0], options.limit):>9}{shown(times[1], options.limit):>9}{growth:>8}"
        if peers:
            gnumeric = best(["ssconvert", "--recalc", str(source), str(work / "peer.csv")], 1, options.limit)
            net = best(office + [str(source)], 1, options.limit)
            line += f"{shown(gnumeric, options.limit):>11}{shown(net, options.limit, office_start):>9}"
        print(line, flush=True)
    shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
