#include "base/Array.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/FailingAllocator.h"

namespace tally {
namespace {

// Counts how many of them live.
struct Counted {
    static inline int living = 0;
    int number = 0;
    Counted(int n = 0) : number(n) { ++living; }
    Counted(Counted&& other) noexcept : number(other.number) { ++living; }
    Counted& operator=(Counted&& other) noexcept {
        number = other.number;
        return *this;
    }
    ~Counted() { --living; }
};

template <typename T>
std::vector<int> Numbers(const Array<T>& list) {
    std::vector<int> numbers;
    for (const T& item : list) numbers.push_back(item.number);
    return numbers;
}

TEST(Array, AppendsInsertsAndRemovesInOrder) {
    {
        Array<Counted> list;
        EXPECT_TRUE(list.IsEmpty());
        for (int i = 0; i < 20; ++i) ASSERT_TRUE(list.Append(i));
        ASSERT_TRUE(list.InsertAt(0, 100));
        ASSERT_TRUE(list.InsertAt(5, 101));
        ASSERT_TRUE(list.InsertAt(list.Count(), 102));
        list.RemoveAt(1);
        list.RemoveLast();
        list.RemoveAt(list.Count() - 1);
        EXPECT_EQ(Numbers(list),
                  (std::vector<int>{100, 1, 2, 3, 101, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}));
        EXPECT_EQ(list.Last().number, 18);
        EXPECT_EQ(list[4].number, 101);
        EXPECT_EQ(list.Span().size(), 20u);
        EXPECT_EQ(Counted::living, 20);
        ASSERT_TRUE(list.Resize(25));
        EXPECT_EQ(list[24].number, 0);
        EXPECT_EQ(Counted::living, 25);
        ASSERT_TRUE(list.Resize(3));
        list.Truncate(2);
        list.Truncate(9);
        EXPECT_EQ(Numbers(list), (std::vector<int>{100, 1}));
        EXPECT_EQ(Counted::living, 2);
        EXPECT_GE(list.Capacity(), 25u);
        list.Clear();
        EXPECT_EQ(list.Capacity(), 0u);
        EXPECT_FALSE(list.Data());
    }
    EXPECT_EQ(Counted::living, 0);
}

TEST(Array, MovesItsElementsAndLeavesNothing) {
    {
        Array<Counted> one, two;
        ASSERT_TRUE(one.Append(1) && two.Append(2) && two.Append(3));
        Array<Counted> three(std::move(one));
        EXPECT_EQ(one.Count(), 0u);
        EXPECT_EQ(one.Capacity(), 0u);
        three = std::move(two);
        EXPECT_EQ(Numbers(three), (std::vector<int>{2, 3}));
        EXPECT_EQ(Counted::living, 2);
        EXPECT_EQ(two.Count(), 0u);
        Array<Counted>& same = three;
        three = std::move(same);
        EXPECT_EQ(Numbers(three), (std::vector<int>{2, 3}));
    }
    EXPECT_EQ(Counted::living, 0);
}

TEST(Array, PlainElementsComeByBytes) {
    Array<u16> list;
    const u16 source[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    ASSERT_TRUE(list.AppendMany(source, 3));
    ASSERT_TRUE(list.AppendMany(source, 0));
    ASSERT_TRUE(list.AppendMany(source, 11));
    ASSERT_EQ(list.Count(), 14u);
    EXPECT_EQ(list[2], 3);
    EXPECT_EQ(list[3], 1);
    EXPECT_EQ(list[13], 11);
    u16* place = list.AppendRaw(2);
    ASSERT_TRUE(place);
    place[0] = 77;
    place[1] = 78;
    EXPECT_EQ(list.Last(), 78);
    EXPECT_EQ(list.Count(), 16u);
    ASSERT_TRUE(list.ResizeRaw(15));
    EXPECT_EQ(list.Last(), 77);
    ASSERT_TRUE(list.ResizeRaw(40));
    EXPECT_EQ(list.Count(), 40u);
    EXPECT_EQ(list[14], 77);
    Array<u16> empty;
    EXPECT_TRUE(empty.AppendRaw(0));
}

// Room grows by half, so that appending costs the same however long the list is.
TEST(Array, GrowthIsRare) {
    Array<u32> list;
    u32 moves = 0, capacity = 0;
    for (u32 i = 0; i < 100000; ++i) {
        ASSERT_TRUE(list.Append(i));
        moves += list.Capacity() != capacity;
        capacity = list.Capacity();
        ASSERT_LE(capacity, std::max(8u, 3 * (i + 1) / 2));
    }
    EXPECT_LT(moves, 30u);
    for (u32 i = 0; i < 100000; ++i) ASSERT_EQ(list[i], i);
    ASSERT_TRUE(list.Reserve(5));
    EXPECT_EQ(list.Capacity(), capacity);
    ASSERT_TRUE(list.Reserve(capacity + 1));
    EXPECT_EQ(list.Capacity(), capacity + 1);
}

TEST(Array, ARefusedGrowthLeavesTheListAsItWas) {
    test::FailingAllocator allocator(0, true);
    {
        Array<u32> list;
        for (u32 i = 0; i < 8; ++i) ASSERT_TRUE(list.Append(i));
        allocator.FailAt(1);
        EXPECT_FALSE(list.Append(9));
        EXPECT_FALSE(list.AppendDefault());
        EXPECT_FALSE(list.InsertAt(2, 9));
        EXPECT_FALSE(list.AppendMany(list.Data(), 5));
        EXPECT_FALSE(list.AppendRaw(5));
        EXPECT_FALSE(list.Resize(9));
        EXPECT_FALSE(list.ResizeRaw(9));
        EXPECT_FALSE(list.Reserve(9));
        EXPECT_EQ(list.Count(), 8u);
        for (u32 i = 0; i < 8; ++i) EXPECT_EQ(list[i], i);
        allocator.StopFailing();
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

TEST(Array, SizesBeyondTheCountAreRefused) {
    Array<u64> list;
    QuietMemoryScope quiet;
    EXPECT_FALSE(list.Reserve(0xFFFFFFF1u));
    EXPECT_FALSE(list.Reserve(~std::size_t{0} / 4));
    u64 one = 1;
    ASSERT_TRUE(list.Append(one));
    EXPECT_FALSE(list.AppendMany(&one, ~std::size_t{0}));
    EXPECT_EQ(list.Count(), 1u);
}

}  // namespace
}  // namespace tally
