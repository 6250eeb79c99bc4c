#include <algorithm>
#include <utility>

#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/FormatFields.h"
#include "fileio/biff/FormatRecords.h"
#include "fileio/biff/SaveState.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"

// FONT, FORMAT, XF, STYLE and PALETTE records.

namespace tally {
namespace {

constexpr std::size_t STYLE_NAME_MOST = 255;
constexpr u8 BORDER_MOST_95 = 7, BORDER_INSTEAD = 3;
constexpr u8 LAST_COLOUR = 63;     // of the palette
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

u8 Border95(SaveState& save, u8 style) {
    if (style <= BORDER_MOST_95) return style;
    save.losses |= LOSS_FORMATS;
    return BORDER_INSTEAD;
}

u8 Rotation95(SaveState& save, u8 rotation) {
    const u8* found = std::find(std::begin(quarterTurns), std::end(quarterTurns), rotation);
    if (found != std::end(quarterTurns)) return static_cast<u8>(found - quarterTurns);
    save.losses |= LOSS_FORMATS;
    return 0;
}

// The format as its fields have it in the file.
CellFormat WrittenFormat(SaveState& save, CellFormat format) {
    // A solid cell holds its two colours the other way round in memory.
    if (format.pattern == SOLID_PATTERN) std::swap(format.patternColour, format.backColour);
    if (format.patternColour > LAST_COLOUR) format.patternColour = TEXT_COLOUR;
    if (format.backColour > LAST_COLOUR) format.backColour = WINDOW_COLOUR;
    if (save.biffVersion == 8) return format;
    if (format.diagonals || format.layout) save.losses |= LOSS_FORMATS;
    format.rotation = Rotation95(save, format.rotation);
    for (u8 CellFormat::*style :
         {&CellFormat::topStyle, &CellFormat::leftStyle, &CellFormat::bottomStyle, &CellFormat::rightStyle})
        format.*style = Border95(save, format.*style);
    return format;
}

void PutXfFields(std::span<const XfField> fields, const CellFormat& format, u8* out) {
    for (const XfField& row : fields) {
        const u32 value = format.*row.field & ((1u << row.bits) - 1);
        PutU32(out + row.at, ReadU32(out + row.at) | value << row.first);
    }
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
    const std::size_t length = wide ? XF_BYTES : XF_BYTES_95;
    u8* out = BeginRecord(save.writer, RECORD_XF, length);
    std::fill(out, out + length, u8{0});
    const u32 font = format.font < SavedBook(save).fonts.Count() ? format.font : 0u;
    PutU16(out + XF_FONT_AT, font >= MISSING_FONT ? font + 1 : font);
    PutU16(out + XF_NUMBER_FORMAT_AT, format.numberFormat);
    const u32 flags = format.flags & (FORMAT_LOCKED | FORMAT_HIDDEN | FORMAT_STYLE | FORMAT_QUOTE_PREFIX);
    PutU16(out + XF_FLAGS_AT, flags | ParentOf(save, format) << XF_PARENT_SHIFT);
    if (format.flags & FORMAT_WRAP) out[XF_ALIGNMENT_AT] |= ALIGNMENT_WRAPS;
    const CellFormat written = WrittenFormat(save, format);
    if (wide) PutXfFields(xfFields8, written, out);
    else PutXfFields(xfFields95, written, out);
    out[wide ? XF_OWN_AT : XF_OWN_AT_95] |= format.own & ALL_OWN;
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
