// The clipboard of the desktop.

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

constexpr const char* PRIVATE_FORMAT = "application/x-tallyman";

// What this process put on the clipboard; null once something else took its place. Another process of this
// program marks what it copies in the same way, and its cells are not here.
QPointer<QMimeData> ownData;

// Whether a text is offered: asked once after each change, as another program has to answer.
struct OfferedText {
    bool isKnown = false;
    bool isThere = false;
};
OfferedText offeredText;

const QMimeData* Offered() {
    const QClipboard* clipboard = QGuiApplication::clipboard();
    return clipboard ? clipboard->mimeData() : nullptr;
}

bool OffersText(const QMimeData& offered) {
    if (!offeredText.isKnown) offeredText = {true, offered.hasText() && !offered.text().isEmpty()};
    return offeredText.isThere;
}

// Programs of this desktop end their lines with "\n" alone.
QString WithLineEnds(QString text) {
    if (!text.contains(u'\r')) text.replace(u'\n', QStringLiteral("\r\n"));
    return text;
}

}  // namespace

void ConnectClipboardChanges() {
    offeredText = OfferedText();
    QObject::connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, &FrameInUse()->window,
                     [] { offeredText = OfferedText(); });
}

bool QtClipboardHas(u32 format) {
    const QMimeData* offered = Offered();
    if (!offered) return false;
    switch (format) {
        case CF_UNICODETEXT:
        case CF_TEXT: return OffersText(*offered);
        case CF_PRIVATE: return offered == ownData && offered->hasFormat(PRIVATE_FORMAT);
        default: return false;
    }
}

bool QtClipboardText(WideText& out) {
    const QMimeData* offered = Offered();
    if (!offered || !offered->hasText()) return false;
    const QString text = WithLineEnds(offered->text());
    return out.Assign(ViewOf(text));
}

bool QtClipboardNarrowText(Array<u8>& out) {
    WideText text;
    out.Truncate(0);
    return QtClipboardText(text) && Platform().wideCharToMultiByte(Platform().getACP(), text, out);
}

bool QtSetClipboard(const WideView* text, ByteView) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard) return false;
    // The desktop makes the narrow form of the text itself; the clipboard owns the data.
    ownData = new QMimeData;
    ownData->setData(PRIVATE_FORMAT, QByteArray());
    if (text) ownData->setText(ToQString(*text));
    clipboard->setMimeData(ownData);
    offeredText = OfferedText();
    return true;
}

}  // namespace tally
