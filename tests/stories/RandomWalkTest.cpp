// A user who does anything at random, through the tables of messages and commands, and takes it back.

#include <cstdlib>
#include <deque>
#include <map>
#include <optional>

#include "editing/Undo.h"
#include "formula/NameMeaning.h"
#include "formula/Precedents.h"
#include "formula/Recalculation.h"
#include "model/AreaList.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Tables.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BookInvariants.h"
#include "support/RandomUser.h"

namespace tally {
namespace {

// A record that was there before the operation; no part of a block's mask.
constexpr u32 SEEN = 1u << 31;
constexpr std::size_t UNDO_DEPTH = 16;

class RandomWalk : public RandomUser {
  protected:
    // What the books were before each operation that can be undone; empty where that is not known.
    std::deque<std::optional<std::string>> before;
    std::map<i32, int> unrecorded, done;
    i32 last = 0;  // command

    // One operation, and what it left to undo.
    void Step() {
        const i32 command = GetReady();
        const bool types = !command;
        const bool undoes = command == 130 && UndoCount() > 0;
        std::string state = DumpContent();
        if (LastUndo()) LastUndo()->contents.mask |= SEEN;
        const std::size_t count = UndoCount();
        if (!Do(command)) return;
        last = command;
        ++done[command];
        const std::string now = DumpContent();
        if (undoes) {
            ASSERT_EQ(UndoCount(), count - 1);
            if (before.back() && *before.back() != now && !HasCircle(5000))
                ASSERT_EQ(ContentDifference(*before.back(), now), "");
            before.pop_back();
        } else if (LastUndo() && !(LastUndo()->contents.mask & SEEN)) {
            before.emplace_back(std::move(state));
            if (before.size() > UNDO_DEPTH) before.pop_front();
        } else if (now != state) {
            if (!HasCircle(5000)) ++unrecorded[command];
            for (std::optional<std::string>& known : before) known.reset();
        }
        // An entry that a rule refuses is stored, recorded and taken back: the oldest record may be gone, and
        // its row fitted.
        if (types && UndoCount() + 1 == before.size()) before.pop_front();
        ASSERT_EQ(UndoCount(), before.size()) << command << ": " << ContentDifference(state, now);
    }
};

// TALLYMAN_WALK asks for that many walks of 400 operations, each with a book of its own.
TEST_F(RandomWalk, LeavesWholeBooksAndSixteenStepsBack) {
    const char* asked = std::getenv("TALLYMAN_WALK");
    const int walks = asked ? std::atoi(asked) : 2;
    const char* eachStep = std::getenv("TALLYMAN_WALK_EACH");
    const int every = eachStep ? 1 : 16;
    int compared = 0;
    const char* begin = std::getenv("TALLYMAN_WALK_FIRST");
    const int first = begin ? std::atoi(begin) : 0;
    for (int walk = first; walk < walks; ++walk) {
        ASSERT_NO_FATAL_FAILURE(StartBook(static_cast<u32>(walk)));
        for (int step = 0; step < 400; ++step) {
            ASSERT_NO_FATAL_FAILURE(Step()) << "walk " << walk << ", step " << step;
            ASSERT_EQ(BrokenInvariant(), "") << "walk " << walk << ", step " << step;
            if (step % every || HasCircle(400)) continue;
            ++compared;
            const std::string lazy = DumpContent();
            MarkAllStale();
            ASSERT_EQ(ContentDifference(lazy, DumpContent()), "")
                << "something was not seen to be stale: walk " << walk << ", step " << step << ", command "
                << last;
        }
        for (; !before.empty(); before.pop_back()) {
            ASSERT_TRUE(UndoLast());
            const std::string now = DumpContent();
            if (before.back() && *before.back() != now && !HasCircle(5000))
                ASSERT_EQ(ContentDifference(*before.back(), now), "") << "walk " << walk;
        }
        EXPECT_EQ(UndoCount(), 0u);
    }
    EXPECT_GT(compared, walks - first);
    // An entry that was refused may have fitted its row.
    for (const auto& [command, times] : unrecorded)
        if (command)
            ADD_FAILURE() << command << " changed " << times << " times of " << done[command]
                          << " without a record";
}

}  // namespace
}  // namespace tally
