#pragma once
// The steps of a replayed script. A script is a text file of lines: a word and what belongs to it.

#include <string>
#include <string_view>

#include "base/WideText.h"

namespace tally {

struct ReplayStep {
    std::string_view word;
    // Null when all went well; otherwise what is wrong, and `status` is the exit status.
    const char* (*run)(std::string_view rest, int& status);
};

// Null for a word that is no step.
const ReplayStep* FindReplayStep(std::string_view word);

// The window turns to the current book.
void ShowReplayedBook();

}  // namespace tally
