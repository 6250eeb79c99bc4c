#pragma once
// What all journeys of a user have in common: a display around them, files and the end.

#include <gtest/gtest.h>

#include "journeys/Desk.h"

namespace tally::journeys {

class Journey : public testing::Test {
  protected:
    static void SetUpTestSuite() { open_ = OpenDisplay(missing_); }
    static void TearDownTestSuite() { CloseDisplay(); }
    void SetUp() override {
        if (!open_) GTEST_SKIP() << "No virtual display; missing: " << missing_;
        ForgetState();
    }
    void TearDown() override { StopProgram(); }

    // Ends a dialog of files with a path. The list of names that it offers while one types may take the first
    // Enter.
    static bool ChoosePath(const std::string& dialog, const std::string& path) {
        if (!WaitForTitle(dialog)) return false;
        Type(path);
        for (int tries = 0; tries < 10; ++tries) {
            Press({"Return"});
            if (WaitForOtherTitle(dialog)) return true;
        }
        return false;
    }
    // From the menu into a file of this name; the window's title tells the end. Of several sheets the program
    // asks whether the one shown is enough.
    static std::string SaveAsText(const std::string& name, bool severalSheets = false) {
        PickFromMenu("alt+f", "a");
        if (!ChoosePath("另存为", Scratch() + name)) return "no dialog to save in, but " + Title();
        if (severalSheets) {
            if (!WaitForTitle("Tallyman")) return "no question, but " + Title();
            Press({"Return"});
        }
        const std::string text = SavedText(Scratch() + name);
        return WaitForTitle("Tallyman - " + name) ? text : "the title is " + Title();
    }
    // A text file of this name, opened from the command line.
    static void StartWithText(const std::string& name, const std::string& text) {
        WriteBytes(Scratch() + name, text);
        StartProgram({Scratch() + name});
        ASSERT_TRUE(WaitForTitle("Tallyman - " + name));
    }
    static void Exit() {
        PickFromMenu("alt+f", "x");
        EXPECT_EQ(ProgramEnd(), 0);
    }

    static bool IsOpen() { return open_; }

  private:
    static inline bool open_ = false;
    static inline std::string missing_;
};

// Places on the screen: the window fills it, with the sheet tabs over the status bar.
constexpr int MIDDLE_X = 500, MIDDLE_Y = 400;
constexpr int TABS_Y = SCREEN_HEIGHT - 29, FIRST_TAB_X = 50;
constexpr int ROW_HEIGHT = 17;
constexpr int ENTRY_LINE_Y = 57, FIRST_COLUMN_X = 50;
// The middle of a row of the grid, counted from 1, of a sheet that is not scrolled.
constexpr int RowY(int row) { return 93 + (row - 1) * ROW_HEIGHT; }

}  // namespace tally::journeys
