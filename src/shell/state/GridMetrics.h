#pragma once
// How a sheet is measured in the pixels of what it is shown on: the window, paper or a picture. The zoom is in
// it.

#include "base/Base.h"

namespace tally {

struct GridMetrics {
    i32 digitWidth = 7;        // of the digit "0"; twice of it while formulas are shown
    i32 dpiX = 96, dpiY = 96;  // pixels to the inch
    i32 lineX = 1, lineY = 1;  // pixels of an upright and of a level line; also of a text's margin
};

}  // namespace tally
