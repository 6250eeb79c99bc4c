// The arguments of the call that is typed.

#include <algorithm>

#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "formula/FormulaScanner.h"
#include "formula/FormulaTypes.h"
#include "shell/entry/EntryMarks.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

constexpr u32 PAPER = 0xE1FFFF, EDGE = 0x808080, INK = 0;
constexpr i32 PADDING = 3;  // pixels of a screen with 96 to the inch

// Calls and brackets inside each other beyond this have no hint.
constexpr i32 MAX_DEPTH = 64;

struct OpenBracket {
    bool isCall = false;  // a name stands before it
    i32 row = -1;
    i32 argument = 0;
};

bool IsNameChar(char16_t c) { return IsAsciiLetter(c) || IsAsciiDigit(c) || c == u'_' || c == u'.' || c > 127; }

i32 FindRow(WideView name) {
    const i32 row = FindFunction(name);
    return row >= 0 ? row : FindAddInFunction(name);
}

OpenBracket BracketAt(WideView text, std::size_t at) {
    std::size_t start = at;
    while (start > 0 && IsNameChar(text[start - 1])) --start;
    OpenBracket bracket;
    bracket.isCall = start < at;
    if (bracket.isCall) bracket.row = FindRow(text.substr(start, at - start));
    return bracket;
}

// Behind a quoted name of a sheet; a quote that is never closed takes the rest.
std::size_t BehindQuote(WideView text, std::size_t at) {
    const std::size_t close = text.find(u'\'', at + 1);
    return close == WideView::npos ? text.size() : close + 1;
}

WideView HintOf(i32 row) {
    const FunctionEntry& entry = FunctionTable[row];
    return entry.signature.empty() || entry.argumentHint == u" " ? WideView() : entry.argumentHint;
}

FontHandle BoldFont() {
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    FontRequest request;
    request.faceName = u"Arial";
    request.pixelHeight = std::max(1, screen.fontHeight - screen.internalLeading);
    request.weight = 700;
    return Fonts().findFont(request);
}

// The call text in three runs: before the argument, the argument, behind it.
struct HintRuns {
    WideText text;
    WideView runs[3];
    FontHandle fonts[3] = {};
    i32 widths[3] = {};
    i32 width = 0, height = 0;
};

bool MeasureHint(HintRuns& hint) {
    const EntryMarks& marks = Shell().marks;
    i32 start = 0, end = 0;
    if (marks.call.row < 0 || !CallText(marks.call, hint.text, start, end)) return false;
    const WideView text = hint.text;
    const auto first = static_cast<std::size_t>(start), last = static_cast<std::size_t>(end);
    hint.runs[0] = text.substr(0, first);
    hint.runs[1] = text.substr(first, last - first);
    hint.runs[2] = text.substr(last);
    hint.fonts[1] = BoldFont();
    for (int i = 0; i < 3; ++i) {
        i32 height = 0;
        Fonts().textExtent(hint.fonts[i], hint.runs[i], hint.widths[i], height);
        hint.width += hint.widths[i];
        hint.height = std::max(hint.height, height);
    }
    return true;
}

PixelRect PlaceOf(const HintRuns& hint) {
    const Layout& layout = Shell().layout;
    const i32 padding = ScreenLength(PADDING), left = layout.grid.left + padding;
    return IntersectRects(
        {left, layout.grid.top, left + hint.width + 2 * padding, layout.grid.top + hint.height + 2 * padding},
        layout.grid);
}

}  // namespace

CallPlace FindCall(WideView text, i32 place) {
    text = text.substr(0, static_cast<std::size_t>(std::clamp(place, 0, static_cast<i32>(text.size()))));
    const i32 end = static_cast<i32>(text.size());
    OpenBracket open[MAX_DEPTH];
    i32 depth = 0;
    i32 braces = 0;
    for (std::size_t at = 0; at < text.size();) {
        const char16_t c = text[at];
        if (c == u'"') {
            const i32 behind = ScanString(text, static_cast<i32>(at), end);
            at = std::max(static_cast<std::size_t>(behind), at + 1);
            continue;
        }
        if (c == u'\'') {
            at = BehindQuote(text, at);
            continue;
        }
        if (c == u'{') ++braces;
        if (c == u'}') --braces;
        if (c == u'(') {
            if (depth == MAX_DEPTH) return {};
            open[depth++] = BracketAt(text, at);
        }
        if (c == u')' && depth > 0) --depth;
        if (c == Locale().listSeparator && braces <= 0 && depth > 0) ++open[depth - 1].argument;
        ++at;
    }
    // A bracket without a name only groups what is one argument.
    while (depth > 0 && !open[depth - 1].isCall) --depth;
    return depth > 0 && open[depth - 1].row >= 0 ? CallPlace{open[depth - 1].row, open[depth - 1].argument}
                                                 : CallPlace{};
}

bool CallText(const CallPlace& call, WideText& out, i32& start, i32& end) {
    out.Truncate(0);
    start = end = 0;
    if (!out.Append(FunctionTable[call.row].name) || !out.Append(u'(')) return false;
    i32 argument = 0, from = static_cast<i32>(out.Length());
    const auto close = [&] {
        const i32 to = static_cast<i32>(out.Length());
        // What goes on for ever stands for all that follow.
        const bool rest = to - from == 3 && out.View().substr(static_cast<std::size_t>(from)) == u"...";
        if (argument == call.argument || (rest && argument < call.argument)) start = from, end = to;
        ++argument;
    };
    for (const char16_t c : HintOf(call.row)) {
        if (c == u' ') continue;
        if (c == u',' || c == u']') {
            if (static_cast<i32>(out.Length()) > from) close();
        }
        if (!out.Append(c == u',' ? Locale().listSeparator : c)) return false;
        if (c == u',' || c == u'[' || c == u']') from = static_cast<i32>(out.Length());
    }
    if (static_cast<i32>(out.Length()) > from) close();
    return out.Append(u')');
}

PixelRect CallHintPlace() {
    HintRuns hint;
    return !IsEmptyRect(Shell().layout.grid) && MeasureHint(hint) ? PlaceOf(hint) : PixelRect();
}

void PaintCallHint(DrawTarget& target) {
    HintRuns hint;
    if (!MeasureHint(hint)) return;
    const PixelRect place = PlaceOf(hint);
    if (IsEmptyRect(place)) return;
    FillRect(target, place, EDGE);
    FillRect(target, {place.left + 1, place.top + 1, place.right - 1, place.bottom - 1}, PAPER);
    const i32 padding = ScreenLength(PADDING);
    i32 x = place.left + padding;
    for (int i = 0; i < 3; ++i) {
        if (!hint.runs[i].empty())
            DrawClippedText(target, x, place.top + padding, place, hint.fonts[i], INK, hint.runs[i]);
        x += hint.widths[i];
    }
}

}  // namespace tally
