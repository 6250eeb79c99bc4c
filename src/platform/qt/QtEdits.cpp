#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

// What one of the rows below does to a control is not the user's doing.
struct OwnChange {
    explicit OwnChange(EditHandle handle) : edit(handle) { ++FrameInUse()->edits[edit]->ownChanges; }
    ~OwnChange() { --FrameInUse()->edits[edit]->ownChanges; }
    OwnChange(const OwnChange&) = delete;
    OwnChange& operator=(const OwnChange&) = delete;
    EditHandle edit;
};

void TellChange(EditHandle edit) {
    Frame* frame = FrameInUse();
    if (frame && frame->edits[edit] && !frame->edits[edit]->ownChanges) frame->calls.editChanged(edit);
}

// A widget that is not shown could not have the focus.
void HideLine(QPlainTextEdit& box) {
    constexpr int HEIGHT = 20;
    box.setGeometry(0, -HEIGHT, 1, HEIGHT);
}

// The control as far as there is one.
QPlainTextEdit* FindEdit(EditHandle edit) {
    Frame* frame = FrameInUse();
    return frame && frame->edits[edit] ? &frame->edits[edit]->box : nullptr;
}

}  // namespace

EditControl::EditControl(EditHandle edit, QWidget& parent)
    : keys(edit, HandleEditEvent), clicks(edit, HandleEditClick), box(&parent) {
    // Into the control leads only what the shell allows: a click, or its own word.
    box.setFocusPolicy(Qt::ClickFocus);
    box.setAcceptDrops(false);
    box.viewport()->setAcceptDrops(false);
    box.setContextMenuPolicy(Qt::NoContextMenu);
    const bool wraps = editTraits[edit].wraps;
    box.setLineWrapMode(wraps ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
    box.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    box.document()->setDocumentMargin(1);
    if (edit == ENTRY_LINE) HideLine(box);
    else box.hide();
    box.installEventFilter(&keys);
    box.viewport()->installEventFilter(&clicks);
    const auto tell = [edit] { TellChange(edit); };
    QObject::connect(&box, &QPlainTextEdit::textChanged, &box, tell);
    QObject::connect(&box, &QPlainTextEdit::cursorPositionChanged, &box, tell);
    QObject::connect(&box, &QPlainTextEdit::selectionChanged, &box, tell);
}

QPlainTextEdit& EditBox(EditHandle edit) {
    std::optional<EditControl>& control = FrameInUse()->edits[edit];
    if (!control) control.emplace(edit, FrameInUse()->client);
    return control->box;
}

void QtPlaceEdit(EditHandle edit, const PixelRect& place, bool shown) {
    if (!FrameInUse() || (!shown && !FindEdit(edit))) return;
    QPlainTextEdit& box = EditBox(edit);
    if (!shown && edit == ENTRY_LINE) {
        HideLine(box);
        return;
    }
    box.setGeometry(place.left, place.top, std::max(0, place.right - place.left),
                    std::max(0, place.bottom - place.top));
    box.setVisible(shown);
}

bool QtEditText(EditHandle edit, WideText& out) {
    const QPlainTextEdit* box = FindEdit(edit);
    if (!box) return out.Assign({});
    // The plain form would turn no-break blanks into blanks. Lines end with a paragraph separator here.
    QString text = box->document()->toRawText();
    text.replace(QChar::ParagraphSeparator, u'\n');
    return out.Assign(ViewOf(text));
}

void QtSetEditText(EditHandle edit, WideView text) {
    if (!FrameInUse()) return;
    QPlainTextEdit& box = EditBox(edit);
    const OwnChange own(edit);
    box.setPlainText(ToQString(text));
}

void QtEditSelection(EditHandle edit, i32& start, i32& end) {
    start = end = 0;
    if (const QPlainTextEdit* box = FindEdit(edit)) {
        const QTextCursor cursor = box->textCursor();
        start = cursor.selectionStart();
        end = cursor.selectionEnd();
    }
}

void QtSelectEdit(EditHandle edit, i32 start, i32 end) {
    QPlainTextEdit* box = FindEdit(edit);
    if (!box) return;
    const OwnChange own(edit);
    const i32 length = box->document()->characterCount() - 1;
    QTextCursor cursor = box->textCursor();
    cursor.setPosition(std::clamp(start, 0, length));
    // An end below zero is that of the text.
    cursor.setPosition(end < 0 ? length : std::min(end, length), QTextCursor::KeepAnchor);
    box->setTextCursor(cursor);
}

void QtReplaceEditSelection(EditHandle edit, WideView text) {
    if (!FrameInUse()) return;
    QPlainTextEdit& box = EditBox(edit);
    const OwnChange own(edit);
    QTextCursor cursor = box.textCursor();
    cursor.insertText(ToQString(text));
    box.setTextCursor(cursor);
}

void FocusWanted() {
    Frame* frame = FrameInUse();
    EditBox(ENTRY_LINE).setCursorWidth(frame->wanted == EDIT_NONE ? 0 : 1);
    EditBox(frame->wanted == EDIT_NONE ? ENTRY_LINE : frame->wanted).setFocus();
}

void QtFocusEdit(EditHandle edit) {
    if (!FrameInUse()) return;
    FrameInUse()->wanted = edit;
    // An unfinished text would end with the focus.
    if (FrameInUse()->composing == EDIT_NONE) FocusWanted();
}

void QtEditAction(EditHandle edit, EditAction action) {
    QPlainTextEdit* box = FindEdit(edit);
    if (!box) return;
    const OwnChange own(edit);
    switch (action) {
        case EDIT_UNDO: box->undo(); break;
        case EDIT_CUT: box->cut(); break;
        case EDIT_COPY: box->copy(); break;
        case EDIT_PASTE: box->paste(); break;
    }
}

bool QtEditCanUndo(EditHandle edit) {
    const QPlainTextEdit* box = FindEdit(edit);
    return box && box->document()->isUndoAvailable();
}

}  // namespace tally
