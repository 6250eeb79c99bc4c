// One cell pasted over 65,536 rows of 16 columns, and taken back.

#include <benchmark/benchmark.h>

#include <cstdlib>

#include "editing/Clipboard.h"
#include "editing/PasteText.h"
#include "editing/StoreEntry.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

constexpr RefArea target = {0, MAX_ROWS - 1, 2, 17};
constexpr WideView contents[] = {u"5", u"text", u"=B1+1", u"=$B$1+1"};

void OpenBook(WideView content) {
    UseHeadlessPlatform();
    ConnectUndo();
    ConnectClipboard();
    EntryTarget entry;
    i32 outcome = ENTRY_STORED;
    if (!CreateWorkbook(nullptr, false) || !StoreEntry(entry, content, outcome) ||
        !CopyCells(0, 0, {0, 0, 0, 0}))
        std::abort();
}

void PasteOver(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        OpenBook(contents[state.range(0)]);
        PasteRequest request;
        request.area = target;
        state.ResumeTiming();
        if (!PasteBlock(request)) std::abort();
        state.PauseTiming();
        ResetBooks();
        state.ResumeTiming();
    }
}
BENCHMARK(PasteOver)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

void UndoPaste(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        OpenBook(contents[state.range(0)]);
        PasteRequest request;
        request.area = target;
        if (!PasteBlock(request)) std::abort();
        state.ResumeTiming();
        if (!UndoLast()) std::abort();
        state.PauseTiming();
        ResetBooks();
        state.ResumeTiming();
    }
}
BENCHMARK(UndoPaste)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

// A text of 16 columns: numbers, dates, texts and formulas.
void PasteTextRows(benchmark::State& state) {
    WideText text;
    for (i64 row = 0; row < state.range(0); ++row)
        for (i32 column = 0; column < 4; ++column)
            if (!text.Append(u"12.5\t1/2/2003\ttext\t=A1+1") || !text.Append(column < 3 ? u"\t" : u"\r\n"))
                std::abort();
    for (auto _ : state) {
        state.PauseTiming();
        OpenBook(contents[0]);
        PasteRequest request;
        state.ResumeTiming();
        if (!PasteText(request, text)) std::abort();
        state.PauseTiming();
        ResetBooks();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 16);
}
BENCHMARK(PasteTextRows)->Arg(16384)->Unit(benchmark::kMillisecond);

// Copying 65,536 rows of 16 numbers, with their text.
void CopyNumbers(benchmark::State& state) {
    OpenBook(contents[0]);
    PasteRequest request;
    request.area = target;
    if (!PasteBlock(request)) std::abort();
    WideText text;
    for (auto _ : state)
        if (!CopyCells(0, 0, target) || !ClipboardBlockText(text)) std::abort();
    ResetBooks();
}
BENCHMARK(CopyNumbers)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tally
