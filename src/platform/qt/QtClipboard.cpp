// The clipboard of the desktop.

#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QPointer>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

constexpr const char* PRIVATE_FORMAT = "application/x-tallyman";
constexpr u32 BITMAP_HEADER = 14;  // of a bitmap file, in front of what CF_DIB holds

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

// What the desktop calls a named format.
QString MimeTypeOf(u32 format) {
    switch (format) {
        case CF_PRIVATE: return QLatin1String(PRIVATE_FORMAT);
        case CF_CSV: return QStringLiteral("text/csv");
        case CF_HTML: return QStringLiteral("text/html");
        default: break;
    }
    const WideView name = ClipboardFormatName(format);
    if (name.empty()) return {};
    return QStringLiteral("application/x-tallyman-format;value=\"%1\"").arg(ToQString(name));
}

bool AppendTo(Array<u8>& out, const QByteArray& bytes) {
    return out.AppendMany(reinterpret_cast<const u8*>(bytes.constData()),
                          static_cast<std::size_t>(bytes.size()));
}
QByteArray ToBytes(ByteView bytes) {
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
}

// A bitmap file's header in front of what CF_DIB holds, whose first field is its own header's size.
QImage ImageOf(ByteView bitmap) {
    if (bitmap.size() < 40) return {};
    const auto fieldAt = [&](std::size_t at) {
        return u32{bitmap[at]} | u32{bitmap[at + 1]} << 8 | u32{bitmap[at + 2]} << 16 |
               u32{bitmap[at + 3]} << 24;
    };
    const u32 bits = fieldAt(12) >> 16, used = fieldAt(32);
    const u32 colours = bits > 8 ? 0 : used ? used : 1u << bits;
    const u32 masks = fieldAt(0) == 40 && fieldAt(16) == 3 ? 12 : 0;
    const u32 size = static_cast<u32>(bitmap.size()) + BITMAP_HEADER;
    const u32 start = BITMAP_HEADER + fieldAt(0) + masks + colours * 4;
    QByteArray file("BM");
    for (const u32 field : {size, 0u, start})
        for (u32 shift = 0; shift < 32; shift += 8) file.append(static_cast<char>(field >> shift & 0xFF));
    return QImage::fromData(file + ToBytes(bitmap), "BMP");
}

bool ReadBitmap(const QMimeData& offered, Array<u8>& out) {
    const QImage image = qvariant_cast<QImage>(offered.imageData());
    QByteArray file;
    QBuffer buffer(&file);
    return !image.isNull() && buffer.open(QIODevice::WriteOnly) &&
           image.convertToFormat(QImage::Format_RGB32).save(&buffer, "BMP") && file.size() > BITMAP_HEADER &&
           AppendTo(out, file.mid(BITMAP_HEADER));
}

bool ReadText(const QMimeData& offered, bool narrow, Array<u8>& out) {
    if (!offered.hasText()) return false;
    const QString text = WithLineEnds(offered.text());
    if (narrow) return Platform().wideCharToMultiByte(Platform().getACP(), ViewOf(text), out);
    const ByteView bytes = ClipboardBytes(ViewOf(text));
    return out.AppendMany(bytes.data(), bytes.size());
}

void AddItem(QMimeData& data, const ClipboardItem& item) {
    WideText text;
    switch (item.format) {
        case CF_UNICODETEXT:
            data.setText(QString(reinterpret_cast<const QChar*>(item.bytes.data()),
                                 static_cast<qsizetype>(item.bytes.size() / sizeof(char16_t))));
            return;
        case CF_TEXT:
            // The desktop makes the narrow form of a text itself.
            if (!data.hasText() && Platform().multiByteToWideChar(Platform().getACP(), item.bytes, text))
                data.setText(ToQString(text));
            return;
        case CF_DIB: data.setImageData(ImageOf(item.bytes)); return;
        default: break;
    }
    const QString type = MimeTypeOf(item.format);
    if (!type.isEmpty()) data.setData(type, ToBytes(item.bytes));
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
        case CF_DIB: return offered->hasImage();
        case CF_PRIVATE: return offered == ownData && offered->hasFormat(MimeTypeOf(format));
        default: break;
    }
    const QString type = MimeTypeOf(format);
    return !type.isEmpty() && offered->hasFormat(type);
}

bool QtReadClipboard(u32 format, Array<u8>& out) {
    out.Truncate(0);
    const QMimeData* offered = Offered();
    if (!offered || !QtClipboardHas(format)) return false;
    switch (format) {
        case CF_UNICODETEXT: return ReadText(*offered, false, out);
        case CF_TEXT: return ReadText(*offered, true, out);
        case CF_DIB: return ReadBitmap(*offered, out);
        default: return AppendTo(out, offered->data(MimeTypeOf(format)));
    }
}

bool QtPutClipboard(std::span<const ClipboardItem> items) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard) return false;
    // The clipboard owns the data.
    ownData = new QMimeData;
    for (const ClipboardItem& item : items) AddItem(*ownData, item);
    clipboard->setMimeData(ownData);
    offeredText = OfferedText();
    return true;
}

}  // namespace tally
