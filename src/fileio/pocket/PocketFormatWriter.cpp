#include <algorithm>
#include <utility>

#include "fileio/biff/FormatRecords.h"
#include "fileio/pocket/PocketFormats.h"
#include "fileio/pocket/PocketSave.h"
#include "model/CellStore.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"

// FONT, FORMAT and XF records of the pocket form.

namespace tally {
namespace {

constexpr std::size_t FORMAT_MOST = 255;
constexpr u32 LAST_XF = 0xFFFF - POCKET_FORMAT_SHIFT;

u8 ByteColour(u8 colour) { return static_cast<u8>(colour - POCKET_COLOUR_SHIFT); }
u16 FillColour(u8 colour) { return colour < PALETTE_FIRST ? colour : ByteColour(colour); }

void WriteFont(SaveState& save, const FontRecord& font) {
    const WideView name(font.faceName);
    u8* out = BeginPocketRecord(save.writer, RECORD_FONT, POCKET_FONT_SIZE);
    const bool automatic = font.colour == AUTOMATIC_COLOUR;
    const u16 words[] = {font.height, font.attributes,
                         automatic ? POCKET_AUTOMATIC : static_cast<u16>(font.colour - POCKET_COLOUR_SHIFT),
                         font.weight, 0};
    for (u16 word : words) {
        PutU16(out, word);
        out += 2;
    }
    const u8 bytes[] = {font.underline, font.family, font.charSet, 0, static_cast<u8>(name.size())};
    std::copy(std::begin(bytes), std::end(bytes), out);
    WritePocketText(save, name);
}

// ---- number formats -----------------------------------------------------------------------------------------

// The formats that follow the user's region are that of whoever opens the file.
bool FollowsRegion(u16 id) {
    constexpr u16 ids[] = {5, 6, 7, 8, 14, 20, 22, 41, 42, 43, 44};
    return std::find(std::begin(ids), std::end(ids), id) != std::end(ids);
}

// Whether a new book has this format under its id.
bool IsStandard(const NumberFormat& format) {
    const std::span<const BuiltInFormat> known = BuiltInFormats();
    return std::any_of(known.begin(), known.end(), [&](const BuiltInFormat& row) {
        return row.id == format.id && (FollowsRegion(format.id) || row.text == format.text.View());
    });
}

// The code of a format that handhelds know; false when they do not.
bool KnownCode(const NumberFormat& format, u16& code) {
    const std::span<const PocketNumberFormat> codes = PocketNumberFormats();
    const bool standard = IsStandard(format);
    const auto found = std::find_if(codes.begin(), codes.end(), [&](const PocketNumberFormat& row) {
        return row.id == POCKET_TEXT_FORMAT ? row.text == format.text.View() : standard && row.id == format.id;
    });
    code = static_cast<u16>(found - codes.begin());
    return found != codes.end();
}

// The code of each number format of the book, FORMAT records for those that need one.
bool WriteNumberFormats(SaveState& save, Array<u16>& codes) {
    const Array<NumberFormat>& formats = SavedBook(save).numberFormats;
    if (!codes.Resize(formats.Count())) return false;
    u32 own = 0;
    for (u32 i = 0; i < formats.Count(); ++i) {
        const WideView text = formats[i].text;
        if (text.empty() || KnownCode(formats[i], codes[i])) continue;
        codes[i] = 0;
        if (text.size() > FORMAT_MOST || own >= MOST_POCKET_FORMATS) {
            save.losses |= LOSS_FORMATS;
            continue;
        }
        codes[i] = static_cast<u16>(POCKET_FIRST_OWN_CODE + own++);
        *BeginPocketRecord(save.writer, RECORD_FORMAT_2, 1) = static_cast<u8>(text.size());
        WritePocketText(save, text);
    }
    return true;
}

// ---- cell formats -------------------------------------------------------------------------------------------

// Marks the rows that cells and columns of the written sheets have.
void MarkUsedFormats(const SaveState& save, const PocketNumbers& numbers, Array<bool>& used) {
    const Array<Sheet*>& sheets = SavedBook(save).sheets;
    const auto mark = [&](u16 row) {
        if (row < used.Count()) used[row] = true;
    };
    for (u32 i = 0; i < sheets.Count(); ++i) {
        if (numbers.sheets[i] == NOT_IN_POCKET) continue;
        for (const ColumnInfo& column : sheets[i]->columns) mark(column.format);
        for (const CellRow& row : sheets[i]->cells.rows) {
            for (u32 c = 0; c < row.count; ++c) mark(row.cells[c].format);
        }
    }
}

// The rows in the order of the file: the default, the book's own, and what else is used.
bool OrderFormats(const SaveState& save, const PocketNumbers& numbers, Array<u16>& order) {
    const u32 count = SavedBook(save).cellFormats.Count();
    Array<bool> used;
    if (!used.Resize(count) || !order.Append(DEFAULT_CELL_FORMAT)) return false;
    MarkUsedFormats(save, numbers, used);
    for (u32 i = POCKET_FORMAT_SHIFT + 1u; i < count; ++i) {
        if (!order.Append(static_cast<u16>(i))) return false;
    }
    for (u32 i = 0; i < count && i <= POCKET_FORMAT_SHIFT; ++i) {
        if (i != DEFAULT_CELL_FORMAT && used[i] && !order.Append(static_cast<u16>(i))) return false;
    }
    return true;
}

u8 BordersOf(SaveState& save, const CellFormat& format) {
    const u8 styles[] = {format.topStyle, format.leftStyle, format.bottomStyle, format.rightStyle};
    u32 borders = 0;
    for (u32 i = 0; i < 4; ++i) {
        if (styles[i]) borders |= 1u << i;
        if (styles[i] > 1) save.losses |= LOSS_FORMATS;
    }
    return static_cast<u8>(borders);
}

void WriteXf(SaveState& save, const CellFormat& format, u16 code) {
    u8* out = BeginPocketRecord(save.writer, RECORD_XF, POCKET_XF_SIZE);
    u8 fore = format.patternColour, back = format.backColour;
    if (format.pattern == SOLID_PATTERN) std::swap(fore, back);
    PutU16(out, format.font);
    PutU16(out + 2, code);
    PutU32(out + 4, 0xFFFFFFFF);
    PutU16(out + 8, (format.flags & FORMAT_LOCKED ? u32{POCKET_LOCKED} : 0u) |
                        (format.flags & FORMAT_HIDDEN ? u32{POCKET_HIDDEN} : 0u) |
                        (format.flags & FORMAT_QUOTE_PREFIX ? u32{POCKET_PREFIX} : 0u));
    out[10] = static_cast<u8>((format.horizontal & 7) | (format.flags & FORMAT_WRAP ? ALIGNMENT_WRAPS : 0) |
                              ((format.vertical + 1) & 7) << 4);
    out[11] = BordersOf(save, format);
    PutU16(out + 12, FillColour(fore));
    PutU16(out + 14, FillColour(back));
    out[16] = ByteColour(format.topColour);
    out[17] = ByteColour(format.leftColour);
    out[18] = ByteColour(format.bottomColour);
    out[19] = ByteColour(format.rightColour);
    out[20] = format.pattern;
    out[21] = format.spare;
    if (format.rotation) save.losses |= LOSS_FORMATS;
}

bool WriteCellFormats(SaveState& save, const Array<u16>& codes, PocketNumbers& numbers) {
    const Workbook& book = SavedBook(save);
    Array<u16> order;
    if (!OrderFormats(save, numbers, order) || !numbers.formats.Resize(book.cellFormats.Count())) return false;
    for (u32 i = 0; i < order.Count(); ++i) {
        if (i > LAST_XF) {
            save.losses |= LOSS_FORMATS;
            break;
        }
        if (order[i] < numbers.formats.Count()) numbers.formats[order[i]] = static_cast<u16>(i);
        const CellFormat& format = ResolveCellFormat(book, order[i]);
        const u32 place = FindNumberFormat(book, format.numberFormat);
        WriteXf(save, format, place < codes.Count() ? codes[place] : u16{0});
    }
    return true;
}

}  // namespace

void WritePocketFormats(SaveState& save, PocketNumbers& numbers) {
    for (const FontRecord& font : SavedBook(save).fonts) WriteFont(save, font);
    Array<u16> codes;
    if (!WriteNumberFormats(save, codes) || !WriteCellFormats(save, codes, numbers)) save.writer.failed = true;
}

}  // namespace tally
