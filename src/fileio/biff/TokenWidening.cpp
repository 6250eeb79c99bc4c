#include <algorithm>

#include "base/Text.h"
#include "fileio/biff/LoadState.h"
#include "fileio/biff/TokenRewrite.h"
#include "formula/Links.h"

// The token strings of the older forms of the format, brought to BIFF8. Sizes and fields are those of
// the published formats; what differs between the versions is told by `version`: 2, 3, 4, 5 or POCKET_FORM.

namespace tally {
namespace {

constexpr u8 OLD_SHEET = 0x1A, OLD_END_SHEET = 0x1B, OLD_COMMAND = 0x38;
constexpr u16 ROW_BITS = 0x3FFF;
// The pocket form is that of BIFF5 with the texts of BIFF8; it has no tables of links.
constexpr int POCKET_FORM = 6;
constexpr u32 MOST_POCKET_LINKS = 30000, MOST_POCKET_NAME_LINKS = 4096;

struct Widening {
    LoadState& load;
    int version;
    bool offsets;  // relative rows are distances that wrap
    TokenRewrite to;
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
    PutWord(w.to, WideRow(word, offset));
    PutByte(w.to, ByteAt(operand, 2));
    PutByte(w.to, word >> 8 & 0xC0u);
}

void PutArea(Widening& w, ByteView operand, bool offset) {
    const u16 first = WordAt(operand, 0);
    const u16 last = WordAt(operand, 2);
    // All rows of the older form are all rows of this one.
    const bool distance = offset && (last & 0x8000);
    const bool whole = (first & ROW_BITS) == 0 && (last & ROW_BITS) == ROW_BITS && !distance;
    PutWord(w.to, WideRow(first, offset));
    PutWord(w.to, whole ? u16{MAX_ROWS - 1} : WideRow(last, offset));
    PutByte(w.to, ByteAt(operand, 4));
    PutByte(w.to, first >> 8 & 0xC0u);
    PutByte(w.to, ByteAt(operand, 5));
    PutByte(w.to, last >> 8 & 0xC0u);
}

u32 PutString(Widening& w, ByteView rest) {
    const u8 form = w.version == POCKET_FORM ? 8 : 7;
    const std::size_t used =
        ReadBiffString(From(rest, 2), form, LoadedBook(w.load).codePage, ByteAt(rest, 1), w.load.text);
    if (used == STRING_FAILED) {
        w.to.failed = true;
        return 0;
    }
    const WideView text = w.load.text.View().substr(0, 255);
    const bool wide = std::any_of(text.begin(), text.end(), [](char16_t c) { return c > 255; });
    PutByte(w.to, ptgStr);
    PutByte(w.to, static_cast<u32>(text.size()));
    PutByte(w.to, wide);
    for (char16_t c : text) {
        PutByte(w.to, c & 0xFFu);
        if (wide) PutByte(w.to, c >> 8u);
    }
    return static_cast<u32>(used) + 2;
}

u32 PutChoose(Widening& w, ByteView rest, u32 at) {
    const u32 field = w.version == 2 ? 1 : 2;
    const u32 count = field == 1 ? ByteAt(rest, 2) : WordAt(rest, 2);
    const u32 tableOld = at + 2 + field;
    PutByte(w.to, ptgAttr);
    PutByte(w.to, ATTR_CHOOSE);
    PutWord(w.to, count);
    const u32 tableNew = w.to.out.Count();
    for (u32 i = 0; i <= count && !w.to.failed; ++i) {
        const std::size_t entry = 2 + field + std::size_t{i} * field;
        if (entry >= rest.size()) break;
        const u32 offset = field == 1 ? ByteAt(rest, entry) : WordAt(rest, entry);
        PutSpan(w.to, tableNew, tableOld + offset, 0);
    }
    return 2 + field + (count + 1) * field;
}

u32 PutAttr(Widening& w, ByteView rest, u32 at) {
    const u8 kind = ByteAt(rest, 1);
    if (kind == ATTR_CHOOSE) return PutChoose(w, rest, at);
    const u32 size = w.version == 2 ? 3 : 4;
    const u32 argument = w.version == 2 ? ByteAt(rest, 2) : WordAt(rest, 2);
    PutByte(w.to, ptgAttr);
    PutByte(w.to, kind);
    const u32 next = w.to.out.Count() + 2;
    if (kind == ATTR_IF) {
        PutSpan(w.to, next, at + size + argument, 0);
    } else if (kind == ATTR_GOTO) {
        // The distance of a jump is one less than the bytes that it passes over.
        PutSpan(w.to, next, at + size + argument + 1, 1);
    } else {
        PutWord(w.to, argument);
    }
    return size;
}

// The tokens that hold the size of the subexpression behind them.
void PutMemory(Widening& w, u8 token, ByteView rest, u32 at, u32 size) {
    const u8 folded = FoldToken(token);
    const bool reserved = folded == ptgMemArea || folded == ptgMemErr || folded == ptgMemNoMem;
    PutByte(w.to, token);
    if (reserved) {
        PutByte(w.to, ByteAt(rest, 1));
        PutZeros(w.to, 3);
    }
    const u32 span = w.version == 2 ? ByteAt(rest, size) : WordAt(rest, size - 1);
    PutSpan(w.to, w.to.out.Count() + 2, at + size + 1 + span, 0);
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

}  // namespace

i32 ExternBookOfEntry(LoadState& load, const ExternSheetEntry& entry, i32& sheet) {
    Workbook& book = LoadedBook(load);
    sheet = EXTERN_NO_SHEET;
    if (entry.kind == EXTERNSHEET_ADDIN) return FindOrAddExternBook(book, EXTERN_ADDIN);
    if (entry.kind != EXTERNSHEET_TEXT) return FindOrAddExternBook(book, EXTERN_SELF);
    const u64 failures = FailedAllocations();
    const WideView text = entry.text;
    if (!text.empty() && text[0] == 3) {
        sheet = FindSheet(load.book, text.substr(1));
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
    return FailedAllocations() == failures ? row : -1;
}

namespace {

// The tab of a pocket file: what lies beyond its sheets is a deleted sheet. Names may stand in front of the
// sheets, so theirs are not judged yet.
i32 PocketTab(const Widening& w, i32 tab) {
    const Workbook& book = LoadedBook(w.load);
    const bool known = w.offsets || static_cast<u32>(tab) < book.sheets.Count();
    const u32 most = w.offsets ? MOST_POCKET_NAME_LINKS : MOST_POCKET_LINKS;
    return tab >= 0 && known && book.externSheets.Count() < most ? tab : -1;
}

// The extern index of a 3-D token's first operand; the tabs count only for the own book.
i32 ExternIndexOf(Widening& w, ByteView operand, i32 firstTab, i32 lastTab, i32* externBook) {
    Workbook& book = LoadedBook(w.load);
    if (w.version == POCKET_FORM && firstTab != EXTERN_NO_SHEET) {
        firstTab = PocketTab(w, firstTab);
        lastTab = PocketTab(w, lastTab);
    }
    const i16 index = static_cast<i16>(WordAt(operand, 0));
    i32 sheet = EXTERN_NO_SHEET;
    i32 row = -1;
    if (index < 0 || static_cast<u32>(index) > w.load.externTable.Count() || index == 0) {
        row = FindOrAddExternBook(book, EXTERN_SELF);
    } else {
        row = ExternBookOfEntry(w.load, w.load.externTable[static_cast<u32>(index) - 1], sheet);
        firstTab = lastTab = sheet;
    }
    if (externBook) *externBook = row;
    const i32 found = row < 0 ? -1 : FindExternSheet(book, row, firstTab, lastTab);
    w.to.failed = w.to.failed || found < 0;
    return found;
}

void PutReference3d(Widening& w, u8 token, ByteView rest) {
    const ByteView operand = From(rest, 1);
    const i32 first = static_cast<i16>(WordAt(operand, 10));
    const i32 last = static_cast<i16>(WordAt(operand, 12));
    const i32 index = ExternIndexOf(w, operand, first, last, nullptr);
    const u8 folded = FoldToken(token);
    PutByte(w.to, token);
    PutWord(w.to, static_cast<u32>(index) & 0xFFFF);
    if (folded == ptgRef3d || folded == ptgRefErr3d) {
        PutRef(w, From(operand, 14), w.offsets);
    } else {
        PutArea(w, From(operand, 14), w.offsets);
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
        w.to.failed = w.to.failed || place < 0;
        name = static_cast<u32>(place + 1);
    }
    PutByte(w.to, token);
    PutWord(w.to, static_cast<u32>(index) & 0xFFFF);
    PutWord(w.to, name);
    PutWord(w.to, 0);
}

// ---- the walk -------------------------------------------------------------------------------------

void PutFunction(Widening& w, u8 token, ByteView rest) {
    const bool bytes = w.version < 4;
    switch (FoldToken(token)) {
        case ptgFunc:
            PutByte(w.to, token);
            PutWord(w.to, bytes ? ByteAt(rest, 1) : WordAt(rest, 1));
            return;
        case ptgFuncVar:
            PutByte(w.to, token);
            PutByte(w.to, ByteAt(rest, 1));
            PutWord(w.to, bytes ? ByteAt(rest, 2) : WordAt(rest, 2));
            return;
        default:  // a command of the oldest forms
            PutByte(w.to, (token & 0x60u) | ptgFuncVar % 0x20u);
            PutByte(w.to, ByteAt(rest, 1));
            PutWord(w.to, ByteAt(rest, 2) | 0x8000u);
            return;
    }
}

// Converts the token at `at`; returns its old size with the first byte.
u32 WidenToken(Widening& w, u32 at) {
    const ByteView rest = From(w.to.old, at);
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
            PutByte(w.to, token);
            PutWord(w.to, WordAt(rest, 1));
            PutWord(w.to, w.version == 2 ? ByteAt(rest, 3) : WordAt(rest, 3));
            break;
        case ptgFunc:
        case ptgFuncVar:
        case OLD_COMMAND: PutFunction(w, token, rest); break;
        case ptgArray:
            PutByte(w.to, token);
            for (int i = 0; i < 7; ++i) PutByte(w.to, 0);
            break;
        case ptgName:
            PutByte(w.to, token);
            PutWord(w.to, WordAt(rest, 1) + (w.version < 5 ? w.load.nameBase : 0));
            PutWord(w.to, 0);
            break;
        case ptgRef:
        case ptgRefErr:
        case ptgRefN:
            PutByte(w.to, token);
            PutRef(w, From(rest, 1), w.offsets || folded == ptgRefN);
            break;
        case ptgArea:
        case ptgAreaErr:
        case ptgAreaN:
            PutByte(w.to, token);
            PutArea(w, From(rest, 1), w.offsets || folded == ptgAreaN);
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
            PutBytes(w.to, Part(rest, 0, size + 1));
            for (std::size_t i = rest.size(); i < size + 1; ++i) PutByte(w.to, 0);
            break;
    }
    return size + 1;
}

void WidenStream(Widening& w) {
    u32 at = 0;
    while (at < w.to.old.size() && !w.to.failed) {
        const u32 start = w.to.out.Count();
        const u32 size = WidenToken(w, at);
        NotePlaces(w.to, start, size);
        if (!size) break;
        at = w.to.places.Count();
    }
    EndRewrite(w.to);
}

// ---- what follows the tokens -----------------------------------------------------------------------

// From the older form of the blocks (counts as they are, byte lengths) to that of BIFF8.
u32 WidenArrayElement(Widening& w, ByteView rest) {
    const u8 kind = ByteAt(rest, 0);
    PutByte(w.to, kind);
    if (kind != 2) {
        for (std::size_t i = 0; i < 8; ++i) PutByte(w.to, ByteAt(rest, 1 + i));
        return 9;
    }
    const u32 length = ByteAt(rest, 1);
    if (ReadBiffString(From(rest, 2), 7, LoadedBook(w.load).codePage, length, w.load.text) == STRING_FAILED)
        w.to.failed = true;
    PutWord(w.to, w.load.text.Length());
    PutByte(w.to, 1);
    for (char16_t c : w.load.text.View()) PutWord(w.to, c);
    return 2 + length;
}

// The block of one ptgArray; returns its size.
std::size_t WidenArray(Widening& w, ByteView extra) {
    if (extra.size() < 3) return extra.size();
    const u32 columns = extra[0] ? extra[0] : 256;
    const u32 rows = WordAt(extra, 1) ? WordAt(extra, 1) : 65536;
    PutByte(w.to, (columns - 1) & 0xFF);
    PutWord(w.to, (rows - 1) & 0xFFFF);
    std::size_t at = 3;
    for (u64 i = 0; i < u64{columns} * rows && at < extra.size() && !w.to.failed; ++i)
        at += WidenArrayElement(w, From(extra, at));
    return at;
}

// The areas of one ptgMemArea, whose columns have a byte in the older forms; returns their size.
std::size_t WidenAreaList(Widening& w, ByteView extra) {
    constexpr std::size_t AREA_BYTES = 6;
    if (extra.size() < 2) return extra.size();
    const std::size_t count = std::min<std::size_t>(WordAt(extra, 0), (extra.size() - 2) / AREA_BYTES);
    PutWord(w.to, static_cast<u32>(count));
    for (std::size_t i = 0; i < count && !w.to.failed; ++i) {
        const std::size_t at = 2 + i * AREA_BYTES;
        PutBytes(w.to, extra.subspan(at, 4));
        PutWord(w.to, extra[at + 4]);
        PutWord(w.to, extra[at + 5]);
    }
    return 2 + count * AREA_BYTES;
}

void WidenExtra(Widening& w, ByteView extra) {
    const u32 length = w.to.out.Count();
    for (u32 p = 0; p < length && !extra.empty() && !w.to.failed;
         p = NextToken(w.to.out.Data(), length, p) + 1) {
        const u8 folded = FoldToken(w.to.out[p]);
        std::size_t used = 0;
        if (folded == ptgArray) used = WidenArray(w, extra);
        if (folded == ptgMemArea) used = WidenAreaList(w, extra);
        extra = extra.subspan(std::min(used, extra.size()));
    }
}

bool Widen(LoadState& load, int version, bool offsets, ByteView tokens, ByteView extra, FormulaTokens& out) {
    Widening w{load, version, offsets, {}};
    BeginRewrite(w.to, tokens);
    WidenStream(w);
    if (w.to.failed) return false;
    const u32 length = w.to.out.Count();
    WidenExtra(w, extra);
    if (w.to.failed) return false;
    // What does not fit a token string keeps its cached value and loses its formula.
    if (length > 0xFFFF || w.to.out.Count() - length > 0xFFFF || !length) return true;
    const ByteView all = w.to.out.Span();
    return MakeTokens(out, all.first(length), all.subspan(length));
}

}  // namespace

bool WidenTokens(LoadState& load, ByteView tokens, ByteView extra, FormulaTokens& out, bool offsets) {
    return Widen(load, 5, offsets, tokens, extra, out);
}

bool WidenPocketTokens(LoadState& load, ByteView tokens, bool offsets, FormulaTokens& out) {
    return Widen(load, POCKET_FORM, offsets, tokens, {}, out);
}

bool WidenOldTokens(LoadState& load, int version, ByteView tokens, ByteView extra, FormulaTokens& out) {
    return Widen(load, version, false, tokens, extra, out);
}

}  // namespace tally
