#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>

#include "formula/FormulaTypes.h"
#include "functions/FormulaFile.h"
#include "functions/UnitTable.h"

namespace tally {
namespace {

class Engineering : public FormulaFile {};

TEST_F(Engineering, Rules) { Check("engineering.txt"); }
TEST_F(Engineering, BesselFunctionsAgreeWithLongerOnes) { Check("bessel.txt"); }
TEST_F(Engineering, ErrorFunctionAgreesWithLongerOnes) { Check("errorfunction.txt"); }
TEST_F(Engineering, ComplexNumbersAgreeWithLongerOnes) { Check("complex.txt"); }

TEST_F(Engineering, EveryFunctionOfMoneyAndEngineeringHasItsRules) {
    std::set<std::string> sections;
    for (const char* file : {"securities.txt", "engineering.txt"}) {
        for (const std::string& name : Sections(file)) sections.insert(name);
    }
    for (i32 row = MAIN_FUNCTIONS; row < FUNCTION_ROWS; ++row) {
        const FunctionEntry& entry = FunctionTable[row];
        const std::string name = Narrow(entry.name);
        const bool ofCashFlows = name == "XIRR" || name == "XNPV";
        if (ofCashFlows || (entry.category != CATEGORY_FINANCIAL && entry.category != CATEGORY_ENGINEERING))
            continue;
        EXPECT_EQ(sections.count(name), 1u) << name;
        sections.erase(name);
    }
    EXPECT_TRUE(sections.empty()) << *sections.begin();
}

// Arguments that are too large, too small, of the wrong type or not there.
constexpr const char* HOSTILE[] = {"0",
                                   "1",
                                   "2",
                                   "-1",
                                   "0.5",
                                   "1E+308",
                                   "-1E+308",
                                   "1E-308",
                                   "4",
                                   "39000",
                                   "40000",
                                   "2147483647",
                                   "-2147483648",
                                   "3E+9",
                                   "9E+15",
                                   "\"x\"",
                                   "\"\"",
                                   "#N/A",
                                   "TRUE",
                                   "B1",
                                   "B9",
                                   "B1:C9",
                                   "(B1,C1)",
                                   "{1,2}",
                                   "\"3+4i\"",
                                   "\"j\"",
                                   "100",
                                   "1000000",
                                   "\"1E+300-1E+300i\"",
                                   "1E-5",
                                   "41000",
                                   "0.05",
                                   "B:IV"};

TEST_F(Engineering, HostileArgumentsEndInAnErrorOrANumber) {
    Enter("B1", "1E+307");
    Enter("C1", "text");
    std::minstd_rand random(7);
    for (i32 row = MAIN_FUNCTIONS; row < FUNCTION_ROWS; ++row) {
        const FunctionEntry& entry = FunctionTable[row];
        if (entry.category != CATEGORY_FINANCIAL && entry.category != CATEGORY_ENGINEERING) continue;
        const std::size_t most = std::min<std::size_t>(entry.signature.size(), 9);
        for (int i = 0; i < 150; ++i) {
            std::string formula = "=" + Narrow(entry.name) + "(";
            for (std::size_t k = 0; k < most; ++k) {
                if (k) formula += ",";
                formula += HOSTILE[random() % std::size(HOSTILE)];
            }
            const std::string shown = Eval(formula + ")");
            EXPECT_EQ(shown.find("nan"), std::string::npos) << formula;
            EXPECT_EQ(shown.find("inf"), std::string::npos) << formula;
            EXPECT_EQ(shown.find("INF"), std::string::npos) << formula;
            EXPECT_NE(shown, "fault") << formula;
        }
    }
}

struct PrefixedUnit {
    const char16_t* name;
    u32 group;
    double factor;
};
// The units that have a row for every prefix.
constexpr PrefixedUnit PREFIXED[] = {
    {u"g", UNIT_MASS, 1},
    {u"u", UNIT_MASS, 1.66053e-24},
    {u"m", UNIT_DISTANCE, 1},
    {u"ang", UNIT_DISTANCE, 1e-10},
    {u"sec", UNIT_TIME, 1},
    {u"Pa", UNIT_PRESSURE, 1},
    {u"atm", UNIT_PRESSURE, 101324.9966},
    {u"mmHg", UNIT_PRESSURE, 133.3223639},
    {u"N", UNIT_FORCE, 1},
    {u"dyn", UNIT_FORCE, 1e-5},
    {u"J", UNIT_ENERGY, 1},
    {u"e", UNIT_ENERGY, 1e-7},
    {u"c", UNIT_ENERGY, 4.183991014},
    {u"cal", UNIT_ENERGY, 4.186794846},
    {u"eV", UNIT_ENERGY, 1.60219e-19},
    {u"Wh", UNIT_ENERGY, 3599.998206},
    {u"W", UNIT_POWER, 0.00134102},
    {u"T", UNIT_MAGNETISM, 1},
    {u"ga", UNIT_MAGNETISM, 0.0001},
    {u"l", UNIT_LIQUID, 202.84},
};
constexpr struct {
    char16_t letter;
    int power;
} PREFIXES[] = {{u'E', 18}, {u'P', 15},  {u'T', 12},  {u'G', 9},  {u'M', 6},  {u'k', 3},
                {u'h', 2},  {u'e', 1},   {u'd', -1},  {u'c', -2}, {u'm', -3}, {u'u', -6},
                {u'n', -9}, {u'p', -12}, {u'f', -15}, {u'a', -18}};

TEST(Units, EveryGroupHasItsRows) {
    std::map<u32, int> rows;
    for (const UnitRow& unit : unitTable) ++rows[unit.group];
    const std::map<u32, int> expected = {{0, 37},  {1, 40}, {2, 21}, {3, 51}, {4, 35},
                                         {5, 105}, {6, 18}, {7, 34}, {8, 3},  {9, 24}};
    EXPECT_EQ(rows, expected);
}

TEST(Units, PrefixesAreRowsOfTheirOwn) {
    int rows = 0;
    for (const PrefixedUnit& unit : PREFIXED) {
        const UnitRow* base = FindUnit(unit.name);
        ASSERT_TRUE(base) << Narrow(unit.name);
        EXPECT_EQ(base->factor, unit.factor);
        EXPECT_EQ(base->group, unit.group);
        for (const auto& prefix : PREFIXES) {
            const std::u16string name = prefix.letter + std::u16string(unit.name);
            const UnitRow* row = FindUnit(name);
            ASSERT_TRUE(row) << Narrow(name);
            EXPECT_EQ(row->group, unit.group) << Narrow(name);
            const double wanted = unit.factor * std::pow(10, prefix.power);
            EXPECT_NEAR(row->factor, wanted, std::fabs(wanted) * 4e-16) << Narrow(name);
            ++rows;
        }
    }
    // All others are the units without prefixes.
    EXPECT_EQ(rows + 20 + 28, UNIT_ROWS);
}

TEST(Units, NamesAreFoundByTheirCapitals) {
    for (const UnitRow& unit : unitTable) EXPECT_EQ(FindUnit(unit.name), &unit) << Narrow(unit.name);
    for (const char16_t* name : {u"", u"BT", u"BTUs", u"btu", u"zz", u"A", u"\xFFFF"})
        EXPECT_FALSE(FindUnit(name));
    EXPECT_EQ(FindUnit(u"Pa")->group, UNIT_PRESSURE);
    EXPECT_EQ(FindUnit(u"pt")->group, UNIT_LIQUID);
    EXPECT_EQ(FindUnit(u"ft")->factor, 0.3048);
    EXPECT_EQ(FindUnit(u"HPh")->factor, 2684517.4131617);
}

}  // namespace
}  // namespace tally
