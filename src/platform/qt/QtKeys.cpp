#include <algorithm>
#include <iterator>

#include "platform/qt/QtFrame.h"

namespace tally {
namespace {

struct KeyRow {
    int key;
    u32 code;
};
// A character that needs Shift on the usual keyboard stands for its key.
constexpr KeyRow keyRows[] = {
    {Qt::Key_Backspace, VK_BACK},
    {Qt::Key_Tab, VK_TAB},
    {Qt::Key_Backtab, VK_TAB},
    {Qt::Key_Return, VK_RETURN},
    {Qt::Key_Enter, VK_RETURN},
    {Qt::Key_Escape, VK_ESCAPE},
    {Qt::Key_Space, VK_SPACE},
    {Qt::Key_PageUp, VK_PRIOR},
    {Qt::Key_PageDown, VK_NEXT},
    {Qt::Key_End, VK_END},
    {Qt::Key_Home, VK_HOME},
    {Qt::Key_Left, VK_LEFT},
    {Qt::Key_Up, VK_UP},
    {Qt::Key_Right, VK_RIGHT},
    {Qt::Key_Down, VK_DOWN},
    {Qt::Key_Insert, VK_INSERT},
    {Qt::Key_Delete, VK_DELETE},
    {Qt::Key_Menu, VK_APPS},
    {Qt::Key_Semicolon, VK_OEM_1},
    {Qt::Key_Colon, VK_OEM_1},
    {Qt::Key_Equal, VK_OEM_PLUS},
    {Qt::Key_Plus, VK_OEM_PLUS},
    {Qt::Key_Comma, VK_OEM_COMMA},
    {Qt::Key_Less, VK_OEM_COMMA},
    {Qt::Key_Period, VK_OEM_PERIOD},
    {Qt::Key_Greater, VK_OEM_PERIOD},
    {Qt::Key_QuoteLeft, VK_OEM_3},
    {Qt::Key_AsciiTilde, VK_OEM_3},
    {Qt::Key_Exclam, '1'},
    {Qt::Key_At, '2'},
    {Qt::Key_NumberSign, '3'},
    {Qt::Key_Dollar, '4'},
    {Qt::Key_Percent, '5'},
    {Qt::Key_AsciiCircum, '6'},
    {Qt::Key_Ampersand, '7'},
    {Qt::Key_Asterisk, '8'},
    {Qt::Key_ParenLeft, '9'},
    {Qt::Key_ParenRight, '0'},
};

constexpr u32 VK_NUMPAD0 = 0x60;
// The number pad's own keys beside its digits.
constexpr KeyRow padRows[] = {
    {Qt::Key_Asterisk, 0x6A}, {Qt::Key_Plus, 0x6B},  {Qt::Key_Minus, 0x6D},
    {Qt::Key_Period, 0x6E},   {Qt::Key_Comma, 0x6E}, {Qt::Key_Slash, 0x6F},
};

u32 FindKey(std::span<const KeyRow> rows, int key) {
    for (const KeyRow& row : rows) {
        if (row.key == key) return row.code;
    }
    return 0;
}

}  // namespace

u32 KeyCodeOf(int key, Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::KeypadModifier) {
        if (key >= Qt::Key_0 && key <= Qt::Key_9) return VK_NUMPAD0 + static_cast<u32>(key - Qt::Key_0);
        if (const u32 code = FindKey(padRows, key)) return code;
    }
    if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z)) {
        return static_cast<u32>(key);
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return VK_F2 - 1 + static_cast<u32>(key - Qt::Key_F1);
    return FindKey(keyRows, key);
}

u32 ModifiersOf(Qt::KeyboardModifiers modifiers) {
    return (modifiers & Qt::ShiftModifier ? u32{KEY_SHIFT} : 0u) |
           (modifiers & Qt::ControlModifier ? u32{KEY_CTRL} : 0u) |
           (modifiers & Qt::AltModifier ? u32{KEY_ALT} : 0u);
}

QString TypedText(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    if (modifiers & (Qt::ControlModifier | Qt::AltModifier) || key == Qt::Key_Delete) return {};
    switch (key) {
        // A tab backwards comes without a text, and a line's end in two forms.
        case Qt::Key_Backtab: return QStringLiteral("\t");
        case Qt::Key_Return:
        case Qt::Key_Enter: return QStringLiteral("\r");
        default: return text;
    }
}

}  // namespace tally
