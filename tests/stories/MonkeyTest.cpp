// Anything at all done to the window: nothing breaks, nothing that holds of a book ceases to, and all memory
// comes back.

#include <cstdlib>

#include "display/LocaleSettings.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Shell.h"
#include "shell/state/ShellState.h"
#include "support/BookInvariants.h"
#include "support/FailingAllocator.h"
#include "support/Monkey.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class MonkeyStory : public testing::Test {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        EndBareProgram();
    }
    void TearDown() override {
        UseHeadlessPlatform();
        EXPECT_TRUE(ReadLocaleSettings());
        ResetLocaleSettings();
        ResetHeadlessPlatform();
    }
    // What the window remembers fits what is open.
    static void CheckWindow() {
        ASSERT_EQ(BrokenInvariant(), "");
        ASSERT_LE(UndoCount(), 16u);
        if (CurrentBook() < 0) {
            ASSERT_FALSE(IsEditing());
            return;
        }
        const Sheet* sheet = CurrentSheet();
        ASSERT_NE(sheet, nullptr);
        if (!(sheet->kind & SHEET_WITH_CELLS)) return;
        ASSERT_LT(i32{sheet->view.activeRow}, i32{MAX_ROWS});
        ASSERT_LE(sheet->view.selection.firstRow, sheet->view.selection.lastRow);
        ASSERT_LE(sheet->view.selection.firstColumn, sheet->view.selection.lastColumn);
    }
};

// TALLYMAN_MONKEY asks for that many acts, TALLYMAN_MONKEY_SEED for another beginning.
TEST_F(MonkeyStory, AnythingDoneAtRandomLeavesAWholeProgram) {
    const char* asked = std::getenv("TALLYMAN_MONKEY");
    const char* seedText = std::getenv("TALLYMAN_MONKEY_SEED");
    const u64 acts = asked ? std::strtoull(asked, nullptr, 10) : 6000;
    u32 seed = seedText ? static_cast<u32>(std::strtoul(seedText, nullptr, 10)) : 1;
    constexpr u64 episode = 2000;
    u32 commands = 0, saved = 0, opened = 0, dialogs = 0, undone = 0;
    for (u64 done = 0; done < acts; done += episode, ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        test::FailingAllocator allocator;
        {
            Monkey monkey(seed);
            BeginBareProgram();
            StartShell(u"");
            for (u64 i = 0; i < episode; ++i) {
                ActAtRandom(monkey);
                if (i % 16 == 0) ASSERT_NO_FATAL_FAILURE(CheckWindow()) << TrailOf(monkey);
            }
            TakeAllBack(monkey);
            ASSERT_NO_FATAL_FAILURE(CheckWindow()) << TrailOf(monkey);
            commands += monkey.commands;
            saved += monkey.saved;
            opened += monkey.opened;
            dialogs += monkey.dialogs;
            undone += monkey.undone;
            EndBareProgram();
        }
        ASSERT_EQ(allocator.LiveBlocks(), 0u);
    }
    RecordProperty("commands", static_cast<int>(commands));
    RecordProperty("saved", static_cast<int>(saved));
    RecordProperty("opened", static_cast<int>(opened));
    RecordProperty("dialogs", static_cast<int>(dialogs));
    RecordProperty("undone", static_cast<int>(undone));
    EXPECT_GT(commands, 0u);
    EXPECT_GT(saved, 0u);
    EXPECT_GT(opened, 0u);
    EXPECT_GT(dialogs, 0u);
    EXPECT_GT(undone, 0u);
}

}  // namespace
}  // namespace tally
