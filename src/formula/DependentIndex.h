#pragma once
// The records of the index of dependents.

#include "formula/Dependents.h"
#include "formula/NameMeaning.h"
#include "formula/Precedents.h"

namespace tally {

constexpr u32 NO_ENTRY = 0xFFFFFFFF;
// A reader is the number of a formula, or that of a name with this bit.
constexpr u32 NAME_READER = 0x80000000;

// A chain of entries for each key: open addressing over the keys, the entries in one list.
struct ChainTable {
    struct Slot {
        u64 key = 0;  // 0 is free
        u32 head = NO_ENTRY;
    };
    struct Entry {
        u32 value;
        u32 next;
        // Of a chain's head: the marking that has been through the whole chain, and the columns that
        // its ranges lie in.
        u32 seen = 0;
        u8 firstColumn = 0;
        u8 lastColumn = 255;
    };
    Array<Slot> slots;
    Array<Entry> entries;
    u32 keys = 0;

    static u64 Mix(u64 key) {
        key ^= key >> 31;
        key *= 0x9E3779B97F4A7C15ull;
        return key ^ key >> 29;
    }
    u32 Place(u64 key) const {
        const u32 mask = slots.Count() - 1;
        // Eight keys in a row lie side by side, so that neighbours are found in the same lines of memory.
        u32 at = static_cast<u32>(Mix(key >> 3) << 3 | (key & 7)) & mask;
        while (slots[at].key && slots[at].key != key) at = (at + 1) & mask;
        return at;
    }
    bool Grow() {
        Array<Slot> old = std::move(slots);
        if (!slots.Resize(old.IsEmpty() ? 1024 : std::size_t{old.Count()} * 2)) {
            slots = std::move(old);
            return false;
        }
        for (const Slot& slot : old) {
            if (slot.key) slots[Place(slot.key)] = slot;
        }
        return true;
    }
    bool Add(u64 key, u32 value) {
        if (keys * 2 >= slots.Count() && !Grow()) return false;
        Slot& slot = slots[Place(key)];
        if (!entries.Append({value, slot.head})) return false;
        if (!slot.key) {
            slot.key = key;
            ++keys;
        }
        slot.head = entries.Count() - 1;
        return true;
    }
    u32 Head(u64 key) const { return slots.IsEmpty() ? NO_ENTRY : slots[Place(key)].head; }
};

// An area that some readers read, held once however many they are.
struct IndexedRange {
    u32 serial;
    RefArea area;
    u32 users;     // head of its chain in rangeUsers
    u32 seen = 0;  // the marking that has been through its users
};

// A name as the formulas of one sheet mention it: who uses it, and what it stands for there. It reads areas as
// a formula does; those that lie relative to the cell are entered for each formula that uses it.
struct NamePlace {
    i32 book = 0;   // of the mention
    i32 sheet = 0;  // the formula's
    NameMention mention;
    NameMeaning meaning;
    u32 users = NO_ENTRY;     // chain of the formulas that mention it
    u32 outer = NO_ENTRY;     // chain of the names that mention it
    bool everything = false;  // it has no fixed inputs, or one of the names in it has none
    bool relative = false;    // it leads to other cells from each place, or one of the names in it does
    u32 seen = 0;             // the marking, or the entering, that has been here
};

struct DependentIndex {
    u32 marking = 0;               // number of the marking, or of the entering of names, under way
    u32 lost = 0;                  // formulas forgotten since it was built
    Array<FormulaCell*> formulas;  // by number; null when forgotten
    Array<u32> always;             // formulas that follow every change
    ChainTable cells;              // (sheet, row, column) to readers
    ChainTable ranges;             // (sheet, area) to ranges
    Array<IndexedRange> areas;
    Array<ChainTable::Entry> rangeUsers;
    ChainTable intervals;  // (sheet, column, level, interval) to ranges
    ChainTable names;      // (sheet, mention) to places of names
    Array<NamePlace> namePlaces;
    Array<ChainTable::Entry> nameUsers;  // formulas, and names, by place
    Array<u32> inLine;                   // names to be entered, or to be visited; has room for all
};

// A reader reads an area, as a formula on (book, sheet) refers to it; `everything` is set when that depends on
// which book and sheet are current. False when memory fails.
[[nodiscard]] bool EnterReference(DependentIndex& index, const TokenPrecedent& reference, i32 book, i32 sheet,
                                  u32 reader, bool& everything);
// Enters what the names in a formula read; `everything` is set when it must follow every change. False when
// memory fails.
[[nodiscard]] bool EnterNames(DependentIndex& index, const FormulaCell& formula, u32 number, bool& everything);
// What uses a name follows a change: it waits to be visited.
void PutNameInLine(DependentIndex& index, u32 place);
// Visits the formulas that use the names in line, and through other names.
void VisitNamesInLine(DependentIndex& index, DependentVisit visit, void* context);

}  // namespace tally
