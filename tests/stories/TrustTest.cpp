// Every road on which a book could reach another file: none does before the user has said Yes.

#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "fileio/SaveFile.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Trust.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Settings.h"
#include "shell/state/ShellState.h"
#include "support/BiffBuilder.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

constexpr WideView OTHER = u"/books/other.csv";

class TrustStory : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        const std::string other = "5,6\n";
        PutText(OTHER, other);
        PutText(u"/books/secret.csv", "7\n");
        // A field of text, a link, a link that the file wants calculated, a name that leads through a link.
        PutText(u"/books/fields.csv", "\"=INDIRECT(\"\"[other.csv]other!A1\"\")\",=[other.csv]other!B1\n");
        BiffBuilder b;
        b.Globals({"S"}, [](BiffBuilder& g) {
            g.Record(430, {{1, 2},   {10, 2},  {0, 1},   {1, 1},   {'o', 1}, {'t', 1}, {'h', 1},
                           {'e', 1}, {'r', 1}, {'.', 1}, {'c', 1}, {'s', 1}, {'v', 1}, {5, 2},
                           {0, 1},   {'o', 1}, {'t', 1}, {'h', 1}, {'e', 1}, {'r', 1}});
            g.Record(23, {{1, 2}, {0, 2}, {0, 2}, {0, 2}});
        });
        b.Bof(16)
            .Formula(0, 0, {0x5A, 0, 0, 0, 0, 0, 0xC0}, 3)
            .Formula(1, 0, {0x5A, 0, 0, 0, 0, 1, 0xC0}, 4, 3)
            .Eof();
        const std::vector<u8> bytes = b.File();
        ASSERT_TRUE(PutMemoryFile(u"/books/linked.xls", bytes));
    }
    static void PutText(WideView path, const std::string& text) {
        ASSERT_TRUE(PutMemoryFile(path, ByteView(reinterpret_cast<const u8*>(text.data()), text.size())));
    }
    // Everything that a person or a program does with a book once it is open.
    static void WalkAllRoads() {
        PaintHeadless();
        CalculateBook(CurrentBook());
        PressKey(VK_F9);
        MarkAllStale();
        CalculateBook(CurrentBook());
        PaintHeadless();
        Select("C9");
        TypeText(u"=INDIRECT(\"[other.csv]other!A1\")+1");
        PressKey(VK_RETURN);
        TypeText(u"=[other.csv]other!A1+1");
        PressKey(VK_RETURN);
        TypeText(u"=SUM(INDIRECT(\"[secret.csv]secret!A1\"),2)");
        PressKey(VK_RETURN);
        PaintHeadless();
        u32 losses = 0;
        for (const auto& [path, type] : {std::pair{WideView(u"/books/out.xls"), FILE_XLS},
                                         {u"/books/out.pxl", FILE_PXL},
                                         {u"/books/out.csv", FILE_CSV},
                                         {u"/books/out.txt", FILE_TXT}})
            EXPECT_TRUE(WriteBookFile(CurrentBook(), path, type, losses));
        DropDependents();
        MarkVolatileCells();
        CalculateBook(CurrentBook());
    }
    static void Timer() {
        ShellMessage message;
        message.message = WM_TIMER;
        message.command = TIMER_TRUST;
        IgnoreFailure(FrameCallsInUse().sendMessage(message));
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? std::string() : Narrow(Headless().boxes.Last().text);
    }
    static void Answer(i32 answer) { ASSERT_TRUE(Headless().answers.Append(answer)); }
};

TEST_F(TrustStory, WhereTheGateIsClosedNoRoadReadsAnotherFileOrAsks) {
    for (const WideView path : {WideView(u"/books/linked.xls"), WideView(u"/books/fields.csv")}) {
        ASSERT_TRUE(OpenBookFile(path, false));
        const u32 own = Headless().ownReads;
        WalkAllRoads();
        EXPECT_FALSE(HeadlessFrame().timers[TIMER_TRUST]);
        EXPECT_EQ(Headless().foreignReads, 0u);
        EXPECT_EQ(Headless().ownReads, own);
        EXPECT_EQ(Headless().boxes.Count(), 0u);
    }
}

TEST_F(TrustStory, AfterANoNoRoadReadsAnotherFileOrAsksAgain) {
    Headless().links = TRUST_ASK;
    ASSERT_TRUE(OpenBookFile(u"/books/linked.xls", false));  // answered with No
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(LastBox(), "This workbook contains links. Do you want to update them now?\n/books/other.csv");
    WalkAllRoads();
    Timer();
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Headless().foreignReads, 0u);
    EXPECT_EQ(CurrentWorkbook()->trust[FOREIGN_LINK], TRUST_REFUSED);
}

TEST_F(TrustStory, AYesIsForTheFilesThatWereNamed) {
    Headless().links = TRUST_ASK;
    Answer(IDYES);
    ASSERT_TRUE(OpenBookFile(u"/books/linked.xls", false));
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Shown("A2"), "6");
    EXPECT_EQ(Headless().foreignReads, 1u);
    WalkAllRoads();
    EXPECT_EQ(Shown("C9"), "6");
    EXPECT_EQ(Headless().foreignReads, 1u);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    // Another file is another question, asked when the calculation is over.
    EXPECT_TRUE(HeadlessFrame().timers[TIMER_TRUST]);
    Timer();
    ASSERT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_NE(LastBox().find("/books/secret.csv"), std::string::npos) << LastBox();
    EXPECT_NE(LastBox().find("linked.xls"), std::string::npos);
    EXPECT_EQ(LastBox().find("other.csv"), std::string::npos);
    EXPECT_EQ(Headless().boxes.Last().flags & 0xFu, u32{MB_YESNO});
    EXPECT_NE(Headless().boxes.Last().flags & MB_DEFBUTTON2, 0u);
    EXPECT_EQ(Headless().foreignReads, 1u);
}

TEST_F(TrustStory, TheQuestionAboutLinksBringsTheirValuesOrKeepsThoseOfTheFile) {
    struct Case {
        i32 answer;
        const char *first, *second;  // the file holds 3 and 4, the other book 5 and 6
        u32 reads;
    };
    for (const Case& row : {Case{IDYES, "5", "6", 1}, {IDNO, "3", "4", 0}}) {
        Headless().links = TRUST_ASK;
        Answer(row.answer);
        ASSERT_TRUE(OpenBookFile(u"/books/linked.xls", false));
        ASSERT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(Headless().boxes[0].flags & 0xFu, u32{MB_YESNO});
        EXPECT_EQ(Headless().boxes[0].flags & 0xF0u, u32{MB_ICONQUESTION});
        EXPECT_EQ(Shown("A1"), row.first);
        EXPECT_EQ(Shown("A2"), row.second);
        PaintHeadless();
        EXPECT_EQ(FindDrawn(row.first) != nullptr, true);
        EXPECT_EQ(Headless().foreignReads, row.reads);
        TearDown();
        SetUp();
    }
}

TEST_F(TrustStory, NothingIsAskedAboutLinksToABookThatIsOpen) {
    Headless().links = TRUST_ASK;
    ASSERT_TRUE(OpenBookFile(OTHER, false));
    ASSERT_TRUE(OpenBookFile(u"/books/linked.xls", false));
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Shown("A2"), "6");
}

TEST_F(TrustStory, WhatAFormulaWantsIsAskedForOnceAndOutsideTheCalculation) {
    Headless().links = TRUST_ASK;
    Answer(IDYES);
    PutText(u"/books/texts.csv", "\"=INDIRECT(\"\"[other.csv]other!A1\"\")\"\n");
    ASSERT_TRUE(OpenBookFile(u"/books/texts.csv", false));
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    ShellMessage any;
    any.message = WM_MOUSEMOVE;
    ASSERT_TRUE(FrameCallsInUse().sendMessage(any));
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    EXPECT_EQ(Headless().foreignReads, 0u);
    ASSERT_TRUE(HeadlessFrame().timers[TIMER_TRUST]);
    // Not while something is typed.
    TypeText(u"x");
    Timer();
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    EXPECT_TRUE(HeadlessFrame().timers[TIMER_TRUST]);
    PressKey(VK_ESCAPE);
    Timer();
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(LastBox(), "texts.csv 要访问工作簿以外的内容。\n公式要读取文件:\n/books/other.csv\n是否允许？");
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Headless().foreignReads, 1u);
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_TRUST]);
}

TEST_F(TrustStory, TheSettingClosesTheGateForGoodWithoutAQuestion) {
    Headless().links = Headless().trust = TRUST_ASK;
    ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"TrustClosed", u"1"));
    LoadSettings();
    ASSERT_TRUE(OpenBookFile(u"/books/linked.xls", false));
    WalkAllRoads();
    Timer();
    for (i32 use = 0; use < FOREIGN_USES; ++use)
        EXPECT_FALSE(MayReachOutside(CurrentBook(), static_cast<ForeignUse>(use), u"/x"));
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    EXPECT_EQ(Headless().foreignReads, 0u);
    // Kept over a save of the settings.
    SaveSettings();
    LoadSettings();
    EXPECT_EQ(TrustOf(CurrentBook(), FOREIGN_LINK), TRUST_CLOSED);
    ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"TrustClosed", u"0"));
    LoadSettings();
    EXPECT_EQ(TrustOf(CurrentBook(), FOREIGN_LINK), TRUST_ASK);
}

TEST_F(TrustStory, APathToAnotherMachineIsNeverTriedNorAskedFor) {
    Headless().links = TRUST_OPEN;
    for (const char* path : {"\\\\host\\share\\", "//host/share/", "http://host/", "smb://host/share/"}) {
        const std::string prefix(path);
        const std::u16string stored = Wide(prefix + "far.csv");
        Workbook& book = *CurrentWorkbook();
        const i32 row = FindOrAddLink(book, stored);
        ASSERT_GE(row, 0);
        ASSERT_TRUE(book.externBooks[static_cast<u32>(row)].path.Assign(stored));
        PutText(stored, "1\n");
        EXPECT_EQ(FindOrOpenLinkedBook(CurrentBook(), row), -1) << path;
        EXPECT_FALSE(CanAskForLink(CurrentBook(), row, stored));
    }
    EXPECT_EQ(Headless().foreignReads, 0u);
}

TEST_F(TrustStory, EachUseIsAskedForByItsNameOnceForABook) {
    Headless().trust = Headless().links = TRUST_ASK;
    for (const i32 answer : {IDNO, IDYES}) {
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        for (i32 i = 0; i < FOREIGN_USES; ++i) {
            const auto use = static_cast<ForeignUse>(i);
            const u32 boxes = Headless().boxes.Count();
            Answer(answer);
            for (int again = 0; again < 3; ++again)
                EXPECT_EQ(MayReachOutside(CurrentBook(), use, u"the\ntarget"), answer == IDYES);
            EXPECT_EQ(Headless().boxes.Count(), boxes + 1);
            EXPECT_NE(LastBox().find("the\\x0Atarget"), std::string::npos);
            EXPECT_NE(LastBox().find(Narrow(TrustUseText(use))), std::string::npos);
            EXPECT_FALSE(TrustUseText(use).empty());
        }
    }
    // A gate that is closed or open for all asks nobody.
    const u32 boxes = Headless().boxes.Count();
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    for (const TrustState state : {TRUST_CLOSED, TRUST_OPEN}) {
        Headless().trust = state;
        EXPECT_EQ(MayReachOutside(CurrentBook(), FOREIGN_PROGRAM, u"x"), state == TRUST_OPEN);
    }
    Headless().trust = TRUST_ASK;
    EXPECT_FALSE(MayReachOutside(-1, FOREIGN_PROGRAM, u"x"));
    EXPECT_EQ(Headless().boxes.Count(), boxes);
}

TEST_F(TrustStory, ABookOpenedForALinkAsksForNothingAndShowsNoBox) {
    PutText(u"/books/chain.csv", "=[other.csv]other!A1\n");
    PutText(u"broken.xls", "no book");
    Headless().links = TRUST_OPEN;
    Select("A1");
    TypeText(u"=[broken.xls]S!A1");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "#REF!");
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    Headless().links = TRUST_ASK;
    Answer(IDYES);
    PutText(u"/books/first.csv", "=[chain.csv]chain!A1\n");
    ASSERT_TRUE(OpenBookFile(u"/books/first.csv", false));
    PaintHeadless();
    Timer();
    PaintHeadless();
    Timer();
    Timer();
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_GE(FindOpenBook(u"chain.csv", false), 0);
    EXPECT_LT(FindOpenBook(u"other.csv", false), 0);
}

}  // namespace
}  // namespace tally
