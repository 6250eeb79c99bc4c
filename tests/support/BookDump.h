#pragma once
// A book as lines of text, to compare what was saved with what comes back.

#include <string>
#include <vector>

#include "base/Base.h"

namespace tally {

enum DumpParts : u32 {
    DUMP_VALUES = 1,
    DUMP_FORMULAS = 2,
    DUMP_LOOKS = 4,  // number formats, fonts, alignment, fills and borders of cells
    DUMP_SIZES = 8,
    DUMP_NAMES = 16,
    DUMP_RULES = 32,  // conditional formats, validation, filters
    DUMP_MERGES = 64,
    DUMP_LINKS = 128,  // hyperlinks
    DUMP_VIEWS = 256,
    DUMP_PAGES = 512,
    DUMP_TABLES = 1024,  // fonts, formats, styles, palette
    DUMP_TABS = 2048,    // names, kinds and colours of the sheets
    DUMP_KEPT = 4096,    // what nothing here acts on: outlines, breaks, options, runs of texts, names of styles
    DUMP_LINK_VALUES = 8192,
    DUMP_ALL = 16383,
};

// Stale worksheet cells are calculated first. Blank cells that look as their column does are left out, as a
// save leaves them out; cells below row 16,384 too when `rows95` is set.
std::vector<std::string> DumpBook(i32 book, u32 parts = DUMP_ALL, bool rows95 = false);
// The lines of either that the other lacks, at most `most` of them; empty when both are equal.
std::string DumpDifference(const std::vector<std::string>& before, const std::vector<std::string>& after,
                           std::size_t most = 8);

}  // namespace tally
