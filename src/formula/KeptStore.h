#pragma once
// Where everything stands that is derived from cells and kept between calls: orders of columns, numbers of
// areas, running states. There is one bound in bytes for all of it, and what was used least goes first, so that
// it makes no difference whether a sheet asks about three columns in turn or about thirty.

#include "base/Memory.h"
#include "model/ModelTypes.h"

namespace tally {

constexpr std::size_t KEPT_BYTES = 64u << 20;

enum KeptKind : u16 {
    KEPT_NUMBERS,
    KEPT_RUN,
    KEPT_ORDER,
    KEPT_CURRENT_ROWS,
    KEPT_COLUMN,
    KEPT_CLASS_SUMS,
    KEPT_EQUAL_SUMS,
};

struct KeptKey {
    u32 serial = 0;  // of the sheet
    u16 kind = 0;    // a KeptKind
    u16 detail = 0;
    u64 where = 0;
    u64 more = 0;

    bool operator==(const KeptKey&) const = default;
};

// The head of every kept record: it stands first in the record, and `destroy` knows what follows it.
struct KeptItem {
    KeptKey key;
    std::size_t bytes = 0;
    void (*destroy)(KeptItem* item) = nullptr;
    KeptItem* newer = nullptr;
    KeptItem* older = nullptr;
    KeptItem* chained = nullptr;  // of the same hash
};

// Null when nothing is kept under the key. What is found counts as used now.
KeptItem* FindKept(const KeptKey& key);
// Takes a new record over.
void EnterKept(KeptItem* item);
void DropKept(KeptItem* item);
// What a record holds has changed its size.
void NoteKeptSize(KeptItem& item, std::size_t bytes);
// Drops what was used least until the rest is within the bound. Each question calls this before it finds its
// first record, and nothing else drops records of others: until the next question pointers to them hold.
void TrimKept();
std::size_t KeptBytes();
void ResetKept();

// The record under a key, made when there is none; null when memory fails. `T` begins with a KeptItem named
// `item`.
template <typename T>
T* KeptRecord(const KeptKey& key) {
    if (KeptItem* known = FindKept(key)) return reinterpret_cast<T*>(known);
    T* made = CreateRecord<T>();
    if (!made) return nullptr;
    made->item.key = key;
    made->item.bytes = sizeof(T);
    made->item.destroy = [](KeptItem* item) { DestroyRecord(reinterpret_cast<T*>(item)); };
    EnterKept(&made->item);
    return made;
}

inline u64 AreaKey(const RefArea& area) {
    return u64{area.firstRow} << 32 | u64{area.lastRow} << 16 | u64{area.firstColumn} << 8 | area.lastColumn;
}
// Rises with every change in the area's columns.
inline u32 VersionOf(const Sheet& sheet, const RefArea& area) {
    u32 version = 0;
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) version += sheet.cells.columnVersion[c];
    return version;
}

}  // namespace tally
