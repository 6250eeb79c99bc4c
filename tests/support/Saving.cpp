#include "support/Saving.h"

#include "fileio/biff/CarriedRecords.h"
#include "fileio/compound/CompoundReader.h"
#include "functions/Random.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {

void Saving::SetUp() {
    Sandbox::SetUp();
    Headless().filesInMemory = true;
}

void Saving::Save(u8 form) {
    CurrentWorkbook()->biffVersion = form;
    losses = 0;
    ASSERT_TRUE(WriteBookFile(CurrentBook(), u"a.xls", FILE_XLS, losses));
}

void Saving::Reopen() {
    ResetBooks();
    Random() = RandomState();
    ASSERT_TRUE(OpenFile(u"a.xls", OPEN_SILENT_LINKS));
}

void Saving::ExpectReturn(u8 form, u32 parts) {
    Save(form);
    const auto before = DumpBook(CurrentBook(), parts, form == 7);
    Reopen();
    EXPECT_EQ(CurrentWorkbook()->biffVersion, form);
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook(), parts, form == 7)), "") << "form " << int{form};
}

std::vector<u8> Saving::File() const {
    const MemoryFile* file = FindMemoryFile(u"a.xls");
    return file ? std::vector<u8>(file->bytes.begin(), file->bytes.end()) : std::vector<u8>();
}

std::vector<u8> Saving::Stream() const {
    const std::vector<u8> file = File();
    Array<u8> pieces;
    ByteView stream;
    if (ReadCompoundStream(file, u"Workbook", pieces, stream) != STREAM_READ &&
        ReadCompoundStream(file, u"Book", pieces, stream) != STREAM_READ) {
        return {};
    }
    return {stream.begin(), stream.end()};
}

std::vector<WrittenRecord> Saving::Records() const {
    const std::vector<u8> bytes = Stream();
    std::vector<WrittenRecord> out;
    BiffStream stream{bytes};
    BiffRecord record;
    for (std::size_t at = 0; NextRecord(stream, record); at = stream.position) {
        if (!record.id) break;  // what fills the stream up
        out.push_back({record.id, at, {record.body.begin(), record.body.end()}});
    }
    return out;
}

std::vector<u16> Saving::Ids() const {
    std::vector<u16> ids;
    for (const WrittenRecord& record : Records()) ids.push_back(record.id);
    return ids;
}

std::vector<WrittenRecord> Saving::Find(u16 id) const {
    std::vector<WrittenRecord> out;
    for (WrittenRecord& record : Records()) {
        if (record.id == id) out.push_back(std::move(record));
    }
    return out;
}

void Saving::Put(i32 row, i32 column, double number, u16 format) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, format, NumberValue(number), FormulaTokens()));
}

void Saving::PutText(i32 row, i32 column, std::u16string_view text, u16 format) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, format, TextValue(text), FormulaTokens()));
}

void Saving::PutBlank(i32 row, i32 column, u16 format) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, format, Value(), FormulaTokens()));
}

void Saving::AddSheet(std::u16string_view name, i32 kind) {
    const WideView view = name;
    ASSERT_TRUE(InsertSheet(static_cast<i32>(CurrentWorkbook()->sheets.Count()), &view, kind, false, false));
}

u16 Saving::FormatWith(u16 numberFormat) {
    CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
    format.numberFormat = numberFormat;
    u16 index = 0;
    EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
    return index;
}

namespace {

// A format for cells that differs from the default one.
u16 OtherFormat(u16 numberFormat) {
    CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
    format.numberFormat = numberFormat;
    u16 index = 0;
    EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
    return index;
}

void FillCells() {
    Sheet& sheet = *CurrentSheet();
    const u16 plain = OtherFormat(3), percent = OtherFormat(9), money = OtherFormat(44);
    for (i32 row = 0; row < 40; ++row) {
        for (i32 column = 0; column < 6; ++column) {
            const double number = row * 1.37 + column;
            IgnoreFailure(InsertCell(sheet, row, column, column == 3 ? plain : u16{15},
                                     column == 4   ? TextValue(row % 3 ? u"twice" : u"caf\u00e9")
                                     : column == 5 ? BoolValue(row % 2 == 0)
                                                   : NumberValue(number),
                                     FormulaTokens()));
        }
    }
    IgnoreFailure(InsertCell(sheet, 50, 1, 15, ErrorValue(ERR_DIV0), FormulaTokens()));
    IgnoreFailure(InsertCell(sheet, 50, 2, percent, Value(), FormulaTokens()));
    IgnoreFailure(InsertCell(sheet, 50, 3, money, Value(), FormulaTokens()));
}

void FillSizesAndViews() {
    Sheet& sheet = *CurrentSheet();
    IgnoreFailure(SetColumnInfo(sheet.columns, {1, 0, 3000, 15}));
    IgnoreFailure(SetColumnInfo(sheet.columns, {2, 0, 3000, 15}));
    IgnoreFailure(SetColumnInfo(sheet.columns, {3, COLUMN_HIDDEN, 2000, OtherFormat(9)}));
    IgnoreFailure(SetColumnInfo(sheet.columns, {9, COLUMN_DEFAULT_WIDTH, 0, OtherFormat(9)}));
    IgnoreFailure(SetRowInfo(sheet.rows, {4, ROW_CUSTOM_HEIGHT, 600}));
    IgnoreFailure(SetRowInfo(sheet.rows, {5, ROW_HIDDEN, 300}));
    sheet.viewFlags = static_cast<u16>((sheet.viewFlags & ~(VIEW_STANDARD_WIDTH | VIEW_STANDARD_HEIGHT)) |
                                       VIEW_FROZEN | VIEW_PROTECTED | VIEW_HEIGHT_DIFFERS);
    sheet.defaultColumnWidth = 2345;
    sheet.defaultRowHeight = 280;
    sheet.passwordHash = 0xCE4B;
    sheet.view.activeRow = 3;
    sheet.view.activeColumn = 2;
    sheet.view.selection = {3, 7, 2, 4};
    sheet.view.frozenFirstRow = 1;
    sheet.view.splitRow = 3;
    sheet.view.splitColumn = 2;
    sheet.view.firstRow = 10;
    sheet.view.firstColumn = 4;
    sheet.zoomPercent = 85;
    sheet.tabColour = 13;
}

void FillPage() {
    PageSettings& page = CurrentSheet()->page;
    IgnoreFailure(page.header.Assign(u"&L\u00dcber&R&P"));
    IgnoreFailure(page.footer.Assign(u"&F"));
    page.leftMargin = 0.75;
    page.topMargin = 1.25;
    page.printGridlines = page.centreVertically = page.fitToPage = 1;
    IgnoreFailure(page.setup.Resize(34));
    page.setup[0] = 9;
    // Two names of 32 characters with 38 bytes between them, and the driver's own data.
    IgnoreFailure(page.printer.Resize(64 + 38 + 64 + 10));
    page.printer[0] = 'P';
    page.printer[68] = 220;
    page.printer[64 + 38] = 'A';
    page.printer[170] = 77;
    page.guts[2] = 2;
}

RefArea Area(u16 firstRow, u16 lastRow, u8 firstColumn, u8 lastColumn) {
    return {firstRow, lastRow, firstColumn, lastColumn};
}

void FillRules() {
    Sheet& sheet = *CurrentSheet();
    IgnoreFailure(sheet.mergedAreas.Append(Area(20, 21, 8, 9)));
    ConditionalFormat* format = sheet.conditionalFormats.AppendDefault();
    IgnoreFailure(format->areas.Append(Area(0, 9, 0, 1)));
    IgnoreFailure(format->areas.Append(Area(12, 12, 0, 0)));
    for (u8 i = 0; i < 3; ++i) {
        ConditionalCondition* condition = format->conditions.AppendDefault();
        condition->type = i ? 1 : 2;
        condition->comparison = i == 1 ? 5 : i;  // between two values for the last one
        const u8 tokens[] = {0x1E, i, 0};
        IgnoreFailure(MakeTokens(condition->formula1, tokens, {}));
        if (i == 2) IgnoreFailure(MakeTokens(condition->formula2, tokens, {}));
        condition->bold = {true, static_cast<u8>(i % 2)};
        condition->italic = {i != 1, 1};
        condition->underline = {i == 1, 1};
        condition->hasFontColour = i != 2;
        condition->fontColour = static_cast<u16>(condition->hasFontColour ? 10 + i : -1);
        condition->hasBorders = i == 1;
        if (i == 1) {
            condition->leftStyle = {true, 1};
            condition->bottomStyle = {true, 2};
            condition->bottomColour = 40;
        }
        condition->hasPattern = i != 1;
        if (i != 1) {
            condition->pattern = {true, 1};
            condition->backColour = {true, 43};
        }
    }
    ValidationRule* rule = sheet.validations.AppendDefault();
    rule->kind = 3;
    rule->literalList = 1;
    rule->errorStyle = 2;
    rule->showInput = 0;
    IgnoreFailure(rule->inputTitle.Assign(u"T"));
    IgnoreFailure(rule->errorText.Assign(u"\u4e0d\u884c"));
    const u8 list[] = {0x17, 3, 0, 'a', 0, 'b'};
    IgnoreFailure(MakeTokens(rule->formula1, list, {}));
    IgnoreFailure(rule->areas.Append(Area(5, 9, 3, 3)));
    sheet.promptX = 12;
    sheet.dropDownId = 5;
    sheet.filterState = FILTER_AUTO;
    IgnoreFailure(sheet.filterColumns.Resize(3));
    FilterColumn& column = sheet.filterColumns[1];
    column.joinOr = true;
    column.conditions[0] = {6, 4, {}};
    IgnoreFailure(column.conditions[0].text.Assign(u"2.5"));
    column.conditions[1] = {6, 2, {}};
    IgnoreFailure(column.conditions[1].text.Assign(u"a*"));
    sheet.filterColumns[2].top10 = sheet.filterColumns[2].percent = true;
    sheet.filterColumns[2].count = 25;
}

void FillLinks() {
    constexpr WideView targets[] = {u"http://example.org/?q=1", u"..\\up\\book.xls",
                                    u"\\\\server\\share",       u"",
                                    u"C:\\dir\\\u5b57.xls",     u"mailto:a@example.org"};
    Sheet& sheet = *CurrentSheet();
    for (u16 i = 0; i < std::size(targets); ++i) {
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        link->area = Area(i, i, 10, 11);
        IgnoreFailure(link->target.Assign(targets[i]));
        if (targets[i].empty()) IgnoreFailure(link->location.Assign(u"Sheet1!A1"));
    }
}

}  // namespace

void Saving::MakeRichBook() {
    FillCells();
    FillSizesAndViews();
    FillPage();
    FillRules();
    FillLinks();
    Enter("H1", "=SUM(A1:C40)*Rate");
    DefineName("Rate", "=0.5");
    DefineName("Corner", "=Sheet1!$A$1");
    DefineName("Print_Area", "=Sheet1!$A$1:$F$40", 1);
    DefineName("_FilterDatabase", "=Sheet1!$A$1:$C$40", 1);
    CurrentWorkbook()->names[CurrentWorkbook()->names.Count() - 1].flags = 1;
    Enter("H2", "=IF(F1,E1&\"!\",CHOOSE(2,1,\"b\"))");
    Enter("H3", "=Corner+Rate");
    Enter("H4", "=SUM({1,2;3,4})");
    AddSheet(u"Second sheet");
    Enter("A1", "=Sheet1!H1+SUM(Sheet1!A:A)");
    PutText(1, 0, std::u16string(9000, u'x') + u"\u6f22");
    AddSheet(u"Macros", SHEET_MACRO);
    PutText(0, 0, u"Auto_Open");
    AddSheet(u"Module", SHEET_MODULE);
    CurrentWorkbook()->sheets[1]->hidden = 1;
    CurrentWorkbook()->currentSheet = 1;
    CurrentWorkbook()->date1904 = 1;
    CurrentWorkbook()->showSheetTabs = 0;
}

namespace {

void AddLinkWithValues(Workbook& book, u8 form) {
    ExternBook* linked = book.externBooks.AppendDefault();
    const u32 number = book.externBooks.Count() - 1;
    IgnoreFailure(linked->path.Assign(u"\u0001dir\u0003other.xls"));
    for (const WideView name : {u"One", u"Tw\u00f6"})
        IgnoreFailure(linked->sheetNames.AppendDefault()->Assign(name));
    ExternName* name = linked->names.AppendDefault();
    IgnoreFailure(name->text.Assign(u"price"));
    name->body.form = form;
    const u8 meaning[] = {2, 0, 0x1C, 0x17};
    IgnoreFailure(name->body.bytes.AppendMany(meaning, sizeof meaning));
    for (u8 i = 0; i < 3; ++i) {
        ExternCell* cell = linked->cells.AppendDefault();
        cell->sheet = 1;
        cell->row = 3;
        cell->column = i;
        cell->type = i + 1 < 3 ? static_cast<u8>(i + 1) : u8{4};
        cell->number = i == 1 ? 0 : 1;
        if (i == 1) IgnoreFailure(cell->text.Assign(u"se\u00e9n"));
    }
    IgnoreFailure(book.externSheets.Append({static_cast<i16>(number), 1, 1}));
    const u8 link[] = {0x5A, static_cast<u8>(book.externSheets.Count() - 1), 0, 3, 0, 1, 0};
    FormulaTokens tokens;
    IgnoreFailure(MakeTokens(tokens, link, {}));
    IgnoreFailure(InsertCell(*book.sheets[0], 55, 0, 15, NumberValue(5), tokens));
    GetCell(book.sheets[0]->cells, 55, 0)->calcState = CALC_CURRENT;
}

// Two runs: font 1 from the second character, font 2 from the third.
void AddRuns(Workbook& book) {
    TextBlock* text = MakeTextRoom(3, 10);
    if (!text) return;
    std::copy_n(u"abc", 3, text->characters);
    u8* tail = TextTailBytes(text);
    for (const u32 word : {2u, 1u, 1u, 2u, 2u}) {
        PutU16(tail, word);
        tail += 2;
    }
    IgnoreFailure(InsertCell(*book.sheets[0], 56, 0, 15, OwnedTextValue(text), FormulaTokens()));
}

void AddEntries(Workbook& book, u8 form) {
    constexpr struct {
        WideView name;
        u8 kind;
        u32 parent, size;
    } rows[] = {{u"Root Entry", 5, 0, 0},
                {u"\u0005SummaryInformation", 2, 0, 500},
                {u"_VBA_PROJECT_CUR", 1, 0, 0},
                {u"dir", 2, 2, 5000}};
    for (const auto& row : rows) {
        CarriedEntry* entry = book.entries.AppendDefault();
        IgnoreFailure(entry->name.Assign(row.name));
        entry->kind = row.kind;
        entry->parent = row.parent;
        IgnoreFailure(entry->bytes.Resize(row.size));
    }
    book.entriesForm = form;
}

}  // namespace

void Saving::AddKept(u8 form) {
    Workbook& book = *CurrentWorkbook();
    Sheet& sheet = *book.sheets[0];
    AddLinkWithValues(book, form);
    AddRuns(book);
    AddEntries(book, form);
    const u8 object[] = {0xEC, 0, 2, 0, 1, 2, 60, 0, 1, 0, 3};  // MSODRAWING and what goes on behind it
    const u8 unknown[] = {0xB8, 0x0B, 1, 0, 9};
    const u8 view[] = {0xAA, 1, 2, 0, 1, 0, 20, 0, 0, 0, 0xAB, 1, 2, 0, 1, 0};
    IgnoreFailure(CarryBytes(book.carried, GLOBALS_TABS, form, unknown));
    IgnoreFailure(CarryBytes(sheet.carried, SHEET_CELLS, form, object));
    IgnoreFailure(CarryBytes(sheet.carried, SHEET_SELECTION, form, view));
    IgnoreFailure(CarryBytes(book.sheets.Last()->carried, SHEET_BEGIN, form, unknown));
    StyleRow* style = book.styles.AppendDefault();
    style->xf = 16;
    IgnoreFailure(style->name.Assign(u"Mine"));
    IgnoreFailure(sheet.page.rowBreaks.Append({5, 0, 255}));
    IgnoreFailure(sheet.page.columnBreaks.Append({2, 0, 65535}));
    const u8 user[] = {USER_NAME_NARROW, 'A', 'n', 'n', 'a'};
    IgnoreFailure(book.userName.AppendMany(user, sizeof user));
    book.userNameLength = 4;
}

FormulaTokens Saving::Tokens(std::initializer_list<u8> bytes) {
    FormulaTokens tokens;
    EXPECT_TRUE(MakeTokens(tokens, ByteView(bytes.begin(), bytes.size()), {}));
    return tokens;
}

}  // namespace tally
