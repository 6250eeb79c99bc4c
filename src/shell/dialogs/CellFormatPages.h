#pragma once
// The pages of the dialog for the look of cells, one file a page.

#include "shell/dialogs/Pickers.h"
#include "shell/dialogs/Questions.h"

namespace tally {

// What the pages share while the dialog is open.
struct CellFormatSheet {
    CellFormatQuestion& question;
    FormatRequest request;  // what was touched so far
    i32 kind = -1;          // of the number format that is shown; -1 undecided
    bool numberTouched = false;
    bool degreesTouched = false;
    bool sizeTouched = false;
};

struct CellFormatPage {
    FormatPageBit bit;
    i32 id;     // of the page's control
    u16 title;  // message
    std::span<const ControlRow> rows;
    std::span<const PickerRow> pickers;
    // False when memory fails.
    bool (*start)(Dialog& dialog, CellFormatSheet& sheet);
    // The user changed a control of the page, or pressed a button.
    void (*changed)(Dialog& dialog, CellFormatSheet& sheet, i32 control);
    // False, with `fault` the message and `control` where it lies, for what cannot be. May be null.
    bool (*accept)(const Dialog& dialog, CellFormatSheet& sheet, u16& fault, i32& control);
    // What is painted beside the pickers, and pressed. May be null.
    void (*paint)(const CellFormatSheet& sheet, const DialogEvent& event);
    void (*mouse)(Dialog& dialog, CellFormatSheet& sheet, const DialogEvent& event);
};

// Numbers of the controls of each page begin here.
enum : i32 {
    NUMBER_CONTROLS = 110,
    ALIGNMENT_CONTROLS = 140,
    FONT_CONTROLS = 180,
    BORDER_CONTROLS = 220,
    PATTERN_CONTROLS = 260,
    PROTECTION_CONTROLS = 300,
    CELL_FORMAT_PAGES = 400,
    NUMBER_PAGE,
    ALIGNMENT_PAGE,
    FONT_PAGE,
    BORDER_PAGE,
    PATTERN_PAGE,
    PROTECTION_PAGE,
};

extern const CellFormatPage numberPage, alignmentPage, fontPage, borderPage, patternPage, protectionPage;

// A field as it is shown now: touched, or as it came.
template <typename Field>
Field ShownField(const CellFormatSheet& sheet, Field FormatRequest::*field) {
    return (sheet.request.*field).present ? sheet.request.*field : sheet.question.look.*field;
}
// All of them.
FormatRequest ShownLook(const CellFormatSheet& sheet);
// -1 for a field that is undecided.
inline i32 ChoiceOf(const FormatField& field) { return field.present ? field.value : -1; }
// Items from messages that stand one behind the other. False when memory fails.
[[nodiscard]] bool AddMessages(Dialog& dialog, i32 id, u16 first, i32 count);

}  // namespace tally
