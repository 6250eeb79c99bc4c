#pragma once
// What a book may want done outside the program, as raw operations of the platform. They know of no trust: only
// the gate (model/ForeignAccess.h) and the platforms include this header, and everybody else asks the gate.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

// How the window of a started program first shows, with the published numbers.
enum ShowState : i32 { SW_SHOWNORMAL = 1, SW_SHOWMINIMIZED = 2, SW_SHOWMAXIMIZED = 3 };

// A loaded library, and a routine in it; null is none. A routine is good until its library is freed.
using LibraryHandle = void*;
using LibraryProcedure = void (*)();

struct ForeignTable {
    // A plain file or a symbolic link itself, never a folder. False when it is still there, or never was.
    bool (*deleteFile)(WideView path);
    // Appends the names, without their folder, of what matches `pattern` in its folder and is no folder itself,
    // by code units and at most `limit` of them. The last element of the pattern alone may hold "*" and "?".
    // False when the folder cannot be read or memory fails.
    bool (*listFolder)(WideView pattern, u32 limit, Array<WideText>& names);
    // Starts a program that outlives this one: the first word of `line` names it, the others are its arguments;
    // a word may stand in double quotes. There is no shell. Its process number, 0 when it was not started.
    u32 (*startProcess)(WideView line, ShowState show);
    LibraryHandle (*loadLibrary)(WideView path);
    LibraryProcedure (*findProcedure)(LibraryHandle library, WideView name);
    void (*freeLibrary)(LibraryHandle library);
};

// The operations in force; never null. Until some are set every one of them fails.
const ForeignTable& ForeignPlatform();
void SetForeignPlatform(const ForeignTable* table);

// Whether a file's name matches the last element of a pattern, without regard to case. ".*" at its end also
// takes names without an extension, so that "*.*" matches everything.
bool MatchesFilePattern(WideView name, WideView pattern);
// Takes the next word of a program's line off its front; empty at the end. Quotes do not belong to the word.
WideView NextProgramWord(WideView& line);

}  // namespace tally
