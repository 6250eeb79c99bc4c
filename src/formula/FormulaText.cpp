#include "formula/FormulaText.h"

#include "base/Number.h"
#include "display/DisplayText.h"
#include "display/LocaleSettings.h"
#include "formula/Coercion.h"
#include "formula/Links.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u16 ID_CALL_NAME = 255, ID_TABLE = 32809, ID_SUM = 4;
constexpr i32 NUMBER_DIGITS = 15;
constexpr u32 NONE = 0xFFFFFFFF;
constexpr u32 MAX_TEXT = 1u << 24;  // characters of the pool: what damaged tokens can ask for at most

// A piece of text; the operands are chains of pieces, so that nothing is moved when they are joined.
struct Piece {
    u32 start;
    u32 length;
    u32 next;
};
struct Chain {
    u32 head = NONE;
    u32 tail = NONE;
};

struct Printer {
    i32 book;
    i32 row;
    i32 column;
    bool useA1;
    const FormulaTokens& tokens;
    WideText pool;
    Array<Piece> pieces;
    Array<Chain> operands;
    u32 extraAt = 0;  // in the trailing data
    bool good = true;

    Chain Text(WideView text) {
        Chain chain;
        const u32 start = pool.Length();
        if (start + text.size() > MAX_TEXT) good = false;
        good = good && pool.Append(text);
        return good ? Rest(start) : chain;
    }
    // What has been appended to the pool since `start`, as a chain.
    Chain Rest(u32 start) {
        const u32 index = pieces.Count();
        good = good && pieces.Append({start, pool.Length() - start, NONE});
        return good ? Chain{index, index} : Chain{};
    }
    Chain Join(Chain a, Chain b) {
        if (a.head == NONE) return b;
        if (b.head == NONE) return a;
        pieces[a.tail].next = b.head;
        return {a.head, b.tail};
    }
    void Push(Chain chain) { good = good && operands.Append(chain); }
    Chain Pop() {
        if (operands.IsEmpty()) return {};
        const Chain top = operands.Last();
        operands.RemoveLast();
        return top;
    }
    const u8* At(u32 position) const { return tokens.bytes + position; }
};

WideView OperatorText(u8 token) {
    switch (token) {
        case ptgAdd: return u"+";
        case ptgSub: return u"-";
        case ptgMul: return u"*";
        case ptgDiv: return u"/";
        case ptgPower: return u"^";
        case ptgConcat: return u"&";
        case ptgLT: return u"<";
        case ptgLE: return u"<=";
        case ptgEQ: return u"=";
        case ptgGE: return u">=";
        case ptgGT: return u">";
        case ptgNE: return u"<>";
        case ptgIsect: return u" ";
        case ptgRange: return u":";
        default: return {};
    }
}

void PutBinary(Printer& p, WideView text) {
    const Chain right = p.Pop();
    const Chain left = p.Pop();
    p.Push(p.Join(p.Join(left, p.Text(text)), right));
}

void PutAround(Printer& p, WideView before, WideView behind) {
    Chain chain = p.Pop();
    if (!before.empty()) chain = p.Join(p.Text(before), chain);
    if (!behind.empty()) chain = p.Join(chain, p.Text(behind));
    p.Push(chain);
}

// Text that a routine appends to the pool, as a new operand.
template <typename Write>
void PushWritten(Printer& p, Write write) {
    const u32 start = p.pool.Length();
    p.good = p.good && start < MAX_TEXT && write(p.pool);
    if (p.good) p.Push(p.Rest(start));
}

// The characters of a string token or element; `at` its first byte.
bool AppendCharacters(WideText& out, const u8* at, u32 count, bool wide, bool doubled) {
    for (u32 i = 0; i < count; ++i) {
        const char16_t c = wide ? static_cast<char16_t>(ReadU16(at + 2 * i)) : at[i];
        if (doubled && c == u'"' && !out.Append(c)) return false;
        if (!out.Append(c)) return false;
    }
    return true;
}

// ---- array constants ------------------------------------------------------------------------------

struct Extra {
    const u8* bytes;
    u32 left;
};

// Prints one element and steps over it.
bool AppendElement(Printer& p, Extra& extra, WideText& out) {
    if (!extra.left) return true;
    const u8 kind = extra.bytes[0];
    u32 size = 9;
    bool good = true;
    if (kind == VT_STRING) {
        if (extra.left < 4) {
            extra.left = 0;
            return true;
        }
        const bool wide = extra.bytes[3] & 1;
        u32 count = ReadU16(extra.bytes + 1);
        if (count * (wide ? 2 : 1) > extra.left - 4) count = (extra.left - 4) / (wide ? 2 : 1);
        size = 4 + count * (wide ? 2 : 1);
        good =
            out.Append(u'"') && AppendCharacters(out, extra.bytes + 4, count, wide, false) && out.Append(u'"');
    } else if (extra.left >= 9) {
        if (kind == VT_NUMBER) good = NumberToText(ReadF64(extra.bytes + 1), NUMBER_DIGITS, out);
        if (kind == VT_BOOL) good = out.Append(BoolText(extra.bytes[1] != 0));
        if (kind == VT_ERROR) good = out.Append(ErrorText(ErrorFromBiff(extra.bytes[1])));
    }
    size = size < extra.left ? size : extra.left;
    extra.bytes += size;
    extra.left -= size;
    p.extraAt += size;
    return good;
}

bool AppendArray(Printer& p, WideText& out) {
    const u32 total = p.tokens.extraLength;
    Extra extra = {p.tokens.bytes + p.tokens.length + p.extraAt, total - p.extraAt};
    if (!out.Append(u'{')) return false;
    if (extra.left >= 3) {
        const u32 columns = extra.bytes[0] + 1u;
        const u32 rows = ReadU16(extra.bytes + 1) + 1u;
        extra.bytes += 3;
        extra.left -= 3;
        p.extraAt += 3;
        const char16_t separator = Locale().listSeparator == u',' ? u',' : u'\\';
        for (u32 i = 0; i < columns * rows && extra.left; ++i) {
            if (i && !out.Append(i % columns ? separator : u';')) return false;
            if (!AppendElement(p, extra, out)) return false;
        }
    }
    return out.Append(u'}');
}

// ---- references -----------------------------------------------------------------------------------

u16 AreaFlagsOf(u8 nibble, bool useA1) {
    u16 flags = useA1 ? u16{AREA_USE_A1} : u16{0};
    if (nibble & FIRST_ROW_RELATIVE) flags |= AREA_FIRST_ROW_RELATIVE;
    if (nibble & FIRST_COLUMN_RELATIVE) flags |= AREA_FIRST_COLUMN_RELATIVE;
    if (nibble & LAST_ROW_RELATIVE) flags |= AREA_LAST_ROW_RELATIVE;
    if (nibble & LAST_COLUMN_RELATIVE) flags |= AREA_LAST_COLUMN_RELATIVE;
    return flags;
}

void PushReference(Printer& p, u8 token, u32 at) {
    const bool outside = token == ptgRef3d || token == ptgArea3d;
    const bool oneCell = token == ptgRef || token == ptgRefN || token == ptgRef3d;
    const u8* operand = p.At(at + (outside ? 3 : 1));
    u8 nibble = 0;
    RefArea area = oneCell ? ReadRefOperand(operand, nibble) : ReadAreaOperand(operand, nibble);
    if (token == ptgRefN || token == ptgAreaN) {
        if (nibble & FIRST_ROW_RELATIVE) area.firstRow = static_cast<u16>(area.firstRow + p.row);
        if (nibble & FIRST_COLUMN_RELATIVE) area.firstColumn = static_cast<u8>(area.firstColumn + p.column);
        if (nibble & LAST_ROW_RELATIVE) area.lastRow = static_cast<u16>(area.lastRow + p.row);
        if (nibble & LAST_COLUMN_RELATIVE) area.lastColumn = static_cast<u8>(area.lastColumn + p.column);
    }
    PushWritten(p, [&](WideText& out) {
        if (outside && !SheetPrefix(p.book, ReadU16(p.At(at + 1)), true, false, out)) return false;
        const u16 flags = static_cast<u16>(AreaFlagsOf(nibble, p.useA1) | (oneCell ? 0 : AREA_BOTH_CORNERS));
        return AreaToText(p.book, 0, area, flags, p.row, p.column, out);
    });
}

void PushNameX(Printer& p, u32 at) {
    const Workbook* book = BookAt(p.book);
    const u32 externIndex = ReadU16(p.At(at + 1));
    const u32 name = ReadU16(p.At(at + 3));
    const ExternBook* found = book ? LinkAt(*book, static_cast<i32>(externIndex)) : nullptr;
    if (!found) return p.Push(p.Text(u"#REF!"));
    const ExternBook& link = *found;
    WideView text = u"#NAME?";
    if (link.kind == EXTERN_SELF) {
        if (name >= 1 && name <= book->names.Count()) text = book->names[name - 1].text;
    } else if (name >= 1 && name <= link.names.Count()) {
        text = link.names[name - 1].text;
    }
    PushWritten(p, [&](WideText& out) {
        if (link.kind != EXTERN_ADDIN && book->externSheets[externIndex].firstSheet == EXTERN_NO_SHEET &&
            link.kind == EXTERN_SELF) {
            return out.Append(text);
        }
        return (link.kind == EXTERN_ADDIN ||
                SheetPrefix(p.book, static_cast<i32>(externIndex), true, false, out)) &&
               out.Append(text);
    });
}

// ---- calls ----------------------------------------------------------------------------------------

// The top `count` operands, joined by the list separator.
Chain JoinArguments(Printer& p, u32 count) {
    const char16_t separator = Locale().listSeparator;
    Chain all;
    for (u32 i = 0; i < count; ++i) {
        const Chain argument = p.Pop();
        all = i ? p.Join(p.Join(argument, p.Text(WideView(&separator, 1))), all) : argument;
    }
    return all;
}

void PutCall(Printer& p, WideView name, u32 count) {
    const Chain arguments = JoinArguments(p, count);
    const Chain head = p.Join(p.Text(name.empty() ? WideView(u"?") : name), p.Text(u"("));
    p.Push(p.Join(p.Join(head, arguments), p.Text(u")")));
}

void PutFunction(Printer& p, u16 id) {
    const i32 row = FindFunctionById(id);
    PutCall(p, FunctionNameById(id), row >= 0 ? static_cast<u32>(FunctionTable[row].signature.size()) : 0);
}

void PutVariableFunction(Printer& p, u32 count, u16 id) {
    if (id != ID_CALL_NAME) return PutCall(p, FunctionNameById(id), count);
    const Chain arguments = JoinArguments(p, count ? count - 1 : 0);
    const Chain name = count ? p.Pop() : Chain{};
    p.Push(p.Join(p.Join(p.Join(name, p.Text(u"(")), arguments), p.Text(u")")));
}

void PutAttr(Printer& p, u32 at) {
    const u8 kind = *p.At(at + 1);
    if (kind == ATTR_SUM) {
        const Chain operand = p.Pop();
        const Chain head = p.Join(p.Text(FunctionNameById(ID_SUM)), p.Text(u"("));
        p.Push(p.Join(p.Join(head, operand), p.Text(u")")));
    } else if ((kind == ATTR_SPACE || kind == ATTR_SPACE_VOLATILE) && *p.At(at + 2) == 6) {
        const u32 start = p.pool.Length();
        p.good = p.good && p.pool.AppendRun(u' ', *p.At(at + 3));
        if (p.good) p.Push(p.Join(p.Pop(), p.Rest(start)));
    }
}

// The text of the label cell that an extended token names.
void PushLabel(Printer& p, u32 at, u32 end) {
    const u8 sub = *p.At(at + 1);
    if (sub != 2 && sub != 3 && sub != 6 && sub != 7 && sub != 10) return;
    const Workbook* book = BookAt(p.book);
    const Sheet* sheet = book ? SheetAt(p.book, book->currentSheet) : nullptr;
    const CellRecord* cell =
        sheet && at + 5 <= end ? GetCell(sheet->cells, ReadU16(p.At(at + 2)), *p.At(at + 4)) : nullptr;
    WideText text;
    if (cell) p.good = p.good && DisplayText(*book, cell->value, cell->format, text);
    p.Push(p.Text(text));
}

// `end` is the position behind the token.
void PushConstant(Printer& p, u8 token, u32 at, u32 end) {
    switch (token) {
        case ptgMissArg: return p.Push(p.Text({}));
        case ptgStr:
            PushWritten(p, [&](WideText& out) {
                const bool wide = *p.At(at + 2) & 1;
                const u32 most = (end - at - 3) / (wide ? 2 : 1);
                const u32 count = *p.At(at + 1) < most ? *p.At(at + 1) : most;
                return out.Append(u'"') && AppendCharacters(out, p.At(at + 3), count, wide, true) &&
                       out.Append(u'"');
            });
            return;
        case ptgErr: return p.Push(p.Text(ErrorText(ErrorFromBiff(*p.At(at + 1)))));
        case ptgBool: return p.Push(p.Text(BoolText(*p.At(at + 1) != 0)));
        case ptgInt:
            PushWritten(p, [&](WideText& out) { return AppendInteger(out, ReadU16(p.At(at + 1))); });
            return;
        case ptgNum:
            PushWritten(p,
                        [&](WideText& out) { return NumberToText(ReadF64(p.At(at + 1)), NUMBER_DIGITS, out); });
            return;
        default: PushWritten(p, [&](WideText& out) { return AppendArray(p, out); }); return;
    }
}

void PushName(Printer& p, u32 at) {
    const Workbook* book = BookAt(p.book);
    const u32 name = ReadU16(p.At(at + 1));
    p.Push(p.Text(book && name >= 1 && name <= book->names.Count() ? book->names[name - 1].text.View()
                                                                   : WideView(u"#NAME?")));
}

// Bytes that a token's operands take at least; a token cut off by the end is not printed.
bool IsCut(const Printer& p, u32 at, u32 last) {
    u8 whole[16] = {};
    const u32 length = p.tokens.length - at < sizeof whole ? p.tokens.length - at : u32{sizeof whole};
    if (FoldToken(*p.At(at)) == ptgStr) return length < 3;
    if (FoldToken(*p.At(at)) == ptgAttr || FoldToken(*p.At(at)) == ptgExtended) return length < 4;
    for (u32 i = 0; i < length; ++i) whole[i] = *p.At(at + i);
    return NextToken(whole, sizeof whole, 0) > last - at;
}

void PrintToken(Printer& p, u32 at, u32 last) {
    const u8 token = FoldToken(*p.At(at));
    if (IsCut(p, at, last)) return;
    if (const WideView text = OperatorText(token); !text.empty()) return PutBinary(p, text);
    switch (token) {
        case ptgUnion: return PutBinary(p, WideView(&Locale().listSeparator, 1));
        case ptgTbl: return PutCall(p, FunctionNameById(ID_TABLE), 0);
        case ptgUplus: return PutAround(p, u"+", {});
        case ptgUminus: return PutAround(p, u"-", {});
        case ptgPercent: return PutAround(p, {}, u"%");
        case ptgParen: return PutAround(p, u"(", u")");
        case ptgMissArg:
        case ptgStr:
        case ptgErr:
        case ptgBool:
        case ptgInt:
        case ptgNum:
        case ptgArray: return PushConstant(p, token, at, last + 1);
        case ptgExtended: return PushLabel(p, at, last + 1);
        case ptgAttr: return PutAttr(p, at);
        case ptgFunc: return PutFunction(p, ReadU16(p.At(at + 1)));
        case ptgFuncVar: return PutVariableFunction(p, *p.At(at + 1) & 0x7Fu, ReadU16(p.At(at + 2)));
        case ptgName: return PushName(p, at);
        case ptgNameX: return PushNameX(p, at);
        case ptgRef:
        case ptgRefN:
        case ptgRef3d:
        case ptgArea:
        case ptgAreaN:
        case ptgArea3d: return PushReference(p, token, at);
        case ptgRefErr:
        case ptgAreaErr:
        case ptgRefErr3d:
        case ptgAreaErr3d: return p.Push(p.Text(u"#REF!"));
        default: return;
    }
}

}  // namespace

bool FormulaToText(i32 book, const FormulaTokens& tokens, i32 row, i32 column, bool useA1, WideText& out) {
    out.Truncate(0);
    Printer p{book, row, column, useA1, tokens, {}, {}, {}};
    for (u32 at = 0; at < tokens.length && p.good;) {
        const u32 last = NextToken(tokens.bytes, tokens.length, at);
        PrintToken(p, at, last);
        at = last + 1;
    }
    if (!p.good || !out.Append(u'=')) return false;
    for (const Chain& operand : p.operands) {
        for (u32 piece = operand.head; piece != NONE; piece = p.pieces[piece].next) {
            if (!out.Append(p.pool.View().substr(p.pieces[piece].start, p.pieces[piece].length))) return false;
        }
    }
    return true;
}

}  // namespace tally
