#include "editing/InsertDelete.h"
#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "fileio/biff/RichText.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BiffBuilder.h"
#include "support/FileLister.h"
#include "support/Saving.h"

// What a file holds and nothing here understands comes back in the file of the same form.

namespace tally {
namespace {

using Bytes = std::vector<u8>;

constexpr u16 RECORD_OBJ = 93, RECORD_NOTE = 28, RECORD_CODENAME = 442, RECORD_ART = 236, RECORD_BOF = 2057;

Bytes Word(u32 value) { return {static_cast<u8>(value), static_cast<u8>(value >> 8)}; }

Bytes Joined(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

// A drawing of one anchor that reaches down to a row and right to a column.
Bytes Anchored(u16 row, u16 column) {
    return Joined({{0x00, 0x00, 0x10, 0xF0, 18, 0, 0, 0, 0, 0},
                   Word(1),
                   Word(0),
                   Word(1),
                   Word(0),
                   Word(column),
                   Word(0),
                   Word(row),
                   Word(0)});
}

class Carried : public Saving {
  protected:
    static void Open(const Bytes& file) {
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", file, OPEN_SILENT_LINKS));
    }
    ListedFile Listed() const { return ListFile(File()); }
    // A file of one sheet with more records in it.
    static BiffBuilder SheetWith(u8 form, const std::function<void(BiffBuilder&)>& fill,
                                 const std::vector<std::string>& sheets = {"One"}) {
        BiffBuilder builder(form);
        builder.Globals(sheets);
        for (std::size_t i = 0; i < sheets.size(); ++i) {
            builder.Bof(16);
            builder.Number(4, 1, 5 + static_cast<double>(i));
            if (!i) fill(builder);
            builder.Eof();
        }
        return builder;
    }
};

TEST_F(Carried, UnknownRecordsOfASheetComeBackInBothForms) {
    for (const u8 form : {u8{8}, u8{7}}) {
        Open(
            SheetWith(form, [](BiffBuilder& b) {
                b.Raw(171, Bytes(32, 7));
                b.Raw(574, Bytes(18, 0)).Raw(3000, {1, 2, 3}).Raw(60, {4}).Raw(RECORD_CODENAME, {1, 0, 0, 'x'});
            }).File());
        Save(form);
        const ListedFile file = Listed();
        ASSERT_EQ(file.substreams.size(), 2u);
        const ListedSubstream& sheet = file.substreams[1];
        ASSERT_EQ(sheet.Count(3000), 1u) << int{form};
        EXPECT_EQ(sheet.All(3000)[0].body, (Bytes{1, 2, 3}));
        ASSERT_EQ(sheet.Count(60), 1u);
        EXPECT_EQ(sheet.All(60)[0].body, Bytes{4});
        EXPECT_EQ(sheet.Count(171), 1u);
        EXPECT_EQ(sheet.Count(RECORD_CODENAME), 1u);
        EXPECT_EQ(losses, 0u);
    }
}

TEST_F(Carried, ARecordStandsBehindTheGroupThatItStoodBehind) {
    Open(SheetWith(8, [](BiffBuilder& b) {
             b.Raw(3001, {1});
             b.Raw(574, Bytes(18, 0)).Raw(3002, {2});
             b.Raw(229, {1, 0, 1, 0, 2, 0, 1, 0, 2, 0}).Raw(3003, {3});
         }).File());
    Save();
    std::vector<unsigned> order;
    const ListedFile file = Listed();
    for (const ListedRecord& record : file.substreams[1].records)
        if (record.id > 3000 || record.id == 215 || record.id == 574 || record.id == 229)
            order.push_back(record.id);
    EXPECT_EQ(order, (std::vector<unsigned>{215, 3001, 574, 3002, 229, 3003}));
}

TEST_F(Carried, OfSeveralWindowsTheFirstIsTheBooksAndTheOthersAreKept) {
    const Bytes window = {1, 0, 2, 0, 3, 0, 4, 0, 56, 0, 0, 0, 0, 0, 1, 0, 88, 2};
    Bytes second = window;
    second[0] = 9;
    second[8] = 0;
    second[10] = 1;
    for (const u8 form : {u8{8}, u8{7}}) {
        BiffBuilder b(form);
        b.Globals({"One", "Two"}, [&](BiffBuilder& g) { g.Raw(61, window).Raw(61, second).Raw(61, second); });
        const Bytes first(form == 8 ? 18 : 10, 0), other(form == 8 ? 18 : 10, 3);
        for (int sheet = 0; sheet < 2; ++sheet) {
            b.Bof(16).Number(4, 1, 5);
            b.Raw(574, first).Raw(160, {1, 0, 2, 0}).Raw(29, {3, 7, 0, 1, 0, 0, 0, 1, 0, 7, 0, 7, 0, 1, 1});
            b.Raw(574, other).Raw(160, {3, 0, 1, 0}).Raw(65, {1, 0, 1, 0, 9, 0, 9, 0, 0, 0});
            b.Raw(29, {0, 8, 0, 2, 0, 0, 0, 1, 0, 8, 0, 8, 0, 2, 2}).Raw(153, {0x34, 0x0C}).Eof();
        }
        Open(b.File());
        EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
        EXPECT_EQ(CurrentWorkbook()->showSheetTabs, 1u);
        EXPECT_EQ(CurrentSheet()->zoomPercent, 50);
        EXPECT_EQ(CurrentSheet()->view.activeRow, 7);
        EXPECT_EQ(CurrentSheet()->defaultColumnWidth, 0x0C34);
        Save(form);
        EXPECT_EQ(losses, 0u);
        const ListedFile file = Listed();
        ASSERT_EQ(file.substreams[0].Count(61), 3u);
        EXPECT_EQ(file.substreams[0].All(61)[1].body, second);
        for (int sheet = 1; sheet < 3; ++sheet) {
            std::vector<unsigned> order;
            for (const ListedRecord& record : file.substreams[static_cast<std::size_t>(sheet)].records)
                if (record.id == 574 || record.id == 160 || record.id == 65 || record.id == 29 ||
                    record.id == 153)
                    order.push_back(record.id);
            EXPECT_EQ(order, (std::vector<unsigned>{574, 160, 29, 574, 160, 65, 29, 153}));
            EXPECT_EQ(file.substreams[static_cast<std::size_t>(sheet)].All(574)[1].body, other);
        }
        const Bytes saved = File();
        Reopen();
        Save(form);
        EXPECT_EQ(File(), saved);
        // The other form does without them and says so.
        Save(form == 8 ? 7 : 8);
        EXPECT_EQ(losses, u32{LOSS_PARTS});
        EXPECT_EQ(Listed().substreams[0].Count(61), 1u);
        EXPECT_EQ(Listed().substreams[1].Count(574), 1u);
    }
}

TEST_F(Carried, TheSubstreamOfAChartOnASheetStaysWholeWithItsDrawing) {
    Open(SheetWith(8, [](BiffBuilder& b) {
             b.Raw(RECORD_ART, Anchored(3, 3)).Raw(RECORD_OBJ, {21, 0, 0, 0});
             b.Bof(32).Raw(4097, {0, 0}).Raw(574, Bytes(18, 9)).Eof();
             b.Raw(574, Bytes(18, 0));
         }).File());
    Save();
    const ListedSubstream sheet = Listed().substreams[1];
    EXPECT_EQ(sheet.Count(RECORD_ART), 1u);
    EXPECT_EQ(sheet.Count(RECORD_OBJ), 1u);
    ASSERT_EQ(sheet.Count(4097), 1u);
    EXPECT_EQ(sheet.All(4097)[0].depth, 1u);
    EXPECT_EQ(sheet.Count(574), 2u);
    EXPECT_EQ(losses, 0u);
    // The other form has no place for it, and says so.
    Save(7);
    EXPECT_EQ(losses & (LOSS_OBJECTS | LOSS_CHARTS), u32{LOSS_OBJECTS | LOSS_CHARTS});
    EXPECT_EQ(Listed().substreams[1].Count(RECORD_OBJ), 0u);
}

TEST_F(Carried, RowsInsertedAboveADrawingDropItAndUndoBringsItBack) {
    const struct {
        i32 row;
        bool kept;
    } cases[] = {{0, false}, {9, false}, {10, true}, {40, true}};
    for (const auto& c : cases) {
        Open(SheetWith(8, [](BiffBuilder& b) {
                 b.Number(60, 0, 1);
                 b.Raw(RECORD_ART, Anchored(9, 2)).Raw(RECORD_OBJ, {21, 0, 0, 0});
                 b.Raw(RECORD_NOTE, {2, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0});
             }).File());
        const u16 row = static_cast<u16>(c.row);
        ASSERT_TRUE(InsertRowsOrCellsDown({row, row, 0, MAX_COLUMNS - 1}));
        Save();
        EXPECT_EQ(Listed().substreams[1].Count(RECORD_OBJ), c.kept ? 1u : 0u) << c.row;
        EXPECT_EQ(losses, c.kept ? 0u : u32{LOSS_OBJECTS | LOSS_COMMENTS}) << c.row;
        ASSERT_TRUE(UndoLast());
        Save();
        EXPECT_EQ(Listed().substreams[1].Count(RECORD_OBJ), 1u) << c.row;
        EXPECT_EQ(losses, 0u) << c.row;
    }
}

TEST_F(Carried, ADeletedSheetTakesTheMacroProjectAlongUntilItReturns) {
    Array<CarriedEntry> entries;
    ASSERT_NE(entries.AppendDefault(), nullptr);
    entries[0].kind = 5;
    entries[0].classId[3] = 9;
    CarriedEntry* project = entries.AppendDefault();
    ASSERT_TRUE(project->name.Assign(u"_VBA_PROJECT_CUR"));
    project->kind = 1;
    project->classId[0] = 77;
    CarriedEntry* module = entries.AppendDefault();
    ASSERT_TRUE(module->name.Assign(u"dir"));
    module->kind = 2;
    module->parent = 1;
    const u8 bytes[] = {1, 2, 3};
    ASSERT_TRUE(module->bytes.AppendMany(bytes, 3));
    const BiffBuilder builder = SheetWith(8, [](BiffBuilder&) {}, {"One", "Two"});
    Array<u8> file;
    ASSERT_TRUE(BuildCompoundFile(builder.writer.stream.Span(), 8, file, {entries.Span(), {}}));
    Open({file.begin(), file.end()});
    Save();
    EXPECT_EQ(Listed().entries.at("/_VBA_PROJECT_CUR/dir"), (Bytes{1, 2, 3}));
    EXPECT_EQ(Listed().entries.at("/_VBA_PROJECT_CUR/")[0], 77);
    EXPECT_EQ(Listed().entries.at("/")[3], 9);
    ASSERT_TRUE(DeleteSheet(1, 0));
    Save();
    EXPECT_EQ(Listed().entries.count("/_VBA_PROJECT_CUR/"), 0u);
    EXPECT_EQ(losses, u32{LOSS_MACROS});
    ASSERT_TRUE(UndoLast());
    Save();
    EXPECT_EQ(Listed().entries.count("/_VBA_PROJECT_CUR/dir"), 1u);
    EXPECT_EQ(losses, 0u);
    Save(7);
    EXPECT_EQ(losses, u32{LOSS_MACROS});
}

TEST_F(Carried, StreamsOfEveryLengthAndDeepStoragesComeBack) {
    Array<CarriedEntry> entries;
    ASSERT_NE(entries.AppendDefault(), nullptr);
    entries[0].kind = 5;
    std::map<std::string, Bytes> wanted;
    std::string path = "/";
    for (u32 depth = 0; depth < 4; ++depth) {
        const u32 parent = depth ? entries.Count() - 12 : 0;
        CarriedEntry* storage = entries.AppendDefault();
        ASSERT_TRUE(storage->name.Assign(u"Inside") &&
                    storage->name.Append(static_cast<char16_t>('a' + depth)));
        storage->kind = 1;
        storage->parent = parent;
        const u32 own = entries.Count() - 1;
        path += "Inside" + std::string(1, static_cast<char>('a' + depth)) + "/";
        for (u32 i = 0; i < 11; ++i) {
            constexpr u32 sizes[] = {0, 1, 63, 64, 65, 511, 512, 4095, 4096, 4097, 20000};
            CarriedEntry* stream = entries.AppendDefault();
            ASSERT_TRUE(stream->name.Assign(u"s") && stream->name.Append(static_cast<char16_t>('a' + i)));
            stream->kind = 2;
            stream->parent = own;
            ASSERT_TRUE(stream->bytes.Resize(sizes[i]));
            for (u32 k = 0; k < sizes[i]; ++k) stream->bytes[k] = static_cast<u8>(k * 7 + i + depth);
            wanted[path + "s" + static_cast<char>('a' + i)] = Bytes(stream->bytes.begin(), stream->bytes.end());
        }
    }
    const BiffBuilder builder = SheetWith(8, [](BiffBuilder&) {});
    Array<u8> file;
    ASSERT_TRUE(BuildCompoundFile(builder.writer.stream.Span(), 8, file, {entries.Span(), {}}));
    Open({file.begin(), file.end()});
    Save();
    const ListedFile listed = Listed();
    for (const auto& [name, bytes] : wanted) {
        ASSERT_EQ(listed.entries.count(name), 1u) << name;
        EXPECT_EQ(listed.entries.at(name), bytes) << name;
    }
    const Bytes first = File();
    Reopen();
    Save();
    EXPECT_EQ(File(), first);
}

TEST_F(Carried, TheRunsOfATextComeBackInBothForms) {
    // Two runs: font 1 from the second character, font 2 from the third.
    const Bytes text = {3, 0, 8, 2, 0, 'a', 'b', 'c', 1, 0, 1, 0, 2, 0, 2, 0};
    BiffBuilder builder(8);
    builder.Bof(5);
    builder.Raw(133, {0, 0, 0, 0, 0, 0, 1, 0, 'S'});
    builder.Raw(252, Joined({{2, 0, 0, 0, 2, 0, 0, 0}, text, {3, 0, 0, 'a', 'b', 'c'}}));
    builder.Eof().Bof(16);
    builder.Raw(253, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}).Raw(253, {1, 0, 0, 0, 0, 0, 1, 0, 0, 0});
    builder.Eof();
    Open(builder.File());
    const Bytes runs = {1, 0, 1, 0, 2, 0, 2, 0};
    const auto runsAt = [](const char* cell) {
        const ByteView bytes = RunBytes(TextTail(CellAtName(cell)->value.text));
        return Bytes(bytes.begin(), bytes.end());
    };
    for (const u8 form : {u8{8}, u8{7}, u8{8}}) {
        Save(form);
        EXPECT_EQ(losses, 0u);
        Reopen();
        EXPECT_EQ(TextOf(CellAtName("A1")->value), u"abc");
        EXPECT_EQ(runsAt("A1"), runs) << int{form};
        EXPECT_EQ(runsAt("A2"), Bytes()) << int{form};
    }
}

TEST_F(Carried, OptionsOfBookAndSheetComeBackInBothForms) {
    for (const u8 form : {u8{8}, u8{7}}) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Workbook& book = *CurrentWorkbook();
        Sheet& sheet = *CurrentSheet();
        Put(0, 0, 1);
        book.options.protectStructure = book.options.protectWindows = 1;
        book.options.passwordHash = 0x1234;
        book.options.precision = 0;
        book.options.backup = 1;
        book.options.window[0] = 77;
        sheet.options.calculationMode = 0;
        sheet.options.iterations = 7;
        sheet.options.referenceMode = 0;
        sheet.options.iteration = 1;
        sheet.options.precision = 0.5;
        sheet.options.recalculateOnSave = 0;
        sheet.options.outlines = 0x04C1 & ~0xC0;
        sheet.options.protectObjects = sheet.options.protectScenarios = 1;
        sheet.options.window = 0xA0;
        ASSERT_TRUE(SetRowInfo(sheet.rows, {2, ROW_CUSTOM_HEIGHT | ROW_COLLAPSED | 3 << LEVEL_SHIFT, 500}));
        ASSERT_TRUE(SetRowInfo(sheet.rows, {3, ROW_CUSTOM_HEIGHT | ROW_FORMATTED | 0x1000, 400, 16}));
        ASSERT_TRUE(SetColumnInfo(
            sheet.columns,
            {4, static_cast<u16>(COLUMN_COLLAPSED | 2 << LEVEL_SHIFT | COLUMN_BEST_FIT), 900, 15}));
        ASSERT_TRUE(sheet.page.rowBreaks.Append({5, 0, 255}) && sheet.page.columnBreaks.Append({2, 0, 65535}));
        StyleRow* style = book.styles.AppendDefault();
        style->xf = 16;
        ASSERT_TRUE(style->name.Assign(u"Mine"));
        const auto before = DumpBook(CurrentBook(), DUMP_ALL, form == 7);
        Save(form);
        EXPECT_EQ(losses, 0u) << int{form};
        Reopen();
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook(), DUMP_ALL, form == 7)), "") << int{form};
        EXPECT_EQ(CurrentWorkbook()->options.window[0], 77);
        EXPECT_EQ(CurrentSheet()->page.rowBreaks[0].last, 255);
    }
}

TEST_F(Carried, PageBreaksGoWithTheirRowsAndUndoBringsThemBack) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Sheet& sheet = *CurrentSheet();
    Put(50, 0, 1);
    for (const u16 at : {u16{3}, u16{10}, u16{20}}) ASSERT_TRUE(sheet.page.rowBreaks.Append({at, 0, 255}));
    const auto places = [&] {
        std::vector<int> out;
        for (const PageBreak& row : sheet.page.rowBreaks) out.push_back(row.at);
        return out;
    };
    ASSERT_TRUE(InsertRowsOrCellsDown({10, 11, 0, MAX_COLUMNS - 1}));
    EXPECT_EQ(places(), (std::vector<int>{3, 12, 22}));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(places(), (std::vector<int>{3, 10, 20}));
    ASSERT_TRUE(DeleteRowsOrCellsUp({9, 11, 0, MAX_COLUMNS - 1}));
    EXPECT_EQ(places(), (std::vector<int>{3, 17}));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(places(), (std::vector<int>{3, 10, 20}));
}

}  // namespace
}  // namespace tally
