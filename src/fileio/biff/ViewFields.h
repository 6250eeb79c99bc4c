#pragma once
// Where the fields of WINDOW2, PANE and SELECTION stand: for reader and writer.

#include "base/Base.h"

namespace tally {

// The older form ends behind the colour, which has four bytes there.
constexpr std::size_t WINDOW2_BYTES = 18, WINDOW2_BYTES_95 = 10;
constexpr std::size_t WINDOW2_FLAGS_AT = 0, WINDOW2_ROW_AT = 2, WINDOW2_COLUMN_AT = 4, WINDOW2_COLOUR_AT = 6,
                      WINDOW2_BREAK_ZOOM_AT = 10, WINDOW2_NORMAL_ZOOM_AT = 12;

// The last byte of PANE is no field.
constexpr std::size_t PANE_BYTES = 10;
constexpr std::size_t PANE_COLUMNS_AT = 0, PANE_ROWS_AT = 2, PANE_FIRST_ROW_AT = 4, PANE_FIRST_COLUMN_AT = 6,
                      PANE_ACTIVE_AT = 8;

// SELECTION: which of the areas behind the fields holds the active cell, and how many there are.
constexpr std::size_t SELECTION_PANE_AT = 0, SELECTION_ROW_AT = 1, SELECTION_COLUMN_AT = 3,
                      SELECTION_ACTIVE_AT = 5, SELECTION_COUNT_AT = 7, SELECTION_AREAS_AT = 9;
// Of an area: rows of two bytes, columns of one.
constexpr std::size_t AREA_LAST_ROW_AT = 2, AREA_FIRST_COLUMN_AT = 4, AREA_LAST_COLUMN_AT = 5, AREA_BYTES = 6;

}  // namespace tally
