#include <algorithm>

#include "formula/Coercion.h"
#include "formula/EvaluationNotes.h"
#include "formula/FormulaScanner.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/NameMeaning.h"

// From the text that INDIRECT and its like are given to a reference.

namespace tally {
namespace {

// Where a name of the text lives, and the sheet whose own names come first.
struct NamePlace {
    i32 book = -1;
    i32 sheet = -1;
};

// The open book that a prefix names; -1 when it is closed and stays so.
i32 BookOfPrefix(const RefPrefix& prefix, const EvalContext& context) {
    const i32 open = FindOpenBook(prefix.path, false);
    if (open >= 0) return open;
    const i32 externIndex = ExternIndexForPrefix(context.book, prefix, false);
    const Workbook* own = BookAt(context.book);
    return externIndex < 0 ? -1
                           : FindOrOpenLinkedBook(context.book,
                                                  own->externSheets[static_cast<u32>(externIndex)].externBook);
}

NamePlace PlaceOfName(const RefPrefix& prefix, const EvalContext& context) {
    switch (prefix.kind) {
        case PREFIX_NONE: return {context.book, context.sheet};
        case PREFIX_OWN: return {context.book, prefix.firstSheet};
        case PREFIX_BANG: return {CurrentBook(), CurrentWorkbook() ? CurrentWorkbook()->currentSheet : -1};
        case PREFIX_FILE: {
            const i32 book = BookOfPrefix(prefix, context);
            if (book < 0 || prefix.firstName.IsEmpty()) return {book, -1};
            const i32 sheet = FindSheet(book, prefix.firstName);
            return {sheet < 0 ? -1 : book, sheet};
        }
        default: return {};
    }
}

enum class NameText { NONE, FOUND, CLOSED };

// The formula of a name that the text is, without its "=", and where its references are meant from.
NameText NameFormula(WideView text, const EvalContext& context, NamePlace& at, WideText& formula) {
    FormulaPlace place;
    place.book = context.book;
    place.sheet = context.sheet;
    NameParts parts;
    const i32 end = static_cast<i32>(text.size());
    if (!ScanName(place, text, 0, end, parts) || parts.behind != end) return NameText::NONE;
    at = PlaceOfName(parts.prefix, context);
    const Workbook* book = BookAt(at.book);
    if (!book) {
        const bool closed = parts.prefix.kind == PREFIX_FILE && FindOpenBook(parts.prefix.path, false) < 0;
        return closed ? NameText::CLOSED : NameText::NONE;
    }
    const i32 row = FindDefinedName(*book, parts.identifier, at.sheet);
    if (row < 0) return NameText::NONE;
    WideText whole;
    NoteEvaluation(NOTE_PLACE);
    if (!FormulaToText(at.book, book->names[static_cast<u32>(row)].tokens, context.row, context.column, true,
                       whole))
        return NameText::NONE;
    return formula.Assign(whole.View().substr(1)) ? NameText::FOUND : NameText::NONE;
}

// One or more references with list separators between them.
bool ReferenceList(WideView text, const FormulaPlace& place, i32& externIndex, Array<RefArea>& areas) {
    const i32 end = static_cast<i32>(text.size());
    i32 p = SkipBlanks(text, 0, end);
    bool parenthesis = CharAt(text, p, end) == u'(' && CharAt(text, end - 1, end) == u')';
    const i32 stop = parenthesis ? end - 1 : end;
    if (parenthesis) ++p;
    externIndex = -1;
    for (bool first = true;; first = false) {
        RefArea area;
        u8 nibble = 0;
        i32 found = -1;
        p = ParseReference(place, text, SkipBlanks(text, p, stop), stop, &found, area, nibble);
        if (p < 0 || (!first && found != externIndex)) return false;
        externIndex = found;
        if (areas.Count() >= 0xFFFF || !areas.Append(area)) return false;
        p = SkipBlanks(text, p, stop);
        if (p >= stop) return true;
        if (CharAt(text, p, stop) != ListSeparator()) return false;
        ++p;
    }
}

// The row of the context's book for where a reference of another book leads.
bool AsSeenFrom(const EvalContext& context, const NamePlace& at, i32& externIndex) {
    ResolvedRef ref;
    ref.book = ref.targetBook = at.book;
    ref.firstSheet = ref.lastSheet = at.sheet;
    if (externIndex >= 0 ? !ResolveExternRef(externIndex, ref) : at.sheet < 0) return false;
    ref.book = context.book;
    return AddExternRef(ref, externIndex);
}

}  // namespace

void TextToReference(Value& value, const EvalContext& context, bool useA1) {
    WideText formula;
    NamePlace at;
    const WideView own = TextOf(value);
    const NameText name = NameFormula(own, context, at, formula);
    if (name == NameText::CLOSED) {
        NoteEvaluation(NOTE_AWAY);
        return SetError(value, ERR_NA);
    }
    // What a name says is always read in the A1 form, whichever form the text would have had.
    const bool named = name == NameText::FOUND;
    if (!named) at = {context.book, context.sheet};
    const WideView text = named ? formula.View() : own;
    FormulaPlace place;
    place.book = at.book;
    place.sheet = at.sheet;
    place.row = context.row;
    place.column = context.column;
    place.useA1 = useA1 || named;
    if (!place.useA1) NoteEvaluation(NOTE_PLACE);
    Array<RefArea> areas;
    i32 externIndex = -1;
    bool good =
        !text.empty() && text.size() <= MAX_FORMULA_TEXT && ReferenceList(text, place, externIndex, areas);
    if (good && (externIndex < 0 || at.book != context.book)) good = AsSeenFrom(context, at, externIndex);
    if (!good) return SetError(value, ERR_REF);
    Value reference = RefValue(externIndex, static_cast<u16>(areas.Count()));
    FreeValue(value);
    value = reference;
    if (value.type == VT_REF) std::copy(areas.begin(), areas.end(), value.areas->areas);
}

}  // namespace tally
