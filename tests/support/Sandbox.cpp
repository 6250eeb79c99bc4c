#include "support/Sandbox.h"

#include "base/LongOperation.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "display/LocaleSettings.h"
#include "editing/Clipboard.h"
#include "editing/EntryRecognition.h"
#include "editing/Undo.h"
#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "functions/FunctionState.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/Trust.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {

std::string Narrow(WideView text) {
    std::string out(Utf8Length(text), '\0');
    Utf8FromWide(text, out.data());
    return out;
}

std::u16string Wide(std::string_view text) {
    WideText wide;
    EXPECT_TRUE(WideFromUtf8(wide, text));
    return std::u16string(wide.View());
}

void ReadCellName(std::string_view name, i32& row, i32& column) {
    FormulaPlace place;
    RefArea area;
    u8 nibble = 0;
    const std::u16string wide = Wide(name);
    const i32 length = static_cast<i32>(wide.size());
    ASSERT_EQ(ParseReference(place, wide, 0, length, nullptr, area, nibble), length) << name;
    row = area.firstRow;
    column = area.firstColumn;
}

namespace {

FormulaPlace PlaceOf(std::string_view cell) {
    FormulaPlace place;
    place.book = CurrentBook();
    place.sheet = CurrentWorkbook()->currentSheet;
    ReadCellName(cell, place.row, place.column);
    return place;
}

std::string Hex(const FormulaTokens& tokens) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    for (u32 i = 0; i < TokenBytes(tokens); ++i) {
        if (i == tokens.length) out += '|';
        out += digits[tokens.bytes[i] >> 4];
        out += digits[tokens.bytes[i] & 15];
    }
    return out;
}

}  // namespace

void Sandbox::SetUp() {
    UseHeadlessPlatform();
    Headless().fixedClock = true;
    Headless().clock = {2026, 6, 15, 12, 0, 0, 0};
    ASSERT_TRUE(ReadLocaleSettings());
    ConnectUndo();
    ConnectClipboard();
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

void Sandbox::ForgetBooks() {
    ResetBooks();
    ConnectUndo();
    ConnectClipboard();
    ResetFormulaEngine();
    ResetFunctions();
}

void Sandbox::TearDown() {
    ForgetBooks();
    ResetLongOperations();
    ResetTrust();
    ResetLanguage();
    UseHeadlessPlatform();
    EXPECT_TRUE(ReadLocaleSettings());
    SetLocalFormats({});
    ResetHeadlessPlatform();
}

void Sandbox::Region(const char* tag) {
    ASSERT_TRUE(SetHeadlessRegion(tag));
    ASSERT_TRUE(ReadLocaleSettings());
}

std::string Sandbox::FormulaOf(std::string_view cell) {
    i32 row = 0, column = 0;
    ReadCellName(cell, row, column);
    const CellRecord* found = CellAtName(cell);
    WideText text;
    if (found && found->formula)
        EXPECT_TRUE(FormulaToText(CurrentBook(), found->formula->tokens, row, column, true, text));
    return Narrow(text);
}

RefArea Sandbox::AreaOf(std::string_view first, std::string_view last) {
    i32 top = 0, left = 0, bottom = 0, right = 0;
    ReadCellName(first, top, left);
    ReadCellName(last, bottom, right);
    return {static_cast<u16>(top), static_cast<u16>(bottom), static_cast<u8>(left), static_cast<u8>(right)};
}

CellRecord* Sandbox::CellAtName(std::string_view cell) {
    i32 row = 0, column = 0;
    ReadCellName(cell, row, column);
    return GetCell(CurrentSheet()->cells, row, column);
}

void Sandbox::Enter(std::string_view cell, std::string_view text) {
    const FormulaPlace place = PlaceOf(cell);
    const std::u16string wide = Wide(text);
    CellInput input;
    input.row = static_cast<u16>(place.row);
    input.column = static_cast<u8>(place.column);
    input.format = GetCellFormat(*CurrentSheet(), place.row, place.column);
    EntryResult entry;
    switch (ClassifyEntry(place, wide, entry)) {
        case ENTRY_EMPTY: break;
        case ENTRY_FORMULA: ASSERT_TRUE(CompileFormula(place, wide, 'V', input.tokens)) << text; break;
        case ENTRY_NUMBER: input.value = NumberValue(entry.number); break;
        case ENTRY_BOOL: input.value = BoolValue(entry.boolean != 0); break;
        case ENTRY_ERROR: input.value = ErrorValue(entry.error); break;
        default: input.value = TextValue(wide); break;
    }
    ASSERT_TRUE(SetCell(place.book, place.sheet, input, true, false));
}

void Sandbox::EnterArray(std::string_view first, std::string_view last, std::string_view formula) {
    const RefArea area = AreaOf(first, last);
    FormulaPlace place = PlaceOf(first);
    place.arrayMode = true;
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({area, 0, 0}));
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
            CellInput input;
            input.row = static_cast<u16>(row);
            input.column = static_cast<u8>(column);
            ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', input.tokens)) << formula;
            ASSERT_TRUE(SetCell(place.book, place.sheet, input, true, false));
        }
    }
}

std::string Sandbox::Shown(std::string_view cell) {
    i32 row = 0, column = 0;
    ReadCellName(cell, row, column);
    BringUpToDate(CurrentBook(), CurrentWorkbook()->currentSheet, row, column);
    const CellRecord* found = CellAtName(cell);
    WideText text;
    if (found) {
        EXPECT_TRUE(DisplayText(*CurrentWorkbook(), found->value, found->format, text));
    }
    return Narrow(text);
}

std::string Sandbox::Eval(std::string_view formula) {
    const FormulaPlace place = PlaceOf("A1");
    FormulaTokens tokens;
    if (!CompileFormula(place, Wide(formula), 'V', tokens)) return "fault";
    const EvalContext context{place.book, place.sheet, 0, 0, 0};
    Value result;
    if (EvaluateFormula(tokens, result, context)) ReduceToScalar(result, context);
    if (result.type == VT_EMPTY) result = NumberValue(0);
    WideText text;
    EXPECT_TRUE(DisplayValue(*CurrentWorkbook(), result, 0, text));
    FreeValue(result);
    FreeTokens(tokens);
    return Narrow(text);
}

std::string Sandbox::Compiled(std::string_view formula, char letter, bool arrayMode) {
    FormulaPlace place = PlaceOf("A1");
    place.arrayMode = arrayMode;
    FormulaTokens tokens;
    if (!CompileFormula(place, Wide(formula), letter, tokens)) return "fault";
    std::string out = Hex(tokens);
    FreeTokens(tokens);
    return out;
}

std::string Sandbox::Printed(std::string_view formula) {
    const FormulaPlace place = PlaceOf("A1");
    FormulaTokens tokens;
    if (!CompileFormula(place, Wide(formula), 'V', tokens)) return "fault";
    WideText text;
    EXPECT_TRUE(FormulaToText(place.book, tokens, 0, 0, true, text));
    FreeTokens(tokens);
    return Narrow(text);
}

void Sandbox::DefineName(std::string_view name, std::string_view formula, u16 sheet) {
    Workbook& book = *CurrentWorkbook();
    FormulaPlace place = PlaceOf("A1");
    FormulaTokens tokens;
    ASSERT_TRUE(CompileFormula(place, Wide(formula), 'R', tokens)) << formula;
    i32 row = FindName(book, Wide(name), sheet);
    if (row < 0) row = AddName(book, Wide(name), sheet);
    ASSERT_GE(row, 0);
    DefinedName& target = CurrentWorkbook()->names[static_cast<u32>(row)];
    FreeTokens(target.tokens);
    target.tokens = tokens;
    MarkDependentsOfName(CurrentBook(), row);
}

}  // namespace tally
