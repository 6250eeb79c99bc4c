#include <cmath>
#include <cstring>
#include <ctime>

#include "Common.h"
#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

// Calls of table functions with arguments of every type and shape. The input says which functions, how many
// arguments and what each is made of; a call runs as tokens, as a file could hold it.

namespace {

using namespace tally;

// Seconds of processor time; the checks of the sanitizers cost their share.
#ifdef __has_feature
#if __has_feature(address_sanitizer)
#define TALLYMAN_SLOW_CHECKS
#endif
#endif
#ifdef TALLYMAN_SLOW_CHECKS
constexpr double LONGEST_CALL = 4;
#else
constexpr double LONGEST_CALL = 1;
#endif
constexpr u16 CALL_ROW = 60;
constexpr u16 USER_CALL = 255;
constexpr i32 MAX_NESTING = 2;
constexpr i32 MAX_CALLS = 8;           // of one input, in the same book
constexpr u32 MAX_TOKEN_BYTES = 1800;  // as ptgFuncVar and its kind can be compiled, and somewhat more

constexpr double numbers[] = {
    0,
    -0.0,
    1,
    -1,
    2,
    3,
    0.5,
    -0.5,
    10,
    0.1,
    1e-7,
    1e-300,
    5e-324,
    2.2250738585072014e-308,
    1.7976931348623157e308,
    -1.7976931348623157e308,
    1e15,
    1e16,
    9007199254740993.0,
    2147483647,
    2147483648.0,
    -2147483648.0,
    4294967296.0,
    9.2233720368547758e18,
    1e20,
    1e100,
    -1e100,
    0.9999999999999999,
    1.0000000000000002,
    255,
    256,
    32767,
    32768,
    65535,
    65536,
    65537,
    170,
    171,
    59,
    60,
    61,
    36525,
    2958465,
    2958466,
    3.141592653589793,
    -2.5,
    512,
    1029,
    0.05,
    0.999999,
};

constexpr WideView texts[] = {
    u"",
    u" ",
    u"a",
    u"abc",
    u"*",
    u"?",
    u"~",
    u"~*a",
    u"a*?b*",
    u"<>",
    u"<>a*",
    u">=1",
    u"=",
    u"<1e308",
    u"1",
    u"-1",
    u"1e308",
    u"1e999",
    u"0x10",
    u"12%",
    u"1/2/2003",
    u"25:61:61",
    u"12:30",
    u"TRUE",
    u"#N/A",
    u"A1",
    u"A1:B9",
    u"R1C1",
    u"R[-1]C",
    u"Sheet2!A1",
    u"Gone!A1",
    u"A:A",
    u"1:65536",
    u"0.00",
    u"@",
    u"[h]:m",
    u"###0E+0",
    u"yyyy-mm-dd aaaa",
    u"\"",
    u"_",
    u"i",
    u"3+4i",
    u"1e308i",
    u"-i",
    u"FFFFFFFFFF",
    u"1111111111",
    u"7777777777",
    u"2-Feb",
    u"filename",
    u"format",
    u"width",
    u"directory",
    u"\xD83D\xDE00",
    u"\xD83D",
    u"\xDE00\xD83D",
    u"y",
    u"md",
    u"yd",
    u"\u7532\u4E59",
    u"Amount",
    u"name",
    u"=A1",
    u"=1+",
    u"m",
};

constexpr RefArea areas[] = {
    {0, 0, 0, 0},       {0, 39, 0, 0},
    {0, 39, 1, 1},      {0, 39, 2, 2},
    {0, 39, 3, 3},      {0, 39, 0, 5},
    {0, 9, 1, 4},       {0, 0, 0, 5},
    {0, 65535, 0, 0},   {0, 65535, 0, 255},
    {0, 65535, 1, 1},   {5, 5, 0, 255},
    {100, 120, 20, 22}, {65535, 65535, 255, 255},
    {0, 0, 5, 5},       {0, 2, 5, 5},
    {40, 48, 0, 3},     {40, 42, 0, 3},
    {40, 41, 5, 6},     {0, 1, 1, 2},
};

struct Input {
    const u8* at;
    std::size_t left;
};

u8 Byte(Input& in) {
    if (!in.left) return 0;
    --in.left;
    return *in.at++;
}
u16 Word(Input& in) {
    const u8 low = Byte(in);
    return static_cast<u16>(low | Byte(in) << 8);
}

double NumberOf(Input& in) {
    const u8 kind = Byte(in);
    if (kind < 180) return numbers[kind % std::size(numbers)];
    if (kind < 220) return static_cast<i8>(Byte(in));
    if (kind < 240) return Word(in);
    u8 bytes[8];
    for (u8& byte : bytes) byte = Byte(in);
    const double number = ReadF64(bytes);
    return std::isfinite(number) ? number : 1e308;
}

WideView TextOfInput(Input& in, char16_t (&room)[24]) {
    const u8 kind = Byte(in);
    if (kind < 200) return texts[kind % std::size(texts)];
    const u32 length = kind % 24;
    for (u32 i = 0; i < length; ++i) {
        const u8 byte = Byte(in);
        room[i] = byte ? byte : u'\xFFFF';
    }
    return {room, length};
}

// ---- the book -------------------------------------------------------------------------------------

void Put(i32 sheet, i32 row, i32 column, Value value) {
    IgnoreFailure(
        InsertCell(*SheetAt(CurrentBook(), sheet), row, column, DEFAULT_CELL_FORMAT, value, FormulaTokens()));
}

Value LongText(u32 length) {
    TextBlock* block = MakeTextRoom(length);
    if (!block) return ErrorValue(ERR_NA);
    for (u32 i = 0; i < length; ++i) block->characters[i] = i % 7 ? u'a' : u' ';
    return OwnedTextValue(block);
}

Value AnyValue(u32 pick) {
    switch (pick % 7) {
        case 0: return BoolValue(pick & 8);
        case 1: return TextValue(texts[pick % std::size(texts)]);
        case 2: return ErrorValue(static_cast<i32>(pick % ERROR_COUNT));
        case 3: return Value();
        default: return NumberValue(numbers[pick % std::size(numbers)]);
    }
}

// A of everything, B numbers ascending, C texts, D numbers with gaps, F long texts, a list with its
// criteria from row 41 on; the second sheet holds B again, the third nothing.
void FillBook() {
    for (const WideView name : {u"Sheet2", u"Sheet3"}) {
        IgnoreFailure(InsertSheet(static_cast<i32>(CurrentWorkbook()->sheets.Count()), &name, SHEET_WORKSHEET,
                                  false, false));
    }
    for (i32 row = 0; row < 40; ++row) {
        const u32 pick = static_cast<u32>(row);
        Put(0, row, 0, AnyValue(pick));
        Put(0, row, 1, NumberValue(row * 1.5 - 10));
        Put(0, row, 2, TextValue(texts[pick % std::size(texts)]));
        if (row % 3) Put(0, row, 3, NumberValue(numbers[pick % std::size(numbers)]));
        Put(1, row, 1, NumberValue(row + 0.25));
    }
    Put(0, 0, 5, LongText(40000));
    Put(0, 1, 5, LongText(300));
    constexpr WideView headings[] = {u"Name", u"Amount", u"", u"1"};
    for (i32 column = 0; column < 4; ++column) {
        Put(0, 40, column, TextValue(headings[column]));
        for (i32 row = 41; row < 49; ++row) Put(0, row, column, AnyValue(static_cast<u32>(row * 5 + column)));
    }
    Put(0, 40, 5, TextValue(u"Amount"));
    Put(0, 41, 5, TextValue(u">0"));
    Workbook& book = *CurrentWorkbook();
    RowInfo hidden;
    hidden.row = 7;
    hidden.flags = ROW_HIDDEN;
    IgnoreFailure(SetRowInfo(book.sheets[0]->rows, hidden));
    book.currentSheet = 0;
    for (const ExternSheet pair : {ExternSheet{0, 1, 1}, {0, 0, 2}, {0, -1, -1}, {0, -2, -2}, {9, 0, 0}}) {
        ExternSheet row = pair;
        if (!row.externBook) row.externBook = static_cast<i16>(FindOrAddExternBook(book, EXTERN_SELF));
        IgnoreFailure(book.externSheets.Append(row));
    }
}

// ---- tokens ---------------------------------------------------------------------------------------

struct Tokens {
    u8 bytes[MAX_TOKEN_BYTES];
    u32 length = 0;
    u8 extra[4096];
    u32 extraLength = 0;
};

void Add(Tokens& out, const void* bytes, u32 count) {
    if (count > sizeof out.bytes - out.length) return;
    std::memcpy(out.bytes + out.length, bytes, count);
    out.length += count;
}
void AddByte(Tokens& out, u32 byte) {
    const u8 b = static_cast<u8>(byte);
    Add(out, &b, 1);
}
void AddWord(Tokens& out, u32 word) {
    u8 bytes[2];
    PutU16(bytes, word);
    Add(out, bytes, 2);
}
void AddExtra(Tokens& out, const void* bytes, u32 count) {
    if (count > sizeof out.extra - out.extraLength) return;
    std::memcpy(out.extra + out.extraLength, bytes, count);
    out.extraLength += count;
}

void AddNumber(Tokens& out, double number) {
    u8 token[9] = {ptgNum};
    PutF64(token + 1, number);
    Add(out, token, 9);
}

void AddText(Tokens& out, WideView text) {
    AddByte(out, ptgStr);
    AddByte(out, static_cast<u32>(text.size()));
    AddByte(out, 1);
    for (const char16_t c : text) AddWord(out, c);
}

void AddArea(Tokens& out, u32 token, const RefArea& area, i32 externIndex) {
    u8 operand[8];
    WriteAreaOperand(operand, area, 0);
    AddByte(out, token);
    if (externIndex >= 0) AddWord(out, static_cast<u32>(externIndex));
    Add(out, operand, 8);
}

RefArea AreaOf(Input& in) {
    const u8 kind = Byte(in);
    if (kind < 200) return areas[kind % std::size(areas)];
    const u8 row = Byte(in), column = Byte(in), size = Byte(in);
    return {row, static_cast<u16>(row + size % 16), static_cast<u8>(column % 8),
            static_cast<u8>(column % 8 + size / 64)};
}

void AddElement(Tokens& out, Input& in) {
    const u8 kind = Byte(in) % 12;
    u8 bytes[9] = {};
    if (kind == 1) {
        char16_t room[24];
        const WideView text = TextOfInput(in, room);
        const u8 head[4] = {VT_STRING, static_cast<u8>(text.size()), 0, 1};
        AddExtra(out, head, 4);
        for (const char16_t c : text) {
            PutU16(bytes, c);
            AddExtra(out, bytes, 2);
        }
        return;
    }
    if (kind == 2) {
        bytes[0] = VT_BOOL;
        bytes[1] = Byte(in) & 1;
    } else if (kind == 3) {
        bytes[0] = VT_ERROR;
        bytes[1] = BiffFromError(Byte(in) % ERROR_COUNT);
    } else if (kind != 4) {
        bytes[0] = VT_NUMBER;
        PutF64(bytes + 1, NumberOf(in));
    }
    AddExtra(out, bytes, 9);
}

void AddArray(Tokens& out, Input& in, u32 tokenClass) {
    const u8 shape = Byte(in);
    const u32 rows = (shape & 15) % 9 + 1, columns = (shape >> 4) % 7 + 1;
    const u8 token[8] = {static_cast<u8>(0x00 | tokenClass)};
    Add(out, token, 8);
    const u8 head[3] = {static_cast<u8>(columns - 1), static_cast<u8>(rows - 1), 0};
    AddExtra(out, head, 3);
    for (u32 i = 0; i < rows * columns; ++i) AddElement(out, in);
}

void AddCall(Tokens& out, Input& in, i32 depth);

void AddArgument(Tokens& out, Input& in, char letter, i32 depth) {
    const u8 kind = Byte(in);
    u32 tokenClass = CLASS_REFERENCE;
    if (letter == 'V') tokenClass = CLASS_VALUE;
    if (letter == 'Q' || letter == 'T') tokenClass = CLASS_ARRAY;
    if (kind & 0x80) tokenClass = CLASS_REFERENCE;
    if ((kind & 0xE0) == 0xE0) tokenClass = CLASS_ARRAY;
    const u32 area = (ptgArea & 0x1Fu) | tokenClass;
    const u32 area3d = (ptgArea3d & 0x1Fu) | tokenClass;
    char16_t room[24];
    switch (kind % 20) {
        default: return AddNumber(out, NumberOf(in));
        case 1:
        case 2: return AddText(out, TextOfInput(in, room));
        case 3: AddByte(out, ptgBool); return AddByte(out, Byte(in) & 1);
        case 4: AddByte(out, ptgErr); return AddByte(out, BiffFromError(Byte(in) % ERROR_COUNT));
        case 5: return AddByte(out, ptgMissArg);
        case 6:
        case 7:
        case 8:
        case 9: return AddArea(out, area, AreaOf(in), -1);
        case 10: {
            const u8 sheet = Byte(in) % 6;
            return AddArea(out, area3d, AreaOf(in), sheet);
        }
        case 11:
            AddArea(out, ptgArea, AreaOf(in), -1);
            AddArea(out, ptgArea, AreaOf(in), -1);
            return AddByte(out, ptgUnion);
        case 12: {
            const u8 bytes[9] = {static_cast<u8>((ptgAreaErr & 0x1Fu) | tokenClass)};
            return Add(out, bytes, 9);
        }
        case 13:
        case 14:
        case 15: return AddArray(out, in, tokenClass);
        case 16:
            if (depth < MAX_NESTING) return AddCall(out, in, depth + 1);
            return AddNumber(out, NumberOf(in));
    }
}

void AddAddInName(Tokens& out, WideView name) {
    Workbook& book = *CurrentWorkbook();
    const i32 link = FindOrAddExternBook(book, EXTERN_ADDIN);
    if (link < 0) return;
    const i32 sheet = FindExternSheet(book, link, EXTERN_NO_SHEET, EXTERN_NO_SHEET);
    const i32 index = FindOrAddExternName(book.externBooks[static_cast<u32>(link)], name);
    AddByte(out, ptgNameX);
    AddWord(out, static_cast<u32>(sheet));
    AddWord(out, static_cast<u32>(index));
    AddWord(out, 0);
}

void AddCall(Tokens& out, Input& in, i32 depth) {
    const u16 pick = Word(in);
    const FunctionEntry& entry = FunctionTable[pick % FUNCTION_ROWS];
    const bool addIn = pick % FUNCTION_ROWS >= MAIN_FUNCTIONS;
    const std::string_view signature = entry.signature;
    u32 required = 0;
    while (required < signature.size() && signature[required] < 'a') ++required;
    // Most calls as the compiler would make them, some with too few or too many.
    const u8 wish = Byte(in);
    u32 count = required;
    const u32 optional = static_cast<u32>(signature.size()) - required;
    if (optional) count += wish % (optional < 5 ? optional + 1 : 5);
    if (wish >= 250) count = wish % 9;
    if (addIn) AddAddInName(out, entry.name);
    for (u32 i = 0; i < count; ++i) {
        const char letter = i < signature.size() ? signature[i] : 'r';
        AddArgument(out, in, letter >= 'a' ? static_cast<char>(letter - 32) : letter, depth);
    }
    AddByte(out, wish & 0x40 && depth ? 0x62 : 0x42);
    AddByte(out, count + (addIn ? 1 : 0));
    AddWord(out, addIn ? USER_CALL : entry.id);
}

// ---- the checks -----------------------------------------------------------------------------------

void Demand(bool holds) {
    if (!holds) __builtin_trap();
}

void CheckScalar(const Value& value) {
    switch (value.type) {
        case VT_EMPTY: return;
        case VT_NUMBER: return Demand(std::isfinite(value.number));
        case VT_STRING: return Demand(value.text && TextOf(value).size() < 1u << 24);
        case VT_BOOL: return Demand(value.boolean == 0 || value.boolean == 1);
        case VT_ERROR: return Demand(value.error >= 0 && value.error < ERROR_COUNT);
        default: Demand(false);
    }
}

void CheckResult(const Value& value) {
    if (value.type == VT_ARRAY) {
        Demand(value.columns > 0 && value.elements);
        for (u32 i = 0; i < ArrayElementCount(value); ++i) CheckScalar(value.elements[i]);
    } else if (value.type == VT_AREA) {
        Demand(value.area.firstRow <= value.area.lastRow && value.area.firstColumn <= value.area.lastColumn);
    } else if (value.type == VT_REF) {
        Demand(value.areas && value.areas->count > 0);
    } else if (value.type != VT_CONTROL) {
        CheckScalar(value);
    }
}

double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The call's own value as the engine hands it on, then the same through a cell.
void Run(const Tokens& tokens, bool arrayMode) {
    FormulaTokens formula;
    if (!MakeTokens(formula, ByteView(tokens.bytes, tokens.length), ByteView(tokens.extra, tokens.extraLength)))
        return;
    const double start = ProcessorSeconds();
    const EvalContext context{CurrentBook(), 0, CALL_ROW, 9, arrayMode};
    Value result;
    EvaluateFormula(formula, result, context);
    Demand(ProcessorSeconds() - start < LONGEST_CALL);
    CheckResult(result);
    ClearValue(result);

    CellInput input;
    input.row = CALL_ROW;
    input.column = 9;
    input.tokens = formula;
    IgnoreFailure(SetCell(CurrentBook(), 0, input, true, false));
    Demand(BookAt(CurrentBook()) != nullptr);
    const CellRecord* cell = GetCell(SheetAt(CurrentBook(), 0)->cells, CALL_ROW, 9);
    if (cell) CheckScalar(cell->value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    if (size < 3 || size > 2048) return 0;
    BeginRun();
    FillBook();
    Input in{data + 1, size - 1};
    static Tokens tokens;
    for (i32 call = 0; call < MAX_CALLS && in.left > 2; ++call) {
        tokens.length = tokens.extraLength = 0;
        AddCall(tokens, in, 0);
        Run(tokens, data[0] >> call & 1);
    }
    EndRun();
    return 0;
}
