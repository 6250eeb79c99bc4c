// The journal on a disk that fails: nothing happens to the book, and nobody is told.

#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "recovery/JournalState.h"
#include "support/BookDump.h"
#include "support/RecoverySandbox.h"

namespace tally {
namespace {

class JournalFaults : public RecoverySandbox {
  protected:
    // Snapshot, entries, a snapshot again, an entry.
    void Work() {
        StartFresh();
        Type("A1", u"1");
        Turn();
        Type("A2", u"=A1+1");
        Turn();
        Select("A1");
        PickCommand(161);
        Turn();
        Type("B5", u"text");
        Turn();
    }
    void StartFresh() {
        ForgetBooks();
        StartBook(3);
        ConnectJournal(true);
    }
    static void Type(std::string_view cell, WideView text) {
        Select(cell);
        TypeText(text);
        PressKey(VK_RETURN);
    }
    // One tick; with a fault the timer may run on for long.
    static void Turn() {
        if (HeadlessFrame().timers[TIMER_JOURNAL]) SendTimer(TIMER_JOURNAL);
    }
    void ForgetFiles() {
        ResetJournal();
        Headless().files.Clear();
        Headless().failFileOperation = 0;
        Headless().fileOperations = 0;
        Headless().boxes.Truncate(0);
    }
};

TEST_F(JournalFaults, AFailingFileOperationChangesNothingAndIsMadeGood) {
    Work();
    const std::vector<std::string> whole = KeptOfBook();
    const u32 operations = Headless().fileOperations;
    ASSERT_GT(operations, 8u);
    for (const bool forEver : {false, true}) {
        for (u32 fails = 1; fails <= operations + 3; ++fails) {
            ForgetFiles();
            Headless().failFileOperation = fails;
            Headless().failsFromThere = forEver;
            Work();
            ASSERT_EQ(DumpDifference(whole, KeptOfBook()), "") << fails;
            ASSERT_EQ(Headless().boxes.Count(), 0u) << fails;
            ASSERT_EQ(HeadlessDialogs().shown.Count(), 0u) << fails;
            // Once the disk does what it should the journal catches up.
            Headless().failFileOperation = 0;
            ASSERT_NO_FATAL_FAILURE(Tick());
            ASSERT_NO_FATAL_FAILURE(KillAndRecover());
            ASSERT_EQ(DumpDifference(whole, KeptOfBook()), "") << fails;
            ResetHeadlessDialogs();
        }
    }
}

}  // namespace
}  // namespace tally
