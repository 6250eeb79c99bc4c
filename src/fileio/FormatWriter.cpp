#include <algorithm>
#include <utility>

#include "fileio/CarriedRecords.h"
#include "fileio/FormatRecords.h"
#include "fileio/SaveState.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"

// FONT, FORMAT, XF, STYLE and PALETTE records.

namespace tally {
namespace {

constexpr std::size_t STYLE_NAME_MOST = 255;
constexpr u8 BORDER_MOST_95 = 7, BORDER_INSTEAD = 3;
constexpr u32 LEAST_FORMATS = 16;  // the default one for cells is the last of these

void WriteFont(SaveState& save, const FontRecord& font) {
    const WideView name(font.faceName);
    BiffWriter& to = save.body;
    BeginBody(save);
    for (u16 word : {font.height, font.attributes, font.colour, font.weight, u16{font.escapement}})
        WriteU16(to, word);
    for (u32 byte : {u32{font.underline}, u32{font.family}, u32{font.charSet}, 0u}) WriteU8(to, byte);
    WriteShortString(save, to, name);
    IgnoreFailure(EndBody(save, RECORD_FONT));
}

// The formats that follow the user's region are that of whoever opens the file.
bool IsLocaleFormat(u16 id) { return id == 14 || id == 20 || id == 22; }

bool IsStandard(const NumberFormat& format) {
    const std::span<const BuiltInFormat> known = BuiltInFormats();
    const auto found = std::lower_bound(known.begin(), known.end(), format.id,
                                        [](const BuiltInFormat& row, u16 id) { return row.id < id; });
    const bool standard = found != known.end() && found->id == format.id && found->text == format.text.View();
    // A region with a text of its own for the number would put that in its place.
    return standard && NewFormatText(format.id) == format.text.View();
}

void WriteFormat(SaveState& save, const NumberFormat& format) {
    if (IsLocaleFormat(format.id) || IsStandard(format)) return;
    BeginBody(save);
    WriteU16(save.body, format.id);
    if (save.biffVersion == 8) {
        WriteLongString(save, save.body, format.text);
    } else {
        // What is the region's own is known again by its twin.
        const u32 losses = save.losses;
        WriteShortString(save, save.body, format.text);
        if (NewFormatText(format.id) == format.text.View()) save.losses = losses;
    }
    IgnoreFailure(EndBody(save, RECORD_FORMAT));
}

struct FillColours {
    u32 fore, back;
};

// A solid cell holds the two the other way round in memory.
FillColours ColoursOf(const CellFormat& format) {
    u32 fore = format.patternColour;
    u32 back = format.backColour;
    if (format.pattern == SOLID_PATTERN) std::swap(fore, back);
    return {fore > 63 ? u32{TEXT_COLOUR} : fore, back > 63 ? u32{WINDOW_COLOUR} : back};
}

void PutXf8(const CellFormat& format, u8* out) {
    const FillColours fill = ColoursOf(format);
    PutU16(out + 10, u32{format.leftStyle} | u32{format.rightStyle} << 4 | u32{format.topStyle} << 8 |
                         u32{format.bottomStyle} << 12);
    PutU16(out + 12, u32{format.leftColour} | u32{format.rightColour} << 7 | (u32{format.diagonals} & 3) << 14);
    PutU32(out + 14, format.topColour | u32{format.bottomColour} << 7 |
                         (u32{format.diagonalColour} & 127) << 14 | (u32{format.diagonalStyle} & 15) << 21 |
                         (u32{format.pattern} & 63) << 26);
    PutU16(out + 18, fill.fore | fill.back << 7);
}

u32 Border95(SaveState& save, u8 style) {
    if (style <= BORDER_MOST_95) return style;
    save.losses |= LOSS_FORMATS;
    return BORDER_INSTEAD;
}

u32 Rotation95(SaveState& save, u8 rotation) {
    const u8* found = std::find(std::begin(quarterTurns), std::end(quarterTurns), rotation);
    if (found != std::end(quarterTurns)) return static_cast<u32>(found - quarterTurns);
    save.losses |= LOSS_FORMATS;
    return 0;
}

void PutXf95(SaveState& save, const CellFormat& format, u8* out) {
    if (format.diagonals || format.layout) save.losses |= LOSS_FORMATS;
    const FillColours fill = ColoursOf(format);
    PutU32(out + 8, fill.fore | fill.back << 7 | (format.pattern & 63u) << 16 |
                        Border95(save, format.bottomStyle) << 22 | u32{format.bottomColour} << 25);
    PutU32(out + 12, Border95(save, format.topStyle) | Border95(save, format.leftStyle) << 3 |
                         Border95(save, format.rightStyle) << 6 | (format.topColour & 127u) << 9 |
                         (format.leftColour & 127u) << 16 | (format.rightColour & 127u) << 23);
}

// The style that a cell's format belongs to; the first row where the one named is none.
u32 ParentOf(const SaveState& save, const CellFormat& format) {
    if (format.flags & FORMAT_STYLE) return STYLE_PARENT;
    const Array<CellFormat>& formats = SavedBook(save).cellFormats;
    const bool known = format.parent < formats.Count() && (formats[format.parent].flags & FORMAT_STYLE);
    return known ? format.parent : 0u;
}

void WriteXf(SaveState& save, const CellFormat& format) {
    const bool wide = save.biffVersion == 8;
    u8* out = BeginRecord(save.writer, RECORD_XF, wide ? 20 : 16);
    const u32 font = format.font < SavedBook(save).fonts.Count() ? format.font : 0u;
    PutU16(out, font >= MISSING_FONT ? font + 1 : font);
    PutU16(out + 2, format.numberFormat);
    const u32 flags = format.flags & (FORMAT_LOCKED | FORMAT_HIDDEN | FORMAT_STYLE | FORMAT_QUOTE_PREFIX);
    PutU16(out + 4, flags | ParentOf(save, format) << 4);
    const u32 rotation = wide ? format.rotation : Rotation95(save, format.rotation);
    const u32 own = format.own & ALL_OWN;
    PutU16(out + 6, (format.horizontal & 7u) | (format.flags & FORMAT_WRAP ? u32{ALIGNMENT_WRAPS} : 0u) |
                        (format.vertical & 7u) << 4 | rotation << 8 | (wide ? 0u : own << 8));
    if (wide) {
        PutU16(out + 8, format.layout | own << 8);
        PutXf8(format, out);
    } else {
        PutXf95(save, format, out);
    }
}

void WriteStyle(SaveState& save, const StyleRow& style) {
    BeginBody(save);
    WriteU16(save.body, style.xf);
    if (style.xf & STYLE_BUILT_IN) {
        WriteU8(save.body, style.builtInId);
        WriteU8(save.body, style.level);
    } else if (save.biffVersion == 8) {
        WriteLongString(save, save.body, CutText(save, style.name, STYLE_NAME_MOST));
    } else {
        WriteShortString(save, save.body, style.name);
    }
    IgnoreFailure(EndBody(save, RECORD_STYLE));
    const CarriedBytes& extension = style.extension;
    if (extension.form == save.biffVersion)
        WriteBytes(save.writer, extension.bytes.Data(), extension.bytes.Count());
}

void WritePalette(SaveState& save) {
    const u32* palette = SavedBook(save).palette;
    const bool standard = std::equal(palette, palette + PALETTE_SIZE, DefaultPalette().begin());
    if (save.biffVersion == 8 && standard) return;
    u8* out = BeginRecord(save.writer, RECORD_PALETTE, 2 + PALETTE_COLOURS * 4);
    PutU16(out, PALETTE_COLOURS);
    for (u32 i = 0; i < PALETTE_COLOURS; ++i) PutU32(out + 2 + i * 4, palette[PALETTE_FIRST + i] & 0xFFFFFF);
}

}  // namespace

void WriteFontsAndFormats(SaveState& save) {
    const Workbook& book = SavedBook(save);
    for (const FontRecord& font : book.fonts) WriteFont(save, font);
    if (book.fonts.IsEmpty()) WriteFont(save, FontRecord());
    for (const NumberFormat& format : book.numberFormats) WriteFormat(save, format);
    for (const CellFormat& format : book.cellFormats) WriteXf(save, format);
    for (u32 i = book.cellFormats.Count(); i < LEAST_FORMATS; ++i) WriteXf(save, CellFormat());
    WriteCarried(save, nullptr, GLOBALS_FORMATS);
    for (const StyleRow& style : book.styles)
        if ((style.xf & 0xFFFu) < book.cellFormats.Count()) WriteStyle(save, style);
    WriteCarried(save, nullptr, GLOBALS_STYLES);
    WritePalette(save);
    WriteCarried(save, nullptr, GLOBALS_PALETTE);
}

}  // namespace tally
