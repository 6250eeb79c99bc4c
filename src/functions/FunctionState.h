#pragma once
// What the functions keep between calls.

namespace tally {

// The random numbers begin anew. What is kept of sheets stands in the engine's room.
void ResetFunctions();

}  // namespace tally
