#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <thread>

#include "apps/TallyRun.h"

namespace tally {
namespace {

// What a form without formulas says of those that it was given.
const std::string told = "tally: not kept: formulas that the form does not know; their values stay\n";

TEST_F(Tally, EvalTellsTheValue) {
    const Outcome outcome = Run("eval '=1+1'");
    ASSERT_EQ(outcome.status, 0);
    const Json line = outcome.Lines().at(0);
    EXPECT_EQ(line, (Json{{"sheet", "Sheet1"},
                          {"cell", "A1"},
                          {"formula", "=1+1"},
                          {"type", "number"},
                          {"value", 2},
                          {"text", "2"},
                          {"format", "General"}}));
    EXPECT_EQ(Run("eval '=ROW(C7)' --cell B9").Lines().at(0)["cell"], "B9");
    EXPECT_EQ(Run("eval 'SUM(1,2)'").Lines().at(0)["value"], 3);
    EXPECT_EQ(Run("eval '=1/3'").Lines().at(0)["value"].get<double>(), 1.0 / 3);
    EXPECT_EQ(Run("eval '=1,5+1' --locale de-DE").Lines().at(0)["text"], "2,5");
    EXPECT_EQ(Run("eval '=1/0'").Lines().at(0)["type"], "error");
}

TEST_F(Tally, SheetsAreListed) {
    PutBook("a.xls");
    const std::vector<Json> lines = Run("sheets a.xls").Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], (Json{{"index", 0},
                              {"name", "First"},
                              {"kind", "worksheet"},
                              {"hidden", 0},
                              {"rows", 2},
                              {"columns", 2}}));
    EXPECT_EQ(lines[1]["rows"], 3);
    EXPECT_EQ(lines[1]["columns"], 4);
}

TEST_F(Tally, CellsAreListedInOrder) {
    PutBook("a.xls");
    const std::vector<Json> lines = Run("cells a.xls").Lines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0]["cell"], "A1");
    EXPECT_FALSE(lines[0].contains("formula"));
    EXPECT_EQ(lines[1]["formula"], "=A1*3");
    EXPECT_EQ(lines[3]["sheet"], "Second");
    EXPECT_EQ(Run("cells a.xls --sheet Second").Lines().size(), 1u);
    EXPECT_EQ(Run("cells a.xls --recalculate").Lines()[2]["value"], 2);
}

TEST_F(Tally, VerifyFindsWhatDiffers) {
    PutBook("a.xls");
    const std::vector<Json> lines = Run("verify a.xls").Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0],
              (Json{{"sheet", "First"}, {"cell", "B2"}, {"formula", "=A1"}, {"saved", 9}, {"computed", 2}}));
    EXPECT_EQ(lines[1], (Json{{"formulas", 2}, {"equal", 1}, {"different", 1}, {"volatile", 0}, {"kept", 0}}));
    Put("v.csv", "=RAND(),=A1+1\n");
    EXPECT_EQ(Run("verify v.csv").Lines().back()["different"], 0);
}

TEST_F(Tally, ListsEveryFunctionWithItsState) {
    const std::vector<Json> lines = Run("functions").Lines();
    ASSERT_EQ(lines.size(), 832u);
    std::map<std::string, Json> rows;
    for (const Json& line : lines) rows[line.at("name")] = line;
    EXPECT_EQ(rows["PMT"]["category"], "financial");
    EXPECT_EQ(rows["PMT"]["signature"], "VVvvv");
    EXPECT_EQ(rows["PMT"]["hint"], "rate, term, [pv], [fv], [type]");
    EXPECT_EQ(rows["PMT"]["state"], "works");
    EXPECT_EQ(rows["NOW"]["hint"], "");
    EXPECT_EQ(rows["FALSE"]["state"], "works");
    EXPECT_EQ(rows["NA"]["state"], "works");
    EXPECT_EQ(rows["LEFTB"]["state"], "#N/A");
    EXPECT_EQ(rows["ADD.MENU"]["state"], "FALSE");
    EXPECT_EQ(rows["REGRESS"]["category"], "macro commands");
}

TEST_F(Tally, TheDocumentOfFunctionsIsUpToDate) {
    std::ifstream in(TALLY_DOCUMENTS "/functions.md", std::ios::binary);
    const std::string document{std::istreambuf_iterator<char>(in), {}};
    EXPECT_TRUE(Run("functions --document").output == document)
        << "make it anew: tally functions --document > docs/functions.md";
}

TEST_F(Tally, ConvertsFilesAndStandardStreams) {
    PutBook("a.xls");
    EXPECT_EQ(Run("convert a.xls out.csv").status, 0);
    EXPECT_EQ(Get("out.csv"), "2,6\r\n,9\r\n");
    EXPECT_EQ(Run("convert a.xls out.txt --sheet Second").status, 0);
    EXPECT_EQ(Get("out.txt"), "\r\n\r\n\t\t\there\r\n");
    Put("in.csv", "1,2");
    EXPECT_EQ(Run("convert --from csv --to txt - - < in.csv").output, "1\t2\r\n");
    EXPECT_EQ(Run("convert a.xls - --to csv --recalculate").output,
              "2,6\r\n,2\r\ntally: not kept: formulas that the form does not know; their values stay, all "
              "sheets but one\n");
}

TEST_F(Tally, ConvertsToBothFormsOfWorkbooks) {
    PutBook("a.xls");
    const std::string cells = Run("cells a.xls").output;
    EXPECT_EQ(Run("convert a.xls b.xls").output, "");
    EXPECT_EQ(Run("cells b.xls").output, cells);
    EXPECT_EQ(Run("convert b.xls c.xlt --form 95").output, "");
    Run("convert c.xlt d.xls");  // the form of the book that was read
    EXPECT_EQ(Run("cells d.xls").output, cells);
    Run("convert d.xls e.xls --form 97");
    Run("convert e.xls f.xls");
    EXPECT_EQ(Run("cells f.xls").output, cells);
    EXPECT_EQ(Get("e.xls"), Get("b.xls"));
    EXPECT_EQ(Get("e.xls"), Get("f.xls"));
    EXPECT_NE(Get("e.xls"), Get("d.xls"));
    EXPECT_EQ(Run("convert a.xls - --to xls > g.xls").status, 0);
    EXPECT_EQ(Get("g.xls"), Get("b.xls"));
}

// A book goes from every form into every other one and back; text holds the values of one sheet.
TEST_F(Tally, ConvertsEveryFormIntoEveryOther) {
    PutBook("start.xls");
    const std::string forms[] = {"xls", "xlt", "pxl", "pxt", "csv", "txt"};
    for (const std::string& from : forms) {
        const std::string source = "from-" + from + "." + from;
        const bool text = from == "csv" || from == "txt";
        ASSERT_EQ(Run("convert start.xls " + source).status, 0);
        for (const std::string& to : forms) {
            const std::string target = from + "-" + to + "." + to;
            const Outcome outcome = Run("convert " + source + " " + target);
            EXPECT_EQ(outcome.status, 0) << target << outcome.output;
            EXPECT_EQ(Run("convert " + target + " - --to csv").output.substr(0, 9), "2,6\r\n,9\r\n") << target;
            if (text || to == "csv" || to == "txt") continue;
            EXPECT_EQ(outcome.output, "") << target;
            const std::vector<Json> lines = Run("cells " + target).Lines();
            ASSERT_EQ(lines.size(), 4u) << target;
            EXPECT_EQ(lines[1]["formula"], "=A1*3") << target;
            EXPECT_EQ(lines[3]["sheet"], "Second") << target;
            EXPECT_EQ(lines[3]["text"], "here") << target;
        }
    }
    EXPECT_EQ(Run("convert start.xls - --to pxl > s.pxl").status, 0);
    EXPECT_EQ(Run("convert --from pxl --to txt - - < s.pxl").output.substr(0, 9), "2\t6\r\n\t9\r\n");
}

TEST_F(Tally, WhatAFormCannotHoldIsNamed) {
    Put("a.csv", "1,=ASC(\"x\")\n");
    const Outcome outcome = Run("convert a.csv a.pxl");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "tally: not kept: formulas that the form does not know; their values stay\n");
}

TEST_F(Tally, FailuresHaveTheirStatusAndOneLine) {
    PutBook("a.xls");
    Put("bad.xls", "no book");
    fs::create_directory(folder / "folder.xls");
    struct Row {
        const char* arguments;
        int status;
        const char* part;
    };
    const Row rows[] = {
        {"", 2, "tally:"},
        {"nonsense", 2, "tally:"},
        {"eval", 2, "FORMULA"},
        {"eval =1 --cell A0", 2, "--cell"},
        {"eval =1 --locale xx", 2, "--locale"},
        {"eval =1 --code-page 77", 2, "--code-page"},
        {"eval =1 --date tomorrow", 2, "--date"},
        {"eval '=SUM('", 1, "There is an error in the formula you entered"},
        {"sheets none.xls", 3, "none.xls: no such file"},
        {"sheets bad.xls", 1, "bad.xls: it is not a workbook"},
        {"sheets folder.xls", 3, "folder.xls: it is a directory"},
        {"sheets /dev/null.csv", 3, "no such file"},
        {"sheets a.doc", 1, "File type not recognised"},
        {"cells a.xls --sheet Third", 1, "Third"},
        {"convert a.xls out.pdf", 2, "xls, xlt, pxl, pxt, csv or txt"},
        {"convert a.xls out.xls --form 96", 2, "97 or 95"},
        {"convert a.xls none/out.csv", 3, "Unable to open output file"},
        {"convert - out.csv", 2, "--from"},
        {"convert a.xls -", 2, "--to"},
    };
    for (const Row& row : rows) {
        const Outcome outcome = Run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << row.arguments << ": " << outcome.output;
        EXPECT_NE(outcome.output.find(row.part), std::string::npos) << row.arguments << ": " << outcome.output;
        EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1) << outcome.output;
    }
    EXPECT_EQ(Run("sheets a.xls > /dev/full").status, 3);
}

#if !defined(__SANITIZE_ADDRESS__)
// The more memory the further each comes; none ends in another way than with its output or with one line.
TEST_F(Tally, WithoutMemoryThereIsNoOutputAndOneLine) {
    std::string cells;
    for (i32 i = 0; i < 4; ++i) cells += "\"=REPT(\"\"x\"\",5000000)\"\n";
    Put("in.csv", cells);
    u32 refused = 0, done = 0;
    for (const i32 limit : {60000, 90000, 110000, 140000, 800000}) {
        const std::string before = "sh -c 'ulimit -v " + std::to_string(limit) + "; exec \"$0\" \"$@\"' ";
        for (const char* command : {"convert in.csv out.csv", "convert in.csv out.xls",
                                    "eval '=REPT(\"x\",5000000)'", "cells in.csv"}) {
            for (const char* name : {"out.csv", "out.xls"}) fs::remove(folder / name);
            const Outcome outcome = Run(command, before);
            if (outcome.status == 127) continue;  // not even loaded
            done += outcome.status == 0;
            if (outcome.status == 0) continue;
            ++refused;
            EXPECT_EQ(outcome.status, 3) << command << " " << limit << outcome.output;
            // Behind what was written before, a line for each cell.
            const std::size_t line = outcome.output.find("tally: ");
            ASSERT_NE(line, std::string::npos) << command << " " << limit;
            EXPECT_EQ(outcome.output.find('\n', line), outcome.output.size() - 1) << command << " " << limit;
            if (command[0] != 'c' || command[1] != 'e') EXPECT_EQ(line, 0u) << command << " " << limit;
            for (const char* name : {"out.csv", "out.xls"}) EXPECT_FALSE(fs::exists(folder / name)) << name;
        }
    }
    EXPECT_GT(refused, 2u);
    EXPECT_GE(done, 4u);
}
#endif

TEST_F(Tally, WhatTakesTooManyStepsIsToldAndKeepsItsValue) {
    Put("in.csv", "1,=SUMPRODUCT(A2:CV65536*1),=B1+1,=A1+1\n");
    const Outcome outcome = Run("convert in.csv out.csv");
    EXPECT_EQ(outcome.status, 1);
    const std::string line =
        "tally: 2 formulas take too many steps or too much room and keep their old values\n";
    EXPECT_NE(outcome.output.find(line), std::string::npos) << outcome.output;
    EXPECT_EQ(Get("out.csv"), "1,,,2\r\n");
}

TEST_F(Tally, HelpAndVersionAreGood) {
    EXPECT_EQ(Run("--help").status, 0);
    EXPECT_EQ(Run("convert --help").status, 0);
    EXPECT_EQ(Run("--version").output.substr(0, 6), "tally ");
}

TEST_F(Tally, ALinkedBookIsReadOnlyWhenAsked) {
    Put("other.csv", "5\n");
    BiffBuilder b;
    b.Globals({"S"}, [](BiffBuilder& g) {
        g.Record(430, {{1, 2},   {10, 2},  {0, 1},   {1, 1},   {'o', 1}, {'t', 1}, {'h', 1},
                       {'e', 1}, {'r', 1}, {'.', 1}, {'c', 1}, {'s', 1}, {'v', 1}, {5, 2},
                       {0, 1},   {'o', 1}, {'t', 1}, {'h', 1}, {'e', 1}, {'r', 1}});
        g.Record(23, {{1, 2}, {0, 2}, {0, 2}, {0, 2}});
    });
    b.Bof(16).Formula(0, 0, {0x5A, 0, 0, 0, 0, 0, 0xC0}, 3).Eof();
    const std::vector<u8> bytes = b.File();
    Put("a.xls", std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(Run("convert a.xls - --to csv").output, "3\r\n" + told);
    EXPECT_EQ(Run("convert a.xls - --to csv --update-links").output, "5\r\n" + told);
}

// Whatever a file says, and whatever is asked of it: a pipe would hang the program, a device fill the memory.
TEST_F(Tally, NoRoadOpensAnotherFileUnasked) {
    ASSERT_EQ(mkfifo((folder / "pipe.csv").c_str(), 0666), 0);
    fs::create_symlink("/dev/zero", folder / "device.csv");
    Put("other.csv", "5,6\n");
    for (const std::string other : {"pipe", "device", "other"}) {
        const std::string reference = "[" + other + ".csv]" + other + "!A1";
        Put("a.csv", "\"=INDIRECT(\"\"" + reference + "\"\")\",=" + reference + "\n");
        Put("a.replay", "enter =INDIRECT(\"" + reference + "\")\nkey F9\nenter =" + reference + "\n");
        EXPECT_EQ(Run("convert a.csv linked.xls").status, 0);
        const std::string roads[] = {"sheets a.csv",
                                     "cells a.csv",
                                     "cells a.csv --recalculate",
                                     "cells linked.xls",
                                     "verify a.csv",
                                     "verify linked.xls",
                                     "convert a.csv out.xls",
                                     "convert linked.xls - --to csv --recalculate",
                                     "convert linked.xls out.csv --trust",
                                     "eval '=INDIRECT(\"" + reference + "\")'",
                                     "eval '=" + reference + "' --book linked.xls",
                                     "replay a.replay --book linked.xls --out out.xls"};
        for (const std::string& road : roads) {
            const Outcome closed = Run(road, "timeout 20 ");
            EXPECT_NE(closed.status, 124) << road;
            EXPECT_EQ(closed.output.find("\"value\":5"), std::string::npos) << closed.output;
            EXPECT_EQ(closed.output.find("5,"), std::string::npos) << closed.output;
            // With the user's yes plain files are read, and only those.
            const Outcome open = Run(road + " --update-links", "timeout 20 ");
            EXPECT_NE(open.status, 124) << road;
        }
        EXPECT_EQ(Run("convert a.csv - --to csv --update-links", "timeout 20 ").output,
                  (other == "other" ? "5,5\r\n" : "#REF!,#REF!\r\n") + told);
    }
}

TEST_F(Tally, ErrorLinesShowControlCharactersAndForeignBytesEscaped) {
    EXPECT_EQ(Run("sheets 'a\x1B[31m\nb\xFF.csv'").output, "tally: a\\x1B[31m\\x0Ab\\xFF.csv: no such file\n");
    EXPECT_EQ(Run("convert --from csv - 'none/\x07.csv' < /dev/null").output,
              "tally: Unable to open output file none/\\x07.csv\n");
}

TEST_F(Tally, AFileWhoseNameIsNotUtf8IsReadAndWritten) {
    Put("caf\xE9.csv", "1,2\n");
    EXPECT_EQ(Run("convert 'caf\xE9.csv' 'sp\xE4t\xFF.xls'").output, "");
    EXPECT_TRUE(fs::exists(folder / "sp\xE4t\xFF.xls"));
    EXPECT_EQ(Run("convert 'sp\xE4t\xFF.xls' - --to csv").output, "1,2\r\n");
}

// The script comes from a pipe, so that the file can be changed at a known time: the book is read before it.
TEST_F(Tally, AFileThatAnotherProgramChangedIsReplacedOnlyByForce) {
    ASSERT_EQ(mkfifo((folder / "script").c_str(), 0666), 0);
    struct Row {
        const char* out;
        int status;
        const char* content;
    };
    for (const Row& row : {Row{"book.csv", 3, "theirs"},
                           {"./book.csv", 3, "theirs"},
                           {"other.csv", 0, "theirs"},
                           {"book.csv --force", 0, "mine\r\n"}}) {
        Put("book.csv", "old");
        Outcome outcome;
        std::thread program([&] {
            outcome = Run("replay script --book book.csv --out " + std::string(row.out), "timeout 20 ");
        });
        const int pipe = open((folder / "script").c_str(), O_WRONLY);  // waits for the reader
        Put("book.csv", "theirs");
        const std::string script = "enter mine\n";
        EXPECT_EQ(write(pipe, script.data(), script.size()), static_cast<ssize_t>(script.size()));
        close(pipe);
        program.join();
        EXPECT_EQ(outcome.status, row.status) << row.out << outcome.output;
        EXPECT_EQ(Get("book.csv"), row.content) << row.out;
        if (row.status)
            EXPECT_NE(outcome.output.find("another program changed the file"), std::string::npos)
                << outcome.output;
    }
    // Without such a change a file may be written over itself.
    EXPECT_EQ(Run("convert book.csv book.csv").output, "");
}

}  // namespace
}  // namespace tally
