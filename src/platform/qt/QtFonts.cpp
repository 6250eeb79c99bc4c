#include "platform/qt/QtFonts.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <optional>

#include "base/Array.h"
#include "base/Number.h"
#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtFaces.h"
#include "platform/qt/QtFrame.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

constexpr WideView FRAME_FACE = u"Arial";
constexpr i32 FRAME_FONT_HEIGHT = 13;  // pixels at 96 to the inch
constexpr i32 MAX_FONT_HEIGHT = 8192;
// Every zoom makes fonts of its own; who asks for more gets that of the frame.
constexpr u32 MAX_FONTS = 4096;

// Pitch and family as published: pitch in the low bits, family in the high ones.
constexpr u8 FAMILY_ROMAN = 0x12;
constexpr u8 FAMILY_SWISS = 0x22;
constexpr u8 FAMILY_MODERN_FIXED = 0x31;

struct FontState {
    std::optional<LoadedFont> frame;
    Array<LoadedFont> fonts;  // handle - 1
};
FontState state;

LoadedFont LoadFont(const FontRequest& request) {
    QFont font;
    font.setFamilies(FacesFor(request.faceName.empty() ? FRAME_FACE : request.faceName));
    font.setPixelSize(std::clamp(request.pixelHeight, 1, MAX_FONT_HEIGHT));
    font.setWeight(static_cast<QFont::Weight>(std::clamp<int>(request.weight, 1, 1000)));
    font.setItalic(request.italic);
    font.setUnderline(request.underline);
    font.setStrikeOut(request.strikeout);
    font.setHintingPreference(QFont::PreferFullHinting);
    font.setKerning(false);
    return {WideText(), request, font, QFontMetrics(font)};
}

bool IsSameFont(const LoadedFont& font, const FontRequest& request) {
    const FontRequest& own = font.request;
    return own.pixelHeight == request.pixelHeight && own.weight == request.weight &&
           own.italic == request.italic && own.underline == request.underline &&
           own.strikeout == request.strikeout && own.charSet == request.charSet &&
           own.escapement == request.escapement && font.faceName.View() == request.faceName;
}

struct ScriptCharSet {
    QFontDatabase::WritingSystem script;
    u8 charSet;
};
// Which published character set a face is of when it cannot write Latin letters.
constexpr ScriptCharSet scriptCharSets[] = {
    {QFontDatabase::Symbol, 2},
    {QFontDatabase::SimplifiedChinese, 134},
    {QFontDatabase::Japanese, 128},
    {QFontDatabase::Korean, 129},
    {QFontDatabase::TraditionalChinese, 136},
    {QFontDatabase::Greek, 161},
    {QFontDatabase::Hebrew, 177},
    {QFontDatabase::Arabic, 178},
    {QFontDatabase::Cyrillic, 204},
    {QFontDatabase::Thai, 222},
};

u8 CharSetOf(const QList<QFontDatabase::WritingSystem>& scripts) {
    if (scripts.contains(QFontDatabase::Latin)) return 0;
    for (const ScriptCharSet& row : scriptCharSets) {
        if (scripts.contains(row.script)) return row.charSet;
    }
    return 0;
}

}  // namespace

const LoadedFont& FontOf(FontHandle handle) {
    if (handle > 0 && static_cast<u32>(handle) <= state.fonts.Count()) {
        return state.fonts[static_cast<u32>(handle) - 1];
    }
    if (!state.frame) {
        FontRequest request;
        request.faceName = FRAME_FACE;
        request.pixelHeight = MulDiv(FRAME_FONT_HEIGHT, ScreenDpi(true), 96);
        state.frame.emplace(LoadFont(request));
    }
    return *state.frame;
}

i32 ScreenDpi(bool vertical) {
    const Frame* frame = FrameInUse();
    const QScreen* screen = frame ? frame->window.screen() : QGuiApplication::primaryScreen();
    if (!screen) return 96;
    const i32 dpi = qRound(vertical ? screen->logicalDotsPerInchY() : screen->logicalDotsPerInchX());
    return std::clamp(dpi, 48, 960);
}

void DropFrameFont() { state.frame.reset(); }

void ResetFonts() {
    state.frame.reset();
    state.fonts.Clear();
}

FontHandle QtFindFont(const FontRequest& request) {
    for (u32 i = 0; i < state.fonts.Count(); ++i) {
        if (IsSameFont(state.fonts[i], request)) return static_cast<FontHandle>(i + 1);
    }
    if (state.fonts.Count() >= MAX_FONTS) return 0;
    LoadedFont font = LoadFont(request);
    if (!font.faceName.Assign(request.faceName) || !state.fonts.Append(std::move(font))) return 0;
    return static_cast<FontHandle>(state.fonts.Count());
}

void QtTextExtent(FontHandle font, WideView text, i32& width, i32& height) {
    const QFontMetrics& metrics = FontOf(font).metrics;
    width = text.empty() ? 0 : metrics.horizontalAdvance(BorrowQString(text));
    height = metrics.height();
}

void PaintFontText(QPainter& painter, const LoadedFont& font, i32 x, i32 y, WideView text) {
    if (font.request.escapement == 0) {
        painter.drawText(QPoint(x, y + font.metrics.ascent()), BorrowQString(text));
        return;
    }
    const QTransform straight = painter.transform();
    painter.translate(x, y);
    painter.rotate(-font.request.escapement / 10.0);
    painter.drawText(QPoint(0, font.metrics.ascent()), BorrowQString(text));
    painter.setTransform(straight);
}

bool QtTextMask(FontHandle font, WideView text, const PixelRect& wanted, TextMask& mask) {
    const LoadedFont& loaded = FontOf(font);
    // Letters may reach beyond the box of their text, but not by more than their own height.
    const int width = loaded.metrics.horizontalAdvance(BorrowQString(text)), height = loaded.metrics.height();
    QTransform turn;
    turn.rotate(-loaded.request.escapement / 10.0);
    const QRect around = turn.mapRect(QRect(-height, -height, width + 2 * height, 3 * height));
    const QRect place =
        around & QRect(QPoint(wanted.left, wanted.top), QPoint(wanted.right - 1, wanted.bottom - 1));
    mask.coverage.Truncate(0);
    mask.left = place.left();
    mask.top = place.top();
    mask.width = mask.height = 0;
    if (place.isEmpty()) return true;
    // The depth of the window: letters are laid out on it as they are there.
    QImage image(place.size(), QImage::Format_RGB32);
    if (image.isNull()) return false;
    image.fill(Qt::black);
    QPainter painter(&image);
    painter.setFont(loaded.font);
    painter.setPen(Qt::white);
    PaintFontText(painter, loaded, -mask.left, -mask.top, text);
    painter.end();
    mask.width = place.width();
    mask.height = place.height();
    u8* out =
        mask.coverage.AppendRaw(static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height));
    if (!out) return false;
    for (int row = 0; row < mask.height; ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(row));
        for (int column = 0; column < mask.width; ++column) *out++ = static_cast<u8>(qGreen(line[column]));
    }
    return true;
}

void QtScreenMetrics(ScreenMetrics& out) {
    const LoadedFont& frame = FontOf(0);
    out.fontHeight = frame.metrics.height();
    out.internalLeading = std::max(0, out.fontHeight - frame.font.pixelSize());
    out.digitWidth = std::max(1, frame.metrics.horizontalAdvance(u'0'));
    out.logPixelsX = ScreenDpi(false);
    out.logPixelsY = ScreenDpi(true);
    out.family = FAMILY_SWISS;
    out.charSet = 0;
}

bool QtFindFontFace(WideView faceName, u8& family, u8& charSet) {
    const QString name = ToQString(faceName);
    if (name.isEmpty() || !QFontDatabase::hasFamily(name)) return false;
    if (QFontDatabase::isFixedPitch(name)) family = FAMILY_MODERN_FIXED;
    else if (name.contains(QLatin1String("Sans"), Qt::CaseInsensitive)) family = FAMILY_SWISS;
    else if (name.contains(QLatin1String("Serif"), Qt::CaseInsensitive) ||
             name.contains(QLatin1String("Times"), Qt::CaseInsensitive) ||
             name.contains(QLatin1String("Roman"), Qt::CaseInsensitive))
        family = FAMILY_ROMAN;
    else family = FAMILY_SWISS;
    charSet = CharSetOf(QFontDatabase::writingSystems(name));
    return true;
}

namespace {
constexpr FontTable fontTable = {QtFindFont, QtTextExtent, QtTextMask};
}  // namespace
const FontTable& QtFontTable() { return fontTable; }

}  // namespace tally
