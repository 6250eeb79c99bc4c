#include <map>

#include "apps/TallyRun.h"

namespace tally {
namespace {

using Options = Tally;

TEST_F(Options, TheClockIsFixedBetweenItsBounds) {
    const struct {
        const char* date;
        const char* now;  // null for none
    } rows[] = {
        {"2020-02-03T04:05:06", "2020-02-03 04:05:06"},
        {"2020-02-03", "2020-02-03 00:00:00"},
        {"1900-01-01T00:00:00", "1900-01-01 00:00:00"},
        {"2020-12-31T23:59:59", "2020-12-31 23:59:59"},
        {"1899-12-31", nullptr},
        {"2020-00-03", nullptr},
        {"2020-13-03", nullptr},
        {"2020-02-00", nullptr},
        {"2020-02-32", nullptr},
        {"2020-02-03T24:00:00", nullptr},
        {"2020-02-03T00:60:00", nullptr},
        {"2020-02-03T00:00:60", nullptr},
        {"2020-02-03T04:05", nullptr},
        {"2020-02-03T", nullptr},
        {"2020-02-03x", nullptr},
        {"2020-02-03T04:05:06Z", nullptr},
        {"2020-02", nullptr},
    };
    for (const auto& row : rows) {
        const Outcome outcome =
            Run("eval '=TEXT(NOW(),\"yyyy-mm-dd hh:mm:ss\")' --date " + std::string(row.date));
        if (row.now) {
            ASSERT_EQ(outcome.status, 0) << row.date << outcome.output;
            EXPECT_EQ(outcome.Lines()[0]["value"], row.now) << row.date;
        } else {
            EXPECT_EQ(outcome.output, "tally: --date is not of the form YYYY-MM-DDTHH:MM:SS\n") << row.date;
            EXPECT_EQ(outcome.status, 2) << row.date;
        }
    }
}

TEST_F(Options, TheRegionIsThatOfTheEnvironmentUnlessItIsGiven) {
    const std::string command = "eval '=TEXT(1234.5,\"0.0\")&\"\"'";
    EXPECT_EQ(Run("eval '=1/2'", "LC_ALL=de_DE.UTF-8 ").Lines().at(0)["text"], "0,5");
    EXPECT_EQ(Run("eval '=1/2' --locale en-US", "LC_ALL=de_DE.UTF-8 ").Lines().at(0)["text"], "0.5");
    EXPECT_EQ(Run("eval '=1/2' --locale fr-FR").Lines().at(0)["text"], "0,5");
    EXPECT_EQ(Run("eval '=1/2'", "LC_ALL=xx_XX ").Lines().at(0)["text"], "0.5");
}

TEST_F(Options, TheCodePageReadsAndWritesTexts) {
    Put("in.csv", "\xCF\xF0\xE8\n");
    EXPECT_EQ(Run("cells in.csv --code-page 1251").Lines().at(0)["value"], "\u041f\u0440\u0438");
    EXPECT_EQ(Run("cells in.csv --code-page 1252").Lines().at(0)["value"], "\u00cf\u00f0\u00e8");
    EXPECT_EQ(Run("convert in.csv out.txt --code-page 1251").status, 0);
    EXPECT_EQ(Get("out.txt"), "\xCF\xF0\xE8\r\n");
    EXPECT_EQ(Run("cells in.csv --code-page 77").output, "tally: unknown --code-page\n");
}

TEST_F(Options, EvalKnowsABookASheetAndACell) {
    PutBook("a.xls");
    EXPECT_EQ(Run("eval '=A1' --book a.xls").Lines().at(0)["value"], 2);
    EXPECT_EQ(Run("eval '=D3' --book a.xls --sheet Second").Lines().at(0)["value"], "here");
    EXPECT_EQ(Run("eval '=D3' --book a.xls --sheet Second").Lines().at(0)["sheet"], "Second");
    EXPECT_EQ(Run("eval '=D3' --book a.xls --sheet Third").status, 1);
    EXPECT_EQ(Run("eval '=D3' --book none.xls").status, 3);
    // An area stands for its cell beside the formula.
    Put("column.csv", "1\n2\n3\n");
    EXPECT_EQ(Run("eval '=A1:A3*10' --book column.csv --cell C2").Lines().at(0)["value"], 20);
    EXPECT_EQ(Run("eval '=ABS(A1:A3)' --book column.csv --cell C3").Lines().at(0)["value"], 3);
    EXPECT_EQ(Run("eval '=A1:A3' --book column.csv --cell C4").Lines().at(0)["value"], "#VALUE!");
    EXPECT_EQ(Run("eval '=ROW()*1000+COLUMN()' --cell C7").Lines().at(0)["value"], 7003);
    EXPECT_EQ(Run("eval '=A1' --cell B2").Lines().at(0)["value"], 0);
    for (const char* cell : {"A1:B2", "7", "A", "A65537", "IW1", "'A1 '"})
        EXPECT_EQ(Run("eval 1 --cell " + std::string(cell)).output, "tally: --cell names no cell\n") << cell;
}

// The proposal of a function is the format of its result when that is a number.
TEST_F(Options, EvalShowsTheFormatThatAFunctionProposes) {
    const struct {
        const char* formula;
        const char* format;
    } rows[] = {{"=DATE(2020,1,2)", R"(m\/d\/yyyy)"},
                {"=IRR({-100,110})", "0%"},
                {"=1+DATE(2020,1,2)", R"(m\/d\/yyyy)"},
                {"=SUM(1,2)", "General"},
                {"=DATE(2020,1,1/0)", "General"}};
    for (const auto& row : rows)
        EXPECT_EQ(Run("eval '" + std::string(row.formula) + "' --locale en-US").Lines().at(0)["format"],
                  row.format)
            << row.formula;
    const Json line = Run("eval '=DATE(2020,1,2)'").Lines().at(0);
    EXPECT_EQ(line["value"], 43832);
    EXPECT_EQ(line["text"], "1/2/2020");
}

TEST_F(Options, OneFormulaThatTakesTooManyStepsIsToldToo) {
    Put("in.csv", "1,=SUMPRODUCT(A2:CV65536*1)\n");
    EXPECT_EQ(Run("convert in.csv out.csv").output,
              "tally: not kept: formulas that the form does not know; their values stay\n"
              "tally: 1 formula takes too many steps or too much room and keeps its old value\n");
}

TEST_F(Options, WhatIsNoPlainFileIsToldByItsKind) {
    fs::create_symlink("/dev/zero", folder / "device.xls");
    fs::create_directory(folder / "folder.csv");
    EXPECT_EQ(Run("cells device.xls").output, "tally: device.xls: it is no plain file\n");
    EXPECT_EQ(Run("cells device.xls").status, 3);
    EXPECT_EQ(Run("cells folder.csv").output, "tally: folder.csv: it is a directory\n");
    Put("short.xls", std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(600, '\0'));
    EXPECT_EQ(Run("cells short.xls").status, 1);
    EXPECT_EQ(Run("cells - --from xls < short.xls").status, 1);
    EXPECT_EQ(Run("cells - < short.xls").output, "tally: standard input needs --from\n");
    EXPECT_EQ(Run("cells - --from xls <&-").status, 3);
}

TEST_F(Options, ConvertWritesOneSheetOrTellsOfTheOthers) {
    PutBook("a.xls");
    const std::string formulas = "tally: not kept: formulas that the form does not know; their values stay";
    EXPECT_EQ(Run("convert a.xls out.csv").output, formulas + ", all sheets but one\n");
    EXPECT_EQ(Run("convert a.xls out.csv --sheet First").output, formulas + "\n");
    EXPECT_EQ(Run("convert a.xls out.csv --sheet Second").status, 0);
    EXPECT_EQ(Get("out.csv"), ",,,\r\n,,,\r\n,,,here\r\n");
    EXPECT_EQ(Run("convert a.xls out.csv --sheet Third").status, 1);
    EXPECT_EQ(Run("convert a.xls out.xls --form 95").status, 0);
    EXPECT_EQ(Run("convert a.xls out.csv --recalculate").status, 0);
    EXPECT_EQ(Get("out.csv"), "2,6\r\n,2\r\n");
}

TEST_F(Options, EveryFunctionIsListedWithItsCategory) {
    const char* categories[][2] = {{"CALL", "listed under all"},
                                   {"PMT", "financial"},
                                   {"DATE", "date and time"},
                                   {"SIN", "math and trigonometry"},
                                   {"MEDIAN", "statistical"},
                                   {"MATCH", "lookup and reference"},
                                   {"DSUM", "database"},
                                   {"LEN", "text"},
                                   {"IF", "logical"},
                                   {"ISNA", "information"},
                                   {"IMSUM", "engineering"},
                                   {"RETURN", "macro control"},
                                   {"ALERT", "macro commands"}};
    std::map<std::string, Json> rows;
    for (const Json& line : Run("functions").Lines()) rows[line.at("name")] = line;
    for (const auto& row : categories) EXPECT_EQ(rows[row[0]]["category"], row[1]) << row[0];
    EXPECT_EQ(rows["ALERT"]["state"], "to be built");
    EXPECT_EQ(rows["TODAY"]["hint"], "");
    EXPECT_EQ(Run("functions > /dev/full").status, 3);
}

}  // namespace
}  // namespace tally
