#!/usr/bin/env python3
"""Compares how books look here with how LibreOffice shows them.

    looks.py SHEET_LOOKS WORK_FOLDER BOOK...

SHEET_LOOKS is the program of that name (tools/looks/SheetLooks.cpp); WORK_FOLDER keeps what LibreOffice made of the
books, one page a sheet, so that a second run is quick. Needs soffice, pdftotext and pdftoppm. For each book a line of
counts goes to standard output, and each difference to WORK_FOLDER/differences.txt.

Columns of both sides differ a little in width and pages begin with the first cell in use, so that places are compared
after a line has been laid through the words that both sides show once.
"""
import collections
import html
import json
import os
import re
import subprocess
import sys

DPI = 96
GRID_COLOUR = 'c0c0c0'
MOST_SHEETS = 4
EXPORT = 'pdf:calc_pdf_Export:{"SinglePageSheets":{"type":"boolean","value":"true"}}'


def read_ours(program, book):
    """The sheets as SheetLooks.cpp prints them."""
    out = subprocess.run([program, '--rows', '120', '--columns', '30', book], capture_output=True, timeout=120, check=True).stdout.decode()
    sheets = []
    for line in out.splitlines():
        word, *rest = line.split('\t')
        if word == 'sheet':
            sheets.append({'name': json.loads(rest[1]), 'whole': (int(rest[2]), int(rest[3])), 'row': [], 'column': [],
                           'text': [], 'fill': [], 'line': [], 'cell': {}})
        elif word in ('row', 'column'):
            sheets[-1][word].append((int(rest[1]), int(rest[2])))
        elif word == 'text':
            sheets[-1]['text'].append((tuple(map(int, rest[:4])), tuple(map(int, rest[4:8])), json.loads(rest[9])))
        elif word == 'fill':
            sheets[-1]['fill'].append((tuple(map(int, rest[:4])), rest[4], int(rest[5])))
        elif word == 'line':
            sheets[-1]['line'].append((tuple(map(int, rest[:4])), rest[4], int(rest[5])))
        elif word == 'cell':
            sheets[-1]['cell'][int(rest[0]), int(rest[1])] = json.loads(rest[3])
    return [sheet for sheet in sheets if sheet['row'] and sheet['column'] and sheet['cell']][:MOST_SHEETS]


def make_pdf(folder, book):
    pdf = os.path.join(folder, os.path.splitext(os.path.basename(book))[0] + '.pdf')
    if not os.path.exists(pdf):
        subprocess.run(['soffice', '-env:UserInstallation=file://' + os.path.join(folder, 'profile'), '--headless',
                        '--convert-to', EXPORT, '--outdir', folder, book], capture_output=True, timeout=300)
    return pdf


def read_pages(pdf):
    """Width, height and words (left, top, right, bottom, text) of each page, in pixels of 96 to the inch."""
    out = subprocess.run(['pdftotext', '-bbox', pdf, '-'], capture_output=True).stdout.decode('utf8', 'replace')
    pages = []
    for line in out.splitlines():
        page = re.search(r'<page width="([\d.]+)" height="([\d.]+)"', line)
        word = re.search(r'<word xMin="(\S+)" yMin="(\S+)" xMax="(\S+)" yMax="(\S+)">(.*?)</word>', line)
        if page:
            pages.append((float(page[1]) * DPI / 72, float(page[2]) * DPI / 72, []))
        elif word:
            place = [float(word[i]) * DPI / 72 for i in range(1, 5)]
            pages[-1][2].append((*place, html.unescape(word[5])))
    return pages


class Image:
    """A page as pixels."""

    def __init__(self, pdf, number):
        data = subprocess.run(['pdftoppm', '-r', str(DPI), '-f', str(number + 1), '-l', str(number + 1), pdf],
                              capture_output=True).stdout
        head = re.match(rb'P6\s+(\d+)\s+(\d+)\s+255\s', data)
        self.width, self.height = (int(head[1]), int(head[2])) if head else (0, 0)
        self.data = data[head.end():] if head else b''

    def at(self, x, y):
        x, y = int(x), int(y)
        if not (0 <= x < self.width and 0 <= y < self.height):
            return None
        start = 3 * (y * self.width + x)
        return self.data[start:start + 3]

    def stretch(self, x, y, length, upright):
        """The three channels of a line of pixels."""
        start = 3 * (int(y) * self.width + int(x))
        step = 3 * self.width if upright else 3
        return [self.data[start + i:start + i + step * length:step] for i in range(3)]

    def ground(self, left, top, right, bottom):
        """The most frequent colour of a rectangle."""
        colours = collections.Counter()
        across, down = max(1, int(right - left) // 12), max(1, int(bottom - top) // 8)
        for y in range(int(top), int(bottom), down):
            for x in range(int(left), int(right), across):
                colours[self.at(x, y)] += 1
        colours.pop(None, None)
        return colours.most_common(1)[0][0] if colours else None


def pair_pages(sheets, pages):
    """Which page shows which sheet: in the order of both, with as many common words as possible."""
    words = [collections.Counter(word[4] for word in page[2]) for page in pages]
    best = [[(0, ())] * (len(pages) + 1) for _ in range(len(sheets) + 1)]
    for i, sheet in enumerate(sheets):
        own = collections.Counter(word for text in sheet['text'] for word in text[2].split())
        for j in range(len(pages)):
            common = sum((own & words[j]).values())
            taken = best[i][j]
            best[i + 1][j + 1] = max(best[i][j + 1], best[i + 1][j], (taken[0] + common, taken[1] + ((i, j),)),
                                     key=lambda choice: choice[0])
    return dict(best[-1][-1][1])


def find(lines, place):
    """The line that holds a place."""
    return next((i for i, (start, end) in enumerate(lines) if start <= place < end), None)


def lines_in(lines, start, end):
    """Those that are shown and lie between two places."""
    return [i for i, (first, last) in enumerate(lines) if start <= first < last <= end]


def colour_of(hexes):
    return bytes.fromhex(hexes)


def is_far(a, b, room):
    return a is None or b is None or any(abs(x - y) > room for x, y in zip(a, b))


def line_through(pairs):
    """Factor and shift that most pairs of places agree with: the middle of the slopes, then of the shifts."""
    pairs = sorted(set(pairs))[:: max(1, len(pairs) // 60)]
    slopes = sorted((v - b) / (u - a) for i, (a, b) in enumerate(pairs) for u, v in pairs[i + 1:] if u - a > 30)
    factor = slopes[len(slopes) // 2] if slopes else 1
    shifts = sorted(b - factor * a for a, b in pairs)
    return factor, shifts[len(shifts) // 2] if shifts else 0


def fits(sheet, page):
    """How our places become those of the page, across and down, by the words that both show once."""
    own, theirs = collections.defaultdict(list), collections.defaultdict(list)
    for place, _, text in sheet['text']:
        for word in text.split()[:1]:
            own[word].append(place)
    for word in page[2]:
        theirs[word[4]].append(word)
    both = [(own[word][0], theirs[word][0]) for word in own if len(own[word]) == 1 and len(theirs[word]) == 1]
    return (line_through([(a[0], b[0]) for a, b in both]),
            line_through([((a[1] + a[3]) / 2, (b[1] + b[3]) / 2) for a, b in both]))


class Comparison:
    def __init__(self, sheet, page, image, tell):
        self.sheet, self.page, self.image, self.tell = sheet, page, image, tell
        self.counts = collections.Counter()
        self.fit_x, self.fit_y = fits(sheet, page)
        self.near, self.colours = {}, {}
        for place, colour, pattern in sheet['fill']:
            for row in lines_in(sheet['row'], place[1], place[3]):
                for column in lines_in(sheet['column'], place[0], place[2]):
                    self.colours[row, column] = (colour, pattern)

    def across(self, place):
        return self.fit_x[0] * place + self.fit_x[1]

    def down(self, place):
        return self.fit_y[0] * place + self.fit_y[1]

    def differ(self, kind, row, column, what):
        self.counts[kind] += 1
        self.tell(f"{self.sheet['name']}\t{cell_name(row, column)}\t{kind}\t{what}")

    def words_near(self, row):
        if row not in self.near:
            top, bottom = (self.down(place) for place in self.sheet['row'][row])
            self.near[row] = [word for word in self.page[2] if word[1] < bottom + 3 and word[3] > top - 3]
        return self.near[row]

    def texts(self):
        for place, clip, text in self.sheet['text']:
            row = find(self.sheet['row'], (max(place[1], clip[1]) + min(place[3], clip[3])) // 2)
            column = find(self.sheet['column'], max(clip[0], min(place[0], clip[2] - 1)))
            if row is None or column is None or not text.strip():
                continue
            self.counts['texts'] += 1
            self.text(place, clip, text, row, column)

    def text(self, place, clip, text, row, column):
        near = self.words_near(row)
        left, right = self.across(place[0]), self.across(place[2])
        room = 6 + 0.02 * left
        if set(text.strip()) == {'#'}:
            start, end = (self.across(edge) for edge in self.sheet['column'][column])
            shown = [word[4] for word in near if word[2] > start + room and word[0] < end - room]
            if shown and not any(set(word) == {'#'} for word in shown) and self.sheet['cell'].get((row, column)) != '#':
                self.differ('filled here', row, column, f"{self.sheet['cell'].get((row, column))} | {shown}")
            return
        plain = text.replace(' ', '')
        same = [word for word in near if word[4].replace(' ', '') and
                (plain.startswith(word[4]) or word[4].startswith(plain))]
        if not same:
            filled = [word for word in near if set(word[4]) == {'#'} and abs(word[0] - left) < right - left + room]
            self.differ('filled there' if filled else 'missing there', row, column, text[:60])
            return
        # Either end of a text may be what stays when its width differs.
        off = min(min(abs(word[0] - left), abs((word[0] + word[2] - left - right) / 2), abs(word[2] - right))
                  for word in same)
        if off > room:
            self.differ('elsewhere', row, column, f'{text[:40]} {off:.0f} pixels off')

    def grounds(self):
        for (row, column), (colour, pattern) in self.colours.items():
            left, right = (self.across(edge) for edge in self.sheet['column'][column])
            top, bottom = (self.down(edge) for edge in self.sheet['row'][row])
            if left < 0 or top < 0 or right - left < 9 or bottom - top < 9 or right > self.image.width or bottom > self.image.height:
                continue
            self.counts['grounds'] += 1
            shown = self.image.ground(left + 3, top + 3, right - 3, bottom - 3)
            if pattern == 1 and is_far(shown, colour_of(colour), 12):
                self.differ('ground', row, column, f"{colour} here, {shown.hex() if shown else 'nothing'} there")

    def has_line(self, x1, y1, x2, y2, ground):
        """Whether most of a stretch has a colour of its own on one of the lines of pixels around it."""
        upright = x1 == x2
        length = int(y2 - y1 if upright else x2 - x1) - 4
        if length < 1 or ground is None:
            return False
        for shift in range(-3, 4):
            pixels = self.image.stretch(x1 + (shift if upright else 2), y1 + (2 if upright else shift), length, upright)
            if all(channel.count(bytes([plain])) == len(channel) for channel, plain in zip(pixels, ground)):
                continue
            inked = sum(is_far(pixel, ground, 24) for pixel in zip(*pixels))
            if inked > 0.7 * length:
                return True
        return False

    def borders(self):
        columns, rows = self.sheet['column'], self.sheet['row']
        edges = {'right': set(), 'bottom': set()}
        for (x1, y1, x2, y2), colour, _ in self.sheet['line']:
            if colour == GRID_COLOUR:
                continue
            if x1 == x2:
                column = min(range(len(columns)), key=lambda c: abs(columns[c][1] - 1 - x1))
                edges['right'].update((row, column) for row in lines_in(rows, min(y1, y2) - 1, max(y1, y2) + 1))
            elif y1 == y2:
                row = min(range(len(rows)), key=lambda r: abs(rows[r][1] - 1 - y1))
                edges['bottom'].update((row, column) for column in lines_in(columns, min(x1, x2) - 1, max(x1, x2) + 1))
        for row in range(len(rows)):
            for column in range(len(columns)):
                self.border(edges, row, column, (columns[column][0], rows[row][0], columns[column][1], rows[row][1]))

    def border(self, edges, row, column, cell):
        left, right = self.across(cell[0]), self.across(cell[2])
        top, bottom = self.down(cell[1]), self.down(cell[3])
        if left < 4 or top < 4 or right - left < 8 or bottom - top < 8 or right > self.image.width - 4 or bottom > self.image.height - 4:
            return
        ground = self.image.ground(left + 3, top + 3, right - 3, bottom - 3)
        for side, ends in (('right', (right, top, right, bottom)), ('bottom', (left, bottom, right, bottom))):
            here = (row, column) in edges[side]
            if not here and self.fill_changes(row, column, side):
                continue
            there = self.has_line(*ends, ground)
            self.counts['borders'] += here
            if here != there:
                self.differ('border', row, column, f"{side}: {'here' if here else 'there'} only")

    def fill_changes(self, row, column, side):
        """Neighbours of two colours have an edge without a line."""
        beside = (row, column + 1) if side == 'right' else (row + 1, column)
        return self.colours.get((row, column)) != self.colours.get(beside)


def cell_name(row, column):
    letters = ''
    column += 1
    while column:
        column, rest = divmod(column - 1, 26)
        letters = chr(65 + rest) + letters
    return f'{letters}{row + 1}'


KINDS = ['texts', 'filled here', 'filled there', 'missing there', 'elsewhere', 'grounds', 'ground', 'borders', 'border']


def main():
    program, folder, *books = sys.argv[1:]
    os.makedirs(folder, exist_ok=True)
    print('book', *KINDS, sep='\t')
    with open(os.path.join(folder, 'differences.txt'), 'w', encoding='utf8') as out:
        for book in books:
            name = os.path.basename(book)
            sheets = read_ours(program, book)
            pdf = make_pdf(folder, book)
            pages = read_pages(pdf)
            counts = collections.Counter()
            for i, j in pair_pages(sheets, pages).items():
                comparison = Comparison(sheets[i], pages[j], Image(pdf, j), lambda line: print(name, line, sep='\t', file=out))
                comparison.texts()
                comparison.grounds()
                comparison.borders()
                counts += comparison.counts
            print(name, *(counts[kind] for kind in KINDS), sep='\t', flush=True)


if __name__ == '__main__':
    main()
