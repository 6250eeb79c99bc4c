#pragma once
// How a cell looks once a conditional format has its say.

#include "shell/state/ShellState.h"

namespace tally {

// The cell's format with the condition's fill; a null condition changes nothing.
CellFormat FillOf(const CellFormat& own, const ConditionalCondition* condition);
FontHandle FontOfLook(const Workbook& book, const CellFormat& format, const ConditionalCondition* condition,
                      i32 dpiY);
// Palette index of the text's colour.
u16 ColourOfLook(const Workbook& book, const CellFormat& format, const ConditionalCondition* condition);

}  // namespace tally
