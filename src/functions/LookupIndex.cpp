#include "functions/LookupIndex.h"

#include <algorithm>
#include <bit>

#include "base/Text.h"
#include "functions/Criteria.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr i32 SHORTEST = 48;  // rows; a scan of fewer costs no more
constexpr u32 KEPT_COLUMNS = 16;
constexpr u32 KEPT_AREAS = 16;

struct PlacedNumber {
    double number;
    u16 row;
};

// The numbers and texts of a column's part by ascending row. The orders are made when first needed; an order
// over texts holds places in `texts`.
struct ColumnIndex {
    u32 serial = 0;  // of the sheet; 0 is none
    u32 version = 0;
    i32 column = 0;
    i32 firstRow = 0;
    i32 lastRow = 0;
    u64 used = 0;
    bool filled = false;
    Array<double> numbers;
    Array<u16> numberRows;
    Array<TextBlock*> texts;  // one use of each
    Array<u16> textRows;
    Array<PlacedNumber> sorted;  // each number once, with its first row
    Array<u32> table;            // place + 1 by hash of the text; 0 is free
    Array<double> least, most, leastBehind;
    Array<u32> leastText, mostText, leastTextBehind;
};

// An area found to be up to date while its columns had these versions.
struct CurrentArea {
    u32 serial = 0;
    u32 version = 0;
    RefArea area;
};

struct LookupState {
    ColumnIndex columns[KEPT_COLUMNS];
    CurrentArea areas[KEPT_AREAS];
    u32 nextArea = 0;
    u64 clock = 0;
};
LookupState state;

void Empty(ColumnIndex& index) {
    for (TextBlock* text : index.texts) ReleaseText(text);
    index = ColumnIndex();
}

u32 VersionOf(const Sheet& sheet, const RefArea& area) {
    u32 version = 0;
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) version += sheet.cells.columnVersion[c];
    return version;
}

bool Fill(ColumnIndex& index, const Sheet& sheet) {
    const CellStore& store = sheet.cells;
    for (u32 slot = FindRowSlot(store, index.firstRow); slot < store.rows.Count(); ++slot) {
        const CellRow& row = store.rows[slot];
        if (row.row > index.lastRow) break;
        const u32 at = FindInRow(row, index.column);
        if (at >= row.count || row.cells[at].column != index.column) continue;
        const Value& value = row.cells[at].value;
        if (value.type == VT_NUMBER) {
            if (!index.numbers.Append(value.number) || !index.numberRows.Append(row.row)) return false;
        } else if (value.type == VT_STRING) {
            if (!index.textRows.Append(row.row) || !index.texts.Append(value.text)) return false;
            RetainText(value.text);
        }
    }
    index.filled = true;
    return true;
}

// The index of a column's part, filled; null when it is looked through for the first time.
ColumnIndex* IndexOf(const LookupColumn& where) {
    const u32 version = where.sheet->cells.columnVersion[where.column];
    ColumnIndex* oldest = &state.columns[0];
    for (ColumnIndex& index : state.columns) {
        if (index.serial == where.sheet->serial && index.column == where.column &&
            index.firstRow == where.firstRow && index.lastRow == where.lastRow) {
            index.used = ++state.clock;
            if (index.version == version) {
                if (index.filled || Fill(index, *where.sheet)) return &index;
            }
            oldest = &index;
            break;
        }
        if (index.used < oldest->used) oldest = &index;
    }
    Empty(*oldest);
    oldest->serial = where.sheet->serial;
    oldest->version = version;
    oldest->column = where.column;
    oldest->firstRow = where.firstRow;
    oldest->lastRow = where.lastRow;
    oldest->used = ++state.clock;
    return nullptr;
}

// ---- equal elements -------------------------------------------------------------------------------

bool SortNumbers(ColumnIndex& index) {
    if (!index.sorted.IsEmpty()) return true;
    if (!index.sorted.Reserve(index.numbers.Count())) return false;
    for (u32 i = 0; i < index.numbers.Count(); ++i)
        IgnoreFailure(index.sorted.Append({index.numbers[i], index.numberRows[i]}));
    std::sort(index.sorted.begin(), index.sorted.end(), [](const PlacedNumber& a, const PlacedNumber& b) {
        return a.number < b.number || (a.number == b.number && a.row < b.row);
    });
    const PlacedNumber* end =
        std::unique(index.sorted.begin(), index.sorted.end(),
                    [](const PlacedNumber& a, const PlacedNumber& b) { return a.number == b.number; });
    index.sorted.Truncate(static_cast<std::size_t>(end - index.sorted.begin()));
    return true;
}

// Near numbers are neighbours in the order, and only a handful lie that close together.
i32 FirstNear(const ColumnIndex& index, double number) {
    const PlacedNumber* const begin = index.sorted.begin();
    const PlacedNumber* const end = index.sorted.end();
    const PlacedNumber* const from =
        std::lower_bound(begin, end, number, [](const PlacedNumber& a, double b) { return a.number < b; });
    i32 row = LOOKUP_NONE;
    const auto take = [&](const PlacedNumber& found) {
        if (row == LOOKUP_NONE || found.row < row) row = found.row;
    };
    for (const PlacedNumber* p = from; p < end && Near(number, p->number); ++p) take(*p);
    for (const PlacedNumber* p = from; p > begin && Near(number, p[-1].number); --p) take(p[-1]);
    return row;
}

bool HashTexts(ColumnIndex& index) {
    if (!index.table.IsEmpty()) return true;
    const u32 size = std::bit_ceil(index.texts.Count() * 2 + 2);
    if (!index.table.Resize(size)) return false;
    for (u32 i = 0; i < index.texts.Count(); ++i) {
        const WideView text = TextView(index.texts[i]);
        u32 at = HashIgnoringCase(text) & (size - 1);
        // Of equal texts the first one stays.
        while (index.table[at] && !EqualIgnoringCase(TextView(index.texts[index.table[at] - 1]), text))
            at = (at + 1) & (size - 1);
        if (!index.table[at]) index.table[at] = i + 1;
    }
    return true;
}

i32 FirstEqualText(const ColumnIndex& index, WideView text) {
    const u32 mask = index.table.Count() - 1;
    for (u32 at = HashIgnoringCase(text) & mask; index.table[at]; at = (at + 1) & mask) {
        const u32 place = index.table[at] - 1;
        if (EqualIgnoringCase(TextView(index.texts[place]), text)) return index.textRows[place];
    }
    return LOOKUP_NONE;
}

// ---- running least and greatest elements ----------------------------------------------------------

// Fills `out` so that each place holds the better one of its element and what the place before it (behind it,
// when going backwards) holds.
template <typename T, typename Element, typename Better>
bool Accumulate(Array<T>& out, u32 count, bool backwards, Element element, Better better) {
    if (!out.IsEmpty() || !count) return true;
    if (!out.Resize(count)) return false;
    T best = element(backwards ? count - 1 : 0);
    for (u32 i = 0; i < count; ++i) {
        const u32 at = backwards ? count - 1 - i : i;
        const T mine = element(at);
        if (better(mine, best)) best = mine;
        out[at] = best;
    }
    return true;
}

bool AccumulateNumbers(ColumnIndex& index, LookupRule rule) {
    const auto element = [&](u32 i) { return index.numbers[i]; };
    const auto less = [](double a, double b) { return a < b; };
    const auto more = [](double a, double b) { return a > b; };
    const u32 count = index.numbers.Count();
    if (rule == LAST_REACHED) return Accumulate(index.leastBehind, count, true, element, less);
    return rule == WALK_UP ? Accumulate(index.most, count, false, element, more)
                           : Accumulate(index.least, count, false, element, less);
}

bool AccumulateTexts(ColumnIndex& index, LookupRule rule) {
    const auto element = [](u32 i) { return i; };
    const auto compare = [&](u32 a, u32 b) {
        return CompareIgnoringCase(TextView(index.texts[a]), TextView(index.texts[b]));
    };
    const auto less = [&](u32 a, u32 b) { return compare(a, b) < 0; };
    const auto more = [&](u32 a, u32 b) { return compare(a, b) > 0; };
    const u32 count = index.texts.Count();
    if (rule == LAST_REACHED) return Accumulate(index.leastTextBehind, count, true, element, less);
    return rule == WALK_UP ? Accumulate(index.mostText, count, false, element, more)
                           : Accumulate(index.leastText, count, false, element, less);
}

// The first place whose accumulated element fulfils a condition that all behind it fulfil too; `count` when
// none does.
template <typename Condition>
u32 FirstPlace(u32 count, Condition condition) {
    u32 low = 0, high = count;
    while (low < high) {
        const u32 middle = low + (high - low) / 2;
        if (condition(middle)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return low;
}

// Where a walk that stops at place `stop` has its best: there when that element equals, else before it.
i32 WalkEnd(const Array<u16>& rows, u32 stop, bool equal) {
    if (stop < rows.Count() && equal) return rows[stop];
    return stop ? rows[stop - 1] : LOOKUP_NONE;
}

i32 WalkNumbers(const ColumnIndex& index, double number, LookupRule rule) {
    const u32 count = index.numbers.Count();
    if (rule == LAST_REACHED) {
        // The least element from a place on says whether any from there on is reached.
        const u32 behind = FirstPlace(count, [&](u32 i) { return index.leastBehind[i] > number; });
        return behind ? index.numberRows[behind - 1] : LOOKUP_NONE;
    }
    const u32 stop = FirstPlace(count, [&](u32 i) {
        const double reached = rule == WALK_UP ? index.most[i] : index.least[i];
        return Near(number, reached) || (rule == WALK_UP ? reached >= number : reached <= number);
    });
    return WalkEnd(index.numberRows, stop, stop < count && Near(number, index.numbers[stop]));
}

i32 WalkTexts(const ColumnIndex& index, WideView text, LookupRule rule) {
    const u32 count = index.texts.Count();
    const auto compare = [&](u32 place) { return CompareIgnoringCase(TextView(index.texts[place]), text); };
    if (rule == LAST_REACHED) {
        const u32 behind = FirstPlace(count, [&](u32 i) { return compare(index.leastTextBehind[i]) > 0; });
        return behind ? index.textRows[behind - 1] : LOOKUP_NONE;
    }
    const u32 stop = FirstPlace(count, [&](u32 i) {
        return rule == WALK_UP ? compare(index.mostText[i]) >= 0 : compare(index.leastText[i]) <= 0;
    });
    return WalkEnd(index.textRows, stop, stop < count && compare(stop) == 0);
}

}  // namespace

bool FindInColumn(const LookupColumn& where, const Value& value, LookupRule rule, i32& row) {
    if (value.type != VT_NUMBER && value.type != VT_STRING) return false;
    if (where.lastRow - where.firstRow < SHORTEST) return false;
    ColumnIndex* index = IndexOf(where);
    if (!index) return false;
    if (value.type == VT_NUMBER) {
        if (!(rule == FIRST_EQUAL ? SortNumbers(*index) : AccumulateNumbers(*index, rule))) return false;
        row = rule == FIRST_EQUAL ? FirstNear(*index, value.number) : WalkNumbers(*index, value.number, rule);
    } else {
        if (!(rule == FIRST_EQUAL ? HashTexts(*index) : AccumulateTexts(*index, rule))) return false;
        row = rule == FIRST_EQUAL ? FirstEqualText(*index, TextOf(value))
                                  : WalkTexts(*index, TextOf(value), rule);
    }
    return true;
}

bool KnownCurrent(const Sheet& sheet, const RefArea& area) {
    for (const CurrentArea& known : state.areas) {
        if (known.serial == sheet.serial && known.area == area) return known.version == VersionOf(sheet, area);
    }
    return false;
}

void NoteCurrent(const Sheet& sheet, const RefArea& area) {
    CurrentArea* place = nullptr;
    for (CurrentArea& known : state.areas) {
        if (known.serial == sheet.serial && known.area == area) place = &known;
    }
    if (!place) place = &state.areas[state.nextArea++ % KEPT_AREAS];
    *place = {sheet.serial, VersionOf(sheet, area), area};
}

void ResetLookups() {
    for (ColumnIndex& index : state.columns) Empty(index);
    for (CurrentArea& area : state.areas) area = CurrentArea();
    state.nextArea = 0;
    state.clock = 0;
}

}  // namespace tally
