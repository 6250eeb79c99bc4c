#pragma once
// Records of the formula engine: the context of an evaluation and the rows of the function table.

#include "model/Value.h"

namespace tally {

// Where a formula stands, passed along every evaluation.
struct EvalContext {
    i32 book = 0;
    i32 sheet = 0;
    i32 row = 0;
    i32 column = 0;
    i32 arrayMode = 0;  // non-zero inside an array formula
};

constexpr i32 MAX_ARGUMENTS = 30;
// The spare word of an empty argument that was written, or that leads to an empty cell: it is 0, FALSE or the
// empty text, where one that is not written takes its default.
constexpr u16 WRITTEN_ARGUMENT = 1;

// Computes a function. `arguments` has MAX_ARGUMENTS slots, empty behind the real ones; the caller
// frees them afterwards, so a handler that moves one out clears its slot. `result` comes in empty
// and must be filled in. A handler never leaves NaN or infinity unnoticed: the evaluator turns them
// into "#NUM!".
using FunctionHandler = void (*)(Value* arguments, Value& result, const EvalContext& context);

enum FunctionCategory : u8 {
    CATEGORY_ALL = 0,
    CATEGORY_FINANCIAL = 1,
    CATEGORY_DATE = 2,
    CATEGORY_MATH = 3,
    CATEGORY_STATISTICAL = 4,
    CATEGORY_LOOKUP = 5,
    CATEGORY_DATABASE = 6,
    CATEGORY_TEXT = 7,
    CATEGORY_LOGICAL = 8,
    CATEGORY_INFORMATION = 9,
    CATEGORY_ENGINEERING = 10,
    CATEGORY_MACRO_CONTROL = 11,
    CATEGORY_MACRO_COMMAND = 12,
    CATEGORY_NONE = 255,
};

// A row of FunctionTable. Signature letters: upper case required, lower case optional; V value,
// W value or reference, R aggregate, C reference, Q array, T value or array, U reference or array.
struct FunctionEntry {
    WideView name;  // upper case, as printed
    std::string_view signature;
    FunctionHandler handler;
    u16 id;  // BIFF number, bit 15 on commands; add-in rows: the category
    u8 category;
    i8 proposedFormat;  // built-in format id; 0 none, -1 look at the next function
    WideView argumentHint;
};

constexpr i32 MAIN_FUNCTIONS = 720;
constexpr i32 ADDIN_FUNCTIONS = 112;
constexpr i32 FUNCTION_ROWS = MAIN_FUNCTIONS + ADDIN_FUNCTIONS;
constexpr u16 COMMAND_BIT = 0x8000;

// Rows 0 to 719 the functions with a number, 720 to 831 the add-in functions; each half sorted by
// name without regard to case. Defined in functions/FunctionTable.cpp.
extern const FunctionEntry FunctionTable[FUNCTION_ROWS];

// Row of the main table, or -1. Without regard to case.
i32 FindFunction(WideView name);
// Row of the add-in table (720 to 831), or -1.
i32 FindAddInFunction(WideView name);
// Row of the main table with that whole 16-bit id, or -1. Constant time.
i32 FindFunctionById(u16 id);
// The row's name, empty when there is none.
WideView FunctionNameById(u16 id);

}  // namespace tally
