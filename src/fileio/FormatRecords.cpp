#include <algorithm>

#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/FormatRecords.h"
#include "fileio/LoadState.h"
#include "fileio/NarrowText.h"
#include "fileio/PocketFormats.h"
#include "model/Formats.h"

namespace tally {
namespace {

u8 Bits(u32 word, u32 first, u32 count) { return static_cast<u8>(word >> first & ((1u << count) - 1)); }

void ReadXf8(ByteView body, CellFormat& format) {
    format.rotation = ByteAt(body, 7);
    format.pattern = Bits(ByteAt(body, 17), 2, 6);
    const u32 fill = WordAt(body, 18);
    format.patternColour = Bits(fill, 0, 7);
    format.backColour = Bits(fill, 7, 7);
    const u32 styles = WordAt(body, 10);
    format.leftStyle = Bits(styles, 0, 4);
    format.rightStyle = Bits(styles, 4, 4);
    format.topStyle = Bits(styles, 8, 4);
    format.bottomStyle = Bits(styles, 12, 4);
    format.leftColour = Bits(WordAt(body, 12), 0, 7);
    format.rightColour = Bits(WordAt(body, 12), 7, 7);
    format.topColour = Bits(WordAt(body, 14), 0, 7);
    format.bottomColour = Bits(WordAt(body, 14), 7, 7);
    format.layout = ByteAt(body, 8);
    format.own = ByteAt(body, 9) & ALL_OWN;
    format.diagonals = Bits(WordAt(body, 12), 14, 2);
    format.diagonalColour = Bits(LongAt(body, 14), 14, 7);
    format.diagonalStyle = Bits(LongAt(body, 14), 21, 4);
}

void ReadXf5(ByteView body, CellFormat& format) {
    format.rotation = quarterTurns[ByteAt(body, 7) & 3];
    const u32 fill = LongAt(body, 8);
    const u32 border = LongAt(body, 12);
    format.patternColour = Bits(fill, 0, 7);
    format.backColour = Bits(fill, 7, 7);
    format.pattern = Bits(fill, 16, 6);
    format.bottomStyle = Bits(fill, 22, 3);
    format.bottomColour = Bits(fill, 25, 7);
    format.topStyle = Bits(border, 0, 3);
    format.leftStyle = Bits(border, 3, 3);
    format.rightStyle = Bits(border, 6, 3);
    format.topColour = Bits(border, 9, 7);
    format.leftColour = Bits(border, 16, 7);
    format.rightColour = Bits(border, 23, 7);
    format.own = ByteAt(body, 7) & ALL_OWN;
}

// The fields in front of the name, in the layout of the 95 and 97 forms.
void ReadFontFields(ByteView body, FontRecord& font) {
    font.height = WordAt(body, 0);
    font.attributes = WordAt(body, 2);
    font.colour = WordAt(body, 4);
    font.weight = WordAt(body, 6);
    font.escapement = ByteAt(body, 8);
    font.underline = ByteAt(body, 10);
    font.family = ByteAt(body, 11);
    font.charSet = ByteAt(body, 12);
}

void ReadPocketFontFields(ByteView body, FontRecord& font) {
    ReadFontFields(body, font);
    font.escapement = 0;
    font.colour = font.colour == POCKET_AUTOMATIC ? AUTOMATIC_COLOUR
                                                  : static_cast<u16>(font.colour + POCKET_COLOUR_SHIFT);
}

// Bold and underlined are attributes here.
void ReadBareFontFields(ByteView body, bool coloured, FontRecord& font) {
    constexpr u16 BOLD = 1, UNDERLINED = 4;
    font.height = WordAt(body, 0);
    const u16 attributes = WordAt(body, 2);
    font.attributes = attributes & (FONT_ITALIC | FONT_STRIKEOUT);
    font.weight = attributes & BOLD ? 700 : 400;
    font.underline = attributes & UNDERLINED ? 1 : 0;
    if (coloured && WordAt(body, 4) != BARE_TEXT_COLOUR) font.colour = WordAt(body, 4);
}

// Adds a font with that name to the book; the first one of a file takes the place of all that there were.
bool AddFont(LoadState& load, FontRecord font, WideView name) {
    Workbook& book = LoadedBook(load);
    if (!load.fontsSeen) book.fonts.Truncate(0);
    load.fontsSeen = true;
    name = name.substr(0, std::size(font.faceName) - 1);
    std::copy(name.begin(), name.end(), font.faceName);
    return book.fonts.Append(font);
}

// What is installed here knows its family better than the file does.
void TakeInstalledFamily(WideView name, FontRecord& font) {
    u8 family = 0;
    u8 charSet = 0;
    if (Platform().findFontFace(name.substr(0, std::size(font.faceName) - 1), family, charSet))
        font.family = family;
}

}  // namespace

bool ReadFont(LoadState& load, FontLayout layout, ByteView body, WideView name) {
    // Where the name's length stands; it is in front of the name but for handhelds.
    constexpr std::size_t lengthAt[] = {14, 14, 6, 4};
    const std::size_t at = lengthAt[layout];
    if (layout != FONT_OF_HANDHELDS) {
        if (ReadBiffString(From(body, at + 1), load.biffVersion, LoadedBook(load).codePage, ByteAt(body, at),
                           load.text) == STRING_FAILED)
            return false;
        name = load.text;
    }
    FontRecord font;
    switch (layout) {
        case FONT_OF_BOOKS: ReadFontFields(body, font); break;
        case FONT_OF_HANDHELDS: ReadPocketFontFields(body, font); break;
        default: ReadBareFontFields(body, layout == FONT_OF_BARE, font); return AddFont(load, font, name);
    }
    TakeInstalledFamily(name, font);
    return AddFont(load, font, name);
}

bool ReadFormatRecord(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    const bool wide = load.biffVersion == 8;
    const std::size_t length = wide ? WordAt(body, 2) : ByteAt(body, 2);
    if (ReadBiffString(From(body, wide ? 4 : 3), load.biffVersion, book.codePage, length, load.text) ==
        STRING_FAILED)
        return false;
    const bool general =
        EqualIgnoringCase(load.text, LocalGeneralWord()) || EqualIgnoringCase(load.text, u"General");
    // A sign of money in the width that the page has for it is that of the region's format.
    const WideView own = wide ? WideView() : NewFormatText(WordAt(body, 0));
    if (!own.empty() && EqualButForTwins(load.text, own))
        return ReplaceNumberFormat(book, WordAt(body, 0), own);
    return ReplaceNumberFormat(book, WordAt(body, 0), general ? WideView(u"General") : load.text.View());
}

bool ReadXf(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    if (!load.formatsSeen) {
        book.cellFormats.Truncate(0);
        book.styles.Truncate(0);
        load.formatsSeen = true;
    }
    CellFormat format;
    const u16 font = WordAt(body, 0);
    format.font = font > MISSING_FONT ? static_cast<u16>(font - 1) : font;
    format.numberFormat = WordAt(body, 2);
    if (FindNumberFormat(book, format.numberFormat) == book.numberFormats.Count()) format.numberFormat = 0;
    format.parent = WordAt(body, 4) >> 4;
    const u8 alignment = ByteAt(body, 6);
    format.flags = static_cast<u16>((ByteAt(body, 4) & 15) | (alignment & ALIGNMENT_WRAPS ? FORMAT_WRAP : 0));
    format.horizontal = Bits(alignment, 0, 3);
    format.vertical = Bits(alignment, 4, 3);
    if (load.biffVersion == 8) {
        ReadXf8(body, format);
    } else {
        ReadXf5(body, format);
    }
    // A solid cell shows its back colour in memory; the file has the two the other way round.
    if (format.pattern == SOLID_PATTERN) std::swap(format.patternColour, format.backColour);
    return book.cellFormats.Append(format);
}

bool ReadStyle(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    StyleRow* row = book.styles.AppendDefault();
    if (!row) return false;
    row->xf = WordAt(body, 0);
    if (row->xf & STYLE_BUILT_IN) {
        row->builtInId = ByteAt(body, 2);
        row->level = ByteAt(body, 3);
        return true;
    }
    const bool wide = load.biffVersion == 8;
    const std::size_t length = wide ? WordAt(body, 2) : ByteAt(body, 2);
    return ReadBiffString(From(body, wide ? 4 : 3), load.biffVersion, book.codePage, length, row->name) !=
           STRING_FAILED;
}

void ReadPalette(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    const u32 count = WordAt(body, 0);
    for (u32 i = 0; i < count && PALETTE_FIRST + i < PALETTE_SIZE && 2 + i * 4 < body.size(); ++i) {
        book.palette[PALETTE_FIRST + i] = LongAt(body, 2 + std::size_t{i} * 4) & 0xFFFFFF;
    }
}

}  // namespace tally
