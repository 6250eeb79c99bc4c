#include <algorithm>

#include "base/Text.h"
#include "formula/Links.h"
#include "functions/Arguments.h"
#include "functions/Criteria.h"
#include "functions/Handlers.h"
#include "functions/RunningMoments.h"
#include "model/BookTable.h"

// Functions over the records of a database: an area whose first row names its fields. A second area has
// field names in its first row and, below, rows of criteria: all of a row must hold, of one of the rows.

namespace tally {
namespace {

struct Condition {
    i32 row;     // of the criteria
    i32 column;  // of the database's field, on the sheet
    Value criteria;
    Criteria taken;
};

struct Database {
    SheetArea records;
    SheetArea criteria;
    i32 field = 0;  // counted from 1; 0 when there is none
    bool allMatch = false;
    Array<Value> names;                   // of the fields, as texts where they have one
    Array<Condition> conditions;          // ascending by row
    i32 fieldOfColumn[MAX_COLUMNS] = {};  // per column of the criteria: the field tested, or 0
    bool outOfMemory = false;

    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() {
        for (Value& name : names) FreeValue(name);
        for (Condition& condition : conditions) FreeValue(condition.criteria);
    }
};

bool Fail(Value& result, i32 error) {
    result = ErrorValue(error);
    return false;
}

// An area of more than one row on one sheet with cells.
bool ReadArea(const Value& argument, Value& result, const EvalContext& context, SheetArea& out) {
    if (argument.type == VT_ERROR) return Fail(result, argument.error);
    if (argument.type != VT_AREA && argument.type != VT_REF) return Fail(result, ERR_VALUE);
    i32 error = ERR_REF;
    if (!ResolveSingleArea(argument, context, out, error)) {
        ResolvedRef ref;
        ref.book = context.book;
        const bool severalSheets = argument.type == VT_REF && ResolveExternRef(argument.externIndex, ref) &&
                                   ref.firstSheet >= 0 && ref.firstSheet != ref.lastSheet;
        return Fail(result, severalSheets ? i32{ERR_VALUE} : error);
    }
    const Sheet* sheet = SheetAt(out.book, out.sheet);
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return Fail(result, ERR_REF);
    return true;
}

bool ReadNames(Database& database, const EvalContext& context) {
    const SheetArea& from = database.records;
    for (i32 column = from.area.firstColumn; column <= from.area.lastColumn; ++column) {
        Value name;
        GetCellValue(from.book, from.sheet, from.area.firstRow, column, name);
        if (name.type != VT_STRING && name.type != VT_EMPTY) CoerceValue(name, VT_STRING, context);
        if (database.names.Append(name)) continue;
        FreeValue(name);
        return false;
    }
    return true;
}

// Counted from 1; 0 when no field has that name.
i32 FindField(const Database& database, WideView name) {
    for (u32 i = 0; i < database.names.Count(); ++i) {
        const Value& field = database.names[i];
        if (field.type == VT_STRING && EqualIgnoringCase(TextOf(field), name)) return static_cast<i32>(i) + 1;
    }
    return 0;
}

bool ReadField(Database& database, Value& argument, Value& result, const EvalContext& context) {
    EvalContext scalar = context;
    scalar.arrayMode = 0;
    ReduceToScalar(argument, scalar);
    const double fields = database.names.Count();
    switch (argument.type) {
        case VT_NUMBER:
            // Out of range it is no field, whatever its size.
            database.field =
                argument.number >= 1 && argument.number < fields + 1 ? static_cast<i32>(argument.number) : 0;
            break;
        case VT_STRING: database.field = FindField(database, TextOf(argument)); break;
        case VT_BOOL: database.field = argument.boolean ? 1 : 0; break;
        default: break;
    }
    return database.field ? true : Fail(result, ERR_VALUE);
}

// False when a label is an error.
bool ReadLabels(Database& database, const EvalContext& context) {
    const SheetArea& from = database.criteria;
    for (i32 column = from.area.firstColumn; column <= from.area.lastColumn; ++column) {
        Value label;
        GetCellValue(from.book, from.sheet, from.area.firstRow, column, label);
        if (label.type == VT_ERROR) return false;
        if (label.type != VT_EMPTY) CoerceValue(label, VT_STRING, context);
        if (label.type == VT_STRING) database.fieldOfColumn[column] = FindField(database, TextOf(label));
        FreeValue(label);
    }
    return true;
}

bool AddCondition(const VisitedValue& visited, void* state) {
    Database& database = *static_cast<Database*>(state);
    const i32 field = database.fieldOfColumn[visited.column];
    if (visited.row == database.criteria.area.firstRow || !field || visited.value->type == VT_EMPTY)
        return true;
    Condition condition{visited.row, database.records.area.firstColumn + field - 1, Value(), {}};
    CopyValue(condition.criteria, *visited.value);
    condition.taken = TakeDatabaseCriteria(condition.criteria);
    if (database.conditions.Append(condition)) return true;
    FreeValue(condition.criteria);
    database.outOfMemory = true;
    return false;
}

// A row of criteria without a condition matches everything.
bool HasRowWithoutCondition(const Database& database) {
    i32 rows = 0, last = -1;
    for (const Condition& condition : database.conditions) {
        rows += condition.row != last;
        last = condition.row;
    }
    return rows < database.criteria.area.lastRow - database.criteria.area.firstRow;
}

bool PrepareDatabase(Value* arguments, Value& result, const EvalContext& context, bool fieldOptional,
                     Database& database) {
    if (!ReadArea(arguments[0], result, context, database.records)) return false;
    if (!ReadArea(arguments[2], result, context, database.criteria)) return false;
    for (const SheetArea* from : {&database.records, &database.criteria}) {
        if (from->area.firstRow == from->area.lastRow) return Fail(result, ERR_VALUE);
    }
    if (!ReadNames(database, context)) return Fail(result, ERR_NA);
    const bool noField = fieldOptional && arguments[1].type == VT_EMPTY;
    if (!noField && !ReadField(database, arguments[1], result, context)) return false;
    if (!ReadLabels(database, context)) return Fail(result, ERR_VALUE);
    i32 error = -1;
    IgnoreFailure(VisitValues(arguments[2], context, AddCondition, &database, error));
    if (error >= 0) return Fail(result, error);
    if (database.outOfMemory) return Fail(result, ERR_NA);
    database.allMatch = HasRowWithoutCondition(database);
    return true;
}

bool RowMatches(const Database& database, i32 row) {
    if (database.allMatch) return true;
    const SheetArea& from = database.records;
    bool passes = false;
    i32 last = -1;
    for (const Condition& condition : database.conditions) {
        if (condition.row != last) {
            if (passes) return true;
            passes = true;
            last = condition.row;
        }
        if (!passes) continue;
        Value cell;
        GetCellValue(from.book, from.sheet, row, condition.column, cell);
        passes = Matches(condition.taken, cell);
        FreeValue(cell);
    }
    return passes;
}

// Calls visit(Value& cell of the field) for the records that match; false ends the walk.
template <typename Visit>
void WalkRecords(const Database& database, Visit visit) {
    const SheetArea& from = database.records;
    for (i32 row = from.area.firstRow + 1; row <= from.area.lastRow; ++row) {
        if (!RowMatches(database, row)) continue;
        Value cell;
        if (database.field)
            GetCellValue(from.book, from.sheet, row, from.area.firstColumn + database.field - 1, cell);
        const bool more = visit(cell);
        FreeValue(cell);
        if (!more) return;
    }
}

// Calls finish(numbers of the field) for the result; an error in the field is the result.
template <typename Finish>
void OverNumbers(Value* arguments, Value& result, const EvalContext& context, Finish finish) {
    Database database;
    if (!PrepareDatabase(arguments, result, context, false, database)) return;
    Array<double> numbers;
    i32 error = -1;
    WalkRecords(database, [&](Value& cell) {
        if (cell.type == VT_ERROR) error = cell.error;
        if (cell.type == VT_NUMBER && !numbers.Append(cell.number)) error = ERR_NA;
        return error < 0;
    });
    result = error >= 0 ? ErrorValue(error) : finish(numbers);
}

// `filled` counts texts and booleans too, and stops at errors.
void CountRecords(Value* arguments, Value& result, const EvalContext& context, bool filled) {
    Database database;
    if (!PrepareDatabase(arguments, result, context, true, database)) return;
    i32 count = 0, error = -1;
    WalkRecords(database, [&](Value& cell) {
        if (filled && cell.type == VT_ERROR) error = cell.error;
        const bool counts = filled ? cell.type != VT_EMPTY && cell.type != VT_ERROR : cell.type == VT_NUMBER;
        count += counts || !database.field;
        return error < 0;
    });
    result = error >= 0 ? ErrorValue(error) : NumberValue(count);
}

double Sum(const Array<double>& numbers) {
    double sum = 0;
    for (double x : numbers) sum += x;
    return sum;
}

Value Spread(const Array<double>& numbers, u64 less, bool root) {
    RunningMoments moments;
    for (double x : numbers) moments.Add(x);
    return moments.Variance(less, root);
}

}  // namespace

void CallDsum(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) { return NumberValue(Sum(x)); });
}

void CallDaverage(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) {
        return x.IsEmpty() ? ErrorValue(ERR_DIV0) : NumberValue(Sum(x) / x.Count());
    });
}

void CallDmax(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) {
        return NumberValue(x.IsEmpty() ? 0 : *std::max_element(x.begin(), x.end()));
    });
}

void CallDmin(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) {
        return NumberValue(x.IsEmpty() ? 0 : *std::min_element(x.begin(), x.end()));
    });
}

void CallDproduct(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) {
        double product = x.IsEmpty() ? 0 : 1;
        for (double factor : x) product *= factor;
        return NumberValue(product);
    });
}

void CallDstdev(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) { return Spread(x, 1, true); });
}
void CallDstdevp(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) { return Spread(x, 0, true); });
}
void CallDvar(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) { return Spread(x, 1, false); });
}
void CallDvarp(Value* arguments, Value& result, const EvalContext& context) {
    OverNumbers(arguments, result, context, [](Array<double>& x) { return Spread(x, 0, false); });
}

void CallDcount(Value* arguments, Value& result, const EvalContext& context) {
    CountRecords(arguments, result, context, false);
}
void CallDcounta(Value* arguments, Value& result, const EvalContext& context) {
    CountRecords(arguments, result, context, true);
}

void CallDget(Value* arguments, Value& result, const EvalContext& context) {
    Database database;
    if (!PrepareDatabase(arguments, result, context, false, database)) return;
    bool found = false;
    WalkRecords(database, [&](Value& cell) {
        // A record without anything in the field is none.
        if (cell.type == VT_EMPTY || (cell.type == VT_STRING && TextOf(cell).empty())) return true;
        if (found) {
            FreeValue(result);
            return Fail(result, ERR_NUM);
        }
        found = true;
        result = TakeValue(cell);
        return result.type != VT_ERROR;
    });
    if (!found) result = ErrorValue(ERR_VALUE);
}

}  // namespace tally
