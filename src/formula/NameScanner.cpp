#include "base/Text.h"
#include "formula/FormulaScanner.h"
#include "formula/Links.h"

namespace tally {
namespace {

bool IsNameStart(char16_t c) {
    return IsAsciiLetter(c) || c == u'_' || c == u'\\' || (c > 127 && IsLetterChar(c));
}
bool IsNameChar(char16_t c) {
    return IsNameStart(c) || IsAsciiDigit(c) || c == u'.' || c == u'?' || (c > 127 && IsAlphanumericChar(c));
}
bool IsSheetChar(char16_t c) {
    return IsAsciiLetter(c) || IsAsciiDigit(c) || c == u'_' || c == u'.' || (c > 127 && IsAlphanumericChar(c));
}

bool HoldsNone(WideView text, WideView forbidden) { return text.find_first_of(forbidden) == WideView::npos; }
bool IsSheetName(WideView name) {
    return !name.empty() && name.size() <= MAX_SHEET_NAME && HoldsNone(name, u"\\/?*");
}
bool IsBookName(WideView name) { return !name.empty() && HoldsNone(name, u"\\/:*?\"<>|"); }

// The text in front of "!", unquoted, and where it ends. False when no prefix stands there.
bool ReadPrefixText(WideView text, i32 at, i32 end, WideText& inner, i32& behind) {
    i32 p = at;
    if (CharAt(text, p, end) == u'\'') {
        for (++p;; ++p) {
            const char16_t c = CharAt(text, p, end);
            if (!c) return false;
            if (c == u'\'' && CharAt(text, ++p, end) != u'\'') break;
            if (!inner.Append(c)) return false;
        }
    } else {
        if (CharAt(text, p, end) == u'[') {
            while (p < end && CharAt(text, p, end) != u']') ++p;
            if (p < end) ++p;
        } else if (IsAsciiDigit(CharAt(text, p, end)) || CharAt(text, p, end) == u'.') {
            return false;
        }
        // One ":" at most, between two sheets: a chain of ranges is not read again for each of its operands.
        const i32 sheets = p;
        bool colonAllowed = true;
        for (;; ++p) {
            const char16_t c = CharAt(text, p, end);
            if (IsSheetChar(c)) continue;
            if (c != u':' || p == sheets || !colonAllowed) break;
            colonAllowed = false;
        }
        if (!inner.Append(text.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(p - at))))
            return false;
    }
    if (CharAt(text, p, end) != u'!') return false;
    behind = p + 1;
    return !inner.IsEmpty();
}

// Own sheets by name; false when one is missing.
bool OwnSheets(const FormulaPlace& place, WideView first, WideView last, RefPrefix& prefix) {
    prefix.firstSheet = FindSheet(place.book, first);
    prefix.lastSheet = FindSheet(place.book, last);
    prefix.kind = PREFIX_OWN;
    return prefix.firstSheet >= 0 && prefix.lastSheet >= 0;
}

bool NameFile(WideView directory, WideView book, WideView first, WideView last, RefPrefix& prefix) {
    prefix.kind = PREFIX_FILE;
    return prefix.path.Assign(directory) && prefix.path.Append(book) && prefix.firstName.Assign(first) &&
           prefix.lastName.Assign(last);
}

bool ResolvePrefixText(const FormulaPlace& place, WideView inner, bool bookAllowed, RefPrefix& prefix) {
    const std::size_t open = inner.find(u'[');
    const std::size_t close = inner.find(u']');
    const bool hasBook = open != WideView::npos && close != WideView::npos && close > open;
    const WideView sheets = hasBook ? inner.substr(close + 1) : inner;
    const std::size_t colon = sheets.find(u':');
    const WideView first = sheets.substr(0, colon);
    const WideView last = colon == WideView::npos ? first : sheets.substr(colon + 1);
    if (!hasBook) {
        if (IsSheetName(first) && IsSheetName(last) && OwnSheets(place, first, last, prefix)) return true;
        return bookAllowed && IsBookName(FileNameOf(inner)) &&
               NameFile(DirectoryOf(inner), FileNameOf(inner), {}, {}, prefix);
    }
    const WideView book = inner.substr(open + 1, close - open - 1);
    if (!IsBookName(book) || !IsSheetName(first) || !IsSheetName(last)) return false;
    const Workbook* own = BookAt(place.book);
    if (own && EqualIgnoringCase(FileNameOf(own->path), book)) return OwnSheets(place, first, last, prefix);
    return NameFile(inner.substr(0, open), book, first, last, prefix);
}

bool LooksLikeCell(WideView identifier) {
    const FormulaPlace plain;
    RefArea area;
    u8 nibble = 0;
    const i32 length = static_cast<i32>(identifier.size());
    return ParseReference(plain, identifier, 0, length, nullptr, area, nibble) == length;
}

}  // namespace

void ScanPrefix(const FormulaPlace& place, WideView text, i32 at, i32 end, bool bookAllowed,
                RefPrefix& prefix) {
    prefix.behind = at;
    if (CharAt(text, at, end) == u'!') {
        prefix.kind = PREFIX_BANG;
        prefix.behind = at + 1;
        return;
    }
    WideText inner;
    if (!ReadPrefixText(text, at, end, inner, prefix.behind)) {
        prefix.behind = at;
        return;
    }
    if (!ResolvePrefixText(place, inner, bookAllowed, prefix)) prefix.kind = PREFIX_INVALID;
}

i32 ExternIndexForPrefix(i32 book, const RefPrefix& prefix, bool withSheets) {
    Workbook* workbook = BookAt(book);
    if (!workbook) return -1;
    i32 row = -1;
    i32 first = EXTERN_NO_SHEET;
    i32 last = EXTERN_NO_SHEET;
    switch (prefix.kind) {
        case PREFIX_BANG: row = FindOrAddExternBook(*workbook, EXTERN_CURRENT); break;
        case PREFIX_OWN:
            row = FindOrAddExternBook(*workbook, EXTERN_SELF);
            first = prefix.firstSheet;
            last = prefix.lastSheet;
            break;
        case PREFIX_FILE: {
            const i32 open = FindOpenBook(prefix.path, false);
            row = FindOrAddLink(*workbook, open >= 0 ? BookAt(open)->path.View() : prefix.path.View());
            if (row < 0 || !withSheets || prefix.firstName.IsEmpty()) break;
            ExternBook& link = workbook->externBooks[static_cast<u32>(row)];
            first = AddExternSheetName(link, prefix.firstName);
            last = AddExternSheetName(link, prefix.lastName);
            if (first < 0 || last < 0) return -1;
            break;
        }
        default: return -1;
    }
    return row < 0 ? -1 : FindExternSheet(*workbook, row, first, last);
}

bool ScanName(const FormulaPlace& place, WideView text, i32 at, i32 end, NameParts& parts) {
    ScanPrefix(place, text, at, end, true, parts.prefix);
    if (parts.prefix.kind == PREFIX_INVALID) return false;
    const i32 start = parts.prefix.behind;
    if (!IsNameStart(CharAt(text, start, end))) return false;
    i32 p = start;
    while (IsNameChar(CharAt(text, p, end))) ++p;
    parts.identifier = text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(p - start));
    if (parts.identifier.size() > 255) return false;
    // A cell behind a sheet that is not there is a fault, not a name in some other book.
    if (parts.prefix.kind == PREFIX_FILE && LooksLikeCell(parts.identifier)) return false;
    parts.behind = p;
    parts.isCall = CharAt(text, p, end) == u'(';
    if (parts.isCall && parts.prefix.kind == PREFIX_NONE) {
        parts.function = FindFunction(parts.identifier);
        if (parts.function < 0) parts.function = FindAddInFunction(parts.identifier);
    }
    return true;
}

}  // namespace tally
