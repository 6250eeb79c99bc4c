#pragma once
// The entry line: what starts an edit, what keys do in it, and the commit.

#include "shell/state/ShellState.h"

namespace tally {

void BeginEdit(i32 mode);
// Stores the line's text: into the active cell, or with `isArray` or `isFill` into the selection. False
// when nothing was stored; the user has then been told.
bool CommitEntry(bool isArray, bool isFill);
void CancelEntry();
// A character typed on the grid.
void StartTyping(char16_t character);
void StartEditAtEnd();
// Today's date or the time of day into the line.
void InsertClock(bool time);
void InsertLineFeed();
// The decimal key of the number pad types the region's separator: its key is noted, its character replaced.
void NoteDecimalKey(u32 key);
char16_t TypedSeparator(u32 character);
// The line's keys, characters and clicks before its edit control acts: see FrameCalls.
bool LineKeyDown(u32 key, u32 modifiers);
bool LineChar(u32 character, u32 modifiers);
bool LineClick();
// The next form for the references at the caret or in the selected span of a formula. False when there is none.
bool TurnReferences();
// Commits a running edit before something that needs the grid; false when the commit failed.
bool CommitBeforeMove();

// The refusals, each with its box. True: refused.
bool RefuseProtected(const RefArea& area);
bool RefuseArrayPart(const RefArea& area);
bool RefuseActiveArray();

// References that are written into the line with keys or the mouse.
bool PointKey(u32 key, u32 modifiers);
bool PointMouse(i32 row, i32 column, bool extend);
// The same on a header or, with both, the corner box: whole rows and columns.
bool PointLines(i32 row, i32 column, bool extend, bool wholeRows, bool wholeColumns);
void EndPoint();

}  // namespace tally
