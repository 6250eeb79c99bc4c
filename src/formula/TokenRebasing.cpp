#include "formula/TokenRebasing.h"

#include <algorithm>
#include <cstring>

#include "base/Text.h"
#include "formula/Links.h"

namespace tally {
namespace {

// ---- positions ------------------------------------------------------------------------------------

// Relative fields go with the formula; an axis that the reference spans completely stays.
void Shift(TokenReference& r, i32 rows, i32 columns, u8 moving) {
    if (r.AllRows()) rows = 0;
    if (r.AllColumns()) columns = 0;
    if (moving & FIRST_ROW_RELATIVE) r.firstRow += rows;
    if (moving & LAST_ROW_RELATIVE) r.lastRow += rows;
    if (moving & FIRST_COLUMN_RELATIVE) r.firstColumn += columns;
    if (moving & LAST_COLUMN_RELATIVE) r.lastColumn += columns;
}

bool LiesIn(const TokenReference& r, const RefArea& area) {
    return AreaHolds(area, r.firstRow, r.firstColumn) && AreaHolds(area, r.lastRow, r.lastColumn);
}

// Rows and columns change places around the first cell of the block, and so do their relative bits.
void Transpose(TokenReference& r, const TokenRebase& rebase) {
    const i32 row = rebase.area.firstRow, column = rebase.area.firstColumn;
    const TokenReference before = r;
    r.firstRow = before.firstColumn - column + row + rebase.rowDelta;
    r.lastRow = before.lastColumn - column + row + rebase.rowDelta;
    r.firstColumn = before.firstRow - row + column + rebase.columnDelta;
    r.lastColumn = before.lastRow - row + column + rebase.columnDelta;
    r.nibble = static_cast<u8>(
        (before.nibble & FIRST_ROW_RELATIVE) >> 1 | (before.nibble & FIRST_COLUMN_RELATIVE) << 1 |
        (before.nibble & LAST_ROW_RELATIVE) >> 1 | (before.nibble & LAST_COLUMN_RELATIVE) << 1);
    if (r.firstRow > r.lastRow) std::swap(r.firstRow, r.lastRow);
    if (r.firstColumn > r.lastColumn) std::swap(r.firstColumn, r.lastColumn);
}

// Whether a reference of a formula of the source book is on the source sheet.
bool IsOnSource(const TokenReference& r, const TokenRebase& rebase) {
    if (r.externIndex < 0) return true;
    ResolvedRef ref;
    ref.book = rebase.sourceBook;
    return ResolveOpenExternRef(r.externIndex, ref) && ref.targetBook == rebase.sourceBook &&
           ref.firstSheet == rebase.sourceSheet && ref.lastSheet == rebase.sourceSheet;
}

bool HasRelativePair(u8 nibble) {
    constexpr u8 rows = FIRST_ROW_RELATIVE | LAST_ROW_RELATIVE;
    constexpr u8 columns = FIRST_COLUMN_RELATIVE | LAST_COLUMN_RELATIVE;
    return (nibble & rows) == rows || (nibble & columns) == columns;
}

// Whether a reference goes along with the cells of the block that was cut.
bool GoesAlong(const TokenRebase& rebase, const TokenReference& r) {
    return rebase.mode == REBASE_CUT && LiesIn(r, rebase.area) && IsOnSource(r, rebase);
}

void RebasePosition(const TokenRebase& rebase, FormulaTokens& tokens, TokenReference& r) {
    const TokenReference before = r;
    constexpr u8 allFields = 15;
    switch (rebase.mode) {
        case REBASE_NOTHING: return;
        case REBASE_RELATIVE: Shift(r, rebase.rowDelta, rebase.columnDelta, r.nibble); break;
        case REBASE_CUT:
            if (GoesAlong(rebase, r)) Shift(r, rebase.rowDelta, rebase.columnDelta, allFields);
            break;
        default:
            if (LiesIn(r, rebase.area) || HasRelativePair(r.nibble)) Transpose(r, rebase);
            break;
    }
    if (IsOnSheet(r)) WriteReference(tokens, r);
    else LoseReference(tokens, before);
}

// ---- extern rows ----------------------------------------------------------------------------------

// A row that leads through a link; null for the others.
const ExternSheet* LinkedRowAt(const Workbook& book, i32 externIndex) {
    return LinkAt(book, externIndex) ? ExternRowAt(book, externIndex) : nullptr;
}

// A link of the source book to a file that is not open, as a link of the target book; -1 on failure.
i32 CopyLinkBook(const TokenRebase& rebase, const ExternBook& link) {
    WideText path;
    const Workbook& source = *BookAt(rebase.sourceBook);
    if (!ExpandStoredPath(path, link.path, source) || !MakeAbsolutePath(path, source)) return -1;
    return FindOrAddLink(*BookAt(rebase.targetBook), path);
}

// The place in the target link's list of sheets of a place in the source link's list.
i32 CopySheetName(const ExternBook& from, ExternBook& to, i16 sheet) {
    if (sheet < 0 || static_cast<u32>(sheet) >= from.sheetNames.Count()) return sheet;
    return AddExternSheetName(to, from.sheetNames[static_cast<u32>(sheet)]);
}

// The target book's row for what a row of the source book means; -1 when there is none.
i32 CopyExternRow(const TokenRebase& rebase, i32 externIndex) {
    const Workbook& source = *BookAt(rebase.sourceBook);
    Workbook& target = *BookAt(rebase.targetBook);
    const ExternSheet* row = LinkedRowAt(source, externIndex);
    if (!row) return -1;
    const ExternBook& link = *LinkOfRow(source, row);
    if (link.kind == EXTERN_CURRENT || link.kind == EXTERN_ADDIN) {
        const i32 special = FindOrAddExternBook(target, link.kind);
        return special < 0 ? -1 : FindExternSheet(target, special, row->firstSheet, row->lastSheet);
    }
    ResolvedRef ref;
    ref.book = rebase.sourceBook;
    i32 made = -1;
    if (ResolveOpenExternRef(externIndex, ref)) {
        ref.book = rebase.targetBook;
        return AddExternRef(ref, made) ? made : -1;
    }
    if (link.kind != EXTERN_FILE) return -1;
    const i32 copy = CopyLinkBook(rebase, link);
    if (copy < 0) return -1;
    ExternBook& to = target.externBooks[static_cast<u32>(copy)];
    const i32 first = CopySheetName(link, to, row->firstSheet);
    const i32 last = CopySheetName(link, to, row->lastSheet);
    return first == -1 || last == -1 ? -1 : FindExternSheet(target, copy, first, last);
}

// The target book's row for the sheet that the block has gone to; -1 on failure.
i32 RowOfTarget(const TokenRebase& rebase) {
    ResolvedRef ref;
    ref.book = ref.targetBook = rebase.targetBook;
    ref.firstSheet = ref.lastSheet = rebase.targetSheet;
    i32 row = -1;
    return AddExternRef(ref, row) ? row : -1;
}

// ---- names ----------------------------------------------------------------------------------------

// A name as a token of the target book names it: an extern row and a 1-based place; row -1 on failure.
struct NamePlace {
    i32 row = -1;
    i32 name = 0;
};

// A name of an open book, seen from the target book. `sheet` is the name's scope there, 1-based, or 0.
NamePlace PlaceOfName(const TokenRebase& rebase, i32 owner, WideView text, u16 sheet) {
    NamePlace place;
    ResolvedRef ref;
    ref.book = rebase.targetBook;
    ref.targetBook = owner;
    ref.firstSheet = ref.lastSheet = EXTERN_NO_SHEET;
    i32 row = -1;
    if (!AddExternRef(ref, row)) return place;
    Workbook& target = *BookAt(rebase.targetBook);
    if (owner == rebase.targetBook) {
        i32 name = FindName(target, text, sheet);
        if (name < 0) name = AddName(target, text, sheet);
        if (name < 0) return place;
        return {row, name + 1};
    }
    const ExternSheet& made = target.externSheets[static_cast<u32>(row)];
    ExternBook& link = target.externBooks[static_cast<u32>(made.externBook)];
    const i32 name = FindOrAddExternName(link, text);
    if (name < 0) return place;
    const Sheet* scope = sheet ? SheetAt(owner, sheet - 1) : nullptr;
    const i32 listed = scope ? AddExternSheetName(link, scope->name) : -1;
    link.names[static_cast<u32>(name)].sheet = static_cast<i16>(listed + 1);
    return {row, name + 1};
}

// A name of a link that the source book has.
NamePlace PlaceOfLinkedName(const TokenRebase& rebase, const ExternSheet& row, u32 name) {
    const Workbook& source = *BookAt(rebase.sourceBook);
    const ExternBook& link = *LinkOfRow(source, &row);
    if (link.kind == EXTERN_SELF) {
        if (name < 1 || name > source.names.Count()) return {};
        const DefinedName& own = source.names[name - 1];
        return PlaceOfName(rebase, rebase.sourceBook, own.text, own.sheet);
    }
    if (name < 1 || name > link.names.Count()) return {};
    const ExternName& external = link.names[name - 1];
    // Its sheet is told by the row or by the name itself.
    const u32 listed = static_cast<u32>(row.firstSheet >= 0 ? row.firstSheet : external.sheet - 1);
    const bool scoped = listed < link.sheetNames.Count();
    const i32 owner = link.kind == EXTERN_FILE ? FindOpenBook(link.path, false) : -1;
    if (owner >= 0) {
        const i32 sheet = scoped ? FindSheet(owner, link.sheetNames[listed]) : -1;
        return PlaceOfName(rebase, owner, external.text, static_cast<u16>(sheet + 1));
    }
    Workbook& target = *BookAt(rebase.targetBook);
    const i32 copy =
        link.kind == EXTERN_FILE ? CopyLinkBook(rebase, link) : FindOrAddExternBook(target, link.kind);
    if (copy < 0) return {};
    ExternBook& to = target.externBooks[static_cast<u32>(copy)];
    const i32 place = FindOrAddExternName(to, external.text);
    const i32 first = CopySheetName(link, to, row.firstSheet), last = CopySheetName(link, to, row.lastSheet);
    const i32 made = FindExternSheet(target, copy, first, last);
    if (place < 0 || made < 0) return {};
    if (scoped)
        to.names[static_cast<u32>(place)].sheet =
            static_cast<i16>(AddExternSheetName(to, link.sheetNames[listed]) + 1);
    return {made, place + 1};
}

void RebaseLinkedName(const TokenRebase& rebase, u8* operand) {
    const ExternSheet* row = LinkedRowAt(*BookAt(rebase.sourceBook), ReadU16(operand));
    if (!row) return;
    const ExternSheet held = *row;
    const NamePlace place = PlaceOfLinkedName(rebase, held, ReadU16(operand + 2));
    if (place.row < 0) return;
    PutU16(operand, static_cast<u32>(place.row));
    PutU16(operand + 2, static_cast<u32>(place.name));
}

// ---- names grow by two bytes ----------------------------------------------------------------------

struct GrownName {
    u32 at;
    NamePlace place;
};

// Where a position stands behind the names that have grown in front of it.
u32 GrownPosition(const Array<GrownName>& names, u32 position) {
    u32 grown = position;
    for (const GrownName& name : names) {
        if (name.at >= position) break;
        grown += 2;
    }
    return grown;
}

// A word that leads from `base` to a place further on.
void PutDistance(const Array<GrownName>& names, const u8* from, u8* to, u32 word, u32 base) {
    const u32 distance = ReadU16(from + word);
    PutU16(to + GrownPosition(names, word), GrownPosition(names, base + distance) - GrownPosition(names, base));
}

// The jumps and sizes of a token, which stands at `at` in the old bytes.
void PutDistances(const Array<GrownName>& names, const FormulaTokens& from, u8* to, u32 at) {
    const u8* bytes = from.bytes;
    const u32 next = at + 1 + OperandBytes(bytes, from.length, at);
    if (next > from.length) return;
    switch (FoldToken(bytes[at])) {
        case ptgMemArea:
        case ptgMemErr: PutDistance(names, bytes, to, at + 5, next); break;
        case ptgMemFunc:
        case ptgMemAreaN: PutDistance(names, bytes, to, at + 1, next); break;
        case ptgAttr: {
            const u8 kind = bytes[at + 1];
            if (kind == ATTR_IF || kind == ATTR_GOTO || kind == 0)
                PutDistance(names, bytes, to, at + 2, at + 4);
            if (kind != ATTR_CHOOSE) break;
            for (u32 word = at + 4; word + 2 <= next; word += 2) PutDistance(names, bytes, to, word, at + 4);
            break;
        }
        default: break;
    }
}

// The same tokens with room for the extern rows of those names.
bool GrowNames(FormulaTokens& tokens, const Array<GrownName>& names) {
    const u32 length = tokens.length + 2 * names.Count();
    FormulaTokens grown;
    if (length > 0xFFFF || !MakeTokens(grown, static_cast<u16>(length), tokens.extraLength)) return false;
    u32 from = 0, to = 0;
    for (const GrownName& name : names) {
        const u32 before = name.at - from;
        std::memcpy(grown.bytes + to, tokens.bytes + from, before);
        to += before;
        u8* token = grown.bytes + to;
        token[0] = static_cast<u8>(tokens.bytes[name.at] + (ptgNameX - ptgName));
        PutU16(token + 1, static_cast<u32>(name.place.row));
        PutU16(token + 3, static_cast<u32>(name.place.name));
        PutU16(token + 5, 0);
        to += 7;
        from = name.at + 5;
    }
    std::memcpy(grown.bytes + to, tokens.bytes + from, TokenBytes(tokens) - from);
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1)
        PutDistances(names, tokens, grown.bytes, at);
    FreeTokens(tokens);
    tokens = grown;
    return true;
}

void RebaseNames(const TokenRebase& rebase, FormulaTokens& tokens) {
    const Workbook& source = *BookAt(rebase.sourceBook);
    Array<GrownName> names;
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        if (FoldToken(tokens.bytes[at]) != ptgName || at + 5 > tokens.length) continue;
        const u32 row = ReadU16(tokens.bytes + at + 1);
        if (row < 1 || row > source.names.Count()) continue;
        const DefinedName& name = source.names[row - 1];
        const NamePlace place = PlaceOfName(rebase, rebase.sourceBook, name.text, name.sheet);
        if (place.row >= 0 && !names.Append({at, place})) return;
    }
    if (!names.IsEmpty()) IgnoreFailure(GrowNames(tokens, names));
}

bool IsSelfRow(const Workbook& book, i32 externIndex) {
    const ExternBook* link = LinkAt(book, externIndex);
    return link && link->kind == EXTERN_SELF;
}

// Calls visit(bytes of the 1-based row) for every token that uses a name of its own book.
template <typename Visit>
void VisitOwnNames(const Workbook& book, const FormulaTokens& tokens, Visit visit) {
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        const u8 folded = FoldToken(tokens.bytes[at]);
        if (folded == ptgName && at + 3 <= tokens.length) visit(tokens.bytes + at + 1);
        if (folded == ptgNameX && at + 5 <= tokens.length && IsSelfRow(book, ReadU16(tokens.bytes + at + 1)))
            visit(tokens.bytes + at + 3);
    }
}

bool IsThroughRows(const TokenReference& reference, std::span<const u8> rows) {
    return reference.externIndex >= 0 && static_cast<u32>(reference.externIndex) < rows.size() &&
           rows[static_cast<u32>(reference.externIndex)];
}

}  // namespace

bool RebaseTokens(const TokenRebase& rebase, FormulaTokens& tokens) {
    if (!tokens.bytes) return true;
    const bool otherBook = rebase.sourceBook != rebase.targetBook;
    if (rebase.mode == REBASE_NOTHING && !otherBook) return true;
    if (!BookAt(rebase.sourceBook) || !BookAt(rebase.targetBook) || !UnshareTokens(tokens)) return false;
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        TokenReference reference;
        const bool isReference = ReadReference(tokens, at, reference);
        const bool named = isReference && reference.externIndex >= 0;
        const bool goesAlong =
            named && rebase.targetSheet >= 0 && !reference.relativeForm && GoesAlong(rebase, reference);
        if (isReference && !reference.relativeForm) RebasePosition(rebase, tokens, reference);
        if (goesAlong) {
            const i32 row = RowOfTarget(rebase);
            if (row >= 0) PutU16(tokens.bytes + at + 1, static_cast<u32>(row));
            continue;
        }
        if (!otherBook) continue;
        if (FoldToken(tokens.bytes[at]) == ptgNameX && at + 5 <= tokens.length)
            RebaseLinkedName(rebase, tokens.bytes + at + 1);
        if (!named) continue;
        const i32 row = CopyExternRow(rebase, reference.externIndex);
        if (row >= 0) PutU16(tokens.bytes + at + 1, static_cast<u32>(row));
    }
    if (otherBook) RebaseNames(rebase, tokens);
    return true;
}

bool RefersThroughRows(const FormulaTokens& tokens, std::span<const u8> rows) {
    TokenReference reference;
    for (u32 at = 0; NextReference(tokens, at, reference);)
        if (IsThroughRows(reference, rows)) return true;
    return false;
}

void MarkSheetDeleted(FormulaTokens& tokens, std::span<const u8> rows) {
    TokenReference reference;
    for (u32 at = 0; NextReference(tokens, at, reference);)
        if (IsThroughRows(reference, rows)) LoseReference(tokens, reference);
}

bool UsesRetargetedName(const Workbook& book, const FormulaTokens& tokens, std::span<const u16> rows) {
    bool uses = false;
    VisitOwnNames(book, tokens, [&](const u8* row) {
        const u32 name = ReadU16(row) - 1u;
        uses = uses || (name < rows.size() && rows[name] != name);
    });
    return uses;
}

void RetargetNames(const Workbook& book, FormulaTokens& tokens, std::span<const u16> rows) {
    VisitOwnNames(book, tokens, [&](u8* row) {
        const u32 name = ReadU16(row) - 1u;
        if (name < rows.size()) PutU16(row, rows[name] + 1u);
    });
}

}  // namespace tally
