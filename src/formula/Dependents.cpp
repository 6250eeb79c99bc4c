#include "formula/Dependents.h"

#include <algorithm>

#include "formula/Precedents.h"
#include "model/BookTable.h"

namespace tally {
namespace {

constexpr u32 NONE = 0xFFFFFFFF;
constexpr u32 LEVELS = 17;       // row intervals of 1, 2, 4 ... 65,536 rows
constexpr u32 ANY_COLUMN = 256;  // of an interval's key: areas of several columns

// A chain of entries for each key: open addressing over the keys, the entries in one list.
struct ChainTable {
    struct Slot {
        u64 key = 0;  // 0 is free
        u32 head = NONE;
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
    u32 Head(u64 key) const { return slots.IsEmpty() ? NONE : slots[Place(key)].head; }
};

// An area that some formulas read, held once however many they are.
struct IndexedRange {
    u32 serial;
    RefArea area;
    u32 users;     // head of its chain in rangeUsers
    u32 seen = 0;  // the marking that has been through its users
};

struct DependentIndex {
    bool built = false;
    u32 marking = 0;               // number of the marking under way
    u32 lost = 0;                  // formulas forgotten since it was built
    Array<FormulaCell*> formulas;  // by number; null when forgotten
    Array<FormulaCell*> always;
    Array<FormulaCell*> nameUsers;
    ChainTable cells;   // (sheet, row, column) to formulas
    ChainTable ranges;  // (sheet, area) to ranges
    Array<IndexedRange> areas;
    Array<ChainTable::Entry> rangeUsers;
    ChainTable intervals;  // (sheet, column, level, interval) to ranges
};

DependentIndex* index = nullptr;

// Eight rows of a column follow each other: formulas are mostly copied down.
u64 CellKey(u32 serial, i32 row, i32 column) {
    const u32 place = (static_cast<u32>(row) >> 3) << 11 | static_cast<u32>(column) << 3 | (row & 7);
    return u64{serial} << 24 | place;
}
u64 IntervalKey(u32 serial, u32 column, u32 level, u32 interval) {
    return (u64{serial} << 32 | u64{column} << 22 | u64{level} << 17 | interval) + 1;
}
u64 RangeKey(u32 serial, const RefArea& area) {
    const u64 rows = u64{area.firstRow} << 16 | area.lastRow;
    const u64 columns = u64{area.firstColumn} << 8 | area.lastColumn;
    return (ChainTable::Mix(rows << 16 | columns) ^ (u64{serial} << 1)) | 1;
}

u32 IntervalColumn(const RefArea& area) {
    return area.firstColumn == area.lastColumn ? area.firstColumn : ANY_COLUMN;
}

bool EnterInterval(u32 range, u32 level, u32 interval) {
    const IndexedRange& entry = index->areas[range];
    const u64 key = IntervalKey(entry.serial, IntervalColumn(entry.area), level, interval);
    if (!index->intervals.Add(key, range)) return false;
    Array<ChainTable::Entry>& entries = index->intervals.entries;
    ChainTable::Entry& head = entries.Last();
    head.firstColumn = entry.area.firstColumn;
    head.lastColumn = entry.area.lastColumn;
    if (head.next == NONE) return true;
    head.firstColumn = std::min(head.firstColumn, entries[head.next].firstColumn);
    head.lastColumn = std::max(head.lastColumn, entries[head.next].lastColumn);
    return true;
}

// Enters a range in the few row intervals that make it up.
bool EnterIntervals(u32 range) {
    const RefArea area = index->areas[range].area;
    u32 low = area.firstRow;
    u32 high = area.lastRow + 1u;
    for (u32 level = 0; low < high; ++level, low >>= 1, high >>= 1) {
        if ((low & 1) && !EnterInterval(range, level, low++)) return false;
        if ((high & 1) && !EnterInterval(range, level, --high)) return false;
    }
    return true;
}

// The number of a range, entered when it is new; NONE when memory fails.
u32 PutRange(u32 serial, const RefArea& area) {
    const u64 key = RangeKey(serial, area);
    for (u32 e = index->ranges.Head(key); e != NONE; e = index->ranges.entries[e].next) {
        const u32 range = index->ranges.entries[e].value;
        if (index->areas[range].serial == serial && index->areas[range].area == area) return range;
    }
    const u32 range = index->areas.Count();
    if (!index->areas.Append({serial, area, NONE}) || !index->ranges.Add(key, range) || !EnterIntervals(range))
        return NONE;
    return range;
}

bool EnterArea(u32 serial, const RefArea& area, u32 number) {
    if (IsOneCell(area)) return index->cells.Add(CellKey(serial, area.firstRow, area.firstColumn), number);
    const u32 range = PutRange(serial, area);
    if (range == NONE || !index->rangeUsers.Append({number, index->areas[range].users})) return false;
    index->areas[range].users = index->rangeUsers.Count() - 1;
    return true;
}

bool EnterPrecedents(const FormulaCell& formula, u32 number) {
    u32 at = 0;
    TokenPrecedent precedent;
    while (NextPrecedent(formula, at, precedent)) {
        PrecedentSheets sheets;
        if (!ResolvePrecedent(formula.sheet->book, formula.sheet->index, precedent.externIndex, sheets))
            continue;
        for (i32 s = sheets.first; s <= sheets.last; ++s) {
            const Sheet* sheet = SheetAt(sheets.book, s);
            if (sheet && !EnterArea(sheet->serial, precedent.area, number)) return false;
        }
    }
    return true;
}

bool Enter(FormulaCell& formula) {
    const u32 number = index->formulas.Count();
    if (!index->formulas.Append(&formula)) return false;
    formula.indexed = true;
    formula.dependentMark = number;
    if (formula.alwaysCalculate && !index->always.Append(&formula)) return false;
    formula.usesNames = TokensUseNames(formula.tokens);
    if (formula.usesNames && !index->nameUsers.Append(&formula)) return false;
    return EnterPrecedents(formula, number);
}

void DropFrom(Array<FormulaCell*>& list, const FormulaCell* formula) {
    for (u32 i = 0; i < list.Count(); ++i) {
        if (list[i] == formula) {
            list.RemoveAt(i);
            return;
        }
    }
}

void VisitChain(const Array<ChainTable::Entry>& entries, u32 head, DependentVisit visit, void* context) {
    for (u32 e = head; e != NONE; e = entries[e].next) {
        if (FormulaCell* formula = index->formulas[entries[e].value]) visit(*formula, context);
    }
}

// Visits the users of the ranges of one row interval that hold the column. A range is gone through once
// in a marking, and so is a whole interval when all its ranges hold the column: what reads many growing
// ranges over stale cells is not met again for each of those cells.
void VisitInterval(u32 head, i32 row, i32 column, DependentVisit visit, void* context) {
    Array<ChainTable::Entry>& entries = index->intervals.entries;
    if (head == NONE || entries[head].seen == index->marking || column < entries[head].firstColumn ||
        column > entries[head].lastColumn) {
        return;
    }
    bool all = true;
    for (u32 e = head; e != NONE; e = entries[e].next) {
        IndexedRange& range = index->areas[entries[e].value];
        if (!AreaHolds(range.area, row, column)) {
            all = false;
        } else if (range.seen != index->marking) {
            range.seen = index->marking;
            VisitChain(index->rangeUsers, range.users, visit, context);
        }
    }
    if (all) entries[head].seen = index->marking;
}

void VisitIntervals(const Sheet& sheet, i32 row, i32 column, u32 keyColumn, DependentVisit visit,
                    void* context) {
    for (u32 level = 0; level < LEVELS; ++level) {
        const u64 key = IntervalKey(sheet.serial, keyColumn, level, static_cast<u32>(row) >> level);
        VisitInterval(index->intervals.Head(key), row, column, visit, context);
    }
}

const Array<FormulaCell*> noFormulas;

}  // namespace

void DropDependents() {
    if (!index) return;
    for (FormulaCell* formula : index->formulas) {
        if (formula) formula->indexed = false;
    }
    DestroyRecord(index);
    index = nullptr;
}

bool EnsureDependents() {
    if (index && index->lost * 2 > index->formulas.Count() + 1024) DropDependents();
    if (index) return true;
    index = CreateRecord<DependentIndex>();
    if (!index) return false;
    for (const Workbook* book : Books().books) {
        for (Sheet* sheet : book->sheets) {
            if (!(sheet->kind & SHEET_WORKSHEET)) continue;
            for (FormulaCell* formula : sheet->cells.formulas) {
                if (Enter(*formula)) continue;
                DropDependents();
                return false;
            }
        }
    }
    Calls().structureChanged = DropDependents;
    Calls().formulaGone = ForgetFormula;
    return true;
}

void BeginVisits() {
    if (index) ++index->marking;
}

void VisitDependents(const Sheet& sheet, i32 row, i32 column, DependentVisit visit, void* context) {
    if (!index) return;
    VisitChain(index->cells.entries, index->cells.Head(CellKey(sheet.serial, row, column)), visit, context);
    VisitIntervals(sheet, row, column, static_cast<u32>(column), visit, context);
    VisitIntervals(sheet, row, column, ANY_COLUMN, visit, context);
}

void VisitReadersOfArea(const Sheet& sheet, const RefArea& area, DependentVisit visit, void* context) {
    if (!index) return;
    const auto reads = [&](const FormulaCell& formula) {
        u32 at = 0;
        TokenPrecedent precedent;
        while (NextPrecedent(formula, at, precedent)) {
            PrecedentSheets sheets;
            if (AreasMeet(precedent.area, area) &&
                ResolvePrecedent(formula.sheet->book, formula.sheet->index, precedent.externIndex, sheets) &&
                sheets.book == sheet.book && sheet.index >= sheets.first && sheet.index <= sheets.last) {
                return true;
            }
        }
        return false;
    };
    for (u32 i = 0; i < index->formulas.Count(); ++i) {
        if (FormulaCell* formula = index->formulas[i]; formula && reads(*formula)) visit(*formula, context);
    }
}

u32 IndexedFormulas() { return index ? index->formulas.Count() : 0; }

const Array<FormulaCell*>& AlwaysCalculated() { return index ? index->always : noFormulas; }
const Array<FormulaCell*>& NameUsers() { return index ? index->nameUsers : noFormulas; }

void EnterFormula(FormulaCell& formula) {
    // Without the memory for it the index would miss the formula: it is built anew when next needed.
    if (index && !formula.indexed && !Enter(formula)) DropDependents();
}

void EnterAlwaysCalculated(FormulaCell& formula) {
    if (formula.alwaysCalculate) return;
    formula.alwaysCalculate = true;
    if (index && formula.indexed && !index->always.Append(&formula)) DropDependents();
}

void ForgetFormula(FormulaCell& formula) {
    if (!index || !formula.indexed) return;
    formula.indexed = false;
    index->formulas[formula.dependentMark] = nullptr;
    ++index->lost;
    if (formula.alwaysCalculate) DropFrom(index->always, &formula);
    if (formula.usesNames) DropFrom(index->nameUsers, &formula);
}

}  // namespace tally
