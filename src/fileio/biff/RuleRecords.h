#pragma once
// Fields of filters, conditional formats and validation.

#include "base/Base.h"

namespace tally {

// AUTOFILTER.
constexpr u16 FILTER_JOINS_OR = 1, FILTER_JOIN_BITS = 3, FILTER_IS_TOP10 = 0x10, FILTER_FROM_TOP = 0x20,
              FILTER_BY_PERCENT = 0x40;
constexpr u32 FILTER_COUNT_SHIFT = 7;
constexpr u8 CONDITION_NONE = 0, CONDITION_RK = 2, CONDITION_NUMBER = 4, CONDITION_TEXT = 6;
constexpr std::size_t CONDITION_BYTES = 10, CONDITIONS_AT = 4, CONDITION_VALUE_AT = 2, CONDITION_LENGTH_AT = 6;

// Flag bits of a condition's format: what a bit of the first group names is left as it is; the others tell
// which blocks follow.
constexpr u32 ALL_KEPT = 0x003FFFFF;
constexpr u32 LEFT_KEPT = 1u << 10, RIGHT_KEPT = 1u << 11, TOP_KEPT = 1u << 12, BOTTOM_KEPT = 1u << 13;
constexpr u32 PATTERN_KEPT = 1u << 16, FORE_KEPT = 1u << 17, BACK_KEPT = 1u << 18;
constexpr u32 FONT_FOLLOWS = 1u << 26, ALIGNMENT_FOLLOWS = 1u << 27, BORDER_FOLLOWS = 1u << 28,
              PATTERN_FOLLOWS = 1u << 29;
// Blocks of formats that conditions do not show here.
constexpr u32 NUMBER_FOLLOWS = 1u << 25, PROTECTION_FOLLOWS = 1u << 30;
constexpr u32 ALIGNMENT_KEPT = 0xFF, PROTECTION_KEPT = 0x300, NUMBER_KEPT = 1u << 19;
constexpr std::size_t FONT_BLOCK = 118, ALIGNMENT_BLOCK = 8, BORDER_BLOCK = 8, PATTERN_BLOCK = 4;
// The font's block: style bits, and where the fields stand.
constexpr u32 ITALIC = 2, STRIKEOUT = 0x80, NOT_SET = 0xFFFFFFFF;
constexpr u32 BOLD_WEIGHT = 700, NORMAL_WEIGHT = 400;
constexpr std::size_t FONT_HEIGHT_AT = 64, FONT_STYLE_AT = 68, FONT_WEIGHT_AT = 72, FONT_UNDERLINE_AT = 76,
                      FONT_COLOUR_AT = 80, FONT_KEPT_AT = 88, FONT_UNDERLINE_KEPT_AT = 96,
                      FONT_WEIGHT_KEPT_AT = 100;

// DVAL and DV.
constexpr u32 NO_OBJECT = 0xFFFFFFFF;
constexpr u32 RULE_LITERAL_LIST = 1u << 7, RULE_IGNORES_BLANK = 1u << 8, RULE_HIDES_ARROW = 1u << 9,
              RULE_SHOWS_INPUT = 1u << 18, RULE_SHOWS_ERROR = 1u << 19;
constexpr u32 RULE_INPUT_SHIFT = 10, RULE_INPUT_BITS = 0xFF;
constexpr u32 RULE_KIND_BITS = 15, RULE_STYLE_BITS = 7, RULE_STYLE_SHIFT = 4, RULE_COMPARISON_BITS = 15,
              RULE_COMPARISON_SHIFT = 20;

}  // namespace tally
