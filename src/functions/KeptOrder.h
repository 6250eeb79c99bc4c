#pragma once
// The numbers of a range in ascending order, as blocks that a number can enter and leave, so that the order of
// a range that grows or moves on is that of the one before with a few changes.

#include "formula/KeptNumbers.h"

namespace tally {

// Ascending, minus zero before zero: the one order of all questions about order, so that none depends on how
// the numbers were put into it.
inline constexpr auto IsBefore = [](double a, double b) {
    return a < b || (a == b && a == 0 && __builtin_signbit(a) && !__builtin_signbit(b));
};

constexpr u32 ORDER_BLOCK = 256;

struct OrderBlock {
    double numbers[ORDER_BLOCK];
};

struct KeptOrder {
    KeptItem item;
    u32 generation = 0;
    u64 used = 0;
    u32 begin = 0, end = 0;  // places of the range among the numbers
    Array<OrderBlock> blocks;
    Array<u16> freeBlocks;
    // Of each block in use, in order.
    Array<u16> ids;
    Array<u16> counts;
    Array<double> greatest;
};

// The order of a taken range; null when it is not worth it or memory fails.
const KeptOrder* TakeOrder(const NumberRange& range);

double NumberAt(const KeptOrder& order, u32 place);
// How many numbers lie below x, and how many do not lie above it.
u32 CountBelow(const KeptOrder& order, double x);
u32 CountThrough(const KeptOrder& order, double x);

}  // namespace tally
