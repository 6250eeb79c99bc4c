#include "formula/Precedents.h"

#include <vector>

#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Precedents : public Sandbox {
  protected:
    // The areas that a formula reads, in the order of its tokens, with the extern row where one is named.
    static std::string Of(const std::string& formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        std::string out;
        u32 at = 0;
        for (TokenPrecedent precedent; NextPrecedent(tokens, at, precedent);) {
            WideText text;
            EXPECT_TRUE(CellToText(precedent.area.firstRow, precedent.area.firstColumn, false, false, text));
            if (!IsOneCell(precedent.area)) {
                EXPECT_TRUE(text.Append(u':') &&
                            CellToText(precedent.area.lastRow, precedent.area.lastColumn, false, false, text));
            }
            out += (out.empty() ? "" : " ") + (precedent.externIndex >= 0 ? "!" + Narrow(text) : Narrow(text));
        }
        FreeTokens(tokens);
        return out;
    }
};

TEST_F(Precedents, AreTheReferencesOfTheTokens) {
    const std::pair<const char*, const char*> rows[] = {
        {"=1", ""},
        {"=A1", "A1"},
        {"=A1+$B$2*C3", "A1 B2 C3"},
        {"=SUM(A1:B2,C3,D4:D4)", "A1:B2 C3 D4"},
        {"=Sheet1!A1+SUM(Sheet1!B2:C3)", "!A1 !B2:C3"},
        {"=B2:A1", "A1:B2"},
        {"=IF(A1,B1,C1)", "A1 B1 C1"},
    };
    for (const auto& [formula, areas] : rows) EXPECT_EQ(Of(formula), areas) << formula;
}

// What SUMIF adds up has the shape of what it compares, whatever waits on the left.
TEST_F(Precedents, WhatIsAddedUpConditionallyTakesTheShapeOfWhatIsCompared) {
    const std::pair<const char*, const char*> calls[] = {
        {"SUMIF(A1:A3,1,B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:B3,1,D5)", "A1:B3 D5:E7"},
        {"SUMIF(A1,1,B1)", "A1 B1"},
        {"SUMIF(A1:A3,1,B1:C9)", "A1:A3 B1:C9"},
        {"SUMIF(A1:C2,1,B1:B9)", "A1:C2 B1:D9"},
        {"SUMIF(A1:A3,1)", "A1:A3"},
        {"SUMIF(A1:A3,B1)", "A1:A3 B1"},
        {"SUMIF(A1:A3,C1,B1)", "A1:A3 C1 B1:B3"},
        {"SUMIF(A1:A3,C1*2%,B1)", "A1:A3 C1 B1:B3"},
        {"SUMIF(A1:A3,-C1,B1)", "A1:A3 C1 B1:B3"},
        {"SUMIF(A1:A3,(C1),B1)", "A1:A3 C1 B1:B3"},
        {"SUMIF(A1:A3,\">\"&C1,B1)", "A1:A3 C1 B1:B3"},
        {"SUMIF(A1:A3,ABS(1),B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,PI(),B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,SUM(D1),B1)", "A1:A3 D1 B1:B3"},
        {"SUMIF(A1:A3,MAX(D1,D2:D3),B1)", "A1:A3 D1 D2:D3 B1:B3"},
        {"SUMIF(A1:A3,IF(D1,2,3),B1)", "A1:A3 D1 B1:B3"},
        {"SUMIF(A1:A3,TRUE,B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,#N/A,B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,2.5,B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,\"x\",B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,name,B1)", "A1:A3 B1:B3"},
        {"SUMIF(A1:A3,A1:A2 A2,B1)", "A1:A3 A1:A2 A2 B1:B3"},
        {"SUMIF(Sheet1!A1:A3,1,B1)", "!A1:A3 B1:B3"},
        {"SUMIF(A1:A3,1,Sheet1!B1)", "A1:A3 !B1:B3"},
        {"SUMIF(Sheet1!A1,1,Sheet1!B1:B2)", "!A1 !B1:B2"},
        {"SUMIF(INDEX(A1:A3,1),1,B1)", "A1:A3 B1"},
        {"SUMIF(A1:A3,1,B65535)", "A1:A3 B65535:B65536"},
        {"SUMIF(A1:C1,1,IU5)", "A1:C1 IU5:IV5"},
    };
    for (const auto& [call, areas] : calls) {
        const std::string text = call;
        EXPECT_EQ(Of("=" + text), areas) << call;
        for (const char* around : {"=5+#", "=-#", "=ABS(#)", "=SUM(1,2,#)", "=(1+2)*#%", "={1,2}+#", "=PI()+#",
                                   "=SUM(1)&\"x\"&#", "=IF(1,2,3)+#", "=1^#"}) {
            std::string formula = around;
            formula.replace(formula.find('#'), 1, text);
            EXPECT_EQ(Of(formula), areas) << formula;
        }
    }
    EXPECT_EQ(Of("=SUMIF(A1:A3,1,B1)+SUMIF(C1:C2,1,D1)"), "A1:A3 B1:B3 C1:C2 D1:D2");
    EXPECT_EQ(Of("=COUNTIF(A1:A3,B1)"), "A1:A3 B1");
    EXPECT_EQ(Of("=VLOOKUP(A1:A3,1,B1)"), "A1:A3 B1");
}

TEST_F(Precedents, BehindMoreOperandsThanAreFollowedAReferenceIsAsItIsWritten) {
    const auto behind = [](i32 waiting) {
        std::string formula = "=", closing;
        while (waiting > 0) {
            const i32 here = std::min(waiting, 29);
            formula += "SUM(";
            for (i32 i = 0; i < here; ++i) formula += "1,";
            closing += ")";
            waiting -= here;
        }
        return Of(formula + "SUMIF(A1:A3,1,B1)" + closing);
    };
    EXPECT_EQ(behind(10), "A1:A3 B1:B3");
    EXPECT_EQ(behind(62), "A1:A3 B1:B3");
    EXPECT_EQ(behind(63), "A1:A3 B1");
    EXPECT_EQ(behind(100), "A1:A3 B1");
}

TEST_F(Precedents, AShapeIsCutAtTheEdgesOfTheSheet) {
    EXPECT_EQ(WithShapeOf({5, 5, 7, 7}, {10, 12, 20, 20}), (RefArea{5, 7, 7, 7}));
    EXPECT_EQ(WithShapeOf({5, 90, 7, 9}, {0, 0, 0, 3}), (RefArea{5, 5, 7, 10}));
    EXPECT_EQ(WithShapeOf({65534, 65534, 254, 254}, {0, 1, 0, 1}), (RefArea{65534, 65535, 254, 255}));
    EXPECT_EQ(WithShapeOf({65534, 65534, 254, 254}, {0, 2, 0, 2}), (RefArea{65534, 65535, 254, 255}));
    EXPECT_EQ(WithShapeOf({65535, 65535, 255, 255}, {0, 65535, 0, 255}), (RefArea{65535, 65535, 255, 255}));
}

TEST_F(Precedents, ALoadIsToldWhatAFormulaIs) {
    const struct {
        std::vector<u8> bytes;
        bool always, hyperlink, offsets;
    } rows[] = {
        {{ptgInt, 1, 0}, false, false, false},
        {{0x41, 63, 0}, true, false, false},      // RAND
        {{0x41, 74, 0}, true, false, false},      // NOW
        {{0x41, 221, 0}, true, false, false},     // TODAY
        {{0x41, 244, 0}, true, false, false},     // INFO
        {{0x41, 19, 0}, false, false, false},     // PI
        {{0x42, 1, 125, 0}, true, false, false},  // CELL
        {{0x42, 1, 148, 0}, true, false, false},  // INDIRECT
        {{0x42, 3, 78, 0}, true, false, false},   // OFFSET
        {{0x42, 2, 88, 1}, true, false, false},   // SUBTOTAL
        {{0x42, 1, 103, 1}, false, true, false},  // HYPERLINK
        {{0x42, 1, 63, 0}, false, false, false},  // their numbers in the other kind of call
        {{0x41, 125, 0}, false, false, false},
        {{0x41, 103, 1}, false, false, false},
        {{ptgRange}, true, false, false},
        {{0x4C, 0, 0, 0, 0}, false, false, true},
        {{0x4D, 0, 0, 0, 0, 0, 0, 0, 0}, false, false, true},
        {{0x44, 0, 0, 0, 0}, false, false, false},
        {{0x41, 63}, false, false, false},  // cut off
        {{0x42, 1, 78}, false, false, false},
        {{0x42, 1, 103}, false, false, false},
        {{0x41, 63, 0, ptgInt, 1, 0}, true, false, false},
        {{ptgInt, 1, 0, 0x42, 1, 103, 1, 0x4C, 0, 0, 0, 0}, false, true, true},
    };
    for (const auto& row : rows) {
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, ByteView(row.bytes.data(), row.bytes.size()), {}));
        const TokenTraits traits = ReadTokenTraits(tokens);
        const std::string text = std::to_string(row.bytes[0]) + " " + std::to_string(row.bytes[1]);
        EXPECT_EQ(traits.alwaysCalculate, row.always) << text;
        EXPECT_EQ(traits.hyperlink, row.hyperlink) << text;
        EXPECT_EQ(traits.offsets, row.offsets) << text;
        EXPECT_EQ(TokensAlwaysCalculate(tokens), row.always);
        FreeTokens(tokens);
    }
}

TEST_F(Precedents, LieOnTheSheetsOfTheirRow) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    PrecedentSheets sheets;
    ASSERT_TRUE(ResolvePrecedent(0, 1, -1, sheets));
    EXPECT_EQ(sheets.book, 0);
    EXPECT_EQ(sheets.first, 1);
    EXPECT_EQ(sheets.last, 1);
    Workbook& book = *CurrentWorkbook();
    const i32 self = FindOrAddExternBook(book, EXTERN_SELF);
    ASSERT_TRUE(ResolvePrecedent(0, 1, FindExternSheet(book, self, 0, 1), sheets));
    EXPECT_EQ(sheets.first, 0);
    EXPECT_EQ(sheets.last, 1);
    for (const auto& [first, last] : {std::pair{-1, -1}, {-2, -2}, {-1, 1}, {1, 0}})
        EXPECT_FALSE(ResolvePrecedent(0, 1, FindExternSheet(book, self, first, last), sheets)) << first << last;
    EXPECT_FALSE(ResolvePrecedent(0, 1, 999, sheets));
}

}  // namespace
}  // namespace tally
