// A user who does anything at random, and a process that is killed again and again.

#include <cstdlib>

#include "editing/Undo.h"
#include "model/BookTable.h"
#include "recovery/JournalState.h"
#include "support/BookDump.h"
#include "support/RecoverySandbox.h"

namespace tally {
namespace {

class KilledWalk : public RecoverySandbox {
  protected:
    int compared = 0, logged = 0;

    void KillAndCompare() {
        const std::vector<std::string> before = KeptOfBook();
        const bool circle = HasCircle(5000);
        const JournaledBook* row = FindJournal(CurrentBook());
        ASSERT_NE(row, nullptr);
        logged += row->logBytes > 0;
        ASSERT_NO_FATAL_FAILURE(KillAndRecover());
        ASSERT_EQ(Headless().boxes.Count(), 0u) << Narrow(Headless().boxes[0].text);
        ASSERT_EQ(HeadlessDialogs().shown.Count(), 1u);
        if (circle) return;
        ++compared;
        ASSERT_EQ(DumpDifference(before, KeptOfBook()), "");
    }
};

// TALLYMAN_WALK asks for that many walks.
TEST_F(KilledWalk, FindsEveryBookAsItWas) {
    const char* asked = std::getenv("TALLYMAN_WALK");
    const int walks = asked ? std::atoi(asked) : 2;
    for (int walk = 0; walk < walks; ++walk) {
        ASSERT_NO_FATAL_FAILURE(StartKeptBook(static_cast<u32>(walk)));
        for (int step = 0; step < 100; ++step) {
            const i32 command = GetReady();
            if (!Do(command)) continue;
            // Several changes may come between two ticks.
            if (Below(3)) ASSERT_NO_FATAL_FAILURE(Tick());
            if (Below(4)) continue;
            ASSERT_NO_FATAL_FAILURE(Tick());
            Headless().boxes.Truncate(0);
            ASSERT_NO_FATAL_FAILURE(KillAndCompare())
                << "walk " << walk << ", step " << step << ", command " << command;
        }
    }
    EXPECT_GT(compared, 15 * walks);
    EXPECT_GT(logged, 5 * walks);
}

// ---- each kind of change --------------------------------------------------------------------------

struct KindRow {
    i32 kind;
    i32 command;     // 0 types
    bool isLogged;   // an entry holds it; otherwise it wants a snapshot
    i32 before = 0;  // done first, where the command needs it
};
constexpr KindRow kindRows[] = {
    {UNDO_TYPING, 0, true},
    {UNDO_CLEAR, 140, true},
    {UNDO_CUT, 131, true},
    {UNDO_PASTE, 133, true, 132},
    {UNDO_DELETE_ROWS, 144, false},
    {UNDO_DELETE_COLUMNS, 144, false},
    {UNDO_DELETE_CELLS, 144, false},
    {UNDO_DELETE_WORKSHEET, 145, false},
    {UNDO_INSERT_CELLS, 160, false},
    {UNDO_INSERT_ROWS, 161, false},
    {UNDO_INSERT_COLUMNS, 162, false},
    {UNDO_INSERT_WORKSHEET, 163, false},
    {UNDO_INSERT_MACRO_SHEET, 166, false},
    {UNDO_MOVE_SHEET, 146, false},
    {UNDO_COPY_SHEET, 146, false},
    {UNDO_CELL_FORMAT, 432, true},
    {UNDO_ROW_HEIGHT, 391, true},
    {UNDO_HIDE_ROWS, 393, true},
    {UNDO_SHOW_ROWS, 394, true, 393},
    {UNDO_COLUMN_WIDTH, 395, true},
    {UNDO_HIDE_COLUMNS, 397, true},
    {UNDO_SHOW_COLUMNS, 398, true, 397},
    {UNDO_STANDARD_WIDTH, 399, true},
    {UNDO_RENAME_SHEET, 400, true},
    {UNDO_GRIDLINES, 403, true},
    {UNDO_HEADERS, 404, true},
    {UNDO_ZOOM, 405, true},
    {UNDO_PROTECT, 411, true},
    {UNDO_FREEZE, 423, true},
    {UNDO_UNFREEZE, 423, true, 423},
    {UNDO_SHOW_FORMULAS, 412, true},
    {UNDO_FILL_DOWN, 135, true},
    {UNDO_FILL_RIGHT, 136, true},
    {UNDO_FILL_UP, 137, true},
    {UNDO_FILL_LEFT, 138, true},
    {UNDO_FILL_SERIES, 139, true},
    {UNDO_HIDE_SHEET, 401, true},
    {UNDO_SHOW_SHEET, 402, true, 401},
    {UNDO_VALIDATION, 429, true},
    {UNDO_CONDITIONAL, 422, true},
    {UNDO_HYPERLINK, 330, true},
    {UNDO_TAB_COLOUR, 413, true},
};

class KilledKinds : public KilledWalk, public testing::WithParamInterface<KindRow> {
  protected:
    // Tries until the command has left a record of the kind.
    void DoKind(const KindRow& row) {
        for (u32 seed = 0; seed < 400; ++seed) {
            ASSERT_NO_FATAL_FAILURE(StartKeptBook(seed));
            GetReadyFor(row.before ? row.before : row.command);
            if (row.before) IgnoreFailure(Do(row.before));
            GetReadyFor(row.command);
            if (row.before == row.command) HeadlessDialogs().answersUsed = 0;
            ASSERT_NO_FATAL_FAILURE(Tick());
            const u64 last = LastUndoNumber();
            IgnoreFailure(Do(row.command));
            const bool done = LastUndo() && LastUndo()->number > last && LastUndo()->kind == row.kind;
            if (done && !HasCircle(5000)) return;
        }
        FAIL() << "kind " << row.kind << " never came about";
    }
    static u32 SnapshotNumber() { return FindJournal(CurrentBook())->snapshot; }
};

TEST_P(KilledKinds, ComesBackAfterItWasDoneAndAfterItWasUndone) {
    const KindRow row = GetParam();
    ASSERT_NO_FATAL_FAILURE(DoKind(row));
    const u32 snapshot = SnapshotNumber();
    ASSERT_NO_FATAL_FAILURE(Tick());
    EXPECT_EQ(SnapshotNumber() == snapshot, row.isLogged) << "an entry was enough, or was not";
    Headless().boxes.Truncate(0);
    ASSERT_NO_FATAL_FAILURE(KillAndCompare());

    ASSERT_NO_FATAL_FAILURE(DoKind(row));
    ASSERT_NO_FATAL_FAILURE(Tick());
    PickCommand(130);
    ASSERT_NO_FATAL_FAILURE(Tick());
    Headless().boxes.Truncate(0);
    ASSERT_NO_FATAL_FAILURE(KillAndCompare());
}

INSTANTIATE_TEST_SUITE_P(Kinds, KilledKinds, testing::ValuesIn(kindRows),
                         [](const auto& info) { return "Kind" + std::to_string(info.param.kind); });

TEST_F(KilledWalk, FindsFormulasElsewhereThatFollowedWhatWasCut) {
    Enter("A1", "5");
    Enter("D1", "=A1+1");
    CurrentWorkbook()->dirty = 1;
    KeepNow();
    const u32 snapshot = FindJournal(CurrentBook())->snapshot;
    Select("A1");
    PickCommand(131);
    Select("B5");
    PickCommand(133);
    ASSERT_EQ(FormulaOf("D1"), "=B5+1");
    ASSERT_NO_FATAL_FAILURE(Tick());
    EXPECT_EQ(FindJournal(CurrentBook())->snapshot, snapshot);
    ASSERT_NO_FATAL_FAILURE(KillAndRecover());
    EXPECT_EQ(FormulaOf("D1") + " " + Shown("D1"), "=B5+1 6");
}

TEST_F(KilledWalk, FindsNamesAsTheyWere) {
    ASSERT_NO_FATAL_FAILURE(StartKeptBook(1));
    DefineName("tax", "Sheet1!$A$1*2");
    Enter("A9", "=tax+later");
    CurrentWorkbook()->dirty = 1;
    KeepNow();
    ASSERT_NO_FATAL_FAILURE(KillAndCompare());
}

}  // namespace
}  // namespace tally
