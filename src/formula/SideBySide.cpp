#include "formula/SideBySide.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace tally {
namespace {

// Four lanes, wherever they stand.
typedef double Four __attribute__((vector_size(32), aligned(8), may_alias));
constexpr u32 WIDTH = 4;

// `step` is how far the numbers of neighbouring lanes stand apart: 0 or 1.
template <u32 groups, u32 step>
[[gnu::always_inline]] inline void AddGroups(double* sums, const double* numbers, u32 count) {
    Four lanes[groups];
    for (u32 g = 0; g < groups; ++g) lanes[g] = reinterpret_cast<const Four*>(sums)[g];
    for (u32 i = 0; i < count; ++i) {
        for (u32 g = 0; g < groups; ++g) {
            if constexpr (step) {
                lanes[g] += *reinterpret_cast<const Four*>(numbers + i + g * WIDTH);
            } else {
                const double x = numbers[i];
                lanes[g] += Four{x, x, x, x};
            }
        }
    }
    for (u32 g = 0; g < groups; ++g) reinterpret_cast<Four*>(sums)[g] = lanes[g];
}

// As many lanes at a time as the registers hold.
template <u32 step>
void AddNarrow(double* sums, const double* numbers, u32 count) {
    constexpr u32 groups = LANES / WIDTH / 2;
    AddGroups<groups, step>(sums, numbers, count);
    AddGroups<groups, step>(sums + groups * WIDTH, numbers + step * groups * WIDTH, count);
}

#if defined(__x86_64__)
template <u32 step>
[[gnu::target("avx2")]] void AddWide(double* sums, const double* numbers, u32 count) {
    AddGroups<LANES / WIDTH, step>(sums, numbers, count);
}
bool HasWide() { return __builtin_cpu_supports("avx2") != 0; }
#else
template <u32 step>
void AddWide(double* sums, const double* numbers, u32 count) {
    AddNarrow<step>(sums, numbers, count);
}
bool HasWide() { return false; }
#endif

template <u32 step>
void Add(double* sums, const double* numbers, u32 count) {
    HasWide() ? AddWide<step>(sums, numbers, count) : AddNarrow<step>(sums, numbers, count);
}

constexpr i32 FRACTION_BITS = 52;
constexpr i32 LOWEST_EXPONENT = -1074;

}  // namespace

void AddToAll(double* sums, const double* numbers, u32 count) { Add<0>(sums, numbers, count); }
void AddNeighbours(double* sums, const double* numbers, u32 count) { Add<1>(sums, numbers, count); }

void AddApart(double* sums, const double* const* numbers, u32 count) {
    constexpr u32 together = 8;
    for (u32 lane = 0; lane < LANES; lane += together) {
        double own[together];
        std::copy(sums + lane, sums + lane + together, own);
        for (u32 i = 0; i < count; ++i) {
            for (u32 k = 0; k < together; ++k) own[k] += numbers[lane + k][i];
        }
        std::copy(own, own + together, sums + lane);
    }
}

void ExactRange::Add(double number) {
    const u64 bits = std::bit_cast<u64>(number);
    u64 fraction = bits & ((u64{1} << FRACTION_BITS) - 1);
    const i32 exponent = static_cast<i32>(bits >> FRACTION_BITS & 0x7FF);
    if (exponent) fraction |= u64{1} << FRACTION_BITS;
    if (!fraction) return;
    lowest = std::min(lowest, LOWEST_EXPONENT + std::max(exponent - 1, 0) + std::countr_zero(fraction));
    total += std::fabs(number);
}

// One bit is left for what rounding does to the total itself.
bool ExactRange::Holds() const { return total == 0 || total < std::ldexp(1, FRACTION_BITS + lowest); }

}  // namespace tally
