#include "model/DefaultFormats.h"

namespace tally {
namespace {

constexpr BuiltInFormat builtInFormats[] = {
    {0, u"General"},
    {1, u"0"},
    {2, u"0.00"},
    {3, u"#,##0"},
    {4, u"#,##0.00"},
    {5, u"$#,##0_);($#,##0)"},
    {6, u"$#,##0_);[Red]($#,##0)"},
    {7, u"$#,##0.00_);($#,##0.00)"},
    {8, u"$#,##0.00_);[Red]($#,##0.00)"},
    {9, u"0%"},
    {10, u"0.00%"},
    {11, u"0.00E+00"},
    {12, u"# ?/?"},
    {13, u"# ?\?/?\?"},
    {14, u"m/d/yy"},
    {15, u"dd-mmm-yy"},
    {16, u"dd-mmm"},
    {17, u"mmm-yy"},
    {18, u"h:mm AM/PM"},
    {19, u"h:mm:ss AM/PM"},
    {20, u"h:mm"},
    {21, u"h:mm:ss"},
    {22, u"m/d/yy h:mm"},
    {37, u"#,##0_);(#,##0)"},
    {38, u"#,##0_);[Red](#,##0)"},
    {39, u"#,##0.00_);(#,##0.00)"},
    {40, u"#,##0.00_);[Red](#,##0.00)"},
    {41, u"_(* #,##0_);_(* (#,##0);_(* \"-\"_);_(@_)"},
    {42, u"_($* #,##0_);_($* (#,##0);($* \"-\"_);_(@_)"},
    {43, u"_(* #,##0.00_);_(* (#,##0.00);_(* \"-\"?\?_);_(@_)"},
    {44, u"_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"?\?_);_(@_)"},
    {45, u"mm:ss"},
    {46, u"[h]:mm:ss"},
    {47, u"mm:ss.0"},
    {48, u"##0.0E+0"},
    {49, u"@"},
};

// From RRGGBB, as colours are published, to the order of a palette row.
constexpr u32 Row(u32 rgb) { return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16; }

constexpr u32 palette[PALETTE_SIZE] = {
    Row(0x000000), Row(0xFFFFFF), Row(0xFF0000), Row(0x00FF00), Row(0x0000FF), Row(0xFFFF00), Row(0xFF00FF),
    Row(0x00FFFF), Row(0x000000), Row(0xFFFFFF), Row(0xFF0000), Row(0x00FF00), Row(0x0000FF), Row(0xFFFF00),
    Row(0xFF00FF), Row(0x00FFFF), Row(0x800000), Row(0x008000), Row(0x000080), Row(0x808000), Row(0x800080),
    Row(0x008080), Row(0xC0C0C0), Row(0x808080), Row(0x9999FF), Row(0x993366), Row(0xFFFFCC), Row(0xCCFFFF),
    Row(0x660066), Row(0xFF8080), Row(0x0066CC), Row(0xCCCCFF), Row(0x000080), Row(0xFF00FF), Row(0xFFFF00),
    Row(0x00FFFF), Row(0x800080), Row(0x800000), Row(0x008080), Row(0x0000FF), Row(0x00CCFF), Row(0xCCFFFF),
    Row(0xCCFFCC), Row(0xFFFF99), Row(0x99CCFF), Row(0xFF99CC), Row(0xCC99FF), Row(0xFFCC99), Row(0x3366FF),
    Row(0x33CCCC), Row(0x99CC00), Row(0xFFCC00), Row(0xFF9900), Row(0xFF6600), Row(0x666699), Row(0x969696),
    Row(0x003366), Row(0x339966), Row(0x003300), Row(0x333300), Row(0x993300), Row(0x993366), Row(0x333399),
    Row(0x333333),
};

constexpr ColourWord colourWords[] = {
    {u"Black", u"黑色"}, {u"White", u"白色"},  {u"Red", u"红色"},     {u"Green", u"绿色"},
    {u"Blue", u"蓝色"},  {u"Yellow", u"黄色"}, {u"Magenta", u"鴋红"}, {u"Cyan", u"青色"},
};

}  // namespace

std::span<const BuiltInFormat> BuiltInFormats() { return builtInFormats; }
std::span<const u32> DefaultPalette() { return palette; }
std::span<const ColourWord> ColourWords() { return colourWords; }

}  // namespace tally
