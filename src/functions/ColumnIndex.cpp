#include "functions/ColumnIndex.h"

#include <algorithm>
#include <bit>

#include "functions/Criteria.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u32 MOST_TEXTS = 64;  // different ones that are read as numbers for each criteria
constexpr u32 SCANNED_SETS = 512;
constexpr u32 SCANNED_WAYS = 4;

// Rows that scans have gone over where nothing is kept yet.
struct ScannedRows {
    KeptKey key;
    u32 version = 0;
    i32 rows = 0;
};
struct ScannedState {
    ScannedRows sets[SCANNED_SETS][SCANNED_WAYS];
    u32 next = 0;
};
ScannedState state;

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
    return true;
}

// A column without formulas is up to date all over: one index then serves every part of it, such as those that
// grow from row to row.
bool IsPlain(const LookupColumn& where) { return !where.sheet->cells.formulasInColumn[where.column]; }

LookupColumn WholeOf(const LookupColumn& where) { return {where.sheet, where.column, 0, MAX_ROWS - 1}; }

// Adds the rows of one more scan; true when the scans before it have cost as much as taking the column would.
bool IsScannedEnough(const KeptKey& key, const LookupColumn& part, const LookupColumn& where) {
    const u64 mixed = (key.where ^ u64{key.serial} << 40) * 0x9E3779B97F4A7C15u;
    ScannedRows* const set = state.sets[(mixed >> 40) % SCANNED_SETS];
    const u32 version = part.sheet->cells.columnVersion[part.column];
    ScannedRows* place = set;
    while (place < set + SCANNED_WAYS && !(place->key == key)) ++place;
    if (place == set + SCANNED_WAYS) place = set + state.next++ % SCANNED_WAYS;
    if (!(place->key == key) || place->version != version) *place = {key, version, 0};
    const i32 rows =
        std::min(part.lastRow - part.firstRow + 1, static_cast<i32>(part.sheet->cells.rows.Count()));
    if (place->rows >= rows && rows > 0) return true;
    place->rows += where.lastRow - where.firstRow + 1;
    return false;
}

std::size_t SizeOf(const ColumnIndex& index) {
    const std::size_t places = index.table.Capacity() + index.nextEqual.Capacity() + index.equals.Capacity() +
                               index.textOrder.Capacity() + index.leastText.Capacity();
    const std::size_t wide = index.numbers.Capacity() + index.texts.Capacity() + index.least.Capacity();
    const std::size_t rows =
        index.numberRows.Capacity() + index.textRows.Capacity() + index.otherRows.Capacity();
    return sizeof(index) + index.sorted.Capacity() * sizeof(PlacedNumber) + places * sizeof(u32) +
           wide * sizeof(double) + rows * sizeof(u16);
}

}  // namespace

ColumnIndex* IndexOf(const LookupColumn& where, bool whole) {
    if (where.lastRow - where.firstRow < SHORTEST_INDEX) return nullptr;
    TrimKept();
    const LookupColumn part = whole && IsPlain(where) ? WholeOf(where) : where;
    const u8 column = static_cast<u8>(part.column);
    KeptKey key{part.sheet->serial, KEPT_COLUMN, 0, 0, 0};
    key.where = AreaKey({static_cast<u16>(part.firstRow), static_cast<u16>(part.lastRow), column, column});
    const u32 version = part.sheet->cells.columnVersion[part.column];
    KeptItem* known = FindKept(key);
    ColumnIndex* index = reinterpret_cast<ColumnIndex*>(known);
    if (index && index->version == version) {
        NoteKeptSize(index->item, SizeOf(*index));
        return index;
    }
    if (known) DropKept(known);
    if (!IsScannedEnough(key, part, where)) return nullptr;
    index = KeptRecord<ColumnIndex>(key);
    if (!index) return nullptr;
    index->version = version;
    index->column = part.column;
    index->firstRow = part.firstRow;
    index->lastRow = part.lastRow;
    if (Fill(*index, *part.sheet)) return index;
    DropKept(&index->item);
    return nullptr;
}

bool Covers(const LookupColumn& where, const ColumnIndex& index) {
    return where.firstRow <= index.firstUsed && where.lastRow >= index.lastUsed;
}
bool IsWorthwhile(const LookupColumn& where, const ColumnIndex& index, u32 matches) {
    return Covers(where, index) || matches / 4 <= static_cast<u32>(where.lastRow - where.firstRow);
}

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

bool SortTexts(ColumnIndex& index) {
    if (!index.textOrder.IsEmpty()) return true;
    const u32 count = index.texts.Count();
    if (!index.textOrder.ResizeRaw(count)) return false;
    for (u32 i = 0; i < count; ++i) index.textOrder[i] = i;
    std::sort(index.textOrder.begin(), index.textOrder.end(), [&](u32 a, u32 b) {
        const int order = CompareIgnoringCase(TextView(index.texts[a]), TextView(index.texts[b]));
        return order < 0 || (order == 0 && a < b);
    });
    return true;
}

}  // namespace tally
