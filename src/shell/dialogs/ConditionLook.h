#pragma once
// The look that a condition gives, between the condition and the pages that ask for looks.

#include "editing/ApplyFormat.h"
#include "model/ModelTypes.h"

namespace tally {

// What a condition changes, its fill in the dialog's order of colours. A style that is half told counts as
// told.
FormatRequest LookOfCondition(const ConditionalCondition& condition);
// Takes what the user touched into the condition, over the look that was shown.
void PutLook(ConditionalCondition& condition, const FormatRequest& touched);

}  // namespace tally
