#include "functions/KeptOrder.h"

#include <algorithm>

namespace tally {
namespace {

constexpr u32 FILLED = ORDER_BLOCK * 3 / 4;  // numbers in each block of a new order
constexpr u16 ORDERS = 4;                    // of one strip of columns
constexpr u32 NEAR_ENOUGH = 64;              // numbers that enter or leave however short the range is

void Empty(KeptOrder& order) {
    order.ids.Truncate(0);
    order.counts.Truncate(0);
    order.greatest.Truncate(0);
    order.blocks.Truncate(0);
    order.freeBlocks.Truncate(0);
}

// A new block in front of place `at`. Memory for the lists is there when it succeeds.
bool AddBlock(KeptOrder& order, u32 at) {
    u16 id = 0;
    if (!order.freeBlocks.IsEmpty()) {
        id = order.freeBlocks.Last();
    } else {
        id = static_cast<u16>(order.blocks.Count());
        if (!order.blocks.AppendRaw(1)) return false;
        if (!order.freeBlocks.Append(id)) {
            order.blocks.RemoveLast();
            return false;
        }
    }
    if (!order.ids.InsertAt(at, id)) return false;
    if (!order.counts.InsertAt(at, 0)) {
        order.ids.RemoveAt(at);
        return false;
    }
    if (!order.greatest.InsertAt(at, 0)) {
        order.ids.RemoveAt(at);
        order.counts.RemoveAt(at);
        return false;
    }
    order.freeBlocks.RemoveLast();
    return true;
}

double* NumbersOf(KeptOrder& order, u32 at) { return order.blocks[order.ids[at]].numbers; }
const double* NumbersOf(const KeptOrder& order, u32 at) { return order.blocks[order.ids[at]].numbers; }

// The first block whose greatest number is not before x.
u32 BlockFor(const KeptOrder& order, double x) {
    return static_cast<u32>(std::lower_bound(order.greatest.begin(), order.greatest.end(), x, IsBefore) -
                            order.greatest.begin());
}

bool Split(KeptOrder& order, u32 at) {
    if (!AddBlock(order, at + 1)) return false;
    constexpr u32 half = ORDER_BLOCK / 2;
    double* const from = NumbersOf(order, at);
    std::copy(from + half, from + ORDER_BLOCK, NumbersOf(order, at + 1));
    order.counts[at] = order.counts[at + 1] = half;
    order.greatest[at + 1] = order.greatest[at];
    order.greatest[at] = from[half - 1];
    return true;
}

bool Insert(KeptOrder& order, double x) {
    if (order.ids.IsEmpty() && !AddBlock(order, 0)) return false;
    u32 at = std::min(BlockFor(order, x), order.ids.Count() - 1);
    if (order.counts[at] == ORDER_BLOCK) {
        if (!Split(order, at)) return false;
        at += IsBefore(order.greatest[at], x);
    }
    double* const numbers = NumbersOf(order, at);
    double* const end = numbers + order.counts[at];
    double* const place = std::upper_bound(numbers, end, x, IsBefore);
    std::copy_backward(place, end, end + 1);
    *place = x;
    ++order.counts[at];
    order.greatest[at] = numbers[order.counts[at] - 1];
    return true;
}

bool Remove(KeptOrder& order, double x) {
    const u32 at = BlockFor(order, x);
    if (at >= order.ids.Count() || !order.freeBlocks.Reserve(order.freeBlocks.Count() + 1)) return false;
    double* const numbers = NumbersOf(order, at);
    double* const end = numbers + order.counts[at];
    double* const place = std::lower_bound(numbers, end, x, IsBefore);
    std::copy(place + 1, end, place);
    if (--order.counts[at]) {
        order.greatest[at] = numbers[order.counts[at] - 1];
        return true;
    }
    IgnoreFailure(order.freeBlocks.Append(order.ids[at]));
    order.ids.RemoveAt(at);
    order.counts.RemoveAt(at);
    order.greatest.RemoveAt(at);
    return true;
}

bool Build(KeptOrder& order, const NumberRange& range) {
    Empty(order);
    Array<double> sorted;
    if (!sorted.AppendMany(range.Numbers(), range.Count())) return false;
    std::sort(sorted.begin(), sorted.end(), IsBefore);
    for (u32 from = 0; from < sorted.Count(); from += FILLED) {
        const u32 count = std::min(FILLED, sorted.Count() - from), at = order.ids.Count();
        if (!AddBlock(order, at)) return false;
        std::copy(sorted.begin() + from, sorted.begin() + from + count, NumbersOf(order, at));
        order.counts[at] = static_cast<u16>(count);
        order.greatest[at] = sorted[from + count - 1];
    }
    order.begin = range.begin;
    order.end = range.end;
    order.generation = range.kept->generation;
    return true;
}

// Lets numbers enter and leave until the order is that of the range.
bool MoveTo(KeptOrder& order, const NumberRange& range) {
    const Array<double>& numbers = range.kept->numbers;
    while (order.begin > range.begin) {
        if (!Insert(order, numbers[--order.begin])) return false;
    }
    while (order.end < range.end) {
        if (!Insert(order, numbers[order.end++])) return false;
    }
    while (order.begin < range.begin) {
        if (!Remove(order, numbers[order.begin++])) return false;
    }
    while (order.end > range.end) {
        if (!Remove(order, numbers[--order.end])) return false;
    }
    return true;
}

u32 Distance(u32 a, u32 b) { return a < b ? b - a : a - b; }

std::size_t SizeOf(const KeptOrder& order) {
    return sizeof(order) + order.blocks.Capacity() * sizeof(OrderBlock) +
           order.ids.Capacity() * (sizeof(u16) * 2 + sizeof(double));
}

// How many numbers of the order fulfil a condition that all before them fulfil too.
template <typename Condition>
u32 CountFirst(const KeptOrder& order, Condition condition) {
    const u32 at = static_cast<u32>(
        std::partition_point(order.greatest.begin(), order.greatest.end(), condition) - order.greatest.begin());
    u32 count = 0;
    for (u32 i = 0; i < at; ++i) count += order.counts[i];
    if (at == order.ids.Count()) return count;
    const double* const numbers = NumbersOf(order, at);
    return count +
           static_cast<u32>(std::partition_point(numbers, numbers + order.counts[at], condition) - numbers);
}

KeptKey OrderKey(const KeptNumbers& kept, u16 slot) {
    KeptKey key = kept.item.key;
    key.kind = KEPT_ORDER;
    key.more = slot;
    return key;
}

struct OrderSearch {
    KeptOrder* nearest = nullptr;
    u32 distance = UINT32_MAX;  // numbers that would have to enter or leave
    u16 slot = 0;               // where a new one takes the place of none, or of the one used least
};

OrderSearch SearchOrder(const NumberRange& range) {
    OrderSearch search;
    u64 leastUsed = UINT64_MAX;
    for (u16 slot = 0; slot < ORDERS; ++slot) {
        KeptOrder* order = reinterpret_cast<KeptOrder*>(FindKept(OrderKey(*range.kept, slot)));
        const bool good = order && order->generation == range.kept->generation;
        const u64 used = good ? order->used : 0;
        if (used < leastUsed) {
            leastUsed = used;
            search.slot = slot;
        }
        if (!good) continue;
        const u32 distance = Distance(order->begin, range.begin) + Distance(order->end, range.end);
        if (distance >= search.distance) continue;
        search.distance = distance;
        search.nearest = order;
    }
    return search;
}

}  // namespace

const KeptOrder* TakeOrder(const NumberRange& range) {
    KeptNumbers& kept = *range.kept;
    const OrderSearch search = SearchOrder(range);
    KeptOrder* order = search.nearest;
    bool good = false;
    if (order && search.distance <= NEAR_ENOUGH + range.Count() / 8) {
        good = MoveTo(*order, range);
    } else {
        // One question needs no order of all numbers; the next one may.
        kept.orderScanned += range.Count();
        if (kept.orderScanned < 2 * range.Count()) return nullptr;
        kept.orderScanned = 0;
        order = KeptRecord<KeptOrder>(OrderKey(kept, search.slot));
        good = order && Build(*order, range);
    }
    if (!good) {
        if (order) DropKept(&order->item);
        return nullptr;
    }
    order->used = ++kept.orderClock;
    NoteKeptSize(order->item, SizeOf(*order));
    return order;
}

double NumberAt(const KeptOrder& order, u32 place) {
    u32 at = 0;
    while (place >= order.counts[at]) place -= order.counts[at++];
    return NumbersOf(order, at)[place];
}

u32 CountBelow(const KeptOrder& order, double x) {
    return CountFirst(order, [x](double number) { return number < x; });
}
u32 CountThrough(const KeptOrder& order, double x) {
    return CountFirst(order, [x](double number) { return number <= x; });
}

}  // namespace tally
