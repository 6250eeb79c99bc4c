#pragma once
// What is remembered between runs: recent files, bands, the status bar.

#include "shell/state/ShellState.h"

namespace tally {

// A store that cannot be read leaves the defaults; one that cannot be written is left alone.
// The path of the file beside the program, in which settings lie when there is one. False when there is none.
bool SettingsUseIni(WideText& path);
void LoadSettings();
void SaveSettings();

}  // namespace tally
