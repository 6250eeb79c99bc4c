#include "fileio/SaveFile.h"

#include <bit>

#include "base/LongOperation.h"
#include "base/MessageTable.h"
#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/SaveState.h"
#include "fileio/compound/CompoundTree.h"
#include "fileio/text/TextFiles.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"

namespace tally {
namespace {

struct StaleCell {
    i32 sheet;
    u16 row;
    u8 column;
};

// Of one sheet, or of all with -1.
bool CollectStale(const Workbook& book, i32 sheet, Array<StaleCell>& stale) {
    for (u32 i = 0; i < book.sheets.Count(); ++i) {
        if (book.sheets[i]->kind != SHEET_WORKSHEET || (sheet >= 0 && static_cast<i32>(i) != sheet)) continue;
        for (const FormulaCell* formula : book.sheets[i]->cells.formulas) {
            const CellRecord* cell = GetCell(book.sheets[i]->cells, formula->row, formula->column);
            if (cell && cell->calcState == CALC_STALE &&
                !stale.Append({static_cast<i32>(i), formula->row, formula->column})) {
                return false;
            }
        }
    }
    return true;
}

// Brings worksheets up to date. False for lack of memory: cells are left stale then.
bool CalculateForSave(i32 book, i32 sheet) {
    const QuietMemoryScope quiet;
    const LongOperation work(OPERATION_CALCULATE);
    Array<StaleCell> stale;
    if (!CollectStale(*BookAt(book), sheet, stale)) return false;
    const u64 failures = FailedAllocations();
    for (const StaleCell& place : stale)
        IgnoreFailure(CalculateCell(book, place.sheet, place.row, place.column));
    return FailedAllocations() == failures;
}

bool IsPocket(FileType type) { return type == FILE_PXL || type == FILE_PXT; }

bool BuildForm(SaveState& save, u8 form) {
    const Workbook& book = SavedBook(save);
    save.biffVersion = form;
    save.codePage = save.biffVersion == 8 ? book.codePage : ChooseCodePage(book);
    if (save.biffVersion != 8 && !FitNames(save)) return false;
    if (!PlanCarried(save)) return false;
    WriteGlobals(save);
    for (u32 i = 0; i < book.sheets.Count() && !save.writer.failed; ++i) WriteSheet(save, static_cast<i32>(i));
    return !save.writer.failed;
}

u8 FormOf(const Workbook& book) { return book.biffVersion == 7 ? 7 : 8; }

bool BuildStream(SaveState& save, FileType type) {
    if (!IsPocket(type)) return BuildForm(save, FormOf(SavedBook(save)));
    save.losses |= CarriedLosses(SavedBook(save));
    WritePocket(save);
    return !save.writer.failed;
}

// What BuildStream has made, in the container of its form.
bool WriteStream(const SaveState& save, FileType type, OutputHandle file) {
    const Array<u8>& stream = save.writer.stream;
    return IsPocket(type)
               ? Platform().writeFile(file, stream.Data(), stream.Count())
               : WriteCompoundFile(stream.Span(), save.biffVersion, file,
                                   {SavedBook(save).entries.Span(), save.carried.droppedEntries.Span()});
}

bool WriteWorkbook(i32 book, WideView path, FileType type, u32& losses, LossQuestion mayLose) {
    SaveState save;
    save.book = book;
    bool built = false;
    {
        // One box is enough for all that memory may refuse.
        const QuietMemoryScope quiet;
        built = CalculateForSave(book, -1) && BuildStream(save, type);
    }
    if (!built) {
        ShowMessage(Message(MSG_OUT_OF_MEMORY));
        return false;
    }
    if (save.losses && mayLose && !mayLose(book, save.losses)) return false;
    const OutputHandle file = Platform().createFile(path);
    if (!file) {
        ShowMessageWith(Message(MSG_CANNOT_CREATE_FILE), path);
        return false;
    }
    if (!WriteStream(save, type, file)) {
        Platform().abandonFile(file);
        ShowMessageWith(Message(MSG_CANNOT_WRITE_FILE), path);
        return false;
    }
    losses = save.losses;
    if (Platform().closeFile(file)) return true;
    ShowMessageWith(Message(MSG_CANNOT_WRITE_FILE), path);
    return false;
}

// What a text does not say of the sheet that it is written from, beyond how its cells look.
u32 TextLosses(const Workbook& book) {
    u32 losses = book.sheets.Count() > 1 ? u32{LOSS_SHEETS} : 0u;
    if (static_cast<u32>(book.currentSheet) >= book.sheets.Count()) return losses;
    const Sheet& sheet = *book.sheets[static_cast<u32>(book.currentSheet)];
    if (!(sheet.kind & SHEET_WITH_CELLS))
        return losses | (sheet.kind == SHEET_CHART ? LOSS_CHARTS : LOSS_SHEET_KINDS);
    const struct {
        bool lost;
        u32 loss;
    } rows[] = {
        {!sheet.cells.formulas.IsEmpty() && !(sheet.viewFlags & VIEW_FORMULAS), LOSS_FORMULAS},
        {!sheet.mergedAreas.IsEmpty(), LOSS_MERGES},
        {!sheet.conditionalFormats.IsEmpty() || !sheet.validations.IsEmpty(), LOSS_RULES},
        {!sheet.hyperlinks.IsEmpty(), LOSS_HYPERLINKS},
        {!sheet.objects.IsEmpty(), LOSS_OBJECTS},
        {!book.names.IsEmpty(), LOSS_NAMES},
        {book.date1904 != 0, LOSS_DATES},
    };
    for (const auto& row : rows) losses |= row.lost ? row.loss : 0u;
    return losses;
}

bool WriteTextFile(i32 book, WideView path, FileType type, u32& losses, LossQuestion mayLose) {
    losses = TextLosses(*BookAt(book));
    // What a text holds of formulas is known to everybody; what hangs on the cells is not.
    constexpr u32 HANGS_ON_CELLS =
        LOSS_OBJECTS | LOSS_COMMENTS | LOSS_CHARTS | LOSS_PIVOTS | LOSS_MACROS | LOSS_EMBEDDED;
    const u32 carried = CarriedLosses(*BookAt(book)) & HANGS_ON_CELLS;
    losses |= carried;
    if (carried && mayLose && !mayLose(book, carried)) return false;
    // Before there is a file: without memory for the values none is begun.
    if (!CalculateForSave(book, BookAt(book)->currentSheet)) {
        ShowMessage(Message(MSG_OUT_OF_MEMORY));
        return false;
    }
    return SaveText(book, path, type, losses);
}

}  // namespace

bool CanWrite(FileType type) { return type != FILE_BMP && type != FILE_UNKNOWN; }

bool WriteBookCopy(i32 book, OutputHandle file, bool mayBeOlder) {
    const QuietMemoryScope quiet;
    SaveState newer, older;
    newer.book = older.book = book;
    if (!BuildForm(newer, 8)) return false;
    const bool better = mayBeOlder && newer.losses && BuildForm(older, 7) && !older.losses;
    return WriteStream(better ? older : newer, FILE_XLS, file);
}

bool WriteBookFile(i32 book, WideView path, FileType type, u32& losses, LossQuestion mayLose) {
    losses = 0;
    if (!CanWrite(type)) {
        ShowMessage(Message(MSG_SAVE_FORM_MISSING));
        return false;
    }
    const bool isText = type == FILE_CSV || type == FILE_TXT;
    if (!(isText ? WriteTextFile : WriteWorkbook)(book, path, type, losses, mayLose)) return false;
    // A later change of the file is another program's.
    FileStamp stamp;
    BookAt(book)->stamp = Platform().fileStamp(path, stamp) ? stamp : FileStamp();
    return true;
}

}  // namespace tally
