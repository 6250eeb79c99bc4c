#include "shell/commands/Places.h"

#include "base/MessageTable.h"
#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "model/BookTable.h"
#include "model/Trust.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// What leads to another book is entered in the tables of the book that it is seen from; here it goes again.
struct ExternTableMark {
    explicit ExternTableMark(Workbook& marked)
        : book(marked), books(marked.externBooks.Count()), sheets(marked.externSheets.Count()) {}
    ~ExternTableMark() {
        book.externBooks.Truncate(books);
        book.externSheets.Truncate(sheets);
    }
    ExternTableMark(const ExternTableMark&) = delete;
    ExternTableMark& operator=(const ExternTableMark&) = delete;
    Workbook& book;
    u32 books, sheets;
};

bool IsVisiblePlace(const SheetArea& place) {
    const Workbook* book = BookAt(place.book);
    const Sheet* sheet = SheetAt(place.book, place.sheet);
    return book && !book->hiddenLink && HasCells(sheet) && !sheet->hidden;
}

// The text that leads back to the active cell, from another book too.
bool WayBack(bool toOtherBook, WideText& out) {
    const Sheet& sheet = *CurrentSheet();
    const SheetView& view = sheet.view;
    const RefArea cell{view.activeRow, view.activeRow, view.activeColumn, view.activeColumn};
    const u16 flags = static_cast<u16>(AREA_ALL_RELATIVE | AREA_USE_A1 | AREA_WITH_SHEET |
                                       (toOtherBook ? AREA_WITH_BOOK : 0));
    return AreaToText(CurrentBook(), sheet.index, cell, flags, 0, 0, out);
}

bool FollowTarget(WideView target) {
    WideText path;
    if (!path.Assign(target)) return false;
    const bool web = target.find(u"://") != WideView::npos || target.find(u"mailto:") == 0;
    if (!web && !MakeAbsolutePath(path, *CurrentWorkbook())) return false;
    const FileType type = FileTypeOf(path);
    const ForeignUse use = web ? FOREIGN_ADDRESS : FOREIGN_PROGRAM;
    const bool asks = TrustOf(CurrentBook(), use) == TRUST_ASK;
    if (!web && type != FILE_UNKNOWN && type != FILE_BMP) {
        // A file that is there and cannot be opened has its own message.
        if (Platform().fileExists(path)) return OpenBookFile(path, true);
    } else if (!MayReachOutside(CurrentBook(), use, path)) {
        // The user's own No needs no second box.
        if (asks) return false;
    } else if (ShellPlatform().openExternally(path)) {
        return true;
    }
    ShowMessage(Message(MSG_INVALID_LINK));
    return false;
}

}  // namespace

bool FindPlace(WideView text, SheetArea& place) {
    if (CurrentBook() < 0 || text.empty()) return false;
    const ExternTableMark mark(*CurrentWorkbook());
    const EvalContext context{CurrentBook(), CurrentWorkbook()->currentSheet, 0, 0, 0};
    Value reference = TextValue(text);
    if (reference.type == VT_STRING) TextToReference(reference, context, true);
    i32 error = 0;
    ResolvedRef target;
    target.book = CurrentBook();
    // Only what is open counts: looking for a place opens no file.
    const bool found = reference.type == VT_REF && ResolveOpenExternRef(reference.externIndex, target) &&
                       ResolveSingleArea(reference, context, place, error) && IsVisiblePlace(place);
    FreeValue(reference);
    return found;
}

void ShowPlace(const SheetArea& place) {
    if (!IsVisiblePlace(place)) return;
    if (place.book != CurrentBook()) SelectBook(place.book);
    if (place.sheet != CurrentWorkbook()->currentSheet) SelectSheet(place.sheet);
    SelectArea(place.area, true, place.area.firstRow, place.area.firstColumn, true);
}

bool FollowHyperlink(i32 row, i32 column) {
    const i32 index = FindHyperlink(row, column);
    if (index < 0) return false;
    const Hyperlink& link = CurrentSheet()->hyperlinks[static_cast<u32>(index)];
    WideText target, location;
    if (!target.Assign(link.target) || !location.Assign(link.location)) return true;
    if (!target.IsEmpty() && !FollowTarget(target)) return true;
    if (location.IsEmpty()) return true;
    SheetArea place;
    if (FindPlace(location, place)) ShowPlace(place);
    else ShowMessage(Message(MSG_INVALID_LOCATION));
    return true;
}

void GoToPlace(const SheetArea& place) {
    // The way back is what the next one begins with.
    WideText back;
    if (WayBack(place.book != CurrentBook(), back)) Shell().goToTarget = std::move(back);
    ShowPlace(place);
}

void GoToCommand(i32) {
    SheetArea place;
    LineQuestion question;
    question.title = MSG_GO_TO_TITLE;
    question.label = MSG_GO_TO_REFERENCE;
    question.reference = true;
    question.acceptable = [](WideView text) {
        SheetArea found;
        return FindPlace(text, found);
    };
    if (!question.text.Assign(Shell().goToTarget) || !AskLine(question) || !HasCells(CurrentSheet()) ||
        !FindPlace(question.text, place))
        return;
    GoToPlace(place);
}

}  // namespace tally
