#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "editing/EntryRecognition.h"
#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

// A cell's name in the A1 form, on no sheet.
bool ReadCellName(const std::string& name, i32& row, i32& column) {
    WideText text;
    if (!WideFromUtf8(text, name)) return false;
    FormulaPlace place;
    place.book = CurrentBook();
    RefArea area;
    u8 nibble = 0;
    const i32 length = static_cast<i32>(text.Length());
    if (ParseReference(place, text, 0, length, nullptr, area, nibble) != length || !IsOneCell(area))
        return false;
    row = area.firstRow;
    column = area.firstColumn;
    return true;
}

int Evaluate(const FormulaPlace& place, WideView formula) {
    FormulaTokens tokens;
    if (!CompileFormula(place, formula, 'V', tokens)) {
        return Complain(EXIT_DATA, MSG_FORMULA_ERROR);
    }
    const EvalContext context{place.book, place.sheet, place.row, place.column, 0};
    Value result;
    if (EvaluateFormula(tokens, result, context)) ReduceToScalar(result, context);
    // As a cell keeps it.
    if (result.type == VT_EMPTY) result = NumberValue(0);
    i32 proposal = -1;
    CheckFormulaSyntax(place, formula, 1, static_cast<i32>(formula.size()), false, &proposal);

    const Workbook& book = *BookAt(place.book);
    CellFormat format = ResolveCellFormat(book, DEFAULT_CELL_FORMAT);
    if (proposal > 0 && result.type == VT_NUMBER) format.numberFormat = static_cast<u16>(proposal);
    WideText text, shown;
    CellLine line;
    line.sheet = SheetAt(place.book, place.sheet)->name;
    line.row = place.row;
    line.column = place.column;
    const bool good = FormulaToText(place.book, tokens, place.row, place.column, true, text) &&
                      DisplayValue(book, result, format.numberFormat, shown);
    if (good) {
        line.formula = text;
        line.value = &result;
        line.text = shown;
        line.format = GetNumberFormatText(book, format.numberFormat);
        WriteCellLine(line);
    }
    FreeValue(result);
    FreeTokens(tokens);
    if (!good) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    return FinishLines();
}

}  // namespace

int RunEval(const Options& options) {
    int status = EXIT_GOOD;
    if (options.book.empty()) {
        if (!CreateWorkbook(nullptr, false)) return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    } else if (!OpenInput(options.book, "", options, status)) {
        return status;
    }
    if (!options.sheet.empty() && !ChooseSheet(options.sheet, status)) return status;
    FormulaPlace place;
    place.book = CurrentBook();
    place.sheet = BookAt(place.book)->currentSheet;
    if (!ReadCellName(options.cell, place.row, place.column)) return Complain(EXIT_USAGE, MSG_TALLY_BAD_CELL);
    WideText formula;
    const bool complete = !options.formula.empty() && options.formula[0] == '=';
    if ((!complete && !formula.Append(u'=')) || !AppendUtf8(formula, options.formula)) {
        return Complain(EXIT_DATA, MSG_OUT_OF_MEMORY);
    }
    return Evaluate(place, formula);
}

}  // namespace tally
