#include "model/Formats.h"

#include "base/Platform.h"
#include "model/DefaultFormats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Formats : public Sandbox {};

struct BuiltIn {
    u16 id;
    WideView text;
};
constexpr BuiltIn builtIns[] = {{0, u"General"},
                                {1, u"0"},
                                {2, u"0.00"},
                                {3, u"#,##0"},
                                {4, u"#,##0.00"},
                                {5, u"$#,##0_);($#,##0)"},
                                {6, u"$#,##0_);[Red]($#,##0)"},
                                {7, u"$#,##0.00_);($#,##0.00)"},
                                {8, u"$#,##0.00_);[Red]($#,##0.00)"},
                                {9, u"0%"},
                                {10, u"0.00%"},
                                {11, u"0.00E+00"},
                                {12, u"# ?/?"},
                                {13, u"# ?\?/?\?"},
                                {14, u"m/d/yy"},
                                {15, u"dd-mmm-yy"},
                                {16, u"dd-mmm"},
                                {17, u"mmm-yy"},
                                {18, u"h:mm AM/PM"},
                                {19, u"h:mm:ss AM/PM"},
                                {20, u"h:mm"},
                                {21, u"h:mm:ss"},
                                {22, u"m/d/yy h:mm"},
                                {37, u"#,##0_);(#,##0)"},
                                {38, u"#,##0_);[Red](#,##0)"},
                                {39, u"#,##0.00_);(#,##0.00)"},
                                {40, u"#,##0.00_);[Red](#,##0.00)"},
                                {41, u"_(* #,##0_);_(* (#,##0);_(* \"-\"_);_(@_)"},
                                {42, u"_($* #,##0_);_($* (#,##0);($* \"-\"_);_(@_)"},
                                {43, u"_(* #,##0.00_);_(* (#,##0.00);_(* \"-\"?\?_);_(@_)"},
                                {44, u"_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"?\?_);_(@_)"},
                                {45, u"mm:ss"},
                                {46, u"[h]:mm:ss"},
                                {47, u"mm:ss.0"},
                                {48, u"##0.0E+0"},
                                {49, u"@"}};

bool FollowsTheRegion(u16 id) {
    return (id >= 5 && id <= 8) || id == 14 || id == 20 || id == 22 || (id >= 41 && id <= 44);
}

TEST_F(Formats, TheBuiltInFormatsAreThesePerId) {
    ASSERT_EQ(BuiltInFormats().size(), std::size(builtIns));
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.numberFormats.Count(), std::size(builtIns));
    for (u32 i = 0; i < std::size(builtIns); ++i) {
        EXPECT_EQ(BuiltInFormats()[i].id, builtIns[i].id);
        EXPECT_EQ(BuiltInFormats()[i].text, builtIns[i].text);
        EXPECT_EQ(book.numberFormats[i].id, builtIns[i].id);
        EXPECT_EQ(book.numberFormats[i].flags, FollowsTheRegion(builtIns[i].id) ? 0 : 1) << builtIns[i].id;
        if (!FollowsTheRegion(builtIns[i].id)) EXPECT_EQ(book.numberFormats[i].text.View(), builtIns[i].text);
        EXPECT_EQ(NewFormatText(builtIns[i].id), book.numberFormats[i].text.View());
    }
    EXPECT_EQ(GetNumberFormatText(book, 14), u"m\\/d\\/yyyy");
    EXPECT_EQ(NewFormatText(23), WideView());
    EXPECT_EQ(NewFormatText(50), WideView());
}

TEST_F(Formats, ANewBookHasTwentyOneCellFormatsAndSixStyles) {
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.cellFormats.Count(), 21u);
    constexpr u16 fonts[] = {0, 1, 1, 2, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1};
    constexpr u16 numbers[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 43, 41, 44, 42, 9};
    for (u32 i = 0; i < 21; ++i) {
        const CellFormat& format = book.cellFormats[i];
        EXPECT_EQ(format.font, fonts[i]) << i;
        EXPECT_EQ(format.numberFormat, numbers[i]) << i;
        EXPECT_EQ(format.flags, i == 15 ? FORMAT_LOCKED : FORMAT_LOCKED | FORMAT_STYLE) << i;
        EXPECT_EQ(format.horizontal, 0);
        EXPECT_EQ(format.vertical, 2);
        EXPECT_EQ(format.rotation, 0);
        EXPECT_EQ(format.pattern, 0);
        EXPECT_EQ(format.patternColour, 64);
        EXPECT_EQ(format.backColour, 65);
        EXPECT_EQ(format.topStyle + format.leftStyle + format.bottomStyle + format.rightStyle, 0);
        EXPECT_EQ(format.topColour, 64);
        EXPECT_EQ(format.rightColour, 64);
    }
    constexpr u16 styles[][2] = {{16, 3}, {17, 6}, {18, 4}, {19, 7}, {0, 0}, {20, 5}};
    ASSERT_EQ(book.styles.Count(), std::size(styles));
    for (u32 i = 0; i < std::size(styles); ++i) {
        EXPECT_EQ(book.styles[i].xf, styles[i][0] | 0x8000);
        EXPECT_EQ(book.styles[i].builtInId, styles[i][1]);
        EXPECT_EQ(book.styles[i].level, 255);
    }
}

TEST_F(Formats, ANewBookHasFourEqualFonts) {
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.fonts.Count(), 4u);
    for (const FontRecord& font : book.fonts) {
        EXPECT_EQ(font.height, 200);
        EXPECT_EQ(font.attributes, 0);
        EXPECT_EQ(font.colour, AUTOMATIC_COLOUR);
        EXPECT_EQ(font.weight, 400);
        EXPECT_EQ(font.underline, 0);
        EXPECT_EQ(WideView(font.faceName), u"Arial");
    }
}

TEST_F(Formats, TheDefaultPaletteHasThePublishedColours) {
    constexpr u32 published[] = {
        0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0xFF00FF, 0x00FFFF, 0x000000, 0xFFFFFF,
        0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0xFF00FF, 0x00FFFF, 0x800000, 0x008000, 0x000080, 0x808000,
        0x800080, 0x008080, 0xC0C0C0, 0x808080, 0x9999FF, 0x993366, 0xFFFFCC, 0xCCFFFF, 0x660066, 0xFF8080,
        0x0066CC, 0xCCCCFF, 0x000080, 0xFF00FF, 0xFFFF00, 0x00FFFF, 0x800080, 0x800000, 0x008080, 0x0000FF,
        0x00CCFF, 0xCCFFFF, 0xCCFFCC, 0xFFFF99, 0x99CCFF, 0xFF99CC, 0xCC99FF, 0xFFCC99, 0x3366FF, 0x33CCCC,
        0x99CC00, 0xFFCC00, 0xFF9900, 0xFF6600, 0x666699, 0x969696, 0x003366, 0x339966, 0x003300, 0x333300,
        0x993300, 0x993366, 0x333399, 0x333333};
    const Workbook& book = *CurrentWorkbook();
    for (u16 i = 0; i < PALETTE_SIZE; ++i) {
        const u32 rgb = published[i], row = (rgb & 255) << 16 | (rgb >> 8 & 255) << 8 | rgb >> 16;
        EXPECT_EQ(book.palette[i], row) << i;
        EXPECT_EQ(PaletteColour(book, i, 0x123456), row) << i;
    }
    EXPECT_EQ(PaletteColour(book, 64, 0x123456), 0x123456u);
    EXPECT_EQ(PaletteColour(book, 0xFFFF, 0x123456), 0x123456u);
}

TEST_F(Formats, NewFormatsCountFromFiftyOrTheLargestNumber) {
    Workbook& book = *CurrentWorkbook();
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.000", id));
    EXPECT_EQ(id, 50);
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.0000", id));
    EXPECT_EQ(id, 51);
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.000", id));
    EXPECT_EQ(id, 50);
    ASSERT_TRUE(ReplaceNumberFormat(book, 164, u"yyyy"));
    ASSERT_TRUE(FindOrAddNumberFormat(book, u"0.00000", id));
    EXPECT_EQ(id, 165);
    EXPECT_EQ(GetNumberFormatText(book, 164), u"yyyy");
    EXPECT_EQ(GetNumberFormatText(book, 999), u"General");
    EXPECT_EQ(FindNumberFormat(book, 999), book.numberFormats.Count());
    ASSERT_TRUE(ReplaceNumberFormat(book, 1, u"[Red]0"));
    EXPECT_EQ(GetNumberFormatText(book, 1), u"[Red]0");
    EXPECT_EQ(book.numberFormats[1].flags, 0);
    ASSERT_TRUE(ReplaceNumberFormat(book, 0xFFFF, u"d"));
    EXPECT_FALSE(FindOrAddNumberFormat(book, u"another", id));
}

TEST_F(Formats, TheUsersFormTranslatesColoursAndGeneralAlone) {
    struct Row {
        WideView file, local;
    };
    const Row rows[] = {{u"General", u"常规"},
                        {u"[Red]0;[Blue]general", u"[红色]0;[蓝色]常规"},
                        {u"0\"General\"\\Gx", u"0\"General\"\\Gx"},
                        {u"[h]:mm", u"[h]:mm"},
                        {u"[HH]:mm;[ss]", u"[HH]:mm;[ss]"},
                        {u"[Black]0;[White]0;[Green]0;[Yellow]@", u"[黑色]0;[白色]0;[绿色]0;[黄色]@"},
                        {u"[Magenta]0;[Cyan]0", u"[鴋红]0;[青色]0"},
                        {u"0[Red]", u"0[Red]"},
                        {u"[>5]0", u"[>5]0"},
                        {u"_General", u"_General"},
                        {u"*;[Red]0", u"*;[Red]0"},
                        {u"[Red", u"[红色"},
                        {u"\"open", u"\"open"}};
    for (const Row& row : rows) {
        u16 id = 0;
        Workbook& book = *CurrentWorkbook();
        ASSERT_TRUE(FindOrAddNumberFormat(book, row.file, id));
        EXPECT_EQ(book.numberFormats[FindNumberFormat(book, id)].localText.View(), row.local);
        WideText back;
        ASSERT_TRUE(LocalToFileText(row.local, back));
        if (row.file != u"[Red]0;[Blue]general") EXPECT_EQ(back.View(), row.file);
    }
}

TEST_F(Formats, EqualCellFormatsAndFontsAreFound) {
    Workbook& book = *CurrentWorkbook();
    CellFormat format = book.cellFormats[15];
    u16 index = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, format, index));
    EXPECT_EQ(index, 15);
    // Every field counts, of the flags the low five bits.
    using Change = void (*)(CellFormat&);
    const Change changes[] = {
        [](CellFormat& f) { f.font = 3; },          [](CellFormat& f) { f.numberFormat = 2; },
        [](CellFormat& f) { f.flags ^= 16; },       [](CellFormat& f) { f.flags ^= 2; },
        [](CellFormat& f) { f.horizontal = 1; },    [](CellFormat& f) { f.vertical = 1; },
        [](CellFormat& f) { f.rotation = 1; },      [](CellFormat& f) { f.pattern = 1; },
        [](CellFormat& f) { f.patternColour = 1; }, [](CellFormat& f) { f.backColour = 1; },
        [](CellFormat& f) { f.topStyle = 1; },      [](CellFormat& f) { f.topColour = 1; },
        [](CellFormat& f) { f.rightStyle = 1; },    [](CellFormat& f) { f.rightColour = 1; }};
    u16 next = 21;
    for (const Change& change : changes) {
        CellFormat other = format;
        change(other);
        for (int again = 0; again < 2; ++again) {
            ASSERT_TRUE(FindOrAddCellFormat(book, other, index));
            EXPECT_EQ(index, next);
        }
        ++next;
    }
    CellFormat marked = format;
    marked.flags |= 32;
    ASSERT_TRUE(FindOrAddCellFormat(book, marked, index));
    EXPECT_EQ(index, 15);
    u16 font = 0;
    ASSERT_TRUE(FindOrAddFont(book, u"Arial", false, false, false, false, 200, AUTOMATIC_COLOUR, font));
    EXPECT_EQ(font, 0);
    struct FontRow {
        bool bold, italic, underline, strikeout;
        u16 attributes, weight;
    };
    for (const FontRow& row :
         {FontRow{true, false, false, false, 0, 700}, FontRow{false, true, false, false, 2, 400},
          FontRow{false, false, true, false, 0, 400}, FontRow{false, false, false, true, 8, 400}}) {
        ASSERT_TRUE(FindOrAddFont(book, u"Arial", row.bold, row.italic, row.underline, row.strikeout, 200,
                                  AUTOMATIC_COLOUR, font));
        const FontRecord& made = ResolveFont(book, font);
        EXPECT_EQ(made.attributes, row.attributes);
        EXPECT_EQ(made.weight, row.weight);
        EXPECT_EQ(made.underline, row.underline ? 1 : 0);
        EXPECT_EQ(font + 1u, book.fonts.Count());
    }
    EXPECT_EQ(&ResolveFont(book, 999), &book.fonts[0]);
    EXPECT_EQ(&ResolveCellFormat(book, 60000), &book.cellFormats[15]);
}

}  // namespace
}  // namespace tally
