// Up to three conditions under which the selected cells look otherwise, a page for each.

#include <algorithm>
#include <array>

#include "base/MessageTable.h"
#include "editing/RuleFormulas.h"
#include "model/BookTable.h"
#include "model/Formats.h"
#include "model/Tokens.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/CellLook.h"

namespace tally {
namespace {

constexpr i32 PAGES = 100, FIRST_PAGE = 110, PAGE_STEP = 10;
// Places of a page's controls behind its own number.
enum Place : i32 { PAGE, TYPE, COMPARISON, FIRST_BOX, AND_LABEL, SECOND_BOX, DELETED, FORMAT, SAMPLE, PLACES };
static_assert(PLACES <= PAGE_STEP);

constexpr i32 IdOf(i32 page, Place place) { return FIRST_PAGE + page * PAGE_STEP + place; }
constexpr i32 PageOf(i32 id) { return (id - FIRST_PAGE) / PAGE_STEP; }
constexpr bool IsPlace(i32 id, Place place) {
    return id >= FIRST_PAGE && id < IdOf(MAX_CONDITIONS, PAGE) && (id - FIRST_PAGE) % PAGE_STEP == place;
}

constexpr auto rows = [] {
    std::array<ControlRow, 1 + MAX_CONDITIONS * PLACES> made{};
    std::size_t count = 0;
    made[count++] = {.id = PAGES, .kind = CONTROL_PAGES, .cell = {0, 0}};
    for (i32 page = 0; page < static_cast<i32>(MAX_CONDITIONS); ++page) {
        const i32 in = IdOf(page, PAGE);
        const ControlRow all[] = {
            {.id = in,
             .kind = CONTROL_PAGE,
             .text = static_cast<u16>(MSG_CONDITION_FIRST + page),
             .container = PAGES},
            {.id = IdOf(page, TYPE), .kind = CONTROL_DROP_LIST, .cell = {0, 0}, .width = 14, .container = in},
            {.id = IdOf(page, COMPARISON),
             .kind = CONTROL_DROP_LIST,
             .cell = {0, 1},
             .width = 18,
             .container = in},
            {.id = IdOf(page, FIRST_BOX),
             .kind = CONTROL_REFERENCE,
             .cell = {1, 0, 2},
             .width = 34,
             .container = in},
            {.id = IdOf(page, AND_LABEL),
             .kind = CONTROL_LABEL,
             .text = MSG_CONDITION_AND,
             .cell = {2, 0, 2},
             .container = in},
            {.id = IdOf(page, SECOND_BOX),
             .kind = CONTROL_REFERENCE,
             .cell = {3, 0, 2},
             .width = 34,
             .container = in},
            {.id = IdOf(page, DELETED),
             .kind = CONTROL_CHECK,
             .text = MSG_CONDITION_DELETE,
             .cell = {4, 0},
             .container = in},
            {.id = IdOf(page, FORMAT),
             .kind = CONTROL_BUTTON,
             .text = MSG_CONDITION_FORMAT,
             .cell = {4, 1},
             .container = in,
             .flags = CONTROL_RIGHT},
            {.id = IdOf(page, SAMPLE),
             .kind = CONTROL_PAINTED,
             .cell = {5, 0, 2},
             .width = 34,
             .lines = 2,
             .container = in},
        };
        for (const ControlRow& row : all) made[count++] = row;
    }
    return made;
}();

ConditionalQuestion& QuestionOf(const Dialog& dialog) {
    return *static_cast<ConditionalQuestion*>(dialog.context);
}
ConditionEdit& EditOf(const Dialog& dialog, i32 page) { return QuestionOf(dialog).edits[page]; }

enum : i32 { BY_VALUE, BY_FORMULA };  // items of the types

// Conditions count their comparisons from 1.
bool HasSecond(const Dialog& dialog, i32 page) {
    return ControlChoice(dialog, IdOf(page, TYPE)) == BY_VALUE &&
           ControlChoice(dialog, IdOf(page, COMPARISON)) <= 1;
}

void FollowPage(Dialog& dialog, i32 page) {
    const bool second = HasSecond(dialog, page);
    const bool byValue = ControlChoice(dialog, IdOf(page, TYPE)) == BY_VALUE;
    ShowControl(dialog, IdOf(page, COMPARISON), byValue);
    ShowControl(dialog, IdOf(page, AND_LABEL), second);
    ShowControl(dialog, IdOf(page, SECOND_BOX), second);
    const bool stays = !IsChecked(dialog, IdOf(page, DELETED));
    for (const Place place : {TYPE, COMPARISON, FIRST_BOX, AND_LABEL, SECOND_BOX})
        EnableControl(dialog, IdOf(page, place), stays);
    EnableControl(dialog, IdOf(page, FORMAT), stays && QuestionOf(dialog).askLook != nullptr);
    RepaintControl(dialog, IdOf(page, SAMPLE));
}

bool StartPage(Dialog& dialog, i32 page) {
    const FormulaPlace& place = QuestionOf(dialog).place;
    const ConditionalCondition& condition = EditOf(dialog, page).condition;
    for (const u16 type : {MSG_CONDITION_TYPE_VALUE, MSG_CONDITION_TYPE_FORMULA})
        if (!AddControlItem(dialog, IdOf(page, TYPE), Message(type))) return false;
    for (u16 i = 0; i < 8; ++i)
        if (!AddControlItem(dialog, IdOf(page, COMPARISON),
                            Message(static_cast<u16>(MSG_COMPARISON_FIRST + i))))
            return false;
    WideText first, second;
    if (!RuleFormulaText(place, condition.formula1, SHOW_PLAIN, first) ||
        !RuleFormulaText(place, condition.formula2, SHOW_PLAIN, second) ||
        !SetControlText(dialog, IdOf(page, FIRST_BOX), first) ||
        !SetControlText(dialog, IdOf(page, SECOND_BOX), second))
        return false;
    const u32 comparison = condition.comparison;
    SetControlChoice(dialog, IdOf(page, TYPE), condition.type == 2 ? BY_FORMULA : BY_VALUE);
    SetControlChoice(dialog, IdOf(page, COMPARISON),
                     comparison >= 1 && comparison <= 8 ? static_cast<i32>(comparison) - 1 : 0);
    FollowPage(dialog, page);
    return true;
}

bool Start(Dialog& dialog) {
    for (i32 page = 0; page < static_cast<i32>(MAX_CONDITIONS); ++page)
        if (!StartPage(dialog, page)) return false;
    return true;
}

// ---- what is taken ----------------------------------------------------------------------------------------

bool Refuse(Dialog& dialog, i32 page, Place box, u16 message) {
    SetControlChoice(dialog, PAGES, page);
    if (message != RULE_NO_MEMORY) ShowMessage(Message(message));
    SelectControlText(dialog, IdOf(page, box));
    return false;
}

// A page that nothing was ever entered into is no condition.
bool IsUntouched(const Dialog& dialog, i32 page) {
    return static_cast<u32>(page) >= QuestionOf(dialog).count && !HasLook(EditOf(dialog, page).condition) &&
           ControlText(dialog, IdOf(page, FIRST_BOX)).empty() &&
           ControlText(dialog, IdOf(page, SECOND_BOX)).empty();
}

// The boxes of a page as far as they count; they take the place of the condition's formulas when all are good.
bool TakePage(Dialog& dialog, i32 page) {
    ConditionEdit& edit = EditOf(dialog, page);
    edit.deleted = IsChecked(dialog, IdOf(page, DELETED)) || IsUntouched(dialog, page);
    if (edit.deleted) return true;
    const FormulaPlace& place = QuestionOf(dialog).place;
    FormulaTokens first, second;
    if (const u16 fault = ReadConditionValue(place, ControlText(dialog, IdOf(page, FIRST_BOX)), first))
        return Refuse(dialog, page, FIRST_BOX, fault);
    if (HasSecond(dialog, page)) {
        if (const u16 fault = ReadConditionValue(place, ControlText(dialog, IdOf(page, SECOND_BOX)), second)) {
            FreeTokens(first);
            return Refuse(dialog, page, SECOND_BOX, fault);
        }
    }
    FreeCondition(edit.condition);
    edit.condition.formula1 = first;
    edit.condition.formula2 = second;
    const bool byValue = ControlChoice(dialog, IdOf(page, TYPE)) == BY_VALUE;
    edit.condition.type = byValue ? 1 : 2;
    edit.condition.comparison =
        byValue ? static_cast<u32>(ControlChoice(dialog, IdOf(page, COMPARISON))) + 1 : 0;
    return true;
}

bool Accept(Dialog& dialog) {
    for (i32 page = 0; page < static_cast<i32>(MAX_CONDITIONS); ++page)
        if (!TakePage(dialog, page)) return false;
    return true;
}

// ---- the sample -------------------------------------------------------------------------------------------

// How a cell of the default format would look.
void PaintSample(const Dialog& dialog, i32 page, DrawTarget& target, const PixelRect& place) {
    const Workbook* book = BookAt(QuestionOf(dialog).place.book);
    if (!book) return;
    const ConditionalCondition& condition = EditOf(dialog, page).condition;
    const CellFormat& own = ResolveCellFormat(*book, 0);
    const CellFormat look = FillOf(own, &condition);
    constexpr u32 WHITE = 0xFFFFFF, EDGE = 0x808080;
    const u32 back = look.pattern ? PaletteColour(*book, look.backColour, WHITE) : WHITE;
    const Brush brush = {.colour = look.pattern >= BRUSH_FIRST_PATTERN && look.pattern <= BRUSH_LAST_PATTERN
                                       ? PaletteColour(*book, look.patternColour, 0)
                                       : back,
                         .pattern = look.pattern >= BRUSH_FIRST_PATTERN && look.pattern <= BRUSH_LAST_PATTERN
                                        ? look.pattern
                                        : BRUSH_SOLID,
                         .backColour = back};
    FillRect(target, place, EDGE);
    FillRect(target, {place.left + 1, place.top + 1, place.right - 1, place.bottom - 1}, brush);
    const FontHandle font = FontOfLook(*book, own, &condition, target.dpiY);
    const WideView text = Message(MSG_CONDITION_SAMPLE);
    i32 width = 0, height = 0;
    Fonts().textExtent(font, text, width, height);
    DrawClippedText(target, (place.left + place.right - width) / 2, (place.top + place.bottom - height) / 2,
                    place, font, PaletteColour(*book, ColourOfLook(*book, own, &condition), 0), text);
}

void AskLook(Dialog& dialog, i32 page) {
    const ConditionalQuestion& question = QuestionOf(dialog);
    if (question.askLook && question.askLook(EditOf(dialog, page).condition)) FollowPage(dialog, page);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    switch (event.kind) {
        case DIALOG_START: return Start(dialog);
        case DIALOG_CHANGED:
            if (IsPlace(event.control, TYPE) || IsPlace(event.control, COMPARISON) ||
                IsPlace(event.control, DELETED))
                FollowPage(dialog, PageOf(event.control));
            return true;
        case DIALOG_PRESSED:
            if (IsPlace(event.control, FORMAT)) AskLook(dialog, PageOf(event.control));
            return true;
        case DIALOG_PAGE_LEFT: return TakePage(dialog, ControlChoice(dialog, PAGES));
        case DIALOG_ACCEPT: return Accept(dialog);
        case DIALOG_PAINT: PaintSample(dialog, PageOf(event.control), *event.target, event.paint); return true;
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_CONDITIONAL_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskConditionalFormats(ConditionalQuestion& question) { return RunDialog(table, &question); }

}  // namespace tally
