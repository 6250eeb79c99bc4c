// Filling the selection from its edge, and with progressions.

#include "editing/Fill.h"
#include "editing/FillSeries.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

Sheet* FreeSheet() {
    Sheet* sheet = CurrentSheet();
    return HasCells(sheet) && !IsEditing() ? sheet : nullptr;
}

}  // namespace

void FillCommand(i32 command) {
    constexpr bool (*fills[])(bool) = {FillDown, FillRight, FillUp, FillLeft};
    if (FreeSheet() && fills[command - 135](true)) ShowChangedCells();
}

void SeriesCommand(i32) {
    SeriesRequest request;
    if (!FreeSheet()) return;
    request.direction = ProposedDirection(FreeSheet()->view.selection);
    if (AskSeries(request) && FreeSheet() && FillSeries(request)) ShowChangedCells();
}

}  // namespace tally
