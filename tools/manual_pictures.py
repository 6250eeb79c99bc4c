#!/usr/bin/env python3
"""Makes the pictures of docs/manual.md and docs/manual.zh.md from the program itself.

    tools/manual_pictures.py [PROGRAM]      build/release/tallyman unless told otherwise

Needs Xvfb, xdotool and matchbox-window-manager, as the tests do. The pictures lie in docs/pictures.
"""

import os
import struct
import subprocess
import sys
import tempfile
import time
import zlib

HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
OUT = os.path.join(HERE, "docs", "pictures")
WIDTH, HEIGHT = 760, 420
BOOK = {
    "en": "Item,January,February,March,Sum\nRent,820,820,820,\nFood,312.4,298.15,344.9,\n"
    "Travel,96,41.5,180.25,\nBooks,35.8,12,54.3,\n,,,,\n",
    "zh": "项目,一月,二月,三月,合计\n房租,820,820,820,\n伙食,312.4,298.15,344.9,\n"
    "交通,96,41.5,180.25,\n书籍,35.8,12,54.3,\n,,,,\n",
}
# What is typed before the first picture: sums of the rows.
SUMS = ["=SUM(B%d:D%d)" % (row, row) for row in range(2, 6)]
# Name of the picture, keys that lead to it, keys that lead back.
PAGES = [
    ("window", [], []),
    ("formula", ["F2"], ["Escape"]),
    ("menu", ["alt+e"], ["Escape", "Escape"]),
    ("format", ["ctrl+1"], ["Escape"]),
    ("conditions", ["alt+o", "o"], ["Escape"]),
]


def screen(path):
    """Lines of red, green and blue of the server's screen file."""
    with open(path, "rb") as file:
        data = file.read()
    head = struct.unpack(">25I", data[:100])
    start, line = head[0] + head[19] * 12, head[12]
    rows = []
    for y in range(head[5]):
        raw = data[start + y * line : start + y * line + head[4] * 4]
        row = bytearray(head[4] * 3)
        row[0::3], row[1::3], row[2::3] = raw[2::4], raw[1::4], raw[0::4]
        rows.append(bytes(row))
    return rows


# The grey at the edges of letters needs fewer steps than it has, so that the colours fit in a palette.
FEWER = bytes((value & 0xF0) | value >> 4 for value in range(256))


def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def write_png(path, rows):
    """With a palette where the colours fit in one."""
    width = len(rows[0]) // 3
    colours = {}
    lines = []
    for row in [row.translate(FEWER) for row in rows]:
        pixels = [row[x : x + 3] for x in range(0, len(row), 3)]
        for pixel in pixels:
            colours.setdefault(pixel, len(colours))
        lines.append(pixels)
    if len(colours) <= 256:
        body = b"".join(b"\0" + bytes(colours[pixel] for pixel in line) for line in lines)
        kind, extra = 3, chunk(b"PLTE", b"".join(colours))
    else:
        body, kind, extra = b"".join(b"\0" + row for row in rows), 2, b""
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n")
        file.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, len(rows), 8, kind, 0, 0, 0)))
        file.write(extra + chunk(b"IDAT", zlib.compress(body, 9)) + chunk(b"IEND", b""))


def press(*keys):
    subprocess.run(["xdotool", "key", "--delay", "30", *keys], check=True)


def settle(path):
    """Waits until nothing but a caret changes."""
    before = screen(path)
    for _ in range(60):
        time.sleep(0.4)
        now = screen(path)
        if sum(a != b for a, b in zip(before, now)) <= 24:
            return now
        before = now
    return before


def take(language, program, folder):
    book = os.path.join(folder, "household.csv" if language == "en" else "家用.csv")
    with open(book, "w", encoding="utf-8") as file:
        file.write(BOOK[language])
    path = os.path.join(folder, "Xvfb_screen0")
    environment = dict(os.environ, TALLYMAN_LANGUAGE=language)
    running = subprocess.Popen([program, book], env=environment)
    try:
        title = "Tallyman - " + os.path.basename(book)
        for _ in range(300):
            found = subprocess.run(["xdotool", "getwindowfocus", "getwindowname"], capture_output=True, text=True)
            if found.stdout.strip() == title:
                break
            time.sleep(0.1)
        settle(path)
        subprocess.run(["xdotool", "mousemove", str(WIDTH - 2), str(HEIGHT - 2)], check=True)
        press("Down", "Right", "Right", "Right", "Right")
        for text in SUMS:
            subprocess.run(["xdotool", "type", "--delay", "30", text], check=True)
            press("Return")
        press("Up")
        for name, there, back in PAGES:
            for key in there:
                press(key)
                time.sleep(0.3)
            write_png(os.path.join(OUT, "manual-%s-%s.png" % (name, language)), settle(path))
            for key in back:
                press(key)
                time.sleep(0.3)
    finally:
        running.kill()
        running.wait()


def main():
    program = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(HERE, "build/release/tallyman"))
    with tempfile.TemporaryDirectory() as folder:
        for name in ("QT_SCALE_FACTOR", "QT_STYLE_OVERRIDE", "QT_QPA_PLATFORMTHEME", "WAYLAND_DISPLAY", "QT_IM_MODULE"):
            os.environ.pop(name, None)
        os.environ.update(HOME=folder, XDG_CONFIG_HOME=folder, QT_QPA_PLATFORM="xcb", LC_ALL="C.UTF-8")
        reader, writer = os.pipe()
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "%dx%dx24" % (WIDTH, HEIGHT), "-nolisten", "tcp",
             "-dpi", "96", "-fbdir", folder],
            pass_fds=[writer], stderr=subprocess.DEVNULL)
        os.close(writer)
        with os.fdopen(reader) as told:
            os.environ["DISPLAY"] = ":" + told.readline().strip()
        manager = subprocess.Popen(["matchbox-window-manager", "-use_titlebar", "no"], stderr=subprocess.DEVNULL)
        try:
            for language in ("en", "zh"):
                take(language, program, folder)
        finally:
            manager.kill()
            manager.wait()
            server.kill()
            server.wait()


main()
