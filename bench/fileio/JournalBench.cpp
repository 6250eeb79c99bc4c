// What the journal costs: each message of the window, an entry behind a typed cell, and the snapshot of a book
// of a million cells, for the program and for the writer beside it.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "base/Text.h"
#include "editing/StoreEntry.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/posix/PosixRecovery.h"
#include "recovery/Journal.h"
#include "recovery/JournalState.h"

namespace tally {
namespace {

constexpr i32 ROWS = 62500, COLUMNS = 16;

// A book of `rows` times 16 cells that is in the journal, on the disk.
void OpenKeptBook(i32 rows) {
    UseHeadlessPlatform();
    Headless().recoversOnDisk = true;
    ResetBooks();
    ConnectUndo();
    if (!CreateWorkbook(nullptr, false)) std::abort();
    for (i32 row = 0; row < rows; ++row)
        for (i32 column = 0; column < COLUMNS; ++column)
            if (!InsertCell(*SheetAt(0, 0), row, column, 15, NumberValue(row + column / 3.0), FormulaTokens()))
                std::abort();
    ConnectJournal(true);
}

void TypeCell(u16 row) {
    EntryTarget entry;
    i32 outcome = ENTRY_STORED;
    entry.area = {row, row, 0, 0};
    if (!StoreEntry(entry, u"12.5", outcome)) std::abort();
}

void Settle() {
    while (JournalTick()) usleep(500);
}

void Finish() {
    ForgetChanges(0);
    CloseJournal();
    ResetBooks();
    ResetPosixRecovery();
}

// A message that has changed nothing, as most keys.
void LookForChanges(benchmark::State& state) {
    OpenKeptBook(static_cast<i32>(state.range(0)));
    TypeCell(0);
    benchmark::DoNotOptimize(NoteChanges());
    for (auto _ : state) benchmark::DoNotOptimize(NoteChanges());
    Finish();
}
BENCHMARK(LookForChanges)->Arg(1)->Arg(ROWS);

// What the message that stores a cell pays.
void NoteTypedCell(benchmark::State& state) {
    OpenKeptBook(static_cast<i32>(state.range(0)));
    TypeCell(0);
    benchmark::DoNotOptimize(NoteChanges());
    u16 row = 0;
    for (auto _ : state) {
        state.PauseTiming();
        TypeCell(++row % 100);
        state.ResumeTiming();
        benchmark::DoNotOptimize(NoteChanges());
    }
    Finish();
}
BENCHMARK(NoteTypedCell)->Arg(1)->Arg(ROWS)->Iterations(2000);

// What the timer pays for one typed cell once the book has a snapshot.
void KeepTypedCell(benchmark::State& state) {
    OpenKeptBook(static_cast<i32>(state.range(0)));
    TypeCell(0);
    benchmark::DoNotOptimize(NoteChanges());
    Settle();
    const u64 before = FindJournal(0)->logBytes;
    u16 row = 0;
    u64 count = 0;
    for (auto _ : state) {
        state.PauseTiming();
        TypeCell(++row % 100);
        benchmark::DoNotOptimize(NoteChanges());
        state.ResumeTiming();
        benchmark::DoNotOptimize(JournalTick());
        ++count;
    }
    state.counters["bytes"] =
        static_cast<double>(FindJournal(0)->logBytes - before) / static_cast<double>(count);
    Finish();
}
BENCHMARK(KeepTypedCell)->Arg(1)->Arg(ROWS)->Iterations(500)->Unit(benchmark::kMicrosecond);

// The tick that starts a writer: all that the window waits for.
void StartSnapshot(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        OpenKeptBook(static_cast<i32>(state.range(0)));
        TypeCell(0);
        benchmark::DoNotOptimize(NoteChanges());
        state.ResumeTiming();
        benchmark::DoNotOptimize(JournalTick());
        state.PauseTiming();
        Settle();
        Finish();
        state.ResumeTiming();
    }
}
BENCHMARK(StartSnapshot)->Arg(1)->Arg(ROWS)->Iterations(5)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same to the end of the writer.
void WriteSnapshotBeside(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        OpenKeptBook(static_cast<i32>(state.range(0)));
        TypeCell(0);
        benchmark::DoNotOptimize(NoteChanges());
        state.ResumeTiming();
        Settle();
        state.PauseTiming();
        state.counters["bytes"] = static_cast<double>(FindJournal(0)->snapshotBytes);
        Finish();
        state.ResumeTiming();
    }
}
BENCHMARK(WriteSnapshotBeside)->Arg(1)->Arg(ROWS)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tally
