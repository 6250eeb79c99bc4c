#include "fileio/pocket/PocketFormats.h"

#include <algorithm>
#include <utility>

#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/biff/FormatRecords.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr u16 TEXT = POCKET_TEXT_FORMAT;
constexpr PocketNumberFormat numberFormats[] = {
    /* 0 */ {0, {}},
    /* 1 */ {2, {}},
    /* 2 */ {TEXT, u"0.00_);(0.00)"},
    /* 3 */ {4, {}},
    /* 4 */ {39, {}},
    /* 5 */ {3, {}},
    /* 6 */ {37, {}},
    /* 7 */ {1, {}},
    /* 8 */ {TEXT, u"0_);(0)"},
    /* 9 */ {TEXT, u"\"$\"#,##0.00"},
    /* 10 */ {7, {}},
    /* 11 */ {TEXT, u"\"$\"#,##0"},
    /* 12 */ {5, {}},
    /* 13 */ {44, {}},
    /* 14 */ {43, {}},
    /* 15 */ {42, {}},
    /* 16 */ {41, {}},
    /* 17 */ {TEXT, u"m/d"},
    /* 18 */ {14, {}},
    /* 19 */ {TEXT, u"mm/dd/yy"},
    /* 20 */ {16, {}},
    /* 21 */ {15, {}},
    /* 22 */ {TEXT, u"dd\\-mmm\\-yy"},
    /* 23 */ {17, {}},
    /* 24 */ {TEXT, u"mmmm\\-yy"},
    /* 25 */ {TEXT, u"mmmm\\ d\\,\\ yyyy"},
    /* 26 */ {TEXT, u"m/d/yy\\ h:mm\\ AM/PM"},
    /* 27 */ {22, {}},
    /* 28 */ {18, {}},
    /* 29 */ {20, {}},
    /* 30 */ {19, {}},
    /* 31 */ {21, {}},
    /* 32 */ {10, {}},
    /* 33 */ {9, {}},
    /* 34 */ {12, {}},
    /* 35 */ {13, {}},
    /* 36 */ {TEXT, u"#\\ ?\?\?/?\?\?"},
    /* 37 */ {11, {}},
    /* 38 */ {TEXT, u"0.E+00"},
    /* 39 */ {49, {}},
    /* 40 */ {47, {}},
    /* 41 */ {46, {}},
    /* 42 */ {0, {}},
    /* 43 */ {0, {}},
    /* 44 */ {0, {}},
    /* 45 */ {0, {}},
    /* 46 */ {0, {}},
    /* 47 */ {14, {}},
    /* 48 */ {TEXT, u"yyyy/m/d h:mm AM/PM"},
    /* 49 */ {22, {}},
    /* 50 */ {0, {}},
    /* 51 */ {0, {}},
    /* 52 */ {TEXT, u"yy-mm-dd"},
    /* 53 */ {TEXT, u"d\\.m"},
    /* 54 */ {TEXT, u"d\\.m\\.yy"},
    /* 55 */ {14, {}},
    /* 56 */ {TEXT, u"d\\. mmm"},
    /* 57 */ {TEXT, u"d\\. mmm yy"},
    /* 58 */ {15, {}},
    /* 59 */ {17, {}},
    /* 60 */ {TEXT, u"mmmm yy"},
    /* 61 */ {TEXT, u"d\\. mmmm yyyy"},
    /* 62 */ {TEXT, u"d\\.m\\.yy h:mm AM/PM"},
    /* 63 */ {TEXT, u"d\\.m\\.yy h:mm"},
    /* 64 */ {TEXT, u"dd mm yy"},
    /* 65 */ {TEXT, u"d/m"},
    /* 66 */ {TEXT, u"d/m/yy"},
    /* 67 */ {14, {}},
    /* 68 */ {TEXT, u"d mmmm yyyy"},
    /* 69 */ {TEXT, u"d/m/yy h:mm AM/PM"},
    /* 70 */ {TEXT, u"d/m/yy h:mm"},
    /* 71 */ {TEXT, u"d \\d\\e mmmm \\d\\e yyyy"},
};
static_assert(std::size(numberFormats) == POCKET_FORMAT_CODES);

u8 ShiftedColour(u8 colour) { return static_cast<u8>(colour + POCKET_COLOUR_SHIFT); }

u8 FillColour(u16 colour, u8 automatic) {
    return colour >= POCKET_AUTOMATIC ? automatic : ShiftedColour(static_cast<u8>(colour));
}

// The format id that a code of an XF stands for.
bool IdOfCode(LoadState& load, PocketFormatReader& formats, u16 code, u16& id) {
    id = 0;
    if (code >= POCKET_FIRST_OWN_CODE) {
        const u32 own = code - u32{POCKET_FIRST_OWN_CODE};
        if (own < formats.ownIds.Count()) id = formats.ownIds[own];
        return true;
    }
    if (code >= POCKET_FORMAT_CODES) return true;
    u16& known = formats.codeIds[code];
    if (!known) {
        const PocketNumberFormat& format = numberFormats[code];
        u16 found = format.id;
        if (found == POCKET_TEXT_FORMAT && !FindOrAddNumberFormat(LoadedBook(load), format.text, found))
            return false;
        known = static_cast<u16>(found + 1);
    }
    id = static_cast<u16>(known - 1);
    return true;
}

}  // namespace

std::span<const PocketNumberFormat> PocketNumberFormats() { return numberFormats; }

u16 PocketCellFormat(const Workbook& book, u16 xf) {
    const u32 row = xf ? u32{xf} + POCKET_FORMAT_SHIFT : u32{DEFAULT_CELL_FORMAT};
    return row < book.cellFormats.Count() ? static_cast<u16>(row) : DEFAULT_CELL_FORMAT;
}

bool ReadPocketFormat(LoadState& load, PocketFormatReader& formats, WideView text) {
    if (formats.ownIds.Count() >= MOST_POCKET_FORMATS) return true;
    u16 id = 0;
    const bool general =
        text.empty() || EqualIgnoringCase(text, LocalGeneralWord()) || EqualIgnoringCase(text, u"General");
    if (!general && !FindOrAddNumberFormat(LoadedBook(load), text, id)) return false;
    return formats.ownIds.Append(id);
}

bool ReadPocketXf(LoadState& load, PocketFormatReader& formats, ByteView body) {
    CellFormat format;
    format.font = WordAt(body, 0);
    if (!IdOfCode(load, formats, WordAt(body, 2), format.numberFormat)) return false;
    const u8 protection = ByteAt(body, 8);
    const u8 alignment = ByteAt(body, 10);
    format.flags = static_cast<u16>((protection & POCKET_LOCKED ? FORMAT_LOCKED : 0) |
                                    (protection & POCKET_HIDDEN ? FORMAT_HIDDEN : 0) |
                                    (protection & POCKET_PREFIX ? FORMAT_QUOTE_PREFIX : 0) |
                                    (alignment & ALIGNMENT_WRAPS ? FORMAT_WRAP : 0));
    format.horizontal = alignment & 7;
    // The file counts the alignments from 1; 0 says nothing.
    if (alignment >> 4 & 7) format.vertical = static_cast<u8>((alignment >> 4 & 7) - 1);
    const u8 borders = ByteAt(body, 11);
    format.topStyle = borders & 1;
    format.leftStyle = borders >> 1 & 1;
    format.bottomStyle = borders >> 2 & 1;
    format.rightStyle = borders >> 3 & 1;
    format.patternColour = FillColour(WordAt(body, 12), format.patternColour);
    format.backColour = FillColour(WordAt(body, 14), format.backColour);
    format.topColour = ShiftedColour(ByteAt(body, 16));
    format.leftColour = ShiftedColour(ByteAt(body, 17));
    format.bottomColour = ShiftedColour(ByteAt(body, 18));
    format.rightColour = ShiftedColour(ByteAt(body, 19));
    format.pattern = ByteAt(body, 20) & 63;
    format.spare = ByteAt(body, 21);
    // A solid cell shows its back colour in memory, its fore colour in the file.
    if (format.pattern == SOLID_PATTERN) std::swap(format.patternColour, format.backColour);
    Array<CellFormat>& rows = LoadedBook(load).cellFormats;
    if (formats.formatSeen || rows.Count() <= DEFAULT_CELL_FORMAT) return rows.Append(format);
    formats.formatSeen = true;
    rows[DEFAULT_CELL_FORMAT] = format;
    return true;
}

}  // namespace tally
