#pragma once
// What the commands do.

#include "shell/state/ShellState.h"

namespace tally {

// Files.
void NewBookCommand(i32 command);
void OpenBookCommand(i32 command);
void RecentFileCommand(i32 command);
void CloseBookCommand(i32 command);
void SaveCommand(i32 command);
void SaveAsCommand(i32 command);
void ExitCommand(i32 command);
// Editing and sheets.
void EditLineCommand(i32 command);
void ClipboardCommand(i32 command);
void UndoCommand(i32 command);
void ClearCommand(i32 command);
void DeleteCommand(i32 command);
void DeleteSheetCommand(i32 command);
void MoveSheetCommand(i32 command);
void InsertCellsCommand(i32 command);
void InsertLinesCommand(i32 command);
void EditCellCommand(i32 command);
void AutoSumCommand(i32 command);
void FillCommand(i32 command);
void SeriesCommand(i32 command);
void InsertSheetCommand(i32 command);
void ClockCommand(i32 command);
void EntryBarCommand(i32 command);
void ScreenSidewaysCommand(i32 command);
void FunctionCommand(i32 command);
void GoToCommand(i32 command);
void NameCommand(i32 command);
void HyperlinkCommand(i32 command);
void RenameSheetCommand(i32 command);
void ProtectCommand(i32 command);
// Looks and sizes.
void FormatCommand(i32 command);
void CellFormatCommand(i32 command);
void FitCommand(i32 command);
void HideLinesCommand(i32 command);
void LineSizeCommand(i32 command);
void ConditionalCommand(i32 command);
void ValidationCommand(i32 command);
void TabColourCommand(i32 command);
// Views.
void HideSheetCommand(i32 command);
void UnhideSheetCommand(i32 command);
void CustomZoomCommand(i32 command);
void ViewFlagCommand(i32 command);
void ZoomCommand(i32 command);
void BookBarCommand(i32 command);
void BarCommand(i32 command);
void FullScreenCommand(i32 command);
void FreezeCommand(i32 command);

// ---- doing a command again -----------------------------------------------------------------------------
// A command was run: one that needs nothing but the selection can be done again.
void NoteRun(i32 command);
// A command did its work with that argument.
void NoteRepeatable(i32 command, i32 argument);
// What a command shall take instead of asking, while it is done again; false when it is not.
bool RepeatedArgument(i32 command, i32& argument);
// False when there is none, or something is being typed.
bool RepeatLastCommand();

// The selection as a new name's formula, "=Sheet1!$A$1"; a merged area by its first cell.
[[nodiscard]] bool SelectionFormula(const Sheet& sheet, WideText& out);
// Moves the current sheet, or a copy of it, in front of another; the count of sheets: to the end.
void PlaceCurrentSheet(i32 before, bool copy);

// The band that a command shows or hides, or -1.
i32 BandOfCommand(i32 command);

// ---- books -------------------------------------------------------------------------------------------
enum CloseMode : i32 { CLOSE_ASK = 0, CLOSE_DISCARD = 1, CLOSE_SAVE = 2 };
// True when the user cancelled, or the book could not be saved as wished.
bool CloseBook(i32 book, CloseMode mode);
// Closes every book, current first. False when one was cancelled.
bool CloseAllBooks();
// Everything that shows a book, after the current one changed.
void ShowCurrentBook();
bool OpenBookFile(WideView path, bool addToRecent);
bool MakeFirstBook();
// Saves a book to a path whose end tells the form. Without an end that does, and for a template unless
// `askForName` says that its name was asked for, the dialog comes instead. False when it was not saved.
bool SaveBook(i32 book, WideView path, bool askForName);
// Asks for a name and a form first; the book then bears that name.
bool SaveBookAs(i32 book);
void AddRecentFile(WideView path);

// ---- clipboard ----------------------------------------------------------------------------------------
// On the current sheet's selection.
void CopySelection();
void CutSelection();
void PasteClipboard();
void PasteSpecialDialog();
// Whether the clipboard holds something that can be pasted.
bool CanPaste();

}  // namespace tally
