#include "formula/Recalculation.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "formula/Compiler.h"
#include "formula/Links.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

// A book of its own for one benchmark.
struct BenchBook {
    BenchBook() {
        UseHeadlessPlatform();
        if (!ReadLocaleSettings() || !CreateWorkbook(nullptr, false)) std::abort();
    }
    ~BenchBook() {
        ResetBooks();
        ResetFormulaEngine();
    }
    BenchBook(const BenchBook&) = delete;
    BenchBook& operator=(const BenchBook&) = delete;

    // As a reader puts it: nothing is calculated.
    static void Put(i32 row, i32 column, const std::string& formula) {
        WideText text;
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        if (!WideFromUtf8(text, formula) || !CompileFormula(place, text, 'V', tokens) ||
            !InsertCell(*CurrentSheet(), row, column, 15, Value(), tokens)) {
            std::abort();
        }
    }
    static void PutNumber(i32 row, i32 column, double number) {
        if (!InsertCell(*CurrentSheet(), row, column, 15, NumberValue(number), FormulaTokens())) std::abort();
    }
    static void Edit(i32 row, i32 column, double number) {
        CellInput input;
        input.row = static_cast<u16>(row);
        input.column = static_cast<u8>(column);
        input.format = 15;
        input.value = NumberValue(number);
        if (!SetCell(CurrentBook(), 0, input, true, false)) std::abort();
    }
    // Calculated once, and the index of dependents built.
    static void Settle() {
        CalculateBook(CurrentBook());
        Edit(65535, 255, 0);
    }
    static void Define(const std::string& name, const std::string& target) {
        WideText text, formula;
        FormulaPlace place;
        place.book = CurrentBook();
        if (!WideFromUtf8(text, name) || !WideFromUtf8(formula, target)) std::abort();
        const i32 row = AddName(*CurrentWorkbook(), text, 0);
        FormulaTokens tokens;
        if (row < 0 || !CompileFormula(place, formula, 'R', tokens)) std::abort();
        CurrentWorkbook()->names[static_cast<u32>(row)].tokens = tokens;
    }
    static std::string Name(const char* column, i32 row) { return column + std::to_string(row + 1); }
};

// An edit finds what is stale; with `calculate` all of it is calculated as well.
void EditAndMaybeCalculate(benchmark::State& state, i32 row, i32 column, bool calculate) {
    BenchBook::Settle();
    double number = 1;
    for (auto _ : state) {
        BenchBook::Edit(row, column, ++number);
        if (calculate) {
            CalculateBook(CurrentBook());
            continue;
        }
        state.PauseTiming();
        CalculateBook(CurrentBook());
        state.ResumeTiming();
    }
}

void EditAmongIndependentFormulas(benchmark::State& state) {
    const BenchBook book;
    for (i32 i = 0; i < 100000; ++i) {
        const i32 row = i % 50000;
        const bool right = i >= 50000;
        BenchBook::PutNumber(row, right ? 2 : 0, i);
        BenchBook::Put(row, right ? 3 : 1, "=" + BenchBook::Name(right ? "C" : "A", row) + "+1");
    }
    EditAndMaybeCalculate(state, 777, 0, false);
}
BENCHMARK(EditAmongIndependentFormulas)->Unit(benchmark::kMicrosecond)->Iterations(50);

void PutChain(bool down) {
    constexpr i32 LENGTH = 60000;
    BenchBook::PutNumber(down ? 0 : LENGTH - 1, 0, 1);
    for (i32 i = 1; i < LENGTH; ++i) {
        const i32 row = down ? i : i - 1;
        BenchBook::Put(row, 0, "=" + BenchBook::Name("A", down ? row - 1 : row + 1) + "+1");
    }
}

void EditChainHead(benchmark::State& state) {
    const BenchBook book;
    PutChain(true);
    EditAndMaybeCalculate(state, 0, 0, state.range(0) != 0);
}
BENCHMARK(EditChainHead)->ArgName("calculate")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void EditChainFoot(benchmark::State& state) {
    const BenchBook book;
    PutChain(false);
    EditAndMaybeCalculate(state, 59999, 0, state.range(0) != 0);
}
BENCHMARK(EditChainFoot)->ArgName("calculate")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void EditCellWithManyReaders(benchmark::State& state) {
    const BenchBook book;
    BenchBook::PutNumber(0, 0, 1);
    for (i32 row = 0; row < 60000; ++row) BenchBook::Put(row, 1, "=A$1+1");
    EditAndMaybeCalculate(state, 0, 0, state.range(0) != 0);
}
BENCHMARK(EditCellWithManyReaders)->ArgName("calculate")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void EditUnderSameSums(benchmark::State& state) {
    const BenchBook book;
    for (i32 row = 0; row < 20000; ++row) BenchBook::PutNumber(row, 0, row / 3.0);
    for (i32 row = 0; row < 5000; ++row) BenchBook::Put(row, 1, "=SUM(A$1:A$20000)");
    EditAndMaybeCalculate(state, 0, 0, true);
}
BENCHMARK(EditUnderSameSums)->Unit(benchmark::kMillisecond);

void EditUnderRunningSums(benchmark::State& state) {
    const BenchBook book;
    const i32 rows = static_cast<i32>(state.range(0));
    for (i32 row = 0; row < rows; ++row) {
        BenchBook::PutNumber(row, 0, row / 3.0);
        BenchBook::Put(row, 1, "=SUM(A$1:" + BenchBook::Name("A", row) + ")");
    }
    EditAndMaybeCalculate(state, 0, 0, true);
}
BENCHMARK(EditUnderRunningSums)->Arg(20000)->Arg(40000)->Unit(benchmark::kMillisecond);

// Running sums over formulas, which are stale themselves.
void EditUnderRunningSumsOfFormulas(benchmark::State& state) {
    const BenchBook book;
    const i32 rows = static_cast<i32>(state.range(0));
    BenchBook::PutNumber(0, 0, 1);
    for (i32 row = 0; row < rows; ++row) {
        BenchBook::Put(row, 1, "=A$1/3");
        BenchBook::Put(row, 2, "=SUM(B$1:" + BenchBook::Name("B", row) + ")");
    }
    EditAndMaybeCalculate(state, 0, 0, true);
}
BENCHMARK(EditUnderRunningSumsOfFormulas)->Arg(10000)->Arg(20000)->Unit(benchmark::kMillisecond);

// Each sum runs over all the sums above it.
void EditUnderSumsOfSums(benchmark::State& state) {
    const BenchBook book;
    const i32 rows = static_cast<i32>(state.range(0));
    BenchBook::PutNumber(0, 0, 1);
    for (i32 row = 1; row < rows; ++row)
        BenchBook::Put(row, 0, "=SUM(A$1:" + BenchBook::Name("A", row - 1) + ")/1E9");
    EditAndMaybeCalculate(state, 0, 0, true);
}
BENCHMARK(EditUnderSumsOfSums)->Arg(10000)->Arg(20000)->Unit(benchmark::kMillisecond);

// Running sums over two columns of formulas.
void EditUnderWideRunningSums(benchmark::State& state) {
    const BenchBook book;
    const i32 rows = static_cast<i32>(state.range(0));
    BenchBook::PutNumber(0, 0, 1);
    for (i32 row = 0; row < rows; ++row) {
        BenchBook::Put(row, 1, "=A$1/3");
        BenchBook::Put(row, 2, "=A$1/7");
        BenchBook::Put(row, 3, "=SUM(B$1:" + BenchBook::Name("C", row) + ")");
    }
    EditAndMaybeCalculate(state, 0, 0, true);
}
BENCHMARK(EditUnderWideRunningSums)->Arg(10000)->Arg(20000)->Unit(benchmark::kMillisecond);

// Names that no changed cell is part of must not make a long marking slow.
void EditChainHeadBesideNames(benchmark::State& state) {
    const BenchBook book;
    PutChain(true);
    for (i32 i = 0; i < 200; ++i)
        BenchBook::Define("name_" + std::to_string(i), "=Sheet1!$F$" + std::to_string(i + 1));
    BenchBook::Put(0, 3, "=name_7+1");
    EditAndMaybeCalculate(state, 0, 0, false);
}
BENCHMARK(EditChainHeadBesideNames)->Unit(benchmark::kMillisecond);

// 4,000 names and 20,000 formulas that use them: the cell of one name, and one that no name reads.
void EditAmongNames(benchmark::State& state) {
    const BenchBook book;
    for (i32 i = 0; i < 4000; ++i)
        BenchBook::Define("name_" + std::to_string(i), "=Sheet1!$F$" + std::to_string(i + 1));
    for (i32 i = 0; i < 20000; ++i) BenchBook::Put(i, 0, "=name_" + std::to_string(i % 4000) + "+1");
    EditAndMaybeCalculate(state, 77, state.range(0) ? 5 : 7, false);
}
BENCHMARK(EditAmongNames)->ArgName("read")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->Iterations(20);

// The first edit after a load builds the index of dependents.
void FirstEditAfterLoad(benchmark::State& state) {
    const BenchBook book;
    for (i32 row = 0; row < 60000; ++row) BenchBook::Put(row, 1, "=A1+SUM(C1:C9)");
    CalculateBook(CurrentBook());
    for (auto _ : state) {
        state.PauseTiming();
        DropDependents();
        state.ResumeTiming();
        BenchBook::Edit(65535, 255, 1);
    }
}
BENCHMARK(FirstEditAfterLoad)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tally
