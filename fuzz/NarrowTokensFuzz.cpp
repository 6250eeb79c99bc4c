#include <cstdlib>
#include <cstring>

#include "Common.h"
#include "fileio/biff/LoadState.h"
#include "fileio/biff/SaveState.h"
#include "formula/Links.h"

// Token bytes with trailing data, brought to the older form, back, and to the older form again: the two older
// ones are the same.

namespace tally {
namespace {

// The table of a file's links as its reader would have it.
bool LinksAsRead(const SaveState& save, LoadState& load) {
    load.externTable.Clear();
    for (const LinkEntry& entry : save.links.entries) {
        ExternSheetEntry* row = load.externTable.AppendDefault();
        if (!row) return false;
        if (entry.externBook == OWN_BOOK) {
            row->kind = EXTERNSHEET_OWN;
            continue;
        }
        const ExternBook& book = SavedBook(save).externBooks[static_cast<u32>(entry.externBook)];
        row->kind = book.kind == EXTERN_ADDIN ? EXTERNSHEET_ADDIN : EXTERNSHEET_TEXT;
        if (row->kind == EXTERNSHEET_TEXT && !row->text.Assign(u"[other.xls]One")) return false;
        for (const ExternName& name : book.names) {
            WideText text;
            if (!text.Assign(name.text) || !row->names.Append(std::move(text))) return false;
        }
    }
    return true;
}

// A book of two sheets with a name, an add-in and another file.
void MakeTables() {
    Workbook& book = *CurrentWorkbook();
    IgnoreFailure(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    IgnoreFailure(AddName(book, u"n", 0));
    IgnoreFailure(FindExternSheet(book, FindOrAddExternBook(book, EXTERN_SELF), 0, 1));
    const i32 addIn = FindOrAddExternBook(book, EXTERN_ADDIN);
    IgnoreFailure(FindOrAddExternName(book.externBooks[static_cast<u32>(addIn)], u"EDATE"));
    IgnoreFailure(FindExternSheet(book, addIn, EXTERN_NO_SHEET, EXTERN_NO_SHEET));
    ExternBook* file = book.externBooks.AppendDefault();
    if (!file || !file->path.Assign(u"other.xls")) return;
    IgnoreFailure(AddExternSheetName(*file, u"One"));
    IgnoreFailure(FindExternSheet(book, static_cast<i32>(book.externBooks.Count()) - 1, 0, 0));
}

// From the older form and back to it. False when it does not come back at all.
bool There(SaveState& save, bool offsets, Array<u8>& bytes, u16& length) {
    LoadState load;
    load.book = CurrentBook();
    load.biffVersion = 7;
    FormulaTokens wide;
    if (!LinksAsRead(save, load)) return false;
    const ByteView all = bytes.Span();
    if (!WidenTokens(load, all.first(length), all.subspan(length), wide, offsets)) std::abort();
    const bool good = HasFormula(wide) && NarrowTokens(save, wide, offsets, length);
    FreeTokens(wide);
    bytes.Truncate(0);
    return good && bytes.AppendMany(save.narrowed.out.Data(), save.narrowed.out.Count());
}

void NarrowTwice(const FormulaTokens& tokens, bool offsets) {
    SaveState save;
    save.book = CurrentBook();
    save.biffVersion = 7;
    save.codePage = 1252;
    u16 length = 0;
    const bool good = NarrowTokens(save, tokens, offsets, length);
    if (length > save.narrowed.out.Count()) std::abort();
    Array<u8> bytes, before;
    if (!good || !bytes.AppendMany(save.narrowed.out.Data(), save.narrowed.out.Count())) return;
    const u16 first = length;
    // The first time a link may come to another entry of the same book.
    if (!There(save, offsets, bytes, length)) return;
    if (length != first) std::abort();
    if (!before.AppendMany(bytes.Data(), bytes.Count()) || !There(save, offsets, bytes, length)) return;
    if (length != first || bytes.Count() != before.Count() ||
        std::memcmp(bytes.Data(), before.Data(), bytes.Count()) != 0) {
        std::abort();
    }
}

}  // namespace
}  // namespace tally

extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size < 3 || size > 4096) return 0;
    const std::size_t tail = data[1] < size - 2 ? data[1] : 0;
    const ByteView all(data + 2, size - 2);
    FormulaTokens tokens;
    BeginRun();
    MakeTables();
    if (MakeTokens(tokens, all.first(all.size() - tail), all.last(tail))) NarrowTwice(tokens, data[0] & 1);
    FreeTokens(tokens);
    EndRun();
    return 0;
}
