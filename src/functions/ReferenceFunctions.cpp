#include <algorithm>

#include "formula/EvaluationNotes.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u16 ID_HYPERLINK = 359;

// Which parts of an address are relative, by its kind from 1.
constexpr u16 addressKinds[] = {0, AREA_FIRST_COLUMN_RELATIVE | AREA_LAST_COLUMN_RELATIVE,
                                AREA_FIRST_ROW_RELATIVE | AREA_LAST_ROW_RELATIVE, AREA_ALL_RELATIVE};

bool IsReference(const Value& value) { return value.type == VT_REF || value.type == VT_AREA; }
i32 AreaCount(const Value& reference) { return reference.type == VT_AREA ? 1 : reference.areas->count; }
const RefArea& AreaOf(const Value& reference, i32 index) {
    return reference.type == VT_AREA ? reference.area : reference.areas->areas[index];
}
i32 RowCount(const RefArea& area) { return area.lastRow - area.firstRow + 1; }
i32 ColumnCount(const RefArea& area) { return area.lastColumn - area.firstColumn + 1; }

// An area on the same sheet as `reference`.
Value ReferenceBeside(const Value& reference, const RefArea& area) {
    if (reference.type == VT_AREA) return AreaValue(area);
    Value beside = RefValue(reference.externIndex, 1);
    if (beside.type == VT_REF) beside.areas->areas[0] = area;
    return beside;
}

// The only area of a reference; false with the error in `result`.
bool OnlyArea(const Value& argument, RefArea& area, Value& result) {
    if (!IsReference(argument) || AreaCount(argument) != 1) {
        result = ErrorValue(argument.type == VT_ERROR ? argument.error : i32{ERR_VALUE});
        return false;
    }
    area = AreaOf(argument, 0);
    return true;
}

// An array within what one evaluation may make; "#N/A" beyond.
Value BoundedArray(u32 rows, u32 columns) {
    return SpendElements(u64{rows} * columns) ? ArrayValue(rows, columns) : ErrorValue(ERR_NA);
}

struct IndexPlace {
    i32 row = 0;     // from 1, 0 is all
    i32 column = 0;  // the same
};

// One number over a single row counts columns. The error of a place that lies outside, or -1.
i32 SettlePlace(IndexPlace& place, bool oneNumber, i32 rows, i32 columns) {
    if (oneNumber && rows == 1) std::swap(place.row, place.column);
    if (place.row < 0 || place.column < 0) return ERR_VALUE;
    return place.row <= rows && place.column <= columns ? -1 : i32{ERR_REF};
}

Value IndexArea(const Value& reference, i32 areaNumber, IndexPlace place, bool oneNumber) {
    if (areaNumber < 1 || areaNumber > AreaCount(reference)) return ErrorValue(ERR_REF);
    RefArea area = AreaOf(reference, areaNumber - 1);
    const i32 error = SettlePlace(place, oneNumber, RowCount(area), ColumnCount(area));
    if (error >= 0) return ErrorValue(error);
    // One number names no cell of a square.
    if (oneNumber && RowCount(area) > 1 && ColumnCount(area) > 1) return ErrorValue(ERR_REF);
    if (place.row) area.firstRow = area.lastRow = static_cast<u16>(area.firstRow + place.row - 1);
    if (place.column) area.firstColumn = area.lastColumn = static_cast<u8>(area.firstColumn + place.column - 1);
    return ReferenceBeside(reference, area);
}

Value IndexArray(const Value& array, i32 areaNumber, IndexPlace place, bool oneNumber) {
    const i32 rows = static_cast<i32>(ArrayRows(array));
    const i32 columns = array.columns;
    const i32 error = SettlePlace(place, oneNumber, rows, columns);
    if (areaNumber != 1 || error >= 0) return ErrorValue(areaNumber != 1 ? i32{ERR_REF} : error);
    const u32 firstRow = place.row ? static_cast<u32>(place.row - 1) : 0;
    const u32 firstColumn = place.column ? static_cast<u32>(place.column - 1) : 0;
    const u32 height = place.row ? 1u : static_cast<u32>(rows);
    const u32 width = place.column ? 1u : static_cast<u32>(columns);
    Value part;
    if (height == 1 && width == 1) {
        CopyValue(part, array.elements[firstRow * array.columns + firstColumn]);
        return part;
    }
    part = BoundedArray(height, width);
    for (u32 i = 0; part.type == VT_ARRAY && i < height * width; ++i) {
        const u32 from = (firstRow + i / width) * array.columns + firstColumn + i % width;
        CopyValue(part.elements[i], array.elements[from]);
    }
    return part;
}

// The numbers of an area's rows or columns from 1: the first, or all of them in an array formula.
void NumberLines(Value* arguments, Value& result, const EvalContext& context, bool rows) {
    const Value& argument = arguments[0];
    if (IsMissing(argument)) {
        NoteEvaluation(NOTE_PLACE);
        result = NumberValue((rows ? context.row : context.column) + 1);
        return;
    }
    RefArea area;
    if (!OnlyArea(argument, area, result)) return;
    const i32 first = (rows ? area.firstRow : area.firstColumn) + 1;
    const u32 count = static_cast<u32>(rows ? RowCount(area) : ColumnCount(area));
    if (!context.arrayMode || count == 1) {
        result = NumberValue(first);
        return;
    }
    result = rows ? BoundedArray(count, 1) : BoundedArray(1, count);
    for (u32 i = 0; result.type == VT_ARRAY && i < count; ++i)
        result.elements[i] = NumberValue(first + static_cast<i32>(i));
}

void CountLines(const Value& argument, Value& result, bool rows) {
    RefArea area;
    if (argument.type == VT_ARRAY) {
        result = NumberValue(rows ? ArrayRows(argument) : argument.columns);
    } else if (argument.type == VT_NUMBER || argument.type == VT_STRING || argument.type == VT_BOOL) {
        result = NumberValue(1);
    } else if (OnlyArea(argument, area, result)) {
        result = NumberValue(rows ? RowCount(area) : ColumnCount(area));
    }
}

// "[Book]Sheet" is quoted when either of the two needs it, as in a formula.
bool SheetTextNeedsQuotes(WideView sheet) {
    const std::size_t close = sheet.find(u']');
    if (sheet.empty() || sheet[0] != u'[' || close == WideView::npos) return NeedsQuotes(sheet);
    return NeedsQuotes(sheet.substr(1, close - 1)) || NeedsQuotes(sheet.substr(close + 1));
}

[[nodiscard]] bool AppendSheetText(WideText& out, WideView sheet) {
    const bool quoted = SheetTextNeedsQuotes(sheet);
    if (quoted && !out.Append(u'\'')) return false;
    for (char16_t c : sheet) {
        if (c == u'\'' && !out.Append(c)) return false;
        if (!out.Append(c)) return false;
    }
    return (!quoted || out.Append(u'\'')) && out.Append(u'!');
}

// Puts the calling cell's link in its sheet's list, so that it is followed as a stored one is. Only for
// the running formula of a cell: names and conditions have no cell of their own.
void MarkLink(const EvalContext& context, WideView link) {
    Sheet* sheet = SheetAt(context.book, context.sheet);
    const CellRecord* cell = sheet ? GetCell(sheet->cells, context.row, context.column) : nullptr;
    if (!cell || cell->calcState != CALC_CALCULATING || !cell->formula) return;
    NoteEvaluation(NOTE_PLACE);
    if (!TokensCall(cell->formula->tokens, ID_HYPERLINK)) return;
    const auto row = static_cast<u16>(context.row);
    const auto column = static_cast<u8>(context.column);
    const RefArea area{row, row, column, column};
    Hyperlink* entry = nullptr;
    for (u32 i = sheet->hyperlinks.Count(); i-- > 0 && !entry;) {
        if (sheet->hyperlinks[i].area == area) entry = &sheet->hyperlinks[i];
    }
    if (!entry) {
        Hyperlink fresh;
        fresh.area = area;
        if (!sheet->hyperlinks.Append(std::move(fresh))) return;
        entry = &sheet->hyperlinks.Last();
    }
    const bool isPlace = !link.empty() && link[0] == u'#';
    entry->target.Clear();
    entry->location.Clear();
    IgnoreFailure(isPlace ? entry->location.Assign(link.substr(1)) : entry->target.Assign(link));
}

}  // namespace

void CallIndex(Value* arguments, Value& result, const EvalContext& context) {
    Value& source = arguments[0];
    IndexPlace place;
    i32 areaNumber = 1;
    if (source.type == VT_ERROR) {
        result = source;
        return;
    }
    const bool oneNumber = IsMissing(arguments[2]);
    if (!OptionalPosition(arguments[1], result, context, 0, place.row) ||
        !OptionalPosition(arguments[2], result, context, 0, place.column) ||
        !OptionalPosition(arguments[3], result, context, 1, areaNumber)) {
        return;
    }
    if (IsReference(source)) {
        result = IndexArea(source, areaNumber, place, oneNumber);
        return;
    }
    CoerceValue(source, VT_ARRAY, context);
    result = source.type == VT_ARRAY ? IndexArray(source, areaNumber, place, oneNumber) : ErrorValue(ERR_VALUE);
}

void CallOffset(Value* arguments, Value& result, const EvalContext& context) {
    RefArea area;
    i32 down = 0, right = 0, height = 0, width = 0;
    TakeDefaults(arguments + 3, 2);
    if (!OnlyArea(arguments[0], area, result) || !PositionArgument(arguments[1], result, context, down) ||
        !PositionArgument(arguments[2], result, context, right) ||
        !OptionalPosition(arguments[3], result, context, RowCount(area), height) ||
        !OptionalPosition(arguments[4], result, context, ColumnCount(area), width)) {
        return;
    }
    const i64 row = i64{area.firstRow} + down;
    const i64 column = i64{area.firstColumn} + right;
    if (row < 0 || column < 0 || height <= 0 || width <= 0 || row + height > MAX_ROWS ||
        column + width > MAX_COLUMNS) {
        result = ErrorValue(ERR_REF);
        return;
    }
    area = {static_cast<u16>(row), static_cast<u16>(row + height - 1), static_cast<u8>(column),
            static_cast<u8>(column + width - 1)};
    result = ReferenceBeside(arguments[0], area);
}

void CallIndirect(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    bool useA1 = true;
    if (!TextArgument(arguments[0], result, context, text) ||
        !OptionalBool(arguments[1], result, context, true, useA1)) {
        return;
    }
    TextToReference(arguments[0], context, useA1);
    result = TakeValue(arguments[0]);
}

void CallAddress(Value* arguments, Value& result, const EvalContext& context) {
    i32 row = 0, column = 0, kind = 0;
    bool useA1 = true;
    WideView sheet;
    TakeDefaults(arguments + 2, 3);
    if (!PositionArgument(arguments[0], result, context, row) ||
        !PositionArgument(arguments[1], result, context, column) ||
        !OptionalPosition(arguments[2], result, context, 1, kind) ||
        !OptionalBool(arguments[3], result, context, true, useA1)) {
        return;
    }
    const bool withSheet = !IsMissing(arguments[4]);
    if (withSheet && !TextArgument(arguments[4], result, context, sheet)) return;
    if (row < 1 || row > MAX_ROWS || column < 1 || column > MAX_COLUMNS || kind < 1 || kind > 8) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const auto line = static_cast<u16>(row - 1);
    const auto place = static_cast<u8>(column - 1);
    const u16 flags = static_cast<u16>(addressKinds[(kind - 1) % 4] | (useA1 ? AREA_USE_A1 : 0));
    WideText text;
    // Relative parts of the R1C1 form show the numbers given: the base is the cell before the first.
    const bool good = (!withSheet || AppendSheetText(text, sheet)) &&
                      AreaToText(context.book, context.sheet, {line, line, place, place}, flags, -1, -1, text);
    result = good ? TextValue(text) : ErrorValue(ERR_NA);
}

// Runs only where the jumps do not stand, as over an array of indexes.
void CallChoose(Value* arguments, Value& result, const EvalContext& context) {
    i32 index = 0;
    if (!PositionArgument(arguments[0], result, context, index)) return;
    i32 given = MAX_ARGUMENTS - 1;
    while (given > 0 && IsMissing(arguments[given])) --given;
    if (index < 1 || index > given) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    result = TakeValue(arguments[index]);
}

void CallRow(Value* arguments, Value& result, const EvalContext& context) {
    NumberLines(arguments, result, context, true);
}
void CallColumn(Value* arguments, Value& result, const EvalContext& context) {
    NumberLines(arguments, result, context, false);
}
void CallRows(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(context);
    CountLines(arguments[0], result, true);
}
void CallColumns(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(context);
    CountLines(arguments[0], result, false);
}

void CallAreas(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(context);
    const Value& argument = arguments[0];
    if (IsReference(argument)) {
        result = NumberValue(AreaCount(argument));
    } else {
        result = ErrorValue(argument.type == VT_ERROR ? argument.error : i32{ERR_VALUE});
    }
}

void CallTranspose(Value* arguments, Value& result, const EvalContext& context) {
    Value& source = arguments[0];
    if (IsReference(source)) CoerceValue(source, VT_ARRAY, context);
    if (source.type != VT_ARRAY) {
        result = TakeValue(source);
        return;
    }
    const u32 rows = ArrayRows(source);
    const u32 columns = source.columns;
    result = BoundedArray(columns, rows);
    for (u32 i = 0; result.type == VT_ARRAY && i < rows * columns; ++i)
        result.elements[(i % columns) * rows + i / columns] = TakeValue(source.elements[i]);
}

void CallHyperlink(Value* arguments, Value& result, const EvalContext& context) {
    WideView link;
    if (!TextArgument(arguments[0], result, context, link)) return;
    MarkLink(context, link);
    result = TakeValue(arguments[IsMissing(arguments[1]) ? 0 : 1]);
}

}  // namespace tally
