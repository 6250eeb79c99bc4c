#include "editing/PasteFormats.h"

#include "model/Formats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// Book 0 is where formats come from, book 1 where they go.
class FormatsBetweenBooks : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
    }
    static Workbook& Source() { return *BookAt(0); }
    static Workbook& Target() { return *BookAt(1); }
    static u16 Add(Workbook& book, const CellFormat& format) {
        u16 index = 0;
        EXPECT_TRUE(FindOrAddCellFormat(book, format, index));
        return index;
    }
    static u16 Pasted(PasteFormats& formats, u16 source, u16 kept = DEFAULT_CELL_FORMAT) {
        u16 result = 0xFFFF;
        EXPECT_TRUE(PastedFormat(formats, source, kept, result));
        return result;
    }
    static u16 Pasted(u16 source) {
        PasteFormats formats;
        formats.targetBook = 1;
        return Pasted(formats, source);
    }
    static u16 AddFont(const FontRecord& font) {
        EXPECT_TRUE(Source().fonts.Append(font));
        CellFormat format;
        format.font = static_cast<u16>(Source().fonts.Count() - 1);
        return Add(Source(), format);
    }
    static const FontRecord& PastedFont(u16 source) {
        return Target().fonts[Target().cellFormats[Pasted(source)].font];
    }
};

// A font is the same when all its fields are: then the target's own serves, else there is one more.
TEST_F(FormatsBetweenBooks, EachFieldOfAFontMakesItAnother) {
    FontRecord base;
    base.height = 333;
    std::copy_n(u"Face", 5, base.faceName);
    const u16 first = AddFont(base);
    EXPECT_EQ(PastedFont(first).height, 333);
    const u32 fonts = Target().fonts.Count();
    EXPECT_EQ(PastedFont(first).height, 333);
    EXPECT_EQ(Target().fonts.Count(), fonts);
    const struct {
        void (*change)(FontRecord&);
        bool (*changed)(const FontRecord&);
    } rows[] = {
        {[](FontRecord& f) { f.height = 334; }, [](const FontRecord& f) { return f.height == 334; }},
        {[](FontRecord& f) { f.attributes = 2; }, [](const FontRecord& f) { return f.attributes == 2; }},
        {[](FontRecord& f) { f.colour = 10; }, [](const FontRecord& f) { return f.colour == 10; }},
        {[](FontRecord& f) { f.weight = 700; }, [](const FontRecord& f) { return f.weight == 700; }},
        {[](FontRecord& f) { f.underline = 1; }, [](const FontRecord& f) { return f.underline == 1; }},
        {[](FontRecord& f) { f.family = 3; }, [](const FontRecord& f) { return f.family == 3; }},
        {[](FontRecord& f) { f.charSet = 134; }, [](const FontRecord& f) { return f.charSet == 134; }},
        {[](FontRecord& f) { f.faceName[0] = u'L'; },
         [](const FontRecord& f) { return f.faceName[0] == u'L'; }},
    };
    u32 count = fonts;
    for (const auto& row : rows) {
        FontRecord font = base;
        row.change(font);
        const u16 source = AddFont(font);
        EXPECT_TRUE(row.changed(PastedFont(source))) << &row - rows;
        EXPECT_EQ(Target().fonts.Count(), ++count) << &row - rows;
        EXPECT_TRUE(row.changed(PastedFont(source))) << &row - rows;
        EXPECT_EQ(Target().fonts.Count(), count) << &row - rows;
    }
}

TEST_F(FormatsBetweenBooks, ColoursAreThoseThatLookMostAlike) {
    for (u16 i = 0; i < PALETTE_SIZE; ++i) Target().palette[i] = 0x010101;
    Target().palette[12] = 0x0000F0;
    Target().palette[13] = 0x00F000;
    Target().palette[14] = 0xF00000;
    Target().palette[15] = 0xF0F0F0;
    const struct {
        u32 colour;
        u16 nearest;
    } rows[] = {{0x0000FF, 12}, {0x00FF00, 13}, {0xFF0000, 14}, {0xFFFFFF, 15},
                {0x000080, 12}, {0x008000, 13}, {0x800000, 14}, {0xA0A0C0, 15}};
    for (const auto& row : rows) {
        Source().palette[20] = row.colour;
        Target().palette[20] = 0x010101;
        CellFormat format;
        for (u8 CellFormat::*field :
             {&CellFormat::patternColour, &CellFormat::backColour, &CellFormat::topColour,
              &CellFormat::leftColour, &CellFormat::bottomColour, &CellFormat::rightColour}) {
            CellFormat one = format;
            one.*field = 20;
            const CellFormat& made = Target().cellFormats[Pasted(Add(Source(), one))];
            EXPECT_EQ(made.*field, row.nearest) << std::hex << row.colour;
            // The others are no rows of the palette and stay.
            for (u8 CellFormat::*other : {&CellFormat::patternColour, &CellFormat::backColour})
                if (other != field) EXPECT_EQ(made.*other, CellFormat().*other);
        }
    }
    // The same colour at the same place stays there, whatever stands further up.
    Source().palette[20] = Target().palette[20] = Target().palette[9] = 0x123456;
    CellFormat format;
    format.backColour = 20;
    EXPECT_EQ(Target().cellFormats[Pasted(Add(Source(), format))].backColour, 20);
    // The first of two that are as near.
    Target().palette[20] = 0;
    Target().palette[30] = 0x123456;
    EXPECT_EQ(Target().cellFormats[Pasted(Add(Source(), format))].backColour, 9);
}

TEST_F(FormatsBetweenBooks, WhatIsNoColourOfThePaletteAndTheRestOfTheFormatStay) {
    CellFormat format;
    format.numberFormat = 10;
    format.horizontal = 3;
    format.rotation = 45;
    format.pattern = 1;
    format.topStyle = 4;
    format.flags = FORMAT_LOCKED | FORMAT_WRAP;
    format.parent = 7;
    const CellFormat made = Target().cellFormats[Pasted(Add(Source(), format))];
    EXPECT_EQ(made.numberFormat, 10);
    EXPECT_EQ(made.horizontal, 3);
    EXPECT_EQ(made.rotation, 45);
    EXPECT_EQ(made.pattern, 1);
    EXPECT_EQ(made.topStyle, 4);
    EXPECT_EQ(made.flags, FORMAT_LOCKED | FORMAT_WRAP);
    EXPECT_EQ(made.patternColour, 64);
    EXPECT_EQ(made.parent, 0);
    // An index that is no format becomes the default one.
    EXPECT_EQ(Pasted(static_cast<u16>(Source().cellFormats.Count())), DEFAULT_CELL_FORMAT);
    EXPECT_EQ(Pasted(0xFFF0), DEFAULT_CELL_FORMAT);
}

TEST_F(FormatsBetweenBooks, InOneBookAnIndexStaysWhatItIs) {
    PasteFormats formats;
    // Two formats that are equal are two all the same.
    ASSERT_TRUE(Source().cellFormats.Append(Source().cellFormats[DEFAULT_CELL_FORMAT]));
    const u16 twin = static_cast<u16>(Source().cellFormats.Count() - 1);
    EXPECT_EQ(Pasted(formats, twin), twin);
    EXPECT_EQ(Pasted(formats, DEFAULT_CELL_FORMAT), DEFAULT_CELL_FORMAT);
    EXPECT_EQ(Pasted(formats, twin), twin);
    EXPECT_EQ(Pasted(formats, 0xFFF0), 0xFFF0);
}

TEST_F(FormatsBetweenBooks, BordersStayAndLocksGoWhereThatIsAsked) {
    CellFormat source, kept;
    source.topStyle = source.leftStyle = source.bottomStyle = source.rightStyle = 9;
    source.topColour = source.leftColour = source.bottomColour = source.rightColour = 19;
    source.horizontal = 3;
    kept.topStyle = 1, kept.leftStyle = 2, kept.bottomStyle = 3, kept.rightStyle = 4;
    kept.topColour = 11, kept.leftColour = 12, kept.bottomColour = 13, kept.rightColour = 14;
    const u16 from = Add(Source(), source), old = Add(Source(), kept);
    PasteFormats formats;
    formats.keepsBorders = true;
    const CellFormat made = Source().cellFormats[Pasted(formats, from, old)];
    EXPECT_EQ(made.topStyle, 1);
    EXPECT_EQ(made.leftStyle, 2);
    EXPECT_EQ(made.bottomStyle, 3);
    EXPECT_EQ(made.rightStyle, 4);
    EXPECT_EQ(made.topColour, 11);
    EXPECT_EQ(made.leftColour, 12);
    EXPECT_EQ(made.bottomColour, 13);
    EXPECT_EQ(made.rightColour, 14);
    EXPECT_EQ(made.horizontal, 3);
    EXPECT_EQ(made.flags, FORMAT_LOCKED);
    // Another kept format, another result.
    EXPECT_EQ(Source().cellFormats[Pasted(formats, from, DEFAULT_CELL_FORMAT)].topStyle, 0);
    EXPECT_EQ(Source().cellFormats[Pasted(formats, from, old)].topStyle, 1);
    // An unknown format takes the borders over the default one.
    EXPECT_EQ(Source().cellFormats[Pasted(formats, 0xFFF0, old)].leftStyle, 2);
    PasteFormats unlocking;
    unlocking.unlocks = true;
    EXPECT_EQ(Source().cellFormats[Pasted(unlocking, from, old)].flags, 0);
    EXPECT_EQ(Source().cellFormats[Pasted(unlocking, from, old)].topStyle, 9);
    EXPECT_EQ(Source().cellFormats[Pasted(unlocking, 0xFFF0, old)].flags, 0);
}

}  // namespace
}  // namespace tally
