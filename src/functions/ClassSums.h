#pragma once
// Sums over the rows whose keys are equal, above, below or other than one. The keys of a column fall into
// classes of equal ones in ascending order, numbers first, then texts; what is asked is which classes count. A
// sum is that of the plain walk over the rows to the bit: for neighbouring classes the walks go side by side.

#include "formula/SideBySide.h"
#include "functions/ColumnIndex.h"
#include "functions/CriteriaIndex.h"

namespace tally {

enum ClassRule : u8 { CLASS_FROM, CLASS_THROUGH, CLASS_OTHER, CLASS_RULES };

struct ClassSums {
    KeptItem item;
    u32 version = 0, sumsVersion = 0;
    Array<u32> numberStarts;  // where each class begins among the sorted numbers
    Array<u32> textStarts;    // ... and in the order of the texts
    // The numbers to be added in the order of the rows, and the class of the key beside each. Behind those
    // beside keys that are stored stand those beside none.
    Array<double> numbers;
    Array<u32> classes;
    Array<u8> known[CLASS_RULES];
    Array<double> sums[CLASS_RULES];
    Array<double> adding;  // room
    ExactRange exact;

    u32 Count() const { return numberStarts.Count() + textStarts.Count(); }
};

// For what is kept of sums beside a column.
KeptKey SumsKey(const ColumnIndex& index, const SumColumn& sums);
// Null when memory fails. Pointers to the index stay good.
ClassSums* TakeClassSums(ColumnIndex& index, const LookupColumn& where, const SumColumn& sums);

// The classes [first, last) of numbers or texts that an order leaves.
struct ClassRange {
    u32 first, last;
};
// The sum over the classes of a section from `at` on, or before `behind`; a section is all numbers or all
// texts.
bool SumFrom(ClassSums& sums, ClassRange section, u32 at, double& sum);
bool SumBefore(ClassSums& sums, ClassRange section, u32 behind, double& sum);
// Over all rows but those of one class; Count() is no class.
bool SumOthers(ClassSums& sums, u32 at, double& sum);

}  // namespace tally
