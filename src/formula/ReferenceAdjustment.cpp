#include "formula/ReferenceAdjustment.h"

#include <algorithm>

#include "formula/Links.h"

namespace tally {
namespace {

// A rectangle with room for positions beyond a sheet.
struct Box {
    i32 firstRow, lastRow, firstColumn, lastColumn;

    bool Holds(i32 row, i32 column) const {
        return row >= firstRow && row <= lastRow && column >= firstColumn && column <= lastColumn;
    }
};

Box BoxOf(const RefArea& area) { return {area.firstRow, area.lastRow, area.firstColumn, area.lastColumn}; }
Box Displaced(Box box, i32 rows, i32 columns) {
    return {box.firstRow + rows, box.lastRow + rows, box.firstColumn + columns, box.lastColumn + columns};
}

// A move as one reference meets it: an axis that the reference spans completely has no delta.
struct Meeting {
    Box from, to;
    i32 rows, columns;
};

Meeting Meet(const TokenReference& reference, const AreaMove& move) {
    Meeting meeting;
    meeting.rows = reference.AllRows() ? 0 : move.rowDelta;
    meeting.columns = reference.AllColumns() ? 0 : move.columnDelta;
    meeting.from = BoxOf(move.from);
    meeting.to = Displaced(meeting.from, meeting.rows, meeting.columns);
    return meeting;
}

u8 StateOf(const TokenReference& reference, const Meeting& meeting) {
    const auto corner = [&meeting](i32 row, i32 column) -> u32 {
        if (meeting.from.Holds(row, column)) return 0x80;
        return meeting.to.Holds(row, column) ? 0x08 : 0;
    };
    return static_cast<u8>(corner(reference.firstRow, reference.firstColumn) |
                           corner(reference.firstRow, reference.lastColumn) >> 1 |
                           corner(reference.lastRow, reference.firstColumn) >> 2 |
                           corner(reference.lastRow, reference.lastColumn) >> 3);
}

// Gives a field its new value unless its bit says that it is an offset.
void Put(i32& field, i32 value, u8 frozen, u8 bit) {
    if (!(frozen & bit)) field = value;
}

enum Outcome : u8 { STAYS, MOVES_WHOLE, RESHAPES, IS_LOST };

// The table of corner states. `frozen` has the bits of the fields that keep their value.
Outcome ApplyState(TokenReference& r, u8 state, const Meeting& m, u8 frozen) {
    const auto firstRow = [&](i32 value) { Put(r.firstRow, value, frozen, FIRST_ROW_RELATIVE); };
    const auto lastRow = [&](i32 value) { Put(r.lastRow, value, frozen, LAST_ROW_RELATIVE); };
    const auto firstColumn = [&](i32 value) { Put(r.firstColumn, value, frozen, FIRST_COLUMN_RELATIVE); };
    const auto lastColumn = [&](i32 value) { Put(r.lastColumn, value, frozen, LAST_COLUMN_RELATIVE); };
    switch (state) {
        case 0xF0:  // the whole reference is moved
            firstRow(r.firstRow + m.rows);
            lastRow(r.lastRow + m.rows);
            firstColumn(r.firstColumn + m.columns);
            lastColumn(r.lastColumn + m.columns);
            return MOVES_WHOLE;
        case 0x0F: {  // the whole reference is overwritten
            constexpr u8 rowBits = FIRST_ROW_RELATIVE | LAST_ROW_RELATIVE;
            constexpr u8 columnBits = FIRST_COLUMN_RELATIVE | LAST_COLUMN_RELATIVE;
            const bool byRows = m.rows && (frozen & rowBits) != rowBits;
            const bool byColumns = m.columns && (frozen & columnBits) != columnBits;
            return byRows || byColumns ? IS_LOST : STAYS;
        }
        // One edge is overwritten.
        case 0x03: lastRow(m.to.firstRow - 1); break;
        case 0x05: lastColumn(m.to.firstColumn - 1); break;
        case 0x0A: firstColumn(m.to.lastColumn + 1); break;
        case 0x0C: firstRow(m.to.lastRow + 1); break;
        // One edge is moved.
        case 0x30: lastRow(r.lastRow + m.rows); break;
        case 0x50: lastColumn(r.lastColumn + m.columns); break;
        // One edge is moved over the opposite one.
        case 0x3C:
            firstRow(std::max(r.firstRow + m.rows, m.to.firstRow));
            lastRow(r.lastRow + m.rows);
            break;
        case 0x5A:
            firstColumn(std::max(r.firstColumn + m.columns, m.to.firstColumn));
            lastColumn(r.lastColumn + m.columns);
            break;
        case 0x82:
        case 0xC3:
            firstRow(r.firstRow + m.rows);
            lastRow(std::min(r.lastRow + m.rows, m.to.lastRow));
            break;
        case 0x84:
        case 0xA5:
            firstColumn(r.firstColumn + m.columns);
            lastColumn(std::min(r.lastColumn + m.columns, m.to.lastColumn));
            break;
        default: return STAYS;
    }
    return RESHAPES;
}

bool SameFields(const TokenReference& a, const TokenReference& b) {
    return a.firstRow == b.firstRow && a.lastRow == b.lastRow && a.firstColumn == b.firstColumn &&
           a.lastColumn == b.lastColumn;
}

Outcome MoveReference(TokenReference& reference, const AreaMove& move, u8 frozen) {
    const Meeting meeting = Meet(reference, move);
    const TokenReference before = reference;
    const Outcome outcome = ApplyState(reference, StateOf(reference, meeting), meeting, frozen);
    if (outcome == IS_LOST) return outcome;
    // Corners in a wrong order, as a damaged file may have them, could lead off the sheet.
    if (!IsOnSheet(reference)) reference = before;
    return SameFields(reference, before) ? STAYS : outcome;
}

bool ComesBack(const TokenReference& before, TokenReference after, const AreaMove& move, u8 frozen) {
    return MoveReference(after, InverseMove(move), frozen) != IS_LOST && SameFields(before, after);
}

// Whether cells under a reference that stays are others after the move: those between source and
// target, which an insertion opens or a deletion takes away, included.
bool IsMet(const TokenReference& r, const AreaMove& move) {
    const RefArea& a = move.from;
    const RefArea b = TargetOf(move);
    return r.firstRow <= std::max(a.lastRow, b.lastRow) && r.lastRow >= std::min(a.firstRow, b.firstRow) &&
           r.firstColumn <= std::max(a.lastColumn, b.lastColumn) &&
           r.lastColumn >= std::min(a.firstColumn, b.firstColumn);
}

// What the moved sheet is to a reference: both of its ends, which then moves; one sheet of its range, whose
// cells change under it; or nothing.
enum SheetRole : u8 { NOT_ON_SHEET, ON_SHEET, OVER_SHEET };

// "!" references follow nobody.
SheetRole RoleOfExternRow(const AreaMove& move, i32 book, i32 externIndex) {
    const Workbook& own = *BookAt(book);
    const ExternBook* link = LinkAt(own, externIndex);
    if (!link || link->kind == EXTERN_CURRENT) return NOT_ON_SHEET;
    ResolvedRef ref;
    ref.book = book;
    if (!ResolveOpenExternRef(externIndex, ref) || ref.targetBook != move.book) return NOT_ON_SHEET;
    if (ref.firstSheet == move.sheet && ref.lastSheet == move.sheet) return ON_SHEET;
    return ref.firstSheet <= move.sheet && move.sheet <= ref.lastSheet ? OVER_SHEET : NOT_ON_SHEET;
}

SheetRole RoleOf(const TokenReference& reference, MoveView& view) {
    if (reference.externIndex < 0) return view.plainMoves ? ON_SHEET : NOT_ON_SHEET;
    if (!view.externMoves) return NOT_ON_SHEET;
    if (reference.externIndex != view.lastIndex) {
        view.lastIndex = reference.externIndex;
        view.lastAnswer = RoleOfExternRow(view.move, view.book, reference.externIndex);
    }
    return static_cast<SheetRole>(view.lastAnswer);
}

// Calls whose result follows from places and not from values alone: ROW, COLUMN, SUMIF (which reads
// beyond its third argument), macros.
bool IsPlacedCall(u16 id) { return id == 8 || id == 9 || id == 345 || id == 255; }

// Calls that take an area for the sum of its cells, wherever they stand. Any other may hand an area on, which
// is then read at the formula's own row or column.
bool TakesWholeAreas(u16 id) {
    constexpr u16 ids[] = {0,   4,   5,   6,   7,   12,  46,  64,  101, 102, 169,
                           183, 193, 194, 216, 227, 228, 325, 326, 346, 347};
    return std::binary_search(std::begin(ids), std::end(ids), id);
}

// How a rewriter treats the fields of a reference.
struct Treatment {
    bool freezesRelative = false;  // names
    bool isRule = false;
    RuleBase base, newBase;
};

void AddBase(TokenReference& r, i32 row, i32 column) {
    const i32 rows = r.AllRows() ? 0 : row, columns = r.AllColumns() ? 0 : column;
    if (r.nibble & FIRST_ROW_RELATIVE) r.firstRow = (r.firstRow + rows) & (MAX_ROWS - 1);
    if (r.nibble & LAST_ROW_RELATIVE) r.lastRow = (r.lastRow + rows) & (MAX_ROWS - 1);
    if (r.nibble & FIRST_COLUMN_RELATIVE) r.firstColumn = (r.firstColumn + columns) & (MAX_COLUMNS - 1);
    if (r.nibble & LAST_COLUMN_RELATIVE) r.lastColumn = (r.lastColumn + columns) & (MAX_COLUMNS - 1);
}

// Whether an offset leads off the sheet: up or left from the first rows and columns, where it wraps around to
// the other end. Such a reference means no cell that could move.
bool LeadsOffSheet(const TokenReference& r, RuleBase base) {
    const auto up = [&](i32 offset) { return offset >= MAX_ROWS / 2 && offset + base.row < MAX_ROWS; };
    const auto left = [&](i32 offset) {
        return offset >= MAX_COLUMNS * 3 / 4 && offset + base.column < MAX_COLUMNS;
    };
    return (!r.AllRows() && (((r.nibble & FIRST_ROW_RELATIVE) && up(r.firstRow)) ||
                             ((r.nibble & LAST_ROW_RELATIVE) && up(r.lastRow)))) ||
           (!r.AllColumns() && (((r.nibble & FIRST_COLUMN_RELATIVE) && left(r.firstColumn)) ||
                                ((r.nibble & LAST_COLUMN_RELATIVE) && left(r.lastColumn))));
}

// Moves one reference under a treatment; `reference` gets the new fields.
Outcome Treat(TokenReference& reference, const AreaMove& move, const Treatment& treatment, bool moves) {
    const u8 frozen = treatment.freezesRelative ? reference.nibble : u8{0};
    const bool offsets = treatment.isRule && reference.relativeForm;
    if (!offsets) return moves ? MoveReference(reference, move, frozen) : STAYS;
    if (LeadsOffSheet(reference, treatment.base)) return STAYS;
    const TokenReference before = reference;
    AddBase(reference, treatment.base.row, treatment.base.column);
    const Outcome outcome = moves ? MoveReference(reference, move, 0) : STAYS;
    AddBase(reference, -treatment.newBase.row, -treatment.newBase.column);
    if (outcome == IS_LOST) return outcome;
    return SameFields(reference, before) ? STAYS : outcome == STAYS ? MOVES_WHOLE : outcome;
}

// While a formula is walked: areas of the reference class, which count when a call may hand one on.
constexpr u32 PASSED_WHOLE_AREA = 1u << 16;
constexpr u32 PASSED_STAYING_AREA = 1u << 17;
constexpr u32 HANDS_ON = 1u << 18;

u32 AreaBits(const TokenReference& reference, u8 token, Outcome outcome) {
    const u8 area = token & CLASS_ARRAY;
    if (reference.oneCell || area == CLASS_ARRAY) return 0;
    if (area == CLASS_REFERENCE) return outcome == STAYS ? PASSED_STAYING_AREA : PASSED_WHOLE_AREA;
    return outcome == STAYS ? u32{MOVE_STAYING_AREA} : u32{MOVE_WHOLE_AREA};
}

u32 EffectOfReference(const TokenReference& before, const TokenReference& after, Outcome outcome, bool moves,
                      u8 token, const AreaMove& move, const Treatment& treatment) {
    if (outcome == IS_LOST) return u32{MOVE_CHANGED} | MOVE_RESHAPED | MOVE_LOST;
    u32 effect = AreaBits(before, token, outcome);
    if (outcome == STAYS) effect |= moves && IsMet(before, move) ? u32{MOVE_MET} : 0u;
    else effect |= outcome == RESHAPES ? u32{MOVE_CHANGED} | MOVE_RESHAPED : u32{MOVE_CHANGED};
    if (!moves || outcome == MOVES_WHOLE || treatment.isRule) return effect;
    const u8 frozen = treatment.freezesRelative ? before.nibble : u8{0};
    return effect | (ComesBack(before, after, move, frozen) ? 0u : u32{MOVE_LOST});
}

// Bits of a token that is no reference.
u32 EffectOfToken(const FormulaTokens& tokens, u32 at, u8 folded) {
    switch (folded) {
        case ptgFunc:
        case ptgFuncVar: {
            const u32 place = at + (folded == ptgFunc ? 1 : 2);
            if (place + 2 > tokens.length) return 0;
            const u16 id = ReadU16(tokens.bytes + place);
            return (IsPlacedCall(id) ? u32{MOVE_PLACED} : 0u) | (TakesWholeAreas(id) ? 0u : HANDS_ON);
        }
        case ptgName:
        case ptgNameX:
        case ptgIsect: return MOVE_PLACED;
        default: return 0;
    }
}

// The one walk behind all rewriters. With `write` the tokens must be unshared.
template <bool write>
u32 Walk(FormulaTokens& tokens, MoveView& view, const Treatment& treatment) {
    u32 effect = 0;
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        TokenReference reference;
        if (!ReadReference(tokens, at, reference)) {
            effect |= EffectOfToken(tokens, at, FoldToken(tokens.bytes[at]));
            continue;
        }
        const TokenReference before = reference;
        const SheetRole role = RoleOf(reference, view);
        const bool moves = role == ON_SHEET;
        if (role == OVER_SHEET && IsMet(reference, view.move)) effect |= MOVE_MET;
        const Outcome outcome = Treat(reference, view.move, treatment, moves);
        effect |= EffectOfReference(before, reference, outcome, moves, tokens.bytes[at], view.move, treatment);
        if constexpr (write) {
            if (outcome == IS_LOST) LoseReference(tokens, before);
            else if (outcome != STAYS) WriteReference(tokens, reference);
        }
    }
    if (effect & HANDS_ON) {
        if (effect & PASSED_WHOLE_AREA) effect |= MOVE_WHOLE_AREA;
        if (effect & PASSED_STAYING_AREA) effect |= MOVE_STAYING_AREA;
    }
    return effect & ~(PASSED_WHOLE_AREA | PASSED_STAYING_AREA | HANDS_ON);
}

u32 Adjust(FormulaTokens& tokens, MoveView& view, const Treatment& treatment) {
    if (!tokens.bytes || !(SeesMove(view) || treatment.isRule)) return 0;
    if (TokenUsers(tokens) > 1) {
        const u32 effect = Walk<false>(tokens, view, treatment);
        if (!(effect & MOVE_CHANGED)) return effect;
        if (!UnshareTokens(tokens)) return 0;
    }
    return Walk<true>(tokens, view, treatment);
}

u32 Effect(const FormulaTokens& tokens, MoveView& view, const Treatment& treatment) {
    if (!tokens.bytes || !SeesMove(view)) return 0;
    // The walk that does not write leaves the bytes alone.
    FormulaTokens read = tokens;
    return Walk<false>(read, view, treatment);
}

Treatment NameTreatment() {
    Treatment treatment;
    treatment.freezesRelative = true;
    return treatment;
}

Treatment RuleTreatment(RuleBase base, RuleBase newBase) {
    Treatment treatment;
    treatment.isRule = true;
    treatment.base = base;
    treatment.newBase = newBase;
    return treatment;
}

}  // namespace

RefArea TargetOf(const AreaMove& move) {
    return {static_cast<u16>(move.from.firstRow + move.rowDelta),
            static_cast<u16>(move.from.lastRow + move.rowDelta),
            static_cast<u8>(move.from.firstColumn + move.columnDelta),
            static_cast<u8>(move.from.lastColumn + move.columnDelta)};
}

AreaMove InverseMove(const AreaMove& move) {
    return {move.book, move.sheet, TargetOf(move), -move.rowDelta, -move.columnDelta};
}

u8 CornerState(const TokenReference& reference, const AreaMove& move) {
    return StateOf(reference, Meet(reference, move));
}

MoveView ViewOfMove(const AreaMove& move, i32 book, i32 sheet) {
    MoveView view;
    view.move = move;
    view.book = book;
    view.plainMoves = book == move.book && sheet == move.sheet;
    const Workbook* workbook = BookAt(book);
    for (u32 i = 0; workbook && i < workbook->externSheets.Count() && !view.externMoves; ++i)
        view.externMoves = RoleOfExternRow(move, book, static_cast<i32>(i)) != NOT_ON_SHEET;
    return view;
}

u32 EffectOfMove(const FormulaTokens& tokens, MoveView& view) { return Effect(tokens, view, {}); }

u32 AdjustForMove(FormulaTokens& tokens, MoveView& view) { return Adjust(tokens, view, {}); }

u32 AdjustNameForMove(FormulaTokens& tokens, MoveView& view) { return Adjust(tokens, view, NameTreatment()); }

u32 EffectOfNameMove(const FormulaTokens& tokens, MoveView& view) {
    return Effect(tokens, view, NameTreatment());
}

u32 AdjustRuleForMove(FormulaTokens& tokens, MoveView& view, RuleBase base, RuleBase newBase) {
    return Adjust(tokens, view, RuleTreatment(base, newBase));
}

u32 EffectOfRuleMove(const FormulaTokens& tokens, MoveView& view, RuleBase base) {
    return Effect(tokens, view, RuleTreatment(base, base));
}

}  // namespace tally
