#include <algorithm>
#include <cmath>

#include "base/Memory.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "formula/Evaluator.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/TextSearch.h"
#include "model/BookTable.h"

namespace tally {
namespace {

// A text longer than this counts against what one evaluation may make, in elements of an array.
constexpr std::size_t FREE_TEXT = 255;
constexpr std::size_t CHARACTERS_PER_ELEMENT = sizeof(Value) / sizeof(char16_t);

// Truncated in the double itself, so that what lies far outside is judged by the function's own rule.
bool WholeArgument(Value& argument, Value& result, const EvalContext& context, double& out) {
    if (!NumberArgument(argument, result, context, out)) return false;
    out = std::trunc(out);
    return true;
}

bool OptionalWhole(Value& argument, Value& result, const EvalContext& context, double missing, double& out) {
    out = missing;
    return IsMissing(argument) || WholeArgument(argument, result, context, out);
}

// A block for the caller to fill in; null for want of memory or beyond the longest text.
TextBlock* MakeRoom(std::size_t length) {
    if (length > FREE_TEXT && !SpendElements(length / CHARACTERS_PER_ELEMENT)) return nullptr;
    return MakeTextRoom(length);
}

char16_t* Put(char16_t* at, WideView text) { return std::copy(text.begin(), text.end(), at); }

void JoinThree(WideView a, WideView b, WideView c, Value& result) {
    TextBlock* block = MakeRoom(a.size() + b.size() + c.size());
    if (block) Put(Put(Put(block->characters, a), b), c);
    result = OwnedTextValue(block);
}

// A part of a text argument. The whole of it shares the block.
void PartOf(const Value& text, std::size_t start, std::size_t count, Value& result) {
    const WideView whole = TextOf(text);
    if (count == whole.size()) {
        result = OwnedTextValue(RetainText(text.text));
        return;
    }
    JoinThree(whole.substr(start, count), {}, {}, result);
}

std::size_t Clamped(double count, std::size_t most) {
    return count >= static_cast<double>(most) ? most : static_cast<std::size_t>(count);
}

void TakeEnd(Value* arguments, Value& result, const EvalContext& context, bool right) {
    WideView text;
    double count = 0;
    if (!TextArgument(arguments[0], result, context, text) ||
        !OptionalWhole(arguments[1], result, context, 1, count)) {
        return;
    }
    if (count < 0) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const std::size_t taken = Clamped(count, text.size());
    PartOf(arguments[0], right ? text.size() - taken : 0, taken, result);
}

// Maps each character of the text.
template <typename Map>
void MapText(Value* arguments, Value& result, const EvalContext& context, Map map) {
    WideView text;
    if (!TextArgument(arguments[0], result, context, text)) return;
    TextBlock* block = MakeRoom(text.size());
    if (block) std::transform(text.begin(), text.end(), block->characters, map);
    result = OwnedTextValue(block);
}

// The characters that `keeps` lets stand; it is asked once for each, in order.
template <typename Keeps>
void FilterText(WideView text, Value& result, Keeps keeps) {
    TextBlock* block = MakeRoom(text.size());
    if (block) {
        const char16_t* end = std::copy_if(text.begin(), text.end(), block->characters, keeps);
        ShortenText(*block, static_cast<std::size_t>(end - block->characters));
    }
    result = OwnedTextValue(block);
}

struct SearchArguments {
    WideView what, within;
    std::size_t start = 0;  // from 0
};

// False with the result already there.
bool OpenSearch(Value* arguments, Value& result, const EvalContext& context, SearchArguments& out) {
    double start = 1;
    if (!TextArgument(arguments[0], result, context, out.what) ||
        !TextArgument(arguments[1], result, context, out.within) ||
        !OptionalWhole(arguments[2], result, context, 1, start)) {
        return false;
    }
    if (start < 1 || start > static_cast<double>(out.within.size())) {
        result = ErrorValue(ERR_VALUE);
        return false;
    }
    if (out.what.empty()) {
        result = NumberValue(0);
        return false;
    }
    out.start = static_cast<std::size_t>(start) - 1;
    return true;
}

Value PlaceValue(std::size_t place) { return NumberValue(static_cast<double>(place + 1)); }

bool IsControl(char16_t c) { return c < 32 || (c >= 0x7F && c < 0xA0); }

constexpr u8 FIRST_PAGED = 128, LAST_PAGED = 159;
constexpr char16_t REPLACEMENT = 0xFFFD;

u32 BookPage(const EvalContext& context) {
    const Workbook* book = BookAt(context.book);
    return book ? book->codePage : 0;
}

bool IsLeadByte(const EvalContext& context, u8 byte) {
    return Platform().isDBCSLeadByteEx(BookPage(context), byte);
}

// The code of a text's first character in the book's page, two bytes as one number.
double PagedCode(const EvalContext& context, WideView text) {
    const char16_t unit = text[0];
    if (unit < FIRST_PAGED || (unit > LAST_PAGED && unit <= 0xFF)) return unit;
    const bool pair = unit >= 0xD800 && unit < 0xDC00 && text.size() > 1;
    Array<u8> bytes;
    const bool converted =
        Platform().wideCharToMultiByte(BookPage(context), text.substr(0, pair ? 2 : 1), bytes);
    // The page's control codes stay what they are.
    if (!converted || bytes.IsEmpty() || unit <= LAST_PAGED) return unit;
    return bytes.Count() == 1 ? bytes[0] : bytes[0] * 256 + bytes[1];
}

void ReplaceAll(const TextNeedle& needle, const Value& text, WideView with, Value& result) {
    const WideView from = TextOf(text);
    const std::size_t width = needle.text.size();
    std::size_t hits = 0;
    for (std::size_t at = 0; (at = FindNeedle(needle, from, at)) != WideView::npos; at += width) ++hits;
    if (!hits) return PartOf(text, 0, from.size(), result);
    TextBlock* block = MakeRoom(from.size() - hits * width + hits * with.size());
    if (block) {
        char16_t* out = block->characters;
        std::size_t done = 0;
        for (std::size_t at = 0; (at = FindNeedle(needle, from, at)) != WideView::npos; at += width) {
            out = Put(Put(out, from.substr(done, at - done)), with);
            done = at + width;
        }
        Put(out, from.substr(done));
    }
    result = OwnedTextValue(block);
}

void ReplaceOne(const TextNeedle& needle, const Value& text, WideView with, double instance, Value& result) {
    const WideView from = TextOf(text);
    const std::size_t width = needle.text.size();
    std::size_t at = FindNeedle(needle, from, 0);
    for (double i = 1; i < instance && at != WideView::npos; ++i) at = FindNeedle(needle, from, at + width);
    if (at == WideView::npos) return PartOf(text, 0, from.size(), result);
    JoinThree(from.substr(0, at), with, from.substr(at + width), result);
}

}  // namespace

void CallLen(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    if (TextArgument(arguments[0], result, context, text))
        result = NumberValue(static_cast<double>(text.size()));
}

void CallChar(Value* arguments, Value& result, const EvalContext& context) {
    double code = 0;
    if (!WholeArgument(arguments[0], result, context, code)) return;
    if (code < 1 || code > 255) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const u8 byte = static_cast<u8>(code);
    char16_t unit = byte;
    WideText wide;
    // The page gives the characters that it has where others have control codes.
    if (byte >= FIRST_PAGED && byte <= LAST_PAGED && !IsLeadByte(context, byte)) {
        const bool converted = Platform().multiByteToWideChar(BookPage(context), ByteView(&byte, 1), wide);
        if (converted && wide.Length() == 1 && wide[0] != REPLACEMENT) unit = wide[0];
    }
    result = TextValue({&unit, 1});
}

void CallCode(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    if (!TextArgument(arguments[0], result, context, text)) return;
    result = text.empty() ? ErrorValue(ERR_VALUE) : NumberValue(PagedCode(context, text));
}

// A reference stands for its first cell.
void CallT(Value* arguments, Value& result, const EvalContext& context) {
    Value& argument = arguments[0];
    SheetArea from;
    i32 error = ERR_VALUE;
    if ((argument.type == VT_REF || argument.type == VT_AREA) &&
        ResolveSingleArea(argument, context, from, error)) {
        ClearValue(argument);
        GetCellValue(from.book, from.sheet, from.area.firstRow, from.area.firstColumn, argument);
    }
    result = argument.type == VT_STRING ? TakeValue(argument) : OwnedTextValue(EmptyText());
}

void CallExact(Value* arguments, Value& result, const EvalContext& context) {
    WideView a, b;
    if (TextArgument(arguments[0], result, context, a) && TextArgument(arguments[1], result, context, b))
        result = BoolValue(a == b);
}

void CallConcatenate(Value* arguments, Value& result, const EvalContext& context) {
    WideView parts[MAX_ARGUMENTS];
    std::size_t length = 0;
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        if (IsMissing(arguments[i])) continue;
        if (!TextArgument(arguments[i], result, context, parts[i])) return;
        length += parts[i].size();
    }
    TextBlock* block = MakeRoom(length);
    char16_t* out = block ? block->characters : nullptr;
    for (i32 i = 0; block && i < MAX_ARGUMENTS; ++i) out = Put(out, parts[i]);
    result = OwnedTextValue(block);
}

void CallLower(Value* arguments, Value& result, const EvalContext& context) {
    MapText(arguments, result, context, LowerChar);
}
void CallUpper(Value* arguments, Value& result, const EvalContext& context) {
    MapText(arguments, result, context, UpperChar);
}

void CallProper(Value* arguments, Value& result, const EvalContext& context) {
    bool inWord = false;
    MapText(arguments, result, context, [&inWord](char16_t c) {
        const bool letter = IsLetterChar(c);
        const char16_t mapped = !letter ? c : inWord ? LowerChar(c) : UpperChar(c);
        inWord = letter;
        return mapped;
    });
}

void CallLeft(Value* arguments, Value& result, const EvalContext& context) {
    TakeEnd(arguments, result, context, false);
}
void CallRight(Value* arguments, Value& result, const EvalContext& context) {
    TakeEnd(arguments, result, context, true);
}

void CallMid(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    double start = 0, count = 0;
    if (!TextArgument(arguments[0], result, context, text) ||
        !WholeArgument(arguments[1], result, context, start) ||
        !WholeArgument(arguments[2], result, context, count)) {
        return;
    }
    if (start < 1 || count < 0) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const std::size_t first = Clamped(start - 1, text.size());
    PartOf(arguments[0], first, Clamped(count, text.size() - first), result);
}

void CallFind(Value* arguments, Value& result, const EvalContext& context) {
    SearchArguments search;
    if (!OpenSearch(arguments, result, context, search)) return;
    TextNeedle needle;
    if (!PrepareNeedle(search.what, needle)) {
        result = ErrorValue(ERR_NA);
        return;
    }
    const std::size_t place = FindNeedle(needle, search.within, search.start);
    result = place == WideView::npos ? ErrorValue(ERR_VALUE) : PlaceValue(place);
}

void CallSearch(Value* arguments, Value& result, const EvalContext& context) {
    SearchArguments search;
    if (!OpenSearch(arguments, result, context, search)) return;
    std::size_t place = 0;
    switch (SearchPattern(search.what, search.within, search.start, place)) {
        case SEARCH_FOUND: result = PlaceValue(place); return;
        case SEARCH_TOO_LONG:
            StopEvaluation(STOP_BOUND);
            result = ErrorValue(ERR_NA);
            return;
        case SEARCH_NO_MEMORY: result = ErrorValue(ERR_NA); return;
        default: result = ErrorValue(ERR_VALUE); return;
    }
}

void CallReplace(Value* arguments, Value& result, const EvalContext& context) {
    WideView text, with;
    double start = 0, count = 0;
    if (!TextArgument(arguments[0], result, context, text) ||
        !WholeArgument(arguments[1], result, context, start) ||
        !WholeArgument(arguments[2], result, context, count) ||
        !TextArgument(arguments[3], result, context, with)) {
        return;
    }
    if (start < 1 || count < 0) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    const std::size_t first = Clamped(start - 1, text.size());
    const std::size_t dropped = Clamped(count, text.size() - first);
    JoinThree(text.substr(0, first), with, text.substr(first + dropped), result);
}

void CallSubstitute(Value* arguments, Value& result, const EvalContext& context) {
    WideView text, old, with;
    double instance = 0;
    if (!TextArgument(arguments[0], result, context, text) ||
        !TextArgument(arguments[1], result, context, old) ||
        !TextArgument(arguments[2], result, context, with) ||
        !OptionalWhole(arguments[3], result, context, 0, instance)) {
        return;
    }
    if (instance < 1 && !IsMissing(arguments[3])) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    if (old.empty()) return PartOf(arguments[0], 0, text.size(), result);
    TextNeedle needle;
    if (!PrepareNeedle(old, needle)) {
        result = ErrorValue(ERR_NA);
        return;
    }
    if (instance < 1) return ReplaceAll(needle, arguments[0], with, result);
    ReplaceOne(needle, arguments[0], with, instance, result);
}

void CallRept(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    double count = 0;
    if (!TextArgument(arguments[0], result, context, text) ||
        !WholeArgument(arguments[1], result, context, count))
        return;
    std::size_t length = 0;
    // A count of 32 bits is beyond every text already, but not beyond the arithmetic.
    const std::size_t times = count < 1 || text.empty() ? 0 : Clamped(count, UINT32_MAX);
    TextBlock* block = MultiplySizes(text.size(), times, length) ? MakeRoom(length) : nullptr;
    // What stands there already is copied behind itself.
    std::size_t done = 0;
    while (block && done < length) {
        const WideView piece = done ? WideView(block->characters, std::min(done, length - done)) : text;
        Put(block->characters + done, piece);
        done += piece.size();
    }
    result = OwnedTextValue(block);
}

void CallTrim(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    if (!TextArgument(arguments[0], result, context, text)) return;
    const std::size_t last = text.find_last_not_of(u' ');
    text = text.substr(0, last == WideView::npos ? 0 : last + 1);
    bool afterBlank = true;
    FilterText(text, result, [&afterBlank](char16_t c) {
        const bool keeps = c != u' ' || !afterBlank;
        afterBlank = c == u' ';
        return keeps;
    });
}

void CallClean(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    if (TextArgument(arguments[0], result, context, text))
        FilterText(text, result, [](char16_t c) { return !IsControl(c); });
}

void CallValue(Value* arguments, Value& result, const EvalContext& context) {
    double number = 0;
    if (NumberArgument(arguments[0], result, context, number)) result = NumberValue(number);
}

}  // namespace tally
