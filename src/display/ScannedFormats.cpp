#include "display/ScannedFormats.h"

#include <algorithm>
#include <iterator>

namespace tally {
namespace {

constexpr std::size_t KEPT_FORMATS = 16;

struct FormatMemory {
    ScannedFormat formats[KEPT_FORMATS];
};
FormatMemory memory;

ScannedFormat& PlaceOf(WideView format) {
    const std::size_t mixed =
        format.size() + format.front() * 3u + format[format.size() / 2] * 5u + format.back() * 7u;
    return memory.formats[mixed % KEPT_FORMATS];
}

}  // namespace

const ScannedFormat* FindScannedFormat(WideView format) {
    if (format.empty() || format.size() > std::size(ScannedFormat().text)) return nullptr;
    ScannedFormat& kept = PlaceOf(format);
    const WideView text(kept.text, format.size());
    if (kept.length == format.size() && text == format) return &kept;
    std::copy(format.begin(), format.end(), kept.text);
    kept.length = static_cast<u32>(format.size());
    ParseFormatSections(text, kept.sections);
    for (int i = 0; i < FORMAT_SECTIONS; ++i) kept.scans[i] = ScanFormat(kept.sections[i].text);
    return &kept;
}

void ForgetScannedFormats() { memory = FormatMemory(); }

}  // namespace tally
