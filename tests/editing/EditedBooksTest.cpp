// What every operation that changes cells owes to the book, one operation a row.

#include "editing/ApplyFormat.h"
#include "editing/ClearArea.h"
#include "editing/Clipboard.h"
#include "editing/Fill.h"
#include "editing/FillSeries.h"
#include "editing/InsertDelete.h"
#include "editing/LineSizes.h"
#include "editing/PasteBlock.h"
#include "editing/PasteText.h"
#include "editing/SheetOperations.h"
#include "editing/ShiftBlock.h"
#include "editing/StoreEntry.h"
#include "editing/Undo.h"
#include "editing/ViewOperations.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

enum : u32 {
    CHANGES_CELLS = 1,  // volatile cells are calculated again, afterwards and after the undo
    LEAVES_OTHERS = 2,  // formulas that read nothing of it stay current
    MAY_BE_UNDONE = 4,
    EDITS = CHANGES_CELLS | LEAVES_OTHERS | MAY_BE_UNDONE,
};

struct Edit {
    const char* name;
    bool (*run)();
    u32 owes;
};

void Select(const RefArea& area) { CurrentSheet()->view.selection = area; }

PasteRequest PasteAt(const RefArea& area) {
    PasteRequest request;
    request.book = CurrentBook();
    request.sheet = CurrentWorkbook()->currentSheet;
    request.area = area;
    return request;
}

bool TypeInto(const RefArea& area, WideView text) {
    EntryTarget target;
    target.area = area;
    target.refRow = area.firstRow;
    target.refColumn = area.firstColumn;
    i32 outcome = 0;
    return StoreEntry(target, text, outcome);
}

bool NumberFormatOf(const RefArea& area) {
    FormatRequest request;
    request.numberFormat = {true, 2};
    return FormatArea(CurrentBook(), 0, area, request);
}

// B2:B4 hold numbers; A1 is volatile, A2 reads B2, B1 reads nothing that is edited.
constexpr Edit edits[] = {
    {"type",
     [] {
         return TypeInto({5, 5, 5, 5}, u"7");
     },
     EDITS},
    {"clear all",
     [] {
         return ClearArea({1, 3, 1, 1}, CLEAR_ALL);
     },
     EDITS},
    {"clear contents",
     [] {
         return ClearArea({1, 3, 1, 1}, CLEAR_CONTENTS);
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"clear formats",
     [] {
         return ClearArea({1, 3, 1, 1}, CLEAR_FORMATS);
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"insert rows",
     [] {
         return InsertRowsOrCellsDown({2, 2, 0, 255});
     },
     EDITS},
    {"insert columns",
     [] {
         return InsertColumnsOrCellsRight({0, 65535, 2, 2});
     },
     MAY_BE_UNDONE},
    {"insert cells down",
     [] {
         return InsertRowsOrCellsDown({2, 2, 1, 1});
     },
     EDITS},
    {"insert cells right",
     [] {
         return InsertColumnsOrCellsRight({2, 2, 1, 1});
     },
     EDITS},
    {"delete rows",
     [] {
         return DeleteRowsOrCellsUp({2, 2, 0, 255});
     },
     EDITS},
    {"delete cells up",
     [] {
         return DeleteRowsOrCellsUp({2, 2, 1, 1});
     },
     EDITS},
    {"delete cells left",
     [] {
         return DeleteColumnsOrCellsLeft({2, 2, 1, 1});
     },
     EDITS},
    {"delete to the last row",
     [] {
         return DeleteRowsOrCellsUp({2, 65535, 0, 255});
     },
     EDITS},
    {"delete cells to the last row",
     [] {
         return DeleteRowsOrCellsUp({2, 65535, 1, 1});
     },
     EDITS},
    {"delete to the last column",
     [] {
         return DeleteColumnsOrCellsLeft({0, 65535, 2, 255});
     },
     MAY_BE_UNDONE},
    {"delete cells to the last column",
     [] {
         return DeleteColumnsOrCellsLeft({2, 2, 1, 255});
     },
     EDITS},
    {"shift",
     [] {
         return ShiftBlock({1, 3, 1, 1}, 10, 3);
     },
     CHANGES_CELLS | LEAVES_OTHERS},
    {"fill down",
     [] {
         return Select({1, 9, 1, 1}), FillDown(true);
     },
     EDITS},
    {"fill right",
     [] {
         return Select({1, 3, 1, 4}), FillRight(true);
     },
     EDITS},
    {"fill series",
     [] {
         return Select({1, 9, 1, 1}), FillSeries(SeriesRequest());
     },
     EDITS},
    {"paste",
     [] {
         return CopyCells(0, 0, {1, 3, 1, 1}) && PasteBlock(PasteAt({5, 5, 5, 5}));
     },
     EDITS},
    {"paste a cut",
     [] {
         return CutCells(0, 0, {1, 3, 1, 1}) && PasteBlock(PasteAt({5, 5, 5, 5}));
     },
     CHANGES_CELLS | LEAVES_OTHERS},
    {"paste text",
     [] {
         return PasteText(PasteAt({5, 5, 5, 5}), u"1\t2\r\n3\t4");
     },
     EDITS},
    {"number format",
     [] {
         return NumberFormatOf({1, 3, 1, 1});
     },
     EDITS},
    {"column width",
     [] {
         return ChangeLines({0, 0, true, {0, 65535, 3, 3}, LINES_SIZE, 5000});
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"row height",
     [] {
         return ChangeLines({0, 0, false, {3, 3, 0, 255}, LINES_SIZE, 500});
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"standard width", [] { return SetStandardWidth(0, 0, 3000); }, LEAVES_OTHERS | MAY_BE_UNDONE},
    {"move sheet", [] { return MoveSheet(0, 0, 2); }, MAY_BE_UNDONE},
    {"copy sheet", [] { return CopySheet(1); }, MAY_BE_UNDONE},
    {"delete sheet", [] { return DeleteSheet(1, -1); }, MAY_BE_UNDONE},
    {"name sheet", [] { return NameSheet(0, 0, u"other"); }, LEAVES_OTHERS | MAY_BE_UNDONE},
    {"hide sheet", [] { return HideSheet(0, 1); }, LEAVES_OTHERS | MAY_BE_UNDONE},
    {"protect",
     [] {
         return ProtectSheet({0, 0, true, u"x"});
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"link",
     [] {
         return SetHyperlink({0, 0, {1, 1, 1, 1}, u"http://x", u""});
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"freeze",
     [] {
         return FreezePanes({0, 0, 3, 0});
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
    {"zoom", [] { return SetZoom(0, 0, 77); }, LEAVES_OTHERS | MAY_BE_UNDONE},
    {"view flag",
     [] {
         return SetViewFlag({0, 0, VIEW_FORMULAS, true});
     },
     LEAVES_OTHERS | MAY_BE_UNDONE},
};

class EditedBooks : public Sandbox {
  protected:
    inline static u32 home = 0;
    void SetUp() override {
        Sandbox::SetUp();
        ConnectUndo();
        ConnectClipboard();
    }
    // The sheet of the cells, wherever it has gone.
    static const Sheet& Home() { return *FindSheetBySerial(home); }
    static void FreshBook() {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        for (int i = 0; i < 2; ++i) ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        CurrentWorkbook()->currentSheet = 0;
        home = CurrentSheet()->serial;
        Enter("A1", "=RAND()");
        Enter("A2", "=B2*2");
        Enter("B1", "=LEN(\"abc\")");
        for (int row = 2; row <= 4; ++row) Enter("B" + std::to_string(row), std::to_string(row));
        Settle();
    }
    // All is calculated and nothing is to be saved.
    static void Settle() {
        CurrentWorkbook()->currentSheet = Home().index;
        for (const char* cell : {"A1", "A2", "B1"}) Shown(cell);
        for (const char* cell : {"A1", "A2", "B1"}) ASSERT_EQ(StateOf(cell), CALC_CURRENT) << cell;
        CurrentWorkbook()->dirty = 0;
    }
    static u32 StateOf(const char* name) {
        const RefArea area = AreaOf(name, name);
        const CellRecord* cell = GetCell(Home().cells, area.firstRow, area.firstColumn);
        return cell ? cell->calcState : 99u;
    }
    static void ExpectOwed(const Edit& edit, const char* when) {
        SCOPED_TRACE(std::string(edit.name) + when);
        EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
        if (edit.owes & CHANGES_CELLS) EXPECT_EQ(StateOf("A1"), CALC_STALE);
        if (edit.owes & LEAVES_OTHERS) EXPECT_EQ(StateOf("B1"), CALC_CURRENT);
    }
};

TEST_F(EditedBooks, AnEditMakesTheBookDirtyAndStaleWhereItMustAndNoMore) {
    for (const Edit& edit : edits) {
        ASSERT_NO_FATAL_FAILURE(FreshBook()) << edit.name;
        ASSERT_TRUE(edit.run()) << edit.name;
        ExpectOwed(edit, "");
        if (!(edit.owes & MAY_BE_UNDONE)) continue;
        ASSERT_NO_FATAL_FAILURE(Settle()) << edit.name;
        ASSERT_TRUE(UndoLast()) << edit.name;
        ExpectOwed(edit, ", undone");
    }
}

}  // namespace
}  // namespace tally
