#include "base/MessageTable.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "formula/EngineState.h"
#include "formula/NameMeaning.h"
#include "formula/TokenWalk.h"
#include "model/Trust.h"

namespace tally {
namespace {

constexpr char16_t STORED_START = 1;  // also: the next letter is a drive
constexpr char16_t STORED_ROOT = 2;   // the root of the referring book's drive
constexpr char16_t STORED_SEPARATOR = 3;

bool IsDrivePath(WideView path) { return path.size() > 2 && path[1] == u':'; }
bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

// The separator that a path uses; "/" where none tells.
char16_t SeparatorOf(WideView path) {
    return path.find(u'\\') != WideView::npos && path.find(u'/') == WideView::npos ? u'\\' : u'/';
}

// Whether a token leads through a link of kind EXTERN_FILE; `externBook` gets its row.
bool LeadsToFile(const Workbook& book, u32 externIndex, i32& externBook) {
    const ExternSheet* row = ExternRowAt(book, static_cast<i32>(externIndex));
    const ExternBook* link = LinkOfRow(book, row);
    if (!link || link->kind != EXTERN_FILE) return false;
    externBook = row->externBook;
    return true;
}

enum LinkUse : u32 { USES_NONE = 0, USES_OPEN = 1, USES_CLOSED = 2 };

bool IsOpenLink(const ExternBook& link) { return FindOpenBook(link.path, false) >= 0; }

// What the names of a book use, by row; empty when none uses any link.
using NameLinks = Array<u32>;

// Which kinds of links a formula on a sheet (-1 is none) uses, itself or through names.
u32 LinksOf(i32 bookIndex, i32 sheet, const FormulaTokens& tokens, const NameLinks& names) {
    const Workbook& book = *BookAt(bookIndex);
    u32 use = USES_NONE;
    u32 at = 0;
    for (NameMention mention; !names.IsEmpty() && NextMention(tokens, at, mention);) {
        const NameMeaning meaning = FindMeaning(mention, bookIndex, sheet, false);
        if (meaning.book == bookIndex && meaning.name >= 0) use |= names[static_cast<u32>(meaning.name)];
    }
    for (u32 p = 0; p < tokens.length; p = NextToken(tokens.bytes, tokens.length, p) + 1) {
        const u8 token = FoldToken(tokens.bytes[p]);
        if ((token != ptgRef3d && token != ptgArea3d && token != ptgNameX) || p + 3 > tokens.length) continue;
        i32 externBook = 0;
        if (!LeadsToFile(book, ReadU16(tokens.bytes + p + 1), externBook)) continue;
        use |= IsOpenLink(book.externBooks[static_cast<u32>(externBook)]) ? USES_OPEN : USES_CLOSED;
    }
    return use;
}

// Names in names beyond this depth are "#NUM!" and need no link.
constexpr u32 DEEPEST_NAMES = 200;

// Names that mention names take over what those use, until nothing changes. Without memory names use nothing.
void FindNameLinks(i32 bookIndex, NameLinks& names) {
    const Array<DefinedName>& rows = BookAt(bookIndex)->names;
    if (!names.Resize(rows.Count())) return;
    u32 all = USES_NONE;
    bool changed = true;
    for (u32 round = 0; changed && round < DEEPEST_NAMES; ++round) {
        changed = false;
        for (u32 i = 0; i < rows.Count(); ++i) {
            const u32 use = HasFormula(rows[i].tokens)
                                ? LinksOf(bookIndex, rows[i].sheet - 1, rows[i].tokens, names)
                                : u32{USES_NONE};
            changed = changed || use != names[i];
            names[i] = use;
            all |= use;
        }
        if (all == USES_NONE) return names.Truncate(0);
    }
}

struct LinkedCell {
    i32 sheet;
    u16 row;
    u8 column;
};

void MarkLinkedCells(i32 book, std::span<const LinkedCell> cells) {
    for (const LinkedCell& at : cells) {
        CellRecord* cell = GetCell(SheetAt(book, at.sheet)->cells, at.row, at.column);
        if (!cell || !cell->formula) continue;
        SetStale(SheetAt(book, at.sheet)->cells, *cell);
        MarkDependents(book, at.sheet, at.row, at.column);
    }
}

// Lists the worksheet formulas that use links of the wanted kinds; returns what all of them use.
u32 CollectLinkedCells(i32 bookIndex, u32 wanted, Array<LinkedCell>* out) {
    const Workbook& book = *BookAt(bookIndex);
    u32 all = USES_NONE;
    NameLinks names;
    FindNameLinks(bookIndex, names);
    for (u32 i = 0; i < book.sheets.Count(); ++i) {
        if (!(book.sheets[i]->kind & SHEET_WORKSHEET)) continue;
        for (const FormulaCell* formula : book.sheets[i]->cells.formulas) {
            const u32 use = LinksOf(bookIndex, static_cast<i32>(i), formula->tokens, names);
            all |= use;
            if (!(use & wanted) || !out) continue;
            if (!out->Append({static_cast<i32>(i), formula->row, formula->column})) return all;
        }
    }
    return all;
}

bool LinkPath(const Workbook& book, const ExternBook& link, WideText& path) {
    return ExpandStoredPath(path, link.path, book) && MakeAbsolutePath(path, book);
}

// More would not fit on a screen; the others are asked about when they are wanted.
constexpr u32 NAMED_LINKS = 16;

// The closed links that the user can be asked about, the first ones; their paths stand in `text`, a line each.
bool ListClosedLinks(i32 book, Array<i32>& rows, WideText& text) {
    const Workbook& workbook = *BookAt(book);
    for (u32 i = 0; i < workbook.externBooks.Count() && rows.Count() < NAMED_LINKS; ++i) {
        const ExternBook& link = workbook.externBooks[i];
        WideText path;
        if (link.kind != EXTERN_FILE || IsOpenLink(link)) continue;
        if (!LinkPath(workbook, link, path)) return false;
        if (!CanAskForLink(book, static_cast<i32>(i), path)) continue;
        if (!rows.Append(static_cast<i32>(i)) || !text.Append(u'\n') || !AppendEscaped(text, path))
            return false;
    }
    return true;
}

// One question for several files, `head` first. The answer is remembered: a Yes for the files that were named,
// a No for the book. False when it was No or there was nothing to ask.
bool AskToReadLinks(i32 book, WideView head, WideView tail, u32 flags) {
    Array<i32> rows;
    WideText text;
    if (!text.Append(head) || !ListClosedLinks(book, rows, text) || rows.IsEmpty() || !text.Append(tail))
        return false;
    const i32 answer = Platform().messageBox(text, PROGRAM_NAME, MB_YESNO | flags);
    // The box runs a loop of its own.
    Workbook* workbook = BookAt(book);
    if (!workbook) return false;
    if (answer != IDYES) {
        workbook->trust[FOREIGN_LINK] = TRUST_REFUSED;
        return false;
    }
    for (const i32 row : rows) {
        if (static_cast<u32>(row) < workbook->externBooks.Count())
            workbook->externBooks[static_cast<u32>(row)].trusted = true;
    }
    return true;
}

void RefreshLinks(i32 book, u32 wanted) {
    if (wanted & USES_CLOSED) {
        for (u32 i = 0; i < BookAt(book)->externBooks.Count(); ++i) {
            if (BookAt(book)->externBooks[i].kind == EXTERN_FILE)
                FindOrOpenLinkedBook(book, static_cast<i32>(i));
        }
    }
    Array<LinkedCell> cells;
    CollectLinkedCells(book, USES_OPEN | wanted, &cells);
    MarkLinkedCells(book, cells.Span());
}

}  // namespace

bool ExpandStoredPath(WideText& target, WideView stored, const Workbook& book) {
    target.Truncate(0);
    const WideView own = book.path;
    char16_t separator = SeparatorOf(own);
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const char16_t c = stored[i];
        bool good = true;
        // The first character only marks a stored path.
        if (c == STORED_START && i == 0) continue;
        if (c == STORED_START && i + 1 < stored.size()) {
            good = target.Append(stored[++i]) && target.Append(u":\\");
            separator = u'\\';  // a path with a drive is of one style, wherever the book itself lies
        } else if (c == STORED_ROOT) {
            if (IsDrivePath(own)) good = target.Append(own.substr(0, 1)) && target.Append(u":\\");
        } else if (c == STORED_SEPARATOR) {
            good = target.Append(separator);
        } else {
            good = target.Append(c);
        }
        if (!good) return false;
    }
    return true;
}

bool MakeAbsolutePath(WideText& path, const Workbook& book) {
    const WideView view = path;
    const bool absolute = !view.empty() && (IsSeparator(view[0]) || IsDrivePath(view));
    if (!absolute && !path.Insert(0, DirectoryOf(book.path))) return false;
    for (std::size_t i = 0; i + 2 < path.Length();) {
        if (IsSeparator(path[i]) && path[i + 1] == u'.' && IsSeparator(path[i + 2])) {
            path.Remove(i, 2);
        } else {
            ++i;
        }
    }
    return true;
}

bool MakeStoredPath(WideText& target, WideView path, const Workbook& book) {
    target.Truncate(0);
    if (!target.Append(STORED_START)) return false;
    const WideView directory = DirectoryOf(path);
    const WideView own = DirectoryOf(book.path);
    if (directory.empty() || EqualIgnoringCase(directory, own)) return target.Append(FileNameOf(path));
    WideView rest = path;
    if (IsDrivePath(path)) {
        if (IsDrivePath(own) && AsciiUpper(own[0]) == AsciiUpper(path[0])) {
            if (!target.Append(STORED_ROOT)) return false;
        } else if (!target.Append(STORED_START) || !target.Append(path[0])) {
            return false;
        }
        rest = path.substr(path.size() > 2 && IsSeparator(path[2]) ? 3 : 2);
    }
    for (char16_t c : rest) {
        if (!target.Append(IsSeparator(c) ? STORED_SEPARATOR : c)) return false;
    }
    return true;
}

i32 FindOrOpenLinkedBook(i32 book, i32 externBook) {
    const Workbook* workbook = BookAt(book);
    if (!workbook || externBook < 0 || static_cast<u32>(externBook) >= workbook->externBooks.Count()) return -1;
    const ExternBook& link = workbook->externBooks[static_cast<u32>(externBook)];
    if (link.kind != EXTERN_FILE) return -1;
    const i32 open = FindOpenBook(link.path, false);
    if (open >= 0) return open;
    WideText path;
    if (!LinkPath(*workbook, link, path)) return -1;
    return Engine().openLink(book, externBook, path);
}

void UpdateLinks(i32 book, bool prompt, bool silentAnswer) {
    const Workbook* workbook = BookAt(book);
    if (!workbook) return;
    bool anyOpen = false;
    bool anyClosed = false;
    for (const ExternBook& link : workbook->externBooks) {
        if (link.kind != EXTERN_FILE) continue;
        const i32 open = FindOpenBook(link.path, true);
        (open >= 0 && open != book ? anyOpen : anyClosed) = true;
    }
    if (!anyOpen && !anyClosed) return;
    bool refreshClosed = false;
    if (anyClosed && (CollectLinkedCells(book, USES_CLOSED, nullptr) & USES_CLOSED)) {
        refreshClosed =
            prompt ? AskToReadLinks(book, Message(MSG_UPDATE_LINKS), {}, MB_ICONQUESTION) : silentAnswer;
    }
    if (BookAt(book)) RefreshLinks(book, refreshClosed ? USES_OPEN | USES_CLOSED : USES_OPEN);
}

bool AskForWantedLinks(i32 book) {
    Workbook* workbook = BookAt(book);
    if (!workbook || workbook->wantedLink.IsEmpty()) return false;
    workbook->wantedLink.Clear();
    WideText head, tail;
    if (!FormatWith(head, Message(MSG_TRUST_BOOK), FileNameOf(workbook->path)) || !head.Append(u'\n') ||
        !head.Append(TrustUseText(FOREIGN_LINK)) || !tail.Append(u'\n') ||
        !tail.Append(Message(MSG_TRUST_QUESTION)) ||
        !AskToReadLinks(book, head, tail, MB_ICONWARNING | MB_DEFBUTTON2)) {
        return false;
    }
    RefreshLinks(book, USES_OPEN | USES_CLOSED);
    // References that are worked out from texts are in no list.
    MarkVolatileCells();
    return true;
}

void RefreshLinksTo(i32 book) {
    for (u32 other = 0; other < Books().books.Count(); ++other) {
        if (static_cast<i32>(other) == book) continue;
        bool linked = false;
        for (const ExternBook& link : Books().books[other]->externBooks)
            linked = linked || (link.kind == EXTERN_FILE && FindOpenBook(link.path, false) == book);
        if (!linked) continue;
        Array<LinkedCell> cells;
        CollectLinkedCells(static_cast<i32>(other), USES_OPEN, &cells);
        MarkLinkedCells(static_cast<i32>(other), cells.Span());
    }
}

bool RenameLinkedSheet(i32 book, WideView from, WideView to) {
    // Room first, then the names: the longest one fits, so that the way back needs none.
    for (const bool acts : {false, true}) {
        for (u32 other = 0; other < Books().books.Count(); ++other) {
            if (static_cast<i32>(other) == book) continue;
            for (ExternBook& link : Books().books[other]->externBooks) {
                if (link.kind != EXTERN_FILE || FindOpenBook(link.path, false) != book) continue;
                for (WideText& name : link.sheetNames) {
                    if (!EqualIgnoringCase(name, from)) continue;
                    if (acts ? !name.Assign(to) : !name.Reserve(MAX_SHEET_NAME)) return false;
                }
            }
        }
    }
    return true;
}

}  // namespace tally
