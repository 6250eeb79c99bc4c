#include "functions/LookupIndex.h"

#include <algorithm>

#include "functions/ColumnIndex.h"
#include "functions/Criteria.h"

namespace tally {
namespace {

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

// False when the many equal texts in front of the part would have to be passed over.
bool FirstEqualText(const ColumnIndex& index, const LookupColumn& where, WideView text, i32& row) {
    u32 place = index.table[TextSlot(index, text)];
    if (place && !IsWorthwhile(where, index, index.equals[place - 1])) return false;
    while (place && index.textRows[place - 1] < where.firstRow) place = index.nextEqual[place - 1];
    row = place && index.textRows[place - 1] <= where.lastRow ? index.textRows[place - 1] : LOOKUP_NONE;
    return true;
}

// ---- running least elements ------------------------------------------------------------------------

// Fills `out` so that each place holds the lesser one of its element and what the place before it holds.
template <typename T, typename Element, typename Less>
bool Accumulate(Array<T>& out, u32 count, Element element, Less less) {
    if (!out.IsEmpty() || !count) return true;
    if (!out.Resize(count)) return false;
    T best = element(0);
    for (u32 i = 0; i < count; ++i) {
        const T mine = element(i);
        if (less(mine, best)) best = mine;
        out[i] = best;
    }
    return true;
}

bool AccumulateNumbers(ColumnIndex& index) {
    const auto element = [&](u32 i) { return index.numbers[i]; };
    return Accumulate(index.least, index.numbers.Count(), element, [](double a, double b) { return a < b; });
}

bool AccumulateTexts(ColumnIndex& index) {
    const auto less = [&](u32 a, u32 b) {
        return CompareIgnoringCase(TextView(index.texts[a]), TextView(index.texts[b])) < 0;
    };
    return Accumulate(
        index.leastText, index.texts.Count(), [](u32 i) { return i; }, less);
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

i32 WalkNumbers(const ColumnIndex& index, double number) {
    const u32 count = index.numbers.Count();
    const u32 stop =
        FirstPlace(count, [&](u32 i) { return Near(number, index.least[i]) || index.least[i] <= number; });
    return WalkEnd(index.numberRows, stop, stop < count && Near(number, index.numbers[stop]));
}

i32 WalkTexts(const ColumnIndex& index, WideView text) {
    const u32 count = index.texts.Count();
    const auto compare = [&](u32 place) { return CompareIgnoringCase(TextView(index.texts[place]), text); };
    const u32 stop = FirstPlace(count, [&](u32 i) { return compare(index.leastText[i]) <= 0; });
    return WalkEnd(index.textRows, stop, stop < count && compare(stop) == 0);
}

}  // namespace

bool FindInColumn(const LookupColumn& where, const Value& value, LookupRule rule, i32& row) {
    if (value.type != VT_NUMBER && value.type != VT_STRING) return false;
    const bool equal = rule == FIRST_EQUAL;
    ColumnIndex* index = IndexOf(where, equal);
    if (!index) return false;
    if (value.type == VT_NUMBER) {
        if (!(equal ? SortNumbers(*index) : AccumulateNumbers(*index))) return false;
        row = equal ? FirstNear(*index, where, value.number) : WalkNumbers(*index, value.number);
    } else {
        if (!(equal ? HashTexts(*index) : AccumulateTexts(*index))) return false;
        if (equal) return FirstEqualText(*index, where, TextOf(value), row);
        row = WalkTexts(*index, TextOf(value));
    }
    return true;
}

}  // namespace tally
