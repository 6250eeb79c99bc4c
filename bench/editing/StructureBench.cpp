#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "editing/InsertDelete.h"
#include "editing/SheetOperations.h"
#include "formula/Compiler.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"

// Rows that are put in at the top of a large sheet and taken out again.

namespace tally {
namespace {

constexpr i32 COLUMNS = 16;

struct BenchBook {
    BenchBook() {
        UseHeadlessPlatform();
        if (!ReadLocaleSettings() || !CreateWorkbook(nullptr, false)) std::abort();
        ConnectUndo();
    }
    ~BenchBook() {
        ResetBooks();
        ConnectUndo();
        ResetFormulaEngine();
    }
    BenchBook(const BenchBook&) = delete;
    BenchBook& operator=(const BenchBook&) = delete;

    static void Fill(i32 rows) {
        for (i32 row = 0; row < rows; ++row)
            for (i32 column = 0; column < COLUMNS; ++column)
                if (!InsertCell(*CurrentSheet(), row, column, 15, NumberValue(row), FormulaTokens()))
                    std::abort();
    }
    // A formula with a reference to a cell of the block and one to an area of it, on every row of a second
    // block beside it.
    static void FillFormulas(i32 count) {
        for (i32 row = 0; row < count; ++row) {
            const std::string number = std::to_string(row + 1);
            WideText text;
            FormulaPlace place;
            FormulaTokens tokens;
            const std::string formula = row % 2 ? "=A" + number + "*2" : "=B" + number + "+$C$5";
            if (!WideFromUtf8(text, formula) || !CompileFormula(place, text, 'V', tokens) ||
                !InsertCell(*CurrentSheet(), row, 20, 15, Value(), tokens))
                std::abort();
        }
        CalculateBook(0);
    }
};

enum Part { OPERATION, ITS_UNDO };

void TopRow(benchmark::State& state, i32 formulas, Part part, bool deletes) {
    BenchBook book;
    BenchBook::Fill(MAX_ROWS - 1);
    BenchBook::FillFormulas(formulas);
    const RefArea row = {0, 0, 0, 255};
    for (auto _ : state) {
        if (part == ITS_UNDO) state.PauseTiming();
        const bool done = deletes ? DeleteRowsOrCellsUp(row) : InsertRowsOrCellsDown(row);
        if (part == ITS_UNDO) {
            if (formulas) CalculateBook(0);
            state.ResumeTiming();
        } else {
            state.PauseTiming();
        }
        if (!done || !UndoLast()) std::abort();
        if (part == OPERATION) {
            if (formulas) CalculateBook(0);
            state.ResumeTiming();
        } else if (formulas) {
            state.PauseTiming();
            CalculateBook(0);
            state.ResumeTiming();
        }
    }
}

void InsertTopRow(benchmark::State& state) {
    TopRow(state, static_cast<i32>(state.range(0)), OPERATION, false);
}
void UndoInsertedRow(benchmark::State& state) {
    TopRow(state, static_cast<i32>(state.range(0)), ITS_UNDO, false);
}
void DeleteTopRow(benchmark::State& state) { TopRow(state, static_cast<i32>(state.range(0)), OPERATION, true); }
void UndoDeletedRow(benchmark::State& state) {
    TopRow(state, static_cast<i32>(state.range(0)), ITS_UNDO, true);
}
BENCHMARK(InsertTopRow)->ArgName("formulas")->Arg(0)->Arg(60000)->Unit(benchmark::kMillisecond);
BENCHMARK(UndoInsertedRow)->ArgName("formulas")->Arg(0)->Arg(60000)->Unit(benchmark::kMillisecond);
BENCHMARK(DeleteTopRow)->ArgName("formulas")->Arg(0)->Arg(60000)->Unit(benchmark::kMillisecond);
BENCHMARK(UndoDeletedRow)->ArgName("formulas")->Arg(0)->Arg(60000)->Unit(benchmark::kMillisecond);

// Another operation on the large block, and its undo; the times of both together.
template <typename Operation>
void WithUndo(benchmark::State& state, Operation operation) {
    BenchBook book;
    BenchBook::Fill(MAX_ROWS - 1);
    for (auto _ : state)
        if (!operation() || !UndoLast()) std::abort();
}
void InsertCellsDown(benchmark::State& state) {
    WithUndo(state, [] { return InsertRowsOrCellsDown({0, 0, 3, 4}); });
}
void InsertLeftColumn(benchmark::State& state) {
    WithUndo(state, [] { return InsertColumnsOrCellsRight({0, 65535, 0, 0}); });
}
void DeleteMiddleColumns(benchmark::State& state) {
    WithUndo(state, [] { return DeleteColumnsOrCellsLeft({0, 65535, 5, 8}); });
}
void DeleteAllRows(benchmark::State& state) {
    WithUndo(state, [] { return DeleteRowsOrCellsUp({0, 65535, 0, 255}); });
}
void CopyLargeSheet(benchmark::State& state) {
    WithUndo(state, [] { return CopySheet(0); });
}
void DeleteLargeSheet(benchmark::State& state) {
    BenchBook book;
    BenchBook::Fill(MAX_ROWS - 1);
    if (!InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false)) std::abort();
    for (auto _ : state)
        if (!DeleteSheet(0, -1) || !UndoLast()) std::abort();
}
BENCHMARK(InsertCellsDown)->Unit(benchmark::kMillisecond);
BENCHMARK(InsertLeftColumn)->Unit(benchmark::kMillisecond);
BENCHMARK(DeleteMiddleColumns)->Unit(benchmark::kMillisecond);
BENCHMARK(DeleteAllRows)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyLargeSheet)->Unit(benchmark::kMillisecond);
BENCHMARK(DeleteLargeSheet)->Unit(benchmark::kMillisecond);

// One cell of a large sheet is typed over and taken back.
void UndoOneEntry(benchmark::State& state) {
    BenchBook book;
    BenchBook::Fill(MAX_ROWS);
    const RefArea cell = {40000, 40000, 3, 3};
    for (auto _ : state) {
        if (!RecordBlock(UNDO_TYPING, 0, 0, cell, BLOCK_BY_ENTRY) || !UndoLast()) std::abort();
    }
}
BENCHMARK(UndoOneEntry)->Unit(benchmark::kMicrosecond);

// Many rules over the moved rows, all different.
void InsertTopRowUnderRules(benchmark::State& state) {
    BenchBook book;
    Sheet& sheet = *CurrentSheet();
    for (i32 i = 0; i < state.range(0); ++i) {
        ValidationRule* rule = sheet.validations.AppendDefault();
        if (!rule || !rule->inputTitle.Assign(u"title") || !MakeTokens(rule->formula1, 3, 0)) std::abort();
        rule->formula1.bytes[0] = 0x1E;
        rule->formula1.bytes[1] = static_cast<u8>(i);
        rule->formula1.bytes[2] = static_cast<u8>(i >> 8);
        if (!rule->areas.Append({static_cast<u16>(i + 1), static_cast<u16>(i + 1), 0, 3})) std::abort();
    }
    for (auto _ : state) {
        if (!InsertRowsOrCellsDown({0, 0, 0, 255}) || !UndoLast()) std::abort();
    }
}
BENCHMARK(InsertTopRowUnderRules)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tally
