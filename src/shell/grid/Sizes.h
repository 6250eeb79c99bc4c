#pragma once
// The sizes of rows and columns as they follow the content, and on the headers.

#include "model/ModelTypes.h"

namespace tally {

// Gives the rows of an area the height that their cells want: the tallest, a line and a pixel a line of
// text, never below the sheet's default height. An automatic fit passes the rows whose height the user has
// set, and hidden ones. True when a height changed.
bool FitRows(Sheet& sheet, const RefArea& area, bool automatic);
// Makes the columns as wide as the widest text that the area's cells in them show. A column without one stays.
bool FitColumns(Sheet& sheet, const RefArea& area);

// ---- on the headers of the current sheet -----------------------------------------------------------------
// The lines that a gesture on one of them means: the selected ones when it is among whole ones selected.
RefArea HeaderLines(bool columns, i32 line);
// Drawn to that many pixels; to none hides.
void SizeHeaderLines(bool columns, i32 line, i32 pixels);
void FitHeaderLines(bool columns, i32 line);

// Rows that wait to be fitted since cells were stored in them. Noting costs nothing that grows with a row.
void WantRowHeight(i32 book, i32 sheet, i32 row);
// Fits them and shows the change.
void FitWantedRows();

}  // namespace tally
