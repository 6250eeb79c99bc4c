#pragma once
// What holds of every open book whatever was done to it.

#include <string>

namespace tally {

// The first thing that is not as it must be, told for a person; empty when all is well.
std::string BrokenInvariant();

}  // namespace tally
