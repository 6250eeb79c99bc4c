#include "fileio/OpenFile.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// Links to other books byte by byte in both forms: SUPBOOK, EXTERNNAME, EXTERNSHEET, the values last seen in
// XCT and CRN, and NAME.

namespace tally {
namespace {

constexpr u16 EXTERNCOUNT = 22, EXTERNSHEET = 23, NAME = 24, EXTERNNAME = 35, CONTINUE = 60, XCT = 89, CRN = 90,
              SUPBOOK = 430;

class LinkRecords : public Saving {
  protected:
    static ExternBook& AddBook(u32 kind, WideView path = {}, std::initializer_list<WideView> sheets = {}) {
        ExternBook* book = CurrentWorkbook()->externBooks.AppendDefault();
        book->kind = kind;
        EXPECT_TRUE(book->path.Assign(path));
        for (const WideView name : sheets) EXPECT_TRUE(book->sheetNames.AppendDefault()->Assign(name));
        return *book;
    }
    static void AddName(ExternBook& book, WideView text, i16 sheet = 0, u16 flags = 0, const Bytes& body = {},
                        u8 form = 8) {
        ExternName* name = book.names.AppendDefault();
        EXPECT_TRUE(name->text.Assign(text));
        name->sheet = sheet;
        name->flags = flags;
        name->body.form = form;
        EXPECT_TRUE(name->body.bytes.AppendMany(body.data(), body.size()));
    }
    static void AddCell(ExternBook& book, i16 sheet, u16 row, u8 column, u8 type, double number,
                        WideView text = {}) {
        ExternCell* cell = book.cells.AppendDefault();
        cell->sheet = sheet;
        cell->row = row;
        cell->column = column;
        cell->type = type;
        cell->number = number;
        EXPECT_TRUE(cell->text.Assign(text));
    }
    // The records of these numbers in the order of the file, "id:bytes".
    std::vector<std::string> Written(std::initializer_list<u16> ids) const {
        std::vector<std::string> out;
        for (const WrittenRecord& record : Records())
            if (std::find(ids.begin(), ids.end(), record.id) != ids.end())
                out.push_back(std::to_string(record.id) + ": " + Digits(record.body));
        return out;
    }
    // A formula of those tokens in a cell of the current sheet.
    static void PutFormula(i32 row, std::initializer_list<u8> tokens) {
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, 0, 15, NumberValue(1), Tokens(tokens)));
        GetCell(CurrentSheet()->cells, row, 0)->calcState = CALC_CURRENT;
    }
    using Lines = std::vector<std::string>;
};

TEST_F(LinkRecords, EachKindOfBookHasItsRecord) {
    AddSheet(u"Two");
    AddBook(EXTERN_SELF);
    AddBook(EXTERN_ADDIN);
    AddBook(EXTERN_CURRENT);
    AddBook(EXTERN_FILE, u"a.x", {u"S", u"\u5B57\u00E9"});
    AddBook(EXTERN_FILE, u"\u5B57", {});
    ASSERT_TRUE(CurrentWorkbook()->externSheets.Append({3, 0, 1}));
    ASSERT_TRUE(CurrentWorkbook()->externSheets.Append({0, -1, -2}));
    Save();
    EXPECT_EQ(Written({SUPBOOK, EXTERNSHEET}),
              (Lines{"430: 02 00 01 04", "430: 01 00 01 3A", "430: 00 00 01 00 00 00",
                     "430: 02 00 03 00 00 61 2E 78 01 00 00 53 02 00 01 57 5B E9 00",
                     "430: 00 00 01 00 01 57 5B", "23: 02 00 03 00 00 00 01 00 00 00 FF FF FE FF"}));
    EXPECT_EQ(losses, 0u);
    Reopen();
    const Array<ExternBook>& books = CurrentWorkbook()->externBooks;
    ASSERT_EQ(books.Count(), 5u);
    constexpr u32 kinds[] = {EXTERN_SELF, EXTERN_ADDIN, EXTERN_CURRENT, EXTERN_FILE, EXTERN_FILE};
    for (u32 i = 0; i < 5; ++i) EXPECT_EQ(books[i].kind, kinds[i]);
    EXPECT_EQ(Narrow(books[3].path), "a.x");
    ASSERT_EQ(books[3].sheetNames.Count(), 2u);
    EXPECT_EQ(books[3].sheetNames[1].View(), u"\u5B57\u00E9");
    EXPECT_EQ(books[4].path.View(), u"\u5B57");
    ASSERT_EQ(CurrentWorkbook()->externSheets.Count(), 2u);
    EXPECT_EQ(CurrentWorkbook()->externSheets[1].lastSheet, -2);
}

TEST_F(LinkRecords, LongPathsAndNamesOfSheetsAreCutAndNamed) {
    for (const std::size_t length : {std::size_t{1024}, std::size_t{1025}}) {
        for (const bool path : {true, false}) {
            CurrentWorkbook()->externBooks.Truncate(0);
            const std::u16string text(length, u'p');
            AddBook(EXTERN_FILE, path ? WideView(text) : WideView(u"p"),
                    {path ? WideView(u"s") : WideView(text)});
            Save();
            EXPECT_EQ(losses, length > 1024 ? u32{LOSS_TEXT} : 0u);
            EXPECT_EQ(Find(SUPBOOK)[0].body.size(), 2 + 3 + 3 + 1024 + 1u);
        }
    }
}

TEST_F(LinkRecords, AListOfSheetsGoesOnWhereTheNextNameDoesNotFit) {
    // A name is taken for one of two bytes a letter.
    const std::u16string name(1000, u'n');
    AddBook(EXTERN_FILE, u"p", {});
    ExternBook& book = CurrentWorkbook()->externBooks[0];
    const auto add = [&](std::size_t length) {
        ASSERT_TRUE(book.sheetNames.AppendDefault()->Assign(WideView(name).substr(0, length)));
    };
    // 6 bytes in front of the names and 1,003 of each; then 3 and two for each letter.
    for (int i = 0; i < 7; ++i) add(1000);
    const std::size_t left = (8224 - (6 + 7 * 1003) - 3) / 2;
    for (const std::size_t length : {left, left + 1}) {
        CurrentWorkbook()->externBooks[0].sheetNames.Truncate(7);
        ASSERT_TRUE(
            CurrentWorkbook()->externBooks[0].sheetNames.AppendDefault()->Assign(name.substr(0, length)));
        Save();
        ASSERT_EQ(Find(CONTINUE).size(), length == left ? 0u : 1u);
        if (length > left) EXPECT_EQ(Find(CONTINUE)[0].body.size(), 3 + length);
        EXPECT_EQ(losses, 0u);
        Reopen();
        ASSERT_EQ(CurrentWorkbook()->externBooks[0].sheetNames.Count(), 8u);
        EXPECT_EQ(CurrentWorkbook()->externBooks[0].sheetNames[7].Length(), length);
    }
}

TEST_F(LinkRecords, NamesOfABookStandBehindIt) {
    const Bytes meaning = {5, 0, 0x1E, 7, 0, 0x1E, 8};
    ExternBook& book = AddBook(EXTERN_FILE, u"f", {u"S"});
    AddName(book, u"Plain");
    AddName(book, u"Local", 1);
    AddName(book, u"Kept", 1, 0x7FE2, meaning);
    AddName(book, u"Print_Area", 0, 0, meaning);
    AddName(book, u"Other", 0, 0x10, meaning, 7);
    AddName(book, u"\u5B57", 0, 0x11, meaning);
    Save();
    EXPECT_EQ(Written({EXTERNNAME}), (Lines{"35: 00 00 00 00 00 00 05 00 50 6C 61 69 6E 02 00 1C 17",
                                            "35: 00 00 01 00 00 00 05 00 4C 6F 63 61 6C 02 00 1C 17",
                                            "35: E2 7F 01 00 00 00 04 00 4B 65 70 74 05 00 1E 07 00 1E 08",
                                            "35: 01 00 00 00 00 00 01 00 06 05 00 1E 07 00 1E 08",
                                            "35: 00 00 00 00 00 00 05 00 4F 74 68 65 72 02 00 1C 17",
                                            "35: 10 00 00 00 00 00 01 01 57 5B 05 00 1E 07 00 1E 08"}));
    Reopen();
    const Array<ExternName>& names = CurrentWorkbook()->externBooks[0].names;
    ASSERT_EQ(names.Count(), 6u);
    EXPECT_EQ(names[1].sheet, 1);
    EXPECT_EQ(names[2].flags, 0x7FE2);
    EXPECT_EQ(Digits({names[2].body.bytes.begin(), names[2].body.bytes.end()}), Digits(meaning));
    EXPECT_EQ(Narrow(names[3].text), "Print_Area");
    EXPECT_EQ(names[5].text.View(), u"\u5B57");
    const Lines first = Written({EXTERNNAME});
    Save();
    EXPECT_EQ(Written({EXTERNNAME}), first);
}

// ---- values ---------------------------------------------------------------------------------------------

TEST_F(LinkRecords, TheValuesLastSeenStandInRunsOfNeighbours) {
    ExternBook& book = AddBook(EXTERN_FILE, u"f", {u"S", u"T"});
    AddCell(book, -1, 1, 2, 1, 0.5);
    AddCell(book, 0, 0x1234, 254, 1, 1.5);
    AddCell(book, 0, 0x1234, 255, 2, 0, u"t\u00E9");
    AddCell(book, 0, 0x1235, 0, 4, 1);
    AddCell(book, 0, 0x1235, 1, 16, 42);
    AddCell(book, 0, 0x1235, 2, 0, 9);
    AddCell(book, 0, 0x1235, 4, 2, 0, u"\u5B57");
    AddCell(book, 1, 0x1235, 5, 4, 0);
    const Lines form8 = {
        "430: 02 00 01 00 00 66 01 00 00 53 01 00 00 54",
        "89: 01 00",
        "90: 02 02 01 00 01 00 00 00 00 00 00 E0 3F",
        "89: 03 00 00 00",
        "90: FF FE 34 12 01 00 00 00 00 00 00 F8 3F 02 02 00 00 74 E9",
        "90: 02 00 35 12 04 01 00 00 00 00 00 00 00 10 2A 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
        "90: 04 04 35 12 02 01 00 01 57 5B",
        "89: 01 00 01 00",
        "90: 05 05 35 12 04 00 00 00 00 00 00 00 00",
    };
    for (int round = 0; round < 2; ++round) {
        Save();
        EXPECT_EQ(Written({SUPBOOK, XCT, CRN}), form8);
        EXPECT_EQ(losses, 0u);
        Reopen();
    }
    const Array<ExternCell>& cells = CurrentWorkbook()->externBooks[0].cells;
    ASSERT_EQ(cells.Count(), 8u);
    EXPECT_EQ(cells[0].sheet, -1);
    EXPECT_EQ(cells[1].number, 1.5);
    EXPECT_EQ(cells[2].text.View(), u"t\u00E9");
    EXPECT_EQ(cells[4].number, 42);
    EXPECT_EQ(cells[5].number, 0);
    EXPECT_EQ(cells[6].column, 4);
    EXPECT_EQ(cells[7].sheet, 1);
}

TEST_F(LinkRecords, ARunThatIsTooLongForARecordGoesOnInAnother) {
    ExternBook& book = AddBook(EXTERN_FILE, u"f", {u"S"});
    // Each text is taken for 4 + 2 * 255 bytes: 4 + 15 * 514 are 7,714 bytes.
    for (u8 column = 0; column < 20; ++column) AddCell(book, 0, 3, column, 2, 0, std::u16string(255, u't'));
    for (u8 column = 0; column < 2; ++column) AddCell(book, 0, 4, column, 2, 0, std::u16string(256, u'u'));
    Save();
    const auto runs = Find(CRN);
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].Word(0), 14u);
    EXPECT_EQ(runs[1].Word(0), 19u | 15 << 8);
    EXPECT_EQ(runs[2].Word(0), 1u);
    EXPECT_EQ(Find(XCT)[0].Word(0), 3u);
    EXPECT_EQ(losses, u32{LOSS_TEXT});
    Reopen();
    ASSERT_EQ(CurrentWorkbook()->externBooks[0].cells.Count(), 22u);
    EXPECT_EQ(CurrentWorkbook()->externBooks[0].cells[21].text.Length(), 255u);
    // At 4 + 911 * 9 + 21 bytes the record is full to the last one.
    for (const std::size_t letters : {std::size_t{8}, std::size_t{9}}) {
        CurrentWorkbook()->externBooks.Truncate(0);
        ExternBook& full = AddBook(EXTERN_FILE, u"f", {u"S"});
        for (u16 column = 0; column < 255; ++column)
            AddCell(full, 0, 3, static_cast<u8>(column), 2, 0, std::u16string(14, u't'));
        ASSERT_TRUE(
            full.cells[0].text.Assign(std::u16string(14 + (8224 - 4 - 255 * 32) / 2 + letters - 8, u't')));
        Save();
        EXPECT_EQ(Find(CRN).size(), letters == 8 ? 1u : 2u);
    }
}

TEST_F(LinkRecords, ValuesAreSortedAndTheFirstOfACellStays) {
    BiffBuilder b;
    b.Globals({"One"}, [](BiffBuilder& g) {
        const auto value = [&](u8 row, u8 column, u8 number) {
            g.Raw(CRN, {column, column, row, 0, 4, number, 0, 0, 0, 0, 0, 0, 0});
        };
        value(0, 0, 9);  // of no book
        g.Raw(SUPBOOK, {1, 0, 1, 4});
        g.Raw(XCT, {1, 0, 0, 0});
        value(0, 0, 9);  // of this book
        g.Raw(SUPBOOK, {2, 0, 1, 0, 0, 'f', 1, 0, 0, 'S', 1, 0, 0, 'T'});
        g.Raw(XCT, {3, 0, 1, 0});
        value(5, 1, 1);
        value(4, 2, 2);
        value(4, 1, 3);
        value(5, 1, 4);
        value(5, 0, 5);
        g.Raw(XCT, {1, 0, 0, 0});
        value(9, 9, 6);
        g.Raw(XCT, {1, 0});
        value(0, 0, 7);
        // Two values of which the second is cut off; a type that there is not; a column behind the last.
        g.Raw(CRN, {2, 1, 0, 0, 4, 8, 0, 0, 0, 0, 0, 0, 0, 4, 9, 0, 0, 0, 0, 0, 0});
        g.Raw(CRN, {3, 3, 0, 0, 99, 9, 0, 0, 0, 0, 0, 0, 0, 4, 9, 0, 0, 0, 0, 0, 0, 0});
        g.Raw(CRN, {0, 5, 0, 0, 4, 9, 0, 0, 0, 0, 0, 0, 0});
        g.Raw(CRN, {255, 254, 1, 0, 4, 1, 0, 0, 0, 0, 0, 0, 0, 2, 1, 0, 0, 'x'});
        g.Raw(CRN, {6, 6, 1, 0, 2, 9, 0, 0, 'x'});
        g.Raw(CRN, {7, 7, 1, 0, 2, 9});
    });
    b.Bof(16).Eof();
    ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
    ASSERT_EQ(CurrentWorkbook()->externBooks.Count(), 2u);
    EXPECT_TRUE(CurrentWorkbook()->externBooks[0].cells.IsEmpty());
    std::string found;
    for (const ExternCell& cell : CurrentWorkbook()->externBooks[1].cells)
        found += std::to_string(cell.sheet) + ":" + std::to_string(cell.row) + "," +
                 std::to_string(cell.column) + "=" + std::to_string(cell.type) + "/" +
                 std::to_string(static_cast<int>(cell.number)) + Narrow(cell.text) + " ";
    EXPECT_EQ(found,
              "-1:0,0=4/7 -1:0,1=4/8 -1:0,3=0/0 -1:1,6=2/0x -1:1,254=4/1 -1:1,255=2/0x 0:9,9=4/6 1:4,1=4/3 "
              "1:4,2=4/2 1:5,0=4/5 1:5,1=4/1 ");
}

// ---- the 95 form ----------------------------------------------------------------------------------------

TEST_F(LinkRecords, TheOlderFormNamesEachSheetInARecordOfItsOwn) {
    AddSheet(u"T\u00E9");
    CurrentWorkbook()->currentSheet = 0;
    AddBook(EXTERN_SELF);
    AddBook(EXTERN_ADDIN);
    ExternBook& file = AddBook(EXTERN_FILE, u"\u0001d\u0003f.xls", {u"S", u"U"});
    AddName(file, u"nn");
    AddName(file, u"Print_Area", 0, 4, {1, 2, 3}, 7);
    ExternBook& addIn = CurrentWorkbook()->externBooks[1];
    AddName(addIn, u"EDATE");
    AddCell(CurrentWorkbook()->externBooks[2], 1, 2, 3, 1, 0.5);
    AddCell(CurrentWorkbook()->externBooks[2], 1, 2, 4, 2, 0, u"t\u00E9");
    for (const ExternSheet& row : {ExternSheet{0, 1, 1},
                                   {1, EXTERN_NO_SHEET, EXTERN_NO_SHEET},
                                   {2, 1, 1},
                                   {2, EXTERN_NO_SHEET, EXTERN_NO_SHEET},
                                   {0, 9, 9}})
        ASSERT_TRUE(CurrentWorkbook()->externSheets.Append(row));
    PutFormula(0, {0x5A, 2, 0, 0, 0, 0, 0xC0});                            // the file's cell
    PutFormula(1, {0x39, 1, 0, 1, 0, 0, 0, 0x1E, 1, 0, 0x42, 2, 255, 0});  // the add-in's function
    PutFormula(2, {0x5A, 0, 0, 0, 0, 0, 0xC0});                            // the other sheet
    PutFormula(3, {0x59, 3, 0, 2, 0, 0, 0});                               // a name of the file
    PutFormula(4, {0x5A, 2, 0, 1, 0, 0, 0xC0});                            // the same again
    PutFormula(5, {0x5A, 4, 0, 0, 0, 0, 0xC0});                            // a sheet that is gone
    const Lines table = {
        "22: 05 00",
        "23: 0D 01 64 03 5B 66 2E 78 6C 73 5D 55",
        "89: 01 00",
        "90: 04 03 02 00 01 00 00 00 00 00 00 E0 3F 02 02 74 E9",
        "23: 01 3A",
        "35: 00 00 00 00 00 00 05 45 44 41 54 45 02 00 1C 17",
        "23: 02 03 54 E9",
        "23: 08 01 64 03 66 2E 78 6C 73",
        "35: 00 00 00 00 00 00 02 6E 6E 02 00 1C 17",
        "35: 04 00 00 00 00 00 0A 50 72 69 6E 74 5F 41 72 65 61 01 02 03",
        "23: 01 04",
    };
    Save(7);
    EXPECT_EQ(losses, 0u);
    Lines twice = table;  // in the globals and in the sheet
    twice.insert(twice.end(), table.begin(), table.end());
    const Lines written = Written({EXTERNCOUNT, EXTERNSHEET, EXTERNNAME, XCT, CRN});
    // The names of another book's sheets have a count that leaves out the mark of the first.
    ASSERT_EQ(written.size(), twice.size());
    for (std::size_t i = 0; i < written.size(); ++i) {
        if (i % table.size() == 1 || i % table.size() == 7) {
            EXPECT_EQ(written[i].substr(7), twice[i].substr(7)) << i;
            EXPECT_EQ(std::stoi(written[i].substr(4, 2), nullptr, 16),
                      static_cast<int>((written[i].size() - 6) / 3));
        } else {
            EXPECT_EQ(written[i], twice[i]) << i;
        }
    }
    Reopen();
    EXPECT_EQ(FormulaOf("A2"), "=EDATE(1)");
    EXPECT_EQ(FormulaOf("A3"), "=T\xC3\xA9!A1");
    const Array<ExternBook>& books = CurrentWorkbook()->externBooks;
    u32 values = 0;
    for (const ExternBook& book : books) values += book.cells.Count();
    EXPECT_EQ(values, 2u);
}

TEST_F(LinkRecords, WhatTheOlderFormCannotNameMakesAFormulaItsValue) {
    AddBook(EXTERN_SELF);
    AddBook(EXTERN_FILE, u"f", {u"S", u"T"});
    AddBook(EXTERN_CURRENT);
    for (const ExternSheet& row :
         {ExternSheet{0, 0, 0}, {1, 0, 1}, {2, 0, 0}, {9, 0, 0}, {-1, 0, 0}, {1, 1, 1}})
        ASSERT_TRUE(CurrentWorkbook()->externSheets.Append(row));
    const u8 last = 6;
    for (u8 index = 0; index <= last; ++index) {
        PutFormula(0, {0x5A, index, 0, 0, 0, 0, 0xC0});
        Save(7);
        EXPECT_EQ(losses, index == 0 || index == 5 ? 0u : u32{LOSS_FORMULAS}) << int{index};
        EXPECT_EQ(Find(6)[0].body[22], index == 0 || index == 5 ? 0x5A : 0x1C) << int{index};
    }
}

// ---- names ----------------------------------------------------------------------------------------------

TEST_F(LinkRecords, ANameHasItsFieldsInBothForms) {
    AddSheet(u"Two");
    DefineName("ab", "=1");
    DefineName("\xE5\xAD\x97", "=2", 2);
    DefineName("Print_Titles", "=3", 1);
    DefineName("Auto_Open\xE5\xAD\x97", "=4");
    Array<DefinedName>& names = CurrentWorkbook()->names;
    PutText(0, 0, u"\u00f1");  // no page has all these letters
    names[0].flags = 0x0F0B;
    names[0].shortcut = 0x6B;
    Save(8);
    EXPECT_EQ(Written({NAME}),
              (Lines{"24: 0B 0F 6B 02 03 00 00 00 00 00 00 00 00 00 00 61 62 1E 01 00",
                     "24: 00 00 00 01 03 00 00 00 02 00 00 00 00 00 01 57 5B 1E 02 00",
                     "24: 20 00 00 01 03 00 00 00 01 00 00 00 00 00 00 07 1E 03 00",
                     "24: 20 00 00 02 03 00 00 00 00 00 00 00 00 00 01 01 00 57 5B 1E 04 00"}));
    Save(7);
    EXPECT_EQ(Written({EXTERNSHEET, NAME}),
              (Lines{"23: 03 03 54 77 6F", "23: 06 03 53 68 65 65 74 31",
                     "24: 0B 0F 6B 02 03 00 00 00 00 00 00 00 00 00 61 62 1E 01 00",
                     "24: 00 00 00 01 03 00 01 00 02 00 00 00 00 00 5F 1E 02 00",
                     "24: 20 00 00 01 03 00 02 00 01 00 00 00 00 00 07 1E 03 00",
                     "24: 20 00 00 02 03 00 00 00 00 00 00 00 00 00 01 5F 1E 04 00"}));
    EXPECT_EQ(losses, u32{LOSS_CHARACTERS});
    Reopen();
    ASSERT_EQ(CurrentWorkbook()->names.Count(), 4u);
    EXPECT_EQ(CurrentWorkbook()->names[1].sheet, 2);
    EXPECT_EQ(CurrentWorkbook()->names[2].sheet, 1);
    EXPECT_EQ(Narrow(CurrentWorkbook()->names[3].text), "Auto_Open_");
}

TEST_F(LinkRecords, ANameWhoseFormulaNoRecordHoldsKeepsItsNumber) {
    DefineName("plain", "=1");
    PutText(0, 0, u"\u00f1");
    std::string constant = "={1";
    for (int i = 1; i < 950; ++i) constant += ";1";
    DefineName("Auto_Open\xE5\xAD\x97", constant + "}");
    DefineName("behind", "=3");
    for (const u8 form : {u8{8}, u8{7}}) {
        Save(form);
        EXPECT_TRUE(losses & LOSS_FORMULAS);
        const auto names = Find(NAME);
        ASSERT_EQ(names.size(), 3u);
        EXPECT_EQ(Digits(names[1].body), form == 8 ? "20 00 00 02 00 00 00 00 00 00 00 00 00 00 01 01 00 57 5B"
                                                   : "20 00 00 02 00 00 00 00 00 00 00 00 00 00 01 5F");
    }
}

}  // namespace
}  // namespace tally
