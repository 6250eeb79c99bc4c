#include "editing/ApplyFormat.h"

#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class AppliedFormats : public Sandbox {
  protected:
    static u16 Changed(u16 index, const FormatRequest& request) {
        u16 changed = 0;
        EXPECT_TRUE(ApplyToFormat(*CurrentWorkbook(), index, request, 0, 0, {}, changed));
        return changed;
    }
    static CellFormat After(u16 index, const FormatRequest& request) {
        return ResolveCellFormat(*CurrentWorkbook(), Changed(index, request));
    }
    static u16 Add(const CellFormat& format) {
        u16 index = 0;
        EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        return index;
    }
    static u16 AddFont(bool on, u16 height, u16 colour) {
        u16 index = 0;
        EXPECT_TRUE(FindOrAddFont(*CurrentWorkbook(), u"Face", on, on, on, on, height, colour, index));
        return index;
    }
    static CellFormat FormatOf(std::string_view cell) {
        const RefArea area = AreaOf(cell, cell);
        return ResolveCellFormat(*CurrentWorkbook(),
                                 GetCellFormat(*CurrentSheet(), area.firstRow, area.firstColumn));
    }
};

TEST_F(AppliedFormats, EachFieldOfARequestChangesItsOwnFieldAlone) {
    CellFormat own;
    own.numberFormat = 9;
    own.horizontal = 3;
    own.vertical = 1;
    own.rotation = 45;
    own.flags = FORMAT_QUOTE_PREFIX;
    const u16 index = Add(own);
    struct Row {
        FormatField FormatRequest::*field;
        i32 value;
        void (*expect)(CellFormat&);
    };
    const Row rows[] = {
        {&FormatRequest::numberFormat, 14, [](CellFormat& f) { f.numberFormat = 14; }},
        {&FormatRequest::horizontal, 2, [](CellFormat& f) { f.horizontal = 2; }},
        {&FormatRequest::vertical, 0, [](CellFormat& f) { f.vertical = 0; }},
        {&FormatRequest::rotation, 90, [](CellFormat& f) { f.rotation = 90; }},
        {&FormatRequest::wrap, 1, [](CellFormat& f) { f.flags = FORMAT_QUOTE_PREFIX | FORMAT_WRAP; }},
        {&FormatRequest::locked, 1, [](CellFormat& f) { f.flags = FORMAT_QUOTE_PREFIX | FORMAT_LOCKED; }},
        {&FormatRequest::hidden, 1, [](CellFormat& f) { f.flags = FORMAT_QUOTE_PREFIX | FORMAT_HIDDEN; }},
        {&FormatRequest::wrap, 0, [](CellFormat&) {}},
        {&FormatRequest::locked, 0, [](CellFormat&) {}},
        {&FormatRequest::hidden, 0, [](CellFormat&) {}},
    };
    for (const Row& row : rows) {
        FormatRequest request;
        request.*row.field = {true, row.value};
        CellFormat expected = own;
        row.expect(expected);
        EXPECT_EQ(Changed(index, request), Add(expected)) << &row - rows;
        // A field that is not present has no say.
        (request.*row.field).present = false;
        EXPECT_EQ(Changed(index, request), index) << &row - rows;
    }
}

TEST_F(AppliedFormats, FlagsAreTakenAwayAgain) {
    CellFormat own;
    own.flags = FORMAT_LOCKED | FORMAT_HIDDEN | FORMAT_WRAP | FORMAT_QUOTE_PREFIX;
    FormatRequest request;
    request.wrap = request.locked = request.hidden = {true, 0};
    EXPECT_EQ(After(Add(own), request).flags, FORMAT_QUOTE_PREFIX);
}

TEST_F(AppliedFormats, EachFieldOfTheFontChangesAloneInBothDirections) {
    for (const bool on : {false, true}) {
        CellFormat own;
        own.font = AddFont(on, 240, 10);
        const u16 index = Add(own);
        for (FormatField FormatRequest::*field : {&FormatRequest::bold, &FormatRequest::italic,
                                                  &FormatRequest::underline, &FormatRequest::strikeout}) {
            FormatRequest request;
            request.*field = {true, on ? 0 : 1};
            const FontRecord font = ResolveFont(*CurrentWorkbook(), After(index, request).font);
            EXPECT_EQ(font.weight > 400, (field == &FormatRequest::bold) != on);
            EXPECT_EQ((font.attributes & FONT_ITALIC) != 0, (field == &FormatRequest::italic) != on);
            EXPECT_EQ(font.underline != 0, (field == &FormatRequest::underline) != on);
            EXPECT_EQ((font.attributes & FONT_STRIKEOUT) != 0, (field == &FormatRequest::strikeout) != on);
            EXPECT_EQ(font.height, 240);
            EXPECT_EQ(font.colour, 10);
            EXPECT_EQ(WideView(font.faceName), u"Face");
        }
        FormatRequest request;
        request.fontSize = {true, 360};
        FontRecord font = ResolveFont(*CurrentWorkbook(), After(index, request).font);
        EXPECT_EQ(font.height, 360);
        EXPECT_EQ(font.colour, 10);
        EXPECT_EQ(font.weight > 400, on);
        EXPECT_EQ(font.underline != 0, on);
        request = FormatRequest();
        request.fontColour = {true, 12};
        font = ResolveFont(*CurrentWorkbook(), After(index, request).font);
        EXPECT_EQ(font.height, 240);
        EXPECT_EQ(font.colour, 12);
        EXPECT_EQ((font.attributes & FONT_ITALIC) != 0, on);
        EXPECT_EQ((font.attributes & FONT_STRIKEOUT) != 0, on);
    }
}

TEST_F(AppliedFormats, ARequestWithoutAFontFieldKeepsTheFontThatIsNoOrdinaryOne) {
    FontRecord odd;
    odd.weight = 550;
    odd.underline = 33;
    odd.escapement = 1;
    ASSERT_TRUE(CurrentWorkbook()->fonts.Append(odd));
    CellFormat own;
    own.font = static_cast<u16>(CurrentWorkbook()->fonts.Count() - 1);
    const u32 fonts = CurrentWorkbook()->fonts.Count();
    FormatRequest request;
    request.horizontal = {true, 1};
    EXPECT_EQ(After(Add(own), request).font, own.font);
    EXPECT_EQ(CurrentWorkbook()->fonts.Count(), fonts);
}

TEST_F(AppliedFormats, CellsOfAnAreaTakeTheLookEachFromItsOwn) {
    CellFormat wrapped;
    wrapped.flags |= FORMAT_WRAP;
    CellFormat turned;
    turned.rotation = 45;
    Enter("B2", "5");
    CellAtName("B2")->format = Add(wrapped);
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {2, 0, 3000, Add(turned)}));
    FormatRequest request;
    request.horizontal = {true, 3};
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), AreaOf("B2", "C3"), request));
    for (const char* cell : {"B2", "B3", "C2", "C3"}) {
        ASSERT_NE(CellAtName(cell), nullptr) << cell;
        EXPECT_EQ(FormatOf(cell).horizontal, 3) << cell;
    }
    EXPECT_EQ(FormatOf("B2").flags, FORMAT_LOCKED | FORMAT_WRAP);
    EXPECT_EQ(FormatOf("B3").flags, FORMAT_LOCKED);
    EXPECT_EQ(FormatOf("B2").rotation, 0);
    EXPECT_EQ(FormatOf("C2").rotation, 45);
    EXPECT_EQ(FormatOf("C3").rotation, 45);
    EXPECT_EQ(Shown("B2"), "5");
    for (const char* cell : {"A2", "B1", "B4", "C1", "C4", "D2"}) EXPECT_EQ(CellAtName(cell), nullptr) << cell;
    EXPECT_EQ(CurrentSheet()->cells.count, 4u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
}

TEST_F(AppliedFormats, WholeColumnsTakeTheLookAndMakeNoCells) {
    CellFormat turned;
    turned.rotation = 45;
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {2, COLUMN_HIDDEN, 3000, Add(turned)}));
    for (const char* cell : {"A9", "B9", "C9", "D9"}) Enter(cell, "5");
    CellAtName("B9")->format = DEFAULT_CELL_FORMAT;
    FormatRequest request;
    request.horizontal = {true, 3};
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), {0, 65535, 1, 2}, request));
    EXPECT_EQ(CurrentSheet()->cells.count, 4u);
    for (const char* cell : {"B1", "B9", "B65536", "C1", "C9"}) EXPECT_EQ(FormatOf(cell).horizontal, 3) << cell;
    for (const char* cell : {"A1", "A9", "D1", "D9"}) EXPECT_EQ(FormatOf(cell).horizontal, 0) << cell;
    EXPECT_EQ(FormatOf("C1").rotation, 45);
    EXPECT_EQ(FormatOf("B1").rotation, 0);
    u16 flags = 0, format = 0;
    EXPECT_EQ(GetColumnInfo(CurrentSheet()->columns, 2, flags, format), 3000);
    EXPECT_EQ(flags, COLUMN_HIDDEN);
    // One row less is no whole column.
    request.horizontal.value = 1;
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), {1, 65535, 5, 5}, request));
    EXPECT_EQ(CurrentSheet()->cells.count, 4u + 65535u);
    EXPECT_EQ(FormatOf("F1").horizontal, 0);
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), {0, 65534, 6, 6}, request));
    EXPECT_EQ(FormatOf("G65536").horizontal, 0);
}

// CELL tells of a format, and whether a cell is protected.
TEST_F(AppliedFormats, FormulasThatTellOfAFormatSeeTheNewOne) {
    Enter("A1", "5");
    Enter("B1", "=CELL(\"protect\",A1)");
    Enter("C1", "=CELL(\"format\",A1)");
    EXPECT_EQ(Shown("B1"), "1");
    const std::string general = Shown("C1");
    FormatRequest request;
    request.locked = {true, 0};
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), AreaOf("A1", "A1"), request));
    EXPECT_EQ(Shown("B1"), "0");
    request = FormatRequest();
    request.numberFormat = {true, 10};
    ASSERT_TRUE(ApplyFormat(*CurrentSheet(), AreaOf("A1", "A1"), request));
    EXPECT_NE(Shown("C1"), general);
}

}  // namespace
}  // namespace tally
