#include "base/ForeignPlatform.h"

#include "base/Text.h"

namespace tally {
namespace {

constexpr ForeignTable nothing = {
    [](WideView) { return false; },
    [](WideView, u32, Array<WideText>&) { return false; },
    [](WideView, ShowState) { return u32{0}; },
    [](WideView) { return LibraryHandle{nullptr}; },
    [](LibraryHandle, WideView) { return LibraryProcedure{nullptr}; },
    [](LibraryHandle) {},
};

struct ForeignState {
    const ForeignTable* table = &nothing;
};
ForeignState state;

bool IsWordBreak(char16_t c) { return c == u' ' || c == u'\t'; }

// Falls back to the last "*" only, so that the work is bounded by the product of the lengths.
bool MatchesWhole(WideView name, WideView pattern) {
    std::size_t n = 0, p = 0, star = WideView::npos, starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            star = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || FoldChar(pattern[p]) == FoldChar(name[n]))) {
            ++p;
            ++n;
        } else if (star != WideView::npos) {
            p = star + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'*') ++p;
    return p == pattern.size();
}

}  // namespace

const ForeignTable& ForeignPlatform() { return *state.table; }
void SetForeignPlatform(const ForeignTable* table) { state.table = table ? table : &nothing; }

bool MatchesFilePattern(WideView name, WideView pattern) {
    if (MatchesWhole(name, pattern)) return true;
    return pattern.ends_with(u".*") && name.find(u'.') == WideView::npos &&
           MatchesWhole(name, pattern.substr(0, pattern.size() - 2));
}

WideView NextProgramWord(WideView& line) {
    std::size_t start = 0;
    while (start < line.size() && IsWordBreak(line[start])) ++start;
    line.remove_prefix(start);
    if (line.empty()) return line;
    const bool quoted = line[0] == u'"';
    if (quoted) line.remove_prefix(1);
    std::size_t end = 0;
    while (end < line.size() && !(quoted ? line[end] == u'"' : IsWordBreak(line[end]))) ++end;
    const WideView word = line.substr(0, end);
    line.remove_prefix(end < line.size() && quoted ? end + 1 : end);
    return word;
}

}  // namespace tally
