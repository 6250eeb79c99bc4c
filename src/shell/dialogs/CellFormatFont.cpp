// The page of fonts.

#include <algorithm>

#include "base/MessageTable.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "shell/dialogs/CellFormatPages.h"

namespace tally {
namespace {

enum : i32 {
    NAME_LABEL = FONT_CONTROLS,
    NAME,
    STYLE_LABEL,
    STYLE,
    SIZE_LABEL,
    SIZE,
    COLOUR_LABEL,
    COLOUR,
    UNDERLINE,
    STRIKEOUT,
    PREVIEW_GROUP,
    PREVIEW,
};

constexpr ControlRow rows[] = {
    {.id = NAME_LABEL, .text = MSG_FONT_NAME, .cell = {0, 0}, .container = FONT_PAGE},
    {.id = NAME, .kind = CONTROL_COMBO, .cell = {0, 1}, .width = 26, .container = FONT_PAGE},
    {.id = STYLE_LABEL, .text = MSG_FONT_STYLE, .cell = {1, 0}, .container = FONT_PAGE},
    {.id = STYLE, .kind = CONTROL_DROP_LIST, .cell = {1, 1}, .width = 26, .container = FONT_PAGE},
    {.id = SIZE_LABEL, .text = MSG_FONT_SIZE, .cell = {2, 0}, .container = FONT_PAGE},
    {.id = SIZE, .kind = CONTROL_COMBO, .cell = {2, 1}, .width = 26, .container = FONT_PAGE},
    {.id = COLOUR_LABEL, .text = MSG_PICK_COLOUR, .cell = {3, 0}, .container = FONT_PAGE},
    {.id = COLOUR,
     .kind = CONTROL_PAINTED,
     .cell = {3, 1},
     .width = 26,
     .lines = 1,
     .container = FONT_PAGE,
     .flags = CONTROL_PICKER},
    {.id = UNDERLINE,
     .kind = CONTROL_CHECK,
     .text = MSG_FONT_UNDERLINE,
     .cell = {0, 2},
     .container = FONT_PAGE},
    {.id = STRIKEOUT,
     .kind = CONTROL_CHECK,
     .text = MSG_FONT_STRIKEOUT,
     .cell = {1, 2},
     .container = FONT_PAGE},
    {.id = PREVIEW_GROUP,
     .kind = CONTROL_GROUP,
     .text = MSG_FONT_PREVIEW,
     .cell = {4, 0, 3},
     .container = FONT_PAGE},
    {.id = PREVIEW,
     .kind = CONTROL_PAINTED,
     .cell = {0, 0},
     .width = 50,
     .lines = 4,
     .container = PREVIEW_GROUP},
};
constexpr PickerRow pickers[] = {{COLOUR, PICK_COLOUR}};

constexpr i32 STYLES = 4, STYLE_ITALIC = 1, STYLE_BOLD = 2;
constexpr double TWIPS = 20, LEAST_SIZE = 1, GREATEST_SIZE = 409;
constexpr WideView sizes[] = {u"8",  u"9",  u"10", u"11", u"12", u"14", u"16", u"18",
                              u"20", u"22", u"24", u"26", u"28", u"36", u"48", u"72"};

// The faces that the book uses already; any other can be typed.
bool FillNames(Dialog& dialog, const Workbook& book) {
    for (u32 i = 0; i < book.fonts.Count(); ++i) {
        const WideView name = book.fonts[i].faceName;
        const auto same = [name](const FontRecord& font) { return WideView(font.faceName) == name; };
        if (name.empty() || std::any_of(book.fonts.begin(), book.fonts.begin() + i, same)) continue;
        if (!AddControlItem(dialog, NAME, name)) return false;
    }
    return true;
}

bool Start(Dialog& dialog, CellFormatSheet& sheet) {
    const FormatRequest& look = sheet.question.look;
    WideText size;
    if (!FillNames(dialog, *BookAt(sheet.question.book)) ||
        !AddMessages(dialog, STYLE, MSG_FONT_STYLE_FIRST, STYLES))
        return false;
    for (const WideView each : sizes)
        if (!AddControlItem(dialog, SIZE, each)) return false;
    if (look.fontName.present && !SetControlText(dialog, NAME, look.fontName.value)) return false;
    if (look.fontSize.present &&
        (!NumberToText(look.fontSize.value / TWIPS, 5, size) || !SetControlText(dialog, SIZE, size)))
        return false;
    if (look.bold.present && look.italic.present)
        SetControlChoice(dialog, STYLE,
                         (look.bold.value ? STYLE_BOLD : 0) + (look.italic.value ? STYLE_ITALIC : 0));
    SetControlChoice(dialog, UNDERLINE, ChoiceOf(look.underline));
    SetControlChoice(dialog, STRIKEOUT, ChoiceOf(look.strikeout));
    SetControlChoice(dialog, COLOUR, ItemOfColour(ChoiceOf(look.fontColour)));
    EnableControl(dialog, NAME, sheet.question.namedFonts);
    EnableControl(dialog, SIZE, sheet.question.namedFonts);
    return true;
}

bool ReadSize(const Dialog& dialog, i32& twips) {
    double points = 0;
    if (!TextToNumber(ControlText(dialog, SIZE), points) || !(points >= LEAST_SIZE) || points > GREATEST_SIZE)
        return false;
    twips = static_cast<i32>(points * TWIPS + 0.5);
    return true;
}

// A name that is too long for a font is cut, an empty one is none.
void TakeName(const Dialog& dialog, FaceField& name) {
    name = FaceField();
    const WideView text = ControlText(dialog, NAME).substr(0, std::size(name.value) - 1);
    name.present = !text.empty();
    std::copy(text.begin(), text.end(), name.value);
}

void Changed(Dialog& dialog, CellFormatSheet& sheet, i32 control) {
    FormatRequest& request = sheet.request;
    const i32 choice = ControlChoice(dialog, control);
    switch (control) {
        case NAME: TakeName(dialog, request.fontName); break;
        case SIZE:
            // While it is typed it may be no size yet.
            sheet.sizeTouched = !ControlText(dialog, SIZE).empty();
            request.fontSize.present = ReadSize(dialog, request.fontSize.value);
            break;
        case STYLE:
            request.bold = {true, (choice & STYLE_BOLD) != 0};
            request.italic = {true, (choice & STYLE_ITALIC) != 0};
            break;
        case UNDERLINE: request.underline = {true, choice}; break;
        case STRIKEOUT: request.strikeout = {true, choice}; break;
        default: request.fontColour = {true, ColourOfItem(choice, AUTOMATIC_COLOUR)}; break;
    }
}

bool Accept(const Dialog&, CellFormatSheet& sheet, u16& fault, i32& control) {
    if (!sheet.sizeTouched || sheet.request.fontSize.present) return true;
    fault = MSG_FONT_SIZE_RANGE;
    control = SIZE;
    return false;
}

void Paint(const CellFormatSheet& sheet, const DialogEvent& event) {
    PaintFontPreview(*event.target, event.paint, ShownLook(sheet), sheet.question.book);
}

}  // namespace

constexpr CellFormatPage fontPage = {.bit = FORMAT_PAGE_FONT,
                                     .id = FONT_PAGE,
                                     .title = MSG_FORMAT_PAGE_FONT,
                                     .rows = rows,
                                     .pickers = pickers,
                                     .start = Start,
                                     .changed = Changed,
                                     .accept = Accept,
                                     .paint = Paint,
                                     .mouse = nullptr};

}  // namespace tally
