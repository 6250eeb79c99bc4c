#pragma once
// The units of CONVERT.

#include "base/Base.h"

namespace tally {

enum UnitGroup : u32 {
    UNIT_MASS = 0,
    UNIT_DISTANCE = 1,
    UNIT_TIME = 2,
    UNIT_PRESSURE = 3,
    UNIT_FORCE = 4,
    UNIT_ENERGY = 5,
    UNIT_POWER = 6,
    UNIT_MAGNETISM = 7,
    UNIT_TEMPERATURE = 8,
    UNIT_LIQUID = 9,
};

// A unit in parts of its group's first one. A unit with a prefix is a row of its own: the prefix is the
// first letter of the name ("e" for ten) and its power of ten is in the factor.
struct UnitRow {
    WideView name;
    u32 group;
    double factor;
};

// Sorted by name, upper case before lower case.
constexpr i32 UNIT_ROWS = 368;
extern const UnitRow unitTable[UNIT_ROWS];

// The row of that name, or null; capitals count.
const UnitRow* FindUnit(WideView name);
// What the scale of a temperature shows at the zero of the first one.
double UnitOffset(WideView name);

}  // namespace tally
