#include "base/MessageTable.h"
#include "editing/InsertDelete.h"
#include "fileio/OpenFile.h"
#include "fileio/biff/CarriedRecords.h"
#include "model/Carried.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "support/BookDump.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class SaveCommands : public ShellSandbox {
  protected:
    static void AnswerDialog(WideView path, i32 filter = -1) {
        ASSERT_TRUE(HeadlessFrame().dialogPath.Assign(path));
        HeadlessFrame().dialogFilter = filter;
    }
    static void Type(std::string_view cell, std::string_view text) {
        Select(cell);
        TypeText(Wide(text));
        PressKey(VK_RETURN);
    }
    static void AnswerBox(i32 answer) { ASSERT_TRUE(Headless().answers.Append(answer)); }
    static std::string Boxes() {
        std::string out;
        for (const RecordedBox& box : Headless().boxes) out += Narrow(box.text) + ";";
        return out;
    }
    static void Save() { PickCommand(113); }
    static void SaveAs() { PickCommand(114); }
    static u8 FormOf(WideView path) {
        ResetBooks();
        EXPECT_TRUE(OpenFile(path, OPEN_SILENT_LINKS));
        return CurrentWorkbook()->biffVersion;
    }
};

TEST_F(SaveCommands, ANewBookIsAskedForItsNameAndBearsItAfterwards) {
    Type("B2", "7");
    AnswerDialog(u"/first");
    PressKey('S', KEY_CTRL);
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(Narrow(HeadlessFrame().offeredPath), "Book1");
    EXPECT_EQ(HeadlessFrame().offeredFilter, 0);
    ASSERT_NE(FindMemoryFile(u"/first.xls"), nullptr);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/first.xls");
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - first.xls");
    // The next save asks nothing.
    Type("B3", "=B2*2");
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    Save();
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    const auto before = DumpBook(CurrentBook());
    ResetBooks();
    ASSERT_TRUE(OpenFile(u"/first.xls", OPEN_SILENT_LINKS));
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
}

TEST_F(SaveCommands, TheFilterTellsTheFormAndItsEndReplacesAnother) {
    Type("A1", "1");
    AnswerDialog(u"/book.csv", 1);  // the older form
    SaveAs();
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/book.xls");
    EXPECT_EQ(CurrentWorkbook()->biffVersion, 7);
    SaveAs();  // cancelled
    EXPECT_EQ(HeadlessFrame().offeredFilter, 1);
    EXPECT_EQ(Narrow(HeadlessFrame().offeredPath), "/book");
    EXPECT_EQ(FormOf(u"/book.xls"), 7);
    AnswerDialog(u"/book2.xls");
    SaveAs();
    EXPECT_EQ(CurrentWorkbook()->biffVersion, 8);
    AnswerDialog(u"/notes 1.5.xls");
    SaveAs();
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/notes 1.5.xls");
    AnswerDialog(u"/notes 1.6", 0);
    SaveAs();
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/notes 1.6.xls");
}

TEST_F(SaveCommands, ATemplateIsNeverOverwrittenByAPlainSave) {
    Type("A1", "form");
    AnswerDialog(u"/plan.xlt");
    SaveAs();
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/plan.xlt");
    Type("A1", "filled in");
    AnswerDialog(u"/plan");
    Save();
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/plan.xls");
    ResetBooks();
    ASSERT_TRUE(OpenFile(u"/plan.xlt", OPEN_SILENT_LINKS));
    EXPECT_EQ(Shown("A1"), "form");
}

TEST_F(SaveCommands, TextOfOneSheetAsksNothingOfTwoItAsks) {
    Type("A1", "one");
    AnswerDialog(u"/a.csv");
    SaveAs();
    EXPECT_EQ(Boxes(), "");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->dirty = 1;
    Save();  // answered with Cancel
    EXPECT_EQ(
        Boxes(),
        "The selected file type does not support workbooks that contain multiple sheets.\nTo save only the "
        "active sheet, click OK.;");
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    AnswerBox(IDOK);
    Save();
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    EXPECT_EQ(FindMemoryFile(u"/a.csv")->bytes.Count(), 0u);  // the second sheet is empty
}

TEST_F(SaveCommands, TheNameOfAnOpenBookIsRefused) {
    AnswerDialog(u"/here/Same.xls");
    SaveAs();
    PickCommand(110);
    AnswerDialog(u"/there/same.xls");
    SaveAs();
    EXPECT_EQ(Boxes(), "要保存的文件不能与已打开的文档重名;");
    EXPECT_EQ(FindMemoryFile(u"/there/same.xls"), nullptr);
    EXPECT_TRUE(CurrentWorkbook()->untitled);
}

TEST_F(SaveCommands, AFileTheDialogWasNotToldOfIsNotReplacedUnasked) {
    const u8 old[] = {'o', 'l', 'd'};
    ASSERT_TRUE(PutMemoryFile(u"/a.xls", old));
    AnswerDialog(u"/a", 0);
    SaveAs();  // answered with No
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(FindMemoryFile(u"/a.xls")->bytes.Count(), 3u);
    EXPECT_TRUE(CurrentWorkbook()->untitled);
    AnswerDialog(u"/a", 0);
    AnswerBox(IDYES);
    SaveAs();
    EXPECT_GT(FindMemoryFile(u"/a.xls")->bytes.Count(), 4096u);
    // The dialog itself asks about a name that it was told.
    AnswerDialog(u"/a.xls");
    SaveAs();
    EXPECT_EQ(Headless().boxes.Count(), 2u);
}

TEST_F(SaveCommands, AFailedSaveLeavesFileBookAndForm) {
    Type("A1", "1");
    AnswerDialog(u"/a.xls");
    SaveAs();
    const MemoryFile* file = FindMemoryFile(u"/a.xls");
    const std::vector<u8> old(file->bytes.begin(), file->bytes.end());
    Type("A1", "2");
    Headless().fileOperations = 0;
    Headless().failFileOperation = 1;
    Save();
    EXPECT_EQ(Boxes(), "Unable to open output file\n/a.xls;");
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    Headless().fileOperations = 0;
    Headless().failFileOperation = 2;
    AnswerDialog(u"/b.xls", 1);
    SaveAs();
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/a.xls");
    EXPECT_EQ(CurrentWorkbook()->biffVersion, 8);
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    file = FindMemoryFile(u"/a.xls");
    EXPECT_EQ(std::vector<u8>(file->bytes.begin(), file->bytes.end()), old);
    Headless().failFileOperation = 0;
    Save();
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
}

TEST_F(SaveCommands, AFileThatAnotherProgramChangedIsNotOverwrittenUnasked) {
    const u8 old[] = {'1'}, theirs[] = {'2'};
    ASSERT_TRUE(PutMemoryFile(u"/a.csv", old));
    ASSERT_TRUE(OpenBookFile(u"/a.csv", false));
    Type("A1", "mine");
    Save();
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(FindMemoryFile(u"/a.csv")->bytes.Count(), 6u);
    // What was saved here is no change of another program's.
    Type("A1", "again");
    Save();
    EXPECT_EQ(Boxes(), "");
    ASSERT_TRUE(PutMemoryFile(u"/a.csv", theirs));
    Type("A1", "third");
    Save();  // answered with No
    EXPECT_EQ(Boxes(), "/a.csv 已被其他程序更改。要覆盖它吗？;");
    EXPECT_EQ(Headless().boxes[0].flags & 0xFu, u32{MB_YESNO});
    EXPECT_NE(Headless().boxes[0].flags & MB_DEFBUTTON2, 0u);
    EXPECT_EQ(FindMemoryFile(u"/a.csv")->bytes[0], '2');
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    // Closing asks the same and keeps the book open.
    AnswerBox(IDYES);
    EXPECT_TRUE(CloseBook(CurrentBook(), CLOSE_ASK));
    EXPECT_EQ(Headless().boxes.Count(), 3u);
    EXPECT_EQ(FindMemoryFile(u"/a.csv")->bytes[0], '2');
    AnswerBox(IDYES);
    Save();
    EXPECT_EQ(FindMemoryFile(u"/a.csv")->bytes.Count(), 7u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    EXPECT_EQ(Headless().boxes.Count(), 4u);
    // Under another name nothing is lost.
    ASSERT_TRUE(PutMemoryFile(u"/a.csv", theirs));
    AnswerDialog(u"/b.csv", 3);
    SaveAs();
    EXPECT_EQ(Headless().boxes.Count(), 4u);
    EXPECT_EQ(FindMemoryFile(u"/a.csv")->bytes[0], '2');
}

TEST_F(SaveCommands, ClosingSavesWhenAskedTo) {
    Type("A1", "kept");
    AnswerBox(IDYES);
    AnswerDialog(u"/kept.xls");
    CloseFrame();
    EXPECT_TRUE(HeadlessFrame().hasQuit);
    ASSERT_TRUE(OpenFile(u"/kept.xls", OPEN_SILENT_LINKS));
    EXPECT_EQ(Shown("A1"), "kept");
}

TEST_F(SaveCommands, WhatTheFormCannotHoldIsAskedAboutOnceBeforeTheFileIsWritten) {
    Type("B2", "7");
    AnswerDialog(u"/first");
    SaveAs();
    const u32 written = FindMemoryFile(u"/first.xls")->bytes.Count();
    // A comment in the row above the one that is inserted stays; one below it would be elsewhere.
    const u8 note[] = {28, 0, 12, 0, 3, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0};
    ASSERT_TRUE(CarryBytes(CurrentSheet()->carried, SHEET_CELLS, 8, note));
    ASSERT_TRUE(MarkSheetsRead(*CurrentWorkbook()));
    ASSERT_TRUE(InsertRowsOrCellsDown({4, 4, 0, MAX_COLUMNS - 1}));
    Save();
    EXPECT_EQ(Boxes(), "");
    ASSERT_TRUE(InsertRowsOrCellsDown({1, 1, 0, MAX_COLUMNS - 1}));
    AnswerBox(IDNO);
    Save();
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Headless().boxes[0].flags & 0xFu, u32{MB_YESNO});
    EXPECT_NE(Headless().boxes[0].flags & MB_DEFBUTTON2, 0u);
    EXPECT_NE(Boxes().find("批注"), std::string::npos) << Boxes();
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    EXPECT_GE(FindMemoryFile(u"/first.xls")->bytes.Count(), written);
    AnswerBox(IDYES);
    Save();
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    Type("B3", "8");
    Save();
    EXPECT_EQ(Headless().boxes.Count(), 2u);
}

}  // namespace
}  // namespace tally
