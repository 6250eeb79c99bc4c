#include "shell/state/ShellState.h"

namespace tally {
namespace {

ShellState state;

}  // namespace

ShellState& Shell() { return state; }
void ResetShell() { state = ShellState(); }

}  // namespace tally
