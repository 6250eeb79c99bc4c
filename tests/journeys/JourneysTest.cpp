// Journeys of a user through the desktop program, in a real window.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "journeys/Journey.h"
#include "support/BiffBuilder.h"

namespace tally::journeys {
namespace {

std::string SmallWorkbook() {
    BiffBuilder book;
    book.Globals({"First", "Second"});
    book.Bof(16).Number(0, 0, 10).Number(1, 0, 20).Label(2, 0, "sum").Eof();
    book.Bof(16).Label(0, 0, "other").Eof();
    const std::vector<u8> file = book.File();
    return {file.begin(), file.end()};
}

TEST_F(Journey, AWorkbookIsOpenedEditedWithKeysAndSaved) {
    WriteBytes(Scratch() + "book.xls", SmallWorkbook());
    StartProgram({Scratch() + "book.xls"});
    ASSERT_TRUE(WaitForTitle("Tallyman - book.xls"));
    Press({"Right"});
    Type("7");
    Press({"Tab"});  // B1, to C1
    Type("thrown away");
    Press({"Escape", "Down", "Down", "Left"});
    Type("=SUM(A1:A2)*B1");
    Press({"Return"});  // B3, to B4
    Press({"Up", "F2", "BackSpace", "BackSpace", "2", "Return"});
    Type("=A1");
    Press({"BackSpace", "BackSpace", "Up", "Return"});  // a reference written with the arrow: B3
    Press({"ctrl+s"});
    Exit();
    const Output converted =
        RunTool({TALLY_PROGRAM, "convert", Scratch() + "book.xls", Scratch() + "book.csv"});
    EXPECT_EQ(converted.code, 0);
    EXPECT_EQ(SavedText(Scratch() + "book.csv"), "10,7\r\n20,\r\nsum,60\r\n,60\r\n");
}

TEST_F(Journey, TheMouseSelectsAndTheWheelScrolls) {
    StartWithText("before.csv", "x\r\n");
    Drag(MIDDLE_X, MIDDLE_Y, MIDDLE_X, MIDDLE_Y + 2 * ROW_HEIGHT);
    Type("1");
    Press({"ctrl+Return"});
    Wheel(MIDDLE_X, MIDDLE_Y, -10);
    Click(MIDDLE_X, MIDDLE_Y);
    Type("2");
    Press({"Return"});
    const std::string text = SaveAsText("mouse.csv");
    const std::size_t one = text.find('1');
    ASSERT_NE(one, std::string::npos) << text;
    const auto linesBefore = [&](std::size_t at) {
        return std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
    };
    EXPECT_EQ(std::count(text.begin(), text.end(), '1'), 3);
    EXPECT_EQ(linesBefore(text.rfind('1')) - linesBefore(one), 2);
    EXPECT_EQ(linesBefore(text.find('2')) - linesBefore(one), 10);
    EXPECT_EQ(text[0], 'x');
    Exit();
}

TEST_F(Journey, ATabShowsItsSheetAndTextIsSavedOfTheSheetThatIsShown) {
    StartWithText("one.csv", "first\r\n");
    PickFromMenu("alt+i", "w");
    Type("other");
    Press({"Return"});
    EXPECT_EQ(SaveAsText("second.csv", true), "other\r\n");
    Click(FIRST_TAB_X, TABS_Y);
    EXPECT_EQ(SaveAsText("again.csv", true), "first\r\n");
    Exit();
}

TEST_F(Journey, AFileIsOpenedFromTheMenuAndClosingAsksWhetherToSave) {
    WriteBytes(Scratch() + "list.csv", "apple,3\r\npear,4\r\n");
    StartProgram({});
    ASSERT_TRUE(WaitForTitle("Tallyman - Book1"));
    Press({"ctrl+o"});
    ASSERT_TRUE(ChoosePath("打开", Scratch() + "list.csv"));
    ASSERT_TRUE(WaitForTitle("Tallyman - list.csv"));
    Press({"Down", "Down"});
    Type("plum");
    Press({"Return"});
    PickFromMenu("alt+f", "x");
    ASSERT_TRUE(WaitForTitle("Tallyman"));
    Press({"Escape"});  // Cancel: the book stays
    ASSERT_TRUE(WaitForTitle("Tallyman - list.csv"));
    PickFromMenu("alt+f", "x");
    ASSERT_TRUE(WaitForTitle("Tallyman"));
    Press({"y"});
    EXPECT_EQ(ProgramEnd(), 0);
    EXPECT_EQ(SavedText(Scratch() + "list.csv"), "apple,3\r\npear,4\r\nplum,\r\n");
}

TEST_F(Journey, WhatAKilledProgramHadNotSavedIsOfferedByTheNext) {
    StartWithText("kept.csv", "apple,3\r\n");
    Press({"Down"});
    Type("plum");
    Press({"Return"});
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    KillProgram();
    EXPECT_EQ(SavedText(Scratch() + "kept.csv"), "apple,3\r\n");
    StartProgram({});
    ASSERT_TRUE(WaitForTitle("未保存的工作簿"));
    Press({"Return"});
    ASSERT_TRUE(WaitForTitle("Tallyman - kept.csv（已恢复）"));
    Press({"ctrl+s"});
    ASSERT_TRUE(WaitForTitle("Tallyman - kept.csv"));
    EXPECT_EQ(SavedText(Scratch() + "kept.csv"), "apple,3\r\nplum,\r\n");
    Exit();
    // Nothing is left to offer.
    StartProgram({});
    ASSERT_TRUE(WaitForTitle("Tallyman - Book1"));
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(Title(), "Tallyman - Book1");
    Exit();
}

TEST_F(Journey, SeveralFilesOpenAndTheLastIsShown) {
    WriteBytes(Scratch() + "one.csv", "1\r\n");
    WriteBytes(Scratch() + "two.csv", "2\r\n");
    StartProgram({Scratch() + "one.csv", Scratch() + "two.csv"});
    ASSERT_TRUE(WaitForTitle("Tallyman - two.csv"));
    Press({"ctrl+Tab"});
    ASSERT_TRUE(WaitForTitle("Tallyman - one.csv"));
    Exit();
}

TEST(WithoutADisplay, TheProgramTellsOfItself) {
    const std::string without =
        "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM TALLYMAN_LANGUAGE=en " TALLYMAN_PROGRAM;
    const Output help = RunTool({"sh", "-c", without + " --help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.text.find("tallyman [FILE...]"), std::string::npos);
    const Output version = RunTool({"sh", "-c", without + " --version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.text.rfind("tallyman ", 0), 0u);
}

TEST(WithoutADisplay, OneThatCannotBeOpenedIsALineAndAStatus) {
    const Output output = RunTool(
        {"sh", "-c",
         "env -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM TALLYMAN_LANGUAGE=en DISPLAY=:7654 " TALLYMAN_PROGRAM
         " 2>&1"});
    EXPECT_EQ(output.code, 1);
    EXPECT_EQ(output.text, "tallyman: the display cannot be opened.\n");
}

TEST(WithoutADisplay, TheProgramSaysSoInOneLineAndEnds) {
    const struct {
        const char *language, *reason;
    } rows[] = {{"TALLYMAN_LANGUAGE=en", "no display"}, {"TALLYMAN_LANGUAGE=zh", "没有显示器"}};
    for (const auto& row : rows) {
        const Output output = RunTool({"env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "-u", "QT_QPA_PLATFORM",
                                       row.language, "sh", "-c", std::string(TALLYMAN_PROGRAM) + " 2>&1"});
        EXPECT_EQ(output.code, 1);
        EXPECT_EQ(std::count(output.text.begin(), output.text.end(), '\n'), 1) << output.text;
        EXPECT_NE(output.text.find(row.reason), std::string::npos) << output.text;
        EXPECT_NE(output.text.find(" tally "), std::string::npos) << output.text;
    }
}

}  // namespace
}  // namespace tally::journeys
