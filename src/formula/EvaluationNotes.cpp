#include "formula/EvaluationNotes.h"

namespace tally {
namespace {

u32 current = 0;

}  // namespace

void NoteEvaluation(u32 notes) { current |= notes; }

u32 ExchangeNotes(u32 notes) {
    const u32 before = current;
    current = notes;
    return before;
}

}  // namespace tally
