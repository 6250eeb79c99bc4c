#pragma once
// Records of drawing objects.

#include "base/Base.h"

namespace tally {

// Something that floats over the cells of a sheet.
struct DrawingObject {
    u16 kind = 0;
    u16 id = 0;
};

}  // namespace tally
