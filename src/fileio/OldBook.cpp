#include <algorithm>

#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/SheetRecords.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"

// Bare files: the records of one sheet without a container, as the three oldest forms wrote them.

namespace tally {
namespace {

constexpr u8 FORMAT_BITS = 0x3F;  // of the second attribute byte of BIFF2

struct OldReader {
    LoadState& load;
    int version;
};

int VersionOf(u16 bof) { return bof == 9 ? 2 : bof == 521 ? 3 : 4; }

// A copy of the default row with that number format.
bool FormatWithNumber(LoadState& load, u16 numberFormat, u16& index) {
    Workbook& book = LoadedBook(load);
    CellFormat format = ResolveCellFormat(book, DEFAULT_CELL_FORMAT);
    format.numberFormat = numberFormat;
    return FindOrAddCellFormat(book, format, index);
}

// The cell format of a cell record: an attribute's format number in BIFF2, an XF's number later.
bool CellFormatOf(OldReader& r, ByteView body, u16& index) {
    if (r.version > 2) {
        index = WordAt(body, 4);
        if (index >= LoadedBook(r.load).cellFormats.Count()) index = 0;
        return true;
    }
    const u32 wanted = ByteAt(body, 5) & FORMAT_BITS;
    const u16 id = wanted < r.load.bareFormats.Count() ? r.load.bareFormats[wanted] : u16{0};
    return FormatWithNumber(r.load, id, index);
}

// Where the value of a cell record begins.
std::size_t ValueAt(const OldReader& r) { return r.version == 2 ? 7 : 6; }

bool AddOldCell(OldReader& r, ByteView body, Value value, FormulaTokens tokens) {
    u16 format = 0;
    if (!CellFormatOf(r, body, format)) {
        FreeValue(value);
        FreeTokens(tokens);
        return false;
    }
    return AddCell(r.load, WordAt(body, 0), WordAt(body, 2), format, value, tokens);
}

bool ReadOldLabel(OldReader& r, ByteView body) {
    const std::size_t at = ValueAt(r);
    const std::size_t length = r.version == 2 ? ByteAt(body, at) : WordAt(body, at);
    const std::size_t start = at + (r.version == 2 ? 1 : 2);
    if (ReadBiffString(From(body, start), 7, LoadedBook(r.load).codePage, length, r.load.text) == STRING_FAILED)
        return false;
    TextBlock* text = MakeText(r.load.text);
    return text && AddOldCell(r, body, OwnedTextValue(text), FormulaTokens());
}

bool ReadOldBoolOrError(OldReader& r, ByteView body) {
    const std::size_t at = ValueAt(r);
    const u8 value = ByteAt(body, at);
    return AddOldCell(r, body,
                      ByteAt(body, at + 1) == 0 ? BoolValue(value != 0) : ErrorValue(ErrorFromBiff(value)),
                      FormulaTokens());
}

// Tokens of an array formula follow in a record of their own.
bool ReadOldArray(OldReader& r, ByteView tokens, FormulaTokens& out) {
    const u16 row = WordAt(tokens, 1);
    const u8 column = ByteAt(tokens, 3);
    for (const SharedFormula& entry : r.load.arrays) {
        if (entry.row != row || entry.column != column) continue;
        CopyTokens(out, entry.tokens);
        return true;
    }
    BiffRecord record;
    const u16 next = PeekRecordId(r.load.stream);
    if ((next != 33 && next != 545) || !NextRecord(r.load.stream, record)) return true;
    // Area 6 bytes, flags, then the length: a byte in BIFF2, a word later.
    const std::size_t lengthAt = r.version == 2 ? 7 : 8;
    const std::size_t start = lengthAt + (r.version == 2 ? 1 : 2);
    const std::size_t length = r.version == 2 ? ByteAt(record.body, lengthAt) : WordAt(record.body, lengthAt);
    SharedFormula entry = {row, column, {}};
    if (!WidenOldTokens(r.load, r.version, Part(record.body, start, length), From(record.body, start + length),
                        entry.tokens))
        return false;
    CopyTokens(out, entry.tokens);
    ArrayEntry area;
    area.area = {row, std::max(row, WordAt(record.body, 2)), column, std::max(column, ByteAt(record.body, 5))};
    if (!r.load.arrays.Append(entry)) {
        FreeTokens(entry.tokens);
    } else if (LoadedSheet(r.load).arrayFormulas.Append(area)) {
        return true;
    }
    FreeTokens(out);
    return false;
}

bool ReadOldFormula(OldReader& r, ByteView body) {
    const std::size_t at = ValueAt(r);
    const bool two = r.version == 2;
    const u16 flags = two ? ByteAt(body, at + 8) : WordAt(body, at + 8);
    const std::size_t lengthAt = at + (two ? 9 : 10);
    const std::size_t length = two ? ByteAt(body, lengthAt) : WordAt(body, lengthAt);
    const std::size_t start = lengthAt + (two ? 1 : 2);
    const ByteView tokens = Part(body, start, length);
    FormulaTokens out;
    const bool shared = length == (two ? 4u : 5u) && ByteAt(tokens, 0) == ptgExp;
    if (shared ? !ReadOldArray(r, tokens, out)
               : !WidenOldTokens(r.load, r.version, tokens, From(body, start + length), out)) {
        return false;
    }
    if (!AddOldCell(r, body, CachedValue(Part(body, at, 8)), out)) return false;
    SetFormulaState(r.load, WordAt(body, 0), WordAt(body, 2), flags);
    return true;
}

bool ReadOldString(OldReader& r, ByteView body) {
    const std::size_t start = r.version == 2 ? 1 : 2;
    const std::size_t length = r.version == 2 ? ByteAt(body, 0) : WordAt(body, 0);
    if (ReadBiffString(From(body, start), 7, LoadedBook(r.load).codePage, length, r.load.text) == STRING_FAILED)
        return false;
    if (!ReplaceLastText(r.load, r.load.text)) return false;
    if (!r.load.lastCellKnown) return true;
    CellRecord* cell = GetCell(LoadedSheet(r.load).cells, r.load.lastCell.row, r.load.lastCell.column);
    if (cell) cell->calcState = CALC_CURRENT;
    return true;
}

bool ReadOldFormat(OldReader& r, ByteView body) {
    const std::size_t lengthAt = r.version == 4 ? 2 : 0;
    if (ReadBiffString(From(body, lengthAt + 1), 7, LoadedBook(r.load).codePage, ByteAt(body, lengthAt),
                       r.load.text) == STRING_FAILED) {
        return false;
    }
    u16 id = 0;
    const bool general = EqualIgnoringCase(r.load.text, u"General");
    if (!general && !r.load.text.IsEmpty() && !FindOrAddNumberFormat(LoadedBook(r.load), r.load.text, id))
        return false;
    return r.load.bareFormats.Append(id);
}

bool ReadOldFont(OldReader& r, ByteView body) {
    Workbook& book = LoadedBook(r.load);
    if (!r.load.fontsSeen) book.fonts.Truncate(0);
    r.load.fontsSeen = true;
    FontRecord font;
    font.height = WordAt(body, 0);
    const u16 attributes = WordAt(body, 2);
    font.attributes = attributes & (FONT_ITALIC | FONT_STRIKEOUT);
    font.weight = attributes & 1 ? 700 : 400;
    font.underline = attributes & 4 ? 1 : 0;
    if (r.version > 2) font.colour = WordAt(body, 4);
    const std::size_t at = r.version == 2 ? 4 : 6;
    if (ReadBiffString(From(body, at + 1), 7, book.codePage, ByteAt(body, at), r.load.text) == STRING_FAILED)
        return false;
    const WideView name = r.load.text.View().substr(0, std::size(font.faceName) - 1);
    std::copy(name.begin(), name.end(), font.faceName);
    return book.fonts.Append(font);
}

// XF of BIFF3 (12 bytes) and BIFF4 (12 bytes): font, format by order of arrival, protection, alignment.
bool ReadOldXf(OldReader& r, ByteView body) {
    Workbook& book = LoadedBook(r.load);
    if (!r.load.formatsSeen) book.cellFormats.Truncate(0);
    r.load.formatsSeen = true;
    CellFormat format;
    const u8 font = ByteAt(body, 0);
    format.font = font > 4 ? static_cast<u16>(font - 1) : font;
    const u32 wanted = ByteAt(body, 1);
    format.numberFormat = wanted < r.load.bareFormats.Count() ? r.load.bareFormats[wanted] : u16{0};
    const bool three = r.version == 3;
    format.flags = static_cast<u16>(ByteAt(body, 2) & (three ? 3 : 15));
    const u8 alignment = ByteAt(body, three ? 4 : 3 + 1);
    format.horizontal = alignment & 7;
    if (alignment & 8) format.flags |= FORMAT_WRAP;
    if (!three) format.vertical = alignment >> 4 & 3;
    const u16 fill = WordAt(body, 6);
    format.pattern = fill & 0x3F;
    const u32 border = LongAt(body, 8);
    format.topStyle = border & 7;
    format.leftStyle = border >> 8 & 7;
    format.bottomStyle = border >> 16 & 7;
    format.rightStyle = border >> 24 & 7;
    return book.cellFormats.Append(format);
}

bool ReadOldName(OldReader& r, ByteView body) {
    const bool two = r.version == 2;
    const std::size_t nameLength = ByteAt(body, 3);
    const std::size_t formulaLength = two ? ByteAt(body, 4) : WordAt(body, 4);
    const std::size_t start = two ? 5 : 6;
    Workbook& book = LoadedBook(r.load);
    if (ReadBiffString(From(body, start), 7, book.codePage, nameLength, r.load.text) == STRING_FAILED)
        return false;
    const i32 row = AddName(book, r.load.text, 0);
    if (row < 0) return false;
    const ByteView rest = From(body, start + nameLength);
    FormulaTokens tokens;
    if (formulaLength &&
        !WidenOldTokens(r.load, r.version, Part(rest, 0, formulaLength), From(rest, formulaLength), tokens))
        return false;
    LoadedBook(r.load).names[static_cast<u32>(row)].tokens = tokens;
    return true;
}

bool ReadOldRecord(OldReader& r, const BiffRecord& record) {
    const ByteView body = record.body;
    switch (record.id) {
        case 1:
        case 513: return AddOldCell(r, body, Value(), FormulaTokens());
        case 2: return AddOldCell(r, body, NumberValue(WordAt(body, ValueAt(r))), FormulaTokens());
        case 3:
        case 515: return AddOldCell(r, body, NumberValue(DoubleAt(body, ValueAt(r))), FormulaTokens());
        case 4:
        case 516: return ReadOldLabel(r, body);
        case 5:
        case 517: return ReadOldBoolOrError(r, body);
        case 6:
        case 518:
        case 1030: return ReadOldFormula(r, body);
        case 7:
        case 519: return ReadOldString(r, body);
        case 24:
        case 536: return ReadOldName(r, body);
        case 29: return ReadSelection(r.load, body);
        case 30:
        case 1054: return ReadOldFormat(r, body);
        case 34: LoadedBook(r.load).date1904 = ByteAt(body, 0) != 0; return true;
        case 49:
        case 561: return ReadOldFont(r, body);
        case 66: ReadCodePage(r.load, body); return true;
        case 67:  // XF of BIFF2: its cells carry their attributes themselves
            return true;
        case 579:
        case 1091: return ReadOldXf(r, body);
        case 638: return AddOldCell(r, body, NumberValue(DecodeRk(LongAt(body, 6))), FormulaTokens());
        default: return true;
    }
}

}  // namespace

bool ReadOldBook(LoadState& load, u16 bofId) {
    OldReader r{load, VersionOf(bofId)};
    load.biffVersion = 7;
    LoadedBook(load).biffVersion = 7;
    const WideView file = FileNameOf(LoadedBook(load).path);
    const WideView name = file.substr(0, file.rfind(u'.')).substr(0, MAX_SHEET_NAME);
    Sheet& sheet = LoadedSheet(load);
    std::fill(std::begin(sheet.name), std::end(sheet.name), u'\0');
    std::copy(name.begin(), name.end(), sheet.name);
    BiffRecord record;
    while (NextRecord(load.stream, record)) {
        if (!ReadOldRecord(r, record)) return false;
    }
    return true;
}

}  // namespace tally
