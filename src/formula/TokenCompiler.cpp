#include <cmath>

#include "base/Text.h"
#include "display/EntryScanners.h"
#include "formula/CallClasses.h"
#include "formula/FormulaScanner.h"
#include "formula/Links.h"
#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr u16 ID_IF = 1, ID_SUM = 4, ID_CHOOSE = 100, ID_CALL_NAME = 255;
constexpr u16 volatileIds[] = {125, 148, 244, 74, 78, 63, 221};  // CELL INDIRECT INFO NOW OFFSET RAND TODAY
constexpr i32 UNARY_LEVEL = 6;
constexpr i32 PERCENT_LEVEL = 4;
constexpr u32 MAX_EXTRA = 65535;
constexpr u32 VOLATILE_PREFIX = 4;

struct Compiling {
    const FormulaPlace& place;
    WideView text;
    TokenBuffer& out;
    bool callsVolatile = false;
    i32 depth = 0;

    void Fail() { out.failed = true; }
    void Put(u32 byte) {
        if (out.length >= TOKEN_ROOM) return Fail();
        out.tokens[out.length++] = static_cast<u8>(byte);
    }
    void PutWord(u32 word) {
        Put(word & 0xFF);
        Put(word >> 8 & 0xFF);
    }
    void SetWord(u32 at, u32 word) {
        if (at + 2 <= TOKEN_ROOM) PutU16(out.tokens + at, word);
    }
    void PutAttr(u8 kind, u32 argument) {
        Put(ptgAttr);
        Put(kind);
        PutWord(argument);
    }
    void PutExtra(u32 byte) {
        if (out.extra.Count() >= MAX_EXTRA || !out.extra.Append(static_cast<u8>(byte))) Fail();
    }
};

// What a span is compiled with: where it ends, the class wanted, and whether a list separator in it
// is the union.
struct SpanKind {
    i32 end;
    char letter;
    bool unionAllowed;
};

i32 CompileExpression(Compiling& c, i32 at, const SpanKind& span, i32 minLevel);

// ---- operators ------------------------------------------------------------------------------------

struct Operator {
    u8 token = 0;
    i32 level = 0;
    i32 length = 0;
};

Operator ReadOperator(const Compiling& c, i32 at, i32 end) {
    const char16_t ch = CharAt(c.text, at, end);
    const char16_t next = CharAt(c.text, at + 1, end);
    switch (ch) {
        case u':': return {ptgRange, 9, 1};
        case u'^': return {ptgPower, 5, 1};
        case u'*': return {ptgMul, 4, 1};
        case u'/': return {ptgDiv, 4, 1};
        case u'+': return {ptgAdd, 3, 1};
        case u'-': return {ptgSub, 3, 1};
        case u'&': return {ptgConcat, 2, 1};
        case u'=': return {ptgEQ, 1, 1};
        case u'<':
            return next == u'='   ? Operator{ptgLE, 1, 2}
                   : next == u'>' ? Operator{ptgNE, 1, 2}
                                  : Operator{ptgLT, 1, 1};
        case u'>': return next == u'=' ? Operator{ptgGE, 1, 2} : Operator{ptgGT, 1, 1};
        default: return ch && ch == ListSeparator() ? Operator{ptgUnion, 8, 1} : Operator{};
    }
}

// The binary operator behind an operand at `at`, blanks included; `length` 0 when the span ends there.
Operator NextOperator(const Compiling& c, i32 at, const SpanKind& span, i32& operatorAt) {
    operatorAt = SkipBlanks(c.text, at, span.end);
    const char16_t ch = CharAt(c.text, operatorAt, span.end);
    if (operatorAt >= span.end || ch == u')') return {};
    if (ch == ListSeparator() && !span.unionAllowed) return {};
    const Operator found = ReadOperator(c, operatorAt, span.end);
    if (found.length) return found;
    return operatorAt > at ? Operator{ptgIsect, 7, 0} : Operator{};
}

bool IsReferenceOperator(u8 token) { return token == ptgRange || token == ptgUnion || token == ptgIsect; }

char OperandLetter(char wanted, bool arrayMode) {
    switch (wanted) {
        case 'U': return 'A';
        case 'R': return arrayMode ? 'A' : 'V';
        case 'W': return 'V';
        default: return wanted;
    }
}

// The letter of a reference or name, refined by what stands behind it.
char RefineLetter(const Compiling& c, i32 behind, const SpanKind& span) {
    const i32 p = SkipBlanks(c.text, behind, span.end);
    const char16_t ch = CharAt(c.text, p, span.end);
    if (p >= span.end || ch == u')') return span.letter;
    if (ch == u':' || ch == u'(') return 'R';
    if (ch == ListSeparator()) return span.unionAllowed ? 'R' : span.letter;
    if (!IsOperatorChar(ch)) return 'R';  // a blank as the operator of intersection
    if (span.letter != 'R' && span.letter != 'U' && span.letter != 'W') return span.letter;
    return span.letter == 'U' || (span.letter != 'W' && c.place.arrayMode) ? 'A' : 'V';
}

// ---- operands -------------------------------------------------------------------------------------

void PutNumber(Compiling& c, double value) {
    if (value >= 0 && value <= 65535 && value == std::floor(value) && !std::signbit(value)) {
        c.Put(ptgInt);
        c.PutWord(static_cast<u32>(value));
        return;
    }
    u8 bytes[8];
    PutF64(bytes, value);
    c.Put(ptgNum);
    for (u8 byte : bytes) c.Put(byte);
}

// A number whose sign, if any, stands at `at`.
i32 CompileNumber(Compiling& c, i32 at, i32 end) {
    const char16_t sign = CharAt(c.text, at, end);
    const i32 start = sign == u'+' || sign == u'-' ? at + 1 : at;
    const i32 behind = ScanNumber(c.text, start, end);
    double value = 0;
    if (behind < 0 ||
        !ParseNumber(c.text, static_cast<std::size_t>(start), static_cast<std::size_t>(behind), value, false)) {
        c.Fail();
        return end;
    }
    PutNumber(c, sign == u'-' ? -value : value);
    return behind;
}

i32 CompileString(Compiling& c, i32 at, i32 end) {
    const i32 behind = ScanString(c.text, at, end);
    WideText content;
    for (i32 p = at + 1; p < behind; ++p) {
        const char16_t ch = CharAt(c.text, p, end);
        if (ch == u'"' && (p + 1 >= behind || CharAt(c.text, ++p, end) != u'"')) break;
        if (!content.Append(ch)) c.Fail();
    }
    if (content.Length() > 255) c.Fail();
    bool wide = false;
    for (char16_t ch : content.View()) wide = wide || ch > 255;
    c.Put(ptgStr);
    c.Put(content.Length() & 0xFF);
    c.Put(wide);
    for (char16_t ch : content.View()) {
        c.Put(ch & 0xFFu);
        if (wide) c.Put(ch >> 8u);
    }
    return behind;
}

void PutArrayElement(Compiling& c, const Value& value) {
    c.PutExtra(value.type);
    u8 bytes[8] = {};
    switch (value.type) {
        case VT_STRING: {
            const WideView text = TextOf(value);
            c.PutExtra(static_cast<u32>(text.size() & 0xFF));
            c.PutExtra(static_cast<u32>(text.size() >> 8));
            c.PutExtra(1);
            for (char16_t ch : text) {
                c.PutExtra(ch & 0xFFu);
                c.PutExtra(ch >> 8u);
            }
            return;
        }
        case VT_NUMBER: PutF64(bytes, value.number); break;
        case VT_BOOL: bytes[0] = static_cast<u8>(value.boolean); break;
        default: bytes[0] = BiffFromError(value.error); break;
    }
    for (u8 byte : bytes) c.PutExtra(byte);
}

i32 CompileArray(Compiling& c, i32 at, const SpanKind& span) {
    const bool scalar = span.letter == 'V' || span.letter == 'W';
    c.Put(ptgArray - CLASS_REFERENCE + (scalar ? CLASS_VALUE : CLASS_ARRAY));
    for (int i = 0; i < 7; ++i) c.Put(0);
    const u32 header = c.out.extra.Count();
    for (int i = 0; i < 3; ++i) c.PutExtra(0);
    u32 rows = 1;
    u32 elements = 0;
    for (i32 p = at + 1; !c.out.failed;) {
        ArrayElement element;
        Value value;
        if (!ScanArrayElement(c.text, p, span.end, element) ||
            !ParseConstant(c.text, element.start, element.stop, value)) {
            c.Fail();
            break;
        }
        PutArrayElement(c, value);
        FreeValue(value);
        ++elements;
        p = element.separator + 1;
        const char16_t separator = CharAt(c.text, element.separator, span.end);
        if (separator == u';') ++rows;
        if (separator != u'}') continue;
        if (!c.out.failed) {
            c.out.extra[header] = static_cast<u8>(elements / rows - 1);
            PutU16(c.out.extra.Data() + header + 1, rows - 1);
        }
        return p;
    }
    return span.end;
}

u32 ClassOfLetter(char letter, bool arrayMode) {
    if (letter == 'V') return CLASS_VALUE;
    if (letter == 'A') return CLASS_ARRAY;
    if (letter == 'T') return arrayMode ? CLASS_ARRAY : CLASS_VALUE;
    return CLASS_REFERENCE;
}

u32 WithClass(u8 token, u32 tokenClass) { return (token & 0x1Fu) | tokenClass; }

// With relativeForm, relative rows and columns become offsets from the place's own cell.
void MakeOffsets(const FormulaPlace& place, RefArea& area, u8 nibble) {
    if (nibble & FIRST_ROW_RELATIVE) area.firstRow = static_cast<u16>(area.firstRow - place.row);
    if (nibble & LAST_ROW_RELATIVE) area.lastRow = static_cast<u16>(area.lastRow - place.row);
    if (nibble & FIRST_COLUMN_RELATIVE) area.firstColumn = static_cast<u8>(area.firstColumn - place.column);
    if (nibble & LAST_COLUMN_RELATIVE) area.lastColumn = static_cast<u8>(area.lastColumn - place.column);
}

// Whether a reference's text names a second corner; an area of one cell keeps it.
bool HasTwoCorners(WideView reference) {
    const std::size_t prefix = reference.rfind(u'!');
    return reference.find(u':', prefix == WideView::npos ? 0 : prefix) != WideView::npos;
}

void PutReference(Compiling& c, i32 externIndex, RefArea area, u8 nibble, bool twoCorners, char letter) {
    const bool oneCell = !twoCorners && IsOneCell(area) && (nibble >> 2) == (nibble & 3);
    const bool offsets = externIndex < 0 && c.place.relativeForm && nibble;
    u8 token = externIndex >= 0 ? (oneCell ? ptgRef3d : ptgArea3d) : (oneCell ? ptgRef : ptgArea);
    if (offsets) {
        token = oneCell ? ptgRefN : ptgAreaN;
        MakeOffsets(c.place, area, nibble);
    }
    c.Put(WithClass(token, ClassOfLetter(letter, c.place.arrayMode)));
    if (externIndex >= 0) c.PutWord(static_cast<u32>(externIndex));
    u8 operand[8];
    const u32 size = oneCell ? 4 : 8;
    if (oneCell) {
        WriteRefOperand(operand, area.firstRow, area.firstColumn, nibble);
    } else {
        WriteAreaOperand(operand, area, nibble);
    }
    for (u32 i = 0; i < size; ++i) c.Put(operand[i]);
}

// ---- calls ----------------------------------------------------------------------------------------

// Compiles the argument list behind "(" at `open`; each argument with the letter that `letterOf` gives.
struct ArgumentList {
    i32 at;  // where the next argument begins
    i32 end;
    bool more;
};

ArgumentList OpenArguments(const Compiling& c, i32 open, i32 end) {
    const i32 at = SkipBlanks(c.text, open + 1, end);
    return {at, end, CharAt(c.text, at, end) != u')'};
}

// Compiles one argument; an empty one is a ptgMissArg.
void CompileArgument(Compiling& c, ArgumentList& list, char letter) {
    const char16_t ch = CharAt(c.text, list.at, list.end);
    if (ch == u')' || ch == ListSeparator()) {
        c.Put(ptgMissArg);
    } else {
        list.at = CompileExpression(c, list.at, {list.end, letter, false}, 0);
    }
    list.at = SkipBlanks(c.text, list.at, list.end);
    list.more = CharAt(c.text, list.at, list.end) == ListSeparator() && list.at < list.end;
    if (list.more) list.at = SkipBlanks(c.text, list.at + 1, list.end);
}

// Behind the closing parenthesis.
i32 CloseArguments(Compiling& c, const ArgumentList& list) {
    if (CharAt(c.text, list.at, list.end) != u')') c.Fail();
    return list.at + 1;
}

// How many arguments a list has, without compiling it.
u32 CountArguments(const Compiling& c, i32 open, i32 end) {
    i32 p = SkipBlanks(c.text, open + 1, end);
    if (CharAt(c.text, p, end) == u')') return 0;
    for (u32 count = 1;; ++count) {
        const char16_t ch = CharAt(c.text, p, end);
        if (ch != u')' && ch != ListSeparator()) {
            p = CheckFormulaSyntax(c.place, c.text, p, end, false, nullptr);
            if (p < 0) return count;
        }
        if (CharAt(c.text, p, end) != ListSeparator() || p >= end) return count;
        p = SkipBlanks(c.text, p + 1, end);
    }
}

void PutCall(Compiling& c, u32 tokenClass, u32 count, u32 id) {
    c.Put(WithClass(ptgFuncVar, tokenClass));
    c.Put(count);
    c.PutWord(id);
}

// A call through a name or reference: all arguments with letter R, closed by the id of such calls.
i32 CompileNamedCall(Compiling& c, i32 open, i32 end, std::string_view signature) {
    ArgumentList list = OpenArguments(c, open, end);
    u32 count = 0;
    while (list.more && !c.out.failed) {
        char letter = 'R';
        if (!signature.empty())
            letter =
                ArgumentLetter(count < signature.size() ? signature[count] : 'R', 'V', c.place.arrayMode, true);
        CompileArgument(c, list, letter);
        ++count;
    }
    PutCall(c, CLASS_VALUE, count + 1, ID_CALL_NAME);
    return CloseArguments(c, list);
}

struct TableCall {
    const FunctionEntry& entry;
    char wanted;
    u32 count = 0;

    char Letter(const Compiling& c) const {
        const char letter = count < entry.signature.size() ? entry.signature[count] : 'R';
        return ArgumentLetter(letter, wanted, c.place.arrayMode, false);
    }
};

// Distance of a goto that stands at `at` and lands at `target`.
void SetGoto(Compiling& c, u32 at, u32 target) { c.SetWord(at + 2, target - at - 5); }

void CompileIfArguments(Compiling& c, ArgumentList& list, TableCall& call) {
    CompileArgument(c, list, call.Letter(c));
    if (++call.count && !list.more) return;
    const u32 ifAt = c.out.length;
    c.PutAttr(ATTR_IF, 0);
    CompileArgument(c, list, call.Letter(c));
    ++call.count;
    const u32 gotoAt = c.out.length;
    c.PutAttr(ATTR_GOTO, 3);
    c.SetWord(ifAt + 2, c.out.length - ifAt - 4);
    if (!list.more) return;
    CompileArgument(c, list, call.Letter(c));
    ++call.count;
    // Over the closing goto and the call itself.
    SetGoto(c, gotoAt, c.out.length + 8);
    c.PutAttr(ATTR_GOTO, 3);
}

void CompileChooseArguments(Compiling& c, ArgumentList& list, TableCall& call, u32 total) {
    CompileArgument(c, list, call.Letter(c));
    ++call.count;
    if (!list.more) return;
    const u32 branches = total - 1;
    if (branches > MAX_ARGUMENTS) return c.Fail();
    c.PutAttr(ATTR_CHOOSE, branches);
    const u32 table = c.out.length;
    for (u32 i = 0; i <= branches; ++i) c.PutWord(0);
    u32 gotos[MAX_ARGUMENTS] = {};
    u32 branch = 0;
    for (; list.more && branch < branches && !c.out.failed; ++branch) {
        c.SetWord(table + branch * 2, c.out.length - table);
        CompileArgument(c, list, call.Letter(c));
        ++call.count;
        gotos[branch] = c.out.length;
        c.PutAttr(ATTR_GOTO, 0);
    }
    c.SetWord(table + branches * 2, c.out.length - table);
    for (u32 i = 0; i < branch; ++i) SetGoto(c, gotos[i], c.out.length + 4);
}

i32 CompileTableCall(Compiling& c, const FunctionEntry& entry, i32 open, const SpanKind& span) {
    ArgumentList list = OpenArguments(c, open, span.end);
    TableCall call{entry, span.letter};
    for (u16 id : volatileIds) c.callsVolatile = c.callsVolatile || entry.id == id;
    if (entry.id == ID_IF && list.more) {
        CompileIfArguments(c, list, call);
    } else if (entry.id == ID_CHOOSE && list.more) {
        CompileChooseArguments(c, list, call, CountArguments(c, open, span.end));
    }
    while (list.more && !c.out.failed) {
        CompileArgument(c, list, call.Letter(c));
        ++call.count;
    }
    if (entry.id == ID_SUM && call.count == 1) {
        c.PutAttr(ATTR_SUM, 0);
    } else if (IsFixedFunction(entry)) {
        c.Put(WithClass(ptgFunc, FixedCallClass(entry.id, span.letter, c.place.arrayMode)));
        c.PutWord(entry.id);
    } else {
        PutCall(c, VariableCallClass(entry.id, span.letter, c.place.arrayMode), call.count, entry.id);
    }
    return CloseArguments(c, list);
}

// ---- names ----------------------------------------------------------------------------------------

void PutNameX(Compiling& c, i32 externIndex, i32 nameIndex, u32 tokenClass) {
    if (externIndex < 0 || nameIndex < 0) return c.Fail();
    c.Put(WithClass(ptgNameX, tokenClass));
    c.PutWord(static_cast<u32>(externIndex));
    c.PutWord(static_cast<u32>(nameIndex + 1));
    c.PutWord(0);
}

// A name through a row of the book's extern books.
void PutExternName(Compiling& c, const NameParts& name, u32 tokenClass) {
    Workbook& book = *BookAt(c.place.book);
    const i32 externIndex = ExternIndexForPrefix(c.place.book, name.prefix, true);
    if (externIndex < 0) return c.Fail();
    const i32 row = book.externSheets[static_cast<u32>(externIndex)].externBook;
    PutNameX(c, externIndex, FindOrAddExternName(book.externBooks[static_cast<u32>(row)], name.identifier),
             tokenClass);
}

// The row of a defined name as its text and scope name it, added when there is none.
i32 NameRow(Compiling& c, WideView text, i32 scope) {
    Workbook& book = *BookAt(c.place.book);
    if (scope >= 0) {
        const i32 found = FindName(book, text, static_cast<u16>(scope + 1));
        return found >= 0 ? found : AddName(book, text, static_cast<u16>(scope + 1));
    }
    const i32 local = FindName(book, text, static_cast<u16>(c.place.sheet + 1));
    if (local >= 0) return local;
    const i32 global = FindName(book, text, 0);
    return global >= 0 ? global : AddName(book, text, 0);
}

void PutName(Compiling& c, const NameParts& name, u32 tokenClass) {
    if (!BookAt(c.place.book)) return c.Fail();
    switch (name.prefix.kind) {
        case PREFIX_FILE:
        case PREFIX_BANG: return PutExternName(c, name, tokenClass);
        case PREFIX_OWN:
            return PutNameX(c, ExternIndexForPrefix(c.place.book, name.prefix, true),
                            NameRow(c, name.identifier, name.prefix.firstSheet), tokenClass);
        default: break;
    }
    const i32 row = NameRow(c, name.identifier, -1);
    if (row < 0) return c.Fail();
    c.Put(WithClass(ptgName, tokenClass));
    c.PutWord(static_cast<u32>(row + 1));
    c.PutWord(0);
}

// An add-in function's name goes into the row of the add-ins.
void PutAddInName(Compiling& c, WideView name) {
    Workbook* book = BookAt(c.place.book);
    if (!book) return c.Fail();
    const i32 row = FindOrAddExternBook(*book, EXTERN_ADDIN);
    if (row < 0) return c.Fail();
    const i32 nameIndex = FindOrAddExternName(book->externBooks[static_cast<u32>(row)], name);
    PutNameX(c, FindExternSheet(*book, row, EXTERN_NO_SHEET, EXTERN_NO_SHEET), nameIndex, CLASS_VALUE);
}

i32 CompileName(Compiling& c, i32 at, const SpanKind& span) {
    NameParts name;
    if (!ScanName(c.place, c.text, at, span.end, name)) {
        c.Fail();
        return span.end;
    }
    if (!name.isCall) {
        for (i32 truth = 0; truth < 2 && name.prefix.kind == PREFIX_NONE; ++truth) {
            if (!EqualIgnoringCase(name.identifier, BoolText(truth != 0))) continue;
            c.Put(ptgBool);
            c.Put(static_cast<u32>(truth));
            return name.behind;
        }
        PutName(c, name, ClassOfLetter(RefineLetter(c, name.behind, span), c.place.arrayMode));
        return name.behind;
    }
    if (name.function >= MAIN_FUNCTIONS) {
        const FunctionEntry& entry = FunctionTable[name.function];
        PutAddInName(c, entry.name);
        return CompileNamedCall(c, name.behind, span.end, entry.signature);
    }
    if (name.function >= 0) return CompileTableCall(c, FunctionTable[name.function], name.behind, span);
    PutName(c, name, CLASS_REFERENCE);
    return CompileNamedCall(c, name.behind, span.end, {});
}

// ---- the climb ------------------------------------------------------------------------------------

i32 CompilePlainOperand(Compiling& c, i32 at, const SpanKind& span) {
    const char16_t first = CharAt(c.text, at, span.end);
    if (first == u'"') return CompileString(c, at, span.end);
    if (first == u'{') return CompileArray(c, at, span);
    if (first == u'(') {
        const i32 close = MatchingParenthesis(c.text, at, span.end);
        if (close < 0) {
            c.Fail();
            return span.end;
        }
        CompileExpression(c, at + 1, {close, span.letter, true}, 0);
        c.Put(ptgParen);
        return close + 1;
    }
    if (StartsNumber(c.text, at, span.end)) return CompileNumber(c, at, span.end);
    i32 externIndex = -1;
    RefArea area;
    u8 nibble = 0;
    const i32 reference = ParseReference(c.place, c.text, at, span.end, &externIndex, area, nibble);
    if (reference >= 0) {
        const auto length = static_cast<std::size_t>(reference - at);
        const bool twoCorners = HasTwoCorners(c.text.substr(static_cast<std::size_t>(at), length));
        PutReference(c, externIndex, area, nibble, twoCorners, RefineLetter(c, reference, span));
        if (CharAt(c.text, reference, span.end) != u'(') return reference;
        return CompileNamedCall(c, reference, span.end, {});
    }
    i32 behind = 0;
    const i32 error = ScanError(c.text, at, span.end, behind);
    if (error < 0) return CompileName(c, at, span);
    c.Put(ptgErr);
    c.Put(BiffFromError(error));
    return behind;
}

// An operand with its signs.
i32 CompileOperand(Compiling& c, i32 at, const SpanKind& span) {
    at = SkipBlanks(c.text, at, span.end);
    const char16_t sign = CharAt(c.text, at, span.end);
    if (sign != u'+' && sign != u'-') return CompilePlainOperand(c, at, span);
    if (StartsNumber(c.text, at + 1, span.end)) return CompileNumber(c, at, span.end);
    const SpanKind inner = {span.end, OperandLetter(span.letter, c.place.arrayMode), false};
    const i32 behind = CompileExpression(c, at + 1, inner, UNARY_LEVEL);
    c.Put(sign == u'-' ? ptgUminus : ptgUplus);
    return behind;
}

// Compiles operands and operators that bind tighter than `minLevel`; the position behind them.
i32 CompileExpression(Compiling& c, i32 at, const SpanKind& span, i32 minLevel) {
    if (++c.depth > MAX_NESTING * 4) {
        c.Fail();
        return span.end;
    }
    i32 p = CompileOperand(c, at, span);
    while (!c.out.failed) {
        i32 operatorAt = 0;
        const i32 percentAt = SkipBlanks(c.text, p, span.end);
        if (CharAt(c.text, percentAt, span.end) == u'%') {
            if (PERCENT_LEVEL <= minLevel) break;
            c.Put(ptgPercent);
            p = percentAt + 1;
            continue;
        }
        const Operator found = NextOperator(c, p, span, operatorAt);
        if (!found.token || found.level <= minLevel) break;
        const char letter =
            IsReferenceOperator(found.token) ? 'R' : OperandLetter(span.letter, c.place.arrayMode);
        p = CompileExpression(c, operatorAt + found.length, {span.end, letter, span.unionAllowed}, found.level);
        c.Put(found.token);
    }
    --c.depth;
    return p;
}

void PutVolatilePrefix(TokenBuffer& out) {
    for (u32 i = out.length; i-- > 0;) out.tokens[i + VOLATILE_PREFIX] = out.tokens[i];
    out.length += VOLATILE_PREFIX;
    out.tokens[0] = ptgAttr;
    out.tokens[1] = ATTR_VOLATILE;
    out.tokens[2] = out.tokens[3] = 0;
}

}  // namespace

bool CompileFormulaText(const FormulaPlace& place, WideView text, char classLetter, TokenBuffer& out) {
    out.length = 0;
    out.extra.Truncate(0);
    out.failed = text.size() > MAX_FORMULA_TEXT;
    if (out.failed) return false;
    const i32 end = static_cast<i32>(text.size());
    const i32 start = end >= 2 && text[0] == u'=' ? 1 : 0;
    Compiling c{place, text, out};
    const i32 stop = CompileExpression(c, start, {end, classLetter, true}, 0);
    if (out.failed || SkipBlanks(text, stop, end) != end) return false;
    if (c.callsVolatile && out.length + VOLATILE_PREFIX > TOKEN_ROOM) return false;
    if (c.callsVolatile) PutVolatilePrefix(out);
    return true;
}

bool CompileFormula(const FormulaPlace& place, WideView text, char classLetter, FormulaTokens& out) {
    const i32 end = static_cast<i32>(text.size());
    if (CheckFormulaSyntax(place, text, 0, end, true, nullptr) != end) return false;
    TokenBuffer buffer;
    if (!CompileFormulaText(place, text, classLetter, buffer)) return false;
    return MakeTokens(out, ByteView(buffer.tokens, buffer.length), buffer.extra.Span());
}

}  // namespace tally
