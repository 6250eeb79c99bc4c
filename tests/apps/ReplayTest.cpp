#include "apps/TallyRun.h"

namespace tally {
namespace {

TEST_F(Tally, ReplayTypesSelectsAndLooks) {
    Put("s.txt",
        "\xEF\xBB\xBF# a road\r\n"
        "enter 1\r\n"
        "\r\n"
        "  enter =A1*2\n"
        "expect A2 2\n"
        "select A1\n"
        "type 21\n"
        "key Tab\n"
        "expect A2 42\n"
        "click C3\n"
        "type 中文 text\n"
        "key Enter\n"
        "drag A1 A2\n"
        "key Delete\n"
        "expect A2\n"
        "expect C3 中文 text\n"
        "show C3\n");
    const Outcome outcome = Run("replay s.txt --out out.csv");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    ASSERT_EQ(outcome.Lines().size(), 1u);
    EXPECT_EQ(outcome.Lines()[0]["cell"], "C3");
    EXPECT_EQ(Get("out.csv"), ",,\r\n,,\r\n,,中文 text\r\n");
}

TEST_F(Tally, ReplayTypesBlanksAtTheEndsAndKeysThatAreCharacters) {
    Put("s.txt",
        "enter   two before\n"
        "enter two behind  \r\n"
        "key a\n"
        "key Shift+B\n"
        "key Space\n"
        "key 7\n"
        "key Backspace\n"
        "key 9\n"
        "key Enter\n"
        "key Shift+Space\n"
        "key Delete\n"
        "key Ctrl+Home\n");
    const Outcome outcome = Run("replay s.txt --out out.csv");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(Get("out.csv"), "  two before\r\ntwo behind  \r\naB 9\r\n");
}

TEST_F(Tally, ReplayBeginsWithABookAndGoesToItsSheets) {
    PutBook("in.xls");
    Put("s.txt", "expect B1 6\nsheet Second\nexpect D3 here\nselect A1\nenter there\n");
    const Outcome outcome = Run("replay s.txt --book in.xls --out out.csv");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(Get("out.csv"), "there,,,\r\n,,,\r\n,,,here\r\n");
}

TEST_F(Tally, ReplayAnswersBoxesAndFileDialogs) {
    Put("s.txt",
        "box ok\n"
        "enter =1+\n"
        "key Escape\n"
        "enter 7\n"
        "file " +
            (folder / "saved.csv").string() + "\ncommand 114\n");
    const Outcome outcome = Run("replay s.txt");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, "tally: box: There is an error in the formula you entered\n");
    EXPECT_EQ(Get("saved.csv"), "7\r\n");
}

TEST_F(Tally, ReplayTellsTheLineThatFails) {
    const struct {
        const char* script;
        int status;
        const char* told;
    } rows[] = {
        {"enter 5\nexpect A1 6\n", 1,
         "tally: the cell shows: 5\ntally: s.txt:2: the cell shows something else\n"},
        {"\n# x\nfrob 1\n", 2, "tally: s.txt:3: unknown step frob\n"},
        {"key Hyper\n", 2, "tally: s.txt:1: no such key\n"},
        {"select 1A\n", 2, "tally: s.txt:1: no such cells\n"},
        {"sheet Nowhere\n", 1, "tally: s.txt:1: no such sheet\n"},
        {"command 1\n", 2, "tally: s.txt:1: no such command\n"},
        {"command x\n", 2, "tally: s.txt:1: no such command\n"},
        {"box maybe\n", 2, "tally: s.txt:1: a box is answered with ok, cancel, yes, no or retry\n"},
        {"form maybe\n", 2, "tally: s.txt:1: a form is answered with ok or cancel\n"},
        {"field x=1\n", 2, "tally: s.txt:1: a field stands behind a form, as NAME=VALUE\n"},
        {"click ZZ1\n", 2, "tally: s.txt:1: no such cell\n"},
    };
    for (const auto& row : rows) {
        Put("s.txt", row.script);
        const Outcome outcome = Run("replay s.txt");
        EXPECT_EQ(outcome.status, row.status) << row.script;
        EXPECT_EQ(outcome.output, row.told) << row.script;
    }
    EXPECT_EQ(Run("replay missing.txt").status, 3);
    EXPECT_EQ(Run("replay s.txt --out x.doc").status, 2);
}

}  // namespace
}  // namespace tally
