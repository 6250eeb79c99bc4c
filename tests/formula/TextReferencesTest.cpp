#include "formula/TextReferences.h"

#include "editing/SheetOperations.h"

#include "support/Sandbox.h"

namespace tally {
namespace {

class TextReferencesTest : public Sandbox {
  protected:
    static void AddSheet(WideView name) {
        const i32 index = static_cast<i32>(CurrentWorkbook()->sheets.Count());
        ASSERT_TRUE(InsertSheet(index, nullptr, SHEET_WORKSHEET, false, true));
        ASSERT_TRUE(RenameSheet(*SheetAt(0, index), name));
    }
    // What is found, each between bars, with "@" and the sheet behind it.
    static std::string Found(std::string_view text) {
        Array<TextReference> references;
        const std::u16string wide = Wide(text);
        EXPECT_TRUE(FindTextReferences({}, wide, references));
        std::string out;
        for (const TextReference& reference : references) {
            out += Narrow(WideView(wide).substr(static_cast<std::size_t>(reference.start),
                                                static_cast<std::size_t>(reference.end - reference.start)));
            if (reference.sheet) out += "@" + std::to_string(reference.sheet);
            out += "|";
        }
        return out;
    }
    static std::string InForm(std::string_view cells, int form) {
        WideText out;
        EXPECT_TRUE(AppendInForm(Wide(cells), static_cast<ReferenceForm>(form), out));
        return Narrow(out);
    }
};

TEST_F(TextReferencesTest, ReferencesAreFoundInFinishedAndUnfinishedFormulas) {
    AddSheet(u"Two");
    const struct {
        const char* text;
        const char* found;
    } rows[] = {
        {"=A1+B2:C3", "A1|B2:C3|"},
        {"=SUM($A$1,b7", "$A$1|b7|"},
        {"=\"A1\"&B1", "B1|"},
        {"=\"A1\"\"C4\"&B1", "B1|"},
        {"={1,2}+A1", "A1|"},
        {"=LOG10(A1)+AB12X+X_A1", "A1|"},
        {"=1E5+2:4+C:D", "2:4|C:D|"},
        {"=Two!A1+Sheet1!B2+Sheet1:Two!C3", "Two!A1@1|Sheet1!B2|Sheet1:Two!C3@-1|"},
        {"=Nine!A1+A2", "A2|"},
        {"='Two'!A1*", "'Two'!A1@1|"},
        {"='never closed A1", ""},
        {"A1", "A1|"},
        {"=A70000+IW1", ""},
        {"", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(Found(row.text), row.found) << row.text;
}

TEST_F(TextReferencesTest, AReferenceHasFourFormsAndALineTwo) {
    const struct {
        const char* cells;
        const char* forms[FORM_COUNT];
    } rows[] = {
        {"a1", {"a1", "$a$1", "a$1", "$a1"}},
        {"A1:$B2", {"A1:B2", "$A$1:$B$2", "A$1:B$2", "$A1:$B2"}},
        {"C:D", {"C:D", "$C:$D", "C:D", "$C:$D"}},
        {"$3:$4", {"3:4", "$3:$4", "$3:$4", "3:4"}},
    };
    for (const auto& row : rows)
        for (int form = 0; form < FORM_COUNT; ++form)
            EXPECT_EQ(InForm(row.cells, form), row.forms[form]) << row.cells << form;
    for (int form = 0; form < FORM_COUNT; ++form) EXPECT_EQ(FormOfReference(Wide(InForm("B9", form))), form);
    EXPECT_EQ(FormOfReference(u"$A:$B"), FORM_ABSOLUTE);
    EXPECT_EQ(FormOfReference(u"4:$5"), FORM_RELATIVE);
}

TEST_F(TextReferencesTest, PlainReferencesTakeTheSheetsName) {
    AddSheet(u"It's 2");
    FormulaPlace place;
    place.sheet = 1;
    WideText out;
    ASSERT_TRUE(WithSheetNames(place, u"=A1+Sheet1!B2&\"C3\"+SUM(D4:E5)", out));
    EXPECT_EQ(Narrow(out), "='It''s 2'!A1+Sheet1!B2&\"C3\"+SUM('It''s 2'!D4:E5)");
}

TEST_F(TextReferencesTest, ANameIsNoReferenceAndNoTruth) {
    for (const char16_t* good : {u"rate", u"_x", u"A1B", u"Total.2", u"RC1D", u"ABC1", u"税率", u"A"})
        EXPECT_TRUE(IsNameText(good)) << Narrow(good);
    for (const char16_t* bad : {u"", u"1a", u"a b", u"A1", u"$A$1", u"IV65536", u"R1C1", u"r", u"C", u"RC",
                                u"R[1]C", u"true", u"FALSE", u"a+b", u"Sheet1!a", u"a:b", u".a", u"a("})
        EXPECT_FALSE(IsNameText(bad)) << Narrow(bad);
    EXPECT_TRUE(IsNameText(std::u16string(255, u'n')));
    EXPECT_FALSE(IsNameText(std::u16string(256, u'n')));
}

}  // namespace
}  // namespace tally
