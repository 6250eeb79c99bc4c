#include "fileio/biff/RuleRecords.h"
#include "base/Number.h"
#include "display/NumberFormatter.h"
#include "fileio/biff/SheetRecords.h"
#include "model/AreaList.h"

namespace tally {
namespace {

constexpr u16 TOP10_MIN = 1, TOP10_MAX = 500;

RefArea AreaOf8(ByteView body, std::size_t at) {
    return {WordAt(body, at), WordAt(body, at + 2), ByteAt(body, at + 4), ByteAt(body, at + 6)};
}

bool AppendAreas(ByteView body, std::size_t at, u32 count, Array<RefArea>& out) {
    for (u32 i = 0; i < count && at + i * 8 < body.size(); ++i) {
        if (!out.Append(AreaOf8(body, at + std::size_t{i} * 8))) return false;
    }
    return true;
}

// One condition of an autofilter; `at` is where the texts go on.
bool ReadFilterCondition(LoadState& load, ByteView body, std::size_t start, std::size_t& at,
                         FilterCondition& out) {
    const u8 kind = ByteAt(body, start);
    out.kind = kind;
    out.comparison = ByteAt(body, start + 1);
    out.text.Truncate(0);
    if (kind == CONDITION_RK || kind == CONDITION_NUMBER) {
        const double number = kind == CONDITION_RK ? DecodeRk(LongAt(body, start + CONDITION_VALUE_AT))
                                                   : DoubleAt(body, start + CONDITION_VALUE_AT);
        out.kind = CONDITION_TEXT;
        return FormatGeneral(number, 15, out.text);
    }
    if (kind != CONDITION_TEXT) return true;
    const std::size_t used = ReadBiffString(From(body, at), load.biffVersion, LoadedBook(load).codePage,
                                            ByteAt(body, start + CONDITION_LENGTH_AT), out.text);
    if (used == STRING_FAILED) return false;
    at += used;
    return true;
}

OverrideByte Override(bool present, u32 value) { return {present, static_cast<u8>(value)}; }

void ReadFontBlock(ByteView block, ConditionalCondition& out) {
    const u32 style = LongAt(block, FONT_STYLE_AT);
    const u32 kept = LongAt(block, FONT_KEPT_AT);
    out.strikeout = Override(!(kept & STRIKEOUT), (style >> 7) & 1);
    out.italic = Override(!(kept & ITALIC), (style >> 1) & 1);
    out.bold = Override(LongAt(block, FONT_WEIGHT_KEPT_AT) == 0, WordAt(block, FONT_WEIGHT_AT) > NORMAL_WEIGHT);
    out.underline = Override(LongAt(block, FONT_UNDERLINE_KEPT_AT) == 0, ByteAt(block, FONT_UNDERLINE_AT));
    const u32 height = LongAt(block, FONT_HEIGHT_AT);
    out.fontHeight = height == NOT_SET ? 0 : height;
    const u32 colour = LongAt(block, FONT_COLOUR_AT);
    out.hasFontColour = colour != NOT_SET;
    out.fontColour = static_cast<u16>(colour);
}

void ReadBorderBlock(ByteView block, u32 flags, ConditionalCondition& out) {
    const u32 styles = WordAt(block, 0);
    const u32 colours = LongAt(block, 2);
    out.hasBorders = true;
    out.leftStyle = Override(!(flags & LEFT_KEPT), styles & 15);
    out.rightStyle = Override(!(flags & RIGHT_KEPT), styles >> 4 & 15);
    out.topStyle = Override(!(flags & TOP_KEPT), styles >> 8 & 15);
    out.bottomStyle = Override(!(flags & BOTTOM_KEPT), styles >> 12 & 15);
    out.leftColour = static_cast<u8>(colours & 127);
    out.rightColour = static_cast<u8>(colours >> 7 & 127);
    out.topColour = static_cast<u8>(colours >> 16 & 127);
    out.bottomColour = static_cast<u8>(colours >> 23 & 127);
}

void ReadPatternBlock(ByteView block, u32 flags, ConditionalCondition& out) {
    const u32 colours = WordAt(block, 2);
    out.hasPattern = true;
    out.pattern = Override(!(flags & PATTERN_KEPT), ByteAt(block, 1) >> 2);
    out.patternColour = Override(!(flags & FORE_KEPT), colours & 127);
    out.backColour = Override(!(flags & BACK_KEPT), colours >> 7 & 127);
}

// A length-prefixed text of a validation; one zero character stands for none.
bool ReadRuleText(LoadState& load, ByteView body, std::size_t& at, WideText& out) {
    const std::size_t used =
        ReadBiffString(From(body, at + 2), load.biffVersion, LoadedBook(load).codePage, WordAt(body, at), out);
    at += 2 + used;
    return used != STRING_FAILED;
}

bool ReadRuleFormula(LoadState& load, ByteView body, std::size_t& at, FormulaTokens& out) {
    const u16 length = WordAt(body, at);
    const ByteView tokens = Part(body, at + 4, length);
    at += 4u + length;
    if (tokens.empty()) return true;
    return load.biffVersion == 8 ? MakeTokens(out, tokens, {}) : WidenTokens(load, tokens, {}, out);
}

}  // namespace

bool ReadFilterMode(LoadState& load, ByteView) {
    LoadedSheet(load).filterState = FILTER_ADVANCED;
    return true;
}

bool ReadFilterInfo(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    sheet.filterState = FILTER_AUTO;
    const u32 count = WordAt(body, 0);
    return sheet.filterColumns.Resize(count < MAX_COLUMNS ? count : MAX_COLUMNS);
}

bool ReadFilterColumn(LoadState& load, ByteView body) {
    Array<FilterColumn>& columns = LoadedSheet(load).filterColumns;
    const u32 index = WordAt(body, 0);
    if (index >= columns.Count()) return true;
    FilterColumn& column = columns[index];
    const u16 flags = WordAt(body, 2);
    column.joinOr = (flags & FILTER_JOIN_BITS) == FILTER_JOINS_OR;
    column.top10 = flags & FILTER_IS_TOP10;
    column.top = flags & FILTER_FROM_TOP;
    column.percent = flags & FILTER_BY_PERCENT;
    const u16 count = flags >> FILTER_COUNT_SHIFT;
    if (column.top10) column.count = count < TOP10_MIN ? TOP10_MIN : count > TOP10_MAX ? TOP10_MAX : count;
    std::size_t at = CONDITIONS_AT + 2 * CONDITION_BYTES;
    return ReadFilterCondition(load, body, CONDITIONS_AT, at, column.conditions[0]) &&
           ReadFilterCondition(load, body, CONDITIONS_AT + CONDITION_BYTES, at, column.conditions[1]);
}

bool ReadConditionalFormat(LoadState& load, ByteView body) {
    Array<ConditionalFormat>& formats = LoadedSheet(load).conditionalFormats;
    ConditionalFormat* format = formats.AppendDefault();
    if (!format) return false;
    format->priority = WordAt(body, 2);
    return AppendAreas(body, 14, WordAt(body, 12), format->areas);
}

// Whether a condition's format changes what conditions do not show here.
static bool HasMoreFormats(u32 flags) {
    return ((flags & NUMBER_FOLLOWS) && !(flags & NUMBER_KEPT)) ||
           ((flags & ALIGNMENT_FOLLOWS) && (flags & ALIGNMENT_KEPT) != ALIGNMENT_KEPT) ||
           ((flags & PROTECTION_FOLLOWS) && (flags & PROTECTION_KEPT) != PROTECTION_KEPT);
}

bool ReadCondition(LoadState& load, ByteView body) {
    Array<ConditionalFormat>& formats = LoadedSheet(load).conditionalFormats;
    if (formats.IsEmpty() || formats.Last().conditions.Count() >= 3) return true;
    ConditionalCondition* out = formats.Last().conditions.AppendDefault();
    if (!out) return false;
    out->type = ByteAt(body, 0);
    out->comparison = ByteAt(body, 1);
    const std::size_t first = WordAt(body, 2);
    const std::size_t second = WordAt(body, 4);
    const u32 flags = LongAt(body, 6);
    std::size_t at = 12;
    if (HasMoreFormats(flags)) LoadedBook(load).hasUnkept = true;
    if (flags & FONT_FOLLOWS) {
        ReadFontBlock(Part(body, at, FONT_BLOCK), *out);
        at += FONT_BLOCK;
    }
    if (flags & ALIGNMENT_FOLLOWS) at += ALIGNMENT_BLOCK;  // alignment, which conditions do not show
    if (flags & BORDER_FOLLOWS) {
        ReadBorderBlock(Part(body, at, BORDER_BLOCK), flags, *out);
        at += BORDER_BLOCK;
    }
    if (flags & PATTERN_FOLLOWS) ReadPatternBlock(Part(body, at, PATTERN_BLOCK), flags, *out);
    if (first + second > body.size()) return true;
    const std::size_t start = body.size() - first - second;
    return (!first || MakeTokens(out->formula1, Part(body, start, first), {})) &&
           (!second || MakeTokens(out->formula2, Part(body, start + first, second), {}));
}

bool ReadValidationList(LoadState& load, ByteView body) {
    Sheet& sheet = LoadedSheet(load);
    sheet.promptX = static_cast<i32>(LongAt(body, 2));
    sheet.promptY = static_cast<i32>(LongAt(body, 6));
    const u32 id = LongAt(body, 10);
    if (id != NO_OBJECT) sheet.dropDownId = id;
    return true;
}

bool ReadValidation(LoadState& load, ByteView body) {
    ValidationRule* rule = LoadedSheet(load).validations.AppendDefault();
    if (!rule) return false;
    const u32 flags = LongAt(body, 0);
    rule->kind = flags & RULE_KIND_BITS;
    rule->errorStyle = flags >> RULE_STYLE_SHIFT & RULE_STYLE_BITS;
    rule->literalList = (flags & RULE_LITERAL_LIST) != 0;
    rule->ignoreBlank = (flags & RULE_IGNORES_BLANK) != 0;
    rule->noDropArrow = (flags & RULE_HIDES_ARROW) != 0;
    rule->inputMethod = flags >> RULE_INPUT_SHIFT & RULE_INPUT_BITS;
    rule->showInput = (flags & RULE_SHOWS_INPUT) != 0;
    rule->showError = (flags & RULE_SHOWS_ERROR) != 0;
    rule->comparison = flags >> RULE_COMPARISON_SHIFT & RULE_COMPARISON_BITS;
    std::size_t at = 4;
    if (!ReadRuleText(load, body, at, rule->inputTitle) || !ReadRuleText(load, body, at, rule->errorTitle) ||
        !ReadRuleText(load, body, at, rule->inputText) || !ReadRuleText(load, body, at, rule->errorText) ||
        !ReadRuleFormula(load, body, at, rule->formula1) || !ReadRuleFormula(load, body, at, rule->formula2)) {
        return false;
    }
    if (!AppendAreas(body, at + 2, WordAt(body, at), rule->areas)) return false;
    MergeAreas(rule->areas);
    return true;
}

}  // namespace tally
