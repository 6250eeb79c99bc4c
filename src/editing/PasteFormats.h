#pragma once
// Cell formats on their way from one place to another.

#include "model/ModelTypes.h"

namespace tally {

// What a format becomes was worked out before.
struct KnownPasteFormat {
    bool known = false;
    u16 source = 0, kept = 0, result = 0;
};

struct PasteFormats {
    i32 sourceBook = 0, targetBook = 0;
    bool unlocks = false;           // the target sheet is protected: a locked format comes as an unlocked one
    bool keepsBorders = false;      // the target's borders stay
    Array<KnownPasteFormat> known;  // by a hash of source and kept format
};

bool SameFont(const FontRecord& a, const FontRecord& b);
// The index of a font equal to this one, added when there is none. False when memory fails.
[[nodiscard]] bool FindOrAddFontRecord(Workbook& book, const FontRecord& font, u16& index);

// The target book's format for a cell whose source had `source` and that has `kept`. False when memory fails.
[[nodiscard]] bool PastedFormat(PasteFormats& formats, u16 source, u16 kept, u16& result);

}  // namespace tally
