// A user's road through the window on which each allocation fails once: nothing crashes, nothing is lost or
// leaks, no book is half made, and what was refused works when it is tried again.

#include <functional>

#include "base/MessageTable.h"
#include "display/LocaleSettings.h"
#include "editing/Undo.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"
#include "recovery/JournalState.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Shell.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BiffBuilder.h"
#include "support/FailingAllocator.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

std::vector<u8> SmallBook() {
    BiffBuilder book;
    book.Globals({"First", "Second"});
    book.Bof(16).Number(0, 0, 10).Number(1, 0, 20).Label(2, 0, "a text of some length");
    // =A1+A2
    book.Formula(3, 0, {0x44, 0, 0, 0, 0xC0, 0x44, 1, 0, 0, 0xC0, 0x03}, 30).Eof();
    book.Bof(16).Label(0, 0, "other").Eof();
    return book.File();
}

double NumberAt(i32 row, i32 column) {
    const CellRecord* cell = CurrentSheet() ? GetCell(CurrentSheet()->cells, row, column) : nullptr;
    return cell && cell->value.type == VT_NUMBER ? cell->value.number : -1;
}

void Commit(WideView text) {
    TypeText(text);
    PressKey(VK_RETURN);
}

// The sum of the file's sheet is that of what stands above it, now that it is asked for.
void ExpectSoundSum() {
    const Sheet* sheet = SheetAt(CurrentBook(), 0);
    if (!sheet || CurrentWorkbook()->path.View() != u"/book.xls") return;
    BringUpToDate(CurrentBook(), 0, 3, 0);
    const CellRecord* first = GetCell(sheet->cells, 0, 0);
    const CellRecord* sum = GetCell(sheet->cells, 3, 0);
    ASSERT_TRUE(first && sum && sum->formula);
    EXPECT_EQ(sum->value.type, VT_NUMBER);
    EXPECT_EQ(sum->value.number, (first->value.type == VT_NUMBER ? first->value.number : 0) + 20);
}

// One part of the road: what the user does, and what must then be true when nothing was refused.
struct Step {
    const char* name;
    std::function<void()> act;
    std::function<bool()> done;
};

const Step steps[] = {
    {"start with a workbook", [] { StartShell(u"/book.xls"); }, [] { return NumberAt(3, 0) == 30; }},
    {"paint", [] { PaintHeadless(); }, [] { return !HeadlessFrame().drawing.IsEmpty(); }},
    {"type a number",
     [] {
         SelectCell(0, 0, true);
         Commit(u"15");
     },
     [] { return NumberAt(0, 0) == 15; }},
    {"type a formula",
     [] {
         SelectCell(0, 1, true);
         Commit(u"=SUM(A1:A2)&\" in all\"");
     },
     [] { return GetCell(CurrentSheet()->cells, 0, 1) && GetCell(CurrentSheet()->cells, 0, 1)->formula; }},
    {"fill a column",
     [] {
         SelectArea({0, 20, 2, 2}, true, 0, 2, true);
         TypeText(u"=A1*2");
         PressKey(VK_RETURN, KEY_CTRL);
     },
     [] { return NumberAt(1, 2) == 40 && GetCell(CurrentSheet()->cells, 20, 2); }},
    {"sum it",
     [] {
         SelectArea({0, 20, 2, 2}, true, 0, 2, true);
         PickCommand(389);
     },
     [] { return GetCell(CurrentSheet()->cells, 21, 2) && GetCell(CurrentSheet()->cells, 21, 2)->formula; }},
    {"go to another sheet",
     [] {
         QuietMemoryScope quiet;
         if (AnswerDialog(true) && EnterInDialog(u"弟用位置", u"Second!D4")) PickCommand(149);
     },
     [] { return CurrentWorkbook()->currentSheet == 1 && CurrentSheet()->view.activeRow == 3; }},
    {"come back and widen",
     [] {
         SelectSheet(0);
         SelectArea({0, 65535, 0, 2}, true, 0, 0, false);
         PickCommand(396);
         PickCommand(392);
         PaintHeadless();
     },
     [] { return GetColumnWidth(*CurrentSheet(), 0) > 2048; }},
    {"hide rows",
     [] {
         SelectArea({5, 9, 0, 255}, true, 5, 0, false);
         PickCommand(393);
     },
     [] { return GetRowHeight(*CurrentSheet(), 7) == 0; }},
    {"clear",
     [] {
         SelectArea({0, 20, 2, 2}, true, 0, 2, true);
         PressKey(VK_DELETE);
     },
     [] { return NumberAt(0, 2) == -1; }},
    {"copy and paste",
     [] {
         SelectArea({0, 3, 0, 1}, true, 0, 0, true);
         PickCommand(132);
         SelectCell(30, 4, true);
         PickCommand(133);
     },
     [] { return NumberAt(30, 4) == 15; }},
    {"cut",
     [] {
         SelectArea({30, 33, 4, 5}, true, 30, 4, true);
         PickCommand(131);
     },
     [] { return NumberAt(30, 4) == -1; }},
    {"paste what was cut",
     [] {
         QuietMemoryScope quiet;
         SelectCell(30, 8, true);
         if (AnswerDialog(true) && EnterInDialog(u"粘贴", u"数值")) PickCommand(134);
     },
     [] { return NumberAt(30, 8) == 15; }},
    {"insert a row",
     [] {
         SelectArea({15, 15, 0, 255}, true, 15, 0, false);
         PickCommand(161);
     },
     [] { return GetCell(CurrentSheet()->cells, 22, 2) && GetCell(CurrentSheet()->cells, 22, 2)->formula; }},
    {"take it back",
     [] {
         // Without the memory for a record the insertion has gone on without undo.
         SelectArea({15, 15, 0, 255}, true, 15, 0, false);
         PickCommand(UndoLabel() == u"插入行" ? 130 : 144);
     },
     [] { return GetCell(CurrentSheet()->cells, 21, 2) && GetCell(CurrentSheet()->cells, 21, 2)->formula; }},
    {"keep what is unsaved",
     [] {
         ShellMessage tick;
         tick.message = WM_TIMER;
         tick.command = TIMER_JOURNAL;
         for (int i = 0; i < 20 && HeadlessFrame().timers[TIMER_JOURNAL]; ++i)
             IgnoreFailure(FrameCallsInUse().sendMessage(tick));
     },
     [] { return !HeadlessFrame().timers[TIMER_JOURNAL] && FindJournal(0) && FindJournal(0)->snapshot; }},
    {"save as text",
     [] {
         QuietMemoryScope quiet;
         // The sheet that is shown is enough.
         if (HeadlessFrame().dialogPath.Assign(u"/out.csv") && Headless().answers.Append(IDOK))
             PickCommand(114);
     },
     [] { return FindMemoryFile(u"/out.csv") != nullptr; }},
    {"close",
     [] {
         CurrentWorkbook()->dirty = 0;
         PickCommand(112);
     },
     [] { return CurrentBook() < 0; }},
};
constexpr std::size_t STEPS = std::size(steps);

// Rows and columns ascend, every formula knows its place in the list.
void ExpectWhole(const Sheet& sheet) {
    u32 cells = 0, formulas = 0;
    i32 lastRow = -1;
    for (const CellRow& row : sheet.cells.rows) {
        EXPECT_GT(i32{row.row}, lastRow);
        lastRow = row.row;
        i32 lastColumn = -1;
        for (u32 i = 0; i < row.count; ++i) {
            const CellRecord& cell = row.cells[i];
            EXPECT_GT(i32{cell.column}, lastColumn);
            lastColumn = cell.column;
            if (!cell.formula) continue;
            ++formulas;
            ASSERT_LT(cell.formula->listIndex, sheet.cells.formulas.Count());
            EXPECT_EQ(sheet.cells.formulas[cell.formula->listIndex], cell.formula);
        }
        cells += row.count;
    }
    EXPECT_EQ(cells, sheet.cells.count);
    EXPECT_EQ(formulas, sheet.cells.formulas.Count());
}

void ExpectWholeBooks() {
    for (const Workbook* book : Books().books) {
        ASSERT_FALSE(book->sheets.IsEmpty());
        ASSERT_LT(static_cast<u32>(book->currentSheet), book->sheets.Count());
        for (const Sheet* sheet : book->sheets) ExpectWhole(*sheet);
        // The book of the file is there with all its sheets, or not at all.
        if (book->path.View() == u"/book.xls") EXPECT_EQ(book->sheets.Count(), 2u);
    }
    EXPECT_LT(CurrentBook(), static_cast<i32>(Books().books.Count()));
}

u32 MemoryBoxes() {
    u32 count = 0;
    for (const RecordedBox& box : Headless().boxes) count += box.text.View() == Message(MSG_OUT_OF_MEMORY);
    return count;
}

void SetUpWorld(const std::vector<u8>& file) {
    BeginBareProgram();
    ASSERT_TRUE(PutMemoryFile(u"/book.xls", ByteView(file.data(), file.size())));
}

// What a refused start needs before it is tried again.
void ForgetStart() {
    StopShell();
    ResetLocaleSettings();
}

class OutOfMemory : public testing::Test {
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
};

// The road with request `n` of one step refused; false when the step makes fewer.
bool Walk(std::size_t refused, u64 n, test::FailingAllocator& allocator, const std::vector<u8>& file,
          u32& boxes) {
    SetUpWorld(file);
    bool failed = false;
    for (std::size_t i = 0; i < STEPS; ++i) {
        Headless().boxes.Truncate(0);
        if (i == refused) {
            const u64 before = FailedAllocations();
            allocator.FailAt(n);
            steps[i].act();
            allocator.StopFailing();
            failed = FailedAllocations() != before;
            EXPECT_LE(MemoryBoxes(), 1u);
            boxes += MemoryBoxes();
            ExpectWholeBooks();
            ExpectSoundSum();
            if (!failed) EXPECT_TRUE(steps[i].done()) << steps[i].name;
            if (!failed || steps[i].done()) continue;
            if (IsEditing()) CancelEntry();
            HeadlessDialogs().answersUsed = HeadlessDialogs().answers.Count();
            Headless().answersUsed = Headless().answers.Count();
            if (i == 0) ForgetStart();
        }
        steps[i].act();
        EXPECT_TRUE(steps[i].done()) << steps[i].name << ", after request " << n << " of "
                                     << steps[refused].name << " was refused";
        if (testing::Test::HasFailure()) break;
    }
    EndBareProgram();
    return failed;
}

TEST_F(OutOfMemory, EachRefusedAllocationLeavesTheProgramUsable) {
    const std::vector<u8> file = SmallBook();
    test::FailingAllocator allocator;
    u64 total = 0;
    u32 boxes = 0;
    for (std::size_t step = 0; step < STEPS && !HasFailure(); ++step) {
        for (u64 n = 1;; ++n) {
            const bool failed = Walk(step, n, allocator, file, boxes);
            ASSERT_EQ(allocator.LiveBlocks(), 0u) << "request " << n << " of " << steps[step].name;
            if (!failed || HasFailure()) break;
            ++total;
        }
    }
    EXPECT_GT(total, 500u);
    EXPECT_GT(boxes, 0u);  // the user was told, each time once
    RecordProperty("refused", static_cast<int>(total));
}

}  // namespace
}  // namespace tally
