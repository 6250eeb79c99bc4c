#pragma once
// The contract of printing: the user chooses a printer, and a document of pages is drawn on it, each page a
// target like every other. One document at a time.

#include "platform/Drawing.h"

namespace tally {

enum PrintRange : u8 { PRINT_ALL = 0, PRINT_SELECTION = 1 };

// What the user is asked and what is answered.
struct PrintRequest {
    bool allowSelection = false;
    PrintRange range = PRINT_ALL;  // in: what the dialog begins with
    i32 copies = 1;                // that the program has to make; those that the printer makes do not count
};

// Pixels of the printer. The printable part begins at the offsets, counted from the paper's corner.
struct PrinterCapabilities {
    i32 dpiX = 0, dpiY = 0;
    i32 paperWidth = 0, paperHeight = 0;
    i32 offsetX = 0, offsetY = 0;
    i32 printableWidth = 0, printableHeight = 0;
};

struct PrinterTable {
    // Asks for the printer and holds it until `release`. False when the user cancelled or there is none.
    bool (*choose)(PrintRequest& request);
    // The same without a question: all that is printed goes into a PDF file on A4 paper.
    bool (*chooseFile)(WideView path);
    // False when no printer is held.
    bool (*capabilities)(PrinterCapabilities& out);
    bool (*beginDocument)(WideView name);
    // The page that is drawn on: its corner is that of the printable part, its size that part's, `printer` is
    // set. Null when it could not be begun. Good until endPage.
    DrawTarget* (*beginPage)();
    bool (*endPage)();
    // False when something of the document could not be printed.
    bool (*endDocument)();
    // Ends the document where it is; what has been printed so far may come out.
    void (*abortDocument)();
    void (*release)();
};

}  // namespace tally
