// The page of number formats.

#include "base/MessageTable.h"
#include "base/Number.h"
#include "display/DisplayText.h"
#include "display/NumberFormatter.h"
#include "editing/EntryRecognition.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/dialogs/CellFormatPages.h"

namespace tally {
namespace {

enum : i32 {
    CATEGORY_LABEL = NUMBER_CONTROLS,
    CATEGORY,
    SAMPLE_GROUP,
    SAMPLE,
    DECIMALS_LABEL,
    DECIMALS,
    TYPE_LABEL,
    TYPE,
    CODE_LABEL,
    CODE,
};

constexpr ControlRow rows[] = {
    {.id = CATEGORY_LABEL, .text = MSG_NUMBER_CATEGORY, .cell = {0, 0}, .container = NUMBER_PAGE},
    {.id = CATEGORY,
     .kind = CONTROL_LIST,
     .cell = {1, 0, 1, 5},
     .width = 18,
     .lines = 11,
     .container = NUMBER_PAGE},
    {.id = SAMPLE_GROUP,
     .kind = CONTROL_GROUP,
     .text = MSG_NUMBER_SAMPLE,
     .cell = {1, 1, 2},
     .container = NUMBER_PAGE},
    {.id = SAMPLE, .cell = {0, 0}, .width = 30, .container = SAMPLE_GROUP},
    {.id = DECIMALS_LABEL, .text = MSG_NUMBER_DECIMALS, .cell = {2, 1}, .container = NUMBER_PAGE},
    {.id = DECIMALS, .kind = CONTROL_EDIT, .cell = {2, 2}, .width = 8, .container = NUMBER_PAGE},
    {.id = TYPE_LABEL, .text = MSG_NUMBER_TYPE, .cell = {3, 1}, .container = NUMBER_PAGE},
    {.id = TYPE, .kind = CONTROL_LIST, .cell = {3, 2}, .width = 34, .lines = 6, .container = NUMBER_PAGE},
    {.id = CODE_LABEL, .text = MSG_NUMBER_CODE, .cell = {4, 1}, .container = NUMBER_PAGE},
    {.id = CODE, .kind = CONTROL_EDIT, .cell = {4, 2}, .width = 34, .container = NUMBER_PAGE},
};

constexpr i32 MAX_DECIMALS = 30, USUAL_DECIMALS = 2;
constexpr double SAMPLE_MOMENT = 36966.563553;  // an afternoon in March 2001

bool HasDecimals(i32 kind) {
    return kind == KIND_FIXED || kind == KIND_CURRENCY || kind == KIND_ACCOUNTING || kind == KIND_PERCENT ||
           kind == KIND_SCIENTIFIC;
}

// What the list of types offers, by the category. With `id` the text of that number format serves.
struct TypeRow {
    i32 category;
    i32 kind;
    i32 subKind;
    u16 id;
};
constexpr TypeRow types[] = {
    {KIND_DATE, KIND_DATE, 0, 0},         {KIND_DATE, KIND_CUSTOM, 0, 15},
    {KIND_DATE, KIND_CUSTOM, 0, 16},      {KIND_DATE, KIND_CUSTOM, 0, 17},
    {KIND_DATE, KIND_DATE, 20, 0},        {KIND_DATE, KIND_DATE, 18, 0},
    {KIND_TIME, KIND_TIME, 0, 0},         {KIND_TIME, KIND_TIME, 20, 0},
    {KIND_TIME, KIND_TIME, 21, 0},        {KIND_TIME, KIND_TIME, 18, 0},
    {KIND_TIME, KIND_TIME, 19, 0},        {KIND_TIME, KIND_TIME, 45, 0},
    {KIND_TIME, KIND_TIME, 46, 0},        {KIND_TIME, KIND_TIME, 47, 0},
    {KIND_FRACTION, KIND_FRACTION, 1, 0}, {KIND_FRACTION, KIND_FRACTION, 2, 0},
    {KIND_FRACTION, KIND_FRACTION, 3, 0},
};

bool HasTypes(i32 kind) {
    return kind == KIND_DATE || kind == KIND_TIME || kind == KIND_FRACTION || kind == KIND_CUSTOM;
}

const TypeRow* TypeOf(i32 category, i32 place) {
    for (const TypeRow& row : types)
        if (row.category == category && place-- == 0) return &row;
    return nullptr;
}

bool TypeText(const CellFormatSheet& sheet, const TypeRow& row, WideText& out) {
    const i32 book = sheet.question.book;
    const WideView custom = row.id ? GetNumberFormatText(*BookAt(book), row.id) : WideView();
    return EntryFormatText(book, row.kind, row.subKind, custom, out);
}

// ---- what stands in the controls now ------------------------------------------------------------------------

// -1 for a text that is no count of decimals.
i32 ReadDecimals(const Dialog& dialog) {
    double number = 0;
    const WideView text = ControlText(dialog, DECIMALS);
    if (!TextToNumber(text, number) || !(number >= 0) || number > MAX_DECIMALS) return -1;
    const i32 whole = static_cast<i32>(number);
    return whole == number ? whole : -1;
}

// The number format that is chosen: a kind, a sub-kind, and of a custom one the text in file form. False when
// it cannot be, or memory fails.
struct NumberChoice {
    i32 kind = KIND_PLAIN, subKind = 0;
    WideText text;
};
bool ReadChoice(const Dialog& dialog, const CellFormatSheet& sheet, NumberChoice& choice) {
    choice.kind = sheet.kind;
    if (HasDecimals(sheet.kind)) {
        choice.subKind = ReadDecimals(dialog);
        return choice.subKind >= 0;
    }
    if (sheet.kind == KIND_CUSTOM) {
        if (!LocalToFileText(ControlText(dialog, CODE), choice.text)) return false;
        if (choice.text.IsEmpty()) choice.kind = KIND_PLAIN;
        return true;
    }
    if (const TypeRow* row = TypeOf(sheet.kind, ControlChoice(dialog, TYPE))) {
        choice.kind = row->kind;
        choice.subKind = row->subKind;
        return row->kind != KIND_CUSTOM || TypeText(sheet, *row, choice.text);
    }
    return sheet.kind >= 0 && !HasTypes(sheet.kind);
}

bool ShowSample(Dialog& dialog, const CellFormatSheet& sheet) {
    NumberChoice choice;
    WideText format, shown;
    const CellFormatQuestion& question = sheet.question;
    const Sheet* grid = SheetAt(question.book, question.sheet);
    const CellRecord* cell = grid ? GetCell(grid->cells, question.row, question.column) : nullptr;
    if (!cell || !ReadChoice(dialog, sheet, choice)) return SetControlLabel(dialog, SAMPLE, {});
    if (!EntryFormatText(sheet.question.book, choice.kind, choice.subKind, choice.text, format)) return false;
    const Workbook& book = *BookAt(question.book);
    if (cell->value.type == VT_NUMBER && format.View() != u"General")
        return FormatNumber(cell->value.number, format, nullptr, 0, book.date1904 != 0, nullptr, shown) &&
               SetControlLabel(dialog, SAMPLE, shown);
    return DisplayValue(book, cell->value, 0, shown) && SetControlLabel(dialog, SAMPLE, shown);
}

// ---- filling ------------------------------------------------------------------------------------------------

bool FillCustomTypes(Dialog& dialog, const Workbook& book) {
    for (const NumberFormat& row : book.numberFormats)
        if (!AddControlItem(dialog, TYPE, row.localText)) return false;
    return true;
}

bool FillTypes(Dialog& dialog, const CellFormatSheet& sheet) {
    ClearControlItems(dialog, TYPE);
    if (sheet.kind == KIND_CUSTOM) return FillCustomTypes(dialog, *BookAt(sheet.question.book));
    WideText format, shown;
    for (i32 place = 0; const TypeRow* row = TypeOf(sheet.kind, place); ++place) {
        if (!TypeText(sheet, *row, format)) return false;
        // A moment shows what it will look like, a fraction its places.
        const bool good = sheet.kind == KIND_FRACTION
                              ? shown.Assign(format)
                              : FormatNumber(SAMPLE_MOMENT, format, nullptr, 0, false, nullptr, shown);
        if (!good || !AddControlItem(dialog, TYPE, shown)) return false;
    }
    return true;
}

bool FollowCategory(Dialog& dialog, const CellFormatSheet& sheet) {
    EnableControl(dialog, DECIMALS, HasDecimals(sheet.kind));
    EnableControl(dialog, TYPE, HasTypes(sheet.kind));
    EnableControl(dialog, CODE, sheet.kind == KIND_CUSTOM);
    return FillTypes(dialog, sheet);
}

bool SetDecimals(Dialog& dialog, i32 decimals) {
    WideText text;
    return NumberToText(decimals, 2, text) && SetControlText(dialog, DECIMALS, text);
}

// The category whose making gives a text, with its decimals or its type; custom when none does.
bool FindCategory(const CellFormatSheet& sheet, WideView wanted, i32& kind, i32& detail) {
    WideText text;
    for (kind = KIND_PLAIN; kind < KIND_CUSTOM; ++kind) {
        if (HasTypes(kind)) {
            for (detail = 0; const TypeRow* row = TypeOf(kind, detail); ++detail) {
                if (!TypeText(sheet, *row, text)) return false;
                if (text.View() == wanted) return true;
            }
            continue;
        }
        const i32 last = HasDecimals(kind) ? MAX_DECIMALS : 0;
        for (detail = 0; detail <= last; ++detail) {
            if (!EntryFormatText(sheet.question.book, kind, detail, {}, text)) return false;
            if (text.View() == wanted) return true;
        }
    }
    return true;
}

bool Start(Dialog& dialog, CellFormatSheet& sheet) {
    if (!AddMessages(dialog, CATEGORY, MSG_NUMBER_CATEGORY_FIRST, FORMAT_KINDS)) return false;
    const Workbook& book = *BookAt(sheet.question.book);
    const FormatField id = sheet.question.look.numberFormat;
    i32 detail = 0;
    if (!id.present) return FollowCategory(dialog, sheet);
    const WideView text = GetNumberFormatText(book, static_cast<u16>(id.value));
    if (!FindCategory(sheet, text, sheet.kind, detail)) return false;
    SetControlChoice(dialog, CATEGORY, sheet.kind);
    if (!FollowCategory(dialog, sheet)) return false;
    const u32 at = FindNumberFormat(book, static_cast<u16>(id.value));
    if (HasDecimals(sheet.kind) && !SetDecimals(dialog, detail)) return false;
    if (HasTypes(sheet.kind))
        SetControlChoice(dialog, TYPE, sheet.kind == KIND_CUSTOM ? static_cast<i32>(at) : detail);
    if (at < book.numberFormats.Count() && !SetControlText(dialog, CODE, book.numberFormats[at].localText))
        return false;
    return ShowSample(dialog, sheet);
}

bool ChooseCategory(Dialog& dialog, CellFormatSheet& sheet) {
    sheet.kind = ControlChoice(dialog, CATEGORY);
    if (!FollowCategory(dialog, sheet)) return false;
    if (HasDecimals(sheet.kind) && ReadDecimals(dialog) < 0 && !SetDecimals(dialog, USUAL_DECIMALS))
        return false;
    if (HasTypes(sheet.kind) && sheet.kind != KIND_CUSTOM) SetControlChoice(dialog, TYPE, 0);
    return sheet.kind != KIND_CUSTOM || !ControlText(dialog, CODE).empty() ||
           SetControlText(dialog, CODE, LocalGeneralWord());
}

void Changed(Dialog& dialog, CellFormatSheet& sheet, i32 control) {
    sheet.numberTouched = true;
    const Workbook& book = *BookAt(sheet.question.book);
    if (control == CATEGORY) IgnoreFailure(ChooseCategory(dialog, sheet));
    const i32 type = ControlChoice(dialog, TYPE);
    if (control == TYPE && sheet.kind == KIND_CUSTOM && type >= 0 &&
        static_cast<u32>(type) < book.numberFormats.Count())
        IgnoreFailure(SetControlText(dialog, CODE, book.numberFormats[static_cast<u32>(type)].localText));
    IgnoreFailure(ShowSample(dialog, sheet));
}

bool Accept(const Dialog& dialog, CellFormatSheet& sheet, u16& fault, i32& control) {
    if (!sheet.numberTouched) return true;
    NumberChoice choice;
    if (!ReadChoice(dialog, sheet, choice)) {
        fault = HasDecimals(sheet.kind) ? u16{MSG_NUMBER_DECIMALS_RANGE} : u16{0};
        control = DECIMALS;
        return false;
    }
    sheet.question.formatKind = choice.kind;
    sheet.question.formatSubKind = choice.subKind;
    return sheet.question.formatText.Assign(choice.text);
}

}  // namespace

constexpr CellFormatPage numberPage = {.bit = FORMAT_PAGE_NUMBER,
                                       .id = NUMBER_PAGE,
                                       .title = MSG_FORMAT_PAGE_NUMBER,
                                       .rows = rows,
                                       .pickers = {},
                                       .start = Start,
                                       .changed = Changed,
                                       .accept = Accept,
                                       .paint = nullptr,
                                       .mouse = nullptr};

}  // namespace tally
