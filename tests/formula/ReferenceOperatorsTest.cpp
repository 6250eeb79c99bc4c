#include "formula/ReferenceOperators.h"

#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// Operands are written as "B2:C5" (an area here), "@0!B2:C5,D1:D1" (a list on sheet 0), "@1-2!A1:A1" (on
// several sheets), "#3" (an error), "5" (a number), "{2}" (an array of so many elements) or "!" (a signal).
class ReferenceOperators : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Books().currentBook = 0;
    }
    static RefArea OneArea(std::string_view text) {
        const std::size_t colon = text.find(':');
        return AreaOf(text.substr(0, colon), text.substr(colon + 1));
    }
    static Value Operand(std::string_view text) {
        if (text[0] == '#') return ErrorValue(text[1] - '0');
        if (text[0] == '{') return ArrayValue(1, static_cast<u32>(text[1] - '0'));
        if (text[0] == '5') return NumberValue(5);
        if (text[0] == '!') {
            Value signal;
            signal.type = VT_CONTROL;
            return signal;
        }
        if (text[0] != '@') return AreaValue(OneArea(text));
        const i32 first = text[1] - '0', last = text[2] == '-' ? text[3] - '0' : first;
        i32 index = -1;
        // Sheet 9 is the other book's.
        EXPECT_TRUE(AddExternRef(first == 9 ? ResolvedRef{0, 1, 0, 0} : ResolvedRef{0, 0, first, last}, index));
        text = text.substr(text.find('!') + 1);
        Array<RefArea> areas;
        while (!text.empty()) {
            const std::size_t comma = std::min(text.find(','), text.size());
            EXPECT_TRUE(areas.Append(OneArea(text.substr(0, comma))));
            text = text.substr(std::min(comma + 1, text.size()));
        }
        Value list = RefValue(index, static_cast<u16>(areas.Count()));
        std::copy(areas.begin(), areas.end(), list.areas->areas);
        return list;
    }
    static std::string TextOfArea(const RefArea& area) {
        WideText text;
        EXPECT_TRUE(CellToText(area.firstRow, area.firstColumn, false, false, text) && text.Append(u':') &&
                    CellToText(area.lastRow, area.lastColumn, false, false, text));
        return Narrow(text);
    }
    static std::string Text(const Value& value) {
        switch (value.type) {
            case VT_ERROR: return Narrow(ErrorText(value.error));
            case VT_NUMBER: return "5";
            case VT_CONTROL: return "!";
            case VT_ARRAY: return "{" + std::to_string(value.columns) + "}";
            case VT_AREA: return TextOfArea(value.area);
            case VT_REF: break;
            default: return "?";
        }
        ResolvedRef ref;
        EXPECT_TRUE(ResolveExternRef(value.externIndex, ref));
        std::string out = "@" + std::to_string(ref.targetBook == 1 ? 9 : ref.firstSheet);
        if (ref.lastSheet != ref.firstSheet) out += "-" + std::to_string(ref.lastSheet);
        for (u16 i = 0; i < value.areas->count; ++i) out += (i ? "," : "!") + TextOfArea(value.areas->areas[i]);
        return out;
    }
    struct Row {
        const char* left;
        const char* right;
        const char* result;
    };
    static void Expect(void (*act)(Value&, Value&, const EvalContext&), std::span<const Row> rows) {
        for (const Row& row : rows) {
            Value left = Operand(row.left), right = Operand(row.right);
            act(left, right, {0, 0, 0, 0, 0});
            EXPECT_EQ(Text(left), row.result) << row.left << " and " << row.right;
            EXPECT_EQ(right.type, VT_EMPTY) << row.left << " and " << row.right;
            FreeValue(left);
        }
    }
};

TEST_F(ReferenceOperators, AnIntersectionIsWhatBothHold) {
    const Row rows[] = {
        {"A1:B5", "B2:C3", "B2:B3"},
        {"B2:C3", "A1:B5", "B2:B3"},
        {"A1:D4", "B2:C3", "B2:C3"},
        {"A1:B2", "B2:C3", "B2:B2"},
        {"A1:B2", "A3:B4", "#NULL!"},
        {"A1:B2", "C1:D2", "#NULL!"},
        {"A3:B4", "A1:B2", "#NULL!"},
        {"C1:D2", "A1:B2", "#NULL!"},
        {"A1:B2", "@0!B1:C1", "B1:B1"},
        {"@0!A1:B2", "B1:C1", "@0!B1:B1"},
        {"@1!A1:B2", "@1!B2:C3", "@1!B2:B2"},
        {"@1!A1:B2", "B2:C3", "#REF!"},
        {"A1:B2", "@1!B2:C3", "#REF!"},
        {"@1!A1:B2", "@2!B2:C3", "#REF!"},
        {"@1!A1:B2", "@0-2!B2:C3", "@1!B2:B2"},
        {"@1-2!A1:B2", "@0-2!B2:C3", "@1-2!B2:B2"},
        {"@0-1!A1:B2", "@0-2!B2:C3", "@0-1!B2:B2"},
        {"@0-2!A1:B2", "@1-2!B2:C3", "#REF!"},
        {"@0-2!A1:B2", "@0-1!B2:C3", "#REF!"},
        {"A1:B2", "@0-1!B2:C3", "#REF!"},
        {"@0-1!A1:B2", "B2:C3", "#REF!"},
        {"@9!A1:B2", "@9!B2:C3", "@9!B2:B2"},
        {"@9!A1:B2", "@0!B2:C3", "#REF!"},
        {"@9!A1:B2", "B2:C3", "#REF!"},
        {"@0!A1:B2,C1:C2", "B2:C3", "#REF!"},
        {"B2:C3", "@0!A1:B2,C1:C2", "#REF!"},
        {"5", "B2:C3", "#REF!"},
        {"B2:C3", "5", "#REF!"},
        {"#5", "B2:C3", "#REF!"},
        {"B2:C3", "{2}", "#REF!"},
    };
    Expect(IntersectRefs, rows);
}

TEST_F(ReferenceOperators, ARangeIsTheRectangleAroundBoth) {
    const Row rows[] = {
        {"A1:B2", "D4:E5", "A1:E5"},
        {"D4:E5", "A1:B2", "A1:E5"},
        {"C1:D1", "E1:E1", "C1:E1"},
        {"B5:C5", "A6:D7", "A5:D7"},
        {"@1!A1:B2", "@1!C3:C3", "@1!A1:C3"},
        {"@0!A1:B2", "C3:C3", "@0!A1:C3"},
        {"A1:B2", "@0!C3:C3", "A1:C3"},
        {"@1!A1:B2", "C3:C3", "#REF!"},
        {"A1:B2", "@1!C3:C3", "#REF!"},
        {"@1!A1:B2", "@2!C3:C3", "#REF!"},
        {"@0-1!A1:B2", "@0-1!C3:C3", "#REF!"},
        {"@0-1!A1:B2", "@0!C3:C3", "#REF!"},
        {"@9!A1:B2", "@9!C3:C3", "@9!A1:C3"},
        {"@9!A1:B2", "C3:C3", "#REF!"},
        {"@0!A1:A1,B1:B1", "C3:C3", "#REF!"},
        {"C3:C3", "@0!A1:A1,B1:B1", "#REF!"},
        {"5", "C3:C3", "#REF!"},
        {"C3:C3", "5", "#REF!"},
        {"{3}", "C3:C3", "#REF!"},
    };
    Expect(RangeRefs, rows);
}

TEST_F(ReferenceOperators, AUnionListsTheAreasOfBoth) {
    const Row rows[] = {
        {"A1:B2", "B2:C3", "@0!A1:B2,B2:C3"},
        {"@0!A1:B2", "B2:C3", "@0!A1:B2,B2:C3"},
        {"A1:B2", "@0!B2:C3,D1:D1", "@0!A1:B2,B2:C3,D1:D1"},
        {"@0!A1:B2,D1:D1", "B2:C3", "@0!A1:B2,D1:D1,B2:C3"},
        {"@1!A1:B2,D1:D1", "@1!B2:C3,E1:E9", "@1!A1:B2,D1:D1,B2:C3,E1:E9"},
        {"@1!A1:B2", "B2:C3", "#VALUE!"},
        {"A1:B2", "@1!B2:C3", "#VALUE!"},
        {"@0-1!A1:B2", "B2:C3", "#VALUE!"},
        {"A1:B2", "@0-1!B2:C3", "#VALUE!"},
        {"@9!A1:B2", "B2:C3", "#VALUE!"},
        {"A1:B2", "@9!B2:C3", "#VALUE!"},
        {"@1!A1:B2", "@2!B2:C3", "#VALUE!"},
        {"@1!A1:B2", "@0!B2:C3", "#VALUE!"},
        {"#5", "B2:C3", "#NUM!"},
        {"B2:C3", "#5", "#NUM!"},
        {"#1", "#5", "#DIV/0!"},
        {"5", "#5", "#NUM!"},
        {"{2}", "{3}", "{2}"},
        {"{2}", "A1:B2", "{2}"},
        {"{2}", "5", "{2}"},
        {"A1:B2", "{3}", "{3}"},
        {"@0!A1:B2,D1:D1", "{3}", "{3}"},
        {"5", "{3}", "{3}"},
        {"A1:B2", "5", "A1:B2"},
        {"@1!A1:B2", "5", "@1!A1:B2"},
        {"5", "A1:B2", "A1:B2"},
        {"5", "@1!A1:B2,C1:C1", "@1!A1:B2,C1:C1"},
        {"!", "A1:B2", "!"},
        {"!", "{3}", "!"},
        {"A1:B2", "!", "A1:B2"},
    };
    Expect(UnionRefs, rows);
}

TEST_F(ReferenceOperators, OfFormulasTakeTheirOperandsFromLeftToRight) {
    const std::pair<const char*, const char*> rows[] = {
        {"=COLUMN((C1:D1):E1)", "3"},   {"=COLUMNS((C1:D1):E1)", "3"},
        {"=COLUMNS(E1:(C1:D1))", "3"},  {"=ROWS((C3:D4):E1)", "4"},
        {"=ROW(A2:B9 B3:C12)", "3"},    {"=ROWS(A2:B9 B3:C12)", "7"},
        {"=AREAS((A1,B1:C2,D4))", "3"}, {"=COLUMNS(INDEX((A1,B1:C2,D4),0,0,2))", "2"},
        {"=A1 B1", "#NULL!"},
    };
    for (const auto& [formula, result] : rows) EXPECT_EQ(Eval(formula), result) << formula;
}

}  // namespace
}  // namespace tally
