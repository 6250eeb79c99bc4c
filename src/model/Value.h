#pragma once
// Value, the one currency of the formula engine: stack operands, function arguments, cell contents
// and array elements. A plain record; whoever holds it owns its text, area list or elements.

#include "base/SharedText.h"

namespace tally {

// A rectangle of cells, rows and columns numbered from 0, both ends inside.
struct RefArea {
    u16 firstRow = 0;
    u16 lastRow = 0;
    u8 firstColumn = 0;
    u8 lastColumn = 0;
    bool operator==(const RefArea&) const = default;
};
static_assert(sizeof(RefArea) == 6);

inline bool AreaHolds(const RefArea& area, i32 row, i32 column) {
    return row >= area.firstRow && row <= area.lastRow && column >= area.firstColumn &&
           column <= area.lastColumn;
}
inline bool AreaHoldsArea(const RefArea& outer, const RefArea& inner) {
    return inner.firstRow >= outer.firstRow && inner.lastRow <= outer.lastRow &&
           inner.firstColumn >= outer.firstColumn && inner.lastColumn <= outer.lastColumn;
}
inline bool AreasMeet(const RefArea& a, const RefArea& b) {
    return a.firstRow <= b.lastRow && b.firstRow <= a.lastRow && a.firstColumn <= b.lastColumn &&
           b.firstColumn <= a.lastColumn;
}
inline bool IsOneCell(const RefArea& area) {
    return area.firstRow == area.lastRow && area.firstColumn == area.lastColumn;
}

// The tags are bits, so that a wanted type can be a mask.
enum ValueType : u16 {
    VT_EMPTY = 0,
    VT_NUMBER = 1,
    VT_STRING = 2,
    VT_BOOL = 4,
    VT_REF = 8,
    VT_ERROR = 16,
    VT_CONTROL = 32,
    VT_ARRAY = 64,
    VT_AREA = 1024,
};

enum ErrorIndex : i32 {
    ERR_NULL = 0,
    ERR_DIV0 = 1,
    ERR_VALUE = 2,
    ERR_REF = 3,
    ERR_NAME = 4,
    ERR_NUM = 5,
    ERR_NA = 6,
    ERROR_COUNT = 7,
};

// The areas of a VT_REF, allocated as one block.
struct AreaList {
    u16 count;
    RefArea areas[1];
};

struct ControlSignal {
    i32 argument;
    u8 unused[3];
    u8 code;
};

struct Value {
    union {
        double number;
        i32 boolean;            // 0 or 1
        i32 error;              // ErrorIndex
        TextBlock* text;        // never null in a VT_STRING
        AreaList* areas;        // VT_REF, owned
        Value* elements;        // VT_ARRAY, owned, row by row
        RefArea area;           // VT_AREA: on the sheet of the evaluation context
        ControlSignal control;  // VT_CONTROL
    };
    union {
        i32 externIndex;  // VT_REF: row of the book's externSheets
        struct {
            u16 rows;  // VT_ARRAY: 0 means 65,536
            u16 columns;
        };
    };
    u16 type;
    u16 spare;

    Value() : number(0), externIndex(0), type(VT_EMPTY), spare(0) {}
};
static_assert(sizeof(Value) == 16);

inline Value NumberValue(double number) {
    Value v;
    v.number = number;
    v.type = VT_NUMBER;
    return v;
}
inline Value BoolValue(bool truth) {
    Value v;
    v.boolean = truth ? 1 : 0;
    v.type = VT_BOOL;
    return v;
}
inline Value ErrorValue(i32 error) {
    Value v;
    v.error = error;
    v.type = VT_ERROR;
    return v;
}
inline Value AreaValue(const RefArea& area) {
    Value v;
    v.area = area;
    v.type = VT_AREA;
    return v;
}
// A text value with its own block; "#N/A" when memory fails.
Value TextValue(WideView text);
// Takes over one use of `block`; a null block gives "#N/A".
Value OwnedTextValue(TextBlock* block);
// An array of empty elements, rows 1 to 65,536 and columns 1 to 65,535; "#N/A" when memory fails.
Value ArrayValue(u32 rows, u32 columns);
// A reference with room for `count` areas, zeroed; "#N/A" when memory fails.
Value RefValue(i32 externIndex, u16 count);

inline bool IsError(const Value& value) { return value.type == VT_ERROR; }
inline WideView TextOf(const Value& value) { return TextView(value.text); }

inline u32 ArrayRows(const Value& value) { return value.rows ? value.rows : 65536u; }
// rows * columns, rows 0 counting as 65,536.
inline u32 ArrayElementCount(const Value& value) { return ArrayRows(value) * value.columns; }

// Releases what the value owns and leaves its type as it stands.
void FreeValue(Value& value);
// Releases what the value owns and makes it empty.
void ClearValue(Value& value);
// Releases what the value owns and makes it that error.
void SetError(Value& value, i32 error);
// A deep copy: `target` is overwritten without being released. Texts are shared by count. A copy
// that fails for memory becomes "#N/A".
void CopyValue(Value& target, const Value& source);
// Parts a text from what its file says of single characters, which counts in its own book only. False, with
// the value empty, when memory fails.
[[nodiscard]] bool MakePlainText(Value& value);
// Moves ownership out and leaves `source` empty.
inline Value TakeValue(Value& source) {
    Value moved = source;
    source = Value();
    return moved;
}

// "#NULL!" and so on, by ErrorIndex; "#N/A" for a number out of range.
WideView ErrorText(i32 error);
// ErrorIndex of an error text, compared without regard to case, or -1.
i32 ErrorFromText(WideView text);
// Between ErrorIndex and the numbers of the BIFF format; an unknown number gives ERR_NA.
i32 ErrorFromBiff(u8 code);
u8 BiffFromError(i32 error);
WideView BoolText(bool truth);  // "FALSE" or "TRUE"

}  // namespace tally
