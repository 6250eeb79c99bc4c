#pragma once
// The two tables behind MessageTable.h. Both hold the same numbers.

#include "base/MessageTable.h"

namespace tally {

struct MessageRow {
    u16 number;
    WideView text;
};

std::span<const MessageRow> ChineseRows();
std::span<const MessageRow> EnglishRows();

// Ascending by number, and no text is empty.
constexpr bool AreMessageRowsSound(std::span<const MessageRow> rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].text.empty() || (i && rows[i - 1].number >= rows[i].number)) return false;
    }
    return true;
}

}  // namespace tally
