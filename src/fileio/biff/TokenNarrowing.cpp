#include <algorithm>

#include "fileio/biff/SaveState.h"
#include "formula/FormulaTypes.h"
#include "functions/Handlers.h"

// From BIFF8 tokens to those of the 95 form, or of the pocket form, which differs in texts and links: the
// reverse of the widening. What the form lacks makes the whole string bad.

namespace tally {
namespace {

constexpr u16 FIRST_FUNCTION_AFTER_95 = 358;  // functions that came with the 97 form
constexpr u16 USER_FUNCTION = 255;
constexpr u32 NAME_TAIL = 12, LINK_MIDDLE = 8;  // unused bytes of names and links
constexpr u8 DISTANCE_TO_DELETED = 256 + ptgRefErr - ptgRefN;
constexpr u8 TO_DELETED = ptgRefErr - ptgRef, TO_DELETED_3D = ptgRefErr3d - ptgRef3d;
constexpr std::size_t TEXT_MOST = 255;

struct Narrower {
    SaveState& save;
    TokenRewrite& to;
    bool offsets;  // relative rows are distances that wrap
    bool bad = false;
};

u32 RowWord(u16 row, u8 flags) { return (row & LAST_ROW_95) | (flags & 0xC0u) << 8; }

// Whether a row is one of the form. A distance always is.
bool RowFits(const Narrower& n, u16 row, u8 flags, bool distance) {
    return row <= LAST_ROW_95 || ((distance || n.offsets) && (flags & ROW_RELATIVE));
}

// ptgRef and its kin without the token byte. False for a cell that the file does not hold.
bool PutRef(Narrower& n, const u8* operand, bool distance) {
    const u16 row = ReadU16(operand);
    PutWord(n.to, RowWord(row, operand[3]));
    PutByte(n.to, operand[2]);
    return RowFits(n, row, operand[3], distance);
}

// The same for an area. Its end is cut to the last row; in the pocket form only that of whole columns.
bool PutArea(Narrower& n, const u8* operand, bool distance) {
    const u16 first = ReadU16(operand);
    const u16 last = ReadU16(operand + 2);
    const u16 kept = RowFits(n, last, operand[7], distance) ? last : LAST_ROW_95;
    PutWord(n.to, RowWord(first, operand[5]));
    PutWord(n.to, RowWord(kept, operand[7]));
    PutByte(n.to, operand[4]);
    PutByte(n.to, operand[6]);
    if (n.save.pocket && kept != last && (first || last != MAX_ROWS - 1)) return false;
    return RowFits(n, first, operand[5], distance);
}

// A reference behind the last row is a deleted one; on a handheld the whole string is bad.
void PutUnfit(Narrower& n, u32 place, u32 toDeleted) {
    if (n.save.pocket) {
        n.bad = true;
    } else if (!n.to.failed) {
        n.to.out[place] = static_cast<u8>(n.to.out[place] + toDeleted);
    }
}

void PutReference(Narrower& n, const u8* token) {
    const u8 folded = FoldToken(*token);
    const u32 place = n.to.out.Count();
    PutByte(n.to, *token);
    const bool deleted = folded == ptgRefErr || folded == ptgAreaErr;
    const bool single = folded == ptgRef || folded == ptgRefErr || folded == ptgRefN;
    const bool distance = folded == ptgRefN || folded == ptgAreaN;
    const bool fits = single ? PutRef(n, token + 1, distance) : PutArea(n, token + 1, distance);
    // A distance's tokens stand two behind those of what is deleted.
    if (!fits && !deleted) PutUnfit(n, place, distance ? DISTANCE_TO_DELETED : TO_DELETED);
}

// The operands of a link in front of what it leads to. The sheets count only in the own book.
struct LinkImage {
    u16 index = 0;  // negative for the own book
    u16 firstSheet = 0, lastSheet = 0;
};

u16 PocketSheet(Narrower& n, i16 sheet) {
    if (sheet < 0) return static_cast<u16>(sheet);
    const Array<u16>& sheets = n.save.pocket->sheets;
    const u16 number =
        static_cast<u16>(sheet) < sheets.Count() ? sheets[static_cast<u16>(sheet)] : NOT_IN_POCKET;
    n.bad = n.bad || number == NOT_IN_POCKET;
    return number;
}

// A handheld knows no other book.
LinkImage PocketLink(Narrower& n, u32 externIndex) {
    const Workbook& book = SavedBook(n.save);
    const ExternSheet row =
        externIndex < book.externSheets.Count() ? book.externSheets[externIndex] : ExternSheet{-1, 0, 0};
    n.bad = n.bad || row.externBook < 0 || static_cast<u32>(row.externBook) >= book.externBooks.Count() ||
            book.externBooks[static_cast<u32>(row.externBook)].kind != EXTERN_SELF;
    return {0xFFFF, PocketSheet(n, row.firstSheet), PocketSheet(n, row.lastSheet)};
}

LinkImage ImageOfLink(Narrower& n, u32 externIndex) {
    if (n.save.pocket) return PocketLink(n, externIndex);
    const u16 entry = LinkEntryOf(n.save, externIndex);
    n.bad = n.bad || !entry;
    if (!entry || n.save.links.entries[entry - 1u].externBook != OWN_BOOK) return {entry, 0, 0};
    const ExternSheet& row = SavedBook(n.save).externSheets[externIndex];
    return {static_cast<u16>(0x10000u - entry), static_cast<u16>(row.firstSheet),
            static_cast<u16>(row.lastSheet)};
}

void PutReference3d(Narrower& n, const u8* token) {
    const u8 folded = FoldToken(*token);
    const LinkImage link = ImageOfLink(n, ReadU16(token + 1));
    const u32 place = n.to.out.Count();
    PutByte(n.to, *token);
    PutWord(n.to, link.index);
    PutZeros(n.to, LINK_MIDDLE);
    PutWord(n.to, link.firstSheet);
    PutWord(n.to, link.lastSheet);
    const bool single = folded == ptgRef3d || folded == ptgRefErr3d;
    const bool fits = single ? PutRef(n, token + 3, false) : PutArea(n, token + 3, false);
    const bool deleted = folded == ptgRefErr3d || folded == ptgAreaErr3d;
    if (!fits && !deleted) PutUnfit(n, place, TO_DELETED_3D);
}

// A count and the text in the code page, as far as its first zero, where its reader would end it.
void PutNarrowText(Narrower& n, WideView text) {
    const ByteView bytes = NarrowText(n.save, text.substr(0, text.find(u'\0')), TEXT_MOST * 2);
    n.bad = n.bad || bytes.size() > TEXT_MOST;
    PutByte(n.to, static_cast<u32>(bytes.size()) & 0xFF);
    PutBytes(n.to, bytes);
}

void PutText(Narrower& n, const u8* token) {
    const u32 count = token[1];
    WideText text;
    for (u32 i = 0; i < count && !n.to.failed; ++i) {
        const u16 c = token[2] & 1 ? ReadU16(token + 3 + i * 2) : token[3 + i];
        n.to.failed = !text.Append(static_cast<char16_t>(c));
    }
    PutByte(n.to, ptgStr);
    if (n.save.pocket) {
        PutByte(n.to, count);
        PutByte(n.to, 1);
        for (char16_t c : text.View()) PutWord(n.to, c);
        return;
    }
    PutNarrowText(n, text);
}

void PutAttr(Narrower& n, const u8* token, u32 at) {
    const u8 kind = token[1];
    const u16 argument = ReadU16(token + 2);
    PutByte(n.to, *token);
    PutByte(n.to, kind);
    const u32 next = n.to.out.Count() + 2;
    if (kind == ATTR_IF) {
        PutSpan(n.to, next, at + 4u + argument, 0);
    } else if (kind == ATTR_GOTO) {
        // The distance of a jump is one less than the bytes that it passes over.
        PutSpan(n.to, next, at + 4u + argument + 1u, 1);
    } else {
        PutWord(n.to, argument);
    }
    if (kind != ATTR_CHOOSE) return;
    const u32 table = n.to.out.Count();
    for (u32 i = 0; i <= argument; ++i) PutSpan(n.to, table, at + 4u + ReadU16(token + 4 + i * 2), 0);
}

// The tokens that hold the size of the subexpression behind them. A list of areas is worked out again from
// that expression, so the token that keeps none stands in for it.
void PutMemory(Narrower& n, const u8* token, u32 at, u32 size) {
    const u8 folded = FoldToken(*token);
    const bool kept = folded == ptgMemErr || folded == ptgMemNoMem;
    PutByte(n.to, folded == ptgMemArea ? *token + (ptgMemFunc - ptgMemArea) : *token);
    if (kept) PutBytes(n.to, {token + 1, 4});
    PutSpan(n.to, n.to.out.Count() + 2, at + size + ReadU16(token + size - 2), 0);
}

// The number of a name in the file.
u16 NameNumber(Narrower& n, u16 name) {
    const u32 count = SavedBook(n.save).names.Count();
    const u16 number = !name || name > count ? u16{0} : n.save.pocket ? n.save.pocket->names[name - 1u] : name;
    n.bad = n.bad || !number;
    return number;
}

void PutName(Narrower& n, const u8* token) {
    PutByte(n.to, *token);
    PutWord(n.to, NameNumber(n, ReadU16(token + 1)));
    PutZeros(n.to, NAME_TAIL);
}

// The number of a name that a link leads to; one that its book does not have is bad.
u16 LinkedName(Narrower& n, u32 externIndex, u16 name) {
    if (n.save.pocket || n.bad) return NameNumber(n, name);
    const Workbook& book = SavedBook(n.save);
    const ExternBook& target = book.externBooks[static_cast<u32>(book.externSheets[externIndex].externBook)];
    const u32 count = target.kind == EXTERN_SELF ? book.names.Count() : target.names.Count();
    n.bad = !name || name > count;
    return name;
}

void PutNameX(Narrower& n, const u8* token) {
    const u32 externIndex = ReadU16(token + 1);
    PutByte(n.to, *token);
    PutWord(n.to, ImageOfLink(n, externIndex).index);
    PutZeros(n.to, LINK_MIDDLE);
    PutWord(n.to, LinkedName(n, externIndex, ReadU16(token + 3)));
    PutZeros(n.to, NAME_TAIL);
}

bool IsLacking(const Narrower& n, u16 function) {
    if (n.save.pocket && !IsPocketFunction(function)) return true;
    return !(function & COMMAND_BIT) && function >= FIRST_FUNCTION_AFTER_95;
}

// Converts the whole token at `at`, `size` bytes long.
void NarrowToken(Narrower& n, const u8* token, u32 at, u32 size) {
    switch (FoldToken(*token)) {
        case ptgStr: return PutText(n, token);
        case ptgAttr: return PutAttr(n, token, at);
        case ptgName: return PutName(n, token);
        case ptgNameX: return PutNameX(n, token);
        case ptgRef:
        case ptgRefErr:
        case ptgRefN:
        case ptgArea:
        case ptgAreaErr:
        case ptgAreaN: return PutReference(n, token);
        case ptgRef3d:
        case ptgRefErr3d:
        case ptgArea3d:
        case ptgAreaErr3d: return PutReference3d(n, token);
        case ptgMemArea:
        case ptgMemErr:
        case ptgMemNoMem:
        case ptgMemFunc:
        case ptgMemAreaN:
        case ptgMemNoMemN: return PutMemory(n, token, at, size);
        // No tokens of this form, and other ones in the older forms.
        case 0x1A:
        case 0x1B:
        case 0x38:
        case ptgExtended: n.bad = true; return;
        // What stands in the bytes behind the token says nothing.
        case ptgArray:
            n.bad = n.bad || n.save.pocket;
            PutByte(n.to, *token);
            return PutZeros(n.to, size - 1);
        case ptgExp:
        case ptgTbl: n.bad = n.bad || n.save.pocket; break;
        case ptgFunc: n.bad = n.bad || IsLacking(n, ReadU16(token + 1)); break;
        case ptgFuncVar: n.bad = n.bad || IsLacking(n, ReadU16(token + 2)); break;
        default: break;
    }
    PutBytes(n.to, {token, size});
}

void NarrowStream(Narrower& n, const FormulaTokens& tokens) {
    for (u32 at = 0; at < tokens.length && !n.bad && !n.to.failed;) {
        const u32 size = NextToken(tokens.bytes, tokens.length, at) + 1 - at;
        const u32 start = n.to.out.Count();
        NarrowToken(n, tokens.bytes + at, at, size);
        NotePlaces(n.to, start, size);
        at += size;
    }
    EndRewrite(n.to);
}

// ---- what follows the tokens
// ----------------------------------------------------------------------------------

// One element of an array constant; returns its size, 0 when it is cut off.
std::size_t NarrowElement(Narrower& n, ByteView rest) {
    if (rest.size() < 4) return 0;
    const u8 kind = rest[0];
    PutByte(n.to, kind);
    if (kind != VT_STRING) {
        if (rest.size() < 9) return 0;
        PutBytes(n.to, rest.subspan(1, 8));
        return 9;
    }
    const std::size_t count = ReadU16(rest.data() + 1);
    const std::size_t width = rest[3] & 1 ? 2 : 1;
    if (rest.size() < 4 + count * width) return 0;
    WideText text;
    for (std::size_t i = 0; i < count && !n.to.failed; ++i) {
        const u8* c = rest.data() + 4 + i * width;
        n.to.failed = !text.Append(static_cast<char16_t>(width == 2 ? ReadU16(c) : *c));
    }
    PutNarrowText(n, text);
    return 4 + count * width;
}

// The block of one ptgArray; returns its size.
std::size_t NarrowArray(Narrower& n, ByteView extra) {
    if (extra.size() < 3) {
        n.bad = true;
        return extra.size();
    }
    const u32 columns = extra[0] + 1u;
    const u32 rows = ReadU16(extra.data() + 1) + 1u;
    PutByte(n.to, columns & 0xFF);
    PutWord(n.to, rows & 0xFFFF);
    std::size_t at = 3;
    for (u64 i = 0; i < u64{columns} * rows && !n.bad && !n.to.failed; ++i) {
        const std::size_t size = NarrowElement(n, extra.subspan(at));
        n.bad = n.bad || !size;
        at += size;
    }
    return at;
}

void NarrowExtra(Narrower& n, const FormulaTokens& tokens) {
    ByteView extra(tokens.bytes + tokens.length, tokens.extraLength);
    for (u32 p = 0; p < tokens.length && !n.bad; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        const u8 folded = FoldToken(tokens.bytes[p]);
        std::size_t used = 0;
        if (folded == ptgArray) used = NarrowArray(n, extra);
        if (folded == ptgMemArea && extra.size() >= 2) used = 2 + std::size_t{ReadU16(extra.data())} * 8;
        extra = extra.subspan(std::min(used, extra.size()));
    }
}

}  // namespace

bool IsPocketFunction(u16 function) {
    const i32 row = function == USER_FUNCTION || function & COMMAND_BIT ? -1 : FindFunctionById(function);
    if (row < 0) return false;
    const FunctionEntry& entry = FunctionTable[row];
    const bool works = entry.handler && entry.handler != ReturnNA && entry.handler != ReturnFalse &&
                       entry.handler != HandlerPending;
    return works && entry.category >= CATEGORY_FINANCIAL && entry.category <= CATEGORY_ENGINEERING;
}

bool NarrowTokens(SaveState& save, const FormulaTokens& tokens, bool offsets, u16& length) {
    Narrower n{save, save.narrowed, offsets};
    BeginRewrite(n.to, {tokens.bytes, tokens.length});
    n.bad = !TokensAreWhole(tokens);
    if (!n.bad) NarrowStream(n, tokens);
    const u32 streamLength = n.to.out.Count();
    if (!n.bad && !n.to.failed && !save.pocket) NarrowExtra(n, tokens);
    save.writer.failed = save.writer.failed || n.to.failed;
    length = static_cast<u16>(streamLength);
    if (!n.bad && streamLength <= 0xFFFF) return true;
    n.to.out.Truncate(0);
    if (!n.to.out.AppendMany(NOT_AVAILABLE, sizeof NOT_AVAILABLE)) save.writer.failed = true;
    length = sizeof NOT_AVAILABLE;
    return false;
}

TokenImage ImageOfTokens(SaveState& save, const FormulaTokens& tokens, bool offsets) {
    if (!HasFormula(tokens)) return {};
    if (save.biffVersion == 8) return {{tokens.bytes, TokenBytes(tokens)}, tokens.length};
    TokenImage image;
    if (!NarrowTokens(save, tokens, offsets, image.length)) save.losses |= LOSS_FORMULAS;
    image.bytes = save.narrowed.out.Span();
    return image;
}

}  // namespace tally
