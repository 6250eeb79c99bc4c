#include "shell/entry/EntryEditor.h"

#include <algorithm>
#include <utility>

#include "base/MessageTable.h"
#include "display/Calendar.h"
#include "display/LocaleSettings.h"
#include "editing/Guards.h"
#include "editing/StoreEntry.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/entry/TypedCall.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

void LeaveEdit() {
    EndPoint();
    Shell().entryMode = ENTRY_NONE;
    Shell().percentOffered = false;
    Shell().typedCall = -1;
    ShellPlatform().focusFrame();
    InvalidateListArrow();
}

u16 ActiveNumberFormat() {
    const Sheet* sheet = CurrentSheet();
    return ResolveCellFormat(*CurrentWorkbook(),
                             GetCellFormat(*sheet, sheet->view.activeRow, sheet->view.activeColumn))
        .numberFormat;
}

void CaretAtEnd() {
    WideText text;
    if (!ShellPlatform().editText(ENTRY_LINE, text)) return;
    const i32 end = static_cast<i32>(text.Length());
    ShellPlatform().selectEdit(ENTRY_LINE, end, end);
}

// One text over more cells than this is refused.
constexpr i64 MAX_FILLED_CELLS = 4'194'304;

i64 AreaCells(const RefArea& area) {
    return i64{area.lastRow - area.firstRow + 1} * (area.lastColumn - area.firstColumn + 1);
}

// Keys that in mode 1 commit and then move.
bool IsMoveKey(u32 key) { return key >= VK_PRIOR && key <= VK_DOWN; }

bool CommitThenMove(u32 key, u32 modifiers) {
    if (CommitEntry(false, false)) IgnoreFailure(GridKey(key, modifiers));
    return true;
}

bool EnterModeKey(u32 key, u32 modifiers) {
    if (PointKey(key, modifiers)) return true;
    const bool ctrl = (modifiers & KEY_CTRL) != 0;
    if (key == VK_SPACE && !ctrl) return false;
    if (RefuseActiveArray()) return true;
    if (key == VK_END && !ctrl) {
        SetEndMode(!Shell().endMode);
        return true;
    }
    return CommitThenMove(key, modifiers);
}

bool EnterKeyDown(u32 modifiers) {
    EndPoint();
    if (!(modifiers & KEY_CTRL)) return false;
    const Sheet* sheet = CurrentSheet();
    const bool shift = (modifiers & KEY_SHIFT) != 0;
    if (shift) {
        for (const RefArea& merge : sheet->mergedAreas) {
            if (!AreasMeet(merge, sheet->view.selection)) continue;
            ShowMessage(Message(MSG_ARRAY_OVER_MERGE));
            return true;
        }
    }
    if (!RefuseArrayPart(sheet->view.selection)) IgnoreFailure(CommitEntry(shift, !shift));
    return true;
}

void ShowBadFormula() {
    ShowMessage(Message(MSG_FORMULA_ERROR));
    Shell().entryMode = ENTRY_EDIT;
    ShellPlatform().focusEdit(ENTRY_LINE);
}

// A rule has refused the entry and it is taken back: the text stays in the line for another try, or goes.
void ShowRefusedEntry(WideView text, i32 outcome) {
    LeaveEdit();
    ShowChangedCells();
    if (outcome == ENTRY_CANCELLED) return;
    ShellPlatform().setEditText(ENTRY_LINE, text);
    BeginEdit(ENTRY_EDIT);
    ShellPlatform().selectEdit(ENTRY_LINE, 0, static_cast<i32>(text.size()));
}

}  // namespace

bool RefuseProtected(const RefArea& area) {
    const Sheet* sheet = CurrentSheet();
    return sheet && RefuseLockedCell(*sheet, area);
}

bool RefuseArrayPart(const RefArea& area) {
    const Sheet* sheet = CurrentSheet();
    return sheet && RefuseCutArray(*sheet, area);
}

bool RefuseActiveArray() {
    const Sheet* sheet = CurrentSheet();
    if (!sheet) return false;
    const ArrayEntry* entry = FindArray(*sheet, sheet->view.activeRow, sheet->view.activeColumn);
    if (!entry || IsOneCell(entry->area)) return false;
    ShowMessage(Message(MSG_PART_OF_ARRAY));
    return true;
}

void BeginEdit(i32 mode) {
    InvalidateListArrow();
    Shell().entryMode = mode;
    ShellPlatform().focusEdit(ENTRY_LINE);
}

bool CommitEntry(bool isArray, bool isFill) {
    const Sheet* sheet = CurrentSheet();
    WideText text;
    if (!HasCells(sheet) || !ShellPlatform().editText(ENTRY_LINE, text) || !DropUnusedArguments(text))
        return false;
    EntryTarget target;
    target.book = CurrentBook();
    target.sheet = CurrentWorkbook()->currentSheet;
    target.refRow = sheet->view.activeRow;
    target.refColumn = sheet->view.activeColumn;
    target.isArray = isArray;
    target.isFill = isFill;
    target.checkRules = true;
    if (isArray || isFill) {
        target.area = sheet->view.selection;
    } else {
        const RefArea active = ActiveArea(*sheet);
        target.area = {active.firstRow, active.firstRow, active.firstColumn, active.firstColumn};
    }
    if (AreaCells(target.area) > MAX_FILLED_CELLS) {
        ShowMessage(Message(MSG_OUT_OF_MEMORY));
        return false;
    }
    EndPoint();
    Shell().entryMode = ENTRY_ENTER;
    i32 outcome = ENTRY_STORED;
    const WideView meant = Shell().percentOffered ? WithoutOfferedPercent(text) : text.View();
    if (!StoreEntry(target, meant, outcome)) {
        if (outcome == ENTRY_BAD_FORMULA) ShowBadFormula();
        if (outcome == ENTRY_RETRY || outcome == ENTRY_CANCELLED) ShowRefusedEntry(text, outcome);
        return false;
    }
    LeaveEdit();
    ShowChangedCells();
    UpdateTitle();
    return true;
}

void CancelEntry() {
    LeaveEdit();
    RefreshEntryLine();
}

bool CommitBeforeMove() {
    if (!IsEditing()) return true;
    return !RefuseActiveArray() && CommitEntry(false, false);
}

void StartTyping(char16_t character) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || (character < 32 && character != VK_BACK)) return;
    const RefArea area = sheet->view.selection;
    if (!IsEditing() && (RefuseProtected(area) || RefuseArrayPart(area))) return;
    if (!IsEditing()) {
        const u16 format = ActiveNumberFormat();
        const bool number = (character >= u'0' && character <= u'9') || character == u'-' ||
                            character == u'+' || character == Locale().decimalSeparator;
        const bool percent = number && (format == 9 || format == 10);
        ShellPlatform().setEditText(ENTRY_LINE, percent ? u"%" : u"");
        ShellPlatform().selectEdit(ENTRY_LINE, 0, 0);
        BeginEdit(ENTRY_ENTER);
        Shell().percentOffered = percent;
    }
    if (character != VK_BACK) ShellPlatform().replaceEditSelection(ENTRY_LINE, WideView(&character, 1));
}

void StartEditAtEnd() {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    if (!LineClick()) return;
    ShellPlatform().focusEdit(ENTRY_LINE);
    CaretAtEnd();
}

void InsertLineFeed() {
    if (IsEditing()) ShellPlatform().replaceEditSelection(ENTRY_LINE, u"\n");
}

// Today or now, as the entry line shows such a value.
void InsertClock(bool time) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const RefArea area = sheet->view.selection;
    if (RefuseProtected(area) || RefuseArrayPart(area)) return;
    SystemTime now = {};
    Platform().getLocalTime(now);
    const i32 days = DateToSerial(now.year, now.month, now.day);
    const double serial =
        time ? (now.hour * 60 + now.minute) / 1440.0 : days - (CurrentWorkbook()->date1904 ? 1462 : 0);
    WideText text;
    if (!EditableText(CurrentBook(), NumberValue(serial), time ? 20 : 14, text)) return;
    if (!IsEditing()) {
        ShellPlatform().setEditText(ENTRY_LINE, u"");
        BeginEdit(ENTRY_ENTER);
    }
    ShellPlatform().replaceEditSelection(ENTRY_LINE, text);
}

void NoteDecimalKey(u32 key) { Shell().decimalKey = key == VK_DECIMAL; }

char16_t TypedSeparator(u32 character) {
    const bool pad = std::exchange(Shell().decimalKey, false) && (character == u'.' || character == u',');
    return pad ? Locale().decimalSeparator : static_cast<char16_t>(character);
}

bool LineKeyDown(u32 key, u32 modifiers) {
    if (!IsEditing()) return false;
    ShellState& shell = Shell();
    NoteDecimalKey(key);
    if ((key == VK_RETURN) && (modifiers & KEY_ALT)) {
        InsertLineFeed();
        return true;
    }
    if (key == VK_RETURN) return EnterKeyDown(modifiers);
    if (key == VK_TAB) {
        EndPoint();
        return false;
    }
    if (key == VK_F2) {
        EndPoint();
        shell.entryMode = 3 - shell.entryMode;
        return true;
    }
    if (key == VK_F4 && !modifiers) return TurnReferences();
    if (key == VK_F3 && modifiers == KEY_SHIFT) return SendCommand(167);
    if (!IsMoveKey(key) && key != VK_SPACE) {
        EndPoint();
        return false;
    }
    if (shell.entryMode == ENTRY_ENTER) return EnterModeKey(key, modifiers);
    return key == VK_SPACE && shell.point.active && PointKey(key, modifiers);
}

bool LineChar(u32 character, u32 modifiers) {
    if (!IsEditing()) return false;
    const bool shift = (modifiers & KEY_SHIFT) != 0;
    if (character == u' ' && ((modifiers & KEY_CTRL) || (shift && Shell().point.active))) return true;
    EndPoint();
    if (const char16_t separator = TypedSeparator(character); separator != character) {
        ShellPlatform().replaceEditSelection(ENTRY_LINE, WideView(&separator, 1));
        return true;
    }
    switch (character) {
        case VK_TAB:
            if (CommitBeforeMove()) TabMove(shift);
            return true;
        case u'\r':
        case u'\n':
            if (CommitBeforeMove()) EnterMove(shift);
            return true;
        case VK_ESCAPE: CancelEntry(); return true;
        default: return false;
    }
}

bool LineClick() {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return false;
    SetEndMode(false);
    EndPoint();
    if (IsEditing()) return true;
    const RefArea active = ActiveArea(*sheet);
    if (RefuseProtected(active)) return false;
    const ArrayEntry* entry = FindArray(*sheet, active.firstRow, active.firstColumn);
    if (entry && entry->area != sheet->view.selection) {
        ShowMessage(Message(MSG_PART_OF_ARRAY));
        return false;
    }
    InvalidateListArrow();
    Shell().entryMode = ENTRY_EDIT;
    // An array shows without its braces while it is edited.
    WideText text;
    if (entry && LineText(*sheet, active.firstRow, active.firstColumn, text))
        ShellPlatform().setEditText(ENTRY_LINE, text);
    return true;
}

}  // namespace tally
