#pragma once
// Comparison, case and conversion of UTF-16 text.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

inline bool IsAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
inline bool IsAsciiLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
inline char16_t AsciiUpper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }
inline char16_t AsciiLower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }
inline bool IsBlankChar(char16_t c) { return c == u' '; }

// Simple (one to one) case mappings of Unicode; surrogates stay as they are.
char16_t UpperChar(char16_t c);
char16_t LowerChar(char16_t c);
char16_t FoldChar(char16_t c);
bool IsLetterChar(char16_t c);        // Unicode category L
bool IsAlphanumericChar(char16_t c);  // Unicode categories L and Nd

// Names, keywords and sheet names: equal after folding each character.
bool EqualIgnoringCase(WideView a, WideView b);
bool StartsWithIgnoringCase(WideView text, WideView prefix);
// Order by folded code units: below zero, zero, above zero.
int CompareIgnoringCase(WideView a, WideView b);
// A hash that is equal for texts that EqualIgnoringCase calls equal.
u32 HashIgnoringCase(WideView text);

// The order of words in the user's language, without regard to case and to nothing else: full and half width,
// hiragana and katakana differ. Below zero, zero, above zero.
int CollateText(WideView a, WideView b);
// Language of CollateText, as a BCP 47 tag such as "zh-CN"; null or empty for the root order.
void SetCollationLocale(const char* tag);

// UTF-8. Malformed input becomes U+FFFD; lone surrogates become U+FFFD on the way out.
[[nodiscard]] bool AppendUtf8(WideText& out, std::string_view utf8);
[[nodiscard]] bool WideFromUtf8(WideText& out, std::string_view utf8);
// Bytes needed for `text` in UTF-8, and the conversion into a buffer of at least that size.
std::size_t Utf8Length(WideView text);
std::size_t Utf8FromWide(WideView text, char* out);

// Names of files are bytes. Those that are not UTF-8 stand as U+DC80 to U+DCFF, so that every name comes back
// as it was; PathFromWide is zero-terminated, and false also for an empty text and for what no name can be.
[[nodiscard]] bool WideFromPath(WideText& out, std::string_view bytes);
[[nodiscard]] bool PathFromWide(Array<char>& out, WideView path);
// What would move the cursor, hide text or turn its direction becomes visible, such as "\\x1B".
[[nodiscard]] bool AppendEscaped(WideText& out, WideView text);

// The last element of a path behind "/" or "\\".
WideView FileNameOf(WideView path);
// The directory part of a path with its last separator; empty when there is none.
WideView DirectoryOf(WideView path);

}  // namespace tally
