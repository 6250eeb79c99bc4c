#include <bit>
#include <cmath>

#include "Common.h"
#include "display/NumberFormatter.h"
#include "formula/TokenWalk.h"

// Eight bytes of a number, then a format.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size < 8 || size > 2048) return 0;
    const double value = ReadF64(data);
    if (!std::isfinite(value)) return 0;
    BeginRun();
    WideText format, out;
    u16 colour = 8;
    const TextMeasure measure = {[](const void*, WideView text) { return static_cast<i32>(text.size()) * 7; },
                                 nullptr};
    if (InputText(data + 8, size - 8, format)) {
        IgnoreFailure(FormatNumber(value, format, nullptr, 0, false, &colour, out));
        if (colour > 8) __builtin_trap();
        IgnoreFailure(FormatNumber(value, format, &measure, 100, true, nullptr, out));
        IgnoreFailure(FormatTextValue(format, format, out));
    }
    EndRun();
    return 0;
}
