#include <algorithm>

#include "base/Text.h"
#include "formula/FormulaScanner.h"
#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr i32 MAX_R1C1_ROW_OFFSET = 65535;
constexpr i32 MAX_R1C1_COLUMN_OFFSET = 255;

// One corner, or the part of one that a row or column range has.
struct Corner {
    i32 row = -1;
    i32 column = -1;
    bool rowRelative = true;
    bool columnRelative = true;
    i32 behind = 0;
};

i32 ScanColumnLetters(WideView text, i32 at, i32 end, i32& column) {
    const char16_t first = AsciiUpper(CharAt(text, at, end));
    if (first < u'A' || first > u'Z') return at;
    const char16_t second = AsciiUpper(CharAt(text, at + 1, end));
    if (second < u'A' || second > u'Z') {
        column = first - u'A';
        return at + 1;
    }
    column = (first - u'A' + 1) * 26 + (second - u'A');
    return column < MAX_COLUMNS ? at + 2 : at;
}

i32 ScanRowNumber(WideView text, i32 at, i32 end, i32& row) {
    i32 number = 0;
    i32 p = at;
    for (; IsAsciiDigit(CharAt(text, p, end)) && number <= MAX_ROWS; ++p)
        number = number * 10 + (CharAt(text, p, end) - u'0');
    if (p == at || number < 1 || number > MAX_ROWS) return at;
    row = number - 1;
    return p;
}

// A corner in the A1 form; what is missing of row and column stays -1.
Corner ScanCornerA1(WideView text, i32 at, i32 end) {
    Corner corner;
    i32 p = at;
    const bool dollar = CharAt(text, p, end) == u'$';
    const i32 letters = ScanColumnLetters(text, p + dollar, end, corner.column);
    bool rowDollar = dollar;
    if (letters > p + dollar) {
        corner.columnRelative = !dollar;
        p = letters;
        rowDollar = CharAt(text, p, end) == u'$';
    }
    const i32 digits = ScanRowNumber(text, p + rowDollar, end, corner.row);
    if (digits > p + rowDollar) {
        corner.rowRelative = !rowDollar;
        p = digits;
    }
    corner.behind = p;
    return corner;
}

// A number in a R1C1 part: none, absolute, or "[n]" as an offset. False for a malformed one.
bool ScanR1C1Number(WideView text, i32& p, i32 end, i32 base, i32 count, i32 maxOffset, i32& out,
                    bool& relative) {
    relative = true;
    out = base;
    if (IsAsciiDigit(CharAt(text, p, end))) {
        i32 number = 0;
        for (; IsAsciiDigit(CharAt(text, p, end)) && number <= count; ++p)
            number = number * 10 + (CharAt(text, p, end) - u'0');
        relative = false;
        out = number - 1;
        return number >= 1 && number <= count;
    }
    if (CharAt(text, p, end) != u'[') return true;
    i32 q = p + 1;
    const char16_t sign = CharAt(text, q, end);
    if (sign == u'-' || sign == u'+') ++q;
    i32 number = 0;
    const i32 start = q;
    for (; IsAsciiDigit(CharAt(text, q, end)) && number <= maxOffset; ++q)
        number = number * 10 + (CharAt(text, q, end) - u'0');
    if (q == start || number > maxOffset || CharAt(text, q, end) != u']') return false;
    p = q + 1;
    out = ((base + (sign == u'-' ? -number : number)) % count + count) % count;
    return true;
}

Corner ScanCornerR1C1(const FormulaPlace& place, WideView text, i32 at, i32 end) {
    Corner corner;
    corner.behind = at;
    i32 p = at;
    if (AsciiUpper(CharAt(text, p, end)) == u'R') {
        ++p;
        if (!ScanR1C1Number(text, p, end, place.row, MAX_ROWS, MAX_R1C1_ROW_OFFSET, corner.row,
                            corner.rowRelative))
            return Corner{};
        corner.behind = p;
    }
    if (AsciiUpper(CharAt(text, p, end)) == u'C') {
        ++p;
        if (!ScanR1C1Number(text, p, end, place.column, MAX_COLUMNS, MAX_R1C1_COLUMN_OFFSET, corner.column,
                            corner.columnRelative)) {
            return Corner{};
        }
        corner.behind = p;
    }
    return corner;
}

Corner ScanCorner(const FormulaPlace& place, WideView text, i32 at, i32 end) {
    return place.useA1 ? ScanCornerA1(text, at, end) : ScanCornerR1C1(place, text, at, end);
}

bool SameShape(const Corner& a, const Corner& b) {
    return (a.row < 0) == (b.row < 0) && (a.column < 0) == (b.column < 0);
}

void SetArea(Corner first, Corner last, RefArea& area, u8& nibble) {
    if (first.row < 0) {
        first.row = 0;
        last.row = MAX_ROWS - 1;
        first.rowRelative = last.rowRelative = false;
    }
    if (first.column < 0) {
        first.column = 0;
        last.column = MAX_COLUMNS - 1;
        first.columnRelative = last.columnRelative = false;
    }
    if (first.row > last.row) {
        std::swap(first.row, last.row);
        std::swap(first.rowRelative, last.rowRelative);
    }
    if (first.column > last.column) {
        std::swap(first.column, last.column);
        std::swap(first.columnRelative, last.columnRelative);
    }
    area = {static_cast<u16>(first.row), static_cast<u16>(last.row), static_cast<u8>(first.column),
            static_cast<u8>(last.column)};
    nibble = static_cast<u8>(
        (first.rowRelative ? FIRST_ROW_RELATIVE : 0) | (first.columnRelative ? FIRST_COLUMN_RELATIVE : 0) |
        (last.rowRelative ? LAST_ROW_RELATIVE : 0) | (last.columnRelative ? LAST_COLUMN_RELATIVE : 0));
}

bool MayFollow(WideView text, i32 at, i32 end, bool callAllowed) {
    if (at >= end) return true;
    const char16_t c = CharAt(text, at, end);
    return c == u' ' || c == u')' || c == u'}' || IsOperatorChar(c) || (c == u'(' && callAllowed);
}

// The cell part behind the prefix: its end or -1.
i32 ScanCells(const FormulaPlace& place, WideView text, i32 at, i32 end, bool prefixed, RefArea& area,
              u8& nibble) {
    const Corner first = ScanCorner(place, text, at, end);
    if (first.row < 0 && first.column < 0) return NO_POSITION;
    i32 behind = first.behind;
    Corner last = first;
    if (CharAt(text, behind, end) == u':') {
        const Corner second = ScanCorner(place, text, behind + 1, end);
        if ((second.row >= 0 || second.column >= 0) && SameShape(first, second) &&
            MayFollow(text, second.behind, end, prefixed)) {
            last = second;
            behind = second.behind;
        }
    }
    const bool wholeCell = first.row >= 0 && first.column >= 0;
    // In the A1 form a row or a column alone is none; in the other form it is a range of one.
    if (!wholeCell && behind == first.behind && place.useA1) return NO_POSITION;
    if (!MayFollow(text, behind, end, prefixed)) return NO_POSITION;
    SetArea(first, last, area, nibble);
    return behind;
}

}  // namespace

i32 ParseReference(const FormulaPlace& place, WideView text, i32 start, i32 end, i32* externIndex,
                   RefArea& area, u8& nibble) {
    RefPrefix prefix;
    ScanPrefix(place, text, start, end, false, prefix);
    if (prefix.kind == PREFIX_INVALID) return NO_POSITION;
    const i32 behind = ScanCells(place, text, prefix.behind, end, prefix.kind != PREFIX_NONE, area, nibble);
    if (behind < 0 || !externIndex) return behind;
    *externIndex = -1;
    if (prefix.kind == PREFIX_NONE) return behind;
    *externIndex = ExternIndexForPrefix(place.book, prefix, true);
    return *externIndex < 0 ? NO_POSITION : behind;
}

}  // namespace tally
