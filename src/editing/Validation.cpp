#include "editing/Validation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "editing/StoreEntry.h"
#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

constexpr u32 MAX_LIST_ITEMS = 1024;

// The number that a rule's formula gives at a cell. False when it gives none.
bool LimitAt(const FormulaTokens& tokens, const EvalContext& context, double& out) {
    Value result;
    if (!HasFormula(tokens) || !EvaluateFormula(tokens, result, context)) return false;
    ReduceToScalar(result, context);
    const bool isNumber = result.type == VT_NUMBER;
    if (isNumber) out = result.number;
    FreeValue(result);
    return isNumber;
}

bool NumberTest(double x, const ValidationRule& rule, const EvalContext& context) {
    double a = 0, b = 0;
    const bool two = rule.comparison <= 1;
    if (!LimitAt(rule.formula1, context, a) || (two && !LimitAt(rule.formula2, context, b))) return false;
    switch (rule.comparison) {
        case 0: return x >= a && x <= b;
        case 1: return x < a || x > b;
        case 2: return x == a;
        case 3: return x != a;
        case 4: return x > a;
        case 5: return x < a;
        case 6: return x >= a;
        case 7: return x <= a;
        default: return false;
    }
}

bool SameValue(const Value& a, const Value& b) {
    if (a.type != b.type) return false;
    switch (a.type) {
        case VT_NUMBER: return a.number == b.number;
        case VT_STRING: return EqualIgnoringCase(TextOf(a), TextOf(b));
        case VT_BOOL: return (a.boolean != 0) == (b.boolean != 0);
        case VT_ERROR: return a.error == b.error;
        default: return false;
    }
}

// The items stand one behind the other with zero characters between. False at the end.
bool NextItem(WideView items, std::size_t& at, WideView& item) {
    if (at > items.size()) return false;
    const std::size_t end = std::min(items.find(u'\0', at), items.size());
    item = items.substr(at, end - at);
    while (!item.empty() && item.front() == u' ') item.remove_prefix(1);
    at = end + 1;
    return true;
}

bool InLiteralList(const Value& value, WideView items) {
    WideView item;
    double number = 0;
    for (std::size_t at = 0; NextItem(items, at, item);) {
        if (value.type == VT_STRING && EqualIgnoringCase(TextOf(value), item)) return true;
        if (value.type == VT_NUMBER && TextToNumber(item, number) && number == value.number) return true;
    }
    return false;
}

bool AppendItem(WideView text, Array<WideText>& items) {
    WideText item;
    return text.empty() || (item.Assign(text) && items.Append(std::move(item)));
}

bool AppendShownTexts(const SheetArea& list, Array<WideText>& items) {
    WideText text;
    for (i32 row = list.area.firstRow; row <= list.area.lastRow && items.Count() < MAX_LIST_ITEMS; ++row) {
        for (i32 column = list.area.firstColumn; column <= list.area.lastColumn; ++column) {
            BringUpToDate(list.book, list.sheet, row, column);
            const Sheet* sheet = SheetAt(list.book, list.sheet);
            const CellRecord* cell = sheet ? GetCell(sheet->cells, row, column) : nullptr;
            if (!cell) continue;
            if (!DisplayText(*BookAt(list.book), cell->value, cell->format, text) || !AppendItem(text, items))
                return false;
        }
    }
    return true;
}

// The store may change under a calculation, so each cell is fetched anew.
bool InArea(const Value& value, const SheetArea& list) {
    const Sheet* sheet = SheetAt(list.book, list.sheet);
    if (!sheet) return false;
    const i32 lastRow = std::min<i32>(list.area.lastRow, LastUsedRow(*sheet));
    for (i32 row = list.area.firstRow; row <= lastRow; ++row) {
        for (i32 column = list.area.firstColumn; column <= list.area.lastColumn; ++column) {
            Value item;
            GetCellValue(list.book, list.sheet, row, column, item);
            const bool same = SameValue(value, item);
            FreeValue(item);
            if (same) return true;
        }
    }
    return false;
}

bool InList(const Value& value, const ValidationRule& rule, const EvalContext& context) {
    Value list;
    if (!HasFormula(rule.formula1) || !EvaluateFormula(rule.formula1, list, context)) return false;
    SheetArea area;
    i32 error = 0;
    const bool found = rule.literalList ? list.type == VT_STRING && InLiteralList(value, TextOf(list))
                                        : ResolveSingleArea(list, context, area, error) && InArea(value, area);
    FreeValue(list);
    return found;
}

// Characters of the value as it is shown at full length.
bool ShownLength(const Value& value, double& out) {
    WideText text;
    switch (value.type) {
        case VT_NUMBER:
            if (!NumberToText(value.number, 15, text)) return false;
            out = text.Length();
            return true;
        case VT_STRING: out = static_cast<double>(TextOf(value).size()); return true;
        case VT_BOOL: out = value.boolean ? 4 : 5; return true;
        default: return false;
    }
}

bool CustomHolds(const ValidationRule& rule, const EvalContext& context) {
    Value result;
    if (!HasFormula(rule.formula1) || !EvaluateFormula(rule.formula1, result, context)) return false;
    ReduceToScalar(result, context);
    CoerceValue(result, VT_BOOL, context);
    const bool holds = result.type == VT_BOOL && result.boolean;
    FreeValue(result);
    return holds;
}

bool ValuePasses(const Value& value, const ValidationRule& rule, const EvalContext& context) {
    const bool isNumber = value.type == VT_NUMBER;
    double length = 0;
    switch (rule.kind) {
        case RULE_ANY: return true;
        case RULE_WHOLE:
            return isNumber && value.number == std::trunc(value.number) &&
                   NumberTest(value.number, rule, context);
        case RULE_DECIMAL:
        case RULE_DATE:
        case RULE_TIME: return isNumber && NumberTest(value.number, rule, context);
        case RULE_LIST: return InList(value, rule, context);
        case RULE_LENGTH: return ShownLength(value, length) && NumberTest(length, rule, context);
        case RULE_CUSTOM: return CustomHolds(rule, context);
        default: return true;
    }
}

i32 AskAboutEntry(const ValidationRule& rule) {
    constexpr u32 buttons[] = {MB_RETRYCANCEL | MB_ICONSTOP, MB_YESNOCANCEL | MB_ICONWARNING,
                               MB_OKCANCEL | MB_ICONINFORMATION};
    const u32 style = rule.errorStyle < 3 ? rule.errorStyle : 0;
    const WideView text = rule.errorText.IsEmpty()
                              ? Message(style == 1 ? MSG_ENTRY_INVALID_CONTINUE : MSG_ENTRY_INVALID)
                              : rule.errorText.View();
    const WideView title = rule.errorTitle.IsEmpty() ? PROGRAM_NAME : rule.errorTitle.View();
    return Platform().messageBox(text, title, buttons[style]);
}

}  // namespace

i32 FindRule(const Sheet& sheet, i32 row, i32 column) {
    for (u32 i = 0; i < sheet.validations.Count(); ++i)
        for (const RefArea& area : sheet.validations[i].areas)
            if (AreaHolds(area, row, column)) return static_cast<i32>(i);
    return -1;
}

bool PassesRule(i32 book, i32 sheet, i32 row, i32 column, const ValidationRule& rule) {
    Value value;
    GetCellValue(book, sheet, row, column, value);
    const bool passes = ValuePasses(value, rule, {book, sheet, row, column, 0});
    FreeValue(value);
    return passes;
}

bool RuleListItems(i32 book, i32 sheet, i32 row, i32 column, Array<WideText>& items) {
    const Sheet* target = SheetAt(book, sheet);
    const i32 index = target ? FindRule(*target, row, column) : -1;
    if (index < 0) return true;
    const ValidationRule& rule = target->validations[static_cast<u32>(index)];
    const EvalContext context{book, sheet, row, column, 0};
    const bool literal = rule.literalList != 0;
    Value list;
    if (rule.kind != RULE_LIST || !HasFormula(rule.formula1) || !EvaluateFormula(rule.formula1, list, context))
        return true;
    bool good = true;
    SheetArea area;
    i32 error = 0;
    WideView item;
    if (literal && list.type == VT_STRING) {
        for (std::size_t at = 0; good && items.Count() < MAX_LIST_ITEMS && NextItem(TextOf(list), at, item);)
            good = AppendItem(item, items);
    } else if (!literal && ResolveSingleArea(list, context, area, error)) {
        good = AppendShownTexts(area, items);
    }
    FreeValue(list);
    return good;
}

bool CheckEntryRules(i32 book, i32 sheet, const RefArea& area, i32& outcome) {
    if (!SheetAt(book, sheet) || SheetAt(book, sheet)->validations.IsEmpty()) return true;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
            // A box runs a loop of its own, so the sheet is fetched for each cell.
            const Sheet* target = SheetAt(book, sheet);
            const i32 index = target ? FindRule(*target, row, column) : -1;
            if (index < 0) continue;
            const ValidationRule& rule = target->validations[static_cast<u32>(index)];
            const CellRecord* cell = GetCell(target->cells, row, column);
            if (rule.kind == RULE_ANY || !rule.showError || !cell) continue;
            if (!cell->formula && cell->calcState == CALC_BLANK) continue;
            if (PassesRule(book, sheet, row, column, rule)) continue;
            const i32 answer = AskAboutEntry(rule);
            if (answer == IDOK || answer == IDYES) continue;
            outcome = answer == IDCANCEL ? ENTRY_CANCELLED : ENTRY_RETRY;
            return false;
        }
    }
    return true;
}

}  // namespace tally
