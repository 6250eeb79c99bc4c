#include <algorithm>

#include "fileio/biff/FormulaRecords.h"
#include "fileio/biff/SheetRecords.h"
#include "formula/Precedents.h"
#include "model/CellStore.h"

namespace tally {
namespace {

u32 KeyOf(u16 row, u8 column) { return u32{row} << 8 | column; }

// The entry of an owner, or where it belongs.
u32 FindShared(const Array<SharedFormula>& list, u32 key) {
    const SharedFormula* found = std::lower_bound(
        list.begin(), list.end(), key,
        [](const SharedFormula& entry, u32 wanted) { return KeyOf(entry.row, entry.column) < wanted; });
    return static_cast<u32>(found - list.begin());
}

bool MakeFormula(LoadState& load, ByteView tokens, ByteView extra, FormulaTokens& out) {
    return load.biffVersion == 8 ? MakeTokens(out, tokens, extra) : WidenTokens(load, tokens, extra, out);
}

bool AddArrayArea(LoadState& load, u16 row, u8 column, ByteView body) {
    ArrayEntry entry;
    entry.area = {row, std::max(row, WordAt(body, 2)), column, std::max(column, ByteAt(body, 5))};
    return LoadedSheet(load).arrayFormulas.Append(entry);
}

// The tokens that a ptgExp leads to, read from the record behind the formula when its owner has not
// come yet. Null tokens when the file has none.
bool SharedTokens(LoadState& load, bool shared, u16 row, u8 column, FormulaTokens& out) {
    Array<SharedFormula>& list = shared ? load.shared : load.arrays;
    const u32 key = KeyOf(row, column);
    u32 at = FindShared(list, key);
    if (at == list.Count() || KeyOf(list[at].row, list[at].column) != key) {
        BiffRecord record;
        if (PeekRecordId(load.stream) != (shared ? RECORD_SHRFMLA : RECORD_ARRAY) ||
            !NextRecord(load.stream, record))
            return true;
        const std::size_t start = shared ? SHRFMLA_HEAD : ARRAY_HEAD;
        const std::size_t length = WordAt(record.body, start - 2);
        SharedFormula entry = {row, column, {}};
        if (!MakeFormula(load, Part(record.body, start, length), From(record.body, start + length),
                         entry.tokens))
            return false;
        if (!shared && !AddArrayArea(load, row, column, record.body)) {
            FreeTokens(entry.tokens);
            return false;
        }
        if (!list.InsertAt(at, entry)) {
            FreeTokens(entry.tokens);
            return false;
        }
    }
    CopyTokens(out, list[at].tokens);
    return true;
}

bool FormulaTokensOf(LoadState& load, ByteView body, FormulaTokens& out) {
    const u16 length = WordAt(body, FORMULA_LENGTH_AT);
    const ByteView tokens = Part(body, FORMULA_HEAD, length);
    if (length == 5 && ByteAt(tokens, 0) == ptgExp) {
        return SharedTokens(load, (WordAt(body, FORMULA_FLAGS_AT) & FORMULA_IS_SHARED) != 0, WordAt(tokens, 1),
                            ByteAt(tokens, 3), out);
    }
    return tokens.empty() || MakeFormula(load, tokens, From(body, FORMULA_HEAD + length), out);
}

}  // namespace

bool PlaceOffsets(FormulaTokens& tokens, u16 row, u8 column) {
    bool unshared = false;
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        const u8 folded = FoldToken(tokens.bytes[p]);
        const u32 size = folded == ptgRefN ? 4 : 8;
        if ((folded != ptgRefN && folded != ptgAreaN) || p + size >= tokens.length) continue;
        if (!unshared && !UnshareTokens(tokens)) return false;
        unshared = true;
        u8* token = tokens.bytes + p;
        *token = static_cast<u8>(*token - 8);
        u8 nibble = 0;
        RefArea area =
            folded == ptgRefN ? ReadRefOperand(token + 1, nibble) : ReadAreaOperand(token + 1, nibble);
        if (nibble & FIRST_ROW_RELATIVE) area.firstRow = static_cast<u16>(area.firstRow + row);
        if (nibble & FIRST_COLUMN_RELATIVE) area.firstColumn = static_cast<u8>(area.firstColumn + column);
        if (folded == ptgRefN) {
            WriteRefOperand(token + 1, area.firstRow, area.firstColumn, nibble);
            continue;
        }
        if (nibble & LAST_ROW_RELATIVE) area.lastRow = static_cast<u16>(area.lastRow + row);
        if (nibble & LAST_COLUMN_RELATIVE) area.lastColumn = static_cast<u8>(area.lastColumn + column);
        WriteAreaOperand(token + 1, area, nibble);
    }
    return true;
}

Value CachedValue(ByteView result) {
    if (WordAt(result, 6) != NOT_A_NUMBER) return NumberValue(DoubleAt(result, 0));
    switch (ByteAt(result, 0)) {
        case 0:
        case 3: return OwnedTextValue(RetainText(EmptyText()));
        case 1: return BoolValue(ByteAt(result, 2) != 0);
        case 2: return ErrorValue(ErrorFromBiff(ByteAt(result, 2)));
        default: return Value();
    }
}

namespace {

void StateFormula(CellRecord* cell, const TokenTraits& traits, u16 flags) {
    if (!cell || !cell->formula) return;
    cell->formula->alwaysCalculate = (flags & FORMULA_ALWAYS) || traits.alwaysCalculate;
    const bool current = !(flags & FORMULA_ON_LOAD) && !traits.hyperlink;
    cell->calcState = current ? CALC_CURRENT : CALC_STALE;
}

CellRecord* CellOfRecord(LoadState& load, i32 row, i32 column) {
    return column < MAX_COLUMNS ? GetCell(LoadedSheet(load).cells, row, column) : nullptr;
}

}  // namespace

void SetFormulaState(LoadState& load, i32 row, i32 column, u16 flags) {
    CellRecord* cell = CellOfRecord(load, row, column);
    if (cell && cell->formula) StateFormula(cell, ReadTokenTraits(cell->formula->tokens), flags);
}

bool ReadFormulaRecord(LoadState& load, ByteView body) {
    const u16 row = WordAt(body, 0);
    const u16 column = WordAt(body, 2);
    const u16 flags = WordAt(body, FORMULA_FLAGS_AT);
    FormulaTokens tokens;
    if (!FormulaTokensOf(load, body, tokens)) return false;
    TokenTraits traits;
    if (HasFormula(tokens)) traits = ReadTokenTraits(tokens);
    if (traits.offsets && column < MAX_COLUMNS && !PlaceOffsets(tokens, row, static_cast<u8>(column))) {
        FreeTokens(tokens);
        return false;
    }
    if (!AddCell(load, row, column, WordAt(body, 4), CachedValue(Part(body, 6, 8)), tokens)) return false;
    StateFormula(CellOfRecord(load, row, column), traits, flags);
    if ((flags & (FORMULA_ALWAYS | FORMULA_ON_LOAD)) == FORMULA_ALWAYS) load.hasVolatiles = true;
    return true;
}

bool ReadStringResult(LoadState& load, ByteView body) {
    const u16 page = LoadedBook(load).codePage;
    const std::size_t length = WordAt(body, 0);
    if (ReadBiffString(From(body, 2), load.biffVersion, page, length, load.text) == STRING_FAILED) return false;
    // A long text goes on in CONTINUE records, each with an option byte of its own.
    WideText more;
    BiffRecord record;
    while (load.biffVersion == 8 && load.text.Length() < length &&
           PeekRecordId(load.stream) == RECORD_CONTINUE && NextRecord(load.stream, record)) {
        if (ReadBiffString(record.body, 8, page, length - load.text.Length(), more) == STRING_FAILED ||
            !load.text.Append(more.View())) {
            return false;
        }
    }
    return ReplaceLastText(load, load.text);
}

bool ReadDataTable(LoadState& load, ByteView body) {
    DataTable table;
    table.area = {WordAt(body, 0), WordAt(body, 2), ByteAt(body, 4), ByteAt(body, 5)};
    table.flags = WordAt(body, 6);
    for (std::size_t i = 0; i < 4; ++i) table.inputs[i] = WordAt(body, 8 + i * 2);
    return LoadedSheet(load).dataTables.Append(table);
}

}  // namespace tally
