#pragma once
// The searches of the text functions, each in time proportional to the text.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

// A text to look for. The view stays the caller's.
struct TextNeedle {
    WideView text;
    Array<u32> borders;  // of a long one: the longest border of each beginning
};
[[nodiscard]] bool PrepareNeedle(WideView text, TextNeedle& needle);
// The first place at `from` or behind, or npos. The needle is not empty.
std::size_t FindNeedle(const TextNeedle& needle, WideView within, std::size_t from);

enum SearchOutcome : u8 { SEARCH_FOUND, SEARCH_NONE, SEARCH_TOO_LONG, SEARCH_NO_MEMORY };
// The first place at `from` or behind where the pattern, a "*" appended, matches the rest of the text;
// without regard to case. SEARCH_TOO_LONG when the comparisons go beyond a bound.
SearchOutcome SearchPattern(WideView pattern, WideView within, std::size_t from, std::size_t& place);

}  // namespace tally
