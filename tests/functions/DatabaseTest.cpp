#include "support/Sandbox.h"

namespace tally {
namespace {

// Trees: kind, height, yield; the criteria stand from H1.
class DatabaseFunctions : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
    void SetUp() override {
        Sandbox::SetUp();
        const char* cells[][4] = {{"Kind", "Height", "Yield", "2008"}, {"Apple", "18", "14", "1"},
                                  {"Pear", "12", "10", "2"},           {"Cherry", "13", "9", "3"},
                                  {"Apple", "14", "none", "4"},        {"pear", "9", "8", "5"},
                                  {"apricot", "8", "TRUE", "=1/0"}};
        for (int row = 0; row < 7; ++row) {
            for (int column = 0; column < 4; ++column) {
                const std::string name = std::string(1, static_cast<char>('C' + column));
                Enter(name + std::to_string(row + 1), cells[row][column]);
            }
        }
    }
};

TEST_F(DatabaseFunctions, OnlyTheCountsDoWithoutAField) {
    Enter("H1", "kind");
    Enter("H2", "pear");
    for (const char* name :
         {"DSUM", "DAVERAGE", "DMAX", "DMIN", "DPRODUCT", "DSTDEV", "DSTDEVP", "DVAR", "DVARP", "DGET"}) {
        const std::string formula = "=" + std::string(name) + "(C1:F7,,H1:H2)";
        EXPECT_EQ(Eval(formula), "#VALUE!") << formula;
    }
    Check({{"=DCOUNT(C1:F7,,H1:H2)", "2"}, {"=DCOUNTA(C1:F7,,H1:H2)", "2"}});
}

TEST_F(DatabaseFunctions, TheFieldOfTheMatchesIsReduced) {
    Enter("H1", "kind");
    Enter("H2", "pear");
    Check({{"=DSUM(C1:F7,\"yield\",H1:H2)", "18"},
           {"=DSUM(C1:F7,3.9,H1:H2)", "18"},
           {"=DSUM(C1:F7,E1,H1:H2)", "18"},
           {"=DAVERAGE(C1:F7,\"Height\",H1:H2)", "10.5"},
           {"=DCOUNT(C1:F7,\"Yield\",H1:H2)", "2"},
           {"=DCOUNTA(C1:F7,\"Kind\",H1:H2)", "2"},
           {"=DMAX(C1:F7,\"Yield\",H1:H2)", "10"},
           {"=DMIN(C1:F7,\"Yield\",H1:H2)", "8"},
           {"=DPRODUCT(C1:F7,\"Yield\",H1:H2)", "80"},
           {"=DVAR(C1:F7,\"Yield\",H1:H2)", "2"},
           {"=DVARP(C1:F7,\"Yield\",H1:H2)", "1"},
           {"=ROUND(DSTDEV(C1:F7,\"Yield\",H1:H2),6)", "1.414214"},
           {"=DSTDEVP(C1:F7,\"Yield\",H1:H2)", "1"},
           {"=DGET(C1:F7,\"Yield\",H1:H2)", "#NUM!"},
           {"=DSUM(C1:F7,\"2008\",H1:H2)", "7"}});
}

TEST_F(DatabaseFunctions, TextsWithoutAnOperatorMatchBeginnings) {
    struct Case {
        const char* criteria;
        const char* records;
    };
    Enter("H1", "Kind");
    for (const Case& row : {Case{"ap", "3"},
                            {"apple", "2"},
                            {"=\"=ap\"", "0"},
                            {"=\"=apple\"", "2"},
                            {"apples", "0"},
                            {"*p", "5"},
                            {"?p", "3"},
                            {"=\"=?pple\"", "2"},
                            {"=\"=?p\"", "0"},
                            {"<>apple", "4"},
                            {">b", "3"},
                            {"=\"\"", "6"},
                            {"=\"=\"", "0"}}) {
        Enter("H2", row.criteria);
        EXPECT_EQ(Eval("=DCOUNTA(C1:F7,1,H1:H2)"), row.records) << row.criteria;
    }
    // A text is equal to no boolean; a number as text still is its number.
    Enter("H1", "Yield");
    Enter("H2", "=\"=TRUE\"");
    EXPECT_EQ(Eval("=DCOUNTA(C1:F7,1,H1:H2)"), "0");
    Enter("H2", "TRUE");
    EXPECT_EQ(Eval("=DCOUNTA(C1:F7,1,H1:H2)"), "1");
    Enter("H2", "=\"14\"");
    EXPECT_EQ(Eval("=DCOUNTA(C1:F7,1,H1:H2)"), "1");
    Enter("C3", "");
    Enter("H1", "Kind");
    Enter("H2", "=\"\"");
    EXPECT_EQ(Eval("=DCOUNT(C1:F7,,H1:H2)"), "5");
    Enter("H2", "=\"=\"");
    EXPECT_EQ(Eval("=DCOUNT(C1:F7,,H1:H2)"), "1");
}

TEST_F(DatabaseFunctions, LabelsThatAreNumbersNameTheirFieldAndErrorsNone) {
    Enter("H1", "2008");
    Enter("H2", "2");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Kind\",H1:H2)"), "Pear");
    Enter("H1", "=\"2008\"");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Kind\",H1:H2)"), "Pear");
    Enter("H1", "=1/0");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Kind\",H1:H2)"), "#VALUE!");
    EXPECT_EQ(Eval("=DSUM(C1:F7,\"Height\",H1:H2)"), "#VALUE!");
    Enter("H1", "nothing");
    EXPECT_EQ(Eval("=DCOUNT(C1:F7,,H1:H2)"), "6");
}

TEST_F(DatabaseFunctions, GetPassesOverRecordsWithoutAnythingInTheField) {
    Enter("H1", "Kind");
    Enter("H2", "apple");
    Enter("E5", "");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Yield\",H1:H2)"), "14");
    Enter("E2", "=\"\"");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Yield\",H1:H2)"), "#VALUE!");
    Enter("E5", "=\" \"");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Yield\",H1:H2)"), " ");
    Enter("E2", "0");
    EXPECT_EQ(Eval("=DGET(C1:F7,\"Yield\",H1:H2)"), "#NUM!");
}

TEST_F(DatabaseFunctions, NothingMatches) {
    Enter("H1", "Kind");
    Enter("H2", "Plum");
    Check({{"=DSUM(C1:F7,3,H1:H2)", "0"},
           {"=DAVERAGE(C1:F7,3,H1:H2)", "#DIV/0!"},
           {"=DCOUNT(C1:F7,3,H1:H2)", "0"},
           {"=DCOUNTA(C1:F7,3,H1:H2)", "0"},
           {"=DCOUNT(C1:F7,,H1:H2)", "0"},
           {"=DMAX(C1:F7,3,H1:H2)", "0"},
           {"=DMIN(C1:F7,3,H1:H2)", "0"},
           {"=DPRODUCT(C1:F7,3,H1:H2)", "0"},
           {"=DSTDEV(C1:F7,3,H1:H2)", "#DIV/0!"},
           {"=DVARP(C1:F7,3,H1:H2)", "#DIV/0!"},
           {"=DGET(C1:F7,3,H1:H2)", "#VALUE!"}});
}

TEST_F(DatabaseFunctions, AnEmptyRowOfCriteriaMatchesEveryRecord) {
    Enter("H1", "Kind");
    Enter("I1", "Height");
    Check({{"=DSUM(C1:F7,2,H1:I2)", "74"}, {"=DCOUNT(C1:F7,,H1:I2)", "6"}});
    Enter("H2", "Plum");
    Check({{"=DSUM(C1:F7,2,H1:I2)", "0"}, {"=DSUM(C1:F7,2,H1:I3)", "74"}});
}

TEST_F(DatabaseFunctions, CellsOfARowAreAndRowsAreOr) {
    Enter("H1", "Kind");
    Enter("I1", "Height");
    Enter("J1", "Height");
    Enter("H2", "Apple");
    Enter("I2", ">15");
    Check({{"=DSUM(C1:F7,2,H1:I2)", "18"}, {"=DGET(C1:F7,\"Yield\",H1:I2)", "14"}});
    Enter("H3", "Pear");
    Check({{"=DSUM(C1:F7,2,H1:I3)", "39"}});
    Enter("I4", ">=12");
    Enter("J4", "<14");
    Check({{"=DSUM(C1:F7,2,H1:J4)", "52"}, {"=DSUM(C1:F7,2,I1:J2)", "18"}});
}

TEST_F(DatabaseFunctions, PatternsAndOperators) {
    Enter("H1", "Kind");
    Enter("H2", "A*");
    Enter("I1", "Height");
    Enter("I2", ">=10");
    Check({{"=DSUM(C1:F7,2,H1:H2)", "40"}, {"=DSUM(C1:F7,2,I1:I2)", "57"}, {"=DSUM(C1:F7,2,H1:I2)", "32"}});
}

TEST_F(DatabaseFunctions, LabelsThatNameNoFieldAreIgnored) {
    Enter("H1", "Colour");
    Enter("H2", "red");
    Enter("I1", "Kind");
    Enter("I2", "Pear");
    Enter("J1", "5");
    Enter("J2", "7");
    Check({{"=DCOUNT(C1:F7,,H1:H2)", "6"}, {"=DCOUNT(C1:F7,,H1:I2)", "2"}, {"=DCOUNT(C1:F7,,I1:J2)", "2"}});
}

TEST_F(DatabaseFunctions, CountsWithAndWithoutAField) {
    Enter("H1", "Kind");
    Enter("H2", "a*");
    Check({{"=DCOUNT(C1:F7,,H1:H2)", "3"},
           {"=DCOUNTA(C1:F7,,H1:H2)", "3"},
           {"=DCOUNT(C1:F7,\"Yield\",H1:H2)", "1"},
           {"=DCOUNTA(C1:F7,\"Yield\",H1:H2)", "3"},
           {"=DCOUNT(C1:F7,\"Kind\",H1:H2)", "0"},
           {"=DSUM(C1:F7,Z99,H1:H2)", "#VALUE!"}});
}

TEST_F(DatabaseFunctions, AnErrorInTheFieldIsTheResultButForDcount) {
    Enter("H1", "Kind");
    Enter("H2", "apricot");
    Check({{"=DCOUNT(C1:F7,4,H1:H2)", "0"},
           {"=DCOUNTA(C1:F7,4,H1:H2)", "#DIV/0!"},
           {"=DSUM(C1:F7,4,H1:H2)", "#DIV/0!"},
           {"=DPRODUCT(C1:F7,4,H1:H2)", "#DIV/0!"},
           {"=DVAR(C1:F7,4,H1:H2)", "#DIV/0!"},
           {"=DGET(C1:F7,4,H1:H2)", "#DIV/0!"},
           {"=DGET(C1:F7,3,H1:H2)", "TRUE"}});
    Enter("H2", "Cherry");
    Check({{"=DMAX(C1:F7,4,H1:H2)", "3"}});
}

TEST_F(DatabaseFunctions, ArgumentsThatAreNoDatabase) {
    Enter("H1", "Kind");
    Enter("H2", "Pear");
    Check({{"=DSUM(C1:F1,3,H1:H2)", "#VALUE!"},
           {"=DGET(C1:F1,3,H1:H2)", "#VALUE!"},
           {"=DSUM(C1:F7,3,H1:I1)", "#VALUE!"},
           {"=DSUM((C1:F7,C9:F10),3,H1:H2)", "#VALUE!"},
           {"=DSUM(C1:F7,3,#REF!)", "#REF!"},
           {"=DSUM(C1:F7,0,H1:H2)", "#VALUE!"},
           {"=DSUM(C1:F7,5,H1:H2)", "#VALUE!"},
           {"=DSUM(C1:F7,1E+300,H1:H2)", "#VALUE!"},
           {"=DSUM(C1:F7,\"Colour\",H1:H2)", "#VALUE!"},
           {"=DSUM(C1:F7,FALSE,H1:H2)", "#VALUE!"},
           {"=DCOUNTA(C1:F7,TRUE,H1:H2)", "2"},
           {"=DSUM(C1:F7,NA(),H1:H2)", "#VALUE!"},
           {"=DCOUNT(C1:F7,Z99,H1:H2)", "#VALUE!"}});
}

TEST_F(DatabaseFunctions, ResultsFollowTheirRecordsAndCriteria) {
    Enter("H1", "Kind");
    Enter("H2", "Pear");
    Enter("K1", "=DSUM(C1:F7,3,H1:H2)");
    EXPECT_EQ(Shown("K1"), "18");
    Enter("E3", "20");
    EXPECT_EQ(Shown("K1"), "28");
    Enter("H2", "Cherry");
    EXPECT_EQ(Shown("K1"), "9");
}

}  // namespace
}  // namespace tally
