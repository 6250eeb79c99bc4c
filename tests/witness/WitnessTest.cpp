#include <bit>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "base/Text.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Saving.h"

// Other programs open what was saved and see the same. Each test is skipped where its program is missing.

namespace tally {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Fill = std::function<void()>;

// What a program printed on both streams.
std::string OutputOf(const std::string& command, int& status) {
    std::string out;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return out;
    char buffer[65536];
    for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
    status = pclose(pipe);
    return out;
}

bool Runs(const std::string& command) {
    int status = 1;
    OutputOf(command, status);
    return status == 0;
}

Lines LinesOf(const std::string& text) {
    Lines out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        out.push_back(line);
    }
    return out;
}

constexpr const char* reader = R"(
import sys, io, struct, xlrd
log = io.StringIO()
book = xlrd.open_workbook(sys.argv[1], formatting_info=True, ragged_rows=True, logfile=log)
for line in log.getvalue().splitlines(): print('log', line)
for sheet in book.sheets():
    print('sheet', sheet.name)
    for row in range(sheet.nrows):
        for column in range(sheet.row_len(row)):
            cell = sheet.cell(row, column)
            if cell.ctype in (2, 3): text = struct.pack('>d', cell.value).hex()
            elif cell.ctype == 1: text = "'" + cell.value
            elif cell.ctype == 4: text = 'TRUE' if cell.value else 'FALSE'
            elif cell.ctype == 5: text = xlrd.error_text_from_code[cell.value]
            else: continue
            print(row, column, text)
)";

class Witness : public Saving {
  protected:
    void SetUp() override {
        Saving::SetUp();
        std::string pattern = (fs::temp_directory_path() / "tallyman-witness-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override {
        fs::remove_all(folder);
        Saving::TearDown();
    }
    // Saves the current book as a file on the disk.
    std::string SaveFile(const std::string& name, u8 form) {
        Headless().filesInMemory = false;
        const std::string path = (folder / name).string();
        CurrentWorkbook()->biffVersion = form;
        u32 lost = 0;
        EXPECT_TRUE(WriteBookFile(CurrentBook(), Wide(path), FILE_XLS, lost)) << name;
        return path;
    }
    static void NewBook(const Fill& fill) {
        ResetBooks();
        DropDependents();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        fill();
    }
    static Lines CellLines(u8 form);
    // `truth` and `lie` are how the other program writes booleans.
    static Lines FirstSheetFields(u8 form, const char* truth = "TRUE", const char* lie = "FALSE");
    fs::path folder;
};

// The worksheets as the reader's script prints them.
Lines Witness::CellLines(u8 form) {
    Lines out;
    char number[32];
    for (const Sheet* sheet : CurrentWorkbook()->sheets) {
        if (sheet->kind != SHEET_WORKSHEET) continue;
        out.push_back("sheet " + Narrow(WideView(sheet->name)));
        for (CellPosition p; !AtEnd(sheet->cells, p); NextCell(sheet->cells, p)) {
            const CellRecord& cell = CellAt(sheet->cells, p);
            const i32 row = RowAt(sheet->cells, p);
            if (form == 7 && row > 0x3FFF) break;
            std::string text;
            switch (cell.value.type) {
                case VT_NUMBER:
                    std::snprintf(number, sizeof number, "%016llx",
                                  static_cast<unsigned long long>(std::bit_cast<u64>(cell.value.number)));
                    text = number;
                    break;
                case VT_STRING: text = "'" + Narrow(TextOf(cell.value)); break;
                case VT_BOOL: text = cell.value.boolean ? "TRUE" : "FALSE"; break;
                case VT_ERROR: text = Narrow(ErrorText(cell.value.error)); break;
                default: continue;
            }
            out.push_back(std::to_string(row) + " " + std::to_string(cell.column) + " " + text);
        }
    }
    return out;
}

// Row and column with the value in plain, of all cells of the first sheet that show anything.
Lines Witness::FirstSheetFields(u8 form, const char* truth, const char* lie) {
    Lines out;
    const Sheet& sheet = *CurrentWorkbook()->sheets[0];
    for (CellPosition p; !AtEnd(sheet.cells, p); NextCell(sheet.cells, p)) {
        const CellRecord& cell = CellAt(sheet.cells, p);
        const i32 row = RowAt(sheet.cells, p);
        if (form == 7 && row > 0x3FFF) break;
        char text[64];
        std::string shown;
        switch (cell.value.type) {
            case VT_NUMBER:
                std::snprintf(text, sizeof text, "%.12g", cell.value.number);
                shown = text;
                break;
            case VT_STRING: shown = Narrow(TextOf(cell.value)); break;
            case VT_BOOL: shown = cell.value.boolean ? truth : lie; break;
            case VT_ERROR: shown = Narrow(ErrorText(cell.value.error)); break;
            default: continue;
        }
        if (!shown.empty())
            out.push_back(std::to_string(row) + " " + std::to_string(cell.column) + " " + shown);
    }
    return out;
}

// The same from a file with fields between "|", where numbers are as exact as the other program prints them.
Lines FieldsOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const Lines lines = LinesOf({std::istreambuf_iterator<char>(in), {}});
    Lines out;
    for (std::size_t row = 0; row < lines.size(); ++row) {
        std::size_t column = 0;
        for (std::size_t at = 0; at <= lines[row].size(); ++column) {
            const std::size_t end = std::min(lines[row].find('|', at), lines[row].size());
            std::string field = lines[row].substr(at, end - at);
            at = end + 1;
            if (field.empty()) continue;
            char* stop = nullptr;
            const double number = std::strtod(field.c_str(), &stop);
            char text[64];
            if (!*stop) {
                std::snprintf(text, sizeof text, "%.12g", number);
                field = text;
            }
            out.push_back(std::to_string(row) + " " + std::to_string(column) + " " + field);
        }
    }
    return out;
}

// ---- the books --------------------------------------------------------------------------------------------

void FillFar() {
    Sheet& sheet = *CurrentSheet();
    for (i32 row = 0; row < 65536; ++row)
        IgnoreFailure(InsertCell(sheet, row, row % 3, 15, NumberValue(row / 8.0), FormulaTokens()));
    for (i32 column = 10; column < 256; ++column)
        IgnoreFailure(InsertCell(sheet, 7, column, 15, NumberValue(column), FormulaTokens()));
}

void FillStrings() {
    Sheet& sheet = *CurrentSheet();
    for (i32 row = 0; row < 10000; ++row) {
        const std::string text = "string " + std::to_string(row * 7919 % 10007) +
                                 std::string(static_cast<std::size_t>(row % 113), 'x');
        WideText wide;
        IgnoreFailure(WideFromUtf8(wide, text) && (row % 5 || wide.Append(u"\u00e9\u00fc")));
        IgnoreFailure(InsertCell(sheet, row, row % 4, 15, TextValue(wide), FormulaTokens()));
    }
}

void FillFormats() {
    Workbook& book = *CurrentWorkbook();
    for (int i = 0; i < 1000; ++i) {
        u16 id = 0, index = 0;
        CellFormat format = ResolveCellFormat(book, DEFAULT_CELL_FORMAT);
        IgnoreFailure(FindOrAddNumberFormat(book, Wide("0.0\"u" + std::to_string(i) + "\""), id));
        format.numberFormat = id;
        format.pattern = static_cast<u8>(i % 2);
        format.backColour = static_cast<u8>(8 + i % 50);
        IgnoreFailure(FindOrAddCellFormat(book, format, index));
        IgnoreFailure(InsertCell(*CurrentSheet(), i, 0, index, NumberValue(i), FormulaTokens()));
    }
}

void FillSheets() {
    for (i32 i = 1; i < 200; ++i) {
        const std::u16string name = Wide("Sheet no. " + std::to_string(i));
        const WideView view = name;
        IgnoreFailure(InsertSheet(i, &view, SHEET_WORKSHEET, false, false));
        IgnoreFailure(InsertCell(*CurrentSheet(), i, i, 15, NumberValue(i), FormulaTokens()));
    }
}

// Long texts, so that the stream goes beyond 7 MB in both forms.
void FillLarge() {
    for (i32 row = 0; row < 4000; ++row) {
        const std::u16string text = Wide(std::to_string(row)) + std::u16string(1900, u'x');
        IgnoreFailure(InsertCell(*CurrentSheet(), row, row % 2, 15, TextValue(text), FormulaTokens()));
    }
}

struct GeneratedBook {
    const char* name;
    Fill fill;
};

std::vector<GeneratedBook> GeneratedBooks(const Fill& rich, const Fill& names) {
    return {{"rich", rich},   {"far", FillFar},       {"strings", FillStrings}, {"formats", FillFormats},
            {"names", names}, {"sheets", FillSheets}, {"large", FillLarge}};
}

// ---- the programs -----------------------------------------------------------------------------------------

class WitnessBooks : public Witness {
  protected:
    static void FillNames() {
        for (int i = 0; i < 500; ++i) {
            DefineName("name_" + std::to_string(i), "=Sheet1!$A$" + std::to_string(i + 1));
            Put(i, 0, i * 2);
        }
        Enter("B1", "=name_0+name_499");
        Enter("B2", "=SUM(name_1,name_2)&\"!\"");
    }
    // Without what only the newer form has room for, and in the widths of that form.
    static std::vector<GeneratedBook> Books() {
        return GeneratedBooks(
            [] {
                MakeRichBook();
                PutText(1, 0, u"short");
                CurrentWorkbook()->currentSheet = 1;
                PutText(1, 0, u"short");
            },
            FillNames);
    }
};

TEST_F(WitnessBooks, AReaderInPythonSeesTheSameCells) {
    if (!Runs("/usr/bin/python3 -c 'import xlrd'")) GTEST_SKIP() << "no xlrd";
    std::ofstream(folder / "read.py") << reader;
    for (const GeneratedBook& book : Books()) {
        NewBook(book.fill);
        for (u8 form : {u8{8}, u8{7}}) {
            const std::string path = SaveFile("a.xls", form);
            int status = 0;
            const std::string out = OutputOf("PYTHONIOENCODING=utf-8 /usr/bin/python3 '" +
                                                 (folder / "read.py").string() + "' '" + path + "'",
                                             status);
            EXPECT_EQ(status, 0) << book.name << int{form} << out.substr(0, 500);
            EXPECT_EQ(DumpDifference(CellLines(form), LinesOf(out)), "") << book.name << " form " << int{form};
        }
    }
}

TEST_F(WitnessBooks, AnotherSpreadsheetsConverterSeesTheSameFields) {
    if (!Runs("ssconvert --version")) GTEST_SKIP() << "no ssconvert";
    for (const GeneratedBook& book : Books()) {
        NewBook(book.fill);
        for (u8 form : {u8{8}, u8{7}}) {
            const std::string path = SaveFile("a.xls", form);
            const fs::path out = folder / "a.txt";
            int status = 0;
            const std::string said = OutputOf(
                "ssconvert -T Gnumeric_stf:stf_assistant -O 'separator=| format=raw quoting-mode=never "
                "sheet=Sheet1' '" +
                    path + "' '" + out.string() + "'",
                status);
            EXPECT_EQ(status, 0) << book.name << int{form} << said;
            EXPECT_EQ(said, "") << book.name << int{form};
            EXPECT_EQ(DumpDifference(FirstSheetFields(form), FieldsOf(out)), "")
                << book.name << " form " << int{form};
        }
    }
}

TEST_F(WitnessBooks, AnOfficeSuiteSeesTheSameFields) {
    if (!Runs("soffice --version")) GTEST_SKIP() << "no soffice";
    std::vector<std::pair<std::string, Lines>> expected;
    std::string files;
    for (const GeneratedBook& book : Books()) {
        NewBook(book.fill);
        for (u8 form : {u8{8}, u8{7}}) {
            const std::string name = std::string(book.name) + std::to_string(form);
            files += " '" + SaveFile(name + ".xls", form) + "'";
            expected.emplace_back(name, FirstSheetFields(form, "1", "0"));
        }
    }
    int status = 0;
    const std::string said = OutputOf("soffice -env:UserInstallation=file://" + (folder / "profile").string() +
                                          " --headless --convert-to 'csv:Text - txt - csv "
                                          "(StarCalc):124,,76,1,,0,false,false,false' --outdir '" +
                                          folder.string() + "'" + files,
                                      status);
    EXPECT_EQ(status, 0) << said;
    for (const auto& [name, lines] : expected)
        EXPECT_EQ(DumpDifference(lines, FieldsOf(folder / (name + ".csv"))), "") << name << said.substr(0, 300);
}

}  // namespace
}  // namespace tally
