#include "formula/Coercion.h"

#include <algorithm>

#include "base/Number.h"
#include "base/Text.h"
#include "display/EntryScanners.h"
#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"
#include "formula/ArrayIndex.h"
#include "formula/ArrayResults.h"
#include "formula/EngineState.h"
#include "formula/EvaluationNotes.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr i32 NUMBER_DIGITS = 15;
constexpr u64 MAX_ARRAY_ELEMENTS = 65536u * 64u;  // 64 MB; a larger area as an array is "#N/A"

constexpr i32 DEEPEST_NESTED = 64;  // runs and calculations inside each other when a stale cell is met
constexpr i32 DEEPEST_MACRO = 512;  // the same under a macro or a data table, which cannot be begun anew

// A new one-element array that takes the value over.
void WrapInArray(Value& value) {
    Value array = ArrayValue(1, 1);
    if (array.type != VT_ARRAY) {
        SetError(value, ERR_NA);
        return;
    }
    array.elements[0] = TakeValue(value);
    value = array;
}

void CoerceEmpty(Value& value, u16 wanted) {
    switch (wanted) {
        case VT_EMPTY: return;
        case VT_NUMBER: value = NumberValue(0); return;
        case VT_STRING: value = OwnedTextValue(RetainText(EmptyText())); return;
        case VT_BOOL: value = BoolValue(false); return;
        default: SetError(value, ERR_VALUE); return;
    }
}

void CoerceNumber(Value& value, u16 wanted) {
    switch (wanted) {
        case VT_EMPTY: value = Value(); return;
        case VT_NUMBER: return;
        case VT_STRING: {
            WideText text;
            value = NumberToText(value.number, NUMBER_DIGITS, text) ? TextValue(text) : ErrorValue(ERR_NA);
            return;
        }
        case VT_BOOL: value = BoolValue(value.number != 0); return;
        case VT_ARRAY: WrapInArray(value); return;
        default: SetError(value, ERR_VALUE); return;
    }
}

void CoerceText(Value& value, u16 wanted, const EvalContext& context) {
    switch (wanted) {
        case VT_EMPTY: ClearValue(value); return;
        case VT_NUMBER: {
            double number = 0;
            const bool good = TextToNumber(TextOf(value), number);
            FreeValue(value);
            value = good ? NumberValue(number) : ErrorValue(ERR_VALUE);
            return;
        }
        case VT_STRING: return;
        case VT_BOOL: {
            const bool yes = EqualIgnoringCase(TextOf(value), BoolText(true));
            const bool no = EqualIgnoringCase(TextOf(value), BoolText(false));
            FreeValue(value);
            value = yes || no ? BoolValue(yes) : ErrorValue(ERR_VALUE);
            return;
        }
        case VT_REF: TextToReference(value, context, true); return;
        case VT_ERROR: {
            const i32 error = ErrorFromText(TextOf(value));
            SetError(value, error < 0 ? i32{ERR_VALUE} : error);
            return;
        }
        case VT_ARRAY: WrapInArray(value); return;
        case VT_AREA: SetError(value, ERR_REF); return;
        default: SetError(value, ERR_VALUE); return;
    }
}

void CoerceBool(Value& value, u16 wanted) {
    switch (wanted) {
        case VT_EMPTY: value = Value(); return;
        case VT_NUMBER: value = NumberValue(value.boolean ? 1 : 0); return;
        case VT_STRING: value = TextValue(BoolText(value.boolean != 0)); return;
        case VT_BOOL: return;
        case VT_ARRAY: WrapInArray(value); return;
        default: SetError(value, ERR_VALUE); return;
    }
}

void CoerceError(Value& value, u16 wanted) {
    switch (wanted) {
        case VT_EMPTY: value = Value(); return;
        case VT_NUMBER:
        case VT_ERROR: return;
        case VT_STRING: value = TextValue(ErrorText(value.error)); return;
        case VT_ARRAY: WrapInArray(value); return;
        default: SetError(value, ERR_VALUE); return;
    }
}

bool IsScalarType(u16 wanted) {
    return wanted == VT_NUMBER || wanted == VT_STRING || wanted == VT_BOOL || wanted == VT_ERROR;
}

// Fills an array with the cells of an area, stale ones calculated on the way.
void GatherArea(const SheetArea& from, Value& array) {
    const RefArea& area = from.area;
    const u32 columns = static_cast<u32>(area.lastColumn - area.firstColumn) + 1;
    Sheet* sheet = SheetAt(from.book, from.sheet);
    if (!sheet || !sheet->cells.count) return;
    CellPosition position;
    for (position.slot = FindRowSlot(sheet->cells, area.firstRow); position.slot < sheet->cells.rows.Count();
         ++position.slot) {
        const i32 row = RowAt(sheet->cells, position);
        if (row > area.lastRow || !ReadCells(columns)) return;
        Value* const elements = array.elements + static_cast<u32>(row - area.firstRow) * columns;
        position.index = FindInRow(sheet->cells.rows[position.slot], area.firstColumn);
        for (; position.index < sheet->cells.rows[position.slot].count; ++position.index) {
            const i32 column = CellAt(sheet->cells, position).column;
            if (column > area.lastColumn) break;
            if (CellAt(sheet->cells, position).calcState < CALC_CURRENT) {
                BringUpToDate(from.book, from.sheet, row, column);
                sheet = SheetAt(from.book, from.sheet);
                if (!sheet) return;
                // The calculation may have moved what stood there: on from its place, in this row or the next.
                if (!FindCell(sheet->cells, row, column, position)) {
                    if (AtEnd(sheet->cells, position)) return;
                    const bool sameRow = RowAt(sheet->cells, position) == row;
                    --(sameRow ? position.index : position.slot);
                    if (sameRow) continue;
                    break;
                }
            }
            CopyValue(elements[column - area.firstColumn], CellAt(sheet->cells, position).value);
        }
    }
}

void CoerceReferenceToArray(Value& value, const EvalContext& context) {
    SheetArea from;
    i32 error = ERR_REF;
    if (!ResolveSingleArea(value, context, from, error)) {
        SetError(value, error);
        return;
    }
    const u32 rows = static_cast<u32>(from.area.lastRow - from.area.firstRow) + 1;
    const u32 columns = static_cast<u32>(from.area.lastColumn - from.area.firstColumn) + 1;
    const bool fits = SpendElements(u64{rows} * columns) && u64{rows} * columns <= MAX_ARRAY_ELEMENTS;
    Value array = fits ? ArrayValue(rows, columns) : ErrorValue(ERR_NA);
    FreeValue(value);
    value = array;
    if (value.type == VT_ARRAY) GatherArea(from, value);
}

void CoerceReference(Value& value, u16 wanted, const EvalContext& context) {
    if (wanted == VT_EMPTY) return ClearValue(value);
    if (wanted == value.type) return;
    if (wanted == VT_ARRAY) return CoerceReferenceToArray(value, context);
    if (IsScalarType(wanted)) {
        if (value.type == VT_REF && value.areas->count != 1) return SetError(value, ERR_VALUE);
        EvalContext scalar = context;
        scalar.arrayMode = 0;
        DerefValue(value, scalar);
        return CoerceValue(value, wanted, scalar);
    }
    if (value.type == VT_REF && wanted == VT_AREA) {
        if (value.areas->count != 1) return SetError(value, ERR_VALUE);
        const RefArea area = value.areas->areas[0];
        FreeValue(value);
        value = AreaValue(area);
        return;
    }
    if (value.type == VT_AREA && wanted == VT_REF) {
        i32 externIndex = 0;
        const RefArea area = value.area;
        if (!AddExternRef({context.book, context.book, context.sheet, context.sheet}, externIndex))
            return SetError(value, ERR_NA);
        value = RefValue(externIndex, 1);
        if (value.type == VT_REF) value.areas->areas[0] = area;
        return;
    }
    SetError(value, ERR_VALUE);
}

}  // namespace

void CoerceValue(Value& value, u16 wanted, const EvalContext& context) {
    switch (value.type) {
        case VT_EMPTY: return CoerceEmpty(value, wanted);
        case VT_NUMBER: return CoerceNumber(value, wanted);
        case VT_STRING: return CoerceText(value, wanted, context);
        case VT_BOOL: return CoerceBool(value, wanted);
        case VT_ERROR: return CoerceError(value, wanted);
        case VT_REF:
        case VT_AREA: return CoerceReference(value, wanted, context);
        case VT_ARRAY:
            if (wanted == VT_ARRAY) return;
            if (wanted == VT_EMPTY) return ClearValue(value);
            if (!IsScalarType(wanted)) return SetError(value, ERR_VALUE);
            ArrayValueToScalar(value, context);
            return CoerceValue(value, wanted, context);
        default:
            if (wanted == VT_CONTROL) return;
            if (wanted == VT_EMPTY) return ClearValue(value);
            return SetError(value, ERR_VALUE);
    }
}

bool ResolveSingleArea(const Value& reference, const EvalContext& context, SheetArea& out, i32& error) {
    if (reference.type == VT_AREA) {
        out = {context.book, context.sheet, reference.area};
        return SheetAt(context.book, context.sheet) != nullptr;
    }
    error = ERR_VALUE;
    if (reference.type != VT_REF || reference.areas->count != 1) return false;
    error = ERR_REF;
    const RefArea area = reference.areas->areas[0];
    ResolvedRef ref;
    ref.book = context.book;
    if (!ResolveExternRef(reference.externIndex, ref) || ref.firstSheet != ref.lastSheet) return false;
    out = {ref.targetBook, ref.firstSheet, area};
    return SheetAt(ref.targetBook, ref.firstSheet) != nullptr;
}

void DerefValue(Value& value, const EvalContext& context) {
    if (context.arrayMode) return CoerceValue(value, VT_ARRAY, context);
    SheetArea from;
    i32 error = ERR_REF;
    if (!ResolveSingleArea(value, context, from, error)) return SetError(value, error);
    const RefArea area = from.area;
    i32 row = area.firstRow;
    i32 column = area.firstColumn;
    if (!IsOneCell(area)) NoteEvaluation(NOTE_PLACE);
    if (area.firstRow == area.lastRow) {
        if (area.firstColumn != area.lastColumn) column = context.column;
    } else if (area.firstColumn == area.lastColumn) {
        row = context.row;
    } else {
        return SetError(value, ERR_VALUE);
    }
    if (!AreaHolds(area, row, column)) return SetError(value, ERR_VALUE);
    FreeValue(value);
    value = Value();
    GetCellValue(from.book, from.sheet, row, column, value);
}

void ArrayValueToScalar(Value& value, const EvalContext& context) {
    if (value.type != VT_ARRAY) return;
    if (!value.elements || !value.columns) return SetError(value, ERR_NA);
    const Sheet* sheet = SheetAt(context.book, context.sheet);
    const ArrayEntry* entry = sheet ? ArrayOfCell(*sheet, context.row, context.column) : nullptr;
    if (entry && ArrayElementCount(value) > 1) NoteEvaluation(NOTE_PLACE);
    Value element;
    if (entry) {
        CopyArrayElement(value, entry->area, context.row, context.column, element);
    } else {
        element = TakeValue(value.elements[0]);
    }
    FreeValue(value);
    value = element;
}

void ReduceToScalar(Value& value, const EvalContext& context) {
    if (value.type == VT_REF || value.type == VT_AREA) DerefValue(value, context);
    if (value.type == VT_ARRAY) ArrayValueToScalar(value, context);
}

namespace {

const CellRecord* CellOf(const CellPlace& place) {
    const Sheet* sheet = SheetAt(place.book, place.sheet);
    return sheet ? GetCell(const_cast<Sheet*>(sheet)->cells, place.row, place.column) : nullptr;
}

// A stale cell that an evaluation has come upon, or that somebody wants to see. Only few are calculated inside
// each other: from deeper down the cell is noted and the evaluation stopped, so that the outermost calculation
// does it as a frame of its own and begins the evaluation anew. What a bound or the user has stopped is not
// begun again by itself, and nobody gets a value from it.
void CalculateWanted(const CellPlace& place) {
    EvaluationState& e = Engine().evaluation;
    if (e.stop != STOP_NONE || (Engine().suspended && !e.calculations)) return;
    if (e.depth >= (e.solid ? DEEPEST_MACRO : DEEPEST_NESTED)) {
        e.wanted = place;
        return StopEvaluation(e.solid ? STOP_BOUND : STOP_WANTS_CELL);
    }
    CalculateCell(place.book, place.sheet, place.row, place.column);
    // It was stopped itself, now or before: who reads it cannot be worked out either.
    const CellRecord* cell = CellOf(place);
    if (cell && cell->formula && cell->formula->stopped) StopEvaluation(STOP_BOUND);
}

}  // namespace

void BringUpToDate(i32 book, i32 sheet, i32 row, i32 column) {
    const Sheet* target = SheetAt(book, sheet);
    const CellRecord* cell = target ? GetCell(target->cells, row, column) : nullptr;
    if (!cell) return;
    if (cell->calcState == CALC_CALCULATING) {
        // The old value that is read depends on where the circle was entered.
        NoteEvaluation(NOTE_PLACE);
        if (CurrentWorkbook()) CurrentWorkbook()->circularSeen = 1;
    } else if (cell->calcState == CALC_STALE && cell->formula) {
        CalculateWanted({book, sheet, row, column});
    }
}

void GetCellValue(i32 book, i32 sheet, i32 row, i32 column, Value& target) {
    target = Value();
    Sheet* from = SheetAt(book, sheet);
    const CellRecord* cell = from ? GetCell(from->cells, row, column) : nullptr;
    if (!cell) return;
    if (cell->calcState < CALC_CURRENT) {
        BringUpToDate(book, sheet, row, column);
        from = SheetAt(book, sheet);
        cell = from ? GetCell(from->cells, row, column) : nullptr;
        if (!cell) return;
    }
    CopyValue(target, cell->value);
}

bool NumberToText(double number, i32 precision, WideText& out) { return FormatGeneral(number, precision, out); }

namespace {

bool Percent(WideView text, double& number) {
    const std::size_t last = text.find_last_not_of(u' ');
    i32 digits = 0;
    if (last == WideView::npos || last == 0 || text[last] != u'%') return false;
    if (!ParseNumber(text, 0, last, number, true) && !ParseMixedFraction(text, 0, last, number, digits))
        return false;
    number *= 0.01;
    return true;
}

// A plain number, a percent, a mixed fraction, a percent of one.
bool PlainNumber(WideView text, double& number) {
    i32 digits = 0;
    if (ParseNumber(text, 0, text.size(), number, true)) return true;
    if (Percent(text, number)) return true;
    return ParseMixedFraction(text, 0, text.size(), number, digits);
}

bool CurrencyOrDate(WideView text, bool date1904, double& number) {
    for (i32 truth = 0; truth < 2; ++truth) {
        if (EqualIgnoringCase(text, BoolText(truth != 0))) return false;
    }
    if (ErrorFromText(text) >= 0) return false;
    const WideView symbol = Locale().currencySymbol;
    const std::size_t first = text.find_first_not_of(u' ');
    const std::size_t last = text.find_last_not_of(u' ');
    if (!symbol.empty() && StartsWithIgnoringCase(text.substr(first), symbol))
        return ParseNumber(text, first + symbol.size(), text.size(), number, true);
    if (text[first] == u'(' && text[last] == u')') {
        if (!ParseNumber(text, first + 1, last, number, true)) return false;
        number = -number;
        return true;
    }
    i32 id = 0;
    return ParseDateEntry(text, date1904, number, id);
}

}  // namespace

bool TextToNumber(WideView text, double& number) {
    if (text.empty() || text[0] == u'=') return false;
    const Workbook* book = CurrentWorkbook();
    const bool date1904 = book && book->date1904;
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == WideView::npos) return false;
    const char16_t c = text[first];
    if (c == u'+' || c == u'-') return PlainNumber(text, number);
    if (!IsAsciiDigit(c) && c != Locale().decimalSeparator) return CurrencyOrDate(text, date1904, number);
    i32 id = 0;
    return PlainNumber(text, number) || ParseDateEntry(text, date1904, number, id) ||
           ParseTimeEntry(text, number, id);
}

}  // namespace tally
