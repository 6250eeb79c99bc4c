#include "fileio/biff/LinkRecords.h"
#include "base/Text.h"
#include "fileio/biff/LoadState.h"
#include "formula/Links.h"

namespace tally {
namespace {

bool ReadNameTokens(LoadState& load, ByteView rest, u16 length, FormulaTokens& out) {
    if (!length) return true;
    if (rest.size() < length) length = static_cast<u16>(rest.size());
    const ByteView tokens = rest.first(length);
    const ByteView extra = From(rest, length);
    return load.biffVersion == 8 ? MakeTokens(out, tokens, extra) : WidenTokens(load, tokens, extra, out, true);
}

bool ReadLinkText(LoadState& load, ByteView bytes, std::size_t length, WideText& out, std::size_t& used) {
    used = ReadBiffString(bytes, load.biffVersion, LoadedBook(load).codePage, length, out);
    return used != STRING_FAILED;
}

// The rows go on in CONTINUE records, whole ones in each.
bool ReadExternSheet8(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    u32 left = WordAt(body, 0);
    ByteView rows = From(body, 2);
    BiffRecord more;
    for (;;) {
        for (; left && !rows.empty(); --left, rows = From(rows, 6)) {
            const ExternSheet row = {static_cast<i16>(WordAt(rows, 0)), static_cast<i16>(WordAt(rows, 2)),
                                     static_cast<i16>(WordAt(rows, 4))};
            if (!book.externSheets.Append(row)) return false;
        }
        if (!left || PeekRecordId(load.stream) != RECORD_CONTINUE || !NextRecord(load.stream, more))
            return true;
        rows = more.body;
    }
}

bool ReadExternSheet5(LoadState& load, ByteView body) {
    std::size_t length = ByteAt(body, 0);
    const u8 first = ByteAt(body, 1);
    if (first == OWN_SHEET_MARK) ++length;
    ExternSheetEntry* entry = load.externTable.AppendDefault();
    if (!entry) return false;
    if (length == 1 && first == 0) entry->kind = EXTERNSHEET_NONE;
    if (length == 1 && first == OWN_BOOK_MARK) entry->kind = EXTERNSHEET_OWN;
    if (length == 1 && first == ADDIN_MARK) entry->kind = EXTERNSHEET_ADDIN;
    if (entry->kind != EXTERNSHEET_TEXT) return true;
    return ReadBiffString(From(body, 1), 7, LoadedBook(load).codePage, length, entry->text) != STRING_FAILED;
}

}  // namespace

bool ExpandBuiltIn(WideText& text) {
    const u16 code = text.IsEmpty() ? u16{0} : static_cast<u16>(text[0]);
    WideText full;
    if (!full.Assign(BuiltInName(static_cast<u8>(code < 256 ? code : 255))) ||
        !full.Append(text.View().substr(text.IsEmpty() ? 0 : 1))) {
        return false;
    }
    text = std::move(full);
    return true;
}

void FreeShared(Array<SharedFormula>& list) {
    for (SharedFormula& entry : list) FreeTokens(entry.tokens);
    list.Clear();
}

LoadState::~LoadState() {
    for (TextBlock* text : strings) ReleaseText(text);
    FreeShared(shared);
    FreeShared(arrays);
}

bool ReadName(LoadState& load, ByteView body) {
    Workbook& book = LoadedBook(load);
    const u16 flags = WordAt(body, 0);
    DefinedName* name = book.names.AppendDefault();
    if (!name) return false;
    name->flags = flags & ~NAME_IS_BUILT_IN;
    name->shortcut = ByteAt(body, 2);
    if (load.biffVersion == 8)
        for (std::size_t i = 0; i < 4; ++i) name->textLengths[i] = ByteAt(body, NAME_TEXTS_AT + i);
    else if (LongAt(body, NAME_TEXTS_AT)) book.hasUnkept = true;
    name->sheet = WordAt(body, load.biffVersion == 8 ? 8 : 6);
    std::size_t used = 0;
    if (!ReadLinkText(load, From(body, NAME_HEAD), ByteAt(body, 3), name->text, used)) return false;
    // A code of 0 is a name too, though as a character it ends a text.
    if (flags & NAME_IS_BUILT_IN) {
        if (name->text.IsEmpty() && !name->text.Append(u'\0')) return false;
        if (!ExpandBuiltIn(name->text)) return false;
    }
    FormulaTokens tokens;
    if (!ReadNameTokens(load, From(body, NAME_HEAD + used), WordAt(body, 4), tokens)) return false;
    book.names.Last().tokens = tokens;
    return true;
}

bool ReadExternSheet(LoadState& load, ByteView body) {
    return load.biffVersion == 8 ? ReadExternSheet8(load, body) : ReadExternSheet5(load, body);
}

bool ReadExternName(LoadState& load, ByteView body) {
    const u16 flags = WordAt(body, 0);
    WideText text;
    std::size_t used = 0;
    if (!ReadLinkText(load, From(body, 7), ByteAt(body, 6), text, used)) return false;
    if (load.biffVersion != 8) {
        return load.externTable.IsEmpty() || load.externTable.Last().names.Append(std::move(text));
    }
    if (flags & EXTERNNAME_IS_BUILT_IN) {
        if (text.IsEmpty() && !text.Append(u'\0')) return false;
        if (!ExpandBuiltIn(text)) return false;
    }
    Workbook& book = LoadedBook(load);
    if (book.externBooks.IsEmpty()) return true;
    ExternName name;
    name.text = std::move(text);
    name.sheet = static_cast<i16>(WordAt(body, 2));
    name.flags = flags;
    name.body.form = load.biffVersion;
    const ByteView rest = From(body, 7 + used);
    if (!name.body.bytes.AppendMany(rest.data(), rest.size())) return false;
    return book.externBooks.Last().names.Append(std::move(name));
}

bool ReadSupbook(LoadState& load, ByteView body) {
    const u16 sheets = WordAt(body, 0);
    const u16 length = WordAt(body, 2);
    ExternBook* row = LoadedBook(load).externBooks.AppendDefault();
    if (!row) return false;
    if (length == SUPBOOK_OWN || length == SUPBOOK_ADDIN) {
        row->kind = length == SUPBOOK_OWN ? EXTERN_SELF : EXTERN_ADDIN;
        return true;
    }
    if (length == 1 && sheets == 0 && WordAt(body, 4) == 0) {
        row->kind = EXTERN_CURRENT;
        return true;
    }
    std::size_t at = 4;
    std::size_t used = 0;
    if (!ReadLinkText(load, From(body, at), length, row->path, used)) return false;
    at += used;
    for (u32 i = 0; i < sheets; ++i) {
        if (at >= body.size()) {
            // The names go on in CONTINUE records, whole ones in each.
            BiffRecord more;
            if (PeekRecordId(load.stream) != RECORD_CONTINUE || !NextRecord(load.stream, more)) break;
            body = more.body;
            at = 0;
        }
        WideText name;
        if (!ReadLinkText(load, From(body, at + 2), WordAt(body, at), name, used)) return false;
        at += 2 + used;
        if (!row->sheetNames.Append(std::move(name))) return false;
    }
    return true;
}

void ResolveNameSheets(LoadState& load) {
    Workbook& book = LoadedBook(load);
    for (DefinedName& name : book.names) {
        if (!name.sheet) continue;
        const u32 entry = name.sheet - 1u;
        const WideView text =
            entry < load.externTable.Count() ? load.externTable[entry].text.View() : WideView();
        const i32 sheet = text.empty() ? -1 : FindSheet(load.book, text.substr(1));
        name.sheet = static_cast<u16>(sheet + 1);
    }
}

}  // namespace tally
