#pragma once
// What a name in a formula stands for. Evaluation, marking, links and texts that are read as references all ask
// here, so that they cannot differ.

#include "formula/TokenWalk.h"
#include "model/BookTable.h"

namespace tally {

// A ptgName or ptgNameX as its token holds it.
struct NameMention {
    i32 externIndex = -1;  // -1 for a ptgName
    u32 index = 0;         // 1-based: of the book's names, or of those of an extern row
};
// The next mention at or behind `at`, which moves behind it; false at the end.
bool NextMention(const FormulaTokens& tokens, u32& at, NameMention& out);

struct NameMeaning {
    i32 book = -1;             // where the name is looked for; -1 when there is no such book
    i32 name = -1;             // the row whose formula it is; -1 is "#NAME?"
    i32 sheet = 0;             // of `book`: where the formula's own references lie
    i32 addIn = -1;            // the row of FunctionTable that it names instead
    bool followsUser = false;  // it depends on which book and sheet are current
};
// The meaning for a formula on a sheet. With `mayOpen` a linked book is opened in the background.
NameMeaning FindMeaning(const NameMention& mention, i32 book, i32 sheet, bool mayOpen);
// The text of a mention; empty when its rows are damaged.
WideView MentionText(const NameMention& mention, const Workbook& book);
// The name of that text which has a formula: of the sheet (-1 is none), else of the book. -1 when there is
// none.
i32 FindDefinedName(const Workbook& book, WideView text, i32 sheet);

}  // namespace tally
