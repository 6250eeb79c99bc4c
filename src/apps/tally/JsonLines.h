#pragma once
// JSON lines on standard output.

#include "model/ModelTypes.h"

namespace tally {

// What one cells line tells. A view of an empty formula is left out.
struct CellLine {
    WideView sheet;
    i32 row = 0;
    i32 column = 0;
    WideView formula;
    const Value* value = nullptr;
    WideView text;
    WideView format;
};
void WriteCellLine(const CellLine& line);

struct SheetLine {
    i32 index = 0;
    WideView name;
    const char* kind = "";
    i32 hidden = 0;
    i32 rows = 0;
    i32 columns = 0;
};
void WriteSheetLine(const SheetLine& line);

struct FunctionLine {
    WideView name;
    const char* category = "";
    std::string_view signature;
    WideView hint;
    const char* state = "";
};
void WriteFunctionLine(const FunctionLine& line);

// A formula whose saved value is not the computed one.
void WriteDifferenceLine(WideView sheet, i32 row, i32 column, WideView formula, const Value& saved,
                         const Value& computed);

struct VerifyCounts {
    u32 formulas = 0;
    u32 equal = 0;
    u32 different = 0;
    u32 volatileOnes = 0;
    u32 kept = 0;  // what they ask for is away: a closed book, an unknown function
};
void WriteVerifyLine(const VerifyCounts& counts);

// True when everything written so far has reached standard output.
[[nodiscard]] bool FlushLines();

}  // namespace tally
