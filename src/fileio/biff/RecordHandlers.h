#pragma once
// Tables of routines by the number of the record that they read.

#include <algorithm>

#include "fileio/biff/LoadState.h"

namespace tally {

struct RecordHandler {
    u16 id;
    bool (*read)(LoadState& load, ByteView body);  // false ends the load: memory has failed
};

constexpr bool HandlersAscend(std::span<const RecordHandler> rows) {
    for (std::size_t i = 1; i < rows.size(); ++i)
        if (rows[i - 1].id >= rows[i].id) return false;
    return true;
}

// The row of a record in a table that ascends by number; null when it has none.
inline const RecordHandler* FindHandler(std::span<const RecordHandler> rows, u16 id) {
    const auto found = std::lower_bound(rows.begin(), rows.end(), id,
                                        [](const RecordHandler& row, u16 wanted) { return row.id < wanted; });
    return found != rows.end() && found->id == id ? &*found : nullptr;
}

}  // namespace tally
