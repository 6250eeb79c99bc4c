#pragma once
// The contents of an area as bytes.

#include "editing/AreaContents.h"
#include "recovery/JournalBytes.h"

namespace tally {

// Moves everything but serials, formats as they are numbered. A reader gets contents that PutContents takes:
// all lists in order and within the area.
void MoveContents(JournalBytes& bytes, AreaContents& contents);

}  // namespace tally
