// What may be typed into the selected cells: the rule, what is said beforehand, what is said of a mistake.

#include <algorithm>

#include "base/MessageTable.h"
#include "editing/RuleFormulas.h"
#include "editing/Validation.h"
#include "model/Tokens.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 {
    PAGES = 100,
    SETTINGS,
    ALLOW_LABEL,
    ALLOW,
    IGNORE_BLANK,
    DATA_LABEL,
    DATA,
    ARROW,
    FIRST_LABEL,
    FIRST_BOX,
    SECOND_LABEL,
    SECOND_BOX,
    INPUT,
    SHOW_INPUT,
    INPUT_TITLE_LABEL,
    INPUT_TITLE,
    INPUT_TEXT_LABEL,
    INPUT_TEXT,
    ERRORS,
    SHOW_ERROR,
    STYLE_LABEL,
    STYLE,
    ICON,
    ERROR_TITLE_LABEL,
    ERROR_TITLE,
    ERROR_TEXT_LABEL,
    ERROR_TEXT,
};

constexpr ControlRow Label(i32 id, u16 text, i16 row, i32 page) {
    return {.id = id, .kind = CONTROL_LABEL, .text = text, .cell = {row, 0}, .container = page};
}
constexpr ControlRow Check(i32 id, u16 text, LayoutCell cell, i32 page) {
    return {.id = id, .kind = CONTROL_CHECK, .text = text, .cell = cell, .container = page};
}
constexpr ControlRow Drop(i32 id, i16 row, i32 page) {
    return {.id = id, .kind = CONTROL_DROP_LIST, .cell = {row, 1}, .width = 18, .container = page};
}
constexpr ControlRow Box(i32 id, i16 row) {
    return {.id = id, .kind = CONTROL_REFERENCE, .cell = {row, 1, 2}, .width = 36, .container = SETTINGS};
}
constexpr ControlRow Line(i32 id, i16 row, i32 page) {
    return {.id = id, .kind = CONTROL_EDIT, .cell = {row, 1, 2}, .width = 36, .container = page};
}
constexpr ControlRow Lines(i32 id, i16 row, i32 page) {
    return {
        .id = id, .kind = CONTROL_MULTILINE, .cell = {row, 1, 2}, .width = 36, .lines = 5, .container = page};
}

constexpr ControlRow rows[] = {
    {.id = PAGES, .kind = CONTROL_PAGES, .cell = {0, 0}},
    {.id = SETTINGS, .kind = CONTROL_PAGE, .text = MSG_VALIDATION_SETTINGS, .container = PAGES},
    Label(ALLOW_LABEL, MSG_VALIDATION_ALLOW, 0, SETTINGS),
    Drop(ALLOW, 0, SETTINGS),
    Check(IGNORE_BLANK, MSG_VALIDATION_IGNORE_BLANK, {0, 2}, SETTINGS),
    Label(DATA_LABEL, MSG_VALIDATION_DATA, 1, SETTINGS),
    Drop(DATA, 1, SETTINGS),
    Check(ARROW, MSG_VALIDATION_ARROW, {1, 2}, SETTINGS),
    Label(FIRST_LABEL, MSG_RULE_MINIMUM, 2, SETTINGS),
    Box(FIRST_BOX, 2),
    Label(SECOND_LABEL, MSG_RULE_MAXIMUM, 3, SETTINGS),
    Box(SECOND_BOX, 3),
    {.id = INPUT, .kind = CONTROL_PAGE, .text = MSG_VALIDATION_INPUT, .container = PAGES},
    Check(SHOW_INPUT, MSG_VALIDATION_SHOW_INPUT, {0, 0, 3}, INPUT),
    Label(INPUT_TITLE_LABEL, MSG_VALIDATION_INPUT_TITLE, 1, INPUT),
    Line(INPUT_TITLE, 1, INPUT),
    Label(INPUT_TEXT_LABEL, MSG_VALIDATION_INPUT_TEXT, 2, INPUT),
    Lines(INPUT_TEXT, 2, INPUT),
    {.id = ERRORS, .kind = CONTROL_PAGE, .text = MSG_VALIDATION_ERROR, .container = PAGES},
    Check(SHOW_ERROR, MSG_VALIDATION_SHOW_ERROR, {0, 0, 3}, ERRORS),
    Label(STYLE_LABEL, MSG_VALIDATION_STYLE, 1, ERRORS),
    Drop(STYLE, 1, ERRORS),
    {.id = ICON, .kind = CONTROL_PAINTED, .cell = {1, 2}, .width = 6, .lines = 2, .container = ERRORS},
    Label(ERROR_TITLE_LABEL, MSG_VALIDATION_INPUT_TITLE, 2, ERRORS),
    Line(ERROR_TITLE, 2, ERRORS),
    Label(ERROR_TEXT_LABEL, MSG_VALIDATION_ERROR_TEXT, 3, ERRORS),
    Lines(ERROR_TEXT, 3, ERRORS),
};

// What a kind of rule calls its limits: with two of them, as the only lower or upper one, as a value to be met.
struct KindLabels {
    u16 first, second, value;
    bool compares;
    RuleShow show;
};
constexpr KindLabels kindLabels[] = {
    {0, 0, 0, false, SHOW_PLAIN},
    {MSG_RULE_MINIMUM, MSG_RULE_MAXIMUM, MSG_RULE_VALUE, true, SHOW_PLAIN},
    {MSG_RULE_MINIMUM, MSG_RULE_MAXIMUM, MSG_RULE_VALUE, true, SHOW_PLAIN},
    {MSG_RULE_SOURCE, 0, MSG_RULE_SOURCE, false, SHOW_PLAIN},
    {MSG_RULE_START_DATE, MSG_RULE_END_DATE, MSG_RULE_DATE, true, SHOW_DATE},
    {MSG_RULE_START_TIME, MSG_RULE_END_TIME, MSG_RULE_TIME, true, SHOW_TIME},
    {MSG_RULE_MINIMUM, MSG_RULE_MAXIMUM, MSG_RULE_LENGTH, true, SHOW_PLAIN},
    {MSG_RULE_FORMULA, 0, MSG_RULE_FORMULA, false, SHOW_PLAIN},
};
constexpr i32 RULE_KINDS = static_cast<i32>(std::size(kindLabels));
static_assert(RULE_KINDS == RULE_CUSTOM + 1);
constexpr i32 COMPARISONS = 8, STYLES = 3;

const KindLabels& LabelsOf(i32 kind) { return kindLabels[kind > 0 && kind < RULE_KINDS ? kind : 0]; }

// The label of the first box: a comparison with one value is met by it or has it as its lower or upper limit.
u16 FirstLabel(i32 kind, i32 comparison) {
    const KindLabels& labels = LabelsOf(kind);
    if (!labels.compares) return labels.first;
    switch (comparison) {
        case 2:
        case 3: return labels.value;
        case 5:
        case 7: return labels.second;
        default: return labels.first;
    }
}

bool HasSecond(i32 kind, i32 comparison) { return LabelsOf(kind).compares && comparison <= 1; }

ValidationQuestion& QuestionOf(const Dialog& dialog) {
    return *static_cast<ValidationQuestion*>(dialog.context);
}

void ShowBox(Dialog& dialog, i32 label, i32 box, u16 text) {
    ShowControl(dialog, label, text != 0);
    ShowControl(dialog, box, text != 0);
    if (text) IgnoreFailure(SetControlLabel(dialog, label, Message(text)));
}

void FollowKind(Dialog& dialog) {
    const i32 kind = ControlChoice(dialog, ALLOW), comparison = ControlChoice(dialog, DATA);
    const KindLabels& labels = LabelsOf(kind);
    EnableControl(dialog, IGNORE_BLANK, kind != RULE_ANY);
    ShowControl(dialog, DATA_LABEL, labels.compares);
    ShowControl(dialog, DATA, labels.compares);
    ShowControl(dialog, ARROW, kind == RULE_LIST);
    ShowBox(dialog, FIRST_LABEL, FIRST_BOX, FirstLabel(kind, comparison));
    ShowBox(dialog, SECOND_LABEL, SECOND_BOX, HasSecond(kind, comparison) ? labels.second : u16{0});
}

void FollowChecks(Dialog& dialog) {
    for (const i32 id : {INPUT_TITLE_LABEL, INPUT_TITLE, INPUT_TEXT_LABEL, INPUT_TEXT})
        EnableControl(dialog, id, IsChecked(dialog, SHOW_INPUT));
    for (const i32 id : {STYLE_LABEL, STYLE, ERROR_TITLE_LABEL, ERROR_TITLE, ERROR_TEXT_LABEL, ERROR_TEXT})
        EnableControl(dialog, id, IsChecked(dialog, SHOW_ERROR));
    RepaintControl(dialog, ICON);
}

bool AddItems(Dialog& dialog, i32 id, u16 first, i32 count) {
    for (i32 i = 0; i < count; ++i)
        if (!AddControlItem(dialog, id, Message(static_cast<u16>(first + i)))) return false;
    return true;
}

i32 Bounded(u32 value, i32 count) { return value < static_cast<u32>(count) ? static_cast<i32>(value) : 0; }

bool Start(Dialog& dialog) {
    const ValidationQuestion& question = QuestionOf(dialog);
    const ValidationRule& rule = question.rule;
    const i32 kind = Bounded(rule.kind, RULE_KINDS);
    const RuleShow show = rule.literalList ? SHOW_ITEMS : LabelsOf(kind).show;
    WideText first, second;
    if (!AddItems(dialog, ALLOW, MSG_RULE_KIND_FIRST, RULE_KINDS) ||
        !AddItems(dialog, DATA, MSG_COMPARISON_FIRST, COMPARISONS) ||
        !AddItems(dialog, STYLE, MSG_RULE_STYLE_FIRST, STYLES) ||
        !RuleFormulaText(question.place, rule.formula1, show, first) ||
        !RuleFormulaText(question.place, rule.formula2, show, second) ||
        !SetControlText(dialog, FIRST_BOX, first) || !SetControlText(dialog, SECOND_BOX, second) ||
        !SetControlText(dialog, INPUT_TITLE, rule.inputTitle) ||
        !SetControlText(dialog, INPUT_TEXT, rule.inputText) ||
        !SetControlText(dialog, ERROR_TITLE, rule.errorTitle) ||
        !SetControlText(dialog, ERROR_TEXT, rule.errorText))
        return false;
    SetControlChoice(dialog, ALLOW, kind);
    SetControlChoice(dialog, DATA, Bounded(rule.comparison, COMPARISONS));
    SetControlChoice(dialog, STYLE, Bounded(rule.errorStyle, STYLES));
    SetControlChoice(dialog, IGNORE_BLANK, rule.ignoreBlank != 0);
    SetControlChoice(dialog, ARROW, !rule.noDropArrow);
    SetControlChoice(dialog, SHOW_INPUT, rule.showInput != 0);
    SetControlChoice(dialog, SHOW_ERROR, rule.showError != 0);
    FollowKind(dialog);
    FollowChecks(dialog);
    return true;
}

// ---- what is taken ----------------------------------------------------------------------------------------

// The page of the box comes to the front, with the focus in it.
bool Refuse(Dialog& dialog, i32 box, u16 message) {
    SetControlChoice(dialog, PAGES, 0);
    if (message != RULE_NO_MEMORY) ShowMessage(Message(message));
    SelectControlText(dialog, box);
    return false;
}

u16 ReadBox(const FormulaPlace& place, i32 kind, WideView text, FormulaTokens& out, bool& literal) {
    if (kind == RULE_LIST) return ReadRuleList(place, text, out, literal);
    return kind == RULE_CUSTOM ? ReadRuleTest(place, text, out) : ReadRuleLimit(place, text, out);
}

// Both boxes, as far as the kind has them; they take the place of the rule's formulas when both are good.
bool TakeSettings(Dialog& dialog) {
    ValidationQuestion& question = QuestionOf(dialog);
    const i32 kind = ControlChoice(dialog, ALLOW), comparison = ControlChoice(dialog, DATA);
    FormulaTokens first, second;
    bool literal = false;
    if (kind != RULE_ANY)
        if (const u16 fault = ReadBox(question.place, kind, ControlText(dialog, FIRST_BOX), first, literal))
            return Refuse(dialog, FIRST_BOX, fault);
    if (HasSecond(kind, comparison)) {
        bool ignored = false;
        if (const u16 fault = ReadBox(question.place, kind, ControlText(dialog, SECOND_BOX), second, ignored)) {
            FreeTokens(first);
            return Refuse(dialog, SECOND_BOX, fault);
        }
    }
    ValidationRule& rule = question.rule;
    FreeTokens(rule.formula1);
    FreeTokens(rule.formula2);
    rule.formula1 = first;
    rule.formula2 = second;
    rule.kind = static_cast<u32>(kind);
    rule.comparison = static_cast<u32>(comparison);
    rule.literalList = literal;
    rule.ignoreBlank = IsChecked(dialog, IGNORE_BLANK);
    rule.noDropArrow = !IsChecked(dialog, ARROW);
    return true;
}

bool Accept(Dialog& dialog) {
    if (!TakeSettings(dialog)) return false;
    ValidationRule& rule = QuestionOf(dialog).rule;
    rule.showInput = IsChecked(dialog, SHOW_INPUT);
    rule.showError = IsChecked(dialog, SHOW_ERROR);
    rule.errorStyle = static_cast<u32>(ControlChoice(dialog, STYLE));
    return rule.inputTitle.Assign(ControlText(dialog, INPUT_TITLE)) &&
           rule.inputText.Assign(ControlText(dialog, INPUT_TEXT)) &&
           rule.errorTitle.Assign(ControlText(dialog, ERROR_TITLE)) &&
           rule.errorText.Assign(ControlText(dialog, ERROR_TEXT));
}

// ---- the picture of the style -----------------------------------------------------------------------------

// A red disc, a yellow triangle, a blue disc, each with its sign, as a box with this style has.
void PaintIcon(const Dialog& dialog, DrawTarget& target, const PixelRect& place) {
    constexpr u32 RED = 0x2020D0, YELLOW = 0x20D0F0, BLUE = 0xC06020, WHITE = 0xFFFFFF, BLACK = 0,
                  FACE = 0xF0F0F0;
    FillRect(target, place, FACE);
    if (!IsChecked(dialog, SHOW_ERROR)) return;
    const i32 size = std::min(place.right - place.left, place.bottom - place.top) - 2;
    const PixelRect icon{place.left, place.top + 1, place.left + size, place.top + 1 + size};
    const i32 style = ControlChoice(dialog, STYLE), middle = icon.left + size / 2;
    if (style == 1) {
        const PixelPoint points[] = {{middle, icon.top}, {icon.right, icon.bottom}, {icon.left, icon.bottom}};
        const u32 ends[] = {3};
        DrawPolygon(target, {points, ends}, FILL_ALTERNATE, {BLACK}, {.colour = YELLOW});
    } else {
        DrawShape(target, {SHAPE_ELLIPSE, icon, {}, {}}, NO_PEN, {.colour = style == 0 ? RED : BLUE});
    }
    const WideView sign = style == 0 ? u"\u00D7" : style == 1 ? u"!" : u"i";
    i32 width = 0, height = 0;
    Fonts().textExtent(0, sign, width, height);
    DrawText(target, middle - width / 2, icon.top + (size - height) / 2 + (style == 1), 0,
             style == 1 ? BLACK : WHITE, sign);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    switch (event.kind) {
        case DIALOG_START: return Start(dialog);
        case DIALOG_CHANGED:
            if (event.control == ALLOW || event.control == DATA) FollowKind(dialog);
            if (event.control == SHOW_INPUT || event.control == SHOW_ERROR || event.control == STYLE)
                FollowChecks(dialog);
            return true;
        case DIALOG_PAGE_LEFT: return ControlChoice(dialog, PAGES) != 0 || TakeSettings(dialog);
        case DIALOG_ACCEPT: return Accept(dialog);
        case DIALOG_PAINT: PaintIcon(dialog, *event.target, event.paint); return true;
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_VALIDATION_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskValidation(ValidationQuestion& question) { return RunDialog(table, &question); }

}  // namespace tally
