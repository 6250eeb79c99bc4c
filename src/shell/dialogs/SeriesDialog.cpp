// A progression from the first cells of the selection.

#include "base/MessageTable.h"
#include "formula/Coercion.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

// The radio buttons count on from directions, types and units, which begin at 1.
enum : i32 {
    DIRECTION = 100,
    IN_ROWS,
    IN_COLUMNS,
    TYPE,
    FIRST_TYPE,
    LAST_TYPE = FIRST_TYPE + 2,
    UNIT,
    FIRST_UNIT,
    LAST_UNIT = FIRST_UNIT + 3,
    STEP_LABEL,
    STEP,
    STOP_LABEL,
    STOP,
};

constexpr ControlRow Choice(i32 id, u16 text, i32 container, i16 row) {
    return {.id = id, .kind = CONTROL_RADIO, .text = text, .cell = {row, 0}, .container = container};
}

constexpr ControlRow rows[] = {
    {.id = DIRECTION, .kind = CONTROL_GROUP, .text = MSG_SERIES_IN, .cell = {0, 0}},
    Choice(IN_ROWS, MSG_SERIES_ROWS, DIRECTION, 0),
    Choice(IN_COLUMNS, MSG_SERIES_COLUMNS, DIRECTION, 1),
    {.id = TYPE, .kind = CONTROL_GROUP, .text = MSG_SERIES_TYPE, .cell = {0, 1}},
    Choice(FIRST_TYPE, MSG_SERIES_LINEAR, TYPE, 0),
    Choice(FIRST_TYPE + 1, MSG_SERIES_GROWTH, TYPE, 1),
    Choice(FIRST_TYPE + 2, MSG_SERIES_DATES, TYPE, 2),
    {.id = UNIT, .kind = CONTROL_GROUP, .text = MSG_SERIES_UNIT, .cell = {0, 2}, .flags = CONTROL_GREY},
    Choice(FIRST_UNIT, MSG_SERIES_DAY, UNIT, 0),
    Choice(FIRST_UNIT + 1, MSG_SERIES_WEEKDAY, UNIT, 1),
    Choice(FIRST_UNIT + 2, MSG_SERIES_MONTH, UNIT, 2),
    Choice(FIRST_UNIT + 3, MSG_SERIES_YEAR, UNIT, 3),
    {.id = STEP_LABEL, .kind = CONTROL_LABEL, .text = MSG_SERIES_STEP_VALUE, .cell = {1, 0}},
    {.id = STEP, .kind = CONTROL_EDIT, .cell = {1, 1, 2}},
    {.id = STOP_LABEL, .kind = CONTROL_LABEL, .text = MSG_SERIES_STOP_VALUE, .cell = {2, 0}},
    {.id = STOP, .kind = CONTROL_EDIT, .cell = {2, 1, 2}},
};

i32 DirectionOf(const Dialog& dialog) { return ChosenRadio(dialog, IN_ROWS) - IN_ROWS + SERIES_ROWS; }
i32 TypeOf(const Dialog& dialog) { return ChosenRadio(dialog, FIRST_TYPE) - FIRST_TYPE + SERIES_LINEAR; }

// An empty text leaves the number as it is. False for a text that is no number.
bool ReadNumber(WideView text, double& number) { return text.empty() || TextToNumber(text, number); }

bool Accept(const Dialog& dialog, SeriesRequest& request) {
    request.direction = DirectionOf(dialog);
    request.type = TypeOf(dialog);
    request.unit = ChosenRadio(dialog, FIRST_UNIT) - FIRST_UNIT + SERIES_DAY;
    request.hasStop = !ControlText(dialog, STOP).empty();
    if (ReadNumber(ControlText(dialog, STEP), request.step) &&
        ReadNumber(ControlText(dialog, STOP), request.stop))
        return true;
    ShowMessage(Message(MSG_NO_NUMBER));
    return false;
}

bool ProposeStep(Dialog& dialog) {
    WideText step;
    return ProposedStep(DirectionOf(dialog), step) && SetControlText(dialog, STEP, step);
}

bool Start(Dialog& dialog, const SeriesRequest& request) {
    SetControlChoice(dialog, IN_ROWS + request.direction - SERIES_ROWS, 1);
    SetControlChoice(dialog, FIRST_TYPE, 1);
    SetControlChoice(dialog, FIRST_UNIT, 1);
    return ProposeStep(dialog);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& request = *static_cast<SeriesRequest*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START: return Start(dialog, request);
        case DIALOG_CHANGED:
            EnableControl(dialog, UNIT, TypeOf(dialog) == SERIES_DATE);
            if (event.control == IN_ROWS || event.control == IN_COLUMNS) IgnoreFailure(ProposeStep(dialog));
            return true;
        case DIALOG_ACCEPT: return Accept(dialog, request);
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_SERIES_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskSeries(SeriesRequest& request) { return RunDialog(table, &request); }

}  // namespace tally
