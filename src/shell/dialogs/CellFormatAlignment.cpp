// The page of alignments.

#include "base/MessageTable.h"
#include "formula/Coercion.h"
#include "shell/dialogs/CellFormatPages.h"

namespace tally {
namespace {

enum : i32 {
    HORIZONTAL_LABEL = ALIGNMENT_CONTROLS,
    HORIZONTAL,
    VERTICAL_LABEL,
    VERTICAL,
    DEGREES_LABEL,
    DEGREES,
    STACKED,
    WRAP,
    MERGE,
};

constexpr ControlRow rows[] = {
    {.id = HORIZONTAL_LABEL, .text = MSG_ALIGN_HORIZONTAL, .cell = {0, 0}, .container = ALIGNMENT_PAGE},
    {.id = HORIZONTAL, .kind = CONTROL_DROP_LIST, .cell = {0, 1}, .container = ALIGNMENT_PAGE},
    {.id = VERTICAL_LABEL, .text = MSG_ALIGN_VERTICAL, .cell = {1, 0}, .container = ALIGNMENT_PAGE},
    {.id = VERTICAL, .kind = CONTROL_DROP_LIST, .cell = {1, 1}, .container = ALIGNMENT_PAGE},
    {.id = DEGREES_LABEL, .text = MSG_ALIGN_DEGREES, .cell = {2, 0}, .container = ALIGNMENT_PAGE},
    {.id = DEGREES, .kind = CONTROL_EDIT, .cell = {2, 1}, .container = ALIGNMENT_PAGE},
    {.id = STACKED,
     .kind = CONTROL_CHECK,
     .text = MSG_ALIGN_STACKED,
     .cell = {3, 1},
     .container = ALIGNMENT_PAGE},
    {.id = WRAP, .kind = CONTROL_CHECK, .text = MSG_ALIGN_WRAP, .cell = {4, 1}, .container = ALIGNMENT_PAGE},
    {.id = MERGE, .kind = CONTROL_CHECK, .text = MSG_ALIGN_MERGE, .cell = {5, 1}, .container = ALIGNMENT_PAGE},
};

constexpr i32 HORIZONTAL_WAYS = 8, STACKED_ROTATION = 255, DOWNWARD = 90, MAX_DEGREES = 90;

// By the vertical alignment number; three of the ways have a horizontal kin.
constexpr u16 verticalWays[] = {MSG_ALIGN_TOP, MSG_ALIGN_HORIZONTAL_FIRST + 2, MSG_ALIGN_BOTTOM,
                                MSG_ALIGN_HORIZONTAL_FIRST + 5, MSG_ALIGN_HORIZONTAL_FIRST + 7};

// In files a text that runs downwards counts on from 90.
i32 DegreesOf(i32 rotation) { return rotation <= MAX_DEGREES ? rotation : DOWNWARD - rotation; }

bool ReadDegrees(WideView text, i32& rotation) {
    double number = 0;
    if (!TextToNumber(text, number) || !(number >= -MAX_DEGREES) || number > MAX_DEGREES) return false;
    const i32 degrees = static_cast<i32>(number < 0 ? number - 0.5 : number + 0.5);
    rotation = degrees < 0 ? DOWNWARD - degrees : degrees;
    return true;
}

bool ShowDegrees(Dialog& dialog, const FormatField& rotation) {
    SetControlChoice(dialog, STACKED, rotation.present ? rotation.value == STACKED_ROTATION : -1);
    EnableControl(dialog, DEGREES, !IsChecked(dialog, STACKED));
    WideText text;
    if (rotation.present && rotation.value <= 2 * MAX_DEGREES &&
        !NumberToText(DegreesOf(rotation.value), 3, text))
        return false;
    return SetControlText(dialog, DEGREES, text);
}

bool Start(Dialog& dialog, CellFormatSheet& sheet) {
    const FormatRequest& look = sheet.question.look;
    if (!AddMessages(dialog, HORIZONTAL, MSG_ALIGN_HORIZONTAL_FIRST, HORIZONTAL_WAYS)) return false;
    for (const u16 way : verticalWays)
        if (!AddControlItem(dialog, VERTICAL, Message(way))) return false;
    SetControlChoice(dialog, HORIZONTAL, ChoiceOf(look.horizontal));
    SetControlChoice(dialog, VERTICAL, ChoiceOf(look.vertical));
    SetControlChoice(dialog, WRAP, ChoiceOf(look.wrap));
    SetControlChoice(dialog, MERGE, ChoiceOf(look.merge));
    return ShowDegrees(dialog, look.rotation);
}

void Changed(Dialog& dialog, CellFormatSheet& sheet, i32 control) {
    FormatRequest& request = sheet.request;
    const FormatField chosen = {true, ControlChoice(dialog, control)};
    switch (control) {
        case HORIZONTAL: request.horizontal = chosen; break;
        case VERTICAL: request.vertical = chosen; break;
        case WRAP: request.wrap = chosen; break;
        case MERGE: request.merge = chosen; break;
        default: sheet.degreesTouched = true; break;
    }
    EnableControl(dialog, DEGREES, !IsChecked(dialog, STACKED));
}

bool Accept(const Dialog& dialog, CellFormatSheet& sheet, u16& fault, i32& control) {
    if (!sheet.degreesTouched) return true;
    FormatField& rotation = sheet.request.rotation;
    const WideView text = ControlText(dialog, DEGREES);
    rotation = {true, IsChecked(dialog, STACKED) ? STACKED_ROTATION : 0};
    if (rotation.value || text.empty() || ReadDegrees(text, rotation.value)) return true;
    fault = MSG_ALIGN_DEGREES_RANGE;
    control = DEGREES;
    return false;
}

}  // namespace

constexpr CellFormatPage alignmentPage = {.bit = FORMAT_PAGE_ALIGNMENT,
                                          .id = ALIGNMENT_PAGE,
                                          .title = MSG_FORMAT_PAGE_ALIGNMENT,
                                          .rows = rows,
                                          .pickers = {},
                                          .start = Start,
                                          .changed = Changed,
                                          .accept = Accept,
                                          .paint = nullptr,
                                          .mouse = nullptr};

}  // namespace tally
