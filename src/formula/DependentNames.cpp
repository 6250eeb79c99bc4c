#include <algorithm>

#include "formula/DependentIndex.h"
#include "formula/TokenReferences.h"

// Names in the index of dependents. What a name reads is entered once for all formulas of a sheet that use it;
// only what lies relative to the cell is entered for each of them.

namespace tally {
namespace {

// References and names that a formula is entered with for what lies relative to it; beyond that it follows
// every change.
constexpr u32 MOST_RELATIVE = 256;

struct NameTraits {
    bool everything = false;
    bool relative = false;
};

u64 MentionKey(const Sheet& sheet, const NameMention& mention) {
    const u64 place = u64{sheet.serial} << 32 | static_cast<u64>(mention.externIndex + 1) << 16 | mention.index;
    return ChainTable::Mix(place) | 1;
}

u32 FindPlace(const DependentIndex& index, u64 key, i32 book, i32 sheet, const NameMention& mention) {
    for (u32 e = index.names.Head(key); e != NO_ENTRY; e = index.names.entries[e].next) {
        const NamePlace& place = index.namePlaces[index.names.entries[e].value];
        if (place.book == book && place.sheet == sheet && place.mention.externIndex == mention.externIndex &&
            place.mention.index == mention.index) {
            return index.names.entries[e].value;
        }
    }
    return NO_ENTRY;
}

u32 FindPlace(const DependentIndex& index, i32 book, i32 sheet, const NameMention& mention) {
    const Sheet* at = SheetAt(book, sheet);
    return at ? FindPlace(index, MentionKey(*at, mention), book, sheet, mention) : NO_ENTRY;
}

// The place of a mention, entered when it is new and then in line to be filled in; NO_ENTRY when memory fails.
u32 PutPlace(DependentIndex& index, i32 book, i32 sheet, const NameMention& mention) {
    const Sheet* at = SheetAt(book, sheet);
    if (!at) return NO_ENTRY;
    const u64 key = MentionKey(*at, mention);
    const u32 known = FindPlace(index, key, book, sheet, mention);
    if (known != NO_ENTRY) return known;
    const u32 number = index.namePlaces.Count();
    NamePlace place;
    place.book = book;
    place.sheet = sheet;
    place.mention = mention;
    place.meaning = FindMeaning(mention, book, sheet, false);
    // Room in line for every place there is.
    if (!index.inLine.Reserve(number + 1) || !index.namePlaces.Append(place) || !index.names.Add(key, number) ||
        !index.inLine.Append(number)) {
        return NO_ENTRY;
    }
    return number;
}

bool AddUser(DependentIndex& index, u32& chain, u32 user) {
    if (!index.nameUsers.Append({user, chain})) return false;
    chain = index.nameUsers.Count() - 1;
    return true;
}

const FormulaTokens* TokensOf(const NamePlace& place) {
    const Workbook* book = place.meaning.name >= 0 ? BookAt(place.meaning.book) : nullptr;
    return book ? &book->names[static_cast<u32>(place.meaning.name)].tokens : nullptr;
}

TokenPrecedent AreaOf(const TokenReference& reference) {
    const auto [top, bottom] = std::minmax(reference.firstRow, reference.lastRow);
    const auto [left, right] = std::minmax(reference.firstColumn, reference.lastColumn);
    return {reference.externIndex,
            {static_cast<u16>(top), static_cast<u16>(bottom), static_cast<u8>(left), static_cast<u8>(right)}};
}

// A name has turned out to have traits: all that mention it have them as well.
bool SpreadTraits(DependentIndex& index, u32 number, const NameTraits& traits) {
    Array<u32> changed;
    const auto take = [&](u32 place) {
        NamePlace& at = index.namePlaces[place];
        if ((at.everything || !traits.everything) && (at.relative || !traits.relative)) return true;
        at.everything = at.everything || traits.everything;
        at.relative = at.relative || traits.relative;
        return changed.Append(place);
    };
    bool good = take(number);
    while (good && !changed.IsEmpty()) {
        u32 e = index.namePlaces[changed.Last()].outer;
        changed.RemoveLast();
        for (; good && e != NO_ENTRY; e = index.nameUsers[e].next) good = take(index.nameUsers[e].value);
    }
    return good;
}

bool EnterReferencesOf(DependentIndex& index, u32 number, const FormulaTokens& tokens, NameTraits& traits) {
    const NameMeaning meaning = index.namePlaces[number].meaning;
    u32 at = 0;
    for (TokenReference reference; NextReference(tokens, at, reference);) {
        if (reference.nibble) {
            traits.relative = true;
        } else if (!EnterReference(index, AreaOf(reference), meaning.book, meaning.sheet, NAME_READER | number,
                                   traits.everything)) {
            return false;
        }
    }
    return true;
}

bool EnterMentionsOf(DependentIndex& index, u32 number, const FormulaTokens& tokens, NameTraits& traits) {
    const NameMeaning meaning = index.namePlaces[number].meaning;
    u32 at = 0;
    for (NameMention mention; NextMention(tokens, at, mention);) {
        const u32 inner = PutPlace(index, meaning.book, meaning.sheet, mention);
        if (inner == NO_ENTRY || !AddUser(index, index.namePlaces[inner].outer, number)) return false;
        traits.everything = traits.everything || index.namePlaces[inner].everything;
        traits.relative = traits.relative || index.namePlaces[inner].relative;
    }
    return true;
}

// Fills in the places in line, and those of the names that they mention.
bool FillPlaces(DependentIndex& index) {
    while (!index.inLine.IsEmpty()) {
        const u32 number = index.inLine.Last();
        index.inLine.RemoveLast();
        NameTraits traits;
        traits.everything = index.namePlaces[number].meaning.followsUser;
        if (const FormulaTokens* tokens = TokensOf(index.namePlaces[number])) {
            const TokenTraits own = ReadTokenTraits(*tokens);
            traits.everything = traits.everything || own.alwaysCalculate || own.offsets;
            if (!EnterReferencesOf(index, number, *tokens, traits) ||
                !EnterMentionsOf(index, number, *tokens, traits)) {
                return false;
            }
        }
        if (!SpreadTraits(index, number, traits)) return false;
    }
    return true;
}

// Enters what lies relative to a formula in the names that wait in `places`, and in those that they mention.
bool EnterRelative(DependentIndex& index, const FormulaCell& formula, u32 number, Array<u32>& places,
                   bool& everything) {
    const u32 visit = ++index.marking;
    for (u32 spent = 0; !places.IsEmpty() && !everything;) {
        NamePlace& place = index.namePlaces[places.Last()];
        places.RemoveLast();
        const FormulaTokens* tokens = place.seen == visit ? nullptr : TokensOf(place);
        place.seen = visit;
        if (!tokens) continue;
        const NameMeaning meaning = place.meaning;
        u32 at = 0;
        for (TokenReference reference; NextReference(*tokens, at, reference) && ++spent <= MOST_RELATIVE;) {
            if (!reference.nibble) continue;
            PlaceReference(reference, formula.row, formula.column);
            if (!EnterReference(index, AreaOf(reference), meaning.book, meaning.sheet, number, everything))
                return false;
        }
        at = 0;
        for (NameMention mention; NextMention(*tokens, at, mention) && ++spent <= MOST_RELATIVE;) {
            const u32 inner = FindPlace(index, meaning.book, meaning.sheet, mention);
            if (inner != NO_ENTRY && index.namePlaces[inner].relative && !places.Append(inner)) return false;
        }
        everything = everything || spent > MOST_RELATIVE;
    }
    return true;
}

}  // namespace

bool EnterNames(DependentIndex& index, const FormulaCell& formula, u32 number, bool& everything) {
    Array<u32> places;
    u32 at = 0;
    for (NameMention mention; NextMention(formula.tokens, at, mention);) {
        const u32 place = PutPlace(index, formula.sheet->book, formula.sheet->index, mention);
        if (place == NO_ENTRY || !AddUser(index, index.namePlaces[place].users, number) ||
            !places.Append(place))
            return false;
    }
    if (places.IsEmpty()) return true;
    if (!FillPlaces(index)) return false;
    bool relative = false;
    for (const u32 place : places) {
        everything = everything || index.namePlaces[place].everything;
        relative = relative || index.namePlaces[place].relative;
    }
    return everything || !relative || EnterRelative(index, formula, number, places, everything);
}

void PutNameInLine(DependentIndex& index, u32 place) {
    if (index.namePlaces[place].seen == index.marking) return;
    index.namePlaces[place].seen = index.marking;
    IgnoreFailure(index.inLine.Append(place));  // has room for all of them
}

void VisitNamesInLine(DependentIndex& index, DependentVisit visit, void* context) {
    while (!index.inLine.IsEmpty()) {
        const NamePlace place = index.namePlaces[index.inLine.Last()];
        index.inLine.RemoveLast();
        for (u32 e = place.users; e != NO_ENTRY; e = index.nameUsers[e].next) {
            if (FormulaCell* formula = index.formulas[index.nameUsers[e].value]) visit(*formula, context);
        }
        for (u32 e = place.outer; e != NO_ENTRY; e = index.nameUsers[e].next)
            PutNameInLine(index, index.nameUsers[e].value);
    }
}

}  // namespace tally
