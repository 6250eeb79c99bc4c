#pragma once
// What is remembered between runs: recent files, bands, the status bar.

#include "shell/state/ShellState.h"

namespace tally {

// A store that cannot be read leaves the defaults; one that cannot be written is left alone.
void LoadSettings();
void SaveSettings();

}  // namespace tally
