#include "functions/LookupIndex.h"

#include <algorithm>
#include <bit>

#include "base/Text.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr i32 SHORTEST = 48;  // rows; a scan of fewer costs no more
constexpr u32 KEPT_COLUMNS = 16;
constexpr u32 KEPT_AREAS = 16;
constexpr u32 MOST_TEXTS = 64;   // different ones that are read as numbers for each criteria
constexpr u32 MOST_OTHERS = 64;  // booleans and errors that are compared for each

struct PlacedNumber {
    double number;
    u16 row;
};

// Sums over another column for each set of equal cells, by the place of the set's first one.
struct KeptSums {
    u32 serial = 0;
    u32 version = 0;
    i32 column = 0;
    i32 rowsDown = 0;
    Array<u8> known;
    Array<double> sums;
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
    i32 scanned = 0;  // rows that scans have gone over since the column last changed
    bool filled = false;
    i32 firstUsed = MAX_ROWS;  // of all elements
    i32 lastUsed = -1;
    Array<double> numbers;
    Array<u16> numberRows;
    Array<TextBlock*> texts;  // one use of each
    Array<u16> textRows;
    Array<PlacedNumber> sorted;  // by number, then row
    Array<u32> table;            // place + 1 of a text's first cell by hash; 0 is free
    Array<u32> nextEqual;        // place + 1 of the next equal text
    Array<u32> equals;           // how many are equal, at the first one's place
    u32 differentTexts = 0;
    Array<u32> firstTexts;  // places of the first ones, when they are few
    Array<u16> otherRows;   // booleans and errors
    KeptSums textSums, numberSums;
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
        if (value.type == VT_EMPTY) continue;
        index.firstUsed = std::min(index.firstUsed, i32{row.row});
        index.lastUsed = row.row;
        if (value.type == VT_NUMBER) {
            if (!index.numbers.Append(value.number) || !index.numberRows.Append(row.row)) return false;
        } else if (value.type == VT_STRING) {
            if (!index.textRows.Append(row.row) || !index.texts.Append(value.text)) return false;
            RetainText(value.text);
        } else if (!index.otherRows.Append(row.row)) {
            return false;
        }
    }
    index.filled = true;
    return true;
}

// A column without formulas is up to date all over: one index then serves every part of it, such as those that
// grow from row to row.
bool IsPlain(const LookupColumn& where) { return !where.sheet->cells.formulasInColumn[where.column]; }

LookupColumn WholeOf(const LookupColumn& where) { return {where.sheet, where.column, 0, MAX_ROWS - 1}; }

void Begin(ColumnIndex& index, const LookupColumn& key) {
    Empty(index);
    index.serial = key.sheet->serial;
    index.version = key.sheet->cells.columnVersion[key.column];
    index.column = key.column;
    index.firstRow = key.firstRow;
    index.lastRow = key.lastRow;
}

// The filled index of `key` for a question about the part `where` of it; null as long as the scans have not
// cost as much as filling it would.
ColumnIndex* IndexOf(const LookupColumn& key, const LookupColumn& where) {
    ColumnIndex* place = &state.columns[0];
    bool known = false;
    for (ColumnIndex& index : state.columns) {
        known = index.serial == key.sheet->serial && index.column == key.column &&
                index.firstRow == key.firstRow && index.lastRow == key.lastRow;
        if (known || index.used < place->used) place = &index;
        if (known) break;
    }
    if (!known || place->version != key.sheet->cells.columnVersion[key.column]) Begin(*place, key);
    place->used = ++state.clock;
    if (place->filled) return place;
    const i32 rows = std::min(key.lastRow - key.firstRow + 1, static_cast<i32>(key.sheet->cells.rows.Count()));
    if (place->scanned >= rows && rows > 0) {
        if (Fill(*place, *key.sheet)) return place;
        Begin(*place, key);
    }
    place->scanned += where.lastRow - where.firstRow + 1;
    return nullptr;
}

bool Covers(const LookupColumn& where, const ColumnIndex& index) {
    return where.firstRow <= index.firstUsed && where.lastRow >= index.lastUsed;
}
// Whether going over `matches` equal cells of the whole column costs no more than a scan of the part would.
bool IsWorthwhile(const LookupColumn& where, const ColumnIndex& index, u32 matches) {
    return Covers(where, index) || matches / 4 <= static_cast<u32>(where.lastRow - where.firstRow);
}
bool Holds(const LookupColumn& where, i32 row) { return row >= where.firstRow && row <= where.lastRow; }

// ---- equal elements -------------------------------------------------------------------------------

bool SortNumbers(ColumnIndex& index) {
    if (!index.sorted.IsEmpty()) return true;
    if (!index.sorted.Reserve(index.numbers.Count())) return false;
    for (u32 i = 0; i < index.numbers.Count(); ++i)
        IgnoreFailure(index.sorted.Append({index.numbers[i], index.numberRows[i]}));
    std::sort(index.sorted.begin(), index.sorted.end(), [](const PlacedNumber& a, const PlacedNumber& b) {
        return a.number < b.number || (a.number == b.number && a.row < b.row);
    });
    return true;
}

u32 FirstNotBelow(const Array<PlacedNumber>& sorted, double number) {
    return static_cast<u32>(std::lower_bound(sorted.begin(), sorted.end(), number,
                                             [](const PlacedNumber& a, double b) { return a.number < b; }) -
                            sorted.begin());
}
u32 FirstAbove(const Array<PlacedNumber>& sorted, double number) {
    return static_cast<u32>(std::upper_bound(sorted.begin(), sorted.end(), number,
                                             [](double a, const PlacedNumber& b) { return a < b.number; }) -
                            sorted.begin());
}

// The places [begin, end) of the numbers that are Near to one: neighbours in the order, and only a handful of
// different ones lie that close together.
struct Places {
    u32 begin, end;
};
Places NearPlaces(const ColumnIndex& index, double number) {
    const Array<PlacedNumber>& sorted = index.sorted;
    Places places{FirstNotBelow(sorted, number), 0};
    places.end = places.begin;
    while (places.end < sorted.Count() && Near(number, sorted[places.end].number))
        places.end = FirstAbove(sorted, sorted[places.end].number);
    while (places.begin > 0 && Near(number, sorted[places.begin - 1].number))
        places.begin = FirstNotBelow(sorted, sorted[places.begin - 1].number);
    return places;
}

i32 FirstNear(const ColumnIndex& index, const LookupColumn& where, double number) {
    const Places places = NearPlaces(index, number);
    i32 row = LOOKUP_NONE;
    for (u32 i = places.begin; i < places.end;) {
        // Equal numbers stand by their rows.
        const u32 end = FirstAbove(index.sorted, index.sorted[i].number);
        const PlacedNumber* found =
            std::lower_bound(index.sorted.begin() + i, index.sorted.begin() + end, where.firstRow,
                             [](const PlacedNumber& a, i32 first) { return a.row < first; });
        if (found < index.sorted.begin() + end && found->row <= where.lastRow &&
            (row == LOOKUP_NONE || found->row < row))
            row = found->row;
        i = end;
    }
    return row;
}

// The slot of a text, or the free one where it belongs.
u32 TextSlot(const ColumnIndex& index, WideView text) {
    const u32 mask = index.table.Count() - 1;
    u32 at = HashIgnoringCase(text) & mask;
    while (index.table[at] && !EqualIgnoringCase(TextView(index.texts[index.table[at] - 1]), text))
        at = (at + 1) & mask;
    return at;
}

bool HashTexts(ColumnIndex& index) {
    if (!index.table.IsEmpty()) return true;
    const u32 count = index.texts.Count();
    if (!index.nextEqual.Resize(count) || !index.equals.Resize(count) ||
        !index.table.Resize(std::bit_ceil(count * 2 + 2)))
        return false;
    // From the end, so that a chain ends up in the order of the rows.
    for (u32 i = count; i-- > 0;) {
        const u32 at = TextSlot(index, TextView(index.texts[i]));
        const u32 next = index.table[at];
        index.differentTexts += !next;
        index.nextEqual[i] = next;
        index.equals[i] = next ? index.equals[next - 1] + 1 : 1;
        index.table[at] = i + 1;
    }
    if (index.differentTexts > MOST_TEXTS) return true;
    for (u32 place : index.table) {
        if (place && !index.firstTexts.Append(place - 1)) return false;
    }
    return true;
}

// False when the many equal texts in front of the part would have to be passed over.
bool FirstEqualText(const ColumnIndex& index, const LookupColumn& where, WideView text, i32& row) {
    u32 place = index.table[TextSlot(index, text)];
    if (place && !IsWorthwhile(where, index, index.equals[place - 1])) return false;
    while (place && index.textRows[place - 1] < where.firstRow) place = index.nextEqual[place - 1];
    row = place && index.textRows[place - 1] <= where.lastRow ? index.textRows[place - 1] : LOOKUP_NONE;
    return true;
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

// ---- criteria -------------------------------------------------------------------------------------

// The filled index for a criteria that it can answer; null for the others and for a new column.
ColumnIndex* CriteriaIndex(const LookupColumn& where, const Criteria& criteria) {
    const bool equal =
        criteria.kind == CRITERIA_NUMBER || (criteria.kind == CRITERIA_EQUAL && !criteria.hasWildcards);
    const bool ordered = criteria.kind >= CRITERIA_LESS && criteria.isNumber;
    if ((!equal && !ordered) || where.lastRow - where.firstRow < SHORTEST) return nullptr;
    ColumnIndex* index = IndexOf(equal && IsPlain(where) ? WholeOf(where) : where, where);
    if (!index || !SortNumbers(*index) || !HashTexts(*index) || index->otherRows.Count() > MOST_OTHERS)
        return nullptr;
    return index;
}

// The numbers that stand in an order to a number; texts and booleans stand in none to it.
Places OrderedPlaces(const ColumnIndex& index, const Criteria& criteria) {
    const u32 count = index.sorted.Count();
    switch (criteria.kind) {
        case CRITERIA_LESS: return {0, FirstNotBelow(index.sorted, criteria.number)};
        case CRITERIA_LESS_EQUAL: return {0, FirstAbove(index.sorted, criteria.number)};
        case CRITERIA_GREATER: return {FirstAbove(index.sorted, criteria.number), count};
        default: return {FirstNotBelow(index.sorted, criteria.number), count};
    }
}

struct MatchingCells {
    Places numbers{0, 0};
    Array<u32> texts;   // places of first ones
    Array<u16> others;  // rows
};

// Texts that read as the criteria's number.
bool FindNumericTexts(const ColumnIndex& index, const Criteria& criteria, MatchingCells& out) {
    if (index.differentTexts > MOST_TEXTS) return false;
    for (u32 place : index.firstTexts) {
        // A set of equal texts goes by its first one, as all read alike.
        Value text;
        text.type = VT_STRING;
        text.text = index.texts[place];
        if (Matches(criteria, text) && !out.texts.Append(place)) return false;
    }
    return true;
}

bool FindMatching(const ColumnIndex& index, const LookupColumn& where, const Criteria& criteria,
                  MatchingCells& out) {
    const bool numeric = criteria.kind == CRITERIA_NUMBER || criteria.isNumber;
    if (numeric) {
        out.numbers = NearPlaces(index, criteria.number);
        if (!index.texts.IsEmpty() && !FindNumericTexts(index, criteria, out)) return false;
    } else if (const u32 place = criteria.isBool ? 0 : index.table[TextSlot(index, criteria.rest)]) {
        if (!out.texts.Append(place - 1)) return false;
    }
    u32 matches = out.numbers.end - out.numbers.begin;
    for (u32 place : out.texts) matches += index.equals[place];
    if (!IsWorthwhile(where, index, matches)) return false;
    for (u16 row : index.otherRows) {
        const CellRecord* cell = Holds(where, row) ? GetCell(where.sheet->cells, row, index.column) : nullptr;
        if (cell && Matches(criteria, cell->value) && !out.others.Append(row)) return false;
    }
    return true;
}

// Adds up the numbers of the sum's column for ascending rows.
struct Adding {
    const SumColumn& from;
    double sum = 0;
    u32 slot = 0;

    explicit Adding(const SumColumn& sums) : from(sums) {}
    void Add(i32 row) {
        const CellStore& store = from.sheet->cells;
        row += from.rowsDown;
        if (row < 0 || row >= MAX_ROWS) return;
        // Rows follow each other closely: mostly the next slot is the one.
        if (slot >= store.rows.Count() || store.rows[slot].row != row) slot = FindRowSlot(store, row);
        if (slot >= store.rows.Count() || store.rows[slot].row != row) return;
        const CellRow& cells = store.rows[slot++];
        const u32 at = FindInRow(cells, from.column);
        if (at >= cells.count || cells.cells[at].column != from.column) return;
        if (cells.cells[at].value.type == VT_NUMBER) sum += cells.cells[at].value.number;
    }
};

// The kept sums, emptied when they are those of another column or of other values. Null when memory fails.
KeptSums* SumsFor(KeptSums& kept, const SumColumn& sums, u32 count) {
    const u32 version = sums.sheet->cells.columnVersion[sums.column];
    if (kept.serial == sums.sheet->serial && kept.version == version && kept.column == sums.column &&
        kept.rowsDown == sums.rowsDown && kept.known.Count() == count) {
        return &kept;
    }
    kept.serial = 0;
    kept.known.Truncate(0);
    if (!kept.known.Resize(count) || !kept.sums.ResizeRaw(count)) return nullptr;
    kept.serial = sums.sheet->serial;
    kept.version = version;
    kept.column = sums.column;
    kept.rowsDown = sums.rowsDown;
    return &kept;
}

bool SumNumbers(ColumnIndex& index, Places places, const SumColumn& sums, double& sum) {
    KeptSums* kept = SumsFor(index.numberSums, sums, index.sorted.Count());
    if (!kept) return false;
    if (!kept->known[places.begin]) {
        Adding adding(sums);
        for (u32 i = places.begin; i < places.end; ++i) adding.Add(index.sorted[i].row);
        kept->sums[places.begin] = adding.sum;
        kept->known[places.begin] = 1;
    }
    sum = kept->sums[places.begin];
    return true;
}

bool SumTexts(ColumnIndex& index, u32 place, const SumColumn& sums, double& sum) {
    KeptSums* kept = SumsFor(index.textSums, sums, index.texts.Count());
    if (!kept) return false;
    if (!kept->known[place]) {
        Adding adding(sums);
        for (u32 next = place + 1; next; next = index.nextEqual[next - 1]) adding.Add(index.textRows[next - 1]);
        kept->sums[place] = adding.sum;
        kept->known[place] = 1;
    }
    sum = kept->sums[place];
    return true;
}

bool HasStaleCells(const CellStore& store, const RefArea& area) {
    bool formulas = false;
    for (i32 column = area.firstColumn; column <= area.lastColumn && !formulas; ++column)
        formulas = store.formulasInColumn[column] != 0;
    if (!formulas) return false;
    for (u32 slot = FindRowSlot(store, area.firstRow); slot < store.rows.Count(); ++slot) {
        const CellRow& row = store.rows[slot];
        if (row.row > area.lastRow) return false;
        for (u32 i = FindInRow(row, area.firstColumn); i < row.count; ++i) {
            if (row.cells[i].column > area.lastColumn) break;
            if (row.cells[i].calcState < CALC_CURRENT) return true;
        }
    }
    return false;
}

}  // namespace

bool FindInColumn(const LookupColumn& where, const Value& value, LookupRule rule, i32& row) {
    if (value.type != VT_NUMBER && value.type != VT_STRING) return false;
    if (where.lastRow - where.firstRow < SHORTEST) return false;
    const bool equal = rule == FIRST_EQUAL;
    ColumnIndex* index = IndexOf(equal && IsPlain(where) ? WholeOf(where) : where, where);
    if (!index) return false;
    if (value.type == VT_NUMBER) {
        if (!(equal ? SortNumbers(*index) : AccumulateNumbers(*index, rule))) return false;
        row = equal ? FirstNear(*index, where, value.number) : WalkNumbers(*index, value.number, rule);
    } else {
        if (!(equal ? HashTexts(*index) : AccumulateTexts(*index, rule))) return false;
        if (equal) return FirstEqualText(*index, where, TextOf(value), row);
        row = WalkTexts(*index, TextOf(value), rule);
    }
    return true;
}

namespace {

u32 CountPlaces(const ColumnIndex& index, const LookupColumn& where, Places places) {
    if (Covers(where, index)) return places.end - places.begin;
    u32 count = 0;
    for (u32 i = places.begin; i < places.end; ++i) count += Holds(where, index.sorted[i].row);
    return count;
}

u32 CountTexts(const ColumnIndex& index, const LookupColumn& where, u32 place) {
    if (Covers(where, index)) return index.equals[place];
    u32 count = 0;
    for (u32 next = place + 1; next && index.textRows[next - 1] <= where.lastRow;
         next = index.nextEqual[next - 1])
        count += index.textRows[next - 1] >= where.firstRow;
    return count;
}

// The rows of all matching cells in the part of the column, ascending, in `cells.others`.
bool CollectRows(const ColumnIndex& index, const LookupColumn& where, MatchingCells& cells) {
    Array<u16>& rows = cells.others;
    for (u32 i = cells.numbers.begin; i < cells.numbers.end; ++i) {
        if (Holds(where, index.sorted[i].row) && !rows.Append(index.sorted[i].row)) return false;
    }
    for (u32 place : cells.texts) {
        for (u32 next = place + 1; next; next = index.nextEqual[next - 1]) {
            const u16 row = index.textRows[next - 1];
            if (Holds(where, row) && !rows.Append(row)) return false;
        }
    }
    std::sort(rows.begin(), rows.end());
    return true;
}

}  // namespace

bool CountInColumn(const LookupColumn& where, const Criteria& criteria, u32& count) {
    ColumnIndex* index = CriteriaIndex(where, criteria);
    if (!index) return false;
    if (criteria.kind >= CRITERIA_LESS) {
        count = CountPlaces(*index, where, OrderedPlaces(*index, criteria));
        return true;
    }
    MatchingCells cells;
    if (!FindMatching(*index, where, criteria, cells)) return false;
    count = CountPlaces(*index, where, cells.numbers) + cells.others.Count();
    for (u32 place : cells.texts) count += CountTexts(*index, where, place);
    return true;
}

bool SumInColumn(const LookupColumn& where, const Criteria& criteria, const SumColumn& sums, double& sum) {
    ColumnIndex* index = criteria.kind < CRITERIA_LESS ? CriteriaIndex(where, criteria) : nullptr;
    MatchingCells cells;
    if (!index || !FindMatching(*index, where, criteria, cells)) return false;
    const Places numbers = cells.numbers;
    const bool whole = Covers(where, *index) && cells.others.IsEmpty();
    const bool oneNumber = numbers.begin < numbers.end &&
                           index->sorted[numbers.begin].number == index->sorted[numbers.end - 1].number;
    if (whole && oneNumber && cells.texts.IsEmpty()) return SumNumbers(*index, numbers, sums, sum);
    if (whole && numbers.begin == numbers.end && cells.texts.Count() == 1)
        return SumTexts(*index, cells.texts[0], sums, sum);
    if (!CollectRows(*index, where, cells)) return false;
    Adding adding(sums);
    for (u16 row : cells.others) adding.Add(row);
    sum = adding.sum;
    return true;
}

bool IsCurrent(const Sheet& sheet, const RefArea& area) {
    CurrentArea* place = nullptr;
    const u32 version = VersionOf(sheet, area);
    for (CurrentArea& known : state.areas) {
        if (known.serial != sheet.serial || known.area != area) continue;
        if (known.version == version) return true;
        place = &known;
    }
    if (HasStaleCells(sheet.cells, area)) return false;
    if (!place) place = &state.areas[state.nextArea++ % KEPT_AREAS];
    *place = {sheet.serial, version, area};
    return true;
}

void ResetLookups() {
    for (ColumnIndex& index : state.columns) Empty(index);
    for (CurrentArea& area : state.areas) area = CurrentArea();
    state.nextArea = 0;
    state.clock = 0;
}

}  // namespace tally
