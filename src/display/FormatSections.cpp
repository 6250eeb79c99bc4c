#include "display/FormatSections.h"

#include "base/Text.h"
#include "display/EntryScanners.h"
#include "model/DefaultFormats.h"

namespace tally {
namespace {

constexpr WideView generalText = u"General";

bool IsTimeCode(WideView word) {
    for (WideView code : {u"h", u"hh", u"m", u"mm", u"s", u"ss"}) {
        if (EqualIgnoringCase(word, code)) return true;
    }
    return false;
}

u8 ColourOf(WideView word) {
    u8 index = 0;
    for (const ColourWord& row : ColourWords()) {
        if (EqualIgnoringCase(row.english, word)) return index;
        ++index;
    }
    return NO_COLOUR;
}

// Reads an operator at the start of `text`; returns its length.
std::size_t ReadOperator(WideView text, SectionOperator& op) {
    op = OP_NONE;
    const char16_t first = text.empty() ? u'\0' : text[0];
    const char16_t second = text.size() > 1 ? text[1] : u'\0';
    if (first == u'=') {
        op = OP_EQUAL;
        return 1;
    }
    if (first == u'>') {
        op = second == u'=' ? OP_GREATER_EQUAL : OP_GREATER;
        return second == u'=' ? 2 : 1;
    }
    if (first == u'<') {
        op = second == u'=' ? OP_LESS_EQUAL : second == u'>' ? OP_NOT_EQUAL : OP_LESS;
        return second == u'=' || second == u'>' ? 2 : 1;
    }
    return 0;
}

struct SectionScan {
    WideView format;
    FormatSection* section;
    std::size_t at = 0;
    std::size_t start = 0;
};

// A bracket at the start of a section: sets the colour or the condition and moves the start behind
// it, or leaves it in the text.
void ReadBracket(SectionScan& scan) {
    const std::size_t close = scan.format.find(u']', scan.at);
    const std::size_t end = close == WideView::npos ? scan.format.size() : close;
    const std::size_t behind = close == WideView::npos ? end : close + 1;
    const WideView word = scan.format.substr(scan.at + 1, end - scan.at - 1);
    const bool closed = close != WideView::npos;
    scan.at = behind;
    if (closed && IsTimeCode(word)) return;
    if (!word.empty() && word[0] == u'$') return;
    const u8 colour = closed ? ColourOf(word) : NO_COLOUR;
    if (colour != NO_COLOUR) {
        scan.section->colour = colour;
    } else {
        const std::size_t length = ReadOperator(word, scan.section->op);
        double limit = 0;
        if (ParseNumber(word, length, word.size(), limit, false)) scan.section->limit = limit;
    }
    scan.start = behind;
}

void CloseSection(SectionScan& scan) {
    FormatSection& section = *scan.section;
    if (scan.at > scan.start) {
        section.state = section.op != OP_NONE ? SECTION_CONDITION : SECTION_TEXT;
        section.text = scan.format.substr(scan.start, scan.at - scan.start);
        if (EqualIgnoringCase(section.text, generalText)) section.text = generalText;
    } else if (section.op == OP_NONE && section.colour == NO_COLOUR) {
        section.state = SECTION_EMPTY;
    } else {
        section.text = generalText;
    }
}

SectionChoice Section(int number, bool minus) { return {CHOICE_SECTION, static_cast<u8>(number - 1), minus}; }
constexpr SectionChoice blank = {CHOICE_BLANK, 0, false};
SectionChoice General(bool minus) { return {CHOICE_GENERAL, 0, minus}; }

// What the third section's state decides when no condition held.
SectionChoice ByThird(SectionState third, bool minus) {
    if (third == SECTION_ABSENT) return General(minus);
    return third == SECTION_EMPTY ? blank : Section(3, minus);
}

struct Choosing {
    double value;
    SectionState s1, s2;
    bool second;  // the second section's condition holds
    bool minus;   // the value is negative
};

SectionChoice ChooseAfterText(const Choosing& c) {
    if (c.value > 0) return Section(1, false);
    if (c.value < 0) {
        switch (c.s1) {
            case SECTION_ABSENT: return Section(1, true);
            case SECTION_EMPTY: return blank;
            case SECTION_TEXT: return Section(2, false);
            default: return c.second ? Section(2, true) : ByThird(c.s2, true);
        }
    }
    if (c.s1 == SECTION_ABSENT) return Section(1, false);
    if (c.s1 == SECTION_CONDITION) return c.second ? Section(2, false) : ByThird(c.s2, false);
    return c.s2 == SECTION_ABSENT ? Section(1, false) : ByThird(c.s2, false);
}

SectionChoice ChooseAfterEmpty(const Choosing& c) {
    if (c.value > 0) return blank;
    if (c.s1 == SECTION_EMPTY || c.s1 == SECTION_TEXT) {
        if (c.value == 0) return c.s2 == SECTION_TEXT ? Section(3, false) : blank;
        return c.s1 == SECTION_EMPTY ? blank : Section(2, false);
    }
    return c.second ? blank : ByThird(c.s2, c.minus);
}

SectionChoice ChooseAfterCondition(const Choosing& c) {
    switch (c.s1) {
        case SECTION_ABSENT: return General(c.minus);
        case SECTION_EMPTY: return c.value < 0 || c.s2 != SECTION_TEXT ? blank : Section(3, false);
        case SECTION_TEXT:
            if (c.value >= 0 && c.s2 != SECTION_ABSENT)
                return c.s2 == SECTION_EMPTY ? blank : Section(3, false);
            return Section(2, false);
        default: return c.second ? Section(2, c.minus) : ByThird(c.s2, c.minus);
    }
}

}  // namespace

std::size_t BehindQuotedText(WideView text, std::size_t at) {
    for (std::size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] != u'"') continue;
        if (i + 1 >= text.size() || text[i + 1] != u'"') return i + 1;
        ++i;
    }
    return text.size();
}

void ParseFormatSections(WideView format, FormatSection (&sections)[FORMAT_SECTIONS]) {
    for (FormatSection& section : sections) section = FormatSection();
    int count = 0;
    SectionScan scan{format, &sections[0]};
    while (scan.at < format.size()) {
        const char16_t c = format[scan.at];
        if (c == u'"') {
            scan.at = BehindQuotedText(format, scan.at);
        } else if (c == u'*' || c == u'\\' || c == u'_') {
            scan.at = scan.at + 2 < format.size() ? scan.at + 2 : format.size();
        } else if (c == u'[' && scan.at == scan.start) {
            ReadBracket(scan);
        } else if (c == u';') {
            CloseSection(scan);
            scan.start = ++scan.at;
            if (++count == FORMAT_SECTIONS) return;
            scan.section = &sections[count];
        } else {
            ++scan.at;
        }
    }
    CloseSection(scan);
}

bool TestCondition(SectionOperator op, double limit, double value) {
    switch (op) {
        case OP_EQUAL: return value == limit;
        case OP_GREATER: return value > limit;
        case OP_GREATER_EQUAL: return value >= limit;
        case OP_LESS: return value < limit;
        case OP_LESS_EQUAL: return value <= limit;
        case OP_NOT_EQUAL: return value != limit;
        default: return false;
    }
}

SectionChoice ChooseSection(const FormatSection (&sections)[FORMAT_SECTIONS], double value) {
    const Choosing c = {value, sections[1].state, sections[2].state,
                        TestCondition(sections[1].op, sections[1].limit, value), value < 0};
    switch (sections[0].state) {
        case SECTION_TEXT: return ChooseAfterText(c);
        case SECTION_EMPTY: return ChooseAfterEmpty(c);
        case SECTION_CONDITION:
            if (TestCondition(sections[0].op, sections[0].limit, value)) return Section(1, c.minus);
            return ChooseAfterCondition(c);
        default: return General(c.minus);
    }
}

}  // namespace tally
