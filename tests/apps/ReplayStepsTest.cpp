#include "apps/TallyRun.h"

namespace tally {
namespace {

class ReplaySteps : public Tally {
  protected:
    void Check(const std::string& script, const std::string& arguments = {}) const {
        Put("s.txt", script);
        const Outcome outcome = Run("replay s.txt " + arguments);
        EXPECT_EQ(outcome.status, 0) << script;
        EXPECT_EQ(outcome.output, "") << script;
    }
};

// Where each key goes from C30 when A1, A2 and E50 hold something.
TEST_F(ReplaySteps, KeysMoveTheActiveCell) {
    const char* keys[][2] = {{"Left", "B30"},      {"Right", "D30"},         {"Up", "C29"},
                             {"Down", "C31"},      {"Home", "A30"},          {"Tab", "D30"},
                             {"Enter", "C31"},     {"Shift+Enter", "C29"},   {"Shift+Tab", "B30"},
                             {"Ctrl+Home", "A1"},  {"Ctrl+End", "E50"},      {"Ctrl+Right", "IV30"},
                             {"Ctrl+Left", "A30"}, {"Ctrl+Up", "C1"},        {"Ctrl+Down", "C65536"},
                             {"Escape", "C30"},    {"Ctrl+Backspace", "C30"}};
    std::string script = "enter 1\nenter 2\nselect E50\nenter q\n";
    for (const auto& key : keys)
        script += std::string("select C30\nkey ") + key[0] + "\nenter x\nexpect " + key[1] + " x\nselect " +
                  key[1] + "\nkey Delete\nexpect " + key[1] + "\nselect E50\nenter q\nselect A1\nenter 1\n";
    Check(script);
}

TEST_F(ReplaySteps, PagesDownAndUpEndWhereTheyBegan) {
    Check(
        "select C30\nkey PageDown\nkey PageUp\nenter x\nexpect C30 x\n"
        "select C300\nkey PageUp\nenter y\nexpect C300\nselect C300\nkey PageDown\nenter z\nexpect C300\n");
}

TEST_F(ReplaySteps, KeysEditTheEntry) {
    Check(
        "type ab\nkey Backspace\nkey Enter\nexpect A1 a\n"
        "select A1\nkey F2\ntype b\nkey Enter\nexpect A1 ab\n"
        "select A1\nkey F2\nkey Home\ntype c\nkey End\ntype d\nkey Enter\nexpect A1 cabd\n"
        "select A1\ntype zzz\nkey Escape\nexpect A1 cabd\n"
        "select A1\nkey Delete\nexpect A1\n");
}

TEST_F(ReplaySteps, KeysWithModifiersCopyPasteAndUndo) {
    Check(
        "enter 5\nselect A1\nkey Ctrl+c\nselect B2\nkey Ctrl+V\nexpect B2 5\n"
        "key Ctrl+z\nexpect B2\n"
        "select A1\nkey Ctrl+Insert\nselect B3\nkey Shift+Insert\nexpect B3 5\n"
        "select A1\nkey Ctrl+x\nselect C1\nkey Ctrl+v\nexpect A1\nexpect C1 5\n"
        "select A1\nenter 1\nenter 2\nkey Alt+=\nkey Enter\nexpect A3 3\n");
    Check("key Ctrl+;\nkey Enter\nexpect A1 2/3/2020\nkey Ctrl+.\nkey Enter\nexpect A2 4:05:00\n",
          "--date 2020-02-03T04:05:06 --locale en-US");
}

TEST_F(ReplaySteps, F9CalculatesAnew) {
    Put("s.txt", "enter =RAND()\nshow A1\nshow A1\nkey F9\nshow A1\n");
    const std::vector<Json> lines = Run("replay s.txt").Lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0]["value"], lines[1]["value"]);
    EXPECT_NE(lines[0]["value"], lines[2]["value"]);
}

TEST_F(ReplaySteps, TheMouseClicksAndDrags) {
    Check(
        "click B2\nenter 1\nclick Shift+C4\nenter x\nexpect B2 1\nexpect B3 x\n"
        "drag B2 C3\nkey Delete\nexpect B2\nexpect B3\n"
        "click IV65536\nenter far\nexpect IV65536 far\n"
        "select A1:B2\nkey Delete\nenter 1\nenter 2\nenter 3\nenter 4\n"
        "expect A1 1\nexpect A2 2\nexpect B1 3\nexpect B2 4\n");
}

TEST_F(ReplaySteps, BoxesTakeEveryAnswer) {
    for (const char* answer : {"ok", "cancel", "yes", "no", "retry"}) {
        Put("s.txt", std::string("box ") + answer + "\nenter =1+\nkey Escape\n");
        EXPECT_EQ(Run("replay s.txt").output, "tally: box: There is an error in the formula you entered\n")
            << answer;
    }
}

TEST_F(ReplaySteps, FormsAreFilledInAndEnded) {
    PutBook("in.xls");
    Put("s.txt", "form ok\nfield 0=Renamed\ncommand 400\n");
    EXPECT_EQ(Run("replay s.txt --book in.xls --out b.xls").output, "");
    EXPECT_EQ(Run("sheets b.xls").Lines().at(0)["name"], "Renamed");
    Put("s.txt", "form cancel\nfield 0=Renamed\ncommand 400\n");
    EXPECT_EQ(Run("replay s.txt --book in.xls --out b.xls").output, "");
    EXPECT_EQ(Run("sheets b.xls").Lines().at(0)["name"], "First");
    Put("s.txt", "form ok\nfield none=Renamed\ncommand 400\n");
    const Outcome outcome = Run("replay s.txt --book in.xls --out c.xls");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("tally: s.txt:3: the form does not take a field's value"), std::string::npos)
        << outcome.output;
    EXPECT_FALSE(fs::exists(folder / "c.xls"));
}

TEST_F(ReplaySteps, FileDialogsTakeAPathAndARowOfTheirTypes) {
    PutBook("in.xls");
    const std::string out = (folder / "saved file.txt").string();
    Check("enter 7\nfile " + out + "\ncommand 114\n");
    EXPECT_EQ(Get("saved file.txt"), "7\r\n");
    Check("enter 8\nfile 7 " + (folder / "kept").string() + "\nfile " + out + "\ncommand 114\n");
    EXPECT_EQ(Get("saved file.txt"), "8\r\n");
}

TEST_F(ReplaySteps, SpacesLinesAndRemarksCountForNothing) {
    Check(
        "\n\r\n  \t \n# remark\n   # another\n\tenter\t5 \r\nexpect A1 5\nexpect A1   5\nenter a  b\nexpect A2 "
        "a  b");
}

TEST_F(ReplaySteps, WhatWasShownStandsInFrontOfTheFault) {
    Put("s.txt", "enter 5\nshow A1\nfrob\n");
    const Outcome outcome = Run("replay s.txt");
    EXPECT_EQ(outcome.output.find("tally: s.txt:3: unknown step frob\n"), outcome.output.find('\n') + 1);
    EXPECT_EQ(outcome.Lines().at(0)["value"], 5);
}

// Without a book there is nothing to go to and nothing to look at.
TEST_F(ReplaySteps, StepsNeedABook) {
    const struct {
        const char* step;
        const char* told;
    } rows[] = {{"sheet Sheet1", "no such sheet"}, {"select A1", "no such cells"},
                {"click A1", "no such cell"},      {"expect A1 x", "no such cell"},
                {"show A1", "no such cells"},      {"drag A1 A2", "no such cell"}};
    for (const auto& row : rows) {
        Put("s.txt", "command 112\n" + std::string(row.step) + "\n");
        EXPECT_EQ(Run("replay s.txt").output, "tally: s.txt:2: " + std::string(row.told) + "\n") << row.step;
    }
}

TEST_F(ReplaySteps, AFaultNamesItsLine) {
    const struct {
        const char* script;
        int status;
        const char* told;
    } rows[] = {
        {"expect\n", 2, "tally: s.txt:1: no such cell\n"},
        {"expect A1:B2 x\n", 2, "tally: s.txt:1: no such cell\n"},
        {"show Q\n", 2, "tally: s.txt:1: no such cells\n"},
        {"drag A1 ZZ9\n", 2, "tally: s.txt:1: no such cell\n"},
        {"drag ZZ9 A1\n", 2, "tally: s.txt:1: no such cell\n"},
        {"drag A1\n", 2, "tally: s.txt:1: no such cell\n"},
        {"key\n", 2, "tally: s.txt:1: no such key\n"},
        {"key Ctrl+\n", 2, "tally: s.txt:1: no such key\n"},
        {"key ctrl+a\n", 2, "tally: s.txt:1: no such key\n"},
        {"key @\n", 2, "tally: s.txt:1: no such key\n"},
        {"key [\n", 2, "tally: s.txt:1: no such key\n"},
        {"key {\n", 2, "tally: s.txt:1: no such key\n"},
        {"key /\n", 2, "tally: s.txt:1: no such key\n"},
        {"key :\n", 2, "tally: s.txt:1: no such key\n"},
        {"command\n", 2, "tally: s.txt:1: no such command\n"},
        {"command 144x\n", 2, "tally: s.txt:1: no such command\n"},
        {"command 401\n", 1, "tally: s.txt:1: the command is grey\n"},
        {"form ok\nfield x\n", 2, "tally: s.txt:2: a field stands behind a form, as NAME=VALUE\n"},
        {"Enter 5\n", 2, "tally: s.txt:1: unknown step Enter\n"},
        {"ente 5\n", 2, "tally: s.txt:1: unknown step ente\n"},
    };
    for (const auto& row : rows) {
        Put("s.txt", row.script);
        const Outcome outcome = Run("replay s.txt");
        EXPECT_EQ(outcome.status, row.status) << row.script;
        EXPECT_EQ(outcome.output, row.told) << row.script;
    }
    EXPECT_EQ(Run("replay missing.txt").output, "tally: missing.txt: no such file\n");
    EXPECT_EQ(Run("replay s.txt --book missing.xls").status, 3);
    Put("s.txt", "enter 1\n");
    EXPECT_EQ(Run("replay s.txt --out none/x.csv").status, 3);
}

}  // namespace
}  // namespace tally
