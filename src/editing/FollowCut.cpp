#include "editing/FollowCut.h"

#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// Adds a rewritten copy of tokens. `rewrite` gives 0 when it found no memory.
template <typename Rewrite>
bool AddFollower(TokenChange saved, const FormulaTokens& tokens, Array<TokenChange>& followers,
                 Rewrite rewrite) {
    CopyTokens(saved.tokens, tokens);
    if (rewrite(saved.tokens)) return AppendTokenChange(followers, saved);
    FreeTokens(saved.tokens);
    return false;
}

bool CollectCells(const AreaMove& move, const Sheet& sheet, Array<TokenChange>& followers) {
    MoveView view = ViewOfMove(move, sheet.book, sheet.index);
    if (!SeesMove(view)) return true;
    const bool isMoved = sheet.book == move.book && sheet.index == move.sheet;
    const RefArea target = TargetOf(move);
    for (FormulaCell* cell : sheet.cells.formulas) {
        if (isMoved && AreaHolds(target, cell->row, cell->column)) continue;
        if (!(EffectOfMove(cell->tokens, view) & MOVE_CHANGED)) continue;
        if (!AddFollower(ChangeOfCell(*cell), cell->tokens, followers,
                         [&](FormulaTokens& tokens) { return AdjustForMove(tokens, view); }))
            return false;
    }
    return true;
}

bool CollectNames(const AreaMove& move, i32 book, Array<TokenChange>& followers) {
    const Array<DefinedName>& names = BookAt(book)->names;
    for (u32 i = 0; i < names.Count(); ++i) {
        MoveView view = ViewOfMove(move, book, names[i].sheet - 1);
        if (!(EffectOfNameMove(names[i].tokens, view) & MOVE_CHANGED)) continue;
        if (!AddFollower(ChangeOfName(book, static_cast<i32>(i)), names[i].tokens, followers,
                         [&](FormulaTokens& tokens) { return AdjustNameForMove(tokens, view); }))
            return false;
    }
    return true;
}

}  // namespace

bool CollectFollowers(const AreaMove& move, Array<TokenChange>& followers) {
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
