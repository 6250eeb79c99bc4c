#pragma once
// Records of the chart model.

#include "base/Array.h"

namespace tally {

// A chart as a sheet or an object holds it.
struct ChartModel {
    Array<u8> records;   // body of the chart's substream as read
    u8 biffVersion = 8;  // of these records
};

}  // namespace tally
