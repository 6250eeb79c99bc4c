#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "display/LocaleSettings.h"
#include "fileio/OpenFile.h"
#include "fileio/text/TextFiles.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

constexpr i32 benchColumns = 16;

std::string Numbers(bool whole) {
    std::string text;
    u32 seed = 1;
    for (i32 row = 0; row < MAX_ROWS; ++row) {
        for (i32 column = 0; column < benchColumns; ++column) {
            seed = seed * 1664525u + 1013904223u;
            char number[32];
            std::snprintf(number, sizeof number, whole ? "%.0f" : "%.6g", seed / 1000.0);
            text += number;
            text += column + 1 < benchColumns ? "," : "\r\n";
        }
    }
    return text;
}

// An open file in a program of its own.
struct OpenedText {
    explicit OpenedText(const std::string& text) {
        UseHeadlessPlatform();
        Headless().filesInMemory = true;
        const ByteView bytes(reinterpret_cast<const u8*>(text.data()), text.size());
        if (!ReadLocaleSettings() || !OpenFileFromMemory(u"in.csv", bytes, OPEN_SILENT_LINKS)) std::abort();
    }
    ~OpenedText() {
        ResetBooks();
        DropDependents();
        ResetHeadlessPlatform();
    }
    OpenedText(const OpenedText&) = delete;
    OpenedText& operator=(const OpenedText&) = delete;
};

void ReadNumbers(benchmark::State& state) {
    const std::string text = Numbers(state.range(0) != 0);
    for (auto _ : state) OpenedText book(text);
    state.SetItemsProcessed(state.iterations() * MAX_ROWS * benchColumns);
}
BENCHMARK(ReadNumbers)->ArgName("whole")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void WriteNumbers(benchmark::State& state) {
    OpenedText book(Numbers(state.range(0) != 0));
    for (auto _ : state) {
        u32 losses = 0;
        if (!SaveText(CurrentBook(), u"out.csv", FILE_CSV, losses)) std::abort();
    }
    state.SetItemsProcessed(state.iterations() * MAX_ROWS * benchColumns);
}
BENCHMARK(WriteNumbers)->ArgName("whole")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void WriteOneCellInTheLastCorner(benchmark::State& state) {
    OpenedText book(std::string(MAX_ROWS - 1, '\n') + std::string(255, ',') + "x");
    for (auto _ : state) {
        u32 losses = 0;
        if (!SaveText(CurrentBook(), u"out.csv", FILE_CSV, losses)) std::abort();
    }
}
BENCHMARK(WriteOneCellInTheLastCorner)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tally
