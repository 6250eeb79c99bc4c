// The page of fills.

#include "base/MessageTable.h"
#include "shell/dialogs/CellFormatPages.h"

namespace tally {
namespace {

enum : i32 {
    PATTERN_LABEL = PATTERN_CONTROLS,
    PATTERN,
    FORE_LABEL,
    FORE,
    BACK_LABEL,
    BACK,
    SAMPLE_GROUP,
    SAMPLE,
};

constexpr ControlRow Picker(i32 id, i16 row) {
    return {.id = id,
            .kind = CONTROL_PAINTED,
            .cell = {row, 1},
            .width = 22,
            .lines = 1,
            .container = PATTERN_PAGE,
            .flags = CONTROL_PICKER};
}

constexpr ControlRow rows[] = {
    {.id = PATTERN_LABEL, .text = MSG_PICK_PATTERN, .cell = {0, 0}, .container = PATTERN_PAGE},
    Picker(PATTERN, 0),
    {.id = FORE_LABEL, .text = MSG_PATTERN_COLOUR, .cell = {1, 0}, .container = PATTERN_PAGE},
    Picker(FORE, 1),
    {.id = BACK_LABEL, .text = MSG_PATTERN_BACK, .cell = {2, 0}, .container = PATTERN_PAGE},
    Picker(BACK, 2),
    {.id = SAMPLE_GROUP,
     .kind = CONTROL_GROUP,
     .text = MSG_NUMBER_SAMPLE,
     .cell = {3, 0, 2},
     .container = PATTERN_PAGE},
    {.id = SAMPLE, .kind = CONTROL_PAINTED, .cell = {0, 0}, .width = 40, .lines = 3, .container = SAMPLE_GROUP},
};
constexpr PickerRow pickers[] = {{PATTERN, PICK_PATTERN}, {FORE, PICK_COLOUR}, {BACK, PICK_COLOUR}};

constexpr i32 AUTOMATIC_FORE = 64, AUTOMATIC_BACK = 65, SOLID = 1;

bool Start(Dialog& dialog, CellFormatSheet& sheet) {
    const FormatRequest& look = sheet.question.look;
    SetControlChoice(dialog, PATTERN, ChoiceOf(look.pattern));
    SetControlChoice(dialog, FORE, ItemOfColour(ChoiceOf(look.patternColour)));
    SetControlChoice(dialog, BACK, ItemOfColour(ChoiceOf(look.backColour)));
    return true;
}

void Changed(Dialog& dialog, CellFormatSheet& sheet, i32 control) {
    FormatRequest& request = sheet.request;
    const i32 choice = ControlChoice(dialog, control);
    if (control == PATTERN) request.pattern = {true, choice};
    if (control == BACK) request.backColour = {true, ColourOfItem(choice, AUTOMATIC_BACK)};
    if (control != FORE) return;
    request.patternColour = {true, ColourOfItem(choice, AUTOMATIC_FORE)};
    // A colour that nothing would show makes the cells solid.
    if (ControlChoice(dialog, PATTERN) > 0 || !choice) return;
    request.pattern = {true, SOLID};
    SetControlChoice(dialog, PATTERN, SOLID);
}

void Paint(const CellFormatSheet& sheet, const DialogEvent& event) {
    PaintFillSample(*event.target, event.paint, ShownLook(sheet), sheet.question.book);
}

}  // namespace

constexpr CellFormatPage patternPage = {.bit = FORMAT_PAGE_PATTERN,
                                        .id = PATTERN_PAGE,
                                        .title = MSG_FORMAT_PAGE_PATTERN,
                                        .rows = rows,
                                        .pickers = pickers,
                                        .start = Start,
                                        .changed = Changed,
                                        .accept = nullptr,
                                        .paint = Paint,
                                        .mouse = nullptr};

}  // namespace tally
