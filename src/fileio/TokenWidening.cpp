#include <algorithm>

#include "base/Text.h"
#include "fileio/LoadState.h"
#include "formula/Links.h"

// The token strings of the older forms of the format, brought to BIFF8. Sizes and fields are those of
// the published formats; what differs between the versions is told by `version`: 2, 3, 4 or 5.

namespace tally {
namespace {

constexpr u8 OLD_SHEET = 0x1A, OLD_END_SHEET = 0x1B, OLD_COMMAND = 0x38;
constexpr u16 ROW_BITS = 0x3FFF;

// A length or jump that has to follow the growth of what lies in its span.
struct Patch {
    u32 at;       // of the u16 in the new tokens
    u32 newBase;  // the value counts from here
    u32 oldTarget;
    u32 less;  // subtracted from the new distance
};

struct Widening {
    LoadState& load;
    int version;
    ByteView old;
    Array<u8> out;
    Array<u32> places;  // new place of each old byte, one more for the end
    Array<Patch> patches;
    bool failed = false;  // memory

    void Put(u32 byte) { failed = failed || !out.Append(static_cast<u8>(byte)); }
    void PutWord(u32 word) {
        Put(word & 0xFF);
        Put(word >> 8);
    }
    void PutBytes(ByteView bytes) { failed = failed || !out.AppendMany(bytes.data(), bytes.size()); }
    void PutSpan(u32 newBase, u32 oldTarget, u32 less) {
        failed = failed || !patches.Append({out.Count(), newBase, oldTarget, less});
        PutWord(0);
    }
};

// Size of an old token behind its first byte; variable ones are told by their own routine.
u32 OldSize(int version, u8 folded) {
    const bool two = version == 2;
    switch (folded) {
        case ptgExp:
        case ptgTbl: return two ? 3 : 4;
        case OLD_SHEET: return two ? 7 : 10;
        case OLD_END_SHEET: return two ? 3 : 4;
        case ptgErr:
        case ptgBool: return 1;
        case ptgInt: return 2;
        case ptgNum: return 8;
        case ptgArray: return two ? 6 : 7;
        case ptgFunc: return version < 4 ? 1 : 2;
        case ptgFuncVar: return version < 4 ? 2 : 3;
        case OLD_COMMAND: return 2;
        case ptgName: return two ? 7 : version < 5 ? 10 : 14;
        case ptgRef:
        case ptgRefErr:
        case ptgRefN: return 3;
        case ptgArea:
        case ptgAreaErr:
        case ptgAreaN: return 6;
        case ptgMemArea:
        case ptgMemErr:
        case ptgMemNoMem: return two ? 4 : 6;
        case ptgMemFunc:
        case ptgMemAreaN:
        case ptgMemNoMemN: return two ? 1 : 2;
        case ptgNameX: return 24;
        case ptgRef3d:
        case ptgRefErr3d: return 17;
        case ptgArea3d:
        case ptgAreaErr3d: return 20;
        default: return 0;
    }
}

// Rows have 14 bits; an offset among them is signed.
u16 WideRow(u16 word, bool offset) {
    u16 row = word & ROW_BITS;
    if (offset && (word & 0x8000) && (row & 0x2000)) row |= 0xC000;
    return row;
}

void PutRef(Widening& w, ByteView operand, bool offset) {
    const u16 word = WordAt(operand, 0);
    w.PutWord(WideRow(word, offset));
    w.Put(ByteAt(operand, 2));
    w.Put(word >> 8 & 0xC0u);
}

void PutArea(Widening& w, ByteView operand, bool offset) {
    const u16 first = WordAt(operand, 0);
    const u16 last = WordAt(operand, 2);
    w.PutWord(WideRow(first, offset));
    w.PutWord(WideRow(last, offset));
    w.Put(ByteAt(operand, 4));
    w.Put(first >> 8 & 0xC0u);
    w.Put(ByteAt(operand, 5));
    w.Put(last >> 8 & 0xC0u);
}

u32 PutString(Widening& w, ByteView rest) {
    const u32 length = ByteAt(rest, 1);
    if (ReadBiffString(From(rest, 2), 7, LoadedBook(w.load).codePage, length, w.load.text) == STRING_FAILED) {
        w.failed = true;
        return 0;
    }
    const WideView text = w.load.text.View().substr(0, 255);
    const bool wide = std::any_of(text.begin(), text.end(), [](char16_t c) { return c > 255; });
    w.Put(ptgStr);
    w.Put(static_cast<u32>(text.size()));
    w.Put(wide);
    for (char16_t c : text) {
        w.Put(c & 0xFFu);
        if (wide) w.Put(c >> 8u);
    }
    return length + 2;
}

u32 PutChoose(Widening& w, ByteView rest, u32 at) {
    const u32 field = w.version == 2 ? 1 : 2;
    const u32 count = field == 1 ? ByteAt(rest, 2) : WordAt(rest, 2);
    const u32 tableOld = at + 2 + field;
    w.Put(ptgAttr);
    w.Put(ATTR_CHOOSE);
    w.PutWord(count);
    const u32 tableNew = w.out.Count();
    for (u32 i = 0; i <= count && !w.failed; ++i) {
        const std::size_t entry = 2 + field + std::size_t{i} * field;
        if (entry >= rest.size()) break;
        const u32 offset = field == 1 ? ByteAt(rest, entry) : WordAt(rest, entry);
        w.PutSpan(tableNew, tableOld + offset, 0);
    }
    return 2 + field + (count + 1) * field;
}

u32 PutAttr(Widening& w, ByteView rest, u32 at) {
    const u8 kind = ByteAt(rest, 1);
    if (kind == ATTR_CHOOSE) return PutChoose(w, rest, at);
    const u32 size = w.version == 2 ? 3 : 4;
    const u32 argument = w.version == 2 ? ByteAt(rest, 2) : WordAt(rest, 2);
    w.Put(ptgAttr);
    w.Put(kind);
    const u32 next = w.out.Count() + 2;
    if (kind == ATTR_IF) {
        w.PutSpan(next, at + size + argument, 0);
    } else if (kind == ATTR_GOTO) {
        // The distance of a jump is one less than the bytes that it passes over.
        w.PutSpan(next, at + size + argument + 1, 1);
    } else {
        w.PutWord(argument);
    }
    return size;
}

// The tokens that hold the size of the subexpression behind them.
void PutMemory(Widening& w, u8 token, ByteView rest, u32 at, u32 size) {
    const u8 folded = FoldToken(token);
    const bool reserved = folded == ptgMemArea || folded == ptgMemErr || folded == ptgMemNoMem;
    w.Put(token);
    if (reserved) {
        w.Put(ByteAt(rest, 1));
        w.PutBytes(Part(ByteView(reinterpret_cast<const u8*>("\0\0\0"), 3), 0, 3));
    }
    const u32 span = w.version == 2 ? ByteAt(rest, size) : WordAt(rest, size - 1);
    w.PutSpan(w.out.Count() + 2, at + size + 1 + span, 0);
}

// ---- references beyond the sheet ------------------------------------------------------------------

// A link's text in two parts: the stored path of the book, and the sheet.
bool SplitLinkText(WideView text, WideText& path, WideView& sheet) {
    const std::size_t open = text.rfind(u'[');
    const std::size_t close = text.rfind(u']');
    if (open == WideView::npos || close == WideView::npos || close < open) {
        sheet = {};
        return path.Assign(text);
    }
    sheet = text.substr(close + 1);
    return path.Assign(text.substr(0, open)) && path.Append(text.substr(open + 1, close - open - 1));
}

// The row of the book's extern books that a table entry stands for, and its one sheet.
i32 ExternBookOf(Widening& w, const ExternSheetEntry& entry, i32& sheet) {
    Workbook& book = LoadedBook(w.load);
    sheet = EXTERN_NO_SHEET;
    if (entry.kind == EXTERNSHEET_ADDIN) return FindOrAddExternBook(book, EXTERN_ADDIN);
    if (entry.kind != EXTERNSHEET_TEXT) return FindOrAddExternBook(book, EXTERN_SELF);
    const WideView text = entry.text;
    if (!text.empty() && text[0] == 3) {
        sheet = FindSheet(w.load.book, text.substr(1));
        return FindOrAddExternBook(book, EXTERN_SELF);
    }
    WideText path;
    WideView name;
    if (!SplitLinkText(text, path, name)) return -1;
    i32 row = -1;
    for (u32 i = 0; i < book.externBooks.Count() && row < 0; ++i) {
        const ExternBook& known = book.externBooks[i];
        if (known.kind == EXTERN_FILE && EqualIgnoringCase(known.path, path)) row = static_cast<i32>(i);
    }
    if (row < 0) {
        ExternBook* added = book.externBooks.AppendDefault();
        if (!added) return -1;
        added->path = std::move(path);
        row = static_cast<i32>(book.externBooks.Count()) - 1;
    }
    if (!name.empty()) sheet = AddExternSheetName(book.externBooks[static_cast<u32>(row)], name);
    return row;
}

// The extern index of a 3-D token's first operand; the tabs count only for the own book.
i32 ExternIndexOf(Widening& w, ByteView operand, i32 firstTab, i32 lastTab, i32* externBook) {
    Workbook& book = LoadedBook(w.load);
    const i16 index = static_cast<i16>(WordAt(operand, 0));
    i32 sheet = EXTERN_NO_SHEET;
    i32 row = -1;
    if (index < 0 || static_cast<u32>(index) > w.load.externTable.Count() || index == 0) {
        row = FindOrAddExternBook(book, EXTERN_SELF);
    } else {
        row = ExternBookOf(w, w.load.externTable[static_cast<u32>(index) - 1], sheet);
        firstTab = lastTab = sheet;
    }
    if (externBook) *externBook = row;
    const i32 found = row < 0 ? -1 : FindExternSheet(book, row, firstTab, lastTab);
    w.failed = w.failed || found < 0;
    return found;
}

void PutReference3d(Widening& w, u8 token, ByteView rest) {
    const ByteView operand = From(rest, 1);
    const i32 first = static_cast<i16>(WordAt(operand, 10));
    const i32 last = static_cast<i16>(WordAt(operand, 12));
    const i32 index = ExternIndexOf(w, operand, first, last, nullptr);
    const u8 folded = FoldToken(token);
    w.Put(token);
    w.PutWord(static_cast<u32>(index) & 0xFFFF);
    if (folded == ptgRef3d || folded == ptgRefErr3d) {
        PutRef(w, From(operand, 14), false);
    } else {
        PutArea(w, From(operand, 14), false);
    }
}

void PutNameX(Widening& w, u8 token, ByteView rest) {
    const ByteView operand = From(rest, 1);
    Workbook& book = LoadedBook(w.load);
    i32 externBook = -1;
    const i16 entry = static_cast<i16>(WordAt(operand, 0));
    const i32 index = ExternIndexOf(w, operand, EXTERN_NO_SHEET, EXTERN_NO_SHEET, &externBook);
    u32 name = WordAt(operand, 10);
    if (entry > 0 && static_cast<u32>(entry) <= w.load.externTable.Count() && externBook >= 0 &&
        book.externBooks[static_cast<u32>(externBook)].kind != EXTERN_SELF) {
        const Array<WideText>& names = w.load.externTable[static_cast<u32>(entry) - 1].names;
        const WideView text = name >= 1 && name <= names.Count() ? names[name - 1].View() : WideView();
        const i32 place = FindOrAddExternName(book.externBooks[static_cast<u32>(externBook)], text);
        w.failed = w.failed || place < 0;
        name = static_cast<u32>(place + 1);
    }
    w.Put(token);
    w.PutWord(static_cast<u32>(index) & 0xFFFF);
    w.PutWord(name);
    w.PutWord(0);
}

// ---- the walk -------------------------------------------------------------------------------------

void PutFunction(Widening& w, u8 token, ByteView rest) {
    const bool bytes = w.version < 4;
    switch (FoldToken(token)) {
        case ptgFunc:
            w.Put(token);
            w.PutWord(bytes ? ByteAt(rest, 1) : WordAt(rest, 1));
            return;
        case ptgFuncVar:
            w.Put(token);
            w.Put(ByteAt(rest, 1));
            w.PutWord(bytes ? ByteAt(rest, 2) : WordAt(rest, 2));
            return;
        default:  // a command of the oldest forms
            w.Put((token & 0x60u) | ptgFuncVar % 0x20u);
            w.Put(ByteAt(rest, 1));
            w.PutWord(ByteAt(rest, 2) | 0x8000u);
            return;
    }
}

// Converts the token at `at`; returns its old size with the first byte.
u32 WidenToken(Widening& w, u32 at) {
    const ByteView rest = From(w.old, at);
    const u8 token = rest[0];
    const u8 folded = FoldToken(token);
    const u32 size = OldSize(w.version, folded);
    switch (folded) {
        case ptgStr: return PutString(w, rest);
        case ptgAttr: return PutAttr(w, rest, at);
        case OLD_SHEET:
        case OLD_END_SHEET: break;
        case ptgExp:
        case ptgTbl:
            w.Put(token);
            w.PutWord(WordAt(rest, 1));
            w.PutWord(w.version == 2 ? ByteAt(rest, 3) : WordAt(rest, 3));
            break;
        case ptgFunc:
        case ptgFuncVar:
        case OLD_COMMAND: PutFunction(w, token, rest); break;
        case ptgArray:
            w.Put(token);
            for (int i = 0; i < 7; ++i) w.Put(0);
            break;
        case ptgName:
            w.Put(token);
            w.PutWord(WordAt(rest, 1));
            w.PutWord(0);
            break;
        case ptgRef:
        case ptgRefErr:
        case ptgRefN:
            w.Put(token);
            PutRef(w, From(rest, 1), folded == ptgRefN);
            break;
        case ptgArea:
        case ptgAreaErr:
        case ptgAreaN:
            w.Put(token);
            PutArea(w, From(rest, 1), folded == ptgAreaN);
            break;
        case ptgMemArea:
        case ptgMemErr:
        case ptgMemNoMem:
        case ptgMemFunc:
        case ptgMemAreaN:
        case ptgMemNoMemN: PutMemory(w, token, rest, at, size); break;
        case ptgNameX: PutNameX(w, token, rest); break;
        case ptgRef3d:
        case ptgRefErr3d:
        case ptgArea3d:
        case ptgAreaErr3d: PutReference3d(w, token, rest); break;
        default:
            w.PutBytes(Part(rest, 0, size + 1));
            for (std::size_t i = rest.size(); i < size + 1; ++i) w.Put(0);
            break;
    }
    return size + 1;
}

void WidenStream(Widening& w) {
    u32 at = 0;
    while (at < w.old.size() && !w.failed) {
        const u32 start = w.out.Count();
        const u32 size = WidenToken(w, at);
        for (u32 i = 0; i < size && at < w.old.size() && !w.failed; ++i, ++at) {
            w.failed = !w.places.Append(start + i);
        }
        if (!size) break;
    }
    w.failed = w.failed || !w.places.Append(w.out.Count());
}

void ApplyPatches(Widening& w) {
    for (const Patch& patch : w.patches) {
        const u32 last = w.places.Count() - 1;
        const u32 target = w.places[patch.oldTarget < last ? patch.oldTarget : last];
        const u32 distance = target >= patch.newBase + patch.less ? target - patch.newBase - patch.less : 0;
        PutU16(w.out.Data() + patch.at, distance);
    }
}

// ---- array constants ------------------------------------------------------------------------------

// From the older form of the blocks (counts as they are, byte lengths) to that of BIFF8.
u32 WidenArrayElement(Widening& w, ByteView rest) {
    const u8 kind = ByteAt(rest, 0);
    w.Put(kind);
    if (kind != 2) {
        for (std::size_t i = 0; i < 8; ++i) w.Put(ByteAt(rest, 1 + i));
        return 9;
    }
    const u32 length = ByteAt(rest, 1);
    if (ReadBiffString(From(rest, 2), 7, LoadedBook(w.load).codePage, length, w.load.text) == STRING_FAILED)
        w.failed = true;
    w.PutWord(w.load.text.Length());
    w.Put(1);
    for (char16_t c : w.load.text.View()) w.PutWord(c);
    return 2 + length;
}

void WidenArrays(Widening& w, ByteView extra) {
    std::size_t at = 0;
    while (at + 3 <= extra.size() && !w.failed) {
        const u32 columns = ByteAt(extra, at) ? ByteAt(extra, at) : 256;
        const u32 rows = WordAt(extra, at + 1) ? WordAt(extra, at + 1) : 65536;
        w.Put((columns - 1) & 0xFF);
        w.PutWord((rows - 1) & 0xFFFF);
        at += 3;
        for (u64 i = 0; i < u64{columns} * rows && at < extra.size() && !w.failed; ++i)
            at += WidenArrayElement(w, From(extra, at));
    }
}

bool Widen(LoadState& load, int version, ByteView tokens, ByteView extra, FormulaTokens& out) {
    Widening w{load, version, tokens, {}, {}, {}};
    if (!w.out.Reserve(tokens.size() * 2 + 8) || !w.places.Reserve(tokens.size() + 1)) return false;
    WidenStream(w);
    if (w.failed) return false;
    ApplyPatches(w);
    const u32 length = w.out.Count();
    WidenArrays(w, extra);
    if (w.failed) return false;
    // What does not fit a token string keeps its cached value and loses its formula.
    if (length > 0xFFFF || w.out.Count() - length > 0xFFFF || !length) return true;
    const ByteView all = w.out.Span();
    return MakeTokens(out, all.first(length), all.subspan(length));
}

}  // namespace

bool WidenTokens(LoadState& load, ByteView tokens, ByteView extra, FormulaTokens& out) {
    return Widen(load, 5, tokens, extra, out);
}

bool WidenOldTokens(LoadState& load, int version, ByteView tokens, ByteView extra, FormulaTokens& out) {
    return Widen(load, version, tokens, extra, out);
}

}  // namespace tally
