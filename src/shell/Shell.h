#pragma once
// The shell as a toolkit drives it.

#include "shell/ShellPlatform.h"

namespace tally {

// Everything before the message loop, once the frame and its children stand: settings, then the book of
// the command line (one path, quotes allowed) or the first book. Reads the regional settings itself.
void StartShell(WideView commandLine);
// Everything behind the loop: settings are written, books are freed.
void StopShell();

// One message of the frame. False when the shell leaves it to the toolkit.
bool SendShellMessage(const ShellMessage& message);
// Step one of the loop, for a key in any window: true when an accelerator took it.
bool TranslateShellAccelerator(u32 key, u32 modifiers);

// ---- the entry line: the toolkit asks before its edit control acts -------------------------------------
// A key goes down (KeyCode) / a character arrives (UTF-16 unit). True: swallowed.
bool EntryLineKeyDown(u32 key, u32 modifiers);
bool EntryLineChar(u32 character, u32 modifiers);
// A click on the line. False: swallowed, the edit control must not take it.
bool EntryLineClick();

// ---- menus ------------------------------------------------------------------------------------------------
// The items of a popup as they are now: labels, grey, checks. MENU_BAR gives the top level. Called when the
// popup is about to open, after WM_INITMENUPOPUP. False when memory fails.
bool MenuItems(MenuId menu, Array<MenuItem>& items);

// Puts the state of the shell back to what it is before StartShell: for tests.
void ResetShell();

}  // namespace tally
