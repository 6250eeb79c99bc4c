#include <algorithm>

#include "base/MessageTable.h"
#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "formula/KeptNumbers.h"
#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

struct OpenFilter {
    u16 name;  // of the message table
    WideView pattern;
};
constexpr OpenFilter openFilters[] = {{MSG_FILTER_WORKBOOKS, u"*.xls *.xlt *.pxl *.pxt"},
                                      {MSG_FILTER_TEXT, u"*.csv *.txt"},
                                      {MSG_FILTER_ALL, u"*"}};

void ForgetEdit() {
    if (IsEditing()) CancelEntry();
}

}  // namespace

void ShowCurrentBook() {
    Shell().firstTab = 0;
    Shell().endMode = false;
    if (CurrentBook() >= 0) {
        SelectBook(CurrentBook());
    } else {
        UpdateTitle();
        RefreshChrome();
        RefreshEntryLine();
    }
}

void AddRecentFile(WideView path) {
    Array<WideText>& recent = Shell().recent;
    WideText own;
    if (!own.Assign(path)) return;
    for (u32 i = 0; i < recent.Count(); ++i) {
        if (!EqualIgnoringCase(recent[i], own)) continue;
        recent.RemoveAt(i);
        break;
    }
    if (recent.InsertAt(0, std::move(own))) recent.Truncate(RECENT_FILES);
}

bool OpenBookFile(WideView path, bool addToRecent) {
    WideText own;
    if (!own.Assign(path)) return false;
    const i32 open = FindOpenBook(own, false);
    if (open >= 0) BookAt(open)->hiddenLink = 0;
    const bool good = OpenFile(own, OPEN_VISIBLE);
    if (good && addToRecent) AddRecentFile(own);
    // What changes by itself when a book is opened is no work of the user's.
    if (good && open < 0) ForgetChanges(CurrentBook());
    ShowCurrentBook();
    return good;
}

bool MakeFirstBook() {
    WideText templatePath;
    if (Platform().programDirectory(templatePath) && templatePath.Append(u"Book.xlt") &&
        Platform().fileExists(templatePath) && OpenFile(templatePath, OPEN_TEMPLATE)) {
        WideText name;
        char digits[16];
        std::size_t length = 0;
        for (u32 n = ++Books().newBookNumber; n || !length; n /= 10)
            digits[15 - length++] = static_cast<char>('0' + n % 10);
        Workbook* book = CurrentWorkbook();
        if (name.Assign(u"Book") && name.AppendAscii({digits + 16 - length, length})) {
            book->path = std::move(name);
            book->untitled = true;
            book->stamp = FileStamp();
        }
        return true;
    }
    return CreateWorkbook(nullptr, true);
}

void NewBookCommand(i32) {
    if (MakeFirstBook()) ShowCurrentBook();
}

void OpenBookCommand(i32) {
    WideText path;
    FileFilter shown[std::size(openFilters)];
    for (std::size_t i = 0; i < std::size(openFilters); ++i)
        shown[i] = {Message(openFilters[i].name), openFilters[i].pattern};
    if (ShellPlatform().openFileDialog(std::span(shown), path)) IgnoreFailure(OpenBookFile(path, true));
}

void RecentFileCommand(i32 command) {
    const u32 index = static_cast<u32>(command - 118);
    if (index >= Shell().recent.Count()) return;
    WideText path;
    if (!path.Assign(Shell().recent[index])) return;
    if (OpenBookFile(path, true)) return;
    Array<WideText>& recent = Shell().recent;
    if (index < recent.Count()) recent.RemoveAt(index);
}

bool CloseBook(i32 book, CloseMode mode) {
    if (!BookAt(book)) return false;
    if (mode == CLOSE_SAVE || (mode == CLOSE_ASK && BookAt(book)->dirty)) {
        i32 answer = IDYES;
        if (mode == CLOSE_ASK) {
            WideText text;
            if (!FormatWith(text, Message(MSG_SAVE_CHANGES), FileNameOf(BookAt(book)->path))) return true;
            answer = Platform().messageBox(text, PROGRAM_NAME, MB_YESNOCANCEL);
        }
        if (answer != IDYES && answer != IDNO) return true;
        // A book that could not be saved stays open, so that nothing is lost.
        WideText path;
        if (answer == IDYES && (!path.Assign(BookAt(book)->path) || !SaveBook(book, path, false))) return true;
    }
    ForgetEdit();
    RemoveBook(book);
    // What functions kept of its cells holds memory only.
    ResetKeptNumbers();
    return false;
}

void CloseBookCommand(i32) {
    IgnoreFailure(CloseBook(CurrentBook(), CLOSE_ASK));
    ShowCurrentBook();
}

bool CloseAllBooks() {
    while (CurrentBook() >= 0) {
        const bool cancelled = CloseBook(CurrentBook(), CLOSE_ASK);
        ShowCurrentBook();
        if (cancelled) return false;
    }
    return true;
}

void ExitCommand(i32) {
    ShellMessage close;
    close.message = WM_CLOSE;
    IgnoreFailure(FrameCallsInUse().sendMessage(close));
}

}  // namespace tally
