#pragma once
// The constants that a new book begins with.

#include "model/ModelTypes.h"

namespace tally {

struct BuiltInFormat {
    u16 id;
    WideView text;
};
// Built-in number formats by id, ids ascending with gaps.
std::span<const BuiltInFormat> BuiltInFormats();
// 64 colours, 0x00BBGGRR: the eight basic ones, then the published default palette of BIFF8.
std::span<const u32> DefaultPalette();

// The eight colours that number formats name: English and local words.
struct ColourWord {
    WideView english;
    WideView local;
};
std::span<const ColourWord> ColourWords();

}  // namespace tally
