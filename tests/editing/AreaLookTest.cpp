#include "editing/AreaLook.h"

#include "model/CellStore.h"
#include "model/Formats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class LooksOfAreas : public Sandbox {
  protected:
    static void Give(std::string_view cell, const CellFormat& format) {
        const RefArea area = AreaOf(cell, cell);
        CellRecord* record = PutCell(CurrentSheet()->cells, area.firstRow, area.firstColumn);
        ASSERT_NE(record, nullptr);
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, record->format));
    }
    static FormatRequest Look(std::string_view first, std::string_view last) {
        return LookOfArea(*CurrentSheet(), AreaOf(first, last));
    }
};

bool Is(const FormatField& field, i32 value) { return field.present && field.value == value; }
bool Is(const EdgeField& field, u8 style, u8 colour) {
    return field.present && field.style == style && field.colour == colour;
}

TEST_F(LooksOfAreas, ACellTellsAllThatItHas) {
    CellFormat format;
    format.numberFormat = 9;
    format.horizontal = 3;
    format.vertical = 1;
    format.flags = FORMAT_HIDDEN | FORMAT_WRAP;
    format.rotation = 45;
    format.pattern = 1;
    format.patternColour = 64;
    format.backColour = 10;
    format.leftStyle = 5;
    format.leftColour = 11;
    ASSERT_TRUE(FindOrAddFont(*CurrentWorkbook(), u"Face", true, false, true, false, 240, 12, format.font));
    Give("B2", format);
    const FormatRequest look = Look("B2", "B2");
    EXPECT_TRUE(Is(look.numberFormat, 9) && Is(look.horizontal, 3) && Is(look.vertical, 1));
    EXPECT_TRUE(Is(look.wrap, 1) && Is(look.locked, 0) && Is(look.hidden, 1) && Is(look.rotation, 45));
    EXPECT_TRUE(Is(look.bold, 1) && Is(look.italic, 0) && Is(look.underline, 1) && Is(look.strikeout, 0));
    EXPECT_TRUE(Is(look.fontSize, 240) && Is(look.fontColour, 12) && look.fontName.present);
    EXPECT_EQ(WideView(look.fontName.value), WideView(u"Face"));
    EXPECT_TRUE(Is(look.pattern, 1) && Is(look.patternColour, 10) && Is(look.backColour, 64));
    EXPECT_TRUE(Is(look.leftEdge, 5, 11) && Is(look.topEdge, 0, 0) && Is(look.merge, 0));
    EXPECT_FALSE(look.innerHorizontal.present || look.innerVertical.present);
    // Applied to the cell it changes nothing.
    u16 index = 0;
    ASSERT_TRUE(
        ApplyToFormat(*CurrentWorkbook(), CellAtName("B2")->format, look, 1, 1, AreaOf("B2", "B2"), index));
    const CellFormat& again = ResolveCellFormat(*CurrentWorkbook(), index);
    EXPECT_EQ(again.backColour, 10);
    EXPECT_EQ(again.patternColour, 64);
    EXPECT_EQ(again.font, format.font);
}

TEST_F(LooksOfAreas, OneCellThatDiffersTakesAFieldAwayWhereverItStands) {
    CellFormat format;
    format.horizontal = 3;
    for (const char* cell : {"B2", "C3", "D4", "B4", "D2"}) {
        Give(cell, format);
        EXPECT_FALSE(Look("B2", "D4").horizontal.present) << cell;
        EXPECT_TRUE(Is(Look("B2", "D4").vertical, 2)) << cell;
        EXPECT_TRUE(Is(Look(cell, cell).horizontal, 3)) << cell;
        FreeStore(CurrentSheet()->cells);
    }
    // Three values, of which the last is the first again.
    Give("B2", format);
    Give("D2", format);
    EXPECT_FALSE(Look("B2", "D2").horizontal.present);
    Give("C2", format);
    EXPECT_TRUE(Is(Look("B2", "D2").horizontal, 3));
}

TEST_F(LooksOfAreas, CellsThatAreNotThereLookAsTheirColumns) {
    CellFormat format;
    format.horizontal = 3;
    u16 index = 0;
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, 0, 3000, index}));
    EXPECT_TRUE(Is(Look("B1", "B9").horizontal, 3));
    EXPECT_TRUE(Is(LookOfArea(*CurrentSheet(), {0, MAX_ROWS - 1, 1, 1}).horizontal, 3));
    EXPECT_FALSE(Look("B1", "C1").horizontal.present);
    // Where every cell is there the column has no say.
    for (const char* cell : {"B1", "B2", "B3"}) Give(cell, CellFormat());
    EXPECT_TRUE(Is(Look("B1", "B3").horizontal, 0));
    EXPECT_TRUE(Is(Look("B1", "B2").horizontal, 0));
    EXPECT_TRUE(Is(Look("B1", "B1").horizontal, 0));
    EXPECT_FALSE(Look("B1", "B4").horizontal.present);
    EXPECT_FALSE(Look("B3", "B4").horizontal.present);
}

TEST_F(LooksOfAreas, LinesAreToldApartByTheirPlace) {
    FormatRequest request;
    request.topEdge = {true, 1, 11};
    request.leftEdge = {true, 2, 12};
    request.bottomEdge = {true, 3, 13};
    request.rightEdge = {true, 4, 14};
    request.innerHorizontal = {true, 5, 15};
    request.innerVertical = {true, 6, 16};
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), AreaOf("B2", "D4"), request));
    const FormatRequest look = Look("B2", "D4");
    EXPECT_TRUE(Is(look.topEdge, 1, 11) && Is(look.leftEdge, 2, 12) && Is(look.bottomEdge, 3, 13));
    EXPECT_TRUE(Is(look.rightEdge, 4, 14) && Is(look.innerHorizontal, 5, 15) && Is(look.innerVertical, 6, 16));
    EXPECT_FALSE(Look("B2", "E4").rightEdge.present && Look("B2", "E4").rightEdge.style);
    EXPECT_FALSE(Look("B2", "E4").innerVertical.present);
    EXPECT_TRUE(Is(Look("C3", "C3").topEdge, 5, 15));
}

TEST_F(LooksOfAreas, AMergeCountsWhenItIsTheWholeArea) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B2", "C3")));
    EXPECT_TRUE(Is(Look("B2", "C3").merge, 1));
    EXPECT_TRUE(Is(Look("E5", "E6").merge, 0));
    EXPECT_FALSE(Look("A1", "D4").merge.present);
}

TEST_F(LooksOfAreas, FieldsReplaceThoseOfALook) {
    FormatRequest look, request;
    EXPECT_FALSE(AnyField(request));
    look.bold = {true, 1};
    look.topEdge = {true, 1, 8};
    request.italic = {true, 1};
    EXPECT_TRUE(AnyField(request));
    TakeFields(look, request);
    EXPECT_TRUE(Is(look.bold, 1) && Is(look.italic, 1) && Is(look.topEdge, 1, 8));
    request = FormatRequest();
    request.topEdge = {true, 0, 0};
    EXPECT_TRUE(AnyField(request));
    TakeFields(look, request);
    EXPECT_TRUE(Is(look.topEdge, 0, 0));
    request = FormatRequest();
    request.fontName.present = true;
    EXPECT_TRUE(AnyField(request));
}

}  // namespace
}  // namespace tally
