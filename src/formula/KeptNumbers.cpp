#include "formula/KeptNumbers.h"

#include <algorithm>
#include <cmath>

#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u32 SMALLEST = 64;            // cells; fewer are read at once
constexpr u32 MOST_NUMBERS = 1u << 21;  // of one strip of columns
constexpr u16 ID_SUBTOTAL = 344;
constexpr u32 CELLS_A_BREATH = 1024;  // taken between two questions whether the user has had enough
constexpr i32 LONGEST_STEP = 64;      // rows between two questions of one line

constexpr u32 MADE_SETS = 1024;
constexpr u32 MADE_WAYS = 4;

struct MadeValue {
    const void* tag = nullptr;
    u32 serial = 0;
    u32 version = 0;
    RefArea area;
    bool allKinds = false;
    bool isError = false;
    double number = 0;  // or the error
};

struct NumbersState {
    MadeValue made[MADE_SETS][MADE_WAYS];
    u8 nextWay[MADE_SETS] = {};
    u32 generation = 0;
};
NumbersState state;

KeptKey KeyOf(const NumberRange& range) {
    const u64 columns = u64{range.area.firstColumn} << 8 | range.area.lastColumn;
    return {range.sheet->serial, KEPT_NUMBERS, u16{range.allKinds}, columns, 0};
}

bool IsPlain(const NumberRange& range) {
    for (i32 c = range.area.firstColumn; c <= range.area.lastColumn; ++c) {
        if (range.sheet->cells.formulasInColumn[c]) return false;
    }
    return true;
}

void Restart(KeptNumbers& kept, i32 firstRow) {
    kept.firstRow = kept.behind = firstRow;
    kept.generation = ++state.generation;
    kept.oddNumber = false;
    kept.exact = ExactRange();
    kept.numbers.Truncate(0);
    kept.rows.Truncate(0);
    kept.others.Truncate(0);
    kept.errors.Truncate(0);
    kept.subtotals.Truncate(0);
    kept.subtotalsBehind = firstRow;
    for (u32 i = 0; i < LEVELS; ++i) {
        kept.most[i].Truncate(0);
        kept.least[i].Truncate(0);
    }
    for (u64& begin : kept.begins) begin = 0;
}

std::size_t SizeOf(const KeptNumbers& kept) {
    return sizeof(kept) + kept.numbers.Capacity() * (sizeof(double) * 9 / 8) +
           (kept.rows.Capacity() + kept.others.Capacity()) * sizeof(u16);
}

enum Taking { TAKEN, WAITS, NO_ROOM };

Taking TakeCell(KeptNumbers& kept, u16 row, const CellRecord& cell, bool allKinds) {
    double number = 0;
    if (cell.calcState < CALC_CURRENT) return WAITS;
    switch (cell.value.type) {
        case VT_EMPTY: return TAKEN;
        case VT_NUMBER:
            if (!std::isfinite(cell.value.number)) {
                kept.oddNumber = true;
                return WAITS;
            }
            number = cell.value.number;
            break;
        case VT_STRING:
            if (!allKinds) return kept.others.Append(row) ? TAKEN : NO_ROOM;
            break;
        case VT_BOOL:
            if (!allKinds) return kept.others.Append(row) ? TAKEN : NO_ROOM;
            number = cell.value.boolean ? 1 : 0;
            break;
        default: {
            const PlacedError error{row, static_cast<u8>(cell.value.error)};
            return kept.others.Append(row) && kept.errors.Append(error) ? TAKEN : NO_ROOM;
        }
    }
    if (kept.numbers.Count() >= MOST_NUMBERS) return NO_ROOM;
    kept.exact.Add(number);
    return kept.numbers.Append(number) && kept.rows.Append(row) ? TAKEN : NO_ROOM;
}

// What is kept of a row that was taken in part goes again.
void DropRow(KeptNumbers& kept, u16 row) {
    while (!kept.rows.IsEmpty() && kept.rows.Last() == row) {
        kept.rows.RemoveLast();
        kept.numbers.RemoveLast();
    }
    while (!kept.others.IsEmpty() && kept.others.Last() == row) kept.others.RemoveLast();
    while (!kept.errors.IsEmpty() && kept.errors.Last().row == row) kept.errors.RemoveLast();
}

// Takes further rows through `lastRow`, as far as they are up to date.
bool Extend(KeptNumbers& kept, const NumberRange& range, i32 lastRow) {
    RefArea rest = range.area;
    rest.firstRow = static_cast<u16>(kept.behind);
    rest.lastRow = static_cast<u16>(lastRow);
    i32 behind = lastRow + 1;
    u32 walked = 0;
    Taking taking = TAKEN;
    WalkArea(range.sheet->cells, rest, [&](u16 row, const CellRecord& cell) {
        const bool goesOn = ++walked % CELLS_A_BREATH || ReadCells(CELLS_A_BREATH);
        taking = goesOn ? TakeCell(kept, row, cell, range.allKinds) : NO_ROOM;
        if (taking == TAKEN) return true;
        behind = row;
        return false;
    });
    if (taking == NO_ROOM) {
        Restart(kept, 0);
        return false;
    }
    if (taking == WAITS) DropRow(kept, static_cast<u16>(behind));
    kept.behind = behind;
    NoteKeptSize(kept.item, SizeOf(kept));
    return behind > lastRow;
}

bool Covers(const KeptNumbers& kept, const RefArea& area) {
    return area.firstRow >= kept.firstRow && area.lastRow < kept.behind;
}

// Brings the rows of a range into what is kept of its columns.
bool Cover(KeptNumbers& kept, const NumberRange& range) {
    if (kept.version != range.version) {
        kept.version = range.version;
        kept.scanned = 0;
        kept.orderScanned = 0;
        Restart(kept, range.area.firstRow);
    }
    if (Covers(kept, range.area)) return true;
    if (kept.oddNumber) return false;
    const i32 first = range.area.firstRow, last = range.area.lastRow;
    if (kept.behind > kept.firstRow && first >= kept.firstRow && first <= kept.behind)
        return Extend(kept, range, last);
    // Taking costs about as much as reading, so what is taken is no more than what questions have read.
    const bool plain = IsPlain(range);
    const i32 from = plain ? 0 : std::min(first, kept.behind > kept.firstRow ? kept.firstRow : first);
    const i32 through = plain ? MAX_ROWS - 1 : std::max(last, kept.behind - 1);
    const u32 cost = std::min(static_cast<u32>(through - from) + 1, range.sheet->cells.rows.Count());
    kept.scanned += static_cast<u32>(last - first) + 1;
    if (kept.scanned < cost) return false;
    kept.scanned = 0;
    Restart(kept, from);
    if (Extend(kept, range, through) || Covers(kept, range.area)) return true;
    if (plain || from == first || kept.oddNumber) return false;
    Restart(kept, first);
    return Extend(kept, range, last);
}

u32 PlaceOf(const Array<u16>& rows, i32 row) {
    return static_cast<u32>(
        std::lower_bound(rows.begin(), rows.end(), row, [](u16 a, i32 b) { return i32{a} < b; }) -
        rows.begin());
}

// The place of the first number at or below a row; at once where every row holds one number.
u32 NumberPlace(const KeptNumbers& kept, i32 row) {
    const Array<u16>& rows = kept.rows;
    const u32 guess = rows.IsEmpty() ? 0 : static_cast<u32>(row - i32{rows[0]});
    if (guess < rows.Count() && rows[guess] == row && (!guess || rows[guess - 1] < row)) return guess;
    return PlaceOf(rows, row);
}

void FindPlaces(NumberRange& range, i32 firstRow, i32 lastRow) {
    const KeptNumbers& kept = *range.kept;
    range.begin = NumberPlace(kept, firstRow);
    range.end = NumberPlace(kept, lastRow + 1);
    range.error = -1;
    range.othersBegin = PlaceOf(kept.others, firstRow);
    range.othersEnd = PlaceOf(kept.others, lastRow + 1);
    if (range.othersBegin == range.othersEnd) return;
    const PlacedError* error = std::lower_bound(kept.errors.begin(), kept.errors.end(), firstRow,
                                                [](const PlacedError& a, i32 b) { return i32{a.row} < b; });
    if (error != kept.errors.end() && error->row <= lastRow) range.error = error->error;
}

MadeValue* MadeSet(const NumberRange& range, const void* tag) {
    const u64 mixed = AreaKey(range.area) * 0x9E3779B97F4A7C15u ^
                      (reinterpret_cast<std::uintptr_t>(tag) + range.sheet->serial) * 0xC2B2AE3D27D4EB4Fu;
    return state.made[(mixed >> 40) % MADE_SETS];
}

bool IsMade(const MadeValue& made, const NumberRange& range, const void* tag) {
    return made.tag == tag && made.serial == range.sheet->serial && made.area == range.area &&
           made.allKinds == range.allKinds;
}

// ---- greatest and least -----------------------------------------------------------------------------

struct Greater {
    static void Take(double& best, double x) { best = best < x ? x : best; }
};
struct Less {
    static void Take(double& best, double x) { best = x < best ? x : best; }
};

template <typename Order>
bool RaiseLevels(Array<double>* levels, const Array<double>& numbers) {
    const Array<double>* below = &numbers;
    for (u32 level = 0; level < LEVELS; ++level) {
        Array<double>& made = levels[level];
        while (made.Count() < below->Count() / LEVEL_WIDTH) {
            const double* from = below->Data() + made.Count() * LEVEL_WIDTH;
            double best = from[0];
            for (u32 i = 1; i < LEVEL_WIDTH; ++i) Order::Take(best, from[i]);
            if (!made.Append(best)) return false;
        }
        below = &made;
    }
    return true;
}

// Goes through the range from left to right in the largest steps that lie whole in it, so that of equal ones
// (minus zero and zero) the first stays, as in a plain walk.
template <typename Order>
double Extreme(const NumberRange& range, Array<double>* levels) {
    const Array<double>& numbers = range.kept->numbers;
    double best = numbers[range.begin];
    const bool raised = range.Count() > 2 * LEVEL_WIDTH && RaiseLevels<Order>(levels, numbers);
    for (u32 at = range.begin; at < range.end;) {
        const double* from = numbers.Data();
        u32 place = at, width = 1;
        for (u32 level = 0; raised && level < LEVELS; ++level) {
            if (place % LEVEL_WIDTH || at + width * LEVEL_WIDTH > range.end) break;
            place /= LEVEL_WIDTH;
            width *= LEVEL_WIDTH;
            from = levels[level].Data();
        }
        Order::Take(best, from[place]);
        at += width;
    }
    return best;
}

}  // namespace

bool LocateNumbersOn(Sheet& sheet, const RefArea& area, bool allKinds, NumberRange& range) {
    const u32 cells = (area.lastRow - area.firstRow + 1u) * (area.lastColumn - area.firstColumn + 1u);
    if (cells < SMALLEST || !(sheet.kind & SHEET_WITH_CELLS)) return false;
    range.sheet = &sheet;
    range.area = area;
    range.allKinds = allKinds;
    range.version = VersionOf(sheet, area);
    return true;
}

bool LocateNumbers(const Value& argument, const EvalContext& context, bool allKinds, NumberRange& range) {
    SheetArea from{context.book, context.sheet, {}};
    i32 error = -1;
    if (argument.type == VT_AREA) {
        from.area = argument.area;
    } else if (argument.type != VT_REF || !ResolveSingleArea(argument, context, from, error)) {
        return false;
    }
    Sheet* sheet = SheetAt(from.book, from.sheet);
    return sheet && LocateNumbersOn(*sheet, from.area, allKinds, range);
}

bool TakeNumbers(NumberRange& range) {
    TrimKept();
    range.kept = KeptRecord<KeptNumbers>(KeyOf(range));
    if (!range.kept || !Cover(*range.kept, range)) return false;
    FindPlaces(range, range.area.firstRow, range.area.lastRow);
    return true;
}

bool PartOf(const NumberRange& whole, i32 firstRow, i32 lastRow, NumberRange& part) {
    if (firstRow > lastRow || firstRow < whole.kept->firstRow || lastRow >= whole.kept->behind) return false;
    part = whole;
    part.area.firstRow = static_cast<u16>(firstRow);
    part.area.lastRow = static_cast<u16>(lastRow);
    FindPlaces(part, firstRow, lastRow);
    return part.error < 0;
}

bool CallsSubtotal(const CellRecord& cell) {
    return cell.formula && TokensCall(cell.formula->tokens, ID_SUBTOTAL);
}

bool HoldsSubtotal(NumberRange& range) {
    KeptNumbers& kept = *range.kept;
    if (IsPlain(range)) return false;
    bool good = true;
    if (kept.subtotalsBehind <= range.area.lastRow) {
        RefArea rest = range.area;
        rest.firstRow = static_cast<u16>(kept.subtotalsBehind);
        WalkArea(range.sheet->cells, rest, [&](u16 row, const CellRecord& cell) {
            if (CallsSubtotal(cell)) good = kept.subtotals.Append(row);
            return good;
        });
        if (!good) return true;
        kept.subtotalsBehind = range.area.lastRow + 1;
    }
    return PlaceOf(kept.subtotals, range.area.lastRow + 1) > PlaceOf(kept.subtotals, range.area.firstRow);
}

double GreatestOf(const NumberRange& range) { return Extreme<Greater>(range, range.kept->most); }
double LeastOf(const NumberRange& range) { return Extreme<Less>(range, range.kept->least); }

bool RecallValue(const NumberRange& range, const void* tag, Value& value) {
    const MadeValue* set = MadeSet(range, tag);
    for (u32 way = 0; way < MADE_WAYS; ++way) {
        const MadeValue& made = set[way];
        if (!IsMade(made, range, tag) || made.version != range.version) continue;
        value = made.isError ? ErrorValue(static_cast<i32>(made.number)) : NumberValue(made.number);
        return true;
    }
    return false;
}

void RememberValue(const NumberRange& range, const void* tag, const Value& value) {
    if (value.type != VT_NUMBER && value.type != VT_ERROR) return;
    MadeValue* set = MadeSet(range, tag);
    u8& next = state.nextWay[(set - state.made[0]) / static_cast<std::ptrdiff_t>(MADE_WAYS)];
    u32 way = 0;
    while (way < MADE_WAYS && !IsMade(set[way], range, tag)) ++way;
    if (way == MADE_WAYS) way = next++ % MADE_WAYS;
    const bool isError = value.type == VT_ERROR;
    const double number = isError ? static_cast<double>(value.error) : value.number;
    set[way] = {tag, range.sheet->serial, range.version, range.area, range.allKinds, isError, number};
}

bool BeganBefore(KeptNumbers& kept, u32 begin, const void* tag) {
    const u64 mixed = (u64{begin} + 1) * 0x9E3779B97F4A7C15u ^ reinterpret_cast<std::uintptr_t>(tag);
    for (const u64 known : kept.begins) {
        if (known == mixed) return true;
    }
    kept.begins[kept.nextBegin++ % ASKED_BEGINS] = mixed;
    return false;
}

AskedRows* NextInLine(KeptNumbers& kept, i32 first, i32 last, const void* tag) {
    AskedRows* near = nullptr;
    for (AskedRows& asked : kept.asked) {
        const i32 firstStep = first - asked.first, lastStep = last - asked.last;
        if (asked.tag != tag || (!firstStep && !lastStep)) continue;
        if (std::abs(firstStep) > LONGEST_STEP || std::abs(lastStep) > LONGEST_STEP) continue;
        near = &asked;
        if (asked.firstStep == firstStep && asked.lastStep == lastStep) break;
    }
    if (!near) {
        kept.asked[kept.nextAsked++ % ASKED_ROWS] = {tag, first, last, 0, 0};
        return nullptr;
    }
    const AskedRows line = {tag, first, last, first - near->first, last - near->last};
    const bool next = near->firstStep == line.firstStep && near->lastStep == line.lastStep;
    *near = line;
    return next ? near : nullptr;
}

void ResetKeptNumbers() {
    state = NumbersState();
    ResetKept();
}

}  // namespace tally
