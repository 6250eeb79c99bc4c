// How the cells of each dialog's table fit together: nothing lies over something else, no line of the grid is
// empty, and a label leads to what stands beside or beneath it.

#include <algorithm>
#include <string>
#include <vector>

#include "model/BookTable.h"
#include "platform/headless/HeadlessDialogs.h"
#include "shell/dialogs/Questions.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

std::string name;
int seen = 0;

bool Overlap(i32 from, i32 count, i32 otherFrom, i32 otherCount) {
    return from < otherFrom + otherCount && otherFrom < from + count;
}

void CheckLines(const std::vector<LayoutCell>& cells, i16 LayoutCell::*from, i16 LayoutCell::*count,
                i32 container) {
    i32 end = 0;
    for (const LayoutCell& cell : cells) end = std::max(end, cell.*from + cell.*count);
    for (i32 line = 0; line < end; ++line)
        EXPECT_TRUE(
            std::any_of(cells.begin(), cells.end(), [&](const LayoutCell& cell) { return cell.*from == line; }))
            << name << " container " << container << " line " << line;
}

void CheckPlaces(Dialog& dialog) {
    ++seen;
    for (i32 container = -1; container < static_cast<i32>(dialog.controls.Count()); ++container) {
        std::vector<LayoutCell> cells;
        for (const Control& control : dialog.controls) {
            if (control.container != container) continue;
            const LayoutCell& cell = control.row.cell;
            // The pages of one container lie over each other.
            for (const LayoutCell& other : cells)
                EXPECT_FALSE(Overlap(cell.row, cell.rows, other.row, other.rows) &&
                             Overlap(cell.column, cell.columns, other.column, other.columns))
                    << name << " control " << control.row.id;
            cells.push_back(cell);
        }
        CheckLines(cells, &LayoutCell::row, &LayoutCell::rows, container);
        CheckLines(cells, &LayoutCell::column, &LayoutCell::columns, container);
    }
    for (u32 i = 0; i + 1 < dialog.controls.Count(); ++i) {
        const Control &label = dialog.controls[i], &next = dialog.controls[i + 1];
        if (label.row.kind != CONTROL_LABEL || next.container != label.container) continue;
        const LayoutCell &at = label.row.cell, &there = next.row.cell;
        EXPECT_TRUE((there.row == at.row && there.column == at.column + at.columns) ||
                    (there.row == at.row + at.rows && there.column == at.column))
            << name << " label " << label.row.id;
    }
    for (const Control& control : dialog.controls) {
        EXPECT_LT(control.place.left, control.place.right) << name << " control " << control.row.id;
        EXPECT_LE(control.place.right, dialog.width) << name << " control " << control.row.id;
        EXPECT_LE(control.place.bottom, dialog.height) << name << " control " << control.row.id;
    }
}

class DialogPlaces : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        seen = 0;
        HeadlessDialogs().whileOpen = CheckPlaces;
    }
    void TearDown() override {
        ShellSandbox::TearDown();
        name.clear();
    }
};

TEST_F(DialogPlaces, EveryQuestionIsLaidOutWhole) {
    CurrentSheet();
    struct Case {
        const char* name;
        void (*ask)();
    };
    for (const Case& row : {
             Case{"insert", [] { EXPECT_EQ(AskInsertWay(), WAY_NONE); }},
             {"delete", [] { EXPECT_EQ(AskDeleteWay(), WAY_NONE); }},
             {"paste special",
              [] {
                  PasteRequest request;
                  EXPECT_FALSE(AskPasteSpecial(request));
              }},
             {"series",
              [] {
                  SeriesRequest request;
                  EXPECT_FALSE(AskSeries(request));
              }},
             {"hyperlink",
              [] {
                  LinkChoice choice;
                  EXPECT_FALSE(AskHyperlink(choice));
              }},
             {"function",
              [] {
                  u16 function = 0;
                  EXPECT_FALSE(AskFunction(true, function));
              }},
             {"move sheet",
              [] {
                  MoveSheetChoice choice;
                  EXPECT_FALSE(AskMoveSheet(CurrentBook(), choice));
              }},
             {"line",
              [] {
                  LineQuestion question;
                  question.title = question.label = 26;
                  EXPECT_FALSE(AskLine(question));
              }},
             {"reference",
              [] {
                  LineQuestion question;
                  question.title = question.label = 26;
                  question.reference = true;
                  EXPECT_FALSE(AskLine(question));
              }},
             {"item",
              [] {
                  const WideView items[] = {u"a", u"b"};
                  ItemQuestion question;
                  question.title = question.label = 26;
                  question.items = items;
                  EXPECT_FALSE(AskItem(question));
              }},
         }) {
        name = row.name;
        const int before = seen;
        row.ask();
        EXPECT_EQ(seen, before + 1) << name;
    }
}

}  // namespace
}  // namespace tally
