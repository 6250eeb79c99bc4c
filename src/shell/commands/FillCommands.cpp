// Filling the selection from its edge, and with progressions.

#include "editing/Fill.h"
#include "editing/FillSeries.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/selection/ActiveCell.h"

namespace tally {

void FillCommand(i32 command) {
    constexpr bool (*fills[])(bool) = {FillDown, FillRight, FillUp, FillLeft};
    if (fills[command - 135](true)) ShowChangedCells();
}

void SeriesCommand(i32) {
    SeriesRequest request;
    request.direction = ProposedDirection(CurrentSheet()->view.selection);
    if (AskSeries(request) && HasCells(CurrentSheet()) && FillSeries(request)) ShowChangedCells();
}

}  // namespace tally
