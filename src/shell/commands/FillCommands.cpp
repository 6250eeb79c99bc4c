// Filling the selection from its edge, and with progressions.

#include "base/MessageTable.h"
#include "editing/Fill.h"
#include "editing/FillSeries.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "platform/Forms.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// The fields of the dialog.
enum SeriesField : u32 { SERIES_DIRECTION, SERIES_KIND, SERIES_DATE_UNIT, SERIES_STEP, SERIES_STOP };

constexpr u16 directionItems[] = {MSG_SERIES_ROWS, MSG_SERIES_COLUMNS};
constexpr u16 typeItems[] = {MSG_SERIES_LINEAR, MSG_SERIES_GROWTH, MSG_SERIES_DATES};
constexpr u16 unitItems[] = {MSG_SERIES_DAY, MSG_SERIES_WEEKDAY, MSG_SERIES_MONTH, MSG_SERIES_YEAR};

Sheet* FreeSheet() {
    Sheet* sheet = CurrentSheet();
    return HasCells(sheet) && !IsEditing() ? sheet : nullptr;
}

// An empty text leaves the number as it is. False for a text that is no number.
bool ReadNumber(WideView text, double& number) { return text.empty() || TextToNumber(text, number); }

// Items are numbered from 0, what the request holds from 1.
bool ReadRequest(const Form& form, SeriesRequest& request) {
    request.direction = form.fields[SERIES_DIRECTION].choice + 1;
    request.type = form.fields[SERIES_KIND].choice + 1;
    request.unit = form.fields[SERIES_DATE_UNIT].choice + 1;
    request.hasStop = !form.fields[SERIES_STOP].text.IsEmpty();
    return ReadNumber(form.fields[SERIES_STEP].text, request.step) &&
           ReadNumber(form.fields[SERIES_STOP].text, request.stop);
}

bool AcceptSeries(Form& form) {
    SeriesRequest request;
    if (ReadRequest(form, request)) return true;
    ShowMessage(Message(MSG_NO_NUMBER));
    return false;
}

void SeriesChanged(Form& form, u32 field) {
    form.fields[SERIES_DATE_UNIT].enabled = form.fields[SERIES_KIND].choice + 1 == SERIES_DATE;
    if (field == SERIES_DIRECTION)
        IgnoreFailure(ProposedStep(form.fields[SERIES_DIRECTION].choice + 1, form.fields[SERIES_STEP].text));
}

bool FillSeriesForm(Form& form) {
    const i32 direction = ProposedDirection(CurrentSheet()->view.selection);
    WideText step;
    form.accept = AcceptSeries;
    form.changed = SeriesChanged;
    if (!ProposedStep(direction, step) || !form.title.Assign(Message(MSG_SERIES_TITLE)) ||
        !AddMessageChoice(form, FIELD_RADIO, MSG_SERIES_IN, directionItems, direction - 1) ||
        !AddMessageChoice(form, FIELD_RADIO, MSG_SERIES_TYPE, typeItems, 0) ||
        !AddMessageChoice(form, FIELD_RADIO, MSG_SERIES_UNIT, unitItems, 0) ||
        !AddEdit(form, Message(MSG_SERIES_STEP_VALUE), step) ||
        !AddEdit(form, Message(MSG_SERIES_STOP_VALUE), WideView()))
        return false;
    form.fields[SERIES_DATE_UNIT].enabled = false;
    return true;
}

}  // namespace

void FillCommand(i32 command) {
    constexpr bool (*fills[])(bool) = {FillDown, FillRight, FillUp, FillLeft};
    if (FreeSheet() && fills[command - 135](true)) ShowChangedCells();
}

void SeriesCommand(i32) {
    Form form;
    SeriesRequest request;
    if (!FreeSheet() || !FillSeriesForm(form) || !ShowForm(form) || !ReadRequest(form, request)) return;
    if (FreeSheet() && FillSeries(request)) ShowChangedCells();
}

}  // namespace tally
