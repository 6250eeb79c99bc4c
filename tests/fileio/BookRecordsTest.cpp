#include "fileio/OpenFile.h"
#include "model/Formats.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// Records of the book as a whole, and rules that are too long for a record.

namespace tally {
namespace {

class BookRecords : public Saving {
  protected:
    std::string First(u16 id) const {
        const auto records = Find(id);
        return records.empty() ? "none" : Digits(records[0].body);
    }
};

TEST_F(BookRecords, SheetsKeepTheirNumbersAndNewOnesGetHigherOnes) {
    AddSheet(u"Two");
    AddSheet(u"Three");
    AddSheet(u"Four");
    const u16 numbers[][4] = {{0, 0, 0, 0}, {5, 0, 2, 0}, {0, 0x1234, 0, 1}};
    const char* written[] = {"01 00 02 00 03 00 04 00", "05 00 06 00 02 00 07 00", "35 12 34 12 36 12 01 00"};
    for (std::size_t i = 0; i < std::size(written); ++i) {
        for (u32 k = 0; k < 4; ++k) CurrentWorkbook()->sheets[k]->options.tabId = numbers[i][k];
        Save(8);
        EXPECT_EQ(First(317), written[i]);
        Save(7);
        EXPECT_EQ(First(317), "none");
    }
    Save(8);
    Reopen();
    EXPECT_EQ(CurrentWorkbook()->sheets[1]->options.tabId, 0x1234);
}

TEST_F(BookRecords, TheWindowTellsItsBarsAndTheSheetThatIsSeen) {
    AddSheet(u"Two");
    AddSheet(u"Three");
    Workbook& book = *CurrentWorkbook();
    for (u16 i = 0; i < 9; ++i) book.options.window[i] = static_cast<u16>(0x1101 * (i + 1));
    for (u32 bits = 0; bits < 8; ++bits) {
        book.showHorizontalScrollBar = bits & 1;
        book.showVerticalScrollBar = bits >> 1 & 1;
        book.showSheetTabs = bits >> 2;
        book.currentSheet = 2;
        // The first tab that is seen is one of the book's.
        book.options.window[6] = bits & 1 ? 2 : 3;
        for (const u8 form : {u8{8}, u8{7}}) {
            Save(form);
            const u8 flags = static_cast<u8>((0x05 & ~0x38) | bits << 3);
            EXPECT_EQ(First(61), "01 11 02 22 03 33 04 44 " + Digits({flags, 0x55}) + " 02 00 " +
                                     (bits & 1 ? "02" : "00") + " 00 01 00 09 99");
        }
    }
    Save(8);
    Reopen();
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 2);
    EXPECT_EQ(CurrentWorkbook()->showSheetTabs, 1u);
}

TEST_F(BookRecords, SheetsAreListedWithKindAndState) {
    PutText(0, 0, u"\u00F1\u0E01\u5B57");  // no page has all these letters
    AddSheet(u"M\u00E9", SHEET_MACRO);
    AddSheet(u"C\u5B57", SHEET_CHART);
    AddSheet(u"B", SHEET_MODULE);
    for (u32 i = 0; i < 4; ++i) CurrentWorkbook()->sheets[i]->hidden = static_cast<i32>(i + 4);
    const char* form8[] = {"00 00 06 00 53 68 65 65 74 31", "01 01 02 00 4D E9", "02 02 02 01 43 00 57 5B",
                           "03 06 01 00 42"};
    const char* form7[] = {"00 00 06 53 68 65 65 74 31", "01 01 02 4D E9", "02 02 02 43 5F", "03 06 01 42"};
    for (const u8 form : {u8{8}, u8{7}}) {
        Save(form);
        const auto sheets = Find(133);
        ASSERT_EQ(sheets.size(), 4u);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(Digits({sheets[i].body.begin() + 4, sheets[i].body.end()}),
                      form == 8 ? form8[i] : form7[i]);
    }
}

TEST_F(BookRecords, ACellBelongsToItsStyleOrToTheFirst) {
    Workbook& book = *CurrentWorkbook();
    const struct {
        u16 parent, written;
    } rows[] = {{0, 0}, {1, 1}, {14, 14}, {15, 0}, {20, 20}, {21, 0}, {0xFFF, 0}};
    for (const auto& row : rows) {
        book.cellFormats[15].parent = row.parent;
        for (const u8 form : {u8{8}, u8{7}}) {
            Save(form);
            EXPECT_EQ(Find(224)[15].Word(4) >> 4,
                      row.written && (book.cellFormats[row.written].flags & FORMAT_STYLE) ? row.written : 0u)
                << row.parent;
            EXPECT_EQ(Find(224)[1].Word(4) >> 4, 0xFFFu);
        }
    }
    EXPECT_TRUE(book.cellFormats[14].flags & FORMAT_STYLE);
    EXPECT_FALSE(book.cellFormats[15].flags & FORMAT_STYLE);
}

TEST_F(BookRecords, ARuleThatNoRecordHoldsIsLeftOutAndNamed) {
    // Four texts of 255 letters in two bytes, and formulas that fill the rest.
    const auto rule = [](u16 tokens) {
        ValidationRule* made = CurrentSheet()->validations.AppendDefault();
        const u8 zero = 0x1E;
        Array<u8> bytes;
        ASSERT_TRUE(bytes.Resize(tokens));
        for (u32 i = 0; i + 2 < bytes.Count(); i += 3) bytes[i] = zero;
        ASSERT_TRUE(MakeTokens(made->formula1, bytes.Span(), {}));
        ASSERT_TRUE(made->areas.Append({1, 1, 1, 1}));
    };
    // 4 bytes of flags, four empty texts of 4 bytes, two formulas with 4 each, a count and an area.
    const u16 most = 8224 - 4 - 16 - 8 - 2 - 8;
    for (const u16 tokens : {most, static_cast<u16>(most + 1)}) {
        CurrentSheet()->validations.Truncate(0);
        rule(tokens);
        rule(3);
        Save();
        const bool fits = tokens == most;
        EXPECT_EQ(losses, fits ? 0u : u32{LOSS_RULES});
        EXPECT_EQ(Find(446).size(), fits ? 2u : 1u);
        EXPECT_EQ(Find(434)[0].Long(14), fits ? 2u : 1u);
    }
}

TEST_F(BookRecords, AConditionThatNoRecordHoldsGoesWithoutItsFormulas) {
    ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
    ASSERT_TRUE(format->areas.Append({1, 2, 3, 4}));
    ConditionalCondition* condition = format->conditions.AppendDefault();
    condition->hasPattern = true;
    condition->pattern = {true, 1};
    // 12 bytes, the pattern's 4 and the formulas.
    const u16 most = 8224 - 12 - 4 - 3;
    for (const u16 tokens : {most, static_cast<u16>(most + 1)}) {
        Array<u8> bytes;
        ASSERT_TRUE(bytes.Resize(tokens));
        FreeTokens(condition->formula1);
        FreeTokens(condition->formula2);
        ASSERT_TRUE(MakeTokens(condition->formula1, bytes.Span(), {}));
        condition->formula2 = Tokens({0x1E, 7, 0});
        Save();
        const bool fits = tokens == most;
        EXPECT_EQ(losses, fits ? 0u : u32{LOSS_RULES});
        ASSERT_EQ(Find(433).size(), 1u);
        const WrittenRecord record = Find(433)[0];
        EXPECT_EQ(record.body.size(), fits ? 8224u : 16u);
        EXPECT_EQ(record.Word(2), fits ? tokens : 0u);
        EXPECT_EQ(record.Word(4), fits ? 3u : 0u);
    }
}

TEST_F(BookRecords, ConditionsOfManyAreasAreSeveralOfFew) {
    ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
    ASSERT_NE(format->conditions.AppendDefault(), nullptr);
    format->priority = 0x123;
    for (u16 i = 0; i < 1027; ++i) {
        const u16 row = static_cast<u16>(2000 - i);
        ASSERT_TRUE(format->areas.Append({row, static_cast<u16>(row + 1), static_cast<u8>(i % 200 + 3), 250}));
    }
    Save();
    const auto records = Find(432);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(Find(433).size(), 2u);
    // 14 bytes in front of the areas; each record tells the bound of all.
    EXPECT_EQ(records[0].Word(12), 1026u);
    EXPECT_EQ(records[1].Word(12), 1u);
    for (const WrittenRecord& record : records)
        EXPECT_EQ(Digits({record.body.begin(), record.body.begin() + 12}),
                  "01 00 23 01 CE 03 D1 07 03 00 FA 00");
    EXPECT_EQ(losses, 0u);
}

TEST_F(BookRecords, AFilterTellsWhatItsColumnsAsk) {
    Sheet& sheet = *CurrentSheet();
    sheet.filterState = FILTER_AUTO;
    ASSERT_TRUE(sheet.filterColumns.Resize(7));
    const auto set = [&](u32 column, u32 which, u8 kind, u8 comparison, WideView text) {
        FilterCondition& condition = sheet.filterColumns[column].conditions[which];
        condition.kind = kind;
        condition.comparison = comparison;
        ASSERT_TRUE(condition.text.Assign(text));
    };
    set(1, 0, 6, 2, u"abc");
    set(2, 0, 6, 2, u"1.5");
    set(2, 1, 6, 2, u"x\u00E9");
    sheet.filterColumns[2].joinOr = true;
    set(3, 1, 12, 0, u"");
    set(4, 0, 6, 4, u"1.50");
    set(4, 1, 6, 5, u"007");
    sheet.filterColumns[5].top10 = true;
    sheet.filterColumns[5].count = 300;
    sheet.filterColumns[6].top10 = sheet.filterColumns[6].percent = true;
    sheet.filterColumns[6].top = false;
    sheet.filterColumns[6].count = 1;
    Save(8);
    std::vector<std::string> found;
    for (const WrittenRecord& record : Find(158)) found.push_back(Digits(record.body));
    const std::string none = "00 00 00 00 00 00 00 00 00 00";
    EXPECT_EQ(found,
              (std::vector<std::string>{
                  "01 00 04 00 06 02 00 00 00 00 03 00 00 00 " + none + " 00 61 62 63",
                  "02 00 0D 00 04 02 00 00 00 00 00 00 F8 3F 06 02 00 00 00 00 02 00 00 00 00 78 E9",
                  "03 00 00 00 " + none + " 0C 00 00 00 00 00 00 00 00 00",
                  "04 00 00 00 06 04 00 00 00 00 04 00 00 00 06 05 00 00 00 00 03 00 00 00 00 31 2E 35 30 "
                  "00 30 30 37",
                  "05 00 30 96 " + none + " " + none, "06 00 D0 00 " + none + " " + none}));
    EXPECT_EQ(First(157), "07 00");
    EXPECT_EQ(First(155), "");
    Save(7);
    EXPECT_EQ(Digits(Find(158)[1].body),
              "02 00 0D 00 04 02 00 00 00 00 00 00 F8 3F 06 02 00 00 00 00 02 00 00 00 78 E9");
    // Without a condition there is a list and no mark; an advanced filter is the mark alone.
    for (FilterColumn& column : sheet.filterColumns) column = FilterColumn();
    Save(8);
    EXPECT_EQ(First(155), "none");
    EXPECT_EQ(First(157), "07 00");
    sheet.filterState = FILTER_ADVANCED;
    Save(8);
    EXPECT_EQ(First(155), "");
    EXPECT_EQ(First(157), "none");
    sheet.filterState = 0;
    Save(8);
    EXPECT_EQ(First(155), "none");
    EXPECT_EQ(First(157), "none");
}

TEST_F(BookRecords, RulesHaveTheirBytes) {
    Sheet& sheet = *CurrentSheet();
    sheet.promptX = 0x1234;
    sheet.promptY = -2;
    Save();
    EXPECT_EQ(First(434), "00 00 34 12 00 00 FE FF FF FF FF FF FF FF 00 00 00 00");
    sheet.dropDownId = 7;
    ValidationRule* rule = sheet.validations.AppendDefault();
    rule->kind = 3;
    rule->errorStyle = 2;
    rule->literalList = 1;
    rule->ignoreBlank = 0;
    rule->noDropArrow = 1;
    rule->showInput = 0;
    rule->comparison = 6;
    ASSERT_TRUE(rule->inputTitle.Assign(u"a") && rule->errorTitle.Assign(u"\u5B57") &&
                rule->inputText.Assign(u"b") && rule->errorText.Assign(u""));
    rule->formula1 = Tokens({0x1E, 1, 0});
    rule->formula2 = Tokens({0x1E, 2, 0, 0x1E, 3, 0});
    ASSERT_TRUE(rule->areas.Append({1, 2, 3, 4}) && rule->areas.Append({0x1234, 0x2345, 5, 6}));
    Save();
    EXPECT_EQ(First(434), "00 00 34 12 00 00 FE FF FF FF 07 00 00 00 01 00 00 00");
    EXPECT_EQ(First(446),
              "A3 02 68 00 01 00 00 61 01 00 01 57 5B 01 00 00 62 01 00 00 00 03 00 00 00 1E 01 00 "
              "06 00 00 00 1E 02 00 1E 03 00 02 00 01 00 02 00 03 00 04 00 34 12 45 23 05 00 06 00");
    sheet.promptX = sheet.promptY = 0;
    sheet.dropDownId = 0;
    sheet.validations.Truncate(0);
    Save();
    EXPECT_EQ(First(434), "none");
    for (int i = 0; i < 3; ++i) {
        sheet.promptX = i == 0;
        sheet.promptY = i == 1;
        sheet.dropDownId = i == 2;
        Save();
        EXPECT_NE(First(434), "none") << i;
    }
}

}  // namespace
}  // namespace tally
