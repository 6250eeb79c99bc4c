#pragma once
// Sums that go side by side. A sum waits for its own last addition; as many as a processor can hold cost no
// more than one, and each stays what it is alone to the bit.

#include "base/Base.h"

namespace tally {

constexpr u32 LANES = 32;

// sums[lane] += numbers[i] for each i in turn.
void AddToAll(double* sums, const double* numbers, u32 count);
// sums[lane] += numbers[i + lane] for each i in turn.
void AddNeighbours(double* sums, const double* numbers, u32 count);
// sums[lane] += numbers[lane][i] for each i in turn.
void AddApart(double* sums, const double* const* numbers, u32 count);

// Whether numbers add up without rounding in any order: all are multiples of one power of two, and all together
// are less than 2^52 of it.
struct ExactRange {
    i32 lowest = INT32_MAX;  // the exponent of the lowest bit of any number
    double total = 0;        // of the absolute numbers

    void Add(double number);
    bool Holds() const;
};

}  // namespace tally
