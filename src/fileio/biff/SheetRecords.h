#pragma once
// The records of a sheet substream, one routine each. A routine works on the sheet being read and
// returns false only when memory has failed.

#include "fileio/biff/LoadState.h"

namespace tally {

// CellRecords.cpp
[[nodiscard]] bool ReadBlank(LoadState& load, ByteView body);
[[nodiscard]] bool ReadNumberCell(LoadState& load, ByteView body);
[[nodiscard]] bool ReadLabel(LoadState& load, ByteView body);
[[nodiscard]] bool ReadRichText(LoadState& load, ByteView body);
[[nodiscard]] bool ReadBoolOrError(LoadState& load, ByteView body);
[[nodiscard]] bool ReadRkCell(LoadState& load, ByteView body);
[[nodiscard]] bool ReadMulRk(LoadState& load, ByteView body);
[[nodiscard]] bool ReadMulBlank(LoadState& load, ByteView body);
[[nodiscard]] bool ReadSharedText(LoadState& load, ByteView body);
// FormulaRecords.cpp
[[nodiscard]] bool ReadFormulaRecord(LoadState& load, ByteView body);
[[nodiscard]] bool ReadStringResult(LoadState& load, ByteView body);
[[nodiscard]] bool ReadDataTable(LoadState& load, ByteView body);
// ViewRecords.cpp
[[nodiscard]] bool ReadSelection(LoadState& load, ByteView body);
[[nodiscard]] bool ReadPane(LoadState& load, ByteView body);
[[nodiscard]] bool ReadWindow2(LoadState& load, ByteView body);
// The zoom that a SCL record stands for.
i32 ZoomPercent(ByteView body);
[[nodiscard]] bool ReadZoom(LoadState& load, ByteView body);
[[nodiscard]] bool ReadRow(LoadState& load, ByteView body);
[[nodiscard]] bool ReadColumnInfo(LoadState& load, ByteView body);
[[nodiscard]] bool ReadDefaultRowHeight(LoadState& load, ByteView body);
[[nodiscard]] bool ReadDefaultColumnWidth(LoadState& load, ByteView body);
[[nodiscard]] bool ReadStandardWidth(LoadState& load, ByteView body);
[[nodiscard]] bool ReadMergedCells(LoadState& load, ByteView body);
[[nodiscard]] bool ReadSheetExtension(LoadState& load, ByteView body);
[[nodiscard]] bool ReadProtect(LoadState& load, ByteView body);
[[nodiscard]] bool ReadPassword(LoadState& load, ByteView body);
// PageRecords.cpp
[[nodiscard]] bool ReadHeader(LoadState& load, ByteView body);
[[nodiscard]] bool ReadFooter(LoadState& load, ByteView body);
// A margin, and a flag of the page, by the field that takes it.
template <double PageSettings::*field>
[[nodiscard]] bool ReadMargin(LoadState& load, ByteView body) {
    LoadedSheet(load).page.*field = DoubleAt(body, 0);
    return true;
}
template <u8 PageSettings::*field>
[[nodiscard]] bool ReadPageFlag(LoadState& load, ByteView body) {
    LoadedSheet(load).page.*field = ByteAt(body, 0);
    return true;
}
template <u16 SheetOptions::*field>
[[nodiscard]] bool ReadOption(LoadState& load, ByteView body) {
    LoadedSheet(load).options.*field = WordAt(body, 0);
    return true;
}
[[nodiscard]] bool ReadDelta(LoadState& load, ByteView body);
[[nodiscard]] bool ReadRowBreaks(LoadState& load, ByteView body);
[[nodiscard]] bool ReadColumnBreaks(LoadState& load, ByteView body);
// LinkValues.cpp
[[nodiscard]] bool ReadLinkSheetOfSheet(LoadState& load, ByteView body);
[[nodiscard]] bool ReadSheetOptions(LoadState& load, ByteView body);
[[nodiscard]] bool ReadPageSetup(LoadState& load, ByteView body);
[[nodiscard]] bool ReadPrinter(LoadState& load, ByteView body);
[[nodiscard]] bool ReadGuts(LoadState& load, ByteView body);
// RuleRecords.cpp
[[nodiscard]] bool ReadFilterMode(LoadState& load, ByteView body);
[[nodiscard]] bool ReadFilterInfo(LoadState& load, ByteView body);
[[nodiscard]] bool ReadFilterColumn(LoadState& load, ByteView body);
[[nodiscard]] bool ReadConditionalFormat(LoadState& load, ByteView body);
[[nodiscard]] bool ReadCondition(LoadState& load, ByteView body);
[[nodiscard]] bool ReadValidationList(LoadState& load, ByteView body);
[[nodiscard]] bool ReadValidation(LoadState& load, ByteView body);
// HyperlinkRecords.cpp
[[nodiscard]] bool ReadHyperlink(LoadState& load, ByteView body);

}  // namespace tally
