// The page of borders: a line is chosen, then where it stands.

#include "base/MessageTable.h"
#include "platform/ShellPlatform.h"
#include "shell/dialogs/CellFormatPages.h"

namespace tally {
namespace {

enum : i32 {
    LINE_LABEL = BORDER_CONTROLS,
    LINE,
    COLOUR_LABEL,
    COLOUR,
    PRESETS,
    NONE,
    OUTLINE,
    INSIDE,
    LINES,
    FIRST_LINE,  // by the rows of `lines`
    LAST_LINE = FIRST_LINE + 5,
    EXEMPLAR,
};

constexpr ControlRow Check(i32 number, u16 text, i16 row, i16 column) {
    return {.id = FIRST_LINE + number,
            .kind = CONTROL_CHECK,
            .text = text,
            .cell = {row, column},
            .container = LINES};
}
constexpr ControlRow Button(i32 id, u16 text, i16 column) {
    return {.id = id, .kind = CONTROL_BUTTON, .text = text, .cell = {0, column}, .container = PRESETS};
}

constexpr ControlRow rows[] = {
    {.id = LINE_LABEL, .text = MSG_PICK_LINE, .cell = {0, 1}, .container = BORDER_PAGE},
    {.id = LINE,
     .kind = CONTROL_PAINTED,
     .cell = {0, 2},
     .width = 16,
     .lines = 1,
     .container = BORDER_PAGE,
     .flags = CONTROL_PICKER},
    {.id = COLOUR_LABEL, .text = MSG_PICK_COLOUR, .cell = {1, 1}, .container = BORDER_PAGE},
    {.id = COLOUR,
     .kind = CONTROL_PAINTED,
     .cell = {1, 2},
     .width = 16,
     .lines = 1,
     .container = BORDER_PAGE,
     .flags = CONTROL_PICKER},
    {.id = PRESETS,
     .kind = CONTROL_GROUP,
     .text = MSG_BORDER_PRESETS,
     .cell = {2, 0, 3},
     .container = BORDER_PAGE},
    Button(NONE, MSG_BORDER_NONE, 0),
    Button(OUTLINE, MSG_BORDER_OUTLINE, 1),
    Button(INSIDE, MSG_BORDER_INSIDE, 2),
    {.id = LINES, .kind = CONTROL_GROUP, .text = MSG_BORDER_LINES, .cell = {3, 0, 3}, .container = BORDER_PAGE},
    Check(0, MSG_BORDER_TOP, 0, 0),
    Check(1, MSG_BORDER_BOTTOM, 1, 0),
    Check(2, MSG_BORDER_LEFT, 0, 1),
    Check(3, MSG_BORDER_RIGHT, 1, 1),
    Check(4, MSG_BORDER_HORIZONTAL, 0, 2),
    Check(5, MSG_BORDER_VERTICAL, 1, 2),
    {.id = EXEMPLAR,
     .kind = CONTROL_PAINTED,
     .cell = {0, 0, 1, 2},
     .width = 24,
     .lines = 6,
     .container = BORDER_PAGE},
};
constexpr PickerRow pickers[] = {{LINE, PICK_BORDER}, {COLOUR, PICK_COLOUR}};

constexpr EdgeField FormatRequest::*lines[] = {
    &FormatRequest::topEdge,   &FormatRequest::bottomEdge,      &FormatRequest::leftEdge,
    &FormatRequest::rightEdge, &FormatRequest::innerHorizontal, &FormatRequest::innerVertical,
};
constexpr i32 OUTER_LINES = 4, ALL_LINES = 6;
constexpr i32 THIN = 1, AUTOMATIC_LINE = 64;

bool IsOffered(const CellFormatSheet& sheet, i32 line) {
    return line < OUTER_LINES || (line == OUTER_LINES ? sheet.question.rows : sheet.question.columns);
}

void ShowLine(Dialog& dialog, const CellFormatSheet& sheet, i32 line) {
    const EdgeField shown = ShownField(sheet, lines[line]);
    SetControlChoice(dialog, FIRST_LINE + line, shown.present ? shown.style != 0 : -1);
}

bool Start(Dialog& dialog, CellFormatSheet& sheet) {
    SetControlChoice(dialog, LINE, THIN);
    SetControlChoice(dialog, COLOUR, 0);
    for (i32 line = 0; line < ALL_LINES; ++line) {
        ShowLine(dialog, sheet, line);
        EnableControl(dialog, FIRST_LINE + line, IsOffered(sheet, line));
    }
    EnableControl(dialog, INSIDE, sheet.question.rows || sheet.question.columns);
    return true;
}

// The line that is chosen, or none.
EdgeField ChosenLine(const Dialog& dialog, bool drawn) {
    const i32 style = drawn ? ControlChoice(dialog, LINE) : 0;
    if (style <= 0) return {true, 0, 0};
    return {true, static_cast<u8>(style),
            static_cast<u8>(ColourOfItem(ControlChoice(dialog, COLOUR), AUTOMATIC_LINE))};
}

void Draw(Dialog& dialog, CellFormatSheet& sheet, i32 line, bool drawn) {
    if (!IsOffered(sheet, line)) return;
    sheet.request.*lines[line] = ChosenLine(dialog, drawn);
    ShowLine(dialog, sheet, line);
}

void DrawAll(Dialog& dialog, CellFormatSheet& sheet, i32 first, i32 end, bool drawn) {
    for (i32 line = first; line < end; ++line) Draw(dialog, sheet, line, drawn);
}

void Changed(Dialog& dialog, CellFormatSheet& sheet, i32 control) {
    switch (control) {
        case NONE: DrawAll(dialog, sheet, 0, ALL_LINES, false); break;
        case OUTLINE: DrawAll(dialog, sheet, 0, OUTER_LINES, true); break;
        case INSIDE: DrawAll(dialog, sheet, OUTER_LINES, ALL_LINES, true); break;
        default:
            if (control >= FIRST_LINE && control <= LAST_LINE)
                Draw(dialog, sheet, control - FIRST_LINE, IsChecked(dialog, control));
            break;
    }
}

void Paint(const CellFormatSheet& sheet, const DialogEvent& event) {
    PaintBorderExemplar(*event.target, event.paint, ShownLook(sheet), sheet.question.rows,
                        sheet.question.columns, sheet.question.book);
}

// A press draws the chosen line there, or takes away the one that stands there already.
void Mouse(Dialog& dialog, CellFormatSheet& sheet, const DialogEvent& event) {
    if (event.value != static_cast<i32>(WM_LBUTTONDOWN)) return;
    const PixelRect& place = FindControl(dialog, EXEMPLAR)->place;
    const auto pressed = ExemplarLine({0, 0, place.right - place.left, place.bottom - place.top}, event.x,
                                      event.y, sheet.question.rows, sheet.question.columns);
    for (i32 line = 0; line < ALL_LINES; ++line) {
        if (lines[line] != pressed) continue;
        const EdgeField old = ShownField(sheet, pressed), fresh = ChosenLine(dialog, true);
        const bool same = old.present && old.style == fresh.style && old.colour == fresh.colour;
        Draw(dialog, sheet, line, !same);
    }
}

}  // namespace

constexpr CellFormatPage borderPage = {.bit = FORMAT_PAGE_BORDER,
                                       .id = BORDER_PAGE,
                                       .title = MSG_FORMAT_PAGE_BORDER,
                                       .rows = rows,
                                       .pickers = pickers,
                                       .start = Start,
                                       .changed = Changed,
                                       .accept = nullptr,
                                       .paint = Paint,
                                       .mouse = Mouse};

}  // namespace tally
