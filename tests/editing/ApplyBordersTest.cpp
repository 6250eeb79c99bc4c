// Borders, fills and merges of a request, and what they do to the cells around.

#include "editing/ApplyFormat.h"
#include "editing/Undo.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

struct Line {
    u8 style, colour;
    bool operator==(const Line&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Line& line) {
    return out << +line.style << "/" << +line.colour;
}

class AppliedBorders : public Sandbox {
  protected:
    static constexpr Line NONE = {0, 64}, CLEARED = {0, 0};

    static constexpr u32 LOOKS_AND_CONTENTS =
        DUMP_VALUES | DUMP_FORMULAS | DUMP_LOOKS | DUMP_SIZES | DUMP_MERGES | DUMP_LINKS;

    void SetUp() override {
        Sandbox::SetUp();
        sheet = CurrentSheet();
        ConnectUndo();
    }
    static u16 Add(const CellFormat& format) {
        u16 index = 0;
        EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        return index;
    }
    static CellFormat FormatOf(std::string_view cell) {
        const RefArea area = AreaOf(cell, cell);
        return ResolveCellFormat(*CurrentWorkbook(),
                                 GetCellFormat(*CurrentSheet(), area.firstRow, area.firstColumn));
    }
    static Line Top(std::string_view cell) { return {FormatOf(cell).topStyle, FormatOf(cell).topColour}; }
    static Line Left(std::string_view cell) { return {FormatOf(cell).leftStyle, FormatOf(cell).leftColour}; }
    static Line Bottom(std::string_view cell) {
        return {FormatOf(cell).bottomStyle, FormatOf(cell).bottomColour};
    }
    static Line Right(std::string_view cell) { return {FormatOf(cell).rightStyle, FormatOf(cell).rightColour}; }
    static CellFormat AllBorders(u8 style, u8 colour) {
        CellFormat format;
        format.topStyle = format.leftStyle = format.bottomStyle = format.rightStyle = style;
        format.topColour = format.leftColour = format.bottomColour = format.rightColour = colour;
        return format;
    }
    static void Give(std::string_view cell, const CellFormat& format) {
        const RefArea area = AreaOf(cell, cell);
        CellRecord* record = PutCell(CurrentSheet()->cells, area.firstRow, area.firstColumn);
        ASSERT_NE(record, nullptr);
        record->format = Add(format);
    }
    Sheet* sheet = nullptr;
};

TEST_F(AppliedBorders, EachCellTakesTheLinesOfItsPlaceInTheArea) {
    FormatRequest request;
    request.topEdge = {true, 1, 11};
    request.leftEdge = {true, 2, 12};
    request.bottomEdge = {true, 3, 13};
    request.rightEdge = {true, 4, 14};
    request.innerHorizontal = {true, 5, 15};
    request.innerVertical = {true, 6, 16};
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("B2", "D4"), request));
    const Line top = {1, 11}, left = {2, 12}, bottom = {3, 13}, right = {4, 14}, flat = {5, 15},
               upright = {6, 16};
    const struct {
        const char* cell;
        Line top, left, bottom, right;
    } rows[] = {
        {"B2", top, left, flat, upright},     {"C2", top, upright, flat, upright},
        {"D2", top, upright, flat, right},    {"B3", flat, left, flat, upright},
        {"C3", flat, upright, flat, upright}, {"D3", flat, upright, flat, right},
        {"B4", flat, left, bottom, upright},  {"C4", flat, upright, bottom, upright},
        {"D4", flat, upright, bottom, right},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Top(row.cell), row.top) << row.cell;
        EXPECT_EQ(Left(row.cell), row.left) << row.cell;
        EXPECT_EQ(Bottom(row.cell), row.bottom) << row.cell;
        EXPECT_EQ(Right(row.cell), row.right) << row.cell;
    }
    // The cells just outside are there, blank, and show no line; those at the corners are not.
    for (const char* cell : {"B1", "D1", "A2", "A4", "E3", "C5"}) {
        ASSERT_NE(CellAtName(cell), nullptr) << cell;
        EXPECT_EQ(CellAtName(cell)->calcState, CALC_BLANK) << cell;
        EXPECT_EQ(CellAtName(cell)->format, DEFAULT_CELL_FORMAT) << cell;
    }
    for (const char* cell : {"A1", "E1", "A5", "E5"}) EXPECT_EQ(CellAtName(cell), nullptr) << cell;
    EXPECT_EQ(sheet->cells.count, 21u);
}

TEST_F(AppliedBorders, OneCellAndOneLineTakeOnlyTheEdges) {
    FormatRequest request;
    request.innerHorizontal = {true, 5, 15};
    request.innerVertical = {true, 6, 16};
    request.rightEdge = {true, 4, 14};
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("A1", "A1"), request));
    EXPECT_EQ(Top("A1"), NONE);
    EXPECT_EQ(Left("A1"), NONE);
    EXPECT_EQ(Bottom("A1"), NONE);
    EXPECT_EQ(Right("A1"), (Line{4, 14}));
    EXPECT_EQ(sheet->cells.count, 2u);
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("A9", "B9"), request));
    EXPECT_EQ(Bottom("A9"), NONE);
    EXPECT_EQ(Right("A9"), (Line{6, 16}));
    EXPECT_EQ(Left("B9"), (Line{6, 16}));
}

TEST_F(AppliedBorders, ANeighbourKeepsNoOtherLineOnTheSameEdge) {
    const struct {
        EdgeField FormatRequest::*edge;
        const char* neighbour;
        Line (*facing)(std::string_view);
        std::initializer_list<Line (*)(std::string_view)> others;
    } rows[] = {
        {&FormatRequest::topEdge, "C2", Bottom, {Top, Left, Right}},
        {&FormatRequest::leftEdge, "B3", Right, {Top, Left, Bottom}},
        {&FormatRequest::bottomEdge, "C4", Top, {Bottom, Left, Right}},
        {&FormatRequest::rightEdge, "D3", Left, {Top, Bottom, Right}},
    };
    for (const auto& row : rows) {
        for (const char* cell : {"C2", "B3", "C4", "D3"}) Give(cell, AllBorders(1, 8));
        FormatRequest request;
        request.*row.edge = {true, 5, 8};
        ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("C3", "C3"), request));
        EXPECT_EQ(row.facing(row.neighbour), CLEARED) << row.neighbour;
        for (const auto& other : row.others) EXPECT_EQ(other(row.neighbour), (Line{1, 8})) << row.neighbour;
        for (const char* cell : {"C2", "B3", "C4", "D3"})
            if (std::string_view(cell) != row.neighbour)
                EXPECT_EQ(FormatOf(cell).topStyle + FormatOf(cell).leftStyle + FormatOf(cell).bottomStyle +
                              FormatOf(cell).rightStyle,
                          4)
                    << cell;
        // The same line stays, and another colour is another line.
        Give(row.neighbour, AllBorders(5, 8));
        ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("C3", "C3"), request));
        EXPECT_EQ(row.facing(row.neighbour), (Line{5, 8})) << row.neighbour;
        Give(row.neighbour, AllBorders(5, 9));
        ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("C3", "C3"), request));
        EXPECT_EQ(row.facing(row.neighbour), CLEARED) << row.neighbour;
        // Where there is no line nothing changes.
        Give(row.neighbour, CellFormat());
        ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("C3", "C3"), request));
        EXPECT_EQ(CellAtName(row.neighbour)->format, DEFAULT_CELL_FORMAT) << row.neighbour;
    }
}

TEST_F(AppliedBorders, AMissingNeighbourIsMadeWithItsColumnsLookWithoutTheLine) {
    CellFormat format = AllBorders(1, 8);
    format.horizontal = 3;
    ASSERT_TRUE(SetColumnInfo(sheet->columns, {3, 0, 3000, Add(format)}));
    FormatRequest request;
    request.rightEdge = {true, 5, 8};
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("C3", "C3"), request));
    ASSERT_NE(CellAtName("D3"), nullptr);
    EXPECT_EQ(FormatOf("D3").horizontal, 3);
    EXPECT_EQ(Left("D3"), CLEARED);
    EXPECT_EQ(Right("D3"), (Line{1, 8}));
    EXPECT_EQ(Left("D4"), (Line{1, 8}));
}

TEST_F(AppliedBorders, ACellOfAMergedAreaLooksOnlyAcrossTheAreasEdge) {
    ASSERT_TRUE(sheet->mergedAreas.Append(AreaOf("B2", "C4")));
    for (const char* cell : {"A3", "B2", "B4", "C3", "D3"}) Give(cell, AllBorders(1, 8));
    FormatRequest request;
    request.topEdge = request.bottomEdge = request.leftEdge = request.rightEdge = {true, 5, 8};
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("B3", "B3"), request));
    EXPECT_EQ(Bottom("B2"), (Line{1, 8}));
    EXPECT_EQ(Top("B4"), (Line{1, 8}));
    EXPECT_EQ(Left("C3"), (Line{1, 8}));
    EXPECT_EQ(Right("A3"), CLEARED);
    EXPECT_EQ(Left("D3"), (Line{1, 8}));
}

TEST_F(AppliedBorders, AtTheEndsOfTheSheetThereAreNoNeighbours) {
    FormatRequest request;
    request.topEdge = request.bottomEdge = request.leftEdge = request.rightEdge = {true, 5, 8};
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("A1", "A1"), request));
    EXPECT_EQ(sheet->cells.count, 3u);
    ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("IV65536", "IV65536"), request));
    EXPECT_EQ(sheet->cells.count, 6u);
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("IV1", "IV1"), request));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet->cells.count, 6u);
}

TEST_F(AppliedBorders, WholeColumnsClearTheLinesOfTheColumnsBeside) {
    for (const i32 column : {1, 4}) {
        const u16 format = Add(AllBorders(1, 8));
        ASSERT_TRUE(SetColumnInfo(sheet->columns, {static_cast<u8>(column), 0, 3000, format}));
    }
    for (const char* cell : {"B7", "C7", "D7", "E7", "B9"}) Give(cell, AllBorders(1, 8));
    FormatRequest request;
    request.leftEdge = request.rightEdge = {true, 5, 8};
    request.innerVertical = {true, 6, 8};
    request.innerHorizontal = {true, 3, 9};
    request.topEdge = {true, 2, 9};
    ASSERT_TRUE(ApplyFormat(*sheet, {0, MAX_ROWS - 1, 2, 3}, request));
    EXPECT_EQ(sheet->cells.count, 5u);
    EXPECT_EQ(Right("B100"), CLEARED);
    EXPECT_EQ(Left("B100"), (Line{1, 8}));
    EXPECT_EQ(Left("E100"), CLEARED);
    EXPECT_EQ(Right("E100"), (Line{1, 8}));
    EXPECT_EQ(Right("B7"), CLEARED);
    EXPECT_EQ(Left("E7"), CLEARED);
    EXPECT_EQ(Right("B9"), (Line{1, 8}));  // nothing stands beside it
    for (const char* cell : {"C7", "C100"}) {
        EXPECT_EQ(Left(cell), (Line{5, 8})) << cell;
        EXPECT_EQ(Right(cell), (Line{6, 8})) << cell;
        EXPECT_EQ(Top(cell), (Line{3, 9})) << cell;
        EXPECT_EQ(Bottom(cell), (Line{3, 9})) << cell;
    }
    EXPECT_EQ(Left("D100"), (Line{6, 8}));
    EXPECT_EQ(Right("D100"), (Line{5, 8}));
}

TEST_F(AppliedBorders, UndoBringsTheNeighboursBack) {
    for (const char* cell : {"C2", "B3", "C4", "D3"}) Give(cell, AllBorders(1, 8));
    Enter("C3", "5");
    const auto before = DumpBook(0, LOOKS_AND_CONTENTS);
    FormatRequest request;
    request.topEdge = request.bottomEdge = request.leftEdge = request.rightEdge = {true, 5, 8};
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("C3", "C3"), request));
    EXPECT_EQ(Bottom("C2"), CLEARED);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpDifference(before, DumpBook(0, LOOKS_AND_CONTENTS)), "");
    EXPECT_EQ(Bottom("C2"), (Line{1, 8}));
    ASSERT_TRUE(SetColumnInfo(sheet->columns, {1, 0, 3000, Add(AllBorders(1, 8))}));
    ASSERT_TRUE(FormatArea(0, 0, {0, MAX_ROWS - 1, 2, 2}, request));
    EXPECT_EQ(Right("B100"), CLEARED);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Right("B100"), (Line{1, 8}));
    EXPECT_EQ(Left("C100"), NONE);
}

// ---- fills -----------------------------------------------------------------------------------------------

TEST_F(AppliedBorders, AFillFollowsTheOrderOfItsColours) {
    const FormatField no = {};
    const auto is = [](i32 value) { return FormatField{true, value}; };
    struct Fill {
        i32 pattern, patternColour, backColour;
    };
    const Fill none = {0, 64, 65}, solid = {1, 64, 10}, striped = {5, 11, 12};
    const struct {
        Fill old;
        FormatField pattern, patternColour, backColour;
        bool dialogOrder;
        Fill expected;
    } rows[] = {
        // In the dialog's order the colour of the pattern is what a solid fill shows.
        {none, is(1), is(10), no, true, {1, 64, 10}},
        {none, is(1), is(10), is(11), true, {1, 11, 10}},
        {solid, no, is(13), no, true, {1, 64, 13}},
        {solid, no, no, is(13), true, {1, 13, 10}},
        {solid, is(5), no, no, true, {5, 10, 65}},
        {striped, is(1), no, no, true, {1, 12, 11}},
        {striped, no, is(65), is(64), true, {5, 64, 65}},
        {striped, is(0), no, no, true, {0, 11, 12}},
        // A colour alone makes a cell solid, and takes a solid one over.
        {none, no, no, is(10), false, {1, 64, 10}},
        {solid, no, no, is(11), false, {1, 64, 11}},
        {solid, no, is(11), no, false, {1, 64, 10}},
        {solid, is(0), no, no, false, {0, 64, 65}},
        {none, is(0), no, is(11), false, {0, 64, 65}},
        {none, no, is(11), no, false, {0, 64, 65}},
        {striped, is(1), no, no, false, {1, 64, 12}},
        {striped, no, is(65), is(64), false, {5, 64, 65}},
        {striped, is(6), is(13), is(14), false, {6, 13, 14}},
        // Without a field of the fill nothing is put right either.
        {{5, 65, 64}, no, no, no, true, {5, 65, 64}},
    };
    for (const auto& row : rows) {
        CellFormat own;
        own.pattern = static_cast<u8>(row.old.pattern);
        own.patternColour = static_cast<u8>(row.old.patternColour);
        own.backColour = static_cast<u8>(row.old.backColour);
        FormatRequest request;
        request.pattern = row.pattern;
        request.patternColour = row.patternColour;
        request.backColour = row.backColour;
        request.dialogOrder = row.dialogOrder;
        u16 index = 0;
        ASSERT_TRUE(ApplyToFormat(*CurrentWorkbook(), Add(own), request, 0, 0, {}, index));
        const CellFormat& now = ResolveCellFormat(*CurrentWorkbook(), index);
        EXPECT_EQ(now.pattern, row.expected.pattern) << &row - rows;
        EXPECT_EQ(now.patternColour, row.expected.patternColour) << &row - rows;
        EXPECT_EQ(now.backColour, row.expected.backColour) << &row - rows;
    }
}

TEST_F(AppliedBorders, AFontTakesItsNameAloneAndFormatsAreFoundAgain) {
    FormatRequest request;
    request.fontName.present = true;
    std::copy_n(u"Courier", 8, request.fontName.value);
    u16 first = 0, second = 0;
    ASSERT_TRUE(ApplyToFormat(*CurrentWorkbook(), 15, request, 0, 0, {}, first));
    const FontRecord font = ResolveFont(*CurrentWorkbook(), ResolveCellFormat(*CurrentWorkbook(), first).font);
    EXPECT_EQ(WideView(font.faceName), WideView(u"Courier"));
    EXPECT_EQ(font.height, ResolveFont(*CurrentWorkbook(), 0).height);
    ASSERT_TRUE(ApplyToFormat(*CurrentWorkbook(), 15, request, 0, 0, {}, second));
    EXPECT_EQ(first, second);
}

// ---- merges ----------------------------------------------------------------------------------------------

FormatRequest Merge(i32 value) {
    FormatRequest request;
    request.merge = {true, value};
    return request;
}

TEST_F(AppliedBorders, MergingKeepsTheFirstContentInTheFirstCell) {
    Enter("C2", "=D9+1");
    Enter("B3", "text");
    Enter("D9", "4");
    CellFormat right;
    right.horizontal = 3;
    Give("C3", right);
    Enter("E1", "=SUM(B2:C3)");
    const auto before = DumpBook(0, LOOKS_AND_CONTENTS);
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("B2", "C3"), Merge(1)));
    ASSERT_EQ(sheet->mergedAreas.Count(), 1u);
    EXPECT_EQ(sheet->mergedAreas[0], AreaOf("B2", "C3"));
    EXPECT_EQ(FormulaOf("B2"), "=D9+1");
    EXPECT_EQ(Shown("B2"), "5");
    EXPECT_EQ(Shown("C2"), "");
    EXPECT_EQ(Shown("B3"), "");
    EXPECT_EQ(FormatOf("C3").horizontal, 3);
    EXPECT_EQ(Shown("E1"), "5");
    Enter("D9", "6");
    EXPECT_EQ(Shown("E1"), "7");
    Enter("D9", "4");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(FormulaOf("C2"), "=D9+1");
    EXPECT_EQ(Shown("B3"), "text");
    EXPECT_TRUE(sheet->mergedAreas.IsEmpty());
    EXPECT_EQ(Shown("E1"), "5");
    EXPECT_EQ(DumpDifference(before, DumpBook(0, LOOKS_AND_CONTENTS)), "");
}

TEST_F(AppliedBorders, MergingTakesArraysLinksAndSmallerMergesWithItAndUndoBringsThemBack) {
    EnterArray("B2", "C2", "=ROW(A1:A2)");
    ASSERT_TRUE(sheet->mergedAreas.Append(AreaOf("B4", "C5")));
    ASSERT_TRUE(sheet->mergedAreas.Append(AreaOf("G1", "G2")));
    Hyperlink link;
    link.area = AreaOf("C3", "C3");
    ASSERT_TRUE(link.target.Assign(u"a.xls") && sheet->hyperlinks.Append(std::move(link)));
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("B1", "C6"), Merge(1)));
    ASSERT_EQ(sheet->mergedAreas.Count(), 2u);
    EXPECT_EQ(sheet->mergedAreas[0], AreaOf("G1", "G2"));
    EXPECT_EQ(sheet->mergedAreas[1], AreaOf("B1", "C6"));
    EXPECT_TRUE(sheet->arrayFormulas.IsEmpty());
    EXPECT_TRUE(sheet->hyperlinks.IsEmpty());
    EXPECT_EQ(Shown("B1"), "1");
    EXPECT_EQ(Shown("C2"), "");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet->arrayFormulas.Count(), 1u);
    EXPECT_EQ(sheet->hyperlinks.Count(), 1u);
    ASSERT_EQ(sheet->mergedAreas.Count(), 2u);
    EXPECT_EQ(sheet->mergedAreas[0], AreaOf("B4", "C5"));
    EXPECT_EQ(Shown("C2"), "1");
    EXPECT_EQ(Shown("B1"), "");
}

TEST_F(AppliedBorders, OneCellAndAMergedAreaAreNotMergedAgainAndSplittingLosesNothing) {
    Enter("B2", "1");
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("B2", "B2"), Merge(1)));
    EXPECT_TRUE(sheet->mergedAreas.IsEmpty());
    ASSERT_TRUE(sheet->mergedAreas.Append(AreaOf("B2", "C2")));
    Enter("C2", "2");  // as a file may have it
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("B2", "C2"), Merge(1)));
    EXPECT_EQ(sheet->mergedAreas.Count(), 1u);
    EXPECT_EQ(Shown("C2"), "2");
    ASSERT_TRUE(sheet->mergedAreas.Append(AreaOf("E5", "F5")));
    ASSERT_TRUE(FormatArea(0, 0, AreaOf("A1", "D4"), Merge(0)));
    ASSERT_EQ(sheet->mergedAreas.Count(), 1u);
    EXPECT_EQ(sheet->mergedAreas[0], AreaOf("E5", "F5"));
    EXPECT_EQ(Shown("C2"), "2");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet->mergedAreas.Count(), 2u);
}

TEST_F(AppliedBorders, AMergeThatCutsAnArrayOrAMergedAreaIsRefused) {
    EnterArray("B2", "C2", "=ROW(A1:A2)");
    ASSERT_TRUE(sheet->mergedAreas.Append(AreaOf("B5", "C5")));
    const auto before = DumpBook(0, LOOKS_AND_CONTENTS);
    EXPECT_FALSE(FormatArea(0, 0, AreaOf("A1", "B3"), Merge(1)));
    EXPECT_FALSE(FormatArea(0, 0, AreaOf("C4", "D5"), Merge(1)));
    EXPECT_FALSE(FormatArea(0, 0, AreaOf("C4", "D5"), Merge(0)));
    EXPECT_EQ(Headless().boxes.Count(), 3u);
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_EQ(DumpDifference(before, DumpBook(0, LOOKS_AND_CONTENTS)), "");
    // A look that merges nothing may cut both.
    FormatRequest look;
    look.horizontal = {true, 2};
    EXPECT_TRUE(FormatArea(0, 0, AreaOf("A1", "B5"), look));
    EXPECT_EQ(Headless().boxes.Count(), 3u);
}

TEST_F(AppliedBorders, RowsAreFittedForWhatChangesTheHeightOfAFont) {
    static u32 wanted;
    const struct {
        void (*ask)(FormatRequest&);
        bool fits;
    } rows[] = {
        {[](FormatRequest& r) {
             r.bold = {true, 1};
         },
         true},
        {[](FormatRequest& r) {
             r.italic = {true, 1};
         },
         true},
        {[](FormatRequest& r) {
             r.fontSize = {true, 400};
         },
         true},
        {[](FormatRequest& r) { r.fontName.present = true; }, true},
        {[](FormatRequest& r) {
             r.underline = {true, 1};
         },
         false},
        {[](FormatRequest& r) {
             r.fontColour = {true, 10};
         },
         false},
        {[](FormatRequest& r) {
             r.numberFormat = {true, 2};
         },
         false},
    };
    const RecalculationCalls kept = RecalculationView();
    RecalculationView().rowHeightWanted = [](i32, i32, i32) { ++wanted; };
    for (const auto& row : rows) {
        wanted = 0;
        FormatRequest request;
        row.ask(request);
        ASSERT_TRUE(ApplyFormat(*sheet, AreaOf("B2", "C4"), request));
        EXPECT_EQ(wanted, row.fits ? 3u : 0u) << &row - rows;
    }
    RecalculationView() = kept;
}

}  // namespace
}  // namespace tally
