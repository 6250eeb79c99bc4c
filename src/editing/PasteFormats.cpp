#include "editing/PasteFormats.h"

#include "model/BookTable.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr u32 KNOWN_FORMATS = 1024;

i32 Distance(u32 a, u32 b) {
    i32 sum = 0;
    for (u32 shift = 0; shift < 24; shift += 8) {
        const i32 d = static_cast<i32>(a >> shift & 255) - static_cast<i32>(b >> shift & 255);
        sum += d * d;
    }
    return sum;
}

// The index that has the colour in the target book: the same one, else the nearest. Indexes that are no row of
// the palette mean the same in every book.
u16 PastedColour(const Workbook& source, const Workbook& target, u16 index) {
    if (index >= PALETTE_SIZE || source.palette[index] == target.palette[index]) return index;
    u16 nearest = index;
    for (u16 i = 8; i < PALETTE_SIZE; ++i)
        if (Distance(target.palette[i], source.palette[index]) <
            Distance(target.palette[nearest], source.palette[index]))
            nearest = i;
    return nearest;
}

bool TranslateFormat(const Workbook& source, Workbook& target, CellFormat& format) {
    FontRecord font = ResolveFont(source, format.font);
    font.colour = PastedColour(source, target, font.colour);
    if (!FindOrAddFontRecord(target, font, format.font)) return false;
    if (!FindOrAddNumberFormat(target, GetNumberFormatText(source, format.numberFormat), format.numberFormat))
        return false;
    for (u8* colour : {&format.patternColour, &format.backColour, &format.topColour, &format.leftColour,
                       &format.bottomColour, &format.rightColour})
        *colour = static_cast<u8>(PastedColour(source, target, *colour));
    // The styles of the other book are not those of this one.
    format.parent = 0;
    return true;
}

void KeepBorders(CellFormat& format, const CellFormat& kept) {
    format.topStyle = kept.topStyle;
    format.topColour = kept.topColour;
    format.leftStyle = kept.leftStyle;
    format.leftColour = kept.leftColour;
    format.bottomStyle = kept.bottomStyle;
    format.bottomColour = kept.bottomColour;
    format.rightStyle = kept.rightStyle;
    format.rightColour = kept.rightColour;
}

bool WorkOut(const PasteFormats& formats, u16 source, u16 kept, u16& result) {
    const Workbook& from = *BookAt(formats.sourceBook);
    Workbook& to = *BookAt(formats.targetBook);
    result = DEFAULT_CELL_FORMAT;
    const bool known = source < from.cellFormats.Count();
    if (!known && !formats.unlocks && !formats.keepsBorders) return true;
    CellFormat format = known ? from.cellFormats[source] : ResolveCellFormat(to, DEFAULT_CELL_FORMAT);
    if (known && &from != &to && !TranslateFormat(from, to, format)) return false;
    if (formats.keepsBorders) KeepBorders(format, ResolveCellFormat(to, kept));
    if (formats.unlocks) format.flags &= static_cast<u16>(~FORMAT_LOCKED);
    return FindOrAddCellFormat(to, format, result);
}

}  // namespace

bool SameFont(const FontRecord& a, const FontRecord& b) {
    return a.height == b.height && a.attributes == b.attributes && a.colour == b.colour &&
           a.weight == b.weight && a.underline == b.underline && a.family == b.family &&
           a.charSet == b.charSet && WideView(a.faceName) == WideView(b.faceName);
}

bool FindOrAddFontRecord(Workbook& book, const FontRecord& font, u16& index) {
    for (u32 i = 0; i < book.fonts.Count(); ++i) {
        if (!SameFont(book.fonts[i], font)) continue;
        index = static_cast<u16>(i);
        return true;
    }
    if (book.fonts.Count() > 0xFFFE || !book.fonts.Append(font)) return false;
    index = static_cast<u16>(book.fonts.Count() - 1);
    return true;
}

bool PastedFormat(PasteFormats& formats, u16 source, u16 kept, u16& result) {
    if (!formats.keepsBorders) kept = 0;
    if (formats.known.IsEmpty() && !formats.known.Resize(KNOWN_FORMATS)) return false;
    KnownPasteFormat& place = formats.known[(source * 31u + kept) % KNOWN_FORMATS];
    if (!place.known || place.source != source || place.kept != kept) {
        // A format of the same book that need not change keeps its index, whatever equal ones there are.
        result = source;
        const bool same = formats.sourceBook == formats.targetBook && !formats.unlocks && !formats.keepsBorders;
        if (!same && !WorkOut(formats, source, kept, result)) return false;
        place = {true, source, kept, result};
    }
    result = place.result;
    return true;
}

}  // namespace tally
