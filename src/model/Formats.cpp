#include "model/Formats.h"

#include <algorithm>
#include <cstring>

#include "base/Platform.h"
#include "base/Text.h"
#include "model/DefaultFormats.h"

namespace tally {
namespace {

constexpr u16 LAST_BUILT_IN_FORMAT = 49;
constexpr u16 FORMAT_TEXT_IS_CONSTANT = 1;
constexpr u16 COMPARED_FLAGS = 31;
constexpr WideView generalWord = u"General";
constexpr WideView localGeneral = u"常规";

// The number formats of the user's region.
struct RegionFormats {
    Array<NumberFormat> rows;
};
RegionFormats region;

bool AddNumberFormat(Workbook& book, u16 id, WideView text, u16 flags) {
    NumberFormat* row = book.numberFormats.AppendDefault();
    if (!row) return false;
    row->id = id;
    row->flags = flags;
    if (row->text.Assign(text) && BuildLocalText(book, book.numberFormats.Count() - 1)) return true;
    book.numberFormats.RemoveLast();
    return false;
}

bool BuildDefaultCellFormats(Workbook& book) {
    struct StyleFormat {
        u16 index, numberFormat;
    };
    constexpr StyleFormat styled[] = {{16, 43}, {17, 41}, {18, 44}, {19, 42}, {20, 9}};
    for (u16 i = 0; i < 21; ++i) {
        CellFormat format;
        format.font = i == 1 || i == 2 || i > 15 ? 1 : i == 3 || i == 4 ? 2 : 0;
        if (i != DEFAULT_CELL_FORMAT) {
            format.flags |= FORMAT_STYLE;
            format.parent = STYLE_PARENT;
            format.own = 0;
        }
        for (const StyleFormat& row : styled) {
            if (row.index == i) format.numberFormat = row.numberFormat;
        }
        if (!book.cellFormats.Append(format)) return false;
    }
    struct BuiltInStyle {
        u16 xf;
        u8 id;
    };
    constexpr BuiltInStyle styles[] = {{16, 3}, {17, 6}, {18, 4}, {19, 7}, {0, 0}, {20, 5}};
    for (const BuiltInStyle& style : styles) {
        StyleRow* row = book.styles.AppendDefault();
        if (!row) return false;
        row->xf = style.xf | STYLE_BUILT_IN;
        row->builtInId = style.id;
    }
    return true;
}

bool BuildDefaultFonts(Workbook& book) {
    ScreenMetrics metrics;
    Platform().getScreenMetrics(metrics);
    FontRecord font;
    const i32 perInch = metrics.logPixelsY > 0 ? metrics.logPixelsY : 96;
    const i32 twips = (metrics.fontHeight - metrics.internalLeading) * 1440 / perInch;
    font.height = static_cast<u16>(std::clamp((twips + 10) / 20 * 20, 20, 8180));
    font.family = metrics.family;
    font.charSet = metrics.charSet;
    std::memcpy(font.faceName, u"Arial", sizeof u"Arial");
    for (int i = 0; i < 4; ++i) {
        if (!book.fonts.Append(font)) return false;
    }
    return true;
}

bool SameFormat(const CellFormat& a, const CellFormat& b) {
    if (a.font != b.font || a.numberFormat != b.numberFormat || a.parent != b.parent ||
        ((a.flags ^ b.flags) & COMPARED_FLAGS))
        return false;
    constexpr std::size_t rest = offsetof(CellFormat, horizontal);
    return std::memcmp(reinterpret_cast<const u8*>(&a) + rest, reinterpret_cast<const u8*>(&b) + rest,
                       offsetof(CellFormat, spare) + 1 - rest) == 0;
}

bool SameFont(const FontRecord& a, const FontRecord& b) {
    return a.height == b.height && a.attributes == b.attributes && a.colour == b.colour &&
           a.weight == b.weight && a.underline == b.underline && a.family == b.family &&
           a.charSet == b.charSet && a.escapement == b.escapement &&
           WideView(a.faceName) == WideView(b.faceName);
}

bool IsTimeCode(WideView word) {
    constexpr WideView codes[] = {u"h", u"hh", u"m", u"mm", u"s", u"ss"};
    return std::any_of(std::begin(codes), std::end(codes),
                       [word](WideView c) { return EqualIgnoringCase(c, word); });
}

// The word of a colour in the other language, or an empty view.
WideView TranslateColour(WideView word, bool toLocal) {
    for (const ColourWord& row : ColourWords()) {
        if (EqualIgnoringCase(toLocal ? row.english : row.local, word))
            return toLocal ? row.local : row.english;
    }
    return {};
}

// Copies a bracket that opens at `at`; returns the position behind it.
std::size_t CopyBracket(WideView text, std::size_t at, bool toLocal, WideText& out, bool& good) {
    const std::size_t close = text.find(u']', at);
    const std::size_t end = close == WideView::npos ? text.size() : close;
    const WideView word = text.substr(at + 1, end - at - 1);
    const WideView other = IsTimeCode(word) ? WideView() : TranslateColour(word, toLocal);
    good = good && out.Append(u'[') && out.Append(other.empty() ? word : other);
    if (close == WideView::npos) return text.size();
    good = good && out.Append(u']');
    return close + 1;
}

std::size_t QuotedEnd(WideView text, std::size_t at) {
    const std::size_t close = text.find(u'"', at + 1);
    return close == WideView::npos ? text.size() : close + 1;
}

// The walk of both directions: colour words and the word for General are translated, all else stays.
bool TranslateFormat(WideView text, bool toLocal, WideText& out) {
    const WideView from = toLocal ? generalWord : localGeneral;
    const WideView to = toLocal ? localGeneral : generalWord;
    bool good = true;
    bool sectionStart = true;
    for (std::size_t i = 0; good && i < text.size();) {
        const char16_t c = text[i];
        const bool atStart = sectionStart;
        sectionStart = false;
        if (c == u'"') {
            const std::size_t end = QuotedEnd(text, i);
            good = out.Append(text.substr(i, end - i));
            i = end;
        } else if (c == u'*' || c == u'\\' || c == u'_') {
            good = out.Append(text.substr(i, 2));
            i += 2;
        } else if (c == u';') {
            sectionStart = true;
            good = out.Append(c);
            ++i;
        } else if (c == u'[' && atStart) {
            i = CopyBracket(text, i, toLocal, out, good);
        } else if (StartsWithIgnoringCase(text.substr(i), from)) {
            good = out.Append(to);
            i += from.size();
        } else {
            good = out.Append(c);
            ++i;
        }
    }
    return good;
}

}  // namespace

void SetLocalFormats(std::span<const LocalFormatText> formats) {
    region.rows.Clear();
    for (const LocalFormatText& format : formats) {
        NumberFormat row;
        row.id = format.id;
        // A row that memory refuses keeps its constant text.
        if (row.text.Assign(format.text)) IgnoreFailure(region.rows.Append(std::move(row)));
    }
}

WideView LocalGeneralWord() { return localGeneral; }

namespace {

// The region's own text for an id, or null.
const NumberFormat* RegionFormat(u16 id) {
    const NumberFormat* found = std::find_if(region.rows.begin(), region.rows.end(),
                                             [id](const NumberFormat& row) { return row.id == id; });
    return found != region.rows.end() ? found : nullptr;
}

}  // namespace

WideView NewFormatText(u16 id) {
    if (const NumberFormat* local = RegionFormat(id)) return local->text;
    for (const BuiltInFormat& format : BuiltInFormats()) {
        if (format.id == id) return format.text;
    }
    return {};
}

bool BuildDefaultFormats(Workbook& book) {
    std::copy(DefaultPalette().begin(), DefaultPalette().end(), book.palette);
    for (const BuiltInFormat& format : BuiltInFormats()) {
        const NumberFormat* local = RegionFormat(format.id);
        if (!AddNumberFormat(book, format.id, local ? local->text.View() : format.text,
                             local ? u16{0} : FORMAT_TEXT_IS_CONSTANT)) {
            return false;
        }
    }
    return BuildDefaultCellFormats(book) && BuildDefaultFonts(book);
}

bool FindOrAddCellFormat(Workbook& book, const CellFormat& candidate, u16& index) {
    for (u32 i = 0; i < book.cellFormats.Count(); ++i) {
        if (SameFormat(book.cellFormats[i], candidate)) {
            index = static_cast<u16>(i);
            return true;
        }
    }
    if (book.cellFormats.Count() > 0xFFFE || !book.cellFormats.Append(candidate)) return false;
    // What was changed here must not follow the style again.
    if (!(candidate.flags & FORMAT_STYLE)) book.cellFormats.Last().own = ALL_OWN;
    index = static_cast<u16>(book.cellFormats.Count() - 1);
    return true;
}

bool FindOrAddNumberFormat(Workbook& book, WideView text, u16& id) {
    u16 largest = LAST_BUILT_IN_FORMAT;
    for (const NumberFormat& row : book.numberFormats) {
        if (row.text.View() == text) {
            id = row.id;
            return true;
        }
        largest = std::max(largest, row.id);
    }
    if (largest == 0xFFFF || !AddNumberFormat(book, static_cast<u16>(largest + 1), text, 0)) return false;
    id = static_cast<u16>(largest + 1);
    return true;
}

bool ReplaceNumberFormat(Workbook& book, u16 id, WideView text) {
    const u32 at = FindNumberFormat(book, id);
    if (at == book.numberFormats.Count()) return AddNumberFormat(book, id, text, 0);
    NumberFormat fresh;
    fresh.id = id;
    if (!fresh.text.Assign(text) || !TranslateFormat(text, true, fresh.localText)) return false;
    book.numberFormats[at] = std::move(fresh);
    return true;
}

u32 FindNumberFormat(const Workbook& book, u16 id) {
    // The rows of a book as it comes stand in the order of their ids, most of them at their own.
    if (id < book.numberFormats.Count() && book.numberFormats[id].id == id) return id;
    u32 i = 0;
    while (i < book.numberFormats.Count() && book.numberFormats[i].id != id) ++i;
    return i;
}

WideView GetNumberFormatText(const Workbook& book, u16 id) {
    const u32 at = FindNumberFormat(book, id);
    return at < book.numberFormats.Count() ? book.numberFormats[at].text.View() : generalWord;
}

bool BuildLocalText(Workbook& book, u32 index) {
    NumberFormat& row = book.numberFormats[index];
    WideText local;
    if (!TranslateFormat(row.text, true, local)) return false;
    row.localText = std::move(local);
    return true;
}

bool LocalToFileText(WideView text, WideText& out) {
    out.Truncate(0);
    return TranslateFormat(text, false, out);
}

bool FindOrAddFont(Workbook& book, WideView faceName, bool bold, bool italic, bool underline, bool strikeout,
                   u16 height, u16 colour, u16& index) {
    FontRecord font;
    font.height = height;
    font.attributes = static_cast<u16>((italic ? FONT_ITALIC : 0) | (strikeout ? FONT_STRIKEOUT : 0));
    font.colour = colour;
    font.weight = bold ? 700 : 400;
    font.underline = underline ? 1 : 0;
    if (!Platform().findFontFace(faceName, font.family, font.charSet) && !book.fonts.IsEmpty()) {
        font.family = book.fonts[0].family;
        font.charSet = book.fonts[0].charSet;
    }
    const WideView cut = faceName.substr(0, std::size(font.faceName) - 1);
    std::copy(cut.begin(), cut.end(), font.faceName);
    for (u32 i = 0; i < book.fonts.Count(); ++i) {
        if (SameFont(book.fonts[i], font)) {
            index = static_cast<u16>(i);
            return true;
        }
    }
    if (book.fonts.Count() > 0xFFFE || !book.fonts.Append(font)) return false;
    index = static_cast<u16>(book.fonts.Count() - 1);
    return true;
}

namespace {

constexpr CellFormat plainFormat;
constexpr FontRecord plainFont;

}  // namespace

const CellFormat& ResolveCellFormat(const Workbook& book, u16 index) {
    if (index < book.cellFormats.Count()) return book.cellFormats[index];
    return book.cellFormats.Count() > DEFAULT_CELL_FORMAT ? book.cellFormats[DEFAULT_CELL_FORMAT] : plainFormat;
}

const FontRecord& ResolveFont(const Workbook& book, u16 index) {
    if (index < book.fonts.Count()) return book.fonts[index];
    return book.fonts.IsEmpty() ? plainFont : book.fonts[0];
}

u32 PaletteColour(const Workbook& book, u16 index, u32 automatic) {
    return index < PALETTE_SIZE ? book.palette[index] : automatic;
}

}  // namespace tally
