#pragma once
// How a cell looks once a conditional format has its say.

#include "shell/state/ShellState.h"

namespace tally {

// The cell's format with the condition's fill; a null condition changes nothing.
CellFormat FillOf(const CellFormat& own, const ConditionalCondition* condition);
FontHandle FontOfLook(const Workbook& book, const CellFormat& format, const ConditionalCondition* condition,
                      i32 dpiY);
// Width of the digit that columns are counted in, in pixels of the screen without zoom: that of the book's own
// default font, or of the frame's when that one cannot be measured.
i32 DigitWidth(const Workbook& book, const ScreenMetrics& screen);
// Palette index of the text's colour.
u16 ColourOfLook(const Workbook& book, const CellFormat& format, const ConditionalCondition* condition);

}  // namespace tally
