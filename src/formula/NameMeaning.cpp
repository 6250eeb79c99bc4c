#include "formula/NameMeaning.h"

#include "formula/FormulaTypes.h"
#include "formula/Links.h"

namespace tally {
namespace {

bool HasTokens(const Workbook& book, i32 row) {
    return row >= 0 && HasFormula(book.names[static_cast<u32>(row)].tokens);
}

// The row that a token's row stands for on a sheet (1-based). A local name hides the global one of its text,
// also for tokens that were made before there was one; a local name without a formula hides nothing.
i32 EffectiveName(const Workbook& book, u32 index, i32 sheet) {
    if (index < 1 || index > book.names.Count()) return -1;
    const DefinedName& name = book.names[index - 1];
    const i32 own = static_cast<i32>(index - 1);
    if (name.sheet && HasTokens(book, own)) return own;
    if (!name.sheet && sheet > 0) {
        const i32 local = FindName(book, name.text, static_cast<u16>(sheet));
        if (HasTokens(book, local)) return local;
    }
    if (!name.sheet) return HasTokens(book, own) ? own : -1;
    const i32 global = FindName(book, name.text, 0);
    return HasTokens(book, global) ? global : -1;
}

// A name that is looked up by its text in the book that a row of links leads to.
NameMeaning FindElsewhere(const NameMention& mention, i32 book, bool mayOpen) {
    NameMeaning meaning;
    ResolvedRef ref;
    ref.book = book;
    const bool found =
        mayOpen ? ResolveExternRef(mention.externIndex, ref) : ResolveOpenExternRef(mention.externIndex, ref);
    if (!found) return meaning;
    // The sheet whose own names come first: that of the row, or the one that the name was noted with.
    const ExternBook& link = *LinkAt(*BookAt(book), mention.externIndex);
    const u32 listed = static_cast<u32>(link.names[mention.index - 1].sheet - 1);
    i32 scope = ref.firstSheet;
    if (scope < 0 && listed < link.sheetNames.Count())
        scope = FindSheet(ref.targetBook, link.sheetNames[listed]);
    meaning.book = ref.targetBook;
    meaning.sheet = scope >= 0 ? scope : 0;
    meaning.name = FindDefinedName(*BookAt(ref.targetBook), MentionText(mention, *BookAt(book)), scope);
    return meaning;
}

// A name of the own book. What lies on no sheet by itself lies on the sheet of a name that belongs to one.
void MeanOwnName(NameMeaning& meaning, const Workbook& own, u32 index, i32 sheet) {
    meaning.name = EffectiveName(own, index, sheet + 1);
    if (meaning.name < 0) return;
    const i32 scope = own.names[static_cast<u32>(meaning.name)].sheet - 1;
    if (scope >= 0) meaning.sheet = scope;
}

}  // namespace

bool NextMention(const FormulaTokens& tokens, u32& at, NameMention& out) {
    while (at < tokens.length) {
        const u32 here = at;
        at = NextToken(tokens.bytes, tokens.length, at) + 1;
        const u8 folded = FoldToken(tokens.bytes[here]);
        if (folded == ptgName && here + 3 <= tokens.length) {
            out = {-1, ReadU16(tokens.bytes + here + 1)};
            return true;
        }
        if (folded == ptgNameX && here + 5 <= tokens.length) {
            out = {ReadU16(tokens.bytes + here + 1), ReadU16(tokens.bytes + here + 3)};
            return true;
        }
    }
    return false;
}

NameMeaning FindMeaning(const NameMention& mention, i32 book, i32 sheet, bool mayOpen) {
    NameMeaning meaning;
    const Workbook* own = BookAt(book);
    if (!own) return meaning;
    meaning.book = book;
    meaning.sheet = sheet;
    if (mention.externIndex < 0) {
        MeanOwnName(meaning, *own, mention.index, sheet);
        return meaning;
    }
    const ExternBook* link = LinkAt(*own, mention.externIndex);
    if (!link) return meaning;
    if (link->kind == EXTERN_SELF) {
        const i16 scope = own->externSheets[static_cast<u32>(mention.externIndex)].firstSheet;
        MeanOwnName(meaning, *own, mention.index, scope >= 0 ? scope : sheet);
        return meaning;
    }
    if (mention.index < 1 || mention.index > link->names.Count()) return meaning;
    if (link->kind == EXTERN_ADDIN) {
        meaning.addIn = FindAddInFunction(link->names[mention.index - 1].text);
        return meaning;
    }
    const bool current = link->kind == EXTERN_CURRENT;
    meaning = FindElsewhere(mention, book, mayOpen);
    meaning.followsUser = current;
    return meaning;
}

WideView MentionText(const NameMention& mention, const Workbook& book) {
    const ExternBook* link = LinkAt(book, mention.externIndex);
    if (mention.externIndex >= 0 && !link) return {};
    if (!link || link->kind == EXTERN_SELF)
        return mention.index >= 1 && mention.index <= book.names.Count()
                   ? book.names[mention.index - 1].text.View()
                   : WideView();
    return mention.index >= 1 && mention.index <= link->names.Count()
               ? link->names[mention.index - 1].text.View()
               : WideView();
}

i32 FindDefinedName(const Workbook& book, WideView text, i32 sheet) {
    const i32 local = sheet >= 0 ? FindName(book, text, static_cast<u16>(sheet + 1)) : -1;
    if (HasTokens(book, local)) return local;
    const i32 global = FindName(book, text, 0);
    return HasTokens(book, global) ? global : -1;
}

}  // namespace tally
