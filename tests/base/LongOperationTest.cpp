#include "base/LongOperation.h"

#include <gtest/gtest.h>

namespace tally {
namespace {

struct Told {
    u32 begun = 0, ended = 0, steps = 0;
    u64 done = 0, total = 0;
    bool enough = false;
};
Told told;

class LongWork : public testing::Test {
  protected:
    void SetUp() override {
        told = Told();
        LongOperations() = {[](LongOperationKind) { ++told.begun; },
                            [](u64 done, u64 total) {
                                ++told.steps;
                                told.done = done;
                                told.total = total;
                            },
                            [] { return told.enough; }, [] { ++told.ended; }};
    }
    void TearDown() override { ResetLongOperations(); }
};

TEST_F(LongWork, OnlyTheOutermostIsTold) {
    {
        const LongOperation outer(OPERATION_CALCULATE, 5000000);
        {
            const LongOperation inner(OPERATION_CALCULATE, 7);
            EXPECT_TRUE(GoOn(1000000));
        }
        EXPECT_EQ(told.ended, 0u);
        EXPECT_EQ(told.total, 5000000u);
    }
    EXPECT_EQ(told.begun, 1u);
    EXPECT_EQ(told.ended, 1u);
}

TEST_F(LongWork, AStepIsTenThousandsOfUnits) {
    const LongOperation work(OPERATION_CALCULATE);
    for (i32 i = 0; i < 1 << 20; ++i) ASSERT_TRUE(GoOn(1));
    EXPECT_EQ(told.steps, 16u);
    EXPECT_EQ(told.done, 1u << 20);
    EXPECT_EQ(told.total, 0u);
}

TEST_F(LongWork, EachBeginsWithNothingDone) {
    for (const u64 total : {5000000u, 7000000u}) {
        const LongOperation work(OPERATION_CALCULATE, total);
        EXPECT_TRUE(GoOn(70000));
        EXPECT_EQ(told.done, 70000u);
        EXPECT_EQ(told.total, total);
        EXPECT_TRUE(GoOn(70000));
        EXPECT_EQ(told.done, 140000u);
    }
    EXPECT_EQ(told.steps, 4u);
}

TEST_F(LongWork, EnoughIsEnoughUntilTheOutermostEnds) {
    {
        const LongOperation outer(OPERATION_CALCULATE);
        told.enough = true;
        EXPECT_TRUE(GoOn(10));
        {
            const LongOperation inner(OPERATION_CALCULATE);
            EXPECT_FALSE(GoOn(1000000));
        }
        told.enough = false;
        EXPECT_FALSE(GoOn(1));
        EXPECT_EQ(told.steps, 1u);
    }
    const LongOperation next(OPERATION_CALCULATE);
    EXPECT_TRUE(GoOn(1));
}

TEST_F(LongWork, AfterAResetNobodyIsToldAndNothingIsCutShort) {
    told.enough = true;
    ResetLongOperations();
    {
        const LongOperation work(OPERATION_CALCULATE, 9);
        for (i32 i = 0; i < 3; ++i) EXPECT_TRUE(GoOn(1 << 20));
    }
    EXPECT_EQ(told.begun + told.steps + told.ended, 0u);
}

TEST_F(LongWork, WithoutOneNobodyIsAsked) {
    told.enough = true;
    EXPECT_TRUE(GoOn(1000000000));
    EXPECT_EQ(told.steps, 0u);
}

}  // namespace
}  // namespace tally
