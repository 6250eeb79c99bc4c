#include "formula/Dependents.h"

#include <algorithm>

#include "base/Text.h"
#include "formula/DependentIndex.h"
#include "formula/EngineState.h"

namespace tally {
namespace {

constexpr u32 LEVELS = 17;       // row intervals of 1, 2, 4 ... 65,536 rows
constexpr u32 ANY_COLUMN = 256;  // of an interval's key: areas of several columns

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

bool EnterInterval(DependentIndex& index, u32 range, u32 level, u32 interval) {
    const IndexedRange& entry = index.areas[range];
    const u64 key = IntervalKey(entry.serial, IntervalColumn(entry.area), level, interval);
    if (!index.intervals.Add(key, range)) return false;
    Array<ChainTable::Entry>& entries = index.intervals.entries;
    ChainTable::Entry& head = entries.Last();
    head.firstColumn = entry.area.firstColumn;
    head.lastColumn = entry.area.lastColumn;
    if (head.next == NO_ENTRY) return true;
    head.firstColumn = std::min(head.firstColumn, entries[head.next].firstColumn);
    head.lastColumn = std::max(head.lastColumn, entries[head.next].lastColumn);
    return true;
}

// Enters a range in the few row intervals that make it up.
bool EnterIntervals(DependentIndex& index, u32 range) {
    const RefArea area = index.areas[range].area;
    u32 low = area.firstRow;
    u32 high = area.lastRow + 1u;
    for (u32 level = 0; low < high; ++level, low >>= 1, high >>= 1) {
        if ((low & 1) && !EnterInterval(index, range, level, low++)) return false;
        if ((high & 1) && !EnterInterval(index, range, level, --high)) return false;
    }
    return true;
}

// The number of a range, entered when it is new; NO_ENTRY when memory fails.
u32 PutRange(DependentIndex& index, u32 serial, const RefArea& area) {
    const u64 key = RangeKey(serial, area);
    for (u32 e = index.ranges.Head(key); e != NO_ENTRY; e = index.ranges.entries[e].next) {
        const u32 range = index.ranges.entries[e].value;
        if (index.areas[range].serial == serial && index.areas[range].area == area) return range;
    }
    const u32 range = index.areas.Count();
    if (!index.areas.Append({serial, area, NO_ENTRY}) || !index.ranges.Add(key, range) ||
        !EnterIntervals(index, range))
        return NO_ENTRY;
    return range;
}

bool EnterArea(DependentIndex& index, u32 serial, const RefArea& area, u32 number) {
    if (IsOneCell(area)) return index.cells.Add(CellKey(serial, area.firstRow, area.firstColumn), number);
    const u32 range = PutRange(index, serial, area);
    if (range == NO_ENTRY || !index.rangeUsers.Append({number, index.areas[range].users})) return false;
    index.areas[range].users = index.rangeUsers.Count() - 1;
    return true;
}

bool FollowsUser(const Workbook& book, i32 externIndex) {
    const ExternBook* link = LinkAt(book, externIndex);
    return link && link->kind == EXTERN_CURRENT;
}

bool EnterPrecedents(DependentIndex& index, const FormulaCell& formula, u32 number, bool& everything) {
    u32 at = 0;
    TokenPrecedent precedent;
    while (NextPrecedent(formula, at, precedent)) {
        if (!EnterReference(index, precedent, formula.sheet->book, formula.sheet->index, number, everything))
            return false;
    }
    return true;
}

bool Enter(DependentIndex& index, FormulaCell& formula) {
    const u32 number = index.formulas.Count();
    if (!index.formulas.Append(&formula)) return false;
    formula.indexed = true;
    formula.dependentMark = number;
    bool everything = formula.alwaysCalculate;
    return EnterPrecedents(index, formula, number, everything) &&
           EnterNames(index, formula, number, everything) && (!everything || index.always.Append(number));
}

// The first of a chain is in `head`. Names in it are put in line.
void VisitChain(DependentIndex& index, const Array<ChainTable::Entry>& entries, u32 head, DependentVisit visit,
                void* context) {
    for (u32 e = head; e != NO_ENTRY; e = entries[e].next) {
        const u32 reader = entries[e].value;
        if (reader & NAME_READER) {
            PutNameInLine(index, reader & ~NAME_READER);
        } else if (FormulaCell* formula = index.formulas[reader]) {
            visit(*formula, context);
        }
    }
}

// Visits the users of the ranges of one row interval that hold the column. A range is gone through once
// in a marking, and so is a whole interval when all its ranges hold the column: what reads many growing
// ranges over stale cells is not met again for each of those cells.
void VisitInterval(DependentIndex& index, u32 head, i32 row, i32 column, DependentVisit visit, void* context) {
    Array<ChainTable::Entry>& entries = index.intervals.entries;
    if (head == NO_ENTRY || entries[head].seen == index.marking || column < entries[head].firstColumn ||
        column > entries[head].lastColumn) {
        return;
    }
    bool all = true;
    for (u32 e = head; e != NO_ENTRY; e = entries[e].next) {
        IndexedRange& range = index.areas[entries[e].value];
        if (!AreaHolds(range.area, row, column)) {
            all = false;
        } else if (range.seen != index.marking) {
            range.seen = index.marking;
            VisitChain(index, index.rangeUsers, range.users, visit, context);
        }
    }
    if (all) entries[head].seen = index.marking;
}

void VisitIntervals(DependentIndex& index, const Sheet& sheet, i32 row, i32 column, u32 keyColumn,
                    DependentVisit visit, void* context) {
    for (u32 level = 0; level < LEVELS; ++level) {
        const u64 key = IntervalKey(sheet.serial, keyColumn, level, static_cast<u32>(row) >> level);
        VisitInterval(index, index.intervals.Head(key), row, column, visit, context);
    }
}

DependentIndex* Index() { return Engine().dependents; }

}  // namespace

bool EnterReference(DependentIndex& index, const TokenPrecedent& reference, i32 book, i32 sheet, u32 reader,
                    bool& everything) {
    if (reference.externIndex < 0) {
        const Sheet* own = SheetAt(book, sheet);
        return !own || EnterArea(index, own->serial, reference.area, reader);
    }
    everything = everything || FollowsUser(*BookAt(book), reference.externIndex);
    PrecedentSheets sheets;
    if (!ResolvePrecedent(book, sheet, reference.externIndex, sheets)) return true;
    for (i32 s = sheets.first; s <= sheets.last; ++s) {
        const Sheet* read = SheetAt(sheets.book, s);
        if (read && !EnterArea(index, read->serial, reference.area, reader)) return false;
    }
    return true;
}

void DropDependents() {
    DependentIndex* index = Index();
    if (!index) return;
    for (FormulaCell* formula : index->formulas) {
        if (formula) formula->indexed = false;
    }
    DestroyRecord(index);
    Engine().dependents = nullptr;
}

bool HasDependents() { return Index() != nullptr; }

bool EnsureDependents() {
    DependentIndex* index = Index();
    if (index && index->lost * 2 > index->formulas.Count() + 1024) DropDependents();
    if (Index()) return true;
    index = Engine().dependents = CreateRecord<DependentIndex>();
    if (!index) return false;
    for (const Workbook* book : Books().books) {
        for (Sheet* sheet : book->sheets) {
            if (!(sheet->kind & SHEET_WORKSHEET)) continue;
            for (FormulaCell* formula : sheet->cells.formulas) {
                if (Enter(*index, *formula)) continue;
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
    if (DependentIndex* index = Index()) ++index->marking;
}

void VisitDependents(const Sheet& sheet, i32 row, i32 column, DependentVisit visit, void* context) {
    DependentIndex* index = Index();
    if (!index) return;
    VisitChain(*index, index->cells.entries, index->cells.Head(CellKey(sheet.serial, row, column)), visit,
               context);
    VisitIntervals(*index, sheet, row, column, static_cast<u32>(column), visit, context);
    VisitIntervals(*index, sheet, row, column, ANY_COLUMN, visit, context);
    VisitNamesInLine(*index, visit, context);
}

void VisitReadersOfArea(const Sheet& sheet, const RefArea& area, DependentVisit visit, void* context) {
    DependentIndex* index = Index();
    if (!index) return;
    for (const ChainTable::Slot& slot : index->cells.slots) {
        if (slot.key >> 24 != sheet.serial) continue;
        const u32 place = static_cast<u32>(slot.key) & 0xFFFFFF;
        if (AreaHolds(area, static_cast<i32>((place >> 11) << 3 | (place & 7)), (place >> 3) & 0xFF))
            VisitChain(*index, index->cells.entries, slot.head, visit, context);
    }
    for (const IndexedRange& range : index->areas) {
        if (range.serial == sheet.serial && AreasMeet(range.area, area))
            VisitChain(*index, index->rangeUsers, range.users, visit, context);
    }
    VisitNamesInLine(*index, visit, context);
}

u32 IndexedFormulas() { return Index() ? Index()->formulas.Count() : 0; }

void VisitAlways(DependentVisit visit, void* context) {
    DependentIndex* index = Index();
    for (u32 i = 0; index && i < index->always.Count(); ++i) {
        if (FormulaCell* formula = index->formulas[index->always[i]]) visit(*formula, context);
    }
}

void VisitNameUsers(i32 book, WideView text, DependentVisit visit, void* context) {
    DependentIndex* index = Index();
    if (!index) return;
    for (u32 i = 0; i < index->namePlaces.Count(); ++i) {
        const NamePlace& place = index->namePlaces[i];
        if (place.meaning.book == book &&
            EqualIgnoringCase(MentionText(place.mention, *BookAt(place.book)), text))
            PutNameInLine(*index, i);
    }
    VisitNamesInLine(*index, visit, context);
}

void EnterFormula(FormulaCell& formula) {
    // Without the memory for it the index would miss the formula: it is built anew when next needed.
    if (Index() && !formula.indexed && !Enter(*Index(), formula)) DropDependents();
}

void EnterAlwaysCalculated(FormulaCell& formula) {
    if (formula.alwaysCalculate) return;
    formula.alwaysCalculate = true;
    if (Index() && formula.indexed && !Index()->always.Append(formula.dependentMark)) DropDependents();
}

void ForgetFormula(FormulaCell& formula) {
    if (!Index() || !formula.indexed) return;
    formula.indexed = false;
    Index()->formulas[formula.dependentMark] = nullptr;
    ++Index()->lost;
}

}  // namespace tally
