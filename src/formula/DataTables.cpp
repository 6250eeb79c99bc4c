#include "formula/DataTables.h"

#include "formula/Coercion.h"
#include "formula/EvaluationNotes.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr i32 MAX_NESTED_TABLES = 4;  // whose formulas need results of other tables
constexpr u32 MAX_PARTS = 65536;      // worked out at one go; the rest follows when it is asked for
constexpr u8 NO_CELL = 255;           // of an input that was made for the time being

// A table under way; the ones that wait for it stand behind.
struct Trial {
    Trial* outer = nullptr;
    u32 serial = 0;
    RefArea area;
    Array<TrialCell> marked;      // up to date before, as they were
    Array<TrialCell> calculated;  // came up to date since the inputs were last changed
    TrialCell inputs[2];
    i32 inputCount = 0;
    bool failed = false;
};

struct TrialState {
    Trial* current = nullptr;
    i32 depth = 0;
};
TrialState state;

RefArea OneCell(i32 row, i32 column) {
    return {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)};
}

CellRecord* CellAtPlace(const TrialCell& place) {
    Sheet* sheet = SheetAt(place.book, place.sheet);
    return sheet && sheet->serial == place.serial ? GetCell(sheet->cells, place.row, place.column) : nullptr;
}

CellStore& StoreOf(const TrialCell& place) { return SheetAt(place.book, place.sheet)->cells; }

void PutValue(const TrialCell& place, CellRecord& cell, const Value& value, u8 calcState) {
    FreeValue(cell.value);
    CopyValue(cell.value, value);
    cell.calcState = calcState;
    TouchColumn(StoreOf(place), place.column);
}

// ---- a trial --------------------------------------------------------------------------------------

// Keeps the input cells as they are, an empty place as a cell that is made for the time being.
bool KeepInputs(Trial& trial, i32 book, Sheet& sheet, const TablePlaces& places) {
    for (u32 i = 0; i + 1 < places.count; ++i) {
        TrialCell& input = trial.inputs[i];
        input.book = book;
        input.sheet = sheet.index;
        input.serial = sheet.serial;
        input.row = places.inputs[i].firstRow;
        input.column = places.inputs[i].firstColumn;
        const bool existed = GetCell(sheet.cells, input.row, input.column) != nullptr;
        CellRecord* cell = PutCell(sheet.cells, input.row, input.column);
        if (!cell) return false;
        input.calcState = existed ? cell->calcState : u8{NO_CELL};
        CopyValue(input.value, cell->value);
        ++trial.inputCount;
    }
    return true;
}

// What the last values of the inputs have led to is stale again.
void ForgetCalculated(Trial& trial) {
    for (const TrialCell& place : trial.calculated) {
        CellRecord* cell = CellAtPlace(place);
        if (cell && cell->formula && cell->calcState == CALC_CURRENT) SetStale(StoreOf(place), *cell);
    }
    trial.calculated.Truncate(0);
}

void RestoreInputs(Trial& trial) {
    for (i32 i = trial.inputCount; i-- > 0;) {
        TrialCell& input = trial.inputs[i];
        CellRecord* cell = CellAtPlace(input);
        CellPosition position;
        if (cell && input.calcState != NO_CELL) {
            PutValue(input, *cell, input.value, input.calcState);
        } else if (cell && FindCell(StoreOf(input), input.row, input.column, position)) {
            TouchColumn(StoreOf(input), input.column);
            RemoveCell(StoreOf(input), position);
        }
        FreeValue(input.value);
    }
}

void EndTrial(Trial& trial) {
    state.current = trial.outer;
    --state.depth;
    ForgetCalculated(trial);
    for (TrialCell& place : trial.marked) {
        CellRecord* cell = CellAtPlace(place);
        if (cell && cell->formula && !trial.failed) PutValue(place, *cell, place.value, CALC_CURRENT);
        FreeValue(place.value);
    }
    RestoreInputs(trial);
    // Without the memory to know what a trial has touched, nothing is taken for current.
    if (trial.failed) MarkAllStale();
}

// One result that is to be worked out.
struct Part {
    u16 row = 0;
    u8 column = 0;
    bool done = false;
    RefArea formula;
    Value headings[2];
    Value value;
};

// The formula's value with a part's headings in the inputs. False when the run was abandoned.
bool TryPart(Trial& trial, i32 book, i32 sheetIndex, Part& part) {
    ForgetCalculated(trial);
    for (i32 i = 0; i < trial.inputCount; ++i) {
        CellRecord* input = CellAtPlace(trial.inputs[i]);
        if (input) PutValue(trial.inputs[i], *input, part.headings[i], CALC_CURRENT);
    }
    GetCellValue(book, sheetIndex, part.formula.firstRow, part.formula.firstColumn, part.value);
    if (part.value.type == VT_EMPTY) part.value = NumberValue(0);
    const Sheet* sheet = SheetAt(book, sheetIndex);
    const CellRecord* formula =
        sheet ? GetCell(sheet->cells, part.formula.firstRow, part.formula.firstColumn) : nullptr;
    part.done = !formula || formula->calcState != CALC_STALE;
    return part.done;
}

bool IsReady(const Sheet& sheet, const RefArea& place) {
    const CellRecord* cell = GetCell(sheet.cells, place.firstRow, place.firstColumn);
    return !cell || cell->calcState >= CALC_CURRENT;
}

// Appends the part in a cell with what its headings hold now; false when memory fails.
bool AddPart(const Sheet& sheet, const TablePlaces& places, i32 row, i32 column, Array<Part>& parts) {
    Part* part = parts.AppendDefault();
    if (!part) return false;
    part->row = static_cast<u16>(row);
    part->column = static_cast<u8>(column);
    part->formula = places.reads[0];
    for (u32 i = 1; i < places.count; ++i) {
        const CellRecord* heading = GetCell(sheet.cells, places.reads[i].firstRow, places.reads[i].firstColumn);
        if (heading) CopyValue(part->headings[i - 1], heading->value);
    }
    return true;
}

// The asking cell's part first, then the stale ones that can be worked out now.
bool CollectParts(Sheet& sheet, const DataTable& table, const EvalContext& context, Array<Part>& parts) {
    TablePlaces places;
    if (!PlacesOf(table, context.row, context.column, places) ||
        !AddPart(sheet, places, context.row, context.column, parts)) {
        return false;
    }
    bool good = true;
    WalkArea(sheet.cells, table.area, [&](u16 row, CellRecord& cell) {
        if (cell.calcState != CALC_STALE || !cell.formula || !IsTablePart(cell.formula->tokens) ||
            TableOf(*cell.formula) != &table || !PlacesOf(table, row, cell.column, places)) {
            return true;
        }
        for (u32 i = 0; i < places.count; ++i) {
            if (!IsReady(sheet, places.reads[i])) return true;
        }
        good = AddPart(sheet, places, row, cell.column, parts);
        return good && parts.Count() < MAX_PARTS;
    });
    return good;
}

// Puts the results of all parts but the first into their cells.
void StoreParts(const EvalContext& context, u32 serial, std::span<const Part> parts) {
    TrialCell place;
    place.book = context.book;
    place.sheet = context.sheet;
    place.serial = serial;
    for (const Part& part : parts.subspan(1)) {
        place.row = part.row;
        place.column = part.column;
        CellRecord* cell = part.done ? CellAtPlace(place) : nullptr;
        if (!cell || !cell->formula || cell->calcState != CALC_STALE) continue;
        PutValue(place, *cell, part.value, CALC_CURRENT);
        cell->formula->kept = false;
        NoteCalculated(place.book, place.sheet, place.row, place.column);
    }
}

// Works the parts out; false when the run was abandoned or memory fails.
bool RunTrial(const DataTable& table, const EvalContext& context, Array<Part>& parts, bool& abandoned) {
    Sheet* sheet = SheetAt(context.book, context.sheet);
    TablePlaces places;
    Trial trial;
    trial.outer = state.current;
    trial.serial = sheet->serial;
    trial.area = table.area;
    bool good =
        PlacesOf(table, context.row, context.column, places) && KeepInputs(trial, context.book, *sheet, places);
    if (good) MarkForTrial({trial.inputs, static_cast<std::size_t>(trial.inputCount)}, trial.marked);
    state.current = &trial;
    ++state.depth;
    for (u32 i = 0; good && i < parts.Count() && !trial.failed; ++i) {
        good = TryPart(trial, context.book, context.sheet, parts[i]);
        abandoned = !good;
    }
    good = good && !trial.failed;
    EndTrial(trial);
    return good;
}

bool IsUnderWay(const Sheet& sheet, const RefArea& area) {
    for (const Trial* trial = state.current; trial; trial = trial->outer) {
        if (trial->serial == sheet.serial && trial->area == area) return true;
    }
    return false;
}

}  // namespace

bool IsTablePart(const FormulaTokens& tokens) { return tokens.length == 5 && tokens.bytes[0] == ptgTbl; }

const DataTable* TableOf(const FormulaCell& formula) {
    return FindDataTable(*formula.sheet, formula.row, formula.column);
}

bool PlacesOf(const DataTable& table, i32 row, i32 column, TablePlaces& out) {
    if (!table.area.firstRow || !table.area.firstColumn) return false;
    const i32 above = table.area.firstRow - 1;
    const i32 left = table.area.firstColumn - 1;
    const auto input = [&](i32 i) { return OneCell(table.inputs[i * 2], table.inputs[i * 2 + 1] & 0xFF); };
    out.inputs[0] = input(0);
    out.inputs[1] = input(1);
    if (table.flags & TABLE_TWO_INPUTS) {
        out.count = 3;
        out.reads[0] = OneCell(above, left);
        out.reads[1] = OneCell(above, column);
        out.reads[2] = OneCell(row, left);
        return true;
    }
    const bool rowInput = (table.flags & TABLE_ROW_INPUT) != 0;
    out.count = 2;
    out.reads[0] = rowInput ? OneCell(row, left) : OneCell(above, column);
    out.reads[1] = rowInput ? OneCell(above, column) : OneCell(row, left);
    return true;
}

bool KeepForTrial(Array<TrialCell>& kept, const Sheet& sheet, i32 row, const CellRecord& cell) {
    TrialCell place;
    place.book = sheet.book;
    place.sheet = sheet.index;
    place.serial = sheet.serial;
    place.row = static_cast<u16>(row);
    place.column = cell.column;
    if (!kept.Append(place)) return false;
    CopyValue(kept.Last().value, cell.value);
    return true;
}

void NoteCalculated(i32 book, i32 sheet, i32 row, i32 column) {
    Trial* trial = state.current;
    const Sheet* at = trial ? SheetAt(book, sheet) : nullptr;
    if (!at) return;
    TrialCell place;
    place.book = book;
    place.sheet = sheet;
    place.serial = at->serial;
    place.row = static_cast<u16>(row);
    place.column = static_cast<u8>(column);
    if (!trial->calculated.Append(place)) trial->failed = true;
}

bool CalculateTable(Value& result, const EvalContext& context) {
    Sheet* sheet = SheetAt(context.book, context.sheet);
    const CellRecord* cell = sheet ? GetCell(sheet->cells, context.row, context.column) : nullptr;
    const DataTable* known = cell && cell->formula ? TableOf(*cell->formula) : nullptr;
    if (!known || !known->area.firstRow || !known->area.firstColumn || state.depth >= MAX_NESTED_TABLES) {
        // A part that has lost its table, or waits for too many others, keeps what it shows.
        NoteEvaluation(NOTE_AWAY);
        return true;
    }
    const u16 lost =
        known->flags & TABLE_TWO_INPUTS ? TABLE_INPUT_LOST | TABLE_SECOND_LOST : u16{TABLE_INPUT_LOST};
    if (known->flags & lost) {
        result = ErrorValue(ERR_REF);
        return true;
    }
    if (IsUnderWay(*sheet, known->area)) {
        // Its own results feed its formula: a circle, in which the old value counts.
        if (CurrentWorkbook()) CurrentWorkbook()->circularSeen = 1;
        CopyValue(result, cell->value);
        return true;
    }
    const DataTable table = *known;
    const u32 serial = sheet->serial;
    Array<Part> parts;
    bool abandoned = false;
    const bool good =
        CollectParts(*sheet, *known, context, parts) && RunTrial(table, context, parts, abandoned);
    if (good) {
        result = TakeValue(parts[0].value);
        StoreParts(context, serial, parts.Span());
    } else if (!abandoned) {
        result = ErrorValue(ERR_NA);
    }
    for (Part& part : parts) {
        ClearValue(part.headings[0]);
        ClearValue(part.headings[1]);
        ClearValue(part.value);
    }
    return !abandoned;
}

}  // namespace tally
