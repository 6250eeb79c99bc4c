#include "model/CellStore.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

#include "model/CellShift.h"

namespace tally {
namespace {

constexpr i32 benchColumns = 16;

void Fill(Sheet& sheet, i32 rows) {
    for (i32 row = 0; row < rows; ++row) {
        for (i32 column = 0; column < benchColumns; ++column) {
            if (!InsertCell(sheet, row, column, 15, NumberValue(row + column), FormulaTokens())) std::abort();
        }
    }
}

void AppendCells(benchmark::State& state) {
    const i32 rows = static_cast<i32>(state.range(0));
    u32 bytes = 0;
    for (auto _ : state) {
        Sheet sheet;
        Fill(sheet, rows);
        state.PauseTiming();
        bytes = sheet.cells.rows.Capacity() * static_cast<u32>(sizeof(CellRow));
        for (const CellRow& row : sheet.cells.rows)
            bytes += row.capacity * static_cast<u32>(sizeof(CellRecord));
        FreeStore(sheet.cells);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * rows * benchColumns);
    state.counters["bytes/cell"] = static_cast<double>(bytes) / (rows * benchColumns);
}
BENCHMARK(AppendCells)->Arg(4096)->Arg(MAX_ROWS)->Unit(benchmark::kMillisecond);

void FindCellAtRandom(benchmark::State& state) {
    Sheet sheet;
    Fill(sheet, MAX_ROWS);
    // Without row 100 the rows below it no longer stand at their own number.
    if (state.range(0)) {
        DeleteCellRows(sheet.cells, 100, 1);
        InsertCellRows(sheet.cells, 100, 1);
    }
    u32 seed = 1;
    for (auto _ : state) {
        seed = seed * 1664525u + 1013904223u;
        CellPosition position;
        benchmark::DoNotOptimize(
            FindCell(sheet.cells, static_cast<i32>(seed >> 16), static_cast<i32>(seed >> 8 & 15), position));
    }
    FreeStore(sheet.cells);
}
BENCHMARK(FindCellAtRandom)->ArgName("gap")->Arg(0)->Arg(1);

void WalkCells(benchmark::State& state) {
    Sheet sheet;
    Fill(sheet, MAX_ROWS);
    for (auto _ : state) {
        double sum = 0;
        WalkArea(sheet.cells, {0, 65535, 0, 255}, [&](u16, const CellRecord& cell) {
            sum += cell.value.number;
            return true;
        });
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * MAX_ROWS * benchColumns);
    FreeStore(sheet.cells);
}
BENCHMARK(WalkCells)->Unit(benchmark::kMillisecond);

// A row goes in at the top and out again, so that the store stays the same.
void InsertAndDeleteTopRow(benchmark::State& state) {
    Sheet sheet;
    Fill(sheet, MAX_ROWS - 1);
    for (auto _ : state) {
        InsertCellRows(sheet.cells, 0, 1);
        DeleteCellRows(sheet.cells, 0, 1);
    }
    FreeStore(sheet.cells);
}
BENCHMARK(InsertAndDeleteTopRow)->Unit(benchmark::kMillisecond);

void MoveTwoColumns(benchmark::State& state) {
    Sheet sheet;
    Fill(sheet, MAX_ROWS);
    i32 by = 10;
    u8 left = 2;
    for (auto _ : state) {
        if (!MoveCells(sheet.cells, {0, 65535, left, static_cast<u8>(left + 1)}, 0, by)) std::abort();
        left = static_cast<u8>(left + by);
        by = -by;
    }
    FreeStore(sheet.cells);
}
BENCHMARK(MoveTwoColumns)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tally
