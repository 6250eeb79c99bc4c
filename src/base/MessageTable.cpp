#include "base/MessageTable.h"

#include <algorithm>

#include "base/MessageRows.h"

namespace tally {
namespace {

struct LanguageState {
    Language language = LANGUAGE_CHINESE;
};
LanguageState state;

constexpr std::span<const MessageRow> (*tables[])() = {ChineseRows, EnglishRows};
static_assert(std::size(tables) == LANGUAGE_COUNT);

}  // namespace

void SetLanguage(Language language) {
    state.language = language < LANGUAGE_COUNT ? language : LANGUAGE_CHINESE;
}
Language CurrentLanguage() { return state.language; }
void ResetLanguage() { state = LanguageState(); }

WideView Message(u16 number) {
    const std::span<const MessageRow> rows = tables[state.language]();
    const auto row = std::lower_bound(rows.begin(), rows.end(), number,
                                      [](const MessageRow& r, u16 n) { return r.number < n; });
    return row != rows.end() && row->number == number ? row->text : WideView();
}

}  // namespace tally
