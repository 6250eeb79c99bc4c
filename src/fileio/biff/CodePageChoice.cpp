#include <algorithm>

#include "base/Text.h"
#include "fileio/biff/SaveState.h"
#include "model/CellStore.h"

// The code page of a book in the older form, whose texts are all narrow, and the names of sheets and formulas
// in it.

namespace tally {
namespace {

constexpr std::size_t SHEET_NAME_BYTES = 31;
constexpr std::size_t NAME_BYTES = 250;
constexpr std::size_t SUFFIX_ROOM = 12;  // for "_" and a number

// Pages that a narrow text may be in, besides the book's own.
constexpr u16 pages[] = {1252, 1250, 1251, 1253, 1254, 1255, 1256, 1257, 1258, 874, 932, 936, 949, 950};

// Characters that pages of the East have in full width alone.
struct WidthTwin {
    char16_t narrow, wide;
};
constexpr WidthTwin twins[] = {{u'\u00A2', u'\uFFE0'}, {u'\u00A3', u'\uFFE1'}, {u'\u00A5', u'\uFFE5'},
                               {u'\u20A9', u'\uFFE6'}, {u'\u00AC', u'\uFFE2'}, {u'\u00A6', u'\uFFE4'}};

// Whether a text comes back from a page. Scratch is the caller's.
struct PageTrial {
    Array<u8> bytes;
    WideText back;
};
bool ComesBack(PageTrial& trial, u16 page, WideView text) {
    trial.bytes.Truncate(0);
    trial.back.Truncate(0);
    return Platform().wideCharToMultiByte(page, text, trial.bytes) &&
           Platform().multiByteToWideChar(page, trial.bytes.Span(), trial.back) && trial.back.View() == text;
}

// ---- the letters of a book ----------------------------------------------------------------------------------

struct Letters {
    Array<u8> seen;  // by code unit
    WideText all;    // each once, those beyond ASCII
    bool failed = false;
};

void Collect(Letters& letters, WideView text) {
    for (char16_t c : text) {
        if (c < 128 || (c & 0xF800) == 0xD800 || letters.seen[c]) continue;
        letters.seen[c] = 1;
        letters.failed = letters.failed || !letters.all.Append(c);
    }
}

void CollectTokens(Letters& letters, const FormulaTokens& tokens) {
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        if (tokens.bytes[p] != ptgStr || p + 3 > tokens.length) continue;
        const u32 width = tokens.bytes[p + 2] & 1 ? 2 : 1;
        const u32 room = (tokens.length - p - 3u) / width;
        for (u32 i = 0; i < std::min<u32>(tokens.bytes[p + 1], room); ++i) {
            const u8* at = tokens.bytes + p + 3 + i * width;
            const auto c = static_cast<char16_t>(width == 2 ? ReadU16(at) : *at);
            Collect(letters, WideView(&c, 1));
        }
    }
}

void CollectSheet(Letters& letters, const Sheet& sheet) {
    Collect(letters, sheet.name);
    Collect(letters, sheet.page.header);
    Collect(letters, sheet.page.footer);
    for (const CellRow& row : sheet.cells.rows) {
        for (u32 i = 0; i < row.count; ++i) {
            if (row.cells[i].value.type == VT_STRING) Collect(letters, TextOf(row.cells[i].value));
        }
    }
    for (const FormulaCell* formula : sheet.cells.formulas) CollectTokens(letters, formula->tokens);
}

void CollectBook(Letters& letters, const Workbook& book) {
    for (const Sheet* sheet : book.sheets) CollectSheet(letters, *sheet);
    for (const DefinedName& name : book.names) {
        Collect(letters, name.text);
        CollectTokens(letters, name.tokens);
    }
    for (const NumberFormat& format : book.numberFormats) Collect(letters, format.text);
    for (const FontRecord& font : book.fonts) Collect(letters, font.faceName);
    for (const ExternBook& linked : book.externBooks) {
        Collect(letters, linked.path);
        for (const WideText& sheet : linked.sheetNames) Collect(letters, sheet);
        for (const ExternName& name : linked.names) Collect(letters, name.text);
    }
}

// How many of the letters a page has no character for.
u32 Lacking(PageTrial& trial, u16 page, WideView letters) {
    if (ComesBack(trial, page, letters)) return 0;
    // What the page lacks is one mark, so that the two texts go side by side.
    if (trial.back.Length() != letters.size()) return static_cast<u32>(letters.size());
    WideText back = std::move(trial.back);
    u32 lacking = 0;
    for (u32 i = 0; i < letters.size(); ++i) {
        if (back[i] == letters[i]) continue;
        const WidthTwin* twin = std::find_if(std::begin(twins), std::end(twins),
                                             [&](const WidthTwin& row) { return row.narrow == letters[i]; });
        lacking += twin == std::end(twins) || !ComesBack(trial, page, WideView(&twin->wide, 1));
    }
    return lacking;
}

}  // namespace

u16 ChooseCodePage(const Workbook& book) {
    Letters letters;
    if (!letters.seen.Resize(0x10000)) return book.codePage;
    CollectBook(letters, book);
    if (letters.failed || letters.all.IsEmpty()) return book.codePage;
    PageTrial trial;
    u16 best = book.codePage;
    u32 least = Lacking(trial, best, letters.all);
    // A book that names its page leaves it only for one that has all its letters.
    const bool named = book.fileCodePage == book.codePage;
    for (const u16 page : pages) {
        if (!least) break;
        if (!Platform().isValidCodePage(page)) continue;
        const u32 lacking = Lacking(trial, page, letters.all);
        if (lacking >= least || (named && lacking)) continue;
        best = page;
        least = lacking;
    }
    return best;
}

bool WidenTwins(u16 page, WideView text, WideText& out) {
    PageTrial trial;
    out.Truncate(0);
    for (const char16_t c : text) {
        const WidthTwin* twin = std::find_if(std::begin(twins), std::end(twins),
                                             [&](const WidthTwin& row) { return row.narrow == c; });
        const bool widened = twin != std::end(twins) && !ComesBack(trial, page, WideView(&c, 1));
        if (!out.Append(widened ? twin->wide : c)) return false;
    }
    return true;
}

bool EqualButForTwins(WideView a, WideView b) {
    const auto folded = [](char16_t c) {
        for (const WidthTwin& row : twins) c = c == row.wide ? row.narrow : c;
        return c;
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char16_t x, char16_t y) { return folded(x) == folded(y); });
}

// ---- names --------------------------------------------------------------------------------------------------

namespace {

// The text with "_" for each character that the page lacks.
bool ReplaceLacking(PageTrial& trial, u16 page, WideView text, WideText& out) {
    out.Truncate(0);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair =
            i + 1 < text.size() && (text[i] & 0xFC00) == 0xD800 && (text[i + 1] & 0xFC00) == 0xDC00;
        const WideView one = text.substr(i, pair ? 2 : 1);
        if (!(ComesBack(trial, page, one) ? out.Append(one) : out.Append(u'_'))) return false;
        i += pair;
    }
    return true;
}

// Cuts a text to that many bytes of the page.
void CutToBytes(PageTrial& trial, u16 page, WideText& text, std::size_t most) {
    while (!text.IsEmpty()) {
        IgnoreFailure(ComesBack(trial, page, text));
        if (trial.bytes.Count() <= most) return;
        text.Truncate(text.Length() - 1);
    }
}

bool IsAscii(WideView text) {
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 128; });
}

bool AppendDigits(WideText& out, u32 number) {
    char16_t digits[10];
    std::size_t count = 0;
    for (; number; number /= 10) digits[count++] = static_cast<char16_t>(u'0' + number % 10);
    std::reverse(digits, digits + count);
    return out.Append(WideView(digits, count));
}

// Gives each text that the page cannot hold one that it can, and that none of the others is. `textAt` gives the
// text of a number, `rivals` tells whether two numbers may not have the same text.
template <typename TextAt, typename Rivals>
bool MakeDistinct(SaveState& save, u32 count, std::size_t most, TextAt textAt, Rivals rivals,
                  Array<RenamedText>& renamed) {
    PageTrial trial;
    for (u32 i = 0; i < count; ++i) {
        const WideView text = textAt(i);
        if (IsAscii(text) || ComesBack(trial, save.codePage, text)) continue;
        save.losses |= LOSS_CHARACTERS;
        RenamedText row;
        row.index = i;
        if (!ReplaceLacking(trial, save.codePage, text, row.text)) return false;
        CutToBytes(trial, save.codePage, row.text, most);
        const auto taken = [&] {
            for (const RenamedText& other : renamed) {
                if (rivals(i, other.index) && EqualIgnoringCase(other.text, row.text)) return true;
            }
            for (u32 other = 0; other < count; ++other) {
                if (other != i && rivals(i, other) && EqualIgnoringCase(textAt(other), row.text)) return true;
            }
            return false;
        };
        const u32 length = row.text.Length();
        for (u32 number = 2; taken(); ++number) {
            row.text.Truncate(length);
            CutToBytes(trial, save.codePage, row.text, most - SUFFIX_ROOM);
            if (!row.text.Append(u'_') || !AppendDigits(row.text, number)) return false;
        }
        if (!renamed.Append(std::move(row))) return false;
    }
    return true;
}

WideView TextIn(const Array<RenamedText>& renamed, u32 index, WideView own) {
    const RenamedText* found =
        std::lower_bound(renamed.begin(), renamed.end(), index,
                         [](const RenamedText& row, u32 wanted) { return row.index < wanted; });
    return found != renamed.end() && found->index == index ? found->text.View() : own;
}

}  // namespace

bool FitNames(SaveState& save) {
    const Workbook& book = SavedBook(save);
    return MakeDistinct(
               save, book.sheets.Count(), SHEET_NAME_BYTES,
               [&](u32 i) { return WideView(book.sheets[i]->name); }, [](u32, u32) { return true; },
               save.renamedSheets) &&
           MakeDistinct(
               save, book.names.Count(), NAME_BYTES, [&](u32 i) { return book.names[i].text.View(); },
               [&](u32 a, u32 b) { return book.names[a].sheet == book.names[b].sheet; }, save.renamedNames);
}

WideView WrittenSheetName(const SaveState& save, i32 sheet) {
    return TextIn(save.renamedSheets, static_cast<u32>(sheet),
                  SavedBook(save).sheets[static_cast<u32>(sheet)]->name);
}

WideView WrittenName(const SaveState& save, u32 name) {
    return TextIn(save.renamedNames, name, SavedBook(save).names[name].text);
}

}  // namespace tally
