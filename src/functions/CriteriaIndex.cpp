#include "functions/CriteriaIndex.h"

#include <algorithm>

#include "base/Text.h"
#include "functions/ClassSums.h"
#include "functions/KeptOrder.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u32 MOST_TEXTS = 64;   // different ones that are read as numbers for each criteria
constexpr u32 MOST_OTHERS = 64;  // booleans and errors that are compared for each

bool IsEqualKind(const Criteria& criteria) {
    return criteria.kind == CRITERIA_NUMBER || (criteria.kind == CRITERIA_EQUAL && !criteria.hasWildcards);
}
bool IsOrderKind(const Criteria& criteria) { return criteria.kind >= CRITERIA_LESS; }

// "<>" as the opposite of "=": what the one takes the other leaves.
Criteria OppositeOf(const Criteria& criteria) {
    Criteria equal = criteria;
    equal.kind = CRITERIA_EQUAL;
    equal.matchesEmpty = false;
    return equal;
}

// The filled index with its orders of equal cells; null for a new column.
ColumnIndex* EqualIndex(const LookupColumn& where, bool whole) {
    ColumnIndex* index = IndexOf(where, whole);
    if (!index || !SortNumbers(*index) || !HashTexts(*index) || index->otherRows.Count() > MOST_OTHERS)
        return nullptr;
    return index;
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

// ---- counting ---------------------------------------------------------------------------------------

bool TakeRange(const LookupColumn& where, NumberRange& range) {
    const u8 column = static_cast<u8>(where.column);
    const RefArea area{static_cast<u16>(where.firstRow), static_cast<u16>(where.lastRow), column, column};
    return LocateNumbersOn(*where.sheet, area, false, range) && TakeNumbers(range);
}

u32 RowsOf(const LookupColumn& where) { return static_cast<u32>(where.lastRow - where.firstRow) + 1; }

// The numbers on the side of a number that an order takes; texts and booleans stand in none to it.
u32 CountOrdered(const KeptOrder& order, u32 count, CriteriaKind kind, double number) {
    switch (kind) {
        case CRITERIA_LESS: return CountBelow(order, number);
        case CRITERIA_LESS_EQUAL: return CountThrough(order, number);
        case CRITERIA_GREATER: return count - CountThrough(order, number);
        default: return count - CountBelow(order, number);
    }
}

u32 CountNear(const KeptOrder& order, u32 count, double number) {
    u32 below = CountBelow(order, number), through = below;
    while (below && Near(NumberAt(order, below - 1), number))
        below = CountBelow(order, NumberAt(order, below - 1));
    while (through < count && Near(NumberAt(order, through), number))
        through = CountThrough(order, NumberAt(order, through));
    return through - below;
}

// The cells without a number that match: texts may read as the number, and booleans are texts to some criteria.
u32 CountOthers(const NumberRange& range, const Criteria& criteria) {
    u32 count = 0;
    for (u32 i = range.othersBegin; i < range.othersEnd; ++i) {
        const CellRecord* cell = GetCell(range.sheet->cells, range.kept->others[i], range.area.firstColumn);
        count += cell && Matches(criteria, cell->value);
    }
    return count;
}

// From the order of the numbers, for parts of a column that grow or move on.
bool CountInOrder(const LookupColumn& where, const Criteria& criteria, u32& count) {
    NumberRange range;
    if (!TakeRange(where, range)) return false;
    if (!IsOrderKind(criteria) && range.othersEnd - range.othersBegin > MOST_OTHERS) return false;
    const KeptOrder* order = TakeOrder(range);
    if (!order) return false;
    count = IsOrderKind(criteria)
                ? CountOrdered(*order, range.Count(), criteria.kind, criteria.number)
                : CountNear(*order, range.Count(), criteria.number) + CountOthers(range, criteria);
    return true;
}

// The places in the order of texts that stand on the side of a text that is asked for.
Places OrderedTexts(const ColumnIndex& index, const Criteria& criteria) {
    const Array<u32>& order = index.textOrder;
    const bool through = criteria.kind == CRITERIA_LESS_EQUAL || criteria.kind == CRITERIA_GREATER;
    const u32 border =
        static_cast<u32>(std::partition_point(order.begin(), order.end(),
                                              [&](u32 place) {
                                                  const int side = CompareIgnoringCase(
                                                      TextView(index.texts[place]), criteria.rest);
                                                  return side < 0 || (through && side == 0);
                                              }) -
                         order.begin());
    const bool below = criteria.kind == CRITERIA_LESS || criteria.kind == CRITERIA_LESS_EQUAL;
    return below ? Places{0, border} : Places{border, order.Count()};
}

bool CountTextsInOrder(const LookupColumn& where, const Criteria& criteria, u32& count) {
    ColumnIndex* index = IndexOf(where, false);
    if (!index || !SortTexts(*index)) return false;
    const Places places = OrderedTexts(*index, criteria);
    count = places.end - places.begin;
    return true;
}

bool CountEqual(const LookupColumn& where, const Criteria& criteria, u32& count) {
    const bool numeric = criteria.kind == CRITERIA_NUMBER || criteria.isNumber;
    ColumnIndex* index = EqualIndex(where, true);
    MatchingCells cells;
    if (!index || !FindMatching(*index, where, criteria, cells))
        return numeric && CountInOrder(where, criteria, count);
    count = CountPlaces(*index, where, cells.numbers) + cells.others.Count();
    for (u32 place : cells.texts) count += CountTexts(*index, where, place);
    return true;
}

// The empty text is equal to itself and to what is empty.
bool CountEqualOrEmpty(const LookupColumn& where, const Criteria& criteria, u32& count) {
    NumberRange range;
    if (!TakeRange(where, range)) return false;
    const u32 empty = RowsOf(where) - range.Filled();
    if (!CountEqual(where, criteria, count)) return false;
    count += empty;
    return true;
}

// ---- adding -----------------------------------------------------------------------------------------

// The class that begins at a place of the order; the number of classes behind the last.
u32 ClassAt(const Array<u32>& starts, u32 place) {
    return static_cast<u32>(std::lower_bound(starts.begin(), starts.end(), place) - starts.begin());
}

bool SumOrdered(const LookupColumn& where, const Criteria& criteria, const SumColumn& sums, double& sum) {
    ColumnIndex* index = IndexOf(where, false);
    ClassSums* kept = index ? TakeClassSums(*index, where, sums) : nullptr;
    if (!kept) return false;
    const u32 numbers = kept->numberStarts.Count();
    const bool through = criteria.kind == CRITERIA_LESS_EQUAL || criteria.kind == CRITERIA_GREATER;
    const bool below = criteria.kind == CRITERIA_LESS || criteria.kind == CRITERIA_LESS_EQUAL;
    ClassRange section{0, numbers};
    u32 border = 0;
    if (criteria.isNumber) {
        const u32 place = through ? FirstAbove(index->sorted, criteria.number)
                                  : FirstNotBelow(index->sorted, criteria.number);
        border = ClassAt(kept->numberStarts, place);
    } else {
        const Places places = OrderedTexts(*index, criteria);
        section = {numbers, kept->Count()};
        border = numbers + ClassAt(kept->textStarts, below ? places.end : places.begin);
    }
    return below ? SumBefore(*kept, section, border, sum) : SumFrom(*kept, section, border, sum);
}

// The class of all cells that are equal; Count() when there are none. False when they are of several kinds.
bool OneClass(const ColumnIndex& index, const ClassSums& kept, const MatchingCells& cells, u32& at) {
    at = kept.Count();
    if (!cells.others.IsEmpty() || cells.texts.Count() > 1) return false;
    const Places numbers = cells.numbers;
    if (numbers.begin < numbers.end) {
        if (!cells.texts.IsEmpty()) return false;
        at = ClassAt(kept.numberStarts, numbers.begin);
        return index.sorted[numbers.begin].number == index.sorted[numbers.end - 1].number;
    }
    if (cells.texts.IsEmpty()) return true;
    const WideView text = TextView(index.texts[cells.texts[0]]);
    const u32* place = std::partition_point(index.textOrder.begin(), index.textOrder.end(), [&](u32 other) {
        return CompareIgnoringCase(TextView(index.texts[other]), text) < 0;
    });
    at =
        kept.numberStarts.Count() + ClassAt(kept.textStarts, static_cast<u32>(place - index.textOrder.begin()));
    return true;
}

bool SumDifferent(const LookupColumn& where, const Criteria& criteria, const SumColumn& sums, double& sum) {
    const Criteria equal = OppositeOf(criteria);
    ColumnIndex* index = EqualIndex(where, false);
    ClassSums* kept = index ? TakeClassSums(*index, where, sums) : nullptr;
    MatchingCells cells;
    u32 at = 0;
    return kept && FindMatching(*index, where, equal, cells) && OneClass(*index, *kept, cells, at) &&
           SumOthers(*kept, at, sum);
}

// The sums of the sets of equal cells that were asked for, by the place of each set's first one.
struct EqualSums {
    KeptItem item;
    u32 version = 0, sumsVersion = 0;
    Array<u8> known;  // of numbers, then of texts
    Array<double> sums;
};

EqualSums* TakeEqualSums(const ColumnIndex& index, const SumColumn& sums) {
    const u32 version = sums.sheet->cells.columnVersion[sums.column];
    KeptKey key = SumsKey(index, sums);
    key.kind = KEPT_EQUAL_SUMS;
    EqualSums* kept = KeptRecord<EqualSums>(key);
    if (!kept) return nullptr;
    const u32 places = index.numbers.Count() + index.texts.Count();
    if (kept->known.Count() == places && kept->version == index.version && kept->sumsVersion == version)
        return kept;
    kept->known.Truncate(0);
    if (!kept->known.Resize(places) || !kept->sums.ResizeRaw(places)) {
        DropKept(&kept->item);
        return nullptr;
    }
    kept->version = index.version;
    kept->sumsVersion = version;
    NoteKeptSize(kept->item, sizeof(*kept) + places * (sizeof(double) + 1));
    return kept;
}

bool SumNumbers(const ColumnIndex& index, Places places, const SumColumn& sums, double& sum) {
    EqualSums* kept = TakeEqualSums(index, sums);
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

bool SumTexts(const ColumnIndex& index, u32 place, const SumColumn& sums, double& sum) {
    EqualSums* kept = TakeEqualSums(index, sums);
    if (!kept) return false;
    const u32 at = index.numbers.Count() + place;
    if (!kept->known[at]) {
        Adding adding(sums);
        for (u32 next = place + 1; next; next = index.nextEqual[next - 1]) adding.Add(index.textRows[next - 1]);
        kept->sums[at] = adding.sum;
        kept->known[at] = 1;
    }
    sum = kept->sums[at];
    return true;
}

bool SumEqual(const LookupColumn& where, const Criteria& criteria, const SumColumn& sums, double& sum) {
    ColumnIndex* index = EqualIndex(where, true);
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

}  // namespace

bool CountInColumn(const LookupColumn& where, const Criteria& criteria, u32& count) {
    if (IsEqualKind(criteria) && criteria.matchesEmpty) return CountEqualOrEmpty(where, criteria, count);
    if (IsEqualKind(criteria)) return CountEqual(where, criteria, count);
    if (IsOrderKind(criteria) && criteria.isNumber) return CountInOrder(where, criteria, count);
    if (IsOrderKind(criteria)) return criteria.isPlain && CountTextsInOrder(where, criteria, count);
    NumberRange range;
    switch (criteria.kind) {
        case CRITERIA_NEVER:
            if (!TakeRange(where, range)) return false;
            count = criteria.matchesFilled ? range.Filled() : 0;
            if (criteria.matchesEmpty) count = RowsOf(where) - range.Filled();
            return true;
        case CRITERIA_DIFFERENT:
            // Whatever is not equal differs, cells that are not stored too.
            if (criteria.hasWildcards || !CountEqual(where, OppositeOf(criteria), count)) return false;
            count = RowsOf(where) - count;
            return true;
        default: return false;
    }
}

bool SumInColumn(const LookupColumn& where, const Criteria& criteria, const SumColumn& sums, double& sum) {
    if (IsEqualKind(criteria)) return !criteria.matchesEmpty && SumEqual(where, criteria, sums, sum);
    if (IsOrderKind(criteria))
        return (criteria.isNumber || criteria.isPlain) && SumOrdered(where, criteria, sums, sum);
    return criteria.kind == CRITERIA_DIFFERENT && !criteria.hasWildcards &&
           SumDifferent(where, criteria, sums, sum);
}

}  // namespace tally
