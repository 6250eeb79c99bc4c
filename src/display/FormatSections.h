#pragma once
// The sections of a number format and the choice among them.

#include "base/Base.h"

namespace tally {

enum SectionState : u8 { SECTION_ABSENT = 0, SECTION_EMPTY = 1, SECTION_TEXT = 2, SECTION_CONDITION = 3 };
enum SectionOperator : u8 {
    OP_NONE,
    OP_EQUAL,
    OP_GREATER,
    OP_GREATER_EQUAL,
    OP_LESS,
    OP_LESS_EQUAL,
    OP_NOT_EQUAL
};

constexpr u8 NO_COLOUR = 8;

// One section without its leading colour and condition; the text lies in the format.
struct FormatSection {
    SectionState state = SECTION_ABSENT;
    u8 colour = NO_COLOUR;
    SectionOperator op = OP_NONE;
    double limit = 0;
    WideView text;
};

constexpr int FORMAT_SECTIONS = 4;

// The position behind quoted text that opens at `at`; two quotes in a row do not close it.
std::size_t BehindQuotedText(WideView text, std::size_t at);

// What a fifth section and those behind it say is not kept.
void ParseFormatSections(WideView format, FormatSection (&sections)[FORMAT_SECTIONS]);
// value op limit; false without an operator.
bool TestCondition(SectionOperator op, double limit, double value);

enum ChoiceKind : u8 { CHOICE_SECTION, CHOICE_GENERAL, CHOICE_BLANK };
struct SectionChoice {
    ChoiceKind kind = CHOICE_GENERAL;
    u8 section = 0;
    bool minus = false;
};
// The section that shows a value.
SectionChoice ChooseSection(const FormatSection (&sections)[FORMAT_SECTIONS], double value);

}  // namespace tally
