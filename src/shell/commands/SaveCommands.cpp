#include <array>

#include "base/MessageTable.h"
#include "base/Text.h"
#include "fileio/SaveFile.h"
#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "shell/commands/Commands.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

// Saving under a book's own name and under another one.

namespace tally {
namespace {

// A row of the dialog's list of types.
struct SaveFilter {
    u16 name;  // of the message table
    WideView pattern;
    FileType type;
    u8 biffVersion;  // that the book takes; 0 leaves it
};
constexpr SaveFilter saveFilters[] = {
    {MSG_FILTER_97_BOOK, u"*.xls", FILE_XLS, 8},         {MSG_FILTER_95_BOOK, u"*.xls", FILE_XLS, 7},
    {MSG_FILTER_POCKET_BOOK, u"*.pxl", FILE_PXL, 8},     {MSG_FILTER_CSV, u"*.csv", FILE_CSV, 8},
    {MSG_FILTER_TAB_TEXT, u"*.txt", FILE_TXT, 8},        {MSG_FILTER_97_TEMPLATE, u"*.xlt", FILE_XLT, 8},
    {MSG_FILTER_POCKET_TEMPLATE, u"*.pxt", FILE_PXT, 8}, {MSG_FILTER_BITMAP, u"*.bmp", FILE_BMP, 0},
};
constexpr u32 FILTER_COUNT = std::size(saveFilters);
constexpr std::size_t EXTENSION = 4;  // with its full stop

// The rows whose types there is a writer for.
struct OfferedFilters {
    std::array<FileFilter, FILTER_COUNT> shown;
    std::array<u32, FILTER_COUNT> rows;
    u32 count = 0;
};

OfferedFilters OfferFilters() {
    OfferedFilters offered;
    for (u32 i = 0; i < FILTER_COUNT; ++i) {
        if (!CanWrite(saveFilters[i].type)) continue;
        offered.shown[offered.count] = {Message(saveFilters[i].name), saveFilters[i].pattern};
        offered.rows[offered.count++] = i;
    }
    return offered;
}

// The offered row that fits a book as it is.
i32 FittingFilter(const OfferedFilters& offered, const Workbook& book) {
    FileType type = FileTypeOf(book.path);
    u8 version = 8;
    if (type == FILE_XLT) type = FILE_XLS;
    if (type == FILE_PXT) type = FILE_PXL;
    if (type == FILE_XLS && book.biffVersion == 7) version = 7;
    for (u32 i = 0; i < offered.count; ++i) {
        const SaveFilter& filter = saveFilters[offered.rows[i]];
        if (filter.type == type && filter.biffVersion == version) return static_cast<i32>(i);
    }
    return 0;
}

// A path whose end names a type loses it.
WideView WithoutExtension(WideView path) {
    return FileTypeOf(path) == FILE_UNKNOWN ? path : path.substr(0, path.size() - EXTENSION);
}

bool ClashesWithOpenBook(i32 book, WideView path) {
    for (u32 i = 0; i < Books().books.Count(); ++i) {
        if (static_cast<i32>(i) == book) continue;
        if (EqualIgnoringCase(FileNameOf(Books().books[i]->path), FileNameOf(path))) return true;
    }
    return false;
}

// What stands in the way of saving a book there, told with one box.
bool IsRefused(i32 book, WideView path, FileType type) {
    if (ClashesWithOpenBook(book, path)) {
        ShowMessage(Message(MSG_SAVE_NAME_OPEN));
        return true;
    }
    if (type != FILE_BMP) return false;
    const Sheet* sheet = SheetAt(book, BookAt(book)->currentSheet);
    if (sheet && sheet->kind == SHEET_CHART) return false;
    ShowMessage(Message(MSG_NO_CHART_SHEET));
    return true;
}

// A file that the dialog was not told the whole name of is not replaced unasked.
bool MayReplace(WideView chosen, WideView path) {
    if (path == chosen || !Platform().fileExists(path)) return true;
    WideText text;
    return FormatWith(text, Message(MSG_REPLACE_FILE), path) &&
           Platform().messageBox(text, PROGRAM_NAME, MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2) == IDYES;
}

// What another program wrote there since is not replaced unasked.
bool MayOverwrite(const Workbook& book, WideView path) {
    if (!FileHasChanged(book, path)) return true;
    WideText text;
    return FormatWith(text, Message(MSG_FILE_CHANGED), path) &&
           Platform().messageBox(text, PROGRAM_NAME, MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2) == IDYES;
}

bool MaySaveText(const Workbook& book, FileType type) {
    if ((type != FILE_CSV && type != FILE_TXT) || book.sheets.Count() < 2) return true;
    return Platform().messageBox(Message(MSG_SEVERAL_SHEETS), PROGRAM_NAME, MB_OKCANCEL | MB_ICONWARNING) ==
           IDOK;
}

// What the user has been asked about before is not asked again.
bool MayLose(i32 book, u32 losses) {
    losses &= ~BookAt(book)->acceptedLosses;
    if (!losses) return true;
    WideText list, text;
    for (u32 i = 0; i < LOSS_COUNT; ++i) {
        if (!(losses >> i & 1)) continue;
        if ((!list.IsEmpty() && !list.Append(u"\n")) || !list.Append(SaveLossText(u32{1} << i))) return false;
    }
    return FormatWith(text, Message(MSG_SAVE_LOSSES), list) &&
           Platform().messageBox(text, PROGRAM_NAME, MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2) == IDYES;
}

void TakePath(i32 book, WideText path) {
    AddRecentFile(path);
    Workbook& target = *BookAt(book);
    target.path = std::move(path);
    target.untitled = false;
    UpdateTitle();
}

}  // namespace

bool SaveBook(i32 book, WideView path, bool askForName) {
    const FileType type = FileTypeOf(path);
    const bool isTemplate = type == FILE_XLT || type == FILE_PXT;
    if (type == FILE_UNKNOWN || (isTemplate && !askForName)) return SaveBookAs(book);
    if (!MaySaveText(*BookAt(book), type)) return false;
    // The dialog has asked already.
    if (!askForName && !MayOverwrite(*BookAt(book), path)) return false;
    u32 losses = 0;
    if (!WriteBookFile(book, path, type, losses, MayLose)) return false;
    BookAt(book)->acceptedLosses |= losses;
    BookAt(book)->dirty = 0;
    ForgetChanges(book);
    UpdateTitle();
    RefreshChrome();
    return true;
}

bool SaveBookAs(i32 book) {
    const OfferedFilters offered = OfferFilters();
    i32 chosen = FittingFilter(offered, *BookAt(book));
    WideText answer, path;
    if (!answer.Assign(WithoutExtension(BookAt(book)->path)) ||
        !ShellPlatform().saveFileDialog(std::span(offered.shown).first(offered.count), chosen, answer))
        return false;
    const u32 row = chosen >= 0 && static_cast<u32>(chosen) < offered.count ? static_cast<u32>(chosen) : 0;
    const SaveFilter& filter = saveFilters[offered.rows[row]];
    if (!path.Assign(WithoutExtension(answer)) || !path.Append(filter.pattern.substr(1))) return false;
    if (IsRefused(book, path, filter.type) || !MayReplace(answer, path)) return false;
    const u8 before = BookAt(book)->biffVersion;
    if (filter.biffVersion) BookAt(book)->biffVersion = filter.biffVersion;
    if (!SaveBook(book, path, true)) {
        BookAt(book)->biffVersion = before;
        return false;
    }
    if (filter.type != FILE_BMP) TakePath(book, std::move(path));
    return true;
}

void SaveCommand(i32) {
    WideText path;
    if (CurrentBook() >= 0 && path.Assign(CurrentWorkbook()->path))
        IgnoreFailure(SaveBook(CurrentBook(), path, false));
}

void SaveAsCommand(i32) {
    if (CurrentBook() >= 0) IgnoreFailure(SaveBookAs(CurrentBook()));
}

}  // namespace tally
