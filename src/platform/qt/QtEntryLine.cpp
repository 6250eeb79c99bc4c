#include <QTextCursor>
#include <QTextDocument>
#include <algorithm>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {

void QtPlaceEntryLine(const PixelRect& place, bool shown) {
    if (Frame* frame = FrameInUse()) {
        frame->entry.setGeometry(place.left, place.top, std::max(0, place.right - place.left),
                                 std::max(0, place.bottom - place.top));
        frame->entry.setVisible(shown);
    }
}

bool QtEntryText(WideText& out) {
    Frame* frame = FrameInUse();
    if (!frame) return out.Assign({});
    // The plain form would turn no-break blanks into blanks. Lines end with a paragraph separator here.
    QString text = frame->entry.document()->toRawText();
    text.replace(QChar::ParagraphSeparator, u'\n');
    return out.Assign(ViewOf(text));
}

void QtSetEntryText(WideView text) {
    if (Frame* frame = FrameInUse()) frame->entry.setPlainText(ToQString(text));
}

void QtEntrySelection(i32& start, i32& end) {
    start = end = 0;
    if (Frame* frame = FrameInUse()) {
        const QTextCursor cursor = frame->entry.textCursor();
        start = cursor.selectionStart();
        end = cursor.selectionEnd();
    }
}

void QtSelectEntry(i32 start, i32 end) {
    Frame* frame = FrameInUse();
    if (!frame) return;
    const i32 length = frame->entry.document()->characterCount() - 1;
    QTextCursor cursor = frame->entry.textCursor();
    cursor.setPosition(std::clamp(start, 0, length));
    // An end below zero is that of the text.
    cursor.setPosition(end < 0 ? length : std::min(end, length), QTextCursor::KeepAnchor);
    frame->entry.setTextCursor(cursor);
}

void QtReplaceEntrySelection(WideView text) {
    if (Frame* frame = FrameInUse()) {
        QTextCursor cursor = frame->entry.textCursor();
        cursor.insertText(ToQString(text));
        frame->entry.setTextCursor(cursor);
    }
}

void QtFocusEntryLine() {
    Frame* frame = FrameInUse();
    if (!frame) return;
    frame->lineWanted = true;
    if (!frame->composing) frame->entry.setFocus();
}

void QtEntryAction(EntryEditAction action) {
    Frame* frame = FrameInUse();
    if (!frame) return;
    switch (action) {
        case ENTRY_UNDO: frame->entry.undo(); break;
        case ENTRY_CUT: frame->entry.cut(); break;
        case ENTRY_COPY: frame->entry.copy(); break;
        case ENTRY_PASTE: frame->entry.paste(); break;
    }
}

bool QtEntryCanUndo() {
    Frame* frame = FrameInUse();
    return frame && frame->entry.document()->isUndoAvailable();
}

}  // namespace tally
