#include "editing/PasteOperations.h"

#include "editing/Clipboard.h"
#include "editing/PasteBlock.h"
#include "editing/PasteTargets.h"
#include "editing/Undo.h"
#include "formula/Compiler.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class PastedArithmetic : public Sandbox {
  protected:
    // What stands in B1 after `source`, in A1, is pasted over `target` with an operation.
    static std::string Pasted(const char* target, const char* source, i32 operation, i32 mode = PASTE_ALL) {
        for (const char* cell : {"A1", "B1"}) {
            const RefArea area = AreaOf(cell, cell);
            CellPosition position;
            if (FindCell(CurrentSheet()->cells, area.firstRow, area.firstColumn, position))
                RemoveCell(CurrentSheet()->cells, position);
        }
        if (*source) Enter("A1", source);
        if (*target) Enter("B1", target);
        EXPECT_TRUE(CopyCells(CurrentBook(), 0, AreaOf("A1", "A1")));
        PasteRequest request;
        request.book = CurrentBook();
        request.area = AreaOf("B1", "B1");
        request.operation = operation;
        request.mode = mode;
        EXPECT_TRUE(PasteBlock(request));
        const std::string formula = FormulaOf("B1");
        return formula.empty() ? Shown("B1") : formula;
    }
};

TEST_F(PastedArithmetic, ValuesAreWorkedOutAtOnce) {
    const struct {
        const char *target, *source;
        const char *sum, *difference, *product, *quotient;
    } rows[] = {
        {"6", "4", "10", "2", "24", "1.5"},
        {"6", "-4", "2", "10", "-24", "-1.5"},
        {"", "4", "4", "-4", "0", "0"},
        {"6", "", "6", "6", "0", "#DIV/0!"},
        {"6", "0", "6", "6", "0", "#DIV/0!"},
        {"0", "0", "0", "0", "0", "#DIV/0!"},
        // A text that is no number, a truth and an error leave the target as it is, on either side.
        {"6", "x", "6", "6", "6", "6"},
        {"6", "TRUE", "6", "6", "6", "6"},
        {"6", "#N/A", "6", "6", "6", "6"},
        {"x", "4", "x", "x", "x", "x"},
        {"TRUE", "4", "TRUE", "TRUE", "TRUE", "TRUE"},
        {"#N/A", "4", "#N/A", "#N/A", "#N/A", "#N/A"},
        // Beyond the numbers.
        {"1E300", "1E300", "2E+300", "0", "#NUM!", "1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Pasted(row.target, row.source, PASTE_ADD), row.sum) << row.target << "," << row.source;
        EXPECT_EQ(Pasted(row.target, row.source, PASTE_SUBTRACT), row.difference)
            << row.target << "," << row.source;
        EXPECT_EQ(Pasted(row.target, row.source, PASTE_MULTIPLY), row.product)
            << row.target << "," << row.source;
        EXPECT_EQ(Pasted(row.target, row.source, PASTE_DIVIDE), row.quotient)
            << row.target << "," << row.source;
    }
}

TEST_F(PastedArithmetic, FormulasAreSplicedInParentheses) {
    const struct {
        const char *target, *source;
        i32 operation;
        const char* result;
    } rows[] = {
        {"=C1", "2", PASTE_MULTIPLY, "=(C1)*2"},
        {"=C1+1", "2", PASTE_SUBTRACT, "=(C1+1)-2"},
        {"=C1", "", PASTE_ADD, "=(C1)+0"},
        {"=C1", "=D1", PASTE_DIVIDE, "=(C1)/(E1)"},
        {"=C1", "=$D$1", PASTE_ADD, "=(C1)+($D$1)"},
        {"8", "=D1", PASTE_SUBTRACT, "=8-(E1)"},
        {"", "=D1", PASTE_MULTIPLY, "=0*(E1)"},
        {"=C1", "x", PASTE_ADD, "=C1"},
        {"=C1", "TRUE", PASTE_ADD, "=C1"},
        {"=C1", "#N/A", PASTE_ADD, "=C1"},
        {"x", "=D1", PASTE_ADD, "x"},
        {"TRUE", "=D1", PASTE_ADD, "TRUE"},
        {"#N/A", "=D1", PASTE_ADD, "#N/A"},
        // The arrays behind the tokens stand in the order of the two sides.
        {"=SUM({1,2})", "=SUM({3,4,5})", PASTE_ADD, "=(SUM({1,2}))+(SUM({3,4,5}))"},
        {"=SUM({1,2})", "3", PASTE_SUBTRACT, "=(SUM({1,2}))-3"},
        {"3", "=SUM({1,2})", PASTE_SUBTRACT, "=3-(SUM({1,2}))"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Pasted(row.target, row.source, row.operation), row.result) << row.target << "," << row.source;
    // The values alone of a formula are a number.
    Enter("D1", "5");
    EXPECT_EQ(Pasted("8", "=D1", PASTE_ADD, PASTE_VALUES), "13");
    EXPECT_EQ(Pasted("=C1", "=D1", PASTE_ADD, PASTE_VALUES), "=(C1)+5");
}

TEST_F(PastedArithmetic, ATextThatReadsAsANumberCountsAsOne) {
    Enter("B1", "4");
    for (const char* cell : {"A1", "A2"}) {
        const RefArea area = AreaOf(cell, cell);
        ASSERT_TRUE(InsertCell(*CurrentSheet(), area.firstRow, 0, DEFAULT_CELL_FORMAT, TextValue(u"3"),
                               FormulaTokens()));
    }
    ASSERT_TRUE(CopyCells(CurrentBook(), 0, AreaOf("A1", "A1")));
    PasteRequest request;
    request.book = CurrentBook();
    request.area = AreaOf("B1", "B1");
    request.operation = PASTE_MULTIPLY;
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(CellAtName("B1")->value.type, VT_NUMBER);
    EXPECT_EQ(CellAtName("B1")->value.number, 12);
    request.area = AreaOf("A2", "A2");
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(CellAtName("A2")->value.type, VT_NUMBER);
    EXPECT_EQ(CellAtName("A2")->value.number, 9);
}

// What is one byte longer than a formula may be leaves the target as it is.
TEST_F(PastedArithmetic, AFormulaThatWouldBeTooLongIsNotMade) {
    for (const u32 over : {0u, 1u}) {
        CellContent target, source;
        // Two sides of tokens, each with a parenthesis, and the operator.
        const u32 left = TOKEN_ROOM / 2, right = TOKEN_ROOM - 3 - left + over;
        ASSERT_TRUE(MakeTokens(target.tokens, static_cast<u16>(left), 0));
        ASSERT_TRUE(MakeTokens(source.tokens, static_cast<u16>(right), 2));
        std::fill_n(target.tokens.bytes, left, u8{0x11});
        std::fill_n(source.tokens.bytes, right, u8{0x22});
        source.tokens.bytes[right] = 0x33;
        source.tokens.bytes[right + 1] = 0x44;
        ASSERT_TRUE(CombineContent(target, source, PASTE_DIVIDE));
        EXPECT_EQ(target.tokens.length, over ? left : u32{TOKEN_ROOM});
        if (!over) {
            const u8* bytes = target.tokens.bytes;
            EXPECT_EQ(target.tokens.extraLength, 2);
            EXPECT_EQ(bytes[left - 1], 0x11);
            EXPECT_EQ(bytes[left], ptgParen);
            EXPECT_EQ(bytes[left + 1], 0x22);
            EXPECT_EQ(bytes[left + right], 0x22);
            EXPECT_EQ(bytes[left + right + 1], ptgParen);
            EXPECT_EQ(bytes[left + right + 2], ptgDiv);
            EXPECT_EQ(bytes[left + right + 3], 0x33);
            EXPECT_EQ(bytes[left + right + 4], 0x44);
        }
        FreeContent(target);
        FreeContent(source);
    }
}

// ---- where it goes -------------------------------------------------------------------------------------

class PasteTargetAreas : public Sandbox {
  protected:
    // The targets once a block of that size fits; else the box.
    static std::string Fit(u32 rows, u32 columns, const RefArea& selection) {
        Headless().boxes.Clear();
        Array<RefArea> targets;
        EXPECT_TRUE(ListTargets(*CurrentSheet(), selection, targets));
        if (!FitTargets(*CurrentSheet(), rows, columns, targets)) {
            EXPECT_EQ(Headless().boxes.Count(), 1u);
            return Narrow(Headless().boxes.Last().text);
        }
        EXPECT_EQ(Headless().boxes.Count(), 0u);
        std::string out;
        for (const RefArea& t : targets)
            out += std::to_string(t.firstRow) + "-" + std::to_string(t.lastRow) + ":" +
                   std::to_string(t.firstColumn) + "-" + std::to_string(t.lastColumn) + " ";
        return out;
    }
};

constexpr const char* NO_ROOM = "No room to paste data";
constexpr const char* SHAPE = "剪贴板数据与选定区域的大小形状不同";

TEST_F(PasteTargetAreas, ABlockFillsGrowsOrRefusesATarget) {
    const struct {
        u32 rows, columns;
        RefArea selection;
        const char* result;
    } table[] = {
        {1, 1, {2, 9, 3, 7}, "2-9:3-7 "},
        {2, 1, {0, 5, 0, 0}, "0-5:0-0 "},
        {2, 1, {0, 4, 0, 0}, SHAPE},
        {2, 1, {0, 0, 0, 4}, "0-1:0-4 "},
        {1, 3, {0, 4, 0, 5}, "0-4:0-5 "},
        {1, 3, {0, 4, 0, 4}, SHAPE},
        {1, 3, {0, 4, 0, 1}, SHAPE},
        {2, 3, {7, 7, 9, 9}, "7-8:9-11 "},
        // The last places where it fits, and one further.
        {1, 3, {0, 0, 253, 253}, "0-0:253-255 "},
        {1, 3, {0, 0, 254, 254}, NO_ROOM},
        {1, 2, {0, 0, 254, 254}, "0-0:254-255 "},
        {1, 2, {0, 0, 255, 255}, NO_ROOM},
        {1, 256, {0, 0, 0, 0}, "0-0:0-255 "},
        {3, 1, {65533, 65533, 0, 0}, "65533-65535:0-0 "},
        {3, 1, {65534, 65534, 0, 0}, NO_ROOM},
        {2, 1, {65534, 65534, 0, 0}, "65534-65535:0-0 "},
        {65536, 1, {0, 0, 0, 0}, "0-65535:0-0 "},
        // Columns are tried first.
        {2, 3, {0, 2, 255, 255}, NO_ROOM},
        {3, 2, {65535, 65535, 0, 2}, SHAPE},
    };
    for (const auto& row : table)
        EXPECT_EQ(Fit(row.rows, row.columns, row.selection), row.result) << &row - table;
}

TEST_F(PasteTargetAreas, TheGrownTargetIsGuarded) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({5, 5, 1, 2}));
    EXPECT_EQ(Fit(1, 2, {5, 5, 0, 0}), "不能对合并单元格作部分改动");
    EXPECT_EQ(Fit(1, 3, {5, 5, 0, 0}), "5-5:0-2 ");
    EXPECT_EQ(Fit(1, 1, {5, 5, 0, 0}), "5-5:0-0 ");
}

TEST_F(PasteTargetAreas, AFilterSplitsASelectionIntoWhatIsVisible) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(SetRowInfo(sheet.rows, {3, ROW_HIDDEN, 255}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {2, COLUMN_HIDDEN, 2000, 15}));
    EXPECT_EQ(Fit(1, 1, {1, 5, 1, 4}), "1-5:1-4 ");
    sheet.filterState = FILTER_ADVANCED;
    EXPECT_EQ(Fit(1, 1, {1, 5, 1, 4}), "1-2:1-1 1-2:3-4 4-5:1-1 4-5:3-4 ");
    EXPECT_EQ(Fit(1, 1, {3, 3, 1, 4}), "");
    EXPECT_EQ(Fit(1, 1, {1, 5, 2, 2}), "");
    // Every part must fit.
    EXPECT_EQ(Fit(2, 1, {1, 5, 1, 1}), "1-2:1-1 4-5:1-1 ");
    EXPECT_EQ(Fit(2, 1, {0, 5, 1, 1}), SHAPE);
}

TEST_F(PasteTargetAreas, TheUnionGoesAroundAllAndTheSelectionGrowsToIt) {
    const RefArea areas[] = {{5, 6, 5, 6}, {2, 5, 7, 8}, {6, 9, 3, 5}, {5, 5, 5, 5}};
    EXPECT_EQ(UnionOf(std::span(areas, 1)), (RefArea{5, 6, 5, 6}));
    EXPECT_EQ(UnionOf(std::span(areas, 2)), (RefArea{2, 6, 5, 8}));
    EXPECT_EQ(UnionOf(areas), (RefArea{2, 9, 3, 8}));
    Array<RefArea> targets;
    ASSERT_TRUE(targets.AppendMany(areas, 2));
    Sheet& sheet = *CurrentSheet();
    sheet.view.selection = {5, 5, 5, 5};
    GrowSelection(sheet, targets);
    EXPECT_EQ(sheet.view.selection, (RefArea{2, 6, 5, 8}));
    sheet.view.selection = {0, 9, 0, 9};
    GrowSelection(sheet, targets);
    EXPECT_EQ(sheet.view.selection, (RefArea{0, 9, 0, 9}));
}

TEST_F(PasteTargetAreas, APasteGrowsTheSelectionWhenAsked) {
    Enter("A1", "1");
    ASSERT_TRUE(CopyCells(CurrentBook(), 0, AreaOf("A1", "B2")));
    PasteRequest request;
    request.book = CurrentBook();
    request.area = CurrentSheet()->view.selection = AreaOf("D4", "D4");
    request.growSelection = false;
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(CurrentSheet()->view.selection, AreaOf("D4", "D4"));
    request.growSelection = true;
    ASSERT_TRUE(PasteBlock(request));
    EXPECT_EQ(CurrentSheet()->view.selection, AreaOf("D4", "E5"));
    // A sheet that is not there, one without cells, and no block.
    request.sheet = 1;
    EXPECT_FALSE(PasteBlock(request));
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    EXPECT_FALSE(PasteBlock(request));
    request.sheet = 0;
    EXPECT_TRUE(PasteBlock(request));
    DropClipboardBlock();
    EXPECT_FALSE(PasteBlock(request));
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

}  // namespace
}  // namespace tally
