#include "apps/TallyRun.h"

// What the lists of sheets, cells and differences say of each kind of thing.

namespace tally {
namespace {

class Listings : public Tally {
  protected:
    void PutBytes(const std::string& name, const BiffBuilder& b) const {
        const std::vector<u8> bytes = b.File();
        Put(name, std::string(bytes.begin(), bytes.end()));
    }
};

TEST_F(Listings, CellsHaveTheirTypeAndTheirValue) {
    Put("in.csv",
        "7,-1.5,text,TRUE,=1/"
        "0,=FALSE,\"=\"\"\"\"\",999999999999999,1000000000000000,=0*-1,1.25E+300,-7,-999999999999999\n"
        "\"a\"\"b\\c\t\",\xE4\xB8\xAD\n");
    const std::vector<Json> lines = Run("cells in.csv --code-page 65001").Lines();
    const struct {
        const char* cell;
        const char* type;
        Json value;
    } rows[] = {{"A1", "number", 7},
                {"B1", "number", -1.5},
                {"C1", "text", "text"},
                {"D1", "boolean", true},
                {"E1", "error", "#DIV/0!"},
                {"F1", "boolean", false},
                {"G1", "text", ""},
                {"H1", "number", 999999999999999},
                {"I1", "number", 1e15},
                {"J1", "number", -0.0},
                {"K1", "number", 1.25e300},
                {"L1", "number", -7},
                {"M1", "number", -999999999999999},
                {"A2", "text", "a\"b\\c\t"},
                {"B2", "text", "\u4e2d"}};
    ASSERT_EQ(lines.size(), std::size(rows));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i]["cell"], rows[i].cell);
        EXPECT_EQ(lines[i]["type"], rows[i].type) << rows[i].cell;
        EXPECT_EQ(lines[i]["value"], rows[i].value) << rows[i].cell;
        // Whole numbers have no point as far as they are told apart; a zero keeps its sign.
        EXPECT_EQ(lines[i]["value"].is_number_integer(), rows[i].value.is_number_integer()) << rows[i].cell;
    }
    EXPECT_EQ(lines[4]["formula"], "=1/0");
    EXPECT_FALSE(lines[0].contains("formula"));
}

TEST_F(Listings, ABlankCellHasNoValue) {
    BiffBuilder b;
    b.Globals({"S"});
    b.Bof(16).Record(513, {{4, 2}, {2, 2}, {0, 2}}).Number(65535, 255, 1).Eof();
    PutBytes("a.xls", b);
    const std::vector<Json> lines = Run("cells a.xls").Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], (Json{{"sheet", "S"},
                              {"cell", "C5"},
                              {"type", "blank"},
                              {"value", nullptr},
                              {"text", ""},
                              {"format", "General"}}));
    EXPECT_EQ(lines[1]["cell"], "IV65536");
}

TEST_F(Listings, SheetsHaveTheirKindAndTheirUsedSize) {
    Put("s.txt", "command 401\n");
    BiffBuilder b;
    b.Globals({"W", "C", "M", "V", "Empty", "Merged", "Rows"});
    b.Bof(16).Number(0, 0, 1).Eof();
    b.Bof(32).Eof();
    b.Bof(64).Number(4, 1, 1).Eof();
    b.Bof(6).Eof();
    b.Bof(16).Eof();
    b.Bof(16).Record(229, {{1, 2}, {2, 2}, {5, 2}, {1, 2}, {3, 2}}).Eof();
    b.Bof(16).Record(520, {{7, 2}, {0, 2}, {0, 2}, {600, 2}, {0, 4}, {0x140, 2}, {15, 2}}).Eof();
    PutBytes("a.xls", b);
    ASSERT_EQ(Run("replay s.txt --book a.xls --out b.xls").output, "");
    const struct {
        const char* name;
        const char* kind;
        int hidden, rows, columns;
    } rows[] = {{"W", "worksheet", 0, 1, 1},     {"C", "chart", 0, 0, 0},
                {"M", "macro", 0, 5, 2},         {"V", "module", 0, 0, 0},
                {"Empty", "worksheet", 0, 0, 0}, {"Merged", "worksheet", 0, 6, 4},
                {"Rows", "worksheet", 0, 8, 1}};
    const std::vector<Json> lines = Run("sheets a.xls").Lines();
    ASSERT_EQ(lines.size(), std::size(rows));
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_EQ(lines[i], (Json{{"index", i},
                                  {"name", rows[i].name},
                                  {"kind", rows[i].kind},
                                  {"hidden", rows[i].hidden},
                                  {"rows", rows[i].rows},
                                  {"columns", rows[i].columns}}));
    EXPECT_EQ(Run("sheets b.xls").Lines().at(0)["hidden"], 1);
    EXPECT_EQ(Run("sheets b.xls").Lines().at(1)["hidden"], 0);
    // Of sheets that hold cells, macro sheets too, and of one that is asked for.
    EXPECT_EQ(Run("cells a.xls").Lines().size(), 2u);
    EXPECT_EQ(Run("cells a.xls --sheet M").Lines().at(0)["cell"], "B5");
    EXPECT_EQ(Run("cells a.xls --sheet W").Lines().size(), 1u);
    EXPECT_EQ(Run("cells a.xls --sheet Empty").output, "");
}

// Tokens of a formula and the value that the file holds for it.
TEST_F(Listings, VerifyComparesEachKindOfValue) {
    const auto number = [](BiffBuilder& b, u32 row, double saved) {
        b.Formula(row, 1, {0x44, 0, 0, 0, 0xC0}, saved);  // =A1
    };
    BiffBuilder b;
    b.Globals({"S"});
    b.Bof(16).Number(0, 0, 1e9);
    number(b, 0, 1e9);
    number(b, 1, 1e9 + 1);     // nine digits agree
    number(b, 2, 1e9 + 1.01);  // and here no more
    number(b, 3, 1e9 - 1.01);
    number(b, 4, -1e9);
    b.Formula(5, 1, {0x1D, 1}, 1);               // =TRUE, saved as the number 1
    b.Formula(6, 1, {0x17, 1, 0, 'x'}, 1);       // ="x"
    b.Formula(7, 1, {0x17, 0, 0}, 1);            // =""
    b.Formula(8, 1, {0x1C, 7}, 1);               // =#DIV/0!
    b.Formula(9, 1, {0x44, 99, 0, 9, 0xC0}, 0);  // =J100, which is empty
    b.Eof();
    PutBytes("a.xls", b);
    const std::vector<Json> lines = Run("verify a.xls").Lines();
    const Json computed[] = {1e9, 1e9, 1e9, true, "x", "", "#DIV/0!"};
    const char* cells[] = {"B3", "B4", "B5", "B6", "B7", "B8", "B9"};
    ASSERT_EQ(lines.size(), std::size(cells) + 1);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        EXPECT_EQ(lines[i]["cell"], cells[i]);
        EXPECT_EQ(lines[i]["computed"], computed[i]) << cells[i];
    }
    EXPECT_EQ(lines[3]["saved"], 1);
    EXPECT_EQ(lines[3]["formula"], "=TRUE");
    EXPECT_EQ(lines.back(),
              (Json{{"formulas", 10}, {"equal", 3}, {"different", 7}, {"volatile", 0}, {"kept", 0}}));
    // What was calculated and saved by the program itself is equal, whatever its kind.
    ASSERT_EQ(Run("convert a.xls b.xls --recalculate").output, "");
    EXPECT_EQ(Run("verify b.xls").Lines().back(),
              (Json{{"formulas", 10}, {"equal", 10}, {"different", 0}, {"volatile", 0}, {"kept", 0}}));
}

TEST_F(Listings, VerifyTellsWhatTheClockMovesAndWhatIsKept) {
    Put("a.csv", "=NOW(),=A1+1,5,=[other.xls]S!A1+C1\n");
    ASSERT_EQ(Run("convert a.csv a.xls --date 2020-01-01").status, 0);
    const std::vector<Json> lines = Run("verify a.xls --date 2021-01-01").Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], (Json{{"formulas", 3}, {"equal", 0}, {"different", 0}, {"volatile", 2}, {"kept", 1}}));
    EXPECT_EQ(Run("verify a.xls --date 2020-01-01").Lines().back()["equal"], 2);
}

}  // namespace
}  // namespace tally
