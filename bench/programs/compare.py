#!/usr/bin/env python3
"""Times whole programs on the same files in the same run: tally, Gnumeric's ssconvert and LibreOffice.

usage: bench/programs/compare.py [--runs N] [--only NAME] [--tally PATH] [--folder PATH]

The inputs are made once, in a folder under the build tree. What is printed is CPU time (user and
system, the least of the runs) and peak memory. LibreOffice's own start-up, taken from a file with
one cell, is subtracted from its times.
"""
import argparse
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent


def measured(command, environment=None):
    """Runs a command; returns (CPU seconds, peak KiB)."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=environment)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {status}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def best(command, runs, environment=None):
    results = [measured(command, environment) for _ in range(runs)]
    return min(r[0] for r in results), min(r[1] for r in results)


# ---- inputs: each routine writes a csv text ------------------------------------------------------

def numbers(out):
    source = random.Random(1)
    for _ in range(65536):
        out.write(",".join(repr(round(source.uniform(-1e6, 1e6), source.randrange(0, 6))) for _ in range(16)) + "\n")


def texts(out):
    source = random.Random(2)
    words = [f"item {i} {source.randrange(10**6)}" for i in range(200000)]
    for row in range(60000):
        out.write(",".join(words[(row * 8 + c) % 200000] for c in range(8)) + "\n")


def mixed_csv(out):
    source = random.Random(3)
    for row in range(65536):
        fields = []
        for column in range(16):
            kind = column % 3
            if kind == 0:
                fields.append(f"{source.uniform(0, 1e5):.3f}")
            elif kind == 1:
                fields.append(f"{source.randrange(1, 13)}/{source.randrange(1, 29)}/{source.randrange(1990, 2030)}")
            else:
                fields.append(f'"text, {source.randrange(10**5)} ""q"""')
        out.write(",".join(fields) + "\n")


def chain_down(out):
    out.write("1\n")
    for row in range(2, 60001):
        out.write(f"=A{row - 1}+1\n")


def chain_up(out):
    for row in range(1, 60000):
        out.write(f"=A{row + 1}+1\n")
    out.write("1\n")


def one_cell(out):
    for row in range(1, 60001):
        out.write(("1" if row == 1 else "") + f",=$A$1+{row}\n")


def same_sums(out):
    for row in range(1, 20001):
        out.write(f"{row % 97}" + (f',"=SUM($A$1:$A$20000)+{row}"' if row <= 5000 else "") + "\n")


def same_aggregates(out):
    source = random.Random(8)
    for row in range(1, 20001):
        out.write(f"{source.randrange(10**6)}" + (f',"=MAX($A$1:$A$20000)-A{row}","=RANK(A{row},$A$1:$A$20000)",'
                  f'"=PERCENTILE($A$1:$A$20000,{row}/6000)","=COUNTIF($A$1:$A$20000,A{row})"' if row <= 5000 else "") + "\n")


def running_sums(out):
    for row in range(1, 20001):
        out.write(f'{row % 97},"=SUM(A$1:A{row})"\n')


def keys(count, seed):
    """The keys of a table in order, and the same shuffled."""
    ordered = [f"Part {i * 7:06d} of {chr(97 + i % 26)}" for i in range(count)]
    shuffled = ordered[:]
    random.Random(seed).shuffle(shuffled)
    return ordered, shuffled


def looked_up(formula, sorted_table):
    def write(out):
        ordered, shuffled = keys(20000, 4)
        table = ordered if sorted_table else shuffled
        _, wanted = keys(20000, 5)
        for row in range(1, 20001):
            out.write(f'{table[row - 1]},{row},{wanted[row - 1]},"{formula.format(row=row)}"\n')
    return write


def business(out):
    source = random.Random(6)
    regions = ["north", "south", "east", "west", "centre"]
    rates = [0.02, 0.05, 0.075, 0.1, 0.12]
    for row in range(1, 50001):
        fields = [
            f"{source.choice(regions)}", f"  order {row} of   {source.randrange(900)} ", f"{source.uniform(1, 5000):.3f}",
            f"{source.randrange(1, 40)}", f"{source.randrange(33000, 45000)}",
            f"{rates[row - 1]}" if row <= 5 else "",
            f'"=IF(C{row}>1000,ROUND(C{row}*D{row},2),C{row}*D{row})"',
            f'"=DATE(YEAR(E{row}),MONTH(E{row})+1,1)"', f'"=TEXT(E{row},""yyyy-mm-dd"")"',
            f'"=INDEX($F$1:$F$5,MOD(D{row},5)+1)*G{row}"', f'"=UPPER(LEFT(TRIM(B{row}),8))"',
            f'"=CONCATENATE(MID(A{row},1,2),""-"",D{row})"', f'"=IF(AND(C{row}>500,D{row}<20),1,0)"',
            f'"=COUNTIF(C{row}:F{row},"">30"")"',
        ]
        if row <= 200:
            fields.append(f'"=SUMIF(A:A,A{row},G:G)+COUNTIF(D:D,{row % 40})"')
        out.write(",".join(fields) + "\n")


def family(*formulas):
    """65,536 rows of each formula over a few columns of numbers, dates and texts."""
    def write(out):
        source = random.Random(7)
        for row in range(1, 65537):
            inputs = [f"{source.uniform(0.01, 0.99):.6f}", f"{source.uniform(1, 900):.3f}", f"{source.randrange(1, 500)}",
                      f"{source.randrange(30000, 45000)}", f"word {source.randrange(10**6)} Of text"]
            out.write(",".join(inputs + [f'"{f.format(r=row)}"' for f in formulas]) +
                      (f",{row},{row * row % 7},{8 - row}" if row <= 3 else "") + "\n")
    return write


def tiny(out):
    out.write("1\n")


# name, writer of the csv, input form, whether everything is calculated anew, goals as texts
CASES = [
    ("xls numbers 65,536 x 16 to csv", numbers, "xls", False, "1/12 ssconvert, 1/3 LibreOffice"),
    ("xls texts 480,000 to csv", texts, "xls", False, "1/10 ssconvert"),
    ("xls numbers 65,536 x 16 to xls", numbers, "xls", False, "1/10 ssconvert, half its memory"),
    ("xls texts 480,000 to xls", texts, "xls", False, "1/10 ssconvert"),
    ("csv mixed 65,536 x 16 to csv", mixed_csv, "csv", False, "1/10 LibreOffice"),
    ("chain of 60,000 down", chain_down, "xls", True, "1/5 ssconvert"),
    ("chain of 60,000 up", chain_up, "xls", True, "1/5 ssconvert"),
    ("60,000 on one cell", one_cell, "xls", True, "1/5 LibreOffice"),
    ("5,000 sums of 20,000", same_sums, "xls", True, "1/5 LibreOffice"),
    ("20,000 running sums", running_sums, "xls", True, "1/5 LibreOffice"),
    ("5,000 aggregates of 20,000", same_aggregates, "xls", True, "1/5 of the better"),
    ("20,000 exact VLOOKUPs", looked_up("=VLOOKUP(C{row},$A$1:$B$20000,2,FALSE)", False), "xls", True, "1/5 of the better"),
    ("20,000 sorted VLOOKUPs", looked_up("=VLOOKUP(C{row},$A$1:$B$20000,2)", True), "xls", True, "1/5 of the better"),
    ("20,000 exact MATCHes", looked_up("=MATCH(C{row},$A$1:$A$20000,0)", False), "xls", True, "1/5 of the better"),
    ("business sheet of 50,000", business, "xls", True, "1/8 of the better"),
    ("heavy text", family('=SUBSTITUTE(E{r},"" "",""--"")', "=PROPER(E{r})", '=TEXT(B{r},""#,##0.00"")',
                          '=SEARCH(""t?x"",E{r})', "=REPT(E{r},5)"), "xls", True, "1/5 ssconvert"),
    ("heavy date", family("=NETWORKDAYS(D{r},D{r}+C{r})", "=WORKDAY(D{r},C{r})", "=YEARFRAC(D{r},D{r}+C{r},0)",
                          "=EDATE(D{r},C{r})", '=DATEVALUE(""2/3/2004"")'), "xls", True, "1/5 ssconvert"),
    ("heavy math", family("=SUM(MINVERSE($K$1:$M$3))", "=SUMPRODUCT($A$1:$C$50,$A$1:$C$50)", "=ROMAN(C{r})",
                          "=SUMIF($A$1:$A$50,"">0.5"",$B$1:$B$50)", "=COMBIN(40,INT(A{r}*30))"), "xls", True, "1/5 ssconvert"),
    ("heavy statistics", family("=BETAINV(A{r},2,3)", "=CHIINV(A{r},7)", "=TINV(A{r},10)", "=MEDIAN($B$1:$B$100)",
                                "=CORREL($A$1:$A$100,$B$1:$B$100)"), "xls", True, "1/5 ssconvert"),
    ("heavy financial", family("=YIELD(D{r},D{r}+3000,A{r},95,100,2)", "=DURATION(D{r},D{r}+3000,A{r},0.06,2)",
                               "=RATE(24,-B{r},B{r}*20)", "=CUMIPMT(A{r},60,B{r},3,40,0)", "=PRICE(D{r},D{r}+3000,A{r},0.06,100,2)"),
     "xls", True, "1/5 ssconvert"),
    ("heavy lookup", family("=HLOOKUP(1,A{r}:E{r},1)", '=INDIRECT(""A""&C{r})', "=ADDRESS(C{r},5)",
                            "=OFFSET(A{r},0,2)", "=MATCH(C{r},$C$1:$C$40,0)"), "xls", True, "1/5 ssconvert"),
    ("heavy information", family("=ISNUMBER(E{r})", "=IF(ISERROR(1/0),N(A{r}),1)", "=TYPE(E{r})",
                                 "=COUNTBLANK(A{r}:F{r})", '=CELL(""row"",A{r})'), "xls", True, "1/5 ssconvert"),
    ("heavy database", family("=DSUM($A$1:$E$40,2,$A$1:$A$2)", "=DCOUNT($A$1:$E$40,2,$A$1:$B$2)",
                              "=DMAX($A$1:$E$40,3,$A$1:$A$2)"), "xls", True, "1/5 ssconvert"),
    ("heavy engineering", family("=BESSELK(B{r}/10,3)", "=BESSELJ(B{r},2)", '=IMPRODUCT(""3+4i"",C{r})', '=IMPOWER(""3+4i"",A{r})',
                                 '=CONVERT(B{r},""lbm"",""g"")'), "xls", True, "1/5 ssconvert"),
]


def make_input(folder, name, writer, form):
    stem = "".join(c if c.isalnum() else "_" for c in name)
    csv = folder / f"{stem}.csv"
    if not csv.exists():
        with open(csv, "w") as out:
            writer(out)
    if form == "csv":
        return csv
    xls = folder / f"{stem}.xls"
    if not xls.exists():
        subprocess.run(["ssconvert", "-T", "Gnumeric_Excel:excel_biff8", csv, xls], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return xls


def main():
    options = argparse.ArgumentParser()
    options.add_argument("--runs", type=int, default=3)
    options.add_argument("--only", default="")
    options.add_argument("--tally", default=str(ROOT / "build/release/tally"))
    options.add_argument("--folder", default=str(ROOT / "build/bench-inputs"))
    options = options.parse_args()
    folder = pathlib.Path(options.folder)
    folder.mkdir(parents=True, exist_ok=True)
    work = pathlib.Path(tempfile.mkdtemp())
    profile = f"-env:UserInstallation=file://{work}/profile"
    environment = dict(os.environ, LC_ALL="C.UTF-8")

    def office(source, form="csv"):
        # "calculate on load: always" cannot be given on the command line: LibreOffice recalculates
        # files of other writers by its default only when asked, so its times are those of its default.
        return ["soffice", "--headless", profile, "--convert-to", form, "--outdir", str(work), str(source)]

    have_office = shutil.which("soffice") is not None
    have_gnumeric = shutil.which("ssconvert") is not None
    if not have_gnumeric:
        sys.exit("ssconvert is needed to make the inputs")
    start = make_input(folder, "tiny", tiny, "xls")
    office_start = best(office(start), options.runs, environment)[0] if have_office else 0.0
    print(f"LibreOffice's start-up: {office_start:.3f} s CPU (taken off below)")
    start_tally = best([options.tally, "eval", "=1+1"], 5)
    print(f"tally eval =1+1: {start_tally[0] * 1000:.1f} ms CPU, {start_tally[1] / 1024:.1f} MiB")
    print(f"{'case':34}{'tally s':>9}{'MiB':>7}{'ssconv s':>10}{'MiB':>7}{'ratio':>7}{'LO net s':>10}{'ratio':>7}  goal")
    for name, writer, form, recalculate, goal in CASES:
        if options.only not in name:
            continue
        source = make_input(folder, name, writer, form)
        to = "xls" if name.endswith("to xls") else "csv"
        command = [options.tally, "convert", str(source), str(work / f"tally.{to}")]
        ours = best(command + (["--recalculate"] if recalculate else []), options.runs)
        gnumeric = best(["ssconvert"] + (["-T", "Gnumeric_Excel:excel_biff8"] if to == "xls" else []) + (["--recalc"] if recalculate else []) + [str(source), str(work / f"peer.{to}")],
                        max(1, options.runs - 1), environment)
        net = best(office(source, to), max(1, options.runs - 1), environment)[0] - office_start if have_office else 0.0
        print(f"{name:34}{ours[0]:9.3f}{ours[1] / 1024:7.0f}{gnumeric[0]:10.3f}{gnumeric[1] / 1024:7.0f}"
              f"{gnumeric[0] / ours[0]:7.1f}{net:10.3f}{net / ours[0]:7.1f}  {goal}", flush=True)
    shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
