#pragma once
// Formats as they were last taken apart, so that a column of numbers under one format scans it once.
// Inside the display folder only.

#include "display/FormatRun.h"

namespace tally {

// A format with its sections, whose texts lie in `text`, and what the first scan of each finds.
struct ScannedFormat {
    char16_t text[48] = {};
    u32 length = 0;  // 0: free
    FormatSection sections[FORMAT_SECTIONS];
    FormatScan scans[FORMAT_SECTIONS];
};

// Null for a format that is too long to keep. Good until the next call.
const ScannedFormat* FindScannedFormat(WideView format);
// What was found depends on the regional settings: they have changed.
void ForgetScannedFormats();

}  // namespace tally
