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


def running_sums(out):
    for row in range(1, 20001):
        out.write(f'{row % 97},"=SUM(A$1:A{row})"\n')


def tiny(out):
    out.write("1\n")


# name, writer of the csv, input form, whether everything is calculated anew, goals as texts
CASES = [
    ("xls numbers 65,536 x 16 to csv", numbers, "xls", False, "1/12 ssconvert, 1/3 LibreOffice"),
    ("xls texts 480,000 to csv", texts, "xls", False, "1/10 ssconvert"),
    ("csv mixed 65,536 x 16 to csv", mixed_csv, "csv", False, "1/10 LibreOffice"),
    ("chain of 60,000 down", chain_down, "xls", True, "1/5 ssconvert"),
    ("chain of 60,000 up", chain_up, "xls", True, "1/5 ssconvert"),
    ("60,000 on one cell", one_cell, "xls", True, "1/5 LibreOffice"),
    ("5,000 sums of 20,000", same_sums, "xls", True, "1/5 LibreOffice"),
    ("20,000 running sums", running_sums, "xls", True, "1/5 LibreOffice"),
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

    def office(source):
        # "calculate on load: always" cannot be given on the command line: LibreOffice recalculates
        # files of other writers by its default only when asked, so its times are those of its default.
        return ["soffice", "--headless", profile, "--convert-to", "csv", "--outdir", str(work), str(source)]

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
        command = [options.tally, "convert", str(source), str(work / "tally.csv")]
        ours = best(command + (["--recalculate"] if recalculate else []), options.runs)
        gnumeric = best(["ssconvert"] + (["--recalc"] if recalculate else []) + [str(source), str(work / "peer.csv")],
                        max(1, options.runs - 1), environment)
        net = best(office(source), max(1, options.runs - 1), environment)[0] - office_start if have_office else 0.0
        print(f"{name:34}{ours[0]:9.3f}{ours[1] / 1024:7.0f}{gnumeric[0]:10.3f}{gnumeric[1] / 1024:7.0f}"
              f"{gnumeric[0] / ours[0]:7.1f}{net:10.3f}{net / ours[0]:7.1f}  {goal}", flush=True)
    shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
