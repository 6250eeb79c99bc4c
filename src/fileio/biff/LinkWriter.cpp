#include <algorithm>

#include "base/Text.h"
#include "fileio/biff/LinkRecords.h"
#include "fileio/biff/SaveState.h"
#include "formula/Links.h"

// SUPBOOK, EXTERNNAME, EXTERNSHEET and NAME records.

namespace tally {
namespace {

constexpr std::size_t EXTERNSHEET_ROOM = 1370 * 6;   // whole rows
constexpr u8 TEXT_NAMES_8 = 14, TEXT_NAMES_95 = 13;  // built-in names that the forms know
constexpr std::size_t LINK_TEXT_MOST = 1024;         // characters of a path
constexpr u8 CONSTANT_ERROR[] = {2, 0, ptgErr, 23};  // a token string with its length

// Names that are built in with anything behind them.
struct NamePrefix {
    WideView text;
    u8 code;
    bool in8;  // also in the 97 form
};
constexpr NamePrefix prefixes[] = {{u"Auto_Open", 1, true},
                                   {u"Auto_Close", 2, true},
                                   {u"Auto_Activate", 10, false},
                                   {u"Auto_Deactivate", 11, false}};

// A name as the file has it: a code with the rest of the text, or the text.
struct NameImage {
    bool builtIn = false;
    u8 code = 0;
    WideView rest;
};

NameImage ImageOfName(WideView text, bool form8) {
    const i32 code = BuiltInNameCode(text);
    if (code >= 0 && code < (form8 ? TEXT_NAMES_8 : TEXT_NAMES_95)) return {true, static_cast<u8>(code), {}};
    for (const NamePrefix& prefix : prefixes) {
        if ((form8 && !prefix.in8) || !StartsWithIgnoringCase(text, prefix.text)) continue;
        return {true, prefix.code, text.substr(prefix.text.size())};
    }
    return {false, 0, text};
}

// The text of a name without its length, which is returned.
u32 WriteNameText(SaveState& save, BiffWriter& to, const NameImage& name) {
    const std::size_t most = name.builtIn ? 254 : 255;
    if (save.biffVersion != 8) {
        const ByteView bytes = NarrowText(save, name.rest, most);
        if (name.builtIn) WriteU8(to, name.code);
        WriteBytes(to, bytes.data(), bytes.size());
        return static_cast<u32>(bytes.size()) + name.builtIn;
    }
    if (name.rest.size() > most) save.losses |= LOSS_TEXT;
    const WideView rest = name.rest.substr(0, most);
    const bool wide = IsWide(rest);
    WriteU8(to, wide);
    if (name.builtIn) WriteU8(to, name.code);
    if (name.builtIn && wide) WriteU8(to, 0);
    WriteCharacters(to, rest, wide);
    return static_cast<u32>(rest.size()) + name.builtIn;
}

void WriteExternName(SaveState& save, const ExternName& name) {
    const NameImage image = ImageOfName(name.text, true);
    const bool kept = name.body.form == save.biffVersion && !name.body.bytes.IsEmpty();
    BeginBody(save);
    BiffWriter& to = save.body;
    const bool coded = image.builtIn && save.biffVersion == 8;
    const u32 flags = kept ? name.flags & ~u32{EXTERNNAME_IS_BUILT_IN} : 0u;
    WriteU16(to, flags | (coded ? EXTERNNAME_IS_BUILT_IN : 0u));
    WriteU16(to, static_cast<u16>(name.sheet));
    WriteU16(to, 0);
    const u32 place = StreamOffset(to);
    WriteU8(to, 0);
    const u32 length = WriteNameText(save, to, coded ? image : NameImage{false, 0, name.text});
    if (!to.failed) to.stream[place] = static_cast<u8>(length);
    // What the file had behind the name: its meaning, or the last values of an exchange between programs.
    if (kept) WriteBytes(to, name.body.bytes.Data(), name.body.bytes.Count());
    else WriteBytes(to, CONSTANT_ERROR, sizeof CONSTANT_ERROR);
    IgnoreFailure(EndBody(save, RECORD_EXTERNNAME));
}

void WriteLinkedFile(SaveState& save, const ExternBook& book) {
    BeginBody(save);
    u16 id = RECORD_SUPBOOK;
    WriteU16(save.body, book.sheetNames.Count());
    WriteLongString(save, save.body, CutText(save, book.path, LINK_TEXT_MOST));
    // A long list of sheets goes on in CONTINUE records, whole names in each.
    for (const WideText& name : book.sheetNames) {
        const WideView text = CutText(save, name, LINK_TEXT_MOST);
        if (StreamOffset(save.body) + 3 + text.size() * 2 > RoomOf(save)) {
            IgnoreFailure(EndBody(save, id));
            id = RECORD_CONTINUE;
            BeginBody(save);
        }
        WriteLongString(save, save.body, text);
    }
    IgnoreFailure(EndBody(save, id));
}

void WriteSupbook(SaveState& save, const ExternBook& book) {
    switch (book.kind) {
        case EXTERN_SELF:
            WriteRecordU16Pair(save.writer, RECORD_SUPBOOK, SavedBook(save).sheets.Count(), SUPBOOK_OWN);
            break;
        case EXTERN_ADDIN: WriteRecordU16Pair(save.writer, RECORD_SUPBOOK, 1, SUPBOOK_ADDIN); break;
        case EXTERN_CURRENT: {
            u8* out = BeginRecord(save.writer, RECORD_SUPBOOK, 6);
            PutU16(out, 0);
            PutU16(out + 2, 1);
            PutU16(out + 4, 0);
            break;
        }
        default: WriteLinkedFile(save, book); break;
    }
}

// One above the greatest name that a formula of the book uses.
u32 UsedNames(const FormulaTokens& tokens, u32 used) {
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        if (FoldToken(tokens.bytes[p]) != ptgName || p + 3 > tokens.length) continue;
        used = std::max<u32>(used, ReadU16(tokens.bytes + p + 1));
    }
    return used;
}

u32 UsedNamesOfSheet(const Sheet& sheet, u32 used) {
    for (const FormulaCell* formula : sheet.cells.formulas) used = UsedNames(formula->tokens, used);
    for (const ValidationRule& rule : sheet.validations)
        used = UsedNames(rule.formula2, UsedNames(rule.formula1, used));
    for (const ConditionalFormat& format : sheet.conditionalFormats) {
        for (const ConditionalCondition& condition : format.conditions)
            used = UsedNames(condition.formula2, UsedNames(condition.formula1, used));
    }
    return used;
}

// Names without a formula are written where a number depends on it: a formula's, or that of a later name.
u32 WrittenNames(const Workbook& book) {
    u32 defined = book.names.Count();
    // Carried bytes may use any of them.
    if (!book.sheetsRead.IsEmpty()) return defined;
    while (defined && !HasFormula(book.names[defined - 1].tokens)) --defined;
    if (defined == book.names.Count()) return defined;
    u32 used = defined;
    for (const DefinedName& name : book.names) used = UsedNames(name.tokens, used);
    for (const Sheet* sheet : book.sheets) used = UsedNamesOfSheet(*sheet, used);
    return std::min(used, book.names.Count());
}

void WriteName(SaveState& save, const DefinedName& name) {
    const bool form8 = save.biffVersion == 8;
    const u32 index = static_cast<u32>(&name - SavedBook(save).names.begin());
    const NameImage image = ImageOfName(WrittenName(save, index), form8);
    const TokenImage tokens = ImageOfTokens(save, name.tokens, true);
    BeginBody(save);
    BiffWriter& to = save.body;
    WriteU16(to, name.flags | (image.builtIn ? NAME_IS_BUILT_IN : 0u));
    WriteU8(to, name.shortcut);
    WriteU8(to, 0);
    WriteU16(to, tokens.length);
    WriteU16(to, form8 || !name.sheet ? 0u : OwnSheetEntry(save, name.sheet - 1));
    WriteU16(to, name.sheet);
    for (u8 textLength : name.textLengths) WriteU8(to, form8 ? textLength : 0u);
    const u32 length = WriteNameText(save, to, image);
    const u32 behindText = StreamOffset(to);
    if (!to.failed) to.stream[3] = static_cast<u8>(length);
    WriteBytes(to, tokens.bytes.data(), tokens.bytes.size());
    if (EndBody(save, RECORD_NAME)) return;
    // The row keeps its number.
    save.losses |= LOSS_FORMULAS;
    to.stream.Truncate(behindText);
    if (!to.failed) PutU16(to.stream.Data() + 4, 0);
    IgnoreFailure(EndBody(save, RECORD_NAME));
}

}  // namespace

void WriteExternBooks(SaveState& save) {
    const Workbook& book = SavedBook(save);
    for (const ExternBook& row : book.externBooks) {
        WriteSupbook(save, row);
        for (const ExternName& name : row.names) WriteExternName(save, name);
        const i32 sheets = row.kind == EXTERN_FILE ? static_cast<i32>(row.sheetNames.Count()) : -1;
        for (i32 sheet = -1; sheet < sheets; ++sheet) WriteLinkValues(save, row, sheet);
    }
    BeginBody(save);
    WriteU16(save.body, book.externSheets.Count());
    for (const ExternSheet& row : book.externSheets) {
        WriteU16(save.body, static_cast<u16>(row.externBook));
        WriteU16(save.body, static_cast<u16>(row.firstSheet));
        WriteU16(save.body, static_cast<u16>(row.lastSheet));
    }
    save.writer.failed = save.writer.failed || save.body.failed;
    WriteSplitRecord(save.writer, RECORD_EXTERNSHEET, save.body.stream.Span(), 2 + EXTERNSHEET_ROOM,
                     EXTERNSHEET_ROOM);
}

void WriteNames(SaveState& save) {
    const Array<DefinedName>& names = SavedBook(save).names;
    const u32 count = WrittenNames(SavedBook(save));
    for (u32 i = 0; i < count; ++i) WriteName(save, names[i]);
}

// ---- the table of the 95 form -------------------------------------------------------------------------------

namespace {

constexpr std::size_t SHEET_NAME_ROOM = 254;
constexpr u32 MOST_ENTRIES = 0x7FFF;  // an index is signed

u16 EntryFor(SaveState& save, i32 externBook, i32 sheet) {
    Array<LinkEntry>& entries = save.links.entries;
    for (u32 i = 0; i < entries.Count(); ++i) {
        if (entries[i].externBook == externBook && entries[i].sheet == sheet) return static_cast<u16>(i + 1);
    }
    if (entries.Count() >= MOST_ENTRIES) return 0;
    if (!entries.Append({externBook, sheet, false})) {
        save.writer.failed = true;
        return 0;
    }
    return static_cast<u16>(entries.Count());
}

// "path[book]sheet", or the path alone for the book as a whole.
bool LinkText(const ExternBook& book, i32 sheet, WideText& out) {
    const WideView path = book.path;
    if (sheet < 0 || static_cast<u32>(sheet) >= book.sheetNames.Count()) return out.Assign(path);
    const std::size_t cut = path.find_last_of(u"\\/\u0001\u0002\u0003") + 1;
    return out.Assign(path.substr(0, cut)) && out.Append(u'[') && out.Append(path.substr(cut)) &&
           out.Append(u']') && out.Append(book.sheetNames[static_cast<u32>(sheet)].View());
}

void WriteLinkEntry(SaveState& save, const LinkEntry& entry) {
    const Workbook& book = SavedBook(save);
    const Sheet* own = entry.externBook == OWN_BOOK ? SheetAt(save.book, entry.sheet) : nullptr;
    BeginBody(save);
    BiffWriter& to = save.body;
    if (own) {
        const ByteView name = NarrowText(save, WrittenSheetName(save, own->index), SHEET_NAME_ROOM);
        WriteU8(to, static_cast<u32>(name.size()));
        WriteU8(to, OWN_SHEET_MARK);
        WriteBytes(to, name.data(), name.size());
    } else if (entry.externBook == OWN_BOOK ||
               book.externBooks[static_cast<u32>(entry.externBook)].kind != EXTERN_FILE) {
        WriteU8(to, 1);
        WriteU8(to, entry.externBook == OWN_BOOK ? OWN_BOOK_MARK : ADDIN_MARK);
    } else {
        WideText text;
        save.writer.failed = save.writer.failed ||
                             !LinkText(book.externBooks[static_cast<u32>(entry.externBook)], entry.sheet, text);
        WriteShortString(save, to, text);
    }
    IgnoreFailure(EndBody(save, RECORD_EXTERNSHEET));
    if (entry.externBook != OWN_BOOK && entry.sheet >= 0)
        WriteLinkValues(save, book.externBooks[static_cast<u32>(entry.externBook)], entry.sheet);
    if (!entry.usesNames) return;
    for (const ExternName& name : book.externBooks[static_cast<u32>(entry.externBook)].names)
        WriteExternName(save, name);
}

}  // namespace

u16 OwnSheetEntry(SaveState& save, i32 sheet) {
    return EntryFor(save, OWN_BOOK, SheetAt(save.book, sheet) ? sheet : i32{EXTERN_NO_SHEET});
}

u16 LinkEntryOf(SaveState& save, u32 externIndex) {
    const Workbook& book = SavedBook(save);
    if (externIndex >= book.externSheets.Count()) return 0;
    Array<u16>& known = save.links.entryOf;
    if (known.Count() != book.externSheets.Count() && !known.Resize(book.externSheets.Count())) {
        save.writer.failed = true;
        return 0;
    }
    if (known[externIndex]) return known[externIndex];
    const ExternSheet& row = book.externSheets[externIndex];
    if (row.externBook < 0 || static_cast<u32>(row.externBook) >= book.externBooks.Count()) return 0;
    switch (book.externBooks[static_cast<u32>(row.externBook)].kind) {
        case EXTERN_SELF: known[externIndex] = OwnSheetEntry(save, row.firstSheet); break;
        case EXTERN_ADDIN: known[externIndex] = EntryFor(save, row.externBook, EXTERN_NO_SHEET); break;
        case EXTERN_FILE:
            // An entry names one sheet.
            if (row.firstSheet != row.lastSheet) return 0;
            known[externIndex] = EntryFor(save, row.externBook, row.firstSheet);
            break;
        default: return 0;
    }
    return known[externIndex];
}

void CollectLinks(SaveState& save, const FormulaTokens& tokens) {
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        const u8 token = FoldToken(tokens.bytes[p]);
        const bool linked = token == ptgNameX || token == ptgRef3d || token == ptgArea3d ||
                            token == ptgRefErr3d || token == ptgAreaErr3d;
        if (!linked || p + 3 > tokens.length) continue;
        const u32 index = ReadU16(tokens.bytes + p + 1);
        const u16 entry = LinkEntryOf(save, index);
        if (entry && token == ptgNameX && save.links.entries[entry - 1u].externBook != OWN_BOOK)
            save.links.entries[entry - 1u].usesNames = true;
    }
}

void KeepLinkNumbers(SaveState& save, const Sheet& sheet) {
    if (sheet.carried.form != save.biffVersion || sheet.carried.runs.IsEmpty()) return;
    for (const u16 row : sheet.carried.links) LinkEntryOf(save, row);
}

void CollectSheetLinks(SaveState& save, const Sheet& sheet) {
    // In the order of the cells, so that the table is the same in every save.
    for (const CellRow& row : sheet.cells.rows) {
        for (u32 i = 0; i < row.count; ++i) {
            if (row.cells[i].formula) CollectLinks(save, row.cells[i].formula->tokens);
        }
    }
}

void WriteLinkTable(SaveState& save) {
    const Array<LinkEntry>& entries = save.links.entries;
    if (entries.IsEmpty()) return;
    WriteRecordU16(save.writer, RECORD_EXTERNCOUNT, entries.Count());
    for (const LinkEntry& entry : entries) WriteLinkEntry(save, entry);
}

void ClearLinkTable(SaveState& save) {
    save.links.entries.Truncate(0);
    save.links.entryOf.Truncate(0);
}

}  // namespace tally
