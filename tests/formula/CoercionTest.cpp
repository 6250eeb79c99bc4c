#include "formula/Coercion.h"

#include "formula/Links.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u16 kinds[] = {VT_EMPTY, VT_NUMBER,  VT_STRING, VT_BOOL, VT_REF,
                         VT_ERROR, VT_CONTROL, VT_ARRAY,  VT_AREA};

class Coercion : public Sandbox {
  protected:
    static Value Coerced(Value value, u16 wanted, i32 row = 1, i32 column = 3) {
        CoerceValue(value, wanted, {CurrentBook(), 0, row, column, 0});
        return value;
    }
    // What a value is, as text: "1", "'text", "TRUE", "#N/A", "{...}", "area", "ref n".
    static std::string Shown(const Value& value) {
        switch (value.type) {
            case VT_EMPTY: return "empty";
            case VT_NUMBER: {
                WideText text;
                EXPECT_TRUE(NumberToText(value.number, 15, text));
                return Narrow(text);
            }
            case VT_STRING: return "'" + Narrow(TextOf(value));
            case VT_BOOL: return Narrow(BoolText(value.boolean != 0));
            case VT_ERROR: return Narrow(ErrorText(value.error));
            case VT_CONTROL: return "control";
            case VT_REF: return "ref " + std::to_string(value.areas->count);
            case VT_AREA: return "area";
            case VT_ARRAY: {
                std::string all = "{";
                for (u32 i = 0; i < ArrayElementCount(value); ++i)
                    all += (i ? "," : "") + Shown(value.elements[i]);
                return all + "}";
            }
            default: return "?";
        }
    }
    static std::string Result(Value value, u16 wanted) {
        Value made = Coerced(value, wanted);
        const std::string text = Shown(made);
        EXPECT_TRUE(made.type == wanted || made.type == VT_ERROR) << wanted << ' ' << text;
        FreeValue(made);
        return text;
    }
    static Value Reference(std::initializer_list<RefArea> areas, i32 firstSheet = 0, i32 lastSheet = 0) {
        ResolvedRef ref;
        ref.book = ref.targetBook = CurrentBook();
        ref.firstSheet = firstSheet;
        ref.lastSheet = lastSheet;
        i32 row = 0;
        EXPECT_TRUE(AddExternRef(ref, row));
        Value value = RefValue(row, static_cast<u16>(areas.size()));
        u32 i = 0;
        for (const RefArea& area : areas) value.areas->areas[i++] = area;
        return value;
    }
    static Value Elements(std::initializer_list<double> numbers, u32 rows) {
        Value value = ArrayValue(rows, static_cast<u32>(numbers.size()) / rows);
        u32 i = 0;
        for (double number : numbers) value.elements[i++] = NumberValue(number);
        return value;
    }
};

// Every cell of the table, sources down and wanted types across.
TEST_F(Coercion, EverySourceGivesEveryWantedType) {
    Enter("A1", "5");
    Enter("A2", "text");
    struct Source {
        const char* name;
        Value (*make)();
        const char* results[std::size(kinds)];
    };
    const char* V = "#VALUE!";
    Value control;
    control.type = VT_CONTROL;
    const Source sources[] = {
        {"empty", [] { return Value(); }, {"empty", "0", "'", "FALSE", V, V, V, V, V}},
        {"number", [] { return NumberValue(2.5); }, {"empty", "2.5", "'2.5", "TRUE", V, V, V, "{2.5}", V}},
        {"zero", [] { return NumberValue(0); }, {"empty", "0", "'0", "FALSE", V, V, V, "{0}", V}},
        {"digits",
         [] { return TextValue(u"12%"); },
         {"empty", "0.12", "'12%", V, "#REF!", V, V, "{'12%}", "#REF!"}},
        {"address", [] { return TextValue(u"B7"); }, {"empty", V, "'B7", V, "ref 1", V, V, "{'B7}", "#REF!"}},
        {"truth",
         [] { return TextValue(u"tRUE"); },
         {"empty", V, "'tRUE", "TRUE", "#REF!", V, V, "{'tRUE}", "#REF!"}},
        {"falsehood",
         [] { return TextValue(u"False"); },
         {"empty", V, "'False", "FALSE", "#REF!", V, V, "{'False}", "#REF!"}},
        {"error text",
         [] { return TextValue(u"#div/0!"); },
         {"empty", V, "'#div/0!", V, "#REF!", "#DIV/0!", V, "{'#div/0!}", "#REF!"}},
        {"boolean", [] { return BoolValue(true); }, {"empty", "1", "'TRUE", "TRUE", V, V, V, "{TRUE}", V}},
        {"false", [] { return BoolValue(false); }, {"empty", "0", "'FALSE", "FALSE", V, V, V, "{FALSE}", V}},
        {"error",
         [] { return ErrorValue(ERR_NUM); },
         {"empty", "#NUM!", "'#NUM!", V, V, "#NUM!", V, "{#NUM!}", V}},
        {"control",
         [] {
             Value value;
             value.type = VT_CONTROL;
             return value;
         },
         {"empty", V, V, V, V, V, "control", V, V}},
        {"array",
         [] {
             return Elements({7, 8}, 1);
         },
         {"empty", "7", "'7", "TRUE", V, V, V, "{7,8}", V}},
        {"reference",
         [] { return Reference({AreaOf("A1", "A1")}); },
         {"empty", "5", "'5", "TRUE", "ref 1", V, V, "{5}", "area"}},
        {"reference to a blank cell",
         [] { return Reference({AreaOf("C9", "C9")}); },
         {"empty", "0", "'", "FALSE", "ref 1", V, V, "{empty}", "area"}},
        {"two areas",
         [] {
             return Reference({AreaOf("A1", "A1"), AreaOf("A2", "A2")});
         },
         {"empty", V, V, V, "ref 2", V, V, V, V}},
        {"area",
         [] { return AreaValue(AreaOf("A1", "A3")); },
         {"empty", V, "'text", V, "ref 1", V, V, "{5,'text,empty}", "area"}},
        {"square",
         [] { return AreaValue(AreaOf("A1", "B2")); },
         {"empty", V, "'#VALUE!", V, "ref 1", V, V, "{5,empty,'text,empty}", "area"}},
    };
    for (const Source& source : sources)
        for (std::size_t i = 0; i < std::size(kinds); ++i)
            EXPECT_EQ(Result(source.make(), kinds[i]), source.results[i]) << source.name << " to " << kinds[i];
}

TEST_F(Coercion, AReferenceKeepsItsErrorsAndSheets) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 1;
    Enter("A1", "9");
    CurrentWorkbook()->currentSheet = 0;
    Enter("B1", "=1/0");
    EXPECT_EQ(Result(Reference({AreaOf("A1", "A1")}, 1, 1), VT_NUMBER), "9");
    EXPECT_EQ(Result(Reference({AreaOf("A1", "A1")}, 0, 1), VT_NUMBER), "#REF!");
    EXPECT_EQ(Result(Reference({AreaOf("A1", "A1")}, 0, 1), VT_ARRAY), "#REF!");
    EXPECT_EQ(Result(Reference({AreaOf("A1", "A1")}, -1, -1), VT_NUMBER), "#REF!");
    EXPECT_EQ(Result(Reference({AreaOf("B1", "B1")}), VT_NUMBER), "#DIV/0!");
    EXPECT_EQ(Result(Reference({AreaOf("B1", "B1")}), VT_ERROR), "#DIV/0!");
    EXPECT_EQ(Result(Reference({AreaOf("B1", "B1")}), VT_STRING), "'#DIV/0!");
    EXPECT_EQ(Result(Reference({AreaOf("B1", "B1")}), VT_BOOL), "#VALUE!");
}

// The cell that stands beside the formula, when one does.
TEST_F(Coercion, AnAreaGivesTheCellInTheFormulasRowOrColumn) {
    const char* entries[][2] = {{"A2", "2"}, {"A3", "3"}, {"B1", "20"}, {"C1", "30"}};
    for (const auto& entry : entries) Enter(entry[0], entry[1]);
    struct Row {
        RefArea area;
        i32 row, column;
        const char* result;
    };
    const Row rows[] = {
        {AreaOf("A2", "A3"), 1, 9, "2"},       {AreaOf("A2", "A3"), 2, 9, "3"},
        {AreaOf("A2", "A3"), 0, 9, "#VALUE!"}, {AreaOf("A2", "A3"), 3, 9, "#VALUE!"},
        {AreaOf("B1", "C1"), 9, 1, "20"},      {AreaOf("B1", "C1"), 9, 2, "30"},
        {AreaOf("B1", "C1"), 9, 0, "#VALUE!"}, {AreaOf("B1", "C1"), 9, 3, "#VALUE!"},
        {AreaOf("A2", "A2"), 9, 9, "2"},       {AreaOf("A2", "B3"), 1, 0, "#VALUE!"},
    };
    for (const Row& row : rows) {
        Value value = Coerced(AreaValue(row.area), VT_NUMBER, row.row, row.column);
        EXPECT_EQ(Shown(value), row.result) << row.row << ' ' << row.column;
    }
    // Inside an array formula it is all of them.
    Value value = AreaValue(AreaOf("A2", "A3"));
    DerefValue(value, {CurrentBook(), 0, 0, 0, 1});
    EXPECT_EQ(Shown(value), "{2,3}");
    FreeValue(value);
}

// An array formula's cells take their own element; a single row or column serves all of them.
TEST_F(Coercion, AnArrayGivesTheElementOfItsCell) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(sheet.arrayFormulas.Append({AreaOf("B2", "D4"), 0, 0}));
    struct Row {
        Value (*make)();
        i32 row, column;
        const char* result;
    };
    const Row rows[] = {
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         0, 0, "1"},
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         1, 1, "1"},
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         1, 2, "2"},
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         2, 1, "3"},
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         2, 2, "4"},
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         3, 1, "#N/A"},
        {[] {
             return Elements({1, 2, 3, 4}, 2);
         },
         1, 3, "#N/A"},
        {[] {
             return Elements({1, 2}, 1);
         },
         3, 2, "2"},
        {[] {
             return Elements({1, 2}, 2);
         },
         2, 3, "2"},
        {[] { return Elements({5}, 1); }, 3, 3, "5"},
    };
    for (const Row& row : rows) {
        Value value = Coerced(row.make(), VT_NUMBER, row.row, row.column);
        EXPECT_EQ(Shown(value), row.result) << row.row << ' ' << row.column;
    }
}

}  // namespace
}  // namespace tally
