#include <algorithm>
#include <cmath>

#include "fileio/biff/RichText.h"
#include "fileio/biff/SheetRecords.h"
#include "model/CellStore.h"

namespace tally {

bool AddCell(LoadState& load, i32 row, i32 column, u16 format, Value value, FormulaTokens tokens) {
    // A column beyond the sheet has no place to go to.
    if (column >= MAX_COLUMNS || row >= MAX_ROWS) {
        FreeValue(value);
        FreeTokens(tokens);
        return true;
    }
    if (format >= LoadedBook(load).cellFormats.Count()) format = 0;
    // What is no number in a file cannot be calculated with.
    if (value.type == VT_NUMBER && !std::isfinite(value.number)) value = ErrorValue(ERR_NUM);
    load.lastCell = {load.sheet, static_cast<u16>(row), static_cast<u8>(column)};
    load.lastCellKnown = true;
    return InsertCell(LoadedSheet(load), row, column, format, value, tokens);
}

bool AddTextCell(LoadState& load, i32 row, i32 column, u16 format, WideView text) {
    TextBlock* block = MakeText(text);
    return block && AddCell(load, row, column, format, OwnedTextValue(block), FormulaTokens());
}

bool ReplaceLastText(LoadState& load, WideView text) {
    if (!load.lastCellKnown) return true;
    CellRecord* cell = GetCell(LoadedSheet(load).cells, load.lastCell.row, load.lastCell.column);
    if (!cell) return true;
    TextBlock* block = MakeText(text);
    if (!block) return false;
    FreeValue(cell->value);
    cell->value = OwnedTextValue(block);
    if (!cell->formula) cell->calcState = CALC_CURRENT;
    return true;
}

bool ReadBlank(LoadState& load, ByteView body) {
    return AddCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4), Value(), FormulaTokens());
}

bool ReadNumberCell(LoadState& load, ByteView body) {
    return AddCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4), NumberValue(DoubleAt(body, 6)),
                   FormulaTokens());
}

bool ReadLabel(LoadState& load, ByteView body) {
    const u16 page = LoadedBook(load).codePage;
    if (ReadBiffString(From(body, 8), load.biffVersion, page, WordAt(body, 6), load.text) == STRING_FAILED)
        return false;
    return AddTextCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4), load.text);
}

// A text with formats of single characters. The older form has a byte for each place and font.
bool ReadRichText(LoadState& load, ByteView body) {
    const bool wide = load.biffVersion == 8;
    const std::size_t used =
        ReadBiffString(From(body, 8), load.biffVersion, LoadedBook(load).codePage, WordAt(body, 6), load.text);
    if (used == STRING_FAILED) return false;
    const ByteView rest = From(body, 8 + used);
    const u32 size = wide ? 2 : 1;
    const u32 count = std::min(wide ? u32{WordAt(rest, 0)} : u32{ByteAt(rest, 0)},
                               static_cast<u32>(From(rest, size).size() / (2 * size)));
    const WideView text = load.text;
    TextBlock* block = MakeTextRoom(text.size(), count ? RUN_COUNT_BYTES + count * RUN_BYTES : 0);
    if (!block) return false;
    std::copy(text.begin(), text.end(), block->characters);
    u8* out = TextTailBytes(block);
    if (count) PutU16(out, count);
    for (u32 i = 0; i < count * 2; ++i) {
        const std::size_t at = size + std::size_t{i} * size;
        PutU16(out + RUN_COUNT_BYTES + i * 2, wide ? WordAt(rest, at) : u32{ByteAt(rest, at)});
    }
    return AddCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4), OwnedTextValue(block),
                   FormulaTokens());
}

bool ReadBoolOrError(LoadState& load, ByteView body) {
    const u8 value = ByteAt(body, 6);
    return AddCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4),
                   ByteAt(body, 7) == 0 ? BoolValue(value != 0) : ErrorValue(ErrorFromBiff(value)),
                   FormulaTokens());
}

bool ReadRkCell(LoadState& load, ByteView body) {
    return AddCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4),
                   NumberValue(DecodeRk(LongAt(body, 6))), FormulaTokens());
}

bool ReadMulRk(LoadState& load, ByteView body) {
    const i32 row = WordAt(body, 0);
    const i32 first = WordAt(body, 2);
    // The last column that the record names is not trusted: its length tells.
    const i32 last = first + static_cast<i32>(body.size() / 6) - 2;
    std::size_t at = 4;
    for (i32 column = first; column <= last; ++column, at += 6) {
        if (!AddCell(load, row, column, WordAt(body, at), NumberValue(DecodeRk(LongAt(body, at + 2))),
                     FormulaTokens())) {
            return false;
        }
    }
    return true;
}

bool ReadMulBlank(LoadState& load, ByteView body) {
    const i32 row = WordAt(body, 0);
    const i32 first = WordAt(body, 2);
    const i32 count = (static_cast<i32>(body.size()) - 6) / 2;
    for (i32 i = 0; i < count; ++i) {
        if (!AddCell(load, row, first + i, WordAt(body, 4 + static_cast<std::size_t>(i) * 2), Value(),
                     FormulaTokens()))
            return false;
    }
    return true;
}

bool ReadSharedText(LoadState& load, ByteView body) {
    const u32 index = LongAt(body, 6);
    TextBlock* text = index < load.strings.Count() ? load.strings[index] : EmptyText();
    return AddCell(load, WordAt(body, 0), WordAt(body, 2), WordAt(body, 4), OwnedTextValue(RetainText(text)),
                   FormulaTokens());
}

}  // namespace tally
