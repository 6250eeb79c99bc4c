#include <algorithm>

#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/biff/FormatFields.h"
#include "fileio/biff/FormatRecords.h"
#include "fileio/biff/LoadState.h"
#include "fileio/biff/NarrowText.h"
#include "model/Formats.h"

namespace tally {
namespace {

void ReadXfFields(std::span<const XfField> fields, ByteView body, CellFormat& format) {
    for (const XfField& row : fields)
        format.*row.field = static_cast<u8>(LongAt(body, row.at) >> row.first & ((1u << row.bits) - 1));
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
    const u16 font = WordAt(body, XF_FONT_AT);
    format.font = font > MISSING_FONT ? static_cast<u16>(font - 1) : font;
    format.numberFormat = WordAt(body, XF_NUMBER_FORMAT_AT);
    if (FindNumberFormat(book, format.numberFormat) == book.numberFormats.Count()) format.numberFormat = 0;
    format.parent = WordAt(body, XF_FLAGS_AT) >> XF_PARENT_SHIFT;
    format.flags = WordAt(body, XF_FLAGS_AT) & XF_FLAG_BITS;
    if (ByteAt(body, XF_ALIGNMENT_AT) & ALIGNMENT_WRAPS) format.flags |= FORMAT_WRAP;
    if (load.biffVersion == 8) {
        ReadXfFields(xfFields8, body, format);
    } else {
        ReadXfFields(xfFields95, body, format);
        format.rotation = quarterTurns[format.rotation];
    }
    format.own = ByteAt(body, load.biffVersion == 8 ? XF_OWN_AT : XF_OWN_AT_95) & ALL_OWN;
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
