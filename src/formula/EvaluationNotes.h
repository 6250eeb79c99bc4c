#pragma once
// What the evaluation of a cell has met and whoever calculates the cell must know.

#include "base/Base.h"

namespace tally {

enum EvaluationNote : u32 {
    NOTE_PLACE = 1,  // the result depends on which cell asks, or on when it does
    NOTE_AWAY = 2,   // a closed book or an unknown function was asked
};
void NoteEvaluation(u32 notes);
// Puts other notes in place; returns those that were there. An evaluation that runs inside of another one, for
// a cell of its own, has its own notes.
u32 ExchangeNotes(u32 notes);

}  // namespace tally
