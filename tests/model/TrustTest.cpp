#include "model/Trust.h"

#include "base/MessageTable.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class TrustQuestions : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        Headless().trust = TRUST_ASK;
        ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/dir/prices.xls"));
    }
    void TearDown() override {
        ResetTrust();
        Sandbox::TearDown();
    }
    static bool Asked(i32 answer, ForeignUse use) {
        Headless().boxes.Clear();
        Headless().answers.Clear();
        Headless().answersUsed = 0;
        EXPECT_TRUE(Headless().answers.Append(answer));
        return MayReachOutside(0, use, u"rm\n-r");
    }
};

TEST_F(TrustQuestions, ABookIsAskedForOnceForEachUse) {
    for (const i32 answer : {i32{IDYES}, i32{IDNO}}) {
        for (u8 i = FOREIGN_READ; i < FOREIGN_USES; ++i) {
            const ForeignUse use = static_cast<ForeignUse>(i);
            CurrentWorkbook()->trust[i] = TRUST_NOT_ASKED;
            EXPECT_EQ(Asked(answer, use), answer == IDYES) << u32{i};
            ASSERT_EQ(Headless().boxes.Count(), 1u);
            EXPECT_EQ(Headless().boxes[0].flags, u32{MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2});
            const std::string text = Narrow(Headless().boxes[0].text);
            EXPECT_NE(text.find("prices.xls"), std::string::npos) << text;
            EXPECT_EQ(text.find("/dir/"), std::string::npos) << text;
            EXPECT_NE(text.find(Narrow(TrustUseText(use))), std::string::npos) << text;
            EXPECT_NE(text.find("rm\\x0A-r"), std::string::npos) << text;
            EXPECT_NE(text.find(Narrow(Message(MSG_TRUST_QUESTION))), std::string::npos) << text;
            EXPECT_EQ(CurrentWorkbook()->trust[i], answer == IDYES ? TRUST_GRANTED : TRUST_REFUSED);
            // The answer holds, whatever would be said now.
            EXPECT_EQ(Asked(answer == IDYES ? IDNO : IDYES, use), answer == IDYES);
            EXPECT_EQ(Headless().boxes.Count(), 0u);
        }
    }
}

// The box runs a loop of its own, in which the book may be closed.
TEST_F(TrustQuestions, ABookThatIsClosedMeanwhileReachesNothing) {
    static const PlatformTable* before = nullptr;
    static PlatformTable closing;
    before = &Platform();
    closing = Platform();
    closing.messageBox = [](WideView, WideView, u32) -> i32 {
        RemoveBook(0);
        return IDYES;
    };
    SetPlatform(&closing);
    EXPECT_FALSE(MayReachOutside(0, FOREIGN_READ, u"a"));
    SetPlatform(before);
    EXPECT_EQ(BookAt(0), nullptr);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

TEST_F(TrustQuestions, EveryUseHasItsWords) {
    for (u8 i = 0; i < FOREIGN_USES; ++i) {
        EXPECT_FALSE(TrustUseText(static_cast<ForeignUse>(i)).empty()) << u32{i};
        for (u8 j = 0; j < i; ++j)
            EXPECT_NE(TrustUseText(static_cast<ForeignUse>(i)), TrustUseText(static_cast<ForeignUse>(j)));
    }
}

TEST_F(TrustQuestions, WithoutMemoryForTheQuestionTheAnswerIsNo) {
    bool reached = true;
    for (u64 n = 1; reached; ++n) {
        CurrentWorkbook()->trust[FOREIGN_PROGRAM] = TRUST_NOT_ASKED;
        Headless().boxes.Clear();
        Headless().answers.Clear();
        Headless().answersUsed = 0;
        ASSERT_TRUE(Headless().answers.Append(IDYES));
        test::FailingAllocator allocator(n);
        const bool may = MayReachOutside(0, FOREIGN_PROGRAM, u"x");
        reached = allocator.HasFailed();
        allocator.StopFailing();
        if (!may) EXPECT_TRUE(reached) << n;
        if (!may) EXPECT_EQ(CurrentWorkbook()->trust[FOREIGN_PROGRAM], TRUST_NOT_ASKED) << n;
        Headless().boxes.Clear();
    }
}

}  // namespace
}  // namespace tally
