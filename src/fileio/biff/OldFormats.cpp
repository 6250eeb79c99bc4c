#include <algorithm>
#include <utility>

#include "base/Text.h"
#include "fileio/biff/FormatRecords.h"
#include "fileio/biff/OldBook.h"
#include "model/Formats.h"

// Fonts and formats of bare files.

namespace tally {
namespace {

constexpr u8 NUMBER_FORMAT_BITS = 0x3F;  // of the second attribute byte of the oldest layout

u8 ColourOf(u32 bits) {
    const u8 colour = static_cast<u8>(bits & 31);
    return colour == BARE_TEXT_COLOUR ? TEXT_COLOUR : colour == BARE_WINDOW_COLOUR ? WINDOW_COLOUR : colour;
}

// The eight bits of one border: three for the line, five for the colour.
void ReadOldBorder(u8 bits, u8& style, u8& colour) {
    style = bits & 7;
    colour = ColourOf(bits >> 3);
}

u16 NumberFormatOf(const LoadState& load, u32 place) {
    return place < load.bareFormats.Count() ? load.bareFormats[place] : u16{0};
}

}  // namespace

bool OldCellFormat(OldReader& r, u16 id, ByteView body, u16& index) {
    Workbook& book = LoadedBook(r.load);
    if (!IsOldest(id)) {
        const u32 row = WordAt(body, 4) + r.load.formatBase;
        index = row < book.cellFormats.Count() ? static_cast<u16>(row) : u16{0};
        return true;
    }
    // A copy of the default row with that number format.
    CellFormat format = ResolveCellFormat(book, DEFAULT_CELL_FORMAT);
    format.numberFormat = NumberFormatOf(r.load, ByteAt(body, 5) & NUMBER_FORMAT_BITS);
    return FindOrAddCellFormat(book, format, index);
}

bool ReadOldFormat(OldReader& r, u16 id, ByteView body) {
    if (!r.ownNumberFormats) r.load.bareFormats.Truncate(0);
    r.ownNumberFormats = true;
    const std::size_t lengthAt = id == RECORD_FORMAT ? 2 : 0;
    Workbook& book = LoadedBook(r.load);
    if (ReadBiffString(From(body, lengthAt + 1), 7, book.codePage, ByteAt(body, lengthAt), r.load.text) ==
        STRING_FAILED) {
        return false;
    }
    u16 format = 0;
    const bool general = EqualIgnoringCase(r.load.text, u"General");
    if (!general && !r.load.text.IsEmpty() && !FindOrAddNumberFormat(book, r.load.text, format)) return false;
    return r.load.bareFormats.Append(format);
}

bool ReadOldFont(OldReader& r, u16 id, ByteView body) {
    if (!r.ownFonts) r.fontBase = r.load.fontsSeen ? LoadedBook(r.load).fonts.Count() : 0;
    r.ownFonts = true;
    return ReadFont(r.load, IsOldest(id) ? FONT_OF_OLDEST : FONT_OF_BARE, body);
}

void ReadOldFontColour(OldReader& r, ByteView body) {
    Workbook& book = LoadedBook(r.load);
    if (r.ownFonts && WordAt(body, 0) != BARE_TEXT_COLOUR) book.fonts.Last().colour = WordAt(body, 0);
}

bool ReadOldXf(OldReader& r, u16 id, ByteView body) {
    Workbook& book = LoadedBook(r.load);
    if (!r.load.formatsSeen) {
        book.cellFormats.Truncate(0);
        book.styles.Truncate(0);
    }
    if (!r.ownFormats) r.load.formatBase = book.cellFormats.Count();
    r.load.formatsSeen = r.ownFormats = true;
    CellFormat format;
    const u32 font = ByteAt(body, 0);
    format.font = static_cast<u16>((font > MISSING_FONT ? font - 1 : font) + r.fontBase);
    format.numberFormat = NumberFormatOf(r.load, ByteAt(body, 1));
    format.flags = ByteAt(body, 2) & (FORMAT_LOCKED | FORMAT_HIDDEN | FORMAT_STYLE);
    const u8 alignment = ByteAt(body, 4);
    format.horizontal = alignment & 7;
    if (alignment & ALIGNMENT_WRAPS) format.flags |= FORMAT_WRAP;
    if (id != RECORD_XF_3) {
        if (ByteAt(body, 2) & FORMAT_QUOTE_PREFIX) format.flags |= FORMAT_QUOTE_PREFIX;
        format.vertical = alignment >> 4 & 3;
        format.rotation = quarterTurns[alignment >> 6];
    }
    const u16 fill = WordAt(body, 6);
    format.pattern = fill & 0x3F;
    format.patternColour = ColourOf(fill >> 6);
    format.backColour = ColourOf(fill >> 11);
    // A solid cell shows its back colour in memory; the file has the two the other way round.
    if (format.pattern == SOLID_PATTERN) std::swap(format.patternColour, format.backColour);
    ReadOldBorder(ByteAt(body, 8), format.topStyle, format.topColour);
    ReadOldBorder(ByteAt(body, 9), format.leftStyle, format.leftColour);
    ReadOldBorder(ByteAt(body, 10), format.bottomStyle, format.bottomColour);
    ReadOldBorder(ByteAt(body, 11), format.rightStyle, format.rightColour);
    return book.cellFormats.Append(format);
}

}  // namespace tally
