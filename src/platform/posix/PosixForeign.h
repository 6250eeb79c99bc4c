#pragma once
// What books may want done outside, on POSIX systems: the rows of ForeignTable.

#include "base/ForeignPlatform.h"

namespace tally {

// Names of a folder that are looked at; what lies beyond is not listed.
constexpr u32 MAX_FOLDER_NAMES = 65536;

const ForeignTable& PosixForeign();
// The folder part of a pattern, "." where it has none, and its last element.
void SplitFilePattern(WideView pattern, WideView& folder, WideView& last);
// Sorts the names from `first` on by code units and drops those beyond `limit`.
void SortListedNames(Array<WideText>& names, u32 first, u32 limit);
// Forgets the programs that were started; they run on.
void ResetPosixForeign();

}  // namespace tally
