#include <string>

#include "formula/FormulaScanner.h"
#include "formula/FormulaText.h"
#include "formula/TokenWalk.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

i32 Length(const std::u16string& text) { return static_cast<i32>(text.size()); }

class Scanners : public Sandbox {
  protected:
    // The reference that begins the text, as the A1 form shows it, with the count of characters that it takes;
    // "none" where there is none. Meant from the cell C4.
    static std::string Reference(const std::u16string& text, bool useA1) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.row = 3;
        place.column = 2;
        place.useA1 = useA1;
        RefArea area;
        u8 nibble = 0;
        const i32 behind = ParseReference(place, text, 0, Length(text), nullptr, area, nibble);
        if (behind < 0) return "none";
        int flags = AREA_USE_A1;
        if (nibble & FIRST_ROW_RELATIVE) flags |= AREA_FIRST_ROW_RELATIVE;
        if (nibble & FIRST_COLUMN_RELATIVE) flags |= AREA_FIRST_COLUMN_RELATIVE;
        if (nibble & LAST_ROW_RELATIVE) flags |= AREA_LAST_ROW_RELATIVE;
        if (nibble & LAST_COLUMN_RELATIVE) flags |= AREA_LAST_COLUMN_RELATIVE;
        WideText shown;
        EXPECT_TRUE(AreaToText(CurrentBook(), 0, area, static_cast<u16>(flags), 0, 0, shown));
        return std::to_string(behind) + " " + Narrow(shown);
    }
    struct Row {
        const char16_t* text;
        const char* expected;
    };
};

TEST_F(Scanners, ReferencesOfTheA1Form) {
    const Row rows[] = {
        {u"A1", "2 A1"},
        {u"a1", "2 A1"},
        {u"$A1", "3 $A1"},
        {u"A$1", "3 A$1"},
        {u"$A$1", "4 $A$1"},
        {u"IV65536", "7 IV65536"},
        {u"IW1", "none"},
        {u"A65537", "none"},
        {u"A0", "none"},
        {u"ABC1", "none"},
        {u"A1:B2", "5 A1:B2"},
        {u"B2:A1", "5 A1:B2"},
        {u"$B$2:A1", "7 A1:$B$2"},
        {u"A$2:$B1", "7 A1:$B$2"},
        {u"A:B", "3 A:B"},
        {u"$A:B", "4 $A:B"},
        {u"B:$A", "4 $A:B"},
        {u"1:3", "3 1:3"},
        {u"3:$1", "4 $1:3"},
        {u"A", "none"},
        {u"1", "none"},
        {u"A1:B", "2 A1"},
        {u"A1:foo", "2 A1"},
        {u"A1:B2C", "2 A1"},
        {u"A:A1", "none"},
        {u"A1.5", "none"},
        {u"A1x", "none"},
        {u"A1(", "none"},
        {u"A1!", "none"},
        {u"A1)", "2 A1"},
        {u"A1}", "2 A1"},
        {u"A1,", "2 A1"},
        {u"A1 ", "2 A1"},
        {u"A1+", "2 A1"},
        {u"Sheet1!A1", "9 A1"},
        {u"'Sheet1'!A1", "11 A1"},
        {u"Sheet1!A1(", "9 A1"},
        {u"Missing!A1", "none"},
        {u"$A$", "none"},
        {u"A1:IW1", "2 A1"},
    };
    for (const Row& row : rows) EXPECT_EQ(Reference(row.text, true), row.expected) << Narrow(row.text);
}

TEST_F(Scanners, ReferencesOfTheR1C1Form) {
    const Row rows[] = {
        {u"R1C1", "4 $A$1"},    {u"r1c1", "4 $A$1"},    {u"R01C01", "6 $A$1"},
        {u"RC", "2 C4"},        {u"R[1]C[-1]", "9 B5"}, {u"R[+1]C", "6 C5"},
        {u"R[-1]C5", "7 $E3"},  {u"R5C[1]", "6 D$5"},   {u"R[-4]C", "6 C65536"},
        {u"RC[254]", "7 A4"},   {u"RC[255]", "7 B4"},   {u"RC[256]", "none"},
        {u"R[65535]C", "9 C3"}, {u"R[65536]C", "none"}, {u"R65536C256", "10 $IV$65536"},
        {u"R65537C1", "none"},  {u"R1C257", "none"},    {u"R0C1", "none"},
        {u"R1C0", "none"},      {u"R1", "2 $1:$1"},     {u"C2", "2 $B:$B"},
        {u"R", "1 4:4"},        {u"C", "1 C:C"},        {u"R1:R3", "5 $1:$3"},
        {u"R3:R1", "5 $1:$3"},  {u"C[1]:C1", "7 $A:D"}, {u"R1C1:R2C2", "9 $A$1:$B$2"},
        {u"R1C1:R2", "4 $A$1"}, {u"R[1", "none"},       {u"R[]C", "none"},
        {u"R[1x]C", "none"},    {u"R1C1x", "none"},     {u"A1", "none"},
    };
    for (const Row& row : rows) EXPECT_EQ(Reference(row.text, false), row.expected) << Narrow(row.text);
}

TEST_F(Scanners, NumbersOperatorsAndTextsEndWhereTheyEnd) {
    struct Case {
        const char16_t* text;
        i32 expected;
    };
    for (const Case& row : {Case{u"12", 2},
                            {u"1.5E+3x", 6},
                            {u"1E5", 3},
                            {u"1e-5", 4},
                            {u"1E", 1},
                            {u"1E+", 1},
                            {u"1Ex", 1},
                            {u".5", 2},
                            {u"5.", 2},
                            {u".", -1},
                            {u"1..2", 2},
                            {u"1.5.2", 3}})
        EXPECT_EQ(ScanNumber(row.text, 0, Length(row.text)), row.expected) << Narrow(row.text);
    for (const Case& row :
         {Case{u"1", 1}, {u".x", 1}, {u"12+", 1}, {u"x", 0}, {u"1:3", 0}, {u"12:3", 0}, {u"", 0}})
        EXPECT_EQ(StartsNumber(row.text, 0, Length(row.text)), row.expected != 0) << Narrow(row.text);
    for (const Case& row : {Case{u">=", 2}, {u"<=", 2}, {u"<>", 2}, {u">", 1}, {u"<", 1}, {u"=", 1}, {u"=>", 1},
                            {u"><", 1},     {u"+", 1},  {u"-", 1},  {u"*", 1}, {u"/", 1}, {u"^", 1}, {u"&", 1},
                            {u":", 1},      {u",", 1},  {u"%", 0},  {u"x", 0}, {u";", 0}, {u"", 0}})
        EXPECT_EQ(OperatorLength(row.text, 0, Length(row.text)), row.expected) << Narrow(row.text);
    for (const Case& row :
         {Case{u"\"a\"\"b\"c", 6}, {u"\"abc", 4}, {u"\"\"", 2}, {u"\"\"\"", 3}, {u"\"a\"", 3}})
        EXPECT_EQ(ScanString(row.text, 0, Length(row.text)), row.expected) << Narrow(row.text);
    for (const Case& row : {Case{u"()", 1}, {u"(())", 3}, {u"(()", -1}, {u"(1)(2)", 2}})
        EXPECT_EQ(MatchingParenthesis(row.text, 0, Length(row.text)), row.expected) << Narrow(row.text);
}

TEST_F(Scanners, ErrorsAreWordsWithoutRegardToCase) {
    i32 behind = 0;
    EXPECT_EQ(ScanError(u"#n/a+1", 0, 6, behind), ERR_NA);
    EXPECT_EQ(behind, 4);
    EXPECT_EQ(ScanError(u"1+#DIV/0!", 2, 9, behind), ERR_DIV0);
    EXPECT_EQ(behind, 9);
    EXPECT_EQ(ScanError(u"#DIV/0!", 0, 6, behind), -1);
    EXPECT_EQ(ScanError(u"#foo", 0, 4, behind), -1);
    EXPECT_EQ(ScanError(u"x#N/A", 0, 5, behind), -1);
}

TEST_F(Scanners, ElementsOfArraysStandBetweenTheirSeparators) {
    struct Case {
        const char16_t* text;
        bool good;
        i32 start, stop, separator;
    };
    const Case cases[] = {
        {u" 1 ,2", true, 1, 2, 3},     {u"1;2", true, 0, 1, 1},     {u"1}", true, 0, 1, 1},
        {u"\"a,b\" ;", true, 0, 5, 6}, {u"\"\"}", true, 0, 2, 2},   {u"a b }", true, 0, 3, 4},
        {u"}", false, 0, 0, 0},        {u" ,", false, 1, 1, 1},     {u"1", false, 0, 1, 1},
        {u"1{2", false, 0, 1, 1},      {u"a\"b\"", false, 0, 1, 1}, {u"\"a\"b}", false, 0, 3, 3},
    };
    for (const Case& row : cases) {
        ArrayElement element;
        EXPECT_EQ(ScanArrayElement(row.text, 0, Length(row.text), element), row.good) << Narrow(row.text);
        EXPECT_EQ(element.start, row.start) << Narrow(row.text);
        EXPECT_EQ(element.stop, row.stop) << Narrow(row.text);
        EXPECT_EQ(element.separator, row.separator) << Narrow(row.text);
    }
}

TEST_F(Scanners, ConstantsOfArraysAreReadByWhatTheyAre) {
    const auto read = [](const std::u16string& text) -> std::string {
        Value value;
        EXPECT_TRUE(ParseConstant(text, 0, Length(text), value));
        std::string out;
        switch (value.type) {
            case VT_BOOL: out = value.boolean ? "bool TRUE" : "bool FALSE"; break;
            case VT_ERROR: out = "error " + std::to_string(value.error); break;
            case VT_NUMBER: out = "number " + std::to_string(value.number); break;
            default: out = "text " + Narrow(TextOf(value));
        }
        FreeValue(value);
        return out;
    };
    EXPECT_EQ(read(u"true"), "bool TRUE");
    EXPECT_EQ(read(u"FALSE"), "bool FALSE");
    EXPECT_EQ(read(u"#REF!"), "error " + std::to_string(ERR_REF));
    EXPECT_EQ(read(u"#REF!x"), "text #REF!x");
    EXPECT_EQ(read(u"1.5"), "number 1.500000");
    EXPECT_EQ(read(u"-2"), "number -2.000000");
    EXPECT_EQ(read(u"\"a\""), "text a");
    EXPECT_EQ(read(u"\"\""), "text ");
    EXPECT_EQ(read(u"\"1\""), "text 1");
    EXPECT_EQ(read(u"\""), "text \"");
    EXPECT_EQ(read(u"abc"), "text abc");
    EXPECT_EQ(read(u"abc\""), "text abc\"");
}

class LiftedCalls : public Sandbox {};

TEST_F(LiftedCalls, TakeTheSmallestCountAboveOneOfTheirArguments) {
    struct Row {
        const char* last;
        const char* formula;
        const char* shown[3];
    };
    const Row rows[] = {
        {"C1", "=POWER({2,3},{1,2,3})", {"2", "9", "#N/A"}},
        {"C1", "=POWER({1,2,3},{2,3})", {"1", "8", "#N/A"}},
        {"C1", "=POWER({1,2,3},{2})", {"1", "4", "9"}},
        {"C1", "=POWER(2,{1,2,3})", {"2", "4", "8"}},
        {"A3", "=POWER({2;3},{1;2;3})", {"2", "9", "#N/A"}},
        {"A3", "=POWER({1;2;3},{2;3})", {"1", "8", "#N/A"}},
        {"A3", "=POWER({1;2;3},2)", {"1", "4", "9"}},
    };
    for (const Row& row : rows) {
        const bool across = row.last[0] == 'C';
        EnterArray("A1", row.last, row.formula);
        const char* cells[] = {"A1", across ? "B1" : "A2", across ? "C1" : "A3"};
        for (int i = 0; i < 3; ++i) EXPECT_EQ(Shown(cells[i]), row.shown[i]) << row.formula << " " << cells[i];
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
    }
}

}  // namespace
}  // namespace tally
