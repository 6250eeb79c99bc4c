#pragma once
// Kinds of drawing objects by their published numbers, as far as something asks for them.

#include "base/Base.h"

namespace tally {

enum ObjectKind : u16 {
    OBJECT_CHART = 5,
    OBJECT_BUTTON = 7,
    OBJECT_PICTURE = 8,
    OBJECT_FIRST_CONTROL = 11,  // from here to the last one the other form controls
    OBJECT_LAST_CONTROL = 20,
    OBJECT_SHAPE = 30,
};
constexpr bool IsControlKind(u16 kind) {
    return kind == OBJECT_BUTTON || (kind >= OBJECT_FIRST_CONTROL && kind <= OBJECT_LAST_CONTROL);
}

}  // namespace tally
