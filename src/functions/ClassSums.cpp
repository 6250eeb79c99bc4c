#include "functions/ClassSums.h"

#include <algorithm>

#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u32 NO_CLASS = UINT32_MAX;

// The class of each row of the index; NO_CLASS for keys that are no numbers and no texts.
bool ClassRows(ColumnIndex& index, ClassSums& out, Array<u32>& rowClass) {
    if (!rowClass.ResizeRaw(static_cast<u32>(index.lastRow - index.firstRow) + 1)) return false;
    std::fill(rowClass.begin(), rowClass.end(), NO_CLASS);
    for (u32 i = 0; i < index.sorted.Count(); ++i) {
        const bool begins = !i || index.sorted[i].number != index.sorted[i - 1].number;
        if (begins && !out.numberStarts.Append(i)) return false;
        rowClass[index.sorted[i].row - static_cast<u32>(index.firstRow)] = out.numberStarts.Count() - 1;
    }
    for (u32 i = 0; i < index.textOrder.Count(); ++i) {
        const TextBlock* text = index.texts[index.textOrder[i]];
        const bool begins =
            !i || !EqualIgnoringCase(TextView(text), TextView(index.texts[index.textOrder[i - 1]]));
        if (begins && !out.textStarts.Append(i)) return false;
        rowClass[index.textRows[index.textOrder[i]] - static_cast<u32>(index.firstRow)] = out.Count() - 1;
    }
    return true;
}

const Value* ValueAt(const CellStore& store, u32& slot, i32 row, i32 column) {
    // Rows follow each other closely: mostly the next slot is the one.
    if (slot >= store.rows.Count() || store.rows[slot].row != row) slot = FindRowSlot(store, row);
    if (slot >= store.rows.Count() || store.rows[slot].row != row) return nullptr;
    const CellRow& cells = store.rows[slot++];
    const u32 at = FindInRow(cells, column);
    return at < cells.count && cells.cells[at].column == column ? &cells.cells[at].value : nullptr;
}

// The numbers beside the keys in the order in which a walk over the keys adds them, then those beside no key.
bool TakeRows(const ColumnIndex& index, const LookupColumn& where, const SumColumn& sums,
              const Array<u32>& rowClass, ClassSums& out) {
    for (const bool stored : {true, false}) {
        u32 keySlot = 0, sumSlot = 0;
        for (i32 row = index.firstRow; row <= index.lastRow; ++row) {
            const i32 sumRow = row + sums.rowsDown;
            if (sumRow < 0 || sumRow >= MAX_ROWS) continue;
            const Value* number = ValueAt(sums.sheet->cells, sumSlot, sumRow, sums.column);
            if (!number || number->type != VT_NUMBER) continue;
            const Value* key = ValueAt(where.sheet->cells, keySlot, row, index.column);
            if ((key != nullptr) != stored) continue;
            const u32 ofRow = rowClass[static_cast<u32>(row - index.firstRow)];
            if (!out.numbers.Append(number->number) || !out.classes.Append(ofRow)) return false;
            out.exact.Add(number->number);
        }
    }
    return true;
}

// Numbers that add up exactly have their sums by adding classes to classes.
bool AddClasses(ClassSums& sums) {
    Array<double> ofClass;
    const u32 count = sums.Count(), numbers = sums.numberStarts.Count();
    if (!ofClass.Resize(count)) return false;
    double all = 0;
    for (u32 i = 0; i < sums.numbers.Count(); ++i) {
        all += sums.numbers[i];
        if (sums.classes[i] != NO_CLASS) ofClass[sums.classes[i]] += sums.numbers[i];
    }
    double sum = 0;
    for (u32 i = 0; i < count; ++i) {
        sum = (i == numbers ? 0 : sum) + ofClass[i];
        sums.sums[CLASS_THROUGH][i] = sum;
        sums.sums[CLASS_OTHER][i] = all - ofClass[i];
    }
    for (u32 i = count; i-- > 0;) {
        sum = (i + 1 == count || i + 1 == numbers ? 0 : sum) + ofClass[i];
        sums.sums[CLASS_FROM][i] = sum;
    }
    sums.sums[CLASS_OTHER][count] = all;
    for (Array<u8>& known : sums.known) std::fill(known.begin(), known.end(), u8{1});
    return true;
}

bool Prepare(ColumnIndex& index, const LookupColumn& where, const SumColumn& sums, ClassSums& out) {
    Array<u32> rowClass;
    if (!SortNumbers(index) || !SortTexts(index) || !ClassRows(index, out, rowClass)) return false;
    if (!TakeRows(index, where, sums, rowClass, out) || !out.adding.ResizeRaw(out.numbers.Count()))
        return false;
    for (u32 rule = 0; rule < CLASS_RULES; ++rule) {
        if (!out.known[rule].Resize(out.Count() + 1) || !out.sums[rule].ResizeRaw(out.Count() + 1))
            return false;
    }
    const std::size_t rows = out.numbers.Capacity() * (2 * sizeof(double) + sizeof(u32));
    NoteKeptSize(out.item,
                 sizeof(out) + rows + out.Count() * (CLASS_RULES * (sizeof(double) + 1) + sizeof(u32)));
    return !out.exact.Holds() || AddClasses(out);
}

// A number whose class is one of the lanes' own.
struct OwnNumber {
    u32 place;  // among the numbers that all lanes add
    u32 lane;
    double number;
};

// Neighbouring classes [first, first + LANES) of a section that are summed up together.
struct Block {
    ClassRule rule;
    ClassRange section;
    u32 first;
};

// Takes the numbers that all lanes add into one row of them; those of the lanes' own classes are noted apart.
template <ClassRule rule>
u32 Select(ClassSums& sums, const Block& block, Array<OwnNumber>& own) {
    const u32 lanes = std::min(LANES, block.section.last - block.first);
    const u32 from = rule == CLASS_FROM ? block.first + lanes : block.section.first;
    const u32 span = (rule == CLASS_FROM ? block.section.last : block.first) - from;
    u32 count = 0;
    for (u32 i = 0; i < sums.numbers.Count(); ++i) {
        const u32 ofRow = sums.classes[i];
        sums.adding[count] = sums.numbers[i];
        if (ofRow - block.first < lanes) {
            if (!own.Append({count, ofRow - block.first, sums.numbers[i]})) return UINT32_MAX;
            continue;
        }
        count += rule == CLASS_OTHER || ofRow - from < span;
    }
    return count;
}

bool LaneCounts(ClassRule rule, u32 lane, u32 own) {
    switch (rule) {
        case CLASS_FROM: return own >= lane;
        case CLASS_THROUGH: return own <= lane;
        default: return own != lane;
    }
}

bool SumBlock(ClassSums& sums, const Block& block) {
    Array<OwnNumber> own;
    const u32 count = block.rule == CLASS_FROM      ? Select<CLASS_FROM>(sums, block, own)
                      : block.rule == CLASS_THROUGH ? Select<CLASS_THROUGH>(sums, block, own)
                                                    : Select<CLASS_OTHER>(sums, block, own);
    if (count == UINT32_MAX) return false;
    double lanes[LANES] = {};
    u32 at = 0;
    for (const OwnNumber& number : own) {
        AddToAll(lanes, sums.adding.Data() + at, number.place - at);
        at = number.place;
        for (u32 lane = 0; lane < LANES; ++lane) {
            if (LaneCounts(block.rule, lane, number.lane)) lanes[lane] += number.number;
        }
    }
    AddToAll(lanes, sums.adding.Data() + at, count - at);
    for (u32 lane = 0; lane < LANES && block.first + lane < block.section.last; ++lane) {
        sums.sums[block.rule][block.first + lane] = lanes[lane];
        sums.known[block.rule][block.first + lane] = 1;
    }
    return true;
}

bool SumOf(ClassSums& sums, ClassRule rule, ClassRange section, u32 at, double& sum) {
    const u32 first = section.first + (at - section.first) / LANES * LANES;
    if (!sums.known[rule][at] && !SumBlock(sums, {rule, section, first})) return false;
    sum = sums.sums[rule][at];
    return true;
}

}  // namespace

KeptKey SumsKey(const ColumnIndex& index, const SumColumn& sums) {
    KeptKey key = index.item.key;
    key.kind = KEPT_CLASS_SUMS;
    key.more = u64{sums.sheet->serial} << 32 | static_cast<u32>(sums.rowsDown + MAX_ROWS) << 8 |
               static_cast<u32>(sums.column);
    return key;
}

ClassSums* TakeClassSums(ColumnIndex& index, const LookupColumn& where, const SumColumn& sums) {
    const KeptKey key = SumsKey(index, sums);
    const u32 version = sums.sheet->cells.columnVersion[sums.column];
    ClassSums* kept = reinterpret_cast<ClassSums*>(FindKept(key));
    if (kept && kept->version == index.version && kept->sumsVersion == version) return kept;
    if (kept) DropKept(&kept->item);
    kept = KeptRecord<ClassSums>(key);
    if (!kept) return nullptr;
    kept->version = index.version;
    kept->sumsVersion = version;
    if (Prepare(index, where, sums, *kept)) return kept;
    DropKept(&kept->item);
    return nullptr;
}

bool SumFrom(ClassSums& sums, ClassRange section, u32 at, double& sum) {
    sum = 0;
    return at >= section.last || SumOf(sums, CLASS_FROM, section, at, sum);
}

bool SumBefore(ClassSums& sums, ClassRange section, u32 behind, double& sum) {
    sum = 0;
    return behind <= section.first || SumOf(sums, CLASS_THROUGH, section, behind - 1, sum);
}

bool SumOthers(ClassSums& sums, u32 at, double& sum) {
    return SumOf(sums, CLASS_OTHER, {0, sums.Count() + 1}, at, sum);
}

}  // namespace tally
