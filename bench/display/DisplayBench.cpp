#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>

#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"
#include "editing/EntryRecognition.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

constexpr WideView formats[] = {
    u"General",    u"0",           u"0.00",
    u"#,##0",      u"#,##0.00",    u"_(* #,##0.00_);_(* (#,##0.00);_(* \"-\"?\?_);_(@_)",
    u"0.00%",      u"0.00E+00",    u"# ?/?",
    u"yyyy-mm-dd", u"m/d/yy h:mm", u"h:mm AM/PM",
};
constexpr WideView entries[] = {
    u"123",      u"12345.67",    u"0.123456789012345", u"12.5%", u"1/2/2003", u"2003-01-02 13:45",
    u"13:45:10", u"hello world", u"March report",      u"TRUE",  u"=A1+B1",
};

constexpr u32 VALUES = 1024;

void Begin() {
    UseHeadlessPlatform();
    if (!ReadLocaleSettings() || !CreateWorkbook(nullptr, false)) std::abort();
}

void End() {
    ResetBooks();
    ResetHeadlessPlatform();
}

// Values of two decimals, or with all of their bits.
void FillValues(double (&values)[VALUES], bool allBits) {
    u32 seed = 1;
    for (double& value : values) {
        seed = seed * 1664525u + 1013904223u;
        value = allBits ? std::sqrt(seed) : std::floor(std::sqrt(seed) * 100) / 100;
    }
}

void FormatNumbers(benchmark::State& state) {
    Begin();
    double values[VALUES];
    FillValues(values, state.range(1) != 0);
    const WideView format = formats[state.range(0)];
    WideText out;
    u32 at = 0;
    for (auto _ : state) {
        if (!FormatNumber(values[at++ % VALUES], format, nullptr, 0, false, nullptr, out)) std::abort();
        benchmark::DoNotOptimize(out.Data());
    }
    state.SetLabel({format.begin(), format.end()});
    End();
}
BENCHMARK(FormatNumbers)->ArgsProduct({benchmark::CreateDenseRange(0, std::size(formats) - 1, 1), {0, 1}});

void ClassifyEntries(benchmark::State& state) {
    Begin();
    FormulaPlace place;
    place.book = CurrentBook();
    const WideView text = entries[state.range(0)];
    EntryResult result;
    for (auto _ : state) benchmark::DoNotOptimize(ClassifyEntry(place, text, result));
    state.SetLabel({text.begin(), text.end()});
    End();
}
BENCHMARK(ClassifyEntries)->DenseRange(0, std::size(entries) - 1);

}  // namespace
}  // namespace tally
