#include <algorithm>

#include "base/Number.h"
#include "display/NumberFormatter.h"
#include "fileio/biff/RuleRecords.h"
#include "fileio/biff/SaveState.h"

// Filters, merged areas, conditional formats and validation.

namespace tally {
namespace {

constexpr u32 MERGES_MOST = 1027;  // of one record

void PutArea8(BiffWriter& to, const RefArea& area) {
    WriteU16(to, area.firstRow);
    WriteU16(to, area.lastRow);
    WriteU16(to, area.firstColumn);
    WriteU16(to, area.lastColumn);
}

// ---- filters
// ------------------------------------------------------------------------------------------------------

bool IsSimple(const FilterCondition& condition) {
    return condition.kind == CONDITION_TEXT && condition.comparison == 2;
}

bool HasCondition(const FilterColumn& column) {
    return column.top10 || column.conditions[0].kind != CONDITION_NONE ||
           column.conditions[1].kind != CONDITION_NONE;
}

// A criterion that reads as a number and shows as it reads is one.
bool IsNumberText(SaveState& save, WideView text, double& number) {
    if (text.empty() || text.size() > NUMBER_TEXT_ROOM) return false;
    char narrow[NUMBER_TEXT_ROOM];
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] > 127) return false;
        narrow[i] = static_cast<char>(text[i]);
    }
    if (!ReadPlainNumber({narrow, text.size()}, number)) return false;
    WideText shown;
    if (!FormatGeneral(number, 15, shown)) save.writer.failed = true;
    return shown.View() == text;
}

// The fixed part of a condition. True when its text follows the two of them.
bool PutCondition(SaveState& save, const FilterCondition& condition, u8* out, WideView& text) {
    std::fill(out, out + CONDITION_BYTES, u8{0});
    out[0] = condition.kind;
    out[1] = condition.comparison;
    if (condition.kind != CONDITION_TEXT) return false;
    double number = 0;
    if (IsNumberText(save, condition.text, number)) {
        out[0] = CONDITION_NUMBER;
        PutF64(out + CONDITION_VALUE_AT, number);
        return false;
    }
    text = condition.text.View().substr(0, 255);
    out[CONDITION_LENGTH_AT] = static_cast<u8>(text.size());
    return true;
}

void WriteFilterColumn(SaveState& save, u32 index, const FilterColumn& column) {
    const u32 flags = (column.joinOr ? u32{FILTER_JOINS_OR} : 0u) | (IsSimple(column.conditions[0]) ? 4u : 0u) |
                      (IsSimple(column.conditions[1]) ? 8u : 0u) | (column.top10 ? u32{FILTER_IS_TOP10} : 0u) |
                      (column.top10 && column.top ? u32{FILTER_FROM_TOP} : 0u) |
                      (column.percent ? u32{FILTER_BY_PERCENT} : 0u) |
                      (column.top10 ? u32{column.count} << FILTER_COUNT_SHIFT : 0u);
    BeginBody(save);
    WriteU16(save.body, index);
    WriteU16(save.body, flags);
    u8 conditions[2][CONDITION_BYTES];
    WideView texts[2];
    bool follows[2];
    for (u32 i = 0; i < 2; ++i) follows[i] = PutCondition(save, column.conditions[i], conditions[i], texts[i]);
    BiffWriter& to = save.body;
    const u32 start = StreamOffset(to);
    WriteBytes(to, conditions, sizeof conditions);
    for (u32 i = 0; i < 2; ++i) {
        if (!follows[i]) continue;
        if (save.biffVersion == 8) {
            WriteU8(to, IsWide(texts[i]));
            WriteCharacters(to, texts[i], IsWide(texts[i]));
            continue;
        }
        const ByteView bytes = NarrowText(save, texts[i], 255);
        WriteBytes(to, bytes.data(), bytes.size());
        if (!to.failed)
            to.stream[start + i * CONDITION_BYTES + CONDITION_LENGTH_AT] = static_cast<u8>(bytes.size());
    }
    IgnoreFailure(EndBody(save, RECORD_AUTOFILTER));
}

}  // namespace

void WriteFilterRecords(SaveState& save, const Sheet& sheet) {
    const Array<FilterColumn>& columns = sheet.filterColumns;
    const bool automatic = (sheet.filterState & FILTER_AUTO) != 0;
    const bool hides = (sheet.filterState & FILTER_ADVANCED) ||
                       (automatic && std::any_of(columns.begin(), columns.end(), HasCondition));
    if (hides) WriteEmptyRecord(save.writer, RECORD_FILTERMODE);
    if (!automatic) return;
    WriteRecordU16(save.writer, RECORD_AUTOFILTERINFO, columns.Count());
    for (u32 i = 0; i < columns.Count(); ++i) {
        if (HasCondition(columns[i])) WriteFilterColumn(save, i, columns[i]);
    }
}

namespace {

// The merged areas by their first cells. What touches one that stands before it is left out, and a single cell.
bool OrderMerges(SaveState& save, const Array<RefArea>& from, Array<RefArea>& out) {
    Array<RefArea> sorted;
    Array<RefArea> open;  // those that reach the row
    if (!sorted.AppendMany(from.Data(), from.Count())) return false;
    std::sort(sorted.begin(), sorted.end(), [](const RefArea& a, const RefArea& b) {
        return a.firstRow != b.firstRow ? a.firstRow < b.firstRow : a.firstColumn < b.firstColumn;
    });
    for (const RefArea& area : sorted) {
        if (area.firstRow == area.lastRow && area.firstColumn == area.lastColumn) continue;
        u32 kept = 0;
        for (u32 i = 0; i < open.Count(); ++i) {
            if (open[i].lastRow >= area.firstRow) open[kept++] = open[i];
        }
        open.Truncate(kept);
        const bool crossed = std::any_of(open.begin(), open.end(), [&](const RefArea& other) {
            return area.firstColumn <= other.lastColumn && other.firstColumn <= area.lastColumn;
        });
        if (crossed) {
            save.losses |= LOSS_MERGES;
        } else if (!open.Append(area) || !out.Append(area)) {
            return false;
        }
    }
    return true;
}

}  // namespace

void WriteMerges(SaveState& save, const Sheet& sheet) {
    Array<RefArea> merges;
    if (!OrderMerges(save, sheet.mergedAreas, merges)) save.writer.failed = true;
    for (u32 first = 0; first < merges.Count(); first += MERGES_MOST) {
        const u32 count = std::min(merges.Count() - first, MERGES_MOST);
        BeginBody(save);
        WriteU16(save.body, count);
        for (u32 i = 0; i < count; ++i) PutArea8(save.body, merges[first + i]);
        IgnoreFailure(EndBody(save, RECORD_MERGEDCELLS));
    }
}

// ---- conditional formats
// ------------------------------------------------------------------------------------------

namespace {

bool HasFontPart(const ConditionalCondition& c) {
    return c.strikeout.present || c.italic.present || c.bold.present || c.underline.present ||
           c.hasFontColour || c.fontHeight;
}

u32 KeptFlag(const OverrideByte& part, u32 flag) { return part.present ? flag : 0; }

u32 FormatFlags(const ConditionalCondition& c) {
    u32 changed = 0;
    if (c.hasBorders) {
        changed |= KeptFlag(c.leftStyle, LEFT_KEPT) | KeptFlag(c.rightStyle, RIGHT_KEPT) |
                   KeptFlag(c.topStyle, TOP_KEPT) | KeptFlag(c.bottomStyle, BOTTOM_KEPT);
    }
    if (c.hasPattern) {
        changed |= KeptFlag(c.pattern, PATTERN_KEPT) | KeptFlag(c.patternColour, FORE_KEPT) |
                   KeptFlag(c.backColour, BACK_KEPT);
    }
    return (ALL_KEPT & ~changed) | (HasFontPart(c) ? FONT_FOLLOWS : 0) | (c.hasBorders ? BORDER_FOLLOWS : 0) |
           (c.hasPattern ? PATTERN_FOLLOWS : 0);
}

void PutFontBlock(BiffWriter& to, const ConditionalCondition& c) {
    u8 block[FONT_BLOCK] = {};
    PutU32(block + FONT_HEIGHT_AT, c.fontHeight ? c.fontHeight : NOT_SET);
    PutU32(block + FONT_STYLE_AT, (c.italic.value ? ITALIC : 0) | (c.strikeout.value ? STRIKEOUT : 0));
    PutU16(block + FONT_WEIGHT_AT, c.bold.value ? BOLD_WEIGHT : NORMAL_WEIGHT);
    block[FONT_UNDERLINE_AT] = c.underline.value;
    PutU32(block + FONT_COLOUR_AT, c.hasFontColour ? u32{c.fontColour} : NOT_SET);
    PutU32(block + FONT_KEPT_AT,
           (c.italic.present ? 0 : ITALIC) | (c.strikeout.present ? 0 : STRIKEOUT) | 0x18);
    PutU32(block + 92, 1);  // escapement
    PutU32(block + FONT_UNDERLINE_KEPT_AT, !c.underline.present);
    PutU32(block + FONT_WEIGHT_KEPT_AT, !c.bold.present);
    PutU16(block + 116, 1);
    WriteBytes(to, block, sizeof block);
}

void PutBorderBlock(BiffWriter& to, const ConditionalCondition& c) {
    u8 block[BORDER_BLOCK] = {};
    PutU16(block, (c.leftStyle.value & 15u) | (c.rightStyle.value & 15u) << 4 | (c.topStyle.value & 15u) << 8 |
                      (c.bottomStyle.value & 15u) << 12);
    PutU32(block + 2, (c.leftColour & 127u) | (c.rightColour & 127u) << 7 | (c.topColour & 127u) << 16 |
                          (c.bottomColour & 127u) << 23);
    WriteBytes(to, block, sizeof block);
}

void PutPatternBlock(BiffWriter& to, const ConditionalCondition& c) {
    u8 block[PATTERN_BLOCK] = {};
    block[1] = static_cast<u8>(c.pattern.value << 2);
    PutU16(block + 2, (c.patternColour.value & 127u) | (c.backColour.value & 127u) << 7);
    WriteBytes(to, block, sizeof block);
}

void WriteCondition(SaveState& save, const ConditionalCondition& c) {
    BeginBody(save);
    BiffWriter& to = save.body;
    WriteU8(to, c.type);
    WriteU8(to, c.comparison);
    WriteU16(to, c.formula1.length);
    WriteU16(to, c.formula2.length);
    WriteU32(to, FormatFlags(c));
    WriteU16(to, 0);
    if (HasFontPart(c)) PutFontBlock(to, c);
    if (c.hasBorders) PutBorderBlock(to, c);
    if (c.hasPattern) PutPatternBlock(to, c);
    WriteBytes(to, c.formula1.bytes, c.formula1.length);
    WriteBytes(to, c.formula2.bytes, c.formula2.length);
    // A condition that is too long for a record goes without its formulas, so that their count is right.
    if (EndBody(save, RECORD_CF)) return;
    save.losses |= LOSS_RULES;
    const u32 fixed = StreamOffset(to) - c.formula1.length - c.formula2.length;
    to.stream.Truncate(fixed);
    if (!to.failed) PutU32(to.stream.Data() + 2, 0);
    IgnoreFailure(EndBody(save, RECORD_CF));
}

RefArea BoundOf(const Array<RefArea>& areas) {
    RefArea bound = areas[0];
    for (const RefArea& area : areas) {
        bound.firstRow = std::min(bound.firstRow, area.firstRow);
        bound.lastRow = std::max(bound.lastRow, area.lastRow);
        bound.firstColumn = std::min(bound.firstColumn, area.firstColumn);
        bound.lastColumn = std::max(bound.lastColumn, area.lastColumn);
    }
    return bound;
}

constexpr u32 AREAS_MOST = (RECORD_ROOM - 14) / 8;

// One record of some of the areas, with the conditions behind it.
void WriteConditionalFormat(SaveState& save, const ConditionalFormat& format, u32 first, u32 count) {
    BeginBody(save);
    BiffWriter& to = save.body;
    WriteU16(to, format.conditions.Count());
    WriteU16(to, format.priority);
    PutArea8(to, BoundOf(format.areas));
    WriteU16(to, count);
    for (u32 i = 0; i < count; ++i) PutArea8(to, format.areas[first + i]);
    IgnoreFailure(EndBody(save, RECORD_CONDFMT));
    for (const ConditionalCondition& condition : format.conditions) WriteCondition(save, condition);
}

// ---- validation, whose texts and formulas leave room for so many areas
// ---------------------------------------------------------------------------------------------------

constexpr u32 RULE_AREAS_MOST = 432;

// An absent text is one zero character.
void PutRuleText(SaveState& save, WideView text) {
    WriteLongString(save, save.body, text.empty() ? WideView(u"\0", 1) : text);
}

void PutRuleFormula(BiffWriter& to, const FormulaTokens& tokens) {
    WriteU16(to, tokens.length);
    WriteU16(to, 0);
    WriteBytes(to, tokens.bytes, tokens.length);
}

u32 RuleFlags(const ValidationRule& rule) {
    return (rule.kind & RULE_KIND_BITS) | (rule.errorStyle & RULE_STYLE_BITS) << RULE_STYLE_SHIFT |
           (rule.literalList ? RULE_LITERAL_LIST : 0u) | (rule.ignoreBlank ? RULE_IGNORES_BLANK : 0u) |
           (rule.noDropArrow ? RULE_HIDES_ARROW : 0u) |
           (rule.inputMethod & RULE_INPUT_BITS) << RULE_INPUT_SHIFT | (rule.showInput ? RULE_SHOWS_INPUT : 0u) |
           (rule.showError ? RULE_SHOWS_ERROR : 0u) |
           (rule.comparison & RULE_COMPARISON_BITS) << RULE_COMPARISON_SHIFT;
}

// A rule with some of its areas.
bool WriteValidation(SaveState& save, const ValidationRule& rule, u32 first, u32 count) {
    BeginBody(save);
    BiffWriter& to = save.body;
    WriteU32(to, RuleFlags(rule));
    PutRuleText(save, rule.inputTitle);
    PutRuleText(save, rule.errorTitle);
    PutRuleText(save, rule.inputText);
    PutRuleText(save, rule.errorText);
    PutRuleFormula(to, rule.formula1);
    PutRuleFormula(to, rule.formula2);
    WriteU16(to, count);
    for (u32 i = 0; i < count; ++i) PutArea8(to, rule.areas[first + i]);
    return EndBody(save, RECORD_DV);
}

}  // namespace

void WriteConditionalFormats(SaveState& save, const Sheet& sheet) {
    for (const ConditionalFormat& format : sheet.conditionalFormats) {
        for (u32 first = 0; first < format.areas.Count(); first += AREAS_MOST) {
            WriteConditionalFormat(save, format, first, std::min(format.areas.Count() - first, AREAS_MOST));
        }
    }
}

void WriteValidations(SaveState& save, const Sheet& sheet) {
    if (sheet.validations.IsEmpty() && !sheet.dropDownId && !sheet.promptX && !sheet.promptY) return;
    const u32 countAt = StreamOffset(save.writer) + 4 + 14;
    u8* out = BeginRecord(save.writer, RECORD_DVAL, 18);
    PutU16(out, 0);
    PutU32(out + 2, static_cast<u32>(sheet.promptX));
    PutU32(out + 6, static_cast<u32>(sheet.promptY));
    PutU32(out + 10, sheet.dropDownId ? sheet.dropDownId : NO_OBJECT);
    PutU32(out + 14, 0);
    u32 written = 0;
    for (const ValidationRule& rule : sheet.validations) {
        // A rule of many areas is several of few.
        u32 first = 0;
        do {
            const u32 count = std::min(rule.areas.Count() - first, RULE_AREAS_MOST);
            if (WriteValidation(save, rule, first, count)) {
                ++written;
            } else {
                save.losses |= LOSS_RULES;
            }
            first += count;
        } while (first < rule.areas.Count());
    }
    PatchU32(save.writer, written, countAt);
}

}  // namespace tally
