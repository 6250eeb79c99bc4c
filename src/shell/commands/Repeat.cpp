// Doing the last command again, on what is selected now.

#include <algorithm>

#include "shell/commands/Commands.h"

namespace tally {
namespace {

// Commands that need nothing but the selection. Those that ask, or turn over what they find, note what they
// did.
struct CommandSpan {
    i32 first, last;
};
constexpr CommandSpan plainCommands[] = {{135, 138}, {140, 142}, {161, 163},
                                         {166, 166}, {392, 394}, {396, 398}};

}  // namespace

void NoteRun(i32 command) {
    for (const CommandSpan& span : plainCommands)
        if (command >= span.first && command <= span.last) NoteRepeatable(command, 0);
}

void NoteRepeatable(i32 command, i32 argument) {
    Shell().repeat.command = command;
    Shell().repeat.argument = argument;
}

bool RepeatedArgument(i32 command, i32& argument) {
    const RepeatState& repeat = Shell().repeat;
    if (!repeat.running || repeat.command != command) return false;
    argument = repeat.argument;
    return true;
}

bool RepeatLastCommand() {
    RepeatState& repeat = Shell().repeat;
    if (!repeat.command || repeat.running || IsEditing()) return false;
    repeat.running = true;
    const bool known = SendCommand(repeat.command);
    repeat.running = false;
    return known;
}

}  // namespace tally
