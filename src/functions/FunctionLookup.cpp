#include "base/Text.h"
#include "functions/Handlers.h"

namespace tally {
namespace {

// Rows whose number is that of a row with a newer name.
bool IsAlias(WideView name) { return name == u"MOVE" || name == u"PLACEMENT" || name == u"SIZE"; }

constexpr u32 NUMBERS = 512;  // of functions, and of commands behind them

struct NumberIndex {
    i16 rows[NUMBERS * 2];
};

NumberIndex BuildIndex() {
    NumberIndex index;
    for (i16& row : index.rows) row = -1;
    for (i32 i = 0; i < MAIN_FUNCTIONS; ++i) {
        const FunctionEntry& entry = FunctionTable[i];
        const u32 number = entry.id & (COMMAND_BIT - 1u);
        if (IsAlias(entry.name) || number >= NUMBERS) continue;
        index.rows[number + (entry.id & COMMAND_BIT ? NUMBERS : 0)] = static_cast<i16>(i);
    }
    return index;
}

const NumberIndex numbers = BuildIndex();

i32 Search(WideView name, i32 low, i32 high) {
    while (low < high) {
        const i32 middle = (low + high) / 2;
        const int order = CompareIgnoringCase(FunctionTable[middle].name, name);
        if (order == 0) return middle;
        if (order < 0) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return -1;
}

}  // namespace

i32 FindFunction(WideView name) { return Search(name, 0, MAIN_FUNCTIONS); }
i32 FindAddInFunction(WideView name) { return Search(name, MAIN_FUNCTIONS, FUNCTION_ROWS); }

i32 FindFunctionById(u16 id) {
    const u32 number = id & (COMMAND_BIT - 1u);
    return number < NUMBERS ? numbers.rows[number + (id & COMMAND_BIT ? NUMBERS : 0)] : i16{-1};
}

WideView FunctionNameById(u16 id) {
    const i32 row = FindFunctionById(id);
    return row < 0 ? WideView() : FunctionTable[row].name;
}

void ReturnFalse(Value*, Value& result, const EvalContext&) { result = BoolValue(false); }
void ReturnTrue(Value*, Value& result, const EvalContext&) { result = BoolValue(true); }
void ReturnNA(Value*, Value& result, const EvalContext&) { result = ErrorValue(ERR_NA); }
// The library operation is closed to worksheets.
void CallLibrary(Value*, Value& result, const EvalContext&) { result = ErrorValue(ERR_VALUE); }
void HandlerPending(Value*, Value& result, const EvalContext&) { result = ErrorValue(ERR_NA); }

}  // namespace tally
