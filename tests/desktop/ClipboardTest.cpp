// Cells through the clipboard of the desktop, with the whole program on the toolkit.

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTest>

#include "desktop/WholeProgram.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

class DesktopClipboard : public WholeProgram {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(WholeProgram::SetUp());
        FrameInUse()->client.setFocus();
    }
    static void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&FrameInUse()->client, key, modifiers);
    }
    static void Put(i32 row, i32 column, double number) {
        EXPECT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(number), FormulaTokens()));
    }
    static void Select(const RefArea& area) {
        SheetView& view = CurrentSheet()->view;
        view.selection = area;
        view.activeRow = area.firstRow;
        view.activeColumn = area.firstColumn;
    }
    static double At(i32 row, i32 column) {
        const CellRecord* cell = GetCell(CurrentSheet()->cells, row, column);
        return cell && cell->value.type == VT_NUMBER ? cell->value.number : -1;
    }
};

TEST_F(DesktopClipboard, CellsGoOutAsTextAndComeBackAsCells) {
    Put(0, 0, 1);
    Put(1, 1, 2.5);
    Select({0, 1, 0, 1});
    Press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("1\r\n\t2.5"));
    EXPECT_TRUE(QGuiApplication::clipboard()->mimeData()->hasFormat(QStringLiteral("application/x-tallyman")));
    Select({4, 4, 2, 2});
    Press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(At(4, 2), 1);
    EXPECT_EQ(At(5, 3), 2.5);
    Press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(At(4, 2), -1);
}

TEST_F(DesktopClipboard, WhatAnotherProgramCopiesIsPastedAsText) {
    Put(0, 0, 1);
    Select({0, 0, 0, 0});
    Press(Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(At(0, 0), -1);
    QGuiApplication::clipboard()->setText(QStringLiteral("7\t8\n9"));
    Press(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(At(0, 0), 7);
    EXPECT_EQ(At(0, 1), 8);
    EXPECT_EQ(At(1, 0), 9);
}

}  // namespace
}  // namespace tally
