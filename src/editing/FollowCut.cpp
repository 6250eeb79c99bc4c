#include "editing/FollowCut.h"

#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// Adds a rewritten copy of tokens. `rewrite` gives 0 when it found no memory.
template <typename Rewrite>
bool AddFollower(SavedTokens saved, const FormulaTokens& tokens, Array<SavedTokens>& followers,
                 Rewrite rewrite) {
    CopyTokens(saved.tokens, tokens);
    if (rewrite(saved.tokens) && followers.Append(saved)) return true;
    FreeTokens(saved.tokens);
    return false;
}

bool CollectCells(const AreaMove& move, const Sheet& sheet, Array<SavedTokens>& followers) {
    MoveView view = ViewOfMove(move, sheet.book, sheet.index);
    if (!SeesMove(view)) return true;
    const bool isMoved = sheet.book == move.book && sheet.index == move.sheet;
    const RefArea target = TargetOf(move);
    for (const FormulaCell* cell : sheet.cells.formulas) {
        if (isMoved && AreaHolds(target, cell->row, cell->column)) continue;
        if (!(EffectOfMove(cell->tokens, view) & MOVE_CHANGED)) continue;
        SavedTokens saved;
        saved.holder = HOLDER_CELL;
        saved.serial = sheet.serial;
        saved.row = cell->row;
        saved.column = cell->column;
        if (!AddFollower(saved, cell->tokens, followers,
                         [&](FormulaTokens& tokens) { return AdjustForMove(tokens, view); }))
            return false;
    }
    return true;
}

bool CollectNames(const AreaMove& move, i32 book, Array<SavedTokens>& followers) {
    const Array<DefinedName>& names = BookAt(book)->names;
    for (u32 i = 0; i < names.Count(); ++i) {
        MoveView view = ViewOfMove(move, book, names[i].sheet - 1);
        if (!(EffectOfNameMove(names[i].tokens, view) & MOVE_CHANGED)) continue;
        SavedTokens saved;
        saved.holder = HOLDER_NAME;
        saved.book = book;
        saved.name = static_cast<i32>(i);
        if (!AddFollower(saved, names[i].tokens, followers,
                         [&](FormulaTokens& tokens) { return AdjustNameForMove(tokens, view); }))
            return false;
    }
    return true;
}

}  // namespace

bool CollectFollowers(const AreaMove& move, Array<SavedTokens>& followers) {
    for (u32 b = 0; b < Books().books.Count(); ++b) {
        const i32 book = static_cast<i32>(b);
        if (book != move.book && !ViewOfMove(move, book, -1).externMoves) continue;
        for (const Sheet* sheet : BookAt(book)->sheets)
            if (!CollectCells(move, *sheet, followers)) return false;
        if (!CollectNames(move, book, followers)) return false;
    }
    return true;
}

}  // namespace tally
