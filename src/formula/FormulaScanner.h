#pragma once
// The small scanners that the check and the compiler share. All work on the text by position.

#include "base/WideText.h"
#include "formula/Compiler.h"
#include "model/BookTable.h"

namespace tally {

constexpr i32 NO_POSITION = -1;
constexpr i32 MAX_FORMULA_TEXT = 32767;  // characters; longer texts are faults
constexpr i32 MAX_NESTING = 256;         // parentheses and argument lists; deeper ones are faults

inline i32 SkipBlanks(WideView text, i32 at, i32 end) {
    while (at < end && text[static_cast<std::size_t>(at)] == u' ') ++at;
    return at;
}
inline char16_t CharAt(WideView text, i32 at, i32 end) {
    return at >= 0 && at < end ? text[static_cast<std::size_t>(at)] : u'\0';
}
char16_t ListSeparator();
bool IsOperatorChar(char16_t c);
bool CanStartOperand(char16_t c);
// Length of the binary operator at a place, 0 when none stands there. A blank is no operator here.
i32 OperatorLength(WideView text, i32 at, i32 end);

// The position behind a number, or -1. A row range such as 1:3 is no number.
i32 ScanNumber(WideView text, i32 at, i32 end);
bool StartsNumber(WideView text, i32 at, i32 end);
// The position behind a string whose opening quote stands at `at`; `end` when it is not closed.
i32 ScanString(WideView text, i32 at, i32 end);
// The position of the parenthesis that closes the one at `at`, counted with no regard for quotes; -1.
i32 MatchingParenthesis(WideView text, i32 at, i32 end);
// The error text at a place: its index, and `behind` gets the position behind it; -1 when none.
i32 ScanError(WideView text, i32 at, i32 end, i32& behind);

// One element of an array constant.
struct ArrayElement {
    i32 start = 0;
    i32 stop = 0;       // without trailing blanks
    i32 separator = 0;  // position of what ends it
};
bool ScanArrayElement(WideView text, i32 at, i32 end, ArrayElement& element);
// Separator of columns in an array constant.
char16_t ArrayColumnSeparator();
// The value of an element: boolean, error, number, or else text. The value owns its text.
bool ParseConstant(WideView text, i32 start, i32 stop, Value& value);

// ---- prefixes and names ---------------------------------------------------------------------------

enum PrefixKind : u8 { PREFIX_NONE, PREFIX_BANG, PREFIX_OWN, PREFIX_FILE, PREFIX_INVALID };

// What stands in front of "!".
struct RefPrefix {
    PrefixKind kind = PREFIX_NONE;
    i32 behind = 0;       // position behind "!"
    i32 firstSheet = -1;  // PREFIX_OWN
    i32 lastSheet = -1;
    WideText path;       // PREFIX_FILE: the book's path or name
    WideText firstName;  // PREFIX_FILE: sheets; empty for a book's name
    WideText lastName;
};
// Reads an optional prefix. `bookAllowed`: a prefix that is no sheet of this book may name a file.
void ScanPrefix(const FormulaPlace& place, WideView text, i32 at, i32 end, bool bookAllowed, RefPrefix& prefix);
// The rows of the extern tables for a prefix, added when absent; -1 when memory fails.
i32 ExternIndexForPrefix(i32 book, const RefPrefix& prefix, bool withSheets);

struct NameParts {
    RefPrefix prefix;
    WideView identifier;
    i32 behind = 0;
    i32 function = -1;    // row of FunctionTable, main or add-in; only without a prefix
    bool isCall = false;  // "(" stands behind
};
// Reads an identifier with its prefix. False when none stands there.
bool ScanName(const FormulaPlace& place, WideView text, i32 at, i32 end, NameParts& parts);

constexpr std::string_view UNKNOWN_SIGNATURE = "rrrrrrrrrrrrrrrrrrrrrrrrrrrrr";

}  // namespace tally
