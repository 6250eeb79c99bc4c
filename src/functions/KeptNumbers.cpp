#include "functions/KeptNumbers.h"

#include <algorithm>

#include "formula/Coercion.h"
#include "functions/LookupIndex.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u32 KEPT_AREAS = 16;
constexpr u32 SMALLEST = 64;            // cells; fewer are read at once
constexpr u32 MOST_NUMBERS = 1u << 18;  // of one area

struct KeptState {
    KeptNumbers areas[KEPT_AREAS];
    u64 clock = 0;
};
KeptState state;

u32 VersionOf(const Sheet& sheet, const RefArea& area) {
    u32 version = 0;
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) version += sheet.cells.columnVersion[c];
    return version;
}

// False when there is no more room.
bool Take(KeptNumbers& kept, const Value& value) {
    switch (value.type) {
        case VT_NUMBER: return kept.values.Append(value.number);
        case VT_STRING: return !kept.allKinds || kept.values.Append(0);
        case VT_BOOL: return !kept.allKinds || kept.values.Append(value.boolean ? 1 : 0);
        default: return true;
    }
}

bool Fill(KeptNumbers& kept, Sheet& sheet) {
    bool good = true;
    WalkArea(sheet.cells, kept.area, [&](u16, CellRecord& cell) {
        kept.filledCells += cell.value.type != VT_EMPTY;
        if (cell.value.type == VT_ERROR && kept.error < 0) kept.error = cell.value.error;
        if (kept.error >= 0) return true;
        good = Take(kept, cell.value) && kept.values.Count() <= MOST_NUMBERS;
        return good;
    });
    kept.filled = good;
    kept.tooLarge = !good;
    if (!good) kept.values.Clear();
    return good;
}

}  // namespace

KeptNumbers* NumbersOf(const Value& argument, const EvalContext& context, bool allKinds) {
    if (argument.type != VT_AREA && argument.type != VT_REF) return nullptr;
    SheetArea from;
    i32 error = -1;
    if (!ResolveSingleArea(argument, context, from, error)) return nullptr;
    const RefArea& area = from.area;
    const u32 cells = (area.lastRow - area.firstRow + 1u) * (area.lastColumn - area.firstColumn + 1u);
    Sheet* sheet = SheetAt(from.book, from.sheet);
    if (cells < SMALLEST || !sheet || !(sheet->kind & SHEET_WITH_CELLS)) return nullptr;
    const u32 version = VersionOf(*sheet, area);
    KeptNumbers* place = &state.areas[0];
    for (KeptNumbers& kept : state.areas) {
        if (kept.serial == sheet->serial && kept.area == area && kept.allKinds == allKinds) {
            kept.used = ++state.clock;
            if (kept.version == version) {
                if (kept.filled) return &kept;
                return !kept.tooLarge && IsCurrent(*sheet, area) && Fill(kept, *sheet) ? &kept : nullptr;
            }
            place = &kept;
            break;
        }
        if (kept.used < place->used) place = &kept;
    }
    *place = KeptNumbers();
    place->serial = sheet->serial;
    place->version = version;
    place->area = area;
    place->allKinds = allKinds;
    place->used = ++state.clock;
    return nullptr;
}

const Array<double>* SortedNumbers(KeptNumbers& kept) {
    if (kept.sorted.IsEmpty()) {
        if (!kept.sorted.AppendMany(kept.values.Data(), kept.values.Count())) return nullptr;
        std::sort(kept.sorted.begin(), kept.sorted.end());
    }
    return &kept.sorted;
}

bool MakeValue(KeptNumbers& kept, FinishNumbers finish, Value& result) {
    if (kept.error >= 0) {
        result = ErrorValue(kept.error);
        return true;
    }
    for (const MadeValue& made : kept.made) {
        if (made.finish != finish) continue;
        result = made.value;
        return true;
    }
    Array<double> values;
    if (!values.AppendMany(kept.values.Data(), kept.values.Count())) return false;
    result = finish(values);
    IgnoreFailure(kept.made.Append({finish, result}));
    return true;
}

void ResetKeptNumbers() {
    for (KeptNumbers& kept : state.areas) kept = KeptNumbers();
    state.clock = 0;
}

}  // namespace tally
