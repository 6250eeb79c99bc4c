#pragma once
// Number formats, cell formats, styles, fonts and the palette of a book.

#include "model/ModelTypes.h"

namespace tally {

// Fills a new book: palette, number formats, 21 cell formats, 6 styles, 4 fonts.
[[nodiscard]] bool BuildDefaultFormats(Workbook& book);

// The index of a format equal to the candidate, appended when there is none. A failed growth gives
// false and leaves the list as it was.
[[nodiscard]] bool FindOrAddCellFormat(Workbook& book, const CellFormat& candidate, u16& index);
// The id of a number format with this text; a new one is one above the largest of 49 and all ids.
[[nodiscard]] bool FindOrAddNumberFormat(Workbook& book, WideView text, u16& id);
// Gives the row of this id a text of its own, or adds the row.
[[nodiscard]] bool ReplaceNumberFormat(Workbook& book, u16 id, WideView text);
// Position in numberFormats, or its count when the id is unknown.
u32 FindNumberFormat(const Workbook& book, u16 id);
// The text of a format id; "General" when the id is unknown.
WideView GetNumberFormatText(const Workbook& book, u16 id);
// From a format's file form to the form that the user sees, and back.
[[nodiscard]] bool BuildLocalText(Workbook& book, u32 index);
[[nodiscard]] bool LocalToFileText(WideView text, WideText& out);
[[nodiscard]] bool FindOrAddFont(Workbook& book, WideView faceName, bool bold, bool italic, bool underline,
                                 bool strikeout, u16 height, u16 colour, u16& index);
// The record of an index; that of the default format when it is out of range.
const CellFormat& ResolveCellFormat(const Workbook& book, u16 index);
const FontRecord& ResolveFont(const Workbook& book, u16 index);
// 0x00BBGGRR of a palette index; above 63 `automatic`.
u32 PaletteColour(const Workbook& book, u16 index, u32 automatic);

// The number formats that follow the user's region, by id (5 to 8, 14, 20, 22, 41 to 44); set once
// when the region is read. A null entry keeps the constant.
struct LocalFormatText {
    u16 id;
    WideView text;
};
void SetLocalFormats(std::span<const LocalFormatText> formats);
// The text that a new book has for a built-in id; empty for any other id.
WideView NewFormatText(u16 id);
// The user's word for "General".
WideView LocalGeneralWord();

}  // namespace tally
