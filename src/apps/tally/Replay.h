#pragma once
// The steps of a replayed script. A script is a text file of lines: a word and what belongs to it.

#include <string>
#include <string_view>

#include "base/WideText.h"

namespace tally {

struct ReplayStep {
    std::string_view word;
    // 0 when all went well; otherwise the message that says what is wrong, and `status` is the exit status.
    u16 (*run)(std::string_view rest, int& status);
    bool verbatim = false;  // blanks at the ends of the rest belong to it
};

// Null for a word that is no step.
const ReplayStep* FindReplayStep(std::string_view word);

// The window turns to the current book.
void ShowReplayedBook();

}  // namespace tally
