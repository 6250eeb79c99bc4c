#include "base/Text.h"

#include <unicode/uchar.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <cstring>

namespace tally {
namespace {

struct CollationState {
    UCollator* collator = nullptr;
    char locale[32] = "";
};

CollationState collation;

char16_t MapChar(char16_t c, UChar32 (*map)(UChar32)) {
    if (c >= 0xD800 && c <= 0xDFFF) return c;
    const UChar32 mapped = map(c);
    return mapped > 0xFFFF ? c : static_cast<char16_t>(mapped);
}

UChar32 FoldSimple(UChar32 c) { return u_foldCase(c, U_FOLD_CASE_DEFAULT); }

bool IsPlainWord(WideView text) {
    return std::all_of(text.begin(), text.end(),
                       [](char16_t c) { return IsAsciiDigit(c) || IsAsciiLetter(c) || c == u' '; });
}

int CompareFolded(WideView a, WideView b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] == b[i]) continue;
        const char16_t x = FoldChar(a[i]);
        const char16_t y = FoldChar(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

constexpr u32 MALFORMED = 0x110000;

// Decodes one code point at `i` and moves past it; MALFORMED behind the bytes that make none.
u32 DecodeUtf8(std::string_view s, std::size_t& i) {
    const auto lead = static_cast<u8>(s[i++]);
    if (lead < 0x80) return lead;
    int more = 0;
    u32 value = 0;
    u32 least = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        more = 1;
        value = lead & 0x1Fu;
        least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        more = 2;
        value = lead & 0x0Fu;
        least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        more = 3;
        value = lead & 0x07u;
        least = 0x10000;
    } else return MALFORMED;
    std::size_t at = i;
    for (; more > 0; --more) {
        if (at >= s.size() || (static_cast<u8>(s[at]) & 0xC0) != 0x80) {
            i = at;
            return MALFORMED;
        }
        value = (value << 6) | (static_cast<u8>(s[at++]) & 0x3Fu);
    }
    i = at;
    if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return MALFORMED;
    return value;
}

u32 NextUtf8(std::string_view s, std::size_t& i) {
    const u32 c = DecodeUtf8(s, i);
    return c == MALFORMED ? 0xFFFD : c;
}

bool AppendCodePoint(WideText& out, u32 c) {
    if (c <= 0xFFFF) return out.Append(static_cast<char16_t>(c));
    return out.Append(static_cast<char16_t>(0xD7C0 + (c >> 10))) &&
           out.Append(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
}

bool IsPairStart(WideView text, std::size_t i) {
    return (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
}

// A byte of a file's name that is not UTF-8.
constexpr char16_t RAW_BYTE = 0xDC00;
bool IsRawByte(char16_t c) { return c >= RAW_BYTE + 0x80 && c <= RAW_BYTE + 0xFF; }

bool IsHidden(char16_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c >= 0x200B && c <= 0x200F) ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF ||
           (c >= 0xD800 && c <= 0xDFFF);
}

[[nodiscard]] bool AppendFolded(WideText& out, WideView text) {
    if (!out.Assign(text)) return false;
    for (std::size_t i = 0; i < text.size(); ++i) out.Data()[i] = FoldChar(text[i]);
    return true;
}

}  // namespace

char16_t UpperChar(char16_t c) { return c < 0x80 ? AsciiUpper(c) : MapChar(c, u_toupper); }
char16_t LowerChar(char16_t c) { return c < 0x80 ? AsciiLower(c) : MapChar(c, u_tolower); }
char16_t FoldChar(char16_t c) { return c < 0x80 ? AsciiLower(c) : MapChar(c, FoldSimple); }
bool IsLetterChar(char16_t c) { return c < 0x80 ? IsAsciiLetter(c) : u_isalpha(c) != 0; }
bool IsAlphanumericChar(char16_t c) {
    return c < 0x80 ? IsAsciiLetter(c) || IsAsciiDigit(c) : u_isalnum(c) != 0;
}

bool EqualIgnoringCase(WideView a, WideView b) { return a.size() == b.size() && CompareFolded(a, b) == 0; }

bool StartsWithIgnoringCase(WideView text, WideView prefix) {
    return text.size() >= prefix.size() && EqualIgnoringCase(text.substr(0, prefix.size()), prefix);
}

int CompareIgnoringCase(WideView a, WideView b) { return CompareFolded(a, b); }

u32 HashIgnoringCase(WideView text) {
    u32 hash = 2166136261u;  // FNV-1a
    for (char16_t c : text) {
        hash = (hash ^ FoldChar(c)) * 16777619u;
    }
    return hash;
}

int CollateText(WideView a, WideView b) {
    if (EqualIgnoringCase(a, b)) return 0;
    // Digits, letters and blanks alone stand in the collation's order already.
    if (IsPlainWord(a) && IsPlainWord(b)) return CompareFolded(a, b);
    if (!collation.collator) {
        UErrorCode status = U_ZERO_ERROR;
        collation.collator = ucol_open(collation.locale, &status);
        if (U_FAILURE(status)) {
            collation.collator = nullptr;
            return CompareFolded(a, b);
        }
        ucol_setStrength(collation.collator, UCOL_TERTIARY);
    }
    // Folded first, case no longer counts among the differences of the third level.
    WideText left, right;
    if (!AppendFolded(left, a) || !AppendFolded(right, b)) return CompareFolded(a, b);
    const UCollationResult result =
        ucol_strcoll(collation.collator, left.View().data(), static_cast<int32_t>(left.Length()),
                     right.View().data(), static_cast<int32_t>(right.Length()));
    return result == UCOL_LESS ? -1 : result == UCOL_GREATER ? 1 : 0;
}

void SetCollationLocale(const char* tag) {
    if (collation.collator) ucol_close(collation.collator);
    collation.collator = nullptr;
    const std::string_view view = tag ? tag : "";
    const std::size_t length = std::min(view.size(), sizeof collation.locale - 1);
    std::memcpy(collation.locale, view.data(), length);
    collation.locale[length] = 0;
    std::replace(collation.locale, collation.locale + length, '-', '_');
}

bool AppendUtf8(WideText& out, std::string_view utf8) {
    if (!out.Reserve(std::size_t{out.Length()} + utf8.size())) return false;
    for (std::size_t i = 0; i < utf8.size();) {
        if (!AppendCodePoint(out, NextUtf8(utf8, i))) return false;
    }
    return true;
}

bool WideFromUtf8(WideText& out, std::string_view utf8) {
    out.Truncate(0);
    return AppendUtf8(out, utf8);
}

std::size_t Utf8Length(WideView text) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c < 0x80) bytes += 1;
        else if (c < 0x800) bytes += 2;
        else if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            bytes += 4;
            ++i;
        } else bytes += 3;
    }
    return bytes;
}

std::size_t Utf8FromWide(WideView text, char* out) {
    char* p = out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        u32 c = text[i];
        if (c < 0x80) {
            *p++ = static_cast<char>(c);
            continue;
        }
        if (c < 0x800) {
            *p++ = static_cast<char>(0xC0 | (c >> 6));
            *p++ = static_cast<char>(0x80 | (c & 0x3F));
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
            *p++ = static_cast<char>(0xF0 | (c >> 18));
            *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        } else {
            if (c >= 0xD800 && c <= 0xDFFF) c = 0xFFFD;
            *p++ = static_cast<char>(0xE0 | (c >> 12));
        }
        *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        *p++ = static_cast<char>(0x80 | (c & 0x3F));
    }
    return static_cast<std::size_t>(p - out);
}

bool WideFromPath(WideText& out, std::string_view bytes) {
    out.Truncate(0);
    if (!out.Reserve(bytes.size())) return false;
    for (std::size_t i = 0; i < bytes.size();) {
        const std::size_t start = i;
        const u32 c = DecodeUtf8(bytes, i);
        if (c != MALFORMED) {
            if (!AppendCodePoint(out, c)) return false;
            continue;
        }
        for (std::size_t at = start; at < i; ++at) {
            const auto byte = static_cast<u8>(bytes[at]);
            if (!out.Append(static_cast<char16_t>(byte < 0x80 ? byte : RAW_BYTE + byte))) return false;
        }
    }
    return true;
}

bool PathFromWide(Array<char>& out, WideView path) {
    out.Truncate(0);
    if (path.empty() || path.find(u'\0') != WideView::npos) return false;
    for (std::size_t i = 0; i < path.size(); ++i) {
        char bytes[4];
        std::size_t count = 1;
        const bool pair = IsPairStart(path, i);
        if (!pair && IsRawByte(path[i])) {
            bytes[0] = static_cast<char>(path[i] - RAW_BYTE);
        } else if (!pair && path[i] >= 0xD800 && path[i] <= 0xDFFF) {
            return false;
        } else {
            count = Utf8FromWide(path.substr(i, pair ? 2 : 1), bytes);
        }
        i += pair;
        if (!out.AppendMany(bytes, count)) return false;
    }
    return out.Append('\0');
}

bool AppendEscaped(WideText& out, WideView text) {
    static constexpr char16_t digits[] = u"0123456789ABCDEF";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (IsPairStart(text, i)) {
            if (!out.Append(text.substr(i++, 2))) return false;
            continue;
        }
        if (!IsHidden(c)) {
            if (!out.Append(c)) return false;
            continue;
        }
        const u32 code = IsRawByte(c) ? u32{c} - RAW_BYTE : c;
        if (!out.Append(code < 0x100 ? WideView(u"\\x") : WideView(u"\\u"))) return false;
        for (u32 shift = code < 0x100 ? 8 : 16; shift > 0; shift -= 4)
            if (!out.Append(digits[code >> (shift - 4) & 15])) return false;
    }
    return true;
}

WideView FileNameOf(WideView path) {
    const std::size_t cut = path.find_last_of(u"/\\");
    return cut == WideView::npos ? path : path.substr(cut + 1);
}

WideView DirectoryOf(WideView path) {
    const std::size_t cut = path.find_last_of(u"/\\");
    return cut == WideView::npos ? WideView() : path.substr(0, cut + 1);
}

}  // namespace tally
