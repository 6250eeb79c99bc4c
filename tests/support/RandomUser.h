#pragma once
// A user who does anything at random, through the tables of messages and commands.

#include <random>
#include <string>

#include "support/ShellSandbox.h"

namespace tally {

// All books without what only looking around changes.
std::string DumpContent();
// The lines of either dump that the other lacks.
std::string ContentDifference(const std::string& before, const std::string& after);
// Formulas in a circle have the value that the order and the number of calculations give them. Books with more
// than `most` formulas are taken to have one.
bool HasCircle(std::size_t most);

class RandomUser : public ShellSandbox {
  protected:
    std::mt19937 random{20260101};

    u32 Below(u32 count) { return static_cast<u32>(random() % count); }
    // One book at random, and nothing to undo.
    void StartBook(u32 seed);
    // Selects something and answers what may be asked: the command to do, 0 for typing.
    i32 GetReady();
    // The same for a command that is chosen already.
    void GetReadyFor(i32 command);
    // Does it; false for a command that there is not.
    bool Do(i32 command);

  private:
    RefArea Anywhere(bool whole);
    void SelectAnything(bool whole);
    void SelectFor(i32 command);
    void AnswerAnything();
    void TypeAnything();
    void TakeRulesApart(Sheet& sheet);
};

}  // namespace tally
