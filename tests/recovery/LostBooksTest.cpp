// What the user sees of the journal: the offer at the next start, the title, and that nothing stays behind.

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Shell.h"
#include "shell/state/ShellState.h"
#include "support/BiffBuilder.h"
#include "support/BookDump.h"
#include "support/RecoverySandbox.h"

namespace tally {
namespace {

class LostBooks : public RecoverySandbox {
  protected:
    static void Type(std::string_view cell, WideView text) {
        Select(cell);
        TypeText(text);
        PressKey(VK_RETURN);
    }
    static void TypeAndKeep(std::string_view cell, WideView text) {
        Type(cell, text);
        Tick();
        ASSERT_FALSE(JournalFiles().empty());
    }
    static void Answer(WideView button) {
        ASSERT_TRUE(AnswerDialog(true));
        ASSERT_TRUE(EnterInDialog(button, u""));
    }
    static void OpenText(WideView path, std::string_view text) {
        ASSERT_TRUE(PutMemoryFile(path, {reinterpret_cast<const u8*>(text.data()), text.size()}));
        ASSERT_TRUE(OpenBookFile(path, true));
    }
    static std::string Box(u32 i) {
        return i < Headless().boxes.Count() ? Narrow(Headless().boxes[i].text) : "no box";
    }
};

TEST_F(LostBooks, AreOfferedOnceTheWindowIsPaintedAndComeBackChangedUnderTheirNames) {
    OpenText(u"/home/list.csv", "a,1\r\n");
    TypeAndKeep("B2", u"7");
    Kill();
    SendTimer(TIMER_LOST_BOOKS);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 0u) << "before the first paint";
    EXPECT_TRUE(HeadlessFrame().timers[TIMER_LOST_BOOKS]);
    Answer(OPEN_OFFERED);
    LookForBooks();
    ASSERT_EQ(HeadlessDialogs().shown.Count(), 1u);
    EXPECT_TRUE(HeadlessDialogs().shown[0].understood);
    EXPECT_EQ(Narrow(HeadlessDialogs().shown[0].title), "未保存的工作簿");
    ASSERT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Title(), "Tallyman - list.csv（已恢复）");
    EXPECT_EQ(Shown("A1") + Shown("B1") + Shown("B2"), "a17");
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/home/list.csv");
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_LOST_BOOKS]);

    // It is saved as what it was, and is an ordinary book from then on.
    PickCommand(113);
    const MemoryFile* saved = FindMemoryFile(u"/home/list.csv");
    ASSERT_NE(saved, nullptr);
    EXPECT_EQ(std::string(saved->bytes.begin(), saved->bytes.end()), "a,1\r\n,7\r\n");
    EXPECT_EQ(Title(), "Tallyman - list.csv");
    EXPECT_TRUE(JournalFiles().empty());
}

TEST_F(LostBooks, StayLostAsLongAsTheUserSaysLater) {
    TypeAndKeep("A1", u"5");
    const std::vector<std::string> files = JournalFiles();
    for (int start = 0; start < 2; ++start) {
        Kill();
        LookForBooks();
        EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
        EXPECT_EQ(JournalFiles(), files);
        EXPECT_EQ(Shown("A1"), "");
    }
}

TEST_F(LostBooks, AreForgottenWhenTheUserDiscardsThem) {
    TypeAndKeep("A1", u"5");
    Kill();
    Answer(DISCARD_OFFERED);
    LookForBooks();
    EXPECT_TRUE(JournalFiles().empty());
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    Kill();
    LookForBooks();
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 0u);
}

TEST_F(LostBooks, OfSeveralEachHasItsOwnAnswer) {
    OpenText(u"/a.csv", "first\r\n");
    TypeAndKeep("A2", u"1");
    OpenText(u"/b.csv", "second\r\n");
    TypeAndKeep("A2", u"2");
    OpenText(u"/c.csv", "third\r\n");
    TypeAndKeep("A2", u"3");
    Kill();
    ASSERT_TRUE(AnswerDialog(false));
    // The list gets shorter by each: the first is discarded, of the rest the second opened, one is left.
    ASSERT_TRUE(EnterInDialog(DISCARD_OFFERED, u"") && EnterInDialog(OFFERED_BOOKS, u"1") &&
                EnterInDialog(OPEN_OFFERED, u""));
    LookForBooks();
    ASSERT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Title(), "Tallyman - c.csv（已恢复）");
    Tick();
    Kill();
    Answer(OPEN_OFFERED);
    LookForBooks();
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
    EXPECT_EQ(Shown("A1"), "second");
}

TEST_F(LostBooks, RecoveredOnesAreKeptBeforeTheirOldFilesGo) {
    TypeAndKeep("A1", u"5");
    KillAndRecover();
    std::vector<std::string> files = JournalFiles();
    ASSERT_FALSE(files.empty());
    EXPECT_EQ(files[0].substr(0, 2), "1/");
    // A second crash before the new snapshot.
    KillAndRecover();
    EXPECT_EQ(Shown("A1"), "5");
    KeepNow();
    files = JournalFiles();
    ASSERT_FALSE(files.empty());
    for (const std::string& file : files) EXPECT_EQ(file.substr(0, 2), "3/");
    KillAndRecover();
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(LostBooks, GiveWayToNoChangedBookOfTheirName) {
    OpenText(u"/a.csv", "first\r\n");
    TypeAndKeep("A2", u"1");
    Kill();
    ASSERT_TRUE(OpenBookFile(u"/a.csv", true));
    Type("B1", u"other work");
    Answer(OPEN_OFFERED);
    LookForBooks();
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Shown("B1"), "other work");
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_NE(Box(0).find("a.csv"), std::string::npos);
    // One that was not changed gives way itself.
    Kill();
    ASSERT_TRUE(OpenBookFile(u"/a.csv", true));
    Answer(OPEN_OFFERED);
    LookForBooks();
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Shown("A2"), "1");
}

TEST_F(LostBooks, WithoutANameTakeAnotherNumberBesideOneThatIsInUse) {
    TypeAndKeep("A1", u"5");
    Kill();
    Type("A1", u"6");
    Answer(OPEN_OFFERED);
    LookForBooks();
    ASSERT_EQ(Books().books.Count(), 2u);
    EXPECT_EQ(Title(), "Tallyman - Book2（已恢复）");
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(LostBooks, ThatCannotBeReadCostOneBoxAndKeepTheirFiles) {
    TypeAndKeep("A1", u"5");
    for (MemoryFile& file : Headless().files) {
        // The head says that there is a book, and there is none.
        if (file.path.View().ends_with(u".book")) file.bytes.Truncate(120);
    }
    const std::vector<std::string> files = JournalFiles();
    Kill();
    Answer(OPEN_OFFERED);
    LookForBooks();
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_NE(Box(0).find("Book1"), std::string::npos);
    EXPECT_EQ(JournalFiles(), files);
    EXPECT_EQ(Title(), "Tallyman - Book1");
}

TEST_F(LostBooks, LeaveNothingBehindWhenTheyAreSavedClosedOrTheProgramEnds) {
    OpenText(u"/a.csv", "first\r\n");
    TypeAndKeep("A2", u"1");
    PickCommand(113);
    EXPECT_TRUE(JournalFiles().empty());
    TypeAndKeep("A3", u"1");
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    PickCommand(112);
    EXPECT_TRUE(JournalFiles().empty());
    PickCommand(110);
    TypeAndKeep("A3", u"1");
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    CloseFrame();
    EXPECT_TRUE(HeadlessFrame().hasQuit);
    StopShell();
    EXPECT_TRUE(JournalFiles().empty());
}

TEST_F(LostBooks, OfAnEndWithoutQuestionsAreWholeAtOnce) {
    TypeAndKeep("A1", u"1");
    Type("A2", u"2");
    PickCommand(161);
    Type("B3", u"3");
    const std::vector<std::string> before = KeptOfBook();
    ShellMessage end;
    end.message = WM_QUERYENDSESSION;
    IgnoreFailure(FrameCallsInUse().sendMessage(end));
    // The loop ends without a close of the window.
    StopShell();
    Kill();
    Answer(OPEN_OFFERED);
    LookForBooks();
    EXPECT_EQ(DumpDifference(before, KeptOfBook()), "");
}

TEST_F(LostBooks, AreNotMadeWhereTheSettingSaysSo) {
    SettingRow row;
    ASSERT_TRUE(row.section.Assign(u"Options") && row.key.Assign(u"Journal") && row.value.Assign(u"0"));
    ASSERT_TRUE(HeadlessFrame().settings.Append(std::move(row)));
    ForgetBooks();
    StartShell(u"");
    Type("A1", u"5");
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_JOURNAL]);
    EXPECT_TRUE(JournalFiles().empty());
}

TEST_F(LostBooks, AreNotMadeByLookingAround) {
    OpenText(u"/a.csv", "first\r\n");
    PressKey(VK_DOWN);
    PressKey(VK_RIGHT);
    LookForBooks();
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_JOURNAL]);
    EXPECT_TRUE(JournalFiles().empty());
}

// A structural change, many cells and names want a snapshot, and a log that has outgrown its snapshot, too.
TEST_F(LostBooks, GetASnapshotInPlaceOfALongLog) {
    TypeAndKeep("A1", u"start");
    const std::u16string text(2000, u'x');
    std::vector<std::string> files = JournalFiles();
    for (int i = 0; i < 200 && files.front() == JournalFiles().front(); ++i) {
        Type("B1", text + static_cast<char16_t>(u'a' + i % 20));
        Tick();
    }
    EXPECT_NE(files.front(), JournalFiles().front());
    EXPECT_EQ(JournalFiles().size(), 1u);
    KillAndRecover();
    EXPECT_EQ(Shown("B1").size(), text.size() + 1);
}

}  // namespace
}  // namespace tally
