#include "editing/InsertDelete.h"
#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "fileio/biff/CarriedRecords.h"
#include "model/CellStore.h"
#include "support/BiffBuilder.h"
#include "support/FileLister.h"
#include "support/Saving.h"

// Which of the carried bytes go into a save, and what is said of those that do not: they may speak of cells
// that are elsewhere now.

namespace tally {
namespace {

using Bytes = std::vector<u8>;
using Fill = std::function<void(BiffBuilder&)>;

constexpr u16 NOTE = 28, CONTINUE = 60, SOURCE = 81, OBJ = 93, PIVOT_VIEW = 176, ART = 236, VIEW = 425,
              VIEW_BEGIN = 426, VIEW_END = 427, CHART_LINK = 4177;

Bytes Word(u32 value) { return {static_cast<u8>(value), static_cast<u8>(value >> 8)}; }

Bytes Joined(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

// An atom or, with the low bits set, a container of drawings.
Bytes Atom(u16 options, u16 kind, const Bytes& content) {
    return Joined({Word(options), Word(kind), Word(static_cast<u32>(content.size())), Word(0), content});
}

// Down to row 9 and right to column 2.
Bytes Anchor(u16 row = 9, u16 column = 2) {
    return Atom(0, 0xF010, Joined({Bytes(10), Word(column), Word(0), Word(row), Word(0)}));
}

// The object of the older form with its corner.
Bytes OldObject(u16 row, u16 column) {
    return Joined({Bytes(18), Word(column), Word(0), Word(row), Bytes(10)});
}

struct Move {
    bool rows;
    u16 at;
};

class CarriedPlans : public Saving {
  protected:
    static void Open(u8 form, const Fill& fill, const Fill& globals = {}, u16 secondType = 16,
                     const Fill& second = {}) {
        ResetBooks();
        BiffBuilder b(form);
        b.Globals({"One", "Two"}, globals).Bof(16).Number(60, 20, 5);
        if (fill) fill(b);
        b.Eof().Bof(secondType);
        if (second) second(b);
        b.Eof();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
        CurrentWorkbook()->currentSheet = 0;
    }
    static void Insert(const Move& move) {
        const u8 at = static_cast<u8>(move.at);
        if (move.rows) ASSERT_TRUE(InsertRowsOrCellsDown({move.at, move.at, 0, MAX_COLUMNS - 1}));
        else ASSERT_TRUE(InsertColumnsOrCellsRight({0, MAX_ROWS - 1, at, at}));
    }
    u32 LossesOfSave(u8 form) {
        Save(form);
        return losses;
    }
};

TEST_F(CarriedPlans, EachKindOfRecordHasItsNameWhenItGoes) {
    struct Row {
        u16 id;
        u32 loss;
    };
    constexpr Row rows[] = {
        {28, LOSS_COMMENTS},
        {80, LOSS_PARTS},
        {82, LOSS_PARTS},
        {83, LOSS_PARTS},
        {93, LOSS_OBJECTS},
        {94, 0},
        {127, LOSS_OBJECTS},
        {134, 0},
        {144, 0},
        {169, LOSS_OBJECTS},
        {171, 0},
        {174, LOSS_PARTS},
        {175, LOSS_PARTS},
        {176, LOSS_PIVOTS},
        {182, LOSS_PIVOTS},
        {183, LOSS_PARTS},
        {196, LOSS_PARTS},
        {197, LOSS_PIVOTS},
        {210, LOSS_PIVOTS},
        {211, LOSS_MACROS},
        {212, LOSS_PARTS},
        {213, LOSS_PIVOTS},
        {222, 0},
        {227, LOSS_PIVOTS},
        {235, LOSS_OBJECTS},
        {238, LOSS_OBJECTS},
        {239, LOSS_PARTS},
        {240, LOSS_PIVOTS},
        {251, LOSS_PIVOTS},
        {256, LOSS_PIVOTS},
        {259, LOSS_PIVOTS},
        {260, LOSS_PARTS},
        {290, LOSS_PIVOTS},
        {351, LOSS_PARTS},
        {425, LOSS_VIEWS},
        {437, LOSS_PARTS},
        {438, LOSS_OBJECTS},
        {442, LOSS_MACROS},
        {445, LOSS_MACROS},
        {448, 0},
        {450, 0},
        {451, LOSS_PARTS},
        {2048, LOSS_PARTS},
        {2064, LOSS_PIVOTS},
        {2147, 0},
        {2148, LOSS_PIVOTS},
        {2151, 0},
        {2152, LOSS_PARTS},
        {2167, LOSS_PARTS},
        {2172, 0},
        {4188, 0},
        {5000, LOSS_PARTS},
    };
    for (const Row& row : rows) {
        Open(8, [&](BiffBuilder& b) { b.Raw(row.id, Bytes(12)); });
        EXPECT_EQ(CarriedLosses(*CurrentWorkbook()), row.loss) << row.id;
        EXPECT_EQ(LossesOfSave(8), 0u) << row.id;
        EXPECT_EQ(LossesOfSave(7), row.loss) << row.id;
        EXPECT_EQ(ListFile(File()).substreams[1].Count(row.id), 0u) << row.id;
    }
    // In the globals the sources are those of pivot tables, and drawings are told of with their sheets.
    constexpr Row ofGlobals[] = {{79, LOSS_PARTS}, {80, LOSS_PIVOTS}, {82, LOSS_PIVOTS},
                                 {83, LOSS_PARTS}, {235, 0},          {211, LOSS_MACROS}};
    for (const Row& row : ofGlobals) {
        Open(8, {}, [&](BiffBuilder& b) { b.Raw(row.id, Bytes(12)); });
        EXPECT_EQ(CarriedLosses(*CurrentWorkbook()), row.loss) << row.id;
        EXPECT_EQ(LossesOfSave(8), 0u) << row.id;
        EXPECT_EQ(LossesOfSave(7), row.loss) << row.id;
    }
}

TEST_F(CarriedPlans, DrawingsGoWhenCellsInTheirReachMove) {
    const auto art = [](const Bytes& bytes) -> Fill { return [=](BiffBuilder& b) { b.Raw(ART, bytes); }; };
    const auto object = [](const Bytes& bytes) -> Fill { return [=](BiffBuilder& b) { b.Raw(OBJ, bytes); }; };
    const auto control = [&](u8 kind, u8 length, u8 formula) {
        return object(Joined({{21, 0, 2, 0, 7, 7}, {kind, 0, length, 0, formula, 0, 0, 0}}));
    };
    struct Row {
        const char* what;
        u8 form;
        Fill fill;
        Move move;
        u32 losses;
    };
    const Row rows[] = {
        {"row above", 8, art(Anchor()), {true, 9}, LOSS_OBJECTS},
        {"row below", 8, art(Anchor()), {true, 10}, 0},
        {"column at the left", 8, art(Anchor()), {false, 2}, LOSS_OBJECTS},
        {"column at the right", 8, art(Anchor()), {false, 3}, 0},
        {"in a container", 8, art(Atom(15, 0xF002, Anchor())), {true, 9}, LOSS_OBJECTS},
        {"in a container, below", 8, art(Atom(15, 0xF002, Anchor())), {true, 10}, 0},
        {"behind an atom", 8, art(Joined({Atom(0, 0xF00A, Bytes(5, 9)), Anchor()})), {true, 9}, LOSS_OBJECTS},
        {"the greater of two", 8, art(Joined({Anchor(), Anchor(3, 3)})), {false, 3}, LOSS_OBJECTS},
        {"the greater of two, below", 8, art(Joined({Anchor(), Anchor(3, 3)})), {true, 10}, 0},
        {"in what goes on",
         8,
         [](BiffBuilder& b) { b.Raw(ART, Atom(0, 0xF00A, Bytes(4))).Raw(CONTINUE, Anchor()); },
         {true, 9},
         LOSS_OBJECTS},
        {"an atom of another kind", 8, art(Atom(0, 0xF011, Bytes(18, 60))), {true, 0}, 0},
        {"an anchor of another length", 8, art(Atom(0, 0xF010, Bytes(16, 60))), {true, 0}, 0},
        {"a list with cells", 8, control(20, 4, 1), {true, 50}, LOSS_OBJECTS},
        {"a box with cells", 8, control(19, 4, 1), {true, 50}, LOSS_OBJECTS},
        {"a bar with a cell", 8, control(14, 4, 1), {true, 50}, LOSS_OBJECTS},
        {"a picture of cells", 8, control(9, 4, 1), {true, 50}, LOSS_OBJECTS},
        {"a list without", 8, control(20, 4, 0), {true, 0}, 0},
        {"a list cut off", 8, control(20, 0, 1), {true, 0}, 0},
        {"another control", 8, control(18, 4, 1), {true, 0}, 0},
        {"older, above", 7, object(OldObject(9, 2)), {true, 9}, LOSS_OBJECTS},
        {"older, below", 7, object(OldObject(9, 2)), {true, 10}, 0},
        {"older, left", 7, object(OldObject(9, 2)), {false, 2}, LOSS_OBJECTS},
        {"older, right", 7, object(OldObject(9, 2)), {false, 3}, 0},
        {"a comment",
         8,
         [](BiffBuilder& b) {
             b.Raw(NOTE, Joined({Word(9), Word(2), Bytes(8)}));
         },
         {true, 9},
         LOSS_COMMENTS},
        {"a comment, right",
         8,
         [](BiffBuilder& b) {
             b.Raw(NOTE, Joined({Word(9), Word(2), Bytes(8)}));
         },
         {false, 3},
         0},
        {"a place", 8, [](BiffBuilder& b) { b.Raw(351, Bytes(4)); }, {true, 50}, LOSS_PARTS},
        {"others", 8, [](BiffBuilder& b) { b.Raw(5000, Bytes(4)); }, {true, 0}, 0},
    };
    for (const Row& row : rows) {
        Open(row.form, row.fill);
        Insert(row.move);
        EXPECT_EQ(LossesOfSave(row.form), row.losses) << row.what;
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(LossesOfSave(row.form), 0u) << row.what;
    }
}

TEST_F(CarriedPlans, PivotTablesGoWhenTheirCellsOrTheirSourceMove) {
    // Rows 3 to 9, columns 1 and 2.
    const Fill view = [](BiffBuilder& b) {
        b.Raw(PIVOT_VIEW, Joined({Word(3), Word(9), Word(1), Word(2), Bytes(10)}));
    };
    const auto source = [](const Bytes& text) -> Fill {
        return [=](BiffBuilder& b) { b.Raw(SOURCE, Joined({Word(3), Word(9), {1, 2}, text})); };
    };
    struct Row {
        const char* what;
        u8 form;
        Fill fill, globals;
        Move move;
        bool lost;
    };
    const Bytes one = {4, 0, 0, 2, 'O', 'n', 'e'};
    const Row rows[] = {
        {"view, above", 8, view, {}, {true, 9}, true},
        {"view, below", 8, view, {}, {true, 10}, false},
        {"view, left", 8, view, {}, {false, 2}, true},
        {"view, right", 8, view, {}, {false, 3}, false},
        {"source, above", 8, {}, source(one), {true, 9}, true},
        {"source, below", 8, {}, source(one), {true, 10}, false},
        {"source, left", 8, {}, source(one), {false, 2}, true},
        {"source, right", 8, {}, source(one), {false, 3}, false},
        {"wide", 8, {}, source({4, 0, 1, 2, 0, 'O', 0, 'n', 0, 'e', 0}), {true, 9}, true},
        {"wide, below", 8, {}, source({4, 0, 1, 2, 0, 'O', 0, 'n', 0, 'e', 0}), {true, 10}, false},
        {"the other sheet", 8, {}, source({4, 0, 0, 2, 'T', 'w', 'o'}), {true, 0}, false},
        {"no such sheet", 8, {}, source({4, 0, 0, 2, 'T', 'w', 'i'}), {true, 40}, true},
        {"a longer name", 8, {}, source({5, 0, 0, 2, 'O', 'n', 'e', 's'}), {true, 40}, true},
        {"of another book", 8, {}, source({4, 0, 0, 1, 'O', 'n', 'e'}), {true, 0}, false},
        {"a name", 8, {}, source({1, 0, 0, 2}), {true, 0}, false},
        {"older, above", 7, {}, source({4, 2, 'O', 'n', 'e'}), {true, 9}, true},
        {"older, below", 7, {}, source({4, 2, 'O', 'n', 'e'}), {true, 10}, false},
    };
    for (const Row& row : rows) {
        Open(row.form, row.fill, row.globals);
        Insert(row.move);
        EXPECT_EQ(LossesOfSave(row.form), row.lost ? u32{LOSS_PIVOTS} : 0u) << row.what;
    }
}

TEST_F(CarriedPlans, ChartsGoWhenTheCellsOfTheirSeriesMove) {
    const Fill links = [](BiffBuilder& b) {
        b.Raw(430, {2, 0, 1, 4}).Raw(23, {3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 1, 0});
    };
    const auto series = [](const Bytes& tokens) -> Fill {
        return [=](BiffBuilder& b) {
            b.Raw(CHART_LINK, Joined({Bytes(6), Word(static_cast<u32>(tokens.size())), tokens}));
        };
    };
    const auto within = [](const Fill& fill) -> Fill {
        return [=](BiffBuilder& b) {
            b.Bof(32);
            fill(b);
            b.Eof();
        };
    };
    const Bytes cell = {0x3A, 0, 0, 9, 0, 2, 0}, area = {0x3B, 0, 0, 3, 0, 9, 0, 1, 0, 2, 0};
    struct Row {
        const char* what;
        Bytes tokens;
        Move move;
        bool lost;
    };
    const Row rows[] = {
        {"cell, above", cell, {true, 9}, true},
        {"cell, below", cell, {true, 10}, false},
        {"cell, left", cell, {false, 2}, true},
        {"cell, right", cell, {false, 3}, false},
        {"area, above", area, {true, 9}, true},
        {"area, below", area, {true, 10}, false},
        {"area, left", area, {false, 2}, true},
        {"area, right", area, {false, 3}, false},
        {"relative column", {0x3A, 0, 0, 9, 0, 2, 0xC0}, {false, 3}, false},
        {"second of two", Joined({{0x1E, 5, 0}, cell, {0x10}}), {true, 9}, true},
        {"the other sheet", {0x3A, 1, 0, 9, 0, 2, 0}, {true, 0}, false},
        {"both sheets", {0x3A, 2, 0, 9, 0, 2, 0}, {true, 9}, true},
        {"both sheets, below", {0x3A, 2, 0, 9, 0, 2, 0}, {true, 10}, false},
        {"no such link", {0x3A, 3, 0, 9, 0, 2, 0}, {true, 0}, false},
        {"cut off", {0x3A, 0, 0, 9, 0, 2}, {true, 0}, false},
        {"none", {}, {true, 0}, false},
    };
    for (const Row& row : rows) {
        Open(8, within(series(row.tokens)), links);
        Insert(row.move);
        EXPECT_EQ(LossesOfSave(8), row.lost ? u32{LOSS_CHARTS} : 0u) << row.what;
        // The same as a sheet of its own.
        Open(8, {}, links, 32, series(row.tokens));
        Insert(row.move);
        EXPECT_EQ(LossesOfSave(8), row.lost ? u32{LOSS_CHARTS} : 0u) << row.what;
    }
    // The older form names cells by text, so any move may be one of theirs, and a new name of a sheet.
    Open(7, within(series({})));
    EXPECT_EQ(LossesOfSave(7), 0u);
    Insert({true, 50});
    EXPECT_EQ(LossesOfSave(7), u32{LOSS_CHARTS});
    Open(7, {}, {}, 32, series({}));
    ASSERT_TRUE(RenameSheet(*SheetAt(CurrentBook(), 0), u"Else"));
    EXPECT_EQ(LossesOfSave(7), u32{LOSS_CHARTS});
}

TEST_F(CarriedPlans, AChartTakesDrawingsAndCommentsOfItsSheetAlong) {
    Open(
        8,
        [](BiffBuilder& b) {
            b.Raw(ART, Anchor(50, 50)).Raw(NOTE, Bytes(12)).Bof(32);
            b.Raw(CHART_LINK, Joined({Bytes(6), Word(7), {0x3A, 0, 0, 9, 0, 2, 0}})).Eof();
        },
        [](BiffBuilder& b) {
            b.Raw(430, {2, 0, 1, 4}).Raw(23, {1, 0, 0, 0, 0, 0, 0, 0}).Raw(235, Bytes(4));
        });
    Save(8);
    EXPECT_EQ(ListFile(File()).substreams[0].Count(235), 1u);
    // Right of the drawing's corner: none of it but the row of the series.
    ASSERT_TRUE(InsertRowsOrCellsDown({5, 5, 0, 2}));
    Save(8);
    EXPECT_EQ(losses, u32{LOSS_CHARTS | LOSS_OBJECTS | LOSS_COMMENTS});
    const ListedFile file = ListFile(File());
    EXPECT_EQ(file.substreams[1].Count(ART) + file.substreams[1].Count(NOTE), 0u);
    EXPECT_EQ(file.substreams[0].Count(235), 0u);  // the group of all drawings
}

TEST_F(CarriedPlans, AViewGoesFromTheWholeBook) {
    const Fill view = [](BiffBuilder& b) {
        b.Raw(VIEW_BEGIN, Bytes(16)).Raw(29, Bytes(15)).Raw(VIEW_END, {1, 0});
    };
    const Fill globals = [](BiffBuilder& b) { b.Raw(VIEW, Bytes(16)); };
    const auto views = [&] {
        const ListedFile file = ListFile(File());
        return file.substreams[0].Count(VIEW) * 100 + file.substreams[1].Count(VIEW_BEGIN) * 10 +
               file.substreams[2].Count(VIEW_BEGIN);
    };
    Open(8, view, globals, 16, view);
    Save(8);
    EXPECT_EQ(views(), 111u);
    Insert({true, 50});
    Save(8);
    EXPECT_EQ(views(), 0u);
    EXPECT_EQ(losses, u32{LOSS_VIEWS});
}

TEST_F(CarriedPlans, EntriesOfTheContainerHaveTheirNames) {
    struct Row {
        WideView name;
        u32 other;  // lost in the other form
        u32 none;   // in a form without a container
    };
    const Row rows[] = {
        {u"_VBA_PROJECT_CUR", LOSS_MACROS, LOSS_MACROS},
        {u"_vba_project", LOSS_MACROS, LOSS_MACROS},
        {u"_SX_DB_CUR", LOSS_PIVOTS, LOSS_PIVOTS},
        {u"MBD0001", LOSS_EMBEDDED, LOSS_EMBEDDED},
        {u"Ctls", LOSS_EMBEDDED, LOSS_EMBEDDED},
        {u"Ctlss", LOSS_PARTS, LOSS_PARTS},
        {u"\u0005Document", 0, LOSS_PROPERTIES},
        {u"\u0001Ole", 0, 0},
        {u"\u0004x", 0, 0},
        {u"\u0006x", LOSS_PARTS, LOSS_PARTS},
        {u"Notes", LOSS_PARTS, LOSS_PARTS},
    };
    for (const Row& row : rows) {
        Array<CarriedEntry> entries;
        ASSERT_NE(entries.AppendDefault(), nullptr);
        entries[0].kind = 5;
        CarriedEntry* entry = entries.AppendDefault();
        ASSERT_TRUE(entry->name.Assign(row.name) && entry->bytes.Append(7));
        entry->kind = 2;
        BiffBuilder b(8);
        b.Globals({"One"}).Bof(16).Number(0, 0, 1).Eof();
        Array<u8> file;
        ASSERT_TRUE(BuildCompoundFile(b.writer.stream.Span(), 8, file, {entries.Span(), {}}));
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", file.Span(), OPEN_SILENT_LINKS));
        const std::string name = Narrow(row.name);
        EXPECT_EQ(CarriedLosses(*CurrentWorkbook()), row.none) << name;
        EXPECT_EQ(LossesOfSave(8), 0u) << name;
        EXPECT_EQ(ListFile(File()).entries.count("/" + name), 1u) << name;
        EXPECT_EQ(LossesOfSave(7), row.other) << name;
        EXPECT_EQ(ListFile(File()).entries.count("/" + name), row.none == LOSS_PROPERTIES ? 1u : 0u) << name;
    }
}

TEST_F(CarriedPlans, WhatAFormWithoutAnyOfItLoses) {
    const auto lossesOf = [](const std::function<void(Workbook&, Sheet&)>& change) {
        ForgetBooks();
        EXPECT_TRUE(CreateWorkbook(nullptr, false));
        change(*CurrentWorkbook(), *CurrentSheet());
        return CarriedLosses(*CurrentWorkbook());
    };
    EXPECT_EQ(lossesOf([](Workbook&, Sheet&) {}), 0u);
    EXPECT_EQ(lossesOf([](Workbook&, Sheet& s) {
                  IgnoreFailure(s.page.rowBreaks.Append({3, 0, 255}));
              }),
              u32{LOSS_OUTLINES});
    EXPECT_EQ(lossesOf([](Workbook&, Sheet& s) {
                  IgnoreFailure(s.page.columnBreaks.Append({3, 0, 9}));
              }),
              u32{LOSS_OUTLINES});
    EXPECT_EQ(lossesOf([](Workbook&, Sheet& s) {
                  IgnoreFailure(SetRowInfo(s.rows, {2, ROW_CUSTOM_HEIGHT, 500}));
              }),
              0u);
    EXPECT_EQ(lossesOf([](Workbook&, Sheet& s) {
                  IgnoreFailure(SetRowInfo(s.rows, {1, ROW_CUSTOM_HEIGHT, 500}));
                  IgnoreFailure(SetRowInfo(s.rows, {2, ROW_CUSTOM_HEIGHT | 1 << LEVEL_SHIFT, 500}));
              }),
              u32{LOSS_OUTLINES});
    EXPECT_EQ(lossesOf([](Workbook&, Sheet& s) {
                  IgnoreFailure(SetColumnInfo(s.columns, {2, COLUMN_COLLAPSED, 500, 15}));
              }),
              u32{LOSS_OUTLINES});
    EXPECT_EQ(lossesOf([](Workbook& b, Sheet&) { b.styles.AppendDefault()->xf = 3; }), u32{LOSS_STYLES});
    EXPECT_EQ(lossesOf([](Workbook& b, Sheet&) {
                  ExternBook* book = b.externBooks.AppendDefault();
                  IgnoreFailure(book->cells.Append(ExternCell()));
              }),
              u32{LOSS_LINK_VALUES});
}

}  // namespace
}  // namespace tally
