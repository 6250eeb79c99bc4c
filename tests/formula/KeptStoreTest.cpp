#include "formula/KeptStore.h"

#include <gtest/gtest.h>

#include <vector>

namespace tally {
namespace {

struct Probe {
    KeptItem item;
    u32 number = 0;
    ~Probe();
};
std::vector<u32> gone;
Probe::~Probe() { gone.push_back(number); }

KeptKey KeyOf(u32 number) {
    KeptKey key;
    key.where = number;
    return key;
}
Probe* Put(u32 number) {
    Probe* probe = KeptRecord<Probe>(KeyOf(number));
    probe->number = number;
    return probe;
}

class KeptStore : public testing::Test {
  protected:
    void SetUp() override {
        ResetKept();
        gone.clear();
    }
    void TearDown() override {
        ResetKept();
        gone.clear();
    }
};

TEST_F(KeptStore, ARecordStandsUnderItsWholeKey) {
    const KeptKey key = {3, KEPT_ORDER, 5, 7, 9};
    Probe* probe = KeptRecord<Probe>(key);
    EXPECT_EQ(KeptRecord<Probe>(key), probe);
    EXPECT_EQ(FindKept(key), &probe->item);
    const KeptKey others[] = {
        {4, KEPT_ORDER, 5, 7, 9}, {3, KEPT_COLUMN, 5, 7, 9}, {3, KEPT_ORDER, 6, 7, 9},
        {3, KEPT_ORDER, 5, 8, 9}, {3, KEPT_ORDER, 5, 7, 1},
    };
    for (const KeptKey& other : others) EXPECT_EQ(FindKept(other), nullptr);
    std::vector<Probe*> made = {probe};
    for (const KeptKey& other : others) {
        Probe* more = KeptRecord<Probe>(other);
        for (const Probe* known : made) EXPECT_NE(more, known);
        made.push_back(more);
    }
    EXPECT_EQ(FindKept(key), &probe->item);
}

TEST_F(KeptStore, CountsTheBytesOfAllItsRecords) {
    EXPECT_EQ(KeptBytes(), 0u);
    Probe* one = Put(1);
    EXPECT_EQ(KeptBytes(), sizeof(Probe));
    Probe* two = Put(2);
    EXPECT_EQ(KeptBytes(), 2 * sizeof(Probe));
    NoteKeptSize(one->item, 1000);
    EXPECT_EQ(KeptBytes(), 1000 + sizeof(Probe));
    NoteKeptSize(one->item, 700);
    EXPECT_EQ(one->item.bytes, 700u);
    DropKept(&two->item);
    EXPECT_EQ(KeptBytes(), 700u);
    EXPECT_EQ(gone, std::vector<u32>{2});
    ResetKept();
    EXPECT_EQ(KeptBytes(), 0u);
    EXPECT_EQ(gone, (std::vector<u32>{2, 1}));
    EXPECT_EQ(FindKept(KeyOf(1)), nullptr);
}

TEST_F(KeptStore, BeyondTheBoundGoesWhatWasUsedLeast) {
    for (u32 i = 1; i <= 5; ++i) NoteKeptSize(Put(i)->item, KEPT_BYTES / 5);
    NoteKeptSize(*FindKept(KeyOf(5)), KEPT_BYTES - 4 * (KEPT_BYTES / 5));
    EXPECT_EQ(KeptBytes(), KEPT_BYTES);
    TrimKept();
    EXPECT_TRUE(gone.empty());
    FindKept(KeyOf(1));
    FindKept(KeyOf(3));
    FindKept(KeyOf(3));
    Put(6);
    TrimKept();
    EXPECT_EQ(gone, std::vector<u32>{2});
    NoteKeptSize(*FindKept(KeyOf(6)), 3 * (KEPT_BYTES / 5));
    TrimKept();
    EXPECT_EQ(gone, (std::vector<u32>{2, 4, 5}));
    NoteKeptSize(*FindKept(KeyOf(1)), KEPT_BYTES + 1);
    FindKept(KeyOf(6));
    TrimKept();
    EXPECT_EQ(gone, (std::vector<u32>{2, 4, 5, 3, 1}));
    EXPECT_NE(FindKept(KeyOf(6)), nullptr);
    // One alone that is too large goes as well.
    NoteKeptSize(*FindKept(KeyOf(6)), KEPT_BYTES + 1);
    TrimKept();
    EXPECT_EQ(FindKept(KeyOf(6)), nullptr);
    EXPECT_EQ(KeptBytes(), 0u);
    Put(7);
    Put(8);
    ResetKept();
    EXPECT_EQ(gone, (std::vector<u32>{2, 4, 5, 3, 1, 6, 7, 8}));
}

TEST_F(KeptStore, ManyRecordsAreFoundAndDroppedInAnyOrder) {
    constexpr u32 COUNT = 12000;
    for (u32 i = 0; i < COUNT; ++i) Put(i);
    const auto holds = [](u32 i) { return i % 3 != 1 && i % 7 != 5; };
    for (u32 i = 1; i < COUNT; i += 3) DropKept(FindKept(KeyOf(i)));
    for (u32 i = COUNT; i-- > 0;) {
        if (i % 7 == 5 && i % 3 != 1) DropKept(FindKept(KeyOf(i)));
    }
    u32 left = 0;
    for (u32 i = 0; i < COUNT; ++i) {
        const KeptItem* item = FindKept(KeyOf(i));
        ASSERT_EQ(item != nullptr, holds(i)) << i;
        if (item) ASSERT_EQ(reinterpret_cast<const Probe*>(item)->number, i);
        left += holds(i);
    }
    EXPECT_EQ(KeptBytes(), left * sizeof(Probe));
    EXPECT_EQ(gone.size(), COUNT - left);
    ResetKept();
    EXPECT_EQ(gone.size(), COUNT);
}

}  // namespace
}  // namespace tally
