#!/usr/bin/env python3
"""Saves workbooks with `tally` in their own form and asks an office suite what it finds before and after.

    tools/kept.py TALLY FOLDER [COUNT]

Prints one line for each file whose comments, drawings, charts, pivot tables or macro modules differ, and the
sums at the end. Files that the suite does not read are left out.
"""
import os
import re
import subprocess
import sys
import tempfile

SUBJECTS = {
    "comments": r"<office:annotation[ >]",
    "drawings": r"<draw:(?:frame|custom-shape|line|rect|ellipse|polygon|path|g|control|connector)[ >]",
    "charts": r'draw:object [^>]*(?:notify-on-update|xlink:href)|<chart:chart[ >]',
    "pivot tables": r"<table:data-pilot-table[ >]",
    "macro modules": r"<script:module[ >]|<ooo:module[ >]|<script:library-embedded[ >]",
    "notes in cells": r"<text:note[ >]",
}


def flat(paths, folder, profile):
    """The files as flat XML, by name; missing where the suite gives none."""
    subprocess.run(
        ["soffice", f"-env:UserInstallation=file://{profile}", "--headless", "--convert-to", "fods", "--outdir", folder]
        + paths, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=1800, check=False)
    out = {}
    for path in paths:
        made = os.path.join(folder, os.path.splitext(os.path.basename(path))[0] + ".fods")
        if os.path.exists(made):
            with open(made, encoding="utf-8", errors="replace") as file:
                text = file.read()
            out[os.path.basename(path)] = {name: len(re.findall(rule, text)) for name, rule in SUBJECTS.items()}
    return out


def main():
    tally, corpus = sys.argv[1], sys.argv[2]
    names = sorted(name for name in os.listdir(corpus) if name.endswith((".xls", ".xlt")))
    if len(sys.argv) > 3:
        names = names[:: max(1, len(names) // int(sys.argv[3]))]
    with tempfile.TemporaryDirectory() as work:
        for part in ("saved", "before", "after"):
            os.mkdir(os.path.join(work, part))
        saved = []
        for name in names:
            path = os.path.join(work, "saved", name)
            run = subprocess.run([tally, "convert", os.path.join(corpus, name), path], capture_output=True, check=False)
            if run.returncode == 0:
                saved.append(name)
        profile = os.path.join(work, "profile")
        before = flat([os.path.join(corpus, name) for name in saved], os.path.join(work, "before"), profile)
        after = flat([os.path.join(work, "saved", name) for name in saved], os.path.join(work, "after"), profile)
        sums = {name: [0, 0] for name in SUBJECTS}
        for name, found in before.items():
            now = after.get(name)
            if now is None:
                print(f"{name}: not read any more")
                continue
            for subject, count in found.items():
                sums[subject][0] += count
                sums[subject][1] += now[subject]
                if count != now[subject]:
                    print(f"{name}: {subject} {count} became {now[subject]}")
        print(f"{len(saved)} files saved, {len(before)} read before, {len(after)} after")
        for subject, (was, now) in sums.items():
            print(f"{subject}: {was} before, {now} after")


main()
