#include "formula/CallClasses.h"

#include "formula/TokenWalk.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// Letters of arguments: for each letter of a signature what an argument is compiled with, by the letter that is
// wanted of the call, outside of array formulas and in them.
TEST(CallClasses, TheLetterOfAnArgument) {
    constexpr char wanted[] = {'V', 'A', 'R', 'T', 'U', 'W'};
    struct Row {
        char signature;
        const char *plain, *array;
    };
    const Row rows[] = {{'C', "RRRRRR", "RRRRRR"}, {'Q', "AAAAAA", "AAAAAA"}, {'R', "RRRRRR", "RRRRRR"},
                        {'T', "TTTTTT", "TTTTTT"}, {'U', "UUUUUU", "UUUUUU"}, {'V', "VATTAV", "VAAAAA"},
                        {'W', "WWRRWW", "WWRRWW"}, {'X', "VVVVVV", "AAAAAA"}};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < std::size(wanted); ++i) {
            EXPECT_EQ(ArgumentLetter(row.signature, wanted[i], false, false), row.plain[i])
                << row.signature << wanted[i];
            EXPECT_EQ(ArgumentLetter(row.signature, wanted[i], true, false), row.array[i])
                << row.signature << wanted[i];
            const char optional = static_cast<char>(row.signature + 32);
            EXPECT_EQ(ArgumentLetter(optional, wanted[i], false, false), row.plain[i]) << optional << wanted[i];
        }
    }
    for (const char letter : wanted) EXPECT_EQ(ArgumentLetter('W', letter, false, true), 'W');
}

// Classes of calls as letters, by what is wanted: V A R T U W and any other.
std::string Classes(u32 (*classOf)(u16, char, bool), u16 id, bool arrayMode) {
    std::string all;
    for (const char letter : {'V', 'A', 'R', 'T', 'U', 'W', '?'}) {
        const u32 made = classOf(id, letter, arrayMode);
        all += made == CLASS_VALUE ? 'v' : made == CLASS_ARRAY ? 'a' : made == CLASS_REFERENCE ? 'r' : '!';
    }
    return all;
}

TEST(CallClasses, TheClassOfACallWithFixedArguments) {
    for (const u16 id : {u16{79}, u16{94}, u16{89}, u16{257}, u16{1}, u16{95}}) {
        EXPECT_EQ(Classes(FixedCallClass, id, false), "varvrrr") << id;
        EXPECT_EQ(Classes(FixedCallClass, id, true), "vararrr") << id;
    }
    for (const u16 id : {u16{15}, u16{0}, u16{148}, u16{96}}) {
        EXPECT_EQ(Classes(FixedCallClass, id, false), "vavvavr") << id;
        EXPECT_EQ(Classes(FixedCallClass, id, true), "vaaarvr") << id;
    }
}

TEST(CallClasses, TheClassOfACallWithVariableArguments) {
    for (const u16 id : {u16{150}, u16{100}, u16{1}, u16{29}, u16{148}, u16{78}, u16{147}}) {
        EXPECT_EQ(Classes(VariableCallClass, id, false), "varvrrr") << id;
        EXPECT_EQ(Classes(VariableCallClass, id, true), "vararrr") << id;
    }
    for (const u16 id : {u16{93}, u16{166}, u16{188}, u16{49}, u16{50}, u16{51}, u16{52}}) {
        EXPECT_EQ(Classes(VariableCallClass, id, false), "vaaaavr") << id;
        EXPECT_EQ(Classes(VariableCallClass, id, true), "vaaarvr") << id;
    }
    for (const u16 id : {u16{4}, u16{79}, u16{0}, u16{53}}) {
        EXPECT_EQ(Classes(VariableCallClass, id, false), "vavvavr") << id;
        EXPECT_EQ(Classes(VariableCallClass, id, true), "vaaarvr") << id;
    }
}

class Regressions : public Sandbox {};

TEST_F(Regressions, ASumSeesAllThatARegressionGives) {
    struct Row {
        const char *formula, *shown;
    };
    for (const Row& row : {Row{"=SUM(LINEST({2;4;6},{1;2;3}))", "2"}, Row{"=SUM(TREND({2;4;6},{1;2;3}))", "12"},
                           Row{"=ROUND(SUM(GROWTH({1;2;4},{1;2;3})),6)", "7"},
                           Row{"=ROUND(SUM(LOGEST({1;2;4},{1;2;3})),6)", "2.5"},
                           Row{"=LINEST({2;4;6},{1;2;3})", "2"}, Row{"=LINEST({2;4;6},{1;2;3})*3", "6"}}) {
        Enter("A1", row.formula);
        EXPECT_EQ(Shown("A1"), row.shown) << row.formula;
    }
}

}  // namespace
}  // namespace tally
