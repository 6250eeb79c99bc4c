#pragma once
// What a move of cells does to the formulas that point at them. Inserting and deleting are moves: the
// cells beside are pushed away, or pulled over what is deleted. All rewriters work in place on tokens
// that nobody else uses; a formula whose tokens are shared is unshared first.

#include "formula/TokenReferences.h"

namespace tally {

// The cells of an area of one sheet go by that many rows and columns. The target lies on the sheet.
struct AreaMove {
    i32 book = 0;
    i32 sheet = 0;
    RefArea from;
    i32 rowDelta = 0;
    i32 columnDelta = 0;
};
RefArea TargetOf(const AreaMove& move);
// The move that takes everything back.
AreaMove InverseMove(const AreaMove& move);

// Where the corners of a reference lie against a move: CORNER_FROM bits for those in the moved area,
// the same four shifted right by 4 for those in the target and not in the moved area.
enum CornerBits : u8 {
    TOP_LEFT_FROM = 0x80,
    TOP_RIGHT_FROM = 0x40,
    BOTTOM_LEFT_FROM = 0x20,
    BOTTOM_RIGHT_FROM = 0x10
};
u8 CornerState(const TokenReference& reference, const AreaMove& move);

// What a move means for a formula, as bits.
enum MoveEffect : u32 {
    MOVE_CHANGED = 1,  // operands are rewritten
    MOVE_LOST = 2,     // moving back would not bring the tokens back
    MOVE_MET = 4,      // a reference stays although cells under it move
    MOVE_PLACED =
        8,  // the result depends on where cells stand: ROW, COLUMN, SUMIF, names, macros, intersections
    MOVE_RESHAPED = 16,      // a reference grows, shrinks or is lost
    MOVE_WHOLE_AREA = 32,    // an area moves whole that may be read at the formula's own row or column
    MOVE_STAYING_AREA = 64,  // such an area stays
};
// Whether a formula with these bits, which moves along or not, may have another value afterwards. What only
// follows its cells keeps its value.
inline bool MoveChangesValue(u32 effect, bool moves) {
    if (effect & (MOVE_RESHAPED | MOVE_MET)) return true;
    if ((effect & MOVE_PLACED) && (moves || (effect & MOVE_CHANGED))) return true;
    return (effect & (moves ? MOVE_STAYING_AREA : MOVE_WHOLE_AREA)) != 0;
}

// From where a formula's references are seen: whether plain ones lie on the moved sheet, and which rows
// of its book's externSheets lead there.
struct MoveView {
    AreaMove move;
    i32 book = 0;
    bool plainMoves = false;
    bool externMoves = false;  // some row of externSheets leads to the moved sheet or over it
    i32 lastIndex = -1;        // the row asked for last, and its answer
    u8 lastAnswer = 0;
};
// The view of a formula on a sheet of a book; sheet -1 for none.
MoveView ViewOfMove(const AreaMove& move, i32 book, i32 sheet);
inline bool SeesMove(const MoveView& view) { return view.plainMoves || view.externMoves; }

// What the move means for a cell's formula; nothing is written.
u32 EffectOfMove(const FormulaTokens& tokens, MoveView& view);
// Rewrites a cell's formula, or a chart's. The bits of EffectOfMove; without memory for private tokens
// nothing is rewritten and the result is 0.
u32 AdjustForMove(FormulaTokens& tokens, MoveView& view);
// The same for a defined name: fields that are relative are offsets and stay.
u32 AdjustNameForMove(FormulaTokens& tokens, MoveView& view);
u32 EffectOfNameMove(const FormulaTokens& tokens, MoveView& view);
// For a formula of a validation rule or conditional format. Relative fields of the N forms are offsets
// from the rule's first cell, which stood at `base` and stands at `newBase` when the rule moves as well.
struct RuleBase {
    i32 row = 0, column = 0;
};
u32 AdjustRuleForMove(FormulaTokens& tokens, MoveView& view, RuleBase base, RuleBase newBase);
// For a rule that stays where it is.
u32 EffectOfRuleMove(const FormulaTokens& tokens, MoveView& view, RuleBase base);

}  // namespace tally
