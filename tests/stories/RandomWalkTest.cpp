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
#include "support/BookDump.h"
#include "support/BookInvariants.h"
#include "support/RandomBook.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

// A record that was there before the operation; no part of a block's mask.
constexpr u32 SEEN = 1u << 31;
constexpr std::size_t UNDO_DEPTH = 16;

// Commands that change cells, lines, sheets and views of the book at hand.
constexpr i32 walkedCommands[] = {130, 130, 130, 131, 132, 133, 133, 134, 135, 136, 137, 138, 139, 140, 141,
                                  142, 143, 144, 144, 145, 146, 160, 160, 161, 162, 163, 166, 389, 391, 392,
                                  393, 394, 395, 396, 397, 398, 399, 400, 401, 402, 403, 404, 407, 412, 423};

// Without what only looking around changes.
std::string DumpContent() {
    std::string text = DumpBooks();
    for (std::size_t at = 0; (at = text.find(" first ", at)) != text.npos;)
        text.erase(at, text.find(" cells ", at) - at);
    return text;
}

// The lines of either dump that the other lacks.
std::string Difference(const std::string& before, const std::string& after) {
    if (before == after) return "";
    const auto lines = [](const std::string& text) {
        std::vector<std::string> out;
        for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
            end = std::min(text.find('\n', at), text.size());
            out.push_back(text.substr(at, end - at));
        }
        return out;
    };
    return DumpDifference(lines(before), lines(after));
}

struct Reader {
    i32 sheet = 0, row = 0, column = 0;
    std::vector<std::size_t> reads;  // other formulas
    int state = 0;                   // 1 being visited, 2 done
};

void AddReads(std::vector<Reader>& readers, Reader& reader, const FormulaTokens& tokens) {
    TokenPrecedent found;
    for (u32 at = 0; NextPrecedent(tokens, at, found);) {
        PrecedentSheets sheets;
        if (!ResolvePrecedent(CurrentBook(), reader.sheet, found.externIndex, sheets)) continue;
        for (std::size_t i = 0; i < readers.size(); ++i)
            if (readers[i].sheet >= sheets.first && readers[i].sheet <= sheets.last &&
                AreaHolds(found.area, readers[i].row, readers[i].column))
                reader.reads.push_back(i);
    }
}

bool Circles(std::vector<Reader>& readers, std::size_t at) {
    if (readers[at].state) return readers[at].state == 1;
    readers[at].state = 1;
    for (const std::size_t next : readers[at].reads)
        if (Circles(readers, next)) return true;
    readers[at].state = 2;
    return false;
}

// Formulas in a circle have the value that the order and the number of calculations give them. Books with more
// than `most` formulas are taken to have one.
bool HasCircle(std::size_t most) {
    const Workbook& book = *CurrentWorkbook();
    std::vector<Reader> readers;
    std::vector<const FormulaTokens*> tokens;
    for (const Sheet* sheet : book.sheets)
        for (const FormulaCell* formula : sheet->cells.formulas) {
            readers.push_back({sheet->index, formula->row, formula->column, {}, 0});
            tokens.push_back(&formula->tokens);
        }
    if (readers.size() > most) return true;
    for (std::size_t i = 0; i < readers.size(); ++i) {
        AddReads(readers, readers[i], *tokens[i]);
        u32 at = 0;
        NameMention mention;
        if (!NextMention(*tokens[i], at, mention)) continue;
        for (const DefinedName& name : book.names) AddReads(readers, readers[i], name.tokens);
    }
    for (std::size_t i = 0; i < readers.size(); ++i)
        if (Circles(readers, i)) return true;
    return false;
}

class RandomWalk : public ShellSandbox {
  protected:
    std::mt19937 random{20260101};
    // What the books were before each operation that can be undone; empty where that is not known.
    std::deque<std::optional<std::string>> before;
    std::map<i32, int> unrecorded, done;
    i32 last = 0;  // command

    u32 Below(u32 count) { return static_cast<u32>(random() % count); }

    RefArea Anywhere(bool whole) {
        const u32 row = Below(24), column = Below(14);
        const RefArea area = {static_cast<u16>(row), static_cast<u16>(row + Below(4)), static_cast<u8>(column),
                              static_cast<u8>(column + Below(3))};
        switch (whole ? Below(12) : 3 + Below(9)) {
            case 0: return {area.firstRow, area.lastRow, 0, MAX_COLUMNS - 1};
            case 1: return {0, MAX_ROWS - 1, area.firstColumn, area.lastColumn};
            case 2:
                return {static_cast<u16>(MAX_ROWS - 1 - area.lastRow), MAX_ROWS - 1, area.firstColumn,
                        MAX_COLUMNS - 1};
            case 3:
            case 4:
            case 5: return {area.firstRow, area.firstRow, area.firstColumn, area.firstColumn};
            default: return area;
        }
    }

    void SelectAnything(bool whole) {
        const RefArea area = Anywhere(whole);
        SelectArea(area, true, area.firstRow, area.firstColumn, true);
    }

    void AnswerAnything() {
        Headless().answers.Truncate(0);
        Headless().answersUsed = 0;
        Headless().boxes.Truncate(0);
        constexpr i32 answers[] = {IDOK, IDYES, IDNO, IDCANCEL};
        for (int i = 0; i < 3; ++i) ASSERT_TRUE(Headless().answers.Append(answers[Below(4)]));
        ResetHeadlessDialogs();
        ASSERT_TRUE(AnswerDialog(Below(8) != 0));
        for (u32 field = 0; field < 4; ++field) {
            const char16_t name[] = {static_cast<char16_t>(u'0' + field), 0};
            const char16_t value[] = {static_cast<char16_t>(u'0' + Below(6)), 0};
            if (Below(2)) ASSERT_TRUE(EnterInDialog(name, value));
        }
    }

    void TypeAnything() {
        constexpr WideView texts[] = {u"5",      u"text",     u"=A1+1",  u"=SUM(A1:C3)",
                                      u"12%",    u"1/2/2003", u"=B2&C3", u"=Sheet2!A1*2",
                                      u"'quote", u"TRUE",     u"=1/0",   u"=IF(A1>2,B1,C1)"};
        TypeText(texts[Below(std::size(texts))]);
        constexpr u32 ends[] = {0, 0, KEY_CTRL, KEY_CTRL | KEY_SHIFT};
        PressKey(VK_RETURN, ends[Below(4)]);
        if (IsEditing()) PressKey(VK_ESCAPE);
    }

    // The later rule of a cell counts.
    void TakeRulesApart(Sheet& sheet) {
        for (ValidationRule& rule : sheet.validations) {
            Array<RefArea> areas = std::move(rule.areas);
            rule.areas.Clear();
            for (const RefArea& area : areas) {
                for (ValidationRule& other : sheet.validations) ASSERT_TRUE(SubtractArea(other.areas, area));
                ASSERT_TRUE(rule.areas.Append(area));
            }
        }
    }

    void Begin(u32 seed) {
        random.seed(seed + 1);
        ResetBooks();
        ConnectUndo();
        ASSERT_TRUE(CreateWorkbook(nullptr, true));
        FillBookAtRandom(random);
        for (Sheet* sheet : CurrentWorkbook()->sheets) ASSERT_NO_FATAL_FAILURE(TakeRulesApart(*sheet));
        MarkAllStale();
        SelectBook(CurrentBook());
    }

    // One operation, and what it left to undo.
    void Step() {
        AnswerAnything();
        if (IsEditing()) PressKey(VK_ESCAPE);
        if (!(CurrentSheet()->kind & SHEET_WITH_CELLS)) SelectSheet(0);
        const bool types = Below(3) == 0 && (CurrentSheet()->kind & SHEET_WITH_CELLS);
        const i32 command = types ? 0 : walkedCommands[Below(std::size(walkedCommands))];
        // What fills every cell of whole columns would fill the books.
        const bool fills = types || (command > 132 && command < 140) || command == 389;
        if (CurrentSheet()->kind & SHEET_WITH_CELLS) SelectAnything(!fills);
        const bool undoes = command == 130 && UndoCount() > 0;
        std::string state = DumpContent();
        if (LastUndo()) LastUndo()->contents.mask |= SEEN;
        const std::size_t count = UndoCount();
        if (types) TypeAnything();
        else if (FindCommand(command)) PickCommand(command);
        else return;
        last = command;
        ++done[command];
        // Nobody is told of a change on a macro sheet.
        if (CurrentSheet()->kind == SHEET_MACRO) MarkAllStale();
        const std::string now = DumpContent();
        if (undoes) {
            ASSERT_EQ(UndoCount(), count - 1);
            if (before.back() && *before.back() != now && !HasCircle(5000))
                ASSERT_EQ(Difference(*before.back(), now), "");
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
        ASSERT_EQ(UndoCount(), before.size()) << command << ": " << Difference(state, now);
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
        ASSERT_NO_FATAL_FAILURE(Begin(static_cast<u32>(walk)));
        for (int step = 0; step < 400; ++step) {
            ASSERT_NO_FATAL_FAILURE(Step()) << "walk " << walk << ", step " << step;
            ASSERT_EQ(BrokenInvariant(), "") << "walk " << walk << ", step " << step;
            if (step % every || HasCircle(400)) continue;
            ++compared;
            const std::string lazy = DumpContent();
            MarkAllStale();
            ASSERT_EQ(Difference(lazy, DumpContent()), "") << "something was not seen to be stale: walk "
                                                           << walk << ", step " << step << ", command " << last;
        }
        for (; !before.empty(); before.pop_back()) {
            ASSERT_TRUE(UndoLast());
            const std::string now = DumpContent();
            if (before.back() && *before.back() != now && !HasCircle(5000))
                ASSERT_EQ(Difference(*before.back(), now), "") << "walk " << walk;
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
