#include <algorithm>
#include <numeric>

#include "fileio/pocket/PocketSave.h"
#include "formula/FormulaTypes.h"
#include "functions/Handlers.h"

// The pocket form: the book in front, then each worksheet. Sheets of other kinds are left out.

namespace tally {
namespace {

constexpr u16 VERSION = 270;
constexpr u16 WINDOW_FLAGS = 31;
constexpr std::size_t NAME_MOST = 255;
// Beyond this many walks over the names, all that lead to other names are refused.
constexpr int NAME_PASSES = 16;

void WriteWords(SaveState& save, u8 id, std::initializer_list<u32> words) {
    u8* out = BeginPocketRecord(save.writer, id, words.size() * 2);
    for (u32 word : words) {
        PutU16(out, word);
        out += 2;
    }
}

// Numbers the worksheets and tells what the form does not hold of the others and of the book.
bool NumberSheets(SaveState& save, PocketNumbers& numbers) {
    const Array<Sheet*>& sheets = SavedBook(save).sheets;
    if (!numbers.sheets.Resize(sheets.Count())) return false;
    u16 next = 0;
    for (u32 i = 0; i < sheets.Count(); ++i) {
        const bool written = sheets[i]->kind == SHEET_WORKSHEET;
        numbers.sheets[i] = written ? next++ : NOT_IN_POCKET;
        if (!written) save.losses |= sheets[i]->kind == SHEET_CHART ? LOSS_CHARTS : LOSS_SHEET_KINDS;
    }
    if (SavedBook(save).date1904) save.losses |= LOSS_DATES;
    return true;
}

// The number of the sheet that the book opens with: its own, or that of the next worksheet before it.
u16 ActiveSheet(const SaveState& save, const PocketNumbers& numbers) {
    for (i32 i = SavedBook(save).currentSheet; i >= 0; --i) {
        if (static_cast<u32>(i) < numbers.sheets.Count() &&
            numbers.sheets[static_cast<u32>(i)] != NOT_IN_POCKET)
            return numbers.sheets[static_cast<u32>(i)];
    }
    return 0;
}

void WriteZoom(SaveState& save) {
    const Array<Sheet*>& sheets = SavedBook(save).sheets;
    const auto first = std::find_if(sheets.begin(), sheets.end(),
                                    [](const Sheet* sheet) { return sheet->kind == SHEET_WORKSHEET; });
    if (first == sheets.end() || (*first)->zoomPercent == 100) return;
    const i32 divisor = std::gcd((*first)->zoomPercent, 100);
    WriteWords(save, RECORD_SCL,
               {static_cast<u32>((*first)->zoomPercent / divisor), static_cast<u32>(100 / divisor)});
}

void WriteSheetNames(SaveState& save) {
    for (const Sheet* sheet : SavedBook(save).sheets) {
        if (sheet->kind != SHEET_WORKSHEET) continue;
        const WideView name(sheet->name);
        u8* out = BeginPocketRecord(save.writer, RECORD_BOUNDSHEET, 2);
        out[0] = 0;
        out[1] = static_cast<u8>(name.size());
        WritePocketText(save, name);
    }
}

// ---- names --------------------------------------------------------------------------------------------------

void MarkNames(const FormulaTokens& tokens, Array<u16>& marks) {
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        if (FoldToken(tokens.bytes[p]) != ptgName || p + 3 > tokens.length) continue;
        const u32 name = ReadU16(tokens.bytes + p + 1);
        if (name && name <= marks.Count()) marks[name - 1] = 1;
    }
}

// A name without a formula is written where one refers to it.
void MarkUndefinedNames(SaveState& save, PocketNumbers& numbers) {
    const Workbook& book = SavedBook(save);
    for (const DefinedName& name : book.names) MarkNames(name.tokens, numbers.names);
    for (const Sheet* sheet : book.sheets) {
        if (sheet->kind != SHEET_WORKSHEET) continue;
        for (const FormulaCell* formula : sheet->cells.formulas) MarkNames(formula->tokens, numbers.names);
    }
    for (u32 i = 0; i < book.names.Count(); ++i) {
        if (HasFormula(book.names[i].tokens)) numbers.names[i] = 1;
    }
}

bool IsNameable(const DefinedName& name, const PocketNumbers& numbers) {
    if (name.text.IsEmpty() || name.text.Length() > NAME_MOST) return false;
    return !name.sheet ||
           (name.sheet <= numbers.sheets.Count() && numbers.sheets[name.sheet - 1u] != NOT_IN_POCKET);
}

bool HasNames(const FormulaTokens& tokens) {
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        if (FoldToken(tokens.bytes[p]) == ptgName) return true;
    }
    return false;
}

bool NameFits(SaveState& save, const FormulaTokens& tokens, int pass) {
    u16 length = 0;
    if (!HasFormula(tokens)) return true;
    return pass < NAME_PASSES ? NarrowTokens(save, tokens, true, length) : !HasNames(tokens);
}

// Finds the names that the form can hold, given the marks of all that may be written. A name that leads to a
// refused one is refused too; walking to and fro, few passes find them all.
void RefuseNames(SaveState& save, PocketNumbers& numbers) {
    const Array<DefinedName>& names = SavedBook(save).names;
    bool changed = true;
    for (int pass = 0; changed && pass <= NAME_PASSES && !save.writer.failed; ++pass) {
        changed = false;
        for (u32 n = 0; n < names.Count(); ++n) {
            const u32 i = pass % 2 ? names.Count() - 1 - n : n;
            if (!numbers.names[i] || NameFits(save, names[i].tokens, pass)) continue;
            numbers.names[i] = 0;
            changed = true;
        }
    }
}

bool NumberNames(SaveState& save, PocketNumbers& numbers) {
    const Array<DefinedName>& names = SavedBook(save).names;
    if (!numbers.names.Resize(names.Count())) return false;
    MarkUndefinedNames(save, numbers);
    for (u32 i = 0; i < names.Count(); ++i) {
        if (!IsNameable(names[i], numbers)) numbers.names[i] = 0;
    }
    RefuseNames(save, numbers);
    u16 next = 0;
    for (u32 i = 0; i < names.Count(); ++i) {
        if (numbers.names[i]) {
            numbers.names[i] = ++next;
        } else if (HasFormula(names[i].tokens)) {
            save.losses |= LOSS_NAMES;
        }
    }
    return true;
}

void WriteName(SaveState& save, const PocketNumbers& numbers, const DefinedName& name) {
    u16 length = 0;
    if (HasFormula(name.tokens)) IgnoreFailure(NarrowTokens(save, name.tokens, true, length));
    const u16 sheet = name.sheet ? numbers.sheets[name.sheet - 1u] : NOT_IN_POCKET;
    u8* out = BeginPocketRecord(save.writer, RECORD_NAME, 7);
    PutU16(out, name.flags);
    out[2] = static_cast<u8>(name.text.Length());
    PutU16(out + 3, length);
    PutU16(out + 5, sheet);
    WritePocketText(save, name.text);
    WriteBytes(save.writer, save.narrowed.out.Data(), length);
}

void WriteNames(SaveState& save, const PocketNumbers& numbers) {
    const Array<DefinedName>& names = SavedBook(save).names;
    for (u32 i = 0; i < names.Count() && !save.writer.failed; ++i) {
        if (numbers.names[i]) WriteName(save, numbers, names[i]);
    }
}

// ---- the file -----------------------------------------------------------------------------------------------

void WriteBook(SaveState& save, PocketNumbers& numbers) {
    const Workbook& book = SavedBook(save);
    WriteWords(save, RECORD_BOF_2, {VERSION, SUBSTREAM_GLOBALS});
    WriteWords(save, RECORD_CODEPAGE, {book.fileCodePage});
    if (book.country[0] || book.country[1])
        WriteWords(save, RECORD_COUNTRY, {book.country[0], book.country[1]});
    WriteZoom(save);
    WriteWords(save, RECORD_WINDOW1, {WINDOW_FLAGS, ActiveSheet(save, numbers)});
    WritePocketFormats(save, numbers);
    WriteSheetNames(save);
    WriteNames(save, numbers);
    WriteWords(save, RECORD_EOF, {});
}

}  // namespace

u8* BeginPocketRecord(BiffWriter& writer, u8 id, std::size_t size) {
    u8* out = writer.failed ? nullptr : writer.stream.AppendRaw(size + 1);
    if (!out) {
        writer.failed = true;
        return writer.sink;
    }
    *out = id;
    return out + 1;
}

void WritePocket(SaveState& save) {
    PocketNumbers numbers;
    save.pocket = &numbers;
    if (!NumberSheets(save, numbers) || !NumberNames(save, numbers)) save.writer.failed = true;
    if (!save.writer.failed) WriteBook(save, numbers);
    for (const Sheet* sheet : SavedBook(save).sheets) {
        if (sheet->kind != SHEET_WORKSHEET || save.writer.failed) continue;
        WriteWords(save, RECORD_BOF_2, {VERSION, SUBSTREAM_SHEET});
        WritePocketSheet(save, *sheet);
        WriteWords(save, RECORD_EOF, {});
    }
    save.pocket = nullptr;
}

}  // namespace tally
