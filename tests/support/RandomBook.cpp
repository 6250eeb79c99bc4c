#include "support/RandomBook.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/Number.h"
#include "base/Text.h"
#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenReferences.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Dumps are most of the time of the tests that make many: a plain buffer, which keeps its room from one to the
// next, instead of a string for each number.
class DumpOutput {
  public:
    DumpOutput& operator<<(std::string_view text) {
        char* out = Room(text.size());
        for (const char c : text) *out++ = c;
        size_ += text.size();
        return *this;
    }
    DumpOutput& operator<<(const char* text) { return *this << std::string_view(text); }
    DumpOutput& operator<<(i64 number) {
        char digits[24];
        return *this << std::string_view(digits, PrintInteger(number, digits));
    }
    DumpOutput& operator<<(i32 number) { return *this << i64{number}; }
    DumpOutput& operator<<(u32 number) { return *this << i64{number}; }
    DumpOutput& operator<<(WideView text) {
        size_ += Utf8FromWide(text, Room(3 * text.size()));
        return *this;
    }
    DumpOutput& operator<<(const RefArea& a) {
        return *this << a.firstRow << "." << a.firstColumn << "-" << a.lastRow << "." << a.lastColumn;
    }
    void Empty() { size_ = 0; }
    std::string Text() const { return {bytes_.get(), size_}; }

  private:
    // At least so many bytes behind what stands.
    char* Room(std::size_t more) {
        if (size_ + more > room_) {
            room_ = 2 * (size_ + more);
            std::unique_ptr<char[]> grown(new char[room_]);
            std::memcpy(grown.get(), bytes_.get(), size_);
            bytes_ = std::move(grown);
        }
        return bytes_.get() + size_;
    }
    std::unique_ptr<char[]> bytes_{new char[1]};
    std::size_t size_ = 0, room_ = 1;
};

void DumpTokens(DumpOutput& out, i32 book, const FormulaTokens& tokens) {
    if (!HasFormula(tokens)) {
        out << "-";
        return;
    }
    WideText text;
    EXPECT_TRUE(FormulaToText(book, tokens, 0, 0, true, text));
    out << text.View() << " ";
    static constexpr char digits[] = "0123456789ABCDEF";
    for (u32 i = 0; i < TokenBytes(tokens); ++i) {
        const char byte[2] = {digits[tokens.bytes[i] >> 4], digits[tokens.bytes[i] & 15]};
        out << std::string_view(byte, 2);
    }
}

void DumpValue(DumpOutput& out, const Value& value) {
    char number[FIXED_TEXT_ROOM];
    switch (value.type) {
        case VT_NUMBER: out << std::string_view(number, PrintShortest(value.number, number)); break;
        case VT_STRING: out << "'" << TextOf(value); break;
        case VT_BOOL: out << (value.boolean ? "TRUE" : "FALSE"); break;
        case VT_ERROR: out << ErrorText(value.error); break;
        default: out << "empty"; break;
    }
}

void DumpRules(DumpOutput& out, const Sheet& sheet) {
    for (const ValidationRule& rule : sheet.validations) {
        out << " validation " << rule.kind << " " << rule.inputTitle.View() << " ";
        DumpTokens(out, sheet.book, rule.formula1);
        out << " ";
        DumpTokens(out, sheet.book, rule.formula2);
        for (const RefArea& area : rule.areas) out << " " << area;
        out << "\n";
    }
    for (const ConditionalFormat& format : sheet.conditionalFormats) {
        out << " conditional " << format.priority;
        for (const ConditionalCondition& condition : format.conditions) {
            out << " " << condition.type << " ";
            DumpTokens(out, sheet.book, condition.formula1);
        }
        for (const RefArea& area : format.areas) out << " " << area;
        out << "\n";
    }
}

void DumpLists(DumpOutput& out, const Sheet& sheet) {
    for (const ArrayEntry& entry : sheet.arrayFormulas) out << " array " << entry.area << "\n";
    for (const RefArea& merge : sheet.mergedAreas) out << " merge " << merge << "\n";
    for (const Hyperlink& link : sheet.hyperlinks)
        out << " link " << link.area << " " << link.target.View() << "\n";
    for (const RowInfo& row : sheet.rows)
        out << " row " << row.row << " " << row.flags << " " << row.height << "\n";
    for (const ColumnInfo& column : sheet.columns)
        out << " column " << column.column << " " << column.flags << " " << column.width << " " << column.format
            << "\n";
}

void DumpSheet(DumpOutput& out, Sheet& sheet) {
    const SheetView& view = sheet.view;
    out << "sheet " << WideView(sheet.name) << " kind " << sheet.kind << " hidden " << sheet.hidden << " zoom "
        << sheet.zoomPercent << " flags " << sheet.viewFlags << " filter " << sheet.filterState << " split "
        << view.splitRow << " " << view.splitColumn << " first " << view.firstRow << " " << view.firstColumn
        << " selection " << view.selection << " cells " << sheet.cells.count << " formulas "
        << sheet.cells.formulas.Count() << "\n";
    u32 count = 0, inColumns = 0;
    WalkArea(sheet.cells, {0, 65535, 0, 255}, [&](u16 row, const CellRecord& cell) {
        ++count;
        out << " " << row << "." << cell.column << " f" << cell.format;
        // A formula of a macro sheet is calculated when somebody happens to read it.
        if (sheet.kind == SHEET_WORKSHEET || !cell.formula) {
            out << " ";
            DumpValue(out, cell.value);
            out << " state " << cell.calcState;
        }
        if (cell.formula) {
            out << " ";
            DumpTokens(out, sheet.book, cell.formula->tokens);
            const bool linked = cell.formula->row == row && cell.formula->column == cell.column &&
                                cell.formula->sheet == &sheet &&
                                sheet.cells.formulas[cell.formula->listIndex] == cell.formula;
            EXPECT_TRUE(linked) << "the formula at " << row << "." << u32{cell.column}
                                << " is not where it says";
        }
        out << "\n";
        return true;
    });
    EXPECT_EQ(count, sheet.cells.count);
    for (const u32 formulas : sheet.cells.formulasInColumn) inColumns += formulas;
    EXPECT_EQ(inColumns, sheet.cells.formulas.Count());
    DumpLists(out, sheet);
    DumpRules(out, sheet);
}

DumpOutput dump;

// ---- books at random ------------------------------------------------------------------------------

struct Maker {
    std::mt19937& random;

    i32 Below(u32 n) { return static_cast<i32>(random() % n); }
    RefArea Area(i32 height, i32 width) {
        const i32 row = Below(20), column = Below(12);
        return {static_cast<u16>(row), static_cast<u16>(row + Below(static_cast<u32>(height))),
                static_cast<u8>(column), static_cast<u8>(column + Below(static_cast<u32>(width)))};
    }
    // A cell above `below`.
    std::string Cell(i32 below = 20) {
        const char* dollar[] = {"", "$"};
        return dollar[Below(2)] + std::string(1, static_cast<char>('A' + Below(12))) + dollar[Below(2)] +
               std::to_string(1 + Below(static_cast<u32>(below)));
    }
    std::string Reference(i32 below) {
        const char* sheets[] = {"", "", "", "Sheet1!", "Sheet2!", "Sheet3!"};
        const std::string sheet = sheets[Below(6)];
        return Below(3) ? sheet + Cell(below) : "SUM(" + sheet + Cell(below) + ":" + Cell(below) + ")";
    }
    // Only cells above feed a formula, on whatever sheet, so that there are no circles.
    std::string Formula(i32 row) {
        if (row == 0) return "=1+2";
        std::string formula = "=" + Reference(row);
        const char* more[] = {"ROW()",
                              "COLUMN()",
                              "one",
                              "two",
                              "IF(A1>3,B2,C3)",
                              "COUNT(Sheet1:Sheet3!A1:B4)",
                              "A3:L3",
                              "IF(A1>3,A2:L2,A5:L5)",
                              "INDEX(A1:L4,2,0)",
                              "Sheet2!A2:L2",
                              "CHOOSE(2,A1,$A$4:$L$4)",
                              "MATCH(5,A1:A9,0)",
                              "SUMIF(A1:A5,5,B1)",
                              "ROW(C4)"};
        for (i32 i = Below(3); i > 0; --i)
            formula += "+" + (Below(3) || row < 10 ? Reference(row) : std::string(more[Below(14)]));
        return formula;
    }
    FormulaTokens Compile(const std::string& formula, i32 row, i32 column, bool relative) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.sheet = CurrentWorkbook()->currentSheet;
        place.row = row;
        place.column = column;
        place.relativeForm = relative;
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        return tokens;
    }
};

bool MeetsAny(const Array<RefArea>& areas, const RefArea& area) {
    return std::any_of(areas.begin(), areas.end(),
                       [&](const RefArea& other) { return AreasMeet(area, other); });
}

void FillCells(Maker& make, Sheet& sheet) {
    for (i32 i = 0; i < 70; ++i) {
        const i32 row = make.Below(20), column = make.Below(12);
        Value value;
        FormulaTokens tokens;
        const i32 kind = make.Below(6);
        if (kind < 2) value = NumberValue(make.Below(100));
        else if (kind == 2) value = TextValue(Wide("text " + std::to_string(make.Below(50))));
        else if (kind == 3) value = BoolValue(make.Below(2));
        else if (kind > 3) tokens = make.Compile(make.Formula(row), row, column, false);
        EXPECT_TRUE(InsertCell(sheet, row, column, static_cast<u16>(15 + make.Below(3)), value, tokens));
    }
    // Some formulas share their tokens.
    FormulaTokens shared = make.Compile("=SUM($A$3:$B$12)", 0, 0, false);
    for (i32 i = 0; i < 4; ++i) {
        FormulaTokens copy;
        CopyTokens(copy, shared);
        EXPECT_TRUE(InsertCell(sheet, make.Below(20), 12, 15, Value(), copy));
    }
    FreeTokens(shared);
    // Whole rows and columns, where nobody reads.
    const char* whole[] = {"=SUM(B:C)", "=SUM(4:6)", "=MATCH(7,A:A,0)", "=INDEX(Sheet1!B:B,5)"};
    for (const char* formula : whole)
        EXPECT_TRUE(InsertCell(sheet, 10 + make.Below(8), 13, 15, Value(), make.Compile(formula, 0, 0, false)));
}

void FillLists(Maker& make, Sheet& sheet) {
    for (i32 i = 0; i < 3; ++i) {
        const RefArea merge = make.Area(3, 3);
        if (!IsOneCell(merge) && !MeetsAny(sheet.mergedAreas, merge))
            EXPECT_TRUE(sheet.mergedAreas.Append(merge));
    }
    RefArea array = make.Area(3, 2);
    array.firstRow = static_cast<u16>(array.firstRow + 6);
    array.lastRow = static_cast<u16>(array.lastRow + 6);
    if (!MeetsAny(sheet.mergedAreas, array)) {
        FormulaTokens tokens = make.Compile("=SUM(A1:A5*B1:B5)", array.firstRow, array.firstColumn, false);
        EXPECT_TRUE(sheet.arrayFormulas.Append({array, 0, 0}));
        for (i32 row = array.firstRow; row <= array.lastRow; ++row) {
            for (i32 column = array.firstColumn; column <= array.lastColumn; ++column) {
                FormulaTokens copy;
                CopyTokens(copy, tokens);
                EXPECT_TRUE(InsertCell(sheet, row, column, 15, Value(), copy));
            }
        }
        FreeTokens(tokens);
    }
    for (i32 i = 0; i < 4; ++i) {
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        link->area = make.Area(2, 2);
        EXPECT_TRUE(link->target.Assign(Wide("target " + std::to_string(i))));
    }
    for (i32 i = 0; i < 5; ++i) {
        EXPECT_TRUE(SetRowInfo(sheet.rows, {static_cast<u16>(make.Below(22)), static_cast<u16>(make.Below(4)),
                                            static_cast<u16>(200 + make.Below(300))}));
        EXPECT_TRUE(
            SetColumnInfo(sheet.columns, {static_cast<u8>(make.Below(14)), static_cast<u16>(make.Below(2)),
                                          static_cast<u16>(1000 + make.Below(3000)), 16}));
    }
}

void FillRules(Maker& make, Sheet& sheet) {
    for (i32 i = 0; i < 3; ++i) {
        ValidationRule* rule = sheet.validations.AppendDefault();
        rule->kind = static_cast<u32>(1 + make.Below(7));
        EXPECT_TRUE(rule->inputTitle.Assign(Wide("rule " + std::to_string(i))));
        for (i32 n = 1 + make.Below(2); n > 0; --n) EXPECT_TRUE(rule->areas.Append(make.Area(8, 4)));
        rule->formula1 = make.Compile("=" + make.Cell() + ">" + make.Cell(), rule->areas[0].firstRow,
                                      rule->areas[0].firstColumn, true);
        ConditionalFormat* format = sheet.conditionalFormats.AppendDefault();
        format->priority = static_cast<u16>(i);
        EXPECT_TRUE(format->areas.Append(make.Area(8, 4)));
        ConditionalCondition* condition = format->conditions.AppendDefault();
        condition->type = 2;
        condition->formula1 = make.Compile("=SUM(" + make.Cell() + ":" + make.Cell() + ")>3",
                                           format->areas[0].firstRow, format->areas[0].firstColumn, true);
    }
}

void AddNameTo(Maker& make, const char* name, u16 scope, const std::string& formula) {
    Workbook& book = *CurrentWorkbook();
    FormulaPlace place;
    place.book = CurrentBook();
    FormulaTokens tokens;
    ASSERT_TRUE(CompileFormula(place, Wide(formula), 'R', tokens)) << formula;
    i32 row = FindName(book, Wide(name), scope);
    if (row < 0) row = AddName(book, Wide(name), scope);
    IgnoreFailure(make);
    FreeTokens(book.names[static_cast<u32>(row)].tokens);
    book.names[static_cast<u32>(row)].tokens = tokens;
}

}  // namespace

void CalculateBooks() {
    for (u32 b = 0; b < Books().books.Count(); ++b) CalculateBook(static_cast<i32>(b));
}

std::string DumpBooks() {
    CalculateBooks();
    DumpOutput& out = dump;
    out.Empty();
    for (u32 b = 0; b < Books().books.Count(); ++b) {
        Workbook& book = *Books().books[b];
        const i32 index = static_cast<i32>(b);
        out << "book " << book.path.View() << "\n";
        for (const DefinedName& name : book.names) {
            // A row without a formula shows nowhere.
            if (!HasFormula(name.tokens)) continue;
            out << " name " << name.text.View() << " " << name.sheet << " " << name.flags << " ";
            DumpTokens(out, index, name.tokens);
            out << "\n";
        }
        for (Sheet* sheet : book.sheets) DumpSheet(out, *sheet);
    }
    return out.Text();
}

void FillBookAtRandom(std::mt19937& random) {
    Maker make{random};
    Workbook& book = *CurrentWorkbook();
    while (book.sheets.Count() < 3)
        ASSERT_TRUE(InsertSheet(static_cast<i32>(book.sheets.Count()), nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(3, nullptr, SHEET_MACRO, false, false));
    AddNameTo(make, "one", 0, "=Sheet1!$B$3");
    AddNameTo(make, "two", 0, "=SUM(Sheet2!$A$2:$C$9)");
    AddNameTo(make, "two", 2, "=Sheet2!$D$5");
    AddNameTo(make, "local", 1, "=Sheet1!$C$4:$D$8");
    for (u32 i = 0; i < book.sheets.Count(); ++i) {
        book.currentSheet = static_cast<i32>(i);
        Sheet& sheet = *book.sheets[i];
        FillCells(make, sheet);
        FillLists(make, sheet);
        FillRules(make, sheet);
        sheet.view.selection = make.Area(3, 3);
    }
    book.currentSheet = 0;
}

}  // namespace tally
