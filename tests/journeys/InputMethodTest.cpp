// A real input method and keys that compose, in a real window.

#include <chrono>
#include <thread>

#include "journeys/Journey.h"

namespace tally::journeys {
namespace {

class ChineseJourney : public Journey {
  protected:
    static void SetUpTestSuite() {
        Journey::SetUpTestSuite();
        std::string missing;
        if (!IsOpen()) return;
        if (!OpenBus(missing)) noBus_ = missing;
        else ASSERT_TRUE(OpenInputMethod("libpinyin"));
    }
    static void TearDownTestSuite() {
        CloseInputMethod();
        Journey::TearDownTestSuite();
    }
    void SetUp() override {
        Journey::SetUp();
        if (!IsSkipped() && !noBus_.empty()) GTEST_SKIP() << "No input method; missing: " << noBus_;
        if (!IsSkipped()) StartWithText("in.csv", "x\r\n");
    }
    // Letter by letter, each of which is seen before the next: the mouse does not go through the input method
    // and would overtake them.
    static void Compose(const std::string& letters) {
        for (const char letter : letters) {
            const Picture before = Screen();
            Press({std::string(1, letter)});
            ASSERT_TRUE(WaitForOtherPicture(before)) << letters << " at " << letter;
        }
    }
    // Saves the book as it is and ends the program.
    static std::string Saved() {
        Press({"ctrl+s"});
        Exit();
        return SavedText(Scratch() + "in.csv");
    }

  private:
    static inline std::string noBus_;
};

TEST_F(ChineseJourney, PinyinIsTypedStraightOntoCells) {
    Press({"Down"});
    Type("nihao ");
    Press({"Return"});
    Type("zhongguo ");
    Press({"Tab"});
    Type("beijing shanghai ");
    Press({"Return"});
    EXPECT_EQ(Saved(), "x,\r\n你好,\r\n中国,北京上海\r\n");
}

TEST_F(ChineseJourney, PinyinIsTypedInTheEntryLine) {
    Press({"F2"});
    Type("nihao ");
    Press({"Home"});
    Type("zhongguo ");
    Press({"Return"});
    // What began with a digit goes on with words.
    Type("12");
    Type("nihao ");
    Type("34");
    Press({"Return"});
    EXPECT_EQ(Saved(), "中国x你好\r\n12你好34\r\n");
}

TEST_F(ChineseJourney, EscapeGivesUpWhatIsUnfinishedAndThenTheEntry) {
    Press({"Down"});
    Type("nihao");
    Press({"Escape"});
    Type("zhongguo ");  // still the same entry
    Press({"Return"});
    Type("nihao");
    Press({"Escape", "Escape", "Down"});  // no entry is left: an arrow moves on
    Type("beijing ");
    Press({"Return"});
    Type("1");
    Type("nihao");
    Press({"Escape"});
    Type("2");
    Press({"Return"});
    Type("1");
    Type("nihao");
    Press({"Escape", "Escape"});
    Type("zhongguo ");
    Press({"Return"});
    EXPECT_EQ(Saved(), "x\r\n中国\r\n\r\n北京\r\n12\r\n中国\r\n");
}

// What is unfinished stays as it was seen, once, and where it was typed.
TEST_F(ChineseJourney, AClickOnTheGridEndsACompositionAndTheEntry) {
    Press({"Down"});
    Compose("nihao");
    Click(FIRST_COLUMN_X, RowY(3));
    Type("zhongguo ");
    Press({"Return"});
    Type("1");
    Compose("nihao");
    Click(FIRST_COLUMN_X, RowY(6));
    Type("beijing ");
    Press({"Return"});
    EXPECT_EQ(Saved(), "x\r\n你好\r\n中国\r\n1你好\r\n\r\n北京\r\n");
}

// A click in the line goes on with the entry.
TEST_F(ChineseJourney, AClickInTheLineEndsTheCompositionAlone) {
    Press({"Down"});
    Compose("nihao");
    Click(MIDDLE_X, ENTRY_LINE_Y);
    Type("zhongguo ");
    Press({"Return"});
    EXPECT_EQ(Saved(), "x\r\n你好中国\r\n");
}

// Some input methods hold what was given up, and commit it when another window gets the keyboard.
TEST_F(ChineseJourney, WhatWasGivenUpDoesNotComeBack) {
    Press({"Down"});
    Compose("nihao");
    Press({"Escape", "Escape"});
    std::this_thread::sleep_for(std::chrono::seconds(1));  // the user looks for the next thing to do
    Press({"ctrl+o"});
    ASSERT_TRUE(WaitForTitle("打开"));
    Press({"Escape"});
    ASSERT_TRUE(WaitForTitle("Tallyman - in.csv"));
    Type("5");
    Press({"Return"});
    EXPECT_EQ(Saved(), "x\r\n5\r\n");
}

class DeadKeyJourney : public Journey {
  protected:
    void SetUp() override {
        Journey::SetUp();
        if (IsSkipped()) return;
        ASSERT_EQ(RunTool({"timeout", "20", "setxkbmap", "us", "-variant", "intl"}).code, 0);
        StartWithText("in.csv", "x\r\n");
    }
    // Key by key, each of which is seen before the next: what a dead key makes comes at once, and would
    // overtake keys that still wait for the program.
    static void PressSeen(const std::vector<std::string>& keys) {
        for (const std::string& key : keys) {
            const Picture before = Screen();
            Press({key});
            if (key.rfind("dead_", 0) != 0 && key != "F2" && key != "Escape") {
                ASSERT_TRUE(WaitForOtherPicture(before)) << key;
            }
        }
    }
};

TEST_F(DeadKeyJourney, AnAccentAndALetterAreOneLetter) {
    PressSeen({"Down", "dead_acute", "e", "t", "dead_acute", "e", "Return"});  // a cell that begins with it
    PressSeen({"n", "o", "dead_diaeresis", "e", "l", "Return", "Up"});         // one that goes on with it
    PressSeen({"F2", "x", "dead_grave", "a", "dead_circumflex", "space", "Return"});
    PressSeen({"dead_acute", "Escape", "o", "Return"});  // given up
    Press({"ctrl+s"});
    Exit();
    EXPECT_EQ(SavedText(Scratch() + "in.csv"), "x\r\nété\r\nnoëlxà^\r\no\r\n");
}

}  // namespace
}  // namespace tally::journeys
