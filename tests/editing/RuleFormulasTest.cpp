#include "editing/RuleFormulas.h"

#include "base/MessageTable.h"
#include "editing/Validation.h"
#include "model/Tokens.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

enum Box { LIMIT, LIST, TEST, CONDITION };

class RuleFormulas : public Sandbox {
  protected:
    // Meant from C3.
    static FormulaPlace Place() {
        FormulaPlace place;
        place.book = CurrentBook();
        place.row = 2;
        place.column = 2;
        return place;
    }
    static u16 Read(Box box, WideView text, FormulaTokens& tokens, bool& literal) {
        literal = false;
        switch (box) {
            case LIMIT: return ReadRuleLimit(Place(), text, tokens);
            case LIST: return ReadRuleList(Place(), text, tokens, literal);
            case TEST: return ReadRuleTest(Place(), text, tokens);
            case CONDITION: return ReadConditionValue(Place(), text, tokens);
        }
        return 0;
    }
    // The tokens of what a box takes, as hexadecimal digits; "[items]" before those of literal items.
    static std::string Taken(Box box, const char* text) {
        FormulaTokens tokens;
        bool literal = false;
        const u16 fault = Read(box, Wide(text), tokens, literal);
        if (fault) {
            EXPECT_FALSE(HasFormula(tokens)) << text;
            return "message " + Narrow(Message(fault));
        }
        std::string digits = literal ? "[items]" : "";
        for (u32 i = 0; i < tokens.length; ++i) {
            char pair[3];
            std::snprintf(pair, sizeof pair, "%02x", tokens.bytes[i]);
            digits += pair;
        }
        FreeTokens(tokens);
        return digits;
    }
    // What a box shows of what it has taken.
    static std::string Again(Box box, const char* text, RuleShow show = SHOW_PLAIN) {
        FormulaTokens tokens;
        bool literal = false;
        WideText shown;
        EXPECT_EQ(Read(box, Wide(text), tokens, literal), 0) << text;
        EXPECT_TRUE(RuleFormulaText(Place(), tokens, literal ? SHOW_ITEMS : show, shown));
        FreeTokens(tokens);
        return Narrow(shown);
    }
};

constexpr char MISSING[] = "message 所需的最小值或最大值丢失";
constexpr char NO_NUMBER[] = "message Expression must be a number or formula";
constexpr char NO_LIST[] = "message Expression must be a reference or list";
constexpr char TWO_WAYS[] = "message Reference must be a single row or column";
constexpr char NO_FORMULA[] = "message Expression must be a formula";
constexpr char BAD[] = "message There is an error in the formula you entered";

TEST_F(RuleFormulas, WhatEachBoxTakesAndRefuses) {
    const struct {
        Box box;
        const char* text;
        const char* taken;
    } rows[] = {
        {LIMIT, "5", "1e0500"},
        {LIMIT, "65535", "1effff"},
        {LIMIT, "65536", "1f000000000000f040"},
        {LIMIT, "-1", "1f000000000000f0bf"},
        {LIMIT, "0.5", "1f000000000000e03f"},
        {LIMIT, "50%", "1f000000000000e03f"},
        {LIMIT, "12:00", "1f000000000000e03f"},
        {LIMIT, "=1+1", "1e01001e010003"},
        {LIMIT, "=C4", "4c0100 00c0"},  // one row below the cell
        {LIMIT, "=$A$1", "4400000000"},
        {LIMIT, "", MISSING},
        {LIMIT, "   ", MISSING},
        {LIMIT, "x", NO_NUMBER},
        {LIMIT, "TRUE", NO_NUMBER},
        {LIMIT, "#N/A", NO_NUMBER},
        {LIMIT, "=1+", NO_NUMBER},
        {LIST, "=$A$1:$A$3", "250000020000000000"},
        {LIST, "$A$1:$C$1", "250000000000000200"},
        {LIST, "=$A$1", "2400000000"},
        {LIST, "=$A$1:$B$3", TWO_WAYS},
        {LIST, "$A$1:$B$3", TWO_WAYS},
        {LIST, "=colours", "2301000000"},
        {LIST, "=square", TWO_WAYS},
        {LIST, "=5", NO_LIST},
        {LIST, "=nothing", NO_LIST},
        {LIST, "=$A$1:", NO_LIST},
        {LIST, "", NO_LIST},
        {LIST, "  ", NO_LIST},
        {LIST, "red", "[items]170300726564"},
        {LIST, "colours", "[items]170700636f6c6f757273"},
        {LIST, "a,b", "[items]170300610062"},
        {LIST, "a, 1", "[items]17040061002031"},
        {LIST, "甲,b", "[items]1703013275000062 00"},
        {TEST, "=C3>1", "4c000000c01e01000d"},
        {TEST, "C3>1", "4c000000c01e01000d"},
        {TEST, "", NO_FORMULA},
        {TEST, "=(1", NO_FORMULA},
        {CONDITION, "7", "1e0700"},
        {CONDITION, "red", "170300726564"},
        {CONDITION, "=C3>1", "4c000000c01e01000d"},
        {CONDITION, "TRUE", "1d01"},
        {CONDITION, "#N/A", "1c2a"},
        {CONDITION, "", MISSING},
        {CONDITION, "=1+", BAD},
        {CONDITION, "-x", BAD},
    };
    DefineName("colours", "=Sheet1!$A$1:$A$4");
    DefineName("square", "=Sheet1!$A$1:$B$4");
    for (const auto& row : rows) {
        std::string wanted = row.taken;
        if (wanted.rfind("message", 0) != 0) std::erase(wanted, ' ');
        EXPECT_EQ(Taken(row.box, row.text), wanted) << row.box << " " << row.text;
    }
}

TEST_F(RuleFormulas, ItemsAndTextsAreNoLongerThanAFormulaHolds) {
    std::string text(255, 'x');
    EXPECT_EQ(Taken(LIST, text.c_str()).substr(0, 13), "[items]17ff00");
    EXPECT_EQ(Taken(CONDITION, text.c_str()).substr(0, 6), "17ff00");
    text += 'x';
    EXPECT_EQ(Taken(LIST, text.c_str()), NO_LIST);
    EXPECT_EQ(Taken(CONDITION, text.c_str()), BAD);
}

TEST_F(RuleFormulas, ABoxShowsWhatWasTypedIntoIt) {
    const struct {
        Box box;
        const char* text;
        RuleShow show;
        const char* shown;
    } rows[] = {
        {LIMIT, "5", SHOW_PLAIN, "5"},
        {LIMIT, "-2.5", SHOW_PLAIN, "-2.5"},
        {LIMIT, "12:00", SHOW_PLAIN, "0.5"},
        {LIMIT, "12:00", SHOW_TIME, "12:00:00"},
        {LIMIT, "1.5", SHOW_TIME, "1.5"},
        {LIMIT, "2004-3-1", SHOW_DATE, "3/1/2004"},
        {LIMIT, "0.5", SHOW_DATE, "0.5"},
        {LIMIT, "=A1+1", SHOW_PLAIN, "=A1+1"},
        {LIMIT, "=D$9-$A4", SHOW_DATE, "=D$9-$A4"},
        {LIST, "=$A$1:$A$3", SHOW_PLAIN, "=$A$1:$A$3"},
        {LIST, "A1:A3", SHOW_PLAIN, "=A1:A3"},
        {LIST, "a, b,12", SHOW_PLAIN, "a, b,12"},
        {TEST, "=AND(C3>1,C3<9)", SHOW_PLAIN, "=AND(C3>1,C3<9)"},
        {CONDITION, "red", SHOW_PLAIN, "red"},
        {CONDITION, "=\"12\"", SHOW_PLAIN, "=\"12\""},  // else it would be a number
        {CONDITION, "=\"=x\"", SHOW_PLAIN, "=\"=x\""},
        {CONDITION, "=\"\"", SHOW_PLAIN, "=\"\""},
        {CONDITION, "TRUE", SHOW_PLAIN, "=TRUE"},
    };
    for (const auto& row : rows) EXPECT_EQ(Again(row.box, row.text, row.show), row.shown) << row.text;
    WideText shown;
    EXPECT_TRUE(RuleFormulaText(Place(), FormulaTokens(), SHOW_PLAIN, shown) && shown.IsEmpty());
}

}  // namespace
}  // namespace tally
