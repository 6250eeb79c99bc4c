#include <algorithm>

#include "base/Text.h"
#include "formula/Evaluator.h"
#include "formula/Links.h"
#include "functions/Arguments.h"
#include "functions/Criteria.h"
#include "functions/CurrentRows.h"
#include "functions/Handlers.h"
#include "functions/LookupIndex.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

// The lookups read a table where it lies: an array's elements, or the cells of an area. Those that take the
// largest element below look for it by halves among cells; all others find what a scan in order finds.

namespace tally {
namespace {

struct Table {
    const Value* array = nullptr;  // null: the cells of `from`
    SheetArea from;
    i32 rows = 0;
    i32 columns = 0;
};

// One row or column of a table, by its number.
struct Line {
    const Table& table;
    bool vertical;
    i32 fixed;
    i32 Length() const { return vertical ? table.rows : table.columns; }
};

// Calls visit(row number, cell) for the stored cells of a column within an area's rows.
template <typename Visit>
void WalkColumn(const CellStore& store, const RefArea& area, i32 column, bool backwards, Visit visit) {
    const u32 begin = FindRowSlot(store, area.firstRow);
    const u32 end = area.lastRow == MAX_ROWS - 1 ? store.rows.Count() : FindRowSlot(store, area.lastRow + 1);
    for (u32 i = begin; i < end; ++i) {
        const CellRow& row = store.rows[backwards ? begin + (end - 1 - i) : i];
        const u32 index = FindInRow(row, column);
        if (index >= row.count || row.cells[index].column != column) continue;
        if (!visit(row.row, row.cells[index])) return;
    }
}

bool Pass(const VisitedValue&, void*) { return true; }

// Brings an area's cells up to date.
void CalculateTable(const Value& argument, const EvalContext& context, const SheetArea& from) {
    const Sheet* sheet = SheetAt(from.book, from.sheet);
    if (!sheet || IsCurrent(*sheet, from.area)) return;
    i32 error = -1;
    IgnoreFailure(VisitValues(argument, context, Pass, nullptr, error));
}

i32 ReferenceFault(const Value& argument, const EvalContext& context) {
    if (argument.areas->count != 1) return ERR_NA;
    ResolvedRef ref;
    ref.book = context.book;
    if (!ResolveExternRef(argument.externIndex, ref) || ref.firstSheet < 0) return ERR_REF;
    return ref.firstSheet == ref.lastSheet ? ERR_REF : ERR_VALUE;
}

// False with the error in `result`.
bool OpenTable(const Value& argument, const EvalContext& context, Table& table, Value& result) {
    if (argument.type == VT_ARRAY) {
        table.array = &argument;
        table.rows = static_cast<i32>(ArrayRows(argument));
        table.columns = argument.columns;
        return true;
    }
    if (argument.type == VT_ERROR) {
        result = argument;
        return false;
    }
    i32 error = ERR_REF;
    const bool isReference = argument.type == VT_REF || argument.type == VT_AREA;
    if (!isReference || !ResolveSingleArea(argument, context, table.from, error)) {
        result = ErrorValue(argument.type == VT_REF ? ReferenceFault(argument, context)
                            : isReference           ? i32{ERR_REF}
                                                    : i32{ERR_NA});
        return false;
    }
    table.rows = table.from.area.lastRow - table.from.area.firstRow + 1;
    table.columns = table.from.area.lastColumn - table.from.area.firstColumn + 1;
    CalculateTable(argument, context, table.from);
    return true;
}

void CopyElement(const Table& table, i32 row, i32 column, Value& result) {
    if (table.array) {
        const u32 index = static_cast<u32>(row) * static_cast<u32>(table.columns) + static_cast<u32>(column);
        return CopyValue(result, table.array->elements[index]);
    }
    const RefArea& area = table.from.area;
    GetCellValue(table.from.book, table.from.sheet, area.firstRow + row, area.firstColumn + column, result);
}

template <typename Visit>
void WalkElements(const Line& line, bool backwards, Visit& visit) {
    const Table& table = line.table;
    const i32 length = line.Length();
    for (i32 i = 0; i < length; ++i) {
        const i32 at = backwards ? length - 1 - i : i;
        const i32 index = line.vertical ? at * table.columns + line.fixed : line.fixed * table.columns + at;
        if (!visit(at, table.array->elements[index])) return;
    }
}

template <typename Visit>
void WalkRow(const CellStore& store, const RefArea& area, i32 rowNumber, bool backwards, Visit& visit) {
    const u32 slot = FindRowSlot(store, rowNumber);
    if (slot >= store.rows.Count() || store.rows[slot].row != rowNumber) return;
    const CellRow& row = store.rows[slot];
    const u32 begin = FindInRow(row, area.firstColumn);
    const u32 end = area.lastColumn == MAX_COLUMNS - 1 ? row.count : FindInRow(row, area.lastColumn + 1);
    for (u32 i = begin; i < end; ++i) {
        const CellRecord& cell = row.cells[backwards ? begin + (end - 1 - i) : i];
        if (!visit(cell.column - area.firstColumn, cell.value)) return;
    }
}

// Calls visit(index from 0, element) along a line; what is empty may be left out. A visit that returns
// false ends the walk.
template <typename Visit>
void WalkLine(const Line& line, bool backwards, Visit visit) {
    if (line.table.array) return WalkElements(line, backwards, visit);
    const SheetArea& from = line.table.from;
    const Sheet* sheet = SheetAt(from.book, from.sheet);
    if (!sheet) return;
    if (line.vertical) {
        return WalkColumn(
            sheet->cells, from.area, from.area.firstColumn + line.fixed, backwards,
            [&](i32 row, const CellRecord& cell) { return visit(row - from.area.firstRow, cell.value); });
    }
    WalkRow(sheet->cells, from.area, from.area.firstRow + line.fixed, backwards, visit);
}

// Below zero when the first value is less; both of one type.
int Order(const Value& a, const Value& b) {
    if (a.type == VT_NUMBER) return a.number < b.number ? -1 : a.number > b.number;
    if (a.type == VT_BOOL) return a.boolean - b.boolean;
    return a.type == VT_STRING ? CompareIgnoringCase(TextOf(a), TextOf(b)) : 0;
}

bool MatchesExactly(const Value& value, const Value& element) {
    switch (value.type) {
        case VT_NUMBER: return Near(value.number, element.number);
        case VT_STRING: return WildcardMatch(TextOf(value), TextOf(element), false);
        default: return value.type == VT_BOOL && value.boolean == element.boolean;
    }
}

bool MatchesFromAbove(const Value& value, const Value& element) {
    if (value.type == VT_BOOL) return value.boolean == element.boolean;
    return (value.type == VT_NUMBER || value.type == VT_STRING) && Order(value, element) >= 0;
}

constexpr i32 NOT_FOUND = -1;

// From the orders that are kept of a column, which find what a walk over its cells would. False when the walk
// must be made.
bool FindKept(const Line& line, const Value& value, LookupRule rule, i32& found) {
    if (line.table.array || !line.vertical) return false;
    if (rule == FIRST_EQUAL && value.type == VT_STRING && TextOf(value).find_first_of(u"*?~") != WideView::npos)
        return false;
    const SheetArea& from = line.table.from;
    Sheet* sheet = SheetAt(from.book, from.sheet);
    // Cells that still wait are in a circle: what they hold changes under the lookup.
    if (!sheet || !IsCurrent(*sheet, from.area)) return false;
    const LookupColumn column = {sheet, from.area.firstColumn + line.fixed, from.area.firstRow,
                                 from.area.lastRow};
    if (!FindInColumn(column, value, rule, found)) return false;
    found = found == LOOKUP_NONE ? NOT_FOUND : found - from.area.firstRow;
    return true;
}

// The first cell of a line at or behind `at` and up to `last` that holds a value of a type; `at` becomes its
// place. Null when there is none.
const Value* NextOfType(const Line& line, const CellStore& store, u16 type, i32 last, i32& at) {
    const RefArea& area = line.table.from.area;
    if (line.vertical) {
        const i32 column = area.firstColumn + line.fixed;
        for (u32 slot = FindRowSlot(store, area.firstRow + at); slot < store.rows.Count(); ++slot) {
            const CellRow& row = store.rows[slot];
            if (row.row - area.firstRow > last) return nullptr;
            const u32 index = FindInRow(row, column);
            if (index >= row.count || row.cells[index].column != column || row.cells[index].value.type != type)
                continue;
            at = row.row - area.firstRow;
            return &row.cells[index].value;
        }
        return nullptr;
    }
    const u32 slot = FindRowSlot(store, area.firstRow + line.fixed);
    if (slot >= store.rows.Count() || store.rows[slot].row != area.firstRow + line.fixed) return nullptr;
    const CellRow& row = store.rows[slot];
    for (u32 i = FindInRow(row, area.firstColumn + at); i < row.count; ++i) {
        if (row.cells[i].column - area.firstColumn > last) return nullptr;
        if (row.cells[i].value.type != type) continue;
        at = row.cells[i].column - area.firstColumn;
        return &row.cells[i].value;
    }
    return nullptr;
}

i32 LastUsedPlace(const Line& line, const CellStore& store) {
    const i32 last = line.Length() - 1;
    if (!line.vertical) return last;
    if (store.rows.IsEmpty()) return -1;
    return std::min(last, store.rows.Last().row - line.table.from.area.firstRow);
}

// The last of the equal elements that lie together from `at` on.
i32 LastEqual(const Line& line, const CellStore& store, const Value& value, i32 last, i32 at) {
    i32 low = at, high = last;
    while (low < high) {
        const i32 middle = low + (high - low + 1) / 2;
        i32 next = middle;
        const Value* const element = NextOfType(line, store, value.type, high, next);
        if (element && Order(value, *element) == 0) {
            low = next;
        } else {
            high = middle - 1;
        }
    }
    return low;
}

// The place of the largest element that the value reaches, found by halves as in an ascending line: in one
// that is not sorted it depends on the elements that are met on the way. Cells of other types are passed over.
i32 FindByHalves(const Line& line, const Value& value) {
    const Sheet* const sheet = SheetAt(line.table.from.book, line.table.from.sheet);
    if (!sheet || value.type == VT_EMPTY) return NOT_FOUND;
    i32 found = NOT_FOUND;
    i32 low = 0;
    const i32 last = LastUsedPlace(line, sheet->cells);
    for (i32 high = last; low <= high;) {
        const i32 middle = low + (high - low) / 2;
        i32 at = middle;
        const Value* const element = NextOfType(line, sheet->cells, value.type, high, at);
        const int order = element ? Order(value, *element) : -1;
        if (order == 0) return LastEqual(line, sheet->cells, value, high, at);
        if (order > 0) {
            found = at;
            low = at + 1;
        } else {
            high = middle - 1;
        }
    }
    return found;
}

// Over an array, and for booleans, the place is that of the lowest element that the value reaches, looking from
// the end.
bool GoesByHalves(const Line& line, const Value& value) { return !line.table.array && value.type != VT_BOOL; }

// The place of the element that the value reaches, or the first equal one.
i32 FindInLine(const Line& line, const Value& value, bool approximate) {
    i32 found = NOT_FOUND;
    if (approximate && GoesByHalves(line, value)) return FindByHalves(line, value);
    if (!approximate && FindKept(line, value, FIRST_EQUAL, found)) return found;
    WalkLine(line, approximate, [&](i32 at, const Value& element) {
        if (element.type != value.type) return true;
        if (!(approximate ? MatchesFromAbove(value, element) : MatchesExactly(value, element))) return true;
        found = at;
        return false;
    });
    return found;
}

// The value that is looked for, as a scalar.
bool LookupValue(Value& argument, Value& result, const EvalContext& context) {
    if (argument.type == VT_REF || argument.type == VT_AREA) DerefValue(argument, context);
    if (argument.type == VT_ARRAY) ArrayValueToScalar(argument, context);
    if (argument.type != VT_ERROR) return true;
    result = argument;
    return false;
}

void LookUp(Value* arguments, Value& result, const EvalContext& context, bool vertical) {
    Table table;
    i32 position = 0;
    bool approximate = true;
    if (!LookupValue(arguments[0], result, context) || !OpenTable(arguments[1], context, table, result) ||
        !PositionArgument(arguments[2], result, context, position)) {
        return;
    }
    if (position < 1 || position > (vertical ? table.columns : table.rows)) {
        result = ErrorValue(position < 1 ? ERR_VALUE : ERR_REF);
        return;
    }
    if (!OptionalBool(arguments[3], result, context, true, approximate)) return;
    const i32 found = FindInLine({table, vertical, 0}, arguments[0], approximate);
    if (found == NOT_FOUND) {
        result = ErrorValue(ERR_NA);
    } else if (vertical) {
        CopyElement(table, found, position - 1, result);
    } else {
        CopyElement(table, position - 1, found, result);
    }
}

i32 MatchInLine(const Line& line, const Value& value, i32 kind) {
    i32 best = NOT_FOUND;
    if (kind > 0 && GoesByHalves(line, value)) return FindByHalves(line, value);
    if (kind <= 0 && FindKept(line, value, kind == 0 ? FIRST_EQUAL : WALK_DOWN, best)) return best;
    WalkLine(line, false, [&](i32 at, const Value& element) {
        if (element.type != value.type) return true;
        if (kind == 0) {
            if (MatchesExactly(value, element)) best = at;
            return best == NOT_FOUND;
        }
        const int order = Order(value, element);
        if (value.type == VT_NUMBER ? Near(value.number, element.number) : order == 0) {
            best = at;
            return false;
        }
        if (kind > 0 ? order <= 0 : order >= 0) return false;
        best = at;
        return true;
    });
    return best;
}

bool OneLine(const Table& table) { return table.rows == 1 || table.columns == 1; }

}  // namespace

void CallVlookup(Value* arguments, Value& result, const EvalContext& context) {
    LookUp(arguments, result, context, true);
}
void CallHlookup(Value* arguments, Value& result, const EvalContext& context) {
    LookUp(arguments, result, context, false);
}

void CallMatch(Value* arguments, Value& result, const EvalContext& context) {
    Table table;
    i32 kind = 1;
    if (!LookupValue(arguments[0], result, context) || !OpenTable(arguments[1], context, table, result) ||
        !OptionalPosition(arguments[2], result, context, 1, kind)) {
        return;
    }
    const bool vertical = table.columns == 1;
    const i32 found = OneLine(table) ? MatchInLine({table, vertical, 0}, arguments[0], kind) : NOT_FOUND;
    result = found == NOT_FOUND ? ErrorValue(ERR_NA) : NumberValue(found + 1);
}

void CallLookup(Value* arguments, Value& result, const EvalContext& context) {
    Table table, results;
    if (!LookupValue(arguments[0], result, context) || !OpenTable(arguments[1], context, table, result)) return;
    const bool hasResults = !IsMissing(arguments[2]);
    if (hasResults && !OpenTable(arguments[2], context, results, result)) return;
    const bool vertical = table.rows >= table.columns;
    const i32 found = FindInLine({table, vertical, 0}, arguments[0], true);
    if (found == NOT_FOUND || (hasResults && !OneLine(results))) {
        result = ErrorValue(ERR_NA);
        return;
    }
    const Table& from = hasResults ? results : table;
    const bool alongColumn = hasResults ? from.columns == 1 : vertical;
    if (found >= (alongColumn ? from.rows : from.columns)) {
        result = ErrorValue(ERR_REF);
    } else if (alongColumn) {
        CopyElement(from, found, from.columns - 1, result);
    } else {
        CopyElement(from, from.rows - 1, found, result);
    }
}

}  // namespace tally
