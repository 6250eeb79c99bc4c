#include <gtest/gtest.h>

#include "fileio/OpenFile.h"
#include "model/BookTable.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// What a file says of rules and names beyond what a book holds is named when the book is saved.

namespace tally {
namespace {

constexpr u16 CONDFMT = 432, CF = 433, NAME = 24, DV = 446;

class UnkeptParts : public Saving {
  protected:
    // The losses of saving a book again whose one condition has these flags, with zeros for the blocks, but for
    // the font's height.
    u32 LossesOfCondition(u32 flags, u32 fontHeight) {
        std::vector<u8> body = {2, 0, 0, 0, 0, 0};
        for (int i = 0; i < 4; ++i) body.push_back(static_cast<u8>(flags >> 8 * i));
        body.insert(body.end(), 2, 0);
        if (flags >> 26 & 1) {
            std::vector<u8> font(118, 0);
            for (std::size_t i = 0; i < 4; ++i) font[64 + i] = static_cast<u8>(fontHeight >> 8 * i);
            body.insert(body.end(), font.begin(), font.end());
        }
        if (flags >> 27 & 1) body.insert(body.end(), 8, 0);
        BiffBuilder b;
        b.Globals({"One"}).Bof(16);
        b.Raw(CONDFMT, Hex("01 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 00 00"));
        b.Raw(CF, body).Eof();
        ResetBooks();
        EXPECT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
        EXPECT_EQ(CurrentSheet()->conditionalFormats.Count(), 1u);
        Save();
        return losses;
    }
};

TEST_F(UnkeptParts, BlocksOfConditionsThatAreNotShownAreNamed) {
    constexpr u32 FONT = 1u << 26, AS_IT_IS = 0xFFFFFFFF;
    EXPECT_EQ(LossesOfCondition(0, 0), 0u);
    EXPECT_EQ(LossesOfCondition(FONT, AS_IT_IS), 0u);
    // A font's height is not shown, but comes back.
    EXPECT_EQ(LossesOfCondition(FONT, 240), 0u);
    Reopen();
    EXPECT_EQ(CurrentSheet()->conditionalFormats[0].conditions[0].fontHeight, 240u);
    // A number format, an alignment, a protection, each with the bits that say that it is left as it is.
    for (const auto& [follows, kept] : {std::pair{1u << 25, 1u << 19}, {1u << 27, 0xFFu}, {1u << 30, 0x300u}}) {
        EXPECT_EQ(LossesOfCondition(follows, 0), u32{LOSS_PARTS}) << follows;
        EXPECT_EQ(LossesOfCondition(follows | kept, 0), 0u) << follows;
        EXPECT_EQ(LossesOfCondition(follows | (kept & (kept - 1)), 0), u32{LOSS_PARTS}) << follows;
        EXPECT_EQ(LossesOfCondition(kept & (kept - 1), 0), 0u) << follows;  // no block
    }
}

TEST_F(UnkeptParts, TextsForMenusOfTheOlderFormAreNamed) {
    for (const u8 length : {u8{0}, u8{3}}) {
        std::vector<u8> name = Hex("00 00 00 01 00 00 00 00 00 00 00 00 00 00 6E");
        name[12] = length;
        name.insert(name.end(), length, 'x');
        BiffBuilder b(7);
        b.Globals({"One"}, [&](BiffBuilder& globals) { globals.Raw(NAME, name); }).Bof(16).Eof();
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
        ASSERT_EQ(CurrentWorkbook()->names.Count(), 1u);
        EXPECT_EQ(CurrentWorkbook()->hasUnkept, length > 0);
    }
}

TEST_F(UnkeptParts, TheInputMethodOfARuleComesBackAndTellsRulesApart) {
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    ASSERT_NE(rule, nullptr);
    rule->kind = 6;
    rule->inputMethod = 0xA5;
    ASSERT_TRUE(rule->areas.Append({0, 3, 0, 3}));
    Save();
    EXPECT_EQ(Find(DV)[0].Long(0) >> 10 & 0xFF, 0xA5u);
    EXPECT_EQ(losses, 0u);
    Reopen();
    ASSERT_EQ(CurrentSheet()->validations.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->validations[0].inputMethod, 0xA5u);
}

}  // namespace
}  // namespace tally
