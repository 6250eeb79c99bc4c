#include "functions/TextSearch.h"

#include "base/Text.h"

namespace tally {
namespace {

constexpr std::size_t SHORT_NEEDLE = 16;
constexpr u64 MAX_COMPARISONS = 1u << 28;
// Units of a pattern above the characters.
constexpr u32 UNIT_ANY = 0x10000;
constexpr u32 UNIT_STAR = 0x20000;

bool IsWildcard(char16_t c) { return c == u'*' || c == u'?' || c == u'~'; }

// The pattern and its appended "*"; a "~" at the end so takes the appended one for a character.
bool ExpandPattern(WideView pattern, Array<u32>& units) {
    const std::size_t count = pattern.size() + 1;
    const auto at = [pattern](std::size_t i) { return i < pattern.size() ? pattern[i] : u'*'; };
    if (!units.Reserve(count)) return false;
    for (std::size_t i = 0; i < count; ++i) {
        u32 unit = FoldChar(at(i));
        if (at(i) == u'*') unit = UNIT_STAR;
        if (at(i) == u'?') unit = UNIT_ANY;
        if (at(i) == u'~' && i + 1 < count && IsWildcard(at(i + 1))) unit = at(++i);
        if (!units.Append(unit)) return false;
    }
    return true;
}

struct PatternSearch {
    WideView within;
    u64 comparisons = 0;
};

bool MatchUnits(PatternSearch& search, std::span<const u32> units, std::size_t at) {
    for (const u32 unit : units) {
        ++search.comparisons;
        const char16_t c = search.within[at++];
        if (unit != UNIT_ANY && unit != c && unit != FoldChar(c)) return false;
    }
    return true;
}

SearchOutcome FindUnits(PatternSearch& search, std::span<const u32> units, std::size_t from,
                        std::size_t& place) {
    for (place = from; place + units.size() <= search.within.size(); ++place) {
        if (MatchUnits(search, units, place)) return SEARCH_FOUND;
        if (search.comparisons > MAX_COMPARISONS) return SEARCH_TOO_LONG;
    }
    return SEARCH_NONE;
}

}  // namespace

bool PrepareNeedle(WideView text, TextNeedle& needle) {
    needle.text = text;
    if (text.size() <= SHORT_NEEDLE) return true;
    if (!needle.borders.ResizeRaw(text.size())) return false;
    needle.borders[0] = 0;
    u32 border = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
        while (border && text[border] != text[i]) border = needle.borders[border - 1];
        if (text[border] == text[i]) ++border;
        needle.borders[i] = border;
    }
    return true;
}

std::size_t FindNeedle(const TextNeedle& needle, WideView within, std::size_t from) {
    const WideView text = needle.text;
    if (text.size() <= SHORT_NEEDLE) return within.find(text, from);
    u32 matched = 0;
    for (std::size_t i = from; i < within.size(); ++i) {
        while (matched && text[matched] != within[i]) matched = needle.borders[matched - 1];
        if (text[matched] == within[i]) ++matched;
        if (matched == text.size()) return i + 1 - matched;
    }
    return WideView::npos;
}

SearchOutcome SearchPattern(WideView pattern, WideView within, std::size_t from, std::size_t& place) {
    Array<u32> list;
    if (!ExpandPattern(pattern, list)) return SEARCH_NO_MEMORY;
    const std::span<const u32> units = list.Span();
    PatternSearch search{within};
    std::size_t at = from;
    std::size_t unit = 0;
    // What stands between the stars is taken at its first place each: when the rest then fails, it fails
    // for every later place too.
    for (bool first = true;; first = false) {
        std::size_t end = unit;
        while (end < units.size() && units[end] != UNIT_STAR) ++end;
        const auto piece = units.subspan(unit, end - unit);
        std::size_t found = within.size() - piece.size();
        if (end == units.size()) {
            // No star behind it: it has to end the text.
            if (within.size() - at < piece.size() || !MatchUnits(search, piece, found)) return SEARCH_NONE;
            if (first) place = found;
            return SEARCH_FOUND;
        }
        const SearchOutcome outcome = FindUnits(search, piece, at, found);
        if (outcome != SEARCH_FOUND) return outcome;
        if (first) place = found;
        at = found + piece.size();
        unit = end + 1;
    }
}

}  // namespace tally
