#include "formula/SideBySide.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>
#include <vector>

namespace tally {
namespace {

// Numbers whose sums round, so that another order shows.
std::vector<double> Numbers(u32 count, u32 seed) {
    std::mt19937 random(seed);
    std::vector<double> out;
    for (u32 i = 0; i < count; ++i) out.push_back(std::ldexp(random(), static_cast<int>(random() % 60) - 30));
    return out;
}

TEST(SideBySide, EachLaneIsTheSumThatItIsAlone) {
    for (const u32 count : {0u, 1u, 2u, 7u, 100u}) {
        const std::vector<double> begin = Numbers(LANES, count + 1),
                                  numbers = Numbers(count + LANES, count + 2);
        std::vector<double> all = begin, neighbours = begin, apart = begin, expectedAll = begin,
                            expectedNeighbours = begin, expectedApart = begin;
        const double* places[LANES];
        std::vector<std::vector<double>> lanes;
        for (u32 lane = 0; lane < LANES; ++lane) lanes.push_back(Numbers(count, 1000 + lane));
        for (u32 lane = 0; lane < LANES; ++lane) places[lane] = lanes[lane].data();
        for (u32 lane = 0; lane < LANES; ++lane) {
            for (u32 i = 0; i < count; ++i) {
                expectedAll[lane] += numbers[i];
                expectedNeighbours[lane] += numbers[i + lane];
                expectedApart[lane] += lanes[lane][i];
            }
        }
        AddToAll(all.data(), numbers.data(), count);
        AddNeighbours(neighbours.data(), numbers.data(), count);
        AddApart(apart.data(), places, count);
        EXPECT_EQ(all, expectedAll) << count;
        EXPECT_EQ(neighbours, expectedNeighbours) << count;
        EXPECT_EQ(apart, expectedApart) << count;
    }
}

TEST(ExactRanges, HoldWhileNoSumOfThemRounds) {
    const double least = DBL_TRUE_MIN;
    const struct {
        std::vector<double> numbers;
        bool holds;
    } rows[] = {
        {{}, true},
        {{0, -0.0}, true},
        {{1}, true},
        {{0, 1}, true},
        {{0x1p52}, true},
        {{1, 0x1p52 - 2}, true},
        {{1, 0x1p52 - 1}, false},
        {{0x1p52 - 1, 1}, false},
        {{-1, 0x1p52 - 2}, true},
        {{-1, 0x1p52 - 1}, false},
        {{1, 1 - 0x1p52}, false},
        {{0.5, 0x1p51 - 1}, true},
        {{0.5, 0x1p51 - 0.5}, false},
        {{2, 0x1p53 - 4}, true},
        {{2, 0x1p53 - 2}, false},
        {{3, 0x1p52 - 4}, true},
        {{3, 0x1p52 - 3}, false},
        {{0.1, 0.2}, false},
        {{0.3}, false},
        {{0x1p600}, true},
        {{0x1p600, 1}, false},
        {{least}, true},
        {{least, least * (0x1p52 - 2)}, true},
        {{least, least * (0x1p52 - 1)}, false},
        {{DBL_MIN, 0x1p-971}, true},
        {{DBL_MIN, 0x1p-970}, false},
        {{2 * DBL_MIN, 0x1p-970}, true},
        {{2 * DBL_MIN, 0x1p-969}, false},
        {{DBL_MIN / 2, 0x1p-972}, true},
        {{DBL_MIN / 2, 0x1p-971}, false},
    };
    for (const auto& row : rows) {
        ExactRange range;
        std::string text;
        for (const double number : row.numbers) {
            range.Add(number);
            text += std::to_string(std::ilogb(number)) + " ";
        }
        EXPECT_EQ(range.Holds(), row.holds) << text;
    }
}

}  // namespace
}  // namespace tally
